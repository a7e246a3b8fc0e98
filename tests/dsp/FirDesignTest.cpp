// The FIR path against independent facts: the windows' known values and the
// Bessel series, unit impulses from flat bands in every mode and padding, the
// parallel branch, the FIR magnitude (a naive DFT of the impulse) against the
// analogue curve, and the minimum-phase modes' front-loaded energy.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "dsp/BrenmoorEQ.h"
#include "dsp/FirDesign.h"
#include "dsp/WindowTable.h"

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kRate = 48000.0;

struct BandSpec {
    int32_t type = kEnginePeak;
    float hz = 1000.0f, gain = 0.0f, q = 0.707f, phase = 1.0f;
    int32_t slope = 2, state = 0;
    bool parallel = false;
};
const std::vector<BandSpec> kShaped = {{kEnginePeak, 1000.0f, 6.0f, 1.0f}, {kEngineHighShelf, 6000.0f, -4.0f, 0.7f}};

// Band b of channel c at grid[channelCount * b + c], as the bank lays them
// out; channels after the first get 12 dB more gain on every band.
struct Grid {
    Grid(const std::vector<BandSpec>& wanted, int32_t channels = 1) : channelCount(channels) {
        for (const BandSpec& s : wanted)
            for (int32_t c = 0; c < channels; ++c) {
                BrenmoorEQ& eq = *owned.emplace_back(std::make_unique<BrenmoorEQ>());
                eq.setSampleRate(float(kRate));
                eq.setState(s.state);
                eq.setType(s.type);
                eq.setSubtype(0);
                eq.setFrequency(s.hz);
                eq.setGain(s.gain + (c ? 12.0f : 0.0f));
                eq.setQ(s.q);
                eq.setSlope(s.slope);
                eq.setPhase(s.phase);
                eq.setParallel(s.parallel);
                grid.push_back(&eq);
            }
    }
    int32_t bands() const { return int32_t(grid.size()) / channelCount; }
    // Channel 0 as the analogue oracle: serial bands times 1 + sum of (H - 1).
    std::complex<double> analogue(double hz) const {
        std::complex<double> serial = 1.0, sum = 1.0;
        for (int32_t b = 0; b < bands(); ++b) {
            SectionSet set{};
            grid[size_t(channelCount * b)]->design(&set, false);
            const std::complex<double> h = analogueResponse(set.section, set.count, hz);
            if (grid[size_t(channelCount * b)]->getParallel()) sum += h - 1.0; else serial *= h;
        }
        return serial * sum;
    }
    int32_t channelCount;
    std::vector<std::unique_ptr<BrenmoorEQ>> owned;
    std::vector<EQ*> grid;
};

struct Design {
    std::vector<double> spectrum, impulse;
    double peak = 0.0;
};

Design design(const Grid& g, int32_t mode, int32_t length, int32_t padding = 1, int32_t shape = kWindowHann,
              double x = -1.0, float parameter = 0.0f) {
    FirDesigner designer;
    WindowTable window;
    window.set(shape, parameter);
    Design d;
    d.spectrum.assign(size_t(length * padding + 2), 0.0);
    d.peak = designer.buildSpectrum(length * padding, g.grid.data(), g.bands(), g.channelCount, 0, kRate, mode,
                                    d.spectrum.data());
    const double* h = designer.makeImpulse(d.spectrum.data(), length, padding, mode, window, x);
    d.impulse.assign(h, h + length);
    return d;
}

// Largest shortfall of a's partial energy sums below b's, over b's total.
double energyShortfall(const std::vector<double>& a, const std::vector<double>& b) {
    double total = 0.0, ea = 0.0, eb = 0.0, worst = 0.0;
    for (double v : b) total += v * v;
    for (size_t j = 0; j < a.size(); ++j) worst = std::max(worst, ((eb += b[j] * b[j]) - (ea += a[j] * a[j])) / total);
    return worst;
}

// Power series of I0, independent of the handbook polynomial.
double besselSeries(double x) {
    double term = 1.0, sum = 1.0;
    for (int k = 1; k < 60; ++k) sum += (term *= (x / 2) * (x / 2) / (double(k) * k));
    return sum;
}

TEST(WindowTable, KnownValuesSymmetryAndTheBesselFunction) {
    const int32_t n = 64;
    EXPECT_DOUBLE_EQ(windowValue(kWindowHann, 0.0, 0, n), 0.0);
    EXPECT_DOUBLE_EQ(windowValue(kWindowHann, 0.0, n / 2, n), 1.0);
    // Periodic windows are symmetric about n / 2.
    for (int32_t shape : {kWindowHann, kWindowHamming, kWindowCosine, kWindowLanczos, kWindowBartlettHann,
                          kWindowBlackman, kWindowKaiser, kWindowNutall, kWindowBlackmanHarris,
                          kWindowBlackmanNutall, kWindowFlatTop})
        for (int32_t k = 1; k < n / 2; ++k)
            EXPECT_NEAR(windowValue(shape, 0.16, n / 2 + k, n), windowValue(shape, 0.16, n / 2 - k, n), 1e-12);
    for (int32_t i = 0; i < n; ++i) {
        EXPECT_DOUBLE_EQ(windowValue(kWindowKaiser, 0.0, i, n), 1.0);
        EXPECT_NEAR(windowValue(kWindowTukey, 1.0, i, n), windowValue(kWindowHann, 0.0, i, n), 1e-12);
        EXPECT_DOUBLE_EQ(windowValue(kWindowTukey, 0.0, i, n), 1.0);
    }
    // The handbook I0 holds 2e-7 of the series on both of its branches.
    for (double a : {0.375, 3.0, 12.0, 24.0})
        EXPECT_NEAR(windowValue(kWindowKaiser, a, 0, n) * besselSeries(a), 1.0, 2e-7) << a;
}

TEST(WindowTable, ParameterRangesTheIntegerCentreAndTheCachedTable) {
    // The knob's 0..1 maps onto each shape's own range.
    const struct { int32_t shape; float knob, mapped; } ranges[] = {
        {kWindowGaussian, 1, 10}, {kWindowBlackman, 1, 0.32f}, {kWindowKaiser, 0.5f, 12}, {kWindowTukey, 0.3f, 0.3f},
        {kWindowRectParam, 0.3f, 0.3f}, {kWindowHann, 0.3f, 0}};
    for (const auto& r : ranges) EXPECT_FLOAT_EQ(mapWindowParameter(r.shape, r.knob), r.mapped) << r.shape;
    // Rect-Param, Triangular and Gaussian centre on (n - 1) / 2 in integers:
    // with a = 1 only the last index falls outside.
    const int32_t n = 32, c = (n - 1) / 2;
    for (int32_t i = 0; i < n; ++i) EXPECT_EQ(windowValue(kWindowRectParam, 1.0, i, n), i == n - 1 ? 0.0 : 1.0);
    EXPECT_DOUBLE_EQ(windowValue(kWindowGaussian, 0.3, c, n), 1.0);
    EXPECT_DOUBLE_EQ(windowValue(kWindowGaussian, 0.0, 5, n), 1.0);
    EXPECT_DOUBLE_EQ(windowValue(kWindowTriangular, 0.0, c, n), 2.0 * c / n);

    // Causal use takes the falling half of the double-length window; a new
    // shape rebuilds the cached table.
    WindowTable w;
    w.set(kWindowHann, 0.0f);
    std::vector<double> causal(16, 1.0), centred(16, 1.0);
    w.applyCausal(causal.data(), 16);
    w.applyCentred(centred.data(), 16);
    for (int32_t i = 0; i < 16; ++i) EXPECT_NEAR(causal[size_t(i)], (1.0 + std::cos(kPi * i / 16)) / 2.0, 1e-12);
    w.set(kWindowRectangular, 0.0f);
    w.applyCentred(centred.data(), 16);
    EXPECT_DOUBLE_EQ(centred[4], 0.5);
}

TEST(FirDesign, FlatBandsGiveAUnitImpulseInEveryModeAndPadding) {
    // Channel 1 carries a 12 dB peak that channel 0 must not see.
    const Grid g({{kEnginePeak, 1000.0f, 0.0f}, {kEngineHighShelf, 3000.0f, 9.0f, 0.7f, 1.0f, 2, 1}}, 2);
    for (int32_t mode = 3; mode <= 7; ++mode)
        for (int32_t padding : {1, 2, 4, 8}) {
            const std::vector<double> h = design(g, mode, 64, padding).impulse;
            for (int32_t j = 0; j < 64; ++j)
                ASSERT_NEAR(h[size_t(j)], j == (mode <= 4 ? 0 : 32) ? 1.0 : 0.0, 1e-9) << mode << " " << padding;
        }
    EXPECT_NEAR(design(g, 4, 64, 1, kWindowHann, 0.0).impulse[0], 1.0, 1e-9);  // kept peak below 1: no rotation
}

TEST(FirDesign, MagnitudeFollowsTheAnalogueCurve) {
    std::vector<BandSpec> wanted = kShaped;
    wanted.push_back({kEngineLowShelf, 200.0f, 3.0f, 0.7f, 0.5f, 2, 0, true});
    wanted.push_back({kEngineLowPass, 12000.0f, 0.0f, 0.707f, 1.0f, 3});
    const Grid g(wanted);
    for (int32_t mode = 3; mode <= 7; ++mode)
        for (int32_t padding : {1, 2}) {
            const std::vector<double> h = design(g, mode, 1024, padding).impulse;
            for (double hz = 60.0; hz < 20000.0; hz *= 1.13) {  // mostly between the bins
                std::complex<double> sum = 0.0;
                for (size_t j = 0; j < h.size(); ++j) sum += h[j] * std::polar(1.0, -2 * kPi * hz * double(j) / kRate);
                EXPECT_NEAR(20 * std::log10(std::abs(sum)), 20 * std::log10(std::abs(g.analogue(hz))), 0.25)
                    << "mode " << mode << " pad " << padding << " at " << hz;
            }
        }
}

TEST(FirDesign, ParallelBranchAndPhaseTreatmentsOfTheSpectrum) {
    const int32_t n = 256;
    BandSpec peak = kShaped[0], shelf = kShaped[1];
    // One band in the parallel branch realises 1 + (H - 1) = H.
    const Design serial = design(Grid({peak}), 5, n);
    peak.parallel = true;
    const Design inBranch = design(Grid({peak}), 5, n);
    for (size_t i = 0; i < serial.spectrum.size(); ++i) EXPECT_NEAR(inBranch.spectrum[i], serial.spectrum[i], 1e-12);
    // Linear keeps only the magnitude of the branch sum.
    shelf.parallel = true;
    const Grid both({peak, shelf});
    const Design linear = design(both, 6, n);
    for (int32_t k = 0; k <= n / 2; ++k) {
        EXPECT_NEAR(linear.spectrum[size_t(2 * k)], std::abs(both.analogue(k * double(float(kRate) / n))) / n, 1e-12);
        EXPECT_EQ(linear.spectrum[size_t(2 * k + 1)], 0.0);
    }
    // Free mode mixes each band's phase: at 1 it is the analogue phase.
    peak.parallel = shelf.parallel = false;
    const Design analogue = design(Grid({peak, shelf}), 5, n);
    EXPECT_EQ(design(Grid({peak, shelf}), 6, n).peak, 0.0);
    EXPECT_EQ(design(Grid({peak, shelf}), 7, n).spectrum, analogue.spectrum);
    peak.phase = shelf.phase = 0.5f;
    EXPECT_NEAR(design(Grid({peak, shelf}), 7, n).peak, analogue.peak / 2, 1e-12);
    // A second-order high pass turns by nearly half a cycle at the lowest bin.
    const double hp = design(Grid({{kEngineHighPass, 1000.0f, 0.0f, 0.707f}}), 5, 1024).peak;
    EXPECT_TRUE(hp > 0.95 && hp <= 1.0) << hp;
}

TEST(FirDesign, LinearIsTheZeroPhaseImpulseMadeSymmetricWithAnEmptyFirstTap) {
    // Free mode with every phase mix at 0 gives the same zero-phase impulse
    // unsymmetrised; the Gaussian, centred one sample early, skews it.
    std::vector<BandSpec> wanted = kShaped;
    for (BandSpec& s : wanted) s.phase = 0.0f;
    const std::vector<double> h = design(Grid(wanted), 6, 256, 2, kWindowGaussian, -1.0, 0.3f).impulse,
                              skewed = design(Grid(wanted), 7, 256, 2, kWindowGaussian, -1.0, 0.3f).impulse;
    EXPECT_EQ(h[0], 0.0);
    EXPECT_NE(skewed[0], 0.0);
    EXPECT_EQ(h[128], skewed[128]);
    for (int32_t k = 1; k < 128; ++k) {
        EXPECT_EQ(h[size_t(128 - k)], h[size_t(128 + k)]);
        EXPECT_NEAR(h[size_t(128 + k)], (skewed[size_t(128 - k)] + skewed[size_t(128 + k)]) / 2, 1e-15);
    }
}

TEST(FirDesign, MinimumPhaseModesFrontLoadTheirEnergy) {
    // 1 - 3 z^-1 has its zero outside the unit circle; 3 - z^-1 has the
    // same magnitude and is the minimum-phase one.
    std::vector<double> h(64, 0.0);
    h[0] = 1.0;
    h[1] = -3.0;
    FirDesigner().minimumPhase(h.data(), 64);
    for (size_t j = 0; j < h.size(); ++j) EXPECT_NEAR(h[j], j == 0 ? 3.0 : j == 1 ? -1.0 : 0.0, 1e-9);
    // Without a window the modes share one magnitude on the bins.
    const Grid g(kShaped);
    const auto impulse = [&](int32_t mode) { return design(g, mode, 512, 1, kWindowRectangular).impulse; };
    EXPECT_LT(energyShortfall(impulse(3), impulse(6)), 1e-6);
    EXPECT_LT(energyShortfall(impulse(4), impulse(5)), 1e-6);
    EXPECT_GT(energyShortfall(impulse(5), impulse(4)), 0.5);
}

TEST(FirDesign, ZeroLatencyWithAKeptPeakRotatesByItsWholePart) {
    const Grid g(kShaped);
    const std::vector<double> base = design(g, 4, 128, 1, kWindowRectangular, 0.5).impulse,
                              moved = design(g, 4, 128, 1, kWindowRectangular, 3.7).impulse;
    for (size_t j = 0; j < 128; ++j) EXPECT_NEAR(moved[(j + 3) % 128], base[j], 1e-12);
}

}  // namespace
