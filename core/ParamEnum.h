#pragma once
// The one enumeration of parameter indices. The list below expands both to
// the C++ enumeration and to the enumeration text from which the process
// builds its name table, so names and numbers cannot drift apart. Editor
// tags, numbered from 500 up, belong to the editor layer.

#include <cstdint>

#define FW_CHANNEL_PARAMS(X, n) \
    X(kChannel##n##Level) X(kChannel##n##Phase) X(kChannel##n##Mute) X(kChannel##n##Solo)

#define FW_BAND_PARAMS(X, n) \
    X(kBand##n##State) X(kBand##n##Groups) X(kBand##n##Type) X(kBand##n##Subtype) \
    X(kBand##n##Gain) X(kBand##n##Frequency) X(kBand##n##Q) X(kBand##n##Shift) \
    X(kBand##n##Slope) X(kBand##n##Phase)

// X(name): the next value; XAT(name, value): a fixed value.
#define FW_PARAMETER_LIST(X, XAT) \
    XAT(kBypass, 0) \
    X(kGain) X(kScale) X(kFShift) X(kMode) X(kParallel) X(kABBank) X(kIRLength) \
    X(kIRWindow) X(kIRWindowParam) X(kIRPhase) X(kIRPad) X(kDPlusLen) X(kMsState) \
    FW_CHANNEL_PARAMS(X, 1) \
    FW_CHANNEL_PARAMS(X, 2) \
    FW_CHANNEL_PARAMS(X, 3) \
    FW_CHANNEL_PARAMS(X, 4) \
    FW_CHANNEL_PARAMS(X, 5) \
    FW_CHANNEL_PARAMS(X, 6) \
    FW_CHANNEL_PARAMS(X, 7) \
    FW_CHANNEL_PARAMS(X, 8) \
    FW_BAND_PARAMS(X, 1) \
    FW_BAND_PARAMS(X, 2) \
    FW_BAND_PARAMS(X, 3) \
    FW_BAND_PARAMS(X, 4) \
    FW_BAND_PARAMS(X, 5) \
    FW_BAND_PARAMS(X, 6) \
    FW_BAND_PARAMS(X, 7) \
    FW_BAND_PARAMS(X, 8) \
    FW_BAND_PARAMS(X, 9) \
    FW_BAND_PARAMS(X, 10) \
    FW_BAND_PARAMS(X, 11) \
    FW_BAND_PARAMS(X, 12) \
    FW_BAND_PARAMS(X, 13) \
    FW_BAND_PARAMS(X, 14) \
    FW_BAND_PARAMS(X, 15) \
    FW_BAND_PARAMS(X, 16) \
    FW_BAND_PARAMS(X, 17) \
    FW_BAND_PARAMS(X, 18) \
    FW_BAND_PARAMS(X, 19) \
    FW_BAND_PARAMS(X, 20) \
    FW_BAND_PARAMS(X, 21) \
    FW_BAND_PARAMS(X, 22) \
    FW_BAND_PARAMS(X, 23) \
    FW_BAND_PARAMS(X, 24) \
    FW_BAND_PARAMS(X, 25) \
    FW_BAND_PARAMS(X, 26) \
    FW_BAND_PARAMS(X, 27) \
    FW_BAND_PARAMS(X, 28) \
    FW_BAND_PARAMS(X, 29) \
    FW_BAND_PARAMS(X, 30) \
    FW_BAND_PARAMS(X, 31) \
    FW_BAND_PARAMS(X, 32) \
    X(kDPlusPhase) \
    X(kNumParams)

#define FW_ENUM_ITEM(name) name,
#define FW_ENUM_ITEM_AT(name, value) name = value,

enum ParamIndex : int32_t { FW_PARAMETER_LIST(FW_ENUM_ITEM, FW_ENUM_ITEM_AT) };

#undef FW_ENUM_ITEM
#undef FW_ENUM_ITEM_AT

// The enumeration as text, "kBypass=0,kGain,...": the single place where the
// names of the state documents meet their numbers.
extern const char* const kParameterEnumText;
