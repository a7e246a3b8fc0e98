#include "gui/toolkit/CTextEdit.h"

#include <cstring>

#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/TextEntry.h"

namespace VSTGUI {

CTextEdit::CTextEdit(const CRect& r, CControlListener* l, int32_t t, const char* initial, CBitmap* bg, int32_t s)
    : CParamDisplay(r, bg, s), text(initial ? initial : "") {
    listener = l;
    tag = t;
    setWantsFocus(true);
}

void CTextEdit::setText(const char* newText) {
    const std::string next = newText ? newText : "";
    if (next == text) return;
    text = next;
    setDirty();
    invalid();
}

bool CTextEdit::edit() {
    if (editing || !frame) return false;
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    TextEntryPopup entry(frameRect().offset(x, y), text, font.get());
    editing = true;
    beginEdit();
    const bool shown = frame->runPopup(&entry);
    editing = false;
    if (shown && entry.committed()) commit(entry.model().text());
    endEdit();
    invalid();
    return shown && entry.committed();
}

void CTextEdit::commit(const std::string& newText) {
    text = newText;
    setDirty();
    invalid();
    valueChanged();
}

// The text itself, not a copy, as a label draws it: no allocation per redraw.
void CTextEdit::draw(CDrawContext* context) {
    drawText(context, text.c_str());
    setDirty(false);
}

CMouseEventResult CTextEdit::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    edit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t CTextEdit::onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    (void)character;
    (void)modifiers;
    if (virtualKey == VKEY_RETURN || virtualKey == VKEY_ENTER) {
        edit();
        return 1;
    }
    return -1;
}

bool CTextEdit::isTypeOf(const char* className) const {
    return std::strcmp(className, "CTextEdit") == 0 || CParamDisplay::isTypeOf(className);
}

}  // namespace VSTGUI
