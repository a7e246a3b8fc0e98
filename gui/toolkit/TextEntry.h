#pragma once
// The inline text entry: an editing model (UTF-8 text, caret, selection)
// and the popup that shows it over a control. Return or Enter commits,
// Escape cancels, a press outside the field or losing the focus commits.

#include <cstdint>
#include <string>

#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

// Text with a caret and a selection, both byte offsets on code point
// boundaries. The selection runs between the anchor and the caret.
class TextEntryModel {
public:
    explicit TextEntryModel(std::string text = {}, size_t maxBytes = 255);

    const std::string& text() const { return value; }
    size_t caret() const { return caretPos; }
    size_t anchor() const { return anchorPos; }
    bool hasSelection() const { return caretPos != anchorPos; }
    std::string selectedText() const;

    void selectAll();
    // Types a code point, replacing the selection; control characters and
    // text past the byte limit are refused.
    bool insert(uint32_t codePoint);
    void backspace();
    void deleteForward();
    // Moves the caret by code points (or to an end); with `extend` the
    // selection grows instead of collapsing.
    void left(bool extend);
    void right(bool extend);
    void home(bool extend);
    void end(bool extend);
    // Puts the caret at the byte offset nearest to `x` pixels from the text
    // start, measured with `font`.
    void placeCaret(CFontDesc* font, CCoord x, bool extend);

    // Handles a key as the field does; returns false for keys it ignores.
    bool key(uint32_t character, int32_t virtualKey, int32_t modifiers);

private:
    void eraseSelection();
    size_t previousBoundary(size_t at) const;
    size_t nextBoundary(size_t at) const;

    std::string value;
    size_t maxBytes;
    size_t caretPos = 0;
    size_t anchorPos = 0;
};

// A one-line field showing `entry` in `field` of `context`: background,
// border, selection, the text scrolled so the caret stays in view, and the
// caret when `showCaret` is set.
void drawTextField(CDrawContext* context, const CRect& field, const TextEntryModel& entry, CFontDesc* font,
                   bool showCaret);
// How far the text of such a field `width` wide is scrolled to the left.
CCoord textFieldScroll(const TextEntryModel& entry, CFontDesc* font, CCoord width);
constexpr CCoord kTextFieldInset = 3;

class TextEntryPopup : public IPopupClient {
public:
    // A field over `screenRect` starting with `text`, all of it selected.
    TextEntryPopup(const CRect& screenRect, const std::string& text, CFontDesc* font);

    TextEntryModel& model() { return entry; }
    bool committed() const { return state == State::Committed; }
    bool cancelled() const { return state == State::Cancelled; }

    int32_t popupWindowCount() const override { return 1; }
    CRect popupWindowRect(int32_t) const override { return rect; }
    void drawPopupWindow(int32_t index, CDrawContext* context) override;
    void popupMouse(PopupMouse kind, const CPoint& screenPoint, int32_t buttons) override;
    void popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) override;
    void popupFocusLost() override;
    bool popupDone() const override { return state != State::Editing; }

    static constexpr CCoord kTextInset = kTextFieldInset;

private:
    enum class State { Editing, Committed, Cancelled };

    CRect rect;
    CFontDesc* font;
    TextEntryModel entry;
    State state = State::Editing;
    bool dragging = false;
};

}  // namespace VSTGUI
