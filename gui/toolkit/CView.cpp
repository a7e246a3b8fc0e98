#include "gui/toolkit/CView.h"

#include <cstring>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

const char* const kMsgLooseFocus = "LooseFocus";
const char* const kMsgCheckIfViewContainer = "kMsgCheckIfViewContainer";
const char* const kMsgNewFocusView = "kMsgNewFocusView";
const char* const kMsgOldFocusView = "kMsgOldFocusView";

ModifierRoles& modifierRoles() {
    static ModifierRoles roles;
    return roles;
}

void setModifierRoles(bool alternativeLayout) {
    ModifierRoles& roles = modifierRoles();
    if (alternativeLayout) {
        roles = {kControl, kShift, kAlt};
    } else {
        roles = {kShift, kAlt, kControl};
    }
}

CView::CView(const CRect& r) : size(r), mouseableArea(r) {}

CView::~CView() = default;

CMessageResult CView::notify(CBaseObject* sender, const char* message) {
    (void)sender;
    (void)message;
    return kMessageUnknown;
}

void CView::draw(CDrawContext* context) {
    if (CBitmap* bitmap = background.get()) {
        if (transparencyEnabled) {
            bitmap->transparentDraw(context, size);
        } else {
            bitmap->draw(context, size);
        }
    }
    setDirty(false);
}

void CView::drawRect(CDrawContext* context, const CRect& updateRect) {
    (void)updateRect;
    draw(context);
}

void CView::invalid() {
    if (frame) frame->invalidRect(frameRect());
}

void CView::redraw() { invalid(); }

void CView::setVisible(bool state) {
    if (visible == state) return;
    visible = state;
    if (frame) frame->invalidRect(frameRect());
}

CMouseEventResult CView::onMouseDown(CPoint&, const int32_t&) { return kMouseEventNotImplemented; }
CMouseEventResult CView::onMouseUp(CPoint&, const int32_t&) { return kMouseEventNotImplemented; }
CMouseEventResult CView::onMouseMoved(CPoint&, const int32_t&) { return kMouseEventNotImplemented; }
CMouseEventResult CView::onMouseEntered(CPoint&, const int32_t&) { return kMouseEventNotImplemented; }
CMouseEventResult CView::onMouseExited(CPoint&, const int32_t&) { return kMouseEventNotImplemented; }

bool CView::hitTest(const CPoint& where, const int32_t& buttons) {
    (void)buttons;
    return mouseableArea.pointInside(where);
}

bool CView::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons) {
    if (axis == kMouseWheelAxisY) return onWheel(where, distance, buttons);
    return false;
}

bool CView::onWheel(const CPoint&, const float&, const int32_t&) { return false; }
bool CView::onDrop(CDragContainer*, const CPoint&) { return false; }
void CView::onDragEnter(CDragContainer*, const CPoint&) {}
void CView::onDragLeave(CDragContainer*, const CPoint&) {}
void CView::onDragMove(CDragContainer*, const CPoint&) {}
int32_t CView::onKeyDown(uint32_t, int32_t, int32_t) { return -1; }
int32_t CView::onKeyUp(uint32_t, int32_t, int32_t) { return -1; }

bool CView::attached(CView* parent) {
    parentView = parent;
    CView* top = parent;
    while (top && top->parentView) top = top->parentView;
    frame = (top && top->isTypeOf("CFrame")) ? static_cast<CFrame*>(top) : nullptr;
    return true;
}

bool CView::removed(CView* parent) {
    (void)parent;
    if (frame) frame->viewRemoved(this);
    parentView = nullptr;
    frame = nullptr;
    return true;
}

CPoint CView::frameOffset() const {
    CPoint p(size.left, size.top);
    for (const CView* v = parentView; v && v->parentView; v = v->parentView) {
        p.offset(v->size.left, v->size.top);
    }
    return p;
}

CRect CView::frameRect() const {
    const CPoint origin = frameOffset();
    return CRect(size).moveTo(origin.x, origin.y);
}

CPoint CView::frameToLocal(const CPoint& framePoint) const {
    CPoint p = framePoint;
    for (const CView* v = parentView; v && v->parentView; v = v->parentView) {
        p.offset(-v->size.left, -v->size.top);
    }
    return p;
}

CPoint CView::localToFrame(const CPoint& local) const {
    CPoint p = local;
    for (const CView* v = parentView; v && v->parentView; v = v->parentView) {
        p.offset(v->size.left, v->size.top);
    }
    return p;
}

void CView::setViewSize(const CRect& rect, bool invalidate) {
    if (invalidate) invalid();
    size = rect;
    if (invalidate) invalid();
}

void CView::setBackground(CBitmap* bitmap) {
    background = SharedPointer<CBitmap>(bitmap);
    setDirty();
}

bool CView::isTypeOf(const char* className) const { return std::strcmp(className, "CView") == 0; }

}  // namespace VSTGUI
