#pragma once
// Circuit models of vintage equalisers: each subtype is the transfer
// function of a hardware circuit with its component values, written as
// closed formulas in the knob positions.

#include <cstdint>

#include "dsp/AnalogueSection.h"

// Peak subtypes "4kg", "250", "8k2" and the four "4ke" models; one section,
// normalised to s = j. Returns the section count. Pure function.
int designVintagePeak(int32_t subtype, double gain, double q, AnalogueSection* out);

// Shelf subtypes "4kg", "110", "550", "Pultec Boost" and "Pultec Cut" for
// the low (type 2) or high (type 5) shelf, normalised so that the band's
// final scaling by `frequency` leaves them in hertz. Returns the count.
int designVintageShelf(int32_t type, int32_t subtype, double gain, double frequency, double q, double shift,
                       AnalogueSection* out);

// One monic quadratic x^2 + p x + q.
struct QuadraticFactor {
    double p;
    double q;
};

// Splits c[0] x^4 + c[1] x^3 + c[2] x^2 + c[3] x + c[4] into two monic
// quadratics (times c[0]) by Ferrari's method.
void factorQuartic(const double c[5], QuadraticFactor* first, QuadraticFactor* second);
