// fenwoldrine-editor-preview: the editor over a fresh instance, drawn
// without a window into a PNG, on its main page, with the setup panel open
// or with the wizard; with --census, what every element of the layout
// became.
//
//   fenwoldrine-editor-preview OUT.png [--page main|setup|wizard] [--size WxH] [--channels N]
//                              [--ui CATEGORY/KEY=CHOICE ...]
//   fenwoldrine-editor-preview --census

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/Plug.h"
#include "gui/editor/VGEditor.h"
#include "session/EditorTags.h"
#include "session/PlugEd.h"
#include "tools/render/EditorSnapshot.h"

namespace {

const char kUsage[] =
    "usage: fenwoldrine-editor-preview OUT.png [--page main|setup|wizard] [--size WxH] [--channels N]\n"
    "                                  [--ui CATEGORY/KEY=CHOICE ...]\n"
    "       fenwoldrine-editor-preview --census\n";

int fail(const std::string& message) {
    std::fprintf(stderr, "fenwoldrine-editor-preview: %s\n", message.c_str());
    return 2;
}

int printCensus(VGEditor& editor) {
    int counts[5] = {};
    for (const CensusRow& row : editor.census()) {
        ++counts[static_cast<int>(row.built)];
        std::printf("%4d  %-*s%-18s %s%s%s\n", row.line, 2 * row.depth, "", row.name.c_str(), builtAsName(row.built),
                    row.standsFor.empty() ? "" : ": ", row.standsFor.c_str());
    }
    std::printf("%zu elements: %d built-in, %d pages, %d custom, %d placeholders, %d skipped\n", editor.census().size(),
                counts[static_cast<int>(BuiltAs::BuiltIn)], counts[static_cast<int>(BuiltAs::Page)],
                counts[static_cast<int>(BuiltAs::Custom)], counts[static_cast<int>(BuiltAs::Placeholder)],
                counts[static_cast<int>(BuiltAs::Skipped)]);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const char* out = nullptr;
    std::string page = "main";
    bool census = false;
    int width = 0;
    int height = 0;
    int channels = 2;
    std::vector<std::string> ui;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--census") {
            census = true;
        } else if (arg == "--page" && i + 1 < argc) {
            page = argv[++i];
            if (page != "main" && page != "setup" && page != "wizard")
                return fail("no page \"" + page + "\"; the pages are main, setup and wizard");
        } else if (arg == "--size" && i + 1 < argc) {
            if (!parseSnapshotSize(argv[++i], width, height)) return fail("--size wants WxH, from 300x200 to 4096x4096");
        } else if (arg == "--ui" && i + 1 < argc) {
            ui.emplace_back(argv[++i]);
            const std::string wrong = checkUiChoice(ui.back());
            if (!wrong.empty()) return fail("bad --ui '" + ui.back() + "': " + wrong);
        } else if (arg == "--channels" && i + 1 < argc) {
            channels = std::atoi(argv[++i]);
            if (channels < 1 || channels > 8) return fail("--channels wants 1 to 8");
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
    if (!out && !census) {
        std::fputs(kUsage, stderr);
        return 2;
    }

    std::unique_ptr<Plug> fx = PlugEd::createInstance(channels);
    for (const std::string& choice : ui) applyUiChoice(PlugEd::of(*fx)->uiSettings(), choice);
    VGEditor editor(*PlugEd::of(*fx));
    if (width > 0) editor.setSizeOverride(width, height);
    editor.open(0);
    if (census) return printCensus(editor);
    if (page == "setup") editor.updateControl(kGUISetup, 1.0f);
    if (page == "wizard") editor.updateControl(kGUIWizardOpen, 1.0f);
    editor.idle();
    std::string error;
    if (!editor.writeSnapshot(out, &error)) return fail(error);
    return 0;
}
