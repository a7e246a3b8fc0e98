#pragma once
// The toolkit-drawn popup of a COptionMenu: one window per open level,
// nested menus opening beside the entry that holds them. The pointer
// highlights entries, a nested menu opens under the pointer, and a release
// over an entry chooses it once the popup has seen a press inside it or the
// pointer has travelled (so the release of the press that opened the menu
// chooses nothing). Keys: Up/Down move, Right opens, Left closes a level,
// Return/Enter choose, Escape closes. A press outside or lost focus ends
// the popup without a choice. On a screen too small below or to the right,
// the menu opens above its control and nested menus open to the left.

#include <cstdint>
#include <vector>

#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

class MenuPopup : public IPopupClient {
public:
    static constexpr CCoord kItemHeight = 20;
    static constexpr CCoord kSeparatorHeight = 7;
    static constexpr CCoord kCheckColumn = 20;
    static constexpr CCoord kArrowColumn = 18;
    static constexpr CCoord kTextPad = 8;
    static constexpr CCoord kBorder = 1;

    // `anchor` is the control's rectangle on the screen; with `current` >= 0
    // the menu opens with that entry over the anchor, else below it.
    MenuPopup(COptionMenu* menu, const CRect& anchor, int32_t current = -1);

    // ---- The outcome ----
    COptionMenu* chosenMenu() const { return chosen; }
    int32_t chosenIndex() const { return chosenItem; }

    // ---- Inspection (tests, drawing) ----
    int32_t levelCount() const { return static_cast<int32_t>(levels.size()); }
    COptionMenu* levelMenu(int32_t level) const { return levels[static_cast<size_t>(level)].menu; }
    int32_t highlighted(int32_t level) const { return levels[static_cast<size_t>(level)].highlight; }
    // The screen rectangle of an entry of an open level.
    CRect itemRect(int32_t level, int32_t index) const;

    // ---- IPopupClient ----
    int32_t popupWindowCount() const override { return levelCount(); }
    CRect popupWindowRect(int32_t index) const override { return levels[static_cast<size_t>(index)].rect; }
    void drawPopupWindow(int32_t index, CDrawContext* context) override;
    void popupMouse(PopupMouse kind, const CPoint& screenPoint, int32_t buttons) override;
    void popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) override;
    void popupScreen(const CRect& area) override;
    void popupFocusLost() override { done = true; }
    bool popupDone() const override { return done; }

private:
    struct Level {
        COptionMenu* menu;
        CRect rect;
        int32_t highlight;
    };

    void openLevel(COptionMenu* menu, const CRect& rect);
    CRect layout(COptionMenu* menu, CPoint origin, CCoord minWidth) const;
    // `r` moved inside the screen: below `anchor` turns to above it when
    // that gives more room, and right of `beside` turns to left of it.
    CRect fitted(CRect r, const CRect& anchor, const CRect* beside) const;
    // The (level, entry) under a screen point; level -1 when none.
    void find(const CPoint& p, int32_t& level, int32_t& index) const;
    void highlightAt(int32_t level, int32_t index);
    void step(int32_t direction);
    void activate(int32_t level, int32_t index);

    std::vector<Level> levels;
    CRect anchorRect;
    CRect screen;
    bool screenKnown = false;
    CPoint openPoint;
    bool pressedInside = false;
    bool travelled = false;
    bool havePointer = false;
    COptionMenu* chosen = nullptr;
    int32_t chosenItem = -1;
    bool done = false;
};

}  // namespace VSTGUI
