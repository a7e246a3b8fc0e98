#pragma once
// A toolkit-drawn popup on X11: undecorated override-redirect windows at the
// client's screen rectangles (one per menu level), the pointer and
// keyboard grabbed on the owner's window so that a press anywhere reaches
// the client, and an event loop that runs until the client is done.
// At the owner's scale the client's screen is the real one divided by it:
// its rectangles are multiplied on the way out, positions divided on the
// way in, and the windows' pixels enlarged.

#include <X11/Xlib.h>

#include <functional>
#include <memory>
#include <vector>

#include "gui/toolkit/platform/Platform.h"
#include "gui/toolkit/platform/X11Connection.h"
#include "gui/toolkit/platform/X11Surface.h"

namespace VSTGUI {

class X11PopupSession : public X11EventTarget {
public:
    X11PopupSession(std::shared_ptr<X11Connection> connection, Window owner, IPopupClient* client, int scale = 1);
    ~X11PopupSession() override;
    X11PopupSession(const X11PopupSession&) = delete;
    X11PopupSession& operator=(const X11PopupSession&) = delete;

    // Shows the windows and handles events until the client is done.
    // `ownerUsable` is asked each turn: when the owner's window is gone the
    // client is told it lost the focus and the popup ends. False when the
    // popup ended because the server or the owner went away.
    bool run(const std::function<bool()>& ownerUsable);

    void handleEvent(const XEvent& event) override;
    void paintPending() override;

private:
    struct Level {
        Window window = 0;
        GC gc = nullptr;
        CRect rect;
        std::unique_ptr<X11Surface> surface;
    };

    void syncWindows();
    void openLevel(Level& level, const CRect& rect);
    void closeLevel(Level& level);
    void drawAll();
    void grabInput();
    void releaseInput();
    void lostFocus();
    // A rectangle of the client's screen in the real screen's pixels.
    struct PixelRect {
        int x, y, width, height;
    };
    PixelRect windowRect(const CRect& rect) const;
    CPoint clientPoint(int rootX, int rootY) const;

    std::shared_ptr<X11Connection> connection;
    Window owner;
    IPopupClient* client;
    int scale;
    std::vector<Level> levels;
    Window grabWindow = 0;
    bool pointerGrabbed = false;
    bool keyboardGrabbed = false;
    bool redraw = true;
    bool focusLostSent = false;
    int32_t sideButtons = 0;
};

}  // namespace VSTGUI
