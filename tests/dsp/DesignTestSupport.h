#pragma once
// Shared oracles of the design tests: the analogue response of a designed
// band at s = j f, and the poles of its sections.

#include <cmath>
#include <complex>
#include <vector>

#include "dsp/AnalogueSection.h"
#include "dsp/BandDesign.h"

namespace designtest {

inline double toDb(double magnitude) { return 20.0 * std::log10(magnitude); }

// Designs shape (ignoring its state) and gives the response in dB at hz.
inline double bandDb(const BandShape& shape, double hz) {
    SectionSet set{};
    designBand(shape, true, &set);
    return toDb(std::abs(analogueResponse(set.section, set.count, hz)));
}

// Poles of every section: roots of a2 s^2 + a1 s + a0, or of a2 s + a1 for a
// first-order section; a constant section has none.
inline std::vector<std::complex<double>> polesOf(const AnalogueSection* sections, int count) {
    std::vector<std::complex<double>> poles;
    for (int i = 0; i < count; ++i) {
        const AnalogueSection& s = sections[i];
        if (s.a0 == 0.0 && s.b0 == 0.0) {
            if (s.a1 != 0.0) poles.emplace_back(-s.a1 / s.a2, 0.0);
            continue;
        }
        if (s.a2 == 0.0) {
            poles.emplace_back(-s.a0 / s.a1, 0.0);
            continue;
        }
        const std::complex<double> disc = std::sqrt(std::complex<double>(s.a1 * s.a1 - 4.0 * s.a2 * s.a0));
        poles.push_back((-s.a1 + disc) / (2.0 * s.a2));
        poles.push_back((-s.a1 - disc) / (2.0 * s.a2));
    }
    return poles;
}

}  // namespace designtest
