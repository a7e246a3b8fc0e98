// The cost of drawing the editor: one whole frame of the window at the
// shipped size, and the response graph alone with 32 live bands and the
// analyser running, each beside a plain fill of the same pixels measured in
// the same run. Every frame is a full redraw (the graph's state changes
// each time, as it does while a band moves), and the operators new and
// delete are counted around the frames: "allocs/frame" must stay 0.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "BenchInstance.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/VGEditor.h"
#include "gui/toolkit/CDIB.h"
#include "rt/CountingAllocator.h"

using namespace VSTGUI;

namespace {

// 32 bands spread over the range, alternately up and down: peaks, shelves
// and notches between a high pass at the bottom and a low pass at the top.
std::unique_ptr<Plug> instanceWithBands() {
    auto fx = benchInstance(2);
    constexpr int32_t kTypes[] = {kTypePeak, kTypeLowShelf, kTypeHighShelf, kTypeNotch};
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t type = b == 0 ? kTypeHPF : b == kNumBands - 1 ? kTypeLPF : kTypes[b % 4];
        fx->setParameter(bandParam(b, kFieldState), 1.0f);
        fx->setParameter(bandParam(b, kFieldType), float(type - 1) / 5.0f);
        fx->setParameter(bandParam(b, kFieldFrequency), 0.1f + 0.8f * float(b) / kNumBands);
        fx->setParameter(bandParam(b, kFieldGain), b % 2 ? 0.6f : 0.4f);
    }
    return fx;
}

// Levels of a falling spectrum with some ripple, as the analyser gives.
std::vector<double> spectrum(int32_t columns, double phase) {
    std::vector<double> levels(static_cast<size_t>(columns));
    for (int32_t x = 0; x < columns; ++x)
        levels[size_t(x)] = 0.8 - 0.4 * x / columns + 0.05 * std::sin(0.3 * x + phase);
    return levels;
}

void countAllocations(benchmark::State& state, int64_t before, int64_t frames) {
    state.counters["allocs/frame"] = double(audioAllocations.load() - before) / double(std::max<int64_t>(frames, 1));
}

void BM_EditorFrame(benchmark::State& state) {
    auto fx = instanceWithBands();
    VGEditor editor(*PlugEd::of(*fx));
    PlugEd::of(*fx)->setAnalyserOn(true);
    editor.open(0);
    editor.idle();
    CFrame* frame = editor.getFrame();
    EQGraph* graph = editor.getGraph();
    auto* target = new CDIB(int32_t(frame->getWidth()), int32_t(frame->getHeight()));
    const std::vector<double> levels = spectrum(graph->plotWidth(), 0.0);
    // The first frame builds what views keep between frames (faces, glyph
    // runs); the count is of the frames after it.
    frame->drawInto(target);
    int64_t frames = 0;
    const int64_t before = audioAllocations.load();
    countingHere = true;
    for (auto _ : state) {
        graph->setAnalyserLevels(levels.data(), levels.data(), int32_t(levels.size()), false, false);
        frame->drawInto(target);
        benchmark::DoNotOptimize(target->pixels());
        ++frames;
    }
    countingHere = false;
    countAllocations(state, before, frames);
    target->forget();
}

// A plain fill of a bitmap of the size given: the yardstick for a frame.
void BM_PlainFill(benchmark::State& state) {
    auto* target = new CDIB(int32_t(state.range(0)), int32_t(state.range(1)));
    uint8_t shade = 0;
    for (auto _ : state) {
        target->fill(CColor{shade, 0x20, 0x20, 0xff});
        ++shade;
        benchmark::DoNotOptimize(target->pixels());
    }
    target->forget();
}

void BM_GraphFrame(benchmark::State& state) {
    auto fx = instanceWithBands();
    GraphScene scene;
    gatherGraphScene(*fx, scene);
    auto* graph = new EQGraph(CRect(0, 0, 750, 396), nullptr, 0);
    graph->setScene(scene);
    graph->setGroups(0, 1);
    graph->setAnalyserOn(true);
    const std::vector<double> a = spectrum(graph->plotWidth(), 0.0), b = spectrum(graph->plotWidth(), 1.0);
    int64_t frames = 0;
    const int64_t before = audioAllocations.load();
    countingHere = true;
    for (auto _ : state) {
        graph->setAnalyserLevels(a.data(), b.data(), int32_t(a.size()), false, false);
        graph->renderFrame();
        benchmark::DoNotOptimize(graph->sceneBitmap()->pixels());
        ++frames;
    }
    countingHere = false;
    countAllocations(state, before, frames);
    graph->forget();
}

}  // namespace

BENCHMARK(BM_EditorFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GraphFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainFill)->Args({750, 741})->Args({750, 396})->Unit(benchmark::kMillisecond);
