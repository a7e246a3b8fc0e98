#pragma once
// The filter engine of an instance: a grid of bands by channels and, beside
// it, the convolvers of the FIR and compensation modes. It knows no
// parameters; the effect turns those into per-object settings.
//
// This is the bank's frame: modes, latency, channel count and the convolver
// hand-over flags. The band objects and their chain arrive with the band
// design; until then the chain is empty and every band passes. In the
// latency-bearing FIR modes a flat linear-phase impulse is exactly a delay by
// half the IR length, so that is what runs there until the convolvers exist.

#include <atomic>
#include <cstdint>
#include <memory>

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

class EQBank {
public:
    static constexpr int32_t kMaxChannels = 8;
    static constexpr int32_t kDefaultIRLength = 8192;
    static constexpr int32_t kDefaultCompensationLength = 64;

    EQBank(int32_t bandCount, float sampleRate, int32_t channels);
    virtual ~EQBank();

    EQBank(const EQBank&) = delete;
    EQBank& operator=(const EQBank&) = delete;

    // Control thread. Stores the mode; mode changed when it differs;
    // convolver active = mode != 0; then redesign(true).
    virtual void setBankMode(int32_t mode);
    virtual void setSampleRate(float rate);
    virtual void redesign(bool force);
    virtual int32_t getIRLength() const { return irLength; }
    // IR length / 2 in the Analogue, Linear and Free modes, else 0.
    virtual int32_t getLatency() const;
    // True Q of a band's first active channel; negative when no channel runs it.
    virtual double trueQ(int32_t band) const;

    // Control thread, between blocks of a host that honours resume; n capped at 8.
    void setChannels(int32_t n);
    // Worker or control thread: replaces the convolvers behind the active and
    // busy flags; waits for a block in flight to leave them.
    void setIRLength(int32_t n);

    // Audio thread: no allocation, no locks. The whole chain, in place.
    void processBank(double* const* buffers, int32_t samples, int32_t channels) noexcept;
    // Audio thread, while the effect is bypassed with latency: feeds the
    // convolvers so that their history stays warm, and discards what they give.
    void warmConvolvers(double* const* buffers, int32_t samples, int32_t channels) noexcept;

    int32_t getMode() const { return mode; }
    int32_t getBandCount() const { return bandCount; }
    int32_t getChannelCount() const { return channelCount; }
    float getSampleRate() const { return sampleRate; }
    bool isConvolverActive() const { return convolverActive.load(); }
    bool isModeChanged() const { return modeChanged; }

private:
    void enterConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept;
    void runConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept;
    void allocateDelays();

    int32_t bandCount;
    int32_t channelCount;
    float sampleRate;
    int32_t mode = kModeIIR;
    int32_t irLength = kDefaultIRLength;
    int32_t compensationLength = kDefaultCompensationLength;
    bool modeChanged = true;
    std::atomic<bool> convolverActive{false};
    std::atomic<bool> busy{false};

    // Flat FIR of the latency-bearing modes: a delay of irLength/2 per channel.
    std::unique_ptr<double[]> flatDelay[kMaxChannels];
    int32_t flatDelayLength = 0;
    int32_t flatDelayPosition[kMaxChannels] = {};
};
