#include "core/ParamTable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "dsp/SubtypeNames.h"

namespace {

double clampd(double x, double lo, double hi) {
    return std::min(std::max(x, lo), hi);
}

struct RowTemplate {
    const char* name;
    const char* unit;
    float value, min, max;
    int32_t curve;
};

// Rows 0..13, in index order.
constexpr RowTemplate kGlobalRows[] = {
    {"Bypass", "On/Off", 0, 0, 1, kCurveBool},
    {"Gain", "dB", 0, -36, 36, kCurveLinear},
    {"Scale", "dB", 18, -36, 36, kCurveLinear},
    {"Shift", "%", 100, 50, 200, kCurveLog},
    {"Mode", "IIR/FIR", 0, 0, 1, kCurveInt},
    {"Parallel", "Off,Peaks,Shelves", 0, 0, 2, kCurveInt},
    {"A/B", "", 0, 0, 7, kCurveInt},
    {"IRLength", "Samples", 3, 0, 8, kCurveInt},
    {"IRWindow", "", 10, 0, 15, kCurveInt},
    {"IRWindowParam", "", 0.5f, 0, 1, kCurveLinear},
    {"IRPhase", "", 4, 0, 7, kCurveInt},
    {"IRPad", "", 0, 0, 3, kCurveInt},
    {"D+Len", "Samples", 0, 0, 6, kCurveInt},
    {"MS State", "", 8, 0, 15, kCurveInt},
};
static_assert(std::size(kGlobalRows) == kFirstChannelParam);

// One channel family; the name carries %d for the channel number.
constexpr RowTemplate kChannelRows[kNumChannelFields] = {
    {"Channel %d Level", "Level", 1, 0, 8, kCurveCube},
    {"Channel %d Phase", "Norm/Inv", 0, 0, 1, kCurveBool},
    {"Channel %d Mute", "Off/On", 0, 0, 1, kCurveBool},
    {"Channel %d Solo", "Off/On", 0, 0, 1, kCurveBool},
};

// One band family; the name carries %d for the band number.
constexpr RowTemplate kBandRows[kNumBandFields] = {
    {"Band%d State", "Off/Byp/On", 0, 0, 2, kCurveInt},
    {"Band%d Groups", "", 255, 0, 255, kCurveInt},
    {"Band%d Type", "Peak/HPF/LSh/HSh/LPF/Notch", 1, 1, 6, kCurveInt},
    {"Band%d Subtype", "", 1, 1, 32, kCurveInt},
    {"Band%d Gain", "dB", 0, -1, 1, kCurveLinear},
    {"Band%d Frequency", "Hz", 80, 10, 22000, kCurveLog},
    {"Band%d Q", "Q", 0.707f, 0.1f, 50, kCurveLog},
    {"Band%d Shift", "%", 0, -100, 100, kCurveLinear},
    {"Band%d Slope", "dB", 18, 6, 48, kCurveSixes},
    {"Band%d Phase", "%", 0, -100, 100, kCurveLinear},
};

constexpr RowTemplate kDPlusPhaseRow = {"D+Phase", "Off/On", 0, 0, 1, kCurveBool};

void fillRow(ParamRow& row, const RowTemplate& proto, int32_t number) {
    std::memset(&row, 0, sizeof row);
    std::snprintf(row.name, sizeof row.name, proto.name, number);
    std::snprintf(row.unit, sizeof row.unit, "%s", proto.unit);
    row.value = proto.value;
    row.min = proto.min;
    row.max = proto.max;
    row.curve = proto.curve;
    row.norm = float(curveToNorm(row, row.value));
    row.group = 0;  // set from the name table by the effect
}

ParamRow gStaticTable[kNumParams];

void buildStaticTable() {
    for (int32_t i = 0; i < kFirstChannelParam; ++i) fillRow(gStaticTable[i], kGlobalRows[i], 0);
    for (int32_t c = 0; c < kNumChannels; ++c)
        for (int32_t f = 0; f < kNumChannelFields; ++f)
            fillRow(gStaticTable[channelParam(c, f)], kChannelRows[f], c + 1);
    for (int32_t b = 0; b < kNumBands; ++b)
        for (int32_t f = 0; f < kNumBandFields; ++f)
            fillRow(gStaticTable[bandParam(b, f)], kBandRows[f], b + 1);
    fillRow(gStaticTable[kDPlusPhase], kDPlusPhaseRow, 0);
}

constexpr const char* kOffOn[] = {"Off", "On"};
constexpr const char* kNormInv[] = {"Norm", "Inv"};
constexpr const char* kModeWords[] = {"IIR", "FIR"};
constexpr const char* kParallelWords[] = {"All Series", "Peaks Parallel", "Peaks and Shelves Parallel"};
constexpr const char* kSlotWords[] = {"A", "B", "C", "D", "E", "F", "G", "H"};
constexpr const char* kIRLengthWords[] = {"1024", "2048", "4096", "8192", "16384",
                                          "32768", "65536", "131072", "262144"};
constexpr const char* kWindowWords[] = {"Rectangular", "Hann", "Hamming", "Tukey", "Cosine", "Lanczos",
                                        "Triangular", "Gaussian", "Bartlett-Hann", "Blackman", "Kaiser",
                                        "Nutall", "Blackman-Harris", "Blackman-Nutall", "FlatTop",
                                        "Rect-Param"};
constexpr const char* kPhaseWords[] = {"Linear", "Full Minimum", "Zero-latency Analogue", "Analogue", "Free"};
constexpr const char* kPadWords[] = {"x1", "x2", "x4", "x8"};
constexpr const char* kDPlusLenWords[] = {"Off", "16", "32", "64", "128", "256", "512"};
constexpr const char* kStateWords[] = {"Off", "Byp", "On"};
constexpr const char* kTypeWords[] = {"Peak", "HPF", "LSh", "HSh", "LPF", "Notch"};

template <size_t N>
const char* const* words(const char* const (&list)[N], int32_t* count, int32_t* first, int32_t firstValue = 0) {
    *count = int32_t(N);
    *first = firstValue;
    return list;
}

}  // namespace

double curveToReal(int32_t curve, double min, double max, double norm) {
    const double n = std::isnan(norm) ? 0.0 : clampd(norm, 0.0, 1.0);
    const double span = max - min;
    double r;
    switch (curve) {
        case kCurveLinear: r = min + span * n; break;
        case kCurveLog: r = min * std::exp(std::log(max / min) * n); break;
        case kCurveSquare: r = min + span * n * n; break;
        case kCurveCube: r = min + span * n * n * n; break;
        case kCurveInt: r = std::floor(min + (span + 1.0) * n + 0.00001); break;
        case kCurveSixes: {
            const double v = std::floor(min + (span + 1.0) * n + 0.5);
            r = v - std::fmod(v, 6.0);
            break;
        }
        case kCurveBool: r = std::floor(min + span * n); break;
        case kCurveTwelves: {
            const double v = std::floor(min + (span + 1.0) * n);
            r = v - std::fmod(v, 12.0);
            break;
        }
        case kCurveSCube: {
            const double t = 2.0 * n - 1.0;
            r = min + span * (0.5 + 0.5 * t * t * t);
            break;
        }
        case kCurveOctave: r = std::floor(min * std::exp2(std::floor(std::log2(std::pow(max / min, n))))); break;
        case kCurveFloor: r = std::floor(min + span * n); break;
        case kCurveFourth: r = min + span * n * n * n * n; break;
        default: r = 0.0; break;
    }
    return clampd(r, min, max);
}

double curveToNorm(int32_t curve, double min, double max, double real) {
    const double r = clampd(real, min, max);
    const double span = max - min;
    double n;
    switch (curve) {
        case kCurveLinear:
        case kCurveBool:
        case kCurveFloor: n = span != 0.0 ? (r - min) / span : 0.0; break;
        case kCurveLog: n = std::log(r / min) / std::log(max / min); break;
        case kCurveSquare: n = std::sqrt(span != 0.0 ? (r - min) / span : 0.0); break;
        case kCurveCube: n = std::cbrt(span != 0.0 ? (r - min) / span : 0.0); break;
        case kCurveInt:
        case kCurveSixes:
        case kCurveTwelves: n = (r - min) / (span + 1.0); break;
        case kCurveSCube: {
            const double t = 2.0 * (r - min) / span - 1.0;
            n = 0.5 + 0.5 * (t < 0 ? -1.0 : 1.0) * std::cbrt(std::fabs(t));
            break;
        }
        // Deliberately not the inverse of the forward map: natural log here,
        // base 2 there.
        case kCurveOctave: n = std::floor(std::log(r / min)) / std::log(max / min); break;
        case kCurveFourth: n = std::pow(span != 0.0 ? (r - min) / span : 0.0, 0.25); break;
        default: n = 0.0; break;
    }
    if (std::isnan(n)) n = 0.0;
    return clampd(n, 0.0, 1.0);
}

const ParamRow* staticParamTable() {
    static std::once_flag once;
    std::call_once(once, buildStaticTable);
    return gStaticTable;
}

int32_t curveStepCount(int32_t curve, double min, double max) {
    switch (curve) {
        case kCurveBool: return 1;
        case kCurveInt:
        case kCurveOctave:
        case kCurveFloor: return int32_t(max - min + 1);
        case kCurveSixes: return int32_t((max - min) / 6 + 1);
        case kCurveTwelves: return int32_t((max - min) / 12 + 1);
        default: return 0;
    }
}

int32_t engineTypeOf(int32_t bandType) {
    static constexpr int32_t kEngineTypes[] = {0, 3, 1, 2, 5, 6, 4};
    return (bandType >= 1 && bandType <= 6) ? kEngineTypes[bandType] : 0;
}

const char* const* subtypeNames(int32_t engineType, int32_t* count) { return bandSubtypeNames(engineType, count); }

const char* const* choiceWords(int32_t index, int32_t* count, int32_t* first) {
    *count = 0;
    *first = 0;
    switch (index) {
        case kBypass:
        case kDPlusPhase: return words(kOffOn, count, first);
        case kMode: return words(kModeWords, count, first);
        case kParallel: return words(kParallelWords, count, first);
        case kABBank: return words(kSlotWords, count, first);
        case kIRLength: return words(kIRLengthWords, count, first);
        case kIRWindow: return words(kWindowWords, count, first);
        case kIRPhase: return words(kPhaseWords, count, first);
        case kIRPad: return words(kPadWords, count, first);
        case kDPlusLen: return words(kDPlusLenWords, count, first);
        default: break;
    }
    if (index >= kFirstChannelParam && index < kFirstBandParam) {
        const int32_t field = (index - kFirstChannelParam) % kNumChannelFields;
        if (field == kFieldChannelPhase) return words(kNormInv, count, first);
        if (field == kFieldMute || field == kFieldSolo) return words(kOffOn, count, first);
        return nullptr;
    }
    switch (bandFieldOf(index)) {
        case kFieldState: return words(kStateWords, count, first);
        case kFieldType: return words(kTypeWords, count, first, kTypePeak);
        default: return nullptr;
    }
}
