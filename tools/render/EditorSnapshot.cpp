#include "tools/render/EditorSnapshot.h"

#include "core/Plug.h"
#include "gui/editor/VGEditor.h"
#include "session/PlugEd.h"
#include "tools/render/RenderError.h"

bool parseSnapshotSize(const std::string& text, int& width, int& height) {
    const size_t x = text.find('x');
    if (x == std::string::npos || x == 0 || x + 1 == text.size()) return false;
    int w = 0, h = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i == x) continue;
        if (text[i] < '0' || text[i] > '9') return false;
        int& n = i < x ? w : h;
        if (n > 10000) return false;
        n = n * 10 + (text[i] - '0');
    }
    if (w < 300 || h < 200 || w > 4096 || h > 4096) return false;
    width = w;
    height = h;
    return true;
}

void writeEditorSnapshot(Plug& effect, const std::string& path, int width, int height) {
    PlugEd* object = PlugEd::of(effect);
    if (!object) throw writeError("no editor to draw for --snapshot");
    VGEditor editor(*object);
    if (width > 0 && height > 0) editor.setSizeOverride(width, height);
    // The picture shows the spectrum the audio left behind the curve.
    object->setAnalyserOn(true);
    editor.open(0);
    // One refresh: queued values, meters, the clip light and the analyser
    // reach the views.
    editor.idle();
    std::string error;
    if (!editor.writeSnapshot(path, &error)) throw writeError("cannot write the --snapshot file '" + path + "': " + error);
}
