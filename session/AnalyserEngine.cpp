#include "session/AnalyserEngine.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "core/InstanceRegistry.h"
#include "core/Plug.h"
#include "dsp/WindowTable.h"
#include "state/UISettingsTree.h"

namespace {

constexpr double kWindowBeta = 12.0;
constexpr double kWindowCentre = (AnalyserEngine::kLength - 1) / 2.0;  // 4095.5
constexpr double kSilentMagnitude = 1e-10;
constexpr double kTiltPivot = 1000.0;  // Hz
// The choices of the "Analyser" settings, by index.
constexpr double kDecays[4] = {0.0, 0.9, 0.99, 0.999};
constexpr double kRanges[4] = {96.0, 80.0, 64.0, 48.0};
constexpr double kTops[4] = {0.0, -12.0, -24.0, -36.0};
constexpr double kTilts[4] = {0.0, 3.0, 4.5, 6.0};
constexpr int32_t kHalfWidths[4] = {1, 2, 4, 8};

// The Kaiser window of the transform, made once for the process.
const std::vector<double>& analyserWindow() {
    static const std::vector<double> window = [] {
        std::vector<double> w(AnalyserEngine::kLength);
        const double norm = besselI0(kWindowBeta);
        for (int32_t i = 0; i < AnalyserEngine::kLength; ++i) {
            const double v = (i - kWindowCentre) / kWindowCentre;
            w[size_t(i)] = besselI0(kWindowBeta * std::sqrt(std::max(0.0, 1.0 - v * v))) / norm;
        }
        return w;
    }();
    return window;
}

int32_t choice(const UISettingsTree& settings, const char* key) {
    return std::clamp(settings.value("Analyser", key), 0, 3);
}

}  // namespace

AnalyserEngine::AnalyserEngine() : tables(kLength), buffer(kLength), positions(kBins) {
    analyserWindow();
}

void AnalyserEngine::setColumns(int32_t n, double lowHz, double highHz) {
    columns = std::max(n, 0);
    lowFrequency = lowHz > 0.0 ? lowHz : 1.0;
    highFrequency = highHz > lowFrequency ? highHz : lowFrequency * 2.0;
    primaryLevel.assign(size_t(columns), 0.0);
    secondaryLevel.assign(size_t(columns), 0.0);
    scratch.assign(size_t(columns), 0.0);
}

void AnalyserEngine::setPrimary(InstanceRegistry::Handle instance, int32_t channel) {
    primaryInstance = std::move(instance);
    primaryChannel = channel;
}

void AnalyserEngine::setSecondary(InstanceRegistry::Handle instance, int32_t channel) {
    secondaryInstance = std::move(instance);
    secondaryChannel = channel;
}

void AnalyserEngine::applySettings(const UISettingsTree& settings) {
    decay = kDecays[choice(settings, "Decay")];
    range = kRanges[choice(settings, "Range")];
    top = kTops[choice(settings, "Top")];
    tilt = kTilts[choice(settings, "Tilt")];
    halfWidth = kHalfWidths[choice(settings, "Smoothing")];
}

double AnalyserEngine::columnLow(int32_t c) const {
    return lowFrequency * std::exp(c * std::log(highFrequency / lowFrequency) / columns);
}

double AnalyserEngine::columnHigh(int32_t c) const {
    return columnLow(c + 1);
}

double AnalyserEngine::positionOf(double magnitude, float hz) const {
    const double m = std::max(magnitude, kSilentMagnitude);
    // The tilt pivots on 1 kHz; with no tilt the term is 0 also at 0 Hz.
    const double slope = tilt == 0.0 ? 0.0 : -std::log(hz / kTiltPivot) * tilt / (std::numbers::ln2 * range);
    const float offset = float(slope + top / range);
    const double position = -20.0 * std::log10(m) / range + double(offset);
    if (std::isnan(position)) return 1.0;
    return std::clamp(position, 0.0, 1.0);
}

void AnalyserEngine::analyse(InstanceRegistry::Handle& instance, int32_t channel, std::vector<double>& level) {
    const bool read = channel >= 0 && instance.with([&](Plug& fx) {
        fx.getAnalyserTap(buffer.data(), kLength, channel);
    });
    if (!read) std::fill(buffer.begin(), buffer.end(), 0.0);
    if (!read && channel >= 0) instance = {};  // gone: let go of it
    const std::vector<double>& window = analyserWindow();
    for (int32_t i = 0; i < kLength; ++i) buffer[size_t(i)] *= window[size_t(i)];
    realFft8192(buffer.data(), tables);
    for (int32_t k = 0; k < kBins; ++k) {
        const double re = buffer[size_t(2 * k)], im = buffer[size_t(2 * k + 1)];
        const double magnitude = std::sqrt(re * re + im * im) / kLength;
        const float hz = float(2.0 * k / kLength * nyquist);
        positions[size_t(k)] = positionOf(magnitude, hz);
    }
    const double binsPerHz = kLength / (2.0 * nyquist);
    auto binOf = [&](double hz) { return std::clamp(hz * binsPerHz, 0.0, double(kBins - 1)); };
    for (int32_t c = 0; c < columns; ++c) {
        const double left = binOf(columnLow(c)), right = binOf(columnHigh(c));
        const int32_t k = int32_t(left);
        const double t = left - k;
        const int32_t next = std::min(k + 1, kBins - 1);
        double position = positions[size_t(k)] * (1.0 - t) + positions[size_t(next)] * t;
        // A column wider than a bin shows its loudest bin.
        if (right > k + 1)
            for (int32_t b = k + 1; b <= int32_t(right); ++b) position = std::min(position, positions[size_t(b)]);
        double& held = level[size_t(c)];
        held = std::max(held * decay, 1.0 - position);
    }
    smooth(level);
}

void AnalyserEngine::smooth(std::vector<double>& level) {
    if (halfWidth <= 1 || columns == 0) return;
    // A centred running mean over 2h - 1 columns; the divisor stays the
    // same at the edges, so the response falls off there.
    std::copy(level.begin(), level.end(), scratch.begin());
    const int32_t h = halfWidth;
    const double divisor = 2.0 * h - 1.0;
    double sum = 0.0;
    for (int32_t j = 0; j < std::min(h, columns); ++j) sum += scratch[size_t(j)];
    for (int32_t c = 0; c < columns; ++c) {
        if (c >= h) sum -= scratch[size_t(c - h)];
        level[size_t(c)] = sum / divisor;
        if (c + h < columns) sum += scratch[size_t(c + h)];
    }
}

void AnalyserEngine::update() {
    analyse(primaryInstance, primaryChannel, primaryLevel);
    analyse(secondaryInstance, secondaryChannel, secondaryLevel);
}
