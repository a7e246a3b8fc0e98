// Circuit models of the vintage subtypes, checked by their physical
// behaviour: where they boost and cut, where they clamp, symmetry, stepped
// tables that join, and the quartic split behind two shelves.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "dsp/SubtypeNames.h"
#include "dsp/VintageDesign.h"

namespace {

struct Design {
    AnalogueSection s[kMaxDesignSections];
    int count;
    double dB(double hz) const { return 20.0 * std::log10(analogueMagnitude(s, count, hz)); }
};

// Peaks stay normalised: the band frequency is s = j.
Design peak(int32_t subtype, double gain, double q = 1.0) {
    Design d{};
    d.count = designVintagePeak(subtype, gain, q, d.s);
    return d;
}

// Shelves as the band leaves them: scaled by the frequency, s in hertz.
Design shelf(int32_t type, int32_t subtype, double gain, double f, double q = 1.0, double shift = 0.0) {
    Design d{};
    d.count = designVintageShelf(type, subtype, gain, f, q, shift, d.s);
    scaleSections(d.count, d.s, f);
    return d;
}

bool sameSections(const Design& a, const Design& b) {
    return a.count == b.count && std::memcmp(a.s, b.s, sizeof(AnalogueSection) * a.count) == 0;
}

const int32_t kPeakModels[] = {kPeak4kg,      kPeak250,        kPeak8k2,       kPeak4keBrown,
                               kPeak4keBlack, kPeak4keBrownCT, kPeak4keBlackCT};

TEST(VintagePeak, BoostsAndCutsAtTheCentreGrowingWithGainAndIsFlatAtZero) {
    for (int32_t st : kPeakModels) {
        for (double q : {0.3, 2.0, 20.0}) {
            double previous = 0.0;
            for (double g : {3.0, 6.0, 12.0}) {
                const double boost = peak(st, g, q).dB(1.0);
                const double cut = peak(st, -g, q).dB(1.0);
                EXPECT_GT(boost, previous + 0.3) << "subtype " << st << " q " << q << " gain " << g;
                EXPECT_LT(cut, -0.3) << "subtype " << st << " q " << q << " gain " << g;
                // Far from the centre what is left is small beside the centre.
                for (double far : {1e-3, 1e3}) EXPECT_LT(std::fabs(peak(st, g, q).dB(far)), 0.25 * boost);
                previous = boost;
            }
            for (double hz : {0.01, 0.5, 1.0, 2.0, 100.0}) EXPECT_NEAR(peak(st, 0.0, q).dB(hz), 0.0, 1e-9);
        }
    }
}

TEST(VintagePeak, GainStopsAtTheEndOfEachModelsTravel) {
    const struct {
        int32_t subtype;
        double limit;
    } travel[] = {{kPeak4kg, 18}, {kPeak4keBrown, 15}, {kPeak4keBrownCT, 15},
                  {kPeak8k2, 15}, {kPeak4keBlack, 18}, {kPeak4keBlackCT, 18}};
    for (const auto& t : travel)
        for (double q : {0.5, 5.0}) {
            EXPECT_TRUE(sameSections(peak(t.subtype, t.limit + 6, q), peak(t.subtype, t.limit, q))) << t.subtype;
            EXPECT_TRUE(sameSections(peak(t.subtype, -t.limit - 6, q), peak(t.subtype, -t.limit, q))) << t.subtype;
            EXPECT_FALSE(sameSections(peak(t.subtype, t.limit - 1, q), peak(t.subtype, t.limit, q))) << t.subtype;
        }
}

// Shelf cases: one side of the band near 0 dB, the other side with the sign
// of the gain. The "Pultec Boost" high band is a resonant boost, so its
// boosted side is taken at the band frequency.
struct ShelfCase {
    int32_t type, subtype;
    double sign, f, boostedHz, flatHz;
};
const ShelfCase kShelfCases[] = {
    {kEngineLowShelf, kShelf4kg, 1, 100, 10, 20000},          {kEngineLowShelf, kShelf110, 1, 100, 10, 20000},
    {kEngineLowShelf, kShelf550, 1, 100, 10, 20000},          {kEngineLowShelf, kShelfPultecBoost, 1, 60, 10, 20000},
    {kEngineLowShelf, kShelfPultecCut, -1, 60, 10, 20000},    {kEngineHighShelf, kShelf4kg, 1, 5000, 20000, 20},
    {kEngineHighShelf, kShelf110, 1, 5000, 20000, 20},        {kEngineHighShelf, kShelf550, 1, 5000, 20000, 20},
    {kEngineHighShelf, kShelfPultecBoost, 1, 5000, 5000, 20}, {kEngineHighShelf, kShelfPultecCut, -1, 5000, 20000, 20},
};

TEST(VintageShelf, FlatOnOneSideAndBoostOrCutOnTheOtherGrowingWithGain) {
    for (const ShelfCase& c : kShelfCases) {
        double previous = 0.0;
        for (double g : {4.0, 8.0, 14.0}) {
            const Design d = shelf(c.type, c.subtype, c.sign * g, c.f);
            const double near = c.sign * d.dB(c.boostedHz);
            EXPECT_GT(near, previous + 0.3) << "type " << c.type << " subtype " << c.subtype << " gain " << g;
            EXPECT_NEAR(d.dB(c.flatHz), 0.0, 0.1) << "type " << c.type << " subtype " << c.subtype;
            // The other sign cuts where the model has two ways; "Pultec Boost" and
            // "Pultec Cut" go one way only and are flat there with shift at 0.
            const double other = c.sign * shelf(c.type, c.subtype, -c.sign * g, c.f).dB(c.boostedHz);
            EXPECT_LE(other, c.subtype >= kShelfPultecBoost ? 1e-9 : -0.3) << c.type << " " << c.subtype << " " << g;
            previous = near;
        }
    }
}

// "8k2" peak and "550" shelves: a cut is the exact inverse of the boost of
// the same size, and "550" at 0 dB is flat.
TEST(VintageDesign, CutUndoesTheBoostOfTheSameSize) {
    for (double g : {1.0, 5.0, 10.0, 15.0})
        for (double q : {0.4, 3.0, 30.0})
            for (double hz = 0.01; hz < 100.0; hz *= 1.3)
                EXPECT_NEAR(peak(kPeak8k2, g, q).dB(hz) + peak(kPeak8k2, -g, q).dB(hz), 0.0, 1e-9);
    for (int32_t type : {kEngineLowShelf, kEngineHighShelf})
        for (double f : {30.0, 150.0, 3000.0, 20000.0}) {
            for (double hz : {10.0, f, 20000.0}) EXPECT_EQ(shelf(type, kShelf550, 0.0, f).dB(hz), 0.0);
            for (double g : {1.0, 5.0, 10.0, 20.0})
                for (double hz : {10.0, f / 3, f, 3 * f, 20000.0})
                    EXPECT_NEAR(shelf(type, kShelf550, g, f).dB(hz) + shelf(type, kShelf550, -g, f).dB(hz), 0.0, 1e-9);
        }
}

// A step of one part per million across a table point or the end of a
// pot's travel changes the response by far less than 0.001 dB.
TEST(VintageShelf, SteppedTablesJoinContinuously) {
    struct Points {
        int32_t type, subtype;
        std::vector<double> hz;
    };
    const Points frequencyPoints[] = {
        {kEngineHighShelf, kShelf4kg, {1500, 16000}},
        {kEngineLowShelf, kShelf4kg, {30, 450}},
        {kEngineLowShelf, kShelf110, {33, 56, 95, 160, 270, 460}},
        {kEngineHighShelf, kShelf110, {3300, 4700, 6800, 10000, 15000, 18000}},
        {kEngineLowShelf, kShelf550, {50, 100, 200, 300, 400}},
        {kEngineHighShelf, kShelf550, {5000, 7000, 10000, 12500, 15000}},
    };
    const auto maxStep = [](const Design& a, const Design& b) {
        double worst = 0.0;
        for (double hz = 10.0; hz < 22000.0; hz *= 1.1) worst = std::fmax(worst, std::fabs(a.dB(hz) - b.dB(hz)));
        return worst;
    };
    for (const Points& p : frequencyPoints)
        for (double f : p.hz)
            for (double g : {-15.0, -6.0, 7.0, 18.0})
                EXPECT_LT(
                    maxStep(shelf(p.type, p.subtype, g, f * (1 - 1e-6)), shelf(p.type, p.subtype, g, f * (1 + 1e-6))),
                    1e-3)
                    << "type " << p.type << " subtype " << p.subtype << " at " << f << " Hz, gain " << g;
    for (int32_t type : {kEngineLowShelf, kEngineHighShelf})
        for (double g : {2.0, 4.0, 6.0, 9.0, 12.0})
            for (double sign : {-1.0, 1.0}) {
                const double f = type == kEngineLowShelf ? 120.0 : 8000.0;
                EXPECT_LT(maxStep(shelf(type, kShelf550, sign * g * (1 - 1e-6), f),
                                  shelf(type, kShelf550, sign * g * (1 + 1e-6), f)),
                          1e-3)
                    << "550 gain point " << sign * g;
            }
}

TEST(VintageDesign, UnmodelledSubtypesAreFlatAndNanInputsReturn) {
    const double nan = std::nan("");
    for (int32_t st : {0, 6, 12, 99, -1}) EXPECT_EQ(peak(st, 12.0).dB(1.0), 0.0);
    for (int32_t st : {0, 6, 7, 42}) EXPECT_EQ(shelf(kEngineLowShelf, st, 12.0, 100).dB(50.0), 0.0);
    EXPECT_EQ(shelf(kEnginePeak, kShelf4kg, 12.0, 100).dB(50.0), 0.0);
    for (int32_t st : kPeakModels) EXPECT_EQ(peak(st, nan, nan).count, 1);
    for (int32_t type : {kEngineLowShelf, kEngineHighShelf})
        for (int32_t st = kShelf4kg; st <= kShelfPultecCut; ++st) {
            EXPECT_GE(shelf(type, st, nan, 1000.0, nan, nan).count, 1);
            EXPECT_GE(shelf(type, st, 6.0, nan).count, 1);
        }
}

// Quartics built from two known quadratics must split into factors that
// multiply back to the quartic.
void expectSplitMultipliesBack(const double c[5], double tolerance) {
    QuadraticFactor a{}, b{};
    factorQuartic(c, &a, &b);
    const double back[5] = {c[0], c[0] * (a.p + b.p), c[0] * (a.q + a.p * b.p + b.q), c[0] * (a.p * b.q + a.q * b.p),
                            c[0] * a.q * b.q};
    for (int k = 0; k < 5; ++k) EXPECT_NEAR(back[k], c[k], tolerance * std::fabs(c[k]) + 1e-12) << "coefficient " << k;
}

void expand(double c0, double p1, double q1, double p2, double q2, double c[5]) {
    c[0] = c0;
    c[1] = c0 * (p1 + p2);
    c[2] = c0 * (q1 + p1 * p2 + q2);
    c[3] = c0 * (p1 * q2 + q1 * p2);
    c[4] = c0 * q1 * q2;
}

TEST(FactorQuartic, RandomQuarticsWithRealAndComplexRootsMultiplyBack) {
    std::mt19937 rng(20240611);
    std::uniform_real_distribution<double> value(-3.0, 3.0);
    // Monic quadratic from a root pair: complex (re +/- j im) or two reals.
    const auto quadratic = [&](bool complex, double& p, double& q) {
        const double x = value(rng), y = value(rng);
        p = complex ? -2.0 * x : -(x + y);
        q = complex ? x * x + y * y : x * y;
    };
    for (int trial = 0; trial < 300; ++trial) {
        double p1, q1, p2, q2, c[5];
        quadratic(trial % 3 != 0, p1, q1);
        quadratic(trial % 2 != 0, p2, q2);
        expand(value(rng) + 4.0, p1, q1, p2, q2, c);
        expectSplitMultipliesBack(c, 1e-9);
    }
    // Even quartics, where the resolvent's largest root can be 0.
    double c[5];
    expand(1.0, 0.0, 1.0, 0.0, 4.0, c);  // (x^2 + 1)(x^2 + 4)
    expectSplitMultipliesBack(c, 1e-12);
    expand(1.0, 0.0, -1.0, 0.0, -4.0, c);  // (x^2 - 1)(x^2 - 4)
    expectSplitMultipliesBack(c, 1e-12);
    const double plusOne[5] = {1, 0, 0, 0, 1};  // x^4 + 1
    expectSplitMultipliesBack(plusOne, 1e-12);
    // Roots from 0.5 to about 1000, spread as in the circuit quartics.
    expand(3e-9, 0.5 + 60.0, 0.5 * 60.0, 2.0 * 800.0, 800.0 * 800.0 * 2.0, c);
    expectSplitMultipliesBack(c, 1e-7);
}

}  // namespace
