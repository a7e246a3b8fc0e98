#pragma once
// The sixteen windows of the FIR modes, periodic (denominator N), and the
// cached table of one of them at one length. Changing the shape or the
// parameter clears the cache, so the next use rebuilds it.

#include <cstdint>
#include <vector>

enum WindowShape : int32_t {
    kWindowRectangular = 0,
    kWindowHann,
    kWindowHamming,
    kWindowTukey,
    kWindowCosine,
    kWindowLanczos,
    kWindowTriangular,
    kWindowGaussian,
    kWindowBartlettHann,
    kWindowBlackman,
    kWindowKaiser,
    kWindowNutall,
    kWindowBlackmanHarris,
    kWindowBlackmanNutall,
    kWindowFlatTop,
    kWindowRectParam,
    kWindowShapeCount,
};

// The user's parameter p in 0..1 as the shape uses it (Tukey and Rect-Param
// p, Gaussian 10^(3p) / 100, Blackman 0.32p in single precision, Kaiser
// 12 (2p)^5, the others 0).
float mapWindowParameter(int32_t shape, float p);

// Modified Bessel function of the first kind, order 0, in the handbook's
// polynomial approximation (the Kaiser windows use it).
double besselI0(double x);

// w[i] of the shape with the mapped parameter a, for a table of n entries.
double windowValue(int32_t shape, double a, int32_t i, int32_t n);

class WindowTable {
public:
    // Shape and mapped parameter; a change clears the cached table.
    void set(int32_t shape, float mappedParameter);
    int32_t getShape() const { return shape; }
    float getParameter() const { return parameter; }

    // h[i] *= w[i] for i < n, the table built for length n.
    void applyCentred(double* h, int32_t n);
    // h[i] *= w[n + i] for i < n, the table built for length 2n: the falling
    // half of a double-length window, its peak on time zero.
    void applyCausal(double* h, int32_t n);

private:
    const double* tableFor(int32_t n);
    int32_t shape = 10;
    float parameter = 0.0f;
    std::vector<double> table;
    int32_t length = 0;
};
