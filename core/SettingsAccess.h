#pragma once
// The one place where the effect reads the user's global settings and the
// editor's UI settings, each as the index of the chosen value. StoredSettings
// reads the real stores: the per-user global settings and an instance's UI
// settings tree. Tests put their own choices in its place.

#include <cstdint>

class UISettingsTree;

class SettingsAccess {
public:
    virtual ~SettingsAccess() = default;
    // Index of a global setting such as "Solo Mode"; -1 when there is no store.
    virtual int32_t globalValue(const char* name) const = 0;
    // Index of a UI setting such as ("Misc", "Number format"); 0 when missing.
    virtual int32_t uiValue(const char* category, const char* key) const = 0;
};

class StoredSettings : public SettingsAccess {
public:
    // UI settings from `tree`; without one, from the factory UI settings.
    explicit StoredSettings(const UISettingsTree* tree = nullptr);
    int32_t globalValue(const char* name) const override;
    int32_t uiValue(const char* category, const char* key) const override;

    // The UI settings as they ship, parsed once per process.
    static const UISettingsTree& factoryUiSettings();

private:
    const UISettingsTree* tree;
};
