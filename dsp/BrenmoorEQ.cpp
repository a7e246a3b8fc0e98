#include "dsp/BrenmoorEQ.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "dsp/DigitalDesign.h"
#include "dsp/SubtypeNames.h"
#include "dsp/VintageDesign.h"

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr DigitalSection kUnit{1.0, 0.0, 0.0, 0.0, 0.0};
constexpr DigitalSection kSilent{0.0, 0.0, 0.0, 0.0, 0.0};
// A peak within this many dB of 0 needs no filter at all.
constexpr double kFlatPeakDb = 0.01;
// A notch is realised as a peak this deep: never a true zero.
constexpr double kNotchDepthDb = -120.0;
// The pre-warp of the bilinear route never goes above this share of the rate.
constexpr double kBilinearPrewarpLimit = 0.45;

// Magnitude of a working section at s = j W (radians per second), as the
// target of the refinement wants it: a zero denominator gives 0, or 1 when
// the numerator is zero too.
double workingMagnitude(const AnalogueSection& s, double w) {
    const std::complex<double> jw(0.0, w);
    std::complex<double> num, den;
    if (s.b0 == 0.0 && s.a0 == 0.0) {
        if (s.b1 == 0.0 && s.a1 == 0.0) {
            num = s.b2;
            den = s.a2;
        } else {
            num = s.b2 * jw + s.b1;
            den = s.a2 * jw + s.a1;
        }
    } else {
        num = s.b2 * jw * jw + s.b1 * jw + s.b0;
        den = s.a2 * jw * jw + s.a1 * jw + s.a0;
    }
    if (std::abs(den) == 0.0) return std::abs(num) != 0.0 ? 0.0 : 1.0;
    return std::abs(num) / std::abs(den);
}

// The poles of z^2 + p z + q (or the zeros, for an inverted section) stay
// inside the unit circle.
bool insideUnitCircle(double p, double q) {
    const double h = -p / 2.0;
    const double d = h * h - q;
    if (d < 0.0) return !(std::fabs(q) >= 1.0);
    const double r = std::sqrt(d);
    return !(std::fabs(h + r) >= 1.0 || std::fabs(h - r) >= 1.0);
}

// Largest pole radius of a digital section: roots of z^2 + a1 z + a2.
double poleRadius(const DigitalSection& d) {
    const std::complex<double> root = std::sqrt(std::complex<double>(d.a1 * d.a1 - 4.0 * d.a2));
    return std::max(std::abs((-d.a1 + root) / 2.0), std::abs((-d.a1 - root) / 2.0));
}

// Poles closer to the unit circle than this count as on it: such a section
// would ring for ever, or grow.
constexpr double kStabilityMargin = 1e-10;

bool isFinite(const DigitalSection& d) {
    return std::isfinite(d.b0) && std::isfinite(d.b1) && std::isfinite(d.b2) && std::isfinite(d.a1) &&
           std::isfinite(d.a2);
}

}  // namespace

BrenmoorEQ::BrenmoorEQ() = default;

void BrenmoorEQ::rebuild() {
    if (shape.type == kEngineFlat || shape.state != 0) {
        unity = 1;
        sectionCount.store(1, std::memory_order_relaxed);
        if (!parallel) {
            resetCoefficients(false);
        } else {
            // A silent section: the band adds nothing to the parallel sum.
            setCoefficients(&kSilent, 1);
        }
        return;
    }
    if (dirty) {
        design(&sections, false);
        dirty = 0;
    } else if (!redesignRequested) {
        return;
    }
    redesignRequested = false;

    const int32_t count = sections.count;
    AnalogueSection working[kMaxSections];
    std::copy_n(sections.section, count, working);
    sectionCount.store(count, std::memory_order_relaxed);
    scaleSections(count, working, kTwoPi);

    const bool passType = shape.type == kEngineHighPass || shape.type == kEngineLowPass;
    const bool useBilinear = (passType && (shape.subtype == kPassElliptic || shape.subtype == kPassAllpass)) ||
                             (shape.type == kEngineLowShelf && shape.subtype == kShelf4kg);
    bool flat = true;
    DigitalSection digital[kMaxSections];
    for (int32_t i = 0; i < count; ++i) fitSection(i, working, digital, useBilinear, &flat);

    // A design that went non-finite anywhere is not run: the band passes.
    bool finite = true;
    for (int32_t i = 0; i < count; ++i) finite = finite && isFinite(digital[i]);

    if (parallel) {
        if (count <= 2) {
            if (!finite || !makeDifference(digital, count)) {
                digital[0] = kSilent;
                sectionCount.store(1, std::memory_order_relaxed);
                setCoefficients(digital, 1);
            } else {
                unity = 0;
                setCoefficients(digital, count);
            }
            return;
        }
    }
    if (flat || !finite) {
        unity = 1;
        resetCoefficients(false);
    } else {
        unity = 0;
        setCoefficients(digital, count);
    }
}

void BrenmoorEQ::fitSection(int32_t index, const AnalogueSection* working, DigitalSection* digital,
                            bool useBilinear, bool* flat) {
    const AnalogueSection& ws = working[index];
    const double fs = sampleRate;
    DigitalSection& d = digital[index];
    d = kUnit;
    int kind = kFitDefault;
    bool inverted = false;

    // The bilinear route, pre-warped at the section's own frequency.
    auto bilinear = [&] {
        const double f = (ws.a2 == 0.0 || ws.a0 == 0.0) ? double(shape.frequency)
                                                        : std::sqrt(std::fabs(ws.a0 / ws.a2)) / kTwoPi;
        return bilinearSection(ws, std::min(kBilinearPrewarpLimit * fs, f), fs);
    };
    if (useBilinear) {
        d = bilinear();
        *flat = false;
        return;
    }

    const double b2 = ws.b2 / ws.a2, b1 = ws.b1 / ws.a2, b0 = ws.b0 / ws.a2;
    const double a1 = ws.a1 / ws.a2, a0 = ws.a0 / ws.a2;
    if (b0 == 0.0 && a0 == 0.0) {
        if (a1 != 0.0) {
            d = digitalFirstOrder(std::fabs(a1) / kTwoPi, b2, b1 / a1, fs);
            *flat = false;
        } else {
            // A constant. Its flatness is decided the other way round on
            // purpose: unity keeps the band live, any other constant lets it
            // count as flat.
            d = {b2, 0.0, 0.0, 0.0, 0.0};
            kind = kFitNone;
            *flat = b2 != 1.0;
        }
    } else if (std::fabs(b0 - a0 * b2) < 1e-5 && a1 * b1 > 0.0 && std::fabs(b2) > 1e-5) {
        // Peak: unity far away on both sides (scaled by b2).
        const double r = b1 / b2;
        const double gainDb = 20.0 * std::log10(r / a1);
        const double f0 = std::sqrt(a0) / kTwoPi;
        d = digitalPeak(gainDb, f0, std::sqrt(a0) / std::sqrt(a1 * r), fs);
        d.b0 *= b2;
        d.b1 *= b2;
        d.b2 *= b2;
        if (std::fabs(gainDb) > kFlatPeakDb) *flat = false;
        kind = f0 <= fs / 2.0 ? kFitPeak : kFitDefault;
    } else if (b0 == 0.0 && b2 == 0.0) {
        // Band pass: a peak of the same centre gain, less the dry signal.
        d = digitalPeak(20.0 * std::log10((a1 + b1) / a1), std::sqrt(a0) / kTwoPi,
                        std::sqrt(a0) / std::sqrt((a1 + b1) * a1), fs);
        d.b0 -= 1.0;
        d.b1 -= d.a1;
        d.b2 -= d.a2;
        *flat = false;
    } else if (b1 == 0.0 && b2 != 0.0 && b0 != 0.0) {
        d = digitalPeak(kNotchDepthDb, std::sqrt(a0) / kTwoPi, std::sqrt(a0) / (a1 * 0.001), fs);
        *flat = false;
    } else if (b2 == 0.0 && b1 == 0.0) {
        const double i = 1.0 / std::sqrt(a0);
        d = digitalLowPass(std::sqrt(a0) / kTwoPi, std::fabs(1.0 / (i * a1)), fs);
        const double scale = b0 * i * i;
        d.b0 *= scale;
        d.b1 *= scale;
        d.b2 *= scale;
        *flat = false;
        kind = kFitLowPass;
    } else if (b0 == 0.0 && b1 == 0.0) {
        const double i = 1.0 / std::sqrt(a0);
        d = digitalHighPass(std::sqrt(a0) / kTwoPi, std::fabs(1.0 / (i * a1)), fs);
        d.b0 *= b2;
        d.b1 *= b2;
        d.b2 *= b2;
        *flat = false;
        kind = kFitHighPass;
    } else {
        inverted = digitalGeneral(ws, fs, &d);
        kind = kFitInverted;
        const bool shelf = shape.type == kEngineLowShelf || shape.type == kEngineHighShelf;
        if (!(shelf && std::fabs(shape.gain) <= kFlatPeakDb)) *flat = false;
    }
    if (*flat) return;

    if (kind != kFitNone) {
        float values[MagnitudeFit::kGridPoints];
        for (int k = 0; k < MagnitudeFit::kGridPoints; ++k) {
            const float m = float(workingMagnitude(ws, fs * fit.gridRadians(k)));
            values[k] = inverted ? 1.0f / m : m;
        }
        fit.setTarget(values);
        const DigitalSection before = d;
        fit.refine(&d, kind);
        // The stability test reads the first section of the band, whichever
        // section is being refined: a later section is thrown back when the
        // first is unstable. Kept as it is.
        const DigitalSection& first = digital[0];
        const bool stable = inverted ? insideUnitCircle(first.b1 / first.b0, first.b2 / first.b0)
                                     : insideUnitCircle(first.a1, first.a2);
        const bool butterworthPeak = shape.type == kEnginePeak && shape.subtype == kPeakButterworth;
        if (!stable || (inverted && butterworthPeak)) d = before;
    }
    if (inverted) {
        const double b0 = d.b0;
        d = {1.0 / b0, d.a1 / b0, d.a2 / b0, d.b1 / b0, d.b2 / b0};
    }
    // The closed forms assume a section's frequency below Nyquist; a pass
    // section far above it (the upper poles of a steep high pass near the top
    // of the band) can come out with poles on or outside the unit circle. Such
    // a section takes the bilinear transform instead, which is always stable.
    if (!(poleRadius(d) < 1.0 - kStabilityMargin)) d = bilinear();
}

bool BrenmoorEQ::makeDifference(DigitalSection* digital, int32_t count) const {
    if (count == 1) {
        DigitalSection& d = digital[0];
        d.b0 -= 1.0;
        d.b1 -= d.a1;
        d.b2 -= d.a2;
        return true;
    }
    // H1 H2 - 1 over the common denominator, its numerator factored back
    // into two sections that keep the two denominators.
    const DigitalSection& h = digital[0];
    const DigitalSection& g = digital[1];
    const double n[5] = {
        h.b0 * g.b0 - 1.0,
        h.b1 * g.b0 + h.b0 * g.b1 - h.a1 - g.a1,
        h.b1 * g.b1 + h.b2 * g.b0 + h.b0 * g.b2 - h.a2 - g.a1 * h.a1 - g.a2,
        h.b2 * g.b1 + h.b1 * g.b2 - g.a1 * h.a2 - g.a2 * h.a1,
        h.b2 * g.b2 - g.a2 * h.a2,
    };
    QuadraticFactor first{}, second{};
    factorQuartic(n, &first, &second);
    const DigitalSection one{n[0], n[0] * first.p, n[0] * first.q, h.a1, h.a2};
    const DigitalSection two{1.0, second.p, second.q, g.a1, g.a2};
    if (!isFinite(one) || !isFinite(two)) return false;
    digital[0] = one;
    digital[1] = two;
    return true;
}
