#include "gui/editor/EditorButtons.h"

#include <cstring>

using namespace VSTGUI;

void setStripFrames(IMultiBitmapControl& control, CCoord heightOfOneImage, int32_t count) {
    if (heightOfOneImage <= 0) return;
    control.setNumSubPixmaps(count);
    control.setHeightOfOneImage(heightOfOneImage);
}

// ---- nKickButton2 ----

nKickButton2::nKickButton2(const CRect& r, CControlListener* listener, int32_t t, CBitmap* strip, CCoord frameHeight)
    : CKickButton(r, listener, t, strip) {
    setStripFrames(*this, frameHeight);
}

void nKickButton2::setBusy(bool state) {
    if (busy == state) return;
    busy = state;
    invalid();
}

void nKickButton2::setDisabled(bool state) {
    if (disabled == state) return;
    disabled = state;
    invalid();
}

int32_t nKickButton2::frameShown() const {
    if (disabled) return kDisabled;
    return busy || showsOn() ? kPressed : kNormal;
}

void nKickButton2::draw(CDrawContext* context) {
    CBitmap* strip = getBackground();
    if (!strip) {
        CKickButton::draw(context);
        return;
    }
    drawStripImage(context, strip, stripLayout(strip, size.height()), frameShown(), size);
    setDirty(false);
}

CMouseEventResult nKickButton2::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (disabled) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    return CKickButton::onMouseDown(where, buttons);
}

bool nKickButton2::isTypeOf(const char* className) const {
    return std::strcmp(className, "nKickButton2") == 0 || CKickButton::isTypeOf(className);
}

// ---- CMovieButton3 and CMovieButton4 ----

CMovieButton3::CMovieButton3(const CRect& r, CControlListener* listener, int32_t t, CBitmap* strip, CCoord frameHeight)
    : CMovieButton(r, listener, t, strip) {
    setStripFrames(*this, frameHeight);
}

void CMovieButton3::draw(CDrawContext* context) {
    if (CBitmap* strip = getBackground()) {
        drawStripImage(context, strip, stripLayout(strip, size.height()), frameShown(), size);
    } else {
        CMovieButton::draw(context);
    }
    if (isHighlighted()) drawHighlight(context, size);
    setDirty(false);
}

bool CMovieButton3::isTypeOf(const char* className) const {
    return std::strcmp(className, "CMovieButton3") == 0 || CMovieButton::isTypeOf(className);
}

void CMovieButton4::setThirdState(bool state) {
    if (third == state) return;
    third = state;
    invalid();
}

bool CMovieButton4::isTypeOf(const char* className) const {
    return std::strcmp(className, "CMovieButton4") == 0 || CMovieButton3::isTypeOf(className);
}
