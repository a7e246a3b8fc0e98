// The band's digital realisation against its analogue prototype: closeness
// up to 0.95 x Nyquist, a peak above Nyquist still shaping the top, the
// notch's finite depth, flat bands costing nothing, the parallel form H - 1,
// and stability for every design of the sweep at four sample rates.

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
    // Largest |digital - analogue| in dB on 300 log points from 20 Hz to 0.95 Nyquist.
    double worstDeviation(double rate) const {
        double worst = 0.0;
        for (int k = 0; k < 300; ++k) {
            const double hz = 20.0 * std::pow(0.95 * rate / 2.0 / 20.0, k / 299.0);
            worst = std::max(worst, std::fabs(digitalDb(hz) - analogueDb(hz)));
        }
        return worst;
    }
    BrenmoorEQ eq;
};

BandShape shape(int32_t type, int32_t subtype, float hz, float gain, float q, int32_t slope = 2) {
    BandShape s;
    s.type = type;
    s.subtype = subtype;
    s.frequency = hz;
    s.gain = gain;
    s.q = q;
    s.slope = slope;
    s.state = 0;
    return s;
}

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
    for (float gain : {12.0f, -12.0f}) {
        for (float q : {0.5f, 1.0f, 4.0f}) {
            EXPECT_LT(Band(shape(kEnginePeak, kPeakKestrawn, 100.0f, gain, q)).worstDeviation(48000.0), 0.01);
            EXPECT_LT(Band(shape(kEnginePeak, kPeakKestrawn, 1000.0f, gain, q)).worstDeviation(48000.0), 0.05);
            for (float hz : {5000.0f, 10000.0f, 15000.0f, 19000.0f})
                EXPECT_LT(Band(shape(kEnginePeak, kPeakKestrawn, hz, gain, q)).worstDeviation(48000.0), 0.75)
                    << hz << " Hz, Q " << q << ", " << gain << " dB";
        }
        for (int32_t type : {kEngineLowShelf, kEngineHighShelf}) {
            EXPECT_LT(Band(shape(type, kShelfKestrawn, 100.0f, gain, 0.707f)).worstDeviation(48000.0), 0.01);
            EXPECT_LT(Band(shape(type, kShelfKestrawn, 8000.0f, gain, 0.707f)).worstDeviation(48000.0), 0.1);
        }
    }
}

TEST(BrenmoorEQ, APeakAboveNyquistStillShapesTheTopOctave) {
    const Band high(shape(kEnginePeak, kPeakKestrawn, 30000.0f, 12.0f, 1.0f), 48000.0f);
    EXPECT_GT(high.analogueDb(20000.0), 6.0);
    EXPECT_NEAR(high.digitalDb(20000.0), high.analogueDb(20000.0), 1.0);
    EXPECT_NEAR(high.digitalDb(12000.0), high.analogueDb(12000.0), 0.5);
    EXPECT_NEAR(high.digitalDb(100.0), 0.0, 0.05);
}

TEST(BrenmoorEQ, NotchReachesMinus120DbAndNoDeeper) {
    const Band notch(shape(kEngineNotch, 0, 1000.0f, 0.0f, 2.0f));
    // The deepest point, searched to a thousandth of a hertz: the digital
    // notch is a -120 dB cut, never a true zero.
    double deepest = 0.0;
    for (double hz = 995.0; hz < 1005.0; hz += 0.001) deepest = std::min(deepest, notch.digitalDb(hz));
    EXPECT_NEAR(deepest, -120.0, 1.0);
    EXPECT_NEAR(notch.digitalDb(100.0), notch.analogueDb(100.0), 0.05);
}

TEST(BrenmoorEQ, AFlatBandCostsNothing) {
    const Band almost(shape(kEnginePeak, kPeakKestrawn, 1000.0f, 0.005f, 1.0f));
    EXPECT_TRUE(almost.eq.isUnity());
    const Band real(shape(kEnginePeak, kPeakKestrawn, 1000.0f, 0.5f, 1.0f));
    EXPECT_FALSE(real.eq.isUnity());
    BandShape off = shape(kEnginePeak, kPeakKestrawn, 1000.0f, 9.0f, 1.0f);
    off.state = 1;
    EXPECT_TRUE(Band(off).eq.isUnity());
}

TEST(BrenmoorEQ, ParallelBandRealisesItsDifferenceFromTheInput) {
    // One section, and two ("FlatTop"), whose difference is factored back into two.
    for (const BandShape& s : {shape(kEnginePeak, kPeakKestrawn, 800.0f, 9.0f, 1.5f),
                               shape(kEnginePeak, kPeakFlatTop, 3000.0f, -7.0f, 1.0f),
                               shape(kEngineLowShelf, kShelfKestrawn, 200.0f, 6.0f, 0.707f)}) {
        const Band series(s), parallel(s, 48000.0f, true);
        for (double hz : {50.0, 800.0, 3000.0, 12000.0}) {
            double sr = 0, si = 0, pr = 0, pi = 0;
            series.eq.responseAt(hz, &sr, &si);
            parallel.eq.responseAt(hz, &pr, &pi);
            EXPECT_NEAR(std::abs(std::complex<double>(sr - 1.0, si) - std::complex<double>(pr, pi)), 0.0, 1e-9) << hz;
        }
    }
}

// Every type, subtype and slope over a grid of controls up to the highest
// band frequency, at four rates: the running filter is finite and stable,
// whatever the design.
TEST(BrenmoorEQ, EveryDesignIsStableAtEveryRate) {
    for (float rate : {44100.0f, 48000.0f, 96000.0f, 192000.0f}) {
        for (int32_t type = 1; type <= kEngineAllPass; ++type) {
            int32_t subtypes = 0;
            EQ::subtypeNames(type, &subtypes);
            subtypes = std::max(subtypes, 1);
            const bool pass = type == kEngineHighPass || type == kEngineLowPass;
            for (int32_t sub = 0; sub < subtypes; ++sub)
                for (int32_t slope : pass ? std::vector<int32_t>{1, 2, 3, 5, 8} : std::vector<int32_t>{2})
                    for (float gain : {-18.0f, 0.0f, 12.0f})
                        for (float hz : {20.0f, 900.0f, 15000.0f, 22000.0f})
                            for (float q : {0.2f, 1.0f, 12.0f}) {
                                BandShape s = shape(type, sub, hz, gain, q, slope);
                                s.shift = 50.0f;
                                const Band band(s, rate);
                                DigitalSection d[kMaxSections];
                                const int32_t n = band.eq.getCoefficients(d);
                                for (int32_t i = 0; i < n; ++i) {
                                    ASSERT_TRUE(std::isfinite(d[i].b0) && std::isfinite(d[i].b1) &&
                                                std::isfinite(d[i].b2) && std::isfinite(d[i].a1) &&
                                                std::isfinite(d[i].a2))
                                        << type << "/" << sub << "/" << slope << " " << hz << " Hz at " << rate;
                                    ASSERT_TRUE(stable(d[i]))
                                        << type << "/" << sub << "/" << slope << " " << gain << " dB " << hz
                                        << " Hz Q" << q << " at " << rate << ", section " << i;
                                }
                            }
        }
    }
}
