#include "gui/editor/StaticViews.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "effect/Product.h"
#include "gui/editor/LayoutDocument.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CDrawContext.h"

using namespace VSTGUI;

// ---- nTiled ----

nTiled::nTiled(const CRect& r, int32_t t, int32_t backgroundId, Axis a, bool through)
    : CControl(r, nullptr, t), axis(a), clickThrough(through) {
    setBackgroundFromId(this, backgroundId);
    if (clickThrough) setMouseableArea(CRect());
}

void nTiled::draw(CDrawContext* context) {
    setDirty(false);
    CBitmap* image = getBackground();
    if (!image) return;
    const CCoord step = axis == Axis::X ? image->getWidth() : image->getHeight();
    if (step < 1) return;
    const CCoord end = axis == Axis::X ? size.right : size.bottom;
    for (CCoord at = axis == Axis::X ? size.left : size.top; at < end; at += step) {
        CRect piece = axis == Axis::X ? CRect(at, size.top, std::min(at + step, end), size.bottom)
                                      : CRect(size.left, at, size.right, std::min(at + step, end));
        image->alphaDraw(context, piece);
    }
}

bool nTiled::hitTest(const CPoint& where, const int32_t& buttons) {
    return !clickThrough && CControl::hitTest(where, buttons);
}

CMouseEventResult nTiled::onMouseDown(CPoint&, const int32_t&) {
    return clickThrough ? kMouseEventNotHandled : kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void nTiled::setViewSize(const CRect& rect, bool invalidate) {
    CControl::setViewSize(rect, invalidate);
    if (clickThrough) setMouseableArea(CRect());
}

bool nTiled::isTypeOf(const char* className) const {
    return std::strcmp(className, "nTiled") == 0 || CControl::isTypeOf(className);
}

// ---- nDarken ----

nDarken::nDarken(const CRect& r, CControlListener* listener, int32_t t) : CControl(r, listener, t) {}

void nDarken::draw(CDrawContext* context) {
    setDirty(false);
    if (value == 0) return;
    context->setFillColor(kShade);
    context->fillRect(size);
}

bool nDarken::hitTest(const CPoint& where, const int32_t& buttons) {
    return value != 0 && CControl::hitTest(where, buttons);
}

CMouseEventResult nDarken::onMouseDown(CPoint&, const int32_t&) {
    if (value == 0) return kMouseEventNotHandled;
    beginEdit();
    setValue(0);
    valueChanged();
    endEdit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void nDarken::setValue(float v) {
    if (v == value) return;
    value = v;
    // The sheet covers other views: what lies below must be drawn again.
    if (getParentView()) getParentView()->invalid();
    invalid();
}

bool nDarken::isTypeOf(const char* className) const {
    return std::strcmp(className, "nDarken") == 0 || CControl::isTypeOf(className);
}

// ---- nTextDisplay ----

nTextDisplay::nTextDisplay(const CRect& r, int32_t t, std::string_view initial, const Style& s)
    : CControl(r, nullptr, t), style(s), font(new CFontDesc(kFontName, s.fontSize)) {
    setMouseEnabled(false);
    setText(initial);
}

nTextDisplay::~nTextDisplay() { font->forget(); }

void nTextDisplay::setText(std::string_view t) {
    text = t;
    lines = splitTextLines(text);
    invalid();
}

CCoord nTextDisplay::lineHeight() const {
    const CFontMetrics m = font->getMetrics();
    return std::ceil(m.ascent + m.descent + m.lineGap);
}

void nTextDisplay::draw(CDrawContext* context) {
    setDirty(false);
    context->setFont(font);
    context->setFontColor(style.colour);
    const CCoord step = std::max<CCoord>(1, lineHeight());
    // One line fills the view's height as the layout sized it; more lines
    // start at the top, each a line's height below the one before.
    CCoord top = size.top;
    const CCoord rowHeight = lines.size() == 1 ? size.height() : step;
    for (const std::string& line : lines) {
        // A line wider than the view is set smaller rather than running
        // into the views beside it.
        const CCoord width = font->getStringWidth(line.c_str());
        CCoord fontSize = style.fontSize;
        if (width > size.width() && width > 0)
            fontSize = std::max(kSmallestSize, std::floor(style.fontSize * size.width() / width));
        context->setFont(font, fontSize);
        context->drawString(line.c_str(), CRect(size.left, top, size.right, top + rowHeight), style.align);
        top += step;
        if (top >= size.bottom) break;
    }
}

bool nTextDisplay::hitTest(const CPoint&, const int32_t&) { return false; }

bool nTextDisplay::isTypeOf(const char* className) const {
    return std::strcmp(className, "nTextDisplay") == 0 || CControl::isTypeOf(className);
}

std::string aboutText(std::string_view credits) {
    std::string out = std::string(kProductName) + " " + kVersionText + "\\";
    out += credits;
    return out;
}

// ---- nFaded ----

nFaded::nFaded(const CRect& r, int32_t t) : nPage(r, t, 0) {
    setTransparency(false);
    paintFade();
}

void nFaded::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = rect.width() != size.width() || rect.height() != size.height();
    nPage::setViewSize(rect, invalidate);
    if (resized) paintFade();
}

void nFaded::paintFade() {
    const int32_t w = std::max(1, static_cast<int32_t>(size.width() + 0.5f));
    const int32_t h = std::max(1, static_cast<int32_t>(size.height() + 0.5f));
    auto* fade = new CDIB(w, h);
    for (int32_t y = 0; y < h; ++y) {
        const auto level = static_cast<uint8_t>(kTopLevel * (h - y) / h);
        fade->fill(CRect(0, y, w, y + 1), CColor{level, level, level, 255});
    }
    setBackground(fade);
    fade->forget();
}

bool nFaded::isTypeOf(const char* className) const {
    return std::strcmp(className, "nFaded") == 0 || nPage::isTypeOf(className);
}
