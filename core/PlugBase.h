#pragma once
// The effect's parameter layer: the live table and the store of programs
// and A/B slots, with the value mapping and base formatting.
// Every index from outside is checked here; out-of-range reads give neutral
// values and writes do nothing.

#include <atomic>
#include <memory>
#include <vector>

#include "core/ParamTable.h"
#include "core/ProgramStore.h"
#include "effect/AudioEffectX.h"

// Capacity of the text buffers that the formatting operations fill.
constexpr int32_t kParamTextSize = 64;

// One step of the undo and redo stacks: a parameter and the normalised value
// it had, or a marker that brackets a group of steps undone as one.
struct UndoEntry {
    int32_t id;
    float value;
};
constexpr int32_t kUndoGroupBottom = -1000;
constexpr int32_t kUndoGroupTop = -1001;
// Reserved ids that go to the editor instead of the effect; nothing pushes them.
constexpr int32_t kUndoEditorFirst = -1002;
constexpr int32_t kUndoEditorLast = -1003;

class PlugBase : public AudioEffectX {
public:
    explicit PlugBase(EffectHostCallback host);
    ~PlugBase() override;

    // Control thread. The base write: the A/B parameter switches slots; any
    // other row stores norm in the row, the program and the slot, computes the
    // real value and refreshes the engine; the editor is told in both cases.
    void setParameter(int32_t index, float norm) override;
    float getParameter(int32_t index) override;
    void setProgramName(char* name) override;
    void getProgramName(char* name) override;
    void getParameterDisplay(int32_t index, char* text) override;
    void getParameterName(int32_t index, char* text) override;

    // Audio thread: the float and double process of the effect.
    void processReplacing(float** inputs, float** outputs, int32_t sampleFrames) noexcept override;
    void processDoubleReplacing(double** inputs, double** outputs, int32_t sampleFrames) noexcept override;

    virtual float getDefaultNorm(int32_t index);
    virtual float getRealValue(int32_t index);
    virtual int32_t getParameterCurve(int32_t index);
    virtual float getParameterMin(int32_t index);
    virtual float getParameterMax(int32_t index);
    virtual int32_t getParameterStepCount(int32_t index);
    virtual int32_t getParameterStepSize(int32_t index);
    virtual float snapParameter(int32_t index, float x, bool fromNorm);
    virtual bool isBoolParameter(int32_t index);
    virtual int32_t getParameterGroup(int32_t index);
    virtual void formatParameter(int32_t index, float norm, char* text, bool musical);
    virtual void formatCurrentParameter(int32_t index, char* text, bool musical);
    virtual void setABParameterIndex(int32_t index) { abParameterIndex = index; }
    virtual int32_t getABSlot() { return records.currentSlot(); }
    virtual void switchABSlot(int32_t slot);
    virtual void refreshEngine(bool force) { (void)force; }

    // Read-only view of a live row; nullptr outside the table.
    const ParamRow* getRow(int32_t index) const { return isParamIndex(index) ? &table[index] : nullptr; }
    // The stored programs and slots, for reading: what the editor's preset
    // and A/B menus show. Writes go through the effect, which keeps the
    // engine, the editor and the chunk in step.
    const ProgramStore& programStore() const { return records; }
    bool isLoadInProgress() const { return loadInProgress; }

protected:
    // The float and double processes of the derived effect.
    virtual void processFloat(float** inputs, float** outputs, int32_t n) noexcept = 0;
    virtual void processDouble(double** inputs, double** outputs, int32_t n) noexcept = 0;
    // Called first in every process call; the effect asks the host's level.
    virtual void updateProcessLevel() noexcept {}
    // Sends (tag, value) to the editor when one exists.
    virtual void notifyEditor(int32_t tag, float value) { (void)tag; (void)value; }

    // Base format of a row's value, from its curve and unit.
    void baseFormat(int32_t index, float norm, char* text);
    // Stores norm and the real value in a live row and the current records.
    // Any thread, the audio thread included: atomic stores only, since the
    // engine update, the state and the editor read them from other threads.
    void storeNorm(int32_t index, float norm) noexcept;

    // Undo and redo (message thread). No depth limit: a session keeps its
    // steps until a program or a document is loaded.
    std::vector<UndoEntry> undoStack;
    std::vector<UndoEntry> redoStack;
    bool inUndo = false;

    std::unique_ptr<ParamRow[]> table;
    ProgramStore records;
    int32_t abParameterIndex = -1;
    // Set while values are moved in bulk (message thread); engine updates
    // on the timer thread hold back meanwhile.
    std::atomic<bool> loadInProgress{false};
    // Samples processed since the last full engine update.
    std::atomic<int32_t> samplesSinceUpdate{0};
};
