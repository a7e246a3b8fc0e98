#pragma once
// Shared oracles of the design tests: the analogue response of a designed
// band at s = j f, the poles of its sections, and how far the running band
// strays from its prototype (also the fidelity report's probe).

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "dsp/AnalogueSection.h"
#include "dsp/BandDesign.h"
#include "dsp/BrenmoorEQ.h"
#include "dsp/DigitalDesign.h"

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

inline BandShape shapeOf(int32_t type, int32_t subtype, float hz, float gain, float q, int32_t slope = 2) {
    return BandShape{.type = type, .subtype = subtype, .slope = slope, .frequency = hz, .gain = gain, .q = q};
}

// Largest |digital - analogue| in dB between 20 Hz and 0.95 x Nyquist (400
// log points) of the running band and of a plain bilinear transform of the
// same sections pre-warped at the band frequency. Levels below -60 dB on
// the analogue curve are left out: there a pass filter's stop band is
// inaudible and a dB ratio says little.
struct Deviation {
    double band;
    double bilinear;
};

inline Deviation deviationFromPrototype(const BandShape& shape, double fs) {
    BrenmoorEQ eq;
    eq.setSampleRate(float(fs));
    eq.setShape(shape);
    eq.rebuild();
    SectionSet set{};
    designBand(shape, false, &set);
    std::vector<DigitalSection> plain;
    for (int32_t i = 0; i < set.count; ++i) {
        AnalogueSection working = set.section[i];
        scaleSections(1, &working, 2.0 * std::numbers::pi);
        plain.push_back(bilinearSection(working, std::min(double(shape.frequency), 0.499 * fs), fs));
    }
    Deviation worst{0.0, 0.0};
    const double top = 0.95 * fs / 2.0;
    for (int k = 0; k < 400; ++k) {
        const double hz = 20.0 * std::pow(top / 20.0, k / 399.0);
        const double analogue = toDb(analogueMagnitude(set.section, set.count, hz));
        if (analogue < -60.0) continue;
        const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * hz / fs);
        std::complex<double> h = 1.0;
        for (const DigitalSection& d : plain) h *= (d.b0 + d.b1 * z1 + d.b2 * z1 * z1) / (1.0 + d.a1 * z1 + d.a2 * z1 * z1);
        worst.band = std::max(worst.band, std::fabs(toDb(eq.magnitudeAt(hz, nullptr)) - analogue));
        worst.bilinear = std::max(worst.bilinear, std::fabs(toDb(std::abs(h)) - analogue));
    }
    return worst;
}

}  // namespace designtest
