#pragma once
// The running filter of a band: up to four biquads in direct form 1, in
// series, in double precision. New coefficients arrive from the designing
// thread without a lock, as a linear ramp of every coefficient over 1000
// samples; `target` and `step` are stored before `rampCount`, so the audio
// thread sees a ramp start only once its end point is in place. A torn read
// costs at most a brief wrong ramp.

#include <atomic>
#include <cstdint>

#include "dsp/EQ.h"

// Audio thread: `count` sections in series on two channels at once, each
// channel in its own vector lane, and two sections in flight at a time (the
// second works on sample i - 1 while the first takes sample i), so the
// recursions overlap instead of waiting on each other. The output is
// bit for bit that of running the sections one after the other.
void runPairedSections(const PairedSection* sections, int32_t count, double* first, double* second,
                       int32_t n) noexcept;

// The kernels runPairedSections may use: two, four or eight doubles a
// register. Each gives the same bits. The widest the processor has is used,
// unless FENWOLDRINE_IIR_KERNEL names another ("sse2", "avx2", "avx512")
// that it has.
enum class PairedKernel : int32_t { kSse2, kAvx2, kAvx512 };
bool pairedKernelSupported(PairedKernel kernel);
PairedKernel pairedKernelInUse();
// runPairedSections with a chosen kernel; false (nothing run) when this
// processor lacks it.
bool runPairedSectionsWith(PairedKernel kernel, const PairedSection* sections, int32_t count, double* first,
                           double* second, int32_t n) noexcept;

class DF1Cascade : public EQ {
public:
    static constexpr int32_t kRampSamples = 1000;

    DF1Cascade();

    // Control thread.
    void clearState() override;
    void resetCoefficients(bool immediate) override;
    int32_t getCoefficients(DigitalSection* out) const override;
    void setCoefficients(const DigitalSection* in, int32_t count) override;
    // Response of the coefficients being ramped to, at hz for the band's rate.
    double magnitudeAt(double hz, double* phaseOut) const override;
    void responseAt(double hz, double* re, double* im) const override;

    // Audio thread: no allocation, no locks.
    void processDouble(double* samples, int32_t count) noexcept override;
    void processFloat(float* samples, int32_t count) noexcept override;
    bool pairSections(EQ& other, PairedSection* out, int32_t* count, int32_t samples) noexcept override;
    bool passesUntouched() const noexcept override;

    int32_t getSectionCount() const { return sectionCount.load(std::memory_order_relaxed); }
    bool isRamping() const { return rampCount.load(std::memory_order_relaxed) >= 0; }

protected:
    // Flat and not ramping: processDouble passes the block by (or silences it
    // in the parallel branch).
    bool restsFlat() const noexcept;
    // A block of `samples` handed to a paired run: section s's coefficients
    // and ramp into *coefficients, *step and *ramp, and the ramp moved on as
    // processDouble would have moved it.
    void handOver(int32_t samples, DigitalSection* coefficients, DigitalSection* step, int32_t* ramp) noexcept;

    double history[kMaxSections][4] = {};  // per section: x1, x2, y1, y2
    DigitalSection live[kMaxSections];
    std::atomic<int32_t> sectionCount{0};
    // Samples left in the ramp; negative when idle. Stored last, with
    // release, after target and step.
    std::atomic<int32_t> rampCount{-1};
    DigitalSection target[kMaxSections];
    DigitalSection step[kMaxSections];
};
