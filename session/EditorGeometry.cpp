#include "session/EditorGeometry.h"

#include <algorithm>
#include <cmath>

#include "state/UISettingsTree.h"

namespace layout {

namespace {

constexpr int32_t kPresetBoxWidth = 282;
constexpr int32_t kPresetBoxHeight = 54;
constexpr int32_t kScaleTrayWidth = 133;
constexpr int32_t kScaleTrayHeight = 240;
constexpr int32_t kLogoWidth = 181;
constexpr int32_t kButtonGroupWidth = 405;  // the top bar's buttons at the right edge
constexpr int32_t kStereoMenuWidth = 35;
constexpr int32_t kResizeBoxSize = 16;
constexpr int32_t kMeterFadeWidth = 44;
constexpr int32_t kSetupPanelWidth = 632;
constexpr int32_t kSetupPanelMaxHeight = 900;
constexpr int32_t kSetupPageTop = 82;  // the panel's top (25) and the pages' top within it
constexpr int32_t kSetupPageMaxHeight = 843;

bool metersOn(uint32_t flags) { return (flags & (kChannelMeters | kMasterMeters)) != 0; }

// The strips' height as laid out: beside meters (by the strips, or with no
// graph) they are at least kMinimumStripsBesideMeters high.
int32_t laidOutStripsHeight(uint32_t flags) {
    const int32_t s = stripsHeight(flags);
    const bool byKnobs = !(flags & kMetersByGraph);
    if (s < kMinimumStripsBesideMeters && metersOn(flags) && (byKnobs || !(flags & kGraph)))
        return kMinimumStripsBesideMeters;
    return s;
}

}  // namespace

uint32_t flagsFromSettings(const UISettingsTree& settings) {
    auto on = [&](const char* category, const char* key) { return settings.value(category, key) != 0; };
    uint32_t flags = 0;
    if (on("Layout", "Graph")) flags |= kGraph;
    const int32_t strips = settings.value("Layout", "BandStrips");
    if (strips != 0) flags |= kStrips;
    if (strips == 1) flags |= kTextStrips;
    if (on("Layout", "Channel Meters")) flags |= kChannelMeters;
    const int32_t master = settings.value("Layout", "Master Meters");
    if (master != 0) flags |= kMasterMeters;
    if (master == 1) flags |= kSmallMasterMeters;
    if (on("Layout", "Keyboard")) flags |= kKeyboard;
    if (settings.value("Layout", "Meter Position") == 1) flags |= kMetersByGraph;
    if (on("Layout", "Scale Tray")) flags |= kScaleTray;
    if (on("BandStrips", "Subtype")) flags |= kSubtype;
    if (on("BandStrips", "Groups")) flags |= kGroups;
    if (on("BandStrips", "Extra")) flags |= kExtra;
    if (on("BandStrips", "Number")) flags |= kNumber;
    if (on("BandStrips", "Labels")) flags |= kLabels;
    if (on("BandStrips", "Subtype menu")) flags |= kSubtypeMenu;
    return flags;
}

int32_t metersWidth(uint32_t flags, int32_t channels) {
    if (!metersOn(flags)) return 0;
    const bool master = (flags & kMasterMeters) != 0;
    const bool small = (flags & kSmallMasterMeters) != 0;
    int32_t width = 0;
    if (flags & kChannelMeters) {
        width = channels * 66 - (master && !small ? 3 : 0);
    } else if (!small) {
        width = -3;
    }
    if (master) width += small ? 66 : 133;
    return std::max(0, width);
}

int32_t stripsHeight(uint32_t flags) {
    if (!(flags & kStrips)) return 0;
    const bool text = (flags & kTextStrips) != 0;
    const int32_t row = text ? 22 : 63;
    int32_t top = (flags & kNumber) ? 61 : 41;
    if (flags & kSubtype) top += 22;
    if (flags & kGroups) top += 22;
    int32_t height = 3 * row + 8 + top;
    if (flags & kExtra) height += row + 17;
    if (text) height += 10;
    return height + 2;
}

int32_t baseWidth(const Inputs& in) {
    if (in.uiSize >= 0 && in.uiSize < kFreeSize) return kSizeWidths[in.uiSize];
    return std::max(kMinimumWidth, in.freeWidth);
}

Regions computeRegions(const Inputs& in) {
    Regions r;
    const uint32_t f = in.flags;
    if (in.wizardOpen) {
        r.width = kWizardWidth;
        r.height = kWizardHeight;
        return r;
    }
    const bool graph = (f & kGraph) != 0;
    const bool strips = (f & kStrips) != 0;
    const bool keyboard = (f & kKeyboard) != 0;
    const bool byGraph = (f & kMetersByGraph) != 0;
    const int32_t meters = metersWidth(f, in.channels);

    // The window's size.
    int32_t w = baseWidth(in);
    const auto graphHeight = static_cast<int32_t>(std::floor(w * 9 * 0.0625));
    if (graph && metersOn(f) && !(strips && !byGraph)) w += meters;
    const int32_t sH = laidOutStripsHeight(f);
    int32_t h = graph ? graphHeight : kTopBarHeight;
    if (strips) h = (graph ? graphHeight : kTopBarHeight) + sH;
    if (keyboard) h += kKeyboardHeight;
    if (in.setupOpen) {
        w = std::max(w, kSetupWidth);
        h = std::max(h, kSetupHeight);
    }
    r.width = w;
    r.height = h;

    // The graph, the keyboard and the strips.
    int32_t graphWidth = 0;
    int32_t graphBottom = 0;
    int32_t keyboardWidth = 0;
    int32_t stripsWidth = 0;
    if (graph) {
        graphWidth = w;
        if ((!strips || byGraph) && metersOn(f)) graphWidth = w - meters;
        if (keyboard) keyboardWidth = graphWidth;
        graphBottom = h - (keyboard ? kTopBarHeight + kKeyboardHeight : kTopBarHeight);
        if (strips) graphBottom -= sH;
    }
    if (strips) {
        stripsWidth = w - (meters == 0 || byGraph ? 0 : meters + 1);
        if (keyboard && !graph) keyboardWidth = stripsWidth;
    }
    const int32_t keyboardHeight = keyboard && keyboardWidth != 0 ? kKeyboardHeight : 0;
    const int32_t plotBottom = graph ? graphBottom + kTopBarHeight : kTopBarHeight;
    if (graph) r.graph = {0, kTopBarHeight, graphWidth, plotBottom};
    if (keyboardHeight) r.keyboard = {0, plotBottom, keyboardWidth, plotBottom + keyboardHeight};
    if (strips) r.strips = {0, h - sH, stripsWidth, h};

    // The meters: beside the strips (by the strips) or down the graph.
    if (meters > 0) {
        const bool besideStrips = graph && strips && !byGraph;
        const int32_t top = besideStrips ? h - sH : kTopBarHeight;
        const int32_t height = besideStrips ? sH : graphBottom + 3 + keyboardHeight;
        r.meters = {w - meters, top, w, top + height};
        r.metersBesideGraph = graph && !besideStrips;
        if (strips && !byGraph) r.meterFade = {w - meters - kMeterFadeWidth, h - sH, w - meters, h};
    }

    // The top bar.
    const bool mono = in.channels == 1;
    r.stereoMenuShown = !mono;
    const int32_t box1Width = w - (kLogoWidth + kButtonGroupWidth) + (mono ? kStereoMenuWidth : 0);
    r.box1 = {kLogoWidth, 0, kLogoWidth + std::max(0, box1Width), kTopBarHeight};
    r.box2Left = w - kButtonGroupWidth + (mono ? kStereoMenuWidth : 0);
    r.box5Shift = mono ? -kStereoMenuWidth : 0;
    r.box3Right = w;

    // The trays.
    const int32_t presetLeft = (w - kPresetBoxWidth) / 2;
    r.presetBox = {presetLeft, in.presetTrayTop, presetLeft + kPresetBoxWidth, in.presetTrayTop + kPresetBoxHeight};
    const int32_t plotHeight = graphBottom - (in.scrollbar ? 35 : 16);
    const int32_t trayTop = kTopBarHeight + (plotHeight - kScaleTrayHeight) / 2;
    r.scaleTray = {in.scaleTrayLeft, trayTop, in.scaleTrayLeft + kScaleTrayWidth, trayTop + kScaleTrayHeight};

    // The resize corner in "Free".
    if (in.uiSize == kFreeSize) {
        r.resizeBox = {w - kResizeBoxSize, h - kResizeBoxSize, w, h};
    } else {
        r.resizeBox = {w, h, w, h};
    }

    // The setup panel.
    r.darken = {0, 0, w, h};
    const int32_t panelLeft = (w - kSetupPanelWidth) / 2;
    r.setupPanel = {panelLeft, kTopBarHeight, panelLeft + kSetupPanelWidth,
                    kTopBarHeight + std::min(h - kTopBarHeight, kSetupPanelMaxHeight)};
    r.setupPageHeight = std::min(h - kSetupPageTop, kSetupPageMaxHeight);
    return r;
}

}  // namespace layout
