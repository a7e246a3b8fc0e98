// Auto gain and AutoListen against facts: the average level of known
// curves, loudness kept on pink noise, and one band heard alone while its
// frequency is dragged.

#include <gtest/gtest.h>

#include <cmath>

#include "TestHost.h"
#include "session/PlugEd.h"
#include "state/GlobalSettings.h"

namespace {

void band(Plug& fx, int32_t b, int32_t type, double gain, double hz, double q = 0.71) {
    setShown(fx, bandParam(b, kFieldState), kBandOn);
    setShown(fx, bandParam(b, kFieldType), type);
    setShown(fx, bandParam(b, kFieldGain), gain);
    setShown(fx, bandParam(b, kFieldFrequency), hz);
    setShown(fx, bandParam(b, kFieldQ), q);
}

double autoGain(Plug& fx, double* second = nullptr) {
    settleEngine(fx);
    double g1 = 0.0, g2 = 0.0;
    fx.autoGainNow(&g1, &g2, nullptr);
    if (second != nullptr) *second = g2;
    return g1;
}

void useGlobal(Plug& fx, const char* name, int32_t value) {
    GlobalSettings::instance().setValue(name, value);
    fx.reloadGlobalSettings();
}

void useUi(Plug& fx, const char* category, const char* key, int32_t value) {
    fx.uiSettings().setValue(category, key, value);
    fx.reloadUISettings();
}

}  // namespace

// ---------------------------------------------------------------------------
// Auto gain

TEST(AutoGain, KnownCurvesGiveTheirAverageLevelBack) {
    auto fx = makePlug(2);
    EXPECT_DOUBLE_EQ(autoGain(*fx), 1.0);  // flat: S = 1
    // A shelf at 10 Hz lifts everything the grid sees (20 Hz up) by 6 dB,
    // all but the lowest points, which lie on its slope.
    band(*fx, 0, kTypeHighShelf, 6.0, 10.0);
    EXPECT_NEAR(autoGain(*fx), std::pow(10.0, -6.0 / 20.0), 0.01);
    // Three such shelves at -18 dB: 54 dB down, so the gain stops at 16.
    for (int32_t b = 0; b < 3; ++b) band(*fx, b, kTypeHighShelf, -18.0, 10.0);
    EXPECT_DOUBLE_EQ(autoGain(*fx), 16.0);
}

TEST(AutoGain, WeightingsTiltTowardTheHighs) {
    auto fx = makePlug(2);
    band(*fx, 0, kTypeHighShelf, 6.0, 2000.0);
    useUi(*fx, "Misc", "Autogain Weighting", 0);
    const double white = autoGain(*fx);
    useUi(*fx, "Misc", "Autogain Weighting", 1);
    const double pink = autoGain(*fx);
    useUi(*fx, "Misc", "Autogain Weighting", 2);
    const double loudness = autoGain(*fx);
    // A lift of the highs counts for more when the highs weigh more.
    EXPECT_LT(pink, white);
    EXPECT_LT(loudness, white);
    EXPECT_GT(white, 0.5);
    EXPECT_LT(white, 1.0);
}

TEST(AutoGain, MidAndSideCanBeWeighedApart) {
    auto fx = makePlug(2);
    band(*fx, 0, kTypeHighShelf, 6.0, 10.0);
    setShown(*fx, bandParam(0, kFieldGroups), 128);  // mid only
    const double boosted = std::pow(10.0, -6.0 / 20.0);
    double side = 0.0;
    const double together = autoGain(*fx, &side);
    EXPECT_NEAR(together, 1.0 / ((1.0 / boosted + 1.0) / 2.0), 0.01);
    EXPECT_EQ(side, 1.0);
    useUi(*fx, "Misc", "Autogain MS", 1);
    EXPECT_NEAR(autoGain(*fx, &side), boosted, 0.01);
    EXPECT_NEAR(side, 1.0, 1e-9);
}

TEST(AutoGain, TheSwitchScalesTheChannelGainsAndBakingKeepsTheLevel) {
    auto fx = makePlug(2);
    band(*fx, 0, kTypeHighShelf, 6.0, 10.0);
    settleEngine(*fx);
    const double plain = fx->getChannelGainTarget(0);
    PlugEd::of(*fx)->setAutoGain(true, false);
    settleEngine(*fx);
    const double g = autoGain(*fx);
    EXPECT_NEAR(fx->getChannelGainTarget(0), plain * g, 1e-9);
    EXPECT_NEAR(fx->getChannelGainTarget(1), plain * g, 1e-9);
    // Baked into the levels, the switch can go off without a jump.
    fx->bakeAutoGain();
    PlugEd::of(*fx)->setAutoGain(false, false);
    settleEngine(*fx);
    EXPECT_NEAR(fx->getChannelGainTarget(0), plain * g, 1e-4);
    EXPECT_EQ(fx->programStore().autoGain(fx->getProgram()), 0);
}

// ---------------------------------------------------------------------------
// AutoListen

TEST(AutoListen, AFrequencyDragReplacesExactlyOneBandAndRestoresIt) {
    auto fx = makePlug(2);
    useGlobal(*fx, "AutoListen Enable", 0);
    band(*fx, 2, kTypePeak, 4.0, 800.0);
    band(*fx, 5, kTypeHighShelf, -3.0, 9000.0);
    settleEngine(*fx);
    const EQ* listened = fx->getBank().getBandAt(2, 0);
    const EQ* other = fx->getBank().getBandAt(5, 0);
    const int32_t typeBefore = listened->getType(), otherState = other->getState();

    fx->setAutoListenArmed(true);
    const int32_t tag = bandParam(2, kFieldFrequency);
    fx->beginEdit(tag);
    settleEngine(*fx);
    EXPECT_TRUE(fx->isAutoListening());
    EXPECT_EQ(fx->getAutoListenBand(), 2);
    EXPECT_NE(listened->getType(), typeBefore);  // a band pass now
    EXPECT_NE(other->getState(), otherState);    // stepped aside
    fx->endEdit(tag);  // "Hold": armed still, so it goes on
    EXPECT_TRUE(fx->isAutoListening());
    fx->setAutoListenArmed(false);
    fx->beginEdit(tag);
    fx->endEdit(tag);
    settleEngine(*fx);
    EXPECT_FALSE(fx->isAutoListening());
    EXPECT_EQ(listened->getType(), typeBefore);
    EXPECT_EQ(other->getState(), otherState);
}

TEST(AutoListen, QGesturesFollowTheIgnoreQSetting) {
    auto fx = makePlug(2);
    band(*fx, 1, kTypePeak, 3.0, 500.0);
    const int32_t q = bandParam(1, kFieldQ);
    useGlobal(*fx, "AutoListen Enable", 0);
    useGlobal(*fx, "AutoListen Ignores Q", 1);
    fx->setAutoListenArmed(true);
    fx->beginEdit(q);
    fx->endEdit(q);
    EXPECT_FALSE(fx->isAutoListening());  // "Hold" ignores a Q drag

    useGlobal(*fx, "AutoListen Enable", 1);  // "Toggle": each Q gesture flips it at its end
    fx->beginEdit(q);
    fx->endEdit(q);
    EXPECT_EQ(fx->getAutoListenBand(), 1);
    fx->beginEdit(q);
    EXPECT_FALSE(fx->isAutoListening());
    fx->endEdit(q);
    EXPECT_TRUE(fx->isAutoListening());
}

TEST(AutoListen, SwitchingTheBandOffEndsItAndDisabledMeansNever) {
    auto fx = makePlug(2);
    useGlobal(*fx, "AutoListen Enable", 0);
    useGlobal(*fx, "AutoListen Ignores Q", 0);
    band(*fx, 0, kTypePeak, 3.0, 500.0);
    fx->setAutoListenArmed(true);
    fx->beginEdit(bandParam(0, kFieldFrequency));
    EXPECT_TRUE(fx->isAutoListening());
    fx->setParameterAutomated(bandParam(0, kFieldState), 0.0f);
    EXPECT_FALSE(fx->isAutoListening());
    fx->endEdit(bandParam(0, kFieldFrequency));

    useGlobal(*fx, "AutoListen Disabled", 1);
    fx->setAutoListenArmed(true);
    band(*fx, 0, kTypePeak, 3.0, 500.0);
    fx->beginEdit(bandParam(0, kFieldFrequency));
    EXPECT_FALSE(fx->isAutoListening());
    fx->endEdit(bandParam(0, kFieldFrequency));
    useGlobal(*fx, "AutoListen Disabled", 0);
}

TEST(AutoListen, TheEditorKeepsOnlyTheControlsThatStillMeanSomething) {
    auto fx = makePlug(2);
    useGlobal(*fx, "AutoListen Enable", 0);
    useGlobal(*fx, "AutoListen Gain", 1);  // "+12dB": the gain knob does nothing while listening
    useGlobal(*fx, "AutoListen Q", 0);
    useGlobal(*fx, "AutoListen Ignores Q", 0);
    band(*fx, 0, kTypePeak, 3.0, 500.0);
    band(*fx, 1, kTypeHPF, 0.0, 40.0);
    settleEngine(*fx);
    char label[kParamTextSize];
    const int32_t peak = fx->bandControls(0, label, true);
    EXPECT_EQ(peak & (kControlGain | kControlFrequency | kControlQ), kControlGain | kControlFrequency | kControlQ);
    EXPECT_NE(fx->bandControls(1, label, true) & kControlSlope, 0);

    fx->setAutoListenArmed(true);
    fx->beginEdit(bandParam(0, kFieldFrequency));
    settleEngine(*fx);
    // The peak's own controls, from the type it had, less the gain.
    EXPECT_EQ(fx->bandControls(0, label, true), peak & ~(kControlGain | kControlShift));
    EXPECT_EQ(fx->bandControls(1, label, true), kControlFrequency);
    EXPECT_NE(fx->bandControls(1, label, false) & kControlSlope, 0);  // not asked for the listening view
    fx->setAutoListenArmed(false);
    fx->endEdit(bandParam(0, kFieldFrequency));
    useGlobal(*fx, "AutoListen Gain", 0);
}
