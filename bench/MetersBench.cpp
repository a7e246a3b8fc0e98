// What the meters cost inside the processing loop. The same instance, 32
// peak bands on, processes the same block with the meters on and with them
// switched off (setMetersEnabled: followers, their guard, the analyser rings
// and the clip latch all skipped), at 2 and 8 channels. Divide
// BM_LoopWithMeters/N by BM_LoopWithoutMeters/N for the meters' share;
// BM_LoopWithMetersAndPreTap/N adds the copy before the bank that an
// analyser reading a pre-bank tap switches on.

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "BenchInstance.h"
#include "core/Plug.h"

namespace {

constexpr int32_t kBlock = 512;

std::unique_ptr<Plug> instanceWithBandsOn(int32_t channels) {
    auto fx = benchInstance(channels);
    for (int32_t b = 0; b < kNumBands; ++b) {
        fx->setParameter(bandParam(b, kFieldState), 1.0f);  // on
        fx->setParameter(bandParam(b, kFieldFrequency), (b + 0.5f) / kNumBands);
        fx->setParameter(bandParam(b, kFieldGain), b % 2 ? 0.6f : 0.4f);
    }
    for (int32_t i = 0; i < 500; ++i) {
        fx->refreshEngine(true);
        if (!fx->isRefreshPending() && !fx->isWorkerPending()) break;
    }
    return fx;
}

struct NoiseBlock {
    explicit NoiseBlock(int32_t channels)
        : in(size_t(channels), std::vector<float>(kBlock)), out(size_t(channels), std::vector<float>(kBlock)) {
        std::mt19937 gen(11);
        std::uniform_real_distribution<float> d(-0.5f, 0.5f);
        for (auto& ch : in)
            for (float& x : ch) x = d(gen);
        for (int32_t c = 0; c < channels; ++c) {
            ip.push_back(in[size_t(c)].data());
            op.push_back(out[size_t(c)].data());
        }
    }
    std::vector<std::vector<float>> in, out;
    std::vector<float*> ip, op;
};

enum class Meters { kOff, kOn, kOnWithPreTap };

void runLoop(benchmark::State& state, Meters meters) {
    const int32_t channels = int32_t(state.range(0));
    auto fx = instanceWithBandsOn(channels);
    fx->setMetersEnabled(meters != Meters::kOff);
    if (meters == Meters::kOnWithPreTap) {
        std::vector<double> tap(Plug::kRingLength);
        fx->getAnalyserTap(tap.data(), Plug::kRingLength, channels);  // the first pre-bank tap
    }
    NoiseBlock block(channels);
    for (int32_t i = 0; i < 20; ++i) fx->processReplacing(block.ip.data(), block.op.data(), kBlock);
    for (auto _ : state) {
        fx->processReplacing(block.ip.data(), block.op.data(), kBlock);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}

void BM_LoopWithMeters(benchmark::State& state) { runLoop(state, Meters::kOn); }
void BM_LoopWithoutMeters(benchmark::State& state) { runLoop(state, Meters::kOff); }
void BM_LoopWithMetersAndPreTap(benchmark::State& state) { runLoop(state, Meters::kOnWithPreTap); }

BENCHMARK(BM_LoopWithMeters)->Arg(2)->Arg(8);
BENCHMARK(BM_LoopWithoutMeters)->Arg(2)->Arg(8);
BENCHMARK(BM_LoopWithMetersAndPreTap)->Arg(2)->Arg(8);

}  // namespace
