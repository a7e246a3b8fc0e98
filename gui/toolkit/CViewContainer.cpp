#include "gui/toolkit/CViewContainer.h"

#include <algorithm>
#include <cstring>

#include "gui/toolkit/CControl.h"

namespace VSTGUI {

namespace {

CPoint toLocal(const CPoint& where, const CRect& size) { return {where.x - size.left, where.y - size.top}; }

bool takesMouse(CView* view) { return view->isVisible() && view->getMouseEnabled(); }

}  // namespace

CViewContainer::CViewContainer(const CRect& r) : CView(r) {}

CViewContainer::~CViewContainer() { removeAll(true); }

bool CViewContainer::addView(CView* view) {
    if (!view || isChild(view)) return false;
    children.push_back(view);
    view->attached(this);
    view->invalid();
    return true;
}

bool CViewContainer::removeView(CView* view, bool withForget) {
    auto it = std::find(children.begin(), children.end(), view);
    if (it == children.end()) return false;
    view->invalid();
    if (mouseDownView == view) mouseDownView = nullptr;
    if (mouseOverView == view) mouseOverView = nullptr;
    view->removed(this);
    children.erase(it);
    if (withForget) view->forget();
    return true;
}

bool CViewContainer::removeAll(bool withForget) {
    mouseDownView = nullptr;
    mouseOverView = nullptr;
    // Children leave from the top down; each is taken out of the list before
    // it is told, so a child that looks at its old parent sees a consistent
    // tree.
    while (!children.empty()) {
        CView* view = children.back();
        children.pop_back();
        view->removed(this);
        if (withForget) view->forget();
    }
    return true;
}

CView* CViewContainer::getView(int32_t index) const {
    if (index < 0 || index >= getNbViews()) return nullptr;
    return children[static_cast<size_t>(index)];
}

bool CViewContainer::isChild(const CView* view) const {
    return std::find(children.begin(), children.end(), view) != children.end();
}

CView* CViewContainer::getViewAt(const CPoint& where, bool deep) const {
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* view = *it;
        if (!view->isVisible() || !view->getViewSize().pointInside(where)) continue;
        if (deep && view->notify(nullptr, kMsgCheckIfViewContainer) == kMessageNotified) {
            const auto* container = static_cast<const CViewContainer*>(view);
            if (CView* inner = container->getViewAt(toLocal(where, view->getViewSize()), true)) return inner;
        }
        return view;
    }
    return nullptr;
}

void CViewContainer::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    if (CBitmap* bitmap = background.get()) {
        bitmap->draw(context, rect, rect.topLeft());
    } else if (!transparencyEnabled) {
        context->setFillColor(backgroundColor);
        context->fillRect(rect);
    }
}

void CViewContainer::draw(CDrawContext* context) { drawRect(context, size); }

void CViewContainer::drawRect(CDrawContext* context, const CRect& updateRect) {
    CRect area = context->getClipRect();
    area.bound(size).bound(updateRect);
    if (area.isEmpty()) return;
    const CRect local = CRect(area).offset(-size.left, -size.top);

    if (offscreenDrawing) {
        CLocalDrawContext offscreen(offscreenBitmap());
        offscreen.setClipRect(local);
        drawBackgroundRect(&offscreen, local);
        drawChildren(&offscreen, local);
        offscreen.getTarget()->draw(context, area, local.topLeft());
    } else {
        const CRect savedClip = context->getClipRect();
        const CPoint savedOffset = context->getOffset();
        context->setClipRect(area);
        context->setOffset(savedOffset + size.topLeft());
        drawBackgroundRect(context, local);
        drawChildren(context, local);
        context->setOffset(savedOffset);
        context->setClipRect(savedClip);
    }
    setDirty(false);
}

// The bitmap is kept from one draw to the next while the size stays the
// same: a container drawn every frame then allocates nothing. Each draw
// starts from a bitmap all transparent, as a new one is.
CDIB* CViewContainer::offscreenBitmap() {
    const auto width = std::max(1, static_cast<int32_t>(size.width() + 0.5f));
    const auto height = std::max(1, static_cast<int32_t>(size.height() + 0.5f));
    CDIB* kept = offscreenTarget.get();
    if (kept && kept->width() == width && kept->height() == height) {
        kept->fill(kTransparentCColor);
        return kept;
    }
    offscreenTarget = SharedPointer<CDIB>::adopt(new CDIB(width, height));
    return offscreenTarget.get();
}

void CViewContainer::drawChildren(CDrawContext* context, const CRect& update) {
    const CRect clip = context->getClipRect();
    for (CView* view : children) {
        if (!view->isVisible() || view->getViewSize().isEmpty() || !view->checkUpdate(update)) continue;
        CRect childClip = clip;
        childClip.bound(view->getViewSize());
        if (childClip.isEmpty()) continue;
        context->setClipRect(childClip);
        view->drawRect(context, update);
    }
    context->setClipRect(clip);
}

bool CViewContainer::isDirty() const {
    if (dirty) return true;
    return std::any_of(children.begin(), children.end(),
                       [](const CView* v) { return v->isVisible() && v->isDirty(); });
}

CMouseEventResult CViewContainer::dispatchMouseDown(CPoint& where, const int32_t& buttons) {
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* view = *it;
        if (!takesMouse(view) || !view->hitTest(where, buttons)) continue;
        if ((buttons & kModifiedClickMask) != 0 && view->isTypeOf("CControl")) {
            auto* control = static_cast<CControl*>(view);
            if (CControlListener* listener = control->getListener()) {
                if (listener->controlModifierClicked(control, buttons) != 0) {
                    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
                }
            }
        }
        CPoint point = where;
        const CMouseEventResult result = view->onMouseDown(point, buttons);
        if (result == kMouseEventHandled) {
            mouseDownView = view;
            return result;
        }
        if (result == kMouseDownEventHandledButDontNeedMovedOrUpEvents) return result;
    }
    return kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseDown(CPoint& where, const int32_t& buttons) {
    CPoint local = toLocal(where, size);
    return dispatchMouseDown(local, buttons);
}

CMouseEventResult CViewContainer::onMouseUp(CPoint& where, const int32_t& buttons) {
    CView* view = mouseDownView;
    if (!view) return kMouseEventNotHandled;
    mouseDownView = nullptr;
    CPoint local = toLocal(where, size);
    return view->onMouseUp(local, buttons);
}

CMouseEventResult CViewContainer::onMouseMoved(CPoint& where, const int32_t& buttons) {
    CPoint local = toLocal(where, size);
    if (mouseDownView) return mouseDownView->onMouseMoved(local, buttons);
    CView* under = nullptr;
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        if (takesMouse(*it) && (*it)->hitTest(local, buttons)) {
            under = *it;
            break;
        }
    }
    if (under != mouseOverView) {
        if (mouseOverView) {
            CPoint p = local;
            mouseOverView->onMouseExited(p, buttons);
        }
        mouseOverView = under;
        if (under) {
            CPoint p = local;
            under->onMouseEntered(p, buttons);
        }
    }
    return under ? under->onMouseMoved(local, buttons) : kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseExited(CPoint& where, const int32_t& buttons) {
    if (mouseOverView) {
        CPoint local = toLocal(where, size);
        CView* view = mouseOverView;
        mouseOverView = nullptr;
        view->onMouseExited(local, buttons);
    }
    return kMouseEventHandled;
}

bool CViewContainer::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                             const int32_t& buttons) {
    const CPoint local = toLocal(where, size);
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* view = *it;
        if (takesMouse(view) && view->hitTest(local, buttons) && view->onWheel(local, axis, distance, buttons)) {
            return true;
        }
    }
    return false;
}

bool CViewContainer::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    return onWheel(where, kMouseWheelAxisY, distance, buttons);
}

bool CViewContainer::onDrop(CDragContainer* drag, const CPoint& where) {
    const CPoint local = toLocal(where, size);
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* view = *it;
        if (takesMouse(view) && view->getViewSize().pointInside(local)) return view->onDrop(drag, local);
    }
    return false;
}

bool CViewContainer::hitTest(const CPoint& where, const int32_t& buttons) { return CView::hitTest(where, buttons); }

CMessageResult CViewContainer::notify(CBaseObject* sender, const char* message) {
    if (message && std::strcmp(message, kMsgCheckIfViewContainer) == 0) return kMessageNotified;
    return CView::notify(sender, message);
}

bool CViewContainer::attached(CView* parent) {
    CView::attached(parent);
    for (CView* view : children) view->attached(this);
    return true;
}

bool CViewContainer::removed(CView* parent) {
    mouseDownView = nullptr;
    mouseOverView = nullptr;
    for (CView* view : children) view->removed(this);
    return CView::removed(parent);
}

bool CViewContainer::isTypeOf(const char* className) const {
    return std::strcmp(className, "CViewContainer") == 0 || CView::isTypeOf(className);
}

}  // namespace VSTGUI
