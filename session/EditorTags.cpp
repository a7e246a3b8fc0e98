#include "session/EditorTags.h"

#include <string>

#define FW_TEXT_ITEM(name) #name ","
#define FW_TEXT_ITEM_AT(name, value) #name "=" #value ","

const ParameterNameTable& editorTagTable() {
    static const ParameterNameTable table(
        (std::string(kParameterEnumText) + FW_EDITOR_TAG_LIST(FW_TEXT_ITEM, FW_TEXT_ITEM_AT)).c_str());
    return table;
}

#undef FW_TEXT_ITEM
#undef FW_TEXT_ITEM_AT
