#include "gui/toolkit/CParamDisplay.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace VSTGUI {

namespace {

// A colour halfway to white: the lit edge of a bevel.
CColor lighter(const CColor& c) {
    auto half = [](uint8_t v) { return static_cast<uint8_t>(v + (255 - v) / 2); };
    return {half(c.red), half(c.green), half(c.blue), c.alpha};
}

}  // namespace

CParamDisplay::CParamDisplay(const CRect& size, CBitmap* background, int32_t style)
    : CControl(size, nullptr, 0, background), font(kNormalFont), style(style) {}

CParamDisplay::~CParamDisplay() = default;

void CParamDisplay::setFont(CFontDesc* f) {
    font = SharedPointer<CFontDesc>(f);
    setDirty();
}

void CParamDisplay::setStringConvert(StringConvert convert, void* userData) {
    stringConvert = convert;
    stringConvertData = userData;
    setDirty();
}

std::string CParamDisplay::getDisplayText() const {
    char text[256] = {};
    if (stringConvert) {
        stringConvert(value, text, stringConvertData);
        text[sizeof(text) - 1] = 0;
    } else {
        std::snprintf(text, sizeof(text), "%.2f", static_cast<double>(value));
    }
    return text;
}

void CParamDisplay::draw(CDrawContext* context) {
    drawText(context, getDisplayText().c_str());
    setDirty(false);
}

void CParamDisplay::drawText(CDrawContext* context, const char* text) {
    if (style & kNoDrawStyle) return;

    if (CBitmap* back = getBackground()) {
        back->alphaDraw(context, size, backOffset);
    } else if (!getTransparency()) {
        context->setDrawMode(kAliasing);
        context->setFillColor(backColor);
        context->drawRect(size, kDrawFilled);
    }

    if (!(style & kNoFrame)) {
        context->setDrawMode(kAliasing);
        if (style & (k3DIn | k3DOut)) {
            // One-pixel bevel: sunken has its dark edge at the top-left.
            const CColor dark = frameColor;
            const CColor light = lighter(frameColor);
            const bool sunken = (style & k3DIn) != 0;
            context->setFillColor(sunken ? dark : light);
            context->drawRect(CRect(size.left, size.top, size.right, size.top + 1), kDrawFilled);
            context->drawRect(CRect(size.left, size.top, size.left + 1, size.bottom), kDrawFilled);
            context->setFillColor(sunken ? light : dark);
            context->drawRect(CRect(size.left + 1, size.bottom - 1, size.right, size.bottom), kDrawFilled);
            context->drawRect(CRect(size.right - 1, size.top + 1, size.right, size.bottom), kDrawFilled);
        } else {
            context->setFrameColor(frameColor);
            context->setLineWidth(1);
            context->setLineStyle(kLineSolid);
            context->drawRect(size, kDrawStroked);
        }
    }

    if ((style & kNoTextStyle) || !text || !*text) return;
    CFontDesc* f = font.get() ? font.get() : kNormalFont;
    if (!f) return;
    context->setFont(f);
    CRect area = size;
    area.inset(textInset, 0);
    if (style & kShadowText) {
        CRect shadow = area;
        shadow.offset(1, 1);
        context->setFontColor(shadowColor);
        context->drawString(text, shadow, horiAlign);
    }
    context->setFontColor(fontColor);
    context->drawString(text, area, horiAlign);
}

bool CParamDisplay::isTypeOf(const char* className) const {
    return std::strcmp(className, "CParamDisplay") == 0 || CControl::isTypeOf(className);
}

// ---- CTextLabel ----

CTextLabel::CTextLabel(const CRect& size, const char* text, CBitmap* background, int32_t style)
    : CParamDisplay(size, background, style), text(text ? text : "") {}

void CTextLabel::setText(const char* t) {
    std::string next = t ? t : "";
    if (next == text) return;
    text = std::move(next);
    setDirty();
}

// The text itself rather than getDisplayText's copy of it, which would
// allocate on every redraw of a text too long to be stored inline.
void CTextLabel::draw(CDrawContext* context) {
    drawText(context, text.c_str());
    setDirty(false);
}

bool CTextLabel::isTypeOf(const char* className) const {
    return std::strcmp(className, "CTextLabel") == 0 || CParamDisplay::isTypeOf(className);
}

}  // namespace VSTGUI
