#pragma once
// Where each element of the layout document sits. Every element is placed
// within its parent, from its own attributes and from the element written
// just before it under the same parent:
//  - left is "_x" + the previous element's left + its width when "_x" is
//    there, else "x"; top likewise from "_y", "y" and height;
//  - right is left + "width", bottom is top + "height".
// The first element under a parent follows a previous element at 0, 0 of
// size 0 x 0. The previous element is the one before in the document,
// whatever it builds: an element that makes no view still moves the ones
// chained after it.

#include <cstdint>
#include <string>
#include <vector>

#include "gui/editor/LayoutDocument.h"
#include "gui/toolkit/Geometry.h"

struct LayoutPlacement {
    std::string name;               // the element's name as written
    VSTGUI::CRect rect;             // whole pixels, within the parent
    int32_t tag = -1;               // getTag(): -1 when missing or unknown
    VSTGUI::CPoint offset;          // "xoff", "yoff": for controls drawn from a bitmap
    VSTGUI::CPoint secondOffset;    // "offsetx", "offsety": for knobs and sliders
    const LayoutNode* node = nullptr;
};

// The placement of each child of `parent`, in document order. The pointers
// stay valid while `parent` lives unchanged.
std::vector<LayoutPlacement> placeChildren(const LayoutNode& parent);

struct PlacedElement {
    LayoutPlacement placement;
    int depth = 0;  // 1 for the children of the root
};

// Every element under `root`, depth first in document order: each element
// comes before the elements inside it. The root itself is not listed.
std::vector<PlacedElement> placeTree(const LayoutNode& root);
