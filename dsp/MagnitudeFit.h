#pragma once
// Refines one biquad so that its magnitude meets a target on a fixed grid of
// 128 log-spaced digital frequencies: BFGS over b1, b2, a1, a2 with the
// numerator monic and the best gain solved exactly at every evaluation, a
// backtracking line search, and poles kept inside the unit circle.
//
// The grid is that of 44100 Hz at every real rate: w_i = 2 pi f_i / 44100,
// f_i log-spaced from 20 Hz to 22050 Hz. At rate R it reaches from
// 20 R / 44100 Hz to Nyquist.

#include "dsp/DigitalSection.h"

class MagnitudeFit {
public:
    static constexpr int kGridPoints = 128;

    MagnitudeFit();

    // Radians per sample of grid point i (0..127).
    double gridRadians(int i) const;

    // The magnitude to reach at each grid point (the caller's values, kept
    // in single precision).
    void setTarget(const float* values);

    // Refines *section against the target with the rules of `kind` (0..4):
    // the most steps, the start error at or below which nothing is done, and
    // the acceptance test. On acceptance writes {gain, gain b1, gain b2, a1,
    // a2} to *section and returns true; otherwise leaves it and returns false.
    bool refine(DigitalSection* section, int kind);

    // Error of the last refinement at its start and its end (for tests and
    // diagnostics).
    double startError() const { return errorAtStart; }
    double endError() const { return errorAtEnd; }

private:
    // Steps of the search, see the .cpp.
    void buildGrid();
    void polish();
    double evaluate();
    double measure();
    void computeGradient();
    void refineStart();
    int refineStep();
    void loadParameters(double* out) const;
    void storeParameters(const double* in);

    // Fields of the search, see the .cpp.
    double b1 = 0, b2 = 0, a1 = 0, a2 = 0;
    double gain = 1;
    double start[4] = {};
    double trial[4] = {};
    double inverseHessian[4][4] = {};
    double direction[4] = {}, step[4] = {}, gradient[4] = {}, lastGradient[4] = {}, gradientDelta[4] = {},
           hessianDelta[4] = {};
    double target[kGridPoints] = {};
    double w[kGridPoints] = {};
    double cos2w[kGridPoints] = {}, cosw[kGridPoints] = {}, sin2w[kGridPoints] = {}, sinw[kGridPoints] = {};
    double magnitude[kGridPoints] = {};
    double lnLow = 0, lnHigh = 0, lnSpan = 0;
    double maxStep = 0;
    double sampleRate = 44100.0;  // fixed: the grid does not move with the real rate
    double error = 0;  // E at the current parameters
    double errorAtStart = 0, errorAtEnd = 0;
};
