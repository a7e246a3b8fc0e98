// The convolver on the audio thread: a stereo pair through one
// PartitionedConvolver, in place, in host blocks of 64 and 512
// samples at 48 kHz, for impulses of 1024 to 262144 taps.
//
// What matters is the worst block, since one late block is an audible
// dropout: each block is timed on its own and the counters give the mean,
// median and worst time per block in microseconds and as a share of the
// block's duration in real time (block / 48 kHz). Target: the 8192-tap
// impulse at 64-sample blocks stays under 0.25 of the block in its worst
// block. The run covers at least two full cycles of the impulse length, so
// every level's block transform lands in the measured blocks.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include "dsp/PartitionedConvolver.h"

namespace {

constexpr double kRate = 48000.0;

std::vector<double> noise(size_t n, uint32_t seed, double scale) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-scale, scale);
    std::vector<double> s(n);
    for (double& v : s) v = dist(gen);
    return s;
}

void BM_ConvolverStereo(benchmark::State& state) {
    const int32_t length = int32_t(state.range(0));
    const int32_t block = int32_t(state.range(1));
    PartitionedConvolver conv(length);
    const std::vector<double> h = noise(size_t(length), 1, 1.0 / std::sqrt(double(length)));
    conv.stageImpulse(h.data());

    // A period of input that the blocks cycle through, in place as the bank
    // runs it; not a multiple of any level, so nothing lines up with the
    // partitions.
    const std::vector<double> left = noise(4099, 2, 0.5), right = noise(4099, 3, 0.5);
    std::vector<double> bufLeft(static_cast<size_t>(block)), bufRight(static_cast<size_t>(block));
    size_t at = 0;
    auto processBlock = [&] {
        for (size_t s = 0; s < bufLeft.size(); ++s) {
            bufLeft[s] = left[at];
            bufRight[s] = right[at];
            if (++at == left.size()) at = 0;
        }
        conv.processStereo(bufLeft.data(), bufRight.data(), bufLeft.data(), bufRight.data(), block);
        benchmark::DoNotOptimize(bufLeft.data());
        benchmark::DoNotOptimize(bufRight.data());
    };
    // One cycle to adopt the impulse and fill every level before timing.
    for (int32_t n = 0; n < length; n += block) processBlock();

    std::vector<double> seconds;
    seconds.reserve(size_t(state.max_iterations));
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        processBlock();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }

    if (seconds.empty()) return;
    double sum = 0.0;
    for (double s : seconds) sum += s;
    const double mean = sum / double(seconds.size());
    const double worst = *std::max_element(seconds.begin(), seconds.end());
    std::nth_element(seconds.begin(), seconds.begin() + long(seconds.size() / 2), seconds.end());
    const double median = seconds[seconds.size() / 2];
    const double duration = double(block) / kRate;
    state.counters["mean_us"] = mean * 1e6;
    state.counters["median_us"] = median * 1e6;
    state.counters["worst_us"] = worst * 1e6;
    state.counters["mean_share"] = mean / duration;
    state.counters["median_share"] = median / duration;
    state.counters["worst_share"] = worst / duration;
}

// Registered one case at a time, since each needs its own iteration count:
// two full cycles of the impulse, and enough blocks for a stable median.
const bool registered = [] {
    for (int64_t length : {1024, 4096, 8192, 32768, 262144})
        for (int64_t block : {64, 512})
            benchmark::RegisterBenchmark("BM_ConvolverStereo", BM_ConvolverStereo)
                ->Args({length, block})
                ->ArgNames({"taps", "block"})
                ->Iterations(std::max<int64_t>(2 * length / block, 2000))
                ->Unit(benchmark::kMicrosecond);
    return true;
}();

}  // namespace
