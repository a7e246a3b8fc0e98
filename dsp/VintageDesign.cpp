#include "dsp/VintageDesign.h"

#include <cmath>
#include <numbers>

#include "dsp/SubtypeNames.h"

// The models below are closed-form transfer functions of equaliser circuits.
// Their long decimal constants are the component values of each circuit
// already multiplied out, and the roots of the factored polynomials in the
// pot positions; they are part of the model and keep every digit.

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

template <typename T>
T clampUnit(T x) {
    // NaN passes through; the comparisons keep it from being mistaken for a bound.
    if (x < T(0)) return T(0);
    if (x > T(1)) return T(1);
    return x;
}

// Position of the Q knob on its travel 0.1..50.
double qPosition(double q) { return clampUnit((q - 0.1) / 49.9); }

int identity(AnalogueSection* out) {
    out[0] = kIdentitySection;
    return 1;
}

// Linear interpolation of ys over ascending xs; the callers handle x outside
// the table, so here x only has to fall inside [xs[0], xs[n-1]]. A NaN falls
// into the last segment and stays NaN.
template <typename T, int N>
T interpolate(const T (&xs)[N], const T (&ys)[N], T x) {
    int k = 0;
    while (k < N - 2 && !(x <= xs[k + 1])) ++k;
    return ys[k] + (ys[k + 1] - ys[k]) * (x - xs[k]) / (xs[k + 1] - xs[k]);
}

// Index of the first switch frequency that is not below f; the last one
// when f lies above them all (or is NaN).
template <int N>
int switchIndex(const double (&frequencies)[N], double f) {
    int i = 0;
    while (i < N - 1 && !(frequencies[i] >= f)) ++i;
    return i;
}

// ---------------------------------------------------------------- peaks

// "4kg": gain pot of 22k split into Rb (boost side) and Ra (cut side), Q pot
// of 10k split into x and y.
AnalogueSection peak4kg(double gain, double u) {
    constexpr double kGainPot = 22000.0;
    constexpr double kQPot = 10.0;
    constexpr double kInvGainPot = 4.545454545454545e-5;  // 1 / 22000, as the circuit was solved

    const double p = clampUnit((gain + 18.0) / 36.0);
    const double rb = p * kGainPot;
    const double ra = (1.0 - p) * kGainPot;
    const double x = (1.0 - u) * kQPot;
    const double y = kQPot - x;

    const double t = (4.0 * x * y + (x + 16.5) * 100.0 + 39.75) / ((y + 16.5) * 100.0);
    const double r = (x + 2.2) * 5.11 / 13.662 - 1.0;
    const double c = (ra * rb + 4.84e8) * t * kGainPot * kInvGainPot * kInvGainPot;
    const double m = t * r + t + r;
    const double n = 2.0 * m + 1.0;
    const double d = rb * t * ra;

    const double b1 = ((n * rb + 2.0 * t * kGainPot - ra) * kGainPot + d) * kInvGainPot;
    const double a1 = ((n * ra + 2.0 * t * kGainPot - rb) * kGainPot + d) * kInvGainPot;
    return {c, b1, kGainPot * t, c, a1, kGainPot * t};
}

// "250": gain pot of 50k, Q pot of 5k; the coefficients are factored
// quadratics in the Q pot position x.
AnalogueSection peak250(double gain, double u) {
    const double R = (1.0 - clampUnit((gain + 18.0) / 36.0)) * 50000.0;
    const double x = (1.0 - u) * 5000.0;

    const double A1 = R * 3.0586374999999997e-10;
    const double A2 = 6.1780299999999995e-6;
    const double A3 = R * R * 6.117274999999999e-15 * (x - 307539.8241346352) * (x + 50312.647818383404);
    const double D = A3 - A2 * (x - 617020.6419680648) * (x + 17266.246149332663) -
                     A1 * (x - 167265.47963533862) * (x + 91397.45424821785);
    const double E = A1 * (x - 471777.10036520683) * (x + 33190.77311982369) - A3 +
                     A2 * (x - 201426.43940344805) * (x + 50611.18761606602);

    const double B1 = R * 2.7847839321678058e-9;
    const double B2 = 5.624880489044235e-5;
    const double B3 = R * R * 5.569567864335611e-14 * (x - 482433.69489674416) * (x + 948.0311656340177);
    const double b1 = -(B3 - B1 * (x - 121710.15494018616) * (x + 728.1238879906888) -
                        B2 * (x - 1174186.3776707358) * (x + 1002.5354231803408));
    const double a1 = B2 * (x - 281725.7563422302) * (x + 938.4065425976552) - B3 +
                      B1 * (x - 842969.2897443678) * (x + 979.9933343428124);

    return {-D, b1, -D, E, a1, E};
}

// "8k2": +/-15 dB. Only the boost half of the gain pot is modelled; a cut
// is the boost of the same size with numerator and denominator exchanged.
AnalogueSection peak8k2(double gain, double u) {
    constexpr double kGainPot = 65000.0;
    constexpr double kC = 2.80061145e-6;

    const double w = 1.0 - clampUnit((gain + 15.0) / 30.0);
    const bool flip = w > 0.5;
    const double R = (flip ? 1.0 - w : w) * kGainPot;
    const double x = (1.0 - u) * 5000.0;

    const double P1 = x - 161037.17286771562;
    const double P2 = x + 52634.21605891403;
    const double P3 = x - 333582.36452537955;
    const double P4 = x + 53542.715809061505;

    const double C1 = R * 1.5510846000000002e-7;
    const double C2 = 0.00398874964090909;
    const double C3 = R * R * 3.350952e-15 * P3 * P2;
    const double C4 = R * 1.0890594000000001e-10;
    const double D = P1 * kC * P4 + P3 * C4 * P2 - C3;
    const double C5 = R * R * 4.772567999999999e-12 * P3 * P2;

    // Natural frequency of the denominator; dividing s by it puts the
    // centre at s = j.
    const double v = std::sqrt((P1 * C2 * P4 + P3 * C1 * P2 - C5) / D);
    const double i = 1.0 / v;

    const double P5 = x - 97402.21671325948;
    const double P6 = x - 580102.0419829567;
    const double P7 = x + 512.6697947885053;
    const double P8 = x + 178321.93330539405;
    const double P9 = x + 15275.062056840918;

    const double b2 = -(C3 - (P5 * C4 * P8 + P9 * P6 * kC)) / D;
    const double C6 = R * 6.116413608992424e-8;
    const double C7 = 0.0015728898199772728;
    const double C8 = R * R * 1.881973418151515e-12 * (x - 670529.729783035) * P7;
    const double b1 = -(C8 - ((x + 547.2589349997545) * C6 * (x + 248397.8857111917) +
                              (x - 1414334.734484091) * C7 * (x + 519.8228830916361))) /
                      D * i;
    const double b0 = -(C5 - (P5 * C1 * P8 + P9 * P6 * C2)) / D * (i * i);
    const double a1 =
        ((x - 252930.81900430267) * C7 * (x + 509.8464673350765) + (x - 670529.729783035) * C6 * P7 - C8) / D * i;

    if (flip) return {1.0, a1, 1.0, b2, b1, b0};
    return {b2, b1, b0, 1.0, a1, 1.0};
}

// The "4ke" family: a Q network of a 10k pot between fixed resistors, and a
// gain network of a 25k pot; black differs in one resistor and its gain
// travel, and the ct versions have a gain network of their own.
AnalogueSection peak4ke(int32_t subtype, double gain, double u) {
    const bool black = subtype == kPeak4keBlack || subtype == kPeak4keBlackCT;
    const bool ct = subtype == kPeak4keBrownCT || subtype == kPeak4keBlackCT;

    // Gain pot position, folded onto its boost half.
    double p = black ? clampUnit((gain + 18.0) / 36.0) : clampUnit((gain + 15.0) / 30.0);
    const bool low = p < 0.5;
    if (low) p = 1.0 - p;

    // Q network.
    const double a = (1.0 - u) * 10000.0;
    const double b = u * 10000.0;
    const double h = b * 1800.0 / 11800.0 + 470.0;
    const double iq = b * a / 11800.0;
    const double j = h + iq + 100000.0;
    const double k = h * 100000.0 / j;
    const double L = ((black ? 200.0 : 270.0) + 910.0 + a * 1800.0 / 11800.0 + h * iq / j) / k;

    // Gain network; c is zero with the pot at its centre.
    const double c = p * 25000.0 + 1000.0 - 13500.0;
    const double d = (1.0 - p) * 25000.0 + 1000.0;
    const double M = (a + 750.0) / 750.0 * 55100.0;
    const double W = std::sqrt(2.99193e9);

    AnalogueSection s{1.0, 0.0, 0.0, 1.0, 0.0, 0.0};
    if (!ct) {
        constexpr double r = 4700.0;
        const double e = r + c;
        const double z1 = (e + 1800.0) * d / (e * 1800.0);
        const double z2 = ((r + 13500.0) * c + (r + 1800.0) * 13500.0) / (r * 1800.0);
        const double y1 = low ? z2 : z1;
        const double y2 = low ? z1 : z2;
        const double P = y2 * y1;
        const double T = P + y1 + y2;
        const double v = 1.0 / (W * T * L);
        const double n = (T * 54300.0 + P) * L + (L - 1.0) * 55100.0 * T;
        s.b1 = (M * y2 * (L + 1.0) + n) * v;
        s.a1 = (M * y1 * (L + 1.0) + n) * v;
        s.b0 = 1.0;
        s.a0 = 1.0;
    } else if (c != 0.0) {
        const double g = (c + 1800.0) * d / (c * 1800.0);
        const double t1 = (g * 109401.0 + 109400.0) * L - (g + 1.0) * 55100.0;
        const double t2 = M * (L + 1.0) + t1;
        const double scale = 1.0 / (W * (g + 1.0) * L);
        s.b1 = (low ? t1 : t2) * scale;
        s.a1 = (low ? t2 : t1) * scale;
        const double z = ((g + 1.0) * 54300.0 + g) * L * 55100.0 / ((g + 1.0) * L * 54300.0 * 55100.0);
        s.b0 = z;
        s.a0 = z;
    }
    // With ct and the pot at its centre the section stays the constant 1.
    return s;
}

// ---------------------------------------------------------------- shelves

// Gain pot of the "4kg" shelves, 22k; R is the part that shrinks to zero at
// full boost.
double shelf4kgResistance(double gain) {
    const float position = clampUnit(static_cast<float>((gain + 18.0) / 36.0));
    return static_cast<double>((1.0f - position) * 22000.0f);
}

int shelf4kgHigh(double gain, double f, AnalogueSection* out) {
    const double R = shelf4kgResistance(gain);
    const double W = kTwoPi * f;

    // The frequency pot covers 1500..16000 Hz; beyond it the circuit at
    // the end of travel is moved in frequency by t.
    double t = 1.0;
    if (f < 1500.0) t = f / 1500.0;
    if (f > 16000.0) t = f / 16000.0;
    const float travel = static_cast<float>(f - 1500.0) / 14500.0f;
    const double P = (1.0 - clampUnit(travel)) * 47000.0;

    const double b1 = P * 0.0005874 - (R - 26053.23885414697) * 2.67e-8 * (R + 4053.2388541469713);
    const double c1 = R * 3.2237768999999995e-16;
    const double c2 = 1.7109359999999999e-12;
    const double c3 = P * 3.5644499999999997e-16;
    const double b2 = (7.84179e-12 - c1) * P * P - (R - 22397.02704921691) * c2 * (R + 5009.593679412309) -
                      (R - 22658.487027073348) * c3 * (R + 9612.293645205176);
    const double a2 = (c1 + 7.494808200000001e-13) * P * P - (R - 27009.593679412304) * c2 * (R + 397.0270492169061) -
                      (R - 31612.293645205176) * c3 * (R + 658.4870270733459);

    out[0] = {b2, b1, 22000.0, a2, b1, 22000.0};
    scaleSections(1, out, t / W);
    return 1;
}

int shelf4kgLow(double gain, double f, AnalogueSection* out) {
    const double R = shelf4kgResistance(gain);
    const double R2 = R * R;
    const double W = kTwoPi * f;

    // Frequency pot over 30..450 Hz, in series with 2.2k.
    double t = 1.0;
    if (f < 30.0) t = f / 30.0;
    if (f > 450.0) t = f / 450.0;
    const double P = (1.0 - clampUnit((f - 30.0) / 420.0)) * 47000.0 + 2200.0;

    const double A = R2 * 4.006383e-9;
    const double B = P + 134.49592158457483;
    const double C = P + 104405.79415746297;
    const double e = 6.213900000000003e-19;
    const double E = (P * 1.943096e-15 + 9.301788000000001e-9) * R2;
    const double F = (P + 3226.9054001520954) * -2.8245000000000003e-23 * (P + 159716263.26985207) * R2;

    // Coefficients of s^4 and s^3, common to numerator and denominator.
    const double c4 = (P + 20.37180647106227) * 1.58791486e-13 * (P + 3129.2811793319675) +
                      B * 1.4417752800000001e-18 * C * R - B * 6.553524000000001e-23 * C * R2;
    const double c5 = (P * 9.515446600000001e-23 + 9.515446600000001e-18) * P * R +
                      (P * 9.5630238e-18 + 4.7577222e-15) * P -
                      (P * 4.3252030000000004e-27 + 4.325203000000001e-22) * P * R2;

    const double n4 = R * 8.81404e-5 + 9.70747 - A;
    const double n3 = (P * 2.920631200000001e-11 - 0.000663765) * R + (P * 4.6945799e-6 + 21.655349) - E;
    const double n2 = (P - 524058022.96267337) * e * (P - 983.458414631138) * R +
                      (P + 99.69372658171919) * 6.8437636e-14 * (P + 153411320.0110686) + F;

    const double d4 = R * 8.8140426e-5 + 9.7074665 - A;
    const double d3 = (P * 5.628991199999997e-11 + 0.0010730436960000001) * R + (P * 4.3966603e-6 + 2.55045308) - E;
    const double d2 = (P + 611.0146720671299) * e * (P + 843497375.7569202) * R +
                      (P + 909.059867865598) * 6.8437636e-14 * (P + 16824135.27684768) + F;

    const double numerator[5] = {c5, c4, n2, n3, n4};
    const double denominator[5] = {c5, c4, d2, d3, d4};
    QuadraticFactor n1, n2f, d1, d2f;
    factorQuartic(numerator, &n1, &n2f);
    factorQuartic(denominator, &d1, &d2f);

    out[0] = {1.0, n1.p, n1.q, 1.0, d1.p, d1.q};
    out[1] = {1.0, n2f.p, n2f.q, 1.0, d2f.p, d2f.q};
    scaleSections(2, out, t / W);
    return 2;
}

// "110": gain pot of 22k split into X and Y.
int shelf110Low(double gain, double f, AnalogueSection* out) {
    const double p = clampUnit((gain + 18.0) / 36.0);
    const double X = 22.0 * p;
    const double Y = 22.0 * (1.0 - p);

    // Frequency switch: switch points (Hz) and their capacitors.
    static constexpr double kPoints[6] = {33, 56, 95, 160, 270, 460};
    static constexpr double kCaps[6] = {1470, 680, 330, 150, 68, 30};
    double c;
    if (f < kPoints[0]) {
        c = 48510.0 / f;
    } else if (f > kPoints[5]) {
        c = 13800.0 / f;
    } else {
        c = interpolate(kPoints, kCaps, f);
    }
    const double w = kTwoPi * f * 1e-6;
    const double w2 = w * w;

    const double XY = X * Y;
    const double k0 = (X * 2064.0 * Y + 54489.6) * c * c * w2 * w2;
    const double k1 = (Y * X * (c + 68.0) + (c * 164.16 + 2323.2)) * 43.0 * c * w2 * w;
    const double k2 = ((43.0 * XY + 10631.28) * c + (c * c * 115.24 + 32164.0)) * w2;
    const double numerator[5] = {k0, k1, k2, ((X * 9.6 + 31.64) * c + (43.0 * X + 894.2)) * w, X + 3.4};
    const double denominator[5] = {k0, k1, k2, ((Y * 9.6 + 31.64) * c + (43.0 * Y + 894.2)) * w, Y + 3.4};

    QuadraticFactor n1, n2, d1, d2;
    factorQuartic(numerator, &n1, &n2);
    factorQuartic(denominator, &d1, &d2);
    out[0] = {1.0, n1.p, n1.q, 1.0, d1.p, d1.q};
    out[1] = {1.0, n2.p, n2.q, 1.0, d2.p, d2.q};
    return 2;
}

int shelf110High(double gain, double f, AnalogueSection* out) {
    // Frequency switch: points (Hz) and the two capacitors of each point.
    static constexpr double kPoints[6] = {3300, 4700, 6800, 10000, 15000, 18000};
    static constexpr double kCaps1[6] = {0.068, 0.047, 0.033, 0.022, 0.015, 0.01};
    static constexpr double kCaps2[6] = {0.15, 0.1, 0.068, 0.047, 0.033, 0.025};
    double c1;
    double c2;
    if (f < kPoints[0]) {
        c1 = 224.4 / f;
        c2 = 495.0 / f;
    } else if (f > kPoints[5]) {
        c1 = 180.0 / f;
        c2 = 450.0 / f;
    } else {
        c1 = interpolate(kPoints, kCaps1, f);
        c2 = interpolate(kPoints, kCaps2, f);
    }
    c1 *= 1e-3;
    c2 *= 1e-3;

    // The pot position v whose high-frequency gain is g, the root of a
    // quadratic in v that lies on the pot for gains the circuit can make.
    const double g = std::pow(10.0, gain * 0.05);
    double v = 0.5;
    if (g != 1.0) {
        const double e = (g - 1.0) * 484.0;
        const double n = g * 704.0 - 264.0;
        v = (n - std::sqrt(n * n - ((1.0 - g) * 0.82 * 32.82 + 220.0) * 4.0 * e)) / (2.0 * e);
    }

    const double z = 22.0 * v;
    const double A = 22.82 - z;
    const double B = z + 0.82;
    const double W = kTwoPi * f;
    const double T = W * W * c1 * c2 * 21.84;
    const double AB = 11.5 * A * B;

    out[0] = {(B + 10.0) * A * T, ((24.0 * A + AB + 516.2976) * c1 + 516.2976 * c2) * W, 271.86,
              (A + 10.0) * B * T, ((24.0 * B + AB + 516.2976) * c1 + 516.2976 * c2) * W, 271.86};
    return 1;
}

// "550": a first-order shelf whose resistors follow the gain switch and
// whose capacitor follows the frequency switch. All table values are
// carried in single precision.
int shelf550(bool high, double gain, double f, AnalogueSection* out) {
    if (gain == 0.0) return identity(out);

    static constexpr float kGainPoints[5] = {2, 4, 6, 9, 12};
    static constexpr float kT[5] = {6980, 10460, 13780, 18310, 23180};
    static constexpr float kHighPoints[5] = {5000, 7000, 10000, 12500, 15000};
    static constexpr float kHighCaps[5] = {6.65f, 4.85f, 3.35f, 2.67f, 2.2f};
    static constexpr float kHighR[5] = {22640, 18580, 13220, 9390, 6650};
    static constexpr float kLowPoints[5] = {50, 100, 200, 300, 400};
    static constexpr float kLowCaps[5] = {90.5f, 43.5f, 21.5f, 14.7f, 10};
    static constexpr float kLowR[5] = {26540, 17230, 12810, 8890, 6340};

    const float(&points)[5] = high ? kHighPoints : kLowPoints;
    const float(&caps)[5] = high ? kHighCaps : kLowCaps;
    const float(&resistors)[5] = high ? kHighR : kLowR;

    // Capacitor: f C stays constant beyond the switch.
    const float ff = static_cast<float>(f);
    float C;
    if (ff < points[0]) {
        C = points[0] * caps[0] / ff;
    } else if (ff > points[4]) {
        C = points[4] * caps[4] / ff;
    } else {
        C = interpolate(points, caps, ff);
    }

    // Resistors: beyond the switch R scales as 1/a and T as a.
    const float a = std::fabs(static_cast<float>(gain));
    float R;
    float T;
    if (a < kGainPoints[0]) {
        R = 2.0f * resistors[0] / a;
        T = a * kT[0] / 2.0f;
    } else if (a > kGainPoints[4]) {
        R = resistors[4] * 12.0f / a;
        T = a * kT[4] / 12.0f;
    } else {
        R = interpolate(kGainPoints, resistors, a);
        T = interpolate(kGainPoints, kT, a);
    }
    // A gain too small for single precision leaves R infinite: the shelf is flat there.
    if (std::isinf(R)) return identity(out);

    const double x = kTwoPi * f * static_cast<double>(C) * static_cast<double>(high ? R : T) * 1e-9;
    const double step = static_cast<double>(1.0f + T / R);

    AnalogueSection s{x, 1.0, 0.0, x, 1.0, 0.0};
    if (gain > 0.0) {
        (high ? s.b2 : s.b1) *= step;
    } else {
        (high ? s.a2 : s.a1) *= step;
    }
    out[0] = s;
    return 1;
}

// Low "Pultec Boost" and "Pultec Cut": one circuit with a boost and a cut
// knob that act together; each subtype puts the gain on one of them and the
// shift on the other.
AnalogueSection pairedLow(double boost, double cut, double f) {
    static constexpr double kPoints[4] = {20, 30, 60, 100};
    static constexpr double kCaps1[4] = {2200, 1000, 470, 330};  // nF
    static constexpr double kCaps2[4] = {100, 47, 22, 15};       // nF

    const double B = clampUnit(boost) * 10000.0;
    const double C = clampUnit(cut) * 100000.0;
    const int i = switchIndex(kPoints, f);
    const double c1 = kCaps1[i] * 1e-9;
    const double c2 = kCaps2[i] * 1e-9;

    const double P = C * B;
    const double e = 12000.0 * B;
    const double n0 = (e + 1e7 + P) * 13.1;
    const double n1 = ((3.0 * B + 2500.0) * 4000.0 * C * c2 + B * 1e7 * c1) * 13.1;
    const double d0 = e + 1.31e8 + P + 11000.0 * C;
    const double d1 = (3.0 * B + 32750.0) * 4000.0 * C * c2 + B * 1.31e8 * c1 + 11000.0 * B * C * c1;

    AnalogueSection s;
    if (P != 0.0) {
        s = {C * 13.1 * 1e7 * B * c1 * c2, n1, n0, C * 1.31e8 * B * c1 * c2, d1, d0};
    } else if (B != C) {
        s = {n1, n0, 0.0, d1, d0, 0.0};
    } else {
        s = kIdentitySection;
    }

    // The circuit of the chosen switch point is moved in frequency to f.
    const double r = f / kPoints[i];
    s.b1 *= r;
    s.a1 *= r;
    s.b0 *= r * r;
    s.a0 *= r * r;
    return s;
}

// High "Pultec Boost": a resonant boost with a bandwidth pot.
AnalogueSection resonantHighBoost(double gain, double f, double q) {
    const double z = clampUnit(gain / 18.0);
    const double y = clampUnit((q - 0.4) / 9.6);
    if (z == 0.0 && y == 1.0) return kIdentitySection;

    static constexpr double kPoints[7] = {3000, 4000, 5000, 8000, 10000, 12000, 16000};
    static constexpr double kCapacitance[7] = {15, 15, 10, 10, 6.8, 6.8, 3.3};  // nF
    static constexpr double kInductance[7] = {175, 100, 90, 65, 35, 23, 19};    // mH

    const double B = z * 10000.0;
    const double R = (1.0 - y) * 2200.0;
    const int i = switchIndex(kPoints, f);
    const double C = kCapacitance[i] * 1e-9;
    const double V = kInductance[i] * 0.001 * C;  // L C of the resonant pair
    const double a = (R + B) * C;
    const double d = ((1.0 - 3.0 * B / 32750.0) * B + R) * C;
    const double w = 1.0 / (std::sqrt(V) * kTwoPi * f);
    return {w * w * V, a * w, 1.0, w * w * V, d * w, 1.0};
}

// High "Pultec Cut": a first-order cut, its capacitor on a three-way switch.
AnalogueSection switchedHighCut(double cutAmount, double f) {
    static constexpr double kPoints[3] = {5000, 10000, 20000};
    static constexpr double kCaps[3] = {197, 94, 47};  // nF

    const double v = clampUnit(cutAmount);
    const double X = 1000.0 * v;
    const double Y = 1000.0 * (1.0 - v);
    const int i = switchIndex(kPoints, f);
    const double C = kCaps[i] * 1e-9;
    const double r = kPoints[i] / f;
    const double n = (Y * X + 75000.0) * 13.1 * C;
    const double d = (2.1 * X * Y + (4400.0 * X + 393000.0) * 2.5) * C;
    if (std::fabs(n - d) < 1e-6) return kIdentitySection;
    return {n * r, 13100.0, 0.0, d * r, 13100.0, 0.0};
}

int shelfBoostCutPair(bool high, bool boostSubtype, double gain, double f, double q, double shift,
                      AnalogueSection* out) {
    const double boost = gain / 18.0;
    const double cut = -gain / 18.0;
    const double other = shift * 0.01;

    if (!high) {
        out[0] = boostSubtype ? pairedLow(boost, other, f) : pairedLow(other, cut, f);
    } else {
        out[0] = boostSubtype ? resonantHighBoost(gain, f, q) : switchedHighCut(cut, f);
    }
    // The circuits are in radians per second.
    scaleSections(1, out, 1.0 / (kTwoPi * f));
    return 1;
}

// ---------------------------------------------------------------- quartic

// Largest real root of y^3 + a y^2 + b y + c: the trigonometric form when
// all three roots are real, Cardano's otherwise.
double largestCubicRoot(double a, double b, double c) {
    // Depressed cubic t^3 + P t + Q with y = t - a/3.
    const double a3 = a / 3.0;
    const double P = b - a * a3;
    const double Q = (2.0 * a3 * a3 - b) * a3 + c;
    const double D = Q * Q * 0.25 + P * P * P / 27.0;
    if (D <= 0.0 && P < 0.0) {
        const double m = std::sqrt(-P / 3.0);
        const double cosine = std::fmax(-1.0, std::fmin(1.0, -Q / (2.0 * m * m * m)));
        return 2.0 * m * std::cos(std::acos(cosine) / 3.0) - a3;
    }
    // One real root; the two cube roots multiply to -P/3, so the second is
    // taken from the first, which avoids the cancelling sum.
    const double u = -std::copysign(std::cbrt(std::fabs(Q) * 0.5 + std::sqrt(std::fmax(D, 0.0))), Q);
    const double v = u != 0.0 ? -P / (3.0 * u) : 0.0;
    return u + v - a3;
}

}  // namespace

int designVintagePeak(int32_t subtype, double gain, double q, AnalogueSection* out) {
    const double u = qPosition(q);
    switch (subtype) {
        case kPeak4kg:
            out[0] = peak4kg(gain, u);
            return 1;
        case kPeak250:
            out[0] = peak250(gain, u);
            return 1;
        case kPeak8k2:
            out[0] = peak8k2(gain, u);
            return 1;
        case kPeak4keBrown:
        case kPeak4keBlack:
        case kPeak4keBrownCT:
        case kPeak4keBlackCT:
            out[0] = peak4ke(subtype, gain, u);
            return 1;
        default:
            return identity(out);
    }
}

int designVintageShelf(int32_t type, int32_t subtype, double gain, double frequency, double q, double shift,
                       AnalogueSection* out) {
    if (type != kEngineLowShelf && type != kEngineHighShelf) return identity(out);
    const bool high = type == kEngineHighShelf;
    switch (subtype) {
        case kShelf4kg:
            return high ? shelf4kgHigh(gain, frequency, out) : shelf4kgLow(gain, frequency, out);
        case kShelf110:
            return high ? shelf110High(gain, frequency, out) : shelf110Low(gain, frequency, out);
        case kShelf550:
            return shelf550(high, gain, frequency, out);
        case kShelfPultecBoost:
        case kShelfPultecCut:
            return shelfBoostCutPair(high, subtype == kShelfPultecBoost, gain, frequency, q, shift, out);
        default:
            return identity(out);
    }
}

void factorQuartic(const double c[5], QuadraticFactor* first, QuadraticFactor* second) {
    const double c1 = c[1] / c[0];
    const double c2 = c[2] / c[0];
    const double c3 = c[3] / c[0];
    const double c4 = c[4] / c[0];

    // x = z - i takes the quartic to z^4 + e z^2 + g z + k0.
    const double h = c1 / 2.0;
    const double e = c2 - 1.5 * h * h;
    const double i = h / 2.0;
    const double g = (h * h - c2) * h + c3;
    const double k0 = ((-3.0 * i * i + c2) * i - c3) * i + c4;

    // The resolvent's root y = r^2 splits the depressed quartic into
    // (z^2 + r z + (m - k)/2)(z^2 - r z + (m + k)/2). It has a root >= 0,
    // since the cubic is -g^2 at y = 0.
    const double y = largestCubicRoot(2.0 * e, e * e - 4.0 * k0, -g * g);
    const double r = std::sqrt(std::fmax(y, 0.0));
    // With r = 0 the quartic is even in z (g = 0); k then comes from
    // k^2 = (r^2 + e)^2 - 4 k0, which the resolvent gives for any root.
    const double k = r > 0.0 ? g / r : std::sqrt(std::fmax(e * e - 4.0 * k0, 0.0));
    const double m = r * r + e;

    first->p = 2.0 * i + r;
    first->q = (m - k) / 2.0 + (r + i) * i;
    second->p = 2.0 * i - r;
    second->q = (k + m) / 2.0 + (i - r) * i;
}
