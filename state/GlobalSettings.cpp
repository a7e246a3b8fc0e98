#include "state/GlobalSettings.h"

#include <cjson/cJSON.h>

#include <cmath>
#include <limits>

#include "state/JsonPrinter.h"
#include "state/ValueStore.h"

namespace {

constexpr const char* kStoreName = "globals";
constexpr size_t kStoreMaxBytes = 8192;

int32_t toInt32(double number) {
    if (std::isnan(number)) return 0;
    if (number >= static_cast<double>(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
    if (number <= static_cast<double>(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(number);
}

// The stored values object, or null when the store has none we can use.
cJSON* readStoredValues() {
    const std::optional<std::string> text = readStoreValue(kStoreName, kStoreMaxBytes);
    if (!text) return nullptr;
    cJSON* parsed = cJSON_Parse(text->c_str());
    if (!cJSON_IsObject(parsed)) {
        cJSON_Delete(parsed);
        return nullptr;
    }
    return parsed;
}

// A values object holding each row's default, in the rows' order.
cJSON* valuesFromDefaults(const cJSON* defaults) {
    cJSON* values = cJSON_CreateObject();
    if (values == nullptr) return nullptr;
    for (const cJSON* row = defaults->child; row != nullptr; row = row->next) {
        const cJSON* value = cJSON_GetObjectItemCaseSensitive(row, "value");
        const int32_t number = cJSON_IsNumber(value) ? toInt32(value->valuedouble) : 0;
        if (row->string == nullptr || cJSON_AddNumberToObject(values, row->string, number) == nullptr) {
            cJSON_Delete(values);
            return nullptr;
        }
    }
    return values;
}

}  // namespace

GlobalSettings& GlobalSettings::instance() {
    static GlobalSettings settings;
    return settings;
}

GlobalSettings::GlobalSettings() : values(readStoredValues()) {}

GlobalSettings::~GlobalSettings() {
    cJSON_Delete(values);
    cJSON_Delete(defaults);
}

int32_t GlobalSettings::getValue(const char* name) const {
    std::lock_guard<std::mutex> held(treesLock);
    const cJSON* stored = cJSON_GetObjectItemCaseSensitive(values, name);
    if (cJSON_IsNumber(stored)) return toInt32(stored->valuedouble);
    if (defaults == nullptr) return 0;
    const cJSON* settingRow = cJSON_GetObjectItemCaseSensitive(defaults, name);
    if (settingRow == nullptr) return -2;
    const cJSON* fallback = cJSON_GetObjectItemCaseSensitive(settingRow, "value");
    if (!cJSON_IsNumber(fallback)) return -3;
    return toInt32(fallback->valuedouble);
}

bool GlobalSettings::hasValues() const {
    std::lock_guard<std::mutex> held(treesLock);
    return values != nullptr;
}

int32_t GlobalSettings::valueOr(const char* name) const {
    if (!hasValues()) return -1;
    return getValue(name);
}

void GlobalSettings::setValue(const char* name, int32_t value) {
    if (name == nullptr) return;
    std::string text;
    uint64_t change = 0;
    {
        std::lock_guard<std::mutex> held(treesLock);
        if (values == nullptr) return;
        cJSON* item = cJSON_GetObjectItemCaseSensitive(values, name);
        if (cJSON_IsNumber(item)) {
            cJSON_SetNumberValue(item, value);
        } else {
            // New, or stored as something other than a number: a fresh
            // number in its place.
            cJSON* number = cJSON_CreateNumber(value);
            if (number == nullptr) return;
            const bool added = item != nullptr ? cJSON_ReplaceItemInObjectCaseSensitive(values, name, number)
                                               : cJSON_AddItemToObject(values, name, number);
            if (!added) {
                cJSON_Delete(number);
                return;
            }
        }
        text = printJson(values, false);
        change = ++changes;
    }
    persist(text, change);
}

void GlobalSettings::installDefaults(const char* text, size_t size) {
    cJSON* parsed = nullptr;
    if (text != nullptr) {
        const std::string terminated(text, size);
        parsed = cJSON_Parse(terminated.c_str());
        if (!cJSON_IsObject(parsed)) {
            cJSON_Delete(parsed);
            parsed = nullptr;
        }
    }

    std::string stored;
    uint64_t change = 0;
    {
        std::lock_guard<std::mutex> held(treesLock);
        if (defaults == nullptr) std::swap(defaults, parsed);
        if (values == nullptr && defaults != nullptr) {
            values = valuesFromDefaults(defaults);
            if (values != nullptr) {
                stored = printJson(values, false);
                change = ++changes;
            }
        }
    }
    cJSON_Delete(parsed);
    if (change != 0) persist(stored, change);
}

const cJSON* GlobalSettings::row(int32_t setting) const {
    if (setting < 0) return nullptr;
    std::lock_guard<std::mutex> held(treesLock);
    return cJSON_GetArrayItem(defaults, setting);
}

int32_t GlobalSettings::settingCount() const {
    std::lock_guard<std::mutex> held(treesLock);
    return cJSON_GetArraySize(defaults);
}

const char* GlobalSettings::settingName(int32_t setting) const {
    const cJSON* settingRow = row(setting);
    return settingRow != nullptr ? settingRow->string : nullptr;
}

const char* GlobalSettings::valueLabel(int32_t setting, int32_t value) const {
    if (value < 0) return nullptr;
    const cJSON* labels = cJSON_GetObjectItemCaseSensitive(row(setting), "values");
    if (!cJSON_IsArray(labels)) return nullptr;
    const cJSON* label = cJSON_GetArrayItem(labels, value);
    return cJSON_IsString(label) ? label->valuestring : nullptr;
}

int32_t GlobalSettings::valueCount(int32_t setting) const {
    const cJSON* labels = cJSON_GetObjectItemCaseSensitive(row(setting), "values");
    return cJSON_IsArray(labels) ? cJSON_GetArraySize(labels) : 0;
}

int32_t GlobalSettings::pageOf(int32_t setting) const {
    const cJSON* page = cJSON_GetObjectItemCaseSensitive(row(setting), "page");
    return cJSON_IsNumber(page) ? toInt32(page->valuedouble) : 0;
}

void GlobalSettings::reload() {
    cJSON* fresh = readStoredValues();
    {
        std::lock_guard<std::mutex> held(treesLock);
        std::swap(values, fresh);
    }
    cJSON_Delete(fresh);
}

void GlobalSettings::persist(const std::string& text, uint64_t change) {
    std::lock_guard<std::mutex> held(storeLock);
    if (change <= changeWritten) return;
    writeStoreValue(kStoreName, text);
    changeWritten = change;
}
