// FIR design time: from a band's change to the staged impulses of a stereo
// bank in the "Linear" mode, per impulse length. This is the worker's work
// for one update.

#include <benchmark/benchmark.h>

#include "core/EQBank.h"
#include "dsp/SubtypeNames.h"

namespace {

void BM_FirUpdate(benchmark::State& state) {
    const int32_t length = int32_t(state.range(0));
    EQBank bank(32, 48000.0f, 2);
    for (int32_t b = 0; b < 8; ++b) {
        bank.setType(kEnginePeak, b, 3);
        bank.setFrequency(50.0f * float(1 << b), b, 3);
        bank.setGain(3.0f, b, 3);
        bank.setQ(1.0f, b, 3);
        bank.setBypass(false, b, 3);
    }
    bank.setIRLength(length);
    bank.setBankMode(kModeLinear);
    float gain = 3.0f;
    for (auto _ : state) {
        gain = -gain;
        bank.setGain(gain, 0, 3);
        bank.redesign(true);
        // Stand in for the audio thread, which adopts a staged impulse at its
        // next call, so the next update may stage again.
        double left = 0.0, right = 0.0;
        double* buffers[2] = {&left, &right};
        bank.processBank(buffers, 1, 2);
    }
}

}  // namespace

BENCHMARK(BM_FirUpdate)->Arg(1024)->Arg(8192)->Arg(65536)->Arg(262144)->Unit(benchmark::kMillisecond);
