#include "gui/editor/PlaceholderView.h"

#include <cstring>

#include "gui/toolkit/CFontDesc.h"

using namespace VSTGUI;

PlaceholderView::PlaceholderView(const CRect& r, std::string_view name, std::string_view what, int32_t t)
    : CControl(r, nullptr, t), elementName(name), standsFor(what) {
    setMouseEnabled(false);
}

void PlaceholderView::draw(CDrawContext* context) {
    context->setFont(kNormalFont);
    context->setDrawMode(kAliasing);
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setFrameColor(kOutline);
    context->drawRect(size, kDrawStroked);
    // A name that does not fit would show as a meaningless fragment: a box
    // too small for it is crossed instead (the census still names it).
    if (context->getStringWidth(elementName.c_str()) + 4 <= size.width() && size.height() >= 12) {
        context->setFontColor(kOutline);
        const CCoord line = 14;
        const bool twoLines = !standsFor.empty() && size.height() >= 2 * line + 4 &&
                              context->getStringWidth(standsFor.c_str()) + 4 <= size.width();
        if (twoLines) {
            const CCoord middle = (size.top + size.bottom) / 2;
            context->drawString(elementName.c_str(), CRect(size.left, middle - line, size.right, middle), kCenterText);
            context->drawString(standsFor.c_str(), CRect(size.left, middle, size.right, middle + line), kCenterText);
        } else {
            context->drawString(elementName.c_str(), size, kCenterText);
        }
    } else {
        context->drawLine(CPoint(size.left, size.top), CPoint(size.right - 1, size.bottom - 1));
        context->drawLine(CPoint(size.left, size.bottom - 1), CPoint(size.right - 1, size.top));
    }
    setDirty(false);
}

bool PlaceholderView::isTypeOf(const char* className) const {
    return std::strcmp(className, "PlaceholderView") == 0 || CControl::isTypeOf(className);
}
