#pragma once
// A text field. It shows its text like a label; a click (or Return while
// it has the focus) opens the inline entry over it, and a commit stores
// the new text and tells the listener. A cancelled entry changes nothing.

#include <string>

#include "gui/toolkit/CParamDisplay.h"

namespace VSTGUI {

class CTextEdit : public CParamDisplay {
public:
    CTextEdit(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0, const char* text = "",
              CBitmap* background = nullptr, int32_t style = 0);

    void setText(const char* text);
    const std::string& getText() const { return text; }
    // Final: draw() shows `text` itself, so the two must not differ.
    std::string getDisplayText() const final { return text; }
    void draw(CDrawContext* context) override;

    // Opens the inline entry and waits for it; true when the text was
    // committed (changed or not).
    bool edit();
    // Applies a commit as the entry does: stores the text, tells the listener.
    void commit(const std::string& newText);
    bool isEditing() const { return editing; }

    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override;

    const char* getClassName() const override { return "CTextEdit"; }
    bool isTypeOf(const char* className) const override;

private:
    std::string text;
    bool editing = false;
};

}  // namespace VSTGUI
