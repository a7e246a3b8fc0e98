#pragma once
// A stand-in for the window system's window under a frame: each popup the
// frame runs is handed to a script (nothing else ends it), the buttons held
// are what the test says, and what is asked of the cursor is written down.
// The window stands at (200, 100) on the screen with the pointer at
// (30, 40) in the frame. Its state is shared by every such window and
// cleared around each test of ScriptedFrame.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "gui/toolkit/CFrame.h"

class ScriptedWindow : public VSTGUI::IPlatformFrame {
public:
    static inline std::function<void(VSTGUI::IPopupClient*)> script;  // what the user does in a popup
    static inline int32_t heldButtons = 0;                             // buttons and modifiers held
    static inline int popups = 0;                                      // popups run
    static inline std::vector<std::string> cursorLog;                  // "hide", "show", "warp x,y"

    static void reset() {
        script = nullptr;
        heldButtons = 0;
        popups = 0;
        cursorLog.clear();
    }
    static VSTGUI::IPlatformFrame* make(VSTGUI::IPlatformFrameCallback*, const VSTGUI::CRect&, uintptr_t) {
        return new ScriptedWindow;
    }

    void invalidRect(const VSTGUI::CRect&) override {}
    bool setSize(const VSTGUI::CRect&) override { return true; }
    VSTGUI::CPoint getPositionOnScreen() override { return VSTGUI::CPoint(200, 100); }
    bool getCurrentMousePosition(VSTGUI::CPoint& where) override {
        where = VSTGUI::CPoint(30, 40);
        return true;
    }
    int32_t getCurrentMouseButtons() override { return heldButtons; }
    void setMouseCursor(VSTGUI::CCursorType) override {}
    void showCursor(bool visible) override { cursorLog.push_back(visible ? "show" : "hide"); }
    void setCursorPosition(const VSTGUI::CPoint& p) override {
        cursorLog.push_back("warp " + std::to_string(static_cast<int>(p.x)) + "," +
                            std::to_string(static_cast<int>(p.y)));
    }
    void takeFocus() override {}
    void idle() override {}
    bool runPopup(VSTGUI::IPopupClient* client) override {
        ++popups;
        if (script) script(client);
        return true;
    }
    uint32_t doubleClickTime() override { return 0; }
    uintptr_t nativeWindow() override { return 1; }
};

// An open frame of 400 by 300 over a scripted window.
struct ScriptedFrame : ::testing::Test {
    void SetUp() override {
        ScriptedWindow::reset();
        VSTGUI::setPlatformFrameFactory(&ScriptedWindow::make);
        frame = new VSTGUI::CFrame(VSTGUI::CRect(0, 0, 400, 300), nullptr);
        ASSERT_TRUE(frame->open(0));
    }
    void TearDown() override {
        frame->forget();
        VSTGUI::setPlatformFrameFactory(nullptr);
        ScriptedWindow::reset();
    }
    // A press with `buttons` at `at` in the frame, and its release.
    void clickAt(VSTGUI::CPoint at, int32_t buttons) {
        frame->onMouseDown(at, buttons);
        frame->onMouseUp(at, 0);
    }
    VSTGUI::CFrame* frame = nullptr;
};
