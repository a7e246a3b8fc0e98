// The bank on the audio thread and the band redesign on the control thread.
//
// Speed: stereo, 48 kHz, 512-sample blocks, 32 bands of one section each
// (peaks) or 8 bands of four (48 dB/octave pass filters), at rest and with
// every coefficient ramp running, and at rest with the two channels run
// one after the other instead of together. Counters: ns per section per
// sample per channel, and the share of one core the bank takes in real
// time.
//
// Design time: one band's rebuild, median and worst over settings that
// change every call.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include "core/EQBank.h"
#include "dsp/BrenmoorEQ.h"
#include "dsp/SubtypeNames.h"

namespace {

constexpr float kRate = 48000.0f;
constexpr int32_t kBlock = 512;
constexpr int32_t kChannels = 2;

struct Workload {
    EQBank bank{32, kRate, kChannels};
    std::vector<double> left = std::vector<double>(kBlock), right = std::vector<double>(kBlock);
    double* buffers[kChannels] = {left.data(), right.data()};
    int32_t sections = 0;

    void fill() {
        for (int32_t i = 0; i < kBlock; ++i) left[size_t(i)] = right[size_t(i)] = 0.25 * std::sin(0.05 * i);
    }
    void settle() {
        for (int32_t k = 0; k < 4; ++k) {
            fill();
            bank.processBank(buffers, kBlock, kChannels);
        }
    }
};

void addBand(Workload& w, int32_t b, int32_t type, int32_t subtype, int32_t slope, float hz, float gain) {
    w.bank.setType(type, b, 3);
    w.bank.setSubtype(subtype, b, 3);
    w.bank.setSlope(slope, b, 3);
    w.bank.setFrequency(hz, b, 3);
    w.bank.setGain(gain, b, 3);
    w.bank.setQ(1.0f, b, 3);
    w.bank.setBypass(false, b, 3);
}

void peaks(Workload& w) {
    for (int32_t b = 0; b < 32; ++b) addBand(w, b, kEnginePeak, kPeakKestrawn, 2, 30.0f * std::pow(1.22f, float(b)), 3.0f);
    w.bank.redesign(true);
    w.sections = 32;
}

void passFilters(Workload& w) {
    for (int32_t b = 0; b < 8; ++b)
        addBand(w, b, b % 2 ? kEngineLowPass : kEngineHighPass, kPassButterworth, 8, 20.0f + 2000.0f * float(b), 0.0f);
    w.bank.redesign(true);
    w.sections = 32;
}

void report(benchmark::State& state, const Workload& w) {
    const double sampleSections = double(w.sections) * kBlock * kChannels;
    state.counters["ns_per_section_sample"] =
        benchmark::Counter(sampleSections * double(state.iterations()) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    // Seconds of stereo audio the bank gets through per second of CPU; its
    // inverse is the share of one core in real time.
    state.counters["core_share"] = benchmark::Counter(double(kBlock) / kRate * double(state.iterations()),
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void run(benchmark::State& state, void (*setUp)(Workload&), bool ramping, bool pairing = true) {
    Workload w;
    w.bank.setChannelPairing(pairing);
    setUp(w);
    w.settle();
    DigitalSection a[kMaxSections], b[kMaxSections];
    for (auto _ : state) {
        if (ramping) {
            // Alternate every band between its design and a slightly moved
            // copy, so every block runs inside a ramp.
            for (int32_t band = 0; band < 32; ++band)
                for (int32_t c = 0; c < kChannels; ++c) {
                    EQ* e = w.bank.getBandAt(band, c);
                    const int32_t n = e->getCoefficients(a);
                    for (int32_t i = 0; i < n; ++i) {
                        b[i] = a[i];
                        b[i].b0 *= 1.0001;
                    }
                    e->setCoefficients(b, n);
                }
        }
        w.bank.processBank(w.buffers, kBlock, kChannels);
        benchmark::DoNotOptimize(w.left.data());
        benchmark::ClobberMemory();
    }
    report(state, w);
}

void BM_Bank32PeaksAtRest(benchmark::State& s) { run(s, peaks, false); }
void BM_Bank32PeaksRamping(benchmark::State& s) { run(s, peaks, true); }
// The reference for the two above: each channel on its own, one section
// after another, as the chain runs while ramping.
void BM_Bank32PeaksAtRestUnpaired(benchmark::State& s) { run(s, peaks, false, false); }
void BM_Bank8Pass48AtRestUnpaired(benchmark::State& s) { run(s, passFilters, false, false); }
void BM_Bank8Pass48AtRest(benchmark::State& s) { run(s, passFilters, false); }
void BM_Bank8Pass48Ramping(benchmark::State& s) { run(s, passFilters, true); }

// One band's rebuild as its gain walks through 64 values, each call timed on
// its own: median and worst in microseconds.
void rebuildTimes(benchmark::State& state, int32_t type, int32_t subtype, int32_t slope, float hz) {
    BrenmoorEQ band;
    band.setSampleRate(kRate);
    band.setState(0);
    band.setType(type);
    band.setSubtype(subtype);
    band.setSlope(slope);
    band.setFrequency(hz);
    band.setQ(1.0f);
    std::vector<double> micros;
    int32_t step = 0;
    for (auto _ : state) {
        band.setGain(-12.0f + 0.375f * float(step++ % 64));
        const auto start = std::chrono::steady_clock::now();
        band.rebuild();
        micros.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["worst_us"] = micros.back();
}

void BM_RebuildPeak(benchmark::State& s) { rebuildTimes(s, kEnginePeak, kPeakKestrawn, 2, 1000.0f); }
void BM_RebuildShelfNearNyquist(benchmark::State& s) {
    rebuildTimes(s, kEngineHighShelf, kShelfKestrawn, 2, 20000.0f);
}
void BM_RebuildPass8thOrder(benchmark::State& s) { rebuildTimes(s, kEngineLowPass, kPassButterworth, 8, 5000.0f); }

}  // namespace

BENCHMARK(BM_Bank32PeaksAtRest);
BENCHMARK(BM_Bank32PeaksRamping);
BENCHMARK(BM_Bank32PeaksAtRestUnpaired);
BENCHMARK(BM_Bank8Pass48AtRestUnpaired);
BENCHMARK(BM_Bank8Pass48AtRest);
BENCHMARK(BM_Bank8Pass48Ramping);
BENCHMARK(BM_RebuildPeak);
BENCHMARK(BM_RebuildShelfNearNyquist);
BENCHMARK(BM_RebuildPass8thOrder);
