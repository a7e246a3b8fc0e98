#pragma once
// The process's one connection to the X server, shared by every frame and
// popup window. It is opened when the first window needs it and closed
// when the last user lets go. Besides the Display it keeps what all windows
// share: the visual and pixel layout, atoms, cursors, the error recording,
// and the table that routes each event to the object owning its window.

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdint>
#include <map>
#include <memory>

#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

// An object that owns one or more windows of the connection.
class X11EventTarget {
public:
    virtual ~X11EventTarget() = default;
    virtual void handleEvent(const XEvent& event) = 0;
    // Repaints whatever became invalid since the last call.
    virtual void paintPending() = 0;
};

// How a BGRA pixel buffer reaches the chosen visual.
struct X11PixelFormat {
    // The bytes can be sent as they are: 32 bits a pixel, red 0xff0000,
    // green 0xff00, blue 0xff, read little-endian.
    bool direct = false;
    unsigned long redMask = 0;
    unsigned long greenMask = 0;
    unsigned long blueMask = 0;
    int bitsPerPixel = 0;
};

enum class X11Atom : int {
    Protocols = 0, DeleteWindow, NetWmName, Utf8String, WindowType, WindowTypePopupMenu,
    // Drops from other programs: the messages, the selection, the offered
    // type and action we take, and the property our data request fills.
    XdndAware, XdndEnter, XdndPosition, XdndStatus, XdndLeave, XdndDrop, XdndFinished, XdndSelection,
    XdndTypeList, XdndActionCopy, TextUriList, DropData,
    Count
};

class X11Connection : public std::enable_shared_from_this<X11Connection> {
public:
    // The shared connection, opened on first use; null when there is no
    // reachable server or no visual we can draw to.
    static std::shared_ptr<X11Connection> acquire();
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    Display* display() const { return dpy; }
    int screen() const { return screenNumber; }
    Window root() const { return rootWindow; }
    Visual* visual() const { return chosenVisual; }
    int depth() const { return chosenDepth; }
    Colormap colormap() const { return chosenColormap; }
    const X11PixelFormat& pixelFormat() const { return format; }
    Atom atom(X11Atom which) const { return atoms[static_cast<int>(which)]; }

    // Shared-memory blits: allowed when the extension is there, the server
    // runs on this machine and FW_X11_NO_SHM was not set at opening.
    bool sharedMemoryAllowed() const { return shmAllowed; }
    // Called after a segment could not be attached: later buffers use
    // plain image transfers.
    void sharedMemoryFailed() { shmAllowed = false; }

    // The connection broke (server gone); nothing works from then on.
    bool isBroken() const { return broken; }

    // Cursors, made once and kept until the connection closes.
    Cursor cursor(CCursorType type);
    Cursor invisibleCursor();

    // Routing of events by window.
    void attach(Window window, X11EventTarget* target);
    void detach(Window window);
    X11EventTarget* targetOf(Window window) const;
    // While a popup runs, every input event for `owner` or for a window of
    // `popup` goes to `popup`; input for other windows is dropped.
    void setModal(X11EventTarget* popup, Window owner);

    // Reads every event already queued or waiting on the socket and hands
    // each to its window's owner. Never blocks.
    void dispatchPending();
    // Asks every window owner to repaint what is invalid.
    void paintAll();
    // Waits up to `milliseconds` for the server to send something.
    void waitForEvents(int milliseconds);

    // True once when a request on `window` failed with BadWindow or
    // BadDrawable (the window was destroyed behind our back).
    bool takeWindowFailure(Window window);
    // The code of the last error the server reported on our connection.
    static int lastErrorCode();

private:
    explicit X11Connection(Display* display);
    bool chooseVisual();
    static void onConnectionLost(Display* display, void* self);

    Display* dpy = nullptr;
    int screenNumber = 0;
    Window rootWindow = 0;
    Visual* chosenVisual = nullptr;
    int chosenDepth = 0;
    Colormap chosenColormap = 0;
    bool ownColormap = false;
    X11PixelFormat format;
    Atom atoms[static_cast<int>(X11Atom::Count)] = {};
    bool shmAllowed = false;
    bool broken = false;
    std::map<int32_t, Cursor> cursors;
    Cursor hiddenCursor = 0;
    std::map<Window, X11EventTarget*> targets;
    X11EventTarget* modalTarget = nullptr;
    Window modalOwner = 0;
};

// Catches the errors of the requests made while it lives, instead of
// letting them reach whichever handler the process has. Construction and
// `finish` each wait for the server (XSync), so keep it to rare calls.
class X11ErrorTrap {
public:
    explicit X11ErrorTrap(Display* display);
    ~X11ErrorTrap();
    X11ErrorTrap(const X11ErrorTrap&) = delete;
    X11ErrorTrap& operator=(const X11ErrorTrap&) = delete;
    // The first error code caught (0: none). Ends the trap.
    int finish();

private:
    Display* dpy;
    int (*previous)(Display*, XErrorEvent*) = nullptr;
    bool active = true;
};

}  // namespace VSTGUI
