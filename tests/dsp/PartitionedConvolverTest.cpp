#include "dsp/PartitionedConvolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Signal = std::vector<double>;

Signal noise(size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    Signal s(n);
    for (double& v : s) v = dist(gen);
    return s;
}

// The oracle: y[n] = sum_k h[k] x[n - k], computed directly.
Signal convolve(const Signal& h, const Signal& x) {
    Signal y(x.size(), 0.0);
    for (size_t n = 0; n < x.size(); ++n)
        for (size_t k = 0; k <= n && k < h.size(); ++k) y[n] += h[k] * x[n - k];
    return y;
}

PartitionedConvolver* withImpulse(PartitionedConvolver& conv, const Signal& h) {
    conv.stageImpulse(h.data());
    return &conv;
}

}  // namespace

// Two different inputs packed as one pair, each against its own direct
// convolution (so also no crosstalk), over two full cycles of every level;
// and mono against the pair with a silent second channel. Tolerance: 1e-14
// of sum |h|, the bound on |y|.
TEST(PartitionedConvolver, MatchesDirectConvolutionPerChannel) {
    for (int32_t length : {2, 16, 64, 1024, 8192}) {
        SCOPED_TRACE(length);
        const Signal h = noise(size_t(length), 1u + uint32_t(length));
        const Signal x1 = noise(2 * h.size() + 77, 2), x2 = noise(x1.size(), 3);
        const Signal r1 = convolve(h, x1), r2 = convolve(h, x2);
        double tolerance = 0.0;
        for (double v : h) tolerance += 1e-14 * std::abs(v);
        PartitionedConvolver pair(length), mono(length), half(length);
        withImpulse(pair, h), withImpulse(mono, h), withImpulse(half, h);
        for (size_t n = 0; n < x1.size(); ++n) {
            double y1, y2, m, h1, h2;
            pair.processStereo(x1[n], x2[n], &y1, &y2);
            mono.processMono(x1[n], &m);
            half.processStereo(x1[n], 0.0, &h1, &h2);
            ASSERT_NEAR(y1, r1[n], tolerance) << "sample " << n;
            ASSERT_NEAR(y2, r2[n], tolerance) << "sample " << n;
            ASSERT_NEAR(m, h1, tolerance) << "sample " << n;
            ASSERT_NEAR(h2, 0.0, tolerance) << "sample " << n;
        }
    }
}

TEST(PartitionedConvolver, UnitImpulsesAtFirstAndLastTapPassAndDelay) {
    for (int32_t length : {2, 64, 1024}) {
        SCOPED_TRACE(length);
        const size_t delay = size_t(length) - 1;
        const Signal x = noise(3 * size_t(length), 4);
        Signal first(size_t(length), 0.0), last(size_t(length), 0.0);
        first[0] = last[delay] = 1.0;
        PartitionedConvolver a(length), b(length);
        withImpulse(a, first), withImpulse(b, last);
        for (size_t n = 0; n < x.size(); ++n) {
            double ya = 1.0, yb = 1.0;
            a.processMono(x[n], &ya);
            b.processMono(x[n], &yb);
            ASSERT_NEAR(ya, x[n], 1e-14) << "sample " << n;
            ASSERT_NEAR(yb, n >= delay ? x[n - delay] : 0.0, 1e-13) << "sample " << n;
        }
    }
}

// A staged impulse is used from the next call on, while what the old one
// made of earlier input keeps sounding. The input is silent for L/2 samples
// before the switch, so every earlier sample has passed all its partitions
// and the output is exactly: old impulse on the early input plus new
// impulse on the late input.
TEST(PartitionedConvolver, StagedImpulseSwitchesOnNextCallAndOldTailPlaysOut) {
    const int32_t length = 1024;
    const size_t burst = 700, change = burst + size_t(length) / 2 + 13;
    const Signal h1 = noise(size_t(length), 7), h2 = noise(size_t(length), 8), x = noise(change + 2048, 9);
    Signal early(x.size(), 0.0), late(x.size(), 0.0);
    std::copy_n(x.begin(), burst, early.begin());
    std::copy(x.begin() + long(change), x.end(), late.begin() + long(change));
    const Signal old = convolve(h1, early), fresh = convolve(h2, late);
    PartitionedConvolver conv(length);
    withImpulse(conv, h1);
    for (size_t n = 0; n < x.size(); ++n) {
        if (n == change) {
            EXPECT_TRUE(withImpulse(conv, h2)->isPending());
        }
        double y;
        conv.processMono(early[n] + late[n], &y);
        ASSERT_FALSE(conv.isPending());
        ASSERT_NEAR(y, old[n] + fresh[n], 1e-10) << "sample " << n;
    }
}

// After clearHistory the convolver behaves exactly as a new one with the
// same impulse: silence first, where the old tail would sound, then input.
TEST(PartitionedConvolver, ClearHistoryForgetsEarlierInput) {
    const int32_t length = 2048;
    const Signal h = noise(size_t(length), 10), before = noise(999, 11);
    Signal after = noise(3 * size_t(length), 12);
    std::fill_n(after.begin(), length, 0.0);
    PartitionedConvolver used(length), fresh(length);
    withImpulse(used, h), withImpulse(fresh, h);
    double y1, y2, f1, f2;
    for (double v : before) used.processStereo(v, -v, &y1, &y2);
    used.clearHistory();
    for (size_t n = 0; n < after.size(); ++n) {
        used.processStereo(after[n], -after[n], &y1, &y2);
        fresh.processStereo(after[n], -after[n], &f1, &f2);
        ASSERT_EQ(y1, f1) << "sample " << n;
        ASSERT_EQ(y2, f2) << "sample " << n;
        if (n < size_t(length)) {
            ASSERT_EQ(y1, 0.0) << "sample " << n;
        }
    }
}
