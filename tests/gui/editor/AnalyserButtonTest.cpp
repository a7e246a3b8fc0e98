// The analyser button as the layout builds it, clicked through a frame whose
// window runs the menu popup by a script: what the listener hears, and what
// the menu offers and marks.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "gui/editor/AnalyserButton.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/MenuPopup.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

std::function<void(MenuPopup&)> gScript;  // what the user does in the popup; nothing closes it

struct ScriptedWindow : IPlatformFrame {
    void invalidRect(const CRect&) override {}
    bool setSize(const CRect&) override { return true; }
    CPoint getPositionOnScreen() override { return CPoint(100, 50); }
    bool getCurrentMousePosition(CPoint&) override { return false; }
    int32_t getCurrentMouseButtons() override { return 0; }
    void setMouseCursor(CCursorType) override {}
    void showCursor(bool) override {}
    void setCursorPosition(const CPoint&) override {}
    void takeFocus() override {}
    void idle() override {}
    bool runPopup(IPopupClient* client) override {
        if (gScript) gScript(dynamic_cast<MenuPopup&>(*client));
        return true;
    }
    uint32_t doubleClickTime() override { return 0; }
    uintptr_t nativeWindow() override { return 1; }
};

// Steps down to each title of `path` in turn, opening the levels on the way,
// and chooses the last.
std::function<void(MenuPopup&)> choose(const std::vector<std::string>& path) {
    return [path](MenuPopup& popup) {
        for (int32_t level = 0; level < static_cast<int32_t>(path.size()); ++level) {
            ASSERT_EQ(popup.levelCount(), level + 1);
            const int32_t entry = popup.levelMenu(level)->indexOfTitle(path[size_t(level)].c_str());
            for (int i = 0; i < 64 && popup.highlighted(level) != entry; ++i) popup.popupKey(0, VKEY_DOWN, 0);
            ASSERT_EQ(popup.highlighted(level), entry) << path[size_t(level)];
            popup.popupKey(0, level + 1 < static_cast<int32_t>(path.size()) ? VKEY_RIGHT : VKEY_RETURN, 0);
        }
    };
}

std::vector<std::string> titlesOf(const COptionMenu& menu) {
    std::vector<std::string> titles;
    for (int32_t i = 0; i < menu.getNbEntries(); ++i)
        titles.push_back(menu.getEntry(i)->isSeparator() ? "-" : menu.getEntry(i)->getTitle());
    return titles;
}

// The paths ("A/B/C") of the checked entries of a menu and those nested in it.
void checkedIn(const COptionMenu& menu, const std::string& prefix, std::vector<std::string>& paths) {
    for (int32_t i = 0; i < menu.getNbEntries(); ++i) {
        const CMenuItem* item = menu.getEntry(i);
        if (item->isChecked()) paths.push_back(prefix + item->getTitle());
        if (item->getSubmenu()) checkedIn(*item->getSubmenu(), prefix + item->getTitle() + "/", paths);
    }
}

struct Heard : CControlListener {
    void valueChanged(CControl* c) override { events.push_back({c->getTag(), c->getValue()}); }
    std::vector<std::pair<int32_t, float>> events;
};

using Others = std::vector<AnalyserMenuModel::Instance>;
const AnalyserMenuModel::Instance kBus{"Bus 2", {"L", "R", "C", "LFE", "Ls", "Rs"}}, kVocal{"Vocal", {"M"}};

struct AnalyserButtonTest : ::testing::Test {
    void SetUp() override {
        setPlatformFrameFactory([](IPlatformFrameCallback*, const CRect&, uintptr_t) -> IPlatformFrame* {
            return new ScriptedWindow;
        });
        frame = new CFrame(CRect(0, 0, 400, 300), nullptr);
        ASSERT_TRUE(frame->open(0));
        const LayoutReadResult doc =
            readLayoutDocument("<ui><nAnalyserButton x=49 width=67 height=25 tag=kGUIAnalyser background=800/></ui>");
        builder.viewFromLayout(doc.root, frame, frame, &heard);
        button = dynamic_cast<nAnalyserButton*>(frame->getView(frame->getNbViews() - 1));
        ASSERT_NE(button, nullptr);
    }
    void TearDown() override {
        frame->forget();
        setPlatformFrameFactory(nullptr);
        gScript = nullptr;
    }
    void click(int32_t buttons, std::function<void(MenuPopup&)> script = nullptr) {
        gScript = std::move(script);
        CPoint at(60, 4);
        frame->onMouseDown(at, buttons);
        frame->onMouseUp(at, 0);
    }
    void setModel(const Others& others, int32_t primary = 0, int32_t secondary = 1, int32_t type = 0) {
        button->setMenuModel({{"Left", "Right"}, others, primary, secondary, type});
    }

    CFrame* frame = nullptr;
    LayoutBuilder builder;
    Heard heard;
    nAnalyserButton* button = nullptr;
};

}  // namespace

TEST_F(AnalyserButtonTest, EachChoiceSetsItsSourceWordOrDisplayTypeAndReportsAnUpdate) {
    const struct {
        Others others;
        std::vector<std::string> path;
        int32_t primary, secondary, type;
    } rows[] = {
        {{}, {"Primary Signal", "Right"}, 1, 1, 0},
        {{}, {"Primary Signal", "Left (pre)"}, 2, 1, 0},
        {{}, {"Secondary Signal", "Right (pre)"}, 0, 3, 0},
        {{}, {"Primary Signal", "None"}, -1, 1, 0},
        {{kBus}, {"Primary Signal", "Bus 2", "C"}, 0x102, 1, 0},
        {{kBus}, {"Secondary Signal", "Bus 2", "C (pre)"}, 0, 0x108, 0},
        {{kBus, kVocal}, {"Primary Signal", "Vocal", "M (pre)"}, 0x201, 1, 0},
        {{kBus, kVocal}, {"Secondary Signal", "Bus 2", "Rs (pre)"}, 0, 0x10b, 0},
        {{kBus, kVocal}, {"Secondary Signal", "None"}, 0, -1, 0},
        {{}, {"Display Type", "1/3 Octave"}, 0, 1, 1},
        {{}, {"Display Type", "1/12 Octave"}, 0, 1, 2},
        {{kBus}, {"Display Type", "Spectrograph"}, 0, 1, 3},
        {{}, {"Display Type", "Brightness Bars"}, 0, 1, 4},
        {{}, {"Display Type", "Brightness/Analyser"}, 0, 1, 5},
    };
    button->setValue(1);
    for (const auto& row : rows) {
        setModel(row.others);
        heard.events.clear();
        click(kRButton, choose(row.path));
        EXPECT_EQ(std::make_tuple(button->primarySource(), button->secondarySource(), button->displayType()),
                  std::make_tuple(row.primary, row.secondary, row.type)) << row.path.back();
        // One report under the update tag, with the switch left as it was.
        EXPECT_EQ(heard.events, (decltype(heard.events){{kGUIAnalyserUpdated, 1.0f}})) << row.path.back();
        EXPECT_EQ(button->getTag(), kGUIAnalyser);
    }
    setModel({}, 0, 1, 4);
    click(kRButton, choose({"Display Type", "Analyser"}));
    EXPECT_EQ(button->displayType(), 0);
}

TEST_F(AnalyserButtonTest, MenuListsInstancesWhenThereAreOthersAndChecksTheCurrentChoices) {
    const std::vector<std::string> own = {"Left", "Right", "Left (pre)", "Right (pre)", "-"};
    const struct {
        Others others;
        int32_t primary, secondary, type;
        std::vector<std::string> extra;  // the signal menus' entries after this instance's
        std::vector<std::string> checked;
    } rows[] = {
        {{}, 0, 1, 0, {"None"}, {"Primary Signal/Left", "Display Type/Analyser", "Secondary Signal/Right"}},
        {{kVocal}, 3, -1, 0, {"Vocal", "-", "None"},
         {"Primary Signal/Right (pre)", "Display Type/Analyser", "Secondary Signal/None"}},
        {{kBus, kVocal}, 0x108, 0x201, 0, {"Bus 2", "Vocal", "-", "None"},
         {"Primary Signal/Bus 2", "Primary Signal/Bus 2/C (pre)", "Display Type/Analyser", "Secondary Signal/Vocal",
          "Secondary Signal/Vocal/M (pre)"}},
        {{kBus, kVocal}, 0x200, 2, 5, {"Bus 2", "Vocal", "-", "None"},
         {"Primary Signal/Vocal", "Primary Signal/Vocal/M", "Display Type/Brightness/Analyser"}},
        {{kBus}, 0x300, 0x10c, 1, {"Bus 2", "-", "None"}, {"Display Type/1/3 Octave"}},
    };
    for (const auto& row : rows) {
        setModel(row.others, row.primary, row.secondary, row.type);
        std::vector<std::string> top, checked;
        click(kRButton, [&](MenuPopup& popup) {
            top = titlesOf(*popup.levelMenu(0));
            for (int32_t i = 0; i < popup.levelMenu(0)->getNbEntries(); i += 2) {  // the signal menus
                std::vector<std::string> signals = own;
                signals.insert(signals.end(), row.extra.begin(), row.extra.end());
                EXPECT_EQ(titlesOf(*popup.levelMenu(0)->getEntry(i)->getSubmenu()), signals) << top[size_t(i)];
            }
            checkedIn(*popup.levelMenu(0), "", checked);
        });
        std::vector<std::string> expectedTop = {"Primary Signal", "Display Type", "Secondary Signal"};
        if (row.type != 0) expectedTop.pop_back();
        EXPECT_EQ(top, expectedTop);
        EXPECT_EQ(checked, row.checked);
    }
    EXPECT_TRUE(heard.events.empty());
}

TEST_F(AnalyserButtonTest, LeftClickTogglesUnderItsTagAndRightClickOnlyOpensTheMenuBelow) {
    EXPECT_STREQ(button->getClassName(), "nAnalyserButton");
    EXPECT_EQ(button->getHeightOfOneImage(), 25);
    const struct {
        int32_t buttons;
        float value;
        decltype(Heard::events) heard;
    } rows[] = {{kLButton, 1, {{kGUIAnalyser, 1.0f}}}, {kRButton, 1, {}}, {kLButton, 0, {{kGUIAnalyser, 0.0f}}},
                {kRButton | kLButton, 0, {}}};
    for (const auto& row : rows) {
        heard.events.clear();
        CRect menu;
        click(row.buttons, [&menu](MenuPopup& popup) { menu = popup.popupWindowRect(0); });
        EXPECT_EQ(button->getValue(), row.value);
        EXPECT_EQ(heard.events, row.heard);
        // The menu hangs from the button's lower left corner on the screen.
        EXPECT_EQ(menu.topLeft(), (row.buttons & kRButton) ? CPoint(149, 75) : CPoint());
    }
}
