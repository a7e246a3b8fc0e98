// The complex transform is a decimation in frequency: radix-4 passes from the
// whole array down to blocks of 16 (even log2 m) or 8 points (odd log2 m),
// each block then finished by a fixed in-register butterfly network. Passes
// run depth first: one pass over a span, then the four quarter spans one
// after the other, so everything below a few thousand points runs in L1. The
// result comes out in bit-reversed order and a tiled permutation puts it in
// natural order.
//
// Twiddle table. The pass over a span of L = 2^s points (s >= 5) uses
// w^j, w^2j, w^3j for j < L / 4, w = exp(-2 pi i / L). Up to kLastFullStage
// they are stored ready to multiply, 24 doubles for each pair j, j + 1:
// per factor (wr_j, wr_j, wr_j+1, wr_j+1) then (-wi_j, wi_j, -wi_j+1, wi_j+1),
// so one or two complex values at a time read them alike. Larger spans, whose
// passes wait on memory, store only w^j as (wr, wi) and form the other two
// powers on the fly. Each span's table sits at a fixed offset, so growing
// the tables only appends. The inverse multiplies by the conjugates.
//
// The kernels are written once against a small vector type V holding kLanes
// complex values, and this file includes itself to compile them twice: the
// narrow set (SSE2, one complex value a register; plain doubles off x86) and,
// with GCC on x86-64, a wide set for AVX2 + FMA (two complex values a
// register) that is picked at run time when the processor has it.

#ifndef FW_FFT_KERNELS

#include "dsp/FFT.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__SSE2__)
#define FW_FFT_WIDE 1
#else
#define FW_FFT_WIDE 0
#endif

namespace {

constexpr int kFirstStage = 5;      // log2 of the smallest span with a table pass
constexpr int kLastFullStage = 12;  // log2 of the largest span with the full layout
constexpr int kTileBits = 3;        // the permutation moves 8 x 8 tiles
constexpr int kRealPoints = kRealFftLength / 2;
constexpr int kRealTable = kRealPoints / 2;

constexpr double kSqrtHalf = 0.70710678118654752440;
constexpr double kCosEighthPi = 0.92387953251128675613;
constexpr double kSinEighthPi = 0.38268343236508977173;

size_t stageOffset(int s) {
    const size_t full = size_t(1) << (s <= kLastFullStage ? s : kLastFullStage + 1);
    size_t offset = 3 * (full - (size_t(1) << kFirstStage));
    if (s > kLastFullStage) offset += ((size_t(1) << s) - full) / 2;
    return offset;
}

// exp(+2 pi i k / 2^bits) with exact symmetries: only the first octant goes
// through cos and sin, whose argument is rounded once from long double.
void unitRoot(size_t k, int bits, double& c, double& s) {
    constexpr int kBits = 40;
    const uint64_t full = uint64_t(1) << kBits;
    uint64_t t = (uint64_t(k) << (kBits - bits)) & (full - 1);
    bool negate = false;
    if (t >= full / 2) {
        t -= full / 2;
        negate = true;
    }
    bool quarter = false;  // angle + pi/2: (c, s) -> (-s, c)
    if (t >= full / 4) {
        t -= full / 4;
        quarter = true;
    }
    bool mirror = false;  // pi/2 - angle: (c, s) -> (s, c)
    if (t > full / 8) {
        t = full / 4 - t;
        mirror = true;
    }
    const double angle = double(6.283185307179586476925286766559L * (long double)t / (long double)full);
    double cc = std::cos(angle);
    double ss = std::sin(angle);
    if (mirror) std::swap(cc, ss);
    if (quarter) {
        const double old = cc;
        cc = -ss;
        ss = old;
    }
    if (negate) {
        cc = -cc;
        ss = -ss;
    }
    c = cc;
    s = ss;
}

constexpr std::array<uint8_t, 64> kReverse6 = [] {
    std::array<uint8_t, 64> r{};
    for (int i = 0; i < 64; ++i) {
        int v = 0;
        for (int b = 0; b < 6; ++b)
            if (i & (1 << b)) v |= 1 << (5 - b);
        r[size_t(i)] = uint8_t(v);
    }
    return r;
}();

// ---- one complex value a register ---------------------------------------------

namespace narrow {

constexpr size_t kLanes = 1;

#if defined(__SSE2__)

struct V {
    __m128d v;
};
inline V load(const double* p) { return {_mm_loadu_pd(p)}; }
inline void store(double* p, V a) { _mm_storeu_pd(p, a.v); }
inline V loadLanes(const double* p, size_t) { return load(p); }
inline void storeLanes(double* p, size_t, V a) { store(p, a); }
inline V operator+(V a, V b) { return {_mm_add_pd(a.v, b.v)}; }
inline V operator-(V a, V b) { return {_mm_sub_pd(a.v, b.v)}; }
// z * -i forward, z * +i inverse.
template <bool Inv>
inline V quarterTurn(V a) {
    const __m128d sign = Inv ? _mm_set_pd(0.0, -0.0) : _mm_set_pd(-0.0, 0.0);
    return {_mm_xor_pd(_mm_shuffle_pd(a.v, a.v, 1), sign)};
}
// A factor ready to multiply: r = (wr, wr), i = (-wi, wi).
struct Tw {
    __m128d r, i;
};
inline Tw loadTw(const double* p) { return {_mm_loadu_pd(p), _mm_loadu_pd(p + 4)}; }
inline Tw toTw(V w) {
    return {_mm_unpacklo_pd(w.v, w.v), _mm_xor_pd(_mm_unpackhi_pd(w.v, w.v), _mm_set_pd(0.0, -0.0))};
}
inline Tw constTw(double re, double im) { return {_mm_set1_pd(re), _mm_set_pd(im, -im)}; }
// z w, or z conj(w) for the inverse.
template <bool Inv>
inline V mul(V z, Tw w) {
    const __m128d a = _mm_mul_pd(w.r, z.v);
    const __m128d b = _mm_mul_pd(w.i, _mm_shuffle_pd(z.v, z.v, 1));
    return {Inv ? _mm_sub_pd(a, b) : _mm_add_pd(a, b)};
}

#else

struct V {
    double re, im;
};
inline V load(const double* p) { return {p[0], p[1]}; }
inline void store(double* p, V a) {
    p[0] = a.re;
    p[1] = a.im;
}
inline V loadLanes(const double* p, size_t) { return load(p); }
inline void storeLanes(double* p, size_t, V a) { store(p, a); }
inline V operator+(V a, V b) { return {a.re + b.re, a.im + b.im}; }
inline V operator-(V a, V b) { return {a.re - b.re, a.im - b.im}; }
template <bool Inv>
inline V quarterTurn(V a) {
    return Inv ? V{-a.im, a.re} : V{a.im, -a.re};
}
struct Tw {
    double r, i;
};
inline Tw loadTw(const double* p) { return {p[0], p[5]}; }
inline Tw toTw(V w) { return {w.re, w.im}; }
inline Tw constTw(double re, double im) { return {re, im}; }
template <bool Inv>
inline V mul(V z, Tw w) {
    if (Inv) return {w.r * z.re + w.i * z.im, w.r * z.im - w.i * z.re};
    return {w.r * z.re - w.i * z.im, w.r * z.im + w.i * z.re};
}

#endif

#define FW_FFT_KERNELS
#include "dsp/FFT.cpp"
#undef FW_FFT_KERNELS

}  // namespace narrow

// ---- two complex values a register ----------------------------------------------

#if FW_FFT_WIDE
#pragma GCC push_options
#pragma GCC target("avx2,fma")

namespace wide {

constexpr size_t kLanes = 2;

struct V {
    __m256d v;
};
inline V load(const double* p) { return {_mm256_loadu_pd(p)}; }
inline void store(double* p, V a) { _mm256_storeu_pd(p, a.v); }
// Lane 0 from p, lane 1 from p + step.
inline V loadLanes(const double* p, size_t step) {
    return {_mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p)), _mm_loadu_pd(p + step), 1)};
}
inline void storeLanes(double* p, size_t step, V a) {
    _mm_storeu_pd(p, _mm256_castpd256_pd128(a.v));
    _mm_storeu_pd(p + step, _mm256_extractf128_pd(a.v, 1));
}
inline V operator+(V a, V b) { return {_mm256_add_pd(a.v, b.v)}; }
inline V operator-(V a, V b) { return {_mm256_sub_pd(a.v, b.v)}; }
template <bool Inv>
inline V quarterTurn(V a) {
    const __m256d sign = Inv ? _mm256_set_pd(0.0, -0.0, 0.0, -0.0) : _mm256_set_pd(-0.0, 0.0, -0.0, 0.0);
    return {_mm256_xor_pd(_mm256_shuffle_pd(a.v, a.v, 5), sign)};
}
struct Tw {
    __m256d r, i;
};
inline Tw loadTw(const double* p) { return {_mm256_loadu_pd(p), _mm256_loadu_pd(p + 4)}; }
inline Tw toTw(V w) {
    return {_mm256_unpacklo_pd(w.v, w.v),
            _mm256_xor_pd(_mm256_unpackhi_pd(w.v, w.v), _mm256_set_pd(0.0, -0.0, 0.0, -0.0))};
}
inline Tw constTw(double re, double im) { return {_mm256_set1_pd(re), _mm256_set_pd(im, -im, im, -im)}; }
template <bool Inv>
inline V mul(V z, Tw w) {
    const __m256d a = _mm256_mul_pd(w.r, z.v);
    const __m256d s = _mm256_shuffle_pd(z.v, z.v, 5);
    return {Inv ? _mm256_fnmadd_pd(w.i, s, a) : _mm256_fmadd_pd(w.i, s, a)};
}

#define FW_FFT_KERNELS
#include "dsp/FFT.cpp"
#undef FW_FFT_KERNELS

}  // namespace wide

#pragma GCC pop_options
#endif

bool processorIsWide() {
#if FW_FFT_WIDE
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
    return false;
#endif
}

// Bit-reversal permutation of 2^p points. From 64 points on, index bits
// split as (row: 3 | middle | column: 3); the 8 x 8 tile of middle value b
// trades places with the tile of reversed b, rows read and written whole.
void bitReverse(double* a, int p, const int32_t* reverse, int reverseBits) {
    using narrow::load;
    using narrow::store;
    const size_t m = size_t(1) << p;
    if (p < 2 * kTileBits) {
        for (size_t i = 0; i < m; ++i) {
            const size_t j = size_t(kReverse6[i] >> (6 - p));
            if (i < j) {
                const narrow::V x = load(a + 2 * i), y = load(a + 2 * j);
                store(a + 2 * i, y);
                store(a + 2 * j, x);
            }
        }
        return;
    }
    constexpr int kSide = 1 << kTileBits;
    const size_t row = size_t(1) << (p - kTileBits);
    const int middleBits = p - 2 * kTileBits;
    const size_t tiles = size_t(1) << middleBits;
    int rev3[kSide];
    for (int i = 0; i < kSide; ++i) rev3[i] = kReverse6[size_t(i)] >> (6 - kTileBits);
    narrow::V first[kSide * kSide], second[kSide * kSide];
    for (size_t b = 0; b < tiles; ++b) {
        const size_t partner = size_t(reverse[b]) >> (reverseBits - middleBits);
        if (partner < b) continue;
        double* t1 = a + 2 * kSide * b;
        double* t2 = a + 2 * kSide * partner;
        for (int r = 0; r < kSide; ++r)
            for (int c = 0; c < kSide; ++c) first[r * kSide + c] = load(t1 + 2 * (r * row + size_t(c)));
        if (partner == b) {
            for (int r = 0; r < kSide; ++r)
                for (int c = 0; c < kSide; ++c) store(t1 + 2 * (r * row + size_t(c)), first[rev3[c] * kSide + rev3[r]]);
            continue;
        }
        for (int r = 0; r < kSide; ++r)
            for (int c = 0; c < kSide; ++c) second[r * kSide + c] = load(t2 + 2 * (r * row + size_t(c)));
        for (int r = 0; r < kSide; ++r)
            for (int c = 0; c < kSide; ++c) {
                store(t1 + 2 * (r * row + size_t(c)), second[rev3[c] * kSide + rev3[r]]);
                store(t2 + 2 * (r * row + size_t(c)), first[rev3[c] * kSide + rev3[r]]);
            }
    }
}

// Where the bit-reversed order is left: nowhere, in the output (forward
// only), or in the input (inverse only).
enum class Order { kNatural, kOutputReversed, kInputReversed };

template <bool Inv>
void naturalTransform(double* a, int p, bool wide, const double* twiddles, const int32_t* reverse, int reverseBits,
                      bool reorder) {
    using narrow::V;
    if (p == 1) {
        const V x = narrow::load(a), y = narrow::load(a + 2);
        narrow::store(a, x + y);
        narrow::store(a + 2, x - y);
        return;
    }
    if (p == 2) {
        V v0 = narrow::load(a), v1 = narrow::load(a + 2), v2 = narrow::load(a + 4), v3 = narrow::load(a + 6);
        narrow::bf4<Inv>(v0, v1, v2, v3);
        narrow::store(a, v0);
        narrow::store(a + 2, v2);
        narrow::store(a + 4, v1);
        narrow::store(a + 6, v3);
        return;
    }
    if (p == 3) {
        narrow::block8<Inv>(a, 0);
    } else if (p == 4) {
        narrow::block16<Inv>(a, 0);
    } else {
#if FW_FFT_WIDE
        if (wide)
            wide::decimate<Inv>(a, p, twiddles);
        else
            narrow::decimate<Inv>(a, p, twiddles);
#else
        (void)wide;
        narrow::decimate<Inv>(a, p, twiddles);
#endif
    }
    if (reorder) bitReverse(a, p, reverse, reverseBits);
}

template <bool Inv, Order O>
void transform(double* a, int32_t n, int32_t capacity, bool wide, const double* twiddles, const int32_t* reverse,
               int reverseBits) {
    if (n < 4 || n > capacity || !std::has_single_bit(uint32_t(n))) return;
    const int p = std::countr_zero(uint32_t(n)) - 1;
    if (O == Order::kOutputReversed) {
        // Below 32 points the natural transform is reordered back.
        naturalTransform<Inv>(a, p, wide, twiddles, reverse, reverseBits, p < 5);
        if (p < 5) bitReverse(a, p, reverse, reverseBits);
        return;
    }
    if (O == Order::kInputReversed) {
        if (p < 5) {
            bitReverse(a, p, reverse, reverseBits);
            naturalTransform<Inv>(a, p, wide, twiddles, reverse, reverseBits, true);
            return;
        }
#if FW_FFT_WIDE
        if (wide)
            wide::decimateFromReversed<Inv>(a, p, twiddles);
        else
            narrow::decimateFromReversed<Inv>(a, p, twiddles);
#else
        narrow::decimateFromReversed<Inv>(a, p, twiddles);
#endif
        return;
    }
    naturalTransform<Inv>(a, p, wide, twiddles, reverse, reverseBits, true);
}

}  // namespace

void FftTables::prepare(int32_t n) {
    if (n <= prepared) return;
    constexpr int32_t kLargest = int32_t(1) << 30;
    n = n > kLargest ? kLargest : int32_t(std::bit_ceil(uint32_t(n < 4 ? 4 : n)));
    if (n <= prepared) return;
    if (prepared == 0) wide = processorIsWide() && std::getenv("FENWOLDRINE_FFT_NARROW") == nullptr;
    const int oldTop = prepared == 0 ? 0 : std::countr_zero(uint32_t(prepared)) - 1;
    const int top = std::countr_zero(uint32_t(n)) - 1;

    if (top >= kFirstStage) {
        const int from = oldTop >= kFirstStage ? oldTop + 1 : kFirstStage;
        twiddles.resize(stageOffset(top + 1));
        for (int s = from; s <= top; ++s) {
            double* t = twiddles.data() + stageOffset(s);
            const size_t q = size_t(1) << (s - 2);
            for (size_t j = 0; j < q; ++j) {
                double c, sn;  // w^j = (c, -sn)
                if (s > kLastFullStage) {
                    unitRoot(j, s, c, sn);
                    t[2 * j] = c;
                    t[2 * j + 1] = -sn;
                    continue;
                }
                for (size_t f = 1; f <= 3; ++f) {
                    unitRoot(f * j, s, c, sn);
                    double* w = t + 24 * (j >> 1) + 2 * (j & 1) + 8 * (f - 1);
                    w[0] = c;
                    w[1] = c;
                    w[4] = sn;
                    w[5] = -sn;
                }
            }
        }
    }

    const int bits = top > 2 * kTileBits ? top - 2 * kTileBits : 0;
    indices.assign(size_t(1) << bits, 0);
    for (size_t i = 0; i < indices.size(); ++i) {
        uint32_t v = 0;
        for (int b = 0; b < bits; ++b)
            if (i & (size_t(1) << b)) v |= uint32_t(1) << (bits - 1 - b);
        indices[i] = int32_t(v);
    }

    if (n >= kRealFftLength && realSplit.empty()) {
        realSplit.resize(kRealTable);
        for (int k = 0; k < kRealTable; ++k) {
            double c, s;
            unitRoot(size_t(k), std::countr_zero(uint32_t(kRealFftLength)), c, s);
            realSplit[size_t(k)] = c;
        }
    }
    prepared = n;
}

struct FftTablesAccess {
    template <bool Inv, Order O>
    static void transform(double* a, int32_t n, const FftTables& tables) noexcept {
        ::transform<Inv, O>(a, n, tables.prepared, tables.wide, tables.twiddles.data(), tables.indices.data(),
                            std::countr_zero(tables.indices.size()));
    }
};

void fftForward(double* a, int32_t n, const FftTables& tables) noexcept {
    FftTablesAccess::transform<false, Order::kNatural>(a, n, tables);
}

void fftInverse(double* a, int32_t n, const FftTables& tables) noexcept {
    FftTablesAccess::transform<true, Order::kNatural>(a, n, tables);
}

void fftForwardToReversed(double* a, int32_t n, const FftTables& tables) noexcept {
    FftTablesAccess::transform<false, Order::kOutputReversed>(a, n, tables);
}

void fftInverseFromReversed(double* a, int32_t n, const FftTables& tables) noexcept {
    FftTablesAccess::transform<true, Order::kInputReversed>(a, n, tables);
}

// z = x[2j] + i x[2j + 1] through the 4096-point transform with the positive
// exponent gives Z = E + i O, E and O the transforms of the even and odd
// samples. For 0 < k < 2048, with D = Z[k] - conj Z[4096 - k]:
//   X[k]        = E + P,  X[4096 - k] = conj(E - P),
//   E = (Z[k] + conj Z[4096 - k]) / 2,  P = (sin t - i cos t) D / 2,
// t = 2 pi k / 8192, sin t read from the cosine table as cos at 2048 - k.
// Bin 2048 is Z[2048] as it stands.
void realFft8192(double* a, const FftTables& tables) noexcept {
    if (tables.prepared < kRealFftLength || tables.realSplit.size() < size_t(kRealTable)) return;
    fftInverse(a, kRealFftLength, tables);
    const double* cosine = tables.realSplit.data();
    for (int k = 1; k < kRealTable; ++k) {
        const int j = kRealPoints - k;
        const double zr = a[2 * k], zi = a[2 * k + 1], yr = a[2 * j], yi = a[2 * j + 1];
        const double c = cosine[k], s = cosine[kRealTable - k];
        const double er = 0.5 * (zr + yr), ei = 0.5 * (zi - yi);
        const double dr = zr - yr, di = zi + yi;
        const double pr = 0.5 * (s * dr + c * di), pi = 0.5 * (s * di - c * dr);
        a[2 * k] = er + pr;
        a[2 * k + 1] = ei + pi;
        a[2 * j] = er - pr;
        a[2 * j + 1] = pi - ei;
    }
    const double a0 = a[0], a1 = a[1];
    a[0] = a0 + a1;
    a[1] = a0 - a1;
}

#else  // FW_FFT_KERNELS

// ---- the kernels, on V: kLanes complex values a register --------------------------

// 4-point DFT in place, outputs in bit-reversed slots: (y0, y2, y1, y3).
template <bool Inv>
inline void bf4(V& a0, V& a1, V& a2, V& a3) {
    const V t0 = a0 + a2, t1 = a0 - a2, t2 = a1 + a3, d = quarterTurn<Inv>(a1 - a3);
    a0 = t0 + t2;
    a1 = t0 - t2;
    a2 = t1 + d;
    a3 = t1 - d;
}

// One radix-4 step on the quarters' j-th points x0..x3 with the factors
// w^j, w^2j, w^3j. Forward in decimation: the 4-point DFT, outputs in
// bit-reversed slots, then the factors. FromReversed, its transpose: inputs
// in bit-reversed slots (Y0, Y2, Y1, Y3 of the span's quarters), the factors
// first, then the 4-point DFT with its outputs in natural order.
template <bool Inv, bool FromReversed>
inline void radix4(double* x0, double* x1, double* x2, double* x3, const Tw& w1, const Tw& w2, const Tw& w3) {
    if constexpr (FromReversed) {
        const V a0 = load(x0), a1 = mul<Inv>(load(x1), w2), a2 = mul<Inv>(load(x2), w1), a3 = mul<Inv>(load(x3), w3);
        const V t0 = a0 + a1, t1 = a0 - a1, t2 = a2 + a3, d = quarterTurn<Inv>(a2 - a3);
        store(x0, t0 + t2);
        store(x1, t1 + d);
        store(x2, t0 - t2);
        store(x3, t1 - d);
    } else {
        V a0 = load(x0), a1 = load(x1), a2 = load(x2), a3 = load(x3);
        bf4<Inv>(a0, a1, a2, a3);
        store(x0, a0);
        store(x1, mul<Inv>(a1, w2));
        store(x2, mul<Inv>(a2, w1));
        store(x3, mul<Inv>(a3, w3));
    }
}

// One radix-4 pass over a span of 4q points, factors in the full layout.
template <bool Inv, bool FromReversed = false>
void passFull(double* a, size_t q, const double* tw) {
    double* p1 = a + 2 * q;
    double* p2 = a + 4 * q;
    double* p3 = a + 6 * q;
    for (size_t j = 0; j < q; j += kLanes) {
        const size_t o = 2 * j;
        const double* w = tw + 24 * (j >> 1) + 2 * (j & 1);
        radix4<Inv, FromReversed>(a + o, p1 + o, p2 + o, p3 + o, loadTw(w), loadTw(w + 8), loadTw(w + 16));
    }
}

// The same with only w^j stored: the other two powers are made from it.
template <bool Inv, bool FromReversed = false>
void passCompact(double* a, size_t q, const double* tw) {
    double* p1 = a + 2 * q;
    double* p2 = a + 4 * q;
    double* p3 = a + 6 * q;
    for (size_t j = 0; j < q; j += kLanes) {
        const size_t o = 2 * j;
        const V w1 = load(tw + o);
        const Tw t1 = toTw(w1);
        const V w2 = mul<false>(w1, t1);
        radix4<Inv, FromReversed>(a + o, p1 + o, p2 + o, p3 + o, t1, toTw(w2), toTw(mul<false>(w2, t1)));
    }
}

// The 16-point DFT of v in place, outputs in bit-reversed slots.
template <bool Inv>
inline void network16(V* v) {
    for (int j = 0; j < 4; ++j) bf4<Inv>(v[j], v[j + 4], v[j + 8], v[j + 12]);
    const Tw w1 = constTw(kCosEighthPi, -kSinEighthPi);
    const Tw w2 = constTw(kSqrtHalf, -kSqrtHalf);
    const Tw w3 = constTw(kSinEighthPi, -kCosEighthPi);
    const Tw w6 = constTw(-kSqrtHalf, -kSqrtHalf);
    const Tw w9 = constTw(-kCosEighthPi, kSinEighthPi);
    v[5] = mul<Inv>(v[5], w2);
    v[9] = mul<Inv>(v[9], w1);
    v[13] = mul<Inv>(v[13], w3);
    v[6] = quarterTurn<Inv>(v[6]);
    v[10] = mul<Inv>(v[10], w2);
    v[14] = mul<Inv>(v[14], w6);
    v[7] = mul<Inv>(v[7], w6);
    v[11] = mul<Inv>(v[11], w3);
    v[15] = mul<Inv>(v[15], w9);
    for (int g = 0; g < 16; g += 4) bf4<Inv>(v[g], v[g + 1], v[g + 2], v[g + 3]);
}

// The 8-point DFT of v in place, outputs in bit-reversed slots.
template <bool Inv>
inline void network8(V* v) {
    for (int j = 0; j < 4; ++j) {
        const V s = v[j] + v[j + 4], d = v[j] - v[j + 4];
        v[j] = s;
        v[j + 4] = d;
    }
    v[5] = mul<Inv>(v[5], constTw(kSqrtHalf, -kSqrtHalf));
    v[6] = quarterTurn<Inv>(v[6]);
    v[7] = mul<Inv>(v[7], constTw(-kSqrtHalf, -kSqrtHalf));
    bf4<Inv>(v[0], v[1], v[2], v[3]);
    bf4<Inv>(v[4], v[5], v[6], v[7]);
}

// kLanes blocks of N (8 or 16) contiguous points, step doubles apart: the DFT
// of each in bit-reversed order; or, with FromReversed, the DFT of the block
// read in bit-reversed order, in natural order. Reading and writing through
// the reversal only renames registers (the network is the same: the
// transpose of "DFT then reverse" is "reverse then DFT").
template <int N, bool Inv, bool FromReversed>
inline void leafBlock(double* a, size_t step) {
    constexpr int kBits = N == 16 ? 4 : 3;
    V v[N];
    for (int k = 0; k < N; ++k) {
        const int at = FromReversed ? int(kReverse6[size_t(k)] >> (6 - kBits)) : k;
        v[k] = loadLanes(a + 2 * at, step);
    }
    if constexpr (N == 16)
        network16<Inv>(v);
    else
        network8<Inv>(v);
    for (int k = 0; k < N; ++k) {
        const int at = FromReversed ? int(kReverse6[size_t(k)] >> (6 - kBits)) : k;
        storeLanes(a + 2 * at, step, v[k]);
    }
}

template <bool Inv>
inline void block16(double* a, size_t step) {
    leafBlock<16, Inv, false>(a, step);
}

template <bool Inv>
inline void block8(double* a, size_t step) {
    leafBlock<8, Inv, false>(a, step);
}

// The DFT of 2^p points (p >= 5), bit-reversed, depth first.
template <bool Inv>
void decimate(double* a, int p, const double* twiddles) {
    const size_t q = size_t(1) << (p - 2);
    const double* tw = twiddles + stageOffset(p);
    if (p <= kLastFullStage)
        passFull<Inv>(a, q, tw);
    else
        passCompact<Inv>(a, q, tw);
    if (p == 5) {
        for (size_t r = 0; r < 4; r += kLanes) block8<Inv>(a + 2 * r * q, 2 * q);
    } else if (p == 6) {
        for (size_t r = 0; r < 4; r += kLanes) block16<Inv>(a + 2 * r * q, 2 * q);
    } else {
        for (size_t r = 0; r < 4; ++r) decimate<Inv>(a + 2 * r * q, p - 2, twiddles);
    }
}

// The DFT of 2^p points (p >= 5) given in bit-reversed order, natural order
// out: the transpose of decimate, its steps in the opposite order.
template <bool Inv>
void decimateFromReversed(double* a, int p, const double* twiddles) {
    const size_t q = size_t(1) << (p - 2);
    if (p == 5) {
        for (size_t r = 0; r < 4; r += kLanes) leafBlock<8, Inv, true>(a + 2 * r * q, 2 * q);
    } else if (p == 6) {
        for (size_t r = 0; r < 4; r += kLanes) leafBlock<16, Inv, true>(a + 2 * r * q, 2 * q);
    } else {
        for (size_t r = 0; r < 4; ++r) decimateFromReversed<Inv>(a + 2 * r * q, p - 2, twiddles);
    }
    const double* tw = twiddles + stageOffset(p);
    if (p <= kLastFullStage)
        passFull<Inv, true>(a, q, tw);
    else
        passCompact<Inv, true>(a, q, tw);
}

#endif  // FW_FFT_KERNELS
