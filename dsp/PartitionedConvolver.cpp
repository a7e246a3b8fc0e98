#include "dsp/PartitionedConvolver.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <thread>

#include "dsp/ConvolverKernels.h"
#include "dsp/VectorSet.h"

// Layout. Samples of the two channels are interleaved pairs, read as one
// complex signal (first channel real, second imaginary) by the transforms.
//
//   impulse store (live, staged): the head's taps h[0] .. h[head - 1], then
//       per level its partitions' spectra one after the other, each the
//       transform of B taps zero-padded to 2 B complex points, scaled by
//       1 / (2 B) (a power of two, so exact) for the unscaled inverse, and
//       left in the bit-reversed order the forward transform gives: spectra
//       are only multiplied point by point, and the inverse takes that order.
//   recent: the previous chunk and the current one, so that the head's sum
//       for any sample of the current chunk reads one run of memory.
//   inputRing: the last 2 B samples of the largest level, the window a
//       level transforms (overlap-save: of the inverse's 2 B points the last
//       B are the block's output).
//   level outputs: per level `count` spectra; output block m receives the
//       product of input block m - j with partition j, so when block m's
//       input completes its spectrum is complete too.
//   levelOut: the levels' outputs summed for the samples still due, read and
//       cleared as the samples go out.
//
// A level of B taps sees input block [t - B, t) complete at sample t and
// adds its output to samples [t, t + B): its first partition starts at tap
// B, so nothing is late.

namespace {

constexpr int32_t kHeadTaps = 128;  // the direct head, and the chunk
constexpr int32_t kGrowth = 8;      // each level's partitions are this many times the last's
// The largest partition: its level takes every partition left however long
// the impulse, since one block of a larger one (two transforms of twice its
// size at once) would take longer than a short host block lasts.
constexpr int32_t kLargestPartition = 8192;
constexpr int32_t kLeastChunk = 8;  // a whole number of the widest vectors

// The kernels are built with fused multiply-add.
bool processorHas(ConvolverKernel kernel) { return processorRuns(kernel, true); }

}  // namespace

bool convolverKernelSupported(ConvolverKernel kernel) { return processorHas(kernel); }

ConvolverKernel convolverKernelInUse() {
    static const ConvolverKernel chosen = widestVectorSet("FENWOLDRINE_FIR_KERNEL", processorHas);
    return chosen;
}

PartitionedConvolver::PartitionedConvolver(int32_t requested, ConvolverKernel kernel) {
    if (!processorHas(kernel)) kernel = ConvolverKernel::kSse2;
    switch (kernel) {
#if defined(__x86_64__)
        case ConvolverKernel::kAvx512:
            headKernel = convolveHeadAvx512;
            productKernel = multiplySpectraAvx512;
            width = 8;
            break;
        case ConvolverKernel::kAvx2:
            headKernel = convolveHeadAvx2;
            productKernel = multiplySpectraAvx2;
            width = 4;
            break;
#endif
        default:
            headKernel = ConvolverKernelSet<2>::head;
            productKernel = ConvolverKernelSet<2>::product;
            width = 2;
    }

    length = int32_t(std::bit_ceil(uint32_t(std::clamp(requested, int32_t(2), int32_t(1) << 30))));
    head = std::max(kLeastChunk, std::min(length, kHeadTaps));
    storeSize = size_t(head);
    int32_t largest = 0;
    for (int32_t start = head, size = head; start < length && levelCount < kMaxLevels; size *= kGrowth) {
        Level& level = levels[levelCount++];
        level.size = size;
        level.count = size < kLargestPartition ? std::min(kGrowth - 1, (length - start) / size) : (length - start) / size;
        level.spectra = storeSize;
        level.outputs = std::make_unique<double[]>(size_t(level.count) * 4 * size_t(size));
        storeSize += size_t(level.count) * 4 * size_t(size);
        start += level.count * size;
        largest = size;
    }

    recent = std::make_unique<double[]>(4 * size_t(head));
    headOut = std::make_unique<double[]>(2 * size_t(head));
    live = std::make_unique<double[]>(storeSize);
    staged = std::make_unique<double[]>(storeSize);
    if (largest > 0) {
        ringPoints = 2 * largest;
        outputPoints = largest;
        inputRing = std::make_unique<double[]>(2 * size_t(ringPoints));
        levelOut = std::make_unique<double[]>(2 * size_t(outputPoints));
        fftWork = std::make_unique<double[]>(4 * size_t(largest));
        tables.prepare(4 * largest);
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
    std::fill(s, s + storeSize, 0.0);
    std::copy(h, h + std::min(head, length), s);
    for (int32_t i = 0; i < levelCount; ++i) {
        const Level& level = levels[i];
        const int32_t b = level.size;
        const double scale = 0.5 / double(b);
        for (int32_t j = 0; j < level.count; ++j) {
            double* spectrum = s + level.spectra + size_t(j) * 4 * size_t(b);
            const double* taps = h + size_t(b) * size_t(1 + j);
            for (int32_t k = 0; k < b; ++k) spectrum[2 * k] = taps[k] * scale;
            fftForwardToReversed(spectrum, 4 * b, tables);
        }
    }
    pending.store(kStaged, std::memory_order_release);
}

void PartitionedConvolver::processStereo(const double* x1, const double* x2, double* y1, double* y2,
                                         int32_t n) noexcept {
    run(x1, x2, y1, y2, n);
}

void PartitionedConvolver::processMono(const double* x, double* y, int32_t n) noexcept {
    run(x, nullptr, y, nullptr, n);
}

void PartitionedConvolver::run(const double* x1, const double* x2, double* y1, double* y2, int32_t n) noexcept {
    int32_t staging = kStaged;
    if (pending.compare_exchange_strong(staging, kAdopting, std::memory_order_acquire)) {
        // A swap, not a copy: adopting even the longest impulse costs nothing.
        std::swap(live, staged);
        pending.store(kIdle, std::memory_order_release);
    }
    double* current = recent.get() + 2 * head;
    double* sums = headOut.get();
    double* out = levelOut.get();
    const uint32_t outMask = uint32_t(outputPoints) - 1;
    while (n > 0) {
        const int32_t m = std::min(n, head - fill);
        double* in = current + 2 * fill;
        for (int32_t i = 0; i < m; ++i) {
            in[2 * i] = x1[i];
            in[2 * i + 1] = x2 ? x2[i] : 0.0;
        }
        // The head's sums over whole vectors around the new samples; the
        // extra ones (read from samples not yet taken in) are never used.
        const int32_t from = (2 * fill) & ~(width - 1);
        const int32_t to = (2 * (fill + m) + width - 1) & ~(width - 1);
        headKernel(live.get(), head, current + from, sums + from, to - from);
        double* y = sums + 2 * fill;
        if (out) {
            double* due = out + 2 * ((uint32_t(chunkStart) + uint32_t(fill)) & outMask);
            for (int32_t i = 0; i < 2 * m; ++i) {
                y[i] += due[i];
                due[i] = 0.0;
            }
        }
        if (y1)
            for (int32_t i = 0; i < m; ++i) y1[i] = y[2 * i];
        if (y2)
            for (int32_t i = 0; i < m; ++i) y2[i] = y[2 * i + 1];
        x1 += m;
        if (x2) x2 += m;
        if (y1) y1 += m;
        if (y2) y2 += m;
        n -= m;
        fill += m;
        if (fill == head) completeChunk();
    }
}

void PartitionedConvolver::completeChunk() noexcept {
    double* previous = recent.get();
    double* current = previous + 2 * head;
    const uint64_t end = chunkStart + uint64_t(head);
    if (levelCount > 0) {
        const uint32_t at = uint32_t(chunkStart) & uint32_t(ringPoints - 1);
        std::memcpy(inputRing.get() + 2 * size_t(at), current, 2 * size_t(head) * sizeof(double));
        for (int32_t i = 0; i < levelCount; ++i)
            if ((end & uint64_t(levels[i].size - 1)) == 0) runLevel(levels[i], end);
    }
    std::memcpy(previous, current, 2 * size_t(head) * sizeof(double));
    chunkStart = end;
    fill = 0;
}

void PartitionedConvolver::runLevel(Level& level, uint64_t end) noexcept {
    const int32_t b = level.size;
    const int32_t doubles = 4 * b;
    // The window: the last 2 B input samples, taken from the ring in at most
    // two runs.
    double* w = fftWork.get();
    const uint32_t first = uint32_t(end - 2 * uint64_t(b)) & uint32_t(ringPoints - 1);
    const int32_t before = std::min(2 * b, ringPoints - int32_t(first));
    std::memcpy(w, inputRing.get() + 2 * size_t(first), 2 * size_t(before) * sizeof(double));
    std::memcpy(w + 2 * before, inputRing.get(), 2 * size_t(2 * b - before) * sizeof(double));
    fftForwardToReversed(w, doubles, tables);

    // This block times partition j belongs to output block slot + j. The
    // block furthest ahead gets its first product, so it is written, not
    // added to (it was last read out one block ago).
    const double* spectra = live.get() + level.spectra;
    double* outputs = level.outputs.get();
    for (int32_t j = 0; j < level.count; ++j) {
        const int32_t target = (level.slot + j) % level.count;
        productKernel(w, spectra + size_t(j) * size_t(doubles), outputs + size_t(target) * size_t(doubles), doubles,
                      j < level.count - 1);
    }
    double* due = outputs + size_t(level.slot) * size_t(doubles);
    fftInverseFromReversed(due, doubles, tables);
    double* sum = levelOut.get() + 2 * (uint32_t(end) & uint32_t(outputPoints - 1));
    for (int32_t k = 0; k < 2 * b; ++k) sum[k] += due[2 * b + k];
    level.slot = (level.slot + 1) % level.count;
}

void PartitionedConvolver::clearHistory() noexcept {
    std::fill(recent.get(), recent.get() + 4 * size_t(head), 0.0);
    std::fill(headOut.get(), headOut.get() + 2 * size_t(head), 0.0);
    if (levelCount > 0) {
        std::fill(inputRing.get(), inputRing.get() + 2 * size_t(ringPoints), 0.0);
        std::fill(levelOut.get(), levelOut.get() + 2 * size_t(outputPoints), 0.0);
    }
    for (int32_t i = 0; i < levelCount; ++i) {
        Level& level = levels[i];
        std::fill(level.outputs.get(), level.outputs.get() + size_t(level.count) * 4 * size_t(level.size), 0.0);
        level.slot = 0;
    }
    chunkStart = 0;
    fill = 0;
}
