#pragma once
// Choosing the vector set a kernel runs on, once, at start: the widest the
// processor has, unless the environment variable names one it has ("sse2",
// "avx2" or "avx512"). Set is an enumeration with kSse2, kAvx2 and kAvx512.

#include <cstdlib>
#include <cstring>

// Whether the processor runs kernels built for the set (and for fused
// multiply-add too, when they are built with it).
template <typename Set>
bool processorRuns(Set set, bool fusedMultiplyAdd) {
    if (set == Set::kSse2) return true;
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (fusedMultiplyAdd && !__builtin_cpu_supports("fma")) return false;
    if (set == Set::kAvx2) return __builtin_cpu_supports("avx2");
    if (set == Set::kAvx512) return __builtin_cpu_supports("avx512f");
#endif
    return false;
}

template <typename Set>
Set widestVectorSet(const char* variable, bool (*has)(Set)) {
    Set best = Set::kSse2;
    for (const Set set : {Set::kAvx2, Set::kAvx512})
        if (has(set)) best = set;
    if (const char* named = std::getenv(variable)) {
        const struct {
            const char* name;
            Set set;
        } names[] = {{"sse2", Set::kSse2}, {"avx2", Set::kAvx2}, {"avx512", Set::kAvx512}};
        for (const auto& n : names)
            if (std::strcmp(named, n.name) == 0 && has(n.set)) best = n.set;
    }
    return best;
}
