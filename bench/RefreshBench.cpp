// The cost of an engine update: the whole table re-read into the bank with
// nothing changed (what an idle tick costs when a write was held back), and
// with one band's gain changed (one redesign). Stereo, 32 bands on.

#include <benchmark/benchmark.h>

#include <memory>

#include "BenchInstance.h"
#include "core/Plug.h"

namespace {

std::unique_ptr<Plug> stereoWithBandsOn() {
    auto fx = benchInstance(2);
    for (int32_t b = 0; b < kNumBands; ++b) {
        fx->setParameter(bandParam(b, kFieldState), 1.0f);
        fx->setParameter(bandParam(b, kFieldFrequency), float(b) / kNumBands);
        fx->setParameter(bandParam(b, kFieldGain), b % 2 ? 0.6f : 0.4f);
    }
    fx->endEdit(kGain);
    return fx;
}

void BM_RefreshNothingChanged(benchmark::State& state) {
    auto fx = stereoWithBandsOn();
    for (auto _ : state) fx->refreshEngine(true);
}

void BM_RefreshOneBandChanged(benchmark::State& state) {
    auto fx = stereoWithBandsOn();
    bool up = false;
    for (auto _ : state) {
        up = !up;
        fx->setParameter(bandParam(7, kFieldGain), up ? 0.7f : 0.3f);  // held back by the rate limit
        fx->refreshEngine(true);                                        // carried out here
    }
}

}  // namespace

BENCHMARK(BM_RefreshNothingChanged);
BENCHMARK(BM_RefreshOneBandChanged);
