// The processing loop: chunking, mid/side, bypass and its delay, channel
// gain, solo monitoring and the clip latch, observed at the effect's inputs
// and outputs.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "CoreRun.h"

namespace {

float normOf(Plug& fx, int32_t index, double real) {
    return float(curveToNorm(*fx.getRow(index), real));
}

TEST(ProcessLoop, LongBlocksAreCutIntoChunksOf1024) {
    // A gain ramp is running. It snaps to its target only at the end of a
    // chunk, so where the chunks end shows in the output.
    const Buffers in = noise(2, 2500);
    auto whole = makePlug(2), pieces = makePlug(2), small = makePlug(2);
    for (Plug* fx : {whole.get(), pieces.get(), small.get()}) {
        setShown(*fx, kGain, -12.0);
        settleEngine(*fx);
    }
    const Buffers one = run(*whole, in, 2500);
    EXPECT_EQ(one, run(*pieces, in, {1024, 1024, 452}));
    // In blocks of 333 the ramp snaps at 1665 instead of 2048.
    const Buffers other = run(*small, in, 333);
    bool differs = false;
    for (size_t s = 1665; s < 2048; ++s) differs |= other[0][s] != one[0][s];
    EXPECT_TRUE(differs);
    for (size_t s = 0; s < 1332; ++s) ASSERT_EQ(other[0][s], one[0][s]) << s;
}

TEST(ProcessLoop, ACodedPairRoundTripsExactlyAndItsChannelsAreMidAndSide) {
    auto fx = makePlug(2);
    ASSERT_EQ(fx->getMsMask() & 1, 1);  // the default codes pair 0 as mid and side
    const Buffers in = noise(2, 1000);
    EXPECT_EQ(run(*fx, in, 512), in);
    fx->setParameter(kChannel2Mute, 1.0f);  // mutes the side
    fx->resume();                            // no fade after resume
    const Buffers out = run(*fx, in, 256);
    for (size_t s = 0; s < 1000; ++s) {
        const double mid = (double(in[0][s]) + in[1][s]) * 0.5;
        EXPECT_FLOAT_EQ(out[0][s], float(mid));
        EXPECT_FLOAT_EQ(out[1][s], float(mid));
    }
    // Left/right coding instead: muting channel 2 silences the right.
    fx->setParameter(kMsState, 0.0f);
    settleEngine(*fx);
    EXPECT_EQ(fx->getMsMask(), 0);
    fx->resume();
    const Buffers lr = run(*fx, in, 256);
    EXPECT_EQ(lr[0], in[0]);
    EXPECT_EQ(lr[1], std::vector<float>(1000, 0.0f));
}

TEST(ProcessLoop, BypassWithoutLatencyIsBitIdentical) {
    auto fx = makePlug(2);
    setShown(*fx, kGain, -20.0);
    fx->setBypass(true);
    const Buffers in = noise(2, 2048, 7, 1.0f);
    EXPECT_EQ(run(*fx, in, 300), in);
    EXPECT_EQ(fx->getAeffect()->initialDelay, 0);
}

class LinearFir : public ::testing::Test {
protected:
    void SetUp() override {
        fx = makePlug(2);
        fx->setParameter(kMode, normOf(*fx, kMode, 1));
        fx->setParameter(kIRPhase, normOf(*fx, kIRPhase, 0));  // Linear
        fx->setParameter(kIRLength, normOf(*fx, kIRLength, 0));  // 1024 taps
        fx->resume();
    }
    std::unique_ptr<Plug> fx;
};

TEST_F(LinearFir, ReportsHalfTheImpulseAsLatencyAndDelaysByIt) {
    const int32_t latency = fx->getAeffect()->initialDelay;
    ASSERT_EQ(latency, 512);
    const Buffers in = noise(2, 3000);
    const Buffers out = run(*fx, in, 128);
    // With no band on, the linear-phase impulse is a unit tap at its centre;
    // transforms leave rounding far below the 24-bit floor.
    for (size_t c = 0; c < 2; ++c)
        for (size_t s = 0; s < 3000; ++s)
            ASSERT_NEAR(out[c][s], s < 512 ? 0.0f : in[c][s - 512], 1e-7f) << c << " " << s;
}

TEST_F(LinearFir, BypassKeepsTimeWithTheProcessedPath) {
    // Toggling bypass mid-stream gives the same delayed signal on both sides.
    const Buffers in = noise(2, 4096);
    Buffers out(2, std::vector<float>(4096));
    for (int32_t at = 0; at < 4096; at += 256) {
        fx->setBypass((at / 256) % 2 == 1);
        std::vector<float*> ip = {const_cast<float*>(in[0].data()) + at, const_cast<float*>(in[1].data()) + at};
        std::vector<float*> op = {out[0].data() + at, out[1].data() + at};
        fx->processReplacing(ip.data(), op.data(), 256);
    }
    for (size_t c = 0; c < 2; ++c)
        for (size_t s = 512; s < 4096; ++s) ASSERT_FLOAT_EQ(out[c][s], in[c][s - 512]) << c << " " << s;
}

TEST_F(LinearFir, OnlyTheLinearPhaseModesHaveLatency) {
    const std::pair<int32_t, int32_t> phaseLatency[] = {{1, 0}, {2, 0}, {3, 512}, {4, 512}, {7, 512}};
    for (const auto& [phase, latency] : phaseLatency) {
        fx->setParameter(kIRPhase, normOf(*fx, kIRPhase, phase));
        settleEngine(*fx);
        EXPECT_EQ(fx->getAeffect()->initialDelay, latency) << phase;
    }
    fx->setParameter(kMode, 0.0f);
    settleEngine(*fx);
    EXPECT_EQ(fx->getAeffect()->initialDelay, 0);
}

TEST(ProcessLoop, ChannelGainRampsToItsTargetAndSnaps) {
    auto fx = makePlug(1);
    setShown(*fx, kGain, -6.0);  // the ramp starts from unity
    settleEngine(*fx);
    const double target = fx->getChannelGainTarget(0);
    EXPECT_NEAR(target, std::pow(10.0, -6.0 / 20.0), 1e-6);  // the gain row holds a float
    const Buffers ones(1, std::vector<float>(3000, 1.0f));
    const Buffers out = run(*fx, ones, 100);
    // Per sample g += (t-g)*0.01, so after n samples g = t + (1-t)*0.99^n.
    for (int32_t n : {1, 10, 100, 1000})
        EXPECT_NEAR(out[0][size_t(n - 1)], target + (1.0 - target) * std::pow(0.99, n), 1e-6) << n;
    // Within 1e-6 of the target after about 1400 samples, and exactly on it soon after.
    EXPECT_EQ(fx->getChannelGainNow(0), target);
    EXPECT_EQ(out[0][2999], float(target));
}

TEST(ProcessLoop, GainPolarityMuteAndLevelCompose) {
    auto fx = makePlug(2);
    fx->setParameter(kMsState, 0.0f);
    setShown(*fx, kGain, 6.0);
    fx->setParameter(kChannel1Phase, 1.0f);
    fx->setParameter(kChannel2Level, normOf(*fx, kChannel2Level, 0.5));
    const double master = std::pow(10.0, fx->getRealValue(kGain) / 20.0);
    EXPECT_NEAR(master, std::pow(10.0, 6.0 / 20.0), 1e-6);
    EXPECT_DOUBLE_EQ(fx->getChannelGainTarget(0), -master);
    EXPECT_NEAR(fx->getRealValue(kChannel2Level), 0.5, 1e-6);
    EXPECT_DOUBLE_EQ(fx->getChannelGainTarget(1), master * fx->getRealValue(kChannel2Level));
    fx->setParameter(kChannel2Mute, 1.0f);
    EXPECT_EQ(fx->getChannelGainTarget(1), 0.0);

    // Solo in the "mute" mode leaves the soloed channel's gain alone and
    // mutes the others by theirs.
    const OneGlobalSetting settings("Solo Mode", 1);
    auto solo = makePlug(2);
    solo->setSettingsSource(&settings);
    solo->setParameter(kMsState, 0.0f);
    solo->setParameter(kChannel1Solo, 1.0f);
    EXPECT_EQ(solo->getChannelGainTarget(0), 1.0);
    EXPECT_EQ(solo->getChannelGainTarget(1), 0.0);
}

// Host output channel h carries the weighted sum of the host inputs in from[h].
struct SoloCase {
    int32_t channels, msState;
    std::vector<int32_t> soloedSlots;
    std::vector<std::vector<std::pair<int32_t, double>>> from;
};

TEST(ProcessLoop, SoloedChannelsAreHeardWhereTheirCodingPutsThem) {
    const SoloCase cases[] = {
        {2, 0, {1}, {{{1, 0.5}}, {{1, 0.5}}}},                                 // one of L/R: both sides at half level
        {2, 8, {1}, {{{0, 0.5}, {1, -0.5}}, {{0, 0.5}, {1, -0.5}}}},           // the side alone, not decoded
        {2, 8, {0, 1}, {{{0, 1}}, {{1, 1}}}},                                  // a whole coded pair: decoded
        {6, 8, {0, 1}, {{{0, 1}}, {}, {{2, 1}}, {}, {}, {}}},                  // 5.1, L/R coded: centre silent
        {6, 12, {0, 1, 2}, {{{0, 1}}, {{3, 1}, {4, 1}}, {{2, 1}}, {}, {}, {}}},  // and half of coded Ls/Rs: its mid on the centre
        {6, 8, {0, 1, 3}, {{{0, 1}}, {{4, 1}}, {{2, 1}}, {}, {}, {}}},         // and uncoded Rs on the centre
        {6, 0, {2, 5}, {{}, {{3, 1}}, {}, {}, {}, {{5, 1}}}},                  // Ls to the centre, the LFE stays put
    };
    for (const SoloCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.channels << " channels, MS " << c.msState << ", soloed " << c.soloedSlots.size());
        auto fx = makePlug(c.channels);
        setShown(*fx, kMsState, c.msState);
        for (int32_t slot : c.soloedSlots) fx->setParameter(channelParam(slot, kFieldSolo), 1.0f);
        settleEngine(*fx);
        const Buffers in = noise(c.channels, 512);
        const Buffers out = run(*fx, in, 512);
        for (int32_t h = 0; h < c.channels; ++h)
            for (size_t s = 0; s < 512; ++s) {
                double want = 0.0;
                for (const auto& [k, weight] : c.from[size_t(h)]) want += weight * in[size_t(k)][s];
                ASSERT_NEAR(out[size_t(h)][s], want, 1e-6) << "host channel " << h << ", sample " << s;
            }
    }
}

TEST(ProcessLoop, MismatchedOrMissingChannelsLeaveOutputsUntouched) {
    auto fx = makePlug(2);
    Buffers in = noise(2, 64);
    Buffers out = Buffers(2, std::vector<float>(64, 7.0f));
    float* ip[2] = {in[0].data(), nullptr};
    float* op[2] = {out[0].data(), out[1].data()};
    fx->processReplacing(ip, op, 64);
    EXPECT_EQ(out[0][0], 7.0f);
    fx->setNumOutputs(1);
    ip[1] = in[1].data();
    fx->processReplacing(ip, op, 64);
    EXPECT_EQ(out[0][0], 7.0f);
}

}  // namespace
