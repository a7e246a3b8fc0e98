#include "gui/toolkit/Switches.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

// ---- IMultiBitmapControl ----

IMultiBitmapControl::StripLayout IMultiBitmapControl::stripLayout(const CBitmap* strip, CCoord viewHeight) const {
    StripLayout layout;
    const CCoord stripHeight = strip ? strip->getHeight() : 0;
    if (subPixmaps > 0) {
        layout.count = subPixmaps;
        layout.imageHeight = heightOfOneImage > 0 ? heightOfOneImage : stripHeight / static_cast<CCoord>(subPixmaps);
    } else {
        layout.imageHeight = heightOfOneImage > 0 ? heightOfOneImage : viewHeight;
        if (layout.imageHeight > 0)
            layout.count = std::max(1, static_cast<int32_t>(std::floor(stripHeight / layout.imageHeight + 0.001f)));
    }
    return layout;
}

void IMultiBitmapControl::drawStripImage(CDrawContext* context, CBitmap* strip, const StripLayout& layout,
                                         int32_t index, const CRect& dest) {
    if (!strip || layout.imageHeight <= 0) return;
    index = std::clamp(index, 0, layout.count - 1);
    const CRect area = CRect::fromSize(dest.left, dest.top, std::min(dest.width(), strip->getWidth()),
                                       std::min(dest.height(), layout.imageHeight));
    strip->alphaDraw(context, area, CPoint(0, layout.imageHeight * static_cast<CCoord>(index)));
}

// ---- Shared look ----

namespace ControlKit {

void drawRoundRect(CDrawContext* context, const CRect& rect, CCoord radius, CDrawStyle style) {
    radius = std::clamp(radius, CCoord(0), std::min(rect.width(), rect.height()) / 2);
    if (radius < 0.5f) {
        context->drawRect(rect, style);
        return;
    }
    // Corner centres clockwise from the top-left, each with its arc's start.
    constexpr int32_t kStepsPerCorner = 6;
    const CPoint centres[4] = {{rect.left + radius, rect.top + radius},
                               {rect.right - radius, rect.top + radius},
                               {rect.right - radius, rect.bottom - radius},
                               {rect.left + radius, rect.bottom - radius}};
    // On the stack: controls draw this every frame, and drawing does not allocate.
    CPoint points[4 * (kStepsPerCorner + 1)];
    int32_t count = 0;
    for (int32_t corner = 0; corner < 4; ++corner) {
        const double start = std::numbers::pi * (1.0 + 0.5 * corner);  // screen angles, y down
        for (int32_t step = 0; step <= kStepsPerCorner; ++step) {
            const double a = start + (std::numbers::pi / 2) * step / kStepsPerCorner;
            points[count++] = CPoint(centres[corner].x + radius * static_cast<CCoord>(std::cos(a)),
                                     centres[corner].y + radius * static_cast<CCoord>(std::sin(a)));
        }
    }
    context->drawPolygon(points, count, style);
}

float normalizedValue(const CControl& control) {
    const float span = control.getMax() - control.getMin();
    if (span == 0) return 0;
    return std::clamp((control.getValue() - control.getMin()) / span, 0.0f, 1.0f);
}

float valueAt(const CControl& control, float fraction) {
    return control.getMin() + (control.getMax() - control.getMin()) * fraction;
}

void changeValue(CControl& control, float value) {
    const float old = control.getValue();
    control.setValue(value);
    control.bounceValue();
    if (control.getValue() == old) return;
    control.valueChanged();
    control.invalid();
}

CMouseEventResult finishDrag(CControl& control, bool& tracking) {
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    if (CFrame* f = control.getFrame()) f->setCursor(kCursorDefault);
    control.endEdit();
    return kMouseEventHandled;
}

}  // namespace ControlKit

// ---- CSwitchBase ----

CSwitchBase::CSwitchBase(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions,
                         CBitmap* strip, bool horizontal)
    : CControl(size, listener, tag, strip), horizontal(horizontal) {
    subPixmaps = positions > 0 ? positions : 0;
}

int32_t CSwitchBase::getPositionCount() const {
    if (subPixmaps > 0) return subPixmaps;
    if (getBackground()) return std::max(2, stripLayout(getBackground(), size.height()).count);
    return 2;
}

int32_t CSwitchBase::getPosition() const {
    const int32_t last = getPositionCount() - 1;
    return static_cast<int32_t>(std::lround(ControlKit::normalizedValue(*this) * static_cast<float>(last)));
}

int32_t CSwitchBase::positionAt(const CPoint& where) const {
    const int32_t count = getPositionCount();
    const CCoord along = horizontal ? where.x - size.left : where.y - size.top;
    const CCoord length = horizontal ? size.width() : size.height();
    if (length <= 0) return 0;
    const auto position = static_cast<int32_t>(std::floor(along * static_cast<CCoord>(count) / length));
    return std::clamp(position, 0, count - 1);
}

void CSwitchBase::choosePosition(int32_t position) {
    const int32_t last = getPositionCount() - 1;
    position = std::clamp(position, 0, last);
    const float old = value;
    value = ControlKit::valueAt(*this, static_cast<float>(position) / static_cast<float>(last));
    bounceValue();
    if (value != old) {
        valueChanged();
        invalid();
    }
}

void CSwitchBase::draw(CDrawContext* context) {
    const int32_t count = getPositionCount();
    const int32_t chosen = getPosition();
    if (CBitmap* strip = getBackground()) {
        drawStripImage(context, strip, stripLayout(strip, size.height()), chosen, size);
    } else {
        context->setDrawMode(kAntiAliasing);
        context->setFillColor(ControlKit::kTrack);
        ControlKit::drawRoundRect(context, size, 3, kDrawFilled);
        const CCoord length = horizontal ? size.width() : size.height();
        const CCoord step = length / static_cast<CCoord>(count);
        for (int32_t i = 0; i < count; ++i) {
            CRect segment = size;
            if (horizontal) {
                segment.left = size.left + step * static_cast<CCoord>(i);
                segment.right = segment.left + step;
            } else {
                segment.top = size.top + step * static_cast<CCoord>(i);
                segment.bottom = segment.top + step;
            }
            segment.inset(2, 2);
            context->setFillColor(i == chosen ? ControlKit::kAccent : ControlKit::kFace);
            ControlKit::drawRoundRect(context, segment, 2, kDrawFilled);
        }
    }
    setDirty(false);
}

CMouseEventResult CSwitchBase::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    beginEdit();
    tracking = true;
    choosePosition(positionAt(where));
    return kMouseEventHandled;
}

CMouseEventResult CSwitchBase::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    choosePosition(positionAt(where));
    return kMouseEventHandled;
}

CMouseEventResult CSwitchBase::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    endEdit();
    return kMouseEventHandled;
}

bool CSwitchBase::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (!getMouseEnabled() || distance == 0) return false;
    beginEdit();
    choosePosition(getPosition() + (distance > 0 ? 1 : -1));
    endEdit();
    return true;
}

bool CSwitchBase::isTypeOf(const char* className) const {
    return std::strcmp(className, "CSwitchBase") == 0 || CControl::isTypeOf(className);
}

CVerticalSwitch::CVerticalSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions,
                                 CBitmap* strip)
    : CSwitchBase(size, listener, tag, positions, strip, false) {}

bool CVerticalSwitch::isTypeOf(const char* className) const {
    return std::strcmp(className, "CVerticalSwitch") == 0 || CSwitchBase::isTypeOf(className);
}

CHorizontalSwitch::CHorizontalSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions,
                                     CBitmap* strip)
    : CSwitchBase(size, listener, tag, positions, strip, true) {}

bool CHorizontalSwitch::isTypeOf(const char* className) const {
    return std::strcmp(className, "CHorizontalSwitch") == 0 || CSwitchBase::isTypeOf(className);
}

// ---- CRockerSwitch ----

CRockerSwitch::CRockerSwitch(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip,
                             int32_t style)
    : CControl(size, listener, tag, strip), style(style & kHorizontal ? kHorizontal : kVertical) {
    subPixmaps = 3;
    vmin = -1;
    vmax = 1;
    value = 0;
    defaultValue = 0;
}

int32_t CRockerSwitch::getState() const {
    const float middle = (vmin + vmax) / 2;
    if (value > middle) return 1;
    if (value < middle) return -1;
    return 0;
}

int32_t CRockerSwitch::stateAt(const CPoint& where) const {
    if (!size.pointInside(where)) return 0;
    if (style & kHorizontal) return where.x < size.left + size.width() / 2 ? -1 : 1;
    return where.y < size.top + size.height() / 2 ? 1 : -1;
}

void CRockerSwitch::setState(int32_t state) {
    const float old = value;
    value = state > 0 ? vmax : state < 0 ? vmin : (vmin + vmax) / 2;
    if (value != old) {
        valueChanged();
        invalid();
    }
}

void CRockerSwitch::draw(CDrawContext* context) {
    const int32_t state = getState();
    if (CBitmap* strip = getBackground()) {
        drawStripImage(context, strip, stripLayout(strip, size.height()), state + 1, size);
        setDirty(false);
        return;
    }
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(ControlKit::kFace);
    ControlKit::drawRoundRect(context, size, 3, kDrawFilled);
    // The two halves, the held one lit, each with an arrow pointing outwards.
    const bool across = (style & kHorizontal) != 0;
    for (int32_t side : {-1, 1}) {
        CRect half = size;
        const bool firstHalf = across ? side < 0 : side > 0;  // left or upper
        if (across)
            (firstHalf ? half.right : half.left) = size.left + size.width() / 2;
        else
            (firstHalf ? half.bottom : half.top) = size.top + size.height() / 2;
        half.inset(2, 2);
        if (side == state) {
            context->setFillColor(ControlKit::kAccent);
            ControlKit::drawRoundRect(context, half, 2, kDrawFilled);
        }
        const CCoord cx = (half.left + half.right) / 2;
        const CCoord cy = (half.top + half.bottom) / 2;
        const CCoord r = std::max(CCoord(2), std::min(half.width(), half.height()) / 4);
        CPoint arrow[3];
        if (across) {
            const CCoord dir = firstHalf ? -1 : 1;
            arrow[0] = {cx + dir * r, cy};
            arrow[1] = {cx - dir * r, cy - r};
            arrow[2] = {cx - dir * r, cy + r};
        } else {
            const CCoord dir = firstHalf ? -1 : 1;
            arrow[0] = {cx, cy + dir * r};
            arrow[1] = {cx - r, cy - dir * r};
            arrow[2] = {cx + r, cy - dir * r};
        }
        context->setFillColor(side == state ? ControlKit::kTrack : ControlKit::kText);
        context->drawPolygon(arrow, 3, kDrawFilled);
    }
    setDirty(false);
}

CMouseEventResult CRockerSwitch::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    beginEdit();
    tracking = true;
    setState(stateAt(where));
    return kMouseEventHandled;
}

CMouseEventResult CRockerSwitch::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    setState(stateAt(where));
    return kMouseEventHandled;
}

CMouseEventResult CRockerSwitch::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    setState(0);
    endEdit();
    return kMouseEventHandled;
}

bool CRockerSwitch::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    (void)where;
    (void)distance;
    (void)buttons;
    return false;
}

bool CRockerSwitch::isTypeOf(const char* className) const {
    return std::strcmp(className, "CRockerSwitch") == 0 || CControl::isTypeOf(className);
}

}  // namespace VSTGUI
