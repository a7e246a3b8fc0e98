// The band strips under the graph: what a strip holds for each layout word,
// and working on them through the editor's frame over a real effect: typed
// values, locks, one undo step per gesture, the order by frequency, the
// choice of bands and the scroll.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "TestHost.h"
#include "gui/editor/BandStrips.h"
#include "gui/editor/VGEditor.h"
#include "gui/toolkit/HeadlessRender.h"
#include "session/EditorGeometry.h"
#include "session/PlugEd.h"

using namespace VSTGUI;

namespace {

struct Strips {
    std::unique_ptr<Plug> fx = makePlug(2);
    PlugEd& ed = *PlugEd::of(*fx);
    VGEditor editor{ed};
    BandStrips* strips = nullptr;

    explicit Strips(int32_t knobs = 2) {
        detachFromTimer(*fx);
        for (int32_t b = 0; b < kNumBands; ++b) setReal(*fx, bandParam(b, kFieldState), kBandOff);
        ed.uiSettings().setValue("Layout", "BandStrips", knobs);  // 1 text, 2 knobs
        editor.open(0);
        strips = editor.getStrips();
    }
    void makeBand(int32_t b, int32_t type, double hz) {
        setReal(*fx, bandParam(b, kFieldState), kBandOn);
        setReal(*fx, bandParam(b, kFieldType), type);
        setReal(*fx, bandParam(b, kFieldFrequency), hz);
        editor.rebuildStrips();
        fx->clearUndo();
    }
    template <class T>
    T* find(const char* className, int32_t tag) const {
        for (int32_t i = 0; i < strips->getNbViews(); ++i) {
            CView* v = strips->getView(i);
            if (v->isTypeOf(className) && static_cast<CControl*>(v)->getTag() == tag) return static_cast<T*>(v);
        }
        return nullptr;
    }
    double real(int32_t band, int32_t field) const { return fx->getRealValue(bandParam(band, field)); }
    CPoint centreOf(const CView* v) const {
        const CRect r = v->frameRect();
        return CPoint(std::floor(r.left + r.width() / 2), std::floor(r.top + r.height() / 2));
    }
    void drag(CPoint from, double dy, int32_t buttons = kLButton) {
        CFrame* f = editor.getFrame();
        f->onMouseDown(from, buttons);
        for (int32_t i = 1; i <= 4; ++i) {
            CPoint p(from.x, from.y + dy * i / 4);
            f->onMouseMoved(p, buttons);
        }
        CPoint end(from.x, from.y + dy);
        f->onMouseUp(end, 0);
    }
    void click(CPoint at, int32_t buttons) {
        editor.getFrame()->onMouseDown(at, buttons);
        editor.getFrame()->onMouseUp(at, 0);
    }
};

// Counts the strips' children of a class.
int32_t count(const BandStrips& s, const char* className) {
    int32_t n = 0;
    for (int32_t i = 0; i < s.getNbViews(); ++i) n += s.getView(i)->isTypeOf(className) ? 1 : 0;
    return n;
}

}  // namespace

TEST(BandStrips, EachLayoutWordBuildsItsRowsInsideTheStripsHeight) {
    using namespace layout;
    const uint32_t base = kStrips | kSubtype | kGroups;
    const struct {
        uint32_t flags;
        int32_t knobs, texts, menus, labels;
    } rows[] = {
        // A peak and a notch: the notch has no subtype menu.
        {base, 6, 6, 3, 0},
        {base | kExtra | kLabels | kNumber, 8, 8, 3, 6 + 2 + 2},  // names, numbers, the fourth rows' names
        {base | kTextStrips | kExtra, 0, 8, 3, 2},
        {kStrips | kTextStrips, 0, 6, 0, 0},
        {kStrips | kGroups | kLabels, 6, 6, 2, 5},
    };
    for (const auto& row : rows) {
        const int32_t height = stripsHeight(row.flags);
        auto* s = new BandStrips(CRect(0, 0, 600, height), nullptr);
        StripsModel model;
        model.flags = row.flags;
        model.groupNames = {"Left", "Right"};
        for (const int32_t type : {kTypePeak, kTypeNotch}) {
            StripBand band;
            band.band = type;
            band.norm[kFieldType] = float(curveToNorm(staticParamTable()[bandParam(0, kFieldType)], type));
            band.controls = 7;
            band.shiftName = "SHIFT";
            model.bands.push_back(band);
        }
        s->rebuild(model);
        EXPECT_EQ(count(*s, "CEQKnob"), row.knobs) << row.flags;
        EXPECT_EQ(count(*s, "CEQText"), row.texts) << row.flags;
        EXPECT_EQ(count(*s, "nPFMenu"), row.menus) << row.flags;
        EXPECT_EQ(count(*s, "CTextLabel"), row.labels) << row.flags;
        EXPECT_EQ(s->contentWidth(), ((row.flags & kLabels) ? 66 : 0) + 2 * 66 + 20) << row.flags;
        // Every control lies on its strip's card, above the scroll bar.
        for (int32_t i = 0; i < s->getNbViews(); ++i) {
            const CRect r = s->getView(i)->getViewSize();
            EXPECT_LE(r.bottom, height - BandStrips::kScrollBarHeight) << row.flags << " child " << i;
        }
        s->forget();
    }
}

TEST(BandStrips, TypedValuesSetTheRowAndRefusalsLeaveIt) {
    Strips s;
    s.makeBand(0, kTypePeak, 1000.0);
    auto* freq = s.find<CEQText>("CEQText", bandParam(0, kFieldFrequency));
    auto* gain = s.find<CEQText>("CEQText", bandParam(0, kFieldGain));
    ASSERT_TRUE(freq && gain);
    const struct {
        CEQText* field;
        const char* text;
        bool taken;
        int32_t rowField;
        double real;
    } rows[] = {
        {freq, "1k5", true, kFieldFrequency, 1500.0},
        {freq, "x0", false, kFieldFrequency, 1500.0},
        {freq, "hello", true, kFieldFrequency, staticParamTable()[bandParam(0, kFieldFrequency)].value},
        {gain, "-3,5", true, kFieldGain, -3.5 / s.fx->getRealValue(kScale)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.field->enterText(row.text), row.taken) << row.text;
        EXPECT_NEAR(s.real(0, row.rowField), row.real, std::fabs(row.real) * 1e-3) << row.text;
    }
    EXPECT_EQ(freq->shownText().find("Hz") != std::string::npos, true);
    // A double click opens the field for typing and sets nothing by itself.
    const double gainBefore = s.real(0, kFieldGain);
    s.click(s.centreOf(gain), kLButton);
    s.click(s.centreOf(gain), kLButton);
    EXPECT_EQ(s.real(0, kFieldGain), gainBefore);
}

TEST(BandStrips, AKnobDragIsOneUndoStepAndALockRefusesIt) {
    Strips s;
    s.makeBand(0, kTypePeak, 1000.0);
    auto* knob = s.find<CEQKnob>("CEQKnob", bandParam(0, kFieldGain));
    ASSERT_NE(knob, nullptr);
    const double before = s.real(0, kFieldGain);
    s.drag(s.centreOf(knob), -60);
    EXPECT_GT(s.real(0, kFieldGain), before);
    EXPECT_EQ(knob->getValue(), s.fx->getParameter(bandParam(0, kFieldGain)));
    s.fx->undo();
    EXPECT_DOUBLE_EQ(s.real(0, kFieldGain), before);
    EXPECT_FALSE(s.fx->canUndo());

    // Ctrl with the right button locks the row: the knob stops answering.
    s.click(s.centreOf(knob), kRButton | kControl);
    s.editor.idle();
    knob = s.find<CEQKnob>("CEQKnob", bandParam(0, kFieldGain));
    ASSERT_TRUE(knob && knob->isLocked());
    s.drag(s.centreOf(knob), -60);
    EXPECT_DOUBLE_EQ(s.real(0, kFieldGain), before);
    auto* text = s.find<CEQText>("CEQText", bandParam(0, kFieldGain));
    s.drag(s.centreOf(text), -60);
    EXPECT_DOUBLE_EQ(s.real(0, kFieldGain), before);

    // The right button drags finely and listens to the band while it lasts.
    std::vector<int32_t> heard;
    s.editor.setEditListener([&](int32_t tag, VGEditor::EditEvent e) {
        if (e == VGEditor::EditEvent::kChange && (tag == kGUIAutoListen || tag == kGUIAutoListenQ))
            heard.push_back(tag);
    });
    const double q = s.real(0, kFieldQ);
    s.drag(s.centreOf(s.find<CEQKnob>("CEQKnob", bandParam(0, kFieldQ))), -40, kRButton);
    EXPECT_GT(s.real(0, kFieldQ), q);
    EXPECT_EQ(heard, (std::vector<int32_t>{kGUIAutoListenQ, kGUIAutoListenQ}));  // the band, then none
    s.editor.setEditListener(nullptr);

    // A stepped row moves by whole steps: the slope in sixes.
    s.makeBand(1, kTypeHPF, 50.0);
    auto* slope = s.find<CEQKnob>("CEQKnob", bandParam(1, kFieldSlope));
    ASSERT_NE(slope, nullptr);
    s.drag(s.centreOf(slope), -60);
    EXPECT_EQ(std::fmod(s.real(1, kFieldSlope), 6.0), 0.0);
    EXPECT_GT(s.real(1, kFieldSlope), 18.0);
}

TEST(BandStrips, StripsFollowTheBandOrderAndARightClickSortsThemByFrequency) {
    Strips s;
    s.makeBand(0, kTypePeak, 5000.0);
    s.makeBand(1, kTypeNotch, 100.0);
    s.makeBand(2, kTypeLowShelf, 1000.0);
    auto left = [&](int32_t band) { return s.strips->stripOf(band)->getViewSize().left; };
    EXPECT_LT(left(0), left(1));
    EXPECT_LT(left(1), left(2));
    // The notch has a gap where the others have their subtype menu.
    EXPECT_EQ(s.find<nPFMenu>("nPFMenu", bandParam(1, kFieldSubtype)), nullptr);
    EXPECT_NE(s.find<nPFMenu>("nPFMenu", bandParam(2, kFieldSubtype)), nullptr);

    CPoint ground(s.strips->frameRect().left + 400, s.strips->frameRect().top + 100);
    s.click(ground, kRButton);
    s.editor.idle();
    EXPECT_LT(left(1), left(2));
    EXPECT_LT(left(2), left(0));
    const int32_t* kept = s.fx->programStore().bandOrder(s.fx->getProgram());
    EXPECT_EQ((std::vector<int32_t>(kept, kept + 3)), (std::vector<int32_t>{1, 2, 0}));

    // "Always" keeps the order as frequencies change; a band switched off leaves.
    s.ed.uiSettings().setValue("BandStrips", "Freq Sorting", 2);
    s.ed.uiSettings().setValue("Graph", "Band Colours", 0);  // by frequency
    const CColor low = s.find<CTypeButton>("CTypeButton", bandParam(1, kFieldType))->getColour();
    setReal(*s.fx, bandParam(1, kFieldFrequency), 8000.0);
    s.editor.updateControl(bandParam(1, kFieldFrequency), s.fx->getParameter(bandParam(1, kFieldFrequency)));
    EXPECT_FALSE(s.find<CTypeButton>("CTypeButton", bandParam(1, kFieldType))->getColour() == low);
    setReal(*s.fx, bandParam(2, kFieldState), kBandOff);
    s.editor.updateControl(bandParam(2, kFieldState), 0.0f);
    s.editor.idle();
    EXPECT_EQ(s.strips->stripOf(2), nullptr);
    EXPECT_LT(left(0), left(1));
}

TEST(BandStrips, ClicksChooseStripsAndTheChosenLightUp) {
    Strips s;
    for (int32_t b = 0; b < 3; ++b) s.makeBand(b, kTypePeak, 200.0 * (b + 1));
    auto backAt = [&](int32_t band) {
        const CRect r = s.strips->stripOf(band)->frameRect();
        return CPoint(r.left + 5, r.top + 30);
    };
    const struct {
        int32_t band, buttons;
        uint64_t chosen;
    } rows[] = {
        {0, kLButton, 0b001}, {2, kLButton | kShift, 0b101}, {1, kLButton, 0b010}, {-1, kLButton, 0},
    };
    for (const auto& row : rows) {
        if (row.band >= 0) {
            s.click(backAt(row.band), row.buttons);
        } else {
            s.click(CPoint(s.strips->frameRect().left + 500, s.strips->frameRect().top + 60), row.buttons);
        }
        EXPECT_EQ(s.ed.getSelectedBands(), row.chosen) << row.band;
    }
    // A rubber band from the ground over the first two strips chooses them.
    CFrame* f = s.editor.getFrame();
    const CRect r = s.strips->frameRect();
    CPoint from(r.left + 20, r.top + 80), to(r.left + 150, r.top + 90);
    f->onMouseDown(from, kLButton);
    f->onMouseMoved(to, kLButton);
    f->onMouseUp(to, 0);
    EXPECT_EQ(s.ed.getSelectedBands(), 0b011u);

    // The chosen strip's card is washed lighter than the others'.
    CDIB* picture = renderView(s.strips, CColor{0, 0, 0, 255});
    const CRect one = s.strips->stripOf(1)->getViewSize(), three = s.strips->stripOf(2)->getViewSize();
    const CColor lit = picture->getPixel(int32_t(one.left) + 4, 150), dark = picture->getPixel(int32_t(three.left) + 4, 150);
    EXPECT_GT(lit.red + lit.green + lit.blue, dark.red + dark.green + dark.blue + 20);
    picture->forget();
}

TEST(BandStrips, TheRowScrollsWhenItIsWiderThanTheStrips) {
    Strips s;
    for (int32_t b = 0; b < kNumBands; ++b) s.makeBand(b, kTypePeak, 50.0 * (b + 1));
    const double width = s.strips->getViewSize().width();
    ASSERT_GT(s.strips->contentWidth(), width);
    const struct {
        float asked, kept;
    } rows[] = {{0.5f, 0.5f}, {2.0f, 1.0f}, {-1.0f, 0.0f}};
    for (const auto& row : rows) {
        s.strips->setScrollPos(row.asked);
        EXPECT_EQ(s.strips->getScrollPos(), row.kept);
    }
    // At the end the last strip is in sight; children stand on whole pixels.
    s.strips->setScrollPos(1.0f);
    const CRect last = s.strips->stripOf(31)->getViewSize();
    EXPECT_LE(last.right, width);
    EXPECT_EQ(last.left, std::floor(last.left));
    // A horizontal wheel scrolls; a drag on the bar puts the thumb under the pointer.
    s.strips->setScrollPos(0.0f);
    EXPECT_TRUE(s.strips->onWheel(CPoint(s.strips->getViewSize().left + 100, s.strips->getViewSize().top + 100), kMouseWheelAxisX, 10.0f, 0));
    EXPECT_NEAR(s.strips->getScrollPos(), 0.1f, 1e-6);
    const CRect bar = s.strips->scrollBarRect();
    CPoint end(s.strips->frameRect().left + bar.right - 4, s.strips->frameRect().top + bar.top + 6);
    s.click(end, kLButton);
    EXPECT_EQ(s.strips->getScrollPos(), 1.0f);
}
