// The convolver's head and spectral products on 512-bit vectors, 4 samples
// of both channels (or 4 complex points) a register. Compiled for its
// instruction set with fused multiply-adds (see dsp/CMakeLists.txt).
#include "dsp/ConvolverKernels.h"

void convolveHeadAvx512(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept {
    ConvolverKernelSet<8>::head(h, taps, in, out, count);
}

void multiplySpectraAvx512(const double* x, const double* h, double* acc, int32_t doubles, bool add) noexcept {
    ConvolverKernelSet<8>::product(x, h, acc, doubles, add);
}
