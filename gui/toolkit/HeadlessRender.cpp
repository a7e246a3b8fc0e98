#include "gui/toolkit/HeadlessRender.h"

#include <algorithm>
#include <cmath>

namespace VSTGUI {

CDIB* renderView(CView* view, const CColor& background) {
    const CRect& size = view->getViewSize();
    const auto width = std::max<int32_t>(1, static_cast<int32_t>(std::lround(size.width())));
    const auto height = std::max<int32_t>(1, static_cast<int32_t>(std::lround(size.height())));
    auto* picture = new CDIB(width, height);
    picture->fill(background);
    auto* context = new CDrawContext(picture);
    // The view draws at its size rectangle in its parent's coordinates:
    // shift the origin so that rectangle lands at (0, 0).
    context->setOffset(CPoint(-size.left, -size.top));
    view->drawRect(context, size);
    context->forget();
    return picture;
}

bool writeViewPNG(CView* view, const char* path, std::string* error, const CColor& background) {
    CDIB* picture = renderView(view, background);
    const bool written = picture->writePNG(path, error);
    picture->forget();
    return written;
}

}  // namespace VSTGUI
