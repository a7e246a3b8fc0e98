#include "dsp/PassDesign.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "dsp/SubtypeNames.h"

namespace {

constexpr int kMinOrder = 1;
constexpr int kMaxOrder = 8;
constexpr double kPi = std::numbers::pi;

// The section shapes shared by several families, all low pass with unit
// DC gain: a real pole at -p, and a complex pole pair re +/- j im.
AnalogueSection realPoleSection(double p) { return {0.0, p, 0.0, 1.0, p, 0.0}; }

AnalogueSection polePairSection(double re, double im) {
    const double w = re * re + im * im;
    return {0.0, 0.0, w, 1.0, -2.0 * re, w};
}

// Pole tables of the magnitude-normalised Bessel and the optimum-L
// (Legendre) families, 3 dB down at s = j. Row n - 1: the real pole
// (0 for even orders) and the complex pairs re, im in section order.
struct PoleRow {
    double real;
    double pair[4][2];
};

constexpr PoleRow kBesselPoles[kMaxOrder] = {
    {-1.0, {}},
    {0.0, {{-1.10160133059, 0.636009824757}}},
    {-1.32267579991, {{-1.04740916101, 0.999264436281}}},
    {0.0, {{-1.37006783055, 0.410249717494}, {-0.99520876435, 1.25710573945}}},
    {-1.50231627145, {{-1.38087732586, 0.717909587627}, {-0.957676548563, 1.47112432073}}},
    {0.0,
     {{-1.57149040362, 0.320896374221}, {-1.3818580976, 0.971471890712}, {-0.930656522947, 1.66186326894}}},
    {-1.68436817927,
     {{-1.61203876622, 0.589244506931}, {-1.3789032168, 1.1915667778}, {-0.909867780623, 1.83645135304}}},
    {0.0,
     {{-1.7574084004, 0.272867575103},
      {-1.63693941813, 0.822795625139},
      {-1.37384121764, 1.38835657588},
      {-0.892869718847, 1.99832584364}}},
};

constexpr PoleRow kLegendrePoles[kMaxOrder] = {
    {-1.0, {}},
    {0.0, {{-0.7071067812, 0.7071067812}}},
    {-0.6203318171, {{-0.345185619, 0.9008656355}}},
    {0.0, {{-0.2316887227, 0.9455106639}, {-0.5497434238, 0.3585718162}}},
    {-0.4680898756, {{-0.1535867376, 0.9681464078}, {-0.3881398518, 0.5886323381}}},
    {0.0, {{-0.115192679, 0.9779222345}, {-0.3089608853, 0.6981674628}, {-0.4389015496, 0.2399813521}}},
    {-0.3821033151, {{-0.0862085483, 0.9843698067}, {-0.2374347572, 0.7783008922}, {-0.3492317849, 0.4289961167}}},
    {0.0,
     {{-0.0689421576, 0.9879709681},
      {-0.1942758813, 0.8247667245},
      {-0.3002840049, 0.5410422454},
      {-0.3671763101, 0.1808791995}}},
};

void designFromTable(const PoleRow& row, int m, int o, AnalogueSection* out) {
    for (int i = 0; i < m; ++i) out[i] = polePairSection(row.pair[i][0], row.pair[i][1]);
    if (o) out[m] = realPoleSection(-row.real);
}

// ---------------------------------------------------------------------
// Equal resonances, equal Butterworth sections, Butterworth, Critical,
// Allpass, Harmonics: closed forms per section.

void designKestrawn(double q, int m, int o, AnalogueSection* out) {
    for (int i = 0; i < m; ++i) out[i] = {0.0, 0.0, 1.0, 1.0, 1.0 / q, 1.0};
    if (o) out[m] = realPoleSection(1.0);
}

void designCoincident(int m, int o, AnalogueSection* out) {
    // Every section is a Butterworth section at k; k moves the cascade so
    // its corner stays near s = j at every order.
    const double k = m == 0 ? 1.0 : std::sqrt(2.0 * m / (std::sqrt(double(o * o + 4 * m)) - o));
    for (int i = 0; i < m; ++i) out[i] = {0.0, 0.0, k * k, 1.0, std::numbers::sqrt2 * k, k * k};
    if (o) out[m] = realPoleSection(k);
}

void designButterworth(int n, int m, int o, AnalogueSection* out) {
    for (int i = 0; i < m; ++i) {
        out[i] = {0.0, 0.0, 1.0, 1.0, -2.0 * std::cos((2 * i + 1 + n) * kPi / (2.0 * n)), 1.0};
    }
    if (o) out[m] = realPoleSection(1.0);
}

void designCritical(int n, int m, int o, AnalogueSection* out) {
    // n equal real poles at -1/g, placed so the cascade is 3 dB down at s = j.
    const double g = std::sqrt(std::pow(2.0, 1.0 / n) - 1.0);
    for (int i = 0; i < m; ++i) out[i] = {0.0, 0.0, 1.0, g * g, 2.0 * g, 1.0};
    if (o) out[m] = {0.0, 1.0, 0.0, g, 1.0, 0.0};
}

void designAllpass(double q, int m, int o, AnalogueSection* out) {
    for (int i = 0; i < m; ++i) out[i] = {1.0, -1.0 / q, 1.0, 1.0, 1.0 / q, 1.0};
    if (o) out[m] = {1.0, -1.0, 0.0, 1.0, 1.0, 0.0};
}

void designHarmonics(double q, int m, int o, AnalogueSection* out) {
    // A resonant low pass at s = j, then peaks of gain q at s = j / h that the
    // high-pass form turns into resonances at h times the band frequency.
    if (m > 0) out[0] = {0.0, 0.0, 1.0 / q, 1.0, 1.0 / q, 1.0};
    for (int i = 1; i < m; ++i) {
        const double h = i + 1.0;
        out[i] = {h * h, 1.0, 1.0, h * h, 1.0 / q, 1.0};
    }
    if (o) out[m] = realPoleSection(1.0);
}

// Ripple of Chebyshev and Elliptic above this is taken as this: the control
// ends at 50 dB, and an unbounded ripple would put the poles on the j axis.
constexpr double kMaxRipple = 60.0;

// ---------------------------------------------------------------------
// Chebyshev type I: ripple q dB, with every section at unit DC gain and
// the response between 0 dB and +q dB in the pass band.

void designChebyshev(double q, int n, int m, int o, AnalogueSection* out) {
    const double v = std::pow(10.0, std::min(q, kMaxRipple) * 0.05);
    double e = 1.0;
    double sh = 1.0;
    double ch = 1.0;
    if (v > 1.0) {
        e = std::sqrt(v * v - 1.0);
        const double a = std::log(std::sqrt(1.0 / (e * e) + 1.0) + 1.0 / e) / n;
        sh = (std::exp(a) - std::exp(-a)) / 2.0;
        ch = (std::exp(a) + std::exp(-a)) / 2.0;
    }
    // Without ripple (q <= 0) the poles sit where Butterworth's do, and an
    // odd order keeps the sqrt(2) of its first-order section.
    for (int i = 0; i < m; ++i) {
        const double x = (i + 0.5) * kPi / n;
        out[i] = polePairSection(-std::sin(x) * sh, std::cos(x) * ch);
    }
    if (o) out[m] = {0.0, std::sqrt(e * e + 1.0) * sh, 0.0, 1.0, sh, 0.0};
}

// ---------------------------------------------------------------------
// Elliptic (Cauer): pass band edge at s = j, stop band from s = j ws.

// The stop band edge, 1 + 5/e.
const double kEllipticStopEdge = 5.0 * std::exp(-1.0) + 1.0;
// At 0 dB ripple the poles would fall on the transmission zeros; less
// ripple than this, or none given, is taken as this.
constexpr double kEllipticMinRipple = 0.001;
// Nome series: the sum stops after its first term below this.
constexpr double kNomeTermFloor = 1e-7;
constexpr int kNomeMaxTerms = 64;
constexpr int kAgmMaxSteps = 64;
// Bairstow: the iteration ends when |dr| + |ds| falls below kBairstowTolerance,
// or below kBairstowRelative times the factor's size when the roots are
// large enough that the absolute bound lies under the rounding; a zero
// Jacobian is replaced by kBairstowZeroDivisor.
constexpr double kBairstowTolerance = 1e-6;
constexpr double kBairstowRelative = 1e-13;
constexpr double kBairstowZeroDivisor = 0.001;
constexpr int kBairstowMaxSteps = 500;
// The root polynomial is kept in t = kVariableScale * s^2: with the poles
// mostly within |s| < 2, this spreads its coefficients less and makes the
// absolute end test of the iteration ten times finer in s^2.
constexpr double kVariableScale = 10.0;
constexpr int kPolishSteps = 8;

using Complex = std::complex<double>;

// Complete elliptic integral of the first kind from the complementary
// modulus, by the arithmetic-geometric mean, run while the half-difference
// of the pair keeps shrinking.
double completeEllipticK(double complementaryModulus) {
    double a = 1.0;
    double b = complementaryModulus;
    double halfDifference = std::numeric_limits<double>::infinity();
    for (int step = 0; step < kAgmMaxSteps; ++step) {
        const double next = std::abs(a - b) / 2.0;
        if (!(next < halfDifference)) break;
        halfDifference = next;
        const double mean = (a + b) / 2.0;
        b = std::sqrt(a * b);
        a = mean;
    }
    return (kPi / 2.0) / a;
}

// Multiplies the ascending coefficients poly[0..degree] by (x + c).
void multiplyLinear(double* poly, int& degree, double c) {
    poly[degree + 1] = poly[degree];
    for (int k = degree; k > 0; --k) poly[k] = poly[k - 1] + c * poly[k];
    poly[0] *= c;
    ++degree;
}

// Horner: the polynomial poly[0..degree] and its derivative at x.
Complex evaluate(const double* poly, int degree, Complex x, Complex* derivative) {
    Complex p = poly[degree];
    Complex d = 0.0;
    for (int k = degree - 1; k >= 0; --k) {
        d = d * x + p;
        p = p * x + poly[k];
    }
    *derivative = d;
    return p;
}

// Newton steps on the undeflated polynomial, kept only while they lower the
// residual: removes the error that deflation passes from root to root.
Complex polishRoot(const double* poly, int degree, Complex x) {
    Complex d;
    Complex value = evaluate(poly, degree, x, &d);
    for (int step = 0; step < kPolishSteps && value != 0.0 && d != 0.0; ++step) {
        Complex next = x - value / d;
        if (x.imag() == 0.0) next = next.real();  // a real root stays real
        Complex nextD;
        const Complex nextValue = evaluate(poly, degree, next, &nextD);
        if (!(std::abs(nextValue) < std::abs(value))) break;
        x = next;
        value = nextValue;
        d = nextD;
    }
    return x;
}

// A quadratic factor x^2 - r x - s from which Bairstow's iteration starts.
struct Factor {
    double r;
    double s;
};

// Roots of the real polynomial poly[0..degree] (ascending, degree <= 8) by
// Bairstow's iteration on quadratic factors x^2 - r x - s with deflation.
// Each factor is sought first from the hinted factors, then from fixed
// ones. Returns false if a factor cannot be found.
bool bairstowRoots(const double* poly, int degree, const Factor* hints, int hintCount, Complex* roots) {
    constexpr Factor kStarts[] = {{0.0, 0.0}, {1.0, -1.0}, {-1.0, -2.0}, {2.0, -5.0}, {0.5, 0.5}, {-3.0, -10.0}};
    constexpr int kStartCount = sizeof(kStarts) / sizeof(kStarts[0]);
    double a[kMaxOrder + 1];
    std::copy(poly, poly + degree + 1, a);
    int d = degree;
    int found = 0;
    while (d > 2) {
        double b[kMaxOrder + 1];
        double c[kMaxOrder + 1];
        bool converged = false;
        double r = 0.0;
        double s = 0.0;
        for (int attempt = 0; attempt < hintCount + kStartCount && !converged; ++attempt) {
            const Factor start = attempt < hintCount ? hints[attempt] : kStarts[attempt - hintCount];
            r = start.r;
            s = start.s;
            for (int step = 0; step < kBairstowMaxSteps; ++step) {
                b[d] = a[d];
                b[d - 1] = a[d - 1] + r * b[d];
                for (int k = d - 2; k >= 0; --k) b[k] = a[k] + r * b[k + 1] + s * b[k + 2];
                c[d] = b[d];
                c[d - 1] = b[d - 1] + r * c[d];
                for (int k = d - 2; k >= 1; --k) c[k] = b[k] + r * c[k + 1] + s * c[k + 2];
                double det = c[2] * c[2] - c[3] * c[1];
                if (det == 0.0) det = kBairstowZeroDivisor;
                const double dr = (-b[1] * c[2] + b[0] * c[3]) / det;
                const double ds = (-b[0] * c[2] + b[1] * c[1]) / det;
                r += dr;
                s += ds;
                if (!std::isfinite(r) || !std::isfinite(s)) break;
                const double correction = std::abs(dr) + std::abs(ds);
                if (correction < kBairstowTolerance ||
                    correction < kBairstowRelative * (std::abs(r) + std::abs(s))) {
                    converged = true;
                    break;
                }
            }
        }
        if (!converged) return false;
        // Roots of the factor x^2 - r x - s; the quotient is b[2..d] taken
        // with the final r, s.
        b[d] = a[d];
        b[d - 1] = a[d - 1] + r * b[d];
        for (int k = d - 2; k >= 2; --k) b[k] = a[k] + r * b[k + 1] + s * b[k + 2];
        const double disc = r * r + 4.0 * s;
        if (disc < 0.0) {
            roots[found++] = Complex(r / 2.0, std::sqrt(-disc) / 2.0);
            roots[found++] = Complex(r / 2.0, -std::sqrt(-disc) / 2.0);
        } else {
            const double root = std::sqrt(disc);
            roots[found++] = (r + root) / 2.0;
            roots[found++] = (r - root) / 2.0;
        }
        for (int k = 2; k <= d; ++k) a[k - 2] = b[k];
        d -= 2;
    }
    if (d == 2) {
        const double disc = a[1] * a[1] - 4.0 * a[2] * a[0];
        const double re = -a[1] / (2.0 * a[2]);
        if (disc < 0.0) {
            roots[found++] = Complex(re, std::sqrt(-disc) / (2.0 * a[2]));
            roots[found++] = Complex(re, -std::sqrt(-disc) / (2.0 * a[2]));
        } else {
            roots[found++] = re + std::sqrt(disc) / (2.0 * a[2]);
            roots[found++] = re - std::sqrt(disc) / (2.0 * a[2]);
        }
    } else if (d == 1) {
        roots[found++] = -a[0] / a[1];
    }
    for (int i = 0; i < found; ++i) {
        if (!std::isfinite(roots[i].real()) || !std::isfinite(roots[i].imag())) return false;
        roots[i] = polishRoot(poly, degree, roots[i]);
    }
    return true;
}

// Transmission zeros z_1 > ... > z_m (in units of the pass band edge) of the
// elliptic low pass of order n with selectivity k, from the nome series of
// the Jacobi sn function.
void ellipticZeros(int n, int m, double* zeros) {
    const double k = 1.0 / kEllipticStopEdge;
    const double bigK = completeEllipticK(std::sqrt(1.0 - k * k));
    const double bigKPrime = completeEllipticK(k);
    const double nome = std::exp(-kPi * bigKPrime / bigK);
    for (int i = 1; i <= m; ++i) {
        const int j = (n % 2) ? 2 * i : 2 * i - 1;
        const double x = j * (kPi / 2.0) / n;
        double sum = 0.0;
        for (int l = 0; l < kNomeMaxTerms; ++l) {
            const double power = std::pow(nome, l + 0.5);
            sum += power * std::sin((2 * l + 1) * x) / (1.0 - std::pow(nome, 2 * l + 1));
            if (power < kNomeTermFloor) break;
        }
        zeros[i - 1] = bigK / (2.0 * kPi * sum);
    }
}

// Left-half-plane poles of 1 + eps2 R_n^2(w) = 0, where R_n is the elliptic
// rational function with poles at the transmission zeros, zeros at ws / z,
// and |R_n(1)| = 1. With u = s^2 = -w^2 the equation is the real polynomial
//   prod (u + z^2)^2 + eps2 r0^2 (-u)^o prod (u + (ws/z)^2)^2
// of degree n in u; each root u gives the pole -sqrt(u). Returns the complex
// pairs (im > 0, by rising im) and the real pole, or false on failure.
bool ellipticPoles(double eps2, int n, int m, int o, const double* zeros, Complex* pairs, double* realPole) {
    double rSquared = 1.0;  // r0^2 = (D(1) / N(1))^2
    double denominator[kMaxOrder + 1] = {1.0};
    double numerator[kMaxOrder + 1] = {1.0};
    int denominatorDegree = 0;
    int numeratorDegree = 0;
    for (int i = 0; i < m; ++i) {
        const double z2 = zeros[i] * zeros[i];
        const double p = kEllipticStopEdge / zeros[i];
        const double p2 = p * p;
        const double ratio = (1.0 - z2) / (1.0 - p2);
        rSquared *= ratio * ratio;
        for (int twice = 0; twice < 2; ++twice) {
            multiplyLinear(denominator, denominatorDegree, z2);
            multiplyLinear(numerator, numeratorDegree, p2);
        }
    }
    double poly[kMaxOrder + 1] = {};
    const double weight = eps2 * rSquared * (o ? -1.0 : 1.0);
    for (int k = 0; k <= denominatorDegree; ++k) poly[k] += denominator[k];
    for (int k = 0; k <= numeratorDegree; ++k) poly[k + o] += weight * numerator[k];
    // Into t = scale * u, then monic.
    double power = 1.0;
    for (int k = 0; k <= n; ++k) {
        poly[k] /= power;
        power *= kVariableScale;
    }
    const double lead = poly[n];
    if (!(std::abs(lead) > 0.0) || !std::isfinite(lead)) return false;
    for (int k = 0; k <= n; ++k) poly[k] /= lead;

    // With much ripple the pairs close in on the double roots u = -(ws/z)^2
    // of the second term, where a factor started elsewhere may wander:
    // those double roots are the first starting factors, nearest the band
    // edge first.
    Factor hints[kMaxOrder / 2];
    for (int i = 0; i < m; ++i) {
        const double p = kEllipticStopEdge / zeros[m - 1 - i];
        const double t = -kVariableScale * p * p;
        hints[i] = {2.0 * t, -t * t};
    }
    Complex roots[kMaxOrder];
    if (!bairstowRoots(poly, n, hints, m, roots)) return false;
    int pairCount = 0;
    int realCount = 0;
    for (int i = 0; i < n; ++i) {
        const Complex u = roots[i] / kVariableScale;
        if (u.imag() == 0.0) {
            if (!(u.real() > 0.0)) return false;  // a real pole must be on the negative axis
            *realPole = std::sqrt(u.real());
            ++realCount;
        } else if (u.imag() < 0.0) {  // pole -sqrt(u) with im > 0
            if (pairCount == m) return false;
            pairs[pairCount++] = -std::sqrt(u);
        }
    }
    if (pairCount != m || realCount != o) return false;
    for (int i = 0; i < m; ++i) {
        if (!(pairs[i].real() < 0.0) || !(pairs[i].imag() > 0.0)) return false;
    }
    // At most four pairs: an insertion sort by rising imaginary part.
    for (int i = 1; i < m; ++i)
        for (int j = i; j > 0 && pairs[j].imag() < pairs[j - 1].imag(); --j) std::swap(pairs[j], pairs[j - 1]);
    return true;
}

void designElliptic(double q, int n, int m, int o, AnalogueSection* out) {
    const double ripple = std::isnan(q) ? kEllipticMinRipple : std::clamp(q, kEllipticMinRipple, kMaxRipple);
    const double eps2 = std::pow(10.0, ripple / 10.0) - 1.0;
    double zeros[kMaxOrder / 2];
    ellipticZeros(n, m, zeros);
    Complex pairs[kMaxOrder / 2];
    double realPole = 0.0;
    if (!ellipticPoles(eps2, n, m, o, zeros, pairs, &realPole)) {
        // Not reached for any ripple in range; a Chebyshev low pass of the
        // same ripple keeps the band usable if the root finder ever fails.
        designChebyshev(ripple, n, m, o, out);
        return;
    }
    // The pair nearest the band edge shares its section with the lowest
    // zero: the largest zero goes with the lowest pair.
    for (int i = 0; i < m; ++i) {
        const double re = pairs[i].real();
        const double w = std::norm(pairs[i]);
        out[i] = {1.0 / (zeros[i] * zeros[i]), 0.0, 1.0, 1.0 / w, -2.0 * re / w, 1.0};
    }
    if (o) out[m] = realPoleSection(realPole);
}

}  // namespace

int designPass(int32_t type, int32_t subtype, double q, int32_t slope, double gain, AnalogueSection* out) {
    if (subtype < 0 || subtype >= kPassSubtypeCount) {
        out[0] = kIdentitySection;
        return 1;
    }
    const int n = std::clamp<int32_t>(slope, kMinOrder, kMaxOrder);
    const int m = n / 2;
    const int o = n % 2;
    const int count = (n + 1) / 2;
    switch (subtype) {
        case kPassKestrawn: designKestrawn(q, m, o, out); break;
        case kPassCoincident: designCoincident(m, o, out); break;
        case kPassButterworth: designButterworth(n, m, o, out); break;
        case kPassChebyshev: designChebyshev(q, n, m, o, out); break;
        case kPassBessel: designFromTable(kBesselPoles[n - 1], m, o, out); break;
        case kPassCritical: designCritical(n, m, o, out); break;
        case kPassLegendre: designFromTable(kLegendrePoles[n - 1], m, o, out); break;
        case kPassElliptic: designElliptic(q, n, m, o, out); break;
        case kPassAllpass: designAllpass(q, m, o, out); break;
        default: designHarmonics(q, m, o, out); break;
    }
    if (type == kEngineHighPass) lowToHigh(count, out);
    if (gain != 0.0) {
        // The gain goes into the second-order sections; the first-order
        // section of an odd order takes it only when it is the only one.
        const int carriers = n == 1 ? 1 : count - o;
        const double factor = std::pow(10.0, gain / (20.0 * carriers));
        for (int i = 0; i < carriers; ++i) {
            out[i].b2 *= factor;
            out[i].b1 *= factor;
            out[i].b0 *= factor;
        }
    }
    return count;
}

void lowToHigh(int count, AnalogueSection* sections) {
    for (int i = 0; i < count; ++i) {
        AnalogueSection& s = sections[i];
        if (s.b0 == 0.0 && s.a0 == 0.0) {
            // First order, H = (b2 s + b1) / (a2 s + a1).
            std::swap(s.b2, s.b1);
            std::swap(s.a2, s.a1);
        } else {
            std::swap(s.b2, s.b0);
            std::swap(s.a2, s.a0);
        }
    }
}
