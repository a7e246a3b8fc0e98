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

// Every vector set the processor has, each against the direct convolution:
// two different inputs packed as one pair, each against its own oracle (so
// also no crosstalk), fed in place in blocks of random sizes from 1 to 4096
// samples over two full cycles of every level; a mono convolver against the
// pair's first channel; and a pair whose outputs are not taken, which must
// still take its input in. Tolerance: 1e-14 of sum |h|, the bound on |y|.
// The oracle is checked on every sample up to 256, then on a sparse comb.
TEST(PartitionedConvolver, MatchesDirectConvolutionPerChannelInBlocks) {
    struct Row {
        int32_t length;
        ConvolverKernel kernel;
    };
    std::vector<Row> rows;
    for (ConvolverKernel kernel : {ConvolverKernel::kSse2, ConvolverKernel::kAvx2, ConvolverKernel::kAvx512}) {
        if (!convolverKernelSupported(kernel)) continue;
        for (int32_t length : {2, 16, 256, 1024, 8192}) rows.push_back({length, kernel});
    }
    rows.push_back({16384, convolverKernelInUse()});   // three levels
    rows.push_back({131072, convolverKernelInUse()});  // more partitions of the largest size than the others
    std::mt19937 sizes(5);
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.length << " taps, kernel " << int(row.kernel));
        const Signal h = noise(size_t(row.length), 1u + uint32_t(row.length));
        const Signal x1 = noise(2 * h.size() + 4177, 2), x2 = noise(x1.size(), 3);
        double tolerance = 0.0;
        for (double v : h) tolerance += 1e-14 * std::abs(v);
        PartitionedConvolver pair(row.length, row.kernel), mono(row.length, row.kernel), silent(row.length, row.kernel);
        withImpulse(pair, h), withImpulse(mono, h), withImpulse(silent, h);
        Signal y1 = x1, y2 = x2, m = x1, s1(x1.size()), s2(x1.size());
        const size_t half = x1.size() / 2;
        for (size_t at = 0; at < x1.size();) {
            const size_t n = std::min(x1.size() - at, size_t(1) << std::uniform_int_distribution<int>(0, 12)(sizes));
            pair.processStereo(&y1[at], &y2[at], &y1[at], &y2[at], int32_t(n));
            mono.processMono(&m[at], &m[at], int32_t(n));
            if (at < half)
                silent.processStereo(&x1[at], &x2[at], nullptr, nullptr, int32_t(n));
            else
                silent.processStereo(&x1[at], &x2[at], &s1[at], &s2[at], int32_t(n));
            at += n;
        }
        const size_t stride = std::max<size_t>(3, x1.size() / 1500 + 1);
        for (size_t n = 0; n < x1.size(); n += n < 256 ? 1 : stride) {
            double r1 = 0.0, r2 = 0.0;
            for (size_t k = 0; k <= n && k < h.size(); ++k) {
                r1 += h[k] * x1[n - k];
                r2 += h[k] * x2[n - k];
            }
            ASSERT_NEAR(y1[n], r1, tolerance) << "sample " << n;
            ASSERT_NEAR(y2[n], r2, tolerance) << "sample " << n;
            ASSERT_NEAR(m[n], r1, tolerance) << "sample " << n;
            if (n >= half + 4096) {
                ASSERT_NEAR(s1[n], r1, tolerance) << "sample " << n;
                ASSERT_NEAR(s2[n], r2, tolerance) << "sample " << n;
            }
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
