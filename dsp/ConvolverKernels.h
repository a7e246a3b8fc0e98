#pragma once
// The convolver's two inner loops for one vector width, included by the file
// of each instruction set it is compiled for (hence the unnamed namespace:
// every such file keeps its own copy, built for its own registers). The data
// is interleaved pairs (first channel, second channel), so a vector of W
// doubles holds W / 2 samples of both channels, or W / 2 complex points.
//
// Audio thread: no allocation, no locks.

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
// The wide sets, each in a file compiled for its instruction set; called only
// where the processor has it.
void convolveHeadAvx2(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept;
void multiplySpectraAvx2(const double* x, const double* h, double* acc, int32_t doubles, bool add) noexcept;
void convolveHeadAvx512(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept;
void multiplySpectraAvx512(const double* x, const double* h, double* acc, int32_t doubles, bool add) noexcept;
#endif

namespace {

template <int W>
struct ConvolverVector {
    typedef double Vec __attribute__((vector_size(W * sizeof(double))));
};

template <int W>
struct ConvolverLanes {
    using Vec = typename ConvolverVector<W>::Vec;

    static Vec load(const double* p) noexcept {
        Vec v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    static void store(double* p, Vec v) noexcept { std::memcpy(p, &v, sizeof v); }

    // (re, re) and (im, im) of each complex point, and (im, re) swapped.
    static Vec realParts(Vec v) noexcept {
        if constexpr (W == 2) return __builtin_shufflevector(v, v, 0, 0);
        else if constexpr (W == 4) return __builtin_shufflevector(v, v, 0, 0, 2, 2);
        else return __builtin_shufflevector(v, v, 0, 0, 2, 2, 4, 4, 6, 6);
    }
    static Vec imaginaryParts(Vec v) noexcept {
        if constexpr (W == 2) return __builtin_shufflevector(v, v, 1, 1);
        else if constexpr (W == 4) return __builtin_shufflevector(v, v, 1, 1, 3, 3);
        else return __builtin_shufflevector(v, v, 1, 1, 3, 3, 5, 5, 7, 7);
    }
    static Vec swapped(Vec v) noexcept {
        if constexpr (W == 2) return __builtin_shufflevector(v, v, 1, 0);
        else if constexpr (W == 4) return __builtin_shufflevector(v, v, 1, 0, 3, 2);
        else return __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6);
    }
    // (-1, +1) repeated: the signs of the cross terms of a complex product.
    static Vec crossSigns() noexcept {
        Vec s{};
        for (int i = 0; i < W; ++i) s[i] = (i & 1) ? 1.0 : -1.0;
        return s;
    }
};

// The direct head of the impulse on interleaved pairs: for each double d in
// [0, count), out[d] = sum over k < taps of h[k] * in[d - 2k], so both
// channels at once. `count` is a multiple of W; in[-2 (taps - 1)] and on
// must be readable.
template <int W>
void convolveHead(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept {
    using L = ConvolverLanes<W>;
    using Vec = typename L::Vec;
    int32_t d = 0;
    // Four vectors of outputs a pass over the taps: four sums in flight
    // share each tap's broadcast.
    for (; d + 4 * W <= count; d += 4 * W) {
        Vec a0{}, a1{}, a2{}, a3{};
        const double* p = in + d;
        for (int32_t k = 0; k < taps; ++k, p -= 2) {
            const Vec t = Vec{} + h[k];
            a0 += t * L::load(p);
            a1 += t * L::load(p + W);
            a2 += t * L::load(p + 2 * W);
            a3 += t * L::load(p + 3 * W);
        }
        L::store(out + d, a0);
        L::store(out + d + W, a1);
        L::store(out + d + 2 * W, a2);
        L::store(out + d + 3 * W, a3);
    }
    for (; d < count; d += W) {
        Vec a{};
        const double* p = in + d;
        for (int32_t k = 0; k < taps; ++k, p -= 2) a += (Vec{} + h[k]) * L::load(p);
        L::store(out + d, a);
    }
}

// Complex products of interleaved spectra, `doubles` of them (a multiple of
// W): acc = x h, or acc += x h.
template <int W, bool Add>
void multiplySpectra(const double* x, const double* h, double* acc, int32_t doubles) noexcept {
    using L = ConvolverLanes<W>;
    using Vec = typename L::Vec;
    const Vec signs = L::crossSigns();
    for (int32_t i = 0; i < doubles; i += W) {
        const Vec xv = L::load(x + i), hv = L::load(h + i);
        const Vec product = L::realParts(xv) * hv + L::imaginaryParts(xv) * L::swapped(hv) * signs;
        L::store(acc + i, Add ? L::load(acc + i) + product : product);
    }
}

// The kernels of one width behind one pair of plain functions.
template <int W>
struct ConvolverKernelSet {
    static void head(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept {
        convolveHead<W>(h, taps, in, out, count);
    }
    static void product(const double* x, const double* h, double* acc, int32_t doubles, bool add) noexcept {
        if (add)
            multiplySpectra<W, true>(x, h, acc, doubles);
        else
            multiplySpectra<W, false>(x, h, acc, doubles);
    }
};

}  // namespace
