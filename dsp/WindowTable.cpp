#include "dsp/WindowTable.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

constexpr double kPi = std::numbers::pi;

// Horner evaluation of c[0] + c[1] t + ... + c[n-1] t^(n-1).
template <size_t n>
double polynomial(const double (&c)[n], double t) {
    double sum = c[n - 1];
    for (size_t i = n - 1; i-- > 0;) sum = c[i] + t * sum;
    return sum;
}

double sinc(double x) {
    if (x == 0.0) return 1.0;
    return std::sin(kPi * x) / (kPi * x);
}

// Tukey: a rising cosine while i <= e, flat from (int)e while i <= r, and a
// falling cosine from (int)r to the end; where the ranges meet, the later
// one wins.
double tukey(double a, int32_t i, int32_t n) {
    // With no taper both cosine pieces divide by zero: the window is flat.
    if (a <= 0.0) return 1.0;
    const double e = double(float(n - 1) * float(a) / 2.0f);
    const double r = (1.0 - a / 2.0) * double(n - 1);
    const double x = 2.0 * double(i) / (a * double(n));
    if (i >= int32_t(r)) return (std::cos((x - 2.0 / a + 1.0) * kPi) + 1.0) / 2.0;
    if (i >= int32_t(e) && double(i) <= r) return 1.0;
    if (double(i) <= e) return (std::cos((x - 1.0) * kPi) + 1.0) / 2.0;
    return 1.0;
}

}  // namespace

double besselI0(double x) {
    static constexpr double kSmall[] = {1.0, 3.5156229, 3.0899424, 1.2067492, 0.2659732, 0.0360768, 0.0045813};
    static constexpr double kLarge[] = {0.39894228,  0.01328592, 0.00225319,  -0.00157565, 0.00916281,
                                        -0.02057706, 0.02635537, -0.01647633, 0.00392377};
    const double ax = std::fabs(x);
    if (ax < 3.75) return polynomial(kSmall, (x / 3.75) * (x / 3.75));
    return (std::exp(ax) / std::sqrt(ax)) * polynomial(kLarge, 3.75 / ax);
}


float mapWindowParameter(int32_t shape, float p) {
    switch (shape) {
        case kWindowTukey:
        case kWindowRectParam:
            return p;
        case kWindowGaussian:
            return float(std::pow(10.0, 3.0 * double(p)) * 0.01);
        case kWindowBlackman:
            return float(double(p) * 0.32);
        case kWindowKaiser:
            return float(std::pow(2.0 * double(p), 5.0) * 12.0);
        default:
            return 0.0f;
    }
}

double windowValue(int32_t shape, double a, int32_t i, int32_t n) {
    if (n <= 0) return 0.0;
    const double N = double(n);
    const double x = double(i);
    const double c = double((n - 1) / 2);
    const double t = 2.0 * kPi * x / N;
    switch (shape) {
        case kWindowRectangular:
            return 1.0;
        case kWindowHann:
            return (1.0 - std::cos(t)) / 2.0;
        case kWindowHamming:
            return 0.54 - 0.46 * std::cos(t);
        case kWindowTukey:
            return tukey(a, i, n);
        case kWindowCosine:
            return std::sin(kPi * x / N);
        case kWindowLanczos:
            return sinc(2.0 * x / N - 1.0);
        case kWindowTriangular:
            return (c - std::fabs(x - c)) * 2.0 / N;
        case kWindowGaussian: {
            const double inverse = a == 0.0 ? 0.0 : 1.0 / a;
            const double u = 2.0 * (x - c) * inverse / N;
            return std::exp(-0.5 * u * u);
        }
        case kWindowBartlettHann:
            return 0.62 - 0.48 * std::fabs(x / N - 0.5) - 0.38 * std::cos(t);
        case kWindowBlackman:
            return (1.0 - a) / 2.0 - 0.5 * std::cos(t) + (a / 2.0) * std::cos(2.0 * t);
        case kWindowKaiser: {
            const double u = 2.0 * x / N - 1.0;
            return besselI0(a * std::sqrt(1.0 - u * u)) / besselI0(a);
        }
        case kWindowNutall:
            return 0.355768 - 0.487396 * std::cos(t) + 0.144232 * std::cos(2.0 * t) - 0.012604 * std::cos(3.0 * t);
        case kWindowBlackmanHarris:
            return 0.355875 - 0.48829 * std::cos(t) + 0.14128 * std::cos(2.0 * t) - 0.001168 * std::cos(3.0 * t);
        case kWindowBlackmanNutall:
            return 0.3635819 - 0.4891775 * std::cos(t) + 0.1365995 * std::cos(2.0 * t) -
                   0.0106411 * std::cos(3.0 * t);
        case kWindowFlatTop:
            return (1.0 - 1.93 * std::cos(t) + 1.29 * std::cos(2.0 * t) - 0.388 * std::cos(3.0 * t) +
                    0.032 * std::cos(4.0 * t)) /
                   4.64;
        case kWindowRectParam:
            return std::fabs(2.0 * (x - c) / N) < a ? 1.0 : 0.0;
        default:
            return 1.0;
    }
}

void WindowTable::set(int32_t newShape, float mappedParameter) {
    if (newShape == shape && mappedParameter == parameter) return;
    shape = newShape;
    parameter = mappedParameter;
    length = 0;
}

const double* WindowTable::tableFor(int32_t n) {
    if (length != n) {
        table.resize(size_t(n));
        for (int32_t i = 0; i < n; ++i) table[size_t(i)] = windowValue(shape, double(parameter), i, n);
        length = n;
    }
    return table.data();
}

void WindowTable::applyCentred(double* h, int32_t n) {
    if (!h || n <= 0) return;
    const double* w = tableFor(n);
    for (int32_t i = 0; i < n; ++i) h[i] *= w[i];
}

void WindowTable::applyCausal(double* h, int32_t n) {
    if (!h || n <= 0) return;
    const double* w = tableFor(2 * n) + n;
    for (int32_t i = 0; i < n; ++i) h[i] *= w[i];
}
