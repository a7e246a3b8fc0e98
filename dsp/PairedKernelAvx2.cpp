// The paired cascade's kernel on 256-bit vectors: two sections of both
// channels a register, four sections in flight two samples apart. Compiled
// for AVX2 without fused multiply-adds (see dsp/CMakeLists.txt); called only
// where the processor has AVX2.
#include "dsp/PairedKernel.h"

void runPairedSectionsAvx2(const PairedSection* sections, int32_t count, double* first, double* second,
                           int32_t n) noexcept {
    runPairedChain<4, 2, 2>(sections, count, first, second, n);
}
