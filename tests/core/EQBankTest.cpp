// The bank: one design per band shared by its channels, the chain in band
// order, the parallel branch as H - 1 with its fade-in, and the bank's
// responses against what its filters do to an impulse.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <vector>

#include "core/EQBank.h"

namespace {

constexpr float kRate = 48000.0f;

// A bank of two channels with band b set up as a live peak on the channels in mask.
void livePeak(EQBank& bank, int32_t band, int32_t mask, float hz, float gain, float q = 1.0f) {
    bank.setType(kEnginePeak, band, 3);
    bank.setFrequency(hz, band, 3);
    bank.setGain(gain, band, 3);
    bank.setQ(q, band, 3);
    bank.setBypass(true, band, 3 & ~mask);
    bank.setBypass(false, band, mask);
}

// Runs enough silence that every coefficient ramp and the parallel fade-in
// have ended.
void settle(EQBank& bank) {
    std::vector<double> a(1024, 0.0), b(1024, 0.0);
    double* buffers[2] = {a.data(), b.data()};
    for (int32_t block = 0; block < 8; ++block) bank.processBank(buffers, 1024, 2);
}

std::vector<double> impulseThrough(EQBank& bank, int32_t channel, int32_t length) {
    std::vector<double> a(size_t(length), 0.0), b(size_t(length), 0.0);
    (channel == 0 ? a : b)[0] = 1.0;
    double* buffers[2] = {a.data(), b.data()};
    for (int32_t done = 0; done < length; done += 1024) {
        double* part[2] = {buffers[0] + done, buffers[1] + done};
        bank.processBank(part, std::min(1024, length - done), 2);
    }
    return channel == 0 ? a : b;
}

std::complex<double> dft(const std::vector<double>& h, double hz) {
    std::complex<double> sum = 0.0;
    const double w = 2.0 * std::numbers::pi * hz / double(kRate);
    for (size_t n = 0; n < h.size(); ++n) sum += h[n] * std::polar(1.0, -w * double(n));
    return sum;
}

}  // namespace

TEST(EQBank, OneDesignServesEveryActiveChannelOfABand) {
    EQBank bank(32, kRate, 2);
    livePeak(bank, 3, 1, 200.0f, 6.0f);
    livePeak(bank, 7, 1, 3000.0f, -4.0f);
    livePeak(bank, 5, 3, 9000.0f, 5.0f, 2.0f);
    bank.redesign(true);
    DigitalSection left[kMaxSections], right[kMaxSections];
    const int32_t n = bank.getBandAt(5, 0)->getCoefficients(left);
    ASSERT_EQ(bank.getBandAt(5, 1)->getCoefficients(right), n);
    for (int32_t i = 0; i < n; ++i) {
        EXPECT_EQ(left[i].b0, right[i].b0);
        EXPECT_EQ(left[i].a2, right[i].a2);
    }
    // A redesign that is not forced touches nothing; a forced one takes the change.
    bank.setGain(-6.0f, 5, 3);
    bank.redesign(false);
    bank.getBandAt(5, 0)->getCoefficients(right);
    EXPECT_EQ(left[0].b1, right[0].b1);
    bank.redesign(true);
    bank.getBandAt(5, 0)->getCoefficients(right);
    EXPECT_NE(left[0].b1, right[0].b1);
    bank.setGain(5.0f, 5, 3);
    bank.redesign(true);
    settle(bank);
    // Channel 2 runs band 5 alone: its response is that band's, exactly.
    for (double hz : {200.0, 3000.0, 9000.0}) {
        EXPECT_NEAR(bank.digitalMagnitude(1, hz), bank.getBandAt(5, 0)->magnitudeAt(hz, nullptr), 1e-12);
        EXPECT_GT(std::fabs(bank.digitalMagnitude(0, hz) - bank.digitalMagnitude(1, hz)), 1e-3);
    }
}

TEST(EQBank, TheChainDoesWhatItsResponseSays) {
    EQBank bank(32, kRate, 2);
    for (int32_t b = 0; b < 32; ++b) livePeak(bank, b, 3, 40.0f * std::pow(1.2f, float(b)), b % 2 ? 2.0f : -2.0f);
    bank.redesign(true);
    settle(bank);
    const std::vector<double> h = impulseThrough(bank, 0, 1 << 15);
    double worst = 0.0;
    for (double hz : {50.0, 333.0, 1000.0, 4567.0, 12000.0, 20000.0}) {
        const double measured = 20.0 * std::log10(std::abs(dft(h, hz)));
        const double predicted = 20.0 * std::log10(bank.digitalMagnitude(0, hz));
        worst = std::max(worst, std::fabs(measured - predicted));
    }
    EXPECT_LT(worst, 1e-6);
}

TEST(EQBank, ParallelBandsSumAsDifferencesAndFadeIn) {
    EQBank bank(32, kRate, 2);
    livePeak(bank, 0, 3, 300.0f, 9.0f);
    livePeak(bank, 1, 3, 5000.0f, -6.0f, 0.7f);
    bank.redesign(true);
    settle(bank);
    std::vector<double> series(5);
    const double probe[5] = {100.0, 300.0, 1200.0, 5000.0, 15000.0};
    for (int i = 0; i < 5; ++i) series[size_t(i)] = bank.digitalMagnitude(0, probe[i]);

    bank.setParallelMode(kParallelPeaks);
    ASSERT_TRUE(bank.getBandAt(0, 0)->getParallel());
    bank.redesign(true);
    settle(bank);
    // In parallel the bank realises 1 + (H1 - 1) + (H2 - 1), which differs
    // from the series product, and its filters do exactly that.
    const std::vector<double> h = impulseThrough(bank, 0, 1 << 14);
    for (int i = 0; i < 5; ++i) {
        std::complex<double> a, d;
        bank.channelResponse(0, &probe[i], 1, &a, &d);
        EXPECT_NEAR(std::abs(dft(h, probe[i])), std::abs(d), 1e-6) << probe[i];
    }
    EXPECT_GT(std::fabs(bank.digitalMagnitude(0, 1200.0) - series[2]), 1e-3);

    // Entering parallel fades the branch in: the first block has weight 0.
    EQBank fresh(32, kRate, 2);
    livePeak(fresh, 0, 3, 1000.0f, 12.0f);
    fresh.redesign(true);
    settle(fresh);
    fresh.setParallelMode(kParallelPeaks);
    fresh.redesign(true);
    std::vector<double> a(512), b(512);
    for (size_t i = 0; i < 512; ++i) a[i] = b[i] = std::sin(2.0 * std::numbers::pi * 1000.0 * double(i) / kRate);
    const std::vector<double> dry = a;
    double* buffers[2] = {a.data(), b.data()};
    fresh.processBank(buffers, 512, 2);
    EXPECT_EQ(a, dry);
}

TEST(EQBank, BypassedPeakStaysInSeriesAndPasses) {
    EQBank bank(32, kRate, 2);
    livePeak(bank, 0, 0, 1000.0f, 12.0f);  // bypassed on both channels
    bank.setParallelMode(kParallelPeaks);
    EXPECT_FALSE(bank.getBandAt(0, 0)->getParallel());
    bank.redesign(true);
    settle(bank);
    EXPECT_NEAR(bank.digitalMagnitude(0, 1000.0), 1.0, 1e-12);
    // The graph still sees the real shape of a bypassed band.
    SectionSet set{};
    bank.getBandAt(0, 0)->design(&set, true);
    EXPECT_NEAR(std::abs(analogueResponse(set.section, set.count, 1000.0)), std::pow(10.0, 12.0 / 20.0), 1e-6);
}

TEST(EQBank, ChannelsGrowAndShrinkKeepingTheirBands) {
    EQBank bank(32, kRate, 2);
    livePeak(bank, 2, 3, 700.0f, 3.0f);
    EQ* kept = bank.getBandAt(2, 1);
    bank.setChannels(6);
    EXPECT_EQ(bank.getBandAt(2, 1), kept);
    EXPECT_EQ(bank.getBandAt(2, 5)->getState(), 1);  // a new place starts bypassed
    bank.setChannels(1);
    EXPECT_EQ(bank.getBandAt(2, 1), nullptr);
    EXPECT_EQ(bank.getChannelCount(), 1);
    bank.setStereoLinked(true);
    EXPECT_FALSE(bank.isStereoLinked());  // linking needs two channels
}

// Running the two channels of a pair at once is only a faster way of doing
// the same thing: with pairing off the bank must give the same bits. The
// mix covers bands that pair, bands on one channel only (flat on the
// other), different section counts per channel, a ramp starting mid-run,
// a third channel with no partner, and a block shorter than the stagger.
TEST(EQBank, PairedChannelsRenderTheBitsOfSingleChannels) {
    constexpr int32_t kChannels = 3;
    EQBank paired(32, kRate, kChannels), single(32, kRate, kChannels);
    single.setChannelPairing(false);
    for (EQBank* bank : {&paired, &single}) {
        for (int32_t b = 0; b < 12; ++b) {
            bank->setType(kEnginePeak, b, 7);
            bank->setFrequency(60.0f * float(b + 1) * float(b + 1), b, 7);
            bank->setGain(b % 2 ? 4.0f : -3.0f, b, 7);
            bank->setBypass(false, b, b == 4 ? 1 : 7);
        }
        bank->setType(kEngineHighPass, 12, 7);
        bank->setSlope(8, 12, 1);  // four sections on the left, fewer on the right
        bank->setSlope(2, 12, 6);
        bank->setFrequency(40.0f, 12, 7);
        bank->setBypass(false, 12, 7);
        bank->redesign(true);
    }
    uint32_t seed = 3;
    auto next = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return double(seed >> 8) / double(1u << 24) - 0.5;
    };
    for (int32_t block = 0; block < 12; ++block) {
        const int32_t n = block == 5 ? 2 : 480;
        if (block == 7)
            for (EQBank* bank : {&paired, &single}) {
                bank->setGain(9.0f, 3, 7);
                bank->redesign(false);
            }
        std::vector<double> p[kChannels], s[kChannels];
        double* pb[kChannels];
        double* sb[kChannels];
        for (int32_t c = 0; c < kChannels; ++c) {
            p[c].resize(size_t(n));
            for (double& v : p[c]) v = next();
            s[c] = p[c];
            pb[c] = p[c].data();
            sb[c] = s[c].data();
        }
        paired.processBank(pb, n, kChannels);
        single.processBank(sb, n, kChannels);
        for (int32_t c = 0; c < kChannels; ++c)
            ASSERT_EQ(0, std::memcmp(p[c].data(), s[c].data(), sizeof(double) * size_t(n)))
                << "block " << block << ", channel " << c;
    }
}
