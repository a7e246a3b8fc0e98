#pragma once
// Where everything of the editor's window goes, from the UI settings alone:
// the layout word, the window's size for each "UI Size", and the places of
// the regions (graph, keyboard, band strips, meters, the top bar's boxes,
// the trays and the setup panel). Pure functions, no views: the editor
// applies the result to its views.

#include <cstdint>

class UISettingsTree;

namespace layout {

// The layout word: which regions show and how the strips are made.
enum Flag : uint32_t {
    kGraph = 0x1,
    kStrips = 0x2,
    kChannelMeters = 0x4,
    kMasterMeters = 0x8,
    kSmallMasterMeters = 0x10,
    kTextStrips = 0x20,
    kSubtype = 0x40,
    kGroups = 0x80,
    kExtra = 0x100,
    kNumber = 0x200,
    kLabels = 0x400,
    kKeyboard = 0x800,
    kMetersByGraph = 0x1000,
    kScaleTray = 0x2000,
    kSubtypeMenu = 0x4000,
};

inline constexpr int32_t kTopBarHeight = 25;
inline constexpr int32_t kKeyboardHeight = 40;
inline constexpr int32_t kMinimumStripsBesideMeters = 280;  // strips beside meters are at least this high
inline constexpr int32_t kWizardWidth = 632;
inline constexpr int32_t kWizardHeight = 428;
inline constexpr int32_t kSetupWidth = 632;   // the window is at least this big while the setup panel is open
inline constexpr int32_t kSetupHeight = 428;
inline constexpr int32_t kFreeSize = 5;       // the "UI Size" index of "Free"
inline constexpr int32_t kMinimumWidth = 581;
// The widths of "Tiny", "Small", "Med", "Large" and "Huge".
inline constexpr int32_t kSizeWidths[5] = {581, 650, 750, 1100, 1300};

// The tray slides: the preset box's top when shown and hidden, the scale
// tray's left when shown and hidden (its handle stays in sight).
inline constexpr int32_t kPresetTrayShown = 25;
inline constexpr int32_t kPresetTrayHidden = -29;
inline constexpr int32_t kScaleTrayShown = 0;
inline constexpr int32_t kScaleTrayHidden = -116;

// The layout word from the "Layout" and "BandStrips" sections.
uint32_t flagsFromSettings(const UISettingsTree& settings);

// Width of the meter section for `channels` channels; 0 without meters.
int32_t metersWidth(uint32_t flags, int32_t channels);
// Height of the band strips as they are built; 0 when hidden.
int32_t stripsHeight(uint32_t flags);

struct Inputs {
    uint32_t flags = 0;
    int32_t uiSize = 2;       // 0..5, 5 "Free"
    int32_t freeWidth = 750;  // the width in "Free"
    int32_t channels = 2;
    bool wizardOpen = false;
    bool setupOpen = false;
    bool scrollbar = false;   // the graph's frequency scroll bar ("Scrollbar")
    int32_t presetTrayTop = kPresetTrayHidden;   // where the trays stand now
    int32_t scaleTrayLeft = kScaleTrayHidden;
};

// The window's width for the inputs' size, before meters are added ("Free"
// raised to kMinimumWidth).
int32_t baseWidth(const Inputs& in);

struct Box {
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    int32_t width() const { return right - left; }
    int32_t height() const { return bottom - top; }
    bool operator==(const Box&) const = default;
};

// The window and its regions. A region that is not shown is an empty box.
struct Regions {
    int32_t width = 0;
    int32_t height = 0;
    Box graph;
    Box keyboard;
    Box strips;
    Box meters;
    Box meterFade;          // over the strips' right end, beside the meters
    bool metersBesideGraph = false;
    // Top bar: the tiled ground between the logo and the buttons, the group
    // of buttons at the right edge, and its inner group (moved left when
    // the stereo menu is hidden with one channel).
    Box box1;
    int32_t box2Left = 0;
    int32_t box5Shift = 0;
    bool stereoMenuShown = true;
    int32_t box3Right = 0;  // the shadow under the top bar
    Box presetBox;
    Box scaleTray;
    Box resizeBox;          // empty unless "Free"
    Box darken;             // the setup panel's dimming sheet
    Box setupPanel;
    int32_t setupPageHeight = 0;
};

// The window's size and the places of its regions, as the editor lays
// itself out. The wizard takes a window of its own size and nothing else.
Regions computeRegions(const Inputs& in);

}  // namespace layout
