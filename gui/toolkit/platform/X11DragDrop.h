#pragma once
// Files dropped on a frame's window by other programs (file managers), by
// way of the XDND messages. The window is marked as a drop target; a drag
// that offers a text/uri-list reaches the frame as enter, moves, and a drop
// or a leave, with a CDragContainer of the dragged files' paths. The list
// is asked for at the first position, so views see the files while the
// drag is still moving; a drop that comes before the list waits for it.

#include <X11/Xlib.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "gui/toolkit/CBaseObject.h"
#include "gui/toolkit/platform/Platform.h"
#include "gui/toolkit/platform/X11Connection.h"

namespace VSTGUI {

// The absolute paths of the local files a text/uri-list names, in order.
// Comments, other schemes, other hosts and undecodable entries are left out.
std::vector<std::string> filePathsFromUriList(std::string_view list);

// The drop side of one frame window. The frame hands it the window's client
// messages and selection notifications, and calls idle() after each batch
// of events.
class X11DropTarget {
public:
    X11DropTarget(std::shared_ptr<X11Connection> connection, Window window, IPlatformFrameCallback* callback);
    // A drop still waiting for its data is answered as refused; the frame
    // is not called any more.
    ~X11DropTarget();
    X11DropTarget(const X11DropTarget&) = delete;
    X11DropTarget& operator=(const X11DropTarget&) = delete;

    // True when the message was one of the drag messages (used or ignored).
    bool handleClientMessage(const XClientMessageEvent& event);
    void handleSelectionNotify(const XSelectionEvent& event);
    // Refuses a drop whose data did not come in time and ends a drag whose
    // source window went away.
    void idle();
    // Positions over a window shown `factor` times enlarged are divided by it.
    void setScale(int factor) { scale = factor < 1 ? 1 : factor; }

private:
    enum class Data { NotAsked, Asked, Arrived, Failed };

    void onEnter(const XClientMessageEvent& event);
    void onPosition(const XClientMessageEvent& event);
    void onDrop(const XClientMessageEvent& event);
    std::vector<Atom> readTypeList(Window from);
    bool readDropData(Atom property, std::string& bytes);
    void requestData(Time time);
    void sendStatus();
    // Ends the drag: the frame hears of a leave when it had an enter.
    void endDrag();
    // Ends a drop: the frame gets it when `deliver` and the drag holds
    // files, else a leave; the source hears whether it was taken.
    void finishDrop(bool deliver);
    void reset();

    std::shared_ptr<X11Connection> connection;
    Window window;
    IPlatformFrameCallback* callback;

    // The drag in progress (source 0: none).
    Window source = 0;
    int version = 0;
    bool offersFiles = false;
    bool entered = false;
    CPoint where;
    int scale = 1;
    SharedPointer<CDragContainer> container;
    Data data = Data::NotAsked;
    bool dropWaiting = false;
    std::chrono::steady_clock::time_point dropDeadline;

    // Expires with the object; checked after calling out to the frame.
    std::shared_ptr<int> lifeToken = std::make_shared<int>(0);
};

}  // namespace VSTGUI
