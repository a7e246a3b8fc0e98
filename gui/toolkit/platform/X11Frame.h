#pragma once
// The native window of one frame on X11: a child of the host's window (or a
// top-level window of its own), painted from a back buffer and turning the
// window's events into calls of the frame (files dropped on it from other
// programs included, see X11DragDrop.h). Nothing here blocks: events are
// read in idle(), which the editor calls from the host's UI idle.
//
// At a scale above 1 the window is that many times the frame's size: the
// frame draws at its own size, the surface enlarges the pixels, and every
// position coming in is divided back (see X11Surface.h).

#include <X11/Xlib.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "gui/toolkit/platform/Platform.h"
#include "gui/toolkit/platform/X11Connection.h"
#include "gui/toolkit/platform/X11Surface.h"

namespace VSTGUI {

class X11DropTarget;

class X11Frame : public IPlatformFrame, public X11EventTarget {
public:
    // A window of `size` inside `parent` (0: top level), shown at once;
    // null when there is no server, no usable visual, or the parent does
    // not exist.
    static X11Frame* create(IPlatformFrameCallback* callback, const CRect& size, uintptr_t parent);
    ~X11Frame() override;

    // ---- IPlatformFrame ----
    void invalidRect(const CRect& rect) override;
    bool setSize(const CRect& size) override;
    CPoint getPositionOnScreen() override;
    bool getCurrentMousePosition(CPoint& where) override;
    int32_t getCurrentMouseButtons() override;
    void setMouseCursor(CCursorType type) override;
    void showCursor(bool visible) override;
    void setCursorPosition(const CPoint& where) override;
    void takeFocus() override;
    void idle() override;
    bool runPopup(IPopupClient* client) override;
    uint32_t doubleClickTime() override;
    uintptr_t nativeWindow() override { return window; }
    bool setScale(int32_t factor) override;
    int32_t getScale() const override { return surface.scale(); }

    // ---- X11EventTarget ----
    void handleEvent(const XEvent& event) override;
    void paintPending() override;

    // The window was destroyed by someone else (or the server went away).
    bool isGone() const { return gone; }
    bool usesSharedMemory() const { return surface.usesSharedMemory(); }
    Display* display() const { return connection->display(); }

private:
    // An area in whole pixels, [x0, x1) x [y0, y1).
    struct PixelArea {
        int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    };

    X11Frame(std::shared_ptr<X11Connection> connection, IPlatformFrameCallback* callback);
    bool makeWindow(const CRect& size, Window parent);
    void addDirty(PixelArea area);
    void markGone();
    void applyCursor();
    void setSizeHints(int width, int height);
    void endPointerGrab(Time time);
    // A point of the window (device pixels) in frame coordinates, and back.
    CPoint toFrame(int x, int y) const;
    int toWindow(CCoord coordinate) const;
    bool insideWindow(int x, int y) const;

    void onButton(const XButtonEvent& event, bool press);
    void onMotion(const XMotionEvent& event);
    void onCrossing(const XCrossingEvent& event, bool enter);
    void onKey(const XKeyEvent& event, bool press);
    void onFocus(const XFocusChangeEvent& event, bool in);
    void onConfigure(const XConfigureEvent& event);

    std::shared_ptr<X11Connection> connection;
    IPlatformFrameCallback* callback;
    X11Surface surface;
    Window window = 0;
    std::unique_ptr<X11DropTarget> dropTarget;  // files dropped from other programs
    GC gc = nullptr;
    bool topLevel = false;
    bool gone = false;
    std::vector<PixelArea> dirty;
    std::vector<PixelArea> painting;  // the areas of the paint under way

    CCursorType cursorType = kCursorDefault;
    bool cursorHidden = false;

    bool pointerGrabbed = false;
    bool pointerInside = false;
    bool focused = false;
    bool popupRunning = false;
    int32_t sideButtons = 0;  // buttons 8 and 9, which event states do not show
    struct {
        unsigned int button = 0;
        Time time = 0;
        int x = 0;
        int y = 0;
    } lastPress;

    // Expires with the object: code that calls out to the frame checks it
    // before touching members again.
    std::shared_ptr<int> lifeToken = std::make_shared<int>(0);
};

}  // namespace VSTGUI
