#include "gui/toolkit/platform/X11Popup.h"

#include <X11/Xatom.h>

#include <cmath>
#include <thread>

#include "gui/toolkit/platform/X11Input.h"

namespace VSTGUI {

namespace {

constexpr long kPopupEvents = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | KeyPressMask |
                              KeyReleaseMask | StructureNotifyMask;
constexpr unsigned int kGrabbedPointerEvents =
    ButtonPressMask | ButtonReleaseMask | PointerMotionMask | EnterWindowMask | LeaveWindowMask;
// How long to keep asking for the grabs (the owner may be mid-press, or a
// popup window not mapped yet) before running without them.
constexpr int kGrabAttempts = 30;
constexpr int kGrabRetryMilliseconds = 10;
// The longest wait for the server in one turn of the loop.
constexpr int kPollMilliseconds = 15;

// The size a popup window is drawn at, in the client's pixels.
int drawnLength(CCoord length) { return std::max(1, static_cast<int>(std::lround(length))); }

}  // namespace

X11PopupSession::X11PopupSession(std::shared_ptr<X11Connection> c, Window ownerWindow, IPopupClient* popupClient,
                                 int scaleFactor)
    : connection(std::move(c)), owner(ownerWindow), client(popupClient), scale(std::max(scaleFactor, 1)) {}

X11PopupSession::PixelRect X11PopupSession::windowRect(const CRect& r) const {
    const int x = static_cast<int>(std::floor(r.left * scale));
    const int y = static_cast<int>(std::floor(r.top * scale));
    return {x, y, drawnLength(r.width()) * scale, drawnLength(r.height()) * scale};
}

CPoint X11PopupSession::clientPoint(int rootX, int rootY) const {
    return CPoint(static_cast<CCoord>(rootX) / scale, static_cast<CCoord>(rootY) / scale);
}

X11PopupSession::~X11PopupSession() {
    releaseInput();
    for (Level& level : levels) closeLevel(level);
    levels.clear();
    connection->setModal(nullptr, 0);
    if (!connection->isBroken()) XFlush(connection->display());
}

bool X11PopupSession::run(const std::function<bool()>& ownerUsable) {
    if (connection->isBroken()) return false;
    Display* dpy = connection->display();
    connection->setModal(this, owner);
    client->popupScreen(CRect(0, 0, static_cast<CCoord>(DisplayWidth(dpy, DefaultScreen(dpy)) / scale),
                              static_cast<CCoord>(DisplayHeight(dpy, DefaultScreen(dpy)) / scale)));
    syncWindows();
    drawAll();
    XFlush(dpy);
    grabInput();

    bool ended = true;
    while (!client->popupDone()) {
        if (connection->isBroken()) {
            ended = false;
            break;
        }
        if (!ownerUsable()) {
            lostFocus();
            ended = false;
            break;
        }
        connection->waitForEvents(kPollMilliseconds);
        connection->dispatchPending();
        if (client->popupDone()) break;
        syncWindows();
        // Our windows, and any frame the popup uncovered or that changed.
        connection->paintAll();
        if (!connection->isBroken()) XFlush(dpy);
    }
    releaseInput();
    for (Level& level : levels) closeLevel(level);
    levels.clear();
    connection->setModal(nullptr, 0);
    if (connection->isBroken()) return false;
    XFlush(dpy);
    return ended;
}

void X11PopupSession::syncWindows() {
    if (connection->isBroken()) return;
    const int32_t count = std::max<int32_t>(client->popupWindowCount(), 0);
    while (static_cast<int32_t>(levels.size()) > count) {
        closeLevel(levels.back());
        levels.pop_back();
    }
    for (int32_t i = 0; i < count; ++i) {
        const CRect rect = client->popupWindowRect(i);
        if (i == static_cast<int32_t>(levels.size())) {
            levels.emplace_back();
            openLevel(levels.back(), rect);
            redraw = true;
            continue;
        }
        Level& level = levels[static_cast<size_t>(i)];
        if (level.rect == rect || !level.window) continue;
        const PixelRect p = windowRect(rect);
        XMoveResizeWindow(connection->display(), level.window, p.x, p.y, static_cast<unsigned>(p.width),
                          static_cast<unsigned>(p.height));
        const int width = drawnLength(rect.width()), height = drawnLength(rect.height());
        if (width != level.surface->width() || height != level.surface->height()) {
            level.surface->resize(width, height, scale);
        }
        level.rect = rect;
        redraw = true;
    }
}

void X11PopupSession::openLevel(Level& level, const CRect& rect) {
    Display* dpy = connection->display();
    const PixelRect p = windowRect(rect);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.save_under = True;
    attributes.background_pixmap = None;
    attributes.border_pixel = 0;
    attributes.colormap = connection->colormap();
    attributes.event_mask = kPopupEvents;
    level.window = XCreateWindow(dpy, connection->root(), p.x, p.y, static_cast<unsigned>(p.width),
                                 static_cast<unsigned>(p.height), 0, connection->depth(), InputOutput,
                                 connection->visual(),
                                 CWOverrideRedirect | CWSaveUnder | CWBackPixmap | CWBorderPixel | CWColormap |
                                     CWEventMask,
                                 &attributes);
    // Compositors treat the window as a menu (no shadow of a dialog, no
    // fade of a normal window).
    const Atom type = connection->atom(X11Atom::WindowTypePopupMenu);
    XChangeProperty(dpy, level.window, connection->atom(X11Atom::WindowType), XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&type), 1);
    level.gc = XCreateGC(dpy, level.window, 0, nullptr);
    level.rect = rect;
    level.surface = std::make_unique<X11Surface>(connection);
    level.surface->resize(drawnLength(rect.width()), drawnLength(rect.height()), scale);
    connection->attach(level.window, this);
    XMapRaised(dpy, level.window);
}

void X11PopupSession::closeLevel(Level& level) {
    level.surface.reset();
    const bool usable = !connection->isBroken();
    if (level.window) {
        connection->detach(level.window);
        if (usable) XDestroyWindow(connection->display(), level.window);
    }
    if (level.gc) XFreeGC(connection->display(), level.gc);  // client memory, even on a dead connection
    level.window = 0;
    level.gc = nullptr;
}

void X11PopupSession::drawAll() {
    redraw = false;
    if (connection->isBroken()) return;
    for (size_t i = 0; i < levels.size(); ++i) {
        Level& level = levels[i];
        if (!level.window) continue;
        level.surface->beginDrawing();
        auto* context = new CDrawContext(level.surface->dib());
        client->drawPopupWindow(static_cast<int32_t>(i), context);
        context->forget();
        level.surface->put(level.window, level.gc, 0, 0, level.surface->width(), level.surface->height());
    }
}

void X11PopupSession::paintPending() {
    if (redraw) drawAll();
}

void X11PopupSession::grabInput() {
    Display* dpy = connection->display();
    // The owner's window lives as long as the popup, whatever levels come
    // and go; a popup window serves when the owner is not on screen.
    XWindowAttributes attributes{};
    const bool ownerViewable = XGetWindowAttributes(dpy, owner, &attributes) && attributes.map_state == IsViewable;
    grabWindow = ownerViewable || levels.empty() ? owner : levels.front().window;
    for (int attempt = 0; attempt < kGrabAttempts && !connection->isBroken(); ++attempt) {
        if (!pointerGrabbed) {
            pointerGrabbed = XGrabPointer(dpy, grabWindow, False, kGrabbedPointerEvents, GrabModeAsync, GrabModeAsync,
                                          None, connection->cursor(kCursorDefault), CurrentTime) == GrabSuccess;
        }
        if (!keyboardGrabbed) {
            keyboardGrabbed = XGrabKeyboard(dpy, grabWindow, False, GrabModeAsync, GrabModeAsync, CurrentTime) ==
                              GrabSuccess;
        }
        if (pointerGrabbed && keyboardGrabbed) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(kGrabRetryMilliseconds));
        connection->dispatchPending();
        paintPending();
    }
    // Without the grabs the popup still works for input inside its windows.
}

void X11PopupSession::releaseInput() {
    if (connection->isBroken()) return;
    if (pointerGrabbed) XUngrabPointer(connection->display(), CurrentTime);
    if (keyboardGrabbed) XUngrabKeyboard(connection->display(), CurrentTime);
    pointerGrabbed = keyboardGrabbed = false;
}

void X11PopupSession::lostFocus() {
    if (focusLostSent) return;
    focusLostSent = true;
    client->popupFocusLost();
}

void X11PopupSession::handleEvent(const XEvent& event) {
    switch (event.type) {
        case Expose:
            redraw = true;
            return;
        case DestroyNotify:
            // A level destroyed by someone else: forget the id.
            for (Level& level : levels) {
                if (level.window == event.xdestroywindow.window) {
                    connection->detach(level.window);
                    level.window = 0;
                }
            }
            return;
        default:
            break;
    }
    if (client->popupDone()) return;

    switch (event.type) {
        case ButtonPress:
        case ButtonRelease: {
            const XButtonEvent& e = event.xbutton;
            const int32_t bit = buttonBit(e.button);
            const bool press = event.type == ButtonPress;
            if ((e.button == 4 || e.button == 5) && press) {
                client->popupWheel(clientPoint(e.x_root, e.y_root),
                                   e.button == 4 ? 1.0f : -1.0f, modifierBits(e.state));
                redraw = true;
                return;
            }
            if (!bit) return;  // the horizontal wheel and its release
            if (bit & (kButton4 | kButton5)) sideButtons = press ? (sideButtons | bit) : (sideButtons & ~bit);
            client->popupMouse(press ? PopupMouse::Down : PopupMouse::Up, clientPoint(e.x_root, e.y_root),
                               bit | modifierBits(e.state));
            redraw = true;
            return;
        }
        case MotionNotify: {
            const XMotionEvent& e = event.xmotion;
            client->popupMouse(PopupMouse::Moved, clientPoint(e.x_root, e.y_root),
                               heldButtonBits(e.state) | sideButtons | modifierBits(e.state));
            redraw = true;
            return;
        }
        case KeyPress: {
            XKeyEvent key = event.xkey;
            char text[16];
            KeySym keySym = NoSymbol;
            XLookupString(&key, text, sizeof(text), &keySym, nullptr);
            const X11Key translated = translateKeySym(keySym);
            if (!translated.character && !translated.virtualKey) return;  // a modifier alone
            client->popupKey(translated.character, translated.virtualKey, modifierBits(key.state));
            redraw = true;
            return;
        }
        case FocusOut: {
            const XFocusChangeEvent& f = event.xfocus;
            if (f.detail == NotifyPointer || f.detail == NotifyInferior) return;
            // With the keyboard ours, only a broken grab or someone moving the
            // focus despite it counts; without, any ordinary loss or another
            // client's grab does.
            const bool lost = keyboardGrabbed ? (f.mode == NotifyUngrab || f.mode == NotifyWhileGrabbed)
                                              : (f.mode == NotifyNormal || f.mode == NotifyGrab);
            if (lost) lostFocus();
            return;
        }
        case LeaveNotify:
            // Our pointer grab ended without us (the grab window went away).
            if (pointerGrabbed && event.xcrossing.window == grabWindow && event.xcrossing.mode == NotifyUngrab) {
                pointerGrabbed = false;
                lostFocus();
            }
            return;
        default:
            return;
    }
}

}  // namespace VSTGUI
