#include "gui/toolkit/TextEntry.h"

#include <algorithm>
#include <cmath>

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CView.h"

namespace VSTGUI {

namespace {

constexpr CColor kFieldBack{250, 250, 250, 255};
constexpr CColor kFieldBorder{62, 112, 178, 255};
constexpr CColor kFieldText{20, 20, 24, 255};
constexpr CColor kFieldSelection{160, 196, 240, 255};
constexpr uint32_t kCtrlA = 0x01;

bool isContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

void appendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

}  // namespace

TextEntryModel::TextEntryModel(std::string text, size_t limit) : value(std::move(text)), maxBytes(limit) {
    if (value.size() > maxBytes) {
        size_t cut = maxBytes;
        while (cut > 0 && isContinuation(static_cast<unsigned char>(value[cut]))) --cut;
        value.resize(cut);
    }
    caretPos = anchorPos = value.size();
}

std::string TextEntryModel::selectedText() const {
    const size_t a = std::min(caretPos, anchorPos);
    const size_t b = std::max(caretPos, anchorPos);
    return value.substr(a, b - a);
}

void TextEntryModel::selectAll() {
    anchorPos = 0;
    caretPos = value.size();
}

void TextEntryModel::eraseSelection() {
    const size_t a = std::min(caretPos, anchorPos);
    const size_t b = std::max(caretPos, anchorPos);
    value.erase(a, b - a);
    caretPos = anchorPos = a;
}

bool TextEntryModel::insert(uint32_t cp) {
    if (cp < 0x20 || cp == 0x7F || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) return false;
    std::string bytes;
    appendUtf8(bytes, cp);
    const size_t selected = std::max(caretPos, anchorPos) - std::min(caretPos, anchorPos);
    if (value.size() - selected + bytes.size() > maxBytes) return false;
    eraseSelection();
    value.insert(caretPos, bytes);
    caretPos = anchorPos = caretPos + bytes.size();
    return true;
}

size_t TextEntryModel::previousBoundary(size_t at) const {
    if (at == 0) return 0;
    --at;
    while (at > 0 && isContinuation(static_cast<unsigned char>(value[at]))) --at;
    return at;
}

size_t TextEntryModel::nextBoundary(size_t at) const {
    if (at >= value.size()) return value.size();
    ++at;
    while (at < value.size() && isContinuation(static_cast<unsigned char>(value[at]))) ++at;
    return at;
}

void TextEntryModel::backspace() {
    if (!hasSelection()) anchorPos = previousBoundary(caretPos);
    eraseSelection();
}

void TextEntryModel::deleteForward() {
    if (!hasSelection()) anchorPos = nextBoundary(caretPos);
    eraseSelection();
}

void TextEntryModel::left(bool extend) {
    if (!extend && hasSelection()) {
        caretPos = anchorPos = std::min(caretPos, anchorPos);
        return;
    }
    caretPos = previousBoundary(caretPos);
    if (!extend) anchorPos = caretPos;
}

void TextEntryModel::right(bool extend) {
    if (!extend && hasSelection()) {
        caretPos = anchorPos = std::max(caretPos, anchorPos);
        return;
    }
    caretPos = nextBoundary(caretPos);
    if (!extend) anchorPos = caretPos;
}

void TextEntryModel::home(bool extend) {
    caretPos = 0;
    if (!extend) anchorPos = caretPos;
}

void TextEntryModel::end(bool extend) {
    caretPos = value.size();
    if (!extend) anchorPos = caretPos;
}

void TextEntryModel::placeCaret(CFontDesc* font, CCoord x, bool extend) {
    size_t best = 0;
    CCoord bestDistance = std::fabs(x);
    for (size_t at = nextBoundary(0); at > 0; at = nextBoundary(at)) {
        const CCoord width = font->getStringWidth(value.substr(0, at).c_str());
        const CCoord distance = std::fabs(x - width);
        if (distance < bestDistance) {
            best = at;
            bestDistance = distance;
        }
        if (at >= value.size()) break;
    }
    caretPos = best;
    if (!extend) anchorPos = caretPos;
}

bool TextEntryModel::key(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    const bool extend = (modifiers & kShift) != 0;
    switch (virtualKey) {
        case VKEY_BACK: backspace(); return true;
        case VKEY_DELETE: deleteForward(); return true;
        case VKEY_LEFT: left(extend); return true;
        case VKEY_RIGHT: right(extend); return true;
        case VKEY_HOME: case VKEY_UP: home(extend); return true;
        case VKEY_END: case VKEY_DOWN: end(extend); return true;
        default: break;
    }
    if ((modifiers & kControl) && (character == 'a' || character == 'A' || character == kCtrlA)) {
        selectAll();
        return true;
    }
    if (modifiers & (kControl | kAlt)) return false;
    return character != 0 && insert(character);
}

TextEntryPopup::TextEntryPopup(const CRect& screenRect, const std::string& text, CFontDesc* f)
    : rect(screenRect), font(f ? f : kNormalFont), entry(text) {
    entry.selectAll();
}

CCoord textFieldScroll(const TextEntryModel& entry, CFontDesc* font, CCoord width) {
    const CCoord caretX = font->getStringWidth(entry.text().substr(0, entry.caret()).c_str());
    const CCoord room = width - 2 * kTextFieldInset;
    return caretX > room ? caretX - room : 0;
}

void drawTextField(CDrawContext* context, const CRect& field, const TextEntryModel& entry, CFontDesc* font,
                   bool showCaret) {
    context->setFillColor(kFieldBack);
    context->fillRect(field);
    context->setFrameColor(kFieldBorder);
    context->setLineWidth(1);
    context->drawRect(field, kDrawStroked);
    context->setFont(font);
    const CCoord scroll = textFieldScroll(entry, font, field.width());
    const CCoord x0 = field.left + kTextFieldInset - scroll;
    const std::string& text = entry.text();
    const CFontMetrics metrics = font->getMetrics();
    const CCoord lineTop = field.top + std::round((field.height() - (metrics.ascent + metrics.descent)) / 2);
    const CCoord lineBottom = lineTop + std::ceil(metrics.ascent + metrics.descent);
    const CRect outerClip = context->getClipRect();
    CRect inner(field.left + 1, field.top, field.right - 1, field.bottom);
    context->setClipRect(inner.bound(outerClip));
    if (entry.hasSelection()) {
        const size_t a = std::min(entry.caret(), entry.anchor());
        const size_t b = std::max(entry.caret(), entry.anchor());
        const CCoord left = x0 + font->getStringWidth(text.substr(0, a).c_str());
        const CCoord right = x0 + font->getStringWidth(text.substr(0, b).c_str());
        context->setFillColor(kFieldSelection);
        context->fillRect(CRect(std::floor(left), lineTop, std::ceil(right), lineBottom));
    }
    context->setFontColor(kFieldText);
    context->drawString(text.c_str(), CRect(x0, field.top, field.right + scroll, field.bottom), kLeftText);
    if (showCaret) {
        const CCoord caretX = std::floor(x0 + font->getStringWidth(text.substr(0, entry.caret()).c_str()));
        context->setFrameColor(kFieldText);
        context->setDrawMode(kAliasing);
        context->drawLine(CPoint(caretX, lineTop), CPoint(caretX, lineBottom - 1));
        context->setDrawMode(kAntiAliasing);
    }
    context->setClipRect(outerClip);
}

void TextEntryPopup::drawPopupWindow(int32_t, CDrawContext* context) {
    drawTextField(context, CRect(0, 0, rect.width(), rect.height()), entry, font, true);
}

void TextEntryPopup::popupMouse(PopupMouse kind, const CPoint& p, int32_t buttons) {
    const bool inside = rect.pointInside(p);
    const CCoord x = p.x - rect.left - kTextInset + textFieldScroll(entry, font, rect.width());
    switch (kind) {
        case PopupMouse::Down:
            if (!inside) {
                state = State::Committed;
                return;
            }
            dragging = true;
            entry.placeCaret(font, x, (buttons & kShift) != 0);
            return;
        case PopupMouse::Moved:
            if (dragging) entry.placeCaret(font, x, true);
            return;
        case PopupMouse::Up:
            dragging = false;
            return;
    }
}

void TextEntryPopup::popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    if (virtualKey == VKEY_RETURN || virtualKey == VKEY_ENTER) {
        state = State::Committed;
    } else if (virtualKey == VKEY_ESCAPE) {
        state = State::Cancelled;
    } else if (virtualKey == VKEY_TAB) {
        state = State::Committed;
    } else {
        entry.key(character, virtualKey, modifiers);
    }
}

void TextEntryPopup::popupFocusLost() { state = State::Committed; }

}  // namespace VSTGUI
