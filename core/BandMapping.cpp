#include "core/BandMapping.h"

#include <algorithm>

namespace {

constexpr int32_t kGroupBits = 8;
constexpr float kListenBoostDb = 12.0f;
constexpr float kListenQBase = 3.0f;
// The steepest a pass filter may resonate while a band is being heard.
constexpr float kListenPassMaxQ = 4.0f;

enum ListenGain : int32_t { kListenGainCorrect = 0, kListenGainBoost = 1, kListenGainZero = 2 };

}  // namespace

int32_t engineTypeFor(int32_t bandType, bool listening) {
    // Heard through: a peak or notch through a band pass, a low shelf or high
    // pass through a low pass, a high shelf or low pass through a high pass.
    static constexpr int32_t kHeard[] = {kEngineFlat, kEngineListenBandPass, kEngineLowPass, kEngineLowPass,
                                         kEngineHighPass, kEngineHighPass, kEngineListenBandPass};
    if (!listening) return engineTypeOf(bandType);
    return (bandType >= kTypePeak && bandType <= kTypeNotch) ? kHeard[bandType] : kEngineFlat;
}

int32_t bandChannelMask(int32_t groupsValue, const int32_t* groupMask, int32_t channelCount) {
    int32_t mask = 0;
    const int32_t n = std::min(channelCount, kGroupBits);
    for (int32_t i = 0; i < n; ++i)
        if ((groupsValue >> (kGroupBits - 1 - i)) & 1) mask |= groupMask[i];
    return mask;
}

BandShape mapBandShape(const float* fields, int32_t band, const BandMappingContext& context) {
    auto value = [&](int32_t field) { return fields[field]; };
    const bool listening = context.listenBand != -1;
    const int32_t bandType = int32_t(value(kFieldType));
    const int32_t uiType = bandType - 1;  // 0 peak, 1 HPF, 2 LSh, 3 HSh, 4 LPF, 5 notch
    const bool passType = bandType == kTypeHPF || bandType == kTypeLPF;

    BandShape s;
    s.type = engineTypeFor(bandType, listening);
    if (!listening) {
        s.state = int32_t(value(kFieldState)) == kBandOn ? 0 : 1;
    } else if (band == context.listenBand) {
        s.state = 0;
    } else {
        // Every other band falls silent while one is auditioned.
        s.state = 1;
        s.type = kEngineFlat;
    }
    s.subtype = (listening && bandType == kTypeNotch) ? 0 : int32_t(value(kFieldSubtype)) - 1;

    s.gain = passType ? 0.0f : value(kFieldGain) * context.scale;
    if (listening) {
        if (context.listenGainMode == kListenGainBoost) s.gain = kListenBoostDb;
        else if (context.listenGainMode == kListenGainZero) s.gain = 0.0f;
        else if (bandType == kTypeNotch) s.gain = 0.0f;
    }

    const double hz = double(value(kFieldFrequency)) * context.frequencyShift * 0.01 * context.pitchFactor;
    s.frequency = std::clamp(float(hz), context.minFrequency, context.maxFrequency);

    s.q = value(kFieldQ);
    if (listening) {
        if (context.listenQMode > 0) s.q = kListenQBase * float(8 >> std::min(context.listenQMode, 3));
        if (s.type == kEngineHighPass || s.type == kEngineLowPass) s.q = std::min(s.q, kListenPassMaxQ);
    }

    s.shift = (!listening || (context.listenQMode == 0 && uiType == 0)) ? value(kFieldShift) : 0.0f;
    s.phase = value(kFieldPhase) * 0.01f;
    s.slope = passType ? int32_t(value(kFieldSlope) / 6.0f) : 2;
    return s;
}
