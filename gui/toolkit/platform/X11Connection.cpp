#include "gui/toolkit/platform/X11Connection.h"

#include <X11/Xatom.h>
#include <X11/XKBlib.h>
#include <X11/cursorfont.h>
#include <X11/extensions/XShm.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

namespace VSTGUI {

// ---- Error recording ----
//
// Xlib has one error handler for the whole process. Ours is installed once,
// when the connection opens: errors on our connection are recorded (the
// host must never be terminated because the window it gave us went away);
// errors on any other connection go on to the handler that was there
// before. The same holds for the handler of fatal I/O errors. The handler may run on whichever thread made the request, so the
// records are atomics.
namespace {

using ErrorHandler = int (*)(Display*, XErrorEvent*);
using IOErrorHandler = int (*)(Display*);

constexpr int kOpenAttempts = 3;
constexpr int kOpenRetryMilliseconds = 10;

std::atomic<Display*> gOurDisplay{nullptr};
std::atomic<Display*> gTrapDisplay{nullptr};
std::atomic<int> gTrapCode{0};
std::atomic<int> gLastErrorCode{0};
ErrorHandler gPreviousHandler = nullptr;
IOErrorHandler gPreviousIOHandler = nullptr;

// Windows that failed with BadWindow/BadDrawable, newest overwriting oldest.
constexpr size_t kFailureSlots = 16;
std::array<std::atomic<XID>, kFailureSlots> gFailedWindows{};
std::atomic<size_t> gNextFailure{0};

int onXError(Display* display, XErrorEvent* error) {
    if (display == gTrapDisplay.load()) {
        int expected = 0;
        gTrapCode.compare_exchange_strong(expected, error->error_code);
        return 0;
    }
    if (display == gOurDisplay.load()) {
        gLastErrorCode = error->error_code;
        if (error->error_code == BadWindow || error->error_code == BadDrawable) {
            gFailedWindows[gNextFailure++ % kFailureSlots] = error->resourceid;
        }
        return 0;
    }
    return gPreviousHandler ? gPreviousHandler(display, error) : 0;
}

// A lost connection is fatal to Xlib: its default handler ends the
// process. For our connection we return instead, which leaves the Display
// marked dead (the per-display exit handler records that); other
// connections keep whatever handling they had.
int onXIOError(Display* display) {
    if (display == gOurDisplay.load()) return 0;
    return gPreviousIOHandler ? gPreviousIOHandler(display) : 0;
}

void installErrorHandlers(Display* display) {
    gOurDisplay = display;
    ErrorHandler previous = XSetErrorHandler(onXError);
    if (previous != onXError) gPreviousHandler = previous;
    IOErrorHandler previousIO = XSetIOErrorHandler(onXIOError);
    if (previousIO != onXIOError) gPreviousIOHandler = previousIO;
}

void removeErrorHandlers() {
    gOurDisplay = nullptr;
    // Put the earlier handlers back, unless someone installed theirs after
    // ours: then theirs stay.
    ErrorHandler current = XSetErrorHandler(gPreviousHandler);
    if (current != onXError) XSetErrorHandler(current);
    gPreviousHandler = nullptr;
    IOErrorHandler currentIO = XSetIOErrorHandler(gPreviousIOHandler);
    if (currentIO != onXIOError) XSetIOErrorHandler(currentIO);
    gPreviousIOHandler = nullptr;
}

bool isInputEvent(int type) {
    switch (type) {
        case KeyPress: case KeyRelease: case ButtonPress: case ButtonRelease: case MotionNotify:
        case EnterNotify: case LeaveNotify: case FocusIn: case FocusOut:
            return true;
        default:
            return false;
    }
}

bool envFlagSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value && std::strcmp(value, "0") != 0;
}

// A server reached through a local socket shares our memory; a display
// name with a host part ("host:0", "localhost:10" over ssh) does not.
bool displayIsLocal(Display* display) {
    const char* name = DisplayString(display);
    if (!name) return false;
    return name[0] == ':' || name[0] == '/' || std::strncmp(name, "unix:", 5) == 0;
}

int bitsPerPixelOfDepth(Display* display, int depth) {
    int count = 0;
    int bits = 0;
    if (XPixmapFormatValues* formats = XListPixmapFormats(display, &count)) {
        for (int i = 0; i < count; ++i) {
            if (formats[i].depth == depth) bits = formats[i].bits_per_pixel;
        }
        XFree(formats);
    }
    return bits;
}

}  // namespace

X11ErrorTrap::X11ErrorTrap(Display* display) : dpy(display) {
    XSync(dpy, False);  // earlier errors belong to earlier requests
    gTrapCode = 0;
    gTrapDisplay = dpy;
    previous = XSetErrorHandler(onXError);
}

X11ErrorTrap::~X11ErrorTrap() { finish(); }

int X11ErrorTrap::finish() {
    if (!active) return gTrapCode.load();
    active = false;
    XSync(dpy, False);
    gTrapDisplay = nullptr;
    if (previous != onXError) XSetErrorHandler(previous);
    return gTrapCode.load();
}

// ---- The connection ----

std::shared_ptr<X11Connection> X11Connection::acquire() {
    static std::weak_ptr<X11Connection> current;
    if (auto existing = current.lock()) return existing;

    // Hosts run other threads that may use Xlib too.
    static const bool threadsReady = XInitThreads() != 0;
    (void)threadsReady;
    // A server that is busy dropping a client may refuse a connection made
    // right after; a second try a moment later gets through.
    Display* display = nullptr;
    for (int attempt = 0; attempt < kOpenAttempts && !display; ++attempt) {
        if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(kOpenRetryMilliseconds));
        display = XOpenDisplay(nullptr);
        const char* name = XDisplayName(nullptr);
        if (!name || !*name) break;  // no display named: nothing to wait for
    }
    if (!display) return nullptr;
    std::shared_ptr<X11Connection> connection(new X11Connection(display));
    if (!connection->chosenVisual) return nullptr;  // already reported
    current = connection;
    return connection;
}

X11Connection::X11Connection(Display* display) : dpy(display) {
    installErrorHandlers(dpy);
    XSetIOErrorExitHandler(dpy, &X11Connection::onConnectionLost, this);
    screenNumber = DefaultScreen(dpy);
    rootWindow = RootWindow(dpy, screenNumber);
    if (!chooseVisual()) return;

    static const char* const names[] = {"WM_PROTOCOLS", "WM_DELETE_WINDOW", "_NET_WM_NAME", "UTF8_STRING",
                                        "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_POPUP_MENU",
                                        "XdndAware", "XdndEnter", "XdndPosition", "XdndStatus", "XdndLeave",
                                        "XdndDrop", "XdndFinished", "XdndSelection", "XdndTypeList",
                                        "XdndActionCopy", "text/uri-list", "_FENWOLDRINE_DROP_DATA"};
    static_assert(std::size(names) == static_cast<size_t>(X11Atom::Count));
    XInternAtoms(dpy, const_cast<char**>(names), static_cast<int>(std::size(names)), False, atoms);

    // Key releases only when the key really goes up, not for each repeat.
    XkbSetDetectableAutoRepeat(dpy, True, nullptr);

    shmAllowed = !envFlagSet("FW_X11_NO_SHM") && XShmQueryExtension(dpy) && displayIsLocal(dpy) &&
                 ImageByteOrder(dpy) == LSBFirst;
}

X11Connection::~X11Connection() {
    if (!broken) {
        for (auto& entry : cursors) XFreeCursor(dpy, entry.second);
        if (hiddenCursor) XFreeCursor(dpy, hiddenCursor);
        if (ownColormap) XFreeColormap(dpy, chosenColormap);
    }
    XCloseDisplay(dpy);
    removeErrorHandlers();
}

void X11Connection::onConnectionLost(Display*, void* self) {
    // Returning (instead of exiting, Xlib's default) leaves the Display
    // marked dead; every later call on it returns at once.
    static_cast<X11Connection*>(self)->broken = true;
}

bool X11Connection::chooseVisual() {
    auto describe = [this](Visual* visual, int depth) {
        X11PixelFormat f;
        f.redMask = visual->red_mask;
        f.greenMask = visual->green_mask;
        f.blueMask = visual->blue_mask;
        f.bitsPerPixel = bitsPerPixelOfDepth(dpy, depth);
        f.direct = visual->c_class == TrueColor && f.bitsPerPixel == 32 && f.redMask == 0xff0000 &&
                   f.greenMask == 0xff00 && f.blueMask == 0xff;
        return f;
    };

    // The screen's own visual when our pixels fit it as they are.
    Visual* visual = DefaultVisual(dpy, screenNumber);
    int depth = DefaultDepth(dpy, screenNumber);
    X11PixelFormat f = describe(visual, depth);
    if (f.direct) {
        chosenVisual = visual;
        chosenDepth = depth;
        chosenColormap = DefaultColormap(dpy, screenNumber);
        format = f;
        return true;
    }
    // Else a 24-bit true-colour visual with a colormap of its own.
    XVisualInfo info;
    if (XMatchVisualInfo(dpy, screenNumber, 24, TrueColor, &info)) {
        X11PixelFormat candidate = describe(info.visual, info.depth);
        if (candidate.direct) {
            chosenVisual = info.visual;
            chosenDepth = info.depth;
            chosenColormap = XCreateColormap(dpy, rootWindow, info.visual, AllocNone);
            ownColormap = true;
            format = candidate;
            return true;
        }
    }
    // Else any true-colour layout, converted pixel by pixel.
    if (visual->c_class == TrueColor && f.bitsPerPixel > 0) {
        std::fprintf(stderr, "Fenwoldrine: the X visual is %d-bit with masks %06lx/%06lx/%06lx; "
                             "pixels are converted for it (slower drawing)\n",
                     depth, f.redMask, f.greenMask, f.blueMask);
        chosenVisual = visual;
        chosenDepth = depth;
        chosenColormap = DefaultColormap(dpy, screenNumber);
        format = f;
        return true;
    }
    std::fprintf(stderr, "Fenwoldrine: the X server offers no true-colour visual; the editor window "
                         "cannot be shown\n");
    return false;
}

Cursor X11Connection::cursor(CCursorType type) {
    auto found = cursors.find(type);
    if (found != cursors.end()) return found->second;
    unsigned int shape = XC_left_ptr;
    switch (type) {
        case kCursorDefault: shape = XC_left_ptr; break;
        case kCursorWait: shape = XC_watch; break;
        case kCursorHSize: shape = XC_sb_h_double_arrow; break;
        case kCursorVSize: shape = XC_sb_v_double_arrow; break;
        case kCursorSizeAll: shape = XC_fleur; break;
        case kCursorNESWSize: shape = XC_bottom_left_corner; break;
        case kCursorNWSESize: shape = XC_bottom_right_corner; break;
        case kCursorCopy: shape = XC_plus; break;
        case kCursorNotAllowed: shape = XC_X_cursor; break;
        case kCursorHand: shape = XC_hand2; break;
    }
    Cursor made = XCreateFontCursor(dpy, shape);
    cursors[type] = made;
    return made;
}

Cursor X11Connection::invisibleCursor() {
    if (hiddenCursor) return hiddenCursor;
    static const char empty[1] = {0};
    Pixmap bitmap = XCreateBitmapFromData(dpy, rootWindow, empty, 1, 1);
    XColor black{};
    hiddenCursor = XCreatePixmapCursor(dpy, bitmap, bitmap, &black, &black, 0, 0);
    XFreePixmap(dpy, bitmap);  // the cursor keeps what it needs
    return hiddenCursor;
}

void X11Connection::attach(Window window, X11EventTarget* target) { targets[window] = target; }

void X11Connection::detach(Window window) { targets.erase(window); }

X11EventTarget* X11Connection::targetOf(Window window) const {
    auto found = targets.find(window);
    return found == targets.end() ? nullptr : found->second;
}

void X11Connection::setModal(X11EventTarget* popup, Window owner) {
    modalTarget = popup;
    modalOwner = popup ? owner : 0;
}

void X11Connection::dispatchPending() {
    // A target may drop the last reference to the connection while it
    // handles an event (its frame closed); keep the connection until done.
    std::shared_ptr<X11Connection> keep = shared_from_this();
    while (!broken && XPending(dpy) > 0) {
        XEvent event;
        XNextEvent(dpy, &event);
        if (event.type == MotionNotify) {
            // Only the latest position of a run of moves matters.
            while (XEventsQueued(dpy, QueuedAlready) > 0) {
                XEvent next;
                XPeekEvent(dpy, &next);
                if (next.type != MotionNotify || next.xmotion.window != event.xmotion.window ||
                    next.xmotion.state != event.xmotion.state) {
                    break;
                }
                XNextEvent(dpy, &event);
            }
        }
        const Window window = event.xany.window;
        X11EventTarget* target = targetOf(window);
        if (modalTarget && isInputEvent(event.type)) {
            if (window == modalOwner || target == modalTarget) modalTarget->handleEvent(event);
            continue;
        }
        if (target) target->handleEvent(event);
    }
}

void X11Connection::paintAll() {
    std::shared_ptr<X11Connection> keep = shared_from_this();
    std::vector<Window> windows;
    windows.reserve(targets.size());
    for (const auto& entry : targets) windows.push_back(entry.first);
    std::set<X11EventTarget*> done;
    for (Window window : windows) {
        X11EventTarget* target = targetOf(window);  // may have gone meanwhile
        if (target && done.insert(target).second) target->paintPending();
    }
}

void X11Connection::waitForEvents(int milliseconds) {
    if (broken || XEventsQueued(dpy, QueuedAfterFlush) > 0) return;
    pollfd descriptor{};
    descriptor.fd = ConnectionNumber(dpy);
    descriptor.events = POLLIN;
    poll(&descriptor, 1, milliseconds);
}

bool X11Connection::takeWindowFailure(Window window) {
    if (!window) return false;
    bool found = false;
    for (auto& slot : gFailedWindows) {
        XID expected = window;
        if (slot.compare_exchange_strong(expected, 0)) found = true;
    }
    return found;
}

int X11Connection::lastErrorCode() { return gLastErrorCode.load(); }

}  // namespace VSTGUI
