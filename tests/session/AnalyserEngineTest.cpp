// The analyser against facts: a sine shows at its bin with its level, pink
// noise shows its slope until the tilt takes it away, and sources that go
// away leave the display decaying.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "TestHost.h"
#include "core/InstanceRegistry.h"
#include "dsp/WindowTable.h"
#include "session/AnalyserEngine.h"
#include "session/PlugEd.h"

namespace {

constexpr float kRate = 48000.0f;
constexpr double kBinHz = kRate / double(AnalyserEngine::kLength);

// Runs `frames` of a mono signal through a flat stereo instance (both channels).
void feed(Plug& fx, const std::vector<float>& signal) {
    std::vector<float> left(signal), right(signal);
    for (size_t at = 0; at < signal.size(); at += 512) {
        float* io[2] = {left.data() + at, right.data() + at};
        fx.processReplacing(io, io, int32_t(std::min<size_t>(512, signal.size() - at)));
    }
}

std::vector<float> sine(double hz, double amplitude, int32_t frames) {
    std::vector<float> x(static_cast<size_t>(frames));
    for (int32_t n = 0; n < frames; ++n) x[size_t(n)] = float(amplitude * std::sin(2.0 * std::numbers::pi * hz * n / kRate));
    return x;
}

struct Scene {
    std::unique_ptr<Plug> fx = makePlug(2);
    AnalyserEngine engine;

    explicit Scene(int32_t decay = 0, int32_t tilt = 0, int32_t topChoice = 0) {
        UISettingsTree& ui = fx->uiSettings();
        ui.setValue("Analyser", "Decay", decay);
        ui.setValue("Analyser", "Tilt", tilt);
        ui.setValue("Analyser", "Top", topChoice);
        ui.setValue("Analyser", "Smoothing", 0);
        engine.applySettings(ui);
        engine.setNyquist(kRate / 2.0f);
        engine.setColumns(300, 20.0, 20000.0);
        engine.setPrimary(InstanceRegistry::instance().handleOf(fx.get()), 0);
        setShown(*fx, kMsState, 0);  // left and right as they are: channel 0 is the left
        settleEngine(*fx);
    }
    int32_t columnOf(double hz) const {
        for (int32_t c = 0; c < 300; ++c)
            if (engine.columnLow(c) <= hz && hz < engine.columnHigh(c)) return c;
        return -1;
    }
};

}  // namespace

TEST(Analyser, ASineShowsAtItsBinWithItsLevel) {
    Scene s;
    const double hz = 171 * kBinHz;  // on a bin
    feed(*s.fx, sine(hz, 0.5, 16384));
    s.engine.update();
    const std::vector<double>& level = s.engine.primaryLevels();
    const int32_t at = s.columnOf(hz);
    ASSERT_GE(at, 0);
    EXPECT_EQ(std::max_element(level.begin(), level.end()) - level.begin(), at);
    // A bin-centred sine of amplitude A reads A/2 times the window's mean.
    double mean = 0.0;
    for (int32_t i = 0; i < AnalyserEngine::kLength; ++i) {
        const double v = (i - 4095.5) / 4095.5;
        mean += besselI0(12.0 * std::sqrt(1.0 - v * v)) / besselI0(12.0);
    }
    mean /= AnalyserEngine::kLength;
    EXPECT_NEAR(s.engine.levelToDb(level[size_t(at)]), 20.0 * std::log10(0.25 * mean), 0.05);
    // Far from the tone the Kaiser window leaves nothing above -80 dB.
    EXPECT_LT(s.engine.levelToDb(level[size_t(s.columnOf(100.0))]), -80.0);
}

TEST(Analyser, ATiltOfThreeDbLevelsAPinkSlope) {
    // Tones an octave apart, each 3 dB below the one beneath: the spectrum
    // of pink noise, sampled at the bins 43 * 2^k.
    auto peaksOf = [](int32_t tilt) {
        Scene s(0, tilt);
        std::vector<float> comb(16384, 0.0f);
        for (int32_t k = 0; k < 7; ++k) {
            const std::vector<float> tone = sine(43 * (1 << k) * kBinHz, 0.05 * std::pow(2.0, -0.5 * k), 16384);
            for (size_t i = 0; i < comb.size(); ++i) comb[i] += tone[i];
        }
        feed(*s.fx, comb);
        s.engine.update();
        std::vector<double> db;
        for (int32_t k = 0; k < 7; ++k)
            db.push_back(s.engine.levelToDb(s.engine.primaryLevels()[size_t(s.columnOf(43 * (1 << k) * kBinHz))]));
        return db;
    };
    const std::vector<double> plain = peaksOf(0), tilted = peaksOf(1);  // "0dB", "3dB"
    for (size_t k = 1; k < plain.size(); ++k) {
        EXPECT_NEAR(plain[k] - plain[k - 1], -3.01, 0.05) << k;
        // The display turns about 1 kHz by 3 dB an octave: the slope is gone.
        EXPECT_NEAR(tilted[k] - tilted[k - 1], 0.0, 0.05) << k;
    }
}

TEST(Analyser, SourcesThatGoAwayLeaveTheDisplayDecaying) {
    Scene s(1);  // "Fast"
    feed(*s.fx, sine(1000.0, 0.5, 16384));
    s.engine.update();
    const double peak = *std::max_element(s.engine.primaryLevels().begin(), s.engine.primaryLevels().end());
    EXPECT_GT(peak, 0.5);
    s.fx.reset();  // the instance closes: the next frame drops it
    for (int32_t k = 0; k < 200; ++k) s.engine.update();
    EXPECT_LT(*std::max_element(s.engine.primaryLevels().begin(), s.engine.primaryLevels().end()), 1e-6);
    for (const double v : s.engine.secondaryLevels()) EXPECT_EQ(v, 0.0);  // never a source
}

TEST(Analyser, PositionsStayOnTheDisplay) {
    Scene flat;
    EXPECT_TRUE(std::isfinite(flat.engine.positionOf(0.1, 0.0f)));  // bin 0 with no tilt
    Scene tilted(0, 3);
    EXPECT_EQ(tilted.engine.positionOf(0.1, 0.0f), 1.0);  // the infinite term ends clamped
    EXPECT_EQ(tilted.engine.positionOf(std::nan(""), 1000.0f), 1.0);
    // With the top at -36 dB anything louder sticks to the top.
    Scene loud(0, 0, 3);
    EXPECT_EQ(loud.engine.positionOf(std::pow(10.0, -30.0 / 20.0), 1000.0f), 0.0);
    EXPECT_GT(loud.engine.positionOf(std::pow(10.0, -40.0 / 20.0), 1000.0f), 0.0);
}

// Smoothing is a centred running mean: beside an engine that does not
// smooth, reading the same instance, each column away from the edges is the
// mean of the unsmoothed columns within its width.
TEST(Analyser, SmoothingIsACentredMeanOfTheColumns) {
    Scene s;
    UISettingsTree& ui = s.fx->uiSettings();
    ui.setValue("Analyser", "Smoothing", 2);
    AnalyserEngine smoothed;
    smoothed.applySettings(ui);
    smoothed.setNyquist(kRate / 2.0f);
    smoothed.setColumns(300, 20.0, 20000.0);
    smoothed.setPrimary(InstanceRegistry::instance().handleOf(s.fx.get()), 0);
    std::vector<float> signal = sine(440.0, 0.3, 16384);
    const std::vector<float> high = sine(5000.0, 0.1, 16384);
    for (size_t n = 0; n < signal.size(); ++n) signal[n] += high[n];
    feed(*s.fx, signal);
    s.engine.update();
    smoothed.update();
    const std::vector<double>& raw = s.engine.primaryLevels();
    const std::vector<double>& got = smoothed.primaryLevels();
    int32_t width = 0;  // the half width the setting chose
    for (int32_t h = 2; h <= 16 && width == 0; ++h) {
        bool fits = true;
        for (int32_t c = h; c + h < 300 && fits; ++c) {
            double sum = 0.0;
            for (int32_t j = c - h + 1; j <= c + h - 1; ++j) sum += raw[size_t(j)];
            fits = std::fabs(got[size_t(c)] - sum / (2.0 * h - 1.0)) < 1e-12;
        }
        if (fits) width = h;
    }
    EXPECT_GT(width, 1);
}
