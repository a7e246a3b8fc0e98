#pragma once
// What the effect tells an editor, and the only way it does: the effect owns
// one object of this interface when an editor layer gave it one, and knows
// nothing else of editors, views or windows.

#include <cstdint>

struct cJSON;

// Changes of the effect that are not a parameter value.
enum class EffectNews : int32_t {
    groupNames,      // a group was renamed or the groups were rebuilt
    instances,       // an instance came, went or was renamed
    instanceName,    // this instance's own name changed
    renderSettings,  // another instance sent its offline render settings
};

class iEditorLink {
public:
    virtual ~iEditorLink() = default;

    // Any thread, the audio thread included: no allocation, no locks, no
    // waiting. A parameter's normalised value changed.
    virtual void parameterChanged(int32_t index, float norm) noexcept = 0;
    // Message thread from here on.
    virtual void effectChanged(EffectNews news) = 0;
    // The effect moved to another program, or a document set the program.
    virtual void programChanged() = 0;
    // A state document or a preset has been applied as a whole.
    virtual void stateApplied() = 0;
    // The editor's two sections of the state document, `settings` and
    // `uiprefs`: added to a document being built, and read from one being
    // applied (keys a document lacks keep their present values). A preset
    // leaves out the current slot, the last slot and the current program.
    virtual void writeEditorState(cJSON* root, bool presetOnly) = 0;
    virtual void applyEditorState(const cJSON* root, bool presetOnly) = 0;
};
