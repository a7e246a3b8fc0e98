// The bundle's X11 UI under a host of the tests' own: it opens inside the
// host's window only with access to the plug-in instance, reports its size,
// and carries values both ways: a person's edit out through the port with
// the touch brackets around it (a drag through the window too), changes
// beyond the ports (undo) out as port writes, and the host's port changes
// into the editor.

#include <gtest/gtest.h>

#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "formats/lv2plugin/Lv2TestHost.h"
#include "formats/lv2/ui/UiInstance.h"
#include "gui/editor/EQGraph.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CFrame.h"
#include "session/EditorTags.h"

// After the LV2 headers: Xlib defines names (Bool) that they use.
#include <X11/Xlib.h>

extern "C" const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index);

namespace {

struct PortWrite {
    uint32_t port;
    float value;
    bool operator==(const PortWrite&) const = default;
};

// The host's own connection to the display, one for the whole run.
Display* hostDisplay() {
    static Display* display = XOpenDisplay(nullptr);
    return display;
}

// What a host gives the UI, and what it hears back.
struct UiHost {
    // `scale`: the host's scale factor among its options (none when 0).
    explicit UiHost(Lv2TestHost& plugin, bool instanceAccess = true, float scale = 0)
        : urids(plugin.urids), hostScale(scale) {
        display = hostDisplay();
        if (!display) return;
        parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 800, 0, 0, 0);
        XMapWindow(display, parent);
        XSync(display, False);
        options = {option(LV2_UI__scaleFactor, LV2_ATOM__Float, sizeof hostScale, &hostScale), {}};
        features = {{LV2_UI__parent, reinterpret_cast<void*>(parent)},
                    {LV2_UI__resize, &resize},
                    {LV2_UI__touch, &touch},
                    {LV2_INSTANCE_ACCESS_URI, plugin.handle},
                    {LV2_URID__map, &urids.feature},
                    {LV2_OPTIONS__options, options.data()}};
        std::vector<const LV2_Feature*> list{&features[0], &features[1], &features[2], &features[4]};
        if (instanceAccess) list.push_back(&features[3]);
        if (scale != 0) list.push_back(&features[5]);
        list.push_back(nullptr);
        handle = desc.instantiate(&desc, lv2ports::pluginUri(plugin.ports.channels).c_str(), "/", write, this, &widget,
                                  list.data());
    }
    ~UiHost() {
        if (handle) desc.cleanup(handle);
        if (display) {
            XDestroyWindow(display, parent);
            XSync(display, False);
        }
    }
    fwlv2::UiInstance& ui() { return *static_cast<fwlv2::UiInstance*>(handle); }
    int idle() {
        auto* idler = static_cast<const LV2UI_Idle_Interface*>(desc.extension_data(LV2_UI__idleInterface));
        return idler->idle(handle);
    }
    // A control of `tag` moved by the person through the editor, as one gesture.
    void edit(int32_t tag, float value) {
        VGEditor& editor = ui().editor();
        auto* control = new VSTGUI::CControl(VSTGUI::CRect(0, 0, 1, 1), &editor, tag);
        control->setValue(value);
        editor.beginEdit(tag);
        editor.valueChanged(control);
        editor.endEdit(tag);
        control->forget();
    }

    LV2_Options_Option option(const char* key, const char* type, uint32_t size, const void* value) {
        return {LV2_OPTIONS_INSTANCE, 0, urids.map(key), size, urids.map(type), value};
    }
    // Sets one option through the UI's options interface.
    uint32_t setOption(const char* key, const char* type, uint32_t size, const void* value) {
        auto* interface = static_cast<const LV2_Options_Interface*>(desc.extension_data(LV2_OPTIONS__interface));
        const LV2_Options_Option list[] = {option(key, type, size, value), {}};
        return interface->set(handle, list);
    }

    const LV2UI_Descriptor& desc = *lv2ui_descriptor(0);
    UridMap& urids;
    float hostScale;
    std::vector<LV2_Options_Option> options;
    Display* display = nullptr;
    Window parent = 0;
    LV2UI_Handle handle = nullptr;
    LV2UI_Widget widget = nullptr;
    std::vector<LV2_Feature> features;
    std::vector<PortWrite> writes;
    std::vector<std::pair<uint32_t, bool>> touches;
    int width = 0, height = 0;
    LV2UI_Resize resize{this, [](LV2UI_Feature_Handle h, int w, int hgt) {
                            static_cast<UiHost*>(h)->width = w;
                            static_cast<UiHost*>(h)->height = hgt;
                            return 0;
                        }};
    LV2UI_Touch touch{this, [](LV2UI_Feature_Handle h, uint32_t port, bool grabbed) {
                          static_cast<UiHost*>(h)->touches.emplace_back(port, grabbed);
                      }};
    static void write(LV2UI_Controller c, uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
        if (format != 0 || size != sizeof(float)) return;
        float value = 0;
        std::memcpy(&value, buffer, sizeof value);
        static_cast<UiHost*>(c)->writes.push_back({port, value});
    }
};

TEST(Lv2Ui, OpensOnlyWithTheInstanceAndInsideTheHostWindow) {
    Lv2TestHost plugin({});
    ASSERT_NE(plugin.handle, nullptr);
    {
        UiHost without(plugin, false);
        ASSERT_NE(without.display, nullptr) << "no X display";
        EXPECT_EQ(without.handle, nullptr);  // the host falls back to its own controls
    }
    UiHost host(plugin);
    ASSERT_NE(host.handle, nullptr);
    ASSERT_NE(host.widget, nullptr);
    Window root = 0, parentOfWidget = 0, *children = nullptr;
    unsigned count = 0;
    XQueryTree(host.display, Window(reinterpret_cast<uintptr_t>(host.widget)), &root, &parentOfWidget, &children,
               &count);
    if (children) XFree(children);
    EXPECT_EQ(parentOfWidget, host.parent);
    EXPECT_EQ(host.width, 750);
    EXPECT_EQ(host.height, 741);
    EXPECT_EQ(host.idle(), 0);
    // Opened and closed again and again.
    for (int i = 0; i < 50; ++i) {
        UiHost again(plugin);
        ASSERT_NE(again.handle, nullptr) << i;
        EXPECT_EQ(again.idle(), 0);
    }
}

TEST(Lv2Ui, FollowsTheHostsScaleInWholeStepsAtOpenAndLater) {
    for (auto [hostScale, shown] : {std::pair{1.0, 1}, {1.25, 1}, {1.5, 2}, {2.0, 2}, {0.5, 1}, {3.0, 3}, {9.0, 4},
                                    {double(NAN), 1}}) {
        EXPECT_EQ(fwlv2::UiInstance::wholeScale(hostScale), shown) << hostScale;
    }
    Lv2TestHost plugin({});
    UiHost host(plugin, true, 2.0f);
    ASSERT_NE(host.handle, nullptr);
    EXPECT_EQ(host.width, 1500);
    EXPECT_EQ(host.height, 1482);
    XWindowAttributes attributes{};
    ASSERT_TRUE(XGetWindowAttributes(host.display, Window(reinterpret_cast<uintptr_t>(host.widget)), &attributes));
    EXPECT_EQ(attributes.width, 1500);
    EXPECT_EQ(attributes.height, 1482);
    EXPECT_EQ(host.ui().editor().getWidth(), 750);  // the editor keeps its own size and layout

    // The window moved to another screen: the host sets the scale again, as
    // a float or an int; what the UI does not know is refused and changes nothing.
    const float one = 1.0f;
    const int32_t three = 3;
    const struct {
        const char *key, *type;
        const void* value;
        uint32_t status;
        int height;
    } rows[] = {{LV2_UI__scaleFactor, LV2_ATOM__Float, &one, LV2_OPTIONS_SUCCESS, 741},
                {LV2_UI__scaleFactor, LV2_ATOM__Int, &three, LV2_OPTIONS_SUCCESS, 741 * 3},
                {LV2_UI__updateRate, LV2_ATOM__Float, &one, LV2_OPTIONS_ERR_BAD_KEY, 741 * 3},
                {LV2_UI__scaleFactor, LV2_ATOM__Double, &one, LV2_OPTIONS_ERR_BAD_VALUE, 741 * 3}};
    for (const auto& row : rows) {
        EXPECT_EQ(host.setOption(row.key, row.type, 4, row.value), row.status) << row.type;
        EXPECT_EQ(host.height, row.height) << row.type;
    }
    EXPECT_EQ(host.ui().editor().getScale(), 3);
    auto* interface = static_cast<const LV2_Options_Interface*>(host.desc.extension_data(LV2_OPTIONS__interface));
    LV2_Options_Option asked[] = {host.option(LV2_UI__scaleFactor, LV2_ATOM__Float, 0, nullptr), {}};
    ASSERT_EQ(interface->get(host.handle, asked), uint32_t(LV2_OPTIONS_SUCCESS));
    ASSERT_EQ(asked[0].size, sizeof(float));
    EXPECT_EQ(*static_cast<const float*>(asked[0].value), 3.0f);
    EXPECT_EQ(host.idle(), 0);
}

TEST(Lv2Ui, EditsReachTheHostAsPortWritesInsideTouches) {
    Lv2TestHost plugin({});
    UiHost host(plugin);
    ASSERT_NE(host.handle, nullptr);
    const uint32_t gainPort = uint32_t(plugin.ports.param(kGain));
    host.edit(kGain, float(curveToNorm(staticParamTable()[kGain], -6.0)));
    ASSERT_FALSE(host.writes.empty());
    EXPECT_EQ(host.writes.back().port, gainPort);
    EXPECT_NEAR(host.writes.back().value, -6.0f, 1e-4);
    EXPECT_EQ(host.touches, (std::vector<std::pair<uint32_t, bool>>{{gainPort, true}, {gainPort, false}}));

    // Undo changes the effect beyond any port: the port follows.
    host.writes.clear();
    host.edit(kGUIUndo, 1);
    host.idle();
    ASSERT_FALSE(host.writes.empty());
    EXPECT_EQ(host.writes.back().port, gainPort);
    EXPECT_NEAR(host.writes.back().value, staticParamTable()[kGain].value, 1e-4);

    // What the host already holds is not written again.
    host.writes.clear();
    host.edit(kGUIPresetPage, 1);
    host.idle();
    EXPECT_TRUE(host.writes.empty());
}

TEST(Lv2Ui, PortChangesOfTheHostShowInTheEditor) {
    Lv2TestHost plugin({});
    plugin.activate();
    UiHost host(plugin);
    ASSERT_NE(host.handle, nullptr);
    uint64_t now = 1000;
    host.ui().editor().setClock([&] { return now; });
    plugin.param(kBypass) = 1.0f;  // the host's generic control, or automation
    plugin.run(64);
    const float on = 1.0f;
    host.desc.port_event(host.handle, uint32_t(plugin.ports.param(kBypass)), sizeof on, 0, &on);
    now += 100;
    host.idle();
    EXPECT_EQ(host.ui().editor().controls().valueOfTag(kBypass), 1.0f);
    EXPECT_TRUE(host.writes.empty());  // nothing echoed back
}

}  // namespace

TEST(Lv2Ui, AfterABandIsDraggedThePointerComesBackOnItsHandle) {
    Lv2TestHost plugin({});
    UiHost host(plugin);
    ASSERT_NE(host.handle, nullptr);
    VGEditor& editor = host.ui().editor();
    EQGraph* graph = editor.getGraph();
    ASSERT_NE(graph, nullptr);
    const int32_t band = graph->createBand(1000.0, 0.0);
    ASSERT_GE(band, 0);
    editor.refreshGraph();
    host.idle();
    // Press on the handle and drag it up and right, as the window delivers it.
    VSTGUI::CFrame* frame = editor.getFrame();
    const VSTGUI::CRect plot = graph->frameRect();
    const VSTGUI::CPoint start = graph->handlePosition(band);
    VSTGUI::CPoint at(plot.left + start.x, plot.top + start.y);
    frame->onMouseDown(at, VSTGUI::kLButton);
    for (int32_t i = 1; i <= 5; ++i) {
        VSTGUI::CPoint step(at.x + 12 * i, at.y - 10 * i);
        frame->onMouseMoved(step, VSTGUI::kLButton);
    }
    VSTGUI::CPoint end(at.x + 60, at.y - 50);
    frame->onMouseUp(end, 0);
    editor.refreshGraph();
    const VSTGUI::CPoint handle = graph->handlePosition(band);
    XSync(host.display, False);
    Window root = 0, child = 0;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned mask = 0;
    XQueryPointer(host.display, Window(reinterpret_cast<uintptr_t>(host.widget)), &root, &child, &rootX, &rootY, &x,
                  &y, &mask);
    EXPECT_NEAR(x, plot.left + handle.x, 1.0);
    EXPECT_NEAR(y, plot.top + handle.y, 1.0);
    EXPECT_NE(handle.x, start.x);  // the band did move
    // The drag reached the host as one gesture on each row it moved.
    const uint32_t frequencyPort = uint32_t(plugin.ports.param(bandParam(band, kFieldFrequency)));
    const auto touched = std::count(host.touches.begin(), host.touches.end(), std::make_pair(frequencyPort, true));
    const auto released = std::count(host.touches.begin(), host.touches.end(), std::make_pair(frequencyPort, false));
    EXPECT_EQ(touched, 2);  // made, then dragged
    EXPECT_EQ(released, 2);
}
