// The effect's programs, A/B slots and state document: what a host session
// or a preset stores of an instance, and how it comes back.

#include <cjson/cJSON.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/ParameterNameTable.h"
#include "core/Plug.h"
#include "state/ChunkCodec.h"

namespace {

constexpr float kStandardMin = 10.0f;
constexpr float kStandardMax = 22000.0f;
constexpr float kExtendedMin = 5.0f;

// Copies a document's name into a program name: at most 63 bytes, always
// terminated; a name of another type reads as empty.
void copyName(char* to, const cJSON* item) {
    const char* text = cJSON_IsString(item) ? item->valuestring : "";
    std::snprintf(to, kProgramNameLength, "%s", text ? text : "");
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

const int32_t* Plug::getBandOrder(int32_t program) const {
    return programBandOrder[std::clamp(program, 0, kNumPrograms - 1)];
}

void Plug::setBandOrder(int32_t program, const int32_t* order, int32_t count) {
    if (program < 0 || program >= kNumPrograms || order == nullptr) return;
    for (int32_t i = 0; i < kNumBands; ++i) {
        const int32_t band = i < count ? order[i] : -1;
        programBandOrder[program][i] = (band >= 0 && band < kNumBands) ? band : -1;
    }
    // The current slot mirrors the current program, as parameters do.
    if (program == curProgram) std::copy_n(programBandOrder[program], kNumBands, slotBandOrder[currentABSlot]);
    markChunkStale();
}

int32_t Plug::getAutoGain(int32_t program) const {
    return programAutoGain[std::clamp(program, 0, kNumPrograms - 1)];
}

void Plug::setAutoGain(int32_t program, int32_t state) {
    if (program < 0 || program >= kNumPrograms) return;
    programAutoGain[program] = state;
    if (program == curProgram) slotAutoGain[currentABSlot] = state;
    publishAutoGain();
    markChunkStale();
    refreshEngine(true);
}

uint32_t Plug::getLockWord(int32_t program, int32_t word) const {
    if (program < 0 || program >= kNumPrograms || word < 0 || word >= kLockWordsPerProgram) return 0;
    return lockMask[program][word];
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
        storeNorm(i, programs[program].values[i]);
        notifyEditor(i, table[i].norm);
    }
    loadInProgress = wasLoading;
    publishAutoGain();
    clearUndo();
    markChunkStale();
    if (editorObject) editorObject->programChanged();
    refreshEngine(true);
}

void Plug::switchABSlot(int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    keepExtrasInSlot();
    recallABSlot(slot);
}

void Plug::keepExtrasInSlot() {
    // The band order and auto gain of the program stay with the current slot.
    std::copy_n(programBandOrder[curProgram], kNumBands, slotBandOrder[currentABSlot]);
    slotAutoGain[currentABSlot] = programAutoGain[curProgram];
}

void Plug::recallABSlot(int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    loadABValues(slot);
    std::copy_n(slotBandOrder[slot], kNumBands, programBandOrder[curProgram]);
    programAutoGain[curProgram] = slotAutoGain[slot];
    publishAutoGain();
    refreshEngine(true);
}

void Plug::loadABValues(int32_t slot) {
    const bool wasLoading = loadInProgress.load();
    loadInProgress = true;
    std::atomic_ref<int32_t>(currentABSlot).store(slot, std::memory_order_relaxed);
    ProgramRecord& record = abSlots[slot];
    // Through display units and back: squares stored values with the ranges now in force.
    for (int32_t i = 0; i < kNumParams; ++i)
        record.values[i] = float(displayToNorm(i, normToDisplay(i, record.values[i])));
    for (int32_t i = 0; i < kNumParams; ++i) {
        if (i == kABBank) continue;
        const float value = record.values[i];
        if (automateAll && gesturesToHost) callHost(audioMasterBeginEdit, i);
        setParameter(i, value);
        if (automateAll) callHost(audioMasterAutomate, i, 0, nullptr, value);
        if (automateAll && gesturesToHost) callHost(audioMasterEndEdit, i);
    }
    loadInProgress = wasLoading;
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
        cJSON_AddItemToArray(locks, cJSON_CreateNumber(lockMask[program][w]));
}

void Plug::writeABParameters(cJSON* object, int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    writeParameters(object, abSlots[slot]);
    writeBandOrder(object, slotBandOrder[slot]);
    cJSON_AddNumberToObject(object, "autoGain", slotAutoGain[slot]);
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
            cJSON_AddStringToObject(item, "name", programs[p].name);
            writeBandOrder(item, programBandOrder[p]);
            writeLockWords(item, p);
            cJSON_AddNumberToObject(item, "autoGain", programAutoGain[p]);
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
        const ProgramRecord& record = programs[curProgram];
        for (int32_t i = 0; parameters != nullptr && i < kNumParams; ++i) {
            const uint32_t part = isDspParameter(i) ? kLoadDSP : kLoadEQ;
            if ((loadingFlags & part) == 0) continue;
            cJSON_AddNumberToObject(parameters, names.nameAt(size_t(i)).c_str(), record.values[i]);
        }
        cJSON_AddStringToObject(root, "name", record.name);
        if (eqPart) {
            writeBandOrder(root, programBandOrder[curProgram]);
            writeLockWords(root, curProgram);
            cJSON_AddNumberToObject(root, "autoGain", programAutoGain[curProgram]);
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
    readBandOrder(object, programBandOrder[program]);
    int32_t i = 0;
    const cJSON* locks = cJSON_GetObjectItem(object, "lockArray");
    for (const cJSON* e = cJSON_IsArray(locks) ? locks->child : nullptr; e && i < kLockWordsPerProgram; e = e->next, ++i)
        lockMask[program][i] = toWord(e->valuedouble);
    if (const cJSON* gain = cJSON_GetObjectItem(object, "autoGain")) programAutoGain[program] = gain->valueint;
}

void Plug::readABParameters(const cJSON* object, int32_t slot) {
    if (slot < 0 || slot >= kNumABSlots) return;
    readParameters(object, abSlots[slot], kLoadEQ | kLoadDSP);
    readBandOrder(object, slotBandOrder[slot]);
    if (const cJSON* gain = cJSON_GetObjectItem(object, "autoGain")) slotAutoGain[slot] = gain->valueint;
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
    extendedFrequencies = extended;
    if (program == -1 && !sampleRateGiven && extended && docMin == kExtendedMin) {
        pendingMaxFrequency = docMax;  // applied when the sample rate arrives
        return;
    }
    updateFrequencyLimits();
    remapBandFrequencies(minFrequency, maxFrequency, docMin, docMax, program, program == -1, false);
    // The live rows follow their remapped program, so each band keeps its hertz.
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t i = bandParam(b, kFieldFrequency);
        storeNorm(i, programs[curProgram].values[i]);
    }
}

void Plug::applyPresetDocument(const cJSON* object, int32_t program) {
    if (program < 0 || program >= kNumPrograms) return;
    if (const cJSON* name = cJSON_GetObjectItem(object, "name")) copyName(programs[program].name, name);
    std::fill_n(lockMask[program], kLockWordsPerProgram, 0u);
    // Absent parameters take their defaults, whatever parts are loaded.
    readParameters(object, programs[program], loadingFlags & (kLoadEQ | kLoadDSP));
    if ((loadingFlags & kLoadEQ) == 0) return;
    readRecordExtras(object, program);
    applyFrequencyRange(object, program);
}

cJSON* Plug::applyStateDocument(const char* text, bool presetOnly) {
    if (!presetOnly)
        for (auto& words : lockMask) std::fill(std::begin(words), std::end(words), 0u);
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
                copyName(programs[p].name, cJSON_GetObjectItem(item, "name"));
                readProgramParameters(item, p);
                readProgramExtras(item, p);
            }
        } else {
            // A document of one program: the root is the program.
            if (const cJSON* name = cJSON_GetObjectItem(root, "name")) copyName(programs[curProgram].name, name);
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
            for (ProgramRecord& slot : abSlots)
                for (int32_t i = 0; i < kNumParams; ++i) slot.values[i] = table[i].norm;
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
        i = 0;
        for (const cJSON* e = cJSON_IsArray(names) ? names->child : nullptr; e && i < kMaxChannels; e = e->next, ++i)
            if (i < getChannelCount()) setGroupName(i, cJSON_IsString(e) ? e->valuestring : "");
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
