#pragma once
// Analogue prototypes of the pass filters (band types high pass and low
// pass): ten families, order 1 to 8, normalised so the cut-off lies at s = j.

#include <cstdint>

#include "dsp/AnalogueSection.h"

// Writes the sections of the family `subtype` (PassSubtype) of order
// `slope` into out (room for kMaxDesignSections) and returns their number,
// (slope + 1) / 2; for an unknown subtype one identity section. `q` is the
// resonance, or the passband ripple in dB for Chebyshev and Elliptic; `gain`
// in dB lifts the pass band. Pure function.
int designPass(int32_t type, int32_t subtype, double q, int32_t slope, double gain, AnalogueSection* out);

// s -> 1/s in every section: turns a low-pass prototype into a high pass.
void lowToHigh(int count, AnalogueSection* sections);
