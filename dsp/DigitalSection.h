#pragma once
// One biquad: (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2).
struct DigitalSection {
    double b0, b1, b2, a1, a2;
};

// The same section of two channels' bands, with their histories (x1, x2,
// y1, y2), to be run side by side.
struct PairedSection {
    DigitalSection first, second;
    double* firstHistory;
    double* secondHistory;
};
