#include "core/SettingsAccess.h"

#include <cstring>

namespace {

struct GlobalDefault {
    const char* name;
    int32_t value;
};

// The user's global settings with their factory defaults.
constexpr GlobalDefault kGlobalDefaults[] = {
    {"FFT Update throttle", 1}, {"AutoListen Enable", 0}, {"AutoListen Gain", 0},
    {"AutoListen Q", 0},        {"AutoListen Ignores Q", 0}, {"AutoListen Disabled", 0},
    {"Solo Mode", 0},           {"A/B Automation", 1},     {"A/B Toggle", 1},
    {"Clip threshold", 0},      {"ProTools Opt/Shift", 0}, {"Band Linking", 1},
    {"Save Compression", 3},    {"OpenGL", 0},             {"VST Gestures", 1},
};

struct UiDefault {
    const char* category;
    const char* key;
    int32_t value;
};

// The UI settings the effect itself reads, with their factory defaults.
constexpr UiDefault kUiDefaults[] = {
    {"Misc", "Number format", 0},        {"Meters", "Ballistic Type", 0},
    {"Misc", "Show True Q", 0},          {"Misc", "MIDI Bend Range", 2},
    {"Misc", "MIDI Input", 0},           {"Misc", "Extended Frequencies", 0},
    {"Misc", "Autogain MS", 0},          {"Misc", "Autogain Weighting", 0},
};

}  // namespace

const DefaultSettings& DefaultSettings::instance() {
    static const DefaultSettings settings;
    return settings;
}

int32_t DefaultSettings::globalValue(const char* name) const {
    if (!name) return -2;
    for (const GlobalDefault& g : kGlobalDefaults)
        if (std::strcmp(g.name, name) == 0) return g.value;
    return -2;  // a name the defaults don't have
}

int32_t DefaultSettings::uiValue(const char* category, const char* key) const {
    if (!category || !key) return 0;
    for (const UiDefault& u : kUiDefaults)
        if (std::strcmp(u.category, category) == 0 && std::strcmp(u.key, key) == 0) return u.value;
    return 0;
}
