#include "gui/toolkit/platform/X11Frame.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "gui/toolkit/platform/X11DragDrop.h"
#include "gui/toolkit/platform/X11Input.h"
#include "gui/toolkit/platform/X11Popup.h"

namespace VSTGUI {

namespace {

constexpr long kWindowEvents = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask |
                               EnterWindowMask | LeaveWindowMask | KeyPressMask | KeyReleaseMask |
                               FocusChangeMask | StructureNotifyMask;
constexpr unsigned int kDragEvents =
    ButtonPressMask | ButtonReleaseMask | PointerMotionMask | EnterWindowMask | LeaveWindowMask;
// X publishes no double-click time of its own; this is what desktops
// commonly use.
constexpr uint32_t kDoubleClickMilliseconds = 400;
// How far the second press of a double click may be from the first.
constexpr int kDoubleClickSlop = 4;
// More separate dirty areas than this are merged into one.
constexpr size_t kMaxDirtyAreas = 8;
const char kWindowTitle[] = "Fenwoldrine";

int pixels(CCoord length) { return std::max(1, static_cast<int>(std::lround(length))); }

}  // namespace

X11Frame* X11Frame::create(IPlatformFrameCallback* callback, const CRect& size, uintptr_t parent) {
    if (!callback) return nullptr;
    std::shared_ptr<X11Connection> connection = X11Connection::acquire();
    if (!connection) return nullptr;
    std::unique_ptr<X11Frame> frame(new X11Frame(connection, callback));
    if (!frame->makeWindow(size, static_cast<Window>(parent))) return nullptr;
    return frame.release();
}

X11Frame::X11Frame(std::shared_ptr<X11Connection> c, IPlatformFrameCallback* cb)
    : connection(std::move(c)), callback(cb), surface(connection) {}

X11Frame::~X11Frame() {
    dropTarget.reset();  // answers a drop still waiting for its data
    const bool usable = !connection->isBroken();
    Display* dpy = connection->display();
    if (window) {
        connection->detach(window);
        if (usable) {
            if (pointerGrabbed) XUngrabPointer(dpy, CurrentTime);
            XDestroyWindow(dpy, window);  // a BadWindow here (host was quicker) is only recorded
        }
    }
    // Also on a dead connection: the GC's memory is on our side.
    if (gc) XFreeGC(dpy, gc);
    if (usable) XFlush(dpy);
}

bool X11Frame::makeWindow(const CRect& size, Window parent) {
    Display* dpy = connection->display();
    const int width = pixels(size.width());
    const int height = pixels(size.height());
    topLevel = parent == 0;

    XSetWindowAttributes attributes{};
    attributes.background_pixmap = None;  // we paint everything: no flash of a cleared window
    attributes.border_pixel = 0;
    attributes.colormap = connection->colormap();
    attributes.bit_gravity = NorthWestGravity;
    attributes.event_mask = kWindowEvents;
    {
        // A parent that does not exist (or cannot hold our visual) is an
        // error to report, not to die of.
        X11ErrorTrap trap(dpy);
        window = XCreateWindow(dpy, topLevel ? connection->root() : parent, 0, 0, static_cast<unsigned>(width),
                               static_cast<unsigned>(height), 0, connection->depth(), InputOutput,
                               connection->visual(), CWBackPixmap | CWBorderPixel | CWColormap | CWBitGravity | CWEventMask,
                               &attributes);
        if (trap.finish() != 0) {
            window = 0;
            return false;
        }
    }
    gc = XCreateGC(dpy, window, 0, nullptr);

    if (topLevel) {
        XStoreName(dpy, window, kWindowTitle);
        XChangeProperty(dpy, window, connection->atom(X11Atom::NetWmName), connection->atom(X11Atom::Utf8String), 8,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(kWindowTitle),
                        static_cast<int>(std::strlen(kWindowTitle)));
        XClassHint classHint;
        char name[] = "fenwoldrine";
        char className[] = "Fenwoldrine";
        classHint.res_name = name;
        classHint.res_class = className;
        XSetClassHint(dpy, window, &classHint);
        Atom deleteWindow = connection->atom(X11Atom::DeleteWindow);
        XSetWMProtocols(dpy, window, &deleteWindow, 1);
        setSizeHints(width, height);
    }

    surface.resize(width, height);
    addDirty({0, 0, width, height});
    connection->attach(window, this);
    dropTarget = std::make_unique<X11DropTarget>(connection, window, callback);
    applyCursor();
    XMapWindow(dpy, window);
    XFlush(dpy);
    return true;
}

void X11Frame::setSizeHints(int width, int height) {
    // The editor decides its size; the window manager should not offer to
    // drag it to another.
    XSizeHints* hints = XAllocSizeHints();
    if (!hints) return;
    hints->flags = PMinSize | PMaxSize;
    hints->min_width = hints->max_width = width;
    hints->min_height = hints->max_height = height;
    XSetWMNormalHints(connection->display(), window, hints);
    XFree(hints);
}

// ---- Painting ----

void X11Frame::addDirty(PixelArea area) {
    area.x0 = std::max(area.x0, 0);
    area.y0 = std::max(area.y0, 0);
    area.x1 = std::min(area.x1, surface.width());
    area.y1 = std::min(area.y1, surface.height());
    if (area.x1 <= area.x0 || area.y1 <= area.y0) return;
    // Overlapping or touching areas become one; so does everything once
    // there are too many.
    for (size_t i = 0; i < dirty.size();) {
        const PixelArea& other = dirty[i];
        if (area.x0 <= other.x1 && other.x0 <= area.x1 && area.y0 <= other.y1 && other.y0 <= area.y1) {
            area = {std::min(area.x0, other.x0), std::min(area.y0, other.y0), std::max(area.x1, other.x1),
                    std::max(area.y1, other.y1)};
            dirty.erase(dirty.begin() + static_cast<ptrdiff_t>(i));
            i = 0;
        } else {
            ++i;
        }
    }
    if (dirty.size() >= kMaxDirtyAreas) {
        for (const PixelArea& other : dirty) {
            area = {std::min(area.x0, other.x0), std::min(area.y0, other.y0), std::max(area.x1, other.x1),
                    std::max(area.y1, other.y1)};
        }
        dirty.clear();
    }
    dirty.push_back(area);
}

void X11Frame::invalidRect(const CRect& rect) {
    if (gone) return;
    addDirty({static_cast<int>(std::floor(rect.left)), static_cast<int>(std::floor(rect.top)),
              static_cast<int>(std::ceil(rect.right)), static_cast<int>(std::ceil(rect.bottom))});
}

void X11Frame::paintPending() {
    if (gone || dirty.empty() || connection->isBroken()) return;
    std::weak_ptr<int> alive = lifeToken;
    // The areas move to a list kept between paints, so a repaint allocates
    // nothing; areas marked during the paint go to the emptied dirty list.
    painting.clear();
    painting.swap(dirty);
    const std::vector<PixelArea>& areas = painting;
    surface.beginDrawing();
    for (const PixelArea& area : areas) {
        const CRect rect(static_cast<CCoord>(area.x0), static_cast<CCoord>(area.y0), static_cast<CCoord>(area.x1),
                         static_cast<CCoord>(area.y1));
        {
            CLocalDrawContext context(surface.dib());
            context.setClipRect(rect);
            callback->platformDrawRect(&context, rect);
        }
        if (alive.expired() || gone) return;
    }
    for (const PixelArea& area : areas) {
        surface.put(window, gc, area.x0, area.y0, area.x1 - area.x0, area.y1 - area.y0);
    }
    XFlush(connection->display());
}

// ---- Events ----

void X11Frame::idle() {
    if (gone) return;
    std::weak_ptr<int> alive = lifeToken;
    std::shared_ptr<X11Connection> keep = connection;
    connection->dispatchPending();
    if (alive.expired() || gone) return;
    if (connection->isBroken() || connection->takeWindowFailure(window)) {
        markGone();
        return;
    }
    dropTarget->idle();
    if (alive.expired() || gone) return;
    paintPending();
}

void X11Frame::markGone() {
    if (gone) return;
    gone = true;
    dropTarget.reset();
    connection->detach(window);
    window = 0;
    pointerGrabbed = false;
    dirty.clear();
    callback->platformWindowGone();
}

void X11Frame::handleEvent(const XEvent& event) {
    if (gone) return;
    switch (event.type) {
        case Expose: {
            const XExposeEvent& e = event.xexpose;
            const int scale = surface.scale();
            addDirty({e.x / scale, e.y / scale, (e.x + e.width + scale - 1) / scale,
                      (e.y + e.height + scale - 1) / scale});
            break;
        }
        case ConfigureNotify:
            if (event.xconfigure.window == window) onConfigure(event.xconfigure);
            break;
        case DestroyNotify:
            // The host destroyed our window (usually with its parent).
            if (event.xdestroywindow.window == window) markGone();
            break;
        case SelectionNotify:
            if (dropTarget) dropTarget->handleSelectionNotify(event.xselection);
            break;
        case ClientMessage:
            if (dropTarget && dropTarget->handleClientMessage(event.xclient)) break;
            if (topLevel && event.xclient.message_type == connection->atom(X11Atom::Protocols) &&
                static_cast<Atom>(event.xclient.data.l[0]) == connection->atom(X11Atom::DeleteWindow)) {
                XDestroyWindow(connection->display(), window);
                XFlush(connection->display());
                markGone();
            }
            break;
        case ButtonPress: onButton(event.xbutton, true); break;
        case ButtonRelease: onButton(event.xbutton, false); break;
        case MotionNotify: onMotion(event.xmotion); break;
        case EnterNotify: onCrossing(event.xcrossing, true); break;
        case LeaveNotify: onCrossing(event.xcrossing, false); break;
        case KeyPress: onKey(event.xkey, true); break;
        case KeyRelease: onKey(event.xkey, false); break;
        case FocusIn: onFocus(event.xfocus, true); break;
        case FocusOut: onFocus(event.xfocus, false); break;
        default: break;
    }
}

void X11Frame::onConfigure(const XConfigureEvent& e) {
    // Someone else (the host, a window manager) resized us: follow. A size
    // that is not a multiple of the scale is covered by one more pixel.
    const int scale = surface.scale();
    const int width = (e.width + scale - 1) / scale, height = (e.height + scale - 1) / scale;
    if (width == surface.width() && height == surface.height()) return;
    surface.resize(width, height, scale);
    dirty.clear();
    addDirty({0, 0, surface.width(), surface.height()});
}

CPoint X11Frame::toFrame(int x, int y) const {
    const CCoord scale = static_cast<CCoord>(surface.scale());
    return CPoint(std::floor(static_cast<CCoord>(x) / scale), std::floor(static_cast<CCoord>(y) / scale));
}

int X11Frame::toWindow(CCoord coordinate) const {
    // The middle of the frame pixel's square.
    const int scale = surface.scale();
    if (scale == 1) return static_cast<int>(std::lround(coordinate));
    return static_cast<int>(std::floor(coordinate)) * scale + scale / 2;
}

bool X11Frame::insideWindow(int x, int y) const {
    const int scale = surface.scale();
    return x >= 0 && y >= 0 && x < surface.width() * scale && y < surface.height() * scale;
}

void X11Frame::onButton(const XButtonEvent& e, bool press) {
    CPoint where = toFrame(e.x, e.y);
    const int32_t modifiers = modifierBits(e.state);
    if (e.button >= 4 && e.button <= 7) {
        // Wheel notches arrive as press/release pairs; the press is the notch.
        if (!press) return;
        const CMouseWheelAxis axis = e.button <= 5 ? kMouseWheelAxisY : kMouseWheelAxisX;
        const float distance = (e.button == 4 || e.button == 6) ? 1.0f : -1.0f;
        callback->platformOnMouseWheel(where, axis, distance, heldButtonBits(e.state) | sideButtons | modifiers);
        return;
    }
    const int32_t bit = buttonBit(e.button);
    if (!bit) return;
    std::weak_ptr<int> alive = lifeToken;
    Display* dpy = connection->display();

    if (press) {
        int32_t buttons = bit | modifiers;
        const bool repeat = e.button == lastPress.button && e.time - lastPress.time <= kDoubleClickMilliseconds &&
                            std::abs(e.x - lastPress.x) <= kDoubleClickSlop &&
                            std::abs(e.y - lastPress.y) <= kDoubleClickSlop;
        if (repeat) {
            buttons |= kDoubleClick;
            lastPress.button = 0;  // a third press starts a new pair
        } else {
            lastPress.button = e.button;
            lastPress.time = e.time;
            lastPress.x = e.x;
            lastPress.y = e.y;
        }
        if (bit & (kButton4 | kButton5)) sideButtons |= bit;
        const CMouseEventResult result = callback->platformOnMouseDown(where, buttons);
        if (alive.expired() || gone) return;
        // A press the frame keeps following: its moves and release reach us
        // wherever the pointer goes until the last button is up.
        if (result == kMouseEventHandled && !pointerGrabbed && !connection->isBroken()) {
            pointerGrabbed = XGrabPointer(dpy, window, False, kDragEvents, GrabModeAsync, GrabModeAsync, None, None,
                                          e.time) == GrabSuccess;
        }
        return;
    }

    if (bit & (kButton4 | kButton5)) sideButtons &= ~bit;
    callback->platformOnMouseUp(where, bit | modifiers);
    if (alive.expired() || gone) return;
    const bool stillHeld = ((heldButtonBits(e.state) & ~bit) | sideButtons) != 0;
    if (stillHeld) return;
    endPointerGrab(e.time);
    // The pointer left during the drag: the exit was held back until now.
    if (!insideWindow(e.x, e.y) && pointerInside) {
        pointerInside = false;
        callback->platformOnMouseExited(where, modifiers);
    }
}

void X11Frame::endPointerGrab(Time time) {
    if (!pointerGrabbed) return;
    pointerGrabbed = false;
    if (!connection->isBroken()) XUngrabPointer(connection->display(), time);
}

void X11Frame::onMotion(const XMotionEvent& e) {
    CPoint where = toFrame(e.x, e.y);
    if (insideWindow(e.x, e.y)) pointerInside = true;
    callback->platformOnMouseMoved(where, heldButtonBits(e.state) | sideButtons | modifierBits(e.state));
}

void X11Frame::onCrossing(const XCrossingEvent& e, bool enter) {
    if (e.detail == NotifyInferior) return;
    CPoint where = toFrame(e.x, e.y);
    if (enter) {
        // Entering is seen as a move, so hovering starts at once.
        if (e.mode == NotifyGrab) return;
        pointerInside = true;
        callback->platformOnMouseMoved(where, heldButtonBits(e.state) | sideButtons | modifierBits(e.state));
        return;
    }
    // While buttons are held the drag goes on; the release sends the exit.
    if ((heldButtonBits(e.state) | sideButtons) != 0 || !pointerInside) return;
    pointerInside = false;
    callback->platformOnMouseExited(where, modifierBits(e.state));
}

void X11Frame::onKey(const XKeyEvent& e, bool press) {
    XKeyEvent key = e;
    char text[16];
    KeySym keySym = NoSymbol;
    XLookupString(&key, text, sizeof(text), &keySym, nullptr);
    const X11Key translated = translateKeySym(keySym);
    if (!translated.character && !translated.virtualKey) return;  // a modifier alone, or unknown
    const int32_t modifiers = modifierBits(e.state);
    if (press) {
        callback->platformOnKeyDown(translated.character, translated.virtualKey, modifiers);
    } else {
        callback->platformOnKeyUp(translated.character, translated.virtualKey, modifiers);
    }
}

void X11Frame::onFocus(const XFocusChangeEvent& e, bool in) {
    // Grabs (ours for popups, or other clients' for their menus) move the
    // keyboard only for a moment; the focus proper stays.
    if (e.detail == NotifyPointer || e.detail == NotifyInferior) return;
    if (e.mode == NotifyGrab || e.mode == NotifyUngrab) return;
    if (in == focused) return;
    focused = in;
    callback->platformOnFocusChanged(in);
}

// ---- Size, position, pointer ----

bool X11Frame::setSize(const CRect& size) {
    if (gone || connection->isBroken()) return false;
    const int width = pixels(size.width());
    const int height = pixels(size.height());
    const int scale = surface.scale();
    XResizeWindow(connection->display(), window, static_cast<unsigned>(width * scale),
                  static_cast<unsigned>(height * scale));
    if (topLevel) setSizeHints(width * scale, height * scale);
    if (width != surface.width() || height != surface.height()) {
        surface.resize(width, height, scale);
        dirty.clear();
    }
    addDirty({0, 0, width, height});
    XFlush(connection->display());
    return true;
}

bool X11Frame::setScale(int32_t factor) {
    if (factor < 1 || factor > kMaxPlatformScale) return false;
    if (factor == surface.scale()) return true;
    if (gone || connection->isBroken()) return false;
    const int width = surface.width(), height = surface.height();
    surface.resize(width, height, factor);
    dropTarget->setScale(factor);
    XResizeWindow(connection->display(), window, static_cast<unsigned>(width * factor),
                  static_cast<unsigned>(height * factor));
    if (topLevel) setSizeHints(width * factor, height * factor);
    dirty.clear();
    addDirty({0, 0, width, height});
    XFlush(connection->display());
    return true;
}

CPoint X11Frame::getPositionOnScreen() {
    if (gone || connection->isBroken()) return CPoint();
    int x = 0, y = 0;
    Window child = 0;
    XTranslateCoordinates(connection->display(), window, connection->root(), 0, 0, &x, &y, &child);
    // Screen positions are divided by the scale like the frame's, so that
    // a popup placed from them lands where the frame shows the point.
    const CCoord scale = static_cast<CCoord>(surface.scale());
    return CPoint(static_cast<CCoord>(x) / scale, static_cast<CCoord>(y) / scale);
}

bool X11Frame::getCurrentMousePosition(CPoint& where) {
    if (gone || connection->isBroken()) return false;
    Window rootReturn = 0, child = 0;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned int mask = 0;
    if (!XQueryPointer(connection->display(), window, &rootReturn, &child, &rootX, &rootY, &x, &y, &mask)) {
        return false;  // the pointer is on another screen
    }
    where = toFrame(x, y);
    return true;
}

int32_t X11Frame::getCurrentMouseButtons() {
    if (gone || connection->isBroken()) return 0;
    Window rootReturn = 0, child = 0;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned int mask = 0;
    XQueryPointer(connection->display(), window, &rootReturn, &child, &rootX, &rootY, &x, &y, &mask);
    return heldButtonBits(mask) | sideButtons | modifierBits(mask);
}

void X11Frame::applyCursor() {
    if (gone || connection->isBroken()) return;
    const Cursor cursor = cursorHidden ? connection->invisibleCursor() : connection->cursor(cursorType);
    XDefineCursor(connection->display(), window, cursor);
    XFlush(connection->display());
}

void X11Frame::setMouseCursor(CCursorType type) {
    if (type == cursorType) return;
    cursorType = type;
    if (!cursorHidden) applyCursor();
}

void X11Frame::showCursor(bool visible) {
    if (cursorHidden == !visible) return;
    cursorHidden = !visible;
    applyCursor();
}

void X11Frame::setCursorPosition(const CPoint& where) {
    if (gone || connection->isBroken()) return;
    XWarpPointer(connection->display(), None, window, 0, 0, 0, 0, toWindow(where.x), toWindow(where.y));
    XFlush(connection->display());
}

void X11Frame::takeFocus() {
    if (gone || connection->isBroken()) return;
    // Fails (BadMatch) while the window is not viewable yet; that is fine.
    X11ErrorTrap trap(connection->display());
    XSetInputFocus(connection->display(), window, RevertToParent, CurrentTime);
    trap.finish();
}

uint32_t X11Frame::doubleClickTime() { return kDoubleClickMilliseconds; }

// ---- Popups ----

bool X11Frame::runPopup(IPopupClient* client) {
    if (!client || gone || popupRunning || connection->isBroken()) return false;
    std::weak_ptr<int> alive = lifeToken;
    popupRunning = true;
    bool shown = false;
    {
        X11PopupSession session(connection, window, client, surface.scale());
        shown = session.run([this, alive] { return !alive.expired() && !gone; });
    }
    if (alive.expired()) return false;
    popupRunning = false;
    // The popup took the pointer: whatever press began before is over.
    pointerGrabbed = false;
    sideButtons = 0;
    lastPress.button = 0;
    return shown;
}

}  // namespace VSTGUI
