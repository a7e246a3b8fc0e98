#include "dsp/CompensationSpectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "dsp/EQ.h"

namespace {

// The correction never lifts a bin by more than this (+20 dB).
constexpr double kMaxCorrection = 10.0;
constexpr double kMagnitudeFloor = 0.0001;

// Phase of one analogue section at s = j f in the same form as the digital
// one: atan2(Dr Ni - Di Nr, Di Ni + Dr Nr).
double sectionPhase(const AnalogueSection& s, double f) {
    std::complex<double> num, den;
    const std::complex<double> jf(0.0, f);
    if (s.b0 == 0.0 && s.a0 == 0.0) {
        num = s.b2 * jf + s.b1;
        den = s.a2 * jf + s.a1;
    } else {
        num = s.b2 * jf * jf + s.b1 * jf + s.b0;
        den = s.a2 * jf * jf + s.a1 * jf + s.a0;
    }
    return std::atan2(den.real() * num.imag() - den.imag() * num.real(),
                      den.imag() * num.imag() + den.real() * num.real());
}

}  // namespace

int32_t buildCompensationSpectrum(int32_t n, EQ* const* bands, int32_t bandCount, int32_t channelCount,
                                  int32_t channel, double sampleRate, bool withPhase, double* out) {
    const int32_t bins = n / 2 + 1;
    const double df = double(float(sampleRate) / float(n));
    double largestPhase = 0.0;
    bool anyParallel = false;
    for (int32_t b = 0; b < bandCount; ++b) anyParallel = anyParallel || bands[channelCount * b + channel]->getParallel();

    SectionSet designs[64];
    const int32_t designed = std::min(bandCount, int32_t(std::size(designs)));
    for (int32_t b = 0; b < designed; ++b) bands[channelCount * b + channel]->design(&designs[b], false);

    for (int32_t k = 0; k < bins; ++k) {
        const double f = double(k) * df;
        double analogue = 1.0, digital = 1.0, analoguePhase = 0.0, digitalPhase = 0.0;
        std::complex<double> analogueSum(1.0, 0.0), digitalSum(1.0, 0.0);
        for (int32_t b = 0; b < designed; ++b) {
            EQ* band = bands[channelCount * b + channel];
            const SectionSet& set = designs[b];
            if (band->getParallel()) {
                analogueSum += analogueResponse(set.section, set.count, f) - 1.0;
                double re = 0.0, im = 0.0;
                band->responseAt(f, &re, &im);
                digitalSum += std::complex<double>(re, im);
                continue;
            }
            analogue *= std::abs(analogueResponse(set.section, set.count, f));
            double phase = 0.0;
            digital *= band->magnitudeAt(f, withPhase ? &phase : nullptr);
            if (withPhase) {
                for (int32_t i = 0; i < set.count; ++i) analoguePhase += sectionPhase(set.section[i], f);
                digitalPhase += phase;
            }
        }
        if (anyParallel) {
            analogue *= std::abs(analogueSum);
            digital *= std::abs(digitalSum);
            if (withPhase) {
                analoguePhase += std::arg(analogueSum);
                digitalPhase += std::arg(digitalSum);
            }
        }
        const double ratio = std::min(kMaxCorrection, std::max(analogue, kMagnitudeFloor) /
                                                          std::max(digital, kMagnitudeFloor));
        double re = ratio, im = 0.0;
        if (withPhase) {
            const double phase = analoguePhase - digitalPhase;
            largestPhase = std::max(largestPhase, std::fabs(phase));
            re = ratio * std::cos(phase);
            im = ratio * std::sin(phase);
        }
        out[2 * k] = re;
        out[2 * k + 1] = im;
    }
    out[0] = 1.0;
    out[1] = 0.0;
    for (int32_t i = 0; i < n + 2; ++i) out[i] /= double(n);
    return withPhase ? int32_t(std::ceil(largestPhase / std::numbers::pi)) : 0;
}
