#pragma once
// One LV2 plug-in instance: the effect for one channel layout, driven the
// way the offline renderer drives it, behind the LV2 ports.
//
// Threads:
// - Instantiation (instantiate, activate, deactivate, restore, cleanup):
//   the host's control thread, never concurrent with run().
// - Audio (run): no allocation, no locks, no waiting while the host plays
//   in real time. It reads the control ports and hands each change to the
//   applier through a lock-free queue. While the host free-wheels (renders
//   offline) it applies the changes itself before the block, as the
//   renderer does, so a change is in force at the frame it was made.
// - Applier: the host's worker (work:schedule) when it offers one, else a
//   thread of our own woken by a semaphore. It is the only caller of
//   setParameter and processEvents while the host plays in real time.
// - The effect's own timer and worker threads run as in every host.
// The effect looks at the process level at the head of every block and, when
// it changed, updates its engine right there. A real-time run() is therefore
// answered the level the effect already has; a return from free-wheeling is
// taken up by the applier, and only a change to offline by run() itself.
// applyMutex is held by whoever calls into the effect's parameters and
// state: the applier, save/restore/activate, and run() only while it
// free-wheels.

#include <lv2/atom/atom.h>
#include <lv2/state/state.h>
#include <lv2/worker/worker.h>
#include <semaphore.h>

#include <atomic>
#include <bitset>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/ParamTable.h"
#include "core/Plug.h"
#include "formats/lv2/PortLayout.h"
#include "formats/lv2/plugin/HostFeatures.h"
#include "formats/lv2/plugin/SpscQueue.h"

namespace fwlv2 {

struct ParamChange {
    int32_t index;
    float value;  // the row's real value
};

struct MidiMessage {
    uint8_t bytes[3];
};

class PluginInstance {
public:
    // Silence run through the effect on activation, after the settings: the
    // coefficient ramps they start end on it, so audio starts with the
    // finished curve. The renderer runs the same length, in one block.
    static constexpr int32_t kSettleFrames = 1024;
    static constexpr size_t kQueueCapacity = 512;
    static constexpr size_t kMidiCapacity = 256;

    // Instantiation thread. Null, after a message to the host's log or
    // stderr, when the URI names none of our plug-ins, urid:map is missing
    // or the sample rate is unusable.
    static PluginInstance* create(const char* uri, double sampleRate, const LV2_Feature* const* features);
    ~PluginInstance();

    PluginInstance(const PluginInstance&) = delete;
    PluginInstance& operator=(const PluginInstance&) = delete;

    // Audio or instantiation thread. Unknown ports are ignored.
    void connectPort(uint32_t port, void* data) noexcept;
    // Instantiation thread.
    void activate();
    void deactivate();
    // Audio thread: no allocation, no locks (free-wheeling aside).
    void run(uint32_t frames) noexcept;

    // state:interface. Save may run beside run(); restore never does.
    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

    // work:interface: the host's worker thread applies the queued changes.
    LV2_Worker_Status work();

    // For tests and diagnostics.
    Plug& effect() { return *fx; }
    // Times a changed parameter found the queue full; each was kept and
    // sent on a later run. MIDI messages the queue could not take are lost.
    int64_t droppedChanges() const { return dropped.load(std::memory_order_relaxed); }
    int64_t droppedMidi() const { return droppedMidiCount.load(std::memory_order_relaxed); }
    // Not the audio thread: true once everything handed over has been applied.
    bool handoverDone();

private:
    PluginInstance(int32_t channels, const HostFeatures& features, const Urids& urids, const BlockOptions& block);

    static intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                 float opt);

    // Audio thread.
    void readControlPorts() noexcept;
    void sendDirtyChanges() noexcept;
    void wakeApplier() noexcept;
    void runOffline(uint32_t frames) noexcept;
    void processSpan(uint32_t offset, uint32_t frames) noexcept;
    void writeOutputPorts() noexcept;
    bool hasMidiInput() const noexcept;
    bool midiEventOf(const LV2_Atom_Event* event, MidiMessage* message) const noexcept;
    // Offline (free-wheeling or activating), under applyMutex.
    void applyEverythingHeld();
    // Not the audio thread, unless free-wheeling: the effect takes up the
    // process level the callback now answers.
    void applyProcessLevel();
    void finishEngineUpdate();

    // Applier side, under applyMutex.
    void drainQueues();
    void applyChange(int32_t index, float value);
    void deliverMidi(const MidiMessage& message);
    void applierLoop();

    lv2ports::Ports ports;
    HostFeatures features;
    Urids urids;
    Logger logger;
    BlockOptions block;
    std::unique_ptr<Plug> fx;
    // host index -> the effect's slot, for the meters
    int32_t slotOfChannel[Plug::kMaxChannels] = {};

    // ---- Ports (pointers owned by the host) ----
    const float* audioIn[Plug::kMaxChannels] = {};
    float* audioOut[Plug::kMaxChannels] = {};
    const float* paramPort[kNumParams] = {};
    const float* enabledPort = nullptr;
    const float* freeWheelPort = nullptr;
    float* latencyPort = nullptr;
    const LV2_Atom_Sequence* midiPort = nullptr;
    float* meterPort[Plug::kMaxChannels] = {};
    float* clipPort = nullptr;

    // ---- Audio side ----
    // Last value seen per parameter (the row's real value; the bypass row
    // combines its port with the enabled port), and the parameters whose
    // last value has not reached the queue yet.
    float lastSeen[kNumParams];
    std::bitset<kNumParams> dirty;
    // Double buffers for the effect: channels x max(max block, settle length).
    std::vector<double> inStorage, outStorage;
    double* inBuffer[Plug::kMaxChannels] = {};
    double* outBuffer[Plug::kMaxChannels] = {};
    int32_t bufferFrames = 0;
    // The static table's ranges, copied once: ports are clamped to them.
    float rowMin[kNumParams];
    float rowMax[kNumParams];
    // The bypass row's own port and the host's enabled port, as last read.
    float bypassPortValue = 0.0f;
    bool hostEnabled = true;

    // ---- Handover ----
    SpscQueue<ParamChange, kQueueCapacity> changes;
    SpscQueue<MidiMessage, kMidiCapacity> midiQueue;
    std::atomic<int64_t> dropped{0};
    std::atomic<int64_t> droppedMidiCount{0};
    std::atomic<bool> wakeRequested{false};
    std::atomic<bool> levelPending{false};
    std::atomic<int32_t> hostLevel{kProcessLevelOffline};
    std::atomic<int32_t> latencyFrames{0};
    // The thread of a real-time run() while it is inside the effect: the
    // effect's look at the process level finds the level it already has.
    std::atomic<std::thread::id> levelHeldBy{};
    std::mutex applyMutex;

    // ---- Our own applier, when the host has no worker ----
    std::thread applier;
    sem_t applierWake;
    bool applierWakeMade = false;
    std::atomic<bool> applierStop{false};
};

}  // namespace fwlv2
