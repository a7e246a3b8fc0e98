// What one analyser frame costs: both sources read from an instance's
// rings, windowed, transformed (8192 points each) and mapped onto 600
// display columns with hold and smoothing. At the default 30 frames a
// second the frame period is 33.3 ms; divide by it for the analyser's share
// of the drawing thread.

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "BenchInstance.h"
#include "core/InstanceRegistry.h"
#include "core/Plug.h"
#include "session/AnalyserEngine.h"
#include "session/PlugEd.h"

namespace {

void BM_AnalyserFrame(benchmark::State& state) {
    auto fx = benchInstance(2);
    // Fill the rings with noise, as a running session has them.
    std::mt19937 gen(1);
    std::uniform_real_distribution<float> white(-0.3f, 0.3f);
    std::vector<float> left(8192), right(8192);
    for (size_t i = 0; i < left.size(); ++i) left[i] = white(gen), right[i] = white(gen);
    float* io[2] = {left.data(), right.data()};
    for (int32_t k = 0; k < 4; ++k) fx->processReplacing(io, io, 2048);

    AnalyserEngine engine;
    UISettingsTree& ui = fx->uiSettings();
    ui.setValue("Analyser", "Smoothing", int32_t(state.range(0)));
    engine.applySettings(ui);
    engine.setNyquist(24000.0f);
    engine.setColumns(600, 10.0, 22000.0);
    const InstanceRegistry::Handle source = InstanceRegistry::instance().handleOf(fx.get());
    engine.setPrimary(source, 0);
    engine.setSecondary(source, 1);
    for (auto _ : state) {
        engine.update();
        benchmark::DoNotOptimize(engine.primaryLevels().data());
    }
}
// Smoothing "None" and "Heavy".
BENCHMARK(BM_AnalyserFrame)->Arg(0)->Arg(3)->Unit(benchmark::kMicrosecond);

}  // namespace
