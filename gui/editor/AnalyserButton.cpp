#include "gui/editor/AnalyserButton.h"

#include <cstring>

#include "gui/editor/EditorControls.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/MenuPopup.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

// Entries are added as text and titled afterwards, so that a label "-"
// stays an entry rather than becoming a separator.
CMenuItem* addTitled(COptionMenu* menu, const std::string& title, bool checked, int32_t itemTag) {
    CMenuItem* item = menu->addEntry("", -1, checked ? CMenuItem::kChecked : CMenuItem::kNoFlags);
    item->setTitle(title.c_str());
    item->setTag(itemTag);
    return item;
}

// A separator between groups, never at the top of a menu.
void separateGroup(COptionMenu* menu) {
    if (menu->getNbEntries() > 0) menu->addSeparator();
}

// Hands a nested menu to the entry `title` of `into`, which keeps it.
CMenuItem* addNested(COptionMenu* into, COptionMenu* nested, const char* title) {
    CMenuItem* item = into->addEntry(nested, title);
    nested->forget();
    return item;
}

}  // namespace

nAnalyserButton::nAnalyserButton(const CRect& r, CControlListener* listener, int32_t t, CBitmap* strip,
                                 CCoord heightOfOneImage)
    : CMovieButton3(r, listener, t, strip, heightOfOneImage) {}

void nAnalyserButton::setMenuModel(const AnalyserMenuModel& m) { model = m; }

COptionMenu* nAnalyserButton::buildSignalMenu(Action::Field field, int32_t current,
                                              std::vector<Action>& actions) const {
    auto* menu = new COptionMenu(CRect(), nullptr, 0, nullptr, nullptr, kMultipleCheckStyle);
    auto addChoice = [&](COptionMenu* into, const std::string& title, int32_t word) {
        addTitled(into, title, word == current, static_cast<int32_t>(actions.size()));
        actions.push_back({field, word});
        return word == current;
    };
    // One instance's channels after the bank, then before it; true when
    // one of them is the current source.
    auto addChannels = [&](COptionMenu* into, int32_t instance, const std::vector<std::string>& labels) {
        const auto count = static_cast<int32_t>(labels.size());
        bool holdsCurrent = false;
        for (int32_t c = 0; c < count; ++c)
            holdsCurrent |= addChoice(into, labels[static_cast<size_t>(c)], analyserSource(instance, count, c, false));
        for (int32_t c = 0; c < count; ++c)
            holdsCurrent |= addChoice(into, labels[static_cast<size_t>(c)] + " (pre)",
                                      analyserSource(instance, count, c, true));
        return holdsCurrent;
    };

    addChannels(menu, 0, model.channels);
    if (!model.others.empty()) separateGroup(menu);
    for (size_t k = 0; k < model.others.size(); ++k) {
        const AnalyserMenuModel::Instance& other = model.others[k];
        auto* nested = new COptionMenu(CRect(), nullptr, 0, nullptr, nullptr, kMultipleCheckStyle);
        const bool holdsCurrent = addChannels(nested, static_cast<int32_t>(k + 1), other.channels);
        addNested(menu, nested, "")->setTitle(other.name.c_str());
        menu->checkEntry(menu->getNbEntries() - 1, holdsCurrent);
    }
    separateGroup(menu);
    addChoice(menu, kNoneTitle, AnalyserMenuModel::kNoSource);
    return menu;
}

COptionMenu* nAnalyserButton::buildMenu(std::vector<Action>& actions) const {
    auto* menu = new COptionMenu(CRect(), nullptr, 0, nullptr, nullptr, kMultipleCheckStyle);
    addNested(menu, buildSignalMenu(Action::kPrimary, model.primary, actions), kPrimaryTitle);

    auto* types = new COptionMenu(CRect(), nullptr, 0, nullptr, nullptr, kMultipleCheckStyle);
    for (int32_t t = 0; t < AnalyserMenuModel::kDisplayTypeCount; ++t) {
        addTitled(types, kDisplayTitles[t], t == model.type, static_cast<int32_t>(actions.size()));
        actions.push_back({Action::kType, t});
    }
    addNested(menu, types, kDisplayTitle);

    // Only the plain analyser draws a second signal.
    if (model.type == AnalyserMenuModel::kAnalyser)
        addNested(menu, buildSignalMenu(Action::kSecondary, model.secondary, actions), kSecondaryTitle);
    return menu;
}

bool nAnalyserButton::openMenu() {
    if (menuOpen || !frame) return false;
    std::vector<Action> actions;
    const auto menu = SharedPointer<COptionMenu>::adopt(buildMenu(actions));
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    MenuPopup popup(menu.get(), frameRect().offset(x, y));
    menuOpen = true;
    const bool shown = frame->runPopup(&popup);
    menuOpen = false;
    if (!shown || !popup.chosenMenu()) return false;
    const CMenuItem* item = popup.chosenMenu()->getEntry(popup.chosenIndex());
    if (!item || item->getTag() < 0 || static_cast<size_t>(item->getTag()) >= actions.size()) return false;
    apply(actions[static_cast<size_t>(item->getTag())]);
    return true;
}

void nAnalyserButton::apply(const Action& action) {
    switch (action.field) {
        case Action::kPrimary: model.primary = action.value; break;
        case Action::kSecondary: model.secondary = action.value; break;
        case Action::kType: model.type = action.value; break;
    }
    if (!listener) return;
    ReportingAs as(*this, kGUIAnalyserUpdated);
    listener->valueChanged(this);
}

CMouseEventResult nAnalyserButton::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (buttons & kRButton) {
        openMenu();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    return CMovieButton3::onMouseDown(where, buttons);
}

bool nAnalyserButton::isTypeOf(const char* className) const {
    return std::strcmp(className, "nAnalyserButton") == 0 || CMovieButton3::isTypeOf(className);
}

// The strip holds one frame per view height: off, then on.
CView* makeAnalyserButton(const LayoutElementArgs& a) {
    return new nAnalyserButton(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), a.rect.height());
}
