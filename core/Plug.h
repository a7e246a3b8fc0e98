#pragma once
// The effect: the one object through which hosts, the editor and the state
// reach the audio engine. It owns the filter bank, the per-channel audio
// buffers, the channel gains, the meters and the clip latch, and runs the
// thirteen stages of the processing loop over chunks of at most 1024
// samples, in double precision whatever the host delivers.
//
// Threads: process calls come on the host's audio thread and take no lock;
// they allocate only inside allocateBuffers, after a latency or channel
// change; the audio thread writes parameters and MIDI only through
// setParameterFromAudio and midiFromAudio. Parameters, state and resume
// come on the host's control thread;
// idle() comes from the process-wide timer thread every 10 ms; the worker
// thread carries out IR length changes and the designs of the FIR modes.
// An analyser reads the rings through getAnalyserTap on a thread of its own.
// Lock order: resumeMutex, then designLock, then engineLock; nobody waits
// for designLock while holding engineLock. refreshEngine only tries
// engineLock, then designLock, and leaves what it could not do to the next
// idle. The worker takes designLock alone, so a design never holds up a
// caller of the engine lock.

#include <atomic>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/AtomicFlag.h"
#include "core/BandMapping.h"
#include "core/ChannelLayout.h"
#include "core/EQBank.h"
#include "core/EditorLink.h"
#include "core/PlugBaseJSON.h"
#include "core/PlugBaseMutex.h"
#include "core/PlugBaseThread.h"
#include "core/SettingsAccess.h"
#include "core/SharedTimer.h"
#include "state/UISettingsTree.h"

class Plug : public PlugBaseJSON, public PlugBaseThread, public TimerClient {
public:
    static constexpr int32_t kMaxBlock = 1024;      // chunk size of the loop
    static constexpr int32_t kRingLength = 8192;    // analyser ring, doubles
    static constexpr int32_t kMaxChannels = 8;
    static constexpr double kClipThreshold0dB = 1.0;
    static constexpr double kClipThresholdMinus01dB = 0.9885530946569389;  // -0.1 dB

    // Makes the editor object an effect owns for its whole life, with or
    // without a window; an effect made without one tells no editor anything.
    using EditorFactory = std::unique_ptr<iEditorLink> (*)(Plug& effect);

    explicit Plug(EffectHostCallback host, EditorFactory makeEditor = nullptr);
    ~Plug() override;

    // ---- Host interface (control thread) ----
    void resume() override;
    void setSampleRate(float rate) override;
    void setParameter(int32_t index, float norm) override;
    void setParameterAutomated(int32_t index, float norm) override;
    void beginEdit(int32_t index) override;
    void endEdit(int32_t index) override;
    void getParameterLabel(int32_t index, char* label) override;
    bool setBypass(bool on) override;

    // ---- Value mapping and display ----
    // Real value shown for norm: band gains times kScale, band frequencies
    // times kFShift percent and the pitch factor. No frequency clamping.
    virtual double normToDisplay(int32_t index, double norm);
    // The inverse of normToDisplay.
    virtual double displayToNorm(int32_t index, double display);
    void formatParameter(int32_t index, float norm, char* text, bool musical) override;

    // ---- Engine ----
    // Any thread but the audio thread (the offline one aside). Re-reads the
    // whole table into the channel gains, masks and the bank; redesigns
    // what changed, at most once per tick of the rate limit (25 ms, or less
    // often in the FIR modes) unless forced or 4096 samples have run. A call
    // that cannot take the engine lock, or is held back, leaves
    // refreshPending set for the next idle: no change is ever lost.
    void refreshEngine(bool force) override;
    // Worker thread: a pending IR length, then a pending mode and its design,
    // under designLock alone. Another thread may call it too, but never
    // while it holds engineLock (refreshEngine's own call aside, which holds
    // designLock already): it waits for a design in progress.
    void workerStep() override;
    // Full updates that reached the bank since construction (for tests and
    // diagnostics).
    int64_t getUpdateCount() const { return updateCount.load(std::memory_order_relaxed); }
    bool isRefreshPending() const { return refreshPending.load(); }
    // A mode or IR length waits for the worker, or the worker is carrying
    // one out: false only once its design is in the bank.
    bool isWorkerPending() const {
        return workerBusy.load() || modePending.isRaised() || irLengthPending.isRaised();
    }
    // Tests only: the worker calls probe (when not null) inside each design,
    // holding designLock.
    void setDesignProbe(void (*probe)(Plug&)) { designProbe.store(probe); }
    // Offline render settings, in the order mode, IR length, window, window
    // parameter, phase, pad, Digital+ length, Digital+ phase, enabled; each
    // as the real value of its row. With "enabled" on they replace the DSP
    // parameters while the host renders offline.
    static constexpr int32_t kRenderSettingCount = 9;
    void setRenderSetting(int32_t i, float value);
    float getRenderSetting(int32_t i) const;
    // The parameter row render setting i stands in for; -1 for the last one
    // (whether the render settings are in force), which has no row.
    static int32_t renderSettingRow(int32_t i);
    // UI thread: what band `band` is designed from as the graph draws it:
    // its own settings at the current Scale, frequency shift and pitch,
    // whatever its state and whether or not a band is being auditioned.
    // *parallel (when given) says whether it runs in the parallel branch.
    BandShape graphShape(int32_t band, bool* parallel = nullptr) const;
    // Audio thread at the head of a block (allocates only when the block
    // size, channel count or latency changed); control thread at teardown.
    void allocateBuffers(int32_t maxBlock, int32_t channels) noexcept;
    // Reports IR length/2 in the latency-bearing FIR modes, else 0, for the
    // mode and IR length the last engine update asked for (even while the
    // worker still designs them); tells the host when it changed.
    void updateLatency();
    // Timer thread, every 10 ms: reports a changed latency, carries out what
    // the audio thread's writes left (applyAudioWrites) and a pending update.
    void idle() override;

    // ---- Writes from the audio thread ----
    // Audio thread: no allocation, no locks. Sets a parameter as
    // setParameter does, by stores alone: the live row (norm and real
    // value), the current program and slot records, the chunk's stale mark
    // and the editor's pending value. The engine update is only marked
    // pending: the next idle, or whoever calls refreshEngine first, carries
    // it out (FIR designs stay with the worker). A locked row, a NaN or an
    // index outside the table is ignored. The A/B slot row recalls a whole
    // slot, more than a store: it is kept for applyAudioWrites.
    void setParameterFromAudio(int32_t index, float norm) noexcept;
    // Audio thread: no allocation, no locks. One MIDI message as
    // processEvents takes it (notes and bends set the pitch factor); the
    // engine update it forces is left to applyAudioWrites.
    void midiFromAudio(uint8_t status, uint8_t d1, uint8_t d2) noexcept;
    // Any thread but the audio thread: carries out what audio-thread writes
    // left for later, each once: a slot recall, then a forced engine update.
    void applyAudioWrites();
    // Control thread: stores the layout and finds Left, Right, LFE and
    // Center/Mono. A label the new layout lacks keeps its old slot; every
    // use checks the slot against the channel count.
    void setChannelLayout(const std::vector<ChannelSlot>& slots);
    int32_t getChannelCount() const { return cEffect.numInputs; }
    const std::vector<ChannelSlot>& getChannelSlots() const { return channelSlots; }
    // Label of a slot: its mid/side label while its pair is coded.
    const char* channelLabel(int32_t slot) const;

    // ---- Groups ----
    // Names of the groups and their count (the channel count after a rebuild).
    const std::string* groupNamesOf(int32_t* count) const;
    // Renames group i (below the channel count) and tells the editor.
    void setGroupName(int32_t i, const char* text);
    // Channel bit mask of group i; the routing matrix sets them.
    int32_t getGroupMask(int32_t i) const { return (i >= 0 && i < kMaxChannels) ? groupMask[i] : 0; }
    void setGroupMask(int32_t i, int32_t mask);
    // The pairs coded as mid/side, from kMsState; in stereo a change renames the groups.
    int32_t currentMsMask();
    // Codes the pairs in mask (bit p = pair p) as mid/side through kMsState.
    void setMsMask(int32_t mask);

    void updateFrequencyLimits();
    void remapBandFrequencies(float newMin, float newMax, float oldMin, float oldMax, int32_t slot, bool all,
                              bool notify);
    void reapplyFrequencyLimits();

    // Parameter groups: "Channel 1".."Channel 8", "Band 1".."Band 32";
    // group value k+1 names entry k.
    int32_t getParameterGroupCount() const { return int32_t(parameterGroupNames.size()); }
    const char* getParameterGroupName(int32_t k) const;

    // Settings read through one accessor: the stores, or a test's choice.
    void setSettingsSource(const SettingsAccess* source);
    void reloadGlobalSettings();
    // Reads the UI settings the effect uses from the instance's tree.
    void reloadUISettings();
    // The instance's UI settings tree (message thread).
    UISettingsTree& uiSettings() { return uiTree; }
    const UISettingsTree& uiSettings() const { return uiTree; }

    // ---- Programs, slots and the state document (message thread) ----
    // Moves to program p (0..19): its values become the live parameters.
    void setProgram(int32_t program) override;
    // Sets the program number without loading the program.
    void setProgramIndex(int32_t program);
    // Recalls slot 0..7: the slot's values become the live parameters; the
    // band order and auto gain travel with the slot.
    void switchABSlot(int32_t slot) override;
    // Makes a slot current as a restored state does: the slot's values, band
    // order and auto gain become live, locked rows included, and the slot
    // that was current keeps its record as the document gave it.
    void recallABSlot(int32_t slot);
    cJSON* buildStateDocument(bool presetOnly) override;
    cJSON* applyStateDocument(const char* text, bool presetOnly) override;
    // Adds `parameters`, `bandOrder` and `autoGain` of a slot.
    virtual void writeABParameters(cJSON* object, int32_t slot);
    virtual void readABParameters(const cJSON* object, int32_t slot);
    // Applies one preset object to a program under the loading flags.
    virtual void applyPresetDocument(const cJSON* object, int32_t program);
    // Takes the engine lock if it is free at once, and applies the chunk
    // either way, so a busy worker never blocks the host.
    int32_t setChunk(void* data, int32_t byteSize, bool isPreset) override;
    // Copies the live values, band order and auto gain into slot 0..7; the
    // current slot stays.
    void copyToABSlot(int32_t slot);

    // ---- Undo (message thread) ----
    // A group of steps that undo and redo as one. Groups do not nest: an
    // undo stops at the first group's bottom it meets.
    void undoBeginGroup();
    void undoEndGroup();
    void undo();
    void redo();
    bool canUndo() const { return !undoStack.empty(); }
    bool canRedo() const { return !redoStack.empty(); }
    void clearUndo();
    size_t undoDepth() const { return undoStack.size(); }

    // Sets the band order or the auto gain switch of a program (read them
    // from programStore()).
    void setBandOrder(int32_t program, const int32_t* order, int32_t count);
    void setAutoGain(int32_t program, int32_t state);
    // Multiplies the channel levels by the auto gain now in force, so the
    // switch can go off without a jump in level.
    void bakeAutoGain();
    // The gains auto gain computes for the live curve (g2 for the second
    // channel of a stereo instance whose mid and side are weighed apart).
    void autoGainNow(double* g1, double* g2, bool* separate);

    // ---- MIDI ----
    // Host's event thread, not the audio thread (that one has midiFromAudio):
    // notes and pitch bends move every band's frequency by pitchFactor and
    // update the engine at once; returns 1. With
    // "MIDI Input" off the events are dropped unread.
    int32_t processEvents(VstEvents* events) override;

    // ---- AutoListen (message thread) ----
    // The editor arms AutoListen; it only takes when "AutoListen Disabled" is "No".
    void setAutoListenArmed(bool on);
    bool isAutoListening() const { return autoListenBand.load() != -1; }
    int32_t getAutoListenBand() const { return autoListenBand.load(); }
    int32_t getAutoListenGainMode() const { return listenGainMode; }
    // "AutoListen Q" (0 the band's own Q, else a fixed one) and "AutoListen Ignores Q".
    int32_t getAutoListenQMode() const { return listenQMode; }
    bool getAutoListenIgnoresQ() const { return listenIgnoresQ != 0; }
    // Editor thread: the live controls of a band (BandControl bits: gain,
    // frequency, Q, the extra control, slope) for its type and subtype; the
    // extra control's name goes to label (kParamTextSize bytes) when it has
    // one. With `listening` and AutoListen on, the listened band keeps
    // frequency, and gain and Q where the AutoListen settings leave them to
    // the user; every other band keeps frequency alone.
    int32_t bandControls(int32_t band, char* label, bool listening);
    // The instance's name. A host's name (byUser false) shows unless the
    // user has named the instance; a user's empty name gives the host's
    // back. Names are cut to 31 bytes, never inside a UTF-8 character.
    void setInstanceName(const char* name, bool byUser);
    const char* getInstanceName() const { return displayName; }
    bool isNamedByUser() const { return userNamed; }

    // ---- Other instances ----
    // UI thread. Sends the eight DSP settings to every other instance, as
    // automation. The others are reached pinned, through the registry: call
    // holding no lock of this instance.
    void propagateDSP();
    // UI thread. Copies the offline render settings into every other
    // instance, as propagateDSP reaches them.
    void propagateRenderDSP();
    bool isLegacyAlignment() const { return legacyAlignment; }
    iEditorLink* getEditorLink() const { return editorObject.get(); }
    // Any thread (whichever makes or destroys an instance). Tells the editor
    // that the list of instances changed.
    void instancesChanged();

    // ---- Meters, clip, state for views and tests ----
    // Any thread. The followers' levels as the audio thread last published
    // them, once a chunk: of the channels as the host has them, and as the
    // bank has them (mid/side coded).
    double getLevelMeter(int32_t i) const { return plainLevels[i & 7].load(std::memory_order_relaxed); }
    double getCodedLevelMeter(int32_t i) const { return codedLevels[i & 7].load(std::memory_order_relaxed); }
    bool getClip() const { return clipFlag.load(std::memory_order_relaxed); }
    void setClip(bool flag) { clipFlag.store(flag, std::memory_order_relaxed); }
    void setMeterPreBank(bool pre) { meterPreBank.store(pre, std::memory_order_relaxed); }
    int32_t getMsMask() const { return msMask.load(std::memory_order_relaxed); }
    int32_t getSoloMask() const { return soloMask.load(std::memory_order_relaxed); }
    double getChannelGainTarget(int32_t c) const { return channelGainTarget[c & 7].load(std::memory_order_relaxed); }
    double getChannelGainNow(int32_t c) const { return channelGainNow[c & 7]; }
    double getClipThreshold() const { return clipThreshold.load(std::memory_order_relaxed); }
    float getMinFrequency() const { return minFrequency; }
    float getMaxFrequency() const { return maxFrequency; }
    bool isOffline() const { return offline.load(); }
    double getPitchFactor() const { return pitchFactor.load(std::memory_order_relaxed); }
    double getMidiBendRange() const { return midiBendRange; }
    bool isMidiInputEnabled() const { return midiInput; }
    EQBank& getBank() { return bank; }
    // True while every live band covers both channels of a stereo instance.
    bool areAllBandsStereo() const { return allBandsStereo; }
    // Locks a parameter of a program; while that program is current the
    // parameter ignores setParameter.
    void setParameterLocked(int32_t program, int32_t index, bool locked);

    static bool audioHasRun() { return audioHasRunFlag.load(std::memory_order_relaxed); }

    // ---- Analyser ----
    // The analyser's own thread (any thread but the audio thread; an
    // analyser may read another instance too, reached through the registry
    // so that it cannot go during the read; readers take turns). Copies
    // the last `count` samples of a tap into dest, oldest first; a count
    // above kRingLength gives the whole ring and zeros after it. Taps
    // 0..n-1 are the channels after the bank, n..2n-1 the same channels
    // before it, n being the channels the audio last ran with; a coded pair
    // shows as mid and side. The first read of a pre-bank tap only switches
    // its copy on, until then it reads zeros. An unknown tap reads zeros;
    // count <= 0 writes nothing. Before any audio has run the buffers are
    // made here, so the taps exist from the start.
    virtual void getAnalyserTap(double* dest, int32_t count, int32_t tap);
    // Diagnostic switch, for measuring what the meters cost: off, the loop
    // skips the followers and their guard, the analyser rings and the clip
    // latch. On by default. Any thread; the audio thread reads it once per
    // chunk.
    void setMetersEnabled(bool on) noexcept { metersEnabled.store(on, std::memory_order_relaxed); }

protected:
    void processFloat(float** inputs, float** outputs, int32_t n) noexcept override;
    void processDouble(double** inputs, double** outputs, int32_t n) noexcept override;
    void updateProcessLevel() noexcept override;
    virtual void onProcessLevelChanged();

private:
    template <typename T>
    void processBlock(T** inputs, T** outputs, int32_t n) noexcept;
    void processChunk(int32_t m, int32_t channels, int32_t latency) noexcept;
    void encodeMidSide(int32_t m, int32_t channels) noexcept;
    void decodeMidSide(int32_t m, int32_t channels) noexcept;
    void applyChannelGain(int32_t m, int32_t channels) noexcept;
    void soloMonitor(int32_t mask, int32_t m, int32_t channels) noexcept;
    void runFollowers(std::atomic<double>* levels, int32_t m, int32_t channels) noexcept;
    // After the bank, without solo: the followers before and after mid/side
    // decoding, and the decoding, in one pass.
    void followAndDecode(int32_t m, int32_t channels) noexcept;
    // Whether the plain and the coded followers of channels [from, to) stand at the same level.
    bool sameLevels(int32_t from, int32_t to) const noexcept;
    static void copyLevels(std::atomic<double>* to, const std::atomic<double>* from, int32_t channels) noexcept;
    void guardFollowers() noexcept;
    void writeRing(double* const* rings, int32_t m, int32_t channels) noexcept;
    void detectClip(int32_t m, int32_t channels) noexcept;
    // One generation of analyser rings, made by allocateBuffers. The audio
    // thread writes the newest generation; the reader copies from the one it
    // took last, and only the reader's side frees a generation (see
    // getAnalyserTap).
    struct RingSet {
        double* pre[kMaxChannels] = {};
        double* post[kMaxChannels] = {};
        int32_t channels = 0;
        RingSet* older = nullptr;  // generations replaced before a reader took them
    };
    // Frees a generation and every generation chained behind it.
    static void freeRingChain(RingSet* set) noexcept;
    void bypassWithDelay(int32_t m, int32_t channels, int32_t latency) noexcept;
    int32_t hostIndexOf(int32_t slot, int32_t channels) const noexcept;
    void computeMeterCoefficients();
    void assignParameterGroups();
    void clearAudioState();
    int32_t msMaskFromState() const;
    BandMappingContext bandMappingContext() const;
    void rebuildGroupNames(int32_t channelCount);
    // Names a restored state gave the surround groups, taken once the
    // groups of the layout exist.
    void applyRestoredGroupNames();
    int32_t chooseEngineMode();
    void composeChannelGains(int32_t channels);
    // Scales the channel gain targets by the auto gain of the current curve
    // when the current program's switch is on (under engineLock).
    void applyAutoGain(int32_t channels);
    // The AutoListen rules at the start and the end of a gesture.
    void listenOnBeginEdit(int32_t index);
    void listenOnEndEdit(int32_t index);
    // The auto gain switch of the current program, for the engine update.
    void publishAutoGain() { autoGainLive.store(records.autoGain(curProgram), std::memory_order_relaxed); }
    void notifyEditor(int32_t tag, float value) override;
    // The editor shows band gains times the scale and band frequencies times
    // the shift and the pitch factor: a change of either re-shows them.
    void notifyScaledRows(int32_t index) noexcept;
    // Notes and pitch bends into noteFactor and bendFactor; true when the
    // pitch factor changed (it is stored then).
    bool takePitchMessage(uint8_t status, uint8_t d1, uint8_t d2) noexcept;
    // Pieces of the state document.
    void writeBandOrder(cJSON* object, const int32_t* order);
    void writeLockWords(cJSON* object, int32_t program);
    void readRecordExtras(const cJSON* object, int32_t program);
    void writeFrequencyRange(cJSON* root);
    void applyFrequencyRange(const cJSON* root, int32_t program);
    // The band frequency rows read again from the current program's record.
    void reloadLiveFrequencies();
    void applyCommonState(const cJSON* root, bool presetOnly);
    // Makes a slot current; overLocks puts its values in locked rows too.
    void enterABSlot(int32_t slot, bool overLocks);
    void loadABValues(int32_t slot, bool overLocks);
    // The A/B row and the editor show the current slot.
    void showCurrentSlot();
    void keepExtrasInSlot();
    float undoValueOf(int32_t id) const;
    void applyUndoStep(const UndoEntry& step, bool automate);
    float rowValue(int32_t index) const;
    static int64_t clockMs();

    // Named seams of layers that stand beside the effect core: the instance
    // registry, the editor object and the default bank. Each does nothing
    // until its layer exists.
    void nameInstance();
    void registerInstance();
    void unregisterInstance();
    void createEditor(EditorFactory makeEditor);
    void loadDefaultBank();
    void joinSharedTimer() { SharedTimer::instance().join(this); }
    void leaveSharedTimer() { SharedTimer::instance().leave(this); }
    void startWorker() { startThread(); }
    void stopWorker() { stopThread(); }

    EQBank bank;
    PlugBaseMutex engineLock;
    // Held by whoever writes the bank or reads what a design writes: the
    // worker for a whole design, refreshEngine (with engineLock) for an
    // update, resume for a rebuild.
    PlugBaseMutex designLock;
    std::atomic<void (*)(Plug&)> designProbe{nullptr};
    std::mutex resumeMutex;
    std::atomic<bool> rebuilding{false};
    std::atomic<bool> refreshPending{false};
    // While a slot's values go in one by one, the updates each write would
    // start wait for the one at the end (any thread that recalls a slot).
    std::atomic<int32_t> bulkWrites{0};
    // Left by the audio thread for applyAudioWrites: a forced update, and the
    // A/B row's norm (NaN when none waits).
    std::atomic<bool> forcedRefreshPending{false};
    std::atomic<float> deferredSlotNorm{std::numeric_limits<float>::quiet_NaN()};
    std::atomic<bool> workerBusy{false};  // set while workerStep works, under designLock
    // Each band's controls as bandControls reports them, for its type and
    // for the type it had before AutoListen ([1]), and the label of its
    // extra control (static text): filled by refreshEngine under both locks,
    // so that bandControls never reads the bank while a design may run.
    std::atomic<int32_t> bandControlCache[kNumBands][2] = {};
    std::atomic<const char*> bandLabelCache[kNumBands][2] = {};
    UISettingsTree uiTree;
    std::unique_ptr<iEditorLink> editorObject;
    StoredSettings storedSettings;
    const SettingsAccess* settings;

    // ---- Change propagation ----
    AtomicFlag modePending;
    int32_t requestedMode = kModeIIR;
    AtomicFlag irLengthPending;
    int32_t requestedIRLength = EQBank::kDefaultIRLength;
    // The latency of the mode and IR length last asked of the bank (by the
    // update, for the worker or at once): what updateLatency reports.
    std::atomic<int32_t> latencyTarget{0};
    int32_t firUpdateRate = 40;  // FIR updates per second: "Mild" 10, "Med" 20, "Intensive" 40
    int64_t lastTick = -1;
    bool allBandsStereo = true;
    bool legacyAlignment = false;  // older documents keep the latency peak in the zero-latency mode
    float renderSettings[kRenderSettingCount] = {};
    std::atomic<int64_t> updateCount{0};

    // ---- Groups ----
    std::string groupNames[kMaxChannels];
    std::vector<std::string> restoredGroupNames;
    int32_t groupCount = 0;

    // ---- Parameters turned into engine state ----
    float minFrequency = 10.0f;
    float maxFrequency = 22000.0f;
    bool extendedFrequencies = false;
    float pendingMaxFrequency = -1.0f;  // a bound left by a restored state
    bool sampleRateGiven = false;
    std::atomic<double> pitchFactor{1.0};  // written by MIDI events, read by updates
    double midiBendRange = 0.25;  // octaves a full pitch bend moves the bands
    double noteFactor = 1.0;      // 2^((key - 60) / 12) of the last note
    double bendFactor = 1.0;      // of the last pitch bend
    bool midiInput = false;
    int32_t autoGainMidSide = 0;   // "Autogain MS": 0 together, 1 separately
    int32_t autoGainWeighting = 0; // "Autogain Weighting": white, pink, and each with the 1770 filter
    // Written by beginEdit and endEdit on the message thread, read by updates.
    std::atomic<int32_t> autoListenBand{-1};
    std::atomic<int32_t> autoListenArmed{0};
    bool autoListenAllowed = true;
    int32_t listenEnableMode = 0;   // "AutoListen Enable": 0 "Hold", 1 "Toggle"
    int32_t listenGainMode = 0;     // "AutoListen Gain"
    int32_t listenQMode = 0;        // "AutoListen Q"
    int32_t listenIgnoresQ = 0;     // "AutoListen Ignores Q"
    std::atomic<int32_t> autoGainLive{0};
    std::atomic<bool> offline{false};
    bool automateAll = true;  // a slot recall is automated to the host
    static constexpr size_t kNameBytes = 32;
    char displayName[kNameBytes] = {};
    char hostName[kNameBytes] = {};
    bool userNamed = false;
    bool editing[kNumParams] = {};
    bool gesturesToHost = true;
    bool simpleNumbers = false;
    bool showTrueQ = false;
    std::vector<std::string> parameterGroupNames;

    // ---- Audio (read by the audio thread; see the threading note above) ----
    double* workBuffer[kMaxChannels] = {};
    double* dryDelay[kMaxChannels] = {};
    double* preRing[kMaxChannels] = {};
    double* postRing[kMaxChannels] = {};
    int32_t workLength = 0;
    int32_t delayLength = 0;
    int32_t delayPosition = 0;
    // Where the next sample goes in every ring; written by the audio thread,
    // read by the analyser without synchronisation.
    std::atomic<int32_t> ringPosition{0};
    int32_t allocatedChannels = 0;
    std::atomic<double> channelGainTarget[kMaxChannels] = {};
    double channelGainNow[kMaxChannels] = {};
    std::vector<ChannelSlot> channelSlots;
    int32_t leftIndex = 0, rightIndex = 1, lfeIndex = -1, centerIndex = -1;
    std::atomic<bool> clipFlag{false};
    std::atomic<double> clipThreshold{kClipThreshold0dB};
    std::atomic<bool> meterPreBank{false};
    std::atomic<bool> preTapWanted{false};
    std::atomic<bool> soloSelect{true};
    std::atomic<bool> soloMute{false};
    std::atomic<int32_t> msMask{0xF};
    std::atomic<int32_t> soloMask{0};
    std::atomic<int32_t> listenMask{0};
    // Channel bit mask of each group; group i starts as channel i.
    int32_t groupMask[kMaxChannels] = {1, 2, 4, 8, 16, 32, 64, 128};

    // ---- Meters ----
    std::atomic<double> attackCoefficient{1.0};
    std::atomic<double> releaseCoefficient{1.0};
    // Written by the audio thread only (and cleared by resume while audio
    // is stopped); a follower runs on a local through a chunk and is stored
    // at its end.
    std::atomic<double> codedLevels[kMaxChannels] = {};
    std::atomic<double> plainLevels[kMaxChannels] = {};
    int32_t ballisticType = 0;
    std::atomic<int32_t> ringsReplaced{0};
    std::atomic<bool> metersEnabled{true};

    // ---- Analyser handover ----
    // The newest generation no reader has taken yet, with the untaken ones
    // before it chained behind (allocateBuffers puts it there, the reader
    // takes it). Every generation is owned by exactly one of ringMailbox's
    // chain and readerRings.
    std::atomic<RingSet*> ringMailbox{nullptr};
    // The reader's side, under tapMutex: the generation it copies from and
    // a ring's worth of scratch, made once in the constructor.
    std::mutex tapMutex;
    RingSet* readerRings = nullptr;
    std::unique_ptr<double[]> tapScratch;
    // Before the first block a reader may make the buffers. The two flags
    // keep that from meeting the audio thread's own first allocation: the
    // audio thread raises audioStarted and then passes any block during
    // which tapAllocating is up; the reader raises tapAllocating and then
    // allocates only while audioStarted is down.
    std::atomic<bool> tapAllocating{false};
    std::atomic<bool> audioStarted{false};

    static std::atomic<bool> audioHasRunFlag;
    static std::atomic<int32_t> liveInstances;
};
