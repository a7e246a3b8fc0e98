#pragma once
// The filter engine of an instance: a grid of 32 bands by up to eight
// channels of band objects and, beside it, the convolvers of the FIR and
// compensation modes. It knows no parameters or groups; the effect turns
// those into per-object settings through the setters below, each taking a
// channel bit mask.
//
// Threads: setters, redesign and setChannels run on the control thread or
// the worker (the effect holds its design lock); processBank on the audio
// thread, which reads the grid and never changes it. New coefficients reach
// the audio thread as the band objects' own 1000-sample ramps; new impulses
// through the convolvers' staging; convolvers are replaced only behind the
// active and busy flags.

#include <atomic>
#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "dsp/EQ.h"
#include "dsp/FirDesign.h"
#include "dsp/PartitionedConvolver.h"
#include "dsp/WindowTable.h"

// How the bank processes: the IIR cascade, the cascade with compensation, or
// one of the five FIR phase treatments.
enum EngineMode : int32_t {
    kModeIIR = 0,
    kModeDPlus = 1,
    kModeDPlusPhase = 2,
    kModeFullMinimum = 3,
    kModeZeroLatency = 4,
    kModeAnalogue = 5,
    kModeLinear = 6,
    kModeFree = 7,
};

// Values of setParallelMode: which bands run in the parallel branch.
enum ParallelMode : int32_t { kParallelOff = 0, kParallelPeaks = 1, kParallelPeaksAndShelves = 2 };

class EQBank {
public:
    static constexpr int32_t kMaxChannels = 8;
    static constexpr int32_t kDefaultIRLength = 8192;
    static constexpr int32_t kDefaultCompensationLength = 64;
    static constexpr int32_t kScratchLength = 1024;
    static constexpr int32_t kParallelFadeSamples = 5000;
    static constexpr int32_t kDefaultWindowShape = 10;  // Kaiser
    static constexpr float kDefaultWindowParameter = 0.5f;

    EQBank(int32_t bandCount, float sampleRate, int32_t channels);
    virtual ~EQBank();

    EQBank(const EQBank&) = delete;
    EQBank& operator=(const EQBank&) = delete;

    // ---- Control thread ----
    // The object of band b on channel c, or null outside the grid.
    virtual EQ* getBandAt(int32_t band, int32_t channel) const;
    // Stores the mode; mode changed when it differs; convolver active =
    // mode != 0; then redesign(true).
    virtual void setBankMode(int32_t mode);
    // Peaks (1) or peaks and shelves (2) run in parallel; 0 all in series.
    // Entering parallel fades the parallel sum in over 5000 samples.
    virtual void setParallelMode(int32_t value);
    virtual void setStereoLinked(bool on);
    virtual void setSampleRate(float rate);
    // Per-band settings for the channels whose bit is set in channelMask.
    virtual void setBypass(bool on, int32_t band, int32_t channelMask);
    virtual void setType(int32_t value, int32_t band, int32_t channelMask);
    virtual void setSubtype(int32_t value, int32_t band, int32_t channelMask);
    virtual void setFrequency(float value, int32_t band, int32_t channelMask);
    virtual void setSlope(int32_t value, int32_t band, int32_t channelMask);
    virtual void setGain(float value, int32_t band, int32_t channelMask);
    virtual void setQ(float value, int32_t band, int32_t channelMask);
    virtual void setShift(float value, int32_t band, int32_t channelMask);
    virtual void setPhase(float value, int32_t band, int32_t channelMask);
    // All of a band's settings at once, for the channels in channelMask.
    void setShape(const BandShape& shape, int32_t band, int32_t channelMask);
    // Turns dirty settings into coefficients; nothing at all when force is
    // false. One design per band serves every active channel of it.
    virtual void redesign(bool force);
    virtual int32_t getIRLength() const { return irLength.load(); }
    int32_t getCompensationLength() const { return compensationLength; }
    // Digital+ impulse length; the compensation convolvers are rebuilt for it
    // behind the active and busy flags.
    void setDPlusLength(int32_t n);
    // FIR window: shape 0..15 and its parameter p in 0..1, translated by
    // shape (Tukey p, Gaussian 0.01*10^(3p), Blackman 0.32p, Kaiser 12(2p)^5,
    // Rect-Param p, others 0).
    void setFirWindow(int32_t shape, float parameter);
    void setPadFactor(int32_t factor) { padFactor = factor; }
    // The older alignment of the zero-latency FIR mode keeps the latency peak.
    void setKeepLatencyPeak(bool keep) { keepLatencyPeak = keep; }
    bool getKeepLatencyPeak() const { return keepLatencyPeak; }
    // IR length / 2 in the Analogue, Linear and Free modes, else 0.
    virtual int32_t getLatency() const;
    // The latency the bank has once it runs `mode` with `irLength` taps.
    static int32_t latencyOf(int32_t mode, int32_t irLength);
    // True Q of a band's first active channel; negative when no channel runs it.
    virtual double trueQ(int32_t band) const;

    // The impulse that runs on a channel in the FIR modes (IR length taps),
    // or of the compensation in the Digital+ modes (compensation length);
    // null when no convolver runs. Linked stereo shares channel 0's.
    const double* getImpulse(int32_t channel) const;
    int32_t getImpulseLength() const;
    // The window as applied to the impulses of the current mode (IR length).
    const double* getWindowPreview() const { return windowPreview.data(); }

    // Responses of one channel at count frequencies (hz): the analogue
    // prototypes and the running biquads, each band in series multiplied in
    // and the parallel bands summed as 1 + sum of (H - 1).
    void channelResponse(int32_t channel, const double* hz, int32_t count, std::complex<double>* analogue,
                         std::complex<double>* digital) const;
    // Auto gain: the reciprocal of the weighted average level of the
    // analogue curve over 128 log-spaced points from 20 Hz up, per channel.
    // weighting bit 0: pink (weights grow with frequency); bit 1: the
    // loudness weighting filters at sampleRate. Without `separate` g1 takes
    // the mean over the channels and g2 is 1; with it g1 is channel 0's and
    // g2 channel 1's. Each is kept within 1/16..16; a zero level gives 0.
    void autoGainAmount(double* g1, double* g2, bool separate, int32_t weighting, double sampleRate) const;
    virtual double analogueMagnitude(int32_t channel, double hz) const;
    virtual double analoguePhase(int32_t channel, double hz) const;
    virtual double digitalMagnitude(int32_t channel, double hz) const;
    // Analogue over digital magnitude: the error compensation removes; 1
    // where they agree or the digital value is 0.
    virtual double digitalToAnalogueRatio(int32_t channel, double hz) const;

    // Between blocks of a host that honours resume; n capped at 8. Objects
    // keep their band and channel; new places get fresh bypassed objects.
    void setChannels(int32_t n);
    // Worker or control thread: replaces the convolvers behind the active and
    // busy flags; waits for a block in flight to leave them.
    void setIRLength(int32_t n);

    // ---- Audio thread: no allocation, no locks ----
    // The whole chain, in place, on up to `channels` buffers (null ones skipped).
    void processBank(double* const* buffers, int32_t samples, int32_t channels) noexcept;
    // While the effect is bypassed with latency: feeds the convolvers so that
    // their history stays warm, and discards what they give.
    void warmConvolvers(double* const* buffers, int32_t samples, int32_t channels) noexcept;

    int32_t getMode() const { return mode.load(std::memory_order_relaxed); }
    int32_t getBandCount() const { return bandCount; }
    int32_t getChannelCount() const { return channelCount; }
    float getSampleRate() const { return sampleRate; }
    bool isConvolverActive() const { return convolverActive.load(); }
    bool isModeChanged() const { return modeChanged; }
    bool isParallel() const { return parallel.load(std::memory_order_relaxed); }
    bool isStereoLinked() const { return stereoLinked.load(); }
    // Any thread. Whether the series chain runs two channels at once (the
    // default); off, each channel runs alone, for comparison. The output is
    // the same either way.
    void setChannelPairing(bool on) { pairChannels.store(on, std::memory_order_relaxed); }

private:
    template <typename Setter>
    void forChannels(int32_t band, int32_t channelMask, Setter set);
    void runCascade(double* x, int32_t channel, int32_t samples) noexcept;
    void runCascadePair(double* x0, double* x1, int32_t channel, int32_t samples) noexcept;
    void runParallel(double* x, int32_t channel, int32_t samples, int32_t fadeAtStart) noexcept;
    void enterConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept;
    void runConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept;
    void allocateConvolvers(bool fir, bool compensation);
    void designImpulses();
    void finishImpulse(const double* spectrum, int32_t channel, int32_t length, int32_t padding, int32_t mode,
                       WindowTable& window, double peak, bool fir);
    std::unique_ptr<EQ> makeBand() const;

    int32_t bandCount;
    int32_t channelCount;
    float sampleRate;
    // Band b of channel c at [channelCount * b + c].
    std::vector<std::unique_ptr<EQ>> grid;
    std::vector<EQ*> gridView;  // the same objects, as the designers take them
    std::unique_ptr<double[]> bandScratch;
    std::unique_ptr<double[]> sumScratch;
    // Sections of consecutive bands at rest, gathered to run as one pair:
    // room for every section of a full bank.
    static constexpr int32_t kMaxPairedSections = 32 * kMaxSections;
    std::unique_ptr<PairedSection[]> pairedRun = std::make_unique<PairedSection[]>(kMaxPairedSections);
    std::atomic<int32_t> mode{kModeIIR};
    std::atomic<bool> pairChannels{true};
    std::atomic<int32_t> irLength{kDefaultIRLength};  // read by the timer for the latency
    int32_t compensationLength = kDefaultCompensationLength;
    int32_t padFactor = 1;
    bool keepLatencyPeak = false;
    bool modeChanged = true;
    std::atomic<bool> stereoLinked{false};  // read by the audio thread
    std::atomic<bool> parallel{false};
    std::atomic<int32_t> parallelFade{0};
    std::atomic<bool> convolverActive{false};
    std::atomic<bool> busy{false};

    // Per channel: the FIR and compensation convolvers and copies of the
    // impulses they run.
    std::unique_ptr<PartitionedConvolver> firConvolver[kMaxChannels];
    std::unique_ptr<PartitionedConvolver> compensationConvolver[kMaxChannels];
    std::vector<double> impulseCopy[kMaxChannels];
    std::vector<double> compensationCopy[kMaxChannels];
    std::vector<double> windowPreview;
    std::vector<double> spectrum;
    FirDesigner designer;
    WindowTable firWindow;
    WindowTable compensationWindow;
};
