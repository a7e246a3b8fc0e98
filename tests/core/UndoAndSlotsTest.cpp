// Undo and redo of edit gestures, and the A/B slots as the editor drives
// them: the steps a user takes and what each must give back.

#include <gtest/gtest.h>

#include "CoreRun.h"
#include "session/PlugEd.h"

namespace {

// Values as the user sees them: dB, Hz, the row's choices.
float norm(Plug& fx, int32_t index, double shown) {
    return float(fx.displayToNorm(index, shown));
}

// A gesture as a control makes it: begin, values, end.
void drag(Plug& fx, int32_t index, std::initializer_list<double> reals) {
    fx.beginEdit(index);
    for (const double r : reals) fx.setParameterAutomated(index, norm(fx, index, r));
    fx.endEdit(index);
}

void bandOn(Plug& fx, int32_t band) {
    drag(fx, bandParam(band, kFieldState), {double(kBandOn)});
}

std::vector<float> valuesOf(Plug& fx) {
    std::vector<float> v(kNumParams);
    for (int32_t i = 0; i < kNumParams; ++i) v[size_t(i)] = fx.getParameter(i);
    return v;
}

// A fresh instance restored from the session `from` saves.
std::unique_ptr<Plug> restoredFrom(Plug& from) {
    std::vector<uint8_t> chunk = chunkOf(from);
    auto fx = makePlug(2);
    fx->setChunk(chunk.data(), int32_t(chunk.size()), false);
    return fx;
}

}  // namespace

// ---------------------------------------------------------------------------
// Undo and redo

TEST(Undo, ADragIsOneStepAClickLeavesNoTraceAndAChangeEmptiesRedo) {
    auto fx = makePlug(2);
    const float start = fx->getParameter(kGain);
    drag(*fx, kGain, {1.0, 2.0, 3.0, 4.5});
    EXPECT_EQ(fx->undoDepth(), 1u);
    fx->undo();
    EXPECT_EQ(fx->getParameter(kGain), start);
    fx->redo();
    EXPECT_FLOAT_EQ(fx->getRealValue(kGain), 4.5f);
    EXPECT_FALSE(fx->canRedo());
    drag(*fx, kScale, {30.0});
    fx->undo();  // the scale move can be redone
    drag(*fx, kGain, {4.5});  // clicked, not moved
    EXPECT_EQ(fx->undoDepth(), 1u);
    EXPECT_TRUE(fx->canRedo());
    drag(*fx, kGain, {3.0});  // a real change empties redo
    EXPECT_FALSE(fx->canRedo());
}

TEST(Undo, AGroupIsOneStepAndEmptyOnesLeaveNothing) {
    auto fx = makePlug(2);
    const std::vector<float> before = valuesOf(*fx);
    fx->undoBeginGroup();
    fx->undoEndGroup();
    EXPECT_FALSE(fx->canUndo());

    fx->undoBeginGroup();
    for (int32_t b = 0; b < 6; ++b) {
        bandOn(*fx, b);
        drag(*fx, bandParam(b, kFieldGain), {1.0 + b, -2.0 - b});
        drag(*fx, bandParam(b, kFieldFrequency), {200.0 * (b + 1)});
    }
    fx->undoEndGroup();
    drag(*fx, kGain, {-1.0});  // a step after the group
    const std::vector<float> after = valuesOf(*fx);

    fx->undo();  // the gain
    EXPECT_EQ(fx->getParameter(kGain), before[kGain]);
    fx->undo();  // the whole group
    EXPECT_EQ(valuesOf(*fx), before);
    EXPECT_FALSE(fx->canUndo());
    fx->redo();  // the group again, in one step
    EXPECT_EQ(fx->getParameter(kGain), before[kGain]);
    EXPECT_EQ(fx->getParameter(bandParam(5, kFieldFrequency)), after[size_t(bandParam(5, kFieldFrequency))]);
    fx->redo();
    EXPECT_EQ(valuesOf(*fx), after);

    // Nested groups still record every step.
    fx->undoBeginGroup();
    drag(*fx, kGain, {1.0});
    fx->undoBeginGroup();
    drag(*fx, kScale, {20.0});
    fx->undoEndGroup();
    fx->undoEndGroup();
    while (fx->canUndo()) fx->undo();
    EXPECT_EQ(valuesOf(*fx), before);
}

TEST(Undo, LoadingAProgramOrAStateEmptiesTheStacks) {
    auto fx = makePlug(2);
    drag(*fx, kGain, {1.0});
    fx->setProgram(1);
    EXPECT_FALSE(fx->canUndo());
    drag(*fx, kGain, {2.0});
    fx->undo();
    std::vector<uint8_t> chunk = chunkOf(*fx);
    fx->setChunk(chunk.data(), int32_t(chunk.size()), false);
    EXPECT_FALSE(fx->canUndo());
    EXPECT_FALSE(fx->canRedo());
}

TEST(Undo, SlotChangesAreStepsOfTheSlotParameter) {
    auto fx = makePlug(2);
    drag(*fx, kGain, {3.0});
    PlugEd::of(*fx)->chooseABSlot(2);
    EXPECT_EQ(fx->getABSlot(), 2);
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));  // slot C is fresh
    fx->undo();
    EXPECT_EQ(fx->getABSlot(), 0);
    EXPECT_NEAR(fx->getRealValue(kGain), 3.0, 1e-5);
}

TEST(Undo, AGestureOnLinkedBandsIsOneStep) {
    auto fx = makePlug(2);
    for (int32_t b = 0; b < 4; ++b) bandOn(*fx, b);
    const std::vector<float> before = valuesOf(*fx);
    PlugEd& ed = *PlugEd::of(*fx);
    ed.setSelectedBands(0b1011);  // bands 1, 2 and 4
    const int32_t tag = bandParam(0, kFieldGain);
    ed.beginLinkedEdit(tag);
    EXPECT_EQ(ed.getStartValue(3, kFieldGain), fx->getRealValue(bandParam(3, kFieldGain)));
    for (const double shown : {1.0, 2.0, 3.0})
        for (const int32_t b : {0, 1, 3}) fx->setParameterAutomated(bandParam(b, kFieldGain), norm(*fx, tag, shown));
    ed.endLinkedEdit(tag);
    fx->undo();
    EXPECT_EQ(valuesOf(*fx), before);
    EXPECT_EQ(fx->undoDepth(), 4u);  // only the four band switches remain
    fx->redo();
    EXPECT_NEAR(fx->normToDisplay(tag, fx->getParameter(bandParam(3, kFieldGain))), 3.0, 1e-4);
}

TEST(Undo, AStateGestureOnLinkedBandsIsOneStepAndLeavesNoBandHeld) {
    // Band 1's State from `from` to `to` with bands 2 and 4 linked; the
    // bands in `moved` take the new State within the gesture.
    struct Case { double from, to; std::vector<int32_t> moved; };
    for (const Case& c : {Case{kBandOn, kBandOff, {0, 1, 3}}, Case{kBandOn, kBandBypassed, {0, 1, 3}},
                          Case{kBandOff, kBandOn, {0}}}) {
        SCOPED_TRACE(c.to);
        auto fx = makePlug(2);
        for (const int32_t b : {0, 1, 3}) drag(*fx, bandParam(b, kFieldState), {c.from});
        drag(*fx, kGain, {2.0});  // the step before the gesture
        PlugEd& ed = *PlugEd::of(*fx);
        ed.setSelectedBands(0b1011);
        const int32_t tag = bandParam(0, kFieldState);
        ed.beginLinkedEdit(tag);
        for (const int32_t b : c.moved) fx->setParameterAutomated(bandParam(b, kFieldState), norm(*fx, tag, c.to));
        ed.endLinkedEdit(tag);

        // A linked band's next State change is a step of its own.
        const int32_t linked = bandParam(1, kFieldState);
        const float held = fx->getRealValue(linked);
        drag(*fx, linked, {held == 0.0f ? double(kBandOn) : double(kBandOff)});
        fx->undo();
        EXPECT_EQ(fx->getRealValue(linked), held);
        fx->undo();  // the gesture, at once
        for (const int32_t b : {0, 1, 3}) EXPECT_EQ(fx->getRealValue(bandParam(b, kFieldState)), c.from) << b;
        EXPECT_NEAR(fx->getRealValue(kGain), 2.0, 1e-4);
    }
}

// ---------------------------------------------------------------------------
// A/B slots

TEST(ABSlots, EachToggleModeWalksItsSlots) {
    // Steps: 'c' chooses a slot, 'b' switches a band on, 't' toggles and
    // names the slot the toggle must reach. Mode 0 goes between the last
    // two slots, 1 walks the visited ones in order, 2 the ones with a band on.
    struct Case { int32_t mode; const char* steps; };
    for (const Case& c : {Case{0, "c3 t0 t3"}, Case{1, "t0 c5 c2 t5 t0 t2 t5"}, Case{2, "t0 c6 b4 c1 t6 t6"}}) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ": " << c.steps);
        auto fx = makePlug(2);
        PlugEd& ed = *PlugEd::of(*fx);
        ed.setToggleMode(c.mode);
        for (const char* at = c.steps; *at; at += *at == ' ' ? 1 : 2) {
            const int32_t n = at[1] - '0';
            if (at[0] == 'c') ed.chooseABSlot(n);
            if (at[0] == 'b') bandOn(*fx, n);
            if (at[0] == 't') {
                ed.toggleABSlot();
                EXPECT_EQ(fx->getABSlot(), n) << "at " << at;
            }
        }
        float shown = -1.0f;
        EXPECT_TRUE(ed.takeUpdate(kGUIABMenu, &shown));
        EXPECT_EQ(shown, float(fx->getABSlot()));
    }
}

TEST(ABSlots, EachSlotRecallsItsValuesBandOrderAndAutoGainAndCopiesKeepTheCurrentSlot) {
    auto fx = makePlug(2);
    drag(*fx, kGain, {-2.5});
    const int32_t order[] = {7, -1};
    fx->setBandOrder(0, order, 2);
    fx->setAutoGain(0, 1);
    PlugEd::of(*fx)->copyToABSlot(4);
    EXPECT_EQ(fx->getABSlot(), 0);
    fx->switchABSlot(1);
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));  // slot B is fresh
    EXPECT_EQ(fx->programStore().bandOrder(0)[0], -1);
    EXPECT_EQ(fx->programStore().autoGain(0), 0);
    for (const int32_t slot : {0, 4}) {
        fx->switchABSlot(slot);
        EXPECT_FLOAT_EQ(fx->getRealValue(kGain), -2.5f) << slot;
        EXPECT_EQ(fx->programStore().bandOrder(0)[0], 7) << slot;
        EXPECT_EQ(fx->programStore().autoGain(0), 1) << slot;
    }
    fx->switchABSlot(8);  // no such slot
    EXPECT_EQ(fx->getABSlot(), 4);
}

// The slot left takes the band order and auto gain of the program playing
// now, not those it held when the program was another.
TEST(ABSlots, TheSlotLeftKeepsTheExtrasOfTheProgramNowPlaying) {
    auto fx = makePlug(2);
    const int32_t order[] = {7, -1};
    fx->setBandOrder(0, order, 2);
    fx->setAutoGain(0, 1);
    fx->setProgram(1);
    fx->switchABSlot(1);
    fx->switchABSlot(0);
    EXPECT_EQ(fx->programStore().bandOrder(1)[0], -1);
    EXPECT_EQ(fx->programStore().autoGain(1), 0);
}

TEST(ABSlots, AutomationOfTheSlotParameterSwitchesSlots) {
    auto fx = makePlug(2);
    drag(*fx, kGain, {1.0});
    fx->setParameter(kABBank, float(curveToNorm(*fx->getRow(kABBank), 3)));
    EXPECT_EQ(fx->getABSlot(), 3);
    EXPECT_EQ(fx->getRealValue(kABBank), 3.0f);
    fx->setParameter(kGain, 0.25f);  // a write lands in the slot switched to
    EXPECT_EQ(fx->programStore().slot(3).values[kGain], 0.25f);
    EXPECT_NE(fx->programStore().slot(0).values[kGain], 0.25f);
    fx->setParameter(kABBank, 3 * 0.125f);  // the current slot: only stored
    EXPECT_EQ(fx->getABSlot(), 3);
    fx->setParameter(kABBank, 0.0f);
    EXPECT_FLOAT_EQ(fx->getRealValue(kGain), 1.0f);
}

TEST(ABSlots, TheSlotParameterAndMenuShowTheCurrentSlot) {
    // Slot C current, then: a program change, or a restore of that session.
    for (const bool restore : {false, true}) {
        SCOPED_TRACE(restore);
        auto fx = makePlug(2);
        PlugEd::of(*fx)->chooseABSlot(2);
        if (restore)
            fx = restoredFrom(*fx);
        else
            fx->setProgram(4);
        ASSERT_EQ(fx->getABSlot(), 2);
        EXPECT_EQ(fx->getParameter(kABBank), 2 * 0.125f);
        float shown = -1.0f;
        EXPECT_TRUE(PlugEd::of(*fx)->takeUpdate(kGUIABMenu, &shown));
        EXPECT_EQ(shown, 2.0f);
    }
}

TEST(ABSlots, ARecallGivesBackTheStoredValuesWhateverTheLiveScale) {
    // Band 1 at +6 dB, recalled while the live Scale is 0 dB: by a slot
    // switch, or by a session restore whose program 1 has Scale 0 dB while
    // program 2 is current.
    const int32_t gain = bandParam(0, kFieldGain);
    for (const bool restore : {false, true}) {
        SCOPED_TRACE(restore);
        auto fx = makePlug(2);
        if (restore) {
            fx->setParameter(kScale, norm(*fx, kScale, 0.0));
            fx->setProgram(1);
        }
        bandOn(*fx, 0);
        drag(*fx, gain, {6.0});
        const float stored = fx->getParameter(gain);
        if (restore) {
            fx = restoredFrom(*fx);
            EXPECT_EQ(fx->getProgram(), 1);
        } else {
            PlugEd::of(*fx)->chooseABSlot(1);
            drag(*fx, kScale, {0.0});
            PlugEd::of(*fx)->chooseABSlot(0);
        }
        EXPECT_EQ(fx->getParameter(gain), stored);
        EXPECT_EQ(fx->programStore().slot(0).values[gain], stored);
        EXPECT_EQ(fx->programStore().program(fx->getProgram()).values[gain], stored);
    }
}

TEST(ABSlots, ARestorePutsLockedRowsInForceAndLocksStillHoldAfterwards) {
    auto saved = makePlug(2);
    saved->setProgram(1);
    drag(*saved, kGain, {6.0});
    saved->setParameterLocked(1, kGain, true);
    auto fx = restoredFrom(*saved);
    ASSERT_EQ(fx->getProgram(), 1);
    EXPECT_FLOAT_EQ(fx->getRealValue(kGain), 6.0f);
    // The lock is in force again: a write and a slot switch leave the row alone.
    fx->setParameter(kGain, norm(*fx, kGain, 0.0));
    PlugEd::of(*fx)->chooseABSlot(3);
    EXPECT_FLOAT_EQ(fx->getRealValue(kGain), 6.0f);
}
