#pragma once
// Word-length reduction: TPDF dither and the quantiser that turns normalised
// samples into integers of the output's word length.
//
// The dither is the sum of two independent uniform sources of one LSB each,
// a triangle over +-1 LSB. Its generator is seeded with a constant, so a
// render is the same file every time it is made.

#include <cstdint>
#include <random>

class TpdfDither {
public:
    static constexpr uint64_t kDefaultSeed = 0x46776c64u;

    explicit TpdfDither(uint64_t seed = kDefaultSeed) : engine(seed) {}

    // The next dither value in LSB: triangular over (-1, 1), mean 0.
    double next() { return uniform() - uniform(); }

private:
    // Uniform in [0, 1) from the top 53 bits, the same on every platform.
    double uniform() { return double(engine() >> 11) * 0x1.0p-53; }

    std::mt19937_64 engine;
};

class Quantiser {
public:
    // bits: the output word length, 8..32.
    Quantiser(int32_t bits, bool dither, uint64_t seed = TpdfDither::kDefaultSeed);

    // A normalised sample (full scale +-1.0) rounded to the word length,
    // returned left-justified in 32 bits as libsndfile's integer writes
    // expect. Out-of-range results are clamped and counted; NaN becomes 0.
    int32_t quantise(double x);

    int32_t bits() const { return wordBits; }
    bool dithers() const { return ditherOn; }
    int64_t clippedCount() const { return clipped; }
    int64_t notNumberCount() const { return notNumbers; }

private:
    int32_t wordBits;
    bool ditherOn;
    TpdfDither dither;
    double scale;     // 2^(bits-1)
    double highest;   // 2^(bits-1) - 1
    double lowest;    // -2^(bits-1)
    int64_t justify;  // 2^(32-bits)
    int64_t clipped = 0;
    int64_t notNumbers = 0;
};
