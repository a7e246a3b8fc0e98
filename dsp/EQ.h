#pragma once
// One filter band on one channel. It holds the band's settings and turns
// them into the analogue prototype (designBand); the running filter and its
// digital design come from the classes derived from it.
//
// Invariants: every setter returns whether the value changed and marks the
// object dirty only then; previousType is written only when type really
// changes. Settings are written on the thread that applies parameters.

#include <atomic>
#include <cstdint>

#include "dsp/AnalogueSection.h"
#include "dsp/BandDesign.h"
#include "dsp/DigitalSection.h"

class EQ {
public:
    EQ() = default;
    virtual ~EQ() = default;
    EQ(const EQ&) = delete;
    EQ& operator=(const EQ&) = delete;

    // Marks dirty when the rate changes; always clears the filter state.
    virtual void setSampleRate(float rate);
    virtual bool setState(int32_t value);
    virtual bool setType(int32_t value);
    virtual bool setSubtype(int32_t value);
    virtual bool setFrequency(float value);
    virtual bool setSlope(int32_t value);
    virtual bool setGain(float value);
    virtual bool setQ(float value);
    virtual bool setShift(float value);
    virtual bool setPhase(float value);
    virtual bool setParallel(bool value);
    // All the settings of `s` through the setters above; true if any changed.
    bool setShape(const BandShape& s);

    virtual int32_t getState() const { return shape.state; }
    virtual int32_t getType() const { return shape.type; }
    virtual int32_t getSubtype() const { return shape.subtype; }
    virtual float getFrequency() const { return shape.frequency; }
    virtual int32_t getSlope() const { return shape.slope; }
    virtual float getGain() const { return shape.gain; }
    virtual float getQ() const { return shape.q; }
    virtual float getShift() const { return shape.shift; }
    virtual float getPhase() const { return shape.phase; }
    virtual bool getParallel() const { return parallel.load(std::memory_order_relaxed); }

    virtual bool isUnity() const { return unity.load(std::memory_order_relaxed) != 0; }
    virtual void setUnity(uint32_t value) { unity.store(value, std::memory_order_relaxed); }

    // The analogue prototype of the current settings into *out, also kept in
    // `sections`. See designBand for the bypass rule.
    virtual void design(SectionSet* out, bool ignoreState);
    virtual bool isDirty() const { return dirty != 0; }
    virtual double displayQ() const;
    virtual int32_t controlMask(bool usePreviousType) const;
    virtual const char* shiftLabel(bool usePreviousType) const;

    // The running filter.
    virtual void clearState() = 0;
    virtual void resetCoefficients(bool immediate) = 0;
    virtual void processDouble(double* samples, int32_t count) noexcept = 0;
    virtual void processFloat(float* samples, int32_t count) noexcept = 0;
    virtual int32_t getCoefficients(DigitalSection* out) const = 0;
    virtual double magnitudeAt(double hz, double* phaseOut) const = 0;
    virtual void responseAt(double hz, double* re, double* im) const = 0;
    virtual void setCoefficients(const DigitalSection* in, int32_t count) = 0;
    // Fits the digital sections to the analogue prototype when dirty.
    virtual void rebuild() = 0;
    // Audio thread: when this band and `other` (the same band on the next
    // channel) have the same number of sections and are not flat, puts their
    // sections in *out (as many as *count says) to run together with
    // runPairedSections over the next `samples` samples, takes the block as
    // run (a ramp moves on by it), and returns true; otherwise false,
    // touching nothing.
    virtual bool pairSections(EQ& other, PairedSection* out, int32_t* count, int32_t samples) noexcept {
        (void)other, (void)out, (void)count, (void)samples;
        return false;
    }

    // Audio thread: whether processDouble would leave a block untouched now
    // (a flat series band at rest).
    virtual bool passesUntouched() const noexcept { return false; }

    // Subtype words of an engine band type; null and *count = 0 for none.
    static const char* const* subtypeNames(int32_t type, int32_t* count);

    const BandShape& getShape() const { return shape; }
    const SectionSet& lastDesign() const { return sections; }
    float getSampleRate() const { return sampleRate; }
    int32_t getPreviousType() const { return previousType; }

protected:
    BandShape shape;
    int32_t previousType = kEnginePeak;
    uint8_t dirty = 1;
    // Read by the audio thread while the designing thread writes them.
    std::atomic<uint32_t> unity{0};
    float sampleRate = 48000.0f;
    std::atomic<bool> parallel{false};
    SectionSet sections{{kIdentitySection}, 1};
    bool redesignRequested = false;
};
