// fenwoldrine-editor-preview: draws the editor as the layout builds it,
// without a window, into a PNG; with --census, lists what every element of
// the layout became.
//
//   fenwoldrine-editor-preview OUT.png [--page main|setup|wizard] [--size WxH]
//   fenwoldrine-editor-preview --census

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gui/editor/ControlRegistry.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/LayoutResource.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/HeadlessRender.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

const char kUsage[] =
    "usage: fenwoldrine-editor-preview OUT.png [--page main|setup|wizard] [--size WxH]\n"
    "       fenwoldrine-editor-preview --census\n";

struct Page {
    const char* name;
    int width;   // the size the layout gives the page
    int height;
    float wizardOpen;  // values that put the page on show
    float setupOpen;
};

constexpr Page kPages[] = {
    {"main", 760, 472, 0, 0},
    {"setup", 760, 472, 0, 1},
    {"wizard", 632, 428, 1, 0},
};

// The window's ground behind every view.
constexpr CColor kGround{22, 24, 28, 255};

int fail(const char* message) {
    std::fprintf(stderr, "fenwoldrine-editor-preview: %s\n", message);
    return 2;
}

bool parseSize(const char* text, int& width, int& height) {
    char tail = 0;
    return std::sscanf(text, "%dx%d%c", &width, &height, &tail) == 2 && width > 0 && height > 0 && width <= 8192 &&
           height <= 8192;
}

int printCensus() {
    LayoutBuilder builder;
    auto* frame = new CFrame(CRect(0, 0, 760, 472), nullptr);
    const bool built = buildEmbeddedLayout(builder, frame, nullptr);
    frame->forget();
    if (!built) return 1;
    int counts[5] = {};
    for (const CensusRow& row : builder.census()) {
        ++counts[static_cast<int>(row.built)];
        std::printf("%4d  %-*s%-18s %s%s%s\n", row.line, 2 * row.depth, "", row.name.c_str(), builtAsName(row.built),
                    row.standsFor.empty() ? "" : ": ", row.standsFor.c_str());
    }
    std::printf("%zu elements: %d built-in, %d pages, %d custom, %d placeholders, %d skipped\n",
                builder.census().size(), counts[static_cast<int>(BuiltAs::BuiltIn)],
                counts[static_cast<int>(BuiltAs::Page)], counts[static_cast<int>(BuiltAs::Custom)],
                counts[static_cast<int>(BuiltAs::Placeholder)], counts[static_cast<int>(BuiltAs::Skipped)]);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const char* out = nullptr;
    const Page* page = &kPages[0];
    int width = 0;
    int height = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--census") {
            return printCensus();
        } else if (arg == "--page" && i + 1 < argc) {
            const std::string name = argv[++i];
            page = nullptr;
            for (const Page& p : kPages) {
                if (name == p.name) page = &p;
            }
            if (!page) return fail(("no page \"" + name + "\"; the pages are main, setup and wizard").c_str());
        } else if (arg == "--size" && i + 1 < argc) {
            if (!parseSize(argv[++i], width, height)) return fail("--size wants WxH, such as 760x472");
        } else if (arg == "-h" || arg == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (!arg.empty() && arg[0] != '-' && !out) {
            out = argv[i];
        } else {
            std::fputs(kUsage, stderr);
            return 2;
        }
    }
    if (!out) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (width == 0) {
        width = page->width;
        height = page->height;
    }

    auto* frame = new CFrame(CRect(0, 0, width, height), nullptr);
    frame->setBackgroundColor(kGround);
    LayoutBuilder builder;
    ControlRegistry registry;
    if (!buildEmbeddedLayout(builder, frame, nullptr)) {
        frame->forget();
        return 1;
    }
    registry.collect(frame);
    registry.setValueOfTag(kGUIWizardOpen, page->wizardOpen);
    registry.setValueOfTag(kGUISetup, page->setupOpen);
    registry.setValueOfTag(kGUISetupPage, 0);

    std::string error;
    const bool written = writeViewPNG(frame, out, &error, kGround);
    registry.clear();
    frame->forget();
    if (!written) return fail(error.c_str());
    return 0;
}
