#include "gui/toolkit/iControl.h"

#include <cstring>

namespace VSTGUI {

iControlWrapper::iControlWrapper(iControl* t) : CControl(t->getControlSize(), nullptr, 0), target(t) {
    value = target->getValue();
    mouseableArea = target->getControlMouseableArea();
}

void iControlWrapper::setValue(float v) {
    target->setValue(v);
    value = target->getValue();
}

void iControlWrapper::setViewSize(const CRect& rect, bool invalidate) {
    target->setControlSize(rect);
    size = rect;
    if (invalidate) target->invalidControl();
}

bool iControlWrapper::isTypeOf(const char* className) const {
    return std::strcmp(className, "iControlWrapper") == 0 || CControl::isTypeOf(className);
}

}  // namespace VSTGUI
