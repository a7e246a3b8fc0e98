// Working on the response graph with the mouse, through the editor's frame
// as a host window delivers it: each gesture's effect on the parameters,
// its single undo step, and the begin/end brackets the host sees.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <cjson/cJSON.h>

#include "TestHost.h"
#include "gui/ScriptedWindow.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "gui/editor/VGEditor.h"
#include "session/PlugEd.h"

using namespace VSTGUI;

namespace {

struct Session {
    std::unique_ptr<Plug> fx = makePlug(2);
    PlugEd& ed = *PlugEd::of(*fx);
    VGEditor editor{ed};
    EQGraph* graph = nullptr;
    std::vector<std::pair<int32_t, VGEditor::EditEvent>> brackets;
    double seconds = 100.0;

    // parent 0: headless; otherwise over whatever window the platform makes.
    explicit Session(uintptr_t parent = 0) {
        detachFromTimer(*fx);
        for (int32_t b = 0; b < kNumBands; ++b) setReal(*fx, bandParam(b, kFieldState), kBandOff);
        editor.open(parent);
        graph = editor.getGraph();
        graph->setClock([this] { return seconds; });
        editor.setEditListener([this](int32_t tag, VGEditor::EditEvent e) {
            if (e != VGEditor::EditEvent::kChange) brackets.emplace_back(tag, e);
        });
        fx->clearUndo();
        refresh();
    }
    void refresh() {
        editor.refreshGraph();
        graph->renderFrame();
    }
    double real(int32_t band, int32_t field) const { return fx->getRealValue(bandParam(band, field)); }
    // A point of the plot in the frame's coordinates.
    CPoint at(double x, double y) const {
        const CRect r = graph->frameRect();
        return CPoint(r.left + x, r.top + y);
    }
    CPoint handle(int32_t band) const {
        const CPoint h = graph->handlePosition(band);
        return at(h.x, h.y);
    }
    void down(CPoint p, int32_t buttons) { editor.getFrame()->onMouseDown(p, buttons); }
    void move(CPoint p, int32_t buttons) { editor.getFrame()->onMouseMoved(p, buttons); }
    void up(CPoint p) { editor.getFrame()->onMouseUp(p, 0); }
    void drag(CPoint from, CPoint to, int32_t buttons = kLButton) {
        down(from, buttons);
        for (int32_t i = 1; i <= 4; ++i) {
            move(CPoint(from.x + (to.x - from.x) * i / 4, from.y + (to.y - from.y) * i / 4), buttons);
        }
        up(to);
        refresh();
    }
    void undo() {
        fx->undo();
        refresh();
    }
    void makeBand(int32_t b, int32_t type, double hz, double gainRow) {
        setReal(*fx, bandParam(b, kFieldState), kBandOn);
        setReal(*fx, bandParam(b, kFieldType), type);
        setReal(*fx, bandParam(b, kFieldFrequency), hz);
        setReal(*fx, bandParam(b, kFieldGain), gainRow);
        fx->clearUndo();
        refresh();
    }
    // Every begin has its end, on the same tags.
    bool balanced() const {
        std::vector<int32_t> open;
        for (const auto& [tag, e] : brackets) {
            if (e == VGEditor::EditEvent::kBegin) {
                open.push_back(tag);
            } else {
                const auto it = std::find(open.begin(), open.end(), tag);
                if (it == open.end()) return false;
                open.erase(it);
            }
        }
        return open.empty() && !brackets.empty();
    }
};

}  // namespace

TEST(EQGraphMouse, ADoubleClickOnEmptyGraphMakesABandWhereItWasMade) {
    Session s;
    const double x = s.graph->xOf(1000.0), y = s.graph->yOfDb(6.0);
    s.down(s.at(x, y), kLButton | kDoubleClick);
    s.refresh();
    EXPECT_EQ(s.real(0, kFieldState), kBandOn);
    EXPECT_NEAR(s.real(0, kFieldFrequency), 1000.0, 15.0);
    EXPECT_NEAR(s.real(0, kFieldGain) * s.fx->getRealValue(kScale), 6.0, 0.3);
    EXPECT_EQ(s.real(0, kFieldType), kTypePeak);
    EXPECT_TRUE(s.balanced());
    EXPECT_EQ(s.ed.getSelectedBands(), 1u);
    // A double click on its handle bypasses it, with Alt removes it; never a second band.
    s.down(s.handle(0), kLButton | kDoubleClick);
    s.refresh();
    EXPECT_EQ(s.real(0, kFieldState), kBandBypassed);
    EXPECT_EQ(s.real(1, kFieldState), kBandOff);
    s.down(s.handle(0), kLButton | kDoubleClick | kAlt);
    s.refresh();
    EXPECT_EQ(s.real(0, kFieldState), kBandOff);
    // Each gesture was one undo step.
    for (const double state : {kBandBypassed, kBandOn, kBandOff}) {
        s.undo();
        EXPECT_EQ(s.real(0, kFieldState), state);
    }
    EXPECT_EQ(s.real(0, kFieldFrequency), 80.0);
}

TEST(EQGraphMouse, DragsMoveTheRowsTheirBandTypeAndModifiersGiveThem) {
    struct Row {
        int32_t type;
        int32_t buttons;
        std::vector<int32_t> moves, stays;
    } rows[] = {
        {kTypePeak, kLButton, {kFieldFrequency, kFieldGain}, {kFieldQ}},
        {kTypePeak, kLButton | kAlt, {kFieldQ}, {kFieldFrequency, kFieldGain}},
        {kTypeHPF, kLButton, {kFieldFrequency, kFieldSlope}, {kFieldQ, kFieldGain}},
        {kTypeHPF, kLButton | kAlt, {kFieldFrequency, kFieldQ}, {kFieldSlope}},
        {kTypeLowShelf, kLButton | kAlt, {kFieldShift, kFieldQ}, {kFieldFrequency}},
        {kTypeNotch, kLButton, {kFieldFrequency, kFieldQ}, {kFieldGain}},
    };
    for (const Row& row : rows) {
        Session s;
        s.makeBand(4, row.type, 800.0, 0.2);
        double before[kNumBandFields];
        for (int32_t f = 0; f < kNumBandFields; ++f) before[f] = s.real(4, f);
        const CPoint from = s.handle(4);
        s.drag(from, CPoint(from.x + 60, from.y + 80), row.buttons);
        for (int32_t f : row.moves) EXPECT_NE(s.real(4, f), before[f]) << "type " << row.type << " field " << f;
        for (int32_t f : row.stays) EXPECT_EQ(s.real(4, f), before[f]) << "type " << row.type << " field " << f;
        EXPECT_TRUE(s.balanced()) << "type " << row.type;
        s.undo();
        for (int32_t f = 0; f < kNumBandFields; ++f) EXPECT_EQ(s.real(4, f), before[f]) << "undo, type " << row.type;
    }
}

TEST(EQGraphMouse, AFineDragMovesATenthAndLinkedGainsNeverCrossZero) {
    Session s;
    s.makeBand(0, kTypePeak, 500.0, 0.0);
    const CPoint from = s.handle(0);
    s.drag(from, CPoint(from.x + 100, from.y), kLButton | kShift);
    const double tenth = s.graph->frequencyAt(s.graph->xOf(500.0) + 10.0);
    EXPECT_NEAR(s.real(0, kFieldFrequency), tenth, tenth * 0.02);

    // Three selected bands: the dragged one at +6 dB, the others at +3 and
    // +12 dB; pulling it to 0 takes each in proportion, none past 0.
    Session t;
    t.makeBand(0, kTypePeak, 200.0, 6.0 / 18);
    t.makeBand(1, kTypePeak, 1000.0, 3.0 / 18);
    t.makeBand(2, kTypePeak, 5000.0, 12.0 / 18);
    t.ed.setSelectedBands(0b111);
    t.refresh();
    const CPoint handle = t.handle(0);
    // The +12 dB band halves the pace: twice the way down brings 6 dB to 0.
    t.drag(handle, CPoint(handle.x, t.at(0, t.graph->yOfDb(-6.0)).y));
    EXPECT_NEAR(t.real(0, kFieldGain), 0.0, 0.02);
    for (int32_t b : {1, 2}) {
        EXPECT_GE(t.real(b, kFieldGain), -1e-3) << b;
        EXPECT_LT(t.real(b, kFieldGain), (b == 1 ? 3.0 : 12.0) / 18) << b;
    }
    t.undo();
    EXPECT_NEAR(t.real(0, kFieldGain), 6.0 / 18, 1e-6);
    EXPECT_NEAR(t.real(1, kFieldGain), 3.0 / 18, 1e-6);
    EXPECT_NEAR(t.real(2, kFieldGain), 12.0 / 18, 1e-6);
}

TEST(EQGraphMouse, ARubberBandSelectsTheHandlesItEncloses) {
    Session s;
    s.makeBand(0, kTypePeak, 100.0, 0.2);
    s.makeBand(1, kTypePeak, 300.0, 0.2);
    s.makeBand(2, kTypePeak, 8000.0, 0.2);
    const CPoint a = s.handle(0), b = s.handle(1);
    s.drag(CPoint(a.x - 15, a.y - 15), CPoint(b.x + 15, b.y + 15));
    EXPECT_EQ(s.ed.getSelectedBands(), 0b011u);
    // With Shift it adds; without, it starts again.
    const CPoint c = s.handle(2);
    s.drag(CPoint(c.x - 15, c.y - 15), CPoint(c.x + 15, c.y + 15), kLButton | kShift);
    EXPECT_EQ(s.ed.getSelectedBands(), 0b111u);
    s.drag(CPoint(c.x - 15, c.y - 15), CPoint(c.x + 15, c.y + 15));
    EXPECT_EQ(s.ed.getSelectedBands(), 0b100u);
    EXPECT_FALSE(s.fx->canUndo());  // selecting changes no value
}

TEST(EQGraphMouse, TheWheelZoomsWithinItsLimitsAndTheScrollBarPans) {
    Session s;
    const CPoint middle = s.at(s.graph->xOf(1000.0), 40);
    for (int32_t i = 0; i < 200; ++i) s.editor.getFrame()->onWheel(middle, kMouseWheelAxisY, 1.0f, 0);
    EXPECT_NEAR(s.graph->getMaxFrequency() / s.graph->getMinFrequency(), 2.0, 1e-6);  // never below an octave
    for (int32_t i = 0; i < 400; ++i) s.editor.getFrame()->onWheel(middle, kMouseWheelAxisY, -1.0f, 0);
    EXPECT_NEAR(s.graph->getMinFrequency(), 10.0, 1e-6);
    EXPECT_NEAR(s.graph->getMaxFrequency(), 24000.0, 1e-6);
    // The zoom is kept with the editor's state.
    s.editor.getFrame()->onWheel(middle, kMouseWheelAxisY, 3.0f, 0);
    const cJSON* kept = cJSON_GetObjectItemCaseSensitive(s.ed.getSubgraphSettings(), "EQGraph");
    ASSERT_NE(kept, nullptr);
    EXPECT_NEAR(cJSON_GetObjectItemCaseSensitive(kept, "maxf")->valuedouble, s.graph->getMaxFrequency(), 1e-6);
    // A right click on the scroll bar shows everything again.
    s.down(s.at(100, s.graph->plotHeight() + 9), kRButton);
    EXPECT_NEAR(s.graph->getMaxFrequency() / s.graph->getMinFrequency(), 2400.0, 1e-6);
}

TEST(EQGraphMouse, TheWheelOnABandIsOneEditAndThePopupsBoxesAct) {
    Session s;
    s.makeBand(3, kTypePeak, 2000.0, 0.0);
    const double q = s.real(3, kFieldQ);
    s.move(s.handle(3), 0);  // hover
    for (int32_t i = 0; i < 5; ++i) s.editor.getFrame()->onWheel(s.handle(3), kMouseWheelAxisY, 1.0f, 0);
    s.move(s.handle(3), 0);  // the first move after the wheel ends its edit
    s.refresh();
    EXPECT_LT(s.real(3, kFieldQ), q);
    EXPECT_TRUE(s.balanced());

    // The popup of the hovered band: its first box switches the band, the
    // delete box removes it.
    s.graph->layoutPopup();
    const CRect onOff = s.graph->popupRect(0);
    ASSERT_FALSE(onOff.isEmpty());
    s.down(s.at((onOff.left + onOff.right) / 2, (onOff.top + onOff.bottom) / 2), kLButton);
    s.refresh();
    EXPECT_EQ(s.real(3, kFieldState), kBandBypassed);
    s.graph->layoutPopup();
    const CRect remove = s.graph->popupRect(3);
    s.down(s.at((remove.left + remove.right) / 2, (remove.top + remove.bottom) / 2), kLButton);
    s.refresh();
    EXPECT_EQ(s.real(3, kFieldState), kBandOff);
    s.undo();
    EXPECT_EQ(s.real(3, kFieldState), kBandBypassed);
    s.undo();
    EXPECT_EQ(s.real(3, kFieldState), kBandOn);
    s.undo();
    EXPECT_NEAR(s.real(3, kFieldQ), q, 1e-6);  // the five notches were one step
}

TEST(EQGraphMouse, APopupFadesAwayAfterMovesOutsideAndARightClickBypassesTheSelection) {
    Session s;
    s.makeBand(0, kTypePeak, 300.0, 0.2);
    s.makeBand(1, kTypePeak, 3000.0, 0.2);
    s.move(s.handle(0), 0);
    EXPECT_EQ(s.graph->getPopupBand(), 0);
    int32_t moves = 0;
    while (s.graph->getPopupBand() >= 0 && moves < 20) {
        s.move(s.at(700, 380 - moves), 0);
        ++moves;
    }
    EXPECT_EQ(moves, 8);  // 1 / 0.13 moves outside

    s.ed.uiSettings().setValue("Graph", "Right-Click", 2);  // "Bypass"
    s.ed.setSelectedBands(0b10);
    s.refresh();
    s.down(s.handle(0), kRButton);
    s.up(s.handle(0));
    s.refresh();
    EXPECT_EQ(s.real(0, kFieldState), kBandBypassed);
    EXPECT_EQ(s.real(1, kFieldState), kBandBypassed);
    s.undo();
    EXPECT_EQ(s.real(0, kFieldState), kBandOn);
    EXPECT_EQ(s.real(1, kFieldState), kBandOn);
}

TEST(EQGraphMouse, AltOnEmptyGraphFreezesTheAnalyser) {
    Session s;
    s.down(s.at(300, 200), kLButton | kAlt);
    EXPECT_TRUE(s.graph->isAnalyserFrozen());
    s.down(s.at(300, 200), kLButton | kAlt);
    EXPECT_FALSE(s.graph->isAnalyserFrozen());
}

TEST(EQGraphMouse, TheKeyboardMakesBandsAtKeysAndSnapsThemToSemitones) {
    Session s;
    nKeyboard* keys = s.editor.getKeyboard();
    ASSERT_NE(keys, nullptr);
    const CRect strip = keys->frameRect();
    auto onStrip = [&](double x, double y) { return CPoint(strip.left + x, strip.top + y); };
    // A double click by the A above middle C makes a band at 440 Hz.
    const int32_t a4 = 69;
    s.down(onStrip(keys->keyCentre(a4), 30), kLButton | kDoubleClick);
    s.refresh();
    ASSERT_EQ(s.real(0, kFieldState), kBandOn);
    EXPECT_NEAR(s.real(0, kFieldFrequency), 440.0, 0.5);
    // Dragged from its mark two semitones up, it lands on B4 exactly.
    const CRect mark = keys->markRect(0);
    const CPoint from = onStrip((mark.left + mark.right) / 2, (mark.top + mark.bottom) / 2);
    s.drag(from, CPoint(from.x + 2.0 * keys->semitoneWidth(), from.y));
    EXPECT_NEAR(s.real(0, kFieldFrequency), 440.0 * std::pow(2.0, 2.0 / 12.0), 0.05);
    EXPECT_TRUE(s.balanced());
    s.undo();
    EXPECT_NEAR(s.real(0, kFieldFrequency), 440.0, 0.5);
    // The zoom of the graph reaches the keyboard.
    s.editor.getFrame()->onWheel(s.at(300, 40), kMouseWheelAxisY, 2.0f, 0);
    EXPECT_EQ(keys->getMinFrequency(), s.graph->getMinFrequency());
    EXPECT_EQ(keys->getMaxFrequency(), s.graph->getMaxFrequency());
}

TEST(EQGraphMouse, ThePopupsMenusAndFieldsSetTheBandsRows) {
    struct Row {
        int32_t rect;
        std::function<void(IPopupClient*)> act;
        int32_t field;
        double expected;
    };
    auto choose = [](int32_t entry) {
        return [entry](IPopupClient* client) {
            auto* menu = dynamic_cast<MenuPopup*>(client);
            ASSERT_NE(menu, nullptr);
            for (int32_t i = 0; i < 16 && menu->highlighted(0) != entry; ++i) menu->popupKey(0, VKEY_DOWN, 0);
            menu->popupKey(0, VKEY_RETURN, 0);
        };
    };
    auto type = [](const char* text) {
        return [text](IPopupClient* client) {
            auto* field = dynamic_cast<TextEntryPopup*>(client);
            ASSERT_NE(field, nullptr);
            for (const char* c = text; *c; ++c) field->popupKey(uint32_t(*c), 0, 0);
            field->popupKey(0, VKEY_RETURN, 0);
        };
    };
    const Row rows[] = {
        {2, choose(3), kFieldType, kTypeHighShelf},
        {4, type("1k5"), kFieldFrequency, 1500.0},
        {6, type("2,5"), kFieldQ, 2.5},
    };
    for (const Row& row : rows) {
        ScriptedWindow::reset();
        setPlatformFrameFactory(&ScriptedWindow::make);
        {
            Session s(1);
            s.makeBand(0, kTypePeak, 700.0, 0.1);
            s.move(s.handle(0), 0);  // the popup opens on the hovered band
            s.refresh();              // and its texts arrive
            s.graph->layoutPopup();
            const CRect box = s.graph->popupRect(row.rect);
            ASSERT_FALSE(box.isEmpty()) << row.rect;
            ScriptedWindow::script = row.act;
            s.down(s.at((box.left + box.right) / 2, (box.top + box.bottom) / 2), kLButton);
            s.refresh();
            EXPECT_EQ(ScriptedWindow::popups, 1) << row.rect;
            EXPECT_NEAR(s.real(0, row.field), row.expected, 1e-3) << row.rect;
            s.undo();
            EXPECT_NE(s.real(0, row.field), row.expected) << row.rect;
        }
        setPlatformFrameFactory(nullptr);
    }
    ScriptedWindow::reset();
}
