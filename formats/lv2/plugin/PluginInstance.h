#pragma once
// One LV2 plug-in instance: the effect for one channel layout, driven the
// way the offline renderer drives it, behind the LV2 ports.
//
// Threads:
// - Instantiation (instantiate, activate, deactivate, restore, cleanup):
//   the host's control thread, never concurrent with run().
// - Audio (run): reads the control ports and writes each changed one
//   straight into the effect (Plug::setParameterFromAudio: stores and a
//   pending mark, nothing else); MIDI likewise (Plug::midiFromAudio). What
//   the writes leave for later (the engine update, a slot recall) is then
//   carried out in one of two ways:
//   - Before the block, on run()'s own thread, where waiting is allowed:
//     while the host free-wheels, when the host offers no worker (a batch
//     host such as a file processor), and on the first run() after
//     activation. The block then sounds as the renderer's would, a change
//     in force from the frame it was made; MIDI splits the block there.
//   - In real time with a worker: run() asks for work once and goes on; the
//     worker (work) carries it out within a block or two. The worker rather
//     than the effect's 10 ms timer because it answers sooner and is where
//     the host wants such work done; the timer still carries out whatever the
//     engine's rate limit held back, and is the fallback should a request
//     fail. run() in real time never allocates, locks or waits.
// - The effect's own timer and worker threads run as in every host.
// The effect looks at the process level at the head of every block and, when
// it changed, updates its engine right there. A real-time run() is therefore
// answered the level the effect already has; a return from free-wheeling is
// taken up by the worker, and only a change to offline by run() itself.
// applyMutex is held by whoever calls into the effect beyond the audio-safe
// writes: the worker, save/restore/activate, and run() only when it
// applies changes itself.

#include <lv2/atom/atom.h>
#include <lv2/state/state.h>
#include <lv2/worker/worker.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/ParamTable.h"
#include "core/Plug.h"
#include "formats/lv2/PortLayout.h"
#include "formats/lv2/plugin/HostFeatures.h"

namespace fwlv2 {

struct MidiMessage {
    uint8_t bytes[3];
};

class PluginInstance {
public:
    // Silence run through the effect on activation, after the settings: the
    // coefficient ramps they start end on it, so audio starts with the
    // finished curve. The renderer runs the same length, in one block. A
    // host that sets the ports only after activation gets it again, before
    // its first block.
    static constexpr int32_t kSettleFrames = 1024;

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
    // Audio thread: no allocation, no locks, no waiting, except where run()
    // applies changes itself (see above).
    void run(uint32_t frames) noexcept;

    // state:interface. Save may run beside run(); restore never does.
    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

    // work:interface. The host's worker thread: a new process level, what
    // run()'s writes left, and the engine update they ask for.
    LV2_Worker_Status work();

    // For tests and diagnostics.
    Plug& effect() { return *fx; }

private:
    PluginInstance(int32_t channels, const HostFeatures& features, const Urids& urids, const BlockOptions& block);

    static intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                 float opt);

    // Audio thread (or the instantiation thread in activate). Writes every
    // changed port into the effect; true when one changed.
    bool readControlPorts() noexcept;
    void writeParameter(int32_t index, float value) noexcept;
    void requestWork() noexcept;
    // The two ways of run(): changes carried out before the block, on this
    // thread; or left to the worker while the block goes on in real time.
    void runApplying(uint32_t frames, bool freeWheeling, bool changed) noexcept;
    void runRealTime(uint32_t frames, bool changed) noexcept;
    void processSpan(uint32_t offset, uint32_t frames) noexcept;
    void processSilence(int32_t frames) noexcept;
    void writeOutputPorts() noexcept;
    bool hasMidiInput() const noexcept;
    // Audio thread: the host's transport from the time:Position objects of
    // the event input, and its advance over a block while it plays.
    void takeTransport() noexcept;
    void advanceTransport(uint32_t frames) noexcept;
    bool midiEventOf(const LV2_Atom_Event* event, MidiMessage* message) const noexcept;
    // Not the audio thread of a real-time host; under applyMutex. The
    // effect takes up the process level the callback now answers.
    void applyProcessLevel();
    // Likewise: what the effect's writes left, the engine update (forced
    // when `wrote`) and a pending FIR mode or IR length, all carried out
    // before returning, as the renderer has them before its next block.
    void applyNow(bool wrote);

    lv2ports::Ports ports;
    // The host's transport as the effect reads it (audioMasterGetTime).
    VstTimeInfo timeInfo;
    double transportSpeed = 0;
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
    // combines its port with the enabled port).
    float lastSeen[kNumParams];
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
    // Set by activate(): the first run() carries out what it finds itself
    // and, when a port moved since activation, settles again.
    bool firstRun = false;
    std::atomic<bool> workRequested{false};
    std::atomic<bool> levelPending{false};
    std::atomic<int32_t> hostLevel{kProcessLevelOffline};
    std::atomic<int32_t> latencyFrames{0};
    // The thread of a real-time run() while it is inside the effect: the
    // effect's look at the process level finds the level it already has.
    std::atomic<std::thread::id> levelHeldBy{};
    std::mutex applyMutex;
};

}  // namespace fwlv2
