// The convolver's head and spectral products on 256-bit vectors, 2 samples
// of both channels (or 2 complex points) a register. Compiled for its
// instruction set with fused multiply-adds (see dsp/CMakeLists.txt).
#include "dsp/ConvolverKernels.h"

void convolveHeadAvx2(const double* h, int32_t taps, const double* in, double* out, int32_t count) noexcept {
    ConvolverKernelSet<4>::head(h, taps, in, out, count);
}

void multiplySpectraAvx2(const double* x, const double* h, double* acc, int32_t doubles, bool add) noexcept {
    ConvolverKernelSet<4>::product(x, h, acc, doubles, add);
}
