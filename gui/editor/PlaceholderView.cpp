#include "gui/editor/PlaceholderView.h"

#include <cstring>

using namespace VSTGUI;

PlaceholderView::PlaceholderView(const CRect& r, std::string_view name) : CView(r), elementName(name) {
    setMouseEnabled(false);
}

void PlaceholderView::draw(CDrawContext* context) {
    context->setDrawMode(kAliasing);
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setFrameColor(kOutline);
    context->drawRect(size, kDrawStroked);
    // A name that does not fit would show as a meaningless fragment: a box
    // too small for it is crossed instead (the census still names it).
    if (context->getStringWidth(elementName.c_str()) + 4 <= size.width() && size.height() >= 12) {
        context->setFontColor(kOutline);
        context->drawString(elementName.c_str(), size, kCenterText);
    } else {
        context->drawLine(CPoint(size.left, size.top), CPoint(size.right - 1, size.bottom - 1));
        context->drawLine(CPoint(size.left, size.bottom - 1), CPoint(size.right - 1, size.top));
    }
    setDirty(false);
}

bool PlaceholderView::isTypeOf(const char* className) const {
    return std::strcmp(className, "PlaceholderView") == 0 || CView::isTypeOf(className);
}
