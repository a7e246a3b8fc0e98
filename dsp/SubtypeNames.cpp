#include "dsp/SubtypeNames.h"

#include "dsp/AnalogueSection.h"

namespace {

constexpr const char* kPassNames[kPassSubtypeCount] = {"Kestrawn", "Coincident", "Butterworth", "Chebyshev",
                                                       "Bessel",   "Critical",   "Legendre",    "Elliptic",
                                                       "Allpass",  "Harmonics"};
constexpr const char* kShelfNames[kShelfSubtypeCount] = {"Kestrawn",   "4kg",         "110",   "550", "Pultec Boost",
                                                         "Pultec Cut", "First Order", "Tilt"};
constexpr const char* kPeakNames[kPeakSubtypeCount] = {
    "Kestrawn", "4kg",         "Ox1", "Ox2", "Ox3",       "Ox4",       "110",          "550",         "88", "32",
    "EE",       "FlatTop",     "Butterworth", "250", "8k2", "4ke Brown", "4ke Black", "4ke Brown CT", "4ke Black CT"};

}  // namespace

const char* const* bandSubtypeNames(int32_t engineType, int32_t* count) {
    switch (engineType) {
        case kEngineHighPass:
        case kEngineLowPass: *count = kPassSubtypeCount; return kPassNames;
        case kEngineLowShelf:
        case kEngineHighShelf: *count = kShelfSubtypeCount; return kShelfNames;
        case kEnginePeak: *count = kPeakSubtypeCount; return kPeakNames;
        default: *count = 0; return nullptr;
    }
}
