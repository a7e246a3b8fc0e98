#include "gui/toolkit/CGViewContainer.h"

#include <cmath>
#include <cstring>

namespace VSTGUI {

CGViewContainer::CGViewContainer(const CRect& r, bool h) : CViewContainer(r), hidden(h) {}

void CGViewContainer::setHidden(bool state) {
    if (hidden == state) return;
    hidden = state;
    invalid();
}

void CGViewContainer::drawRect(CDrawContext* context, const CRect& updateRect) {
    if (hidden) return;
    CViewContainer::drawRect(context, updateRect);
}

bool CGViewContainer::hitTest(const CPoint& where, const int32_t& buttons) {
    return !hidden && CViewContainer::hitTest(where, buttons);
}

CMouseEventResult CGViewContainer::onMouseDown(CPoint& where, const int32_t& buttons) {
    return hidden ? kMouseEventNotHandled : CViewContainer::onMouseDown(where, buttons);
}

CMouseEventResult CGViewContainer::onMouseUp(CPoint& where, const int32_t& buttons) {
    return hidden ? kMouseEventNotHandled : CViewContainer::onMouseUp(where, buttons);
}

CMouseEventResult CGViewContainer::onMouseMoved(CPoint& where, const int32_t& buttons) {
    return hidden ? kMouseEventNotHandled : CViewContainer::onMouseMoved(where, buttons);
}

bool CGViewContainer::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                              const int32_t& buttons) {
    return !hidden && CViewContainer::onWheel(where, axis, distance, buttons);
}

bool CGViewContainer::isTypeOf(const char* className) const {
    return std::strcmp(className, "CGViewContainer") == 0 || CViewContainer::isTypeOf(className);
}

namespace {
int32_t pixels(CCoord length) { return static_cast<int32_t>(std::lround(length)); }
}  // namespace

nCGViewContainer::nCGViewContainer(const CRect& r, bool h) : CGViewContainer(r, h) {
    dib = new CDIB(pixels(r.width()), pixels(r.height()));
    setBackground(dib);
    dib->forget();  // the background reference keeps it
}

void nCGViewContainer::setViewSize(const CRect& rect, bool invalidate) {
    if (pixels(rect.width()) != dib->width() || pixels(rect.height()) != dib->height()) {
        dib = new CDIB(pixels(rect.width()), pixels(rect.height()));
        setBackground(dib);
        dib->forget();
    }
    CGViewContainer::setViewSize(rect, invalidate);
}

bool nCGViewContainer::isTypeOf(const char* className) const {
    return std::strcmp(className, "nCGViewContainer") == 0 || CGViewContainer::isTypeOf(className);
}

}  // namespace VSTGUI
