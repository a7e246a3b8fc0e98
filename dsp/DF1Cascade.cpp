#include "dsp/DF1Cascade.h"

#include <cmath>
#include <complex>
#include <cstring>
#include <algorithm>
#include <numbers>

#include "dsp/PairedKernel.h"
#include "dsp/VectorSet.h"

namespace {

constexpr DigitalSection kUnitSection{1.0, 0.0, 0.0, 0.0, 0.0};
constexpr DigitalSection kZeroStep{0.0, 0.0, 0.0, 0.0, 0.0};
constexpr double kRampStepScale = 0.001;  // 1 / kRampSamples

// A double whose exponent field is below 2: a denormal or nearly one. The
// history is cleared of these so the recursion never runs on denormals.
inline bool isTiny(double x) noexcept {
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return ((bits >> 32) & 0x7fe00000u) == 0;
}

inline double* coefficients(DigitalSection& s) noexcept { return &s.b0; }
inline const double* coefficients(const DigitalSection& s) noexcept { return &s.b0; }

// Coefficients are shared between the designing thread and the audio
// thread without a lock; every access is a relaxed atomic one, which costs
// nothing over a plain load or store.
inline double load(const double& x) noexcept {
    return std::atomic_ref<double>(const_cast<double&>(x)).load(std::memory_order_relaxed);
}
inline void store(double& x, double v) noexcept { std::atomic_ref<double>(x).store(v, std::memory_order_relaxed); }
inline DigitalSection loadSection(const DigitalSection& s) noexcept {
    return {load(s.b0), load(s.b1), load(s.b2), load(s.a1), load(s.a2)};
}
inline void storeSection(DigitalSection& s, const DigitalSection& v) noexcept {
    store(s.b0, v.b0);
    store(s.b1, v.b1);
    store(s.b2, v.b2);
    store(s.a1, v.a1);
    store(s.a2, v.a2);
}

// One sample of a section in direct form 1; the history moves on. Written
// for both a double and a pair of doubles (two channels in vector lanes),
// with one order of operations, so the two give the same bits.
template <typename Value, typename Coefficient>
inline Value biquadStep(const Coefficient& b0, const Coefficient& b1, const Coefficient& b2, const Coefficient& a1,
                        const Coefficient& a2, Value in, Value& x1, Value& x2, Value& y1, Value& y2) noexcept {
    const Value y = b0 * in + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
    x2 = x1;
    x1 = in;
    y2 = y1;
    y1 = y;
    return y;
}

inline double biquadSample(const DigitalSection& c, double in, double& x1, double& x2, double& y1,
                           double& y2) noexcept {
    return biquadStep(c.b0, c.b1, c.b2, c.a1, c.a2, in, x1, x2, y1, y2);
}

// Clears denormal-range history before a block.
inline void flushTinyHistory(double* h) noexcept {
    for (int k = 0; k < 4; ++k)
        if (isTiny(h[k])) h[k] = 0.0;
}

// One non-finite sample must not poison the band for good.
inline void clearNonFiniteHistory(double* h) noexcept {
    if (!std::isfinite(h[0]) || !std::isfinite(h[1]) || !std::isfinite(h[2]) || !std::isfinite(h[3]))
        std::memset(h, 0, sizeof(double) * 4);
}

// One sample of the ramp: the coefficients at `position` samples before the
// target, into the local copy `current` and the shared `live`.
inline void rampTo(DigitalSection& current, DigitalSection& live, const DigitalSection& target,
                   const DigitalSection& step, int32_t position) noexcept {
    const double* to = coefficients(target);
    const double* by = coefficients(step);
    double* now = coefficients(live);
    double* cur = coefficients(current);
    for (int k = 0; k < 5; ++k) {
        cur[k] = load(to[k]) - double(position) * load(by[k]);
        store(now[k], cur[k]);
    }
}

}  // namespace

DF1Cascade::DF1Cascade() {
    for (int32_t i = 0; i < kMaxSections; ++i) {
        live[i] = kUnitSection;
        target[i] = kUnitSection;
        step[i] = kZeroStep;
    }
}

void DF1Cascade::clearState() { std::memset(history, 0, sizeof history); }

void DF1Cascade::resetCoefficients(bool immediate) {
    if (!immediate) {
        DigitalSection flat[kMaxSections] = {kUnitSection, kUnitSection, kUnitSection, kUnitSection};
        setCoefficients(flat, getSectionCount());
        return;
    }
    for (int32_t i = 0; i < kMaxSections; ++i) {
        storeSection(live[i], kUnitSection);
        storeSection(target[i], kUnitSection);
        storeSection(step[i], kZeroStep);
    }
    rampCount.store(-1, std::memory_order_release);
}

int32_t DF1Cascade::getCoefficients(DigitalSection* out) const {
    const int32_t count = getSectionCount();
    for (int32_t i = 0; i < count; ++i) out[i] = loadSection(target[i]);
    return count;
}

void DF1Cascade::setCoefficients(const DigitalSection* in, int32_t count) {
    if (count > kMaxSections) count = kMaxSections;
    bool startRamp = count != getSectionCount();
    sectionCount.store(count, std::memory_order_relaxed);
    for (int32_t i = 0; i < count; ++i) {
        const double* from = coefficients(in[i]);
        double* to = coefficients(target[i]);
        double* by = coefficients(step[i]);
        const double* now = coefficients(live[i]);
        for (int k = 0; k < 5; ++k) {
            const double difference = from[k] - load(now[k]);
            store(to[k], from[k]);
            store(by[k], difference * kRampStepScale);
            // NaN counts as a difference too.
            if (!(difference == 0.0)) startRamp = true;
        }
    }
    if (startRamp) rampCount.store(kRampSamples, std::memory_order_release);
}

void DF1Cascade::processDouble(double* x, int32_t n) noexcept {
    if (n <= 0) return;
    const int32_t ramp = rampCount.load(std::memory_order_acquire);
    const int32_t count = getSectionCount();
    if (unity != 0 && ramp < 1) {
        // A flat band at rest: untouched in series, silent in the parallel branch.
        if (parallel) std::memset(x, 0, sizeof(double) * size_t(n > 0 ? n : 0));
        return;
    }
    for (int32_t s = 0; s < count; ++s) {
        double* h = history[s];
        flushTinyHistory(h);
        double x1 = h[0], x2 = h[1], y1 = h[2], y2 = h[3];
        if (ramp < 0) {
            const DigitalSection c = loadSection(live[s]);
            for (int32_t i = 0; i < n; ++i) x[i] = biquadSample(c, x[i], x1, x2, y1, y2);
        } else {
            DigitalSection c = loadSection(live[s]);
            int32_t position = ramp;
            for (int32_t i = 0; i < n; ++i, --position) {
                if (position >= 0) rampTo(c, live[s], target[s], step[s], position);
                x[i] = biquadSample(c, x[i], x1, x2, y1, y2);
            }
        }
        h[0] = x1, h[1] = x2, h[2] = y1, h[3] = y2;
        clearNonFiniteHistory(h);
    }
    if (ramp >= 0 && n > 0) rampCount.fetch_sub(n, std::memory_order_relaxed);
}

bool DF1Cascade::pairSections(EQ& otherBand, PairedSection* out, int32_t* outCount, int32_t samples) noexcept {
    auto* other = dynamic_cast<DF1Cascade*>(&otherBand);
    if (!other || other == this || samples <= 0) return false;
    const int32_t count = getSectionCount();
    if (count != other->getSectionCount()) return false;
    // A flat band at rest takes the single-channel path, which passes it by;
    // one ramping to or from flat runs like any other.
    if (restsFlat() || other->restsFlat()) return false;
    DigitalSection mine[kMaxSections], theirs[kMaxSections], myStep[kMaxSections], theirStep[kMaxSections];
    int32_t myRamp = 0, theirRamp = 0;
    handOver(samples, mine, myStep, &myRamp);
    other->handOver(samples, theirs, theirStep, &theirRamp);
    for (int32_t s = 0; s < count; ++s) {
        flushTinyHistory(history[s]);
        flushTinyHistory(other->history[s]);
        out[s] = {mine[s], theirs[s], history[s], other->history[s], myStep[s], theirStep[s], myRamp, theirRamp};
    }
    *outCount = count;
    return true;
}

bool DF1Cascade::restsFlat() const noexcept {
    return unity.load(std::memory_order_relaxed) != 0 && rampCount.load(std::memory_order_acquire) < 1;
}

bool DF1Cascade::passesUntouched() const noexcept { return restsFlat() && !parallel.load(std::memory_order_relaxed); }

void DF1Cascade::handOver(int32_t n, DigitalSection* c, DigitalSection* by, int32_t* rampOut) noexcept {
    const int32_t ramp = rampCount.load(std::memory_order_acquire);
    const int32_t count = getSectionCount();
    if (ramp < 0) {
        // At rest: the live coefficients for the whole block.
        for (int32_t s = 0; s < count; ++s) {
            c[s] = loadSection(live[s]);
            by[s] = kZeroStep;
        }
        *rampOut = 0;
        return;
    }
    // Ramping: the target and the step, and the coefficients the ramp leaves
    // live after the block's last sample.
    const int32_t last = std::max(ramp - (n - 1), 0);
    for (int32_t s = 0; s < count; ++s) {
        c[s] = loadSection(target[s]);
        by[s] = loadSection(step[s]);
        DigitalSection now;
        rampTo(now, live[s], target[s], step[s], last);
    }
    *rampOut = ramp;
    rampCount.fetch_sub(n, std::memory_order_relaxed);
}

#if defined(__x86_64__)
void runPairedSectionsAvx2(const PairedSection*, int32_t, double*, double*, int32_t) noexcept;
void runPairedSectionsAvx512(const PairedSection*, int32_t, double*, double*, int32_t) noexcept;
#endif

namespace {

// Two sections in flight on two-lane vectors keep every value in registers.
void runPairedSectionsSse2(const PairedSection* s, int32_t count, double* xa, double* xb, int32_t n) noexcept {
    runPairedChain<2, 2, 0>(s, count, xa, xb, n);
}

using PairedRun = void (*)(const PairedSection*, int32_t, double*, double*, int32_t) noexcept;

PairedRun kernelOf(PairedKernel kernel) {
    switch (kernel) {
#if defined(__x86_64__)
        case PairedKernel::kAvx2: return runPairedSectionsAvx2;
        case PairedKernel::kAvx512: return runPairedSectionsAvx512;
#endif
        default: return runPairedSectionsSse2;
    }
}

// The kernel chosen once: the widest the processor has, or the one named.
const PairedKernel kChosenKernel = widestVectorSet("FENWOLDRINE_IIR_KERNEL", pairedKernelSupported);
const PairedRun kChosenRun = kernelOf(kChosenKernel);

}  // namespace

bool pairedKernelSupported(PairedKernel kernel) { return processorRuns(kernel, false); }

PairedKernel pairedKernelInUse() { return kChosenKernel; }

void runPairedSections(const PairedSection* sections, int32_t count, double* xa, double* xb, int32_t n) noexcept {
    if (n <= 0 || count <= 0) return;
    kChosenRun(sections, count, xa, xb, n);
}

bool runPairedSectionsWith(PairedKernel kernel, const PairedSection* sections, int32_t count, double* xa,
                           double* xb, int32_t n) noexcept {
    if (!pairedKernelSupported(kernel)) return false;
    if (n > 0 && count > 0) kernelOf(kernel)(sections, count, xa, xb, n);
    return true;
}

void DF1Cascade::processFloat(float* x, int32_t n) noexcept {
    if (n <= 0) return;
    // The single-precision path of a host buffer: stopped by the state too,
    // and flushing tiny values through an add and subtract of 1e-30.
    const int32_t ramp = rampCount.load(std::memory_order_acquire);
    const int32_t count = getSectionCount();
    if ((shape.state != 0 || unity != 0) && ramp < 1) return;
    constexpr double kFlush = 1e-30;
    constexpr double kRoundingNudge = 1e-15;
    for (int32_t s = 0; s < count; ++s) {
        double* h = history[s];
        double x1 = h[0], x2 = h[1], y1 = h[2], y2 = h[3];
        DigitalSection c = loadSection(live[s]);
        int32_t position = ramp;
        for (int32_t i = 0; i < n; ++i, --position) {
            if (position >= 0) rampTo(c, live[s], target[s], step[s], position);
            const double in = x[i];
            double y = c.b0 * in + c.b1 * x1 + c.b2 * x2 - c.a1 * y1 - c.a2 * y2;
            y = y + kFlush - kFlush;
            x2 = x1;
            x1 = in;
            y2 = y1;
            y1 = y;
            const float rounded = float(y);
            const float nudged = float(double(rounded) + kRoundingNudge);
            x[i] = float(double(nudged) - kRoundingNudge);
        }
        h[0] = x1, h[1] = x2, h[2] = y1, h[3] = y2;
    }
    if (ramp >= 0 && n > 0) rampCount.fetch_sub(n, std::memory_order_relaxed);
}

double DF1Cascade::magnitudeAt(double hz, double* phaseOut) const {
    const double w = 2.0 * std::numbers::pi * hz / sampleRate;
    const double w2 = 4.0 * std::numbers::pi * hz / sampleRate;
    const double cw = std::cos(w), sw = std::sin(w), c2w = std::cos(w2), s2w = std::sin(w2);
    double num = 1.0, den = 1.0, phase = 0.0;
    const int32_t count = getSectionCount();
    for (int32_t i = 0; i < count; ++i) {
        const DigitalSection t = loadSection(target[i]);
        // The section in positive powers of z.
        const double nr = t.b0 * c2w + t.b1 * cw + t.b2, ni = t.b0 * s2w + t.b1 * sw;
        const double dr = c2w + t.a1 * cw + t.a2, di = s2w + t.a1 * sw;
        num *= nr * nr + ni * ni;
        den *= dr * dr + di * di;
        phase += std::atan2(dr * ni - di * nr, di * ni + dr * nr);
    }
    if (phaseOut) *phaseOut = phase;
    if (std::fabs(den) < 1e-20 && std::fabs(num) > std::fabs(den)) return std::fabs(num) < 1e-20 ? 1.0 : 0.0;
    return std::sqrt(num / den);
}

void DF1Cascade::responseAt(double hz, double* re, double* im) const {
    const double w = 2.0 * std::numbers::pi * hz / sampleRate;
    const double w2 = 4.0 * std::numbers::pi * hz / sampleRate;
    const std::complex<double> z1(std::cos(w), std::sin(w)), z2(std::cos(w2), std::sin(w2));
    std::complex<double> num(1.0, 0.0), den(1.0, 0.0);
    const int32_t count = getSectionCount();
    for (int32_t i = 0; i < count; ++i) {
        const DigitalSection t = loadSection(target[i]);
        num *= t.b0 * z2 + t.b1 * z1 + t.b2;
        den *= z2 + t.a1 * z1 + t.a2;
    }
    std::complex<double> h;
    if (std::norm(den) == 0.0)
        h = {num.real() == 0.0 ? 1.0 : 0.0, num.imag() == 0.0 ? 1.0 : 0.0};
    else
        h = num / den;
    if (re) *re = h.real();
    if (im) *im = h.imag();
}
