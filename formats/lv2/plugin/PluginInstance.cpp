#include "formats/lv2/plugin/PluginInstance.h"

#include <lv2/atom/util.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <exception>
#include <limits>

#include "core/ChannelLayout.h"
#include "dsp/DF1Cascade.h"
#include "session/PlugEd.h"

namespace fwlv2 {

static_assert(PluginInstance::kSettleFrames > DF1Cascade::kRampSamples);

namespace {

// Where run() applies changes itself, an engine update another thread holds
// up is waited for in steps of this, up to this many steps.
constexpr auto kEngineRetryPause = std::chrono::microseconds(100);
constexpr int32_t kEngineRetries = 20000;  // two seconds
// Attempts at making the effect take up a new process level.
constexpr auto kLevelRetryPause = std::chrono::microseconds(200);
constexpr int32_t kLevelRetries = 50;

PluginInstance* instanceOf(AEffect* effect) {
    if (!effect) return nullptr;
    return static_cast<PluginInstance*>(std::atomic_ref<void*>(effect->user).load(std::memory_order_acquire));
}

}  // namespace

// ---------------------------------------------------------------------------
// Creation and teardown (instantiation thread)

PluginInstance* PluginInstance::create(const char* uri, double sampleRate, const LV2_Feature* const* hostFeatures) {
    const Logger early;
    const int32_t channels = lv2ports::channelsOfUri(uri);
    if (channels == 0) {
        early.error("'%s' names none of the plug-ins of this bundle", uri ? uri : "(null)");
        return nullptr;
    }
    HostFeatures found = HostFeatures::scan(hostFeatures);
    if (!found.map) found.map = privateUridMap();
    const Urids urids = Urids::mapAll(*found.map);
    const Logger logger(found.log, urids.logError, urids.logWarning);
    const BlockOptions block = readBlockOptions(found.options, urids, sampleRate);
    if (!(block.sampleRate > 0.0) || !std::isfinite(block.sampleRate) || block.sampleRate > 1.0e7) {
        logger.error("cannot run at a sample rate of %g Hz; not instantiated", block.sampleRate);
        return nullptr;
    }
    try {
        return new PluginInstance(channels, found, urids, block);
    } catch (const std::exception& e) {
        logger.error("the effect could not be created: %s", e.what());
    } catch (...) {
        logger.error("the effect could not be created");
    }
    return nullptr;
}

PluginInstance::PluginInstance(int32_t channelCount, const HostFeatures& hostFeatures, const Urids& ids,
                               const BlockOptions& blockOptions)
    : ports{channelCount},
      features(hostFeatures),
      urids(ids),
      logger(hostFeatures.log, ids.logError, ids.logWarning),
      block(blockOptions) {
    const ParamRow* rows = staticParamTable();
    for (int32_t i = 0; i < kNumParams; ++i) {
        lastSeen[i] = rows[i].value;
        rowMin[i] = rows[i].min;
        rowMax[i] = rows[i].max;
    }
    bypassPortValue = rows[kBypass].value;

    // The set-up a host makes, in the renderer's order. Until it is done
    // the callback finds no instance and answers "offline", as the
    // renderer's does.
    fx = PlugEd::createEffect(&PluginInstance::hostCallback);
    fx->setNumInputs(channelCount);
    fx->setNumOutputs(channelCount);
    const std::vector<ChannelSlot> slots = standardChannelLayout(channelCount);
    fx->setChannelLayout(slots);
    fx->setSampleRate(float(block.sampleRate));
    fx->setBlockSize(block.maxBlock);
    for (int32_t c = 0; c < Plug::kMaxChannels; ++c) slotOfChannel[c] = c;
    for (size_t s = 0; s < slots.size(); ++s) {
        const int32_t host = slots[s].hostIndex;
        if (host >= 0 && host < channelCount) slotOfChannel[host] = int32_t(s);
    }

    bufferFrames = std::max(block.maxBlock, kSettleFrames);
    inStorage.assign(size_t(channelCount) * size_t(bufferFrames), 0.0);
    outStorage.assign(size_t(channelCount) * size_t(bufferFrames), 0.0);
    for (int32_t c = 0; c < channelCount; ++c) {
        inBuffer[c] = inStorage.data() + size_t(c) * size_t(bufferFrames);
        outBuffer[c] = outStorage.data() + size_t(c) * size_t(bufferFrames);
    }

    std::atomic_ref<void*>(fx->getAeffect()->user).store(this, std::memory_order_release);
}

PluginInstance::~PluginInstance() {
    // The effect's own threads may call back until it is gone; from here on
    // they find no instance.
    if (fx) std::atomic_ref<void*>(fx->getAeffect()->user).store(nullptr, std::memory_order_release);
    fx.reset();
}

// Any thread of the effect's. Automation and gestures go nowhere: the control
// ports belong to the host. There is no transport to report.
intptr_t PluginInstance::hostCallback(AEffect* effect, int32_t opcode, int32_t, intptr_t, void*, float) {
    PluginInstance* self = instanceOf(effect);
    switch (opcode) {
        case audioMasterGetCurrentProcessLevel:
            if (!self) return kProcessLevelOffline;
            if (self->levelHeldBy.load(std::memory_order_relaxed) == std::this_thread::get_id())
                return self->fx->isOffline() ? kProcessLevelOffline : kProcessLevelRealtime;
            return self->hostLevel.load(std::memory_order_relaxed);
        case audioMasterGetTime:
            return self ? reinterpret_cast<intptr_t>(&self->timeInfo) : 0;
        case audioMasterIOChanged:
            if (self)
                self->latencyFrames.store(std::atomic_ref<int32_t>(effect->initialDelay).load(),
                                          std::memory_order_relaxed);
            return 1;
        default:
            return 0;
    }
}

// ---------------------------------------------------------------------------
// Ports

void PluginInstance::connectPort(uint32_t port, void* data) noexcept {
    if (port >= uint32_t(ports.count())) return;
    const int32_t p = int32_t(port);
    const int32_t n = ports.channels;
    if (p < n) {
        audioIn[p] = static_cast<const float*>(data);
    } else if (p < 2 * n) {
        audioOut[p - n] = static_cast<float*>(data);
    } else if (const int32_t index = ports.paramOf(p); index >= 0) {
        paramPort[index] = static_cast<const float*>(data);
    } else if (p == ports.enabled()) {
        enabledPort = static_cast<const float*>(data);
    } else if (p == ports.freeWheel()) {
        freeWheelPort = static_cast<const float*>(data);
    } else if (p == ports.latency()) {
        latencyPort = static_cast<float*>(data);
    } else if (p == ports.midiIn()) {
        midiPort = static_cast<const LV2_Atom_Sequence*>(data);
    } else if (p >= ports.meter(0) && p < ports.meter(n)) {
        meterPort[p - ports.meter(0)] = static_cast<float*>(data);
    } else if (p == ports.clip()) {
        clipPort = static_cast<float*>(data);
    }
}

// Audio thread (or the instantiation thread in activate). A NaN keeps the
// last value; anything else is clamped to the row's range.
bool PluginInstance::readControlPorts() noexcept {
    bool changed = false;
    for (int32_t i = 0; i < kNumParams; ++i) {
        const float* port = paramPort[i];
        if (!port || i == kBypass) continue;
        const float x = *port;
        if (std::isnan(x)) continue;
        const float v = std::clamp(x, rowMin[i], rowMax[i]);
        if (v != lastSeen[i]) {
            lastSeen[i] = v;
            writeParameter(i, v);
            changed = true;
        }
    }
    // The host's enabled port bypasses as well as the row's own port.
    if (const float* port = paramPort[kBypass]; port && !std::isnan(*port))
        bypassPortValue = std::clamp(*port, rowMin[kBypass], rowMax[kBypass]);
    if (enabledPort && !std::isnan(*enabledPort)) hostEnabled = *enabledPort > 0.0f;
    const float bypass = hostEnabled ? bypassPortValue : rowMax[kBypass];
    if (bypass != lastSeen[kBypass]) {
        lastSeen[kBypass] = bypass;
        writeParameter(kBypass, bypass);
        changed = true;
    }
    return changed;
}

// Audio thread: no allocation, no locks. A port holds the row's real value.
void PluginInstance::writeParameter(int32_t index, float value) noexcept {
    if (index == kBypass) {
        fx->setParameterFromAudio(kBypass, value >= 0.5f ? 1.0f : 0.0f);
        return;
    }
    // The live row: its range may differ from the factory's (extended frequencies).
    const ParamRow* row = fx->getRow(index);
    fx->setParameterFromAudio(index, float(curveToNorm(*row, double(value))));
}

// Audio thread. Asks for the worker once; it clears the request before it
// works, so nothing written meanwhile waits unseen.
void PluginInstance::requestWork() noexcept {
    if (workRequested.exchange(true, std::memory_order_acq_rel)) return;
    const uint8_t token = 1;
    if (features.schedule->schedule_work(features.schedule->handle, sizeof token, &token) != LV2_WORKER_SUCCESS)
        workRequested.store(false, std::memory_order_release);  // asked again next run; the timer meanwhile
}

// ---------------------------------------------------------------------------
// Activation (instantiation thread)

void PluginInstance::activate() {
    std::lock_guard<std::mutex> hold(applyMutex);
    // Set up as the renderer does: offline, the settings, resume, silence.
    // Values the ports held before activation are then in force from the
    // first sample, without a ramp.
    hostLevel.store(kProcessLevelOffline);
    applyProcessLevel();
    readControlPorts();
    fx->applyAudioWrites();
    fx->resume();
    applyNow(false);
    processSilence(kSettleFrames);

    const bool freeWheeling = freeWheelPort && *freeWheelPort > 0.5f;
    hostLevel.store(freeWheeling ? kProcessLevelOffline : kProcessLevelRealtime);
    applyProcessLevel();
    levelPending.store(false);
    latencyFrames.store(std::atomic_ref<int32_t>(fx->getAeffect()->initialDelay).load());
    firstRun = true;
}

void PluginInstance::deactivate() {
    fx->suspend();
}

// A process call of no frames: the effect reads the process level, updates
// its engine if the level changed, and does nothing else. Should a real-time
// block start in the instant the effect's flag changes, that block's own look
// can put the old level back; the flag is checked and the call repeated.
void PluginInstance::applyProcessLevel() {
    for (int32_t tries = 0; tries < kLevelRetries; ++tries) {
        const bool wantOffline = hostLevel.load() == kProcessLevelOffline;
        if (tries > 0 && fx->isOffline() == wantOffline) return;
        if (tries > 0) std::this_thread::sleep_for(kLevelRetryPause);
        fx->processDoubleReplacing(nullptr, nullptr, 0);
    }
}

// An update the engine lock or a busy worker held back is waited for, so
// the block about to run has it. The effect's worker may be carrying out a
// design already; workerStep then waits for it and finds nothing left.
void PluginInstance::applyNow(bool wrote) {
    fx->applyAudioWrites();
    if (wrote) fx->refreshEngine(true);
    for (int32_t tries = 0; tries < kEngineRetries; ++tries) {
        if (fx->isRefreshPending()) fx->refreshEngine(true);
        if (fx->isWorkerPending()) fx->workerStep();
        if (!fx->isRefreshPending() && !fx->isWorkerPending()) return;
        std::this_thread::sleep_for(kEngineRetryPause);
    }
}

LV2_Worker_Status PluginInstance::work() {
    workRequested.exchange(false, std::memory_order_acq_rel);
    try {
        std::lock_guard<std::mutex> hold(applyMutex);
        if (levelPending.exchange(false, std::memory_order_acq_rel)) applyProcessLevel();
        fx->applyAudioWrites();
        // Within the engine's rate limit: what it holds back, the timer does.
        if (fx->isRefreshPending()) fx->refreshEngine(false);
    } catch (...) {
        return LV2_WORKER_ERR_UNKNOWN;
    }
    return LV2_WORKER_SUCCESS;
}

// ---------------------------------------------------------------------------
// Audio

bool PluginInstance::midiEventOf(const LV2_Atom_Event* event, MidiMessage* message) const noexcept {
    if (event->body.type != urids.midiEvent || event->body.size == 0 || event->body.size > 3) return false;
    const auto* bytes = reinterpret_cast<const uint8_t*>(event + 1);
    if (bytes[0] < 0x80) return false;  // running status is not allowed in an event
    const uint32_t size = event->body.size;
    *message = MidiMessage{{bytes[0], size > 1 ? bytes[1] : uint8_t(0), size > 2 ? bytes[2] : uint8_t(0)}};
    return true;
}

bool PluginInstance::hasMidiInput() const noexcept {
    return midiPort && midiPort->atom.type == urids.atomSequence &&
           midiPort->atom.size >= sizeof(LV2_Atom_Sequence_Body);
}

// Flags of the time record: tempo, bars, time signature, ppq and cycle
// positions valid; 2 while the transport plays.
constexpr int32_t kTransportValid = 0x3700;
constexpr int32_t kTransportPlaying = 2;

void PluginInstance::takeTransport() noexcept {
    if (!hasMidiInput()) return;
    LV2_ATOM_SEQUENCE_FOREACH(midiPort, event) {
        if (event->body.type != urids.atomObject && event->body.type != urids.atomBlank) continue;
        const auto* object = reinterpret_cast<const LV2_Atom_Object*>(&event->body);
        if (object->body.otype != urids.timePosition) continue;
        const LV2_Atom *bar = nullptr, *barBeat = nullptr, *beatsPerBar = nullptr, *beatUnit = nullptr,
                       *bpm = nullptr, *speed = nullptr, *frame = nullptr;
        lv2_atom_object_get(object, urids.timeBar, &bar, urids.timeBarBeat, &barBeat, urids.timeBeatsPerBar,
                            &beatsPerBar, urids.timeBeatUnit, &beatUnit, urids.timeBeatsPerMinute, &bpm,
                            urids.timeSpeed, &speed, urids.timeFrame, &frame, 0);
        // Numbers come as any of the atom number types.
        auto number = [this](const LV2_Atom* atom, double* out) {
            if (!atom) return false;
            const void* body = atom + 1;
            if (atom->type == urids.atomFloat && atom->size >= 4) *out = *static_cast<const float*>(body);
            else if (atom->type == urids.atomDouble && atom->size >= 8) *out = *static_cast<const double*>(body);
            else if (atom->type == urids.atomInt && atom->size >= 4) *out = *static_cast<const int32_t*>(body);
            else if (atom->type == urids.atomLong && atom->size >= 8) *out = double(*static_cast<const int64_t*>(body));
            else return false;
            return std::isfinite(*out);
        };
        double x = 0;
        if (number(bpm, &x) && x > 0) timeInfo.tempo = x;
        if (number(beatsPerBar, &x) && x >= 1) timeInfo.timeSigNumerator = int32_t(x);
        if (number(beatUnit, &x) && x >= 1) timeInfo.timeSigDenominator = int32_t(x);
        if (number(speed, &x)) transportSpeed = x;
        if (number(frame, &x)) timeInfo.samplePos = x;
        // Quarter notes: a beat is a 1/beatUnit note.
        const double quarterPerBeat = 4.0 / double(timeInfo.timeSigDenominator);
        double barNumber = 0, beat = 0;
        const bool hasBar = number(bar, &barNumber);
        const bool hasBeat = number(barBeat, &beat);
        if (hasBar) timeInfo.barStartPos = barNumber * timeInfo.timeSigNumerator * quarterPerBeat;
        if (hasBar || hasBeat) timeInfo.ppqPos = timeInfo.barStartPos + beat * quarterPerBeat;
        timeInfo.flags = kTransportValid | (transportSpeed != 0 ? kTransportPlaying : 0);
    }
}

void PluginInstance::advanceTransport(uint32_t frames) noexcept {
    timeInfo.sampleRate = double(fx->getSampleRate());
    if (transportSpeed == 0 || timeInfo.sampleRate <= 0) return;
    const double seconds = double(frames) * transportSpeed / timeInfo.sampleRate;
    timeInfo.samplePos += double(frames) * transportSpeed;
    timeInfo.ppqPos += seconds * timeInfo.tempo / 60.0;
}

void PluginInstance::run(uint32_t frames) noexcept {
    const bool freeWheeling = freeWheelPort && *freeWheelPort > 0.5f;
    takeTransport();
    timeInfo.sampleRate = double(fx->getSampleRate());
    const bool changed = readControlPorts();
    if (freeWheeling || !features.schedule || firstRun)
        runApplying(frames, freeWheeling, changed);
    else
        runRealTime(frames, changed);
    writeOutputPorts();
    advanceTransport(frames);
}

// Audio thread of a host that free-wheels, has no worker, or has just
// activated: waiting is allowed, and the block is processed exactly as the
// renderer would process it, every change in force from its frame.
void PluginInstance::runApplying(uint32_t frames, bool freeWheeling, bool changed) noexcept {
    try {
        {
            std::lock_guard<std::mutex> hold(applyMutex);
            const int32_t level = freeWheeling ? kProcessLevelOffline : kProcessLevelRealtime;
            levelPending.store(false);
            if (hostLevel.load() != level || fx->isOffline() != freeWheeling) {
                hostLevel.store(level);
                applyProcessLevel();
            }
            applyNow(changed);
            // Ports set between activation and the first block: their ramps
            // end on silence too, so the file starts with the finished curve.
            if (firstRun && changed) processSilence(kSettleFrames);
            firstRun = false;
        }
        // MIDI reaches the effect at its frame: the block is split there.
        uint32_t done = 0;
        if (hasMidiInput()) {
            LV2_ATOM_SEQUENCE_FOREACH(midiPort, event) {
                MidiMessage message;
                if (!midiEventOf(event, &message)) continue;
                const int64_t at = std::clamp<int64_t>(event->time.frames, done, frames);
                processSpan(done, uint32_t(at) - done);
                done = uint32_t(at);
                fx->midiFromAudio(message.bytes[0], message.bytes[1], message.bytes[2]);
                std::lock_guard<std::mutex> hold(applyMutex);
                applyNow(false);
            }
        }
        processSpan(done, frames - done);
    } catch (...) {
        // A failed lock or update leaves the block as far as it got.
        firstRun = false;
    }
}

// Audio thread of a real-time host with a worker: no allocation, no locks,
// no waiting. The writes are in the effect already; the worker designs.
void PluginInstance::runRealTime(uint32_t frames, bool changed) noexcept {
    // Back from free-wheeling: the worker tells the effect, so its engine
    // update does not land on this thread.
    if (hostLevel.load(std::memory_order_relaxed) != kProcessLevelRealtime) {
        hostLevel.store(kProcessLevelRealtime, std::memory_order_relaxed);
        levelPending.store(true, std::memory_order_release);
    }
    // A MIDI message moves every band; it takes effect with the worker's
    // update, within a few milliseconds rather than at its frame.
    bool midi = false;
    if (hasMidiInput()) {
        LV2_ATOM_SEQUENCE_FOREACH(midiPort, event) {
            MidiMessage message;
            if (!midiEventOf(event, &message)) continue;
            fx->midiFromAudio(message.bytes[0], message.bytes[1], message.bytes[2]);
            midi = true;
        }
    }
    if (changed || midi || levelPending.load(std::memory_order_acquire)) requestWork();
    levelHeldBy.store(std::this_thread::get_id(), std::memory_order_relaxed);
    processSpan(0, frames);
    levelHeldBy.store(std::thread::id(), std::memory_order_relaxed);
}

// Silence through the effect, the output thrown away.
void PluginInstance::processSilence(int32_t frames) noexcept {
    for (int32_t c = 0; c < ports.channels; ++c) std::fill_n(inBuffer[c], frames, 0.0);
    fx->processDoubleReplacing(inBuffer, outBuffer, frames);
}

// Audio thread. The ports' floats go to the effect as doubles and come back
// rounded to float, as the renderer's float files do. No NaN or infinity
// leaves the plug-in: a non-finite input sample goes in as silence, and an
// output past the float range is held at the largest float of its sign.
void PluginInstance::processSpan(uint32_t offset, uint32_t frames) noexcept {
    constexpr double kLargest = double(std::numeric_limits<float>::max());
    const int32_t n = ports.channels;
    while (frames > 0) {
        const uint32_t m = std::min(frames, uint32_t(bufferFrames));
        for (int32_t c = 0; c < n; ++c) {
            double* x = inBuffer[c];
            if (const float* in = audioIn[c]) {
                for (uint32_t s = 0; s < m; ++s) {
                    const float v = in[offset + s];
                    x[s] = std::isfinite(v) ? double(v) : 0.0;
                }
            } else {
                std::fill_n(x, m, 0.0);
            }
        }
        fx->processDoubleReplacing(inBuffer, outBuffer, int32_t(m));
        for (int32_t c = 0; c < n; ++c) {
            if (float* out = audioOut[c]) {
                const double* y = outBuffer[c];
                for (uint32_t s = 0; s < m; ++s) {
                    const double v = y[s];
                    out[offset + s] = std::isnan(v) ? 0.0f : float(std::clamp(v, -kLargest, kLargest));
                }
            }
        }
        offset += m;
        frames -= m;
    }
}

void PluginInstance::writeOutputPorts() noexcept {
    if (latencyPort) *latencyPort = float(latencyFrames.load(std::memory_order_relaxed));
    for (int32_t c = 0; c < ports.channels; ++c) {
        float* meter = meterPort[c];
        if (!meter) continue;
        const double level = fx->getLevelMeter(slotOfChannel[c]);
        const double db = level > 0.0 ? 20.0 * std::log10(level) : double(lv2ports::kMeterFloorDb);
        *meter = std::max(lv2ports::kMeterFloorDb, float(db));
    }
    if (clipPort) *clipPort = fx->getClip() ? 1.0f : 0.0f;
}

// ---------------------------------------------------------------------------
// State (save beside run(); restore on the instantiation thread)

LV2_State_Status PluginInstance::save(LV2_State_Store_Function store, LV2_State_Handle handle) {
    if (!store) return LV2_STATE_ERR_UNKNOWN;
    // The chunk belongs to the effect until its next getChunk; the lock
    // keeps every other caller away until the host has copied it.
    std::lock_guard<std::mutex> hold(applyMutex);
    void* data = nullptr;
    const int32_t size = fx->getChunk(&data, false);
    if (size <= 0 || !data) {
        logger.error("the effect gave no state to save");
        return LV2_STATE_ERR_UNKNOWN;
    }
    return store(handle, urids.chunkKey, data, size_t(size), urids.atomChunk,
                 LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

LV2_State_Status PluginInstance::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
    if (!retrieve) return LV2_STATE_ERR_UNKNOWN;
    size_t size = 0;
    uint32_t type = 0, flags = 0;
    const void* data = retrieve(handle, urids.chunkKey, &size, &type, &flags);
    if (!data) return LV2_STATE_ERR_NO_PROPERTY;
    if (type != urids.atomChunk) {
        logger.error("the saved state has a type this plug-in does not read; nothing restored");
        return LV2_STATE_ERR_BAD_TYPE;
    }
    if (size == 0 || size > size_t(INT32_MAX)) {
        logger.error("the saved state has an impossible size; nothing restored");
        return LV2_STATE_ERR_UNKNOWN;
    }
    // The effect takes a writable chunk; the host's stays untouched.
    const auto* bytes = static_cast<const uint8_t*>(data);
    std::vector<uint8_t> chunk(bytes, bytes + size);
    if (!PlugBaseJSON::holdsStateDocument(chunk.data(), int32_t(size))) {
        logger.error("the saved state is damaged; nothing restored");
        return LV2_STATE_ERR_UNKNOWN;
    }
    std::lock_guard<std::mutex> hold(applyMutex);
    fx->setChunk(chunk.data(), int32_t(size), false);
    return LV2_STATE_SUCCESS;
}

}  // namespace fwlv2
