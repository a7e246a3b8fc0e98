#include "dsp/DigitalDesign.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "dsp/LeastSquares.h"

// The closed forms are bilinear transforms s = (1 - z^-1) / (1 + z^-1) of a
// section whose corner is pre-warped and whose gain at s -> infinity is the
// analogue gain at Nyquist, so DC and Nyquist are met exactly and the band
// in between follows the analogue shape. bilinearSection, last, is the plain
// pre-warped transform.

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr double kSqrtHalf = 0.7071067811865476;           // Q of the maximally flat pass
constexpr double kTwoPiSquared = 39.47841760435743;        // (2 pi)^2
constexpr double kTwoPiSquaredOver2 = 19.739208802178716;  // 2 pi^2

// Added to the peak's linear gain so that a 0 dB peak does not divide by
// M^2 - M = 0.
constexpr double kPeakGainNudge = 1e-10;
// Below this, M^2 - N^2 counts as zero: the Nyquist gain is the centre gain.
constexpr double kPeakSpanFloor = 1e-10;
// A low-pass Q this close to sqrt(0.5) is moved by kLowPassQNudge, and a
// Nyquist gain this close to 1 is lowered by kLowPassGainNudge, each
// keeping a 0/0 out of the design.
constexpr double kLowPassQBand = 1e-10;
constexpr double kLowPassQNudge = 1e-6;
constexpr double kLowPassGainBand = 1e-6;
constexpr double kLowPassGainNudge = 1e-6;
// Largest and smallest pre-warped tangent of the low-pass resonance.
constexpr double kLowPassTanCeiling = 1e6;
constexpr double kLowPassTanFloor = 1e-6;
// Smallest divisor, in size, of the low-pass damping terms.
constexpr double kLowPassDivisorFloor = 1e-6;

// Rows of the damping fits: at most four ratios each.
constexpr int kMaxFitRows = 4;

DigitalSection flatSection(double gain) { return {gain, 0.0, 0.0, 0.0, 0.0}; }

// 1 / H of a section: numerator and denominator change places, both divided
// by the old b0 so that the new denominator is monic.
DigitalSection turnedOver(const DigitalSection& s) {
    return {1.0 / s.b0, s.a1 / s.b0, s.a2 / s.b0, s.b1 / s.b0, s.b2 / s.b0};
}

// Ratio c / f0 of the first-order skirt of a peak above Nyquist:
// sqrt((sqrt(1 - 4 e) + 2 e - 1) / (2 e)), computed as the equal
// 2 sqrt(-e) / (1 + sqrt(1 - 4 e)) so that a small |e| (a peak far above
// Nyquist) does not cancel to zero.
double skirtRatio(double e) { return 2.0 * std::sqrt(-e) / (1.0 + std::sqrt(1.0 - 4.0 * e)); }

// The bilinear transform of (hi s^2 + zn s + lo) / (s^2 + pn s + p0), with
// hi the gain at Nyquist and lo / p0 the gain at DC.
DigitalSection bilinearOfNormalised(double hi, double zn, double lo, double pn, double p0) {
    const double d = p0 + pn + 1.0;
    return {(zn + lo + hi) / d, 2.0 * (lo - hi) / d, (lo - zn + hi) / d, 2.0 * (p0 - 1.0) / d, (p0 - pn + 1.0) / d};
}

}  // namespace

DigitalSection digitalPeak(double gainDb, double f0, double q, double fs) {
    // Designed as a boost of M; a cut is the boost turned over.
    const double g = std::pow(10.0, gainDb / 20.0);
    const bool cut = g < 1.0;
    const double m = (cut ? 1.0 / g : g) + kPeakGainNudge;
    const double m2 = m * m;
    const double q2 = q * q;

    // Analogue gain of the boost at Nyquist; the peak is symmetric in log
    // frequency, so the ratio f0 / (fs/2) serves as well as its inverse.
    const double v = 2.0 * f0 / fs;
    const double v2 = v * v;
    const double offCentre = (1.0 - v2) * (1.0 - v2);
    const double n = std::sqrt((v2 * m / q2 + offCentre) / (v2 / (m * q2) + offCentre));

    if (f0 > fs / 2.0) {
        // Only the lower skirt lies in band: a first-order shelf from 1 at DC
        // to n at Nyquist, its corner c following from M, Q and n.
        if (n == 1.0) return flatSection(1.0);
        const double e = (n - 1.0) * q2 * m / (n - m2);
        const double c = skirtRatio(e) * f0;
        const double t = 2.0 * std::tan(kTwoPi * c / (2.0 * fs));
        const DigitalSection skirt{(t + n) / (t + 1.0), (t - n) / (t + 1.0), 0.0, (t - 1.0) / (t + 1.0), 0.0};
        return cut ? turnedOver(skirt) : skirt;
    }

    const double w = kTwoPi * f0 / fs;
    const double tw = std::tan(w / 2.0);
    // n <= m, so u >= 0; a rounding below zero (large m, f0 next to
    // Nyquist) would take the square roots below to NaN.
    const double u = std::max(0.0, m2 - n * n);
    const double l = u <= kPeakSpanFloor ? tw * tw : std::sqrt(u / (m2 - 1.0)) * tw * tw;
    const double cc = (m2 - n - std::sqrt(u * (m2 - 1.0))) * 2.0 * l;
    // Tangent at the lower band edge, where the analogue peak has half its
    // gain in dB.
    const double b = std::tan((std::sqrt(4.0 * q2 + 1.0) - 1.0) * w / (2.0 * q) * 0.5);
    const double p = l / b;
    const double dd = ((b - p) * (b - p) * m - (b * n - p) * (b * n - p) + cc) / (m2 - m);
    const double a = dd < 0.0 ? 0.0 : std::sqrt(dd);
    const double eSquared = m2 * dd - cc;
    const double ee = eSquared < 0.0 ? 0.0 : std::sqrt(eSquared);

    const double h = l + 1.0;
    const double nn = -2.0 * (1.0 - l);
    const double mm = l + n;
    const double r = mm + ee;
    const double s = h + a;
    const double y = n - l;
    if (!cut) return {r / s, -2.0 * y / s, (n - ee + l) / s, nn / s, (h - a) / s};
    return {s / r, nn / r, (1.0 - a + l) / r, -2.0 * y / r, (mm - ee) / r};
}

DigitalSection digitalFirstOrder(double f, double high, double low, double fs) {
    if (high == low) return flatSection(high);

    // A rising shelf is designed as the falling one it is the inverse of;
    // its corner moves to the zero of the original.
    const bool inverted = high > low && low != 0.0;
    const double hi = inverted ? 1.0 / high : high;
    const double lo = inverted ? 1.0 / low : low;
    const double fc = inverted ? f * hi / lo : f;

    const double n = fs / (2.0 * fc);
    const double n2 = n * n;
    const double nyquist = std::sqrt((hi * hi * n2 + lo * lo) / (n2 + 1.0));
    // Pre-warp where the squared magnitude is halfway between its values at
    // DC and at Nyquist.
    const double mid = (nyquist * nyquist + lo * lo) / 2.0;
    const double ratio = (lo * lo - mid) / (mid - hi * hi);
    // That frequency lies strictly between DC and Nyquist whenever the gains
    // differ in size. Gains equal in size (an all-pass, or two values a
    // rounding apart) leave 0/0 or noise here, and the magnitude is flat
    // whatever the corner: take fs/4 then, so that the pole stays inside.
    double corner = std::sqrt(ratio) * fc;
    if (!(ratio > 0.0) || !(std::fabs(corner) < fs / 2.0)) corner = std::copysign(fs / 4.0, fc);
    const double t = std::tan(corner * kTwoPi / (2.0 * fs));

    if (!inverted) {
        const double d = t + 1.0;
        return {(t * lo + nyquist) / d, (t * lo - nyquist) / d, 0.0, (t - 1.0) / d, 0.0};
    }
    const double d = t * lo + nyquist;
    return {(t + 1.0) / d, (t - 1.0) / d, 0.0, (t * lo - nyquist) / d, 0.0};
}

DigitalSection digitalLowPass(double f0, double q, double fs) {
    if (std::fabs(q - kSqrtHalf) < kLowPassQBand) q += kLowPassQNudge;
    const double q2 = q * q;
    const double w = kTwoPi * f0 / fs;
    const double w2 = w * w;

    // Analogue gain at Nyquist (ratio pi / w), lowered off 1 where the
    // damping fit below would divide by G - 1.
    const double rising = 2.0 - kTwoPiSquaredOver2 / w2;
    double g = 2.0 / std::sqrt(kTwoPiSquared / (q2 * w2) + rising * rising);
    if (std::fabs(1.0 - g) < kLowPassGainBand) g -= kLowPassGainNudge;

    // T: pre-warped tangent of the digital pole frequency, placed at the
    // resonance for Q >= sqrt(0.5) and on the falling skirt below it.
    double tp = 0.0;
    if (q >= kSqrtHalf) {
        const double d = std::sqrt(4.0 * q2 - 1.0);
        const double e = 2.0 * q2;
        const double t = std::min(kLowPassTanCeiling, std::fabs(std::tan(std::sqrt(1.0 - 1.0 / e) * w / 2.0)));
        if (t >= kLowPassTanFloor) tp = std::sqrt(std::sqrt((e * e - g * g * d * d) / (e * e - d * d))) * t;
    } else {
        const double skirt = std::sqrt(std::sqrt(1.0 - g * g)) * w / 2.0;
        const double inner = std::sqrt((1.0 - 4.0 * q2) / (q2 * q2) + 4.0 / g) + 2.0 - 1.0 / q2;
        tp = std::min(skirt, std::tan(std::sqrt(inner / 2.0) * w / 2.0));
    }

    // Two reference frequencies and the analogue magnitude at each.
    const double y1 = 2.0 * std::atan(tp);
    const double y2 = 2.0 * std::atan(tp / std::sqrt(g));
    const auto analogue = [&](double y) {
        const double x2 = y * y / w2;
        return 1.0 / std::sqrt(x2 / q2 + (1.0 - x2) * (1.0 - x2));
    };
    const double m1 = analogue(y1);
    const double m2 = analogue(y2);

    // Pole and zero damping that meet both magnitudes.
    const double e = m1 * m1 - m2 * m2;
    const double c = g - 1.0;
    const double u = std::sqrt(e * g / ((m2 * m2 + g) * c * c));
    const double v = std::sqrt(e * g * g / ((m1 * m1 + g) * m2 * m2 * c * c));
    const auto divisor = [](double x) { return std::fabs(x) < kLowPassDivisorFloor ? kLowPassDivisorFloor : x; };
    const double p = tp / divisor(u);
    const double r = std::sqrt(g) * tp / divisor(v);

    const double t2 = tp * tp;
    return bilinearOfNormalised(g, r, t2, p, t2);
}

DigitalSection digitalHighPass(double f0, double q, double fs) {
    const double d = 1.0 / q;
    const double n = fs / (2.0 * f0);
    const double n2 = n * n;
    const double nyquist = std::sqrt(n2 * n2 / (n * d * n * d + (1.0 - n2) * (1.0 - n2)));

    // Two ratios near the resonance of a Q above sqrt(0.5), each kept only
    // while its frequency is in band.
    double r1 = 0.0, r2 = 0.0;
    if (d * d < 2.0) {
        r1 = 2.0 / (2.0 - d * d);
        r2 = 1.0 / std::sqrt(2.0 - d * d);
        if (r1 * f0 > fs / 2.0) r1 = 0.0;
        if (r2 * f0 > fs / 2.0) r2 = 0.0;
    }

    const double prewarp = r2 != 0.0 ? r2 : std::min(1.0, std::min(fs / (2.0 * f0), r1 == 0.0 ? 1.0 : r1));
    const double t = std::tan(kTwoPi * f0 * prewarp / (2.0 * fs)) / prewarp;
    const double p = t * t;

    // The squared digital magnitude meets the analogue one at each ratio;
    // that is linear in the squared damping.
    double column[kMaxFitRows], rhs[kMaxFitRows];
    int rows = 0;
    for (double ratio : {r1, 1.0, 0.5, r2}) {
        if (ratio == 0.0) continue;
        const double y = kTwoPi * f0 * ratio / fs;
        const double ratio2 = ratio * ratio;
        const double m = ratio2 * ratio2 / (ratio * d * ratio * d + (1.0 - ratio2) * (1.0 - ratio2));
        const double cy = std::cos(y), sy = std::sin(y);
        const double den = (p + 1.0) * cy + p - 1.0;
        const double num = nyquist * cy - nyquist;
        rhs[rows] = den * den * m - num * num;
        column[rows] = -(sy * sy) * p * m;
        ++rows;
    }
    double x = 0.0;
    solveLeastSquares(column, rows, 1, rhs, &x);
    const double damping = (x == 0.0 || rows < 2) ? d : std::sqrt(std::fabs(x));

    const double den = t * damping + 1.0 + p;
    return {nyquist / den, -2.0 * nyquist / den, nyquist / den, 2.0 * (p - 1.0) / den, (1.0 - t * damping + p) / den};
}

bool digitalGeneral(const AnalogueSection& section, double fs, DigitalSection* out) {
    // Normalised by a2 and by the pole frequency w0: with p = s / w0,
    //   H = (b2 p^2 + nn p + g0) / (p^2 + dn p + 1).
    const double a1 = section.a1 / section.a2, a0 = section.a0 / section.a2;
    const double b2 = section.b2 / section.a2, b1 = section.b1 / section.a2, b0 = section.b0 / section.a2;
    const double w0 = std::sqrt(a0);
    const double f0Pole = w0 / kTwoPi;
    const double dn0 = a1 / w0, nn = b1 / w0, g00 = b0 / a0;

    // Extrema. With X = (w / w0)^2, |H|^2 = Num(X) / Den(X) where
    //   Num = b2^2 X^2 + n1 X + g0^2,  n1 = nn^2 - 2 g0 b2,
    //   Den = X^2 + d1 X + 1,          d1 = dn^2 - 2.
    // d/dX (Num / Den) = 0  <=>  Num' Den - Num Den' = 0; the cubic terms
    // cancel and what is left is the quadratic
    //   (b2^2 d1 - n1) X^2 + 2 (b2^2 - g0^2) X + (n1 - g0^2 d1) = 0.
    // Its positive roots X give the ratios sqrt(X) to f0; 0 marks none.
    double v1 = 0.0, v2 = 0.0;
    {
        const double n1 = nn * nn - 2.0 * g00 * b2;
        const double d1 = dn0 * dn0 - 2.0;
        const double qa = b2 * b2 * d1 - n1;
        const double qb = 2.0 * (b2 * b2 - g00 * g00);
        const double qc = n1 - g00 * g00 * d1;
        double root1 = 0.0, root2 = 0.0;
        if (qa == 0.0) {
            if (qb != 0.0) root1 = -qc / qb;
        } else {
            const double disc = qb * qb - 4.0 * qa * qc;
            if (disc >= 0.0) {
                // The form without cancellation: k = -(b + sign(b) sqrt(disc)) / 2,
                // roots k / a and c / k.
                const double k = -0.5 * (qb + std::copysign(std::sqrt(disc), qb));
                if (k != 0.0) {
                    root1 = k / qa;
                    root2 = qc / k;
                }
            }
        }
        // Written so that NaN and infinity count as no extremum.
        const auto ratioOf = [](double x) { return x > 0.0 && std::isfinite(x) ? std::sqrt(x) : 0.0; };
        v1 = ratioOf(root1);
        v2 = ratioOf(root2);
    }

    // Analogue gain at Nyquist, and the numerator's own damping.
    const double n = fs / (2.0 * f0Pole);
    const double n2 = n * n;
    double nyquist = std::sqrt((n * nn * n * nn + (g00 - n2 * b2) * (g00 - n2 * b2)) /
                               (n * dn0 * n * dn0 + (1.0 - n2) * (1.0 - n2)));
    double nd = (b2 != 0.0 && g00 != 0.0) ? nn / std::sqrt(g00 * b2) : 0.0;

    if (v1 == 0.0 && v2 == 0.0 && f0Pole > fs / 2.0) {
        *out = digitalFirstOrder(f0Pole / 2.0, b2, g00, fs);
        return false;
    }

    // A section rising towards Nyquist is designed as its inverse: the
    // gains invert, the dampings change places and f0 moves to the zeros.
    double high = b2, g0 = g00, dn = dn0, f0 = f0Pole;
    bool inverted = false;
    if (b2 > g00 && g00 != 0.0) {
        nyquist = 1.0 / nyquist;
        high = 1.0 / b2;
        g0 = 1.0 / g00;
        std::swap(nd, dn);
        const double shift = std::sqrt(high / g0);
        f0 *= shift;
        v1 /= shift;
        v2 /= shift;
        inverted = true;
    }

    // Poles above Nyquist (of the section or of its inverse): the original
    // section as a first-order shelf at half its pole frequency.
    if (f0 > fs / 2.0) {
        *out = digitalFirstOrder(f0Pole / 2.0, b2, g00, fs);
        return false;
    }

    // Pre-warp at the lower extremum, or at f0 without one, never above
    // Nyquist.
    double vmin = std::min(v1, v2), vmax = std::max(v1, v2);
    const double inner = vmin != 0.0 ? vmin : (vmax != 0.0 ? vmax : 1.0);
    const double prewarp = std::min(1.0, std::min(fs / (2.0 * f0), inner));
    const double t = std::tan(kTwoPi * f0 * prewarp / (2.0 * fs)) / prewarp;
    const double p = t * t;
    if (vmax * f0 >= fs / 2.0) vmax = 0.0;

    // Squared magnitudes meet at each ratio; linear in nd'^2 and dn'^2.
    double matrix[kMaxFitRows * 2], rhs[kMaxFitRows];
    int rows = 0;
    for (double ratio : {vmax != 0.0 ? vmax : std::sqrt(fs / (2.0 * f0)), vmin, 1.0, 0.5}) {
        if (ratio == 0.0) continue;
        const double y = kTwoPi * f0 * ratio / fs;
        const double r2 = ratio * ratio;
        const double m = (ratio * nd * ratio * nd * high * g0 + (g0 - r2 * high) * (g0 - r2 * high)) /
                         (ratio * dn * ratio * dn + (1.0 - r2) * (1.0 - r2));
        const double cy = std::cos(y), sy2 = std::sin(y) * std::sin(y);
        const double den = (p + 1.0) * cy + p - 1.0;
        const double num = (p * g0 + nyquist) * cy + p * g0 - nyquist;
        rhs[rows] = 4.0 * m * den * den - 4.0 * num * num;
        matrix[2 * rows] = 4.0 * p * nyquist * g0 * sy2;
        matrix[2 * rows + 1] = -4.0 * p * m * sy2;
        ++rows;
    }
    double x[2] = {0.0, 0.0};
    solveLeastSquares(matrix, rows, 2, rhs, x);
    double ndFit = nd, dnFit = dn;
    if (rows > 1) {
        // The unknowns are squares: their sizes are used.
        if (x[0] != 0.0) ndFit = std::sqrt(std::fabs(x[0]));
        if (x[1] != 0.0) dnFit = std::sqrt(std::fabs(x[1]));
    }

    const double zero = std::sqrt(g0 * nyquist) * ndFit * t;
    *out = bilinearOfNormalised(nyquist, zero, p * g0, t * dnFit, p);
    return inverted;
}

DigitalSection bilinearSection(const AnalogueSection& section, double prewarpHz, double fs) {
    // s = (2 pi / v) (1 - z^-1) / (1 + z^-1) maps prewarpHz exactly; both
    // polynomials are multiplied by v^2 (v at first order). At a pre-warp
    // of 0 the ratio t / fp takes its limit pi / fs.
    const double t = std::tan(kTwoPi * prewarpHz / (2.0 * fs));
    const double v = prewarpHz == 0.0 ? kPi / fs : t / prewarpHz;
    const AnalogueSection& s = section;

    if (s.b0 == 0.0 && s.a0 == 0.0) {
        const double d = v * s.a1 + kTwoPi * s.a2;
        return {(v * s.b1 + kTwoPi * s.b2) / d, (v * s.b1 - kTwoPi * s.b2) / d, 0.0, (v * s.a1 - kTwoPi * s.a2) / d,
                0.0};
    }
    const double pb = kTwoPiSquared * s.b2, pa = kTwoPiSquared * s.a2;
    const double qb = kTwoPi * v * s.b1, qa = kTwoPi * v * s.a1;
    const double rb = v * v * s.b0, ra = v * v * s.a0;
    const double d = qa + pa + ra;
    return {(qb + pb + rb) / d, 2.0 * (rb - pb) / d, (pb - qb + rb) / d, 2.0 * (ra - pa) / d, (pa - qa + ra) / d};
}
