// The piano strip, headless: where its keys lie against the graph's axis
// p ln(f/minF) at several zooms, what its pixels show, and what its mouse
// gestures send to the listener and the editor's callbacks.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

constexpr int32_t kHeight = 40;
constexpr CCoord kLeft = 30, kTop = 400;  // the strip's place in its parent
double pitch(int32_t note) { return 440.0 * std::exp2((note - 69) / 12.0); }

// A strip that is its own listener: each report b(egin), c(hange) or e(nd) and the real value of its tag.
struct Strip : CControlListener {
    nKeyboard* view;
    GraphScene scene;
    std::string reports;
    std::vector<int32_t> deleted, hovered;
    std::vector<double> values, created;
    Strip(double minF, double maxF, int32_t width = 750)
        : view(new nKeyboard(CRect(kLeft, kTop, kLeft + width, kTop + kHeight), this, kGUIKeyboard)) {
        view->setRange(minF, maxF);
        view->onCreateBand = [this](double hz) { created.push_back(hz); };
        view->onDeleteBand = [this](int32_t b) { deleted.push_back(b); };
        view->onHoverBand = [this](int32_t b) { hovered.push_back(b); };
    }
    ~Strip() override { view->forget(); }
    nKeyboard* operator->() const { return view; }
    void add(char what, CControl* c) {
        reports += what;
        values.push_back(curveToReal(staticParamTable()[c->getTag()], c->getValue()));
    }
    void valueChanged(CControl* c) override { add('c', c); }
    void controlBeginEdit(CControl* c) override { add('b', c); }
    void controlEndEdit(CControl* c) override { add('e', c); }
    CColor at(double x, double y) {
        view->renderStrip();
        return view->stripBitmap()->getPixel(int32_t(std::floor(x)), int32_t(std::floor(y)));
    }
    bool isGrey(double x, double y) { return at(x, y) == CColor{0xbb, 0xbb, 0xbb, 0xff}; }
    bool isDark(double x, double y) { return at(x, y).red < 0x60; }
    // A mouse call ('d'own, 'm'oved, 'u'p, e'x'ited) at strip coordinates, as the parent sends it.
    CMouseEventResult mouse(char call, CPoint at, int32_t buttons) {
        at.offset(kLeft, kTop);
        return call == 'd' ? view->onMouseDown(at, buttons) : call == 'm' ? view->onMouseMoved(at, buttons)
               : call == 'u' ? view->onMouseUp(at, buttons) : view->onMouseExited(at, buttons);
    }
    CPoint mark(int32_t b) const { const CRect r = view->markRect(b); return {(r.left + r.right) / 2, (r.top + r.bottom) / 2}; }
    // Band b at hz in `state` and groups (0x80: group A, shown; 0x01 not); the other bands stay.
    void setBand(int32_t b, double hz, int32_t state = kBandOn, int32_t groups = 0x80) {
        GraphBand& band = scene.bands[size_t(b)];
        band.state = state, band.groups = groups, band.frequency = band.rowFrequency = hz;
        band.norm[kFieldFrequency] = float(curveToNorm(staticParamTable()[bandParam(b, kFieldFrequency)], hz));
        view->setScene(scene);
    }
};

}  // namespace

TEST(KeyboardGeometry, KeysLieOnTheGraphAxisAndAreDrawnThereOnly) {
    constexpr double k20th = 1.0028915;  // a twentieth of a semitone
    // The last three end that far inside a black key, whose bar would reach into the strip.
    const struct { const char* name; double minF, maxF; int32_t width; } zooms[] = {
        {"full range", 10.0, 24000.0, 750}, {"one octave", 200.0, 400.0, 750}, {"narrow octave", 1000.0, 2000.0, 300},
        {"F#3..A#4", 184.9972 * k20th, 466.1638 / k20th, 750}, {"C#1..A#3", 34.64783 * k20th, 233.0819 / k20th, 750},
        {"C#7..A#8", 2217.461 * k20th, 7458.620 / k20th, 900},
    };
    for (const auto& z : zooms) {
        SCOPED_TRACE(z.name);
        Strip strip(z.minF, z.maxF, z.width);
        const double p = z.width / std::log(z.maxF / z.minF), semitone = p * std::log(2.0) / 12.0, bottom = kHeight - 2;
        const int32_t first = strip->firstKey(), last = strip->lastKey();
        EXPECT_TRUE(pitch(first - 1) < z.minF && z.minF <= pitch(first) && pitch(last) <= z.maxF && z.maxF < pitch(last + 1));
        // Black keys on their pitch within 0.5 px, dark at the top and grey below; white ones edge to
        // edge, at most half a semitone (plus 0.5 px) off their pitch, grey with dark left edges.
        for (int32_t n = first; n <= last; ++n) {
            const double x = p * std::log(pitch(n) / z.minF), c = strip->keyCentre(n);
            const double l = strip->keyLeft(n), r = strip->keyRight(n);
            const bool black = strip->isBlack(n), shown = c >= 1 && c <= z.width - 1;
            EXPECT_NEAR(c, x, black ? 0.5 : semitone / 2 + 0.5) << n;
            EXPECT_TRUE(l < x && x < r) << n;
            const bool looks = black ? strip.isDark(c, 1) && (strip.isGrey(l + 1, bottom) || strip.isGrey(r - 1, bottom))
                                     : strip.isGrey(c, bottom) && (l < 1 || strip.isDark(l - 0.5, bottom) || strip.isDark(l + 0.5, bottom));
            EXPECT_TRUE(!shown || looks) << n;
            if (!black) { EXPECT_NEAR(r, strip->keyLeft(n + (strip->isBlack(n + 1) ? 2 : 1)), 1e-6) << n; }
        }
        const double low = strip->keyLeft(first), high = strip->keyRight(last);
        for (int32_t x = 0; x < z.width; ++x) {
            for (int32_t y = 0; y < kHeight && (x <= low - 2 || x >= high + 1); ++y) ASSERT_TRUE(strip.isGrey(x, y)) << x << "," << y;
        }
    }
}

TEST(KeyboardMarks, SitOnTheirKeysInTheirColoursWhileShownAndReportHovering) {
    Strip strip(200.0, 3200.0);
    const struct { int32_t band; double hz; int32_t note; bool byNumber; } rows[] = {
        {0, 1000.0, 83, false}, {5, 1020.0, 84, false}, {9, 277.2, 61, false}, {17, 2900.0, 102, true}, {31, 440.0, 69, true},
    };
    for (const auto& row : rows) {
        strip.setBand(row.band, row.hz);
        strip->setColoursByNumber(row.byNumber);
        const CPoint c = strip.mark(row.band);
        const graphpix::Rgb rgb = strip->markColour(row.band);
        const CColor colour{rgb.red, rgb.green, rgb.blue, 255};
        EXPECT_TRUE(c.x > strip->keyLeft(row.note) && c.x < strip->keyRight(row.note) && strip.at(c.x, c.y) == colour) << row.hz;
        // The band under the pointer, told on a change only and not while a button is held.
        const CPoint off = c - CPoint(0, 15);
        for (const auto& [at, buttons] : {std::pair{c, 0}, {c + CPoint(1, 0), 0}, {off, kLButton | 0}, {c, kRButton | 0}}) {
            strip.mouse('m', at, buttons);
        }
        strip.setBand(row.band, row.hz, kBandOn, 0x01);  // in no shown group: no mark
        strip.mouse('m', c, 0);
        EXPECT_TRUE(strip->markRect(row.band).isEmpty() && strip.at(c.x, c.y) != colour) << row.hz;
        strip.setBand(row.band, row.hz), strip.mouse('m', c, 0), strip.mouse('x', c, 0);  // and -1 when the pointer leaves
        EXPECT_EQ(strip.hovered, (std::vector<int32_t>{row.band, -1, row.band, -1}));
        strip.setBand(row.band, row.hz, kBandOff), strip.hovered.clear();
    }
}

TEST(KeyboardMouse, ADragMovesTheBandBySemitonesInOneEdit) {
    Strip strip(1000.0 / std::sqrt(2.0), 1000.0 * std::sqrt(2.0));  // an octave: 62.5 px a semitone
    strip.setBand(3, 1000.0);  // 14.21 semitones above A4
    const CPoint m = strip.mark(3);
    ASSERT_EQ(strip.mouse('d', m, kLButton), kMouseEventHandled);
    // pixels from the press -> the note reported (0: none, already there);
    // five octaves up is past the row's top: the highest semitone below 22 kHz.
    const struct { double dx; int32_t note; } moves[] = {
        {0, 83}, {62.5, 84}, {125, 85}, {130, 0}, {-187.5, 80}, {20, 84}, {62.5 * 60, 136},
    };
    std::vector<double> expected{1000.0};  // begin, the changes, end
    for (const auto& move : moves) {
        strip.mouse('m', m + CPoint(CCoord(move.dx), 0), kLButton);
        if (move.note) expected.push_back(pitch(move.note));
    }
    strip.mouse('u', m, 0);
    expected.push_back(expected.back());
    EXPECT_EQ(strip.reports, "bcccccce");
    for (size_t i = 0; i < expected.size() && i < strip.values.size(); ++i) {
        EXPECT_NEAR(strip.values[i], expected[i], 1e-5 * expected[i]) << i;
    }
    EXPECT_TRUE(strip->getTag() == kGUIKeyboard && strip->getValue() == 0.0f);  // its own again
}

TEST(KeyboardMouse, ClicksCreateToggleOrDeleteBands) {
    Strip strip(pitch(60) / 1.0293, 2 * pitch(60) / 1.0293);  // B3.5 .. B4.5
    for (int32_t n = 60; n < 72; ++n) {  // on empty keys: a band at the key whose centre is nearest
        const CPoint at(CCoord(strip->keyCentre(n) + (n % 2 ? 3 : -3)), 5);
        strip.mouse('d', at, kLButton | (n % 3 ? kDoubleClick : kControl));
        ASSERT_EQ(strip.created.size(), size_t(n - 59));
        EXPECT_NEAR(strip.created.back(), pitch(n), 1e-9 * pitch(n));
    }
    // On a mark: the state toggles in one edit; with Alt the band goes; right presses are left to others.
    const struct { int32_t state, buttons; const char* reports; double toggled; } rows[] = {
        {kBandOn, kLButton | kDoubleClick, "bce", 1}, {kBandBypassed, kLButton | kControl, "bce", 2},
        {kBandOn, kLButton | kControl | kDoubleClick, "bce", 1}, {kBandOn, kLButton | kDoubleClick | kAlt, "", 0},
        {kBandBypassed, kLButton | kControl | kAlt, "", 0}, {kBandOn, kRButton, "", -1},
        {kBandOn, kRButton | kDoubleClick, "", -1}, {kBandBypassed, kRButton | kControl | kAlt, "", -1},
    };
    for (const auto& row : rows) {
        strip.reports.clear(), strip.values.clear(), strip.deleted.clear();
        strip.setBand(7, 330.0, row.state);
        EXPECT_EQ(strip.mouse('d', strip.mark(7), row.buttons),
                  row.toggled < 0 ? kMouseEventNotHandled : kMouseDownEventHandledButDontNeedMovedOrUpEvents);
        EXPECT_EQ(strip.reports, row.reports);
        EXPECT_EQ(strip.deleted, row.toggled ? std::vector<int32_t>{} : std::vector<int32_t>{7});
        if (*row.reports) { EXPECT_EQ(strip.values[1], row.toggled); }  // the band's state, switched
    }
    EXPECT_EQ(strip.created.size(), 12u);
}
