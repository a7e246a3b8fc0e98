#include "core/Plug.h"

#include <chrono>

#include <algorithm>
#include <type_traits>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "core/ParameterNameTable.h"
#include "resources/ResourceTable.h"
#include "state/GlobalSettings.h"

std::atomic<bool> Plug::audioHasRunFlag{false};
std::atomic<int32_t> Plug::liveInstances{0};

namespace {

constexpr int32_t kEffectBands = 32;
constexpr float kDefaultRate = 44100.0f;
constexpr float kStandardMinFrequency = 10.0f;
constexpr float kStandardMaxFrequency = 22000.0f;
constexpr float kExtendedMinFrequency = 5.0f;
constexpr double kGainRampStep = 0.01;        // fraction of the distance per sample
constexpr double kGainSnapDistance = 0.000001;  // below this the ramp snaps to its target
constexpr double kSilentLevel = 0.000001;       // a channel level below this shows "-"
// Full updates per second while audio runs in the IIR and Digital+ modes.
constexpr int32_t kIIRUpdateRate = 40;
// After this many samples an update goes through within the same tick.
constexpr int32_t kSamplesPerForcedUpdate = 4096;
// A groups value from here up covers both groups of a stereo instance.
constexpr int32_t kBothGroups = 192;
constexpr int32_t kCompensationBase = 8;  // Digital+ taps: 8 << kDPlusLen
constexpr int32_t kIRLengthBase = 1024;   // FIR taps: 1024 << kIRLength
// The eight DSP rows, in the order of the render settings.
constexpr int32_t kDspRows[8] = {kMode, kIRLength, kIRWindow, kIRWindowParam, kIRPhase, kIRPad, kDPlusLen, kDPlusPhase};
enum DspSetting : int32_t { kDspMode, kDspIRLength, kDspWindow, kDspWindowParam, kDspPhase, kDspPad, kDspDPlusLen, kDspDPlusPhase };
// FIR updates per second for "FFT Update throttle" "Mild", "Med", "Intensive".
constexpr int32_t kFirUpdateRates[3] = {10, 20, 40};

// Meter ballistics: each follower covers 1-base of the distance in `time`.
struct Ballistics {
    double attackBase, attackTime, releaseBase, releaseTime;
};
constexpr Ballistics kBallistics[4] = {
    {0.0, 0.0, 0.1, 0.3},       // Digital: instant attack
    {0.2, 0.005, 0.1, 1.7},     // PPM
    {0.01, 0.3, 0.01, 0.3},     // VU
    {0.2, 0.01, 0.0631, 2.8},   // BBC
};

double coefficientFor(double base, double time, double rate) {
    return 1.0 - std::pow(base, 1.0 / (rate * time));
}

float extendedMaxFrequency(float rate) {
    return (rate - 100.0f) / 2.0f;
}

double* newZeroed(int32_t n) noexcept {
    if (n <= 0) return nullptr;
    double* p = new (std::nothrow) double[size_t(n)];
    if (p) std::fill_n(p, n, 0.0);
    return p;
}

void freeAll(double** buffers, int32_t count) noexcept {
    for (int32_t c = 0; c < count; ++c) {
        delete[] buffers[c];
        buffers[c] = nullptr;
    }
}

// The analyser rings are read by another thread without a lock. Each sample
// moves as one relaxed atomic word, a plain move on the targets we build for.
void storeRelaxed(double* ring, const double* from, int32_t n) noexcept {
    for (int32_t i = 0; i < n; ++i) std::atomic_ref<double>(ring[i]).store(from[i], std::memory_order_relaxed);
}

void zeroRelaxed(double* ring, int32_t n) noexcept {
    for (int32_t i = 0; i < n; ++i) std::atomic_ref<double>(ring[i]).store(0.0, std::memory_order_relaxed);
}

void loadRelaxed(double* to, double* ring, int32_t n) noexcept {
    for (int32_t i = 0; i < n; ++i) to[i] = std::atomic_ref<double>(ring[i]).load(std::memory_order_relaxed);
}

// One sample of a coded pair, mid and side, back to left and right.
inline void decodeSample(double& a, double& b) noexcept {
    const double x = a, y = b;
    a = (x + y) * 0.5;
    b = (x - y) * 0.5;
}

// Mid and side of m samples back to left and right, in place.
void decodePair(double* a, double* b, int32_t m) noexcept {
    for (int32_t s = 0; s < m; ++s) decodeSample(a[s], b[s]);
}

// One step of a level follower. Both products are formed before the
// choice, which keeps the one chosen (the same value as choosing the
// coefficient first) off the chain from sample to sample.
inline void followStep(double& e, double x, double attack, double release) noexcept {
    const double d = std::fabs(x) - e;
    const double up = d * attack, down = d * release;
    e += d > 0.0 ? up : down;
}

constexpr const char* kNoteNames[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

double roundHalfUp(double y) {
    return std::floor(y + 0.5);
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction and teardown

Plug::Plug(EffectHostCallback host, EditorFactory makeEditor)
    : PlugBaseJSON(host),
      bank(kEffectBands, kDefaultRate, 2),
      uiTree(StoredSettings::factoryUiSettings()),
      storedSettings(&uiTree),
      settings(&storedSettings) {
    sampleRate = kDefaultRate;
    blockSize = kMaxBlock;
    assignParameterGroups();
    msMask.store(0xF);
    channelSlots = standardChannelLayout(2);
    setChannelLayout(channelSlots);
    tapScratch = std::make_unique<double[]>(size_t(kRingLength));

    {
        std::lock_guard<PlugBaseMutex> hold(engineLock);  // no update on a half-built object
        pitchFactor = 1.0;
        minFrequency = kStandardMinFrequency;
        maxFrequency = kStandardMaxFrequency;
        autoListenBand = -1;
        clipThreshold.store(kClipThreshold0dB);
        allocateBuffers(kMaxBlock, getChannelCount());
        setABParameterIndex(kABBank);
        for (size_t i = 0; i < std::size(kDspRows); ++i) renderSettings[i] = staticParamTable()[kDspRows[i]].value;
        renderSettings[kRenderSettingCount - 1] = 0.0f;  // render settings off
        nameInstance();
        createEditor(makeEditor);
        const ResourceData defaults = findResource("defaults", "json");
        GlobalSettings::instance().installDefaults(reinterpret_cast<const char*>(defaults.data), defaults.size);
        reloadGlobalSettings();
        reloadUISettings();
        loadDefaultBank();
    }
    resume();
    refreshPending = false;
    liveInstances.fetch_add(1);
    joinSharedTimer();
    startWorker();
    // Last: the other instances reach this one only once it is whole.
    registerInstance();
}

Plug::~Plug() {
    // First: once the registry lets go, no other instance is inside this
    // one, and none can reach it again while it comes apart.
    unregisterInstance();
    stopWorker();
    // Off the timer before the editor goes: an update from the timer thread
    // may still send the editor a tag.
    leaveSharedTimer();
    editorObject.reset();
    if (liveInstances.fetch_sub(1) == 1) audioHasRunFlag = false;
    allocateBuffers(0, 0);
    // Every generation of rings is in exactly one of these two places.
    freeRingChain(ringMailbox.exchange(nullptr));
    freeRingChain(readerRings);
    readerRings = nullptr;
}

void Plug::assignParameterGroups() {
    const ParameterNameTable& names = ParameterNameTable::instance();
    parameterGroupNames.clear();
    for (int32_t i = 0; i < kNumParams && size_t(i) < names.size(); ++i) {
        const char* name = names.nameAt(size_t(i)).c_str();
        int32_t group = 0;
        std::string label;
        if (std::strncmp(name, "kChannel", 8) == 0 && std::isdigit(uint8_t(name[8]))) {
            group = name[8] - '0';
            label = std::string("Channel ") + name[8];
        } else if (std::strncmp(name, "kBand", 5) == 0 && std::isdigit(uint8_t(name[5]))) {
            const int32_t number = std::atoi(name + 5);
            group = number + kNumChannels;
            label = "Band " + std::to_string(number);
        }
        table[i].group = group;
        if (group != 0 && group != int32_t(parameterGroupNames.size())) parameterGroupNames.push_back(label);
    }
}

const char* Plug::getParameterGroupName(int32_t k) const {
    return (k >= 0 && k < getParameterGroupCount()) ? parameterGroupNames[size_t(k)].c_str() : "";
}

// ---------------------------------------------------------------------------
// Host interface

void Plug::resume() {
    std::lock_guard<std::mutex> hold(resumeMutex);
    stopWorker();
    wantEvents();
    {
        // The bank is rebuilt: no design may run, from whichever thread.
        std::lock_guard<PlugBaseMutex> design(designLock);
        std::lock_guard<PlugBaseMutex> engine(engineLock);
        reloadGlobalSettings();
        updateFrequencyLimits();
        if (getChannelCount() != groupCount) rebuildGroupNames(getChannelCount());
        applyRestoredGroupNames();
        rebuilding = true;
        bank.setChannels(getChannelCount());
        rebuilding = false;
        if (autoListenArmed.load() == 0 || !autoListenAllowed) autoListenBand = -1;
        bank.setSampleRate(sampleRate);
        computeMeterCoefficients();
        clearAudioState();
    }
    markChunkStale();
    updateProcessLevel();
    wantEvents();
    refreshEngine(true);
    // A mode for the worker is carried out here, so audio starts with it.
    if (modePending.isRaised() || irLengthPending.isRaised()) workerStep();
    for (int32_t c = 0; c < kMaxChannels; ++c) channelGainNow[c] = channelGainTarget[c].load();
    updateLatency();
    startWorker();
}

void Plug::clearAudioState() {
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        codedLevels[c].store(0.0, std::memory_order_relaxed);
        plainLevels[c].store(0.0, std::memory_order_relaxed);
    }
    ringPosition.store(0, std::memory_order_relaxed);
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        if (preRing[c]) zeroRelaxed(preRing[c], kRingLength);
        if (postRing[c]) zeroRelaxed(postRing[c], kRingLength);
        if (dryDelay[c]) std::fill_n(dryDelay[c], delayLength, 0.0);
    }
    delayPosition = 0;
}

void Plug::setSampleRate(float rate) {
    if (!(rate > 0.0f) || !std::isfinite(rate)) return;  // a host's nonsense rate changes nothing
    std::lock_guard<PlugBaseMutex> held(engineLock);  // the limits are read by every update
    const float oldMax = maxFrequency;
    sampleRate = rate;
    sampleRateGiven = true;
    refreshEngine(false);
    updateFrequencyLimits();
    const float oldMin = extendedFrequencies ? kExtendedMinFrequency : kStandardMinFrequency;
    float boundMax = oldMax;
    const bool restoredBound = pendingMaxFrequency != -1.0f;
    if (restoredBound) {
        boundMax = pendingMaxFrequency;
        pendingMaxFrequency = -1.0f;
    }
    remapBandFrequencies(minFrequency, maxFrequency, oldMin, boundMax, -1, true, false);
    // The live rows were read from programs stored on the restored range
    // before it was known; now they are read again on the range in force.
    if (restoredBound) reloadLiveFrequencies();
}

void Plug::setParameterLocked(int32_t program, int32_t index, bool locked) {
    records.setLocked(program, index, locked);
}

void Plug::setParameter(int32_t index, float norm) {
    if (records.isLocked(curProgram, index)) return;
    PlugBaseJSON::setParameter(index, norm);
    notifyScaledRows(index);
}

void Plug::notifyScaledRows(int32_t index) noexcept {
    if (index != kScale && index != kFShift) return;
    const int32_t field = index == kScale ? kFieldGain : kFieldFrequency;
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t i = bandParam(b, field);
        notifyEditor(i, std::atomic_ref<float>(table[i].norm).load(std::memory_order_relaxed));
    }
}

// Audio thread: no allocation, no locks.
void Plug::setParameterFromAudio(int32_t index, float norm) noexcept {
    if (!isParamIndex(index) || std::isnan(norm) || records.isLocked(curProgram, index)) return;
    markChunkStale();
    if (index == abParameterIndex) {
        deferredSlotNorm.store(norm, std::memory_order_release);
        return;
    }
    storeNorm(index, norm);
    refreshPending.store(true);
    notifyEditor(index, norm);
    notifyScaledRows(index);
}

void Plug::applyAudioWrites() {
    const float slot = deferredSlotNorm.exchange(std::numeric_limits<float>::quiet_NaN());
    if (!std::isnan(slot)) setParameter(abParameterIndex, slot);
    if (forcedRefreshPending.exchange(false)) {
        refreshEngine(true);
        // Held back by the engine lock: forced again next time.
        if (refreshPending.load()) forcedRefreshPending.store(true);
    }
}

bool Plug::setBypass(bool on) {
    setParameter(kBypass, on ? 1.0f : 0.0f);
    return true;
}

void Plug::getParameterLabel(int32_t index, char* label) {
    if (!label) return;
    if (index == kIRLength || index == kDPlusLen)
        std::snprintf(label, kParamTextSize, "samples");
    else if (isChannelLevel(index))
        std::snprintf(label, kParamTextSize, "dB");
}

void Plug::updateProcessLevel() noexcept {
    const bool nowOffline = getCurrentProcessLevel() == kProcessLevelOffline;
    if (nowOffline != offline.load()) {
        offline.store(nowOffline);
        onProcessLevelChanged();
    }
}

void Plug::onProcessLevelChanged() {
    refreshEngine(true);
    updateLatency();
}

void Plug::idle() {
    updateLatency();
    applyAudioWrites();
    if (refreshPending) refreshEngine(false);
}

// ---------------------------------------------------------------------------
// Settings

void Plug::setSettingsSource(const SettingsAccess* source) {
    settings = source ? source : &storedSettings;
    reloadGlobalSettings();
    reloadUISettings();
}

void Plug::reloadGlobalSettings() {
    std::lock_guard<PlugBaseMutex> held(engineLock);
    // Read by the audio thread: each is one atomic word.
    clipThreshold.store(settings->globalValue("Clip threshold") == 0 ? kClipThreshold0dB : kClipThresholdMinus01dB,
                        std::memory_order_relaxed);
    const bool mute = settings->globalValue("Solo Mode") == 1;
    soloMute.store(mute, std::memory_order_relaxed);
    soloSelect.store(!mute, std::memory_order_relaxed);
    gesturesToHost = settings->globalValue("VST Gestures") != 0;
    automateAll = settings->globalValue("A/B Automation") != 0;
    listenEnableMode = settings->globalValue("AutoListen Enable");
    listenGainMode = settings->globalValue("AutoListen Gain");
    listenQMode = settings->globalValue("AutoListen Q");
    listenIgnoresQ = settings->globalValue("AutoListen Ignores Q");
    autoListenAllowed = settings->globalValue("AutoListen Disabled") == 0;
    constexpr int32_t kCompressionLevels[4] = {0, 1, 5, 9};  // "Off", "Fastest", "Med", "Smallest"
    setCompressionLevel(kCompressionLevels[settings->globalValue("Save Compression") & 3]);
    const int32_t throttle = settings->globalValue("FFT Update throttle");
    firUpdateRate = (throttle >= 0 && throttle < 3) ? kFirUpdateRates[throttle] : kFirUpdateRates[2];
}

void Plug::reloadUISettings() {
    std::lock_guard<PlugBaseMutex> held(engineLock);
    simpleNumbers = settings->uiValue("Misc", "Number format") == 1;
    showTrueQ = settings->uiValue("Misc", "Show True Q") != 0;
    ballisticType = settings->uiValue("Meters", "Ballistic Type");
    computeMeterCoefficients();
    // "MIDI Bend Range": "1" to "12" semitones, then "24".
    const int32_t bend = settings->uiValue("Misc", "MIDI Bend Range");
    midiBendRange = bend == 12 ? 2.0 : double(bend + 1) / 12.0;
    midiInput = settings->uiValue("Misc", "MIDI Input") != 0;
    const int32_t midSide = settings->uiValue("Misc", "Autogain MS");
    const int32_t weighting = settings->uiValue("Misc", "Autogain Weighting");
    const bool autoGainChanged = midSide != autoGainMidSide || weighting != autoGainWeighting;
    autoGainMidSide = midSide;
    autoGainWeighting = weighting;
    if (autoGainChanged) refreshEngine(false);
    const bool extended = settings->uiValue("Misc", "Extended Frequencies") != 0;
    if (extended != extendedFrequencies) {
        extendedFrequencies = extended;
        const float ext = extendedMaxFrequency(sampleRate);
        if (extended)
            remapBandFrequencies(kExtendedMinFrequency, ext, kStandardMinFrequency, kStandardMaxFrequency, -1,
                                 true, true);
        else
            remapBandFrequencies(kStandardMinFrequency, kStandardMaxFrequency, kExtendedMinFrequency, ext, -1,
                                 true, true);
    }
}

void Plug::computeMeterCoefficients() {
    const Ballistics& b = kBallistics[((ballisticType % 4) + 4) % 4];
    const double rate = sampleRate;
    // Written while audio may run: the followers read them once per chunk.
    attackCoefficient.store(b.attackTime > 0.0 ? coefficientFor(b.attackBase, b.attackTime, rate) : 1.0,
                            std::memory_order_relaxed);
    releaseCoefficient.store(coefficientFor(b.releaseBase, b.releaseTime, rate), std::memory_order_relaxed);
}

// ---------------------------------------------------------------------------
// Frequency limits

void Plug::updateFrequencyLimits() {
    minFrequency = extendedFrequencies ? kExtendedMinFrequency : kStandardMinFrequency;
    maxFrequency = extendedFrequencies ? extendedMaxFrequency(sampleRate) : kStandardMaxFrequency;
    for (int32_t b = 0; b < kNumBands; ++b) {
        ParamRow& row = table[bandParam(b, kFieldFrequency)];
        row.min = minFrequency;
        row.max = maxFrequency;
        row.norm = float(curveToNorm(row, row.value));
    }
}

void Plug::remapBandFrequencies(float newMin, float newMax, float oldMin, float oldMax, int32_t slot, bool all,
                                bool notify) {
    const double oldSpan = std::log(double(oldMax) / oldMin);
    const double newSpan = std::log(double(newMax) / newMin);
    auto remap = [&](ProgramRecord& record) {
        for (int32_t b = 0; b < kNumBands; ++b) {
            float& stored = record.values[bandParam(b, kFieldFrequency)];
            const double n = std::clamp(double(stored), 0.0, 1.0);
            double f = oldMin * std::exp(n * oldSpan);
            f = std::clamp(f, double(oldMin), double(oldMax));
            f = std::clamp(f, double(newMin), double(newMax));
            stored = float(std::clamp(std::log(f / newMin) / newSpan, 0.0, 1.0));
        }
    };
    for (int32_t p = 0; p < kNumPrograms; ++p)
        if (slot == -1 || slot == p) remap(records.program(p));
    if (all)
        for (int32_t s = 0; s < kNumABSlots; ++s) remap(records.slot(s));
    if (!notify) return;
    updateFrequencyLimits();
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t i = bandParam(b, kFieldFrequency);
        beginEdit(i);
        setParameterAutomated(i, table[i].norm);
        endEdit(i);
    }
}

void Plug::reapplyFrequencyLimits() {
    const float ext = extendedMaxFrequency(sampleRate);
    if (extendedFrequencies)
        remapBandFrequencies(kExtendedMinFrequency, ext, kStandardMinFrequency, kStandardMaxFrequency, -1, true, true);
    else
        remapBandFrequencies(kStandardMinFrequency, kStandardMaxFrequency, kExtendedMinFrequency, ext, -1, true, true);
}

// ---------------------------------------------------------------------------
// Value mapping and formatting

double Plug::normToDisplay(int32_t index, double norm) {
    if (!isParamIndex(index)) return 0.0;
    double x = curveToReal(table[index], norm);
    if (isBandGain(index)) x *= rowValue(kScale);
    if (isBandFrequency(index)) x *= rowValue(kFShift) * 0.01 * getPitchFactor();
    return x;
}

double Plug::displayToNorm(int32_t index, double x) {
    if (!isParamIndex(index)) return 0.0;
    const ParamRow& row = table[index];
    if (isBandGain(index)) {
        const double scale = rowValue(kScale);
        if (scale == 0.0) return curveToNorm(row, 0.0);
        x /= scale;
    }
    if (isBandFrequency(index)) x /= rowValue(kFShift) * 0.01 * getPitchFactor();
    return curveToNorm(row, x);
}

void Plug::formatParameter(int32_t index, float norm, char* text, bool musical) {
    if (!text) return;
    if (!isParamIndex(index)) {
        text[0] = 0;
        return;
    }
    const ParamRow& row = table[index];
    const int32_t v = int32_t(curveToReal(row, norm));
    if (index == kIRLength) {
        std::snprintf(text, kParamTextSize, "%d", 1024 << v);
        return;
    }
    if (index == kDPlusLen) {
        if (v == 0)
            std::snprintf(text, kParamTextSize, "Off");
        else
            std::snprintf(text, kParamTextSize, "%d", 8 << v);
        return;
    }
    if (index == kIRPad) {
        std::snprintf(text, kParamTextSize, "%d", 1 << v);
        return;
    }
    if (isChannelLevel(index)) {
        const double level = curveToReal(row, norm);
        if (level < kSilentLevel)
            std::snprintf(text, kParamTextSize, "-");
        else
            std::snprintf(text, kParamTextSize, "%.1f", 20.0 * std::log10(level));
        return;
    }
    if (row.curve == kCurveInt || row.curve == kCurveSixes || row.curve == kCurveBool) {
        baseFormat(index, norm, text);
        return;
    }

    double x = normToDisplay(index, norm);
    const bool hz = std::strcmp(row.unit, "Hz") == 0;
    if (musical && hz && x > 0.0) {
        const double octaves = std::log2(x / 440.0);
        const double o = roundHalfUp(octaves);
        const double s = (octaves - o) * 12.0;
        const double t = roundHalfUp(s);
        const int32_t cents = int32_t(roundHalfUp((s - t) * 100.0));
        const int32_t note = ((int32_t(t) + 21) % 12 + 12) % 12;
        const int32_t octave = int32_t(o) + (t < 3.0 ? 4 : 5);
        std::snprintf(text, kParamTextSize, "%s%d%+02d", kNoteNames[note], octave, cents);
        return;
    }
    if (bandFieldOf(index) == kFieldQ && showTrueQ) {
        const double q = bank.trueQ(bandIndexOf(index));
        if (q >= 0.0) x = q;
    }

    const bool gain = isBandGain(index);
    const bool frequency = isBandFrequency(index) || hz;
    if (gain) {
        std::snprintf(text, kParamTextSize, simpleNumbers ? "%.1f %s" : "%.2f %s", x, row.unit);
    } else if (frequency) {
        if (simpleNumbers) {
            if (std::fabs(x) > 1000.0)
                std::snprintf(text, kParamTextSize, "%.1f kHz", x * 0.001);
            else
                std::snprintf(text, kParamTextSize, "%.0f Hz", x);
        } else {
            std::snprintf(text, kParamTextSize, std::fabs(x) <= 1000.0 ? "%.1f Hz" : "%.0f Hz", x);
        }
    } else if (std::strcmp(row.unit, "dB") == 0) {
        std::snprintf(text, kParamTextSize, simpleNumbers ? "%.1f dB" : "%.2f dB", x);
    } else if (std::strcmp(row.unit, "%") == 0) {
        std::snprintf(text, kParamTextSize, "%.0f %%", x);
    } else {
        std::snprintf(text, kParamTextSize, std::fabs(x) < 999.995 ? "%.2f %s" : "%.0f %s", x, row.unit);
    }
}

// ---------------------------------------------------------------------------
// Engine

int32_t Plug::msMaskFromState() const {
    const int32_t v = int32_t(rowValue(kMsState)) & 0xF;
    // The parameter keeps pair 0 in bit 3, pair 3 in bit 0.
    return ((v >> 3) & 1) | (((v >> 2) & 1) << 1) | (((v >> 1) & 1) << 2) | ((v & 1) << 3);
}

BandMappingContext Plug::bandMappingContext() const {
    BandMappingContext context;
    context.scale = rowValue(kScale);
    context.frequencyShift = rowValue(kFShift);
    context.pitchFactor = getPitchFactor();
    context.minFrequency = minFrequency;
    context.maxFrequency = maxFrequency;
    context.listenBand = autoListenBand.load();
    context.listenGainMode = std::max(0, listenGainMode);
    context.listenQMode = std::max(0, listenQMode);
    return context;
}

float Plug::rowValue(int32_t index) const {
    // Rows are written by the control thread while the timer and the worker
    // read them here: one relaxed atomic read per value.
    return std::atomic_ref<float>(const_cast<float&>(table[index].value)).load(std::memory_order_relaxed);
}

int64_t Plug::clockMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void Plug::refreshEngine(bool force) {
    if (bulkWrites.load(std::memory_order_acquire) > 0) {
        refreshPending = true;
        return;
    }
    if (!engineLock.try_lock()) {
        refreshPending = true;
        return;
    }
    std::lock_guard<PlugBaseMutex> held(engineLock, std::adopt_lock);
    // A design in progress reads the bank and the settings below: the update
    // waits for the next idle after it.
    if (!designLock.try_lock()) {
        refreshPending = true;
        return;
    }
    std::lock_guard<PlugBaseMutex> design(designLock, std::adopt_lock);
    // Cleared before the table is read, so a write that lands during this
    // update raises it again and is carried out by the next idle.
    refreshPending = false;
    if (rebuilding) {
        refreshPending = true;
        return;
    }
    force = force || offline.load();
    const int32_t c = std::min(bank.getChannelCount(), int32_t(kMaxChannels));
    const int32_t listen = autoListenBand.load();

    // Bands: each band's settings go to the objects of the channels its
    // groups reach; the objects of the other channels are bypassed.
    BandMappingContext context = bandMappingContext();
    const int32_t allChannels = (1 << c) - 1;
    int32_t heard = 0;
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t groups = int32_t(rowValue(bandParam(b, kFieldGroups)));
        const int32_t mask = bandChannelMask(groups, groupMask, c);
        if (b == listen) heard = mask;
        float fields[kNumBandFields];
        for (int32_t f = 0; f < kNumBandFields; ++f) fields[f] = rowValue(bandParam(b, f));
        const BandShape shape = mapBandShape(fields, b, context);
        BandShape elsewhere = shape;
        elsewhere.state = 1;
        bank.setShape(elsewhere, b, allChannels & ~mask);
        bank.setShape(shape, b, mask);
        const EQ* object = bank.getBandAt(b, 0);
        for (int32_t previous = 0; previous < 2; ++previous) {
            bandControlCache[b][previous].store(object ? object->controlMask(previous != 0) : 0);
            bandLabelCache[b][previous].store(object ? object->shiftLabel(previous != 0) : "");
        }
    }
    listenMask.store(heard, std::memory_order_relaxed);
    if (rebuilding) {
        refreshPending = true;
        return;
    }

    composeChannelGains(c);
    currentMsMask();
    bank.setParallelMode(listen == -1 ? int32_t(rowValue(kParallel)) : kParallelOff);
    if (listen == -1) applyAutoGain(c);

    const int32_t mode = chooseEngineMode();
    bank.setKeepLatencyPeak(legacyAlignment && mode == kModeZeroLatency);
    if (rebuilding) {
        refreshPending = true;
        return;
    }

    // The rate limit: while audio runs, one full update per tick, unless
    // 4096 samples have gone by since the last one.
    const int32_t rate = mode < kModeFullMinimum ? kIIRUpdateRate : firUpdateRate;
    const int64_t tick = clockMs() * rate / 1000;
    const int32_t samples = samplesSinceUpdate.load(std::memory_order_relaxed);
    if ((!force && samples < kSamplesPerForcedUpdate && tick == lastTick) || loadInProgress) {
        refreshPending = true;
        return;
    }
    if (samples >= kSamplesPerForcedUpdate) samplesSinceUpdate.store(0, std::memory_order_relaxed);

    // One stereo convolver serves a stereo instance whose live bands all
    // cover both channels.
    if (c == 2) {
        allBandsStereo = true;
        for (int32_t b = 0; b < kNumBands; ++b)
            if (int32_t(rowValue(bandParam(b, kFieldState))) == kBandOn &&
                int32_t(rowValue(bandParam(b, kFieldGroups))) < kBothGroups)
                allBandsStereo = false;
        bank.setStereoLinked(allBandsStereo && bank.getChannelCount() == 2);
    } else {
        bank.setStereoLinked(false);
    }

    if (mode < kModeFullMinimum) {
        modePending.take();  // a FIR mode still waiting for the worker is overtaken
        irLengthPending.take();
        bank.setBankMode(mode);
    } else {
        requestedMode = mode;
        // The IR length goes to the worker with its mode, never alone, so
        // the bank is never left between them without a mode.
        irLengthPending.raise();
        modePending.raise();
    }
    latencyTarget.store(EQBank::latencyOf(mode, requestedIRLength));
    lastTick = clockMs() * rate / 1000;
    updateCount.fetch_add(1, std::memory_order_relaxed);
    if (rowValue(kBypass) != 0.0f) allBandsStereo = true;
    // Offline, nothing waits for the worker: its part is done before the next block.
    if (offline.load() && (modePending.isRaised() || irLengthPending.isRaised())) workerStep();
}

void Plug::composeChannelGains(int32_t c) {
    // Master gain, level and polarity, then solo and AutoListen, and mute,
    // which always wins.
    int32_t phaseMask = 0, muteMask = 0, solo = 0;
    for (int32_t i = 0; i < c; ++i) {
        if (rowValue(channelParam(i, kFieldChannelPhase)) != 0.0f) phaseMask |= 1 << i;
        if (rowValue(channelParam(i, kFieldMute)) != 0.0f) muteMask |= 1 << i;
        if (rowValue(channelParam(i, kFieldSolo)) != 0.0f) solo |= 1 << i;
    }
    const int32_t heard = listenMask.load(std::memory_order_relaxed);
    const double master = std::pow(10.0, rowValue(kGain) / 20.0);
    for (int32_t i = 0; i < c; ++i) {
        const double sign = (phaseMask >> i) & 1 ? -1.0 : 1.0;
        double target = sign * master * rowValue(channelParam(i, kFieldLevel));
        if (soloMute.load(std::memory_order_relaxed) && ((solo != 0 && !((solo >> i) & 1)) || (heard != 0 && !((heard >> i) & 1)))) target = 0.0;
        if ((muteMask >> i) & 1) target = 0.0;
        channelGainTarget[i].store(target, std::memory_order_relaxed);
    }
    soloMask.store(solo, std::memory_order_relaxed);
}

int32_t Plug::chooseEngineMode() {
    // The eight DSP settings: the parameters, or offline the render settings
    // when they are switched on.
    float dsp[std::size(kDspRows)];
    const bool useRender = offline.load() && renderSettings[kRenderSettingCount - 1] != 0.0f;
    for (size_t i = 0; i < std::size(kDspRows); ++i) dsp[i] = useRender ? renderSettings[i] : rowValue(kDspRows[i]);
    const int32_t modeSwitch = int32_t(dsp[kDspMode]);
    const int32_t irLength = int32_t(dsp[kDspIRLength]);
    const int32_t window = int32_t(dsp[kDspWindow]);
    const float windowParam = dsp[kDspWindowParam];
    const int32_t phase = int32_t(dsp[kDspPhase]);
    const int32_t pad = int32_t(dsp[kDspPad]);
    const int32_t dPlusLength = int32_t(dsp[kDspDPlusLen]);
    const bool dPlusPhase = dsp[kDspDPlusPhase] != 0.0f;

    // Digital+ shapes its impulse with the same window as the FIR modes, so
    // the window follows the rows in every mode: what a mode sounds like
    // never depends on which modes ran before.
    bank.setFirWindow(window, windowParam);
    if (modeSwitch == 0) {
        if (dPlusLength == 0) return kModeIIR;
        const int32_t taps = kCompensationBase << dPlusLength;
        if (taps != bank.getCompensationLength()) bank.setDPlusLength(taps);
        return dPlusPhase ? kModeDPlusPhase : kModeDPlus;
    }
    bank.setPadFactor(1 << std::clamp(pad, 0, 3));
    requestedIRLength = kIRLengthBase << std::clamp(irLength, 0, 8);
    switch (phase) {
        case 0: return kModeLinear;
        case 1: return kModeFullMinimum;
        case 2: return kModeZeroLatency;
        case 3: return kModeAnalogue;
        default: return kModeFree;
    }
}

void Plug::workerStep() {
    if (!isWorkerPending()) return;
    // The design lock keeps the bank and the requests it designs from as
    // they are; refreshEngine meanwhile defers to the next idle. The engine
    // lock stays free, so no host call waits for a design.
    std::lock_guard<PlugBaseMutex> held(designLock);
    // Raised before the flags are taken, so that someone waiting for the
    // worker never sees it idle while its design is still on the way.
    workerBusy.store(true);
    const bool newLength = irLengthPending.take();
    const bool newMode = modePending.take();
    if (newLength || newMode)
        if (void (*probe)(Plug&) = designProbe.load()) probe(*this);
    if (newLength) bank.setIRLength(requestedIRLength);
    if (newMode) bank.setBankMode(requestedMode);
    workerBusy.store(false);
}

BandShape Plug::graphShape(int32_t band, bool* parallel) const {
    band = std::clamp(band, 0, kNumBands - 1);
    BandMappingContext context = bandMappingContext();
    context.listenBand = -1;
    float fields[kNumBandFields];
    for (int32_t f = 0; f < kNumBandFields; ++f) fields[f] = rowValue(bandParam(band, f));
    BandShape shape = mapBandShape(fields, band, context);
    if (parallel) {
        const int32_t mode = autoListenBand.load() == -1 ? int32_t(rowValue(kParallel)) : kParallelOff;
        const bool peak = shape.type == kEnginePeak;
        const bool shelf = shape.type == kEngineLowShelf || shape.type == kEngineHighShelf;
        *parallel = shape.state == 0 &&
                    ((mode == kParallelPeaks && peak) || (mode == kParallelPeaksAndShelves && (peak || shelf)));
    }
    return shape;
}

int32_t Plug::renderSettingRow(int32_t i) {
    return i >= 0 && i < int32_t(std::size(kDspRows)) ? kDspRows[i] : -1;
}

void Plug::setRenderSetting(int32_t i, float value) {
    if (i < 0 || i >= kRenderSettingCount || std::isnan(value)) return;
    // Each setting stays within the range of the row it stands in for.
    if (i < kRenderSettingCount - 1) {
        const ParamRow& row = staticParamTable()[kDspRows[i]];
        value = std::clamp(value, row.min, row.max);
    } else {
        value = value != 0.0f ? 1.0f : 0.0f;
    }
    std::lock_guard<PlugBaseMutex> held(engineLock);
    renderSettings[i] = value;
}

float Plug::getRenderSetting(int32_t i) const {
    return (i >= 0 && i < kRenderSettingCount) ? renderSettings[i] : 0.0f;
}

// ---------------------------------------------------------------------------
// Channels and groups

void Plug::rebuildGroupNames(int32_t channelCount) {
    const int32_t channels = std::clamp(channelCount, 0, int32_t(kMaxChannels));
    if (channels == 1) {
        groupNames[0] = "Mono";
        if (editorObject) editorObject->effectChanged(EffectNews::groupNames);
    } else if (channels == 2) {
        const bool coded = msMask.load(std::memory_order_relaxed) & 1;
        groupNames[0] = coded ? "Mid" : "Left";
        if (editorObject) editorObject->effectChanged(EffectNews::groupNames);
        groupNames[1] = coded ? "Side" : "Right";
        if (editorObject) editorObject->effectChanged(EffectNews::groupNames);
    } else {
        for (int32_t i = 0; i < channels; ++i) {
            groupNames[i] = std::to_string(i + 1);
            if (editorObject) editorObject->effectChanged(EffectNews::groupNames);
        }
    }
    groupCount = channels;
}

void Plug::applyRestoredGroupNames() {
    if (groupCount > 2)
        for (size_t g = 0; g < restoredGroupNames.size() && g < size_t(groupCount); ++g)
            groupNames[g] = restoredGroupNames[g];
    if (!restoredGroupNames.empty() && editorObject) editorObject->effectChanged(EffectNews::groupNames);
    restoredGroupNames.clear();
}

const std::string* Plug::groupNamesOf(int32_t* count) const {
    if (count) *count = groupCount;
    return groupNames;
}

void Plug::setGroupName(int32_t i, const char* text) {
    if (i < 0 || i >= bank.getChannelCount() || !text) return;
    groupNames[i] = text;
    if (editorObject) editorObject->effectChanged(EffectNews::groupNames);
}

void Plug::setGroupMask(int32_t i, int32_t mask) {
    if (i < 0 || i >= kMaxChannels) return;
    {
        std::lock_guard<PlugBaseMutex> held(engineLock);
        groupMask[i] = mask & 0xFF;
    }
    refreshEngine(true);
}

int32_t Plug::currentMsMask() {
    const int32_t mask = msMaskFromState();
    if (mask != msMask.load(std::memory_order_relaxed)) {
        msMask.store(mask, std::memory_order_relaxed);
        if (bank.getChannelCount() == 2) rebuildGroupNames(2);
    }
    return mask;
}

void Plug::setMsMask(int32_t mask) {
    // The parameter keeps pair 0 in bit 3: the four bits go in reverse.
    const int32_t r = ((mask & 1) << 3) | ((mask & 2) << 1) | ((mask & 4) >> 1) | ((mask & 8) >> 3);
    if (r == msMask.load(std::memory_order_relaxed)) return;
    beginEdit(kMsState);
    setParameterAutomated(kMsState, float(displayToNorm(kMsState, r)));
    endEdit(kMsState);
    // Until the next update the mask holds the parameter's bit order; that
    // update puts it right.
    msMask.store(r, std::memory_order_relaxed);
    if (bank.getChannelCount() == 2) rebuildGroupNames(2);
}

void Plug::updateLatency() {
    // The timer and the control thread may both get here; one of them reports.
    // The latency is that of the mode and IR length the last update asked
    // for, not the bank's on the way there: while the worker replaces the
    // convolvers and designs, the host sees no passing values, and the audio
    // thread resizes its dry delay once.
    const int32_t latency = latencyTarget.load();
    std::atomic_ref<int32_t> reported(cEffect.initialDelay);
    int32_t before = reported.load();
    if (latency != before && reported.compare_exchange_strong(before, latency)) ioChanged();
}

void Plug::setChannelLayout(const std::vector<ChannelSlot>& slots) {
    channelSlots = slots;
    for (int32_t s = 0; s < int32_t(channelSlots.size()); ++s) {
        const char* label = channelSlots[size_t(s)].label;
        if (!label) continue;
        if (std::strcmp(label, "Left") == 0) leftIndex = s;
        else if (std::strcmp(label, "Right") == 0) rightIndex = s;
        else if (std::strcmp(label, "LFE") == 0) lfeIndex = s;
        else if (std::strcmp(label, "Center") == 0 || std::strcmp(label, "Mono") == 0) centerIndex = s;
    }
}

const char* Plug::channelLabel(int32_t slot) const {
    if (slot < 0 || slot >= int32_t(channelSlots.size())) return "";
    const ChannelSlot& s = channelSlots[size_t(slot)];
    return ((msMask.load(std::memory_order_relaxed) >> (slot / 2)) & 1) && slot / 2 * 2 + 1 < int32_t(channelSlots.size()) ? s.msLabel : s.label;
}

void Plug::allocateBuffers(int32_t maxBlock, int32_t channels) noexcept {
    const int32_t latency = std::atomic_ref<int32_t>(cEffect.initialDelay).load();
    if (workLength >= maxBlock && maxBlock != 0 && channels == allocatedChannels && delayLength == latency) return;
    channels = std::clamp(channels, 0, int32_t(kMaxChannels));

    if (delayLength != latency || channels != allocatedChannels) {
        freeAll(dryDelay, kMaxChannels);
        if (latency > 0)
            for (int32_t c = 0; c < channels; ++c) dryDelay[c] = newZeroed(latency);
        delayLength = latency;
        delayPosition = 0;
    }
    freeAll(workBuffer, kMaxChannels);
    for (int32_t c = 0; c < channels; ++c) workBuffer[c] = newZeroed(maxBlock);

    // The analyser may be copying from the old rings right now, so they are
    // not freed here: the new generation goes to the reader's side, and one
    // that no reader took in the meantime rides behind it, to be freed there
    // or at teardown. The loop retries only when a reader took the mailbox
    // between the load and the exchange.
    std::fill_n(preRing, kMaxChannels, nullptr);
    std::fill_n(postRing, kMaxChannels, nullptr);
    if (RingSet* rings = new (std::nothrow) RingSet) {
        rings->channels = channels;
        for (int32_t c = 0; c < channels; ++c) {
            preRing[c] = rings->pre[c] = newZeroed(kRingLength);
            postRing[c] = rings->post[c] = newZeroed(kRingLength);
        }
        RingSet* untaken = ringMailbox.load(std::memory_order_relaxed);
        do {
            rings->older = untaken;
        } while (!ringMailbox.compare_exchange_weak(untaken, rings, std::memory_order_release,
                                                    std::memory_order_relaxed));
        ringsReplaced.store(1, std::memory_order_release);
    }
    ringPosition.store(0, std::memory_order_relaxed);
    allocatedChannels = channels;
    workLength = maxBlock;
    for (int32_t c = 0; c < channels; ++c)
        if (!workBuffer[c] || !preRing[c] || !postRing[c] || (latency > 0 && !dryDelay[c])) workLength = 0;
}

void Plug::freeRingChain(RingSet* set) noexcept {
    while (set) {
        RingSet* older = set->older;
        freeAll(set->pre, kMaxChannels);
        freeAll(set->post, kMaxChannels);
        delete set;
        set = older;
    }
}

void Plug::getAnalyserTap(double* dest, int32_t count, int32_t tap) {
    if (!dest || count <= 0) return;
    std::lock_guard<std::mutex> turn(tapMutex);

    // Before any audio the rings are made here, for the channels the host
    // gave. The engine lock keeps resume() away; the handshake with the
    // audio thread (see tapAllocating) keeps the first block away. When the
    // lock is busy the taps stay as they are until the next read.
    if (!audioHasRun()) {
        std::unique_lock<PlugBaseMutex> engine(engineLock, std::try_to_lock);
        if (engine.owns_lock()) {
            tapAllocating.store(true);
            if (!audioStarted.load()) allocateBuffers(kMaxBlock, getChannelCount());
            tapAllocating.store(false);
        }
    }

    // A new generation: the reader lets go of its old one, and of any that
    // were replaced before a reader took them. The audio thread moved past
    // all of them before it published the new one.
    int32_t replaced = 1;
    if (ringsReplaced.compare_exchange_strong(replaced, 0, std::memory_order_acquire, std::memory_order_relaxed)) {
        if (RingSet* fresh = ringMailbox.exchange(nullptr, std::memory_order_acquire)) {
            freeRingChain(fresh->older);
            fresh->older = nullptr;
            freeRingChain(readerRings);
            readerRings = fresh;
        }
    }

    double* ring = nullptr;
    const int32_t channels = readerRings ? readerRings->channels : 0;
    if (tap >= 0 && tap < channels) {
        ring = readerRings->post[tap];
    } else if (tap >= channels && tap < 2 * channels) {
        preTapWanted.store(true, std::memory_order_relaxed);
        ring = readerRings->pre[tap - channels];
    }
    if (!ring) {
        std::fill_n(dest, count, 0.0);
        return;
    }

    // The audio thread goes on writing while the ring is copied; the copy
    // is taken in one sweep and unwrapped afterwards.
    const int32_t position = ringPosition.load(std::memory_order_relaxed);
    double* scratch = tapScratch.get();
    loadRelaxed(scratch, ring, kRingLength);
    const int32_t n = std::min(count, kRingLength);
    const int32_t start = (position - n + kRingLength) % kRingLength;
    const int32_t first = std::min(n, kRingLength - start);
    std::copy_n(scratch + start, first, dest);
    std::copy_n(scratch, n - first, dest + first);
    std::fill_n(dest + n, count - n, 0.0);
}

// ---------------------------------------------------------------------------
// The processing loop. Audio thread: no allocation beyond allocateBuffers,
// no locks.

void Plug::processFloat(float** inputs, float** outputs, int32_t n) noexcept {
    processBlock(inputs, outputs, n);
}

void Plug::processDouble(double** inputs, double** outputs, int32_t n) noexcept {
    processBlock(inputs, outputs, n);
}

int32_t Plug::hostIndexOf(int32_t slot, int32_t channels) const noexcept {
    if (slot < int32_t(channelSlots.size())) {
        const int32_t h = channelSlots[size_t(slot)].hostIndex;
        if (h >= 0 && h < channels) return h;
    }
    return slot;
}

template <typename T>
void Plug::processBlock(T** inputs, T** outputs, int32_t n) noexcept {
    audioHasRunFlag.store(true, std::memory_order_relaxed);
    // Until the first block an analyser may be making the buffers; a block
    // that meets it is silent. After that the reader never allocates, and
    // this is one load per block.
    if (!audioStarted.load(std::memory_order_relaxed)) audioStarted.store(true);
    const int32_t channels = cEffect.numInputs;
    if (channels != cEffect.numOutputs || channels < 1 || channels > kMaxChannels || n <= 0) return;
    if (!inputs || !outputs) return;
    if (tapAllocating.load()) {
        for (int32_t c = 0; c < channels; ++c)
            if (outputs[c]) std::fill_n(outputs[c], n, T(0));
        return;
    }
    for (int32_t c = 0; c < channels; ++c)
        if (!inputs[c] || !outputs[c]) return;

    allocateBuffers(kMaxBlock, channels);
    if (workLength < kMaxBlock) return;  // the buffers could not be had
    const int32_t latency = delayLength;
    if (latency > 0) delayPosition %= latency;

    for (int32_t offset = 0; offset < n; offset += kMaxBlock) {
        const int32_t m = std::min(kMaxBlock, n - offset);
        for (int32_t c = 0; c < channels; ++c) {
            const T* src = inputs[hostIndexOf(c, channels)] + offset;
            double* w = workBuffer[c];
            for (int32_t s = 0; s < m; ++s) w[s] = double(src[s]);
        }
        processChunk(m, channels, latency);
        for (int32_t c = 0; c < channels; ++c) {
            T* dst = outputs[hostIndexOf(c, channels)] + offset;
            const double* w = workBuffer[c];
            for (int32_t s = 0; s < m; ++s) dst[s] = T(w[s]);
        }
    }
}

void Plug::processChunk(int32_t m, int32_t channels, int32_t latency) noexcept {
    const bool meters = metersEnabled.load(std::memory_order_relaxed);
    const bool metersPreBank = meterPreBank.load(std::memory_order_relaxed);
    const bool followBefore = meters && metersPreBank;
    const bool followAfter = meters && !metersPreBank;
    // Before the bank without mid/side coding, the coded and the plain
    // signals are the same samples: followers that stand level follow them
    // once, and the other copy takes the result (after the bank,
    // followAndDecode does the same pair by pair).
    const int32_t heard = listenMask.load(std::memory_order_relaxed);
    const int32_t solo = heard != 0 ? heard : soloMask.load(std::memory_order_relaxed);
    const bool soloed = soloSelect.load(std::memory_order_relaxed) && solo != 0;
    const int32_t pairs = channels / 2;
    const bool uncoded = pairs == 0 || (msMask.load(std::memory_order_relaxed) & ((1 << pairs) - 1)) == 0;
    const bool followOnce = followBefore && uncoded && sameLevels(0, channels);
    if (followBefore) runFollowers(plainLevels, m, channels);
    encodeMidSide(m, channels);
    if (followBefore) {
        if (followOnce) {
            copyLevels(codedLevels, plainLevels, channels);
        } else {
            runFollowers(codedLevels, m, channels);
        }
    }
    if (meters && preTapWanted.load(std::memory_order_relaxed)) writeRing(preRing, m, channels);

    if (rowValue(kBypass) == 0.0f) {
        if (latency > 0) {
            int32_t pos = delayPosition;
            for (int32_t s = 0; s < m; ++s) {
                for (int32_t c = 0; c < channels; ++c) dryDelay[c][pos] = workBuffer[c][s];
                if (++pos == latency) pos = 0;
            }
            delayPosition = pos;
        }
        bank.processBank(workBuffer, m, channels);
        applyChannelGain(m, channels);
    } else if (latency > 0) {
        bypassWithDelay(m, channels, latency);
    }

    if (meters) {
        writeRing(postRing, m, channels);
        ringPosition.store((ringPosition.load(std::memory_order_relaxed) + m) % kRingLength,
                           std::memory_order_relaxed);
    }
    if (followAfter && !soloed) {
        followAndDecode(m, channels);
    } else {
        if (followAfter) runFollowers(codedLevels, m, channels);
        if (soloed)
            soloMonitor(solo, m, channels);
        else
            decodeMidSide(m, channels);
        if (followAfter) runFollowers(plainLevels, m, channels);
    }
    if (meters) {
        guardFollowers();
        detectClip(m, channels);
    }
}

void Plug::encodeMidSide(int32_t m, int32_t channels) noexcept {
    const int32_t coded = msMask.load(std::memory_order_relaxed);
    for (int32_t p = 0; 2 * p + 1 < channels; ++p) {
        if (!((coded >> p) & 1)) continue;
        double* a = workBuffer[2 * p];
        double* b = workBuffer[2 * p + 1];
        for (int32_t s = 0; s < m; ++s) {
            const double x = a[s], y = b[s];
            a[s] = x + y;
            b[s] = x - y;
        }
    }
}

void Plug::decodeMidSide(int32_t m, int32_t channels) noexcept {
    const int32_t coded = msMask.load(std::memory_order_relaxed);
    for (int32_t p = 0; 2 * p + 1 < channels; ++p) {
        if (!((coded >> p) & 1)) continue;
        decodePair(workBuffer[2 * p], workBuffer[2 * p + 1], m);
    }
}

void Plug::applyChannelGain(int32_t m, int32_t channels) noexcept {
    for (int32_t c = 0; c < channels; ++c) {
        double* x = workBuffer[c];
        const double t = channelGainTarget[c].load(std::memory_order_relaxed);
        double g = channelGainNow[c];
        if (g == t) {
            for (int32_t s = 0; s < m; ++s) x[s] *= g;
        } else {
            for (int32_t s = 0; s < m; ++s) {
                g += (t - g) * kGainRampStep;
                x[s] *= g;
            }
            if (std::fabs(g - t) < kGainSnapDistance) g = t;
        }
        channelGainNow[c] = g;
    }
}

void Plug::bypassWithDelay(int32_t m, int32_t channels, int32_t latency) noexcept {
    bank.warmConvolvers(workBuffer, m, channels);
    int32_t pos = delayPosition;
    for (int32_t s = 0; s < m; ++s) {
        for (int32_t c = 0; c < channels; ++c) std::swap(workBuffer[c][s], dryDelay[c][pos]);
        if (++pos == latency) pos = 0;
    }
    delayPosition = pos;
}

void Plug::soloMonitor(int32_t mask, int32_t m, int32_t channels) noexcept {
    const int32_t target = centerIndex >= 0 && centerIndex < channels ? centerIndex : leftIndex;
    if (target < 0 || target >= channels) return;
    // A coded pair soloed in full is heard as it is without solo: decoded,
    // each side on its own channel. The other soloed channels are summed
    // onto the target (a soloed LFE stays on its own channel).
    const int32_t coded = msMask.load(std::memory_order_relaxed);
    int32_t whole = 0;
    for (int32_t p = 0; 2 * p + 1 < channels; ++p) {
        const int32_t pair = 3 << (2 * p);
        if (((coded >> p) & 1) && (mask & pair) == pair) whole |= pair;
    }
    for (int32_t p = 0; 2 * p + 1 < channels; ++p) {
        if (!((whole >> (2 * p)) & 1)) continue;
        decodePair(workBuffer[2 * p], workBuffer[2 * p + 1], m);
    }
    const bool hasLfe = lfeIndex >= 0 && lfeIndex < channels;
    const bool hasCenter = centerIndex >= 0 && centerIndex < channels;
    const bool spread = (channels == 2 && !hasLfe) || (channels > 2 && !hasCenter);
    const bool pairPresent = leftIndex >= 0 && leftIndex < channels && rightIndex >= 0 && rightIndex < channels;
    const int32_t rest = mask & ~whole;
    const int32_t kept = whole | (hasLfe ? rest & (1 << lfeIndex) : 0);
    const int32_t summed = rest & ~kept;
    for (int32_t s = 0; s < m; ++s) {
        double sum = ((summed >> target) & 1) ? workBuffer[target][s] : 0.0;
        for (int32_t c = 0; c < channels; ++c)
            if (c != target && ((summed >> c) & 1)) sum += workBuffer[c][s];
        for (int32_t c = 0; c < channels; ++c)
            if (!((kept >> c) & 1)) workBuffer[c][s] = 0.0;
        if (summed == 0) continue;
        if (spread && pairPresent) {
            const double half = sum * 0.5;
            for (int32_t c : {leftIndex, rightIndex}) {
                double& x = workBuffer[c][s];
                x = ((whole >> c) & 1) ? x + half : half;
            }
        } else {
            double& x = workBuffer[target][s];
            x = ((whole >> target) & 1) ? x + sum : sum;
        }
    }
}

namespace {

// `K` followers run side by side: each is a dependency chain from sample to
// sample, so its speed is the latency of one step, and chains run together
// overlap.
template <int K>
void followChains(double* const* x, std::atomic<double>* levels, int32_t m, double attack, double release) noexcept {
    double e[K];
    for (int k = 0; k < K; ++k) e[k] = levels[k].load(std::memory_order_relaxed);
    for (int32_t s = 0; s < m; ++s)
        for (int k = 0; k < K; ++k) followStep(e[k], x[k][s], attack, release);
    for (int k = 0; k < K; ++k) levels[k].store(e[k], std::memory_order_relaxed);
}

}  // namespace

void Plug::followAndDecode(int32_t m, int32_t channels) noexcept {
    const double attack = attackCoefficient.load(std::memory_order_relaxed);
    const double release = releaseCoefficient.load(std::memory_order_relaxed);
    const int32_t coded = msMask.load(std::memory_order_relaxed);
    // Channels decoding leaves alone: the same samples for both followers,
    // followed once when they stand level.
    auto followUncoded = [&](auto channelCount, int32_t c) {
        constexpr int K = decltype(channelCount)::value;
        const bool same = sameLevels(c, c + K);
        followChains<K>(workBuffer + c, codedLevels + c, m, attack, release);
        if (same) {
            copyLevels(plainLevels + c, codedLevels + c, K);
        } else {
            followChains<K>(workBuffer + c, plainLevels + c, m, attack, release);
        }
    };
    int32_t c = 0;
    for (; c + 1 < channels; c += 2) {
        if ((coded >> (c / 2)) & 1) {
            // A coded pair: its followers before and after decoding, and the
            // decoding, in one pass of four chains.
            double* a = workBuffer[c];
            double* b = workBuffer[c + 1];
            double e[4];
            for (int k = 0; k < 2; ++k) {
                e[k] = codedLevels[c + k].load(std::memory_order_relaxed);
                e[2 + k] = plainLevels[c + k].load(std::memory_order_relaxed);
            }
            for (int32_t s = 0; s < m; ++s) {
                followStep(e[0], a[s], attack, release);
                followStep(e[1], b[s], attack, release);
                decodeSample(a[s], b[s]);
                followStep(e[2], a[s], attack, release);
                followStep(e[3], b[s], attack, release);
            }
            for (int k = 0; k < 2; ++k) {
                codedLevels[c + k].store(e[k], std::memory_order_relaxed);
                plainLevels[c + k].store(e[2 + k], std::memory_order_relaxed);
            }
            continue;
        }
        followUncoded(std::integral_constant<int, 2>{}, c);
    }
    if (c < channels) followUncoded(std::integral_constant<int, 1>{}, c);
}

void Plug::runFollowers(std::atomic<double>* levels, int32_t m, int32_t channels) noexcept {
    const double attack = attackCoefficient.load(std::memory_order_relaxed);
    const double release = releaseCoefficient.load(std::memory_order_relaxed);
    int32_t c = 0;
    for (; c + 4 <= channels; c += 4) followChains<4>(workBuffer + c, levels + c, m, attack, release);
    if (c + 2 <= channels) {
        followChains<2>(workBuffer + c, levels + c, m, attack, release);
        c += 2;
    }
    if (c < channels) followChains<1>(workBuffer + c, levels + c, m, attack, release);
}

bool Plug::sameLevels(int32_t from, int32_t to) const noexcept {
    for (int32_t c = from; c < to; ++c) {
        const double plain = plainLevels[c].load(std::memory_order_relaxed);
        const double coded = codedLevels[c].load(std::memory_order_relaxed);
        if (std::memcmp(&plain, &coded, sizeof plain) != 0) return false;
    }
    return true;
}

void Plug::copyLevels(std::atomic<double>* to, const std::atomic<double>* from, int32_t channels) noexcept {
    for (int32_t c = 0; c < channels; ++c) to[c].store(from[c].load(std::memory_order_relaxed), std::memory_order_relaxed);
}

void Plug::guardFollowers() noexcept {
    // (e + 1) - 1 flushes anything below the precision of 1.0 to zero. The
    // volatile keeps the compiler from folding it away. A follower that a
    // non-finite sample reached starts again from zero rather than showing
    // it for ever.
    auto guard = [](std::atomic<double>& level) noexcept {
        volatile double lifted = level.load(std::memory_order_relaxed) + 1.0;
        const double e = lifted - 1.0;
        level.store(std::isfinite(e) ? e : 0.0, std::memory_order_relaxed);
    };
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        guard(plainLevels[c]);
        guard(codedLevels[c]);
    }
}

void Plug::writeRing(double* const* rings, int32_t m, int32_t channels) noexcept {
    const int32_t position = ringPosition.load(std::memory_order_relaxed);
    const int32_t first = std::min(m, kRingLength - position);
    for (int32_t c = 0; c < channels; ++c) {
        double* ring = rings[c];
        if (!ring) continue;
        storeRelaxed(ring + position, workBuffer[c], first);
        storeRelaxed(ring, workBuffer[c] + first, m - first);
    }
}

void Plug::detectClip(int32_t m, int32_t channels) noexcept {
    if (clipFlag.load(std::memory_order_relaxed)) return;
    const double threshold = clipThreshold.load(std::memory_order_relaxed);
    for (int32_t c = 0; c < channels; ++c) {
        const double* x = workBuffer[c];
        for (int32_t s = 0; s < m; ++s) {
            if (std::fabs(x[s]) > threshold) {
                clipFlag.store(true, std::memory_order_relaxed);
                return;
            }
        }
    }
}
