// The processing loop: chunking, mid/side, bypass and its delay, channel
// gain, solo monitoring and the clip latch, observed at the effect's inputs
// and outputs.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "TestHost.h"

namespace {

using Buffers = std::vector<std::vector<float>>;

Buffers noise(int32_t channels, int32_t frames, uint32_t seed = 1, float amplitude = 0.5f) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> d(-amplitude, amplitude);
    Buffers b(size_t(channels), std::vector<float>(size_t(frames), 0.0f));
    for (auto& ch : b)
        for (float& x : ch) x = d(gen);
    return b;
}

Buffers silence(int32_t channels, int32_t frames) {
    return Buffers(size_t(channels), std::vector<float>(size_t(frames), 0.0f));
}

// Runs the effect over `in` in host blocks of the given sizes, the last
// size repeating until the input is used up.
Buffers run(Plug& fx, const Buffers& in, std::vector<int32_t> blocks) {
    const int32_t channels = int32_t(in.size());
    const int32_t frames = int32_t(in[0].size());
    Buffers out = silence(channels, frames);
    size_t k = 0;
    for (int32_t at = 0; at < frames; at += blocks[k], k = std::min(k + 1, blocks.size() - 1)) {
        const int32_t n = std::min(blocks[k], frames - at);
        std::vector<float*> ip, op;
        for (int32_t c = 0; c < channels; ++c) {
            ip.push_back(const_cast<float*>(in[size_t(c)].data()) + at);
            op.push_back(out[size_t(c)].data() + at);
        }
        fx.processReplacing(ip.data(), op.data(), n);
    }
    return out;
}

Buffers run(Plug& fx, const Buffers& in, int32_t block) {
    return run(fx, in, std::vector<int32_t>{block});
}

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

TEST(ProcessLoop, MidSideRoundTripIsExact) {
    auto fx = makePlug(2);
    ASSERT_EQ(fx->getMsMask() & 1, 1);  // the default codes pair 0 as mid and side
    const Buffers in = noise(2, 3000);
    EXPECT_EQ(run(*fx, in, 512), in);
}

TEST(ProcessLoop, ChannelsOfACodedPairAreMidAndSide) {
    auto fx = makePlug(2);
    fx->setParameter(kChannel2Mute, 1.0f);  // mutes the side
    fx->resume();                            // no fade after resume
    const Buffers in = noise(2, 1000);
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

TEST(ProcessLoop, MsStateBitsAreReversedPairNumbers) {
    auto fx = makePlug(6);
    fx->setParameter(kMsState, normOf(*fx, kMsState, 12));  // pairs 0 and 1
    settleEngine(*fx);  // the timer's own update may hold the engine at that moment
    EXPECT_EQ(fx->getMsMask(), 0b0011);
    EXPECT_STREQ(fx->channelLabel(0), "Mid");
    EXPECT_STREQ(fx->channelLabel(3), "Side s");
    EXPECT_STREQ(fx->channelLabel(4), "Center");
    fx->setParameter(kMsState, normOf(*fx, kMsState, 1));
    settleEngine(*fx);
    EXPECT_EQ(fx->getMsMask(), 0b1000);
    EXPECT_STREQ(fx->channelLabel(0), "Left");
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
    Buffers out = silence(2, 4096);
    for (int32_t at = 0; at < 4096; at += 256) {
        fx->setBypass((at / 256) % 2 == 1);
        std::vector<float*> ip = {const_cast<float*>(in[0].data()) + at, const_cast<float*>(in[1].data()) + at};
        std::vector<float*> op = {out[0].data() + at, out[1].data() + at};
        fx->processReplacing(ip.data(), op.data(), 256);
    }
    for (size_t c = 0; c < 2; ++c)
        for (size_t s = 512; s < 4096; ++s) ASSERT_FLOAT_EQ(out[c][s], in[c][s - 512]) << c << " " << s;
}

TEST_F(LinearFir, OtherPhaseModesHaveNoLatency) {
    for (int32_t phase : {1, 2}) {
        fx->setParameter(kIRPhase, normOf(*fx, kIRPhase, phase));
        settleEngine(*fx);
        EXPECT_EQ(fx->getAeffect()->initialDelay, 0) << phase;
    }
    for (int32_t phase : {3, 4, 7}) {
        fx->setParameter(kIRPhase, normOf(*fx, kIRPhase, phase));
        settleEngine(*fx);
        EXPECT_EQ(fx->getAeffect()->initialDelay, 512) << phase;
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
}

TEST(ProcessLoop, SoloOnStereoIsHeardOnBothSidesAtHalfLevel) {
    auto fx = makePlug(2);
    fx->setParameter(kMsState, 0.0f);
    fx->setParameter(kChannel2Solo, 1.0f);
    const Buffers in = noise(2, 512);
    const Buffers out = run(*fx, in, 512);
    for (size_t s = 0; s < 512; ++s) {
        EXPECT_FLOAT_EQ(out[0][s], in[1][s] * 0.5f);
        EXPECT_FLOAT_EQ(out[1][s], in[1][s] * 0.5f);
    }
}

TEST(ProcessLoop, SoloedSideIsHeardWithoutDecode) {
    auto fx = makePlug(2);  // pair 0 coded
    fx->setParameter(kChannel2Solo, 1.0f);
    const Buffers in = noise(2, 512);
    const Buffers out = run(*fx, in, 512);
    for (size_t s = 0; s < 512; ++s) {
        const float side = float((double(in[0][s]) - in[1][s]) * 0.5);
        EXPECT_FLOAT_EQ(out[0][s], side);
        EXPECT_FLOAT_EQ(out[1][s], side);
    }
}

// Host output channel h carries the sum of the host inputs in from[h].
struct WholePairSoloCase {
    int32_t channels, msState;
    std::vector<int32_t> soloedSlots;
    std::vector<std::vector<int32_t>> from;
};

TEST(ProcessLoop, ACodedPairSoloedInFullIsHeardDecoded) {
    const WholePairSoloCase cases[] = {
        {2, 8, {0, 1}, {{0}, {1}}},                            // stereo, the default coding
        {6, 8, {0, 1}, {{0}, {}, {2}, {}, {}, {}}},             // 5.1, L/R coded: centre silent
        {6, 12, {0, 1, 2}, {{0}, {3, 4}, {2}, {}, {}, {}}},     // and half of coded Ls/Rs: its mid on the centre
        {6, 8, {0, 1, 3}, {{0}, {4}, {2}, {}, {}, {}}},         // and uncoded Rs on the centre
    };
    for (const WholePairSoloCase& c : cases) {
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
                for (int32_t k : c.from[size_t(h)]) want += in[size_t(k)][s];
                ASSERT_NEAR(out[size_t(h)][s], want, 1e-6) << "host channel " << h << ", sample " << s;
            }
    }
}

TEST(ProcessLoop, SoloOnSurroundGoesToTheCentreAndLfeStaysPut) {
    auto fx = makePlug(6);  // host order L C R Ls Rs LFE
    fx->setParameter(kMsState, 0.0f);
    fx->setParameter(kChannel3Solo, 1.0f);  // slot 2 = Ls, host channel 3
    fx->setParameter(kChannel6Solo, 1.0f);  // slot 5 = LFE, host channel 5
    const Buffers in = noise(6, 256);
    const Buffers out = run(*fx, in, 256);
    for (size_t s = 0; s < 256; ++s) {
        EXPECT_FLOAT_EQ(out[1][s], in[3][s]);  // centre carries the soloed Ls
        EXPECT_FLOAT_EQ(out[5][s], in[5][s]);  // the LFE keeps its own channel
        for (size_t c : {0u, 2u, 3u, 4u}) EXPECT_EQ(out[c][s], 0.0f) << c;
    }
}

TEST(ProcessLoop, SoloInMuteModeMutesTheOthersByGain) {
    const OneGlobalSetting settings("Solo Mode", 1);
    auto fx = makePlug(2);
    fx->setSettingsSource(&settings);
    fx->setParameter(kMsState, 0.0f);
    fx->setParameter(kChannel1Solo, 1.0f);
    EXPECT_EQ(fx->getChannelGainTarget(0), 1.0);
    EXPECT_EQ(fx->getChannelGainTarget(1), 0.0);
}

TEST(ProcessLoop, ClipLatchesUntilCleared) {
    auto fx = makePlug(2);
    fx->setParameter(kMsState, 0.0f);
    Buffers in = noise(2, 512, 3, 0.9f);
    run(*fx, in, 512);
    EXPECT_FALSE(fx->getClip());
    in[1][100] = 1.01f;
    run(*fx, in, 512);
    EXPECT_TRUE(fx->getClip());
    run(*fx, noise(2, 512, 4, 0.1f), 512);
    EXPECT_TRUE(fx->getClip());  // stays until cleared
    fx->setClip(false);
    run(*fx, noise(2, 512, 4, 0.1f), 512);
    EXPECT_FALSE(fx->getClip());
    // Exactly full scale is not a clip at the 0 dB threshold.
    run(*fx, Buffers(2, std::vector<float>(64, 1.0f)), 64);
    EXPECT_FALSE(fx->getClip());
}

TEST(ProcessLoop, MetersFollowTheSignalAndFallToExactlyZero) {
    auto fx = makePlug(2);
    fx->setParameter(kMsState, 0.0f);
    Buffers in = silence(2, 1024);
    in[0][10] = 1.0f;  // "Digital" shows a full-scale sample at once
    run(*fx, in, 1024);
    const double afterChunk = std::pow(1.0 - (1.0 - std::pow(0.1, 1.0 / (48000.0 * 0.3))), 1013);
    EXPECT_NEAR(fx->getLevelMeter(0), afterChunk, 1e-12);
    EXPECT_EQ(fx->getLevelMeter(1), 0.0);
    // 0.3 s later it has fallen by 20 dB.
    run(*fx, silence(2, 14400 - 1013), 1024);
    EXPECT_NEAR(fx->getLevelMeter(0), 0.1, 1e-3);
    // Silence takes it down to the grain of the guard, (e + 1) - 1, and
    // never into subnormal numbers. Within one chunk the release falls by
    // less than half, so it settles a few grains of 1.0 above zero.
    run(*fx, silence(2, 48000 * 60), 4096);
    EXPECT_LE(fx->getLevelMeter(0), 4 * std::numeric_limits<double>::epsilon());
    EXPECT_NE(std::fpclassify(fx->getLevelMeter(0)), FP_SUBNORMAL);
    // A non-finite sample does not stick in a meter.
    in[0][10] = std::nanf("");
    run(*fx, in, 1024);
    EXPECT_EQ(fx->getLevelMeter(0), 0.0);
    run(*fx, noise(2, 1024), 1024);
    EXPECT_GT(fx->getLevelMeter(0), 0.0);
}

TEST(ProcessLoop, DoubleAndFloatPathsAgree) {
    auto a = makePlug(2);
    auto b = makePlug(2);
    setShown(*a, kGain, -3.0);
    setShown(*b, kGain, -3.0);
    const Buffers in = noise(2, 1500);
    const Buffers viaFloat = run(*a, in, 1500);
    std::vector<std::vector<double>> din(2), dout(2, std::vector<double>(1500));
    for (size_t c = 0; c < 2; ++c) din[c].assign(in[c].begin(), in[c].end());
    double* ip[2] = {din[0].data(), din[1].data()};
    double* op[2] = {dout[0].data(), dout[1].data()};
    b->processDoubleReplacing(ip, op, 1500);
    for (size_t c = 0; c < 2; ++c)
        for (size_t s = 0; s < 1500; ++s) EXPECT_EQ(viaFloat[c][s], float(dout[c][s]));
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

TEST(ProcessLoop, InPlaceProcessingWorks) {
    auto fx = makePlug(2);
    setShown(*fx, kGain, -6.0);
    fx->resume();
    Buffers io = noise(2, 700);
    const Buffers in = io;
    float* p[2] = {io[0].data(), io[1].data()};
    fx->processReplacing(p, p, 700);
    const float g = float(std::pow(10.0, -6.0 / 20.0));
    for (size_t s = 0; s < 700; ++s) EXPECT_NEAR(io[0][s], in[0][s] * g, 1e-6);
}

}  // namespace
