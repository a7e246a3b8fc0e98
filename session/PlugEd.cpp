#include "session/PlugEd.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>

#include "core/ChannelLayout.h"
#include "core/InstanceRegistry.h"
#include "core/Plug.h"
#include "state/Alerts.h"
#include "state/ChunkCodec.h"
#include "state/GlobalSettings.h"
#include "state/JsonPrinter.h"
#include "state/PresetFiles.h"

namespace {

constexpr int32_t kMinFreeWidth = 581;    // the narrowest layout
constexpr int32_t kMaxFreeWidth = 16384;  // wider than any screen

const cJSON* member(const cJSON* object, const char* key) {
    return cJSON_IsObject(object) ? cJSON_GetObjectItem(object, key) : nullptr;
}

}  // namespace

PlugEd::PlugEd(Plug* owner) : effect(owner) {
    subgraphs = cJSON_CreateObject();
    if (effect != nullptr && effect->getChannelCount() == 1) analyserSource[1] = 0;
    const int32_t toggle = GlobalSettings::instance().valueOr("A/B Toggle");
    toggleMode = toggle < 0 ? 1 : toggle;
}

PlugEd::~PlugEd() {
    cJSON_Delete(subgraphs);
    cJSON_Delete(presetRoot);
}

std::unique_ptr<Plug> PlugEd::createEffect(EffectHostCallback host) {
    return std::make_unique<Plug>(host, [](Plug& fx) -> std::unique_ptr<iEditorLink> {
        return std::make_unique<PlugEd>(&fx);
    });
}

std::unique_ptr<Plug> PlugEd::createInstance(int32_t channels, float sampleRate, EffectHostCallback host) {
    auto fx = createEffect(host);
    fx->setNumInputs(channels);
    fx->setNumOutputs(channels);
    fx->setChannelLayout(standardChannelLayout(channels));
    fx->setSampleRate(sampleRate);
    fx->resume();
    return fx;
}

PlugEd* PlugEd::of(const Plug& effect) {
    return dynamic_cast<PlugEd*>(effect.getEditorLink());
}

int32_t PlugEd::getUiSetting(const char* category, const char* key) const {
    return uiSettings().value(category, key);
}

void PlugEd::effectChanged(EffectNews news) {
    switch (news) {
        case EffectNews::groupNames: setParameter(kGUIGroupNamesChanged, 1.0f); break;
        case EffectNews::instances: setParameter(kGUIInstancesChanged, 1.0f); break;
        case EffectNews::instanceName: setParameter(kGUIInstanceName, 1.0f); break;
        case EffectNews::renderSettings: markSettingsPageStale(); break;
    }
}

void PlugEd::stateApplied() {
    presetDisplayStale = true;
}

// ---------------------------------------------------------------------------
// Tag updates

void PlugEd::setParameter(int32_t tag, float value) noexcept {
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
    cJSON_AddItemReferenceToObject(root, "uiprefs", uiSettings().root());
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
    uiSettings().mergeFrom(uiprefs);
    // Older documents kept MIDI input as a global switch: a document with UI
    // settings but no MIDI Input among them takes it from there. A document
    // without UI settings (a program of a bank) leaves it as it is.
    if (cJSON_IsObject(uiprefs) && member(member(uiprefs, "Misc"), "MIDI Input") == nullptr) {
        GlobalSettings& globals = GlobalSettings::instance();
        const int32_t disabled = globals.valueOr("MIDI Disabled");
        uiSettings().setValue("Misc", "MIDI Input", disabled == 0 ? 1 : 0);
    }
    effect->reloadUISettings();
}

void PlugEd::setGraphRange(const char* graph, double minHz, double maxHz) {
    if (!subgraphs) subgraphs = cJSON_CreateObject();
    if (!subgraphs) return;
    cJSON* entry = cJSON_CreateObject();
    if (!entry) return;
    cJSON_AddNumberToObject(entry, "minf", minHz);
    cJSON_AddNumberToObject(entry, "maxf", maxHz);
    if (cJSON_GetObjectItemCaseSensitive(subgraphs, graph)) {
        cJSON_ReplaceItemInObjectCaseSensitive(subgraphs, graph, entry);
    } else {
        cJSON_AddItemToObject(subgraphs, graph, entry);
    }
}

void PlugEd::setAnalyserSource(int32_t s, int32_t source) {
    s &= 1;
    analyserSource[s] = source < 0 ? -1 : source;
    analyserSourceName[s].clear();
    const int32_t other = source < 0 ? 0 : source >> 8;
    if (other <= 0) return;
    const std::vector<std::string> names = InstanceRegistry::instance().instanceNames(effect);
    if (other <= int32_t(names.size())) analyserSourceName[s] = names[size_t(other - 1)];
}

void PlugEd::applySource(const cJSON* settings, int32_t s) {
    const cJSON* number = member(settings, s == 0 ? "analyserSourceChn1" : "analyserSourceChn2");
    const cJSON* name = member(settings, s == 0 ? "analyserSourceInst1" : "analyserSourceInst2");
    if (number == nullptr && name == nullptr) return;
    const int32_t channels = effect->getChannelCount();
    const int32_t code = number != nullptr ? number->valueint : analyserSource[s];
    int32_t source = code;
    if (code > channels || code < -1) source = (s == 0 || channels == 1) ? 0 : 1;
    analyserSourceName[s].clear();
    const char* wanted = cJSON_IsString(name) ? name->valuestring : "";
    if (wanted != nullptr && wanted[0] != 0) {
        // Another instance, by name. Its position among the others counts
        // from 0 here, one lower than the source numbering counts them, so
        // the first other instance reads back as this one under its name:
        // kept so.
        const std::vector<std::string> others = InstanceRegistry::instance().instanceNames(effect);
        for (size_t k = 0; k < others.size(); ++k) {
            if (others[k] != wanted) continue;
            source = (code & 0xFF) | int32_t(k << 8);
            analyserSourceName[s] = wanted;
            break;
        }
    }
    analyserSource[s] = source;
}

void PlugEd::programChanged() {
    setParameter(kGUIPresetMenu, float(effect->getProgram()));
}

// ---------------------------------------------------------------------------
// A/B slots

void PlugEd::chooseABSlot(int32_t s) {
    if (s < 0 || s >= kNumABSlots) return;
    visitedSlots |= 1u << s;
    lastABSlot = effect->getABSlot();
    effect->beginEdit(kABBank);
    effect->setParameterAutomated(kABBank, float(s) * 0.125f);
    effect->endEdit(kABBank);
}

void PlugEd::toggleABSlot() {
    const int32_t current = effect->getABSlot();
    int32_t target = current;
    if (toggleMode == 0) {
        target = lastABSlot;
    } else if (toggleMode == 1) {
        visitedSlots |= 1u << current;  // so the search ends
        target = current + 1;
        while (((visitedSlots >> (target % kNumABSlots)) & 1u) == 0) ++target;
        target %= kNumABSlots;
    } else {
        // The slots are really visited: each is switched to and looked at.
        for (target = (current + 1) % kNumABSlots; target != current; target = (target + 1) % kNumABSlots) {
            effect->switchABSlot(target);
            bool anyBand = false;
            for (int32_t b = 0; b < kNumBands && !anyBand; ++b)
                anyBand = effect->getRealValue(bandParam(b, kFieldState)) != 0.0f;
            if (anyBand) break;
        }
    }
    effect->beginEdit(kABBank);
    effect->setParameterAutomated(kABBank, float(target) * 0.125f);
    effect->endEdit(kABBank);
    setParameter(kGUIABMenu, float(target));
    lastABSlot = current;
}

void PlugEd::copyToABSlot(int32_t s) {
    effect->copyToABSlot(s);
}

// ---------------------------------------------------------------------------
// Presets

uint32_t PlugEd::getLoadingFlags() {
    const uint32_t flags = readLoadingFlags(effect->getLoadingFlags());
    effect->setLoadingFlags(flags);
    return flags;
}

void PlugEd::setLoadingFlags(uint32_t flags) {
    writeLoadingFlags(flags);
    effect->setLoadingFlags(flags);
}

void PlugEd::setLoadingFlag(int32_t tag, bool on) {
    const int32_t bit = tag - kGUIPresetEQ;
    if (bit < 0 || bit > 2) return;
    const uint32_t flags = getLoadingFlags();
    setLoadingFlags(on ? (flags | (1u << bit)) : (flags & ~(1u << bit)));
}

void PlugEd::rebuildPresetMenu() {
    presetMenu.entries.clear();
    cJSON_Delete(presetRoot);
    presetRoot = cJSON_CreateObject();
    presetTree = presetRoot;
    // The programs up to the last one in use; an unused program is named "-".
    const ProgramStore& store = effect->programStore();
    const int32_t last = store.lastProgramInUse();
    const char* name = "";
    for (int32_t p = 0; p <= last; ++p) {
        name = store.program(p).name;
        const char* shown = std::strcmp(name, "-") == 0 ? " " : name;
        presetMenu.entries.push_back({PresetMenu::Kind::kItem, shown, nullptr});
        cJSON_AddNumberToObject(presetRoot, shown, p);
    }
    // The separator has its place in the tree too, so positions stay equal.
    presetMenu.entries.push_back({PresetMenu::Kind::kSeparator, "", nullptr});
    cJSON_AddNumberToObject(presetRoot, std::strcmp(name, "-") == 0 ? " " : name, -1);
    scanPresetFolder(presetRoot, presetMenu, presetFolderPath());
    presetIndex = 0;
    presetDisplayStale = true;
}

void PlugEd::applyMenuPreset(const cJSON* tree, int32_t index) {
    if (tree == nullptr) return;
    const cJSON* item = cJSON_GetArrayItem(tree, index);
    if (tree == presetRoot && cJSON_IsNumber(item)) {
        effect->setProgram(index);
        presetTree = presetRoot;
        presetIndex = effect->getProgram();
        presetDisplayStale = true;
        return;
    }
    const uint32_t flags = getLoadingFlags();
    if (item == nullptr) return;
    presetIndex = index;
    presetTree = tree;
    const int32_t program = effect->getProgram();
    effect->applyPresetDocument(item, program);
    effect->setProgram(program);
    if (item->string != nullptr) {
        std::vector<char> name(item->string, item->string + std::strlen(item->string) + 1);
        effect->setProgramName(name.data());
    }
    if ((flags & kLoadUI) != 0) applyState(item, true);
    presetDisplayStale = true;
}

void PlugEd::applyMenuPath(const std::vector<int32_t>& path) {
    if (path.empty()) return;
    const cJSON* tree = presetRoot;
    for (size_t level = 0; level + 1 < path.size() && tree != nullptr; ++level) {
        tree = cJSON_GetArrayItem(tree, path[level]);
        if (tree != nullptr && !cJSON_IsObject(tree) && !cJSON_IsArray(tree)) tree = nullptr;
    }
    if (tree != nullptr) applyMenuPreset(tree, path.back());
}

std::string PlugEd::currentPresetName() const {
    return effect->programStore().program(effect->getProgram()).name;
}

bool PlugEd::takePresetDisplayStale() {
    const bool stale = presetDisplayStale;
    presetDisplayStale = false;
    return stale;
}

void PlugEd::presetPrev() {
    if (presetTree == presetRoot || presetTree == nullptr) {
        if (effect->getProgram() > 0) effect->setProgram(effect->getProgram() - 1);
        presetIndex = effect->getProgram();
        return;
    }
    applyMenuPreset(presetTree, std::max(presetIndex - 1, 0));
}

void PlugEd::presetNext() {
    if (presetTree == presetRoot || presetTree == nullptr) {
        if (effect->getProgram() < kNumPrograms - 1) effect->setProgram(effect->getProgram() + 1);
        presetIndex = effect->getProgram();
        return;
    }
    const int32_t count = cJSON_GetArraySize(presetTree);
    applyMenuPreset(presetTree, std::clamp(presetIndex + 1, 0, std::max(count - 1, 0)));
}

bool PlugEd::canPresetPrev() const {
    if (presetTree == presetRoot || presetTree == nullptr) return effect->getProgram() > 0;
    return presetIndex >= 1 && cJSON_GetArraySize(presetTree) >= 2;
}

bool PlugEd::canPresetNext() const {
    if (presetTree == presetRoot || presetTree == nullptr) return effect->getProgram() < kNumPrograms - 1;
    const int32_t count = cJSON_GetArraySize(presetTree);
    return presetIndex < count - 1 && count >= 2;
}

void PlugEd::setPresetName(const char* name) {
    if (name == nullptr) return;
    std::vector<char> text(name, name + std::strlen(name) + 1);
    effect->setProgramName(text.data());
    presetTree = presetRoot;
    presetIndex = effect->getProgram();
    presetDisplayStale = true;
}

bool PlugEd::writeChunkFile(const std::string& path, bool preset) {
    void* data = nullptr;
    const int32_t size = effect->getChunk(&data, preset);
    if (size <= 0 || !writeWholeFile(path, data, size_t(size))) {
        fileAccessAlert(path, "wb", true);
        return false;
    }
    return true;
}

bool PlugEd::readPresetFile(const std::string& path, std::vector<uint8_t>& bytes) {
    if (readWholeFile(path, bytes, kMaxPresetFileBytes)) return true;
    fileAccessAlert(path, "rb", true);
    return false;
}

bool PlugEd::saveBank(const std::string& path) {
    const bool saved = writeChunkFile(path, false);
    rebuildPresetMenu();
    return saved;
}

bool PlugEd::savePreset(const std::string& path) {
    getLoadingFlags();  // they decide what the preset holds
    const bool saved = writeChunkFile(path, true);
    rebuildPresetMenu();
    return saved;
}

bool PlugEd::loadBank(const std::string& path) {
    std::vector<uint8_t> bytes;
    if (!readPresetFile(path, bytes)) return false;
    getLoadingFlags();
    effect->setChunk(bytes.data(), int32_t(bytes.size()), false);
    rebuildPresetMenu();
    presetIndex = effect->getProgram();
    presetTree = presetRoot;
    return true;
}

bool PlugEd::loadPreset(const std::string& path) {
    std::vector<uint8_t> bytes;
    if (!readPresetFile(path, bytes)) return false;
    char imported[] = "Imported";  // until the preset's own name replaces it
    effect->setProgramName(imported);
    getLoadingFlags();
    effect->setChunk(bytes.data(), int32_t(bytes.size()), true);
    presetTree = presetRoot;
    presetIndex = effect->getProgram();
    return true;
}

// ---------------------------------------------------------------------------
// Edits of linked bands

namespace {

// Fields whose gesture moves the linked bands along.
bool followsLinkedEdit(int32_t field) {
    return field == kFieldState || field == kFieldGain || field == kFieldFrequency || field == kFieldQ ||
           field == kFieldShift || field == kFieldPhase;
}

bool bandIsOn(Plug& fx, int32_t band) {
    return fx.getRealValue(bandParam(band, kFieldState)) != 0.0f;
}

}  // namespace

float PlugEd::getStartValue(int32_t band, int32_t field) const {
    if (band < 0 || band >= kNumBands || field < 0 || field >= kNumStartFields) return 0.0f;
    return startValues[field][band];
}

void PlugEd::beginLinkedEdit(int32_t tag) {
    if (tag < 0 || tag >= kNumParams) return;
    const int32_t field = bandFieldOf(tag);
    const int32_t band = bandIndexOf(tag);
    if (band < 0) {
        effect->beginEdit(tag);
        return;
    }
    if (field == kFieldSubtype && !graphDragging) effect->undoBeginGroup();
    linkedGesture[size_t(tag)] = bandIsOn(*effect, band) && followsLinkedEdit(field);
    if (linkedGesture[size_t(tag)]) {
        if (!graphDragging) effect->undoBeginGroup();
        const bool normalised = field == kFieldFrequency || field == kFieldQ || field == kFieldShift;
        for (int32_t b = 0; b < kNumBands; ++b) {
            const int32_t row = bandParam(b, field);
            startValues[field][b] = normalised ? effect->getParameter(row) : effect->getRealValue(row);
        }
        for (int32_t b = 0; b < kNumBands; ++b)
            if (b != band && linkingOn && ((selectedBands >> b) & 1u) != 0) effect->beginEdit(bandParam(b, field));
    }
    effect->beginEdit(tag);
}

void PlugEd::endLinkedEdit(int32_t tag) {
    if (tag < 0 || tag >= kNumParams) return;
    const int32_t field = bandFieldOf(tag);
    const int32_t band = bandIndexOf(tag);
    effect->endEdit(tag);
    if (band < 0) return;
    if (linkedGesture[size_t(tag)]) {
        linkedGesture[size_t(tag)] = false;
        for (int32_t b = 0; b < kNumBands; ++b)
            if (b != band && linkingOn && ((selectedBands >> b) & 1u) != 0) effect->endEdit(bandParam(b, field));
        if (!graphDragging) effect->undoEndGroup();
    }
    if (field == kFieldSubtype && !graphDragging) effect->undoEndGroup();
}

uint64_t PlugEd::bandsFollowing(int32_t band) const {
    if (!linkingOn || band < 0 || band >= kNumBands || ((linkedBands >> band) & 1u) == 0) return 0;
    return selectedBands & ~(uint64_t(1) << band);
}

void PlugEd::editBandRow(int32_t tag, float norm) {
    const int32_t band = bandIndexOf(tag);
    const int32_t field = bandFieldOf(tag);
    if (band < 0) {
        effect->setParameterAutomated(tag, norm);
        return;
    }
    // Outside a gesture (typed text, a menu) the start is now.
    const bool inGesture = linkedGesture[size_t(tag)];
    auto start = [&](int32_t b, int32_t f) {
        if (inGesture && f == field) return startValues[f][b];
        const int32_t row = bandParam(b, f);
        const bool normalised = f == kFieldFrequency || f == kFieldQ || f == kFieldShift;
        return normalised ? effect->getParameter(row) : effect->getRealValue(row);
    };
    const bool wasOn = bandIsOn(*effect, band);
    const uint64_t followers = wasOn ? bandsFollowing(band) : 0;
    auto setFollower = [&](int32_t b, int32_t f, float value) {
        const int32_t row = bandParam(b, f);
        if (!inGesture) effect->beginEdit(row);
        effect->setParameterAutomated(row, std::clamp(value, 0.0f, 1.0f));
        if (!inGesture) effect->endEdit(row);
    };
    auto eachFollower = [&](auto&& action) {
        for (int32_t b = 0; b < kNumBands; ++b)
            if ((followers >> b) & 1u) action(b);
    };
    const ParamRow& row = staticParamTable()[tag];
    switch (field) {
        case kFieldState:
            if (norm == 0.0f) {
                eachFollower([&](int32_t b) {
                    effect->beginEdit(bandParam(b, field));
                    effect->setParameterAutomated(bandParam(b, field), 0.0f);
                    effect->endEdit(bandParam(b, field));
                });
                selectedBands &= ~followers;
            } else {
                eachFollower([&](int32_t b) {
                    effect->beginEdit(bandParam(b, field));
                    effect->setParameterAutomated(bandParam(b, field), norm);
                    effect->endEdit(bandParam(b, field));
                });
            }
            break;
        case kFieldType:
            if (effect->getParameter(tag) != norm) effect->setParameterAutomated(bandParam(band, kFieldSubtype), 0.0f);
            break;
        case kFieldSubtype: {
            const float type = effect->getRealValue(bandParam(band, kFieldType));
            eachFollower([&](int32_t b) {
                if (effect->getRealValue(bandParam(b, kFieldType)) == type) {
                    effect->beginEdit(bandParam(b, field));
                    effect->setParameterAutomated(bandParam(b, field), norm);
                    effect->endEdit(bandParam(b, field));
                }
            });
            break;
        }
        case kFieldGain:
        case kFieldPhase: {
            const double s = start(band, field);
            const double n = curveToReal(row, norm);
            eachFollower([&](int32_t b) {
                const double own = start(b, field);
                const double moved = s != 0.0 ? own * (n / s) : own + (n - s);
                setFollower(b, field, float(curveToNorm(row, moved)));
            });
            break;
        }
        case kFieldFrequency:
        case kFieldQ:
        case kFieldShift: {
            const float delta = norm - start(band, field);
            eachFollower([&](int32_t b) { setFollower(b, field, start(b, field) + delta); });
            break;
        }
        default:
            break;  // Groups and Slope carry nothing over
    }
    effect->setParameterAutomated(tag, norm);
}

int32_t PlugEd::reviewedBandOrder(int32_t* order) const {
    const int32_t* stored = effect->programStore().bandOrder(effect->getProgram());
    bool listed[kNumBands] = {};
    int32_t count = 0;
    for (int32_t i = 0; i < kNumBands && stored[i] >= 0; ++i) {
        const int32_t b = stored[i];
        if (b >= kNumBands || listed[b] || !bandIsOn(*effect, b)) continue;
        listed[b] = true;
        order[count++] = b;
    }
    for (int32_t b = 0; b < kNumBands; ++b)
        if (!listed[b] && bandIsOn(*effect, b)) order[count++] = b;
    return count;
}

int32_t PlugEd::reviewedBandOrder(int32_t* order, bool sort) const {
    const int32_t count = reviewedBandOrder(order);
    if (sort) {
        std::stable_sort(order, order + count, [this](int32_t a, int32_t b) {
            return effect->getRealValue(bandParam(a, kFieldFrequency)) <
                   effect->getRealValue(bandParam(b, kFieldFrequency));
        });
    }
    return count;
}

bool PlugEd::bandOrderSorted() const {
    int32_t order[kNumBands];
    const int32_t count = reviewedBandOrder(order);
    for (int32_t i = 1; i < count; ++i) {
        if (effect->getRealValue(bandParam(order[i], kFieldFrequency)) <
            effect->getRealValue(bandParam(order[i - 1], kFieldFrequency)))
            return false;
    }
    return true;
}

int32_t PlugEd::insertBandAfter(int32_t band) {
    if (band < 0 || band >= kNumBands) return -1;
    int32_t fresh = -1;
    for (int32_t b = 0; b < kNumBands && fresh < 0; ++b)
        if (!bandIsOn(*effect, b)) fresh = b;
    if (fresh < 0) return -1;

    int32_t reviewed[kNumBands];
    const int32_t listed = reviewedBandOrder(reviewed);
    int32_t order[kNumBands];
    int32_t count = 0;
    bool placed = false;
    for (int32_t i = 0; i < listed; ++i) {
        order[count++] = reviewed[i];
        if (reviewed[i] == band && count < kNumBands) {
            order[count++] = fresh;
            placed = true;
        }
    }
    if (!placed && count < kNumBands) order[count++] = fresh;
    effect->setBandOrder(effect->getProgram(), order, count);

    effect->undoBeginGroup();
    for (int32_t field = 0; field < kNumBandFields; ++field) {
        const int32_t row = bandParam(fresh, field);
        effect->beginEdit(row);
        effect->setParameterAutomated(row, effect->getParameter(bandParam(band, field)));
        effect->endEdit(row);
    }
    effect->undoEndGroup();
    return fresh;
}

void PlugEd::selectOnly(int32_t band) {
    if (band < 0 || band >= kNumBands) return;
    selectedBands = uint64_t(1) << band;
    if (linkingOn) linkedBands = selectedBands;
}

void PlugEd::selectToggle(int32_t band) {
    if (band < 0 || band >= kNumBands) return;
    const uint64_t bit = uint64_t(1) << band;
    if (linkingOn) {
        linkedBands ^= bit;
        selectedBands = (selectedBands & ~bit) | (linkedBands & bit);
    } else {
        selectedBands ^= bit;
    }
}

void PlugEd::setBandSelected(int32_t band, bool on) {
    if (band < 0 || band >= kNumBands) return;
    const uint64_t bit = uint64_t(1) << band;
    selectedBands &= ~bit;
    if (!linkingOn) {
        if (on) selectedBands = bit;
    } else {
        selectedBands |= on ? bit : (bit & linkedBands);
    }
}

// ---------------------------------------------------------------------------
// UI settings kept as defaults and shared

cJSON* PlugEd::openDefaultBank(std::string* path) {
    *path = defaultBankPath(nullptr);
    std::vector<uint8_t> bytes;
    if (!readWholeFile(*path, bytes, kMaxPresetFileBytes)) {
        // No default bank yet: this instance's state starts one.
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(*path).parent_path(), ignored);
        void* data = nullptr;
        const int32_t size = effect->getChunk(&data, false);
        if (size > 0) writeWholeFile(*path, data, size_t(size));
        if (!readWholeFile(*path, bytes, kMaxPresetFileBytes)) {
            fileAccessAlert(*path, "rb", false);
            return nullptr;
        }
    }
    const std::vector<uint8_t> text = decodeChunk(bytes.data(), int32_t(bytes.size()));
    return cJSON_Parse(PlugBaseJSON::documentStart(reinterpret_cast<const char*>(text.data())));
}

void PlugEd::mergeUISettings(const cJSON* uiprefs, const char* category) {
    if (category == nullptr) {
        uiSettings().mergeFrom(uiprefs);
        return;
    }
    // One category: merged as a tree that holds only it.
    cJSON* only = cJSON_CreateObject();
    const cJSON* part = cJSON_IsObject(uiprefs) ? cJSON_GetObjectItemCaseSensitive(uiprefs, category) : nullptr;
    if (only != nullptr && part != nullptr) cJSON_AddItemReferenceToObject(only, category, const_cast<cJSON*>(part));
    uiSettings().mergeFrom(only);
    cJSON_Delete(only);
}

bool PlugEd::saveUIDefaults(const char* category) {
    std::string path;
    cJSON* bank = openDefaultBank(&path);
    if (!cJSON_IsObject(bank)) {
        cJSON_Delete(bank);
        return false;
    }
    cJSON* ours = uiSettings().root();
    if (category == nullptr) {
        cJSON_DeleteItemFromObject(bank, "uiprefs");
        cJSON_AddItemReferenceToObject(bank, "uiprefs", ours);
    } else {
        cJSON* part = cJSON_GetObjectItemCaseSensitive(ours, category);
        cJSON* saved = cJSON_GetObjectItem(bank, "uiprefs");
        if (!cJSON_IsObject(saved)) {
            cJSON_DeleteItemFromObject(bank, "uiprefs");
            saved = cJSON_AddObjectToObject(bank, "uiprefs");
        }
        if (part != nullptr && saved != nullptr) {
            cJSON_DeleteItemFromObjectCaseSensitive(saved, category);
            cJSON_AddItemReferenceToObject(saved, category, part);
        }
    }
    const std::string text = printJson(bank, true);
    cJSON_Delete(bank);
    if (!writeWholeFile(path, text.c_str(), text.size() + 1)) {
        fileAccessAlert(path, "wb", false);
        return false;
    }
    return true;
}

bool PlugEd::restoreUIDefaults(const char* category) {
    std::string path;
    cJSON* bank = openDefaultBank(&path);
    if (bank == nullptr) return false;
    mergeUISettings(cJSON_GetObjectItem(bank, "uiprefs"), category);
    cJSON_Delete(bank);
    effect->reloadUISettings();
    return true;
}

bool PlugEd::saveStateAsDefault() {
    const std::string path = defaultBankPath(nullptr);
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    return writeChunkFile(path, false);
}

void PlugEd::propagateUISettings(const char* category) {
    InstanceRegistry::instance().forEachOther(effect, [this, category](Plug& other) {
        PlugEd* editor = PlugEd::of(other);
        if (editor == nullptr) return;
        editor->mergeUISettings(uiSettings().root(), category);
        other.reloadUISettings();
        editor->markSettingsPageStale();
    });
}

// ---------------------------------------------------------------------------
// Auto gain

void PlugEd::setAutoGain(bool on, bool learn) {
    if (learn) effect->bakeAutoGain();
    effect->setAutoGain(effect->getProgram(), on ? 1 : 0);
    setParameter(kGUIAutoGain, on ? 1.0f : 0.0f);
}
