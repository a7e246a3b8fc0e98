#include "gui/toolkit/CDragContainer.h"

namespace VSTGUI {

const char* CDragContainer::getItem(int32_t index, CDragType& type) const {
    if (index < 0 || index >= getCount()) {
        type = kDragUnknown;
        return nullptr;
    }
    const Entry& entry = entries[static_cast<size_t>(index)];
    type = entry.type;
    return entry.data.c_str();
}

const char* CDragContainer::firstFile() const {
    for (const Entry& entry : entries) {
        if (entry.type == kDragFile) return entry.data.c_str();
    }
    return nullptr;
}

}  // namespace VSTGUI
