#pragma once
// The one place where the effect reads the user's global settings and the
// editor's UI settings, each as the index of the chosen value. Until the
// stores themselves are read, DefaultSettings answers every key with the
// factory default; a real store derives from SettingsAccess.

#include <cstdint>

class SettingsAccess {
public:
    virtual ~SettingsAccess() = default;
    // Index of a global setting such as "Solo Mode"; -1 when there is no store.
    virtual int32_t globalValue(const char* name) const = 0;
    // Index of a UI setting such as ("Misc", "Number format"); 0 when missing.
    virtual int32_t uiValue(const char* category, const char* key) const = 0;
};

class DefaultSettings : public SettingsAccess {
public:
    // Process-wide instance, shared by every effect that has no other source.
    static const DefaultSettings& instance();
    int32_t globalValue(const char* name) const override;
    int32_t uiValue(const char* category, const char* key) const override;
};
