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
    // s = j f; a first-order section in second-order form (b0 = a0 = 0)
    // has the factor s cancelled: H = (b2 s + b1) / (a2 s + a1).
    const std::complex<double> jf(0.0, hz);
    if (s.b0 == 0.0 && s.a0 == 0.0) {
        return (s.b2 * jf + s.b1) / (s.a2 * jf + s.a1);
    }
    const std::complex<double> s2 = jf * jf;
    return (s.b2 * s2 + s.b1 * jf + s.b0) / (s.a2 * s2 + s.a1 * jf + s.a0);
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
