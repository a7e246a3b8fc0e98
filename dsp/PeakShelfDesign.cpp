#include "dsp/PeakShelfDesign.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "dsp/SubtypeNames.h"
#include "dsp/VintageDesign.h"

namespace {

constexpr double kSqrt2 = std::numbers::sqrt2;

// --- Q laws of the peak subtypes -------------------------------------------

// "Kestrawn": Q follows the gain symmetrically for boost and cut; k sets how
// strongly ("GAIN->Q"), k = 1 being the neutral link.
double kestrawnPeakQ(double a, double q, double k) {
    const double lin = a > 1.0 ? 1.0 / a : a;
    if (lin == 1.0) return q;
    const double t = (1.0 - 1.0 / (lin * lin)) / (q * q) - 2.0;
    const double r = std::sqrt(t * t - 4.0);
    const double u = (-t - r) / 2.0;
    const double e = std::pow(lin, 1.0 / k);
    const double w = 1.0 / (e * e);
    return std::sqrt((1.0 - w) / (2.0 - (u * u + 1.0) / u));
}

// The shaping value shared by "Ox1", "Ox2" and "Ox4" between 0.5 and 2 of
// linear centre gain b: two straight lines meeting at unity.
double oxMiddleShape(double b) { return b <= 1.0 ? 0.586 * b + 0.414 : 0.4143 * b + 0.5857; }

// "Ox1".."Ox4": the centre gain b sets a shaping value h, and h sets Q.
double oxPeakQ(int32_t subtype, double b, double q) {
    double qe = q;
    double h = 1.0;
    switch (subtype) {
        case kPeakOx1:
            h = b >= 2.0 ? 0.707 * b : (b <= 0.5 ? b / 0.707 : oxMiddleShape(b));
            break;
        case kPeakOx2:
            qe = 0.13 * q;
            // Constant above +6 dB: this model's Q stops following the gain there.
            h = b >= 2.0 ? 1.4144271570014144 : (b <= 0.5 ? 0.707 : oxMiddleShape(b));
            break;
        case kPeakOx3:
            h = std::pow(b, 0.83205);
            break;
        default:  // kPeakOx4
            h = b >= 2.0 ? 0.707 * b : (b <= 0.5 ? 0.707 : oxMiddleShape(b));
            break;
    }
    const double c = 2.0 * qe / (std::sqrt(4.0 * qe * qe + 1.0) + 1.0);
    const double d = (c * c - 1.0) * (c * c - 1.0) * b * (h * h - 1.0);
    // A flat band of these models reports Q = 1, whatever the knob says.
    if (d == 0.0) return 1.0;
    return std::sqrt((b * b - h * h) * c * c / d);
}

// "110": the only law that also rewrites the amplitude; its gain span is
// +/-18 dB at the clamp.
double peak110Q(double* a, double q) {
    const double m = 5.0 * std::max(0.0, std::min(1.0, 1.0 - (q - 0.1) / 49.9));
    const double p = (m + 1.2) * 8.2 / ((m + 9.4) * 1.2) * 0.3829787234042553;
    const double n = std::clamp(1.0 - (40.0 * std::log(*a) / std::log(10.0) + 18.0) / 36.0, 0.0, 1.0);
    const double x = 1.0 - n;
    const double t = (p * 2.611111111111111 * 36.2 / 42.0 + 0.41333333333333333) * 18.0;
    const double d = 22.0 * n * x + 11.0;
    const double y = t * x / d;
    const double z = t * n / d;
    *a = std::sqrt(std::fabs((y + p) / (z + p)));
    return std::sqrt(1.0 / std::fabs((z + p) * (y + p)));
}

double peak550Q(double a, double q) {
    if (a == 1.0) return q;
    const double g = a > 1.0 ? a * a : 1.0 / (a * a);
    return q * std::sqrt((g - 1.0) / g);
}

// "88": a polynomial in the gain in dB.
double peak88Q(double a, double q) {
    const double g = 40.0 * std::log10(a);
    return kSqrt2 * q * ((0.001954323359096404 - g * g * 4.642999971082878e-7) * g * g + 0.6672507222170061);
}

// "32": a constant-resistor network solved for its one unknown resistance.
double peak32Q(double a, double q) {
    constexpr double kR1 = 10660.0, kR2 = 9100.0, kR3 = 19760.0, kR4 = 1560.0, kRR = 9.7006e7;
    const double big = a * a;
    const double c = 0.68313 / (kSqrt2 * q);
    const double d = 2.0 / c;
    double x = 5530.0;
    if (std::fabs(big - 1.0) > 0.001) {
        const double m = ((1.0 - big) * kR1 * c + kR3 * d - kR4 * big * d) / (2.0 * (big - 1.0) * (d + c));
        const double sign = big > 1.0 ? 1.0 : -1.0;
        x = sign * std::sqrt(m * m - ((1.0 - big) * c - d * big) * kRR / ((d + c) * (big - 1.0))) - m;
    }
    const double p = kR1 - x;
    const double w = p * x + kRR;
    const double u = (x + kR2) * d * p / w + c;
    const double v = ((x - kR2) * p + kRR) * d / w + c;
    return 1.0 / std::sqrt(v * u);
}

// --- Peaks with their own section layout -----------------------------------

// "FlatTop": two half-gain sections spread apart by the factor that makes
// the top flattest; "SOFTEN" (shift, 0..100) moves them from coincident to
// fully spread.
int designFlatTop(double gain, double q, double shift, AnalogueSection* out) {
    const double a = std::pow(10.0, gain / 80.0);
    const double p = a * a;
    const double z = q * q;
    const double e = p * p + 1.0;
    const double h = p * z * z;
    const double m = 1.0 - (2.0 * e * z - p - 9.0 * p * z * z) / (3.0 * h);
    const double n = (16.0 * p * z * z - 4.0 * e * z) * 0.5 / h;
    const double disc = n * n - m * m * m;
    double v = 1.0;
    if (disc < 0.0) {
        // Three real roots of the cubic; a later usable one overrides an earlier.
        const double th = std::acos(std::pow(m, -1.5) * n);
        const double r = -std::sqrt(m);
        const double twoPi = 2.0 * std::numbers::pi;
        for (const double angle : {th / 3.0, (th + twoPi) / 3.0, (th - twoPi) / 3.0}) {
            const double c = r * std::cos(angle);
            if (c * c > 1.0) {
                const double y = std::sqrt(c * c - 1.0) + c;
                if (y > 1.0) v = std::sqrt(y);
            }
        }
    } else {
        double w = std::cbrt(std::sqrt(disc) + std::fabs(n));
        if (n > 0.0) w = -w;
        const double c = ((w == 0.0 ? 0.0 : m / w) + w) / 2.0;
        if (c * c > 1.0) {
            const double y = std::sqrt(c * c - 1.0) + c;
            if (y > 0.0) v = std::sqrt(y);
        }
    }
    const double r = std::max(0.0, shift) * 0.01 * (v - 1.0) + 1.0;
    const double r2 = r * r;
    out[0] = {1.0, r * a / q, r2, 1.0, r / (a * q), r2};
    out[1] = {1.0, a / (q * r), 1.0 / r2, 1.0, 1.0 / (a * q * r), 1.0 / r2};
    return 2;
}

// "Butterworth": the band-pass transform of a second-order Butterworth
// shelf, two sections; no gain-to-Q link and no use of the shift.
int designButterworthPeak(double gain, double q, AnalogueSection* out) {
    const double c = 1.0 / kSqrt2;
    const double a = std::pow(10.0, gain / 40.0);
    auto corners = [&](double x, double* w, double* z) {
        const double e = 2.0 * c * x / q;
        const double i = x * x / (q * q) + 4.0;
        *w = std::sqrt((std::sqrt(i * i - 4.0 * e * e) + i) / (2.0 * e * e));
        const double y = x * c * *w / q;
        *z = std::sqrt(y * y - 1.0) + y;
    };
    double w1, z1, w2, z2;
    corners(1.0, &w1, &z1);
    corners(a, &w2, &z2);
    out[0] = {1.0, z2 / w2, z2 * z2, 1.0, z1 / w1, z1 * z1};
    out[1] = {1.0, 1.0 / (z2 * w2), 1.0 / (z2 * z2), 1.0, 1.0 / (z1 * w1), 1.0 / (z1 * z1)};
    return 2;
}

bool isVintagePeak(int32_t subtype) {
    return subtype == kPeak4kg || subtype == kPeak250 || subtype == kPeak8k2 ||
           (subtype >= kPeak4keBrown && subtype <= kPeak4keBlackCT);
}

// --- Shelves ----------------------------------------------------------------

// "Kestrawn" shelf: Q applies in full at 16 dB of gain and fades to 0.707 as
// the gain falls; "SHIFT" spreads the two corners apart. A cut is the exact
// inverse of the boost of the same size.
int designKestrawnShelf(int32_t type, double gain, double q, double shift, AnalogueSection* out) {
    // Nine-digit constants kept as they stand: they are not exactly sqrt(2).
    constexpr double kButterworthQ = 0.707106781;
    constexpr double kRootTwo = 1.41421356;
    const double g = std::pow(10.0, gain / 20.0);
    const double big = g >= 1.0 ? g : 1.0 / g;
    const double spread = double(float(shift * 0.01));
    const double d = q < kButterworthQ ? 0.0 : (q - kButterworthQ) * spread;
    const double exponent = std::fabs(gain) * 0.0625;
    const double qa = kButterworthQ * std::pow((q - d) * kRootTwo, exponent);
    const double qb = kButterworthQ * std::pow((q + d) * kRootTwo, exponent);
    const double root = std::sqrt(big);
    AnalogueSection s = type == kEngineHighShelf ? AnalogueSection{big, root / qa, 1.0, 1.0, 1.0 / qb, 1.0}
                                                 : AnalogueSection{1.0, root / qa, big, 1.0, 1.0 / qb, 1.0};
    if (g < 1.0) s = {s.a2, s.a1, s.a0, s.b2, s.b1, s.b0};
    out[0] = s;
    return 1;
}

int designFirstOrderShelf(int32_t type, double gain, AnalogueSection* out) {
    const double m = std::pow(10.0, std::fabs(gain) / 20.0);
    const bool high = type == kEngineHighShelf;
    if (gain >= 0.0) {
        out[0] = high ? AnalogueSection{m, 1, 0, 1, 1, 0} : AnalogueSection{1, m, 0, 1, 1, 0};
    } else {
        out[0] = high ? AnalogueSection{1, 1, 0, m, 1, 0} : AnalogueSection{1, 1, 0, 1, m, 0};
    }
    return 1;
}

// "Tilt": pivots on the band frequency, +G at one end and -G at the other.
int designTilt(int32_t type, double gain, AnalogueSection* out) {
    const double t = std::pow(10.0, (type == kEngineHighShelf ? gain : -gain) * 0.05);
    out[0] = {t, 1.0, 0.0, 1.0, t, 0.0};
    return 1;
}

}  // namespace

double peakQ(int32_t subtype, double* a, double q, double k) {
    switch (subtype) {
        case kPeakKestrawn: return kestrawnPeakQ(*a, q, k);
        case kPeakOx1:
        case kPeakOx2:
        case kPeakOx3:
        case kPeakOx4: return oxPeakQ(subtype, *a * *a, q);
        case kPeak110: return peak110Q(a, q);
        case kPeak550: return peak550Q(*a, q);
        case kPeak88: return peak88Q(*a, q);
        case kPeak32: return peak32Q(*a, q);
        default: return q;
    }
}

int designPeak(int32_t type, int32_t subtype, double gain, double q, double shift, AnalogueSection* out) {
    if (type == kEnginePeak) {
        if (isVintagePeak(subtype)) return designVintagePeak(subtype, gain, q, out);
        if (subtype == kPeakFlatTop) return designFlatTop(gain, q, shift, out);
        if (subtype == kPeakButterworth) return designButterworthPeak(gain, q, out);
    }
    double a = std::pow(10.0, gain / 40.0);
    const double k = std::pow(10.0, -shift * 0.12 / 20.0);
    const double qe = subtype == kPeakEE ? q / a : peakQ(subtype, &a, q, k);
    if (type == kEngineListenBandPass) {
        out[0] = {0.0, a * a / qe, 0.0, 1.0, 1.0 / qe, 1.0};
    } else {
        out[0] = {1.0, a / qe, 1.0, 1.0, 1.0 / (a * qe), 1.0};
    }
    return 1;
}

int designShelf(int32_t type, int32_t subtype, double gain, double frequency, double q, double shift,
                AnalogueSection* out) {
    switch (subtype) {
        case kShelfKestrawn: return designKestrawnShelf(type, gain, q, shift, out);
        case kShelf4kg:
        case kShelf110:
        case kShelf550:
        case kShelfPultecBoost:
        case kShelfPultecCut: return designVintageShelf(type, subtype, gain, frequency, q, shift, out);
        case kShelfFirstOrder: return designFirstOrderShelf(type, gain, out);
        case kShelfTilt: return designTilt(type, gain, out);
        default: out[0] = kIdentitySection; return 1;
    }
}
