// Menus and the inline text entry: building menus, what the popup does
// with the pointer and keys, and the round trip through a frame whose
// window runs the popup (a scripted stand-in for the window system); the
// hidden cursor of drags and drops of files through the same window.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/ControlMixins.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/CTextEdit.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"

using namespace VSTGUI;

namespace {

// A window that runs popups by handing them to a script.
std::function<void(IPopupClient*)> gPopupScript;
CPoint gFrameOnScreen(200, 100);
std::vector<std::string> gCursorLog;

class ScriptedWindow : public IPlatformFrame {
public:
    void invalidRect(const CRect&) override {}
    bool setSize(const CRect&) override { return true; }
    CPoint getPositionOnScreen() override { return gFrameOnScreen; }
    bool getCurrentMousePosition(CPoint& where) override {
        where = CPoint(30, 40);
        return true;
    }
    int32_t getCurrentMouseButtons() override { return 0; }
    void setMouseCursor(CCursorType) override {}
    void showCursor(bool visible) override { gCursorLog.push_back(visible ? "show" : "hide"); }
    void setCursorPosition(const CPoint& p) override {
        gCursorLog.push_back("warp " + std::to_string(static_cast<int>(p.x)) + "," + std::to_string(static_cast<int>(p.y)));
    }
    void takeFocus() override {}
    void idle() override {}
    bool runPopup(IPopupClient* client) override {
        if (gPopupScript) gPopupScript(client);
        return true;
    }
    uint32_t doubleClickTime() override { return 0; }
    uintptr_t nativeWindow() override { return 1; }
};

IPlatformFrame* makeScriptedWindow(IPlatformFrameCallback*, const CRect&, uintptr_t) { return new ScriptedWindow; }

CPoint centre(const CRect& r) { return CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2); }

class Listener : public CControlListener {
public:
    void valueChanged(CControl*) override { ++changes; }
    int changes = 0;
};

struct Menus : ::testing::Test {
    void SetUp() override {
        setPlatformFrameFactory(&makeScriptedWindow);
        frame = new CFrame(CRect(0, 0, 400, 300), nullptr);
        ASSERT_TRUE(frame->open(0));
        menu = new COptionMenu(CRect(10, 20, 110, 40), &listener, 5);
        frame->addView(menu);
    }
    void TearDown() override {
        frame->forget();
        setPlatformFrameFactory(nullptr);
        gPopupScript = nullptr;
    }
    Listener listener;
    CFrame* frame = nullptr;
    COptionMenu* menu = nullptr;
};

}  // namespace

TEST_F(Menus, EntriesSeparatorsStatesAndNestedMenus) {
    menu->addEntry("Low");
    menu->addEntry("-");
    menu->addEntry("High", -1, CMenuItem::kDisabled);
    menu->addEntry("Mid", 1);
    auto* more = new COptionMenu(CRect(), nullptr, 0);
    more->addEntry("Deep");
    menu->addEntry(more, "More");
    more->forget();  // the item holds it

    ASSERT_EQ(menu->getNbEntries(), 5);
    EXPECT_EQ(menu->getEntry(1)->getTitle(), "Mid");
    EXPECT_TRUE(menu->getEntry(2)->isSeparator());
    EXPECT_FALSE(menu->getEntry(3)->isEnabled());
    EXPECT_EQ(menu->getEntry(4)->getSubmenu(), more);
    EXPECT_EQ(menu->indexOfTitle("High"), 3);
    EXPECT_EQ(menu->getEntry(9), nullptr);
    EXPECT_FALSE(menu->checkEntry(2, true));  // a separator has no state
    EXPECT_TRUE(menu->checkEntry(0, true));
    EXPECT_TRUE(menu->getEntry(0)->isChecked());
    EXPECT_TRUE(menu->setCurrent(1));
    EXPECT_FALSE(menu->setCurrent(5));
    EXPECT_EQ(menu->getDisplayText(), "Mid");
    EXPECT_EQ(menu->getMax(), 4.0f);
    EXPECT_TRUE(menu->removeEntry(0));
    EXPECT_EQ(menu->getEntry(0)->getTitle(), "Mid");
}

TEST_F(Menus, TheReleaseOfTheOpeningPressChoosesNothingButADragDoes) {
    menu->addEntry("One");
    menu->addEntry("Two");
    MenuPopup popup(menu, CRect(0, 0, 100, 20));
    const CPoint onTwo = centre(popup.itemRect(0, 1));
    popup.popupMouse(PopupMouse::Moved, CPoint(50, 10), kLButton);
    popup.popupMouse(PopupMouse::Up, CPoint(50, 10), 0);
    EXPECT_FALSE(popup.popupDone());
    popup.popupMouse(PopupMouse::Moved, onTwo, kLButton);
    EXPECT_EQ(popup.highlighted(0), 1);
    popup.popupMouse(PopupMouse::Up, onTwo, 0);
    EXPECT_TRUE(popup.popupDone());
    EXPECT_EQ(popup.chosenMenu(), menu);
    EXPECT_EQ(popup.chosenIndex(), 1);
}

TEST_F(Menus, NestedMenusOpenBesideTheirEntryAndKeysNavigate) {
    menu->addEntry("One");
    menu->addEntry("-");
    menu->addEntry("Off", -1, CMenuItem::kDisabled);
    auto* more = new COptionMenu(CRect(), nullptr, 0);
    more->addEntry("Deep A");
    more->addEntry("Deep B");
    menu->addEntry(more, "More");
    more->forget();

    MenuPopup popup(menu, CRect(0, 0, 100, 20));
    popup.popupMouse(PopupMouse::Moved, centre(popup.itemRect(0, 3)), 0);
    ASSERT_EQ(popup.levelCount(), 2);
    EXPECT_EQ(popup.levelMenu(1), more);
    EXPECT_GE(popup.popupWindowRect(1).left, popup.popupWindowRect(0).right - 2);
    // Back on "One": the nested menu closes.
    popup.popupMouse(PopupMouse::Moved, centre(popup.itemRect(0, 0)), 0);
    EXPECT_EQ(popup.levelCount(), 1);

    // Keys skip the separator and the disabled entry.
    popup.popupKey(0, VKEY_DOWN, 0);
    EXPECT_EQ(popup.highlighted(0), 3);
    popup.popupKey(0, VKEY_RIGHT, 0);
    ASSERT_EQ(popup.levelCount(), 2);
    popup.popupKey(0, VKEY_DOWN, 0);
    popup.popupKey(0, VKEY_RETURN, 0);
    EXPECT_EQ(popup.chosenMenu(), more);
    EXPECT_EQ(popup.chosenIndex(), 1);
}

TEST_F(Menus, APressOutsideOrEscapeEndsWithoutAChoice) {
    menu->addEntry("One");
    MenuPopup outside(menu, CRect(0, 0, 100, 20));
    outside.popupMouse(PopupMouse::Down, CPoint(500, 500), kLButton);
    EXPECT_TRUE(outside.popupDone());
    EXPECT_EQ(outside.chosenMenu(), nullptr);
    MenuPopup escaped(menu, CRect(0, 0, 100, 20));
    escaped.popupKey(0, VKEY_ESCAPE, 0);
    EXPECT_TRUE(escaped.popupDone());
    EXPECT_EQ(escaped.chosenMenu(), nullptr);
}

TEST_F(Menus, AClickOnTheControlOpensThePopupAtItsScreenPlaceAndSetsTheValue) {
    menu->addEntry("One");
    menu->addEntry("Two");
    menu->addEntry("Three");
    CRect firstWindow;
    gPopupScript = [&](IPopupClient* client) {
        auto* popup = static_cast<MenuPopup*>(client);
        firstWindow = client->popupWindowRect(0);
        const CPoint onThree = centre(popup->itemRect(0, 2));
        client->popupMouse(PopupMouse::Down, onThree, kLButton);
        client->popupMouse(PopupMouse::Up, onThree, 0);
    };
    CPoint p(50, 30);
    EXPECT_EQ(frame->onMouseDown(p, kLButton), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_EQ(firstWindow.left, 210);  // frame at (200, 100) plus the control's left
    EXPECT_EQ(firstWindow.top, 140);   // below the control
    EXPECT_EQ(menu->getCurrentIndex(), 2);
    EXPECT_EQ(listener.changes, 1);
    int32_t index = -1;
    EXPECT_EQ(menu->getLastItemMenu(index), menu);
    EXPECT_EQ(index, 2);

    gPopupScript = [](IPopupClient* client) { client->popupFocusLost(); };
    EXPECT_FALSE(menu->popup());
    EXPECT_EQ(listener.changes, 1);
    EXPECT_EQ(menu->getLastItemMenu(index), nullptr);
}

TEST(TextEntry, EditsByCodePointsWithSelection) {
    TextEntryModel model("Gain");
    EXPECT_EQ(model.caret(), 4u);
    model.left(false);
    model.left(true);
    EXPECT_EQ(model.selectedText(), "i");
    EXPECT_TRUE(model.insert(0x00E9));  // é: two bytes replace the selection
    EXPECT_EQ(model.text(), "Gaén");
    model.backspace();  // removes the whole two-byte character
    EXPECT_EQ(model.text(), "Gan");
    EXPECT_FALSE(model.insert(0x07));  // control characters are refused
    model.key('a', VKEY_NONE, kControl);
    EXPECT_EQ(model.selectedText(), "Gan");
    model.key(0, VKEY_DELETE, 0);
    EXPECT_EQ(model.text(), "");

    TextEntryModel limited("abc", 4);
    EXPECT_TRUE(limited.insert('d'));
    EXPECT_FALSE(limited.insert('e'));
    EXPECT_FALSE(limited.insert(0x00E9));
    EXPECT_EQ(limited.text(), "abcd");
}

TEST_F(Menus, TextFieldsCommitOnReturnAndKeepTheirTextOnEscape) {
    Listener fieldListener;
    auto* field = new CTextEdit(CRect(10, 60, 110, 80), &fieldListener, 9, "Band 1");
    frame->addView(field);
    gPopupScript = [](IPopupClient* client) {
        auto* entry = static_cast<TextEntryPopup*>(client);
        for (char c : std::string("Air")) client->popupKey(static_cast<uint32_t>(c), VKEY_NONE, 0);
        EXPECT_EQ(entry->model().text(), "Air");  // typing replaced the selected text
        client->popupKey(0, VKEY_RETURN, 0);
    };
    CPoint p(20, 70);
    frame->onMouseDown(p, kLButton);
    EXPECT_EQ(field->getText(), "Air");
    EXPECT_EQ(fieldListener.changes, 1);

    gPopupScript = [](IPopupClient* client) {
        client->popupKey('x', VKEY_NONE, 0);
        client->popupKey(0, VKEY_ESCAPE, 0);
    };
    EXPECT_FALSE(field->edit());
    EXPECT_EQ(field->getText(), "Air");
    EXPECT_EQ(fieldListener.changes, 1);

    gPopupScript = [](IPopupClient* client) {
        client->popupKey(0, VKEY_END, 0);
        client->popupKey('!', VKEY_NONE, 0);
        client->popupMouse(PopupMouse::Down, CPoint(0, 0), kLButton);  // outside: commits
    };
    EXPECT_TRUE(field->edit());
    EXPECT_EQ(field->getText(), "Air!");
}

TEST_F(Menus, AHiddenCursorComesBackWhereTheDragStartedPlusTheOffset) {
    gCursorLog.clear();
    nControlMouse off;
    off.beginHideMouse(frame);
    off.endHideMouse(frame);
    EXPECT_TRUE(gCursorLog.empty());  // "Hide Mouse" off: the cursor stays

    nControlMouse on;
    on.setHideMouse(true);
    on.beginHideMouse(frame);
    EXPECT_TRUE(on.isCursorHidden());
    on.beginHideMouse(frame);  // already hidden: nothing more
    on.endHideMouse(frame, CPoint(5, -10));
    EXPECT_FALSE(on.isCursorHidden());
    EXPECT_EQ(gCursorLog, (std::vector<std::string>{"hide", "warp 35,30", "show"}));
}

namespace {

class DropTarget : public CView {
public:
    explicit DropTarget(const CRect& r) : CView(r) {}
    void onDragEnter(CDragContainer*, const CPoint& p) override { log.push_back("enter " + std::to_string(static_cast<int>(p.x))); }
    void onDragLeave(CDragContainer*, const CPoint&) override { log.push_back("leave"); }
    void onDragMove(CDragContainer*, const CPoint&) override { log.push_back("move"); }
    bool onDrop(CDragContainer* drag, const CPoint&) override {
        log.push_back(std::string("drop ") + (drag->firstFile() ? drag->firstFile() : "-"));
        return true;
    }
    std::vector<std::string> log;
};

}  // namespace

TEST_F(Menus, DragsVisitTheViewsUnderThePointerAndDropsReachTheOneBelow) {
    auto* left = new DropTarget(CRect(0, 100, 100, 200));
    auto* right = new DropTarget(CRect(100, 100, 200, 200));
    frame->addView(left);
    frame->addView(right);
    auto* drag = new CDragContainer;
    drag->addText("not a file");
    drag->addFile("/music/Master Bus.fwp");
    CDragType type = kDragUnknown;
    EXPECT_STREQ(drag->getItem(0, type), "not a file");
    EXPECT_EQ(type, kDragText);
    EXPECT_EQ(drag->getItem(2, type), nullptr);

    frame->platformOnDragEnter(drag, CPoint(50, 150));
    frame->platformOnDragMove(drag, CPoint(60, 150));
    frame->platformOnDragMove(drag, CPoint(150, 150));
    EXPECT_TRUE(frame->platformOnDrop(drag, CPoint(150, 150)));
    EXPECT_EQ(left->log, (std::vector<std::string>{"enter 50", "move", "leave"}));
    EXPECT_EQ(right->log, (std::vector<std::string>{"enter 150", "drop /music/Master Bus.fwp"}));
    EXPECT_FALSE(frame->platformOnDrop(drag, CPoint(350, 50)));  // over no view
    drag->forget();
}
