#pragma once
// A text control that opens a popup menu. Entries are added from text
// ("-" adds a separator) or as nested menus; each entry has state flags.
// Choosing an entry of this menu makes its index the value; choosing one
// in a nested menu leaves the value and records that menu and index (see
// getLastItemMenu). Either way the listener hears valueChanged.
//
// The popup is drawn by the toolkit (MenuPopup) and shown through the
// frame's window; a frame without a window cannot open it.

#include <cstdint>
#include <string>
#include <vector>

#include "gui/toolkit/CParamDisplay.h"

namespace VSTGUI {

class COptionMenu;

class CMenuItem : public CBaseObject {
public:
    enum Flags : int32_t { kNoFlags = 0, kDisabled = 1 << 0, kTitle = 1 << 1, kChecked = 1 << 2, kSeparator = 1 << 3 };

    explicit CMenuItem(const char* title, int32_t flags = kNoFlags, COptionMenu* submenu = nullptr);

    const std::string& getTitle() const { return title; }
    void setTitle(const char* t) { title = t ? t : ""; }
    int32_t getFlags() const { return flags; }
    bool isEnabled() const { return (flags & (kDisabled | kTitle | kSeparator)) == 0; }
    bool isChecked() const { return (flags & kChecked) != 0; }
    bool isSeparator() const { return (flags & kSeparator) != 0; }
    bool isTitle() const { return (flags & kTitle) != 0; }
    void setChecked(bool state) { flags = state ? (flags | kChecked) : (flags & ~kChecked); }
    void setEnabled(bool state) { flags = state ? (flags & ~kDisabled) : (flags | kDisabled); }
    // The nested menu, or null; the item holds a reference to it.
    COptionMenu* getSubmenu() const;
    int32_t getTag() const { return tag; }
    void setTag(int32_t t) { tag = t; }

protected:
    ~CMenuItem() override;

private:
    std::string title;
    int32_t flags;
    COptionMenu* submenu;
    int32_t tag = -1;
};

// Menu styles.
enum COptionMenuStyle : int32_t {
    kCheckStyle = 1 << 5,          // a check mark at the current entry
    kMultipleCheckStyle = 1 << 6,  // check marks from the entries' own flags
    kPopupStyle = 1 << 10,         // the current entry opens over the control
};

class COptionMenu : public CParamDisplay {
public:
    COptionMenu(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0,
                CBitmap* background = nullptr, CBitmap* backgroundWhenClicked = nullptr, int32_t style = 0);

    // Adds an entry at `index` (-1: at the end). "-" adds a separator.
    CMenuItem* addEntry(const char* title, int32_t index = -1, int32_t flags = CMenuItem::kNoFlags);
    // Adds a nested menu under `title`; the item holds a reference to it.
    CMenuItem* addEntry(COptionMenu* submenu, const char* title);
    CMenuItem* addSeparator(int32_t index = -1);
    bool removeEntry(int32_t index);
    void removeAllEntry();
    int32_t getNbEntries() const { return static_cast<int32_t>(items.size()); }
    CMenuItem* getEntry(int32_t index) const;
    // The index of the first entry with that title, -1 when none.
    int32_t indexOfTitle(const char* title) const;
    bool checkEntry(int32_t index, bool state);
    bool setEntryEnabled(int32_t index, bool state);

    bool setCurrent(int32_t index);
    int32_t getCurrentIndex() const;
    // The menu that held the last chosen entry and its index there; null
    // when the last popup ended without a choice.
    COptionMenu* getLastItemMenu(int32_t& index) const;

    void setBackgroundWhenClicked(CBitmap* bitmap) { clickedBackground = SharedPointer<CBitmap>(bitmap); }

    // Opens the popup and waits for it. True when an entry was chosen.
    bool popup();
    // Applies a choice as the popup would: `menu` is this menu or one nested
    // in it. Used by the popup and by tests.
    void choose(COptionMenu* menu, int32_t index);

    std::string getDisplayText() const override;
    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override;
    void takeFocus() override {}

    const char* getClassName() const override { return "COptionMenu"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~COptionMenu() override;

private:
    // Takes ownership of `item` and puts it at `index` (the end when out of range).
    CMenuItem* insertItem(CMenuItem* item, int32_t index);

    std::vector<CMenuItem*> items;
    SharedPointer<CBitmap> clickedBackground;
    COptionMenu* lastMenu = nullptr;
    int32_t lastIndex = -1;
    bool open = false;
};

}  // namespace VSTGUI
