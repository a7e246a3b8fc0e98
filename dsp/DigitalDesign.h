#pragma once
// Closed-form digital biquads that meet an analogue section's gain at
// Nyquist, so the digital curve follows the analogue one up to the top of
// the band without oversampling. Pure functions; frequencies in hertz, fs
// the sample rate.

#include "dsp/AnalogueSection.h"
#include "dsp/DigitalSection.h"

// Parametric peak of gainDb at f0 with the analogue Q, its gain at Nyquist
// prescribed; a peak above fs/2 keeps its in-band skirt as a first-order
// section.
DigitalSection digitalPeak(double gainDb, double f0, double q, double fs);

// First-order shelf with high-frequency gain `high` and low-frequency gain
// `low` (linear) around f, its Nyquist gain prescribed.
DigitalSection digitalFirstOrder(double f, double high, double low, double fs);

// Second-order low pass and high pass of the analogue f0 and Q.
DigitalSection digitalLowPass(double f0, double q, double fs);
DigitalSection digitalHighPass(double f0, double q, double fs);

// Any other second-order section (in radians per second). Returns true when
// the design was made for the inverse of the section: the caller turns the
// result over after any refinement.
bool digitalGeneral(const AnalogueSection& section, double fs, DigitalSection* out);

// The bilinear transform of a section in radians per second, pre-warped at
// prewarpHz; first-order sections (b0 = a0 = 0) take the first-order form.
DigitalSection bilinearSection(const AnalogueSection& section, double prewarpHz, double fs);
