// The processing loop with an empty bank against the least any effect must
// do: convert a stereo block to double and back.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "core/Plug.h"

namespace {

constexpr int32_t kBlock = 512;
constexpr int32_t kChannels = 2;

struct StereoBlock {
    StereoBlock() : in(kChannels, std::vector<float>(kBlock)), out(kChannels, std::vector<float>(kBlock)) {
        std::mt19937 gen(5);
        std::uniform_real_distribution<float> d(-0.5f, 0.5f);
        for (auto& ch : in)
            for (float& x : ch) x = d(gen);
        for (int32_t c = 0; c < kChannels; ++c) {
            ip[c] = in[size_t(c)].data();
            op[c] = out[size_t(c)].data();
        }
    }
    std::vector<std::vector<float>> in, out;
    float* ip[kChannels];
    float* op[kChannels];
};

void BM_ProcessLoopEmptyBank(benchmark::State& state) {
    Plug fx(nullptr);
    fx.setNumInputs(kChannels);
    fx.setNumOutputs(kChannels);
    fx.setChannelLayout(standardChannelLayout(kChannels));
    fx.setSampleRate(48000.0f);
    fx.resume();
    StereoBlock block;
    for (auto _ : state) {
        fx.processReplacing(block.ip, block.op, kBlock);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}
BENCHMARK(BM_ProcessLoopEmptyBank);

// Reference: float to double and back, per channel, nothing else.
void BM_CopyLoopFloatDoubleFloat(benchmark::State& state) {
    StereoBlock block;
    std::vector<double> work(kBlock);
    for (auto _ : state) {
        for (int32_t c = 0; c < kChannels; ++c) {
            const float* src = block.ip[c];
            float* dst = block.op[c];
            for (int32_t s = 0; s < kBlock; ++s) work[size_t(s)] = double(src[s]);
            benchmark::DoNotOptimize(work.data());
            for (int32_t s = 0; s < kBlock; ++s) dst[s] = float(work[size_t(s)]);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}
BENCHMARK(BM_CopyLoopFloatDoubleFloat);

}  // namespace
