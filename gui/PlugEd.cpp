#include "gui/PlugEd.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <climits>

#include "core/Plug.h"
#include "resources/ResourceTable.h"
#include "state/GlobalSettings.h"

namespace {

constexpr int32_t kMinFreeWidth = 581;    // the narrowest layout
constexpr int32_t kMaxFreeWidth = 16384;  // wider than any screen

const cJSON* member(const cJSON* object, const char* key) {
    return cJSON_IsObject(object) ? cJSON_GetObjectItem(object, key) : nullptr;
}

UISettingsTree uiSettingsResource() {
    const ResourceData text = findResource("uisettings", "json");
    return UISettingsTree(reinterpret_cast<const char*>(text.data), text.size);
}

}  // namespace

PlugEd::PlugEd(Plug* owner) : effect(owner), settingsTree(uiSettingsResource()) {
    subgraphs = cJSON_CreateObject();
    if (effect != nullptr && effect->getChannelCount() == 1) analyserSource[1] = 0;
}

PlugEd::~PlugEd() {
    cJSON_Delete(subgraphs);
}

int32_t PlugEd::getUiSetting(const char* category, const char* key) const {
    return settingsTree.value(category, key);
}

// ---------------------------------------------------------------------------
// Tag updates

void PlugEd::setParameter(int32_t tag, float value) {
    if (tag < 0 || tag >= kNumTags) return;
    pendingValue[tag].store(value, std::memory_order_relaxed);
    pendingBits[tag / 32].fetch_or(1u << (tag % 32), std::memory_order_release);
    if (tag == kABBank) {
        // The slot menu shows the slot number, the raw value of the row.
        const float slot = float(curveToReal(staticParamTable()[kABBank], value));
        setParameter(kGUIABMenu, slot);
    }
}

bool PlugEd::takeUpdate(int32_t tag, float* value) {
    if (tag < 0 || tag >= kNumTags) return false;
    const uint32_t bit = 1u << (tag % 32);
    if ((pendingBits[tag / 32].fetch_and(~bit, std::memory_order_acquire) & bit) == 0) return false;
    if (value != nullptr) *value = pendingValue[tag].load(std::memory_order_relaxed);
    return true;
}

// ---------------------------------------------------------------------------
// State document

void PlugEd::writeState(cJSON* root, bool presetOnly) {
    cJSON* settings = cJSON_AddObjectToObject(root, "settings");
    if (settings != nullptr) {
        if (!presetOnly) {
            cJSON_AddNumberToObject(settings, "currentAB", effect->getABSlot());
            cJSON_AddNumberToObject(settings, "lastAB", lastABSlot);
            cJSON_AddNumberToObject(settings, "currentPreset", effect->getProgram());
        }
        cJSON_AddBoolToObject(settings, "analyserState", analyserOn);
        cJSON_AddBoolToObject(settings, "prePost", preEQ);
        cJSON_AddNumberToObject(settings, "freeWidth", freeWidth);
        cJSON_AddNumberToObject(settings, "channelLink", channelLinks);
        cJSON_AddNumberToObject(settings, "analyserType", analyserType);
        // The low byte is the channel code; -1 (no source) stays -1.
        for (int32_t s = 0; s < 2; ++s)
            cJSON_AddNumberToObject(settings, s == 0 ? "analyserSourceChn1" : "analyserSourceChn2",
                                    analyserSource[s] < 0 ? analyserSource[s] : analyserSource[s] & 0xFF);
        cJSON_AddStringToObject(settings, "analyserSourceInst1", analyserSourceName[0].c_str());
        cJSON_AddStringToObject(settings, "analyserSourceInst2", analyserSourceName[1].c_str());
        cJSON* copy = cJSON_Duplicate(subgraphs, true);
        if (copy != nullptr) cJSON_AddItemToObject(settings, "subgraphs", copy);
    }
    // A reference: the tree is printed where it stands, not copied.
    cJSON_AddItemReferenceToObject(root, "uiprefs", settingsTree.root());
}

void PlugEd::applyState(const cJSON* root, bool presetOnly) {
    const cJSON* settings = member(root, "settings");
    if (cJSON_IsObject(settings)) {
        const cJSON* graphs = member(settings, "subgraphs");
        if (cJSON_IsObject(graphs)) {
            cJSON* copy = cJSON_Duplicate(graphs, true);
            if (copy != nullptr) {
                cJSON_Delete(subgraphs);
                subgraphs = copy;
            }
        }
        if (!presetOnly) {
            if (const cJSON* item = member(settings, "currentPreset")) {
                if (item->valueint >= 0 && item->valueint < kNumPrograms) {
                    effect->setProgramIndex(item->valueint);
                    programChanged();  // queues the preset menu's update
                }
            }
            if (const cJSON* item = member(settings, "currentAB")) {
                effect->recallABSlot(item->valueint);
                setParameter(kGUIABMenu, float(effect->getABSlot()));
            }
            if (const cJSON* item = member(settings, "lastAB"))
                if (item->valueint >= 0 && item->valueint < kNumABSlots) lastABSlot = item->valueint;
        }
        if (const cJSON* item = member(settings, "analyserState")) analyserOn = cJSON_IsTrue(item);
        if (const cJSON* item = member(settings, "prePost")) {
            preEQ = cJSON_IsTrue(item);
            effect->setMeterPreBank(preEQ);
        }
        if (const cJSON* item = member(settings, "analyserType")) analyserType = item->valueint;
        if (const cJSON* item = member(settings, "freeWidth"))
            freeWidth = std::clamp(item->valueint, kMinFreeWidth, kMaxFreeWidth);
        if (const cJSON* item = member(settings, "channelLink")) channelLinks = uint32_t(item->valueint) & 0xF;
        applySource(settings, 0);
        applySource(settings, 1);
    }

    const cJSON* uiprefs = member(root, "uiprefs");
    settingsTree.mergeFrom(uiprefs);
    // Older documents kept MIDI input as a global switch.
    if (member(member(uiprefs, "Misc"), "MIDI Input") == nullptr) {
        GlobalSettings& globals = GlobalSettings::instance();
        const int32_t disabled = globals.valueOr("MIDI Disabled");
        settingsTree.setValue("Misc", "MIDI Input", disabled == 0 ? 1 : 0);
    }
    effect->reloadUISettings();
}

void PlugEd::applySource(const cJSON* settings, int32_t s) {
    const cJSON* number = member(settings, s == 0 ? "analyserSourceChn1" : "analyserSourceChn2");
    const cJSON* name = member(settings, s == 0 ? "analyserSourceInst1" : "analyserSourceInst2");
    if (number == nullptr && name == nullptr) return;
    const int32_t channels = effect->getChannelCount();
    const int32_t code = number != nullptr ? number->valueint : analyserSource[s];
    int32_t source = code;
    if (code > channels || code < -1) source = (s == 0 || channels == 1) ? 0 : 1;
    // A named source is another instance; until one of that name is found
    // the source stays on this instance's own channels.
    analyserSource[s] = source;
    analyserSourceName[s].clear();
}

void PlugEd::programChanged() {
    setParameter(kGUIPresetMenu, float(effect->getProgram()));
}
