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
    context->setFontColor(kOutline);
    context->drawString(elementName.c_str(), size, kCenterText);
    setDirty(false);
}

bool PlaceholderView::isTypeOf(const char* className) const {
    return std::strcmp(className, "PlaceholderView") == 0 || CView::isTypeOf(className);
}
