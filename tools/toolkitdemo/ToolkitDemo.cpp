// fenwoldrine-toolkit-demo: a window with a few of each control, for
// trying the view toolkit by hand, and a way to draw the same panel into a
// PNG without any display.
//
//   fenwoldrine-toolkit-demo                       a top-level window
//   fenwoldrine-toolkit-demo --parent ID           inside an existing window
//   fenwoldrine-toolkit-demo --screenshot out.png  draw the panel, no display
//
// --report prints the layout at start and one line per change on stdout;
// --final-screenshot FILE draws the panel as it is into FILE when the
// window closes; --seconds N closes it after N seconds.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/platform/X11Platform.h"
#include "tools/toolkitdemo/DemoPanel.h"

namespace {

volatile std::sig_atomic_t gStop = 0;
void onSignal(int) { gStop = 1; }

struct Options {
    std::string screenshot;
    std::string finalScreenshot;
    uintptr_t parent = 0;
    bool report = false;
    double seconds = 0;
};

void usage() {
    std::fprintf(stderr,
                 "usage: fenwoldrine-toolkit-demo [--parent WINDOW] [--report] [--seconds N]\n"
                 "                                [--final-screenshot FILE] [--screenshot FILE]\n");
}

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(arg, "--report") == 0) {
            options.report = true;
        } else if (std::strcmp(arg, "--screenshot") == 0 && hasValue) {
            options.screenshot = argv[++i];
        } else if (std::strcmp(arg, "--final-screenshot") == 0 && hasValue) {
            options.finalScreenshot = argv[++i];
        } else if (std::strcmp(arg, "--parent") == 0 && hasValue) {
            char* end = nullptr;
            options.parent = static_cast<uintptr_t>(std::strtoull(argv[++i], &end, 0));
            if (!end || *end != '\0' || options.parent == 0) {
                std::fprintf(stderr, "fenwoldrine-toolkit-demo: \"%s\" is not a window id\n", argv[i]);
                return false;
            }
        } else if (std::strcmp(arg, "--seconds") == 0 && hasValue) {
            options.seconds = std::atof(argv[++i]);
        } else {
            std::fprintf(stderr, "fenwoldrine-toolkit-demo: unknown or incomplete option \"%s\"\n", arg);
            usage();
            return false;
        }
    }
    return true;
}

bool writeScreenshot(demo::DemoPanel& panel, const std::string& path) {
    auto* picture = new VSTGUI::CDIB(demo::DemoPanel::kWidth, demo::DemoPanel::kHeight);
    panel.frame()->drawInto(picture);
    std::string error;
    const bool written = picture->writePNG(path.c_str(), &error);
    picture->forget();
    if (!written) std::fprintf(stderr, "fenwoldrine-toolkit-demo: cannot write %s: %s\n", path.c_str(), error.c_str());
    return written;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) return 2;

    demo::DemoPanel panel([&](const std::string& line) {
        if (!options.report) return;
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    });

    if (!options.screenshot.empty()) return writeScreenshot(panel, options.screenshot) ? 0 : 1;

    VSTGUI::useX11Platform();
    if (!panel.frame()->open(options.parent)) {
        std::fprintf(stderr, "fenwoldrine-toolkit-demo: cannot open a window (is DISPLAY set?)\n");
        return 1;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    if (options.report) {
        for (const demo::NamedRect& place : panel.layout()) {
            std::printf("layout %s %g %g %g %g\n", place.name.c_str(), static_cast<double>(place.rect.left),
                        static_cast<double>(place.rect.top), static_cast<double>(place.rect.right),
                        static_cast<double>(place.rect.bottom));
        }
        std::printf("window %lu\nready\n", static_cast<unsigned long>(panel.frame()->getPlatformFrame()->nativeWindow()));
        std::fflush(stdout);
    }

    const auto start = std::chrono::steady_clock::now();
    while (!gStop && panel.frame()->isOpen()) {
        panel.frame()->idle();
        if (options.seconds > 0 &&
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() > options.seconds) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(8));
    }
    const bool hostClosed = !panel.frame()->isOpen();
    panel.frame()->close();
    if (options.report) {
        std::printf("closed%s\n", hostClosed ? " by the window system" : "");
        std::fflush(stdout);
    }
    if (!options.finalScreenshot.empty() && !writeScreenshot(panel, options.finalScreenshot)) return 1;
    return 0;
}
