#include "core/SettingsAccess.h"

#include "resources/ResourceTable.h"
#include "state/GlobalSettings.h"
#include "state/UISettingsTree.h"

StoredSettings::StoredSettings(const UISettingsTree* source) : tree(source ? source : &factoryUiSettings()) {}

const UISettingsTree& StoredSettings::factoryUiSettings() {
    static const UISettingsTree factory = [] {
        const ResourceData text = findResource("uisettings", "json");
        return UISettingsTree(reinterpret_cast<const char*>(text.data), text.size);
    }();
    return factory;
}

int32_t StoredSettings::globalValue(const char* name) const {
    return GlobalSettings::instance().valueOr(name);
}

int32_t StoredSettings::uiValue(const char* category, const char* key) const {
    return tree->value(category, key);
}
