#pragma once
// The class of every band: turns the band's analogue prototype into digital
// biquads that follow the analogue magnitude up to Nyquist without
// oversampling. Each section is classified by its shape, given a closed-form
// digital design that meets the analogue gain at Nyquist, then refined
// against the analogue magnitude on a fixed 128-point grid.

#include "dsp/DF1Cascade.h"
#include "dsp/MagnitudeFit.h"

class BrenmoorEQ : public DF1Cascade {
public:
    BrenmoorEQ();

    // Control or worker thread. Redesigns when dirty (or when a redesign was
    // requested) and hands the coefficients to the running filter as a ramp.
    void rebuild() override;

    // Asks the next rebuild to run although no setting changed.
    void requestRedesign() { redesignRequested = true; }

private:
    // How a section is refined after its closed-form design.
    enum FitKind : int { kFitNone = -1, kFitDefault = 0, kFitLowPass = 1, kFitPeak = 2, kFitInverted = 3, kFitHighPass = 4 };

    // Fits working section `index` (radians per second) into digital[index];
    // `flat` carries the band's flatness from section to section.
    void fitSection(int32_t index, const AnalogueSection* working, DigitalSection* digital, bool useBilinear,
                    bool* flat);
    // Realises the band as H - 1 for the parallel branch; false when it has
    // more sections than that can be done for.
    bool makeDifference(DigitalSection* digital, int32_t count) const;

    MagnitudeFit fit;
};
