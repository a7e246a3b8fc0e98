// The effect's programs, A/B slots and state document: what a host session
// or a preset stores of an instance, and how it comes back.

#include <cjson/cJSON.h>

#include <algorithm>
#include <cmath>

#include "core/ParameterNameTable.h"
#include "core/Plug.h"
#include "state/ChunkCodec.h"

namespace {

constexpr float kStandardMin = 10.0f;
constexpr float kStandardMax = 22000.0f;
constexpr float kExtendedMin = 5.0f;

// A document's name: a name of another type reads as empty.
const char* nameIn(const cJSON* item) {
    return cJSON_IsString(item) ? item->valuestring : "";
}

// `bandOrder` of a record into `order`: entries beyond those in the
// document keep what they held; a number that names no band ends the list.
void readBandOrder(const cJSON* object, int32_t* order) {
    const cJSON* bands = cJSON_GetObjectItem(object, "bandOrder");
    int32_t i = 0;
    for (const cJSON* e = cJSON_IsArray(bands) ? bands->child : nullptr; e && i < kNumBands; e = e->next, ++i)
        order[i] = (e->valueint >= 0 && e->valueint < kNumBands) ? e->valueint : -1;
}

uint32_t toWord(double x) {
    if (!(x > 0.0)) return 0;
    return x >= 4294967295.0 ? 0xFFFFFFFFu : uint32_t(x);
}

}  // namespace

// ---------------------------------------------------------------------------
// Records of programs and slots

void Plug::setBandOrder(int32_t program, const int32_t* order, int32_t count) {
    if (records.setBandOrder(program, order, count, curProgram)) markChunkStale();
}

void Plug::setAutoGain(int32_t program, int32_t state) {
    if (!records.setAutoGain(program, state, curProgram)) return;
    publishAutoGain();
    markChunkStale();
    refreshEngine(true);
}

void Plug::notifyEditor(int32_t tag, float value) {
    if (editorObject) editorObject->parameterChanged(tag, value);
}

void Plug::createEditor(EditorFactory makeEditor) {
    if (makeEditor) editorObject = makeEditor(*this);
}

void Plug::setProgramIndex(int32_t program) {
    if (program < 0 || program >= kNumPrograms) return;
    std::atomic_ref<int32_t>(curProgram).store(program, std::memory_order_relaxed);
    publishAutoGain();
}

void Plug::setProgram(int32_t program) {
    if (program < 0 || program >= kNumPrograms) return;
    keepExtrasInSlot();
    std::atomic_ref<int32_t>(curProgram).store(program, std::memory_order_relaxed);
    const bool wasLoading = loadInProgress.load();
    loadInProgress = true;
    for (int32_t i = 0; i < kNumParams; ++i) {
        storeNorm(i, records.program(program).values[i]);
        notifyEditor(i, table[i].norm);
    }
    loadInProgress = wasLoading;
    showCurrentSlot();  // the slot stays current across programs
    publishAutoGain();
    clearUndo();
    markChunkStale();
    if (editorObject) editorObject->programChanged();
    refreshEngine(true);
}

void Plug::switchABSlot(int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    keepExtrasInSlot();
    enterABSlot(slot, false);
}

void Plug::keepExtrasInSlot() {
    // The band order and auto gain of the program stay with the current slot.
    records.copyExtrasToSlot(curProgram, records.currentSlot());
}

void Plug::recallABSlot(int32_t slot) {
    enterABSlot(slot, true);
}

void Plug::enterABSlot(int32_t slot, bool overLocks) {
    if (slot < 0 || slot >= kNumABSlots) return;
    loadABValues(slot, overLocks);
    records.copyExtrasToProgram(slot, curProgram);
    publishAutoGain();
    refreshEngine(true);
}

void Plug::showCurrentSlot() {
    // The row alone: the records keep the values they were given.
    const int32_t slot = records.currentSlot();
    const float norm = float(slot) * 0.125f;
    std::atomic_ref<float>(table[kABBank].norm).store(norm, std::memory_order_relaxed);
    std::atomic_ref<float>(table[kABBank].value).store(float(slot), std::memory_order_relaxed);
    notifyEditor(kABBank, norm);
}

void Plug::loadABValues(int32_t slot, bool overLocks) {
    const bool wasLoading = loadInProgress.load();
    loadInProgress = true;
    records.setCurrentSlot(slot);
    // The stored values go in as they are: a recall never changes a record.
    const ProgramRecord& record = records.slot(slot);
    // One update of the engine for the whole slot, at the end.
    ++bulkWrites;
    for (int32_t i = 0; i < kNumParams; ++i) {
        if (i == kABBank) continue;
        const float value = record.values[i];
        if (automateAll && gesturesToHost) callHost(audioMasterBeginEdit, i);
        if (overLocks) {
            // A restored state is in force as it was saved, locked rows included.
            PlugBaseJSON::setParameter(i, value);
            notifyScaledRows(i);
        } else {
            setParameter(i, value);  // a locked row stays where it is
        }
        if (automateAll) callHost(audioMasterAutomate, i, 0, nullptr, value);
        if (automateAll && gesturesToHost) callHost(audioMasterEndEdit, i);
    }
    --bulkWrites;
    loadInProgress = wasLoading;
    showCurrentSlot();
    refreshEngine(true);
}

// ---------------------------------------------------------------------------
// Writing

void Plug::writeBandOrder(cJSON* object, const int32_t* order) {
    // The entries up to and including the first -1.
    cJSON* bands = cJSON_AddArrayToObject(object, "bandOrder");
    for (int32_t i = 0; bands != nullptr && i < kNumBands; ++i) {
        cJSON_AddItemToArray(bands, cJSON_CreateNumber(order[i]));
        if (order[i] == -1) break;
    }
}

void Plug::writeLockWords(cJSON* object, int32_t program) {
    cJSON* locks = cJSON_AddArrayToObject(object, "lockArray");
    for (int32_t w = 0; locks != nullptr && w < kLockWordsPerProgram; ++w)
        cJSON_AddItemToArray(locks, cJSON_CreateNumber(records.lockWord(program, w)));
}

void Plug::writeABParameters(cJSON* object, int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    const RecordExtras& extras = records.slotExtras(slot);
    writeParameters(object, records.slot(slot));
    writeBandOrder(object, extras.bandOrder);
    cJSON_AddNumberToObject(object, "autoGain", extras.autoGain);
}

void Plug::writeFrequencyRange(cJSON* root) {
    if (!extendedFrequencies) return;
    cJSON_AddNumberToObject(root, "minFreq", minFrequency);
    cJSON_AddNumberToObject(root, "maxFreq", maxFrequency);
}

cJSON* Plug::buildStateDocument(bool presetOnly) {
    cJSON* root = cJSON_CreateObject();
    if (root == nullptr) return nullptr;
    const ParameterNameTable& names = ParameterNameTable::instance();
    const bool eqPart = (loadingFlags & kLoadEQ) != 0;
    if (!presetOnly) {
        cJSON* list = cJSON_AddArrayToObject(root, "presets");
        for (int32_t p = 0; list != nullptr && p < kNumPrograms; ++p) {
            cJSON* item = cJSON_CreateObject();
            if (item == nullptr) continue;
            writeProgramParameters(item, p);
            cJSON_AddStringToObject(item, "name", records.program(p).name);
            writeBandOrder(item, records.programExtras(p).bandOrder);
            writeLockWords(item, p);
            cJSON_AddNumberToObject(item, "autoGain", records.programExtras(p).autoGain);
            writeProgramExtras(item, p);
            cJSON_AddItemToArray(list, item);
        }
        cJSON* slots = cJSON_AddArrayToObject(root, "ab");
        for (int32_t s = 0; slots != nullptr && s < kNumABSlots; ++s) {
            cJSON* item = cJSON_CreateObject();
            if (item == nullptr) continue;
            writeABParameters(item, s);
            writeABExtras(item, s);
            cJSON_AddItemToArray(slots, item);
        }
    } else {
        // A preset holds the current program in full, filtered by the parts it carries.
        cJSON* parameters = cJSON_AddObjectToObject(root, "parameters");
        const ProgramRecord& record = records.program(curProgram);
        for (int32_t i = 0; parameters != nullptr && i < kNumParams; ++i) {
            const uint32_t part = isDspParameter(i) ? kLoadDSP : kLoadEQ;
            if ((loadingFlags & part) == 0) continue;
            cJSON_AddNumberToObject(parameters, names.nameAt(size_t(i)).c_str(), record.values[i]);
        }
        cJSON_AddStringToObject(root, "name", record.name);
        if (eqPart) {
            writeBandOrder(root, records.programExtras(curProgram).bandOrder);
            writeLockWords(root, curProgram);
            cJSON_AddNumberToObject(root, "autoGain", records.programExtras(curProgram).autoGain);
        }
    }
    writeFrequencyRange(root);
    if (editorObject) editorObject->writeEditorState(root, presetOnly);
    cJSON* render = cJSON_AddArrayToObject(root, "renderParams");
    for (int32_t i = 0; render != nullptr && i < kRenderSettingCount; ++i)
        cJSON_AddItemToArray(render, cJSON_CreateNumber(renderSettings[i]));
    if (!legacyAlignment && (!presetOnly || eqPart)) cJSON_AddTrueToObject(root, "zla");
    cJSON* routing = cJSON_AddObjectToObject(root, "routing");
    if (routing != nullptr) {
        cJSON* groups = cJSON_AddArrayToObject(routing, "groups");
        for (int32_t g = 0; groups != nullptr && g < kMaxChannels; ++g)
            cJSON_AddItemToArray(groups, cJSON_CreateNumber(groupMask[g]));
        cJSON* groupNameList = cJSON_AddArrayToObject(routing, "groupnames");
        for (int32_t g = 0; groupNameList != nullptr && g < groupCount; ++g)
            cJSON_AddItemToArray(groupNameList, cJSON_CreateString(groupNames[g].c_str()));
    }
    if (userNamed) cJSON_AddStringToObject(root, "instanceName", displayName);
    return root;
}

// ---------------------------------------------------------------------------
// Reading

void Plug::readRecordExtras(const cJSON* object, int32_t program) {
    RecordExtras& extras = records.programExtras(program);
    readBandOrder(object, extras.bandOrder);
    int32_t i = 0;
    const cJSON* locks = cJSON_GetObjectItem(object, "lockArray");
    for (const cJSON* e = cJSON_IsArray(locks) ? locks->child : nullptr; e && i < kLockWordsPerProgram; e = e->next, ++i)
        records.setLockWord(program, i, toWord(e->valuedouble));
    if (const cJSON* gain = cJSON_GetObjectItem(object, "autoGain")) extras.autoGain = gain->valueint;
}

void Plug::readABParameters(const cJSON* object, int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    RecordExtras& extras = records.slotExtras(slot);
    readParameters(object, records.slot(slot), kLoadEQ | kLoadDSP);
    readBandOrder(object, extras.bandOrder);
    if (const cJSON* gain = cJSON_GetObjectItem(object, "autoGain")) extras.autoGain = gain->valueint;
}

void Plug::applyFrequencyRange(const cJSON* root, int32_t program) {
    const cJSON* low = cJSON_GetObjectItem(root, "minFreq");
    const cJSON* high = cJSON_GetObjectItem(root, "maxFreq");
    bool extended = low != nullptr && high != nullptr;
    float docMin = extended ? float(low->valuedouble) : kStandardMin;
    float docMax = extended ? float(high->valuedouble) : kStandardMax;
    if (extended && !(docMin > 0.0f && docMax > docMin && std::isfinite(docMax))) {
        // A range no band could live in: the standard one.
        extended = false;
        docMin = kStandardMin;
        docMax = kStandardMax;
    }
    const bool changed =
        extended != extendedFrequencies || (extended && (docMin != minFrequency || docMax != maxFrequency));
    if (!changed) return;
    std::lock_guard<PlugBaseMutex> held(engineLock);
    if (program != -1) {
        // A preset's bands come into the range in force, each at its hertz as
        // far as the range reaches: no other program or slot moves.
        remapBandFrequencies(minFrequency, maxFrequency, docMin, docMax, program, false, false);
        return;
    }
    extendedFrequencies = extended;
    if (!sampleRateGiven && extended && docMin == kExtendedMin) {
        pendingMaxFrequency = docMax;  // applied when the sample rate arrives
        return;
    }
    updateFrequencyLimits();
    remapBandFrequencies(minFrequency, maxFrequency, docMin, docMax, -1, true, false);
    reloadLiveFrequencies();
}

void Plug::reloadLiveFrequencies() {
    // The live rows follow their remapped program, so each band keeps its hertz.
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t i = bandParam(b, kFieldFrequency);
        storeNorm(i, records.program(curProgram).values[i]);
    }
}

void Plug::applyPresetDocument(const cJSON* object, int32_t program) {
    if (program < 0 || program >= kNumPrograms) return;
    if (const cJSON* name = cJSON_GetObjectItem(object, "name")) records.setName(program, nameIn(name));
    records.clearLocks(program);
    // In each part loaded, absent parameters take their defaults; a part not
    // loaded keeps the program's values.
    readParameters(object, records.program(program), loadingFlags & (kLoadEQ | kLoadDSP));
    if ((loadingFlags & kLoadEQ) == 0) return;
    readRecordExtras(object, program);
    applyFrequencyRange(object, program);
}

cJSON* Plug::applyStateDocument(const char* text, bool presetOnly) {
    if (!presetOnly) records.clearAllLocks();
    if (text == nullptr) return nullptr;
    cJSON* root = cJSON_Parse(documentStart(text));
    if (root == nullptr) return nullptr;

    if (presetOnly) {
        applyPresetDocument(root, curProgram);
        setProgram(curProgram);
    } else {
        inspectDocument(root);
        loadInProgress = true;
        const cJSON* presets = cJSON_GetObjectItem(root, "presets");
        const cJSON* firstPreset = cJSON_IsArray(presets) ? presets->child : nullptr;
        if (presets != nullptr) {
            int32_t p = 0;
            for (const cJSON* item = firstPreset; item != nullptr && p < kNumPrograms; item = item->next, ++p) {
                records.setName(p, nameIn(cJSON_GetObjectItem(item, "name")));
                readProgramParameters(item, p);
                readProgramExtras(item, p);
            }
        } else {
            // A document of one program: the root is the program.
            if (const cJSON* name = cJSON_GetObjectItem(root, "name")) records.setName(curProgram, nameIn(name));
            readProgramParameters(root, curProgram);
        }
        setProgram(curProgram);
        const cJSON* slots = cJSON_GetObjectItem(root, "ab");
        if (slots != nullptr) {
            int32_t s = 0;
            for (const cJSON* item = cJSON_IsArray(slots) ? slots->child : nullptr; item && s < kNumABSlots;
                 item = item->next, ++s) {
                readABParameters(item, s);
                readABExtras(item, s);
            }
        } else if (presets != nullptr) {
            // From before the slots existed: every slot holds the live state.
            for (int32_t s = 0; s < kNumABSlots; ++s) records.setSlotValues(s, table.get());
        }
        loadInProgress = false;
        int32_t p = 0;
        for (const cJSON* item = firstPreset; item != nullptr && p < kNumPrograms; item = item->next, ++p)
            readRecordExtras(item, p);
        if (editorObject) editorObject->programChanged();
        applyFrequencyRange(root, -1);
    }
    applyCommonState(root, presetOnly);
    if (editorObject) editorObject->stateApplied();
    return root;
}

void Plug::applyCommonState(const cJSON* root, bool presetOnly) {
    publishAutoGain();
    clearUndo();
    std::fill(std::begin(editing), std::end(editing), false);
    if ((loadingFlags & kLoadUI) != 0 && editorObject) {
        loadInProgress = true;
        editorObject->applyEditorState(root, presetOnly);
        loadInProgress = false;
    }
    int32_t i = 0;
    const cJSON* render = cJSON_GetObjectItem(root, "renderParams");
    for (const cJSON* e = cJSON_IsArray(render) ? render->child : nullptr; e && i < kRenderSettingCount;
         e = e->next, ++i)
        if (std::isfinite(e->valuedouble)) setRenderSetting(i, float(e->valuedouble));
    const cJSON* routing = cJSON_GetObjectItem(root, "routing");
    const cJSON* groups = cJSON_GetObjectItem(routing, "groups");
    i = 0;
    {
        std::lock_guard<PlugBaseMutex> held(engineLock);
        for (const cJSON* e = cJSON_IsArray(groups) ? groups->child : nullptr; e && i < kMaxChannels; e = e->next, ++i)
            groupMask[i] = e->valueint & 0xFF;
    }
    if (getChannelCount() > 2) {
        const cJSON* names = cJSON_GetObjectItem(routing, "groupnames");
        restoredGroupNames.clear();
        i = 0;
        for (const cJSON* e = cJSON_IsArray(names) ? names->child : nullptr; e && i < kMaxChannels; e = e->next, ++i)
            restoredGroupNames.emplace_back(cJSON_IsString(e) ? e->valuestring : "");
        // Restored before the groups of this layout exist (a host restores
        // before its first resume): resume names them after building them.
        if (groupCount == getChannelCount()) applyRestoredGroupNames();
    }
    {
        std::lock_guard<PlugBaseMutex> held(engineLock);  // read by every engine update
        legacyAlignment = cJSON_GetObjectItem(root, "zla") == nullptr;
    }
    const cJSON* name = cJSON_GetObjectItem(root, "instanceName");
    if (cJSON_IsString(name) && !audioHasRun()) setInstanceName(name->valuestring, true);
    refreshEngine(true);
    markChunkStale();
}

int32_t Plug::setChunk(void* data, int32_t byteSize, bool isPreset) {
    const bool held = engineLock.try_lock();
    markChunkStale();
    int32_t result = 0;
    if (data != nullptr) {
        const std::vector<uint8_t> text = decodeChunk(static_cast<const uint8_t*>(data), byteSize > 0 ? byteSize : 0);
        cJSON* tree = applyStateDocument(reinterpret_cast<const char*>(text.data()), isPreset);
        refreshEngine(true);
        cJSON_Delete(tree);
        result = byteSize;
    }
    if (held) engineLock.unlock();
    refreshEngine(true);
    return result;
}
