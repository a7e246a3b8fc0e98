// Edit gestures, the undo and redo stacks, and copying into A/B slots.
// All of it runs on the message thread; the audio thread only reads the
// parameters these write.

#include <algorithm>

#include "core/Plug.h"

void Plug::beginEdit(int32_t index) {
    listenOnBeginEdit(index);
    if (index < 0 || index >= kNumParams || editing[index]) return;  // one gesture, one step
    editing[index] = true;
    undoStack.push_back({index, undoValueOf(index)});
    if (gesturesToHost) callHost(audioMasterBeginEdit, index);
}

void Plug::endEdit(int32_t index) {
    listenOnEndEdit(index);
    const bool wasEditing = index >= 0 && index < kNumParams && editing[index];
    if (wasEditing) {
        editing[index] = false;
        // A gesture that ended where it began leaves no trace, and keeps the redo steps.
        const float present = getParameter(index);
        const auto last = std::find_if(undoStack.rbegin(), undoStack.rend(),
                                       [index](const UndoEntry& e) { return e.id == index; });
        if (last != undoStack.rend() && last->value == present)
            undoStack.erase(std::next(last).base());
        else if (!inUndo)
            redoStack.clear();
    }
    refreshEngine(true);  // the end of a gesture is never left to the rate limit
    if (wasEditing && gesturesToHost) callHost(audioMasterEndEdit, index);
}

void Plug::setParameterAutomated(int32_t index, float norm) {
    // Any write of the listened band's state ends AutoListen.
    if (autoListenArmed.load() != 0 && bandFieldOf(index) == kFieldState && bandIndexOf(index) != -1 &&
        bandIndexOf(index) == autoListenBand.load() && norm < 2.0f) {
        autoListenBand = -1;
        refreshEngine(false);
    }
    if (index < 0 || index >= kNumParams) {
        setParameter(index, norm);
        return;
    }
    if (!editing[index]) beginEdit(index);  // stays open until an endEdit comes
    setParameter(index, norm);
    callHost(audioMasterAutomate, index, 0, nullptr, norm);
}

// The value a step stores for id: the slot parameter by its slot, other
// parameters by their normalised value, markers as 0.
float Plug::undoValueOf(int32_t id) const {
    if (id == kABBank) return float(records.currentSlot()) * 0.125f;
    return isParamIndex(id) ? table[id].norm : 0.0f;
}

void Plug::undoBeginGroup() {
    undoStack.push_back({kUndoGroupBottom, 0.0f});
}

void Plug::undoEndGroup() {
    if (!undoStack.empty() && undoStack.back().id == kUndoGroupBottom)
        undoStack.pop_back();  // an empty group leaves nothing
    else
        undoStack.push_back({kUndoGroupTop, 0.0f});
}

void Plug::applyUndoStep(const UndoEntry& step, bool automate) {
    if (step.id == kUndoEditorFirst || step.id == kUndoEditorLast) {
        notifyEditor(step.id, 0.0f);
        return;
    }
    // Markers take the same way; nothing answers to their ids.
    if (gesturesToHost) callHost(audioMasterBeginEdit, step.id);
    setParameter(step.id, step.value);
    if (automate) callHost(audioMasterAutomate, step.id, 0, nullptr, step.value);
    if (gesturesToHost) callHost(audioMasterEndEdit, step.id);
}

void Plug::undo() {
    inUndo = true;
    bool inGroup = false;
    while (!undoStack.empty()) {
        const UndoEntry step = undoStack.back();
        undoStack.pop_back();
        redoStack.push_back({step.id, undoValueOf(step.id)});
        applyUndoStep(step, true);
        if (step.id == kUndoGroupTop) {
            inGroup = true;
            continue;
        }
        if (step.id == kUndoGroupBottom || !inGroup) break;
    }
    inUndo = false;
}

void Plug::redo() {
    inUndo = true;
    bool inGroup = false;
    while (!redoStack.empty()) {
        const UndoEntry step = redoStack.back();
        redoStack.pop_back();
        // The stored value as it is, with no slot rule: kept so.
        undoStack.push_back({step.id, isParamIndex(step.id) ? table[step.id].norm : 0.0f});
        applyUndoStep(step, isParamIndex(step.id));
        if (step.id == kUndoGroupTop) break;
        if (step.id == kUndoGroupBottom) {
            inGroup = true;
            continue;
        }
        if (!inGroup) break;
    }
    inUndo = false;
}

void Plug::clearUndo() {
    undoStack.clear();
    redoStack.clear();
}

void Plug::copyToABSlot(int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    records.copyExtrasToSlot(curProgram, slot);
    records.setSlotValues(slot, table.get());
    markChunkStale();
}
