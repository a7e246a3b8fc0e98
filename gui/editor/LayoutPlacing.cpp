#include "gui/editor/LayoutPlacing.h"

#include <cstdint>
#include <utility>

namespace {

using VSTGUI::CCoord;

CCoord coord(int64_t value) { return static_cast<CCoord>(value); }

void placeInto(const LayoutNode& parent, int depth, std::vector<PlacedElement>& out) {
    for (LayoutPlacement& placement : placeChildren(parent)) {
        const LayoutNode& node = *placement.node;
        out.push_back({std::move(placement), depth});
        placeInto(node, depth + 1, out);
    }
}

}  // namespace

std::vector<LayoutPlacement> placeChildren(const LayoutNode& parent) {
    std::vector<LayoutPlacement> placements;
    placements.reserve(parent.children.size());
    // Sums run in 64 bits: chained offsets of large numbers must not wrap.
    int64_t previousLeft = 0, previousTop = 0, previousWidth = 0, previousHeight = 0;
    for (const LayoutNode& child : parent.children) {
        const int64_t width = getInt(child, "width");
        const int64_t height = getInt(child, "height");
        const int64_t left = getAttribute(child, "_x") != nullptr
                                 ? getInt(child, "_x") + previousLeft + previousWidth
                                 : getInt(child, "x");
        const int64_t top = getAttribute(child, "_y") != nullptr
                                ? getInt(child, "_y") + previousTop + previousHeight
                                : getInt(child, "y");

        LayoutPlacement placement;
        placement.name = child.name;
        placement.rect = {coord(left), coord(top), coord(left + width), coord(top + height)};
        placement.tag = getTag(child);
        placement.offset = {coord(getInt(child, "xoff")), coord(getInt(child, "yoff"))};
        placement.secondOffset = {coord(getInt(child, "offsetx")), coord(getInt(child, "offsety"))};
        placement.node = &child;
        placements.push_back(std::move(placement));

        previousLeft = left;
        previousTop = top;
        previousWidth = width;
        previousHeight = height;
    }
    return placements;
}

std::vector<PlacedElement> placeTree(const LayoutNode& root) {
    std::vector<PlacedElement> out;
    placeInto(root, 1, out);
    return out;
}
