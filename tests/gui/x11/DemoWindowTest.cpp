// The demo program in a window inside a parent window, driven by synthetic
// pointer and key events through XTest: a knob turns, a menu opens and
// returns the chosen entry, a name is typed into the save dialog, the window
// is captured to PNGs, and closing the parent ends the program cleanly.
// Typing into a field in place is left to the headless and popup tests.
// Runs under a virtual display.

// GoogleTest first: Xlib defines macros (None, Bool) that clash with it.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <X11/extensions/XTest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "gui/toolkit/CDIB.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

struct Box {
    int left = 0, top = 0, right = 0, bottom = 0;
    int cx() const { return (left + right) / 2; }
    int cy() const { return (top + bottom) / 2; }
};

// The demo as a child process whose report lines are read with a timeout.
class DemoProcess {
public:
    bool start(const std::vector<std::string>& args) {
        int fds[2];
        if (pipe(fds) != 0) return false;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(FW_TOOLKIT_DEMO));
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        const int spawned = posix_spawn(&pid, FW_TOOLKIT_DEMO, &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        readEnd = fds[0];
        return spawned == 0;
    }
    ~DemoProcess() {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        if (readEnd >= 0) close(readEnd);
    }
    // The next line that starts with `prefix`, or "" after `seconds`.
    std::string waitFor(const std::string& prefix, double seconds = 5.0) {
        const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
        for (;;) {
            size_t newline;
            while ((newline = buffer.find('\n')) != std::string::npos) {
                std::string line = buffer.substr(0, newline);
                buffer.erase(0, newline + 1);
                lines.push_back(line);
                if (line.rfind(prefix, 0) == 0) return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (left <= 0) return "";
            pollfd p{readEnd, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(left)) <= 0) continue;
            char chunk[512];
            const ssize_t n = read(readEnd, chunk, sizeof chunk);
            if (n <= 0) return "";
            buffer.append(chunk, static_cast<size_t>(n));
        }
    }
    // The exit status, or -1 if it has not ended within `seconds`.
    int waitExit(double seconds) {
        const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
        while (Clock::now() < deadline) {
            int status = 0;
            if (waitpid(pid, &status, WNOHANG) == pid) {
                pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return -1;
    }
    std::vector<std::string> lines;

private:
    pid_t pid = -1;
    int readEnd = -1;
    std::string buffer;
};

bool waitUntil(const std::function<bool()>& condition, double seconds = 3.0) {
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return condition();
}

// A mapped override-redirect window directly under the root: an open popup.
bool popupShown(Display* display) {
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count)) return false;
    bool found = false;
    for (unsigned i = 0; i < count && !found; ++i) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, children[i], &attributes)) {
            found = attributes.override_redirect && attributes.map_state == IsViewable;
        }
    }
    if (children) XFree(children);
    return found;
}

bool hasChildWindow(Display* display, Window window) {
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count)) return false;
    if (children) XFree(children);
    return count > 0;
}

class Pointer {
public:
    Pointer(Display* d, int originX, int originY) : display(d), x0(originX), y0(originY) {}
    void moveTo(int x, int y) {
        XTestFakeMotionEvent(display, -1, x0 + x, y0 + y, CurrentTime);
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    void button(bool down) {
        XTestFakeButtonEvent(display, 1, down ? True : False, CurrentTime);
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    void click(int x, int y) {
        moveTo(x, y);
        button(true);
        button(false);
    }

private:
    Display* display;
    int x0;
    int y0;
};

std::string screenshotDir() {
    const std::string dir = FW_SCREENSHOT_DIR;
    mkdir(dir.c_str(), 0755);
    return dir;
}

// The window's pixels as a PNG; the colour at (x, y) is returned too.
bool capture(Display* display, Window window, const std::string& path, int x, int y, unsigned long& pixel) {
    XWindowAttributes attributes;
    XGetWindowAttributes(display, window, &attributes);
    XImage* image = XGetImage(display, window, 0, 0, static_cast<unsigned>(attributes.width),
                              static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
    if (!image) return false;
    auto* picture = new VSTGUI::CDIB(attributes.width, attributes.height);
    for (int row = 0; row < attributes.height; ++row) {
        for (int column = 0; column < attributes.width; ++column) {
            const unsigned long p = XGetPixel(image, column, row);
            picture->setPixel(column, row,
                              VSTGUI::CColor{static_cast<uint8_t>(p >> 16), static_cast<uint8_t>(p >> 8),
                                             static_cast<uint8_t>(p), 255});
        }
    }
    pixel = XGetPixel(image, x, y) & 0xFFFFFF;
    XDestroyImage(image);
    const bool written = picture->writePNG(path.c_str());
    picture->forget();
    return written;
}

}  // namespace

TEST(DemoWindow, RunsInsideAParentWindowUnderSyntheticInput) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) GTEST_SKIP() << "no display (run under xvfb-run)";
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor)) {
        XCloseDisplay(display);
        GTEST_SKIP() << "the display has no XTest";
    }
    constexpr int kParentX = 40;
    constexpr int kParentY = 30;
    const Window parent = XCreateSimpleWindow(display, DefaultRootWindow(display), kParentX, kParentY, 700, 460, 0, 0,
                                              0x202020);
    XMapWindow(display, parent);
    XSync(display, False);

    const std::string dir = screenshotDir();
    DemoProcess demo;
    ASSERT_TRUE(demo.start({"--parent", std::to_string(parent), "--report", "--final-screenshot",
                            dir + "/toolkit-demo-final.png"}));
    ASSERT_EQ(demo.waitFor("ready"), "ready");
    std::map<std::string, Box> layout;
    for (const std::string& line : demo.lines) {
        std::istringstream in(line);
        std::string word, name;
        Box b;
        if (in >> word >> name >> b.left >> b.top >> b.right >> b.bottom && word == "layout") layout[name] = b;
    }
    ASSERT_TRUE(layout.count("gain") && layout.count("shape"));
    ASSERT_TRUE(waitUntil([&] { return hasChildWindow(display, parent); })) << "no frame window inside the parent";

    int originX = 0, originY = 0;
    Window unused = 0;
    XTranslateCoordinates(display, parent, DefaultRootWindow(display), 0, 0, &originX, &originY, &unused);
    Pointer pointer(display, originX, originY);

    // Turn the gain knob up by dragging 40 px upwards.
    const Box gain = layout["gain"];
    pointer.moveTo(gain.cx(), gain.cy());
    pointer.button(true);
    for (int dy = 5; dy <= 40; dy += 5) pointer.moveTo(gain.cx(), gain.cy() - dy);
    pointer.button(false);
    std::string turned;
    for (std::string line = demo.waitFor("value 1 "); !line.empty(); line = demo.waitFor("value 1 ", 0.5)) {
        turned = line;
    }
    ASSERT_FALSE(turned.empty()) << "the knob did not report a change";
    EXPECT_GT(std::stod(turned.substr(8)), 0.55);

    // Open the menu, see its window, choose "High Shelf" (the third entry).
    const Box shape = layout["shape"];
    pointer.click(shape.cx(), shape.cy());
    ASSERT_TRUE(waitUntil([&] { return popupShown(display); })) << "no popup window appeared";
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    unsigned long ignored = 0;
    EXPECT_TRUE(capture(display, DefaultRootWindow(display), dir + "/toolkit-demo-menu.png", 0, 0, ignored));
    constexpr int kItemHeight = 20;  // the menu's row height; rows start one border pixel below the control
    pointer.moveTo(shape.left + 30, shape.bottom + 1 + 2 * kItemHeight + kItemHeight / 2);
    pointer.button(true);
    pointer.button(false);
    EXPECT_EQ(demo.waitFor("menu "), "menu High Shelf");
    EXPECT_TRUE(waitUntil([&] { return !popupShown(display); })) << "the popup stayed open";

    // The save dialog: it opens over the panel at the button's release with
    // the starting name selected; typing replaces it and Return confirms.
    // "~/Desktop" is not in the test's home, so the dialog starts in the home.
    const Box save = layout["save"];
    pointer.click(save.cx(), save.cy());
    ASSERT_TRUE(waitUntil([&] { return popupShown(display); })) << "the file dialog did not open";
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(capture(display, DefaultRootWindow(display), dir + "/toolkit-demo-dialog.png", 0, 0, ignored));
    for (KeySym key : {XK_t, XK_a, XK_k, XK_e, XK_Return}) {
        const KeyCode code = XKeysymToKeycode(display, key);
        XTestFakeKeyEvent(display, code, True, CurrentTime);
        XTestFakeKeyEvent(display, code, False, CurrentTime);
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    EXPECT_EQ(demo.waitFor("file "), "file " + std::string(std::getenv("HOME")) + "/take.fwb");
    EXPECT_TRUE(waitUntil([&] { return !popupShown(display); })) << "the file dialog stayed open";

    // A capture of the parent shows the panel's background at its corner.
    unsigned long corner = 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(capture(display, parent, dir + "/toolkit-demo-window.png", 5, 5, corner));
    EXPECT_EQ(corner, 0x1E2024ul);  // the panel colour (30, 32, 36)

    // The host closes its window: the demo notices and ends cleanly.
    XDestroyWindow(display, parent);
    XSync(display, False);
    EXPECT_EQ(demo.waitFor("closed"), "closed by the window system");
    EXPECT_EQ(demo.waitExit(5.0), 0);
    struct stat info {};
    EXPECT_EQ(stat((dir + "/toolkit-demo-final.png").c_str(), &info), 0);
    XCloseDisplay(display);
}
