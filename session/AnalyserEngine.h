#pragma once
// The analyser behind the curve: the spectra of two signals (a channel of
// this or of another instance, before or after the bank), turned once per
// frame into one level per display column, 0 nothing and 1 the top, with
// peak hold, decay, tilt and smoothing as the "Analyser" UI settings say.
//
// Threads: all of it runs on the thread that draws the analyser (or a
// command-line host), one engine per thread. It holds its sources as
// registry handles and reads an instance's capture rings through
// getAnalyserTap with the instance pinned, so a source destroyed on another
// thread is never read afterwards. No allocation after setColumns.

#include <cstdint>
#include <vector>

#include "core/InstanceRegistry.h"
#include "dsp/FFT.h"

class UISettingsTree;

class AnalyserEngine {
public:
    static constexpr int32_t kLength = 8192;  // samples per transform
    static constexpr int32_t kBins = kLength / 2;

    AnalyserEngine();

    // Display columns between lowHz and highHz (log spaced); levels restart at 0.
    void setColumns(int32_t columns, double lowHz, double highHz);
    // Half the sample rate of the sources.
    void setNyquist(float hz) { nyquist = hz; }
    // A source: an instance, as the registry hands it out (handleOf,
    // otherAt), and its channel code (below the channel count the signal
    // after the bank, from there up before it; -1 none).
    void setPrimary(InstanceRegistry::Handle instance, int32_t channel);
    void setSecondary(InstanceRegistry::Handle instance, int32_t channel);
    // "Decay", "Range", "Top", "Tilt", "Smoothing" of the "Analyser" category.
    void applySettings(const UISettingsTree& settings);

    // One frame: reads both sources, windows and transforms them, and moves
    // the levels. A source whose instance has gone is dropped first.
    void update();

    const std::vector<double>& primaryLevels() const { return primaryLevel; }
    const std::vector<double>& secondaryLevels() const { return secondaryLevel; }
    // Lower and upper edge of column c, Hz.
    double columnLow(int32_t c) const;
    double columnHigh(int32_t c) const;
    // The dB a level stands for on the display (the tilt included).
    double levelToDb(double level) const { return top - (1.0 - level) * range; }

    // The display position (0 top, 1 bottom) of a magnitude at f Hz.
    double positionOf(double magnitude, float hz) const;

private:
    void analyse(InstanceRegistry::Handle& instance, int32_t channel, std::vector<double>& level);
    void smooth(std::vector<double>& level);

    int32_t columns = 0;
    double lowFrequency = 20.0;
    double highFrequency = 20000.0;
    std::vector<double> primaryLevel, secondaryLevel;
    double decay = 0.99;
    float nyquist = 24000.0f;
    double range = 96.0;
    double top = 0.0;
    double tilt = 0.0;       // dB per octave, pivoting on 1 kHz
    int32_t halfWidth = 1;   // smoothing, in columns
    int32_t primaryChannel = 0, secondaryChannel = -1;
    InstanceRegistry::Handle primaryInstance, secondaryInstance;

    FftTables tables;
    std::vector<double> buffer;     // kLength samples, then the transform
    std::vector<double> positions;  // per bin
    std::vector<double> scratch;    // per column, for smoothing
};
