#pragma once
// What the toolkit needs of a window system. A frame asks for one native
// window through the installed factory; with no factory installed (tests,
// the renderer) a frame is headless and is drawn with CFrame::drawInto.
//
// Coordinates: frame calls take frame coordinates (the window's own);
// popups work in screen coordinates. All calls run on the UI thread.

#include <cstdint>

#include "gui/toolkit/CDragContainer.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CView.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

enum CCursorType : int32_t {
    kCursorDefault = 0, kCursorWait, kCursorHSize, kCursorVSize, kCursorSizeAll,
    kCursorNESWSize, kCursorNWSESize, kCursorCopy, kCursorNotAllowed, kCursorHand,
};

// The frame side of a native window: the platform calls it with input and
// paint requests. Points are in frame coordinates.
class IPlatformFrameCallback {
public:
    virtual ~IPlatformFrameCallback() = default;
    // Paints `rect` into `context`, a context over the window's back buffer.
    virtual void platformDrawRect(CDrawContext* context, const CRect& rect) = 0;
    virtual CMouseEventResult platformOnMouseDown(CPoint& where, const int32_t& buttons) = 0;
    virtual CMouseEventResult platformOnMouseUp(CPoint& where, const int32_t& buttons) = 0;
    virtual CMouseEventResult platformOnMouseMoved(CPoint& where, const int32_t& buttons) = 0;
    virtual CMouseEventResult platformOnMouseExited(CPoint& where, const int32_t& buttons) = 0;
    virtual bool platformOnMouseWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                                      const int32_t& buttons) = 0;
    virtual int32_t platformOnKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) = 0;
    virtual int32_t platformOnKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers) = 0;
    virtual void platformOnFocusChanged(bool hasFocus) = 0;
    // Something is dragged over the window, moves, leaves, or is dropped.
    // A drop answers whether a view took it.
    virtual void platformOnDragEnter(CDragContainer* drag, const CPoint& where) { (void)drag; (void)where; }
    virtual void platformOnDragMove(CDragContainer* drag, const CPoint& where) { (void)drag; (void)where; }
    virtual void platformOnDragLeave(CDragContainer* drag, const CPoint& where) { (void)drag; (void)where; }
    virtual bool platformOnDrop(CDragContainer* drag, const CPoint& where) {
        (void)drag;
        (void)where;
        return false;
    }
    // The native window was destroyed by someone else (the host closed it).
    virtual void platformWindowGone() = 0;
};

// A modal popup drawn by the toolkit: menus (one window per open level) and
// the inline text entry, the file dialog. The platform shows `popupWindowCount` windows at
// the given screen rectangles, above everything and without decoration,
// sends them the input, and returns from runPopup once `popupDone`.
enum class PopupMouse : int32_t { Down, Up, Moved };
class IPopupClient {
public:
    virtual ~IPopupClient() = default;
    virtual int32_t popupWindowCount() const = 0;
    virtual CRect popupWindowRect(int32_t index) const = 0;
    // Draws window `index` into a context of its size (origin at its top-left).
    virtual void drawPopupWindow(int32_t index, CDrawContext* context) = 0;
    // Input in screen coordinates; a press outside every window counts too.
    virtual void popupMouse(PopupMouse kind, const CPoint& screenPoint, int32_t buttons) = 0;
    virtual void popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) = 0;
    // The vertical wheel: one notch is 1, up or away from the person positive.
    virtual void popupWheel(const CPoint& screenPoint, float distance, int32_t buttons) {
        (void)screenPoint, (void)distance, (void)buttons;
    }
    // Before the windows are shown: the screen area they must stay inside.
    // A client whose windows would cross its edges moves them.
    virtual void popupScreen(const CRect& area) { (void)area; }
    // The popup lost the input focus to another window.
    virtual void popupFocusLost() = 0;
    virtual bool popupDone() const = 0;
};

// One native window of a frame.
class IPlatformFrame {
public:
    virtual ~IPlatformFrame() = default;
    // Marks a rectangle for repainting at the next idle or expose.
    virtual void invalidRect(const CRect& rect) = 0;
    virtual bool setSize(const CRect& size) = 0;
    // The frame's top-left on the screen.
    virtual CPoint getPositionOnScreen() = 0;
    virtual bool getCurrentMousePosition(CPoint& where) = 0;
    virtual int32_t getCurrentMouseButtons() = 0;
    virtual void setMouseCursor(CCursorType type) = 0;
    virtual void showCursor(bool visible) = 0;
    // Moves the pointer to a point in frame coordinates.
    virtual void setCursorPosition(const CPoint& where) = 0;
    virtual void takeFocus() = 0;
    // Handles pending window-system events and repaints what is invalid.
    virtual void idle() = 0;
    // Runs a popup until it is done; false when it could not be shown.
    virtual bool runPopup(IPopupClient* client) = 0;
    // The double-click time of the system in milliseconds, 0 when unknown.
    virtual uint32_t doubleClickTime() = 0;
    // The native window (an X11 Window id for the X11 layer).
    virtual uintptr_t nativeWindow() = 0;
    // Shows the frame enlarged by a whole factor (1 to kMaxPlatformScale)
    // for a dense screen: the window grows by it, the frame keeps drawing
    // and receiving input at its own size. False when the window cannot.
    virtual bool setScale(int32_t factor) { return factor == 1; }
    virtual int32_t getScale() const { return 1; }
};

constexpr int32_t kMaxPlatformScale = 4;

// Makes the native window of a frame inside `parent` (0: a top-level
// window). Null when the window system cannot be reached.
using PlatformFrameFactory = IPlatformFrame* (*)(IPlatformFrameCallback* frame, const CRect& size, uintptr_t parent);
void setPlatformFrameFactory(PlatformFrameFactory factory);
PlatformFrameFactory getPlatformFrameFactory();

}  // namespace VSTGUI
