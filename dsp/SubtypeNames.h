#pragma once
// Subtypes of the band types, with the words the user sees. Low and high
// shelf share one list, high and low pass another; notch and flat have none.

#include <cstdint>

enum PeakSubtype : int32_t {
    kPeakKestrawn = 0,
    kPeak4kg = 1,
    kPeakOx1 = 2,
    kPeakOx2 = 3,
    kPeakOx3 = 4,
    kPeakOx4 = 5,
    kPeak110 = 6,
    kPeak550 = 7,
    kPeak88 = 8,
    kPeak32 = 9,
    kPeakEE = 10,
    kPeakFlatTop = 11,
    kPeakButterworth = 12,
    kPeak250 = 13,
    kPeak8k2 = 14,
    kPeak4keBrown = 15,
    kPeak4keBlack = 16,
    kPeak4keBrownCT = 17,
    kPeak4keBlackCT = 18,
    kPeakSubtypeCount = 19,
};

enum ShelfSubtype : int32_t {
    kShelfKestrawn = 0,
    kShelf4kg = 1,
    kShelf110 = 2,
    kShelf550 = 3,
    kShelfPultecBoost = 4,
    kShelfPultecCut = 5,
    kShelfFirstOrder = 6,
    kShelfTilt = 7,
    kShelfSubtypeCount = 8,
};

enum PassSubtype : int32_t {
    kPassKestrawn = 0,
    kPassCoincident = 1,
    kPassButterworth = 2,
    kPassChebyshev = 3,
    kPassBessel = 4,
    kPassCritical = 5,
    kPassLegendre = 6,
    kPassElliptic = 7,
    kPassAllpass = 8,
    kPassHarmonics = 9,
    kPassSubtypeCount = 10,
};

// The list of subtype words of an engine band type (values of EQ::type);
// null with *count = 0 for a type without subtypes.
const char* const* bandSubtypeNames(int32_t engineType, int32_t* count);
