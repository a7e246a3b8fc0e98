#include "dsp/MagnitudeFit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

// The search works on four parameters in the order b1, b2, a1, a2 of
//   H(z) = (z^2 + b1 z + b2) / (z^2 + a1 z + a2),
// which has the magnitude of the section (1 + b1 z^-1 + b2 z^-2) /
// (1 + a1 z^-1 + a2 z^-2). The overall gain is not a parameter: for given
// b1, b2, a1, a2 the gain that minimises
//   E = sum_i (gain m_i - t_i)^2
// is solved in closed form, so the search only shapes the response.

namespace {

constexpr int kParameters = 4;

// The grid: 20 Hz to half of this rate, whatever rate the plug-in runs at.
constexpr double kGridRate = 44100.0;
constexpr double kGridLowHz = 20.0;

// Gain denominator (sum of m_i^2) used when it is not above zero.
constexpr double kGainDenominatorFloor = 0.0001;
// Squared denominator magnitude used when the response has a pole exactly on
// a grid point.
constexpr double kZeroDenominatorSquared = 0.001;
// Floor of the numerator and denominator magnitudes in the derivatives.
constexpr double kDerivativeMagnitudeFloor = 1e-5;

// Line search: the largest step is this many times max(4, |parameters|).
constexpr double kMaxStepScale = 100.0;
constexpr double kMaxStepFloor = 4.0;
// Smallest relative change of any parameter worth trying.
constexpr double kSmallestRelativeChange = 1e-8;
// Halvings after which lambda is 0 in double precision; only reached when
// the smallest lambda is itself 0 (an infinite direction).
constexpr int kMaxHalvings = 1100;
// Used in the BFGS update in place of 1/0.
constexpr double kReciprocalOfZero = 10000.0;

// Failed line searches (status 0) after which a refinement ends.
constexpr int kMaxFailedSteps = 3;

// Line search outcomes.
constexpr int kStatusHalved = -1;  // error at most half the start error
constexpr int kStatusFailed = 0;   // lambda fell below its smallest value
constexpr int kStatusBackedUp = 2;  // error rose again; back to the best lambda

// Per kind: the most steps, the start error at or below which nothing is
// done, and whether an accepted end error must also be below 1.
struct KindRule {
    int maxSteps;
    double stopAtOrBelow;
    bool endBelowOne;
};
constexpr KindRule kKindRules[] = {
    {9, 1e-8, true},    // 0: first order, peak above Nyquist, band pass, notch
    {99, 0.0, false},   // 1: low pass
    {49, 1e-18, true},  // 2: peak within the band
    {9, 1e-18, true},   // 3: general section
    {99, 1e-10, true},  // 4: high pass
};
constexpr int kKindCount = static_cast<int>(sizeof(kKindRules) / sizeof(kKindRules[0]));

double reciprocalOrFallback(double x) { return x == 0.0 ? kReciprocalOfZero : 1.0 / x; }

}  // namespace

MagnitudeFit::MagnitudeFit() {
    sampleRate = kGridRate;
    buildGrid();
}

double MagnitudeFit::gridRadians(int i) const { return w[std::clamp(i, 0, kGridPoints - 1)]; }

void MagnitudeFit::setTarget(const float* values) {
    for (int i = 0; i < kGridPoints; ++i) target[i] = static_cast<double>(values[i]);
}

// Log-spaced from 20 Hz to half of sampleRate (always 44100), with the
// trigonometric tables the response needs at each point.
void MagnitudeFit::buildGrid() {
    lnLow = std::log(kGridLowHz);
    lnHigh = std::log(sampleRate / 2.0);
    lnSpan = lnHigh - lnLow;
    for (int i = 0; i < kGridPoints; ++i) {
        const double hz = std::exp(lnLow + i * lnSpan / (kGridPoints - 1));
        w[i] = 2.0 * std::numbers::pi * hz / sampleRate;
        cosw[i] = std::cos(w[i]);
        sinw[i] = std::sin(w[i]);
        cos2w[i] = std::cos(2.0 * w[i]);
        sin2w[i] = std::sin(2.0 * w[i]);
    }
}

void MagnitudeFit::loadParameters(double* out) const {
    out[0] = b1;
    out[1] = b2;
    out[2] = a1;
    out[3] = a2;
}

void MagnitudeFit::storeParameters(const double* in) {
    b1 = in[0];
    b2 = in[1];
    a1 = in[2];
    a2 = in[3];
}

// Keeps the poles inside the unit circle. Real poles outside are reflected
// one by one; a complex pair outside (|a2| = |p|^2 > 1) is reflected as a
// pair, which maps z^2 + a1 z + a2 to z^2 + (a1/a2) z + 1/a2. Reflection
// changes the magnitude only by a constant, which the gain absorbs.
void MagnitudeFit::polish() {
    const double discriminant = a1 * a1 - 4.0 * a2;
    if (discriminant > 0.0) {
        const double root = std::sqrt(discriminant);
        double p = (-a1 + root) / 2.0;
        double q = (-a1 - root) / 2.0;
        bool reflected = false;
        if (std::abs(p) > 1.0) {
            p = 1.0 / p;
            reflected = true;
        }
        if (std::abs(q) > 1.0) {
            q = 1.0 / q;
            reflected = true;
        }
        // Rebuilt only when a pole moved, so that a stable pair is left
        // exactly as it was.
        if (reflected) {
            a1 = -(p + q);
            a2 = p * q;
        }
    }
    if (std::abs(a2) > 1.0) {
        const double oldA2 = a2;
        a2 = 1.0 / oldA2;
        a1 = a1 / oldA2;
    }
}

// Polishes, then measures.
double MagnitudeFit::evaluate() {
    polish();
    return measure();
}

// Fills `magnitude` at the current parameters, solves `gain` and returns E.
double MagnitudeFit::measure() {
    double targetDotMagnitude = 0.0;
    double magnitudeSquared = 0.0;
    for (int i = 0; i < kGridPoints; ++i) {
        const double nr = cos2w[i] + b1 * cosw[i] + b2;
        const double ni = sin2w[i] + b1 * sinw[i];
        const double dr = cos2w[i] + a1 * cosw[i] + a2;
        const double di = sin2w[i] + a1 * sinw[i];
        double denominator = dr * dr + di * di;
        if (denominator == 0.0) denominator = kZeroDenominatorSquared;
        const double m = std::sqrt((nr * nr + ni * ni) / denominator);
        magnitude[i] = m;
        targetDotMagnitude += target[i] * m;
        magnitudeSquared += m * m;
    }
    if (!(magnitudeSquared > 0.0)) magnitudeSquared = kGainDenominatorFloor;
    gain = targetDotMagnitude / magnitudeSquared;
    double e = 0.0;
    for (int i = 0; i < kGridPoints; ++i) {
        const double r = gain * magnitude[i] - target[i];
        e += r * r;
    }
    return e;
}

// dE/dp with the gain held, from the magnitudes of the last evaluation. With
// |N| and |D| the numerator and denominator magnitudes at a point,
//   dm/db1 = Re(N conj(z)) / (|N| |D|),  dm/db2 = Re N / (|N| |D|),
//   dm/da1 = -|N| Re(D conj(z)) / |D|^3,  dm/da2 = -|N| Re D / |D|^3.
// Because the gain is optimal, holding it loses nothing.
void MagnitudeFit::computeGradient() {
    double g[kParameters] = {};
    for (int i = 0; i < kGridPoints; ++i) {
        const double nr = cos2w[i] + b1 * cosw[i] + b2;
        const double ni = sin2w[i] + b1 * sinw[i];
        const double dr = cos2w[i] + a1 * cosw[i] + a2;
        const double di = sin2w[i] + a1 * sinw[i];
        const double numeratorMagnitude = std::max(std::sqrt(nr * nr + ni * ni), kDerivativeMagnitudeFloor);
        const double denominatorMagnitude = std::max(std::sqrt(dr * dr + di * di), kDerivativeMagnitudeFloor);
        const double residual = 2.0 * gain * (gain * magnitude[i] - target[i]);
        const double numeratorScale = residual / (numeratorMagnitude * denominatorMagnitude);
        const double denominatorScale =
            -residual * numeratorMagnitude / (denominatorMagnitude * denominatorMagnitude * denominatorMagnitude);
        g[0] += numeratorScale * (nr * cosw[i] + ni * sinw[i]);
        g[1] += numeratorScale * nr;
        g[2] += denominatorScale * (dr * cosw[i] + di * sinw[i]);
        g[3] += denominatorScale * dr;
    }
    std::copy(g, g + kParameters, gradient);
}

void MagnitudeFit::refineStart() {
    buildGrid();
    for (int r = 0; r < kParameters; ++r) {
        for (int c = 0; c < kParameters; ++c) inverseHessian[r][c] = r == c ? 1.0 : 0.0;
    }
    double p[kParameters];
    loadParameters(p);
    double norm = 0.0;
    for (double v : p) norm += v * v;
    maxStep = kMaxStepScale * std::max(kMaxStepFloor, std::sqrt(norm));
    error = evaluate();
    computeGradient();
}

// One quasi-Newton step: direction from the inverse Hessian, a halving line
// search along it, then the BFGS update. Returns the line search status.
int MagnitudeFit::refineStep() {
    std::copy(gradient, gradient + kParameters, lastGradient);
    for (int r = 0; r < kParameters; ++r) {
        double d = 0.0;
        for (int c = 0; c < kParameters; ++c) d -= inverseHessian[r][c] * gradient[c];
        direction[r] = d;
    }

    const double e0 = error;
    loadParameters(start);
    double directionNorm = 0.0;
    for (double d : direction) directionNorm += d * d;
    directionNorm = std::sqrt(directionNorm);
    if (directionNorm > maxStep) {
        const double scale = maxStep / directionNorm;
        for (double& d : direction) d *= scale;
    }

    double test = 0.0;
    for (int k = 0; k < kParameters; ++k) {
        test = std::max(test, std::abs(direction[k]) / std::max(std::abs(start[k]), 1.0));
    }
    // test = 0 gives an infinite minLambda and ends at the first trial.
    const double minLambda = kSmallestRelativeChange / test;

    double lambda = 1.0;
    double previousLambda = 0.0;
    double previousError = 0.0;
    double e = 0.0;
    int status = kStatusFailed;
    for (int halvings = 0;; ++halvings) {
        for (int k = 0; k < kParameters; ++k) trial[k] = start[k] + lambda * direction[k];
        storeParameters(trial);
        e = evaluate();
        // Written so that a NaN minLambda (NaN direction) also ends here.
        if (!(lambda >= minLambda) || halvings >= kMaxHalvings) {
            status = kStatusFailed;
            break;
        }
        if (e > previousError && e0 > previousError && previousError != 0.0) {
            for (int k = 0; k < kParameters; ++k) trial[k] = start[k] + previousLambda * direction[k];
            storeParameters(trial);
            status = kStatusBackedUp;
            break;
        }
        if (e <= e0 / 2.0) {
            status = kStatusHalved;
            break;
        }
        previousLambda = lambda;
        previousError = e;
        lambda /= 2.0;
    }

    // Polish and measure at the point reached. After status -1 or 0 the last
    // trial was measured at these very (polished) parameters, so its results
    // stand unless polishing moves them again.
    double reached[kParameters];
    loadParameters(reached);
    polish();
    double polished[kParameters];
    loadParameters(polished);
    if (status == kStatusBackedUp || !std::equal(reached, reached + kParameters, polished)) {
        error = measure();
    } else {
        error = e;
    }
    computeGradient();

    // BFGS update of the inverse Hessian H with y = change of gradient,
    // s = change of parameters (after polishing) and h = H y:
    //   H += fac s s^T - fae h h^T + (y.h) u u^T,  u = fac s - fae h.
    for (int k = 0; k < kParameters; ++k) {
        step[k] = polished[k] - start[k];
        gradientDelta[k] = gradient[k] - lastGradient[k];
    }
    double ys = 0.0;
    double yh = 0.0;
    for (int r = 0; r < kParameters; ++r) {
        double h = 0.0;
        for (int c = 0; c < kParameters; ++c) h += inverseHessian[r][c] * gradientDelta[c];
        hessianDelta[r] = h;
        ys += gradientDelta[r] * step[r];
    }
    for (int k = 0; k < kParameters; ++k) yh += gradientDelta[k] * hessianDelta[k];
    const double fac = reciprocalOrFallback(ys);
    const double fae = reciprocalOrFallback(yh);
    double u[kParameters];
    for (int k = 0; k < kParameters; ++k) u[k] = fac * step[k] - fae * hessianDelta[k];
    for (int r = 0; r < kParameters; ++r) {
        for (int c = 0; c < kParameters; ++c) {
            inverseHessian[r][c] +=
                fac * step[r] * step[c] - fae * hessianDelta[r] * hessianDelta[c] + yh * u[r] * u[c];
        }
    }
    return status;
}

bool MagnitudeFit::refine(DigitalSection* section, int kind) {
    if (section == nullptr || kind < 0 || kind >= kKindCount) return false;
    // The search needs a monic numerator; a section without b0 has none.
    if (section->b0 == 0.0) return false;
    const KindRule& rule = kKindRules[kind];

    b1 = section->b1 / section->b0;
    b2 = section->b2 / section->b0;
    a1 = section->a1;
    a2 = section->a2;
    refineStart();
    errorAtStart = error;

    if (!(errorAtStart <= rule.stopAtOrBelow)) {
        int failed = 0;
        for (int s = 0; s < rule.maxSteps && failed < kMaxFailedSteps; ++s) {
            if (refineStep() == kStatusFailed) ++failed;
        }
    }
    errorAtEnd = error;

    const bool accepted = errorAtEnd < errorAtStart && (!rule.endBelowOne || errorAtEnd < 1.0);
    if (!accepted) return false;
    *section = DigitalSection{gain, gain * b1, gain * b2, a1, a2};
    return true;
}
