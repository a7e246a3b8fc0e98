// The magnitude fit checked against biquads whose response the test computes
// itself, by complex arithmetic at z = e^{jw} on the fit's grid.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "dsp/MagnitudeFit.h"

namespace {

using Complex = std::complex<double>;
using Target = std::array<float, MagnitudeFit::kGridPoints>;
constexpr double kPi = std::numbers::pi;

double magnitudeAt(const DigitalSection& s, double w) {
    const Complex zi = std::polar(1.0, -w);  // z^-1
    return std::abs((s.b0 + s.b1 * zi + s.b2 * zi * zi) / (1.0 + s.a1 * zi + s.a2 * zi * zi));
}

// The section with gain b0, a conjugate pair of zeros and one of poles.
DigitalSection fromRoots(double gain, Complex zero, Complex pole) {
    return {gain, -2.0 * zero.real() * gain, std::norm(zero) * gain, -2.0 * pole.real(), std::norm(pole)};
}

Target targetOf(const MagnitudeFit& fit, const DigitalSection& s, double scale = 1.0) {
    Target t{};
    for (int i = 0; i < MagnitudeFit::kGridPoints; ++i) {
        t[i] = static_cast<float>(scale * magnitudeAt(s, fit.gridRadians(i)));
    }
    return t;
}

// Squared error of a section, with its own gain, against the target.
double errorOf(const MagnitudeFit& fit, const DigitalSection& s, const Target& t) {
    double e = 0.0;
    for (int i = 0; i < MagnitudeFit::kGridPoints; ++i) e += std::pow(magnitudeAt(s, fit.gridRadians(i)) - t[i], 2);
    return e;
}

bool same(const DigitalSection& x, const DigitalSection& y) {
    return x.b0 == y.b0 && x.b1 == y.b1 && x.b2 == y.b2 && x.a1 == y.a1 && x.a2 == y.a2;
}

// A resonance: zeros at 1 kHz, poles at 1.2 kHz (at 44.1 kHz), gain 1.2.
const Complex kZero = std::polar(0.93, 2.0 * kPi * 1000.0 / 44100.0);
const Complex kPole = std::polar(0.90, 2.0 * kPi * 1200.0 / 44100.0);
const DigitalSection kReference = fromRoots(1.2, kZero, kPole);

// The reference with its zeros and poles moved by a relative amount p.
DigitalSection perturbed(double p, double gain = 1.0) {
    return fromRoots(gain, kZero * Complex(1.0 + p, p), kPole * Complex(1.0 - p, -p));
}

class MagnitudeFitTest : public ::testing::Test {
protected:
    MagnitudeFit fit;
    Target target = targetOf(fit, kReference);
    void SetUp() override { fit.setTarget(target.data()); }
};

TEST_F(MagnitudeFitTest, RecoversAReachableTargetFromANearbyStart) {
    for (int kind = 0; kind <= 4; ++kind) {
        DigitalSection s = perturbed(0.02);
        ASSERT_TRUE(fit.refine(&s, kind)) << kind;
        EXPECT_GT(fit.startError(), 1.0);
        // Kinds 0 and 3 stop after 9 steps, which take an error of 3 down by
        // about six orders; the others converge to the rounding of the
        // single-precision target.
        const bool shortRun = kind == 0 || kind == 3;
        if (shortRun) {
            EXPECT_LT(fit.endError(), 1e-5);
            EXPECT_GT(fit.endError(), 1e-9);
        } else {
            EXPECT_LT(fit.endError(), 1e-12) << kind;
        }
        const double tolerance = shortRun ? 2e-3 : 1e-6;
        EXPECT_NEAR(s.b0, kReference.b0, tolerance) << kind;
        EXPECT_NEAR(s.b1, kReference.b1, tolerance) << kind;
        EXPECT_NEAR(s.b2, kReference.b2, tolerance) << kind;
        EXPECT_NEAR(s.a1, kReference.a1, tolerance) << kind;
        EXPECT_NEAR(s.a2, kReference.a2, tolerance) << kind;
    }
}

TEST_F(MagnitudeFitTest, GainIsSolvedExactly) {
    const DigitalSection monic = fromRoots(1.0, kZero, kPole);
    const Target doubled = targetOf(fit, monic, 2.0);
    fit.setTarget(doubled.data());
    // The right shape at the wrong gain already has (almost) no error.
    DigitalSection s = monic;
    EXPECT_FALSE(fit.refine(&s, 4));
    EXPECT_LT(fit.startError(), 1e-10);
    s = perturbed(0.01, 0.3);
    ASSERT_TRUE(fit.refine(&s, 4));
    EXPECT_NEAR(s.b0, 2.0, 1e-6);
    EXPECT_NEAR(s.b1, 2.0 * monic.b1, 1e-6);
}

// Whatever is written has a lower error than the start, measured
// independently; a rejected result leaves the section alone.
TEST_F(MagnitudeFitTest, AcceptedResultsLowerTheErrorAndRejectedOnesChangeNothing) {
    int accepted = 0, rejected = 0;
    for (double p : {0.001, 0.02, 0.05, -0.03}) {
        for (int kind = 0; kind <= 4; ++kind) {
            const DigitalSection before = perturbed(p, 0.8);
            DigitalSection s = before;
            if (fit.refine(&s, kind)) {
                ++accepted;
                EXPECT_LT(fit.endError(), fit.startError());
                EXPECT_LT(errorOf(fit, s, target), errorOf(fit, before, target));
                EXPECT_NEAR(errorOf(fit, s, target), fit.endError(), 1e-6 * fit.endError() + 1e-12);
            } else {
                ++rejected;
                EXPECT_TRUE(same(s, before)) << p << " " << kind;
            }
        }
    }
    EXPECT_GT(accepted, 0);
    EXPECT_GT(rejected, 0);
}

TEST_F(MagnitudeFitTest, PolesEndInsideTheUnitCircleFromUnstableStarts) {
    const Complex outside = 1.0 / std::conj(kPole * Complex(0.99, -0.01));  // radius 1.1
    const DigitalSection starts[] = {
        fromRoots(1.0, kZero, outside),
        {1.0, kReference.b1, kReference.b2, -1.8, 0.45},  // real poles at 1.5 and 0.3
    };
    for (const DigitalSection& start : starts) {
        DigitalSection s = start;
        ASSERT_TRUE(fit.refine(&s, 1));
        const Complex root = std::sqrt(Complex(s.a1 * s.a1 - 4.0 * s.a2));
        EXPECT_LE(std::abs((-s.a1 + root) / 2.0), 1.0);
        EXPECT_LE(std::abs((-s.a1 - root) / 2.0), 1.0);
        EXPECT_LT(errorOf(fit, s, target), errorOf(fit, start, target));
    }
}

TEST_F(MagnitudeFitTest, StartErrorAtOrBelowTheKindsThresholdDoesNothing) {
    // At the optimum: only the rounding of the target is left.
    for (int kind : {0, 4}) {
        DigitalSection s = kReference;
        EXPECT_FALSE(fit.refine(&s, kind));
        EXPECT_TRUE(same(s, kReference));
        EXPECT_EQ(fit.endError(), fit.startError());
    }
    // Between the thresholds of kind 4 (1e-10) and kind 0 (1e-8).
    DigitalSection s = perturbed(3e-7, 1.2);
    EXPECT_FALSE(fit.refine(&s, 0));
    ASSERT_GT(fit.startError(), 1e-10);
    ASSERT_LT(fit.startError(), 1e-8);
    EXPECT_TRUE(same(s, perturbed(3e-7, 1.2)));
    EXPECT_TRUE(fit.refine(&s, 4));
}

TEST_F(MagnitudeFitTest, OnlyKindOneAcceptsAnEndErrorAboveOne) {
    Target jagged{};  // no biquad comes near alternating 0.2 and 5
    for (int i = 0; i < MagnitudeFit::kGridPoints; ++i) jagged[i] = i % 2 ? 5.0f : 0.2f;
    fit.setTarget(jagged.data());
    for (int kind = 0; kind <= 4; ++kind) {
        DigitalSection s{1.0, 0.0, 0.0, 0.0, 0.0};
        EXPECT_EQ(fit.refine(&s, kind), kind == 1) << kind;
        EXPECT_GT(fit.endError(), 1.0);
        EXPECT_LT(fit.endError(), fit.startError());
    }
}

TEST_F(MagnitudeFitTest, InvalidInputsEndAndChangeNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (int kind : {-1, 5}) {
        DigitalSection s = perturbed(0.01);
        EXPECT_FALSE(fit.refine(&s, kind));
        EXPECT_TRUE(same(s, perturbed(0.01)));
    }
    // No b0 to normalise by, a NaN, an infinite pole, an overflowing numerator.
    const DigitalSection bad[] = {{0.0, 1.0, 0.5, -0.5, 0.2},
                                  {1.0, nan, 0.5, -0.5, 0.2},
                                  {1.0, 0.0, 0.5, inf, 0.2},
                                  {1e-300, 1.0, 1.0, 0.5, 0.2}};
    for (const DigitalSection& b : bad) {
        DigitalSection s = b;
        EXPECT_FALSE(fit.refine(&s, 1));
        EXPECT_EQ(s.b0, b.b0);
        EXPECT_EQ(s.a2, b.a2);
    }
    target[40] = std::numeric_limits<float>::quiet_NaN();
    fit.setTarget(target.data());
    DigitalSection s = perturbed(0.01);
    EXPECT_FALSE(fit.refine(&s, 1));
    EXPECT_TRUE(same(s, perturbed(0.01)));
}

}  // namespace
