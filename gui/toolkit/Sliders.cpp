#include "gui/toolkit/Sliders.h"

#include <cmath>
#include <cstring>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

CSlider::CSlider(const CRect& size, CControlListener* listener, int32_t tag, int32_t style, CBitmap* handle,
                 CBitmap* background)
    : CControl(size, listener, tag, background), handle(handle) {
    setStyle(style);
}

CSlider::~CSlider() = default;

void CSlider::setStyle(int32_t s) {
    if (s & kHorizontal)
        style = kHorizontal | (s & kRight ? kRight : kLeft);
    else
        style = kVertical | (s & kTop ? kTop : kBottom);
    setDirty();
}

void CSlider::setHandle(CBitmap* bitmap) {
    handle = SharedPointer<CBitmap>(bitmap);
    setDirty();
}

CCoord CSlider::getHandleLength() const {
    if (CBitmap* h = handle.get()) return isHorizontal() ? h->getWidth() : h->getHeight();
    const CCoord length = isHorizontal() ? size.width() : size.height();
    const CCoord cross = isHorizontal() ? size.height() : size.width();
    return std::min(std::round(std::clamp(cross * 0.6f, CCoord(8), CCoord(28))), std::floor(length / 2));
}

CCoord CSlider::getMinPos() const { return minPos >= 0 ? minPos : 0; }

CCoord CSlider::getMaxPos() const {
    if (maxPos >= 0) return maxPos;
    const CCoord length = isHorizontal() ? size.width() : size.height();
    return std::max(CCoord(0), length - getHandleLength());
}

float CSlider::fractionAtHandlePos(CCoord pos) const {
    const CCoord lo = getMinPos();
    const CCoord travel = getMaxPos() - lo;
    if (travel <= 0) return 0;
    const float f = static_cast<float>((pos - lo) / travel);
    const bool fromStart = (style & (kTop | kLeft)) != 0;
    return std::clamp(fromStart ? f : 1.0f - f, 0.0f, 1.0f);
}

CCoord CSlider::handlePosAt(float fraction) const {
    const CCoord lo = getMinPos();
    const CCoord travel = getMaxPos() - lo;
    const bool fromStart = (style & (kTop | kLeft)) != 0;
    return lo + travel * (fromStart ? fraction : 1.0f - fraction);
}

CRect CSlider::getHandleRect() const {
    const CCoord pos = handlePosAt(ControlKit::normalizedValue(*this));
    const CCoord length = getHandleLength();
    CBitmap* h = handle.get();
    if (isHorizontal()) {
        const CCoord thickness = h ? h->getHeight() : size.height() - 2;
        const CCoord left = size.left + (h ? std::round(pos) : pos);
        const CCoord top = size.top + std::round((size.height() - thickness) / 2);
        return {left, top, left + length, top + thickness};
    }
    const CCoord thickness = h ? h->getWidth() : size.width() - 2;
    const CCoord top = size.top + (h ? std::round(pos) : pos);
    const CCoord left = size.left + std::round((size.width() - thickness) / 2);
    return {left, top, left + thickness, top + length};
}

CCoord CSlider::along(const CPoint& where) const {
    return isHorizontal() ? where.x - size.left : where.y - size.top;
}

void CSlider::draw(CDrawContext* context) {
    const float fraction = ControlKit::normalizedValue(*this);
    const CRect handleRect = getHandleRect();
    context->setDrawMode(kAntiAliasing);
    if (CBitmap* back = getBackground()) {
        back->alphaDraw(context, size, backOffset);
    } else {
        // A groove along the handle centre's travel, lit from the minimum.
        const CCoord halfHandle = getHandleLength() / 2;
        const CCoord thickness = std::max(CCoord(3), std::round((isHorizontal() ? size.height() : size.width()) / 6));
        const CCoord from = getMinPos() + halfHandle;
        const CCoord to = getMaxPos() + halfHandle;
        const CCoord at = handlePosAt(fraction) + halfHandle;
        const CCoord zero = handlePosAt(0) + halfHandle;
        auto groove = [&](CCoord a, CCoord b) {
            const CCoord lo = std::min(a, b);
            const CCoord hi = std::max(a, b);
            if (isHorizontal()) {
                const CCoord top = size.top + std::round((size.height() - thickness) / 2);
                return CRect(size.left + lo, top, size.left + hi, top + thickness);
            }
            const CCoord left = size.left + std::round((size.width() - thickness) / 2);
            return CRect(left, size.top + lo, left + thickness, size.top + hi);
        };
        context->setFillColor(trackColor);
        ControlKit::drawRoundRect(context, groove(from - thickness / 2, to + thickness / 2), thickness / 2, kDrawFilled);
        context->setFillColor(valueColor);
        ControlKit::drawRoundRect(context, groove(zero, at), thickness / 2, kDrawFilled);
    }
    if (CBitmap* h = handle.get()) {
        h->alphaDraw(context, handleRect);
    } else {
        context->setFillColor(handleColor);
        context->setFrameColor(ControlKit::kOutline);
        context->setLineWidth(1);
        CRect face = handleRect;
        face.inset(0.5f, 0.5f);
        ControlKit::drawRoundRect(context, face, 2.5f, kDrawFilledAndStroked);
        // A mark across the handle's centre.
        context->setFrameColor(ControlKit::kPointer);
        context->setLineWidth(1.5f);
        if (isHorizontal()) {
            const CCoord x = (handleRect.left + handleRect.right) / 2;
            context->drawLine(CPoint(x, handleRect.top + 3), CPoint(x, handleRect.bottom - 3));
        } else {
            const CCoord y = (handleRect.top + handleRect.bottom) / 2;
            context->drawLine(CPoint(handleRect.left + 3, y), CPoint(handleRect.right - 3, y));
        }
    }
    setDirty(false);
}

CMouseEventResult CSlider::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    // A double click has reset the value to its default.
    if (checkDefaultValue(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    beginEdit();
    tracking = true;
    const CCoord p = along(where);
    lastAlong = p;
    fineMode = (buttons & modifierRoles().fine) != 0;
    if (fineMode) {
        fineAnchor = p;
        fineValue = value;
    } else {
        const CCoord pos = handlePosAt(ControlKit::normalizedValue(*this));
        const CCoord length = getHandleLength();
        if (p >= pos && p < pos + length) {
            grabOffset = p - pos;
        } else {
            grabOffset = length / 2;
            ControlKit::changeValue(*this, ControlKit::valueAt(*this, fractionAtHandlePos(p - grabOffset)));
        }
    }
    if (CFrame* f = getFrame()) f->setCursor(isHorizontal() ? kCursorHSize : kCursorVSize);
    return kMouseEventHandled;
}

CMouseEventResult CSlider::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (!tracking) return kMouseEventNotHandled;
    const CCoord p = along(where);
    const bool fine = (buttons & modifierRoles().fine) != 0;
    if (fine != fineMode) {
        // Change speed where the pointer was before this movement, so the
        // handle does not jump.
        fineMode = fine;
        if (fineMode) {
            fineAnchor = lastAlong;
            fineValue = value;
        } else {
            grabOffset = lastAlong - handlePosAt(ControlKit::normalizedValue(*this));
        }
    }
    lastAlong = p;
    if (fineMode) {
        const CCoord travel = getMaxPos() - getMinPos();
        if (travel <= 0) return kMouseEventHandled;
        const bool fromStart = (style & (kTop | kLeft)) != 0;
        const float moved = static_cast<float>((p - fineAnchor) / travel) / kFineFactor;
        ControlKit::changeValue(*this, fineValue + (fromStart ? moved : -moved) * (vmax - vmin));
    } else {
        ControlKit::changeValue(*this, ControlKit::valueAt(*this, fractionAtHandlePos(p - grabOffset)));
    }
    return kMouseEventHandled;
}

CMouseEventResult CSlider::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    return ControlKit::finishDrag(*this, tracking);
}

bool CSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CSlider") == 0 || CControl::isTypeOf(className);
}

CVerticalSlider::CVerticalSlider(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* handle,
                                 CBitmap* background, int32_t origin)
    : CSlider(size, listener, tag, kVertical | (origin & (kTop | kBottom)), handle, background) {}

bool CVerticalSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CVerticalSlider") == 0 || CSlider::isTypeOf(className);
}

CHorizontalSlider::CHorizontalSlider(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* handle,
                                     CBitmap* background, int32_t origin)
    : CSlider(size, listener, tag, kHorizontal | (origin & (kLeft | kRight)), handle, background) {}

bool CHorizontalSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CHorizontalSlider") == 0 || CSlider::isTypeOf(className);
}

}  // namespace VSTGUI
