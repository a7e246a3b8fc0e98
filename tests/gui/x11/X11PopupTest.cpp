// Toolkit-drawn popups on X11: override-redirect windows at the client's
// screen rectangles, input grabbed for the client, levels opening and
// closing while the popup runs.

#include <chrono>
#include <tuple>

#include "X11TestSupport.h"

namespace fwx11 {
namespace {

// A popup client that plays a script from popupDone(), which the popup loop
// asks on every turn: it checks what is on screen through the test's own
// connection and feeds fake input through XTest.
class ScriptedPopup : public IPopupClient {
public:
    ScriptedPopup(Display* testDisplay) : dpy(testDisplay), deadline(std::chrono::steady_clock::now() + std::chrono::seconds(4)) {}

    // Findings of the run.
    mutable bool shownAtPlace = false;
    mutable bool painted = false;
    mutable bool secondLevelShown = false;
    mutable bool secondLevelClosed = false;
    mutable bool timedOut = false;
    std::vector<std::tuple<PopupMouse, CPoint, int32_t>> mouse;
    std::vector<int32_t> keys;

    int32_t popupWindowCount() const override { return levels; }
    CRect popupWindowRect(int32_t index) const override {
        return index == 0 ? CRect::fromSize(100, 100, 120, 60) : CRect::fromSize(230, 100, 80, 40);
    }
    void drawPopupWindow(int32_t index, CDrawContext* context) override {
        context->setFillColor(index == 0 ? CColor{20, 40, 240, 255} : CColor{240, 240, 0, 255});
        context->fillRect(CRect(0, 0, 400, 400));
    }
    void popupMouse(PopupMouse kind, const CPoint& where, int32_t buttons) override {
        mouse.emplace_back(kind, where, buttons);
    }
    void popupKey(uint32_t, int32_t virtualKey, int32_t) override { keys.push_back(virtualKey); }
    void popupFocusLost() override {}

    bool popupDone() const override {
        if (std::chrono::steady_clock::now() > deadline) return timedOut = true;
        switch (stage) {
            case 0:  // the first level is on screen where asked, in its colour
                shownAtPlace = shownAtPlace || popupAt(100, 100, 120, 60);
                painted = shownAtPlace && readPixel(dpy, DefaultRootWindow(dpy), 150, 130) == 0x1428f0;
                if (painted) {
                    clickAt(600, 500);  // outside every popup window
                    clickAt(150, 130);
                    stage = 1;
                }
                return false;
            case 1:  // the click inside arrived: open a second level
                if (releasedAt(150, 130)) {
                    levels = 2;
                    stage = 2;
                }
                return false;
            case 2:  // ... and close it again once shown
                if (popupAt(230, 100, 80, 40)) {
                    secondLevelShown = true;
                    levels = 1;
                    stage = 3;
                }
                return false;
            case 3:  // gone: keys reach the popup though the focus is elsewhere
                if (!popupAt(230, 100, 80, 40)) {
                    secondLevelClosed = true;
                    XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, XK_Escape), True, CurrentTime);
                    XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, XK_Escape), False, CurrentTime);
                    XSync(dpy, False);
                    stage = 4;
                }
                return false;
            default:
                return !keys.empty();
        }
    }

    // A viewable override-redirect window with exactly that geometry.
    bool popupAt(int x, int y, int width, int height) const {
        Window root = 0, parent = 0;
        Window* children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(dpy, DefaultRootWindow(dpy), &root, &parent, &children, &count)) return false;
        bool found = false;
        for (unsigned int i = 0; i < count && !found; ++i) {
            XWindowAttributes a{};
            found = XGetWindowAttributes(dpy, children[i], &a) && a.override_redirect && a.map_state == IsViewable &&
                    a.x == x && a.y == y && a.width == width && a.height == height;
        }
        if (children) XFree(children);
        return found;
    }

private:
    void clickAt(int x, int y) const {
        XTestFakeMotionEvent(dpy, DefaultScreen(dpy), x, y, CurrentTime);
        XTestFakeButtonEvent(dpy, 1, True, CurrentTime);
        XTestFakeButtonEvent(dpy, 1, False, CurrentTime);
        XSync(dpy, False);
    }
    bool releasedAt(int x, int y) const {
        for (const auto& [kind, where, buttons] : mouse) {
            if (kind == PopupMouse::Up && where == CPoint(static_cast<CCoord>(x), static_cast<CCoord>(y))) return true;
        }
        return false;
    }

    Display* dpy;
    std::chrono::steady_clock::time_point deadline;
    mutable int stage = 0;
    mutable int32_t levels = 1;
};

using X11Popup = X11FrameFixture;

TEST_F(X11Popup, ShowsItsWindowsWhereAskedAndGivesTheClientAllInput) {
    open();
    // Keys must come through the popup's grab, not by the focus.
    XSetInputFocus(dpy, parent, RevertToParent, CurrentTime);
    XSync(dpy, False);
    ScriptedPopup popup(dpy);
    ASSERT_TRUE(frame->runPopup(&popup));
    EXPECT_FALSE(popup.timedOut);
    EXPECT_TRUE(popup.shownAtPlace);
    EXPECT_TRUE(popup.painted);
    EXPECT_TRUE(popup.secondLevelShown);
    EXPECT_TRUE(popup.secondLevelClosed);

    // The press outside came first, then the click inside, in screen
    // coordinates with the button word.
    std::vector<std::tuple<PopupMouse, CPoint, int32_t>> presses;
    for (const auto& call : popup.mouse) {
        if (std::get<0>(call) != PopupMouse::Moved) presses.push_back(call);
    }
    ASSERT_GE(presses.size(), 4u);
    EXPECT_EQ(presses[0], std::make_tuple(PopupMouse::Down, CPoint(600, 500), int32_t{kLButton}));
    EXPECT_EQ(presses[1], std::make_tuple(PopupMouse::Up, CPoint(600, 500), int32_t{kLButton}));
    EXPECT_EQ(presses[2], std::make_tuple(PopupMouse::Down, CPoint(150, 130), int32_t{kLButton}));
    ASSERT_EQ(popup.keys.size(), 1u);
    EXPECT_EQ(popup.keys[0], VKEY_ESCAPE);

    // Afterwards the windows are gone and input belongs to the frame again.
    XSync(dpy, False);
    EXPECT_FALSE(popup.popupAt(100, 100, 120, 60));
    moveTo(30, 30);
    click(1);
    EXPECT_TRUE(pump([&] { return callback.calls('u').size() == 1; }));
}

// A one-level popup of a frame shown at scale 2: it lives in the frame's
// coordinates, halved from the screen's.
class HalvedPopup : public IPopupClient {
public:
    explicit HalvedPopup(Display* testDisplay) : dpy(testDisplay) {}
    CRect screen;
    bool shown = false;
    mutable int turns = 0;
    std::vector<std::pair<PopupMouse, CPoint>> presses;

    int32_t popupWindowCount() const override { return 1; }
    CRect popupWindowRect(int32_t) const override { return CRect::fromSize(50, 50, 60, 30); }
    void drawPopupWindow(int32_t, CDrawContext* context) override {
        context->setFillColor(CColor{240, 120, 0, 255});
        context->fillRect(CRect(0, 0, 60, 30));
        context->setFillColor(CColor{0, 0, 0, 255});
        context->fillRect(CRect(59, 29, 60, 30));  // the last pixel, to find the window's corner
    }
    void popupMouse(PopupMouse kind, const CPoint& where, int32_t) override {
        if (kind != PopupMouse::Moved) presses.emplace_back(kind, where);
    }
    void popupKey(uint32_t, int32_t, int32_t) override {}
    void popupScreen(const CRect& area) override { screen = area; }
    void popupFocusLost() override {}
    bool popupDone() const override {
        if (++turns > 300) return true;
        if (presses.size() >= 2) return true;
        if (!const_cast<HalvedPopup*>(this)->shown && readPixel(dpy, DefaultRootWindow(dpy), 219, 159) == 0 &&
            readPixel(dpy, DefaultRootWindow(dpy), 217, 157) == 0xf07800) {
            const_cast<HalvedPopup*>(this)->shown = true;
            XTestFakeMotionEvent(dpy, DefaultScreen(dpy), 151, 131, CurrentTime);
            XTestFakeButtonEvent(dpy, 1, True, CurrentTime);
            XTestFakeButtonEvent(dpy, 1, False, CurrentTime);
            XSync(dpy, False);
        }
        return false;
    }

private:
    Display* dpy;
};

TEST_F(X11Popup, AtTheFramesScaleRectanglesAreEnlargedAndInputHalved) {
    open();
    ASSERT_TRUE(frame->setScale(2));
    HalvedPopup popup(dpy);
    ASSERT_TRUE(frame->runPopup(&popup));
    EXPECT_TRUE(popup.shown) << "no 120 x 60 window at (100, 100) ending in the last pixel's 2 x 2 square";
    EXPECT_EQ(popup.screen.width(), DisplayWidth(dpy, DefaultScreen(dpy)) / 2);
    ASSERT_EQ(popup.presses.size(), 2u);
    EXPECT_EQ(popup.presses[0], std::make_pair(PopupMouse::Down, CPoint(75.5, 65.5)));
}

TEST_F(X11Popup, IsRefusedWhenTheFrameWindowIsGone) {
    open();
    XDestroyWindow(dpy, parent);
    parent = 0;
    ASSERT_TRUE(pump([&] { return callback.gone == 1; }));
    ScriptedPopup popup(dpy);
    EXPECT_FALSE(frame->runPopup(&popup));
    EXPECT_FALSE(frame->runPopup(nullptr));
}

}  // namespace
}  // namespace fwx11
