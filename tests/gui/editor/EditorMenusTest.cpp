// The editor's menus and the analyser button as the layout builds them,
// driven by mouse calls through a frame whose window runs the toolkit's
// popups by a script of keys: what the listener hears, under which tag, and
// what the menus hold, mark and where they open.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "gui/ScriptedWindow.h"
#include "gui/editor/AnalyserButton.h"
#include "gui/editor/EditorMenus.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CTimer.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"
#include "session/EditorTags.h"
#include "state/PresetScan.h"

using namespace VSTGUI;

namespace {

// Chooses entry `index` of the top level, stepping with Down from where
// the popup opens (separators are stepped over), then `deeper` in the menu
// nested there.
std::function<void(IPopupClient*)> pick(int32_t index, int32_t deeper = -1) {
    return [=](IPopupClient* client) {
        auto* popup = dynamic_cast<MenuPopup*>(client);
        ASSERT_NE(popup, nullptr);
        auto stepTo = [popup](int32_t level, int32_t entry) {
            for (int i = 0; i < 32 && popup->highlighted(level) != entry; ++i) popup->popupKey(0, VKEY_DOWN, 0);
        };
        stepTo(0, index);
        if (deeper >= 0) {
            popup->popupKey(0, VKEY_RIGHT, 0);
            ASSERT_EQ(popup->levelCount(), 2);
            stepTo(1, deeper);
        }
        popup->popupKey(0, VKEY_RETURN, 0);
    };
}

struct Heard : CControlListener {
    void valueChanged(CControl* c) override {
        events.push_back(std::to_string(c->getTag()) + "=" + std::to_string(static_cast<int>(c->getValue())));
    }
    void controlBeginEdit(CControl* c) override { events.push_back("begin " + std::to_string(c->getTag())); }
    void controlEndEdit(CControl* c) override { events.push_back("end " + std::to_string(c->getTag())); }
    std::vector<std::string> events;
};

// The report of one choice: the edit bracket around the value, all under `tag`.
std::vector<std::string> choice(int32_t tag, int value) {
    const std::string t = std::to_string(tag);
    return {"begin " + t, t + "=" + std::to_string(value), "end " + t};
}

struct Menus : ScriptedFrame {
    template <class Menu>
    Menu* build(const std::string& element) {
        const LayoutReadResult doc = readLayoutDocument("<ui>" + element + "</ui>");
        EXPECT_TRUE(doc.ok) << doc.error;
        builder.viewFromLayout(doc.root, frame, frame, &heard);
        auto* menu = dynamic_cast<Menu*>(frame->getView(frame->getNbViews() - 1));
        EXPECT_NE(menu, nullptr) << element;
        return menu;
    }
    void click(CView* view, int32_t buttons, CCoord x = 4, CCoord y = 4) {
        clickAt(CPoint(x, y) + view->getViewSize().topLeft(), buttons);
    }

    LayoutBuilder builder;
    Heard heard;
};

using Reports = std::vector<std::pair<int32_t, float>>;  // tag and value of each report
using Others = std::vector<AnalyserMenuModel::Instance>;
const AnalyserMenuModel::Instance kBus{"Bus 2", {"L", "R", "C", "LFE", "Ls", "Rs"}}, kVocal{"Vocal", {"M"}};

// Steps down to each title of `path` with the keys, opening the levels on
// the way, and chooses the last.
std::function<void(IPopupClient*)> choose(const std::vector<std::string>& path) {
    return [path](IPopupClient* client) {
        auto& popup = dynamic_cast<MenuPopup&>(*client);
        for (int32_t level = 0; level < static_cast<int32_t>(path.size()); ++level) {
            const int32_t entry = popup.levelMenu(level)->indexOfTitle(path[static_cast<size_t>(level)].c_str());
            for (int i = 0; i < 64 && popup.highlighted(level) != entry; ++i) popup.popupKey(0, VKEY_DOWN, 0);
            ASSERT_EQ(popup.highlighted(level), entry) << path[static_cast<size_t>(level)];
            popup.popupKey(0, level + 1 < static_cast<int32_t>(path.size()) ? VKEY_RIGHT : VKEY_RETURN, 0);
        }
    };
}

// A menu in outline: its nested menus with what they hold in brackets, and
// its checked entries marked "*", as "Display Type[Analyser*], ...".
std::string outline(const COptionMenu& menu) {
    std::string text;
    for (int32_t i = 0; i < menu.getNbEntries(); ++i) {
        const CMenuItem* item = menu.getEntry(i);
        if (!item->getSubmenu() && !item->isChecked()) continue;
        text += (text.empty() ? "" : ", ") + item->getTitle() + (item->isChecked() ? "*" : "");
        if (item->getSubmenu()) text.append("[").append(outline(*item->getSubmenu())).append("]");
    }
    return text;
}

struct AnalyserButtonTest : ScriptedFrame, CControlListener {
    void SetUp() override {
        ScriptedFrame::SetUp();
        const char* layout = "<ui><nAnalyserButton x=49 width=67 height=25 tag=kGUIAnalyser background=800/></ui>";
        LayoutBuilder().viewFromLayout(readLayoutDocument(layout).root, frame, frame, this);
        button = dynamic_cast<nAnalyserButton*>(frame->getView(0));
        ASSERT_NE(button, nullptr);
    }
    void valueChanged(CControl* c) override { heard.push_back({c->getTag(), c->getValue()}); }
    // Clicks the button holding `model`, `script` playing any popup.
    void click(int32_t buttons, const AnalyserMenuModel& model, std::function<void(IPopupClient*)> script) {
        button->setMenuModel(model);
        heard.clear();
        ScriptedWindow::script = std::move(script);
        clickAt(CPoint(60, 4), buttons);
    }

    Reports heard;
    nAnalyserButton* button = nullptr;
};

}  // namespace

TEST_F(Menus, TextMenusListTheirTextAndReportTheChosenIndex) {
    const struct {
        const char* element;
        const char* className;
        std::vector<std::string> entries;
        int32_t chosen;
    } rows[] = {
        {R"(<nTTMenu width=250 height=15 tag=kDPlusLen txt="Off\n16\n32\n64"/>)", "nTTMenu", {"Off", "16", "32", "64"}, 2},
        {R"(<TOptionMenu width=140 height=15 tag=kGUIProcessMode txt="IIR\nFIR"/>)", "TOptionMenu", {"IIR", "FIR"}, 1},
        {R"(<nTTMenu width=99 height=15 tag=kParallel txt="All Series\n-\n"/>)", "nTTMenu", {"All Series", "-", ""}, 1},
    };
    for (const auto& row : rows) {
        auto* menu = build<TOptionMenu>(row.element);
        ASSERT_NE(menu, nullptr);
        EXPECT_STREQ(menu->getClassName(), row.className);
        EXPECT_EQ(menu->getEntryTitles(), row.entries);
        heard.events.clear();
        ScriptedWindow::script = pick(row.chosen);
        click(menu, kLButton);
        EXPECT_EQ(heard.events, choice(menu->getTag(), row.chosen)) << row.element;
        EXPECT_EQ(menu->getDisplayText(), row.entries[static_cast<size_t>(row.chosen)]);
    }
}

TEST_F(Menus, SlotButtonTogglesOnALeftClickAndListsSlotsOnARightClick) {
    auto* slots = build<SOptionMenu>(R"(<SOptionMenu width=27 height=25 background=802 tag=kGUIABMenu )"
                                     R"(alttag=kGUIABMenuAlt txt="A\nB\nC\nD\nE\nF\nG\nH"/>)");
    ASSERT_NE(slots, nullptr);
    slots->setCurrent(1);
    const struct {
        int32_t buttons;
        int32_t chosen;  // by the script, when a list opens
        int popups;
        std::vector<std::string> heard;
    } rows[] = {
        {kLButton, 5, 0, choice(kGUIABMenuAlt, 1)},
        {kRButton, 5, 1, choice(kGUIABMenu, 5)},
        {kLButton, 2, 0, choice(kGUIABMenuAlt, 5)},
    };
    for (const auto& row : rows) {
        heard.events.clear();
        ScriptedWindow::popups = 0;
        ScriptedWindow::script = pick(row.chosen);
        click(slots, row.buttons);
        EXPECT_EQ(ScriptedWindow::popups, row.popups);
        EXPECT_EQ(heard.events, row.heard);
        EXPECT_EQ(slots->getTag(), kGUIABMenu);
    }
    EXPECT_EQ(slots->getDisplayText(), "F");
}

TEST_F(Menus, CopyButtonShowsItselfPressedWhileOpenAndReportsTheSlot) {
    auto* copy = build<CopyToMenu>(R"(<CopyToMenu width=59 height=25 tag=kGUICopyTo background=803 )"
                                   R"(heightofoneimage=25 txt="A\nB\nC\nD\nE\nF\nG\nH"/>)");
    ASSERT_NE(copy, nullptr);
    int32_t frameWhileOpen = -1;
    ScriptedWindow::script = [&](IPopupClient* client) {
        frameWhileOpen = copy->frameShown();
        pick(6)(client);
    };
    click(copy, kLButton);
    EXPECT_EQ(frameWhileOpen, 1);
    EXPECT_EQ(copy->frameShown(), 0);
    EXPECT_EQ(heard.events, choice(kGUICopyTo, 6));
}

TEST_F(Menus, GroupMenuEndsWithBothAndNoneForTwoChannelsAndSendsTheOtherSideToItsAltTag) {
    auto* groups = build<SGroupMenu>(R"(<SGroupMenu width=35 height=25 background=806 tag=kGUIStereoMode )"
                                     R"(alttag=kGUIStereoMode2/>)");
    ASSERT_NE(groups, nullptr);
    const struct {
        std::vector<std::string> names;
        int32_t channels;
        std::vector<std::string> entries;
        int32_t both, none;
    } sets[] = {
        {{"Left", "Right"}, 2, {"Left", "Right", "Both", "None"}, 2, 3},
        {{"1", "2", "3", "4", "5", "6"}, 6, {"1", "2", "3", "4", "5", "6"}, -1, -1},
        {{"Mid", "Side"}, 2, {"Mid", "Side", "Both", "None"}, 2, 3},
    };
    for (const auto& set : sets) {
        groups->setGroups(set.names, set.channels);
        EXPECT_EQ(groups->getEntryTitles(), set.entries);
        EXPECT_EQ(groups->bothValue(), set.both);
        EXPECT_EQ(groups->noneValue(), set.none);
    }
    const struct {
        int32_t buttons;
        int32_t heldAtChoice;
        int32_t chosen;
        int32_t tag;
    } rows[] = {
        {kLButton, 0, 1, kGUIStereoMode},
        {kRButton, 0, 3, kGUIStereoMode2},
        {kLButton, kShift, 2, kGUIStereoMode2},
        {kLButton, 0, 0, kGUIStereoMode},
    };
    for (const auto& row : rows) {
        heard.events.clear();
        ScriptedWindow::heldButtons = row.heldAtChoice;
        ScriptedWindow::script = pick(row.chosen);
        click(groups, row.buttons);
        EXPECT_EQ(heard.events, choice(row.tag, row.chosen));
        EXPECT_EQ(groups->getTag(), kGUIStereoMode);
    }
}

TEST_F(Menus, PresetFieldReportsWhereTheChoiceLiesAndRenamesOnADoubleClick) {
    auto* presets = build<CPresetMenu>(R"(<CPresetMenu width=208 height=18 tag=kGUIPresetMenu background=506 font=101/>)");
    ASSERT_NE(presets, nullptr);
    EXPECT_EQ(presets->getFontId(), 101);
    PresetMenu tree;
    tree.entries.push_back({PresetMenu::Kind::kItem, "Program 1", nullptr});
    tree.entries.push_back({PresetMenu::Kind::kSeparator, "", nullptr});
    auto folder = std::make_unique<PresetMenu>();
    folder->entries.push_back({PresetMenu::Kind::kItem, "Air", nullptr});
    folder->entries.push_back({PresetMenu::Kind::kItem, "Warmth", nullptr});
    tree.entries.push_back({PresetMenu::Kind::kSubmenu, "Mastering", std::move(folder)});
    presets->setMenu(tree);
    presets->setName("Program 1");

    // The drop mark opens the menu at once; the choice lies in the folder.
    ScriptedWindow::script = pick(2, 1);
    click(presets, kLButton, 200, 9);
    EXPECT_EQ(presets->getChosenPath(), (std::vector<int32_t>{2, 1}));
    EXPECT_EQ(presets->getChosenTitle(), "Warmth");
    EXPECT_EQ(heard.events.size(), 3u);

    // A click on the name waits; a second one edits the name instead.
    heard.events.clear();
    ScriptedWindow::popups = 0;
    ScriptedWindow::script = [](IPopupClient* client) {
        auto* entry = dynamic_cast<TextEntryPopup*>(client);
        ASSERT_NE(entry, nullptr);
        entry->model().selectAll();
        for (const char c : std::string("Loud")) entry->model().insert(static_cast<uint32_t>(c));
        entry->popupKey(0, VKEY_RETURN, 0);
    };
    click(presets, kLButton, 20, 9);
    EXPECT_TRUE(presets->isMenuPending());
    EXPECT_EQ(ScriptedWindow::popups, 0);
    click(presets, kLButton | kDoubleClick, 20, 9);
    EXPECT_FALSE(presets->isMenuPending());
    EXPECT_EQ(presets->getName(), "Loud");
    EXPECT_EQ(heard.events, choice(kGUIPresetName, 0));
    EXPECT_EQ(presets->getTag(), kGUIPresetMenu);

    // With no second click the menu opens when the wait is over.
    ScriptedWindow::popups = 0;
    ScriptedWindow::script = pick(0);
    click(presets, kLButton, 20, 9);
    CTimer::fireDue(toolkitMilliseconds() + 60000);
    EXPECT_EQ(ScriptedWindow::popups, 1);
    EXPECT_EQ(presets->getChosenPath(), std::vector<int32_t>{0});
}

// A choice is reported under the update tag, with the switch as it was.
TEST_F(AnalyserButtonTest, EachChoiceSetsItsSourceWordOrDisplayTypeAndReportsAnUpdate) {
    const std::tuple<std::vector<std::string>, int32_t, int32_t, int32_t> rows[] = {
        {{"Primary Signal", "Right"}, 1, 1, 0},
        {{"Secondary Signal", "Right (pre)"}, 0, 3, 0},
        {{"Primary Signal", "Vocal", "M (pre)"}, 0x201, 1, 0},
        {{"Secondary Signal", "Bus 2", "C"}, 0, 0x102, 0},
        {{"Primary Signal", "None"}, -1, 1, 0},
        {{"Display Type", "Spectrograph"}, 0, 1, 3},
    };
    button->setValue(1);
    for (const auto& [path, primary, secondary, type] : rows) {
        click(kRButton, {{"Left", "Right"}, {kBus, kVocal}, 0, 1, 0}, choose(path));
        EXPECT_EQ(std::make_tuple(button->primarySource(), button->secondarySource(), button->displayType(), heard),
                  std::make_tuple(primary, secondary, type, Reports{{kGUIAnalyserUpdated, 1.0f}})) << path.back();
        EXPECT_EQ(button->getTag(), kGUIAnalyser);
    }
}

// A left click switches the analyser under the button's tag. A right click
// only opens the menu below the button: the second signal only for the plain
// analyser, other instances only when there are some, the choices checked.
TEST_F(AnalyserButtonTest, LeftClickTogglesAndRightClickOnlyOpensTheMenuOfTheModel) {
    EXPECT_EQ(button->getHeightOfOneImage(), 25);  // one frame of the strip per view height
    // The buttons, the model's other instances and choices, the menu in outline ("": none opens), what follows.
    const std::tuple<int32_t, Others, int32_t, int32_t, int32_t, std::string, float, Reports> rows[] = {
        {kLButton, {}, 0, 1, 0, "", 1, {{kGUIAnalyser, 1.0f}}},
        {kRButton, {}, 0, 1, 0, "Primary Signal[Left*], Display Type[Analyser*], Secondary Signal[Right*]", 1, {}},
        {kRButton | kLButton, {kBus, kVocal}, 0x108, -1, 5,
         "Primary Signal[Bus 2*[C (pre)*], Vocal[]], Display Type[Brightness/Analyser*]", 1, {}},
        {kLButton, {}, 0, 1, 0, "", 0, {{kGUIAnalyser, 0.0f}}},
    };
    for (const auto& [buttons, others, primary, secondary, type, menu, value, report] : rows) {
        std::pair<std::string, CPoint> shown;  // the menu in outline and where it opens on the screen
        click(buttons, {{"Left", "Right"}, others, primary, secondary, type}, [&shown](IPopupClient* client) {
            shown = {outline(*dynamic_cast<MenuPopup&>(*client).levelMenu(0)), client->popupWindowRect(0).topLeft()};
        });
        // Below the button: the frame's place on the screen plus the button's lower left corner.
        const std::pair<std::string, CPoint> expected(menu, menu.empty() ? CPoint() : CPoint(200 + 49, 100 + 25));
        EXPECT_EQ(std::make_tuple(shown, button->getValue(), heard), std::make_tuple(expected, value, report));
    }
}
