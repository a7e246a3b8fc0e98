#pragma once
// From the analogue prototypes of a channel's bands to the impulse that a
// convolver runs: the spectrum on a uniform grid with one of the phase
// treatments, the inverse transform, the window, and for the minimum-phase
// and zero-latency modes the cepstral steps. Control or worker thread.

#include <cstdint>
#include <vector>

#include "dsp/FFT.h"
#include "dsp/WindowTable.h"

class EQ;

class FirDesigner {
public:
    // Spectrum of the bands of one channel for N real points (N a power of
    // two): N + 2 doubles, bins 0..N/2 interleaved (re, im), rectangular.
    // mode is the engine mode (3..7). bands: the bank's grid, band b of
    // channel c at [channelCount * b + c]. Returns the largest |phase| / pi
    // before the rectangular conversion: the channel's phase peak.
    double buildSpectrum(int32_t n, EQ* const* bands, int32_t bandCount, int32_t channelCount, int32_t channel,
                         double sampleRate, int32_t mode, double* spectrum);

    // The impulse of `length` taps from a spectrum of n = length * padding
    // points (n + 2 doubles, as buildSpectrum or the compensation builder
    // leave it): inverse transform with the mode's treatment (3 minimum
    // phase, 4 zero latency, 6 symmetric linear, 5 and 7 centred), the
    // window, and x the phase peak (-1 unless the zero-latency mode keeps
    // it). Returns a pointer to `length` doubles, valid until the next call.
    const double* makeImpulse(const double* spectrum, int32_t length, int32_t padding, int32_t mode,
                              WindowTable& window, double x);

    // The real-cepstrum minimum-phase version of h (n taps), in place.
    void minimumPhase(double* h, int32_t n);

private:
    FftTables tables;
    std::vector<double> work;   // 2N doubles of complex work
    std::vector<double> extra;  // cepstral and parallel-sum work
};
