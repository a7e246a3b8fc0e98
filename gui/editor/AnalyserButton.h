#pragma once
// The analyser's button in the header: a toggle for the analyser, and on a
// right click the menu of what the analyser shows.
//
// The menu is built at each opening from a model the editor gives
// (setMenuModel): the channel labels of this instance and of the other
// instances, and the current choices. It holds, in this order:
//   "Primary Signal"    this instance's channels, then each again as
//                       "<label> (pre)"; then one submenu per other
//                       instance with its own channels the same way; then
//                       "None";
//   "Display Type"      the six displays (AnalyserMenuModel::DisplayType);
//   "Secondary Signal"  as "Primary Signal", only while the display type is
//                       kAnalyser.
// The current choices are checked, and so is the instance entry that holds
// a checked choice.
//
// Sources are words: a channel c of an instance with n channels is c after
// the bank and n + c before it; the instance at position k of `others`
// (1-based) puts k in the bits from 8 up, this instance 0. kNoSource (-1)
// is no signal.
//
// A left click toggles the value between 0 and 1 and reports it under the
// button's tag, as any movie button. A choice in the menu updates the
// model and is reported under kGUIAnalyserUpdated with the button's value
// unchanged; the listener reads the choices back with the getters.

#include <cstdint>
#include <string>
#include <vector>

#include "gui/editor/EditorButtons.h"
#include "gui/editor/LayoutBuilder.h"

namespace VSTGUI {
class COptionMenu;
}

struct AnalyserMenuModel {
    enum DisplayType : int32_t {
        kAnalyser = 0,
        kThirdOctave,
        kTwelfthOctave,
        kSpectrograph,
        kBrightnessBars,
        kBrightnessAnalyser,
        kDisplayTypeCount
    };
    static constexpr int32_t kNoSource = -1;

    struct Instance {
        std::string name;
        std::vector<std::string> channels;
    };

    std::vector<std::string> channels;  // this instance's channel labels
    std::vector<Instance> others;       // the other instances, numbered 1, 2, ... in this order
    int32_t primary = 0;
    int32_t secondary = 1;
    int32_t type = kAnalyser;
};

// The source word of `channel` of the instance at `instance` (0: this one)
// with `channelCount` channels; `preBank` for the signal before the bank.
constexpr int32_t analyserSource(int32_t instance, int32_t channelCount, int32_t channel, bool preBank) {
    return (instance << 8) | (preBank ? channelCount + channel : channel);
}

class nAnalyserButton : public CMovieButton3 {
public:
    static constexpr const char* kPrimaryTitle = "Primary Signal";
    static constexpr const char* kDisplayTitle = "Display Type";
    static constexpr const char* kSecondaryTitle = "Secondary Signal";
    static constexpr const char* kNoneTitle = "None";
    // The display types' titles, by value.
    static constexpr const char* kDisplayTitles[AnalyserMenuModel::kDisplayTypeCount] = {
        "Analyser", "1/3 Octave", "1/12 Octave", "Spectrograph", "Brightness Bars", "Brightness/Analyser"};

    nAnalyserButton(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag,
                    VSTGUI::CBitmap* strip, VSTGUI::CCoord heightOfOneImage);

    void setMenuModel(const AnalyserMenuModel& model);
    const AnalyserMenuModel& getMenuModel() const { return model; }
    int32_t primarySource() const { return model.primary; }
    int32_t secondarySource() const { return model.secondary; }
    int32_t displayType() const { return model.type; }

    // Opens the menu below the button and waits for it; true when an entry
    // was chosen (and reported).
    bool openMenu();
    bool isMenuOpen() const { return menuOpen; }

    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "nAnalyserButton"; }
    bool isTypeOf(const char* className) const override;

private:
    // What an entry of the menu sets; the entry's tag is its index in the
    // list built with the menu.
    struct Action {
        enum Field { kPrimary, kSecondary, kType } field;
        int32_t value;
    };
    VSTGUI::COptionMenu* buildMenu(std::vector<Action>& actions) const;
    VSTGUI::COptionMenu* buildSignalMenu(Action::Field field, int32_t current, std::vector<Action>& actions) const;
    void apply(const Action& action);

    AnalyserMenuModel model;
    bool menuOpen = false;
};

VSTGUI::CView* makeAnalyserButton(const LayoutElementArgs& args);
