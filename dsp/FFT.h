#pragma once
// The one FFT of the product, on interleaved doubles: element j of a complex
// array is (a[2j], a[2j + 1]); a length n counts doubles, so a complex
// transform of m points has n = 2m, m a power of two.
//
//   forward: X[k] = sum_j x[j] exp(-2 pi i j k / m)
//   inverse: x[j] = sum_k X[k] exp(+2 pi i j k / m), not scaled (callers scale)
//
// Transforms read twiddle and bit-reversal tables that are prepared ahead,
// off the audio thread; a transform itself never allocates, so a convolver
// may run one on the audio thread with tables it prepared at construction.

#include <cstdint>
#include <vector>

class FftTables {
public:
    FftTables() = default;
    explicit FftTables(int32_t n) { prepare(n); }

    // Makes the tables ready for transforms of up to n doubles (n a power of
    // two, at least 4); they only grow. Allocates: never on the audio thread.
    void prepare(int32_t n);
    // The largest transform, in doubles, the tables are ready for.
    int32_t capacity() const { return prepared; }

private:
    friend struct FftTablesAccess;  // the transforms
    friend void realFft8192(double*, const FftTables&) noexcept;
    int32_t prepared = 0;
    // Run the AVX2 + FMA kernels: set on the first prepare from the processor,
    // unless the environment has FENWOLDRINE_FFT_NARROW (the SSE2 kernels).
    bool wide = false;
    std::vector<double> twiddles;   // layout is the implementation's
    std::vector<int32_t> indices;   // layout is the implementation's
    std::vector<double> realSplit;  // cosine/sine table of the real transform
};

// In place, n doubles. With tables not prepared for n, or n not a power of
// two of at least 4, the data is left as it is.
void fftForward(double* a, int32_t n, const FftTables& tables) noexcept;
void fftInverse(double* a, int32_t n, const FftTables& tables) noexcept;

// The same pair without the reordering, for callers that only multiply
// spectra point by point in between (a convolution): the forward leaves its
// output with the point index bits reversed, and the inverse takes its input
// in that order. Their accuracy is that of the pair above.
void fftForwardToReversed(double* a, int32_t n, const FftTables& tables) noexcept;
void fftInverseFromReversed(double* a, int32_t n, const FftTables& tables) noexcept;

// The analyser's real transform of 8192 doubles, in place. Output: a[0] the
// real part of bin 0, a[1] the real part of bin 4096, a[2k], a[2k + 1] real
// and imaginary part of bin k, with the sign exp(+2 pi i j k / 8192), not
// scaled. Tables must be prepared for 8192.
inline constexpr int32_t kRealFftLength = 8192;
void realFft8192(double* a, const FftTables& tables) noexcept;
