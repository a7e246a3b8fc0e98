#include "gui/editor/LayoutResource.h"

#include <string_view>

#include "gui/toolkit/CFrame.h"
#include "resources/ResourceTable.h"

LayoutReadResult readEmbeddedLayout() {
    const ResourceData resource = findResource("layout", "XML");
    if (!resource.data) {
        LayoutReadResult missing;
        missing.error = "the layout document is missing from the program";
        return missing;
    }
    return readLayoutDocument(std::string_view(reinterpret_cast<const char*>(resource.data), resource.size));
}

bool buildEmbeddedLayout(LayoutBuilder& builder, VSTGUI::CFrame* frame, VSTGUI::CControlListener* listener) {
    const LayoutReadResult layout = readEmbeddedLayout();
    if (!layout) {
        layoutLog("The editor's layout could not be read (line %d): %s\n", layout.errorLine, layout.error.c_str());
        return false;
    }
    builder.viewFromLayout(layout.root, frame, frame, listener);
    return true;
}
