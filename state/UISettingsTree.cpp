#include "state/UISettingsTree.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

// The key name that marks a category as unfolded; not a setting.
constexpr const char* kOpenKey = "open";

cJSON* parseTree(const char* text, size_t size) {
    if (text != nullptr) {
        const std::string terminated(text, size);
        cJSON* parsed = cJSON_Parse(terminated.c_str());
        if (cJSON_IsObject(parsed)) return parsed;
        cJSON_Delete(parsed);
    }
    return cJSON_CreateObject();
}

cJSON* copyTree(const cJSON* tree) {
    cJSON* copy = cJSON_Duplicate(tree, true);
    return copy != nullptr ? copy : cJSON_CreateObject();
}

cJSON* numericValue(const cJSON* setting) {
    cJSON* value = cJSON_GetObjectItemCaseSensitive(setting, "value");
    return cJSON_IsNumber(value) ? value : nullptr;
}

}  // namespace

UISettingsTree::UISettingsTree(const char* text, size_t size) : tree(parseTree(text, size)) {}

UISettingsTree::~UISettingsTree() { cJSON_Delete(tree); }

UISettingsTree::UISettingsTree(const UISettingsTree& other) : tree(copyTree(other.tree)) {}

UISettingsTree& UISettingsTree::operator=(const UISettingsTree& other) {
    if (this != &other) {
        cJSON* copy = copyTree(other.tree);
        cJSON_Delete(tree);
        tree = copy;
    }
    return *this;
}

int32_t UISettingsTree::value(const char* category, const char* key) const {
    const cJSON* number = numericValue(cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(tree, category), key));
    if (number == nullptr || std::isnan(number->valuedouble)) return 0;
    const double limit = std::numeric_limits<int32_t>::max();
    if (number->valuedouble >= limit) return std::numeric_limits<int32_t>::max();
    if (number->valuedouble <= -limit - 1) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(number->valuedouble);
}

bool UISettingsTree::has(const char* category, const char* key) const {
    return cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(tree, category), key) != nullptr;
}

bool UISettingsTree::setValue(const char* category, const char* key, int32_t value) {
    cJSON* number = numericValue(cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(tree, category), key));
    if (number == nullptr) return false;
    cJSON_SetNumberValue(number, value);
    return true;
}

void UISettingsTree::mergeFrom(const cJSON* uiprefs) {
    if (!cJSON_IsObject(uiprefs) || tree == nullptr) return;
    for (cJSON* category = tree->child; category != nullptr; category = category->next) {
        const cJSON* saved = cJSON_GetObjectItem(uiprefs, category->string);
        if (!cJSON_IsObject(category) || !cJSON_IsObject(saved)) continue;
        for (cJSON* key = category->child; key != nullptr; key = key->next) {
            if (key->string == nullptr || std::strcmp(key->string, kOpenKey) == 0) continue;
            cJSON* target = numericValue(key);
            const cJSON* savedKey = cJSON_GetObjectItem(saved, key->string);
            const cJSON* source = cJSON_IsObject(savedKey) ? cJSON_GetObjectItem(savedKey, "value") : nullptr;
            if (target == nullptr || !cJSON_IsNumber(source)) continue;
            // A stored choice outside the key's labels becomes the nearest one,
            // so whatever shows the setting can index its labels safely.
            double chosen = std::isfinite(source->valuedouble) ? std::trunc(source->valuedouble) : 0.0;
            const cJSON* labels = cJSON_GetObjectItem(key, "values");
            const int32_t count = cJSON_IsArray(labels) ? cJSON_GetArraySize(labels) : 0;
            if (count > 0) chosen = std::clamp(chosen, 0.0, double(count - 1));
            cJSON_SetNumberValue(target, chosen);
        }
    }
}
