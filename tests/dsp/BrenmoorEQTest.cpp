// The band's digital realisation against its analogue prototype: closeness
// up to 0.95 x Nyquist, the notch's finite depth, flat bands costing
// nothing, the parallel form H - 1, and a sweep of every design, finite and
// stable in both domains.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "DesignTestSupport.h"
#include "dsp/BrenmoorEQ.h"
#include "dsp/SubtypeNames.h"

namespace {

struct Band {
    explicit Band(const BandShape& s, float rate = 48000.0f, bool inParallel = false) {
        eq.setSampleRate(rate);
        eq.setShape(s);
        eq.setParallel(inParallel);
        eq.rebuild();
    }
    double digitalDb(double hz) const { return designtest::toDb(eq.magnitudeAt(hz, nullptr)); }
    double analogueDb(double hz) const {
        SectionSet set{};
        const_cast<BrenmoorEQ&>(eq).design(&set, false);
        return designtest::toDb(analogueMagnitude(set.section, set.count, hz));
    }
    BrenmoorEQ eq;
};

using designtest::shapeOf;

bool stable(const DigitalSection& d) {
    // Roots of z^2 + a1 z + a2 inside the unit circle.
    const std::complex<double> disc = std::sqrt(std::complex<double>(d.a1 * d.a1 - 4.0 * d.a2));
    return std::abs((-d.a1 + disc) / 2.0) < 1.0 && std::abs((-d.a1 - disc) / 2.0) < 1.0;
}

}  // namespace

// Where the analogue curve is gentle compared with the rate, the biquads
// must match it to hundredths of a dB; towards Nyquist, where a biquad can no
// longer take the analogue shape, to a fraction of a dB. A plain bilinear
// transform is off by several dB in the same places.
TEST(BrenmoorEQ, PeaksAndShelvesFollowTheAnalogueCurveUpToNearNyquist) {
    const struct { int32_t type, subtype; float hz; double worstDb; } rows[] = {
        {kEnginePeak, kPeakKestrawn, 100, 0.01},        {kEnginePeak, kPeakKestrawn, 1000, 0.05},
        {kEnginePeak, kPeakKestrawn, 5000, 0.75},       {kEnginePeak, kPeakKestrawn, 10000, 0.75},
        {kEnginePeak, kPeakKestrawn, 15000, 0.75},      {kEnginePeak, kPeakKestrawn, 19000, 0.75},
        {kEngineLowShelf, kShelfKestrawn, 100, 0.01},   {kEngineHighShelf, kShelfKestrawn, 100, 0.01},
        {kEngineLowShelf, kShelfKestrawn, 8000, 0.1},   {kEngineHighShelf, kShelfKestrawn, 8000, 0.1},
    };
    for (const auto& row : rows)
        for (float gain : {12.0f, -12.0f})
            for (float q : row.type == kEnginePeak ? std::vector<float>{0.5f, 1.0f, 4.0f} : std::vector<float>{0.707f})
                EXPECT_LT(designtest::deviationFromPrototype(shapeOf(row.type, row.subtype, row.hz, gain, q), 48000.0).band,
                          row.worstDb)
                    << row.type << " at " << row.hz << " Hz, Q " << q << ", " << gain << " dB";
}

// The digital notch is a -120 dB cut, never a true zero (its deepest point
// is searched to a thousandth of a hertz), and elsewhere the analogue notch.
TEST(BrenmoorEQ, NotchReachesMinus120DbAndNoDeeper) {
    const Band deep(shapeOf(kEngineNotch, 0, 1000.0f, 0.0f, 2.0f));
    double deepest = 0.0;
    for (double hz = 995.0; hz < 1005.0; hz += 0.001) deepest = std::min(deepest, deep.digitalDb(hz));
    EXPECT_NEAR(deepest, -120.0, 1.0);
    for (float hz : {100.0f, 1000.0f, 15000.0f})
        for (float q : {0.5f, 2.0f}) {
            const Band notch(shapeOf(kEngineNotch, 0, hz, 0.0f, q));
            for (double f : {hz / 8.0, hz / 2.0, hz * 1.5, std::min(hz * 4.0, 0.95 * 24000.0)})
                EXPECT_NEAR(notch.digitalDb(f), notch.analogueDb(f), hz < 2000.0f ? 0.05 : 1.1) << hz << " Hz at " << f;
        }
}

TEST(BrenmoorEQ, AFlatBandCostsNothing) {
    const struct { float gain; int32_t state; bool unity; } rows[] = {{0.005f, 0, true}, {0.5f, 0, false}, {9.0f, 1, true}};
    for (const auto& row : rows) {
        BandShape s = shapeOf(kEnginePeak, kPeakKestrawn, 1000.0f, row.gain, 1.0f);
        s.state = row.state;
        EXPECT_EQ(Band(s).eq.isUnity(), row.unity) << row.gain << " dB, state " << row.state;
    }
}

TEST(BrenmoorEQ, ParallelBandRealisesItsDifferenceFromTheInput) {
    // One section, and two ("FlatTop"), whose difference is factored back into two.
    for (const BandShape& s : {shapeOf(kEnginePeak, kPeakKestrawn, 800.0f, 9.0f, 1.5f),
                               shapeOf(kEnginePeak, kPeakFlatTop, 3000.0f, -7.0f, 1.0f),
                               shapeOf(kEngineLowShelf, kShelfKestrawn, 200.0f, 6.0f, 0.707f)}) {
        const Band series(s), parallel(s, 48000.0f, true);
        for (double hz : {50.0, 800.0, 3000.0, 12000.0}) {
            double sr = 0, si = 0, pr = 0, pi = 0;
            series.eq.responseAt(hz, &sr, &si);
            parallel.eq.responseAt(hz, &pr, &pi);
            EXPECT_NEAR(std::abs(std::complex<double>(sr - 1.0, si) - std::complex<double>(pr, pi)), 0.0, 1e-9) << hz;
        }
    }
}

// Every type, subtype (and one past the list, which falls back) and slope
// over a grid of the controls: the analogue design is finite, has one to
// four sections and its poles in the left half plane; the running filter
// made of every fifth one (5 is prime to the grid's inner loops, so every
// setting is reached), at one of four rates in turn, is finite and stable.
TEST(BrenmoorEQ, EveryDesignIsFiniteSmallAndStableInBothDomains) {
    const float rates[] = {44100.0f, 48000.0f, 96000.0f, 192000.0f};
    int designs = 0;
    for (int32_t type = 0; type <= kEngineAllPass; ++type) {
        int32_t subtypes = 1;
        EQ::subtypeNames(type, &subtypes);
        const bool pass = type == kEngineHighPass || type == kEngineLowPass;
        for (int32_t sub = 0; sub <= std::max(subtypes, 1); ++sub)
            for (int32_t slope = 1; slope <= (pass ? 8 : 1); ++slope)
                for (float gain : {-30.0f, -12.0f, 0.0f, 0.3f, 12.0f, 30.0f})
                    for (float hz : {10.0f, 45.0f, 460.0f, 3300.0f, 18000.0f, 22000.0f, 40000.0f})
                        for (float q : {0.1f, 0.707f, 3.0f, 50.0f})
                            for (float shift : {-100.0f, 0.0f, 100.0f}) {
                                const BandShape s{type, sub, slope, 0, hz, gain, q, shift, 1.0f};
                                // The running filter of every fifth design, at the rates in turn.
                                const bool digital = type != 0 && designs % 5 == 0;
                                const float rate = rates[designs++ / 5 % 4];
                                const auto trace = ::testing::Message() << type << "/" << sub << "/" << slope << " g"
                                                   << gain << " f" << hz << " q" << q << " s" << shift << " at " << rate;
                                SectionSet set{};
                                designBand(s, false, &set);
                                ASSERT_GE(set.count, 1) << trace;
                                ASSERT_LE(set.count, kMaxSections) << trace;
                                const double* c = &set.section[0].b2;
                                for (int k = 0; k < 6 * set.count; ++k) ASSERT_TRUE(std::isfinite(c[k])) << trace;
                                for (auto p : designtest::polesOf(set.section, set.count)) ASSERT_LT(p.real(), 0.0) << trace;
                                if (!digital) continue;
                                const Band band(s, rate);
                                DigitalSection d[kMaxSections];
                                const int32_t n = band.eq.getCoefficients(d);
                                for (int32_t i = 0; i < n; ++i) {
                                    ASSERT_TRUE(std::isfinite(d[i].b0) && std::isfinite(d[i].b1) && std::isfinite(d[i].b2))
                                        << trace;
                                    ASSERT_TRUE(stable(d[i])) << trace << ", section " << i;
                                }
                            }
    }
    EXPECT_GT(designs, 10000);
}
