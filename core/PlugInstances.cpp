// The effect among the other instances of the process: its name, its place
// in the registry, the settings it sends to the others, and the default
// bank every new instance starts from.

#include <cstdio>
#include <cstring>
#include <vector>

#include "core/InstanceRegistry.h"
#include "core/Plug.h"
#include "state/PresetFiles.h"

namespace {

// Cuts a name held in `bytes` bytes so that it ends before its last byte and
// never inside a UTF-8 character: from the last byte back over continuation
// bytes, and the byte reached ends the name.
void cutName(char* name, size_t bytes) {
    size_t at = bytes - 1;
    for (size_t steps = 0; steps < bytes && at > 0 && (uint8_t(name[at]) & 0xC0) == 0x80; ++steps) --at;
    name[at] = 0;
}

// Copies up to `bytes` bytes of `from` (without needing a terminator within them).
void copyName(char* to, const char* from, size_t bytes) {
    std::memset(to, 0, bytes);
    std::memcpy(to, from, strnlen(from, bytes));
}

}  // namespace

void Plug::nameInstance() {
    std::snprintf(displayName, sizeof displayName, "EQ: %d", InstanceRegistry::instance().count());
    std::memcpy(hostName, displayName, sizeof hostName);
    userNamed = false;
}

void Plug::registerInstance() {
    InstanceRegistry::instance().add(this);
}

void Plug::unregisterInstance() {
    InstanceRegistry::instance().remove(this);
}

void Plug::instancesChanged() {
    if (editorObject) editorObject->effectChanged(EffectNews::instances);
}

void Plug::setInstanceName(const char* name, bool byUser) {
    if (name == nullptr) return;
    if (!byUser) {
        copyName(hostName, name, sizeof hostName);
        cutName(hostName, sizeof hostName);
    }
    if (!(!byUser && userNamed)) {
        if (byUser && name[0] == 0) {
            std::memcpy(displayName, hostName, sizeof displayName);
            userNamed = false;
        } else {
            copyName(displayName, name, sizeof displayName);
        }
        cutName(displayName, sizeof displayName);
        if (byUser && name[0] != 0) userNamed = true;
        markChunkStale();
        InstanceRegistry::instance().notifyInstancesChanged();
    }
    if (editorObject) editorObject->effectChanged(EffectNews::instanceName);
}

void Plug::propagateDSP() {
    static constexpr int32_t kDspSettings[8] = {kMode, kIRLength, kIRWindow, kIRWindowParam,
                                                kIRPhase, kIRPad, kDPlusLen, kDPlusPhase};
    InstanceRegistry::instance().forEachOther(this, [this](Plug& other) {
        for (const int32_t index : kDspSettings) {
            other.beginEdit(index);
            other.setParameterAutomated(index, getParameter(index));
            other.endEdit(index);
        }
    });
}

void Plug::propagateRenderDSP() {
    InstanceRegistry::instance().forEachOther(this, [this](Plug& other) {
        for (int32_t i = 0; i < kRenderSettingCount; ++i) other.setRenderSetting(i, renderSettings[i]);
        if (iEditorLink* editor = other.getEditorLink()) editor->effectChanged(EffectNews::renderSettings);
    });
}

void Plug::loadDefaultBank() {
    std::string factory;
    const std::string path = defaultBankPath(&factory);
    std::vector<uint8_t> bytes;
    if (!readWholeFile(path, bytes, kMaxPresetFileBytes) && !readWholeFile(factory, bytes, kMaxPresetFileBytes))
        return;
    if (!bytes.empty()) setChunk(bytes.data(), int32_t(bytes.size()), false);
}
