#pragma once
// Support for the X11 layer's tests: a frame double that records what the
// window tells it, a parent window on a connection of the test's own, fake
// input through XTest, and waiting by pumping idle() until something holds.

// gtest first: Xlib's macros (None, Bool, Status) would break its headers.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gui/toolkit/platform/X11Frame.h"
#include "gui/toolkit/platform/X11Platform.h"

namespace fwx11 {

using namespace VSTGUI;

struct MouseCall {
    char kind;  // 'd'own, 'u'p, 'm'oved, 'x' exited
    CPoint where;
    int32_t buttons;
};
struct WheelCall {
    CMouseWheelAxis axis;
    float distance;
};
struct KeyCall {
    bool down;
    uint32_t character;
    int32_t virtualKey;
    int32_t modifiers;
};

struct DragCall {
    char kind;  // 'e'nter, 'm'ove, 'l'eave, 'd'rop
    CPoint where;
    std::vector<std::string> files;  // what the drag held at the call
};

// Records every call and paints each requested area in `paint`.
class RecordingFrame : public IPlatformFrameCallback {
public:
    CColor paint = kRedCColor;
    std::vector<CRect> drawn;
    std::vector<MouseCall> mouse;
    std::vector<WheelCall> wheel;
    std::vector<KeyCall> keys;
    std::vector<bool> focus;
    std::vector<DragCall> drags;
    bool takeDrops = true;
    int gone = 0;

    void platformDrawRect(CDrawContext* context, const CRect& rect) override {
        drawn.push_back(rect);
        context->setFillColor(paint);
        context->fillRect(rect);
    }
    CMouseEventResult platformOnMouseDown(CPoint& where, const int32_t& buttons) override {
        mouse.push_back({'d', where, buttons});
        return kMouseEventHandled;
    }
    CMouseEventResult platformOnMouseUp(CPoint& where, const int32_t& buttons) override {
        mouse.push_back({'u', where, buttons});
        return kMouseEventHandled;
    }
    CMouseEventResult platformOnMouseMoved(CPoint& where, const int32_t& buttons) override {
        mouse.push_back({'m', where, buttons});
        return kMouseEventHandled;
    }
    CMouseEventResult platformOnMouseExited(CPoint& where, const int32_t& buttons) override {
        mouse.push_back({'x', where, buttons});
        return kMouseEventHandled;
    }
    bool platformOnMouseWheel(const CPoint&, const CMouseWheelAxis& axis, const float& distance,
                              const int32_t&) override {
        wheel.push_back({axis, distance});
        return true;
    }
    int32_t platformOnKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override {
        keys.push_back({true, character, virtualKey, modifiers});
        return 1;
    }
    int32_t platformOnKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers) override {
        keys.push_back({false, character, virtualKey, modifiers});
        return 1;
    }
    void platformOnFocusChanged(bool hasFocus) override { focus.push_back(hasFocus); }
    void platformWindowGone() override { ++gone; }
    void platformOnDragEnter(CDragContainer* drag, const CPoint& where) override { recordDrag('e', drag, where); }
    void platformOnDragMove(CDragContainer* drag, const CPoint& where) override { recordDrag('m', drag, where); }
    void platformOnDragLeave(CDragContainer* drag, const CPoint& where) override { recordDrag('l', drag, where); }
    bool platformOnDrop(CDragContainer* drag, const CPoint& where) override {
        recordDrag('d', drag, where);
        return takeDrops;
    }
    void recordDrag(char kind, CDragContainer* drag, const CPoint& where) {
        DragCall call{kind, where, {}};
        CDragType type = kDragUnknown;
        for (int32_t i = 0; const char* item = drag->getItem(i, type); ++i) {
            if (type == kDragFile) call.files.emplace_back(item);
        }
        drags.push_back(call);
    }
    std::string dragKinds() const {
        std::string kinds;
        for (const DragCall& call : drags) kinds.push_back(call.kind);
        return kinds;
    }

    // The calls of one kind, in order.
    std::vector<MouseCall> calls(char kind) const {
        std::vector<MouseCall> found;
        for (const MouseCall& call : mouse) {
            if (call.kind == kind) found.push_back(call);
        }
        return found;
    }
};

// 0xRRGGBB of a colour, as a 24-bit true-colour window stores it.
inline unsigned long pixelOf(const CColor& c) {
    return (static_cast<unsigned long>(c.red) << 16) | (static_cast<unsigned long>(c.green) << 8) | c.blue;
}

// The pixel at (x, y) of a drawable, 0xRRGGBB; ~0 when it cannot be read.
inline unsigned long readPixel(Display* dpy, Drawable drawable, int x, int y) {
    XImage* image = XGetImage(dpy, drawable, x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image) return ~0ul;
    const unsigned long value = XGetPixel(image, 0, 0) & 0xffffff;
    XDestroyImage(image);
    return value;
}

// Calls `step` (an idle of the code under test) until `done` holds or the
// time runs out; true when it held.
inline bool pumpUntil(const std::function<void()>& step, const std::function<bool()>& done, int milliseconds = 2000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        step();
        if (done()) return true;
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// A connection of the test's own. The virtual server now and then refuses
// a connection made right after another closed; the layer retries the same
// way.
inline Display* openTestDisplay() {
    Display* dpy = nullptr;
    for (int attempt = 0; attempt < 5 && !dpy; ++attempt) {
        if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        dpy = XOpenDisplay(nullptr);
    }
    return dpy;
}

// A mapped parent window on the test's own connection, and a frame window
// opened inside it through the installed factory.
class X11FrameFixture : public ::testing::Test {
protected:
    Display* dpy = nullptr;
    Window parent = 0;
    RecordingFrame callback;
    std::unique_ptr<IPlatformFrame> platform;
    X11Frame* frame = nullptr;

    void SetUp() override {
        useX11Platform();
        dpy = openTestDisplay();
        ASSERT_NE(dpy, nullptr) << "no X display (run under xvfb-run)";
        int event = 0, error = 0, major = 0, minor = 0;
        ASSERT_TRUE(XTestQueryExtension(dpy, &event, &error, &major, &minor));
        parent = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 40, 40, 400, 300, 0, 0, 0);
        XMapWindow(dpy, parent);
        XSync(dpy, False);
        ASSERT_TRUE(pumpUntil([] {}, [this] { return viewable(parent); }));
    }

    void TearDown() override {
        platform.reset();
        if (dpy) {
            if (parent) XDestroyWindow(dpy, parent);
            XCloseDisplay(dpy);
        }
    }

    void open(const CRect& size = CRect(0, 0, 200, 150)) {
        PlatformFrameFactory factory = getPlatformFrameFactory();
        ASSERT_NE(factory, nullptr);
        platform.reset(factory(&callback, size, parent));
        frame = dynamic_cast<X11Frame*>(platform.get());
        ASSERT_NE(frame, nullptr);
        ASSERT_TRUE(pumpUntil(idler(), [this] { return viewable(window()) && !callback.drawn.empty(); }));
    }

    Window window() const { return static_cast<Window>(frame->nativeWindow()); }
    std::function<void()> idler() {
        return [this] {
            if (frame) frame->idle();
        };
    }
    bool pump(const std::function<bool()>& done, int milliseconds = 2000) {
        XSync(dpy, False);
        return pumpUntil(idler(), done, milliseconds);
    }
    // Asks without dying of the BadWindow that a destroyed window gives.
    bool exists(Window w) const {
        XSync(dpy, False);
        auto* previous = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
        XWindowAttributes attributes{};
        const bool found = XGetWindowAttributes(dpy, w, &attributes) != 0;
        XSetErrorHandler(previous);
        return found;
    }
    bool viewable(Window w) const {
        XWindowAttributes attributes{};
        return XGetWindowAttributes(dpy, w, &attributes) && attributes.map_state == IsViewable;
    }

    // ---- Fake input, in frame coordinates ----
    void moveTo(int x, int y) {
        int rootX = 0, rootY = 0;
        Window child = 0;
        XTranslateCoordinates(dpy, window(), DefaultRootWindow(dpy), x, y, &rootX, &rootY, &child);
        XTestFakeMotionEvent(dpy, DefaultScreen(dpy), rootX, rootY, CurrentTime);
        XSync(dpy, False);
    }
    void button(unsigned int number, bool press) {
        XTestFakeButtonEvent(dpy, number, press ? True : False, CurrentTime);
        XSync(dpy, False);
    }
    void click(unsigned int number) {
        button(number, true);
        button(number, false);
    }
    void key(KeySym symbol, bool press) {
        XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, symbol), press ? True : False, CurrentTime);
        XSync(dpy, False);
    }
};

}  // namespace fwx11
