#include "core/PlugBaseJSON.h"

#include <cjson/cJSON.h>

#include <cmath>
#include <cstring>
#include <string>

#include "core/ParameterNameTable.h"
#include "state/ChunkCodec.h"
#include "state/JsonPrinter.h"

namespace {

constexpr int32_t kUniqueID = fourCC('F', 'w', 'd', 'n');
// Bytes from 1 to this one in front of a document are skipped.
constexpr unsigned char kLastSkippedByte = 32;
// A stored value that differs from the default by less than this is the default.
constexpr double kSameValue = 1e-9;

}  // namespace

PlugBaseJSON::PlugBaseJSON(EffectHostCallback host) : PlugBase(host) {
    setUniqueID(kUniqueID);
    canProcessReplacing(true);
    canDoubleReplacing(true);
    programsAreChunks(true);
    cEffect.flags |= effFlagsCanMono;
    std::memset(defaultProgram.name, 0, sizeof defaultProgram.name);
    const ParamRow* defaults = staticParamTable();
    for (int32_t i = 0; i < kNumParams; ++i) defaultProgram.values[i] = defaults[i].norm;
}

PlugBaseJSON::~PlugBaseJSON() = default;

void PlugBaseJSON::setParameter(int32_t index, float norm) {
    markChunkStale();
    PlugBase::setParameter(index, norm);
}

void PlugBaseJSON::setCompressionLevel(int32_t level) {
    compressionLevel = level < 0 ? 0 : (level > 9 ? 9 : level);
}

int32_t PlugBaseJSON::getChunk(void** data, bool isPreset) {
    if (data == nullptr) return 0;
    if (!isPreset && !dirty.load() && !chunk.empty()) {
        *data = chunk.data();
        return int32_t(chunk.size());
    }
    // Cleared before building, so a change made meanwhile marks it again.
    if (!isPreset && clearDirty) dirty.store(false);
    cJSON* document = buildStateDocument(isPreset);
    const std::string text = printJson(document, true);
    cJSON_Delete(document);
    std::vector<uint8_t> plain(text.begin(), text.end());
    plain.push_back(0);
    // A preset has a buffer of its own: the cached full chunk stays what a
    // host's next session save gets, whatever presets were made meanwhile.
    std::vector<uint8_t>& made = isPreset ? presetChunk : chunk;
    made = encodeChunk(plain, compressionLevel);
    *data = made.data();
    return int32_t(made.size());
}

int32_t PlugBaseJSON::setChunk(void* data, int32_t byteSize, bool isPreset) {
    markChunkStale();
    if (data == nullptr) return 0;
    const std::vector<uint8_t> text =
        decodeChunk(static_cast<const uint8_t*>(data), byteSize > 0 ? byteSize : 0);
    cJSON_Delete(applyStateDocument(reinterpret_cast<const char*>(text.data()), isPreset));
    return byteSize;
}

const char* PlugBaseJSON::documentStart(const char* text) {
    while (*text != 0 && static_cast<unsigned char>(*text) <= kLastSkippedByte) ++text;
    return text;
}

bool PlugBaseJSON::holdsStateDocument(const void* data, int32_t byteSize) {
    if (data == nullptr || byteSize <= 0) return false;
    const std::vector<uint8_t> text = decodeChunk(static_cast<const uint8_t*>(data), byteSize);
    cJSON* root = cJSON_Parse(documentStart(reinterpret_cast<const char*>(text.data())));
    // An object alone is not enough: applying resets whatever it does not
    // hold, so a foreign or empty one would wipe the session. Ours always
    // carry at least one of these sections, each of its own JSON type.
    bool isDocument = false;
    if (cJSON_IsObject(root)) {
        const cJSON* parameters = cJSON_GetObjectItem(root, "parameters");
        isDocument = cJSON_IsArray(cJSON_GetObjectItem(root, "presets")) ||
                     cJSON_IsArray(cJSON_GetObjectItem(root, "ab")) || cJSON_IsObject(parameters) ||
                     cJSON_IsString(parameters) || cJSON_IsArray(cJSON_GetObjectItem(root, "renderParams")) ||
                     cJSON_IsObject(cJSON_GetObjectItem(root, "routing"));
    }
    cJSON_Delete(root);
    return isDocument;
}

int32_t PlugBaseJSON::resolveParameterKey(const char* key, int32_t* cursor) {
    if (key == nullptr) return -1;
    const ParameterNameTable& names = ParameterNameTable::instance();
    int32_t found = -1;
    const int32_t at = cursor ? *cursor : 0;
    if (at >= 0 && size_t(at) < names.size() && names.valueAt(size_t(at)) == at && names.nameAt(size_t(at)) == key)
        found = at;
    else
        found = names.valueOf(key);
    if (cursor) *cursor = found + 1;
    return isParamIndex(found) ? found : -1;
}

void PlugBaseJSON::writeParameters(cJSON* object, const ProgramRecord& record) {
    if (std::memcmp(record.values, defaultProgram.values, sizeof record.values) == 0) {
        cJSON_AddStringToObject(object, "parameters", "default");
        return;
    }
    cJSON* parameters = cJSON_AddObjectToObject(object, "parameters");
    if (parameters == nullptr) return;
    const ParameterNameTable& names = ParameterNameTable::instance();
    for (int32_t i = 0; i < kNumParams; ++i) {
        const double value = record.values[i];
        if (!(std::fabs(value - double(defaultProgram.values[i])) >= kSameValue)) continue;
        cJSON_AddNumberToObject(parameters, names.nameAt(size_t(i)).c_str(), value);
    }
}

void PlugBaseJSON::readParameters(const cJSON* object, ProgramRecord& record, uint32_t parts) {
    // Only the parts being read start again from their defaults; the rows of
    // any other part keep what the record held.
    for (int32_t i = 0; i < kNumParams; ++i)
        if ((parts & (isDspParameter(i) ? kLoadDSP : kLoadEQ)) != 0) record.values[i] = defaultProgram.values[i];
    const cJSON* parameters = cJSON_GetObjectItem(object, "parameters");
    if (parameters == nullptr || cJSON_IsString(parameters)) return;  // "default", or a damaged entry
    int32_t cursor = 0;
    for (const cJSON* item = parameters->child; item != nullptr; item = item->next) {
        const int32_t index = resolveParameterKey(item->string, &cursor);
        if (index < 0) continue;
        const uint32_t part = isDspParameter(index) ? kLoadDSP : kLoadEQ;
        if ((parts & part) == 0) continue;
        // A key of another type reads as cJSON gives it (zero); values live on 0..1.
        const double value = item->valuedouble;
        if (!std::isfinite(value)) continue;
        const float norm = mapLoadedValue(index, float(value < 0.0 ? 0.0 : (value > 1.0 ? 1.0 : value)));
        record.values[index] = norm;
    }
}

void PlugBaseJSON::writeProgramParameters(cJSON* object, int32_t program) {
    if (program >= 0 && program < kNumPrograms) writeParameters(object, records.program(program));
}

void PlugBaseJSON::readProgramParameters(const cJSON* object, int32_t program) {
    if (program >= 0 && program < kNumPrograms) readParameters(object, records.program(program), kLoadEQ | kLoadDSP);
}
