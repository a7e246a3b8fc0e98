// The paired cascade's kernel on 512-bit vectors: four sections of both
// channels a register, sixteen sections in flight two samples apart.
// Compiled for AVX-512F without fused multiply-adds (see dsp/CMakeLists.txt);
// called only where the processor has AVX-512F.
#include "dsp/PairedKernel.h"

void runPairedSectionsAvx512(const PairedSection* sections, int32_t count, double* first, double* second,
                             int32_t n) noexcept {
    runPairedChain<8, 4, 4>(sections, count, first, second, n);
}
