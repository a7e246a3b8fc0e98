#pragma once
// From a band's settings to its analogue prototype: the one design entry
// that band objects, the graph, auto gain and the FIR design all call.
// Pure functions, values in and sections out.

#include <cstdint>

#include "dsp/AnalogueSection.h"

// The settings of one band as the designs read them.
struct BandShape {
    int32_t type = kEnginePeak;  // EngineBandType
    int32_t subtype = 0;
    int32_t slope = 2;  // order of the pass types, 1..8
    int32_t state = 0;  // 0 = live, nonzero = off or bypassed
    float frequency = 1000.0f;
    float gain = 0.0f;     // dB
    float q = 0.707f;      // or the passband ripple in dB for Chebyshev and Elliptic
    float shift = 0.0f;    // the subtype's second control
    float phase = 1.0f;    // phase mix in the free phase mode; not a design input
};

// The prototype of `shape`, scaled to its frequency, into *out. A band that
// is off or bypassed gives one unscaled identity section unless ignoreState
// is true (the graph draws bypassed bands from their real shape). An unknown
// type gives no sections.
void designBand(const BandShape& shape, bool ignoreState, SectionSet* out);

// The Q the graph and readouts show: for peaks the Q the subtype's law
// really uses at this gain, otherwise the knob's q.
double displayQOf(const BandShape& shape);

// Which knobs a band of this type and subtype has.
enum BandControl : int32_t {
    kControlGain = 1,
    kControlFrequency = 2,
    kControlQ = 4,
    kControlShift = 8,
    kControlSlope = 16,
};
int32_t controlMaskOf(int32_t type, int32_t subtype);

// Label of the shift knob ("SHIFT", "CUT", "BOOST", "GAIN->Q", "SOFTEN"), or
// the empty string when the subtype has no use for it.
const char* shiftLabelOf(int32_t type, int32_t subtype);
