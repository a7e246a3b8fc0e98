#pragma once
// The parameter table: one row per automatable parameter, its unit, range,
// mapping curve between the host's normalised 0..1 and the real value, and
// the vocabulary of its choices. A row's `value` and `norm` are kept in step
// on every write; the static table below holds the factory defaults.

#include <cstdint>

#include "core/ParamEnum.h"

constexpr int32_t kNumPrograms = 20;
constexpr int32_t kNumChannels = 8;
constexpr int32_t kNumBands = 32;
constexpr int32_t kNumBandFields = 10;
constexpr int32_t kNumChannelFields = 4;
constexpr int32_t kFirstChannelParam = kChannel1Level;  // 14
constexpr int32_t kFirstBandParam = kBand1State;        // 46
constexpr int32_t kFirstEditorTag = 500;
constexpr int32_t kLockWordsPerProgram = 12;  // 384 bits, one per parameter index

static_assert(kNumParams == 367, "the table has 367 rows");
static_assert(kFirstBandParam == kFirstChannelParam + kNumChannels * kNumChannelFields);
static_assert(kDPlusPhase == kFirstBandParam + kNumBands * kNumBandFields);

enum ParamCurve : int32_t {
    kCurveLinear = 0,
    kCurveLog = 1,
    kCurveSquare = 2,
    kCurveCube = 3,
    kCurveInt = 4,
    kCurveSixes = 5,
    kCurveBool = 6,
    kCurveTwelves = 7,
    kCurveSCube = 8,
    kCurveOctave = 9,
    kCurveFloor = 10,
    kCurveFourth = 11,
};

// Fields of a band family, in index order: band parameter = 46 + 10*band + field.
enum BandField : int32_t {
    kFieldState = 0,
    kFieldGroups,
    kFieldType,
    kFieldSubtype,
    kFieldGain,
    kFieldFrequency,
    kFieldQ,
    kFieldShift,
    kFieldSlope,
    kFieldPhase,
};

// Fields of a channel family: channel parameter = 14 + 4*channel + field.
enum ChannelField : int32_t { kFieldLevel = 0, kFieldChannelPhase, kFieldMute, kFieldSolo };

// Values of kBand%dType.
enum BandType : int32_t { kTypePeak = 1, kTypeHPF, kTypeLowShelf, kTypeHighShelf, kTypeLPF, kTypeNotch };

// Values of kBand%dState.
enum BandState : int32_t { kBandOff = 0, kBandBypassed = 1, kBandOn = 2 };

struct ParamRow {
    char name[32];
    char unit[32];
    float value;  // real value, in the row's unit
    float min;
    float max;
    int32_t curve;  // a ParamCurve
    float norm;     // normalised value, 0..1
    int32_t group;  // 0 global, 1..8 channel, 9..40 band
};

// Mapping curves. Real from normalised and back, both clamped as the rows need.
double curveToReal(int32_t curve, double min, double max, double norm);
double curveToNorm(int32_t curve, double min, double max, double real);
inline double curveToReal(const ParamRow& r, double norm) { return curveToReal(r.curve, r.min, r.max, norm); }
inline double curveToNorm(const ParamRow& r, double real) { return curveToNorm(r.curve, r.min, r.max, real); }

// The factory table: values, ranges and curves; `norm` computed from the
// defaults on first use. Never written after that.
const ParamRow* staticParamTable();

constexpr bool isParamIndex(int32_t i) { return i >= 0 && i < kNumParams; }
constexpr int32_t bandParam(int32_t band, int32_t field) { return kFirstBandParam + kNumBandFields * band + field; }
constexpr int32_t channelParam(int32_t channel, int32_t field) {
    return kFirstChannelParam + kNumChannelFields * channel + field;
}
// (i-46) modulo 10 and floor((i-46)/10) for band rows, -1 otherwise.
constexpr int32_t bandFieldOf(int32_t i) { return (i >= kFirstBandParam && i < kDPlusPhase) ? (i - kFirstBandParam) % kNumBandFields : -1; }
constexpr int32_t bandIndexOf(int32_t i) { return (i >= kFirstBandParam && i < kDPlusPhase) ? (i - kFirstBandParam) / kNumBandFields : -1; }
constexpr bool isBandGain(int32_t i) { return bandFieldOf(i) == kFieldGain; }
constexpr bool isBandFrequency(int32_t i) { return bandFieldOf(i) == kFieldFrequency; }
constexpr bool isChannelLevel(int32_t i) { return i >= kFirstChannelParam && i < kFirstBandParam && i % 4 == 2; }

// Steps a host sees for a curve over a range (0: continuous).
int32_t curveStepCount(int32_t curve, double min, double max);

// Engine type of a band object for a kBand%dType value (1..6); 0 otherwise.
int32_t engineTypeOf(int32_t bandType);

// Subtype names for an engine type; *count gets the number of entries.
const char* const* subtypeNames(int32_t engineType, int32_t* count);

// Words that the choice-valued rows show for their values, for parsing and
// listing. Returns nullptr for a continuous row or one whose words depend on
// another row (the band subtype, see subtypeNames). *first is the real value
// of word 0.
const char* const* choiceWords(int32_t index, int32_t* count, int32_t* first);
