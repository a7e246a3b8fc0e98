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
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

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
    // Options the host sets after the start: the scale of a window moved
    // to another screen. Answers as the options interface does.
    uint32_t setOptions(const LV2_Options_Option* options);
    // The scale the window is shown at; other keys are unknown. The value
    // stays valid until the next call.
    uint32_t getOptions(LV2_Options_Option* options);

    // The whole factor a host's scale is shown at: the nearest one from 1
    // to 4 (1.25 stays 1, 1.5 becomes 2); 1 for a scale that is no number.
    static int32_t wholeScale(double hostScale);

    VGEditor& editor() { return view; }

private:
    UiInstance(Plug& effect, LV2UI_Write_Function write, LV2UI_Controller controller);

    // Writes every port whose value in the effect differs from the host's.
    void syncPorts();
    void writePort(int32_t index, float value);
    void touchPort(int32_t index, bool grabbed);
    // The host's scale among options, as a whole factor; 0 when not there.
    int32_t scaleAmong(const LV2_Options_Option* options) const;
    bool isScale(const LV2_Options_Option& option) const;
    // False for a type or size the scale cannot come in.
    bool readScale(const LV2_Options_Option& option, int32_t& scale) const;

    Plug& fx;
    lv2ports::Ports ports;
    VGEditor view;
    LV2UI_Write_Function write;
    LV2UI_Controller controller;
    const LV2UI_Resize* resize = nullptr;
    const LV2UI_Touch* touch = nullptr;
    // The URIDs of the scale option and of the number types it may come in
    // (0 without a map: then no option is understood).
    struct {
        LV2_URID scaleFactor = 0, atomFloat = 0, atomDouble = 0, atomInt = 0;
    } urids;
    float shownScale = 1;  // what getOptions last reported
    float hostValue[kNumParams] = {};  // what the host's ports hold, in the rows' units
    bool syncPending = false;
};

}  // namespace fwlv2
