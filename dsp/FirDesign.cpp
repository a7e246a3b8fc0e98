#include "dsp/FirDesign.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>

#include "dsp/EQ.h"

namespace {

constexpr double kPi = std::numbers::pi;
// Engine modes of the FIR path.
constexpr int32_t kFullMinimum = 3;
constexpr int32_t kZeroLatency = 4;
constexpr int32_t kAnalogue = 5;
constexpr int32_t kLinear = 6;
constexpr int32_t kFree = 7;

// Floor of |X| before the logarithm of the zero-latency step (about the
// smallest normal float).
constexpr double kZeroLatencyFloor = 3.72e-44;

// Numerator and denominator of a section at s = j f, in the second-order,
// first-order (b0 = a0 = 0) or constant (b1 = a1 = 0 as well) form.
struct SectionTerms {
    double nr, ni, dr, di;
};

inline SectionTerms termsAt(const AnalogueSection& s, double f) {
    if (s.b0 == 0.0 && s.a0 == 0.0) {
        if (s.b1 == 0.0 && s.a1 == 0.0) return {s.b2, 0.0, s.a2, 0.0};
        return {s.b1, f * s.b2, s.a1, f * s.a2};
    }
    const double f2 = f * f;
    return {s.b0 - f2 * s.b2, f * s.b1, s.a0 - f2 * s.a2, f * s.a1};
}

// A section whose numerator equals its denominator is 1 at every frequency
// (0/0 counting as 1): it leaves the spectrum exactly as it is.
inline bool isIdentity(const AnalogueSection& s) { return s.b2 == s.a2 && s.b1 == s.a1 && s.b0 == s.a0; }

// Complex H of the sections at s = j f, each quotient with 0/0 = 1 and
// x/0 = 0.
std::complex<double> bandResponse(const SectionSet& set, double f) {
    std::complex<double> h(1.0, 0.0);
    for (int32_t i = 0; i < set.count; ++i) {
        const SectionTerms t = termsAt(set.section[i], f);
        const std::complex<double> num(t.nr, t.ni), den(t.dr, t.di);
        if (t.dr == 0.0 && t.di == 0.0) {
            if (t.nr != 0.0 || t.ni != 0.0) return {0.0, 0.0};
            continue;
        }
        h *= num / den;
    }
    return h;
}

// Smallest power of two not below n, at least 1.
int32_t powerOfTwoAtLeast(int32_t n) {
    int32_t m = 1;
    while (m < n) m <<= 1;
    return m;
}

}  // namespace

double FirDesigner::buildSpectrum(int32_t n, EQ* const* bands, int32_t bandCount, int32_t channelCount,
                                  int32_t channel, double sampleRate, int32_t mode, double* spectrum) {
    if (n <= 0 || !spectrum) return 0.0;
    const int32_t bins = n / 2 + 1;
    const double df = double(float(sampleRate) / float(n));
    const double start = 1.0 / double(n);
    for (int32_t k = 0; k < bins; ++k) {
        spectrum[2 * k] = start;
        spectrum[2 * k + 1] = 0.0;
    }

    bool anyParallel = false;
    double* parallelSum = nullptr;
    for (int32_t b = 0; b < bandCount; ++b) {
        EQ* band = bands[channelCount * b + channel];
        if (!band) continue;
        SectionSet set{};
        band->design(&set, false);
        const int32_t count = std::clamp(set.count, 0, int32_t(kMaxSections));

        if (band->getParallel()) {
            if (!anyParallel) {
                extra.resize(size_t(2 * bins));
                parallelSum = extra.data();
                for (int32_t k = 0; k < bins; ++k) {
                    parallelSum[2 * k] = 1.0;
                    parallelSum[2 * k + 1] = 0.0;
                }
                anyParallel = true;
            }
            set.count = count;
            for (int32_t k = 0; k < bins; ++k) {
                const std::complex<double> h = bandResponse(set, double(k) * df);
                parallelSum[2 * k] += h.real() - 1.0;
                parallelSum[2 * k + 1] += h.imag();
            }
            continue;
        }

        double m = 0.0;
        if (mode == kFullMinimum || mode == kZeroLatency || mode == kAnalogue) m = 1.0;
        if (mode == kFree) m = double(band->getPhase());

        for (int32_t i = 0; i < count; ++i) {
            const AnalogueSection& s = set.section[i];
            if (isIdentity(s)) continue;
            for (int32_t k = 0; k < bins; ++k) {
                const SectionTerms t = termsAt(s, double(k) * df);
                const double num2 = t.nr * t.nr + t.ni * t.ni;
                const double den2 = t.dr * t.dr + t.di * t.di;
                double magnitude;
                if (den2 == 0.0)
                    magnitude = num2 == 0.0 ? 1.0 : 0.0;
                else
                    magnitude = std::sqrt(num2 / den2);
                spectrum[2 * k] *= magnitude;
                if (m != 0.0) spectrum[2 * k + 1] += m * (std::atan2(t.ni, t.nr) - std::atan2(t.di, t.dr));
            }
        }
    }

    double peak = 0.0;
    for (int32_t k = 0; k < bins; ++k) {
        const double magnitude = spectrum[2 * k], phase = spectrum[2 * k + 1];
        peak = std::max(peak, std::fabs(phase));
        spectrum[2 * k] = magnitude * std::cos(phase);
        spectrum[2 * k + 1] = magnitude * std::sin(phase);
    }

    if (anyParallel) {
        for (int32_t k = 0; k < bins; ++k) {
            double pr = parallelSum[2 * k], pi = parallelSum[2 * k + 1];
            if (mode == kLinear) {
                pr = std::sqrt(pr * pr + pi * pi);
                pi = 0.0;
            }
            const double re = spectrum[2 * k], im = spectrum[2 * k + 1];
            spectrum[2 * k] = re * pr - im * pi;
            spectrum[2 * k + 1] = re * pi + im * pr;
        }
    }
    return peak / kPi;
}

const double* FirDesigner::makeImpulse(const double* spectrum, int32_t length, int32_t padding, int32_t mode,
                                       WindowTable& window, double x) {
    if (!spectrum || length <= 0 || padding <= 0) return nullptr;
    const int32_t n = length * padding;
    const bool zeroLatency = mode == kZeroLatency;
    work.resize(size_t(2 * n));
    tables.prepare(2 * n);
    double* a = work.data();

    // Bins 0..n/2 as given, the rest by conjugate symmetry.
    std::memcpy(a, spectrum, sizeof(double) * size_t(n + 2));
    for (int32_t k = n / 2 + 1; k < n; ++k) {
        a[2 * k] = a[2 * (n - k)];
        a[2 * k + 1] = -a[2 * (n - k) + 1];
    }

    if (!zeroLatency || x != -1.0) {
        const double nyquistRe = a[n], nyquistIm = a[n + 1];
        a[n] = std::sqrt(nyquistRe * nyquistRe + nyquistIm * nyquistIm);
        a[n + 1] = 0.0;
        a[1] = 0.0;
    } else {
        // Zero latency: fold the complex cepstrum onto its causal half,
        // which leaves the minimum-phase spectrum of the same magnitude.
        for (int32_t k = 0; k < n; ++k) {
            const double re = a[2 * k], im = a[2 * k + 1];
            const double magnitude = std::sqrt(re * re + im * im);
            a[2 * k] = std::log(std::max(magnitude, kZeroLatencyFloor));
            a[2 * k + 1] = std::atan2(im, re);
        }
        fftInverse(a, 2 * n, tables);
        const double scale = 1.0 / double(n);
        for (int32_t i = 2; i <= n - 2; i += 2) a[i] += a[2 * n - i];
        for (int32_t i = 0; i <= n; i += 2) {
            a[i + 1] = 0.0;
            a[i] *= scale;
        }
        std::fill(a + n + 2, a + 2 * n, 0.0);
        fftForward(a, 2 * n, tables);
        for (int32_t k = 0; k < n; ++k) {
            const double e = std::exp(a[2 * k]), phase = a[2 * k + 1];
            a[2 * k] = e * std::cos(phase);
            a[2 * k + 1] = e * std::sin(phase);
        }
    }

    fftInverse(a, 2 * n, tables);
    for (int32_t j = 0; j < n; ++j) a[j] = a[2 * j];
    double* h = a;

    if (zeroLatency) {
        if (x >= 1.0) {
            const int32_t shift = int32_t(std::fmod(std::floor(x), double(n)));
            std::rotate(h, h + (n - shift), h + n);
        }
        window.applyCausal(h, length);
    } else {
        // Time zero to the middle, then the middle `length` points to the
        // front.
        std::rotate(h, h + n / 2, h + n);
        if (padding > 1) std::memmove(h, h + size_t(padding - 1) * size_t(length) / 2, sizeof(double) * size_t(length));
        window.applyCentred(h, length);
    }

    if (mode == kFullMinimum) minimumPhase(h, length);
    if (mode == kLinear) {
        const int32_t middle = length / 2;
        for (int32_t k = 1; k < middle; ++k) {
            const double mean = (h[middle - k] + h[middle + k]) / 2.0;
            h[middle - k] = mean;
            h[middle + k] = mean;
        }
        h[0] = 0.0;
    }
    return h;
}

void FirDesigner::minimumPhase(double* h, int32_t n) {
    if (!h || n <= 0) return;
    const int32_t m = powerOfTwoAtLeast(n);
    const int32_t size = 4 * m;  // 2M complex points
    extra.resize(size_t(size));
    tables.prepare(size);
    double* a = extra.data();
    std::fill(a, a + size, 0.0);
    for (int32_t j = 0; j < n; ++j) a[2 * j] = h[j];

    fftForward(a, size, tables);
    const double floor = std::exp(-100.0);
    for (int32_t k = 0; k < 2 * m; ++k) {
        const double re = a[2 * k], im = a[2 * k + 1];
        a[2 * k] = std::log(std::max(std::sqrt(re * re + im * im), floor));
        a[2 * k + 1] = 0.0;
    }

    // Real cepstrum, folded: quefrencies 0 and M once, 1..M-1 twice, the
    // upper half dropped.
    fftInverse(a, size, tables);
    const double c = 1.0 / double(2 * m);
    a[0] *= c;
    a[1] *= c;
    a[2 * m] *= c;
    a[2 * m + 1] *= c;
    for (int32_t q = 1; q < m; ++q) {
        a[2 * q] *= 2.0 * c;
        a[2 * q + 1] *= 2.0 * c;
    }
    std::fill(a + 2 * m + 2, a + size, 0.0);

    fftForward(a, size, tables);
    for (int32_t k = 0; k < 2 * m; ++k) {
        const double e = std::exp(a[2 * k]), phase = a[2 * k + 1];
        a[2 * k] = e * std::cos(phase);
        a[2 * k + 1] = e * std::sin(phase);
    }
    fftInverse(a, size, tables);
    for (int32_t j = 0; j < n; ++j) h[j] = a[2 * j] * c;
}
