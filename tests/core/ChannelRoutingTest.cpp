// Which host channels a band reaches: its group bits, the channels each group
// holds, the slot order of every standard layout and the mid/side coding of
// pairs, seen through the impulse response of each host channel.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <set>
#include <vector>

#include "TestHost.h"

namespace {

using Buffers = std::vector<std::vector<double>>;

constexpr int32_t kFrames = 4096;
constexpr double kBoostDb = 12.0;
constexpr double kToleranceDb = 0.05;

// Impulse heights by host channel, all different and exact in binary.
constexpr double kHeights[8] = {1.0, -0.75, 0.5, -0.375, 0.625, 0.25, -0.875, 0.125};

// A peak of +12 dB at 1 kHz on band 1 for the given group bits and pairs
// coded as mid/side (kMsState, pair 0 in bit 3).
std::unique_ptr<Plug> boostedPlug(int32_t channels, int32_t groups, int32_t msState) {
    auto fx = makePlug(channels);
    setShown(*fx, kMsState, msState);
    setShown(*fx, bandParam(0, kFieldState), kBandOn);
    setShown(*fx, bandParam(0, kFieldGroups), groups);
    setShown(*fx, bandParam(0, kFieldType), kTypePeak);
    setShown(*fx, bandParam(0, kFieldGain), kBoostDb);
    setShown(*fx, bandParam(0, kFieldFrequency), 1000.0);
    settleEngine(*fx);
    return fx;
}

Buffers impulses(const std::vector<double>& heights) {
    Buffers b(heights.size(), std::vector<double>(kFrames, 0.0));
    for (size_t c = 0; c < heights.size(); ++c) b[c][0] = heights[c];
    return b;
}

// Runs silence first, so that the coefficient ramps are over, then `in`.
Buffers run(Plug& fx, Buffers in) {
    const size_t channels = in.size();
    Buffers quiet(channels, std::vector<double>(2048, 0.0)), out(channels, std::vector<double>(kFrames));
    std::vector<double*> ip, op;
    for (auto& q : quiet) ip.push_back(q.data());
    fx.processDoubleReplacing(ip.data(), ip.data(), 2048);
    ip.clear();
    for (size_t c = 0; c < channels; ++c) {
        ip.push_back(in[c].data());
        op.push_back(out[c].data());
    }
    fx.processDoubleReplacing(ip.data(), op.data(), kFrames);
    return out;
}

// Level in dB at 1 kHz of a response to an impulse of the given height: a
// plain DFT sum at 48 kHz.
double dbAt1k(const std::vector<double>& y, double height) {
    std::complex<double> sum = 0.0;
    for (size_t n = 0; n < y.size(); ++n) sum += y[n] * std::polar(1.0, -2.0 * M_PI * 1000.0 * double(n) / 48000.0);
    return 20.0 * std::log10(std::abs(sum) / std::fabs(height));
}

// Boosted host channels show the band's gain; every other one is its input.
void expectBoosted(Plug& fx, int32_t channels, const std::set<int32_t>& boosted) {
    const Buffers in = impulses(std::vector<double>(kHeights, kHeights + channels));
    const Buffers out = run(fx, in);
    for (int32_t h = 0; h < channels; ++h) {
        if (boosted.count(h))
            EXPECT_NEAR(dbAt1k(out[size_t(h)], kHeights[h]), kBoostDb, kToleranceDb) << "host channel " << h;
        else
            EXPECT_EQ(out[size_t(h)], in[size_t(h)]) << "host channel " << h;
    }
}

// Host channel of each group (group 1 first) in the standard layouts. Hosts
// give film order (L C R Ls Rs Lc Rc LFE, those present); groups take the
// left/right pairs first, then the centre, then the LFE.
const std::vector<std::vector<int32_t>> kHostOfGroup = {
    {0},                       // mono
    {0, 1},                    // stereo: L R
    {0, 2, 1},                 // LCR: L R C
    {0, 2, 1, 3},              // LCRS: L R C S
    {0, 2, 3, 4, 1},           // 5.0: L R Ls Rs C
    {0, 2, 3, 4, 1, 5},        // 5.1: L R Ls Rs C LFE
    {0, 2, 3, 4, 5, 6, 1},     // 7.0: L R Ls Rs Lc Rc C
    {0, 2, 3, 4, 5, 6, 1, 7},  // 7.1: L R Ls Rs Lc Rc C LFE
};

}  // namespace

TEST(ChannelRouting, EachGroupReachesItsOwnHostChannelInEveryLayout) {
    for (int32_t channels = 1; channels <= 8; ++channels) {
        for (int32_t g = 0; g < channels; ++g) {
            SCOPED_TRACE(testing::Message() << channels << " channels, group " << g + 1);
            auto fx = boostedPlug(channels, 128 >> g, 0);
            expectBoosted(*fx, channels, {kHostOfGroup[size_t(channels - 1)][size_t(g)]});
        }
    }
    // Counts without a standard layout have none.
    for (const int32_t channels : {0, 9}) EXPECT_TRUE(standardChannelLayout(channels).empty()) << channels;
}

TEST(ChannelRouting, GroupBitsBeyondTheChannelsReachNothingAndAGroupMayHoldSeveral) {
    struct Case {
        int32_t channels, groups;
        int32_t group, slots;  // group `group` made to hold the slots in mask `slots`; -1 for none
        std::set<int32_t> boosted;
    };
    const Case cases[] = {
        {1, 127, -1, 0, {}},           // mono reads bit 7 alone
        {2, 63, -1, 0, {}},
        {3, 0x1F | 128, -1, 0, {0}},   // group 1 and groups 4..8
        {6, 64, 1, 3, {0, 2}},         // group 2 holds slots 0 and 1: Left and Right
        {8, 128, 0, 128, {7}},         // group 1 holds the LFE alone
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.channels << " channels, groups " << c.groups);
        auto fx = boostedPlug(c.channels, c.groups, 0);
        if (c.group >= 0) {
            fx->setGroupMask(c.group, c.slots);
            settleEngine(*fx);
        }
        expectBoosted(*fx, c.channels, c.boosted);
    }
}

// A band on one half of a coded pair: the pair's left and right carry
// (M + H*S)/2 and (M - H*S)/2 with M = L+R, S = L-R, or the same with H on M.
struct MidSideCase {
    int32_t channels, msState, groups;
    int32_t left, right;  // host channels of the pair
    bool side;            // the band acts on the side, else on the mid
    std::set<int32_t> untouched;
};

TEST(ChannelRouting, ABandOnHalfACodedPairActsOnSumOrDifference) {
    const MidSideCase cases[] = {
        {2, 8, 128, 0, 1, false, {}},              // stereo, default coding: group 1 is the mid
        {2, 8, 64, 0, 1, true, {}},                // and group 2 the side
        {6, 12, 64, 0, 2, true, {1, 3, 4, 5}},     // 5.1, pairs 0 and 1 coded: side of L/R
        {6, 12, 32, 3, 4, false, {0, 1, 2, 5}},    // mid of Ls/Rs
        {8, 2, 4, 5, 6, true, {0, 1, 2, 3, 4, 7}}, // 7.1, pair 2 alone coded: side of Lc/Rc
    };
    for (const MidSideCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.channels << " channels, MS " << c.msState << ", groups " << c.groups);
        auto fx = boostedPlug(c.channels, c.groups, c.msState);
        std::vector<double> heights(kHeights, kHeights + c.channels);
        heights[size_t(c.left)] = 0.75;
        heights[size_t(c.right)] = 0.25;  // M = 1, S = 0.5
        const Buffers in = impulses(heights);
        const Buffers out = run(*fx, in);
        std::vector<double> sum(kFrames), difference(kFrames);
        for (size_t s = 0; s < kFrames; ++s) {
            sum[s] = out[size_t(c.left)][s] + out[size_t(c.right)][s];
            difference[s] = out[size_t(c.left)][s] - out[size_t(c.right)][s];
        }
        const std::vector<double>& plain = c.side ? sum : difference;
        const std::vector<double>& filtered = c.side ? difference : sum;
        const double plainHeight = c.side ? 1.0 : 0.5;
        for (size_t s = 0; s < kFrames; ++s)
            ASSERT_NEAR(plain[s], s == 0 ? plainHeight : 0.0, 1e-12) << "sample " << s;
        EXPECT_NEAR(dbAt1k(filtered, c.side ? 0.5 : 1.0), kBoostDb, kToleranceDb);
        for (int32_t h : c.untouched) EXPECT_EQ(out[size_t(h)], in[size_t(h)]) << "host channel " << h;
    }
}
