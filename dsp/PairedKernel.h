#pragma once
// The paired cascade's kernel for one vector width, included by the file of
// each instruction set it is compiled for (hence the unnamed namespace: every
// such file keeps its own copy, built for its own registers).
//
// A vector of W doubles holds W / 2 sections of both channels: lane 2k the
// first channel, lane 2k + 1 the second. The sections of a group run
// staggered: section j works on sample t - j at step t, so within a step no
// section waits on another, and the recursions of many sections overlap.
// Each lane does the scalar loop's operations in the scalar loop's order,
// and the files are compiled without fused multiply-adds, so the output is
// bit for bit that of running the sections one after the other.
//
// Audio thread: no allocation, no locks.

#include <cmath>
#include <cstdint>
#include <cstring>

#include "dsp/DigitalSection.h"

namespace {

template <int W>
struct PairedLanes {
    typedef double Vec __attribute__((vector_size(W * sizeof(double))));
    typedef int64_t Mask __attribute__((vector_size(W * sizeof(int64_t))));
};

// `V` vectors of `W` lanes: up to V * W / 2 sections in flight. Section j
// takes sample t - D j at step t: with D = 2 a section's input was made two
// steps before, so the path through the feed-forward terms spans two steps
// and only the recursion bounds a step (worth it when few sections are in
// flight and the steps, not the arithmetic, set the pace).
template <int W, int V, int D = 1>
class StaggeredSections {
public:
    using Vec = typename PairedLanes<W>::Vec;
    using Mask = typename PairedLanes<W>::Mask;
    static constexpr int kPerVector = W / 2;
    static constexpr int kMost = V * kPerVector;

    // The first `count` (1 to kMost) of `s` in flight; lanes past them stay
    // idle and feed nothing.
    StaggeredSections(const PairedSection* s, int32_t count) noexcept : used(count) {
        for (int v = 0; v < V; ++v) {
            b0[v] = b1[v] = b2[v] = a1[v] = a2[v] = Vec{};
            sb0[v] = sb1[v] = sb2[v] = sa1[v] = sa2[v] = rampBase[v] = Vec{};
            x1[v] = x2[v] = y1[v] = y2[v] = Vec{};
            for (int d = 0; d < D; ++d) carry[d][v] = Vec{};
            for (int k = 0; k < kPerVector; ++k) {
                const int j = v * kPerVector + k;
                lane[v][2 * k] = lane[v][2 * k + 1] = double(D * j);
                if (j >= count) continue;
                const DigitalSection& a = s[j].first;
                const DigitalSection& b = s[j].second;
                const double* ha = s[j].firstHistory;
                const double* hb = s[j].secondHistory;
                set(b0[v], k, a.b0, b.b0), set(b1[v], k, a.b1, b.b1), set(b2[v], k, a.b2, b.b2);
                set(a1[v], k, a.a1, b.a1), set(a2[v], k, a.a2, b.a2);
                set(x1[v], k, ha[0], hb[0]), set(x2[v], k, ha[1], hb[1]);
                set(y1[v], k, ha[2], hb[2]), set(y2[v], k, ha[3], hb[3]);
                const DigitalSection& da = s[j].firstStep;
                const DigitalSection& db = s[j].secondStep;
                set(sb0[v], k, da.b0, db.b0), set(sb1[v], k, da.b1, db.b1), set(sb2[v], k, da.b2, db.b2);
                set(sa1[v], k, da.a1, db.a1), set(sa2[v], k, da.a2, db.a2);
                // The ramp position of the lane's sample at step t is rampBase - t.
                set(rampBase[v], k, double(s[j].firstRamp) + double(D * j), double(s[j].secondRamp) + double(D * j));
                const double steps[10] = {da.b0, da.b1, da.b2, da.a1, da.a2, db.b0, db.b1, db.b2, db.a1, db.a2};
                for (const double d : steps) ramping = ramping || !(d == 0.0);
                ramping = ramping || s[j].firstRamp != 0 || s[j].secondRamp != 0;
            }
        }
    }

    void run(double* xa, double* xb, int32_t n) noexcept {
        // Steps where some section has no sample (the first and the last
        // D (used - 1)) check each lane; the steps between run every section.
        const int32_t lag = D * (used - 1);
        const int32_t steps = n + lag;
        const int32_t fullFrom = lag, fullTo = n;
        int32_t t = 0;
        if (ramping) {
            for (; t < steps && t < fullFrom; ++t) step<true, true>(t, xa, xb, n);
            for (; t < fullTo; ++t) step<false, true>(t, xa, xb, n);
            for (; t < steps; ++t) step<true, true>(t, xa, xb, n);
        } else {
            for (; t < steps && t < fullFrom; ++t) step<true, false>(t, xa, xb, n);
            for (; t < fullTo; ++t) step<false, false>(t, xa, xb, n);
            for (; t < steps; ++t) step<true, false>(t, xa, xb, n);
        }
    }

    void store(const PairedSection* s) const noexcept {
        for (int j = 0; j < used; ++j) {
            const int v = j / kPerVector, k = j % kPerVector;
            double* ha = s[j].firstHistory;
            double* hb = s[j].secondHistory;
            ha[0] = x1[v][2 * k], ha[1] = x2[v][2 * k], ha[2] = y1[v][2 * k], ha[3] = y2[v][2 * k];
            hb[0] = x1[v][2 * k + 1], hb[1] = x2[v][2 * k + 1], hb[2] = y1[v][2 * k + 1], hb[3] = y2[v][2 * k + 1];
            clearNonFinite(ha);
            clearNonFinite(hb);
        }
    }

private:
    static void set(Vec& to, int k, double first, double second) noexcept {
        to[2 * k] = first;
        to[2 * k + 1] = second;
    }

    // One non-finite sample must not poison the band for good.
    static void clearNonFinite(double* h) noexcept {
        if (!std::isfinite(h[0]) || !std::isfinite(h[1]) || !std::isfinite(h[2]) || !std::isfinite(h[3]))
            std::memset(h, 0, sizeof(double) * 4);
    }

    // The lanes of a vector moved two places up: the two lowest from `below`'s
    // two highest (or the new samples), the rest from `self`.
    static Vec shifted(const Vec& below, const Vec& self) noexcept {
        if constexpr (W == 2) {
            (void)self;
            return below;
        } else if constexpr (W == 4) {
            return __builtin_shufflevector(below, self, 2, 3, 4, 5);
        } else {
            return __builtin_shufflevector(below, self, 6, 7, 8, 9, 10, 11, 12, 13);
        }
    }

    template <bool Checked, bool Ramping>
    inline void step(int32_t t, double* xa, double* xb, int32_t n) noexcept {
        // Every section reads what the one before it gave D steps before.
        Vec fresh{};
        if (!Checked || t < n) {
            fresh[W - 2] = xa[t];
            fresh[W - 1] = xb[t];
        }
        const Vec* given = carry[D - 1];
        Vec in[V];
        in[0] = shifted(fresh, given[0]);
        for (int v = 1; v < V; ++v) in[v] = shifted(given[v - 1], given[v]);
        if constexpr (D > 1) {
            for (int d = D - 1; d > 0; --d)
                for (int v = 0; v < V; ++v) carry[d][v] = carry[d - 1][v];
        }
        const double now = double(t);
        for (int v = 0; v < V; ++v) {
            Vec y;
            if constexpr (Ramping) {
                // A ramping lane's coefficients at its sample, as the single
                // band's loop computes them: target - position * step, the
                // position held at 0 once the ramp has ended.
                Vec position = rampBase[v] - now;
                position = position > 0.0 ? position : Vec{};
                const Vec c0 = b0[v] - position * sb0[v], c1 = b1[v] - position * sb1[v];
                const Vec c2 = b2[v] - position * sb2[v], c3 = a1[v] - position * sa1[v];
                const Vec c4 = a2[v] - position * sa2[v];
                y = c0 * in[v] + c1 * x1[v] + c2 * x2[v] - c3 * y1[v] - c4 * y2[v];
            } else {
                y = b0[v] * in[v] + b1[v] * x1[v] + b2[v] * x2[v] - a1[v] * y1[v] - a2[v] * y2[v];
            }
            if constexpr (Checked) {
                // A lane whose section has no sample at this step keeps its state.
                const Mask live = (lane[v] <= now) & (lane[v] > now - double(n));
                x2[v] = live ? x1[v] : x2[v];
                x1[v] = live ? in[v] : x1[v];
                y2[v] = live ? y1[v] : y2[v];
                y1[v] = live ? y : y1[v];
            } else {
                x2[v] = x1[v];
                x1[v] = in[v];
                y2[v] = y1[v];
                y1[v] = y;
            }
            carry[0][v] = y;
        }
        // The last used section has finished sample t - D (used - 1).
        const int32_t i = t - D * (used - 1);
        if (!Checked || (i >= 0 && i < n)) {
            const int last = used - 1;
            const int v = last / kPerVector, k = last % kPerVector;
            xa[i] = carry[0][v][2 * k];
            xb[i] = carry[0][v][2 * k + 1];
        }
    }

    const int32_t used;
    bool ramping = false;
    Vec b0[V], b1[V], b2[V], a1[V], a2[V];      // at rest the coefficients, ramping their targets
    Vec sb0[V], sb1[V], sb2[V], sa1[V], sa2[V];  // ramp steps (zero at rest)
    Vec rampBase[V];
    Vec x1[V], x2[V], y1[V], y2[V];
    Vec carry[D][V];  // what each section gave 1 to D steps before
    Vec lane[V];      // each lane's first sample's step: D times its section number
};

template <int W, int V, int D>
void runStaggered(const PairedSection* s, int32_t count, double* xa, double* xb, int32_t n) noexcept {
    StaggeredSections<W, V, D> group(s, count);
    group.run(xa, xb, n);
    group.store(s);
}

// All `count` sections, in groups of as many as the widest group holds; the
// last group takes the fewest vectors that hold what is left, and groups of
// `DeepFrom` vectors or fewer take the deeper stagger.
template <int W, int V, int DeepFrom>
void runPairedChain(const PairedSection* s, int32_t count, double* xa, double* xb, int32_t n) noexcept {
    constexpr int D = V <= DeepFrom ? 2 : 1;
    constexpr int32_t kMost = StaggeredSections<W, V, D>::kMost;
    int32_t done = 0;
    for (; done + kMost <= count; done += kMost) runStaggered<W, V, D>(s + done, kMost, xa, xb, n);
    const int32_t left = count - done;
    if (left <= 0) return;
    if constexpr (V > 1) {
        constexpr int32_t kPer = W / 2;
        if (left <= (V - 1) * kPer) {
            runPairedChain<W, V - 1, DeepFrom>(s + done, left, xa, xb, n);
            return;
        }
    }
    runStaggered<W, V, D>(s + done, left, xa, xb, n);
}

}  // namespace
