#include "gui/toolkit/Buttons.h"

#include <cstring>

namespace VSTGUI {

// ---- CButtonBase ----

CButtonBase::CButtonBase(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip)
    : CControl(size, listener, tag, strip) {
    subPixmaps = 2;
}

void CButtonBase::setTitle(const char* text) {
    title = text ? text : "";
    setDirty();
}

bool CButtonBase::isOn() const { return value > (vmin + vmax) / 2; }

void CButtonBase::setOn(bool on) {
    const float old = value;
    value = on ? vmax : vmin;
    if (value != old) {
        valueChanged();
        invalid();
    }
}

void CButtonBase::draw(CDrawContext* context) {
    const bool lit = showsOn();
    if (CBitmap* strip = getBackground()) {
        drawStripImage(context, strip, stripLayout(strip, size.height()), lit ? 1 : 0, size);
        setDirty(false);
        return;
    }
    context->setDrawMode(kAntiAliasing);
    CRect face = size;
    face.inset(0.5f, 0.5f);
    context->setFillColor(lit ? litColor : ControlKit::kFace);
    context->setFrameColor(lit ? litColor : ControlKit::kOutline);
    context->setLineWidth(1);
    ControlKit::drawRoundRect(context, face, 3, kDrawFilledAndStroked);
    if (!title.empty()) {
        context->setFont(kNormalFont);
        context->setFontColor(lit ? ControlKit::kTrack : ControlKit::kText);
        context->drawString(title.c_str(), size, kCenterText);
    }
    setDirty(false);
}

bool CButtonBase::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    (void)where;
    (void)distance;
    (void)buttons;
    return false;
}

bool CButtonBase::isTypeOf(const char* className) const {
    return std::strcmp(className, "CButtonBase") == 0 || CControl::isTypeOf(className);
}

// ---- COnOffButton ----

COnOffButton::COnOffButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip)
    : CButtonBase(size, listener, tag, strip) {}

CMouseEventResult COnOffButton::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    beginEdit();
    setOn(!isOn());
    endEdit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool COnOffButton::isTypeOf(const char* className) const {
    return std::strcmp(className, "COnOffButton") == 0 || CButtonBase::isTypeOf(className);
}

// ---- CKickButton ----

CKickButton::CKickButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip)
    : CButtonBase(size, listener, tag, strip) {}

CMouseEventResult CKickButton::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    beginEdit();
    tracking = true;
    setOn(true);
    return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    setOn(size.pointInside(where));
    return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    setOn(false);
    endEdit();
    return kMouseEventHandled;
}

bool CKickButton::isTypeOf(const char* className) const {
    return std::strcmp(className, "CKickButton") == 0 || CButtonBase::isTypeOf(className);
}

// ---- CMovieButton ----

CMovieButton::CMovieButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip)
    : CButtonBase(size, listener, tag, strip) {}

void CMovieButton::setPressedInside(bool inside) {
    if (inside == pressedInside) return;
    pressedInside = inside;
    invalid();
}

CMouseEventResult CMovieButton::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    beginEdit();
    tracking = true;
    setPressedInside(size.pointInside(where));
    return kMouseEventHandled;
}

CMouseEventResult CMovieButton::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    setPressedInside(size.pointInside(where));
    return kMouseEventHandled;
}

CMouseEventResult CMovieButton::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    pressedInside = false;
    if (size.pointInside(where))
        setOn(!isOn());
    else
        invalid();
    endEdit();
    return kMouseEventHandled;
}

bool CMovieButton::isTypeOf(const char* className) const {
    return std::strcmp(className, "CMovieButton") == 0 || CButtonBase::isTypeOf(className);
}

}  // namespace VSTGUI
