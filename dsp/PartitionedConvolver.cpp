#include "dsp/PartitionedConvolver.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <thread>

// Layout. Level v works on partition B = 2^v, the taps h[B] .. h[2B - 1].
//
//   live, staged (4 L doubles): [0] and [2] hold h[0]; partition B sits at
//       4 B and takes 4 B doubles. Up to 16 taps: the taps in time order at
//       4 B (first channel) and again at 4 B + 2 B (second channel). From 32
//       taps: the spectrum of the taps zero-padded to 2 B complex points.
//   history (2 L doubles): [0], [1] the previous input pair; the input block
//       of level B at 2 B, B complex slots (first channel real, second
//       imaginary).
//   tail (4 L doubles): level B at 4 B; its output store (B complex points)
//       then its overlap tail (B complex points).
//   fftWork (2 L doubles): one block transform of 2 B complex points, for
//       the largest B = L / 2.
//
// Each level receives the previous input sample, so a block completing on
// sample n has its first output value due on sample n itself: the levels
// add no latency. Level B completes a block when position = B / 2 mod B,
// which is a different sample for every B, so at most one transform runs
// per sample.

namespace {

constexpr int32_t kLargestDirect = 16;  // the first transformed level has 32 taps

// Full linear convolution of a block of b complex slots with b taps per
// channel: the first b values, plus the old tail, into out; the last b into
// the tail.
void convolveDirect(const double* block, const double* taps1, const double* taps2, double* out, double* tail,
                    int32_t b) noexcept {
    for (int32_t i = 0; i < 2 * b; ++i) {
        const int32_t kFirst = std::max(0, i - b + 1);
        const int32_t kLast = std::min(i, b - 1);
        double s1 = 0.0, s2 = 0.0;
        for (int32_t k = kFirst; k <= kLast; ++k) {
            s1 += taps1[k] * block[2 * (i - k)];
            s2 += taps2[k] * block[2 * (i - k) + 1];
        }
        if (i < b) {
            out[2 * i] = tail[2 * i] + s1;
            out[2 * i + 1] = tail[2 * i + 1] + s2;
        } else {
            tail[2 * (i - b)] = s1;
            tail[2 * (i - b) + 1] = s2;
        }
    }
}

}  // namespace

PartitionedConvolver::PartitionedConvolver(int32_t requested) {
    length = int32_t(std::bit_ceil(uint32_t(std::max(requested, int32_t(2)))));
    mask = length - 1;
    levels = std::countr_zero(uint32_t(length));
    const size_t n = size_t(length);
    history = std::make_unique<double[]>(2 * n);
    tail = std::make_unique<double[]>(4 * n);
    live = std::make_unique<double[]>(4 * n);
    staged = std::make_unique<double[]>(4 * n);
    if (length / 2 > kLargestDirect) {
        fftWork = std::make_unique<double[]>(2 * n);
        tables.prepare(2 * length);
    }
}

PartitionedConvolver::~PartitionedConvolver() = default;

void PartitionedConvolver::stageImpulse(const double* h) {
    // Take the staging buffer back: an impulse still waiting is replaced;
    // while the audio thread swaps, wait for the swap (a few instructions).
    for (;;) {
        int32_t state = pending.load(std::memory_order_acquire);
        if (state == kAdopting) {
            std::this_thread::yield();
            continue;
        }
        if (state == kStaged && !pending.compare_exchange_weak(state, kIdle, std::memory_order_acq_rel)) continue;
        break;
    }
    double* s = staged.get();
    std::fill(s, s + 4 * size_t(length), 0.0);
    s[0] = s[2] = h[0];
    for (int32_t b = 1; b < length; b *= 2) {
        double* part = s + 4 * b;
        if (b <= kLargestDirect) {
            std::copy(h + b, h + 2 * b, part);
            std::copy(h + b, h + 2 * b, part + 2 * b);
        } else {
            for (int32_t k = 0; k < b; ++k) part[2 * k] = h[b + k];
            fftForward(part, 4 * b, tables);
        }
    }
    pending.store(kStaged, std::memory_order_release);
}

void PartitionedConvolver::processMono(double x, double* y) noexcept {
    double unused;
    processStereo(x, 0.0, y, &unused);
}

void PartitionedConvolver::processStereo(double x1, double x2, double* y1, double* y2) noexcept {
    int32_t staging = kStaged;
    if (pending.compare_exchange_strong(staging, kAdopting, std::memory_order_acquire)) {
        // A swap, not a copy: adopting even the longest impulse costs nothing.
        std::swap(live, staged);
        pending.store(kIdle, std::memory_order_release);
    }
    const double* h = live.get();
    double* hist = history.get();
    double acc1 = h[0] * x1;
    double acc2 = h[2] * x2;
    const double d1 = hist[0], d2 = hist[1];
    hist[0] = x1;
    hist[1] = x2;

    for (int32_t v = 0; v < levels; ++v) {
        const int32_t b = int32_t(1) << v;
        const int32_t p = (b / 2 - 1 + position) & (b - 1);
        double* block = hist + 2 * b;
        double* out = tail.get() + 4 * b;
        double* overlap = out + 2 * b;
        block[2 * p] = d1;
        block[2 * p + 1] = d2;
        int32_t read = p + 1;
        if (p == b - 1) {
            read = 0;
            const double* part = h + 4 * b;
            if (b <= kLargestDirect) {
                convolveDirect(block, part, part + 2 * b, out, overlap, b);
            } else {
                double* w = fftWork.get();
                std::copy(block, block + 2 * b, w);
                std::fill(w + 2 * b, w + 4 * b, 0.0);
                fftForward(w, 4 * b, tables);
                const double scale = 0.5 / double(b);
                for (int32_t k = 0; k < 2 * b; ++k) {
                    const double re = w[2 * k], im = w[2 * k + 1];
                    const double hr = part[2 * k], hi = part[2 * k + 1];
                    w[2 * k] = (re * hr - im * hi) * scale;
                    w[2 * k + 1] = (re * hi + im * hr) * scale;
                }
                fftInverse(w, 4 * b, tables);
                for (int32_t j = 0; j < 2 * b; ++j) out[j] = w[j] + overlap[j];
                std::copy(w + 2 * b, w + 4 * b, overlap);
            }
        }
        acc1 += out[2 * read];
        acc2 += out[2 * read + 1];
    }
    position = (position + 1) & mask;
    *y1 = acc1;
    *y2 = acc2;
}

void PartitionedConvolver::clearHistory() noexcept {
    std::fill(history.get(), history.get() + 2 * size_t(length), 0.0);
    std::fill(tail.get(), tail.get() + 4 * size_t(length), 0.0);
    position = 0;
}
