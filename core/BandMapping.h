#pragma once
// From the rows of one band in the parameter table to the settings of its
// band objects, and from its group bits to the channels it acts on.
// Pure functions: the effect gathers the context, these read the rows.

#include <cstdint>

#include "core/ParamTable.h"
#include "dsp/BandDesign.h"

struct BandMappingContext {
    float scale = 1.0f;            // real value of kScale: gains are times this
    float frequencyShift = 100.0f; // real value of kFShift, in percent
    double pitchFactor = 1.0;      // MIDI pitch following
    float minFrequency = 10.0f;
    float maxFrequency = 22000.0f;
    int32_t listenBand = -1;       // the band under AutoListen, or -1
    int32_t listenGainMode = 0;    // "AutoListen Gain": 0 "Correct", 1 "+12dB", 2 "0dB"
    int32_t listenQMode = 0;       // "AutoListen Q": 0 the band's own, k > 0 gives 3*(8 >> k)
};

// The engine type of a band type (kBand%dType 1..6), plain or, while a band
// is auditioned, the type that lets it be heard.
int32_t engineTypeFor(int32_t bandType, bool listening);

// Channels a band acts on: group 1 is bit 7 of the groups value, group 8
// bit 0; each group set and present adds its channel mask.
int32_t bandChannelMask(int32_t groupsValue, const int32_t* groupMask, int32_t channelCount);

// The settings band `band` gives to the band objects of the channels in its
// mask, from the real values of its ten rows in field order (State, Groups,
// Type, Subtype, Gain, Frequency, Q, Shift, Slope, Phase). `state` is 0 when
// the band is live there. Channels outside the mask take the same settings
// with state 1.
BandShape mapBandShape(const float* fields, int32_t band, const BandMappingContext& context);
