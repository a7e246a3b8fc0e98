// Design time of the analogue prototypes: a peak, a shelf, an eighth-order
// elliptic pass filter and a circuit model, each against the cheapest
// possible design, a textbook peak section written out in place.

#include <benchmark/benchmark.h>

#include <cmath>

#include "dsp/BandDesign.h"
#include "dsp/SubtypeNames.h"

namespace {

// Varies the gain a little on every call, so no design is a repeat.
float nextGain(float& g) {
    g = g > 11.0f ? -11.0f : g + 0.37f;
    return g;
}

void runDesign(benchmark::State& state, BandShape shape) {
    SectionSet out{};
    float gain = shape.gain;
    for (auto _ : state) {
        shape.gain = nextGain(gain);
        designBand(shape, false, &out);
        benchmark::DoNotOptimize(out);
    }
    state.SetItemsProcessed(state.iterations());
}

BandShape make(int32_t type, int32_t subtype, int32_t slope, float q) {
    BandShape s;
    s.type = type;
    s.subtype = subtype;
    s.slope = slope;
    s.q = q;
    s.frequency = 1000.0f;
    s.gain = 3.0f;
    return s;
}

void BM_ReferenceTextbookPeak(benchmark::State& state) {
    AnalogueSection s{};
    float gain = 3.0f;
    for (auto _ : state) {
        const double a = std::pow(10.0, nextGain(gain) / 40.0);
        const double q = 1.0, w = 1000.0;
        s = {1.0, a / q * w, w * w, 1.0, w / (a * q), w * w};
        benchmark::DoNotOptimize(s);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_DesignPeakKestrawn(benchmark::State& state) { runDesign(state, make(kEnginePeak, kPeakKestrawn, 2, 1.0f)); }
void BM_DesignShelfKestrawn(benchmark::State& state) {
    runDesign(state, make(kEngineHighShelf, kShelfKestrawn, 2, 1.5f));
}
void BM_DesignElliptic48(benchmark::State& state) { runDesign(state, make(kEngineHighPass, kPassElliptic, 8, 0.5f)); }
void BM_DesignVintageShelf110(benchmark::State& state) {
    runDesign(state, make(kEngineLowShelf, kShelf110, 2, 1.0f));
}
void BM_DesignVintagePeak4ke(benchmark::State& state) {
    runDesign(state, make(kEnginePeak, kPeak4keBlackCT, 2, 2.0f));
}

}  // namespace

BENCHMARK(BM_ReferenceTextbookPeak);
BENCHMARK(BM_DesignPeakKestrawn);
BENCHMARK(BM_DesignShelfKestrawn);
BENCHMARK(BM_DesignElliptic48);
BENCHMARK(BM_DesignVintageShelf110);
BENCHMARK(BM_DesignVintagePeak4ke);
