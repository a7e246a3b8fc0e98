#pragma once
// The editor's menus: the text menus of the setup pages, the slot, copy
// and group buttons of the header, and the preset name field. Each is a
// COptionMenu: its entries are given to it (from the layout's `txt`, or by
// the editor), its value is the index of the current entry, the popup is
// the toolkit's (MenuPopup through the frame's window), and a choice
// reaches the listener through valueChanged inside a beginEdit/endEdit
// bracket. A menu that speaks for a second tag reports under it with that
// tag set on the control for the call (ReportingAs).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gui/editor/LayoutBuilder.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/CTimer.h"

struct PresetMenu;

// What the editor's menus share: entries given as a list of titles and a
// popup that reports nothing by itself, so each menu decides the tag.
class EditorMenu : public VSTGUI::COptionMenu {
public:
    EditorMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag,
               VSTGUI::CBitmap* background = nullptr, int32_t style = 0);

    // Replaces the entries, one per title (a title "-" too: it stays a
    // text). The value is kept when it still names an entry, else it
    // becomes 0.
    void setEntries(const std::vector<std::string>& titles);
    std::vector<std::string> getEntryTitles() const;
    // True while the popup is open; faces show themselves pressed then.
    bool isMenuOpen() const { return menuOpen; }

    const char* getClassName() const override { return "EditorMenu"; }
    bool isTypeOf(const char* className) const override;

protected:
    struct Choice {
        VSTGUI::COptionMenu* menu = nullptr;  // this menu or one nested in it
        int32_t index = -1;
        int32_t modifiers = 0;  // the modifier keys held as the choice was made
    };
    // Opens the popup and waits for it; true with the choice when an entry
    // was chosen. Nothing is reported.
    bool runMenu(Choice& choice);
    // Applies the choice and tells the listener under `reportTag`.
    void report(const Choice& choice, int32_t reportTag);
    // runMenu, then report under the menu's own tag.
    bool openAndReport();

    // The face's text in `area` in the menu's font and colour. Too wide, it
    // is set smaller, down to `smallest` px (the font's own size: never),
    // and what still does not fit ends in "...".
    void drawFittedText(VSTGUI::CDrawContext* context, const std::string& text, const VSTGUI::CRect& area,
                        VSTGUI::CHoriTxtAlign align, VSTGUI::CCoord smallest) const;
    // `text` as it fits `width` in the context's font: whole, or cut at a
    // character and ended with "...".
    static std::string shortened(const VSTGUI::CDrawContext& context, const std::string& text, VSTGUI::CCoord width);

private:
    bool menuOpen = false;
};

// A text menu of the setup pages: a dark field showing the current entry's
// text at its left and a drop mark at its right. The popup opens with the
// current entry over the field and checked. TOptionMenu writes in the
// toolkit's text face; nTTMenu in the display face.
class TOptionMenu : public EditorMenu {
public:
    static constexpr VSTGUI::CCoord kMarkWidth = 14;  // the drop mark's column at the right

    TOptionMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag,
                const std::vector<std::string>& entries);

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override;

    const char* getClassName() const override { return "TOptionMenu"; }
    bool isTypeOf(const char* className) const override;
};

class nTTMenu : public TOptionMenu {
public:
    static constexpr VSTGUI::CCoord kFontSize = 12;

    nTTMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag,
            const std::vector<std::string>& entries);

    const char* getClassName() const override { return "nTTMenu"; }
    bool isTypeOf(const char* className) const override;
};

// The A/B slot button: its face with the current slot's letter in the
// middle. A left click does not open the list: it asks for the toggle
// between slots, reported under `altTag` with the value unchanged. A
// right click opens the list of slots and reports the chosen index under
// the menu's own tag.
class SOptionMenu : public EditorMenu {
public:
    SOptionMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, int32_t altTag,
                VSTGUI::CBitmap* face, const std::vector<std::string>& entries);

    int32_t getAltTag() const { return altTag; }

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "SOptionMenu"; }
    bool isTypeOf(const char* className) const override;

private:
    int32_t altTag;
};

// The "copy to slot" button: frame 0 of its strip at rest, frame 1 while
// its list is open. A click (either button) opens the list; the chosen
// entry's index goes out as the value.
class CopyToMenu : public EditorMenu {
public:
    CopyToMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, VSTGUI::CBitmap* strip,
               VSTGUI::CCoord heightOfOneImage, const std::vector<std::string>& entries);

    int32_t frameShown() const { return isMenuOpen() ? 1 : 0; }

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CopyToMenu"; }
    bool isTypeOf(const char* className) const override;

private:
    VSTGUI::CCoord frameHeight;
};

// The stereo/group button: its face with the current group's name. The
// editor gives the group names and the channel count (setGroups).
//
// Values: entry i is value i. The named groups come first, 0 to n - 1 for
// n names; with two channels "Both" (value n) and "None" (value n + 1)
// follow: bothValue() and noneValue() say which, and are -1 otherwise.
//
// A click of either button opens the list. A choice made from a right
// click, or with a modifier key held at the click or at the choice, goes
// out under `altTag` (the other side of the pair); any other choice under
// the menu's own tag.
class SGroupMenu : public EditorMenu {
public:
    static constexpr const char* kBoth = "Both";
    static constexpr const char* kNone = "None";

    SGroupMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, int32_t altTag,
               VSTGUI::CBitmap* face);

    void setGroups(const std::vector<std::string>& names, int32_t channels);
    int32_t getChannels() const { return channels; }
    int32_t getAltTag() const { return altTag; }
    int32_t bothValue() const;
    int32_t noneValue() const;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "SGroupMenu"; }
    bool isTypeOf(const char* className) const override;

private:
    int32_t altTag;
    int32_t channels = 0;
    int32_t groupCount = 0;
};

// The preset box's name field: its face with the current program's name
// at the left and a drop mark in a column at the right.
//
// Its menu is the editor's tree of programs and presets (setMenu), nested
// menus built from it. A choice is reported under the menu's own tag;
// getChosenPath() then says where it lies: one index per level, from the
// top menu down to the chosen entry, separators counted.
//
// A right click, or a left click on the drop mark, opens the menu at
// once. A left click on the name waits the double-click time: a second
// click within it opens the toolkit's inline text entry over the name
// instead, and a committed text becomes the name and is reported under
// `renameTag` (the text is getName()); with no second click the menu
// opens.
class CPresetMenu : public EditorMenu {
public:
    static constexpr VSTGUI::CCoord kMarkColumn = 18;  // the drop mark's column, as the face draws it
    static constexpr VSTGUI::CCoord kTextInset = 6;

    CPresetMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, int32_t renameTag,
                VSTGUI::CBitmap* face, int32_t fontId);

    void setName(std::string_view name);
    const std::string& getName() const { return name; }
    int32_t getRenameTag() const { return renameTag; }
    // The glyph strip the layout names for the text; drawn in the
    // toolkit's text face for now.
    int32_t getFontId() const { return fontId; }

    // Replaces the menu by the tree's entries.
    void setMenu(const PresetMenu& tree);
    const std::vector<int32_t>& getChosenPath() const { return chosenPath; }
    const std::string& getChosenTitle() const { return chosenTitle; }
    // Where the name is written and edited (parent coordinates).
    VSTGUI::CRect nameRect() const;

    // Opens the menu now; true when an entry was chosen (and reported).
    bool openMenu();
    // Opens the text entry over the name; true when a text was committed.
    bool editName();
    // Takes a new name as a committed entry does: stores it and reports it.
    void rename(const std::string& newName);
    bool isMenuPending() const { return pendingMenu.isRunning(); }

    std::string getDisplayText() const override { return name; }
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CPresetMenu"; }
    bool isTypeOf(const char* className) const override;

private:
    struct Nested {
        VSTGUI::COptionMenu* menu;
        std::vector<int32_t> path;  // the entry that holds it
    };
    void fill(VSTGUI::COptionMenu* into, const PresetMenu& tree, const std::vector<int32_t>& path);

    int32_t renameTag;
    int32_t fontId;
    std::string name;
    std::vector<Nested> nested;
    std::vector<int32_t> chosenPath;
    std::string chosenTitle;
    bool editing = false;
    uint64_t lastNamePress = 0;
    VSTGUI::CTimer pendingMenu;
};

// ---- Makers for the layout's elements ----
VSTGUI::CView* makeTextMenu(const LayoutElementArgs& args);     // TOptionMenu
VSTGUI::CView* makeDisplayMenu(const LayoutElementArgs& args);  // nTTMenu
VSTGUI::CView* makeSlotMenu(const LayoutElementArgs& args);     // SOptionMenu
VSTGUI::CView* makeCopyToMenu(const LayoutElementArgs& args);
VSTGUI::CView* makeGroupMenu(const LayoutElementArgs& args);    // SGroupMenu
VSTGUI::CView* makePresetMenu(const LayoutElementArgs& args);   // CPresetMenu
