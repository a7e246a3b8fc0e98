#include "tools/render/Dither.h"

#include <algorithm>
#include <cmath>

Quantiser::Quantiser(int32_t bits, bool ditherWanted, uint64_t seed)
    : wordBits(std::clamp(bits, 8, 32)), ditherOn(ditherWanted), dither(seed) {
    scale = std::ldexp(1.0, wordBits - 1);
    highest = scale - 1.0;
    lowest = -scale;
    justify = int64_t(1) << (32 - wordBits);
}

int32_t Quantiser::quantise(double x) {
    if (std::isnan(x)) {
        ++notNumbers;
        x = 0.0;
    }
    double y = x * scale;  // infinities stay infinite and clamp below
    if (ditherOn) y += dither.next();
    y = std::floor(y + 0.5);
    if (y > highest) {
        y = highest;
        ++clipped;
    } else if (y < lowest) {
        y = lowest;
        ++clipped;
    }
    return int32_t(int64_t(y) * justify);
}
