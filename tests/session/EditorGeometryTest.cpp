// The editor's window size and regions over combinations of settings.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/SettingsAccess.h"
#include "session/EditorGeometry.h"
#include "state/UISettingsTree.h"

using namespace layout;

namespace {

// The shipped settings with some entries changed.
uint32_t flagsWith(std::vector<std::pair<std::string, int32_t>> changes) {
    UISettingsTree tree(StoredSettings::factoryUiSettings());
    for (const auto& [path, value] : changes) {
        const size_t slash = path.find('/');
        EXPECT_TRUE(tree.setValue(path.substr(0, slash).c_str(), path.substr(slash + 1).c_str(), value)) << path;
    }
    return flagsFromSettings(tree);
}

TEST(EditorGeometry, WindowSizeOverSettings) {
    const uint32_t shipped = flagsWith({});
    const struct {
        const char* what;
        uint32_t flags;
        int32_t uiSize, freeWidth, channels;
        bool setup, wizard;
        int32_t width, height;
    } rows[] = {
        // graph 9/16 of the width, text strips counted as 280 beside the meters, keyboard 40
        {"shipped", shipped, 2, 750, 2, false, false, 750, 421 + 280 + 40},
        {"tiny", shipped, 0, 750, 2, false, false, 581, 326 + 280 + 40},
        {"small", shipped, 1, 750, 2, false, false, 650, 365 + 280 + 40},
        {"large", shipped, 3, 750, 2, false, false, 1100, 618 + 280 + 40},
        {"huge", shipped, 4, 750, 2, false, false, 1300, 731 + 280 + 40},
        {"free, too narrow", shipped, 5, 500, 2, false, false, 581, 326 + 280 + 40},
        {"free", shipped, 5, 900, 2, false, false, 900, 506 + 280 + 40},
        {"knob strips", flagsWith({{"Layout/BandStrips", 2}}), 2, 750, 2, false, false, 750, 421 + 364 + 40},
        {"meters by the graph", flagsWith({{"Layout/Meter Position", 1}}), 2, 750, 2, false, false, 750 + 130,
         421 + 210 + 40},
        {"eight channel meters", flagsWith({{"Layout/Channel Meters", 1}, {"Layout/Meter Position", 1}}), 2, 750, 8,
         false, false, 750 + 8 * 66 - 3 + 133, 421 + 210 + 40},
        {"graph and strips hidden", flagsWith({{"Layout/Graph", 0}, {"Layout/BandStrips", 0}}), 2, 750, 2, false,
         false, 750, 25 + 40},
        {"nothing, setup open", flagsWith({{"Layout/Graph", 0}, {"Layout/BandStrips", 0}, {"Layout/Keyboard", 0}}), 0,
         750, 2, true, false, 632, 428},
        {"wizard", shipped, 4, 750, 2, false, true, 632, 428},
    };
    for (const auto& row : rows) {
        Inputs in;
        in.flags = row.flags;
        in.uiSize = row.uiSize;
        in.freeWidth = row.freeWidth;
        in.channels = row.channels;
        in.setupOpen = row.setup;
        in.wizardOpen = row.wizard;
        const Regions r = computeRegions(in);
        EXPECT_EQ(r.width, row.width) << row.what;
        EXPECT_EQ(r.height, row.height) << row.what;
    }
}

TEST(EditorGeometry, RegionsOfTheShippedWindow) {
    Inputs in;
    in.flags = flagsWith({});
    const Regions r = computeRegions(in);
    EXPECT_EQ(r.graph, (Box{0, 25, 750, 421}));
    EXPECT_EQ(r.keyboard, (Box{0, 421, 750, 461}));
    EXPECT_EQ(r.strips, (Box{0, 461, 619, 741}));
    EXPECT_EQ(r.meters, (Box{620, 461, 750, 741}));
    EXPECT_EQ(r.meterFade, (Box{576, 461, 620, 741}));
    EXPECT_FALSE(r.metersBesideGraph);
    EXPECT_EQ(r.box1, (Box{181, 0, 345, 25}));  // the tiled ground meets the buttons
    EXPECT_EQ(r.box2Left, 345);
    EXPECT_EQ(r.presetBox, (Box{234, -29, 516, 25}));
    EXPECT_EQ(r.resizeBox, (Box{750, 741, 750, 741}));
    EXPECT_EQ(r.setupPanel, (Box{59, 25, 691, 741}));
    EXPECT_EQ(r.setupPageHeight, 741 - 82);
}

TEST(EditorGeometry, RegionsFollowTheSettings) {
    Inputs mono;
    mono.flags = flagsWith({});
    mono.channels = 1;
    const Regions m = computeRegions(mono);
    EXPECT_FALSE(m.stereoMenuShown);
    EXPECT_EQ(m.box2Left, 345 + 35);
    EXPECT_EQ(m.box1.right, 380);
    EXPECT_EQ(m.box5Shift, -35);

    Inputs byGraph;
    byGraph.flags = flagsWith({{"Layout/Meter Position", 1}});
    const Regions g = computeRegions(byGraph);
    EXPECT_EQ(g.strips, (Box{0, 671 - 210, 880, 671}));  // the strips take the whole width
    EXPECT_EQ(g.meters.top, 25);
    EXPECT_EQ(g.meters.right, 880);
    EXPECT_TRUE(g.metersBesideGraph);
    EXPECT_EQ(g.graph.right, 750);

    Inputs huge;
    huge.flags = flagsWith({});
    huge.uiSize = 4;
    huge.presetTrayTop = kPresetTrayShown;
    huge.scaleTrayLeft = kScaleTrayShown;
    const Regions h = computeRegions(huge);
    EXPECT_EQ(h.setupPanel.height(), 900);
    EXPECT_EQ(h.setupPageHeight, 843);
    EXPECT_EQ(h.presetBox.top, 25);
    EXPECT_EQ(h.scaleTray.left, 0);
    EXPECT_EQ(h.scaleTray.top, 25 + (h.graph.height() - 16 - 240) / 2);

    Inputs free;
    free.flags = flagsWith({});
    free.uiSize = kFreeSize;
    free.freeWidth = 1000;
    const Regions f = computeRegions(free);
    EXPECT_EQ(f.resizeBox, (Box{984, f.height - 16, 1000, f.height}));
}

TEST(EditorGeometry, StripsHeightAndMetersWidth) {
    const struct { uint32_t flags; int32_t height; } strips[] = {
        {0, 0},
        {kStrips | kTextStrips, 41 + 66 + 8 + 10 + 2},
        {kStrips, 41 + 189 + 8 + 2},
        {kStrips | kNumber | kSubtype | kGroups | kExtra, 61 + 44 + 189 + 8 + 80 + 2},
    };
    for (const auto& row : strips) EXPECT_EQ(stripsHeight(row.flags), row.height) << row.flags;
    const struct { uint32_t flags; int32_t channels, width; } meters[] = {
        {0, 2, 0},
        {kMasterMeters, 2, 130},
        {kMasterMeters | kSmallMasterMeters, 2, 66},
        {kChannelMeters, 6, 6 * 66},
        {kChannelMeters | kMasterMeters, 2, 2 * 66 - 3 + 133},
        {kChannelMeters | kMasterMeters | kSmallMasterMeters, 2, 2 * 66 + 66},
    };
    for (const auto& row : meters) EXPECT_EQ(metersWidth(row.flags, row.channels), row.width) << row.flags;
}

}  // namespace
