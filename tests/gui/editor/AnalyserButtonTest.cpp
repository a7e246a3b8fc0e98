// The analyser button as the layout builds it, clicked through a frame whose
// window runs the menu popup by a script: what the listener hears, and what
// the menu offers and marks.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "gui/ScriptedWindow.h"
#include "gui/editor/AnalyserButton.h"
#include "gui/toolkit/MenuPopup.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

using Heard = std::vector<std::pair<int32_t, float>>;  // tag and value of each report
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

    Heard heard;
    nAnalyserButton* button = nullptr;
};

}  // namespace

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
                  std::make_tuple(primary, secondary, type, Heard{{kGUIAnalyserUpdated, 1.0f}})) << path.back();
        EXPECT_EQ(button->getTag(), kGUIAnalyser);
    }
}

// A left click switches the analyser under the button's tag. A right click
// only opens the menu below the button: the second signal only for the plain
// analyser, other instances only when there are some, the choices checked.
TEST_F(AnalyserButtonTest, LeftClickTogglesAndRightClickOnlyOpensTheMenuOfTheModel) {
    EXPECT_EQ(button->getHeightOfOneImage(), 25);  // one frame of the strip per view height
    // The buttons, the model's other instances and choices, the menu in outline ("": none opens), what follows.
    const std::tuple<int32_t, Others, int32_t, int32_t, int32_t, std::string, float, Heard> rows[] = {
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
