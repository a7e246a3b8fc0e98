#pragma once
// The demo's window contents: a few of each control of the toolkit, a
// curve drawn from two knobs, a meter that moves by itself, a menu with a
// nested menu, a text field and a button that opens the save dialog. Every
// change is reported through a callback as one line of text ("value <tag>
// <value>", "menu <title>", "text <text>", "file <path>" or "file
// cancelled"), which the window tests read.

#include <functional>
#include <string>
#include <vector>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CTimer.h"

namespace VSTGUI {
class CGViewContainer;
class CParamDisplay;
class CVuMeter;
}  // namespace VSTGUI

namespace demo {

class CurveView;

struct NamedRect {
    std::string name;
    VSTGUI::CRect rect;  // frame coordinates
};

class DemoPanel : public VSTGUI::CControlListener {
public:
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 400;

    explicit DemoPanel(std::function<void(const std::string&)> report);
    ~DemoPanel() override;
    DemoPanel(const DemoPanel&) = delete;
    DemoPanel& operator=(const DemoPanel&) = delete;

    VSTGUI::CFrame* frame() const { return root; }
    // Where the controls that tests aim at lie.
    const std::vector<NamedRect>& layout() const { return places; }

    void valueChanged(VSTGUI::CControl* control) override;

private:
    void build();
    template <class View>
    View* place(const char* name, View* view);

    std::function<void(const std::string&)> report;
    VSTGUI::CFrame* root;
    std::vector<NamedRect> places;
    CurveView* curve = nullptr;
    VSTGUI::CParamDisplay* readout = nullptr;
    VSTGUI::CVuMeter* meter = nullptr;
    VSTGUI::CGViewContainer* pages[2] = {nullptr, nullptr};
    double meterPhase = 0;
    VSTGUI::CTimer meterTimer;
};

}  // namespace demo
