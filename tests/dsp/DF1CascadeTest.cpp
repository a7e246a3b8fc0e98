// The running filter: its response against a naive DFT of its impulse
// response, the 1000-sample coefficient ramp, unity skipping, recovery from
// NaN, and two channels paired in vector lanes against the plain loop.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <memory>
#include <numbers>
#include <vector>

#include "dsp/DF1Cascade.h"

namespace {

// The running filter alone: coefficients are set by hand.
class HandSetFilter final : public DF1Cascade {
public:
    HandSetFilter() { setSampleRate(48000.0f); }
    void rebuild() override {}
    void setParallelFlag(bool on) { parallel = on; }
};

constexpr DigitalSection kLowPassish{0.2, 0.3, 0.1, -0.5, 0.25};
constexpr DigitalSection kResonance{1.0, -1.8, 0.9, -1.7, 0.8};
constexpr DigitalSection kUnit{1.0, 0.0, 0.0, 0.0, 0.0};

void settle(HandSetFilter& f) {
    std::vector<double> silence(2048, 0.0);
    f.processDouble(silence.data(), int32_t(silence.size()));
}

std::vector<double> impulseResponse(HandSetFilter& f, int32_t length) {
    std::vector<double> x(size_t(length), 0.0);
    x[0] = 1.0;
    f.processDouble(x.data(), length);
    return x;
}

}  // namespace

TEST(DF1Cascade, ResponseMatchesTheDftOfTheImpulseResponse) {
    HandSetFilter f;
    const DigitalSection two[2] = {kLowPassish, kResonance};
    f.setCoefficients(two, 2);
    settle(f);
    // Poles at radius <= 0.9: after 4000 samples the tail is below 1e-150.
    const std::vector<double> h = impulseResponse(f, 4000);
    for (double hz : {30.0, 700.0, 5000.0, 23000.0}) {
        std::complex<double> dft = 0.0;
        const double w = 2.0 * std::numbers::pi * hz / 48000.0;
        for (size_t n = 0; n < h.size(); ++n) dft += h[n] * std::polar(1.0, -w * double(n));
        double phase = 0.0, re = 0.0, im = 0.0;
        EXPECT_NEAR(f.magnitudeAt(hz, &phase), std::abs(dft), 1e-9 * std::abs(dft)) << hz;
        EXPECT_NEAR(std::remainder(phase - std::arg(dft), 2.0 * std::numbers::pi), 0.0, 1e-9) << hz;
        f.responseAt(hz, &re, &im);
        EXPECT_NEAR(std::abs(std::complex<double>(re, im) - dft), 0.0, 1e-9 * std::abs(dft)) << hz;
    }
}

TEST(DF1Cascade, RampReachesItsTargetInExactlyAThousandSamplesWithoutAStep) {
    HandSetFilter f;
    f.setCoefficients(&kUnit, 1);
    settle(f);
    const DigitalSection twice{2.0, 0.0, 0.0, 0.0, 0.0};
    f.setCoefficients(&twice, 1);
    ASSERT_TRUE(f.isRamping());
    std::vector<double> ones(1500, 1.0);
    // Odd block sizes: the ramp is counted per sample, whatever the blocks.
    for (size_t done = 0; done < ones.size(); done += 77)
        f.processDouble(ones.data() + done, int32_t(std::min<size_t>(77, ones.size() - done)));
    EXPECT_DOUBLE_EQ(ones[0], 1.0);      // the first sample still has the old coefficients
    EXPECT_LT(ones[999], 2.0);
    EXPECT_DOUBLE_EQ(ones[1000], 2.0);   // the thousandth step lands exactly on the target
    EXPECT_DOUBLE_EQ(ones[1499], 2.0);
    for (size_t i = 1; i < ones.size(); ++i) ASSERT_LE(std::fabs(ones[i] - ones[i - 1]), 0.001 + 1e-12) << i;
    EXPECT_FALSE(f.isRamping());

    // The same coefficients again start nothing.
    f.setCoefficients(&twice, 1);
    EXPECT_FALSE(f.isRamping());
    // A new target in the middle of a ramp starts from where the ramp is.
    f.setCoefficients(&kUnit, 1);
    std::vector<double> part(300, 1.0);
    f.processDouble(part.data(), 300);
    f.setCoefficients(&twice, 1);
    std::vector<double> rest(1200, 1.0);
    f.processDouble(rest.data(), 1200);
    EXPECT_LE(std::fabs(rest[0] - part[299]), 0.0011);
    EXPECT_DOUBLE_EQ(rest[1000], 2.0);
}

TEST(DF1Cascade, UnityBandsCostNothingAndAddNothingInParallel) {
    HandSetFilter f;
    f.setCoefficients(&kResonance, 1);
    settle(f);
    f.setUnity(1);
    std::vector<double> x{0.5, -0.25, 0.125};
    f.processDouble(x.data(), 3);
    EXPECT_EQ(x, (std::vector<double>{0.5, -0.25, 0.125}));
    f.setParallelFlag(true);
    f.processDouble(x.data(), 3);
    EXPECT_EQ(x, (std::vector<double>{0.0, 0.0, 0.0}));
    // A running ramp is not skipped.
    f.setCoefficients(&kLowPassish, 1);
    std::vector<double> y{1.0, 0.0};
    f.processDouble(y.data(), 2);
    EXPECT_NE(y[1], 0.0);
}

TEST(DF1Cascade, DroppingASectionTakesEffectAtOnceAndNanClearsAfterOneBlock) {
    HandSetFilter f;
    const DigitalSection two[2] = {kUnit, kResonance};
    f.setCoefficients(two, 2);
    settle(f);
    f.setCoefficients(two, 1);
    EXPECT_EQ(f.getSectionCount(), 1);
    std::vector<double> x{0.7, 0.1};
    f.processDouble(x.data(), 2);
    EXPECT_DOUBLE_EQ(x[0], 0.7);
    EXPECT_DOUBLE_EQ(x[1], 0.1);

    f.setCoefficients(&kResonance, 1);
    settle(f);
    std::vector<double> bad{std::nan(""), 1.0};
    f.processDouble(bad.data(), 2);
    std::vector<double> clean(64, 0.25);
    f.processDouble(clean.data(), 64);
    for (double v : clean) ASSERT_TRUE(std::isfinite(v));
}

TEST(DF1Cascade, FloatPathAgreesWithTheDoublePath) {
    HandSetFilter a, b;
    a.setCoefficients(&kResonance, 1);
    b.setCoefficients(&kResonance, 1);
    settle(a);
    settle(b);
    std::vector<double> d(256);
    std::vector<float> s(256);
    for (size_t i = 0; i < d.size(); ++i) s[i] = float(d[i] = std::sin(0.1 * double(i)) * 0.5);
    a.processDouble(d.data(), 256);
    b.processFloat(s.data(), 256);
    for (size_t i = 0; i < d.size(); ++i) ASSERT_NEAR(s[i], d[i], 1e-5) << i;
    // A bypassed band is left alone on the float path.
    b.setState(1);
    std::vector<float> kept{0.3f, 0.2f};
    b.processFloat(kept.data(), 2);
    EXPECT_EQ(kept, (std::vector<float>{0.3f, 0.2f}));
}

namespace {

// Two channels' chains of hand-set bands; each band of channel 1 is the
// same filter as channel 0's but with b0 scaled, so the lanes differ.
struct TwoChannelChain {
    std::vector<std::unique_ptr<HandSetFilter>> left, right;

    TwoChannelChain(int32_t bands, int32_t sectionsPerBand) {
        const DigitalSection shapes[3] = {kLowPassish, kResonance, {0.9, -0.4, 0.3, -0.2, 0.1}};
        for (int32_t b = 0; b < bands; ++b) {
            DigitalSection l[kMaxSections], r[kMaxSections];
            for (int32_t s = 0; s < sectionsPerBand; ++s) {
                l[s] = r[s] = shapes[(b + s) % 3];
                r[s].b0 *= 0.75;
            }
            for (auto* side : {&left, &right}) {
                side->push_back(std::make_unique<HandSetFilter>());
                side->back()->setCoefficients(side == &left ? l : r, sectionsPerBand);
                settle(*side->back());
            }
        }
    }

    void runOneAfterTheOther(double* a, double* b, int32_t n) {
        for (size_t i = 0; i < left.size(); ++i) {
            left[i]->processDouble(a, n);
            right[i]->processDouble(b, n);
        }
    }

    void runPaired(double* a, double* b, int32_t n, PairedKernel kernel = pairedKernelInUse()) {
        PairedSection run[32 * kMaxSections];
        int32_t held = 0;
        for (size_t i = 0; i < left.size(); ++i) {
            int32_t got = 0;
            ASSERT_TRUE(left[i]->pairSections(*right[i], run + held, &got, n));
            held += got;
        }
        ASSERT_TRUE(runPairedSectionsWith(kernel, run, held, a, b, n));
    }
};

std::vector<double> noise(size_t n, uint32_t seed) {
    std::vector<double> x(n);
    for (double& v : x) {
        seed = seed * 1664525u + 1013904223u;
        v = double(seed >> 8) / double(1u << 24) - 0.5;
    }
    return x;
}

}  // namespace

// The kernels this processor can run (FENWOLDRINE_IIR_KERNEL picks among
// the same ones in the running program).
std::vector<PairedKernel> kernelsHere() {
    std::vector<PairedKernel> here;
    for (const PairedKernel k : {PairedKernel::kSse2, PairedKernel::kAvx2, PairedKernel::kAvx512})
        if (pairedKernelSupported(k)) here.push_back(k);
    return here;
}

// Two channels in vector lanes with sections in flight must give exactly
// the bits of the plain loop, with every kernel: whole groups and
// remainders, blocks shorter than the stagger, across block boundaries, and
// with ramps that start on either channel in any block and end within one.
TEST(DF1Cascade, PairedSectionsGiveTheBitsOfOneSectionAfterAnother) {
    const DigitalSection targets[3] = {kResonance, kLowPassish, {0.9, -0.4, 0.3, -0.2, 0.1}};
    for (const PairedKernel kernel : kernelsHere()) {
        for (int32_t bands : {1, 2, 3, 5, 9, 17, 32}) {
            for (int32_t perBand : {1, 2, 4}) {
                for (bool ramps : {false, true}) {
                    TwoChannelChain plain(bands, perBand), paired(bands, perBand);
                    uint32_t seed = 7;
                    int32_t block = 0;
                    for (int32_t n : {1, 2, 3, 64, 5, 700, 4096, 333, 129, 2000, 17}) {
                        // Now and then a band of one channel or the other heads elsewhere.
                        for (int32_t b = 0; ramps && b < bands; ++b) {
                            if ((b + block) % 3 != 0) continue;
                            DigitalSection to[kMaxSections];
                            for (int32_t k = 0; k < perBand; ++k) to[k] = targets[(b + block + k) % 3];
                            const auto side = (b + block) % 2 ? &TwoChannelChain::left : &TwoChannelChain::right;
                            (plain.*side)[size_t(b)]->setCoefficients(to, perBand);
                            (paired.*side)[size_t(b)]->setCoefficients(to, perBand);
                        }
                        ++block;
                        std::vector<double> a = noise(size_t(n), ++seed), b = noise(size_t(n), ++seed);
                        std::vector<double> pa = a, pb = b;
                        plain.runOneAfterTheOther(a.data(), b.data(), n);
                        paired.runPaired(pa.data(), pb.data(), n, kernel);
                        const auto trace = ::testing::Message() << "kernel " << int(kernel) << ", " << bands
                                                                << " bands of " << perBand << (ramps ? " ramping" : "")
                                                                << ", block " << block;
                        ASSERT_EQ(0, std::memcmp(a.data(), pa.data(), sizeof(double) * size_t(n))) << trace;
                        ASSERT_EQ(0, std::memcmp(b.data(), pb.data(), sizeof(double) * size_t(n))) << trace;
                    }
                }
            }
        }
    }
}

TEST(DF1Cascade, PairingIsRefusedUnlessBothBandsHaveTheSameSectionsAndAreNotFlat) {
    TwoChannelChain chain(1, 2);
    HandSetFilter& l = *chain.left[0];
    HandSetFilter& r = *chain.right[0];
    PairedSection run[kMaxSections];
    int32_t got = -1;
    EXPECT_TRUE(l.pairSections(r, run, &got, 16));
    EXPECT_EQ(got, 2);
    EXPECT_FALSE(l.pairSections(l, run, &got, 16));  // a band with itself
    EXPECT_FALSE(l.pairSections(r, run, &got, 0));   // no block

    r.setCoefficients(&kResonance, 1);  // one section against two
    EXPECT_FALSE(l.pairSections(r, run, &got, 16));
    const DigitalSection two[2] = {kResonance, kLowPassish};
    r.setCoefficients(two, 2);  // a ramp starts: paired all the same
    EXPECT_TRUE(l.pairSections(r, run, &got, 16));
    l.setUnity(1);
    EXPECT_FALSE(l.pairSections(r, run, &got, 16));
}

// A NaN on one channel clears that channel's history after the block and
// never reaches the other lane.
TEST(DF1Cascade, NanInOneLaneLeavesTheOtherAloneAndClearsAfterTheBlock) {
    for (const PairedKernel kernel : kernelsHere()) {
        TwoChannelChain plain(9, 1), paired(9, 1);
        std::vector<double> a = noise(32, 1), b = noise(32, 2);
        a[5] = std::nan("");
        std::vector<double> pa = a, pb = b;
        plain.runOneAfterTheOther(a.data(), b.data(), 32);
        paired.runPaired(pa.data(), pb.data(), 32, kernel);
        EXPECT_EQ(0, std::memcmp(b.data(), pb.data(), sizeof(double) * b.size())) << int(kernel);
        std::vector<double> next(64, 0.25), other(64, 0.25);
        paired.runPaired(next.data(), other.data(), 64, kernel);
        for (double v : next) ASSERT_TRUE(std::isfinite(v)) << int(kernel);
    }
}
