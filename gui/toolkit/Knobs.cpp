#include "gui/toolkit/Knobs.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

namespace {

// The point at `degrees` (counter-clockwise from three o'clock, on a
// screen whose y grows downwards) at `radius` from `centre`.
CPoint pointAt(const CPoint& centre, CCoord radius, float degrees) {
    const double a = degrees * std::numbers::pi / 180.0;
    return {centre.x + radius * static_cast<CCoord>(std::cos(a)), centre.y - radius * static_cast<CCoord>(std::sin(a))};
}

// An arc from `fromDegrees` to `toDegrees` as a polyline in the current
// frame colour and line width.
void drawArc(CDrawContext* context, const CPoint& centre, CCoord radius, float fromDegrees, float toDegrees) {
    const float sweep = std::fabs(toDegrees - fromDegrees);
    if (sweep < 0.01f) return;
    const int32_t steps = std::max(2, static_cast<int32_t>(std::ceil(sweep / 4.0f)));
    std::vector<CPoint> points;
    points.reserve(static_cast<size_t>(steps) + 1);
    for (int32_t i = 0; i <= steps; ++i)
        points.push_back(pointAt(centre, radius, fromDegrees + (toDegrees - fromDegrees) * static_cast<float>(i) / static_cast<float>(steps)));
    context->drawPolyline(points.data(), static_cast<int32_t>(points.size()));
}

}  // namespace

// ---- CKnob ----

CKnob::CKnob(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* background, CBitmap* handle,
             const CPoint& backgroundOffset)
    : CControl(size, listener, tag, background), handle(handle) {
    setBackOffset(backgroundOffset);
}

CKnob::~CKnob() = default;

void CKnob::setHandleBitmap(CBitmap* bitmap) {
    handle = SharedPointer<CBitmap>(bitmap);
    setDirty();
}

void CKnob::draw(CDrawContext* context) {
    const float fraction = ControlKit::normalizedValue(*this);
    if (CBitmap* back = getBackground()) {
        back->alphaDraw(context, size, backOffset);
        drawPointer(context, fraction);
    } else {
        drawVectorKnob(context, fraction);
    }
    setDirty(false);
}

void CKnob::drawVectorKnob(CDrawContext* context, float fraction) {
    context->setDrawMode(kAntiAliasing);
    const CPoint centre((size.left + size.right) / 2, (size.top + size.bottom) / 2);
    const CCoord outer = std::min(size.width(), size.height()) / 2;
    const CCoord ringWidth = std::max(CCoord(2), outer / 8);
    const CCoord ringRadius = outer - ringWidth / 2 - 0.5f;
    const CCoord bodyRadius = ringRadius - ringWidth / 2 - std::max(CCoord(1.5f), outer / 12);

    // The track of the whole range, then the value's part of it.
    context->setLineStyle(kLineSolid);
    context->setLineWidth(ringWidth);
    context->setFrameColor(trackColor);
    drawArc(context, centre, ringRadius, angleOf(0), angleOf(1));
    context->setFrameColor(coronaColor);
    drawArc(context, centre, ringRadius, angleOf(coronaFromCenter ? 0.5f : 0.0f), angleOf(fraction));

    if (bodyRadius > 1) {
        context->setFillColor(bodyColor);
        context->drawEllipse(CRect(centre.x - bodyRadius, centre.y - bodyRadius, centre.x + bodyRadius,
                                   centre.y + bodyRadius),
                             kDrawFilled);
    }
    drawPointer(context, fraction);
}

void CKnob::drawPointer(CDrawContext* context, float fraction) {
    const CPoint centre((size.left + size.right) / 2, (size.top + size.bottom) / 2);
    const CCoord outer = std::min(size.width(), size.height()) / 2;
    const float angle = angleOf(fraction);
    if (CBitmap* h = handle.get()) {
        const CCoord w = h->getWidth();
        const CCoord hh = h->getHeight();
        const CCoord radius = std::max(CCoord(0), outer - inset - std::max(w, hh) / 2);
        const CPoint at = pointAt(centre, radius, angle);
        const CCoord left = std::round(at.x - w / 2);
        const CCoord top = std::round(at.y - hh / 2);
        h->alphaDraw(context, CRect(left, top, left + w, top + hh));
        return;
    }
    // Without a background bitmap the pointer lies on the body, inside the ring.
    const CCoord ringSpace = getBackground() ? 0 : std::max(CCoord(2), outer / 8) + std::max(CCoord(1.5f), outer / 12);
    const CCoord tipRadius = outer - ringSpace - inset;
    if (tipRadius <= 1) return;
    const CPoint tip = pointAt(centre, tipRadius, angle);
    const CPoint root = pointAt(centre, tipRadius * 0.35f, angle);
    context->setDrawMode(kAntiAliasing);
    context->setLineStyle(kLineSolid);
    context->setLineWidth(std::max(CCoord(1.5f), outer / 10));
    if (shadowColor.alpha != 0) {
        context->setFrameColor(shadowColor);
        context->drawLine(root + CPoint(1, 1), tip + CPoint(1, 1));
    }
    context->setFrameColor(handleColor);
    context->drawLine(root, tip);
}

CMouseEventResult CKnob::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    // A double click has reset the value to its default.
    if (checkDefaultValue(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    beginEdit();
    tracking = true;
    lastY = where.y;
    if (CFrame* f = getFrame()) f->setCursor(kCursorVSize);
    return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseMoved(CPoint& where, const int32_t& buttons) {
    if (!tracking) return kMouseEventNotHandled;
    // Each movement counts at the speed of the modifiers held during it, so
    // pressing or releasing the fine modifier mid-drag makes no jump.
    float step = (lastY - where.y) / dragRange * (vmax - vmin);
    if (buttons & modifierRoles().fine) step /= kFineFactor;
    lastY = where.y;
    ControlKit::changeValue(*this, value + step);
    return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    return ControlKit::finishDrag(*this, tracking);
}

bool CKnob::isTypeOf(const char* className) const {
    return std::strcmp(className, "CKnob") == 0 || CControl::isTypeOf(className);
}

// ---- CAnimKnob ----

CAnimKnob::CAnimKnob(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip, int32_t subPixmaps,
                     CCoord heightOfOneImage, const CPoint& backgroundOffset)
    : CKnob(size, listener, tag, strip, nullptr, backgroundOffset) {
    setNumSubPixmaps(subPixmaps);
    setHeightOfOneImage(heightOfOneImage);
}

int32_t CAnimKnob::getImageIndex() const {
    const int32_t count = stripLayout(getBackground(), size.height()).count;
    const auto index = static_cast<int32_t>(std::lround(ControlKit::normalizedValue(*this) * static_cast<float>(count - 1)));
    return inverse ? count - 1 - index : index;
}

void CAnimKnob::draw(CDrawContext* context) {
    CBitmap* strip = getBackground();
    if (!strip) {
        CKnob::draw(context);
        return;
    }
    drawStripImage(context, strip, stripLayout(strip, size.height()), getImageIndex(), size);
    setDirty(false);
}

bool CAnimKnob::isTypeOf(const char* className) const {
    return std::strcmp(className, "CAnimKnob") == 0 || CKnob::isTypeOf(className);
}

}  // namespace VSTGUI
