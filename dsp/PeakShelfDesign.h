#pragma once
// Analogue prototypes of the peak, listening band pass and shelf band types
// that are not circuit models, normalised so the band frequency lies at
// s = j. Circuit-model subtypes are handed on to the vintage designs.

#include <cstdint>

#include "dsp/AnalogueSection.h"

// Peak (type 3) or listening band pass (type 7): `gain` in dB, `q`, `shift`
// the subtype's second control. Writes into out (room for
// kMaxDesignSections) and returns the section count. Pure function.
int designPeak(int32_t type, int32_t subtype, double gain, double q, double shift, AnalogueSection* out);

// Low shelf (type 2) or high shelf (type 5). Returns the section count.
int designShelf(int32_t type, int32_t subtype, double gain, double frequency, double q, double shift,
                AnalogueSection* out);

// The effective Q of a peak subtype for the linear amplitude *a
// (10^(gain/40)), the knob's q and the link factor k = 10^(-shift*0.12/20).
// This law gives each model its character; the "110" law also rewrites *a.
double peakQ(int32_t subtype, double* a, double q, double k);
