// The complex FFT against FFTW's estimated plans (FFTW_ESTIMATE) and its
// measured plans (FFTW_MEASURE, the fastest it finds by trying), forward, in
// place, 64 to 524288 points: "fft_forward/ours/<points>",
// "fft_forward/fftw/<points>" and "fft_forward/fftw-measured/<points>" on
// adjacent lines, so one run gives the ratios at every size. Counter "mflops": 5 m log2 m per transform, the usual
// figure of merit. Transforming the same array over and over lets the values
// grow to inf and NaN; neither implementation runs slower for that on x86
// (checked against fresh input for every transform).

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "dsp/FFT.h"

namespace {

std::vector<double> testSignal(int64_t points) {
    std::vector<double> v(size_t(2 * points));
    for (size_t i = 0; i < v.size(); ++i) v[i] = std::sin(0.37 * double(i)) + 0.25 * std::cos(1.91 * double(i));
    return v;
}

void setRate(benchmark::State& state, int64_t points) {
    const double flops = 5.0 * double(points) * double(std::countr_zero(uint64_t(points)));
    state.counters["mflops"] =
        benchmark::Counter(flops * 1e-6 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void ours(benchmark::State& state) {
    const int64_t points = state.range(0);
    FftTables tables(int32_t(2 * points));
    std::vector<double> data = testSignal(points);
    for (auto _ : state) {
        fftForward(data.data(), int32_t(2 * points), tables);
        benchmark::ClobberMemory();
    }
    setRate(state, points);
}

void fftw(benchmark::State& state, unsigned planning) {
    const int64_t points = state.range(0);
    std::vector<double> signal = testSignal(points);
    auto* data = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * size_t(points)));
    // Measuring overwrites the array: the signal goes in after planning.
    fftw_plan plan = fftw_plan_dft_1d(int(points), data, data, FFTW_FORWARD, planning);
    std::memcpy(data, signal.data(), signal.size() * sizeof(double));
    for (auto _ : state) {
        fftw_execute(plan);
        benchmark::ClobberMemory();
    }
    setRate(state, points);
    fftw_destroy_plan(plan);
    fftw_free(data);
}

// Registered size by size so that each pair of lines gives one ratio.
const bool registered = [] {
    for (int64_t points = 64; points <= 524288; points *= 2) {
        benchmark::RegisterBenchmark("fft_forward/ours", ours)->Arg(points);
        benchmark::RegisterBenchmark("fft_forward/fftw", fftw, FFTW_ESTIMATE)->Arg(points);
        benchmark::RegisterBenchmark("fft_forward/fftw-measured", fftw, FFTW_MEASURE)->Arg(points);
    }
    return true;
}();

}  // namespace
