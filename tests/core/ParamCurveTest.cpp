// The mapping curves between normalised and real values.

#include <gtest/gtest.h>

#include <cmath>

#include "core/ParamTable.h"

namespace {

// Curves that are true inverses of each other: a round trip from any
// normalised value comes back within double rounding.
TEST(ParamCurve, ContinuousCurvesRoundTripOverTheWholeRange) {
    for (const int32_t curve : {kCurveLinear, kCurveLog, kCurveSquare, kCurveCube, kCurveSCube, kCurveFourth}) {
        const double min = curve == kCurveLog ? 10.0 : -36.0;
        const double max = curve == kCurveLog ? 22000.0 : 36.0;
        for (int k = 0; k <= 100; ++k) {
            const double n = k / 100.0;
            const double r = curveToReal(curve, min, max, n);
            EXPECT_GE(r, min);
            EXPECT_LE(r, max);
            EXPECT_NEAR(curveToNorm(curve, min, max, r), n, 1e-9) << "curve " << curve << " n " << n;
        }
    }
}

// Real values from closed forms: the shape of each curve, the rounding of
// the stepped ones, and the clamping of inputs and results.
TEST(ParamCurve, RealValuesFollowTheirClosedForms) {
    struct Case {
        int32_t curve;
        double min, max, norm, real;
    };
    const Case cases[] = {
        {kCurveLinear, -36, 36, 0.5, 0.0},
        {kCurveLog, 10, 22000, 0.5, std::sqrt(10.0 * 22000.0)},  // the geometric mean
        {kCurveSquare, 0, 8, 0.5, 2.0},
        {kCurveCube, 0, 8, 0.5, 1.0},
        {kCurveFourth, 0, 16, 0.5, 1.0},
        {kCurveSCube, 0, 8, 0.5, 4.0},  // the S-curve is flat through its centre
        {kCurveSCube, 0, 8, 0.75, 8.0 * (0.5 + 0.5 * 0.125)},
        {kCurveInt, 0, 8, 1.0, 8.0},  // norm 1 lands one past max and is clamped back
        {kCurveInt, 0, 1, 0.49, 0.0},  // two choices split at one half: max - min + 1 steps
        {kCurveInt, 0, 1, 0.5, 1.0},
        {kCurveSixes, 6, 48, 0.5, 24.0},  // floor(6 + 43 * 0.5 + 0.5) = 28, less 28 mod 6
        {kCurveBool, 0, 1, 0.99, 0.0},  // only the very top is on
        {kCurveBool, 0, 1, 1.0, 1.0},
        {kCurveFloor, 0, 10, 0.55, 5.0},
        {kCurveOctave, 1, 1024, 0.5, 32.0},  // floor(min * 2^floor(log2((max/min)^n)))
        {kCurveOctave, 1, 1024, 0.45, 16.0},
        {kCurveLinear, -36, 36, -0.5, -36.0},
        {kCurveLinear, -36, 36, 7.0, 36.0},
        {42, -1, 1, 0.7, 0.0},  // an unknown curve gives 0, clamped into the range
        {42, 10, 20, 0.7, 10.0},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(curveToReal(c.curve, c.min, c.max, c.norm), c.real, 1e-9)
            << "curve " << c.curve << " [" << c.min << ", " << c.max << "] at " << c.norm;
}

TEST(ParamCurve, NormalisedValuesAreClampedAndTheOctaveIsNotItsOwnInverse) {
    EXPECT_EQ(curveToNorm(kCurveSCube, 0, 8, 0.0), 0.0);
    EXPECT_EQ(curveToNorm(kCurveLog, 10, 22000, 5), 0.0);
    EXPECT_EQ(curveToNorm(kCurveLog, 10, 22000, 1e9), 1.0);
    EXPECT_EQ(curveToNorm(kCurveLinear, -36, 36, std::nan("")), 0.0);
    EXPECT_EQ(curveToNorm(42, 10, 20, 15), 0.0);
    // Backward takes the floor of a natural logarithm: ln 32 = 3.47 -> 3.
    EXPECT_NEAR(curveToNorm(kCurveOctave, 1, 1024, 32), 3.0 / std::log(1024.0), 1e-12);
}

TEST(ParamCurve, StepCurvesHitEveryStepAndComeBack) {
    for (int r = 0; r <= 8; ++r) EXPECT_EQ(curveToReal(kCurveInt, 0, 8, curveToNorm(kCurveInt, 0, 8, r)), r);
    for (int r = 1; r <= 32; ++r) EXPECT_EQ(curveToReal(kCurveInt, 1, 32, curveToNorm(kCurveInt, 1, 32, r)), r);
    for (int r = 6; r <= 48; r += 6) EXPECT_EQ(curveToReal(kCurveSixes, 6, 48, curveToNorm(kCurveSixes, 6, 48, r)), r);
    for (int k = 0; k <= 100; ++k) {
        EXPECT_EQ(std::fmod(curveToReal(kCurveSixes, 6, 48, k / 100.0), 6.0), 0.0);
        EXPECT_EQ(std::fmod(curveToReal(kCurveTwelves, 0, 120, k / 100.0), 12.0), 0.0);
    }
    EXPECT_EQ(curveStepCount(kCurveBool, 0, 1), 1);
    EXPECT_EQ(curveStepCount(kCurveInt, 0, 8), 9);
    EXPECT_EQ(curveStepCount(kCurveSixes, 6, 48), 8);
    EXPECT_EQ(curveStepCount(kCurveTwelves, 0, 120), 11);
    EXPECT_EQ(curveStepCount(kCurveLog, 10, 22000), 0);
}

}  // namespace
