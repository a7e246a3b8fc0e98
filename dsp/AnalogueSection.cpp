#include "dsp/AnalogueSection.h"

#include <cmath>

void scaleSections(int count, AnalogueSection* sections, double w) {
    const double w2 = w * w;
    for (int i = 0; i < count; ++i) {
        AnalogueSection& s = sections[i];
        s.b1 *= w;
        s.a1 *= w;
        s.b0 *= w2;
        s.a0 *= w2;
    }
}

std::complex<double> sectionResponse(const AnalogueSection& s, double hz) {
    std::complex<double> numerator, denominator;
    sectionParts(s, hz, hz * hz, numerator, denominator);
    return numerator / denominator;
}

std::complex<double> analogueResponse(const AnalogueSection* sections, int count, double hz) {
    std::complex<double> h(1.0, 0.0);
    for (int i = 0; i < count; ++i) h *= sectionResponse(sections[i], hz);
    return h;
}

double analogueMagnitude(const AnalogueSection* sections, int count, double hz, double* phaseOut) {
    const std::complex<double> h = analogueResponse(sections, count, hz);
    if (phaseOut) *phaseOut = std::arg(h);
    return std::abs(h);
}
