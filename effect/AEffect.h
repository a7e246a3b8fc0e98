#pragma once
// The plain record through which a host reaches an effect, the host callback,
// and the opcodes both sides send. The effect core is written against this
// seam only; host adaptors (LV2, the offline renderer, test hosts) drive it.

#include <cstdint>

struct AEffect;

// Host callback: (effect, opcode, index, value, pointer, opt) -> result.
// A null callback means there is no host; every send tests it first.
using EffectHostCallback = intptr_t (*)(AEffect* effect, int32_t opcode, int32_t index,
                                        intptr_t value, void* ptr, float opt);

using AEffectDispatcherProc = intptr_t (*)(AEffect* effect, int32_t opcode, int32_t index,
                                           intptr_t value, void* ptr, float opt);
using AEffectProcessProc = void (*)(AEffect* effect, float** inputs, float** outputs,
                                    int32_t sampleFrames);
using AEffectProcessDoubleProc = void (*)(AEffect* effect, double** inputs, double** outputs,
                                          int32_t sampleFrames);
using AEffectSetParameterProc = void (*)(AEffect* effect, int32_t index, float parameter);
using AEffectGetParameterProc = float (*)(AEffect* effect, int32_t index);

// Four characters packed big-endian into an int32, as unique IDs are written.
constexpr int32_t fourCC(char a, char b, char c, char d) {
    return (int32_t(uint8_t(a)) << 24) | (int32_t(uint8_t(b)) << 16) |
           (int32_t(uint8_t(c)) << 8) | int32_t(uint8_t(d));
}

constexpr int32_t kEffectMagic = fourCC('F', 'w', 'E', 'f');

// Bits of AEffect::flags.
enum EffectFlags : int32_t {
    effFlagsHasEditor = 1 << 0,
    effFlagsCanMono = 1 << 3,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsCanDoubleReplacing = 1 << 12,
};

struct AEffect {
    int32_t magic = kEffectMagic;
    AEffectDispatcherProc dispatcher = nullptr;
    AEffectProcessProc process = nullptr;  // deprecated accumulating entry; unused
    AEffectSetParameterProc setParameter = nullptr;
    AEffectGetParameterProc getParameter = nullptr;
    int32_t numPrograms = 0;
    int32_t numParams = 0;
    int32_t numInputs = 0;
    int32_t numOutputs = 0;
    int32_t flags = 0;
    intptr_t reserved1 = 0;
    intptr_t reserved2 = 0;
    int32_t initialDelay = 0;
    int32_t realQualities = 0;
    int32_t offQualities = 0;
    float ioRatio = 1.0f;
    void* object = nullptr;  // the AudioEffect
    void* user = nullptr;    // the host's own pointer
    int32_t uniqueID = 0;
    int32_t version = 0;
    AEffectProcessProc processReplacing = nullptr;
    AEffectProcessDoubleProc processDoubleReplacing = nullptr;
};

// Opcodes the effect sends to the host.
enum HostOpcode : int32_t {
    audioMasterAutomate = 0,
    audioMasterWantMidi = 6,
    audioMasterGetTime = 7,
    audioMasterProcessEvents = 8,
    audioMasterIOChanged = 13,
    audioMasterGetCurrentProcessLevel = 23,
    audioMasterGetVendorString = 32,
    audioMasterGetProductString = 33,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
};

// Answers to audioMasterGetCurrentProcessLevel.
enum ProcessLevel : int32_t {
    kProcessLevelUnknown = 0,
    kProcessLevelUser = 1,
    kProcessLevelRealtime = 2,
    kProcessLevelPrefetch = 3,
    kProcessLevelOffline = 4,
};

// Opcodes the host sends through AEffect::dispatcher. Only effProcessEvents is
// fixed by the adaptors' contract; the rest mirror the virtual operations.
enum EffectOpcode : int32_t {
    effOpen = 0,
    effClose = 1,
    effSetProgram = 2,
    effGetProgram = 3,
    effSetProgramName = 4,
    effGetProgramName = 5,
    effGetParamLabel = 6,
    effGetParamDisplay = 7,
    effGetParamName = 8,
    effSetSampleRate = 10,
    effSetBlockSize = 11,
    effMainsChanged = 12,  // value 0 suspend, otherwise resume
    effGetChunk = 23,      // index 1: preset chunk only; ptr is a void**
    effSetChunk = 24,      // index 1: preset chunk only
    effProcessEvents = 25,
    effGetInputProperties = 33,
    effGetOutputProperties = 34,
    effSetBypass = 44,
    effGetEffectName = 45,
    effGetVendorString = 47,
    effGetProductString = 48,
    effGetVendorVersion = 49,
    effCanDo = 51,
};

// Text capacities of the interface, terminator included.
constexpr int kEffectNameSize = 64;
constexpr int kPinLabelSize = 64;
constexpr int kProgramNameSize = 64;

// One entry of an event list handed to effProcessEvents.
struct VstEvent {
    int32_t type;  // 1 MIDI, 6 SysEx
    int32_t byteSize;
    int32_t deltaFrames;
    int32_t flags;
    char data[16];
};

enum VstEventType : int32_t { kVstMidiType = 1, kVstSysExType = 6 };

// A MIDI event: 32 bytes in all.
struct VstMidiEvent {
    int32_t type = kVstMidiType;
    int32_t byteSize = 32;
    int32_t deltaFrames = 0;
    int32_t flags = 0;  // bit 0: to be played immediately
    int32_t noteLength = 0;
    int32_t noteOffset = 0;
    char midiData[4] = {0, 0, 0, 0};
    char detune = 0;
    char noteOffVelocity = 0;
    char reserved1 = 0;
    char reserved2 = 0;
};

struct VstEvents {
    int32_t numEvents = 0;
    intptr_t reserved = 0;
    VstEvent* events[2] = {nullptr, nullptr};  // numEvents entries; hosts may allocate more
};

// Time record the host fills and the effect may read (audioMasterGetTime).
struct VstTimeInfo {
    double samplePos = 0;
    double sampleRate = 0;
    double nanoSeconds = 0;
    double ppqPos = 0;
    double tempo = 0;
    double barStartPos = 0;
    double cycleStartPos = 0;
    double cycleEndPos = 0;
    int32_t timeSigNumerator = 4;
    int32_t timeSigDenominator = 4;
    int32_t smpteOffset = 0;
    int32_t smpteFrameRate = 0;
    int32_t samplesToNextClock = 0;
    int32_t flags = 0;
};

// Properties of one input or output pin.
struct VstPinProperties {
    char label[kPinLabelSize] = {};
    int32_t flags = 0;  // VstPinFlags
    int32_t arrangementType = 0;
    char shortLabel[8] = {};
};

enum VstPinFlags : int32_t {
    kVstPinIsActive = 1 << 0,
    kVstPinIsPair = 1 << 1,        // set when the effect has two outputs
    kVstPinStereoMark = 1 << 2,    // the stereo pair mark some hosts mishandle
};
