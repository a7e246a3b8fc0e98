// The renderer's channel routing as a user meets it: a band set by group on a
// 5.1 file, and a band on the side of a stereo file coded as mid and side.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>

#include "ToolTestSupport.h"

namespace {

constexpr int64_t kFrames = 4800;

// A +12 dB peak at 1 kHz on band 1 for the given group bits, with the pairs
// of msState coded as mid and side (8: the first pair, as by default).
std::vector<std::string> boost(int32_t groups, int32_t msState = 8) {
    return {"--quiet", "--set", "MS State=" + std::to_string(msState), "--set", "Band1 State=On",
            "--set", "Band1 Groups=" + std::to_string(groups), "--set", "Band1 Type=Peak",
            "--set", "Band1 Gain=12", "--set", "Band1 Frequency=1000"};
}

class RoutingRender : public ::testing::Test {
protected:
    Audio render(const Audio& in, std::vector<std::string> options) {
        writeFloatFile(dir / "in.wav", in, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        options.push_back(dir / "in.wav");
        options.push_back(dir / "out.wav");
        const RunResult r = runRenderer(options);
        EXPECT_EQ(r.status, 0) << r.err;
        return readFile(dir / "out.wav");
    }
    ScratchDir dir;
};

std::vector<double> channelOf(const Audio& a, int32_t c) {
    std::vector<double> x(size_t(a.frames()));
    for (int64_t s = 0; s < a.frames(); ++s) x[size_t(s)] = a.at(s, c);
    return x;
}

// Level in dB at 1 kHz of a response to an impulse of the given height.
double dbAt1k(const std::vector<double>& y, double height) {
    std::complex<double> sum = 0.0;
    for (size_t n = 0; n < y.size(); ++n) sum += y[n] * std::polar(1.0, -2.0 * M_PI * 1000.0 * double(n) / 48000.0);
    return 20.0 * std::log10(std::abs(sum) / std::fabs(height));
}

// Float noise, the same on every channel when `same`, else independent.
Audio noise(int32_t channels, bool same) {
    Audio a;
    a.channels = channels;
    a.samples.resize(size_t(kFrames * channels));
    std::mt19937 gen(5);
    std::uniform_real_distribution<float> d(-0.5f, 0.5f);
    for (int64_t s = 0; s < kFrames; ++s) {
        const float shared = d(gen);
        for (int32_t c = 0; c < channels; ++c) a.samples[size_t(s * channels + c)] = same ? shared : d(gen);
    }
    return a;
}

}  // namespace

TEST_F(RoutingRender, ABandOnTheLfeOfA51FileLeavesTheOtherChannelsAlone) {
    // File order L R C LFE Ls Rs; the LFE is group 6 (value 4) in 5.1. Left
    // and right stay coded as mid and side, which must give them back exactly.
    Audio in = noise(6, false);
    for (int64_t s = 0; s < kFrames; ++s) in.samples[size_t(s * 6 + 3)] = s == 0 ? 0.5 : 0.0;
    const Audio out = render(in, boost(4));
    ASSERT_EQ(out.channels, 6);
    ASSERT_EQ(out.frames(), kFrames);
    for (int32_t c : {0, 1, 2, 4, 5}) EXPECT_EQ(channelOf(out, c), channelOf(in, c)) << "channel " << c;
    EXPECT_NEAR(dbAt1k(channelOf(out, 3), 0.5), 12.0, 0.05);
}

TEST_F(RoutingRender, ABandOnTheSideLeavesEqualChannelsExactly) {
    const Audio in = noise(2, true);
    const Audio out = render(in, boost(64));  // group 2: the side while the pair is coded
    EXPECT_EQ(out.samples, in.samples);
}

TEST_F(RoutingRender, ABandOnTheSideBoostsTheDifferenceAndKeepsTheSum) {
    Audio in;
    in.channels = 2;
    in.samples.assign(size_t(kFrames * 2), 0.0);
    in.samples[0] = 0.75;  // left
    in.samples[1] = 0.25;  // right: sum 1, difference 0.5
    const Audio out = render(in, boost(64));
    ASSERT_EQ(out.frames(), kFrames);
    std::vector<double> difference(static_cast<size_t>(kFrames));
    for (int64_t s = 0; s < kFrames; ++s) {
        // Each output channel is rounded to float on the way to the file.
        ASSERT_NEAR(out.at(s, 0) + out.at(s, 1), s == 0 ? 1.0 : 0.0, 1e-6) << "sample " << s;
        difference[size_t(s)] = out.at(s, 0) - out.at(s, 1);
    }
    EXPECT_NEAR(dbAt1k(difference, 0.5), 12.0, 0.05);
}
