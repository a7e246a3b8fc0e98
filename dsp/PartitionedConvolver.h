#pragma once
// A zero-latency FIR engine: the impulse is cut into its first tap and
// partitions that double in size (1, 2, 4, ... taps); partitions up to 16
// taps are plain dot products, larger ones run through the FFT. Each level
// works one sample behind, so the whole adds no latency, and the block
// boundaries of the levels are staggered so that no two large transforms
// fall on one sample.
//
// Threads: stageImpulse on the designing thread (worker or control); the
// process calls on the audio thread, which adopts a staged impulse at the
// start of its next call (a hard switch at a sample boundary, the tail of
// the old impulse kept) by swapping two buffers. Staging again before that
// replaces the impulse waiting; staging while the audio thread adopts waits
// for the swap.

#include <atomic>
#include <cstdint>
#include <memory>

#include "dsp/FFT.h"

class PartitionedConvolver {
public:
    // length: a power of two of at least 2. Allocates all it will ever need.
    explicit PartitionedConvolver(int32_t length);
    virtual ~PartitionedConvolver();
    PartitionedConvolver(const PartitionedConvolver&) = delete;
    PartitionedConvolver& operator=(const PartitionedConvolver&) = delete;

    int32_t getLength() const { return length; }

    // Designing thread: prepares h (length taps) for the audio thread.
    void stageImpulse(const double* h);
    bool isPending() const { return pending.load(std::memory_order_acquire) != kIdle; }

    // Audio thread: no allocation, no locks. One sample of one channel, or
    // of two channels sharing the impulse (packed as one complex signal).
    void processMono(double x, double* y) noexcept;
    void processStereo(double x1, double x2, double* y1, double* y2) noexcept;
    // Zeroes the signal history and the overlap store; the impulse stays.
    void clearHistory() noexcept;

private:
    // Layout of the arrays is the implementation's; see the .cpp.
    FftTables tables;
    std::unique_ptr<double[]> fftWork;
    std::unique_ptr<double[]> history;
    std::unique_ptr<double[]> tail;
    std::unique_ptr<double[]> live;
    std::unique_ptr<double[]> staged;
    int32_t position = 0;
    int32_t length = 0;
    int32_t mask = 0;
    int32_t levels = 0;
    // Hand-over of the staging buffer: the designing thread fills it in
    // kIdle and raises kStaged; the audio thread takes kStaged to
    // kAdopting, swaps the buffers and returns to kIdle.
    enum HandOver : int32_t { kIdle = 0, kStaged = 1, kAdopting = 2 };
    std::atomic<int32_t> pending{kIdle};
};
