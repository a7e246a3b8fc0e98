// Pass-filter prototypes checked against closed forms and physical facts of
// each family, at the normalised band frequency f = 1.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "dsp/PassDesign.h"
#include "dsp/SubtypeNames.h"

namespace {

const double kHalfPowerDb = -10.0 * std::log10(2.0);
constexpr int32_t kLp = kEngineLowPass;
constexpr int32_t kHp = kEngineHighPass;

struct Design {
    AnalogueSection s[kMaxDesignSections];
    int count;
    double db(double f) const { return 20.0 * std::log10(analogueMagnitude(s, count, f)); }
};

Design make(int32_t type, int32_t subtype, double q, int32_t order, double gain = 0.0) {
    Design d{};
    d.count = designPass(type, subtype, q, order, gain, d.s);
    return d;
}

// Routh-Hurwitz at first and second order: finite denominator coefficients
// of one sign, none zero, put every pole in the left half plane.
bool stableAndFinite(const AnalogueSection& s) {
    for (double c : {s.b2, s.b1, s.b0, s.a2, s.a1, s.a0}) {
        if (!std::isfinite(c)) return false;
    }
    const double last = s.b0 == 0.0 && s.a0 == 0.0 ? s.a1 : s.a0;
    return (s.a2 > 0 && s.a1 > 0 && last > 0) || (s.a2 < 0 && s.a1 < 0 && last < 0);
}

TEST(PassDesign, EveryFamilyIsStableAndItsHighPassMirrorsItsLowPass) {
    for (int32_t sub = 0; sub < kPassSubtypeCount; ++sub) {
        for (int n = 1; n <= 8; ++n) {
            for (double q : {0.1, 0.707, 3.0, 12.0, 50.0}) {
                for (double gain : {-24.0, 0.0, 18.0}) {
                    const Design lp = make(kLp, sub, q, n, gain);
                    const Design hp = make(kHp, sub, q, n, gain);
                    ASSERT_EQ(lp.count, (n + 1) / 2) << "subtype " << sub << " order " << n;
                    ASSERT_EQ(hp.count, lp.count);
                    for (const Design* d : {&lp, &hp}) {
                        for (int i = 0; i < d->count; ++i) {  // a first-order section only last, for odd n
                            EXPECT_EQ(d->s[i].b0 == 0.0 && d->s[i].a0 == 0.0, n % 2 == 1 && i == d->count - 1);
                            EXPECT_TRUE(stableAndFinite(d->s[i])) << sub << " " << n << " " << q;
                        }
                    }
                    // |H_lp(f)| = |H_hp(1/f)|
                    for (double f = 0.05; f < 20.0; f *= 1.37) EXPECT_NEAR(lp.db(f), hp.db(1.0 / f), 1e-9);
                }
            }
        }
    }
}

TEST(PassDesign, OutOfRangeSettingsGiveBoundedDesigns) {
    const Design unknown = make(kHp, kPassSubtypeCount, 2.0, 8, 6.0);  // flat
    ASSERT_EQ(unknown.count, 1);
    EXPECT_NEAR(unknown.db(0.3), 0.0, 1e-12);
    using Limits = std::numeric_limits<double>;
    for (int32_t sub : {kPassChebyshev, kPassElliptic}) {
        for (double q : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 0.0}) {
            for (int32_t slope : {std::numeric_limits<int32_t>::min(), 3, std::numeric_limits<int32_t>::max()}) {
                const Design d = make(kLp, sub, q, slope);
                EXPECT_EQ(d.count, slope < 1 ? 1 : slope > 8 ? 4 : 2);
                for (int i = 0; i < d.count; ++i) EXPECT_TRUE(stableAndFinite(d.s[i])) << sub << " " << q;
            }
        }
    }
}

TEST(PassDesign, CornersAndAsymptoticSlopes) {
    for (int n = 1; n <= 8; ++n) {
        // The Legendre pole table carries ten digits, Bessel's twelve.
        EXPECT_NEAR(make(kLp, kPassBessel, 1, n).db(1.0), kHalfPowerDb, 1e-6) << n;
        EXPECT_NEAR(make(kLp, kPassCritical, 1, n).db(1.0), kHalfPowerDb, 1e-9) << n;
        EXPECT_NEAR(make(kLp, kPassLegendre, 1, n).db(1.0), kHalfPowerDb, 1e-3) << n;
        // Equal Butterworth sections placed by a first-order estimate of
        // the cascade's loss: -3 dB exactly up to order 2, within 0.9 dB above.
        const double coincident = make(kLp, kPassCoincident, 4.0, n).db(1.0);
        EXPECT_LE(coincident, kHalfPowerDb + 1e-9) << n;
        EXPECT_GE(coincident, kHalfPowerDb - 0.9) << n;
        for (int32_t sub = kPassKestrawn; sub <= kPassLegendre; ++sub) {
            const Design lp = make(kLp, sub, 0.9, n);
            const Design hp = make(kHp, sub, 0.9, n);
            EXPECT_NEAR(lp.db(1e4) - lp.db(2e4), n * 6.0206, 1e-3) << "subtype " << sub << " n " << n;
            EXPECT_NEAR(hp.db(2e-4) - hp.db(1e-4), n * 6.0206, 1e-3) << "subtype " << sub << " n " << n;
        }
    }
}

TEST(PassDesign, ButterworthAndChebyshevFollowTheirClosedForms) {
    for (int n = 1; n <= 8; ++n) {
        const Design bw = make(kLp, kPassButterworth, 5.0, n);
        for (double f = 0.0; f < 4.0; f += 0.01) {
            EXPECT_NEAR(bw.db(f), -10.0 * std::log10(1.0 + std::pow(f, 2.0 * n)), 1e-9) << n;
            // Chebyshev over unit DC gain: |H|^2 = (1 + e^2) / (1 + e^2 T_n(f)^2).
            const double t = f <= 1.0 ? std::cos(n * std::acos(f)) : std::cosh(n * std::acosh(f));
            for (double ripple : {0.1, 1.0, 3.0}) {
                const double e2 = std::pow(10.0, ripple / 10.0) - 1.0;
                EXPECT_NEAR(make(kLp, kPassChebyshev, ripple, n).db(f),
                            10.0 * std::log10((1.0 + e2) / (1.0 + e2 * t * t)), 1e-8)
                    << n;
            }
            // Without ripple, Butterworth's poles; odd orders keep +3 dB.
            EXPECT_NEAR(make(kLp, kPassChebyshev, 0.0, n).db(f), bw.db(f) - (n % 2) * kHalfPowerDb, 1e-9);
        }
    }
    // The second-order Butterworth has no Q knob.
    for (double q : {0.1, 10.0}) EXPECT_NEAR(make(kLp, kPassButterworth, q, 2).s[0].a1, std::sqrt(2.0), 1e-15);
}

TEST(PassDesign, BesselDelayIsFlatAndLegendreIsMonotoneAndSteep) {
    const auto delay = [](const Design& d, double f) {  // -d phase / d(2 pi f)
        const double h = 1e-5;
        return -std::arg(analogueResponse(d.s, d.count, f + h) / analogueResponse(d.s, d.count, f - h)) / (2 * h);
    };
    for (int n = 2; n <= 8; ++n) {
        const Design bessel = make(kLp, kPassBessel, 1, n);
        EXPECT_NEAR(delay(bessel, 0.2) / delay(bessel, 1e-3), 1.0, 1e-3) << n;  // Butterworth: > 1.4e-2
        const Design legendre = make(kLp, kPassLegendre, 1, n);
        for (double f = 0.0; f < 3.0; f += 0.005) EXPECT_LE(legendre.db(f + 0.005), legendre.db(f) + 1e-9) << n;
        if (n >= 3) {  // steepest monotone roll-off: well below Butterworth past the corner
            EXPECT_LT(legendre.db(1.2), make(kLp, kPassButterworth, 1, n).db(1.2) - 1.0) << n;
        }
    }
}

// Complete elliptic integral K(k) as the integral of 1 / sqrt(1 - k^2 sin^2)
// over a quarter period; the midpoint rule converges geometrically on it.
double quadratureK(double k) {
    const int steps = 400;
    double sum = 0.0;
    for (int i = 0; i < steps; ++i) {
        const double sine = std::sin((i + 0.5) * (std::numbers::pi / 2) / steps);
        sum += 1.0 / std::sqrt(1.0 - k * k * sine * sine);
    }
    return sum * (std::numbers::pi / 2) / steps;
}

// Discrimination k1 of the elliptic filter of order n and selectivity k by
// the degree equation: k1 = (theta2 / theta3)^2 at the nome q(k)^n.
double ellipticDiscrimination(int n, double k) {
    const double nome = std::exp(-std::numbers::pi * quadratureK(std::sqrt(1.0 - k * k)) / quadratureK(k));
    const double q1 = std::pow(nome, n);
    double theta2 = 0.0;
    double theta3 = 1.0;
    for (int l = 0; l < 20; ++l) {
        theta2 += 2.0 * std::pow(q1, (l + 0.5) * (l + 0.5));
        theta3 += 2.0 * std::pow(q1, (l + 1.0) * (l + 1.0));
    }
    return (theta2 / theta3) * (theta2 / theta3);
}

TEST(PassDesign, EllipticIsEquirippleInBothBandsWithItsStopBandAtOnePlusFiveOverE) {
    const double stopEdge = 1.0 + 5.0 / std::exp(1.0);
    for (double ripple : {0.01, 0.1, 0.5, 1.0, 3.0}) {
        for (int n = 1; n <= 8; ++n) {
            const Design d = make(kLp, kPassElliptic, ripple, n);
            // Unit DC gain per section: even orders ripple over [0, +Q] dB,
            // odd orders over [-Q, 0] dB; the edge f = 1 sits at the bottom.
            const double top = n % 2 ? 0.0 : ripple;
            const double tolerance = 2e-3 * ripple;
            EXPECT_NEAR(d.db(1.0), top - ripple, tolerance);
            // n - 1 turning points inside the pass band, each touching a bound.
            int turns = 0;
            const double step = 2e-5;
            for (double f = step; f < 1.0 - step; f += step) {
                const double here = d.db(f);
                const double left = d.db(f - step);
                if ((here - left) * (d.db(f + step) - here) > 0.0) continue;
                ++turns;
                EXPECT_NEAR(here, here > left ? top : top - ripple, tolerance) << n << " " << f;
            }
            EXPECT_EQ(turns, n - 1) << "order " << n << " ripple " << ripple;
            // Stop band: at the level the degree equation gives from the
            // stop-band edge on, and never above it.
            const double k1 = ellipticDiscrimination(n, 1.0 / stopEdge);
            const double stopDb = top - 10.0 * std::log10(1.0 + (std::pow(10.0, ripple / 10.0) - 1.0) / (k1 * k1));
            EXPECT_NEAR(d.db(stopEdge), stopDb, 1e-3) << "order " << n << " ripple " << ripple;
            for (double f = stopEdge; f < 300.0; f *= 1.003) EXPECT_LE(d.db(f), stopDb + 1e-3) << n << " " << f;
        }
    }
}

TEST(PassDesign, AllpassHasUnitMagnitudeAndOrderOneIgnoresQ) {
    for (int32_t type : {kLp, kHp}) {
        for (int n = 1; n <= 8; ++n) {
            for (double q : {0.3, 4.0}) {
                const Design d = make(type, kPassAllpass, q, n);
                for (double f = 1e-3; f < 1e3; f *= 1.5) EXPECT_NEAR(d.db(f), 0.0, 1e-10);
            }
        }
        EXPECT_EQ(make(type, kPassAllpass, 0.3, 1).s[0].b1, make(type, kPassAllpass, 9.0, 1).s[0].b1);  // no Q
    }
}

TEST(PassDesign, HarmonicsHighPassResonatesAtTheFirstFourHarmonics) {
    const Design d = make(kHp, kPassHarmonics, 10.0, 8);
    for (int h = 1; h <= 4; ++h) {
        double peakF = 0.0;
        for (double f = h - 0.4; f < h + 0.4; f += 1e-4) peakF = d.db(f) > d.db(peakF) ? f : peakF;
        EXPECT_NEAR(peakF, h, 0.01 * h);
        EXPECT_GT(d.db(peakF), std::max(d.db(h - 0.4), d.db(h + 0.4)) + 10.0);
    }
    for (int n : {2, 3}) {  // only the resonance at the band frequency
        const Design low = make(kHp, kPassHarmonics, 10.0, n);
        EXPECT_LT(std::max(low.db(2.0), low.db(3.0)), low.db(1.0) - 10.0);
    }
}

TEST(PassDesign, GainLiftsThePassBandThroughTheSecondOrderSections) {
    for (int n = 1; n <= 8; ++n) {
        const Design lp = make(kLp, kPassButterworth, 1, n, 7.5);
        EXPECT_NEAR(lp.db(0.0), 7.5, 1e-9);
        EXPECT_NEAR(make(kHp, kPassButterworth, 1, n, -7.5).db(1e7), -7.5, 1e-9);
        if (n % 2 && n > 1) {  // the first-order section of an odd order keeps unit gain
            EXPECT_EQ(lp.s[lp.count - 1].b1, lp.s[lp.count - 1].a1);
        }
    }
}

}  // namespace
