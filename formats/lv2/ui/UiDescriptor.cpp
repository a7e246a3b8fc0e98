// The shared object's second entry point: lv2ui_descriptor, the editor as an
// X11 UI for every plug-in of the bundle. Every call checks what the host
// passes and keeps exceptions from crossing into C.

#include <lv2/ui/ui.h>

#include <cstring>

#include "formats/lv2/ui/UiInstance.h"

namespace {

using fwlv2::UiInstance;

LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char* pluginUri, const char* bundlePath,
                         LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                         const LV2_Feature* const* features) {
    (void)pluginUri;
    (void)bundlePath;
    try {
        return UiInstance::create(write, controller, widget, features);
    } catch (...) {
        return nullptr;
    }
}

void cleanup(LV2UI_Handle handle) { delete static_cast<UiInstance*>(handle); }

void portEvent(LV2UI_Handle handle, uint32_t port, uint32_t bufferSize, uint32_t format, const void* buffer) {
    if (auto* ui = static_cast<UiInstance*>(handle)) ui->portEvent(port, bufferSize, format, buffer);
}

int idle(LV2UI_Handle handle) {
    auto* ui = static_cast<UiInstance*>(handle);
    if (!ui) return 1;
    try {
        return ui->idle();
    } catch (...) {
        return 1;
    }
}

uint32_t getOptions(LV2_Handle handle, LV2_Options_Option* options) {
    auto* ui = static_cast<UiInstance*>(handle);
    if (!ui) return LV2_OPTIONS_ERR_UNKNOWN;
    return ui->getOptions(options);
}

uint32_t setOptions(LV2_Handle handle, const LV2_Options_Option* options) {
    auto* ui = static_cast<UiInstance*>(handle);
    if (!ui) return LV2_OPTIONS_ERR_UNKNOWN;
    try {
        return ui->setOptions(options);
    } catch (...) {
        return LV2_OPTIONS_ERR_UNKNOWN;
    }
}

const void* extensionData(const char* uri) {
    static const LV2UI_Idle_Interface idleInterface{idle};
    static const LV2_Options_Interface optionsInterface{getOptions, setOptions};
    if (!uri) return nullptr;
    if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &idleInterface;
    if (std::strcmp(uri, LV2_OPTIONS__interface) == 0) return &optionsInterface;
    return nullptr;
}

const LV2UI_Descriptor kDescriptor{UiInstance::kUri, instantiate, cleanup, portEvent, extensionData};

}  // namespace

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
    return index == 0 ? &kDescriptor : nullptr;
}
