#include "gui/toolkit/ControlMixins.h"

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

void nControlMouse::beginHideMouse(CFrame* frame) {
    if (!hideEnabled || !frame || !cursorVisible) return;
    if (!frame->getCurrentMouseLocation(savedPosition)) return;
    frame->showCursor(false);
    cursorVisible = false;
}

void nControlMouse::endHideMouse(CFrame* frame, const CPoint& offset) {
    if (cursorVisible) return;
    cursorVisible = true;
    if (!frame) return;
    frame->setCursorPosition(savedPosition + offset);
    frame->showCursor(true);
}

void CHighlightControl::drawHighlight(CDrawContext* context, const CRect& rect) const {
    const CColor savedColour = context->getFrameColor();
    const CCoord savedWidth = context->getLineWidth();
    context->setLineWidth(1);
    if (hasOuter) {
        context->setFrameColor(outerColour);
        context->drawRect(rect, kDrawStroked);
    }
    if (hasInner) {
        context->setFrameColor(innerColour);
        context->drawRect(CRect(rect).inset(1, 1), kDrawStroked);
    }
    context->setFrameColor(savedColour);
    context->setLineWidth(savedWidth);
}

}  // namespace VSTGUI
