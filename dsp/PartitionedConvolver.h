#pragma once
// A zero-latency FIR engine. The impulse is cut into a direct head and
// levels of uniform partitions that grow by a fixed factor: the head (the
// first 128 taps) is a plain dot product over the newest input; level i has
// partitions of B_i taps (128, 1024, 8192, ...), the first of them starting
// at tap B_i, so that a block of B_i input samples has been transformed and
// multiplied by the time its first output is due. Each level transforms
// each input block once, multiplies the spectrum by every partition of the
// level and adds the products into the spectra of the output blocks they
// belong to, so a block's output is one inverse transform however many
// partitions feed it. Levels add no latency.
//
// Threads: stageImpulse on the designing thread (worker or control); the
// process calls on the audio thread, which adopts a staged impulse at the
// start of its next call (a hard switch at a sample boundary: input already
// taken in by a level keeps the old impulse on its way out) by swapping two
// buffers. Staging again before that replaces the impulse waiting; staging
// while the audio thread adopts waits for the swap.

#include <atomic>
#include <cstdint>
#include <memory>

#include "dsp/FFT.h"

// The vector set the head and the spectral products run on.
enum class ConvolverKernel : int32_t { kSse2, kAvx2, kAvx512 };
bool convolverKernelSupported(ConvolverKernel kernel);
// The widest the processor has, or the one FENWOLDRINE_FIR_KERNEL names
// (sse2, avx2, avx512) if the processor has that.
ConvolverKernel convolverKernelInUse();

class PartitionedConvolver {
public:
    // length: a power of two of at least 2 (others are rounded up). Allocates
    // all it will ever need. An unsupported kernel falls back to SSE2.
    explicit PartitionedConvolver(int32_t length, ConvolverKernel kernel = convolverKernelInUse());
    virtual ~PartitionedConvolver();
    PartitionedConvolver(const PartitionedConvolver&) = delete;
    PartitionedConvolver& operator=(const PartitionedConvolver&) = delete;

    int32_t getLength() const { return length; }

    // Designing thread: prepares h (length taps) for the audio thread.
    void stageImpulse(const double* h);
    bool isPending() const { return pending.load(std::memory_order_acquire) != kIdle; }

    // Audio thread: no allocation, no locks. n samples of two channels that
    // share the impulse (packed as one complex signal), or of one channel.
    // Outputs may be the inputs; a null output is not written (the input
    // still goes in, as when a convolver is kept warm).
    void processStereo(const double* x1, const double* x2, double* y1, double* y2, int32_t n) noexcept;
    void processMono(const double* x, double* y, int32_t n) noexcept;
    void processStereo(double x1, double x2, double* y1, double* y2) noexcept { processStereo(&x1, &x2, y1, y2, 1); }
    void processMono(double x, double* y) noexcept { processMono(&x, y, 1); }
    // Zeroes the signal history and every pending output; the impulse stays.
    void clearHistory() noexcept;

private:
    struct Level {
        int32_t size = 0;      // B: taps a partition, samples a block
        int32_t count = 0;     // partitions, each starting B taps after the last
        size_t spectra = 0;    // offset of its partitions' spectra in the impulse store
        int32_t slot = 0;      // the output block due next, among `count`
        std::unique_ptr<double[]> outputs;  // count spectra of 2 B points being summed
    };
    static constexpr int32_t kMaxLevels = 12;

    void run(const double* x1, const double* x2, double* y1, double* y2, int32_t n) noexcept;
    void completeChunk() noexcept;
    void runLevel(Level& level, uint64_t end) noexcept;

    FftTables tables;
    using HeadKernel = void (*)(const double*, int32_t, const double*, double*, int32_t) noexcept;
    using ProductKernel = void (*)(const double*, const double*, double*, int32_t, bool) noexcept;
    HeadKernel headKernel = nullptr;
    ProductKernel productKernel = nullptr;
    int32_t width = 2;  // doubles a vector of the kernels

    int32_t length = 0;
    int32_t head = 0;  // taps of the direct head = samples of a chunk
    int32_t levelCount = 0;
    Level levels[kMaxLevels];
    size_t storeSize = 0;  // doubles of an impulse store: head taps, then spectra
    int32_t ringPoints = 0;    // input ring: twice the largest block
    int32_t outputPoints = 0;  // summed level outputs: the largest block

    std::unique_ptr<double[]> recent;     // 4 head doubles: the last chunk, then the current one
    std::unique_ptr<double[]> headOut;    // 2 head doubles: the head's sums for the current chunk
    std::unique_ptr<double[]> inputRing;  // ringPoints complex input samples
    std::unique_ptr<double[]> levelOut;   // outputPoints complex outputs summed over the levels
    std::unique_ptr<double[]> fftWork;    // one transform of the largest level
    std::unique_ptr<double[]> live;
    std::unique_ptr<double[]> staged;
    uint64_t chunkStart = 0;  // samples taken in before the current chunk
    int32_t fill = 0;         // samples of the current chunk taken in

    // Hand-over of the staging buffer: the designing thread fills it in
    // kIdle and raises kStaged; the audio thread takes kStaged to
    // kAdopting, swaps the buffers and returns to kIdle.
    enum HandOver : int32_t { kIdle = 0, kStaged = 1, kAdopting = 2 };
    std::atomic<int32_t> pending{kIdle};
};
