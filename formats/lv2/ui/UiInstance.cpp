#include "formats/lv2/ui/UiInstance.h"

#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/Plug.h"
#include "formats/lv2/plugin/PluginInstance.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/platform/X11Platform.h"
#include "session/PlugEd.h"

namespace fwlv2 {

namespace {

const void* featureData(const LV2_Feature* const* features, const char* uri) {
    if (!features) return nullptr;
    for (const LV2_Feature* const* f = features; *f; ++f) {
        if ((*f)->URI && std::strcmp((*f)->URI, uri) == 0) return (*f)->data;
    }
    return nullptr;
}

void complain(const char* message) { std::fprintf(stderr, "Fenwoldrine: %s\n", message); }

}  // namespace

UiInstance* UiInstance::create(LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                               const LV2_Feature* const* features) {
    auto* plugin = static_cast<PluginInstance*>(const_cast<void*>(featureData(features, LV2_INSTANCE_ACCESS_URI)));
    if (!plugin) {
        complain("the host gives the editor no access to the plug-in instance; use the host's own controls");
        return nullptr;
    }
    if (!PlugEd::of(plugin->effect())) {
        complain("this instance has no editor object");
        return nullptr;
    }
    const auto parent = reinterpret_cast<uintptr_t>(featureData(features, LV2_UI__parent));
    std::unique_ptr<UiInstance> ui(new UiInstance(plugin->effect(), write, controller));
    ui->resize = static_cast<const LV2UI_Resize*>(featureData(features, LV2_UI__resize));
    ui->touch = static_cast<const LV2UI_Touch*>(featureData(features, LV2_UI__touch));
    if (const auto* map = static_cast<const LV2_URID_Map*>(featureData(features, LV2_URID__map))) {
        ui->urids.scaleFactor = map->map(map->handle, LV2_UI__scaleFactor);
        ui->urids.atomFloat = map->map(map->handle, LV2_ATOM__Float);
        ui->urids.atomDouble = map->map(map->handle, LV2_ATOM__Double);
        ui->urids.atomInt = map->map(map->handle, LV2_ATOM__Int);
    }
    const auto* options = static_cast<const LV2_Options_Option*>(featureData(features, LV2_OPTIONS__options));
    if (const int32_t scale = ui->scaleAmong(options)) ui->view.setScale(scale);
    VSTGUI::useX11Platform();
    if (!ui->view.open(parent) || !ui->view.getFrame()->getPlatformFrame()) {
        complain("the editor's window could not be made (is there an X11 display?)");
        return nullptr;
    }
    if (widget) *widget = reinterpret_cast<LV2UI_Widget>(ui->view.getFrame()->getPlatformFrame()->nativeWindow());
    UiInstance* self = ui.get();
    if (self->resize) {
        self->resize->ui_resize(self->resize->handle, self->view.getWindowWidth(), self->view.getWindowHeight());
    }
    self->view.setSizeListener([self](int32_t width, int32_t height) {
        if (self->resize) self->resize->ui_resize(self->resize->handle, width, height);
    });
    self->view.setEditListener([self](int32_t tag, VGEditor::EditEvent event) {
        if (event == VGEditor::EditEvent::kChange) {
            self->syncPending = true;
            if (isParamIndex(tag)) self->syncPorts();
        } else if (isParamIndex(tag)) {
            self->touchPort(tag, event == VGEditor::EditEvent::kBegin);
        }
    });
    return ui.release();
}

UiInstance::UiInstance(Plug& effect, LV2UI_Write_Function w, LV2UI_Controller c)
    : fx(effect), ports{effect.getChannelCount()}, view(*PlugEd::of(effect)), write(w), controller(c) {
    // Until the host says otherwise, it holds what the effect holds.
    for (int32_t i = 0; i < kNumParams; ++i) hostValue[i] = fx.getRealValue(i);
}

UiInstance::~UiInstance() { view.close(); }

void UiInstance::portEvent(uint32_t port, uint32_t bufferSize, uint32_t format, const void* buffer) {
    if (format != 0 || bufferSize != sizeof(float) || !buffer) return;
    const int32_t index = ports.paramOf(int32_t(port));
    if (index < 0) return;
    float value = 0;
    std::memcpy(&value, buffer, sizeof value);
    if (std::isfinite(value)) hostValue[index] = value;
}

int UiInstance::idle() {
    view.idle();
    if (syncPending) syncPorts();
    return 0;
}

int32_t UiInstance::wholeScale(double hostScale) {
    if (!std::isfinite(hostScale)) return 1;
    return static_cast<int32_t>(std::lround(std::clamp(hostScale, 1.0, double(VSTGUI::kMaxPlatformScale))));
}

bool UiInstance::readScale(const LV2_Options_Option& o, int32_t& scale) const {
    double value = NAN;
    if (!o.value) return false;
    if (o.type == urids.atomFloat && o.size == sizeof(float)) {
        value = *static_cast<const float*>(o.value);
    } else if (o.type == urids.atomDouble && o.size == sizeof(double)) {
        value = *static_cast<const double*>(o.value);
    } else if (o.type == urids.atomInt && o.size == sizeof(int32_t)) {
        value = *static_cast<const int32_t*>(o.value);
    } else {
        return false;
    }
    scale = wholeScale(value);
    return true;
}

bool UiInstance::isScale(const LV2_Options_Option& o) const {
    return urids.scaleFactor && o.key == urids.scaleFactor && o.context == LV2_OPTIONS_INSTANCE;
}

int32_t UiInstance::scaleAmong(const LV2_Options_Option* options) const {
    int32_t found = 0;
    for (const LV2_Options_Option* o = options; o && (o->key || o->value); ++o) {
        int32_t scale = 0;
        if (isScale(*o) && readScale(*o, scale)) found = scale;  // a value we cannot read: as if not given
    }
    return found;
}

uint32_t UiInstance::setOptions(const LV2_Options_Option* options) {
    uint32_t status = LV2_OPTIONS_SUCCESS;
    for (const LV2_Options_Option* o = options; o && (o->key || o->value); ++o) {
        int32_t scale = 0;
        if (!isScale(*o)) {
            status |= LV2_OPTIONS_ERR_BAD_KEY;
        } else if (!readScale(*o, scale) || !view.setScale(scale)) {
            status |= LV2_OPTIONS_ERR_BAD_VALUE;
        }
    }
    return status;
}

uint32_t UiInstance::getOptions(LV2_Options_Option* options) {
    uint32_t status = LV2_OPTIONS_SUCCESS;
    for (LV2_Options_Option* o = options; o && (o->key || o->value); ++o) {
        if (!isScale(*o)) {
            status |= LV2_OPTIONS_ERR_BAD_KEY;
            continue;
        }
        // The scale the window is shown at, which may be a rounded form of
        // what the host set.
        shownScale = float(view.getScale());
        o->size = sizeof shownScale;
        o->type = urids.atomFloat;
        o->value = &shownScale;
    }
    return status;
}

void UiInstance::syncPorts() {
    syncPending = false;
    for (int32_t i = 0; i < kNumParams; ++i) {
        // Ports hold the rows' real values, as the Turtle gives their ranges.
        const float value = fx.getRealValue(i);
        if (std::fabs(value - hostValue[i]) > 1e-6f * std::max(1.0f, std::fabs(value))) writePort(i, value);
    }
}

void UiInstance::writePort(int32_t index, float value) {
    hostValue[index] = value;
    if (write) write(controller, uint32_t(ports.param(index)), sizeof(float), 0, &value);
}

void UiInstance::touchPort(int32_t index, bool grabbed) {
    if (touch) touch->touch(touch->handle, uint32_t(ports.param(index)), grabbed);
}

}  // namespace fwlv2
