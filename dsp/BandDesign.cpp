#include "dsp/BandDesign.h"

#include <algorithm>
#include <cmath>

#include "dsp/PassDesign.h"
#include "dsp/PeakShelfDesign.h"
#include "dsp/SubtypeNames.h"

void designBand(const BandShape& shape, bool ignoreState, SectionSet* out) {
    if (!out) return;
    if (shape.state != 0 && !ignoreState) {
        out->section[0] = kIdentitySection;
        out->count = 1;
        return;
    }
    AnalogueSection local[kMaxDesignSections];
    int count = 0;
    const double gain = shape.gain, q = shape.q, shift = shape.shift, frequency = shape.frequency;
    switch (shape.type) {
        case kEngineFlat:
            local[0] = kIdentitySection;
            count = 1;
            break;
        case kEngineHighPass:
        case kEngineLowPass: count = designPass(shape.type, shape.subtype, q, shape.slope, gain, local); break;
        case kEngineLowShelf:
        case kEngineHighShelf:
            count = designShelf(shape.type, shape.subtype, gain, frequency, q, shift, local);
            break;
        case kEnginePeak:
        case kEngineListenBandPass: count = designPeak(shape.type, shape.subtype, gain, q, shift, local); break;
        case kEngineNotch:
            local[0] = {1.0, 0.0, 1.0, 1.0, 1.0 / q, 1.0};
            count = 1;
            break;
        case kEngineAllPass:
            local[0] = {1.0, -1.0 / q, 1.0, 1.0, 1.0 / q, 1.0};
            count = 1;
            break;
        default: count = 0; break;
    }
    count = std::clamp(count, 0, int(kMaxSections));
    scaleSections(count, local, frequency);
    std::copy_n(local, count, out->section);
    out->count = count;
}

double displayQOf(const BandShape& shape) {
    if (shape.type != kEnginePeak && shape.type != kEngineListenBandPass) return shape.q;
    double a = std::pow(10.0, shape.gain / 40.0);
    if (shape.subtype == kPeakEE) return shape.q / a;
    return peakQ(shape.subtype, &a, shape.q, std::pow(10.0, -shape.shift * 0.12 / 20.0));
}

int32_t controlMaskOf(int32_t type, int32_t subtype) {
    constexpr int32_t kLevel = kControlGain | kControlFrequency;
    switch (type) {
        case kEnginePeak:
            return kLevel | kControlQ | (subtype == kPeakKestrawn || subtype == kPeakFlatTop ? kControlShift : 0);
        case kEngineLowShelf:
        case kEngineHighShelf:
            if (subtype == kShelfKestrawn) return kLevel | kControlQ | kControlShift;
            if (type == kEngineHighShelf && subtype == kShelfPultecBoost) return kLevel | kControlQ;
            if (type == kEngineLowShelf && (subtype == kShelfPultecBoost || subtype == kShelfPultecCut))
                return kLevel | kControlShift;
            return kLevel;
        case kEngineNotch: return kControlFrequency | kControlQ;
        case kEngineHighPass:
        case kEngineLowPass: {
            // The families whose shape depends on Q.
            const bool usesQ = subtype == kPassKestrawn || subtype == kPassChebyshev || subtype == kPassElliptic ||
                               subtype == kPassAllpass || subtype == kPassHarmonics;
            return kControlFrequency | kControlSlope | (usesQ ? kControlQ : 0);
        }
        default: return kControlFrequency;
    }
}

const char* shiftLabelOf(int32_t type, int32_t subtype) {
    if ((type == kEngineLowShelf || type == kEngineHighShelf) && subtype == kShelfKestrawn) return "SHIFT";
    if (type == kEngineLowShelf && subtype == kShelfPultecBoost) return "CUT";
    if (type == kEngineLowShelf && subtype == kShelfPultecCut) return "BOOST";
    if (type == kEnginePeak && subtype == kPeakKestrawn) return "GAIN->Q";
    if (type == kEnginePeak && subtype == kPeakFlatTop) return "SOFTEN";
    return "";
}
