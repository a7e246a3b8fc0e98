// Files dropped on a frame's window from another program: the uri-list
// decoding, and whole drags with the test playing the program the files
// come from.

#include "X11TestSupport.h"

#include <X11/Xatom.h>

#include "gui/toolkit/platform/X11DragDrop.h"

namespace fwx11 {
namespace {

using Paths = std::vector<std::string>;

TEST(X11UriList, LocalFileUrisBecomeDecodedAbsolutePathsAndTheRestIsLeftOut) {
    const struct { const char* list; Paths paths; } rows[] = {
        {"file:///home/a/Take%201.wav\r\nfile://localhost/b.aif\r\n", {"/home/a/Take 1.wav", "/b.aif"}},
        // Plain line feeds, no line end after the last entry, UTF-8 escapes.
        {"file:///x\nFILE:///caf%C3%A9%2fm%C3%BCsik", {"/x", "/caf\u00e9/m\u00fcsik"}},
        {"file:///100%25%zz%4\r\n", {"/100%%zz%4"}},  // an escape that is not one keeps its bytes
        {"file:/short/form", {"/short/form"}},
        {"", {}},
        {"\r\n\r\n", {}},
        {"# file:///comment\r\nhttp://example.org/a.wav\r\nfile://studio/remote.wav\r\nfile://localhost\r\n"
         "file:relative.wav\r\nfile:///nul%00byte\r\nfile:///kept.wav\r\n",
         {"/kept.wav"}},
    };
    for (const auto& row : rows) EXPECT_EQ(filePathsFromUriList(row.list), row.paths) << row.list;
}

// The test's connection acts as the drag source: a window of its own owns
// the drag selection, sends the messages, answers the data request and
// keeps the replies.
class X11Drop : public X11FrameFixture {
protected:
    Window source = 0;
    Time now = 0;
    std::string offered = "file:///tmp/Take%201.wav\r\nfile:///tmp/b.wav\r\n";
    bool answerRequests = true;
    std::vector<XSelectionRequestEvent> requests;
    std::vector<XClientMessageEvent> replies;

    void SetUp() override {
        X11FrameFixture::SetUp();
        source = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 0, 0, 8, 8, 0, 0, 0);
        // A server time stamp, from a property change.
        XSelectInput(dpy, source, PropertyChangeMask);
        XChangeProperty(dpy, source, XA_WM_NAME, XA_STRING, 8, PropModeAppend, nullptr, 0);
        XEvent stamp;
        XWindowEvent(dpy, source, PropertyChangeMask, &stamp);
        now = stamp.xproperty.time;
        XSetSelectionOwner(dpy, atom("XdndSelection"), source, now);
        open();
    }

    Atom atom(const char* name) const { return XInternAtom(dpy, name, False); }

    void send(const char* type, long l1, long l2 = 0, long l3 = 0, long l4 = 0, Window from = 0) {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = window();
        event.xclient.message_type = atom(type);
        event.xclient.format = 32;
        event.xclient.data.l[0] = static_cast<long>(from ? from : source);
        event.xclient.data.l[1] = l1;
        event.xclient.data.l[2] = l2;
        event.xclient.data.l[3] = l3;
        event.xclient.data.l[4] = l4;
        XSendEvent(dpy, window(), False, NoEventMask, &event);
        XFlush(dpy);
    }
    void enter(const std::vector<const char*>& types, int version = 5) {
        std::vector<Atom> atoms;
        for (const char* type : types) atoms.push_back(atom(type));
        if (atoms.size() > 3) {
            XChangeProperty(dpy, source, atom("XdndTypeList"), XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(atoms.data()), static_cast<int>(atoms.size()));
        }
        atoms.resize(std::max<size_t>(atoms.size(), 3));
        send("XdndEnter", (static_cast<long>(version) << 24) | (types.size() > 3 ? 1 : 0), static_cast<long>(atoms[0]),
             static_cast<long>(atoms[1]), static_cast<long>(atoms[2]));
    }
    // At a point in frame coordinates.
    void position(int x, int y, Window from = 0) {
        int rootX = 0, rootY = 0;
        Window child = 0;
        XTranslateCoordinates(dpy, window(), DefaultRootWindow(dpy), x, y, &rootX, &rootY, &child);
        send("XdndPosition", 0, (rootX << 16) | rootY, static_cast<long>(now),
             static_cast<long>(atom("XdndActionCopy")), from);
    }
    void drop() { send("XdndDrop", 0, static_cast<long>(now)); }

    void answer(const XSelectionRequestEvent& request) {
        XEvent notify{};
        notify.xselection.type = SelectionNotify;
        notify.xselection.requestor = request.requestor;
        notify.xselection.selection = request.selection;
        notify.xselection.target = request.target;
        notify.xselection.time = request.time;
        notify.xselection.property = request.property;
        XChangeProperty(dpy, request.requestor, request.property, request.target, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(offered.data()), static_cast<int>(offered.size()));
        XSendEvent(dpy, request.requestor, False, NoEventMask, &notify);
        XFlush(dpy);
    }
    // Idles the frame and handles what reaches the source.
    bool run(const std::function<bool()>& done, int milliseconds = 2000) {
        XSync(dpy, False);
        return pumpUntil(
            [this] {
                frame->idle();
                while (XPending(dpy) > 0) {
                    XEvent event;
                    XNextEvent(dpy, &event);
                    if (event.type == ClientMessage) replies.push_back(event.xclient);
                    if (event.type != SelectionRequest) continue;
                    requests.push_back(event.xselectionrequest);
                    if (answerRequests) answer(event.xselectionrequest);
                }
            },
            done, milliseconds);
    }
    std::vector<XClientMessageEvent> repliesOf(const char* type) const {
        std::vector<XClientMessageEvent> found;
        for (const XClientMessageEvent& reply : replies) {
            if (reply.message_type == atom(type)) found.push_back(reply);
        }
        return found;
    }
    // Accepted, with the copy action in word `actionWord`.
    bool acceptsCopy(const XClientMessageEvent& reply, int actionWord) const {
        return (reply.data.l[1] & 1) && static_cast<Atom>(reply.data.l[actionWord]) == atom("XdndActionCopy");
    }
};

TEST_F(X11Drop, DroppedFilesReachTheFrameAtFrameCoordinatesAndTheSourceHearsOfIt) {
    Atom aware = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* version = nullptr;
    XGetWindowProperty(dpy, window(), atom("XdndAware"), 0, 1, False, XA_ATOM, &aware, &format, &count, &after, &version);
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(*reinterpret_cast<long*>(version), 5);
    XFree(version);

    enter({"text/plain", "text/uri-list"});
    position(30, 20);
    ASSERT_TRUE(run([&] { return repliesOf("XdndStatus").size() == 1 && callback.drags.size() == 1; }));
    EXPECT_EQ(callback.drags[0].kind, 'e');
    EXPECT_EQ(callback.drags[0].where, CPoint(30, 20));
    EXPECT_EQ(static_cast<Window>(repliesOf("XdndStatus")[0].data.l[0]), window());
    EXPECT_TRUE(acceptsCopy(repliesOf("XdndStatus")[0], 4));
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].target, atom("text/uri-list"));
    EXPECT_EQ(requests[0].time, now);

    position(35, 25);
    ASSERT_TRUE(run([&] { return callback.drags.size() == 2; }));
    EXPECT_EQ(callback.drags[1].kind, 'm');
    drop();
    ASSERT_TRUE(run([&] { return !repliesOf("XdndFinished").empty(); }));
    EXPECT_EQ(callback.dragKinds(), "emd");
    EXPECT_EQ(callback.drags[2].where, CPoint(35, 25));
    EXPECT_EQ(callback.drags[2].files, (Paths{"/tmp/Take 1.wav", "/tmp/b.wav"}));
    EXPECT_EQ(static_cast<Window>(repliesOf("XdndFinished")[0].data.l[0]), window());
    EXPECT_TRUE(acceptsCopy(repliesOf("XdndFinished")[0], 2));
    EXPECT_EQ(requests.size(), 1u);
}

TEST_F(X11Drop, ADropWaitsForDataThatComesLateAndIsRefusedWhenItNeverComes) {
    answerRequests = false;
    enter({"text/uri-list"});
    position(10, 10);
    ASSERT_TRUE(run([&] { return requests.size() == 1; }));
    drop();
    EXPECT_FALSE(run([&] { return callback.drags.size() > 1 || !repliesOf("XdndFinished").empty(); }, 200));
    answer(requests[0]);
    ASSERT_TRUE(run([&] { return !repliesOf("XdndFinished").empty(); }));
    EXPECT_EQ(callback.dragKinds(), "ed");
    EXPECT_EQ(callback.drags[1].files.size(), 2u);

    // A second drag whose data never comes.
    callback.takeDrops = false;
    enter({"text/uri-list"});
    position(12, 10);
    drop();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(run([&] { return repliesOf("XdndFinished").size() == 2; }, 4000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    EXPECT_EQ(callback.dragKinds(), "edel");
    EXPECT_FALSE(repliesOf("XdndFinished")[1].data.l[1] & 1);
}

TEST_F(X11Drop, AnOfferWithoutFilesIsRefusedAndNeverReachesTheFrame) {
    enter({"text/plain", "UTF8_STRING"});
    position(10, 10);
    ASSERT_TRUE(run([&] { return !repliesOf("XdndStatus").empty(); }));
    EXPECT_FALSE(repliesOf("XdndStatus")[0].data.l[1] & 1);
    EXPECT_EQ(repliesOf("XdndStatus")[0].data.l[4], 0);
    drop();
    ASSERT_TRUE(run([&] { return !repliesOf("XdndFinished").empty(); }));
    EXPECT_FALSE(repliesOf("XdndFinished")[0].data.l[1] & 1);
    EXPECT_TRUE(callback.drags.empty());
    EXPECT_TRUE(requests.empty());
}

TEST_F(X11Drop, ALeaveEndsTheDragAndLongOffersAreReadFromTheTypeList) {
    enter({"a/b", "c/d", "e/f", "text/uri-list"});
    position(10, 10);
    ASSERT_TRUE(run([&] { return !repliesOf("XdndStatus").empty() && !callback.drags.empty(); }));
    EXPECT_TRUE(acceptsCopy(repliesOf("XdndStatus")[0], 4));
    send("XdndLeave", 0);
    ASSERT_TRUE(run([&] { return callback.drags.size() == 2; }));
    EXPECT_EQ(callback.dragKinds(), "el");
    EXPECT_TRUE(repliesOf("XdndFinished").empty());
}

TEST_F(X11Drop, StrayMessagesAreIgnoredAndASourceThatVanishesEndsTheDrag) {
    // Too old a protocol version: no drag starts.
    enter({"text/uri-list"}, 2);
    position(10, 10);
    EXPECT_FALSE(run([&] { return !replies.empty(); }, 200));

    enter({"text/uri-list"});
    position(10, 10);
    ASSERT_TRUE(run([&] { return replies.size() == 1; }));
    // Positions from a window that did not enter are not this drag's.
    position(20, 20, DefaultRootWindow(dpy));
    EXPECT_FALSE(run([&] { return replies.size() > 1 || callback.drags.size() > 1; }, 200));

    // The source dies mid-drag; answering its next position fails.
    XDestroyWindow(dpy, source);
    position(30, 30);
    ASSERT_TRUE(run([&] { return callback.dragKinds() == "eml"; }));
    EXPECT_EQ(callback.gone, 0);
    EXPECT_FALSE(frame->isGone());
}

}  // namespace
}  // namespace fwx11
