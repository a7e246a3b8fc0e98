#pragma once
// Drawing a view tree without any window: into a pixel buffer and on to a
// PNG file. Works for a frame and for any view or container on its own,
// attached or not; the picture has the view's size with the view's
// top-left at (0, 0).

#include <string>

#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CView.h"

namespace VSTGUI {

// A new bitmap (one reference, the caller's) holding the view as drawn
// over `background`.
CDIB* renderView(CView* view, const CColor& background = kTransparentCColor);
// Draws the view and writes it as a PNG; false with `error` set on failure.
bool writeViewPNG(CView* view, const char* path, std::string* error = nullptr,
                  const CColor& background = kTransparentCColor);

}  // namespace VSTGUI
