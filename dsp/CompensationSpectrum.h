#pragma once
// The spectrum of the Digital+ correction of one channel: per bin, what the
// analogue prototypes of the bands ask for over what their running biquads
// give, limited to +20 dB, with or without the phase difference. A short
// impulse made from it runs after the biquads.

#include <cstdint>

class EQ;

// bands: the bank's grid, band b of channel c at [channelCount * b + c].
// out receives n + 2 doubles: bins 0..n/2 as (re, im), scaled by 1/n, bin 0
// forced to 1. Returns the number of half turns the largest phase
// correction spans (0 without phase). Control or worker thread.
int32_t buildCompensationSpectrum(int32_t n, EQ* const* bands, int32_t bandCount, int32_t channelCount,
                                  int32_t channel, double sampleRate, bool withPhase, double* out);
