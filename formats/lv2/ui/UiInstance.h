#pragma once
// The editor of one LV2 plug-in instance, embedded in the host's window as
// an X11 UI. It lives in the plug-in's own shared object and works on the
// effect itself through instance access, so the process-wide state (the
// instance registry, the settings, the caches) exists once.
//
// Values go both ways:
// - a person's edit reaches the host as a write of the control port,
//   bracketed by the host's touch when it offers one, so the host records
//   automation and undo; after any edit (a preset, an A/B slot, undo) every
//   port whose value the effect changed is written, so the host never holds
//   a stale value;
// - a port the host changes reaches the effect through run(), and the
//   editor shows it through the effect's tag updates; port events only
//   tell the UI what the host holds.
//
// Threads: everything here runs on the host's UI thread.

#include <lv2/core/lv2.h>
#include <lv2/ui/ui.h>

#include <cstdint>
#include <memory>

#include "core/ParamTable.h"
#include "formats/lv2/PortLayout.h"
#include "gui/editor/VGEditor.h"

class Plug;
class PlugEd;

namespace fwlv2 {

class UiInstance {
public:
    // The UI's URI, shared by the plug-ins of every channel layout.
    static constexpr const char* kUri = lv2ports::kUiUri;

    // Null, with a line on stderr, when the host gives no instance access
    // (it then shows its own controls) or the window cannot be made.
    static UiInstance* create(LV2UI_Write_Function write, LV2UI_Controller controller, LV2UI_Widget* widget,
                              const LV2_Feature* const* features);
    ~UiInstance();
    UiInstance(const UiInstance&) = delete;
    UiInstance& operator=(const UiInstance&) = delete;

    // A control port's value as the host holds it (format 0, a float in
    // the row's own unit, as every control port of the bundle).
    void portEvent(uint32_t port, uint32_t bufferSize, uint32_t format, const void* buffer);
    // The host's idle: the editor's timer and idle; 0 while the UI lives.
    int idle();

    VGEditor& editor() { return view; }

private:
    UiInstance(Plug& effect, LV2UI_Write_Function write, LV2UI_Controller controller);

    // Writes every port whose value in the effect differs from the host's.
    void syncPorts();
    void writePort(int32_t index, float value);
    void touchPort(int32_t index, bool grabbed);

    Plug& fx;
    lv2ports::Ports ports;
    VGEditor view;
    LV2UI_Write_Function write;
    LV2UI_Controller controller;
    const LV2UI_Resize* resize = nullptr;
    const LV2UI_Touch* touch = nullptr;
    float hostValue[kNumParams] = {};  // what the host's ports hold, in the rows' units
    bool syncPending = false;
};

}  // namespace fwlv2
