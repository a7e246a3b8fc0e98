// Menus, the inline text entry and the file dialog: building menus, what
// the popups do with the pointer and keys, and the round trip through a
// frame whose window runs the popup (a scripted stand-in for the window
// system); the hidden cursor of drags and drops of files through the same
// window.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "gui/ScriptedWindow.h"
#include "gui/toolkit/CFileSelector.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/ControlMixins.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/CTextEdit.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"

using namespace VSTGUI;

namespace {

CPoint centre(const CRect& r) { return CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2); }

class Listener : public CControlListener {
public:
    void valueChanged(CControl*) override { ++changes; }
    int changes = 0;
};

struct Menus : ScriptedFrame {
    void SetUp() override {
        ScriptedFrame::SetUp();
        menu = new COptionMenu(CRect(10, 20, 110, 40), &listener, 5);
        frame->addView(menu);
    }
    Listener listener;
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

// The release of the press that opened the popup chooses nothing, a drag
// onto an entry and a release there does; a press outside or Escape ends
// it without a choice.
TEST_F(Menus, APopupEndsWithTheEntryReleasedOnOrWithoutAChoice) {
    menu->addEntry("One");
    menu->addEntry("Two");
    const struct {
        const char* name;
        std::function<void(MenuPopup&)> play;
        COptionMenu* chosen;
    } rows[] = {
        {"dragged onto Two", [](MenuPopup& p) {
             const CPoint onTwo = centre(p.itemRect(0, 1));
             p.popupMouse(PopupMouse::Moved, CPoint(50, 10), kLButton);
             p.popupMouse(PopupMouse::Up, CPoint(50, 10), 0);
             EXPECT_FALSE(p.popupDone());
             p.popupMouse(PopupMouse::Moved, onTwo, kLButton);
             EXPECT_EQ(p.highlighted(0), 1);
             p.popupMouse(PopupMouse::Up, onTwo, 0);
         }, menu},
        {"pressed outside", [](MenuPopup& p) { p.popupMouse(PopupMouse::Down, CPoint(500, 500), kLButton); }, nullptr},
        {"escape", [](MenuPopup& p) { p.popupKey(0, VKEY_ESCAPE, 0); }, nullptr},
    };
    for (const auto& row : rows) {
        MenuPopup popup(menu, CRect(0, 0, 100, 20));
        row.play(popup);
        EXPECT_TRUE(popup.popupDone()) << row.name;
        EXPECT_EQ(popup.chosenMenu(), row.chosen) << row.name;
        EXPECT_TRUE(!row.chosen || popup.chosenIndex() == 1) << row.name;
    }
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

// In the bottom-right corner of the screen a menu opens above its control
// and its nested menu to the left, all of both on the screen; with room to
// spare nothing moves.
TEST_F(Menus, NearTheScreenEdgesMenusOpenAboveAndNestedOnesToTheLeft) {
    for (const char* title : {"One", "Two", "Three"}) menu->addEntry(title);
    auto* more = new COptionMenu(CRect(), nullptr, 0);
    more->addEntry("A rather long entry of the nested menu");
    menu->addEntry(more, "More");
    more->forget();
    const CRect screen(0, 0, 1024, 768);
    const CRect anchor(920, 740, 1020, 760);
    MenuPopup popup(menu, anchor);
    popup.popupScreen(screen);
    const CRect top = popup.popupWindowRect(0);
    EXPECT_EQ(top.bottom, anchor.top);
    EXPECT_LE(top.right, screen.right);
    popup.popupMouse(PopupMouse::Moved, centre(popup.itemRect(0, 3)), 0);
    ASSERT_EQ(popup.levelCount(), 2);
    const CRect nested = popup.popupWindowRect(1);
    EXPECT_LE(nested.right, top.left + 2);
    EXPECT_GE(nested.left, screen.left);
    EXPECT_LE(nested.bottom, screen.bottom);

    MenuPopup roomy(menu, CRect(10, 10, 110, 30));
    const CRect before = roomy.popupWindowRect(0);
    roomy.popupScreen(screen);
    EXPECT_EQ(roomy.popupWindowRect(0), before);

    FileSelectorModel model(FileSelectorStyle::kOpen, "~", "fwb");
    FileSelectorPopup dialog(model, "Select preset bank", CRect(900, 700, 1000, 760));
    dialog.popupScreen(screen);
    const CRect placed = dialog.popupWindowRect(0);
    EXPECT_EQ(placed.right, screen.right);
    EXPECT_EQ(placed.bottom, screen.bottom);
}

TEST_F(Menus, AClickOnTheControlOpensThePopupAtItsScreenPlaceAndSetsTheValue) {
    menu->addEntry("One");
    menu->addEntry("Two");
    menu->addEntry("Three");
    CRect firstWindow;
    ScriptedWindow::script = [&](IPopupClient* client) {
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

    ScriptedWindow::script = [](IPopupClient* client) { client->popupFocusLost(); };
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
    ScriptedWindow::script = [](IPopupClient* client) {
        auto* entry = static_cast<TextEntryPopup*>(client);
        for (char c : std::string("Air")) client->popupKey(static_cast<uint32_t>(c), VKEY_NONE, 0);
        EXPECT_EQ(entry->model().text(), "Air");  // typing replaced the selected text
        client->popupKey(0, VKEY_RETURN, 0);
    };
    CPoint p(20, 70);
    frame->onMouseDown(p, kLButton);
    EXPECT_EQ(field->getText(), "Air");
    EXPECT_EQ(fieldListener.changes, 1);

    ScriptedWindow::script = [](IPopupClient* client) {
        client->popupKey('x', VKEY_NONE, 0);
        client->popupKey(0, VKEY_ESCAPE, 0);
    };
    EXPECT_FALSE(field->edit());
    EXPECT_EQ(field->getText(), "Air");
    EXPECT_EQ(fieldListener.changes, 1);

    ScriptedWindow::script = [](IPopupClient* client) {
        client->popupKey(0, VKEY_END, 0);
        client->popupKey('!', VKEY_NONE, 0);
        client->popupMouse(PopupMouse::Down, CPoint(0, 0), kLButton);  // outside: commits
    };
    EXPECT_TRUE(field->edit());
    EXPECT_EQ(field->getText(), "Air!");
}

TEST_F(Menus, AHiddenCursorComesBackWhereTheDragStartedPlusTheOffset) {
    ScriptedWindow::cursorLog.clear();
    nControlMouse off;
    off.beginHideMouse(frame);
    off.endHideMouse(frame);
    EXPECT_TRUE(ScriptedWindow::cursorLog.empty());  // "Hide Mouse" off: the cursor stays

    nControlMouse on;
    on.setHideMouse(true);
    on.beginHideMouse(frame);
    EXPECT_TRUE(on.isCursorHidden());
    on.beginHideMouse(frame);  // already hidden: nothing more
    on.endHideMouse(frame, CPoint(5, -10));
    EXPECT_FALSE(on.isCursorHidden());
    EXPECT_EQ(ScriptedWindow::cursorLog, (std::vector<std::string>{"hide", "warp 35,30", "show"}));
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

// ---- The file dialog ----

namespace {

namespace fs = std::filesystem;

// A folder under the test's own home with a mix of entries.
struct FileDialog : Menus {
    void SetUp() override {
        Menus::SetUp();
        root = fs::path(std::getenv("HOME")) / "dialog";
        fs::remove_all(root);
        fs::create_directories(root / "alpha");
        fs::create_directories(root / "Zeta");
        for (const char* name : {"b.fwb", "A.FWB", "c.txt", ".hidden.fwb", "mix.fwbx"}) touch(root / name);
    }
    static void touch(const fs::path& p) { std::ofstream(p) << "x"; }
    static std::vector<std::string> names(const FileSelectorModel& m) {
        std::vector<std::string> out;
        for (const auto& e : m.entries()) out.push_back(e.name);
        return out;
    }
    fs::path root;
};

}  // namespace

TEST_F(FileDialog, ListsFoldersThenFilesOfTheExtensionWithoutHiddenOnes) {
    FileSelectorModel open(FileSelectorStyle::kOpen, root.string(), "fwb");
    EXPECT_EQ(open.folder(), root.string());
    EXPECT_EQ(names(open), (std::vector<std::string>{"..", "alpha", "Zeta", "A.FWB", "b.fwb"}));
    EXPECT_TRUE(open.entries()[1].folder);
    EXPECT_FALSE(open.entries()[3].folder);
    FileSelectorModel everything(FileSelectorStyle::kOpen, root.string(), "");
    EXPECT_EQ(names(everything).size(), 7u);

    // Into a folder and back up: the folder left is selected.
    EXPECT_EQ(open.activate(2), FileSelectorModel::Outcome::kEnteredFolder);
    EXPECT_EQ(open.folder(), (root / "Zeta").string());
    EXPECT_EQ(names(open), (std::vector<std::string>{".."}));
    EXPECT_EQ(open.activate(0), FileSelectorModel::Outcome::kEnteredFolder);
    EXPECT_EQ(open.selection(), 2);

    // A folder that cannot be listed is empty with a notice, not an error.
    open.enterFolder((root / "gone").string());
    EXPECT_EQ(names(open), (std::vector<std::string>{".."}));
    EXPECT_FALSE(open.notice().empty());
}

TEST_F(FileDialog, StartsWhereThePathSaysOrAtTheNearestFolderAbove) {
    // The editor's own starting places: "~/Desktop" need not exist.
    FileSelectorModel save(FileSelectorStyle::kSave, "~/Desktop/Fenwoldrine bank.fwb", "fwb");
    EXPECT_EQ(save.folder(), fs::path(std::getenv("HOME")).string());
    EXPECT_EQ(save.name().text(), "Fenwoldrine bank.fwb");
    FileSelectorModel open(FileSelectorStyle::kOpen, (root / "b.fwb").string(), "fwb");
    EXPECT_EQ(open.folder(), root.string());
    ASSERT_GE(open.selection(), 0);
    EXPECT_EQ(open.entries()[size_t(open.selection())].name, "b.fwb");
    FileSelectorModel deep(FileSelectorStyle::kOpen, (root / "no" / "such" / "place").string(), "fwb");
    EXPECT_EQ(deep.folder(), root.string());
}

TEST_F(FileDialog, SavingCompletesTheNameRefusesSlashesAndAsksBeforeReplacing) {
    FileSelectorModel save(FileSelectorStyle::kSave, root.string(), "fwb");
    save.name() = TextEntryModel("master");
    ASSERT_EQ(save.confirm(), FileSelectorModel::Outcome::kChosen);
    EXPECT_EQ(save.result(), (root / "master.fwb").string());

    save.name() = TextEntryModel("a/b");
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kNothing);
    EXPECT_NE(save.notice().find('/'), std::string::npos) << save.notice();
    save.name() = TextEntryModel("   ");
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kNothing);
    EXPECT_FALSE(save.notice().empty());

    // An existing file: the first confirmation warns, the second replaces,
    // and an edit in between starts over.
    save.name() = TextEntryModel("b");
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kNothing);
    EXPECT_NE(save.notice().find("b.fwb"), std::string::npos) << save.notice();
    save.nameEdited();
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kNothing);
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kChosen);
    EXPECT_EQ(save.result(), (root / "b.fwb").string());

    // Selecting a file offers its name; a folder's name opens the folder.
    save.select(4);
    EXPECT_EQ(save.name().text(), "b.fwb");
    save.name() = TextEntryModel("alpha");
    EXPECT_EQ(save.confirm(), FileSelectorModel::Outcome::kEnteredFolder);
    EXPECT_EQ(save.folder(), (root / "alpha").string());
    EXPECT_EQ(save.name().text(), "");
}

// The dialog through a frame: the popup centred over it, a double click
// into a folder, a click on the list, typing, the buttons and the keys.
TEST_F(FileDialog, RunsOverTheFrameAndReturnsThePathOnlyWhenConfirmed) {
    CFileSelector selector(frame);
    std::string path = "unchanged";
    ScriptedWindow::script = [](IPopupClient* client) {
        auto* dialog = static_cast<FileSelectorPopup*>(client);
        const CRect r = dialog->popupWindowRect(0);
        EXPECT_EQ(r, CRect::fromSize(200 + (400 - FileSelectorPopup::kWidth) / 2, 100, FileSelectorPopup::kWidth,
                                     FileSelectorPopup::kHeight));
        dialog->popupMouse(PopupMouse::Down, CPoint(5, 5), kLButton);  // outside: the dialog stays
        EXPECT_FALSE(dialog->popupDone());
        dialog->popupMouse(PopupMouse::Down, centre(dialog->rowRect(1)), kLButton | kDoubleClick);  // "alpha/"
        dialog->popupKey('x', 0, 0);
        dialog->popupKey(0, VKEY_RETURN, 0);
        EXPECT_TRUE(dialog->chosen());
    };
    ASSERT_TRUE(selector.run(FileSelectorStyle::kSave, "Choose destination filename", root.string().c_str(), "fwb",
                             &path));
    EXPECT_EQ(path, (root / "alpha" / "x.fwb").string());

    ScriptedWindow::script = [](IPopupClient* client) {
        auto* dialog = static_cast<FileSelectorPopup*>(client);
        dialog->popupMouse(PopupMouse::Down, centre(dialog->cancelButtonRect()), kLButton);
        dialog->popupMouse(PopupMouse::Up, centre(dialog->cancelButtonRect()), kLButton);
        EXPECT_TRUE(dialog->cancelled());
    };
    EXPECT_FALSE(selector.run(FileSelectorStyle::kOpen, "Select preset bank", root.string().c_str(), "fwb", &path));
    EXPECT_EQ(path, (root / "alpha" / "x.fwb").string());

    ScriptedWindow::script = [](IPopupClient* client) {
        auto* dialog = static_cast<FileSelectorPopup*>(client);
        dialog->popupKey(0, VKEY_END, 0);  // the last file, "b.fwb"
        dialog->popupMouse(PopupMouse::Down, centre(dialog->confirmButtonRect()), kLButton);
        dialog->popupMouse(PopupMouse::Up, centre(dialog->confirmButtonRect()), kLButton);
    };
    ASSERT_TRUE(selector.run(FileSelectorStyle::kOpen, "Select preset bank", root.string().c_str(), "fwb", &path));
    EXPECT_EQ(path, (root / "b.fwb").string());

    ScriptedWindow::script = [](IPopupClient* client) { client->popupKey(0, VKEY_ESCAPE, 0); };
    EXPECT_FALSE(selector.run(FileSelectorStyle::kOpen, "Select preset bank", root.string().c_str(), "fwb", &path));
    CFileSelector closed(nullptr);
    EXPECT_FALSE(closed.run(FileSelectorStyle::kOpen, "", "", "", &path));
}

TEST_F(FileDialog, TheWheelAndTheKeysKeepTheSelectionInView) {
    for (int i = 0; i < 40; ++i) touch(root / ("take " + std::to_string(10 + i) + ".fwb"));
    FileSelectorModel model(FileSelectorStyle::kOpen, root.string(), "fwb");
    FileSelectorPopup dialog(model, "Select preset bank", CRect(0, 0, 600, 500));
    const int32_t rows = dialog.visibleRows();
    ASSERT_LT(rows, 45);
    dialog.popupWheel(centre(dialog.popupWindowRect(0)), -2.0f, 0);
    EXPECT_EQ(dialog.firstVisibleRow(), 6);
    dialog.popupWheel(centre(dialog.popupWindowRect(0)), 10.0f, 0);
    EXPECT_EQ(dialog.firstVisibleRow(), 0);
    dialog.popupKey(0, VKEY_END, 0);
    EXPECT_EQ(dialog.firstVisibleRow(), 45 - rows);
    dialog.popupKey(0, VKEY_PAGEUP, 0);
    EXPECT_EQ(model.selection(), 44 - rows);
    // Backspace leaves the folder, with the folder left selected.
    dialog.popupKey(0, VKEY_BACK, 0);
    EXPECT_EQ(model.folder(), fs::path(root).parent_path().string());
    ASSERT_GE(model.selection(), 0);
    EXPECT_EQ(model.entries()[size_t(model.selection())].name, "dialog");
}
