#include "gui/toolkit/platform/X11DragDrop.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <cmath>
#include <cctype>

namespace VSTGUI {

namespace {

// The newest protocol version we speak, and the oldest we take part in.
constexpr int kXdndVersion = 5;
constexpr int kOldestXdndVersion = 3;
// Bit 0 of an enter's second word: more types than fit the message.
constexpr long kMoreTypesBit = 1;
// Bits of a status's second word.
constexpr long kStatusAcceptBit = 1;
constexpr long kStatusSendPositionsBit = 2;
// The most we read of one property, in 32-bit units (1 MiB).
constexpr long kMaxPropertyLongs = (1L << 20) / 4;
// How long a drop waits for its data before it is refused.
constexpr auto kDropDataWait = std::chrono::seconds(2);

// Message words travel as 32 bits and may come back sign-extended.
unsigned long word(long value) { return static_cast<unsigned long>(value) & 0xffffffffUL; }

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    }
    return true;
}

// An XDND client message of `type` to `to`, from the window `from`, the
// rest of its data words zero.
XEvent xdndMessage(Display* display, Window to, Atom type, Window from) {
    XEvent event{};
    XClientMessageEvent& m = event.xclient;
    m.type = ClientMessage;
    m.display = display;
    m.window = to;
    m.message_type = type;
    m.format = 32;
    m.data.l[0] = static_cast<long>(from);
    return event;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// %XY escapes become their byte; a '%' not followed by two hex digits stays.
std::string percentDecoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const int high = hexValue(text[i + 1]);
            const int low = hexValue(text[i + 2]);
            if (high >= 0 && low >= 0) {
                out.push_back(static_cast<char>(high * 16 + low));
                i += 2;
                continue;
            }
        }
        out.push_back(text[i]);
    }
    return out;
}

// The path of a file URI on this machine ("file:///p", "file://localhost/p",
// "file:/p"); empty for anything else.
std::string localPathOfUri(std::string_view uri) {
    if (!startsWithNoCase(uri, "file:")) return {};
    std::string_view rest = uri.substr(5);
    if (rest.substr(0, 2) == "//") {
        rest.remove_prefix(2);
        const size_t slash = rest.find('/');
        if (slash == std::string_view::npos) return {};
        const std::string_view host = rest.substr(0, slash);
        if (!host.empty() && !(host.size() == 9 && startsWithNoCase(host, "localhost"))) return {};
        rest.remove_prefix(slash);
    }
    if (rest.empty() || rest.front() != '/') return {};
    std::string path = percentDecoded(rest);
    if (path.find('\0') != std::string::npos) return {};  // no file has such a name
    return path;
}

}  // namespace

std::vector<std::string> filePathsFromUriList(std::string_view list) {
    std::vector<std::string> paths;
    size_t start = 0;
    while (start < list.size()) {
        size_t end = list.find('\n', start);
        if (end == std::string_view::npos) end = list.size();
        std::string_view line = list.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty() || line.front() == '#') continue;
        std::string path = localPathOfUri(line);
        if (!path.empty()) paths.push_back(std::move(path));
    }
    return paths;
}

// ---- The drop target ----

X11DropTarget::X11DropTarget(std::shared_ptr<X11Connection> c, Window w, IPlatformFrameCallback* cb)
    : connection(std::move(c)), window(w), callback(cb) {
    const long version = kXdndVersion;
    XChangeProperty(connection->display(), window, connection->atom(X11Atom::XdndAware), XA_ATOM, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&version), 1);
}

X11DropTarget::~X11DropTarget() {
    if (dropWaiting) {
        callback = nullptr;  // the frame is going away: tell only the source
        finishDrop(false);
    }
}

bool X11DropTarget::handleClientMessage(const XClientMessageEvent& e) {
    if (e.window != window || e.format != 32) return false;
    const Atom type = e.message_type;
    if (type == connection->atom(X11Atom::XdndEnter)) {
        onEnter(e);
    } else if (type == connection->atom(X11Atom::XdndPosition)) {
        onPosition(e);
    } else if (type == connection->atom(X11Atom::XdndLeave)) {
        if (source && word(e.data.l[0]) == source) endDrag();
    } else if (type == connection->atom(X11Atom::XdndDrop)) {
        onDrop(e);
    } else {
        return false;
    }
    return true;
}

void X11DropTarget::onEnter(const XClientMessageEvent& e) {
    const int offered = static_cast<int>((word(e.data.l[1]) >> 24) & 0xff);
    if (offered < kOldestXdndVersion || offered > kXdndVersion) return;
    if (source) {
        // A new drag while one was going on: the source never said the
        // last one left.
        std::weak_ptr<int> alive = lifeToken;
        endDrag();
        if (alive.expired()) return;
    }
    source = word(e.data.l[0]);
    version = offered;
    std::vector<Atom> types;
    for (int i = 2; i <= 4; ++i) {
        if (e.data.l[i]) types.push_back(word(e.data.l[i]));
    }
    if (e.data.l[1] & kMoreTypesBit) {
        const std::vector<Atom> more = readTypeList(source);
        types.insert(types.end(), more.begin(), more.end());
    }
    offersFiles = std::find(types.begin(), types.end(), connection->atom(X11Atom::TextUriList)) != types.end();
    container = SharedPointer<CDragContainer>::adopt(new CDragContainer);
}

std::vector<Atom> X11DropTarget::readTypeList(Window from) {
    std::vector<Atom> types;
    Atom type = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* bytes = nullptr;
    // A source that vanished gives BadWindow, which the connection records.
    const int status = XGetWindowProperty(connection->display(), from, connection->atom(X11Atom::XdndTypeList), 0,
                                          kMaxPropertyLongs, False, XA_ATOM, &type, &format, &count, &after, &bytes);
    if (status == Success && bytes && type == XA_ATOM && format == 32) {
        const auto* atoms = reinterpret_cast<const unsigned long*>(bytes);  // format 32 is a long each
        types.assign(atoms, atoms + count);
    }
    if (bytes) XFree(bytes);
    return types;
}

void X11DropTarget::onPosition(const XClientMessageEvent& e) {
    if (!source || word(e.data.l[0]) != source) return;
    const unsigned long packed = word(e.data.l[2]);
    const int rootX = static_cast<int>((packed >> 16) & 0xffff);
    const int rootY = static_cast<int>(packed & 0xffff);
    int x = 0, y = 0;
    Window child = 0;
    XTranslateCoordinates(connection->display(), connection->root(), window, rootX, rootY, &x, &y, &child);
    where = CPoint(std::floor(static_cast<CCoord>(x) / scale), std::floor(static_cast<CCoord>(y) / scale));
    if (offersFiles && data == Data::NotAsked) requestData(word(e.data.l[3]));
    sendStatus();
    // Only drags the frame could take reach it.
    if (!offersFiles) return;
    const bool first = !entered;
    entered = true;
    SharedPointer<CDragContainer> drag = container;
    if (first) {
        callback->platformOnDragEnter(drag.get(), where);
    } else {
        callback->platformOnDragMove(drag.get(), where);
    }
}

void X11DropTarget::onDrop(const XClientMessageEvent& e) {
    if (!source || word(e.data.l[0]) != source || dropWaiting) return;
    if (!entered || !offersFiles) {
        finishDrop(false);
    } else if (data == Data::Arrived) {
        finishDrop(true);
    } else {
        // The list is still on its way (or was refused before: ask again).
        if (data != Data::Asked) requestData(word(e.data.l[2]));
        dropWaiting = true;
        dropDeadline = std::chrono::steady_clock::now() + kDropDataWait;
    }
}

void X11DropTarget::handleSelectionNotify(const XSelectionEvent& e) {
    if (e.requestor != window || e.selection != connection->atom(X11Atom::XdndSelection)) return;
    std::string bytes;
    // Read (and so delete) the property even when the drag is over.
    const bool read = e.property != None && readDropData(e.property, bytes);
    if (!source || data != Data::Asked || e.target != connection->atom(X11Atom::TextUriList)) return;
    if (read) {
        for (std::string& path : filePathsFromUriList(bytes)) container->addFile(std::move(path));
        data = Data::Arrived;
    } else {
        data = Data::Failed;
    }
    if (dropWaiting) finishDrop(data == Data::Arrived);
}

bool X11DropTarget::readDropData(Atom property, std::string& bytes) {
    Display* dpy = connection->display();
    Atom type = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    const int status = XGetWindowProperty(dpy, window, property, 0, kMaxPropertyLongs, True, AnyPropertyType,
                                          &type, &format, &count, &after, &data);
    // Larger than we read, or sent in pieces (INCR, format 32): refused.
    const bool whole = status == Success && data && format == 8 && after == 0;
    if (whole) bytes.assign(reinterpret_cast<const char*>(data), count);
    if (data) XFree(data);
    if (status == Success && after != 0) XDeleteProperty(dpy, window, property);
    return whole;
}

void X11DropTarget::requestData(Time time) {
    Display* dpy = connection->display();
    XConvertSelection(dpy, connection->atom(X11Atom::XdndSelection), connection->atom(X11Atom::TextUriList),
                      connection->atom(X11Atom::DropData), window, time);
    XFlush(dpy);
    data = Data::Asked;
}

void X11DropTarget::sendStatus() {
    XEvent event = xdndMessage(connection->display(), source, connection->atom(X11Atom::XdndStatus), window);
    XClientMessageEvent& m = event.xclient;
    // No rectangle: every move is reported.
    m.data.l[1] = (offersFiles ? kStatusAcceptBit : 0) | kStatusSendPositionsBit;
    m.data.l[4] = offersFiles ? static_cast<long>(connection->atom(X11Atom::XdndActionCopy)) : None;
    // A source that is gone makes this fail with BadWindow; idle() notices.
    XSendEvent(m.display, source, False, NoEventMask, &event);
    XFlush(m.display);
}

void X11DropTarget::idle() {
    if (!source) return;
    if (connection->takeWindowFailure(source)) {
        endDrag();  // the source went away without a leave
    } else if (dropWaiting && std::chrono::steady_clock::now() >= dropDeadline) {
        finishDrop(false);
    }
}

void X11DropTarget::endDrag() {
    const bool tell = entered;
    const CPoint at = where;
    SharedPointer<CDragContainer> drag = container;
    reset();
    if (tell) callback->platformOnDragLeave(drag.get(), at);
}

void X11DropTarget::finishDrop(bool deliver) {
    // Everything needed afterwards is taken out first: the frame may close
    // (and destroy this object) while it handles the drop.
    const std::shared_ptr<X11Connection> keep = connection;
    const Window target = window;
    const Window to = source;
    const int sourceVersion = version;
    const bool tell = entered;
    const CPoint at = where;
    SharedPointer<CDragContainer> drag = container;
    IPlatformFrameCallback* frame = callback;
    reset();

    bool taken = false;
    if (frame && tell) {
        if (deliver && drag->getCount() > 0) {
            taken = frame->platformOnDrop(drag.get(), at);
        } else {
            frame->platformOnDragLeave(drag.get(), at);
        }
    }
    if (keep->isBroken()) return;
    XEvent event = xdndMessage(keep->display(), to, keep->atom(X11Atom::XdndFinished), target);
    XClientMessageEvent& m = event.xclient;
    if (sourceVersion >= 5) {
        m.data.l[1] = taken ? 1 : 0;
        m.data.l[2] = taken ? static_cast<long>(keep->atom(X11Atom::XdndActionCopy)) : None;
    }
    XSendEvent(m.display, to, False, NoEventMask, &event);
    XFlush(m.display);
}

void X11DropTarget::reset() {
    source = 0;
    version = 0;
    offersFiles = false;
    entered = false;
    where = CPoint();
    container = SharedPointer<CDragContainer>();
    data = Data::NotAsked;
    dropWaiting = false;
}

}  // namespace VSTGUI
