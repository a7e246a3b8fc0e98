#include "gui/toolkit/nControl.h"

#include <cmath>
#include <cstring>
#include <utility>

namespace VSTGUI {

nControl::nControl(const CRect& r, CControlListener* l, int32_t t) : CControl(r, l, t) { makeBuffers(); }

nControl::~nControl() {
    back->forget();
    front->forget();
}

void nControl::makeBuffers() {
    const auto w = static_cast<int32_t>(std::lround(size.width()));
    const auto h = static_cast<int32_t>(std::lround(size.height()));
    if (back) back->forget();
    if (front) front->forget();
    back = new CDIB(w, h);
    front = new CDIB(w, h);
    buffersStale = true;
}

void nControl::swapBuffers() {
    std::swap(back, front);
    front->dirty = true;
}

void nControl::draw(CDrawContext* context) {
    if (buffersStale || isDirty()) {
        back->fill(kTransparentCColor);
        CLocalDrawContext bufferContext(back);  // on the stack: a redraw allocates nothing
        paint(&bufferContext);
        swapBuffers();
        buffersStale = false;
    }
    front->alphaDraw(context, size);
    setDirty(false);
}

void nControl::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = std::lround(rect.width()) != back->width() || std::lround(rect.height()) != back->height();
    CControl::setViewSize(rect, invalidate);
    if (resized) makeBuffers();
}

bool nControl::isTypeOf(const char* className) const {
    return std::strcmp(className, "nControl") == 0 || CControl::isTypeOf(className);
}

}  // namespace VSTGUI
