#include "gui/editor/Pages.h"

#include <cstring>

#include "gui/toolkit/CDIB.h"

using namespace VSTGUI;

bool setBackgroundFromId(CView* view, int32_t id) {
    if (id == 0) return false;
    CDIB* image = CDIB::fromResource(id);
    if (!image) return false;
    view->setBackground(image);
    image->forget();  // the view holds its own reference
    return true;
}

nPage::nPage(const CRect& r, int32_t t, int32_t number, int32_t background)
    : CGViewContainer(r, number != 0), tag(t), pageNumber(number), backgroundId(background) {
    // Without an image nothing is painted behind the page's views.
    setTransparency(!setBackgroundFromId(this, backgroundId));
}

void nPage::setValue(float v) {
    value = v;
    setHidden(v != static_cast<float>(pageNumber));
}

bool nPage::isTypeOf(const char* className) const {
    return std::strcmp(className, "nPage") == 0 || CGViewContainer::isTypeOf(className);
}

bool nClickThruPage::hitTest(const CPoint& where, const int32_t& buttons) {
    if (hidden || !mouseableArea.pointInside(where)) return false;
    const CPoint local = where - size.topLeft();
    for (CView* child : children) {
        if (child->isVisible() && child->getMouseEnabled() && child->hitTest(local, buttons)) return true;
    }
    return false;
}

bool nClickThruPage::isTypeOf(const char* className) const {
    return std::strcmp(className, "nClickThruPage") == 0 || nPage::isTypeOf(className);
}
