#include "gui/toolkit/CGFrame.h"

#include <cstring>

namespace VSTGUI {

CGFrame::CGFrame(const CRect& r, VSTGUIEditorInterface* e, iVSTFrameCallbackInterface* c) : CFrame(r, e), callback(c) {}

CView* CGFrame::viewAt(const CPoint& where) const {
    if (callback) {
        if (CView* view = callback->viewAtPoint(where)) return view;
    }
    return getViewAt(where, true);
}

void CGFrame::setHidden(bool state) {
    if (hidden == state) return;
    hidden = state;
    invalidRect(size);
}

CMouseEventResult CGFrame::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (hidden) return kMouseEventNotHandled;
    if (callback && !mouseDownView && callback->frameMouseDown(where, buttons)) {
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    return CFrame::onMouseDown(where, buttons);
}

void CGFrame::drawRect(CDrawContext* context, const CRect& updateRect) {
    if (hidden) return;
    CFrame::drawRect(context, updateRect);
}

bool CGFrame::isTypeOf(const char* className) const {
    return std::strcmp(className, "CGFrame") == 0 || CFrame::isTypeOf(className);
}

}  // namespace VSTGUI
