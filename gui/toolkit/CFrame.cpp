#include "gui/toolkit/CFrame.h"

#include <algorithm>
#include <cstring>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CTimer.h"

namespace VSTGUI {

CFrame::CFrame(const CRect& r, VSTGUIEditorInterface* e) : CViewContainer(CRect(r).moveTo(0, 0)), editor(e) {
    frame = this;
}

CFrame::~CFrame() {
    modalView = nullptr;
    focusView = nullptr;
    viewOnTop = nullptr;
    platform.reset();
    removeAll(true);
}

bool CFrame::open(uintptr_t parent) {
    if (platform) return true;
    PlatformFrameFactory factory = getPlatformFrameFactory();
    if (!factory) return false;
    platform.reset(factory(this, size, parent));
    windowGone = false;
    if (!platform) return false;
    if (scale != 1 && !platform->setScale(scale)) scale = 1;
    invalidRect(size);
    return true;
}

bool CFrame::setScale(int32_t factor) {
    if (factor < 1 || factor > kMaxPlatformScale) return false;
    if (isOpen() && !platform->setScale(factor)) return false;
    scale = factor;
    return true;
}

void CFrame::close() {
    platform.reset();
    windowGone = false;
}

bool CFrame::setSize(CCoord width, CCoord height) {
    if (width <= 0 || height <= 0) return false;
    size = CRect(0, 0, width, height);
    mouseableArea = size;
    if (isOpen() && !platform->setSize(size)) return false;
    invalidRect(size);
    return true;
}

bool CFrame::getPosition(CCoord& x, CCoord& y) const {
    CPoint p;
    if (isOpen()) p = platform->getPositionOnScreen();
    x = p.x;
    y = p.y;
    return isOpen();
}

void CFrame::setFocusView(CView* view) {
    if (view == focusView) return;
    CView* old = focusView;
    focusView = view;
    if (old) {
        old->looseFocus();
        if (CView* parent = old->getParentView()) parent->notify(old, kMsgOldFocusView);
        old->invalid();
    }
    if (view) {
        view->takeFocus();
        if (CView* parent = view->getParentView()) parent->notify(view, kMsgNewFocusView);
        view->invalid();
    }
}

bool CFrame::setModalView(CView* view) {
    if (view && modalView && view != modalView) return false;
    if (mouseDownView == modalView) mouseDownView = nullptr;
    modalView = view;
    return true;
}

bool CFrame::getCurrentMouseLocation(CPoint& where) const {
    return isOpen() && platform->getCurrentMousePosition(where);
}

int32_t CFrame::getCurrentMouseButtons() const { return isOpen() ? platform->getCurrentMouseButtons() : 0; }

void CFrame::setCursor(CCursorType type) {
    if (isOpen()) platform->setMouseCursor(type);
}

void CFrame::showCursor(bool visible) {
    if (isOpen()) platform->showCursor(visible);
}

void CFrame::setCursorPosition(const CPoint& where) {
    if (isOpen()) platform->setCursorPosition(where);
}

uint32_t CFrame::getDoubleClickTime() const {
    const uint32_t system = isOpen() ? platform->doubleClickTime() : 0;
    return system ? std::max<uint32_t>(system, 250) : CControl::doubleClickTime();
}

void CFrame::beginEdit(int32_t tag) {
    if (editor) editor->beginEdit(tag);
}

void CFrame::endEdit(int32_t tag) {
    if (editor) editor->endEdit(tag);
}

void CFrame::invalidRect(const CRect& rect) {
    CRect area = rect;
    area.bound(size);
    if (area.isEmpty()) return;
    invalidArea.unite(area);
    if (isOpen()) platform->invalidRect(area);
}

void CFrame::draw(CDrawContext* context) { drawRect(context, size); }

void CFrame::drawRect(CDrawContext* context, const CRect& updateRect) {
    CViewContainer::drawRect(context, updateRect);
    if (viewOnTop && viewOnTop->isVisible() && viewOnTop->checkUpdate(updateRect)) {
        const CRect savedClip = context->getClipRect();
        const CPoint savedOffset = context->getOffset();
        // The view on top may live anywhere in the tree: draw it in its
        // parent's coordinates.
        const CPoint parentOrigin = viewOnTop->frameOffset() - viewOnTop->getViewSize().topLeft();
        CRect clip = savedClip;
        clip.bound(updateRect);
        context->setClipRect(clip);
        context->setOffset(savedOffset + parentOrigin);
        viewOnTop->drawRect(context, CRect(updateRect).offset(-parentOrigin.x, -parentOrigin.y));
        context->setOffset(savedOffset);
        context->setClipRect(savedClip);
    }
}

void CFrame::drawInto(CDIB* target) {
    if (!target) return;
    // On the stack: a frame drawn over and over allocates nothing here.
    CLocalDrawContext context(target);
    drawRect(&context, size);
    invalidArea = CRect();
}

void CFrame::platformDrawRect(CDrawContext* context, const CRect& rect) {
    drawRect(context, rect);
    CRect covered = invalidArea;
    covered.unite(rect);
    if (covered == rect) invalidArea = CRect();
}

void CFrame::idle() {
    if (platform) {
        platform->idle();
        if (windowGone) {
            platform.reset();
            windowGone = false;
        }
    }
    CTimer::fireDue(toolkitMilliseconds());
}

bool CFrame::runPopup(IPopupClient* client) { return isOpen() && client && platform->runPopup(client); }

CMouseEventResult CFrame::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (mouseDownView) return kMouseEventHandled;  // a second button during a drag
    if (modalView) {
        if (!modalView->isVisible() || !modalView->getMouseEnabled()) return kMouseEventNotHandled;
        CPoint local = modalView->frameToLocal(where);
        const CMouseEventResult result = modalView->onMouseDown(local, buttons);
        if (result == kMouseEventHandled) mouseDownView = modalView;
        return result;
    }
    const CMouseEventResult result = dispatchMouseDown(where, buttons);
    CView* hit = getViewAt(where, true);
    if (hit && hit->wantsFocus()) {
        setFocusView(hit);
    } else if (focusView && hit != focusView) {
        setFocusView(nullptr);
    }
    return result;
}

CMouseEventResult CFrame::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (modalView && mouseDownView == modalView) {
        mouseDownView = nullptr;
        CPoint local = modalView->frameToLocal(where);
        return modalView->onMouseUp(local, buttons);
    }
    return CViewContainer::onMouseUp(where, buttons);
}

CMouseEventResult CFrame::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (modalView) {
        CPoint local = modalView->frameToLocal(where);
        return modalView->onMouseMoved(local, buttons);
    }
    return CViewContainer::onMouseMoved(where, buttons);
}

CMouseEventResult CFrame::onMouseExited(CPoint& where, const int32_t& buttons) {
    if (mouseDownView) return kMouseEventHandled;  // the drag goes on outside
    return CViewContainer::onMouseExited(where, buttons);
}

bool CFrame::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons) {
    if (modalView) return modalView->onWheel(modalView->frameToLocal(where), axis, distance, buttons);
    return CViewContainer::onWheel(where, axis, distance, buttons);
}

bool CFrame::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    return onWheel(where, kMouseWheelAxisY, distance, buttons);
}

bool CFrame::platformOnMouseWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                                  const int32_t& buttons) {
    return onWheel(where, axis, distance, buttons);
}

int32_t CFrame::onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    if (focusView) {
        const int32_t used = focusView->onKeyDown(character, virtualKey, modifiers);
        if (used != -1) return used;
    }
    if (modalView && modalView != focusView) return modalView->onKeyDown(character, virtualKey, modifiers);
    return -1;
}

int32_t CFrame::onKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    if (focusView) {
        const int32_t used = focusView->onKeyUp(character, virtualKey, modifiers);
        if (used != -1) return used;
    }
    if (modalView && modalView != focusView) return modalView->onKeyUp(character, virtualKey, modifiers);
    return -1;
}

void CFrame::platformOnFocusChanged(bool hasFocus) {
    if (!hasFocus && focusView) focusView->notify(this, kMsgLooseFocus);
}

void CFrame::platformWindowGone() { windowGone = true; }

void CFrame::platformOnDragEnter(CDragContainer* drag, const CPoint& where) {
    dragView = nullptr;
    platformOnDragMove(drag, where);
}

void CFrame::platformOnDragMove(CDragContainer* drag, const CPoint& where) {
    CView* under = getViewAt(where, true);
    if (under && !under->getMouseEnabled()) under = nullptr;
    if (under != dragView) {
        if (dragView) dragView->onDragLeave(drag, dragView->frameToLocal(where));
        dragView = under;
        if (dragView) dragView->onDragEnter(drag, dragView->frameToLocal(where));
    } else if (dragView) {
        dragView->onDragMove(drag, dragView->frameToLocal(where));
    }
}

void CFrame::platformOnDragLeave(CDragContainer* drag, const CPoint& where) {
    if (dragView) dragView->onDragLeave(drag, dragView->frameToLocal(where));
    dragView = nullptr;
}

bool CFrame::platformOnDrop(CDragContainer* drag, const CPoint& where) {
    dragView = nullptr;
    return onDrop(drag, where);
}

void CFrame::viewRemoved(CView* view) {
    if (focusView == view) focusView = nullptr;
    if (modalView == view) modalView = nullptr;
    if (viewOnTop == view) viewOnTop = nullptr;
    if (mouseDownView == view) mouseDownView = nullptr;
    if (dragView == view) dragView = nullptr;
}

bool CFrame::isTypeOf(const char* className) const {
    return std::strcmp(className, "CFrame") == 0 || CViewContainer::isTypeOf(className);
}

}  // namespace VSTGUI
