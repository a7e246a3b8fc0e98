#pragma once
// One biquad: (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2).
struct DigitalSection {
    double b0, b1, b2, a1, a2;
};
