#include "gui/editor/Pages.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFrame.h"

using namespace VSTGUI;

bool setBackgroundFromId(CView* view, int32_t id) {
    if (id == 0) return false;
    CDIB* image = CDIB::fromResource(id);
    if (!image) return false;
    view->setBackground(image);
    image->forget();  // the view holds its own reference
    return true;
}

nPage::nPage(const CRect& r, int32_t t, int32_t number, int32_t background)
    : CGViewContainer(r, number != 0), tag(t), pageNumber(number), backgroundId(background) {
    // Without an image nothing is painted behind the page's views.
    setTransparency(!setBackgroundFromId(this, backgroundId));
}

void nPage::setValue(float v) {
    value = v;
    setHidden(v != static_cast<float>(pageNumber));
}

void nPage::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    if (CBitmap* image = getBackground()) image->alphaDraw(context, rect, rect.topLeft());
}

bool nPage::isTypeOf(const char* className) const {
    return std::strcmp(className, "nPage") == 0 || CGViewContainer::isTypeOf(className);
}

bool nClickThruPage::hitTest(const CPoint& where, const int32_t& buttons) {
    if (hidden || !mouseableArea.pointInside(where)) return false;
    const CPoint local = where - size.topLeft();
    for (CView* child : children) {
        if (child->isVisible() && child->getMouseEnabled() && child->hitTest(local, buttons)) return true;
    }
    return false;
}

bool nClickThruPage::isTypeOf(const char* className) const {
    return std::strcmp(className, "nClickThruPage") == 0 || nPage::isTypeOf(className);
}

// ---- nPageR ----

void nPageR::setViewSize(const CRect& rect, bool invalidate) {
    nPage::setViewSize(rect, invalidate);
    if (children.empty()) return;
    CView* first = children.front();
    const CRect old = first->getViewSize();
    first->setViewSize(CRect(old.left, old.top, old.left + rect.width(), old.top + rect.height()), invalidate);
}

bool nPageR::isTypeOf(const char* className) const {
    return std::strcmp(className, "nPageR") == 0 || nPage::isTypeOf(className);
}

// ---- nDraggablePage ----

void nDraggablePage::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    CBitmap* image = getBackground();
    if (!image) return;
    const CCoord width = size.width();
    const CCoord height = size.height();
    const CCoord imageHeight = image->getHeight();
    // The caps shrink together when the page is shorter than both.
    const CCoord cap = std::min(kCapRows, std::min(imageHeight, height) / 2);
    const CCoord middleRows = imageHeight - 2 * cap;
    auto piece = [&](CCoord top, CCoord rows, CCoord sourceTop) {
        CRect dest(0, top, width, top + rows);
        dest.bound(rect);
        if (dest.isEmpty()) return;
        image->alphaDraw(context, dest, CPoint(dest.left, sourceTop + (dest.top - top)));
    };
    piece(0, cap, 0);
    if (middleRows > 0) {
        for (CCoord y = cap; y < height - cap; y += middleRows) {
            piece(y, std::min(middleRows, height - cap - y), cap);
        }
    }
    piece(height - cap, cap, imageHeight - cap);
}

CMouseEventResult nDraggablePage::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (hidden) return kMouseEventNotHandled;
    const CMouseEventResult result = nPage::onMouseDown(where, buttons);
    if (result != kMouseEventNotHandled) return result;
    if (!(buttons & kLButton) || !size.pointInside(where)) return kMouseEventNotHandled;
    dragging = true;
    grab = where - size.topLeft();
    return kMouseEventHandled;
}

CMouseEventResult nDraggablePage::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (!dragging) return nPage::onMouseMoved(where, buttons);
    moveTo(where - grab);
    return kMouseEventHandled;
}

CMouseEventResult nDraggablePage::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (!dragging) return nPage::onMouseUp(where, buttons);
    moveTo(where - grab);
    dragging = false;
    return kMouseEventHandled;
}

void nDraggablePage::moveTo(CPoint topLeft) {
    // The page's room: the frame's size, or its parent's when it is not in a frame.
    CRect room;
    if (getFrame()) {
        room = getFrame()->getViewSize();
    } else if (getParentView()) {
        room = getParentView()->getViewSize();
    } else {
        return;
    }
    const CCoord width = size.width();
    topLeft.x = std::min(topLeft.x, room.width() - kKeepVisible);
    topLeft.x = std::max(topLeft.x, kKeepVisible - width);
    topLeft.y = std::min(topLeft.y, room.height() - kKeepVisible);
    topLeft.y = std::max<CCoord>(topLeft.y, 0);
    if (topLeft == size.topLeft()) return;
    if (getParentView()) getParentView()->invalid();
    setViewSize(CRect(topLeft.x, topLeft.y, topLeft.x + width, topLeft.y + size.height()));
    invalid();
}

bool nDraggablePage::isTypeOf(const char* className) const {
    return std::strcmp(className, "nDraggablePage") == 0 || nPage::isTypeOf(className);
}

// ---- nScrollBox ----

nScrollBox::nScrollBox(const CRect& r, int32_t t) : nPage(r, t, 0) {}

CCoord nScrollBox::contentHeight() const {
    CCoord bottom = 0;
    for (const CView* child : children) {
        if (!child->isVisible()) continue;
        if (const auto* page = dynamic_cast<const iCGinterface*>(child); page && page->isHidden()) continue;
        bottom = std::max(bottom, child->getViewSize().bottom + offset);
    }
    return bottom;
}

CCoord nScrollBox::scrollRange() const { return std::max<CCoord>(0, contentHeight() - size.height()); }

CRect nScrollBox::barRect() const { return CRect(size.width() - kBarWidth, 0, size.width(), size.height()); }

CRect nScrollBox::thumbRect() const {
    const CCoord range = scrollRange();
    if (range <= 0) return CRect();
    const CRect bar = barRect();
    const CCoord share = size.height() / (size.height() + range);
    const CCoord thumbHeight = std::max<CCoord>(kBarWidth, std::floor(bar.height() * share));
    const CCoord top = std::round((bar.height() - thumbHeight) * offset / range);
    return CRect(bar.left, top, bar.right, top + thumbHeight);
}

void nScrollBox::setScrollOffset(CCoord pixels) {
    const CCoord target = std::round(std::clamp<CCoord>(pixels, 0, scrollRange()));
    if (target == offset) return;
    const CCoord shift = offset - target;
    for (CView* child : children) {
        child->setViewSize(CRect(child->getViewSize()).offset(0, shift), false);
    }
    offset = target;
    invalid();
}

void nScrollBox::setValue(float v) {
    // The box stays on show; the pages inside it follow their own tags.
    value = v;
    setScrollOffset(offset);
    invalid();
}

void nScrollBox::drawRect(CDrawContext* context, const CRect& updateRect) {
    if (hidden) return;
    // Views that shrank since the last measure must not leave the box
    // scrolled past its end.
    if (offset > scrollRange()) setScrollOffset(scrollRange());
    nPage::drawRect(context, updateRect);
    if (scrollRange() <= 0) return;
    const CPoint origin = size.topLeft();
    context->setDrawMode(kAliasing);
    context->setFillColor(kTrack);
    context->fillRect(CRect(barRect()).offset(origin.x, origin.y));
    context->setFillColor(kThumb);
    CRect thumb = thumbRect().offset(origin.x, origin.y);
    thumb.inset(2, 0);
    context->fillRect(thumb);
    context->setDrawMode(kAntiAliasing);
}

CMouseEventResult nScrollBox::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (hidden) return kMouseEventNotHandled;
    const CPoint local = where - size.topLeft();
    if (scrollRange() > 0 && barRect().pointInside(local) && (buttons & kLButton)) {
        CRect thumb = thumbRect();
        if (!thumb.pointInside(local)) {
            // A press beside the thumb puts the thumb's middle there.
            const CCoord travel = barRect().height() - thumb.height();
            if (travel > 0) setScrollOffset((local.y - thumb.height() / 2) * scrollRange() / travel);
            thumb = thumbRect();
        }
        draggingThumb = true;
        grabY = local.y - thumb.top;
        return kMouseEventHandled;
    }
    return nPage::onMouseDown(where, buttons);
}

CMouseEventResult nScrollBox::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (!draggingThumb) return nPage::onMouseMoved(where, buttons);
    const CCoord travel = barRect().height() - thumbRect().height();
    if (travel > 0) setScrollOffset((where.y - size.top - grabY) * scrollRange() / travel);
    return kMouseEventHandled;
}

CMouseEventResult nScrollBox::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (!draggingThumb) return nPage::onMouseUp(where, buttons);
    draggingThumb = false;
    return kMouseEventHandled;
}

bool nScrollBox::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                         const int32_t& buttons) {
    if (hidden) return false;
    // A control under the pointer takes the wheel first.
    if (nPage::onWheel(where, axis, distance, buttons)) return true;
    if (axis != kMouseWheelAxisY || scrollRange() <= 0) return false;
    setScrollOffset(offset - distance * kWheelStep);
    return true;
}

bool nScrollBox::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    return onWheel(where, kMouseWheelAxisY, distance, buttons);
}

bool nScrollBox::isTypeOf(const char* className) const {
    return std::strcmp(className, "nScrollBox") == 0 || nPage::isTypeOf(className);
}

// ---- nPageSelect ----

nPageSelect::nPageSelect(const CRect& r, CControlListener* listener, int32_t t, float select)
    : CControl(r, listener, t), selectValue(select) {
    setMax(std::max(1.0f, select));
}

void nPageSelect::draw(CDrawContext*) { setDirty(false); }

void nPageSelect::follow(const CPoint& where, const int32_t& buttons) {
    value = ((buttons & kLButton) && size.pointInside(where)) ? selectValue : valueAtPress;
}

CMouseEventResult nPageSelect::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    valueAtPress = value;
    tracking = true;
    beginEdit();
    follow(where, buttons);
    return kMouseEventHandled;
}

CMouseEventResult nPageSelect::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (!tracking) return kMouseEventNotHandled;
    follow(where, buttons);
    return kMouseEventHandled;
}

CMouseEventResult nPageSelect::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    // The release itself still counts as the button held where it happened.
    follow(where, buttons | kLButton);
    valueChanged();
    endEdit();
    return kMouseEventHandled;
}

bool nPageSelect::isTypeOf(const char* className) const {
    return std::strcmp(className, "nPageSelect") == 0 || CControl::isTypeOf(className);
}
