#include "tools/render/EditorSnapshot.h"

#include "core/Plug.h"
#include "gui/editor/VGEditor.h"
#include "session/PlugEd.h"
#include "tools/render/RenderError.h"

void writeEditorSnapshot(Plug& effect, const std::string& path, int width, int height) {
    PlugEd* object = PlugEd::of(effect);
    if (!object) throw writeError("no editor to draw for --snapshot");
    VGEditor editor(*object);
    if (width > 0 && height > 0) editor.setSizeOverride(width, height);
    editor.open(0);
    // One refresh: queued values, meters and the clip light reach the views.
    editor.idle();
    std::string error;
    if (!editor.writeSnapshot(path, &error)) throw writeError("cannot write the --snapshot file '" + path + "': " + error);
}
