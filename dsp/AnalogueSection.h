#pragma once
// The analogue prototype of a band: second-order sections in the s-plane,
// with s in hertz (H is evaluated at s = j f). Design routines produce
// sections normalised so that the band frequency lies at s = j; the band
// then scales them by its frequency.
//
// A section with b0 = a0 = 0 is a first-order section kept in second-order
// form, H = (b2 s + b1) / (a2 s + a1); if b1 = a1 = 0 as well it is the
// constant b2 / a2.

#include <complex>
#include <cstdint>

struct AnalogueSection {
    double b2, b1, b0, a2, a1, a0;
};

// At most four sections leave a design; the highest pass order is eight.
inline constexpr int kMaxSections = 4;
// Design code works on a local list of up to ten sections.
inline constexpr int kMaxDesignSections = 10;

struct SectionSet {
    AnalogueSection section[kMaxSections];
    int32_t count;
};

// Values of EQ::type.
enum EngineBandType : int32_t {
    kEngineFlat = 0,
    kEngineHighPass = 1,
    kEngineLowShelf = 2,
    kEnginePeak = 3,
    kEngineNotch = 4,
    kEngineHighShelf = 5,
    kEngineLowPass = 6,
    kEngineListenBandPass = 7,
    kEngineAllPass = 8,
};

inline constexpr AnalogueSection kIdentitySection{1, 0, 0, 1, 0, 0};

// The substitution s -> s / w in every section, both polynomials then
// multiplied by w^2: b1, a1 scale by w and b0, a0 by w^2.
void scaleSections(int count, AnalogueSection* sections, double w);

// The numerator and denominator of a section at s = j hz, hz2 = hz * hz:
// a product of sections then needs a single division (the graph evaluates
// every band at every column this way).
inline void sectionParts(const AnalogueSection& s, double hz, double hz2, std::complex<double>& numerator,
                         std::complex<double>& denominator) {
    if (s.b0 == 0.0 && s.a0 == 0.0) {
        // First order in second-order form: the factor s is cancelled.
        numerator = {s.b1, hz * s.b2};
        denominator = {s.a1, hz * s.a2};
        return;
    }
    numerator = {s.b0 - hz2 * s.b2, hz * s.b1};
    denominator = {s.a0 - hz2 * s.a2, hz * s.a1};
}

// H of one section at s = j hz.
std::complex<double> sectionResponse(const AnalogueSection& section, double hz);

// Product of count sections at s = j hz.
std::complex<double> analogueResponse(const AnalogueSection* sections, int count, double hz);

// Magnitude (linear) of the product at hz; the phase in radians goes to
// *phaseOut when it is not null.
double analogueMagnitude(const AnalogueSection* sections, int count, double hz, double* phaseOut = nullptr);
