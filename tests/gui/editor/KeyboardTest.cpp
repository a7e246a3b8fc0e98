// The piano strip, headless: where its keys lie against the graph's axis
// p ln(f/minF) at several zooms, what its pixels show, and what its mouse
// gestures send to the listener and the editor's callbacks.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

constexpr int32_t kHeight = 40;
constexpr CCoord kLeft = 30, kTop = 400;  // the strip's place in its parent
double pitch(int32_t note) { return 440.0 * std::pow(2.0, (note - 69) / 12.0); }

struct Event { char what; int32_t tag; double real; };  // b(egin), c(hange), e(nd)
struct Recorder : CControlListener {
    std::vector<Event> events;
    void add(char what, CControl* c) {
        events.push_back({what, c->getTag(), curveToReal(staticParamTable()[c->getTag()], c->getValue())});
    }
    void valueChanged(CControl* c) override { add('c', c); }
    void controlBeginEdit(CControl* c) override { add('b', c); }
    void controlEndEdit(CControl* c) override { add('e', c); }
};

struct Strip {
    Recorder listener;
    nKeyboard* view;
    std::vector<double> created;
    std::vector<int32_t> deleted, hovered;
    Strip(double minF, double maxF, int32_t width = 750)
        : view(new nKeyboard(CRect(kLeft, kTop, kLeft + width, kTop + kHeight), &listener, kGUIKeyboard)) {
        view->setRange(minF, maxF);
        view->onCreateBand = [this](double hz) { created.push_back(hz); };
        view->onDeleteBand = [this](int32_t b) { deleted.push_back(b); };
        view->onHoverBand = [this](int32_t b) { hovered.push_back(b); };
    }
    ~Strip() { view->forget(); }
    nKeyboard* operator->() const { return view; }
    CColor at(double x, double y) {
        view->renderStrip();
        return view->stripBitmap()->getPixel(int32_t(std::floor(x)), int32_t(std::floor(y)));
    }
    bool isGrey(double x, double y) { return at(x, y) == CColor{0xbb, 0xbb, 0xbb, 0xff}; }
    bool isDark(double x, double y) { return at(x, y).red < 0x60; }
    // A mouse call ('d'own, 'm'oved, 'u'p) at strip coordinates, as the parent sends it.
    CMouseEventResult mouse(char call, double x, double y, int32_t buttons) {
        CPoint p(CCoord(kLeft + x), CCoord(kTop + y));
        if (call == 'd') return view->onMouseDown(p, buttons);
        return call == 'm' ? view->onMouseMoved(p, buttons) : view->onMouseUp(p, buttons);
    }
    CPoint mark(int32_t band) const {
        const CRect r = view->markRect(band);
        return {(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    }
};

// Bands of group A at hz, their rows and running frequencies alike.
GraphScene sceneWith(std::vector<std::pair<int32_t, double>> bands, int32_t state = kBandOn, int32_t groups = 0x80) {
    GraphScene scene;
    for (auto [b, hz] : bands) {
        GraphBand& band = scene.bands[size_t(b)];
        band.state = state, band.groups = groups, band.frequency = band.rowFrequency = hz;
        band.norm[kFieldFrequency] = float(curveToNorm(staticParamTable()[bandParam(b, kFieldFrequency)], hz));
    }
    return scene;
}

struct Zoom { const char* name; double minF, maxF; int32_t width; };
constexpr double kTwentieth = 1.0028915;  // a twentieth of a semitone
// The last three end that far inside a black key, whose bar would reach into the strip.
constexpr Zoom kZooms[] = {
    {"full range", 10.0, 24000.0, 750}, {"one octave", 200.0, 400.0, 750}, {"narrow octave", 1000.0, 2000.0, 300},
    {"F#3..A#4", 184.9972 * kTwentieth, 466.1638 / kTwentieth, 750},
    {"C#1..A#3", 34.64783 * kTwentieth, 233.0819 / kTwentieth, 750},
    {"C#7..A#8", 2217.461 * kTwentieth, 7458.620 / kTwentieth, 900},
};

}  // namespace

TEST(KeyboardGeometry, KeysLieOnTheGraphAxisAndAreDrawnThereOnly) {
    for (const Zoom& z : kZooms) {
        SCOPED_TRACE(z.name);
        Strip strip(z.minF, z.maxF, z.width);
        const double p = z.width / std::log(z.maxF / z.minF), semitone = p * std::log(2.0) / 12.0, bottom = kHeight - 2;
        const int32_t first = strip->firstKey(), last = strip->lastKey();
        EXPECT_TRUE(pitch(first - 1) < z.minF && z.minF <= pitch(first));
        EXPECT_TRUE(pitch(last) <= z.maxF && z.maxF < pitch(last + 1));
        // Black keys on their pitch within 0.5 px; white ones moved at most
        // half a semitone by the even grid, plus the same 0.5 px. Black keys
        // dark at the top, grey below; white ones grey, their left edges dark.
        for (int32_t n = first, previousWhite = -1; n <= last; ++n) {
            const double x = p * std::log(pitch(n) / z.minF), c = strip->keyCentre(n), left = strip->keyLeft(n);
            EXPECT_NEAR(c, x, strip->isBlack(n) ? 0.5 : semitone / 2 + 0.5) << n;
            EXPECT_TRUE(left < x && x < strip->keyRight(n)) << n;
            if (c < 1 || c > z.width - 1) continue;
            if (strip->isBlack(n)) {
                EXPECT_TRUE(strip.isDark(c, 1)) << n;
                EXPECT_TRUE(strip.isGrey(left + 1, bottom) || strip.isGrey(strip->keyRight(n) - 1, bottom)) << n;
                continue;
            }
            if (previousWhite >= 0) {
                EXPECT_NEAR(c - strip->keyCentre(previousWhite), semitone * 12 / 7, 1e-6) << n;
            }
            previousWhite = n;
            EXPECT_TRUE(strip.isGrey(c, bottom)) << n;
            EXPECT_TRUE(left < 1 || strip.isDark(left - 0.5, bottom) || strip.isDark(left + 0.5, bottom)) << n;
        }
        const double low = strip->keyLeft(first), high = strip->keyRight(last);
        for (int32_t x = 0; x < z.width; ++x) {
            for (int32_t y = 0; y < kHeight && (x <= low - 2 || x >= high + 1); ++y) {
                ASSERT_TRUE(strip.isGrey(x, y)) << x << ", " << y;
            }
        }
    }
}

TEST(KeyboardDrawing, ABandMarksTheKeyUnderItInItsColourDimmed) {
    Strip strip(200.0, 3200.0);
    auto dimmed = [](graphpix::Rgb c) {  // mean m: each channel ((c/m - 1) 0.7 + 1) m 1.05
        const double m = (c.red + c.green + c.blue) / 3.0;
        auto one = [m](double v) { return int(std::lround(std::min(255.0, ((v / m - 1) * 0.7 + 1) * m * 1.05))); };
        return std::vector<int>{one(c.red), one(c.green), one(c.blue)};
    };
    const struct { int32_t band; double hz; int32_t note; bool byNumber; } rows[] = {
        {0, 1000.0, 83, false}, {5, 1020.0, 84, false}, {9, 277.2, 61, false}, {17, 2900.0, 102, true},
        {31, 440.0, 69, true},
    };
    for (const auto& row : rows) {
        strip->setColoursByNumber(row.byNumber);
        strip->setScene(sceneWith({{row.band, row.hz}}));
        const CPoint c = strip.mark(row.band);
        EXPECT_TRUE(c.x > strip->keyLeft(row.note) && c.x < strip->keyRight(row.note)) << row.hz;
        const CColor got = strip.at(c.x, c.y);
        const graphpix::Rgb colour = bandColour(row.band, row.hz, 48000.0, row.byNumber);
        EXPECT_EQ((std::vector<int>{got.red, got.green, got.blue}), dimmed(colour)) << row.hz;
        strip->setScene(sceneWith({{row.band, row.hz}}, kBandOn, 0x01));  // in no shown group: no mark
        EXPECT_TRUE(strip->markRect(row.band).isEmpty());
        EXPECT_NE(strip.at(c.x, c.y), got);
    }
}

TEST(KeyboardMouse, ADragMovesTheBandBySemitones) {
    const double lo = 1000.0 / std::sqrt(2.0);
    Strip strip(lo, 2 * lo);  // an octave: 62.5 px a semitone
    EXPECT_NEAR(strip->semitoneWidth(), 750.0 / 12, 1e-9);
    strip->setScene(sceneWith({{3, 1000.0}}));  // 14.21 semitones above A4
    const CPoint m = strip.mark(3);
    ASSERT_EQ(strip.mouse('d', m.x, m.y, kLButton), kMouseEventHandled);
    // pixels from the press -> the note reported (0: none, already there);
    // five octaves up is past the row's top: the highest semitone below 22 kHz.
    const struct { double dx; int32_t note; } moves[] = {
        {0, 83}, {62.5, 84}, {125, 85}, {130, 0}, {-187.5, 80}, {20, 84}, {62.5 * 60, 136},
    };
    for (const auto& move : moves) strip.mouse('m', m.x + move.dx, m.y, kLButton);
    strip.mouse('u', m.x, m.y, 0);
    std::vector<Event>& e = strip.listener.events;
    ASSERT_EQ(e.size(), 8u);
    EXPECT_TRUE(e.front().what == 'b' && e.back().what == 'e');
    size_t i = 1;
    for (const auto& move : moves) {
        if (move.note == 0) continue;
        EXPECT_EQ(e[i].what, 'c');
        EXPECT_NEAR(e[i++].real, pitch(move.note), pitch(move.note) * 1e-5) << move.dx;
    }
    for (const Event& event : e) EXPECT_EQ(event.tag, bandParam(3, kFieldFrequency));
    EXPECT_EQ(strip->getTag(), kGUIKeyboard);
}

TEST(KeyboardMouse, DoubleClickOrControlCreatesTogglesOrDeletes) {
    Strip strip(pitch(60) / 1.0293, 2 * pitch(60) / 1.0293);  // B3.5 .. B4.5
    for (int32_t n = 60; n < 72; ++n) {  // on empty keys: a band at the key whose centre is nearest
        strip.mouse('d', strip->keyCentre(n) + (n % 2 ? 3 : -3), 5, kLButton | (n % 3 ? kDoubleClick : kControl));
        ASSERT_EQ(strip.created.size(), size_t(n - 59));
        EXPECT_NEAR(strip.created.back(), pitch(n), 1e-9 * pitch(n));
    }
    strip.mouse('d', (strip->keyCentre(64) + strip->keyCentre(65)) / 2 - 1, 30, kLButton | kDoubleClick);
    EXPECT_DOUBLE_EQ(strip.created.back(), pitch(64));
    strip.created.clear();
    // On a mark: the state toggles in one edit; with Alt the band goes.
    const struct { int32_t state, buttons; double toggled; bool deletes; } rows[] = {
        {kBandOn, kDoubleClick, 1, false}, {kBandBypassed, kControl, 2, false},
        {kBandOn, kControl | kDoubleClick, 1, false}, {kBandOn, kDoubleClick | kAlt, 0, true},
        {kBandBypassed, kControl | kAlt, 0, true},
    };
    for (const auto& row : rows) {
        std::vector<Event>& e = strip.listener.events;
        e.clear();
        strip.deleted.clear();
        strip->setScene(sceneWith({{7, 330.0}}, row.state));
        strip.mouse('d', strip.mark(7).x, strip.mark(7).y, kLButton | row.buttons);
        EXPECT_EQ(strip.deleted, row.deletes ? std::vector<int32_t>{7} : std::vector<int32_t>{});
        ASSERT_EQ(e.size(), row.deletes ? 0u : 3u);
        if (row.deletes) continue;
        EXPECT_TRUE(e[0].what == 'b' && e[1].what == 'c' && e[2].what == 'e');
        EXPECT_EQ(e[1].tag, bandParam(7, kFieldState));
        EXPECT_EQ(e[1].real, row.toggled);
    }
    EXPECT_TRUE(strip.created.empty());
}

TEST(KeyboardMouse, RightPressesAreNotHandledAndHoverReportsTheMark) {
    Strip strip(100.0, 1600.0);
    strip->setScene(sceneWith({{2, 220.0}, {12, 880.0}}));
    const CPoint a = strip.mark(2), b = strip.mark(12), empty(300, 5);
    for (const int32_t buttons : {kRButton | 0, kRButton | kDoubleClick, kRButton | kControl}) {
        EXPECT_EQ(strip.mouse('d', a.x, a.y, buttons), kMouseEventNotHandled);
        EXPECT_EQ(strip.mouse('d', empty.x, empty.y, buttons), kMouseEventNotHandled);
    }
    EXPECT_TRUE(strip.listener.events.empty() && strip.created.empty());
    // pointer, buttons held -> the hover reports so far
    const struct { CPoint at; int32_t buttons; std::vector<int32_t> hovered; } moves[] = {
        {a, 0, {2}}, {CPoint(a.x + 1, a.y), 0, {2}}, {b, kLButton, {2}}, {b, 0, {2, 12}}, {empty, 0, {2, 12, -1}},
        {b, 0, {2, 12, -1, 12}},
    };
    for (const auto& move : moves) {
        strip.mouse('m', move.at.x, move.at.y, move.buttons);
        EXPECT_EQ(strip.hovered, move.hovered);
    }
    CPoint outside;
    strip->onMouseExited(outside, 0);
    EXPECT_EQ(strip.hovered.back(), -1);
}
