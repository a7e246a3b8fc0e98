// Auto gain and AutoListen against facts: the average level of known
// curves, loudness kept on pink noise, and one band heard alone while its
// frequency is dragged.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

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

// Pink noise by summing random values that change at octave-spaced rates:
// each row holds its value for 2^k samples, so together their power falls
// by about 3 dB per octave.
std::vector<float> pinkNoise(int32_t frames, uint32_t seed) {
    constexpr int32_t kRows = 16;
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> white(-1.0f, 1.0f);
    float rows[kRows] = {};
    for (float& r : rows) r = white(gen);
    std::vector<float> out(static_cast<size_t>(frames));
    for (int32_t n = 0; n < frames; ++n) {
        // The row whose turn it is: the number of trailing zeros of n.
        const int32_t k = n == 0 ? 0 : std::min(__builtin_ctz(uint32_t(n)), kRows - 1);
        rows[k] = white(gen);
        float sum = white(gen);
        for (const float r : rows) sum += r;
        out[size_t(n)] = sum * 0.05f;
    }
    return out;
}

double rms(const std::vector<float>& x, size_t from) {
    double sum = 0.0;
    for (size_t i = from; i < x.size(); ++i) sum += double(x[i]) * x[i];
    return std::sqrt(sum / double(x.size() - from));
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

TEST(AutoGain, PinkNoiseKeepsItsLoudnessThroughAWideBoost) {
    auto fx = makePlug(1);
    band(*fx, 0, kTypePeak, 6.0, 1000.0, 0.3);
    PlugEd::of(*fx)->setAutoGain(true, false);
    settleEngine(*fx);
    const int32_t frames = 1 << 17;
    std::vector<float> in = pinkNoise(frames, 7), out = in;
    for (int32_t at = 0; at < frames; at += 512) {
        float* io[1] = {out.data() + at};
        fx->processReplacing(io, io, 512);
    }
    // The level in dB, after the filter and the gain ramp settled. Auto
    // gain divides by the curve's mean amplitude over log frequency, while
    // pink noise's power is spread evenly over log frequency, and the test
    // noise is pink only to within about a dB per octave: for a 6 dB boost
    // that leaves under 1 dB (measured: -0.84 dB, against +1.77 dB without).
    const double change = 20.0 * std::log10(rms(out, 8192) / rms(in, 8192));
    EXPECT_LT(std::fabs(change), 1.0) << change << " dB";
    // Without auto gain the same boost is plainly louder.
    PlugEd::of(*fx)->setAutoGain(false, false);
    settleEngine(*fx);
    out = in;
    for (int32_t at = 0; at < frames; at += 512) {
        float* io[1] = {out.data() + at};
        fx->processReplacing(io, io, 512);
    }
    const double plain = 20.0 * std::log10(rms(out, 8192) / rms(in, 8192));
    EXPECT_GT(plain, 1.5);
    EXPECT_GT(plain - std::fabs(change), 0.5);
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
