#pragma once
// One biquad: (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2).

#include <cstdint>

struct DigitalSection {
    double b0, b1, b2, a1, a2;
};

// The same section of two channels' bands, with their histories (x1, x2,
// y1, y2), to be run side by side. At sample i of the block a channel's
// coefficients are `first - max(firstRamp - i, 0) * firstStep` (the same for
// `second`): a band at rest has a zero step, and a ramping band reaches its
// target `first` where the ramp ends.
struct PairedSection {
    DigitalSection first, second;
    double* firstHistory;
    double* secondHistory;
    DigitalSection firstStep{}, secondStep{};
    int32_t firstRamp = 0, secondRamp = 0;
};
