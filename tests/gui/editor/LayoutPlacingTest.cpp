// Where the elements of a layout document sit: absolute and chained
// positions, tags and offset points, and the walk over the whole tree.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "gui/editor/LayoutPlacing.h"
#include "session/EditorTags.h"

namespace {

using VSTGUI::CPoint;
using VSTGUI::CRect;

LayoutNode read(const std::string& body) {
    const LayoutReadResult result = readLayoutDocument("<ui>" + body + "</ui>");
    EXPECT_TRUE(result.ok) << body << ": " << result.error;
    return result.root;
}

std::vector<CRect> rectsOf(const LayoutNode& parent) {
    std::vector<CRect> rects;
    for (const LayoutPlacement& p : placeChildren(parent)) rects.push_back(p.rect);
    return rects;
}

TEST(LayoutPlacing, RectanglesFromAbsoluteAndChainedPositions) {
    const struct { const char* body; std::vector<CRect> rects; } rows[] = {
        {"<a x=10 y=20 width=30 height=5/>", {{10, 20, 40, 25}}},
        {"<a x=10 y=4 width=30 height=5/><b _x=2 y=0 width=8 height=8/><c _x=0 _y=1 width=1 height=1/>",
         {{10, 4, 40, 9}, {42, 0, 50, 8}, {50, 9, 51, 10}}},
        // _y after a tall sibling; a chain always follows the one just before
        {"<a x=0 y=0 width=5 height=100/><b x=0 _y=3 width=5 height=2/><c x=0 _y=3 width=5 height=2/>",
         {{0, 0, 5, 100}, {0, 103, 5, 105}, {0, 108, 5, 110}}},
        // the first element chains from 0, 0 and a size of 0
        {"<a _x=7 _y=9 width=2 height=3/>", {{7, 9, 9, 12}}},
        // negative steps go back over the previous element
        {"<a x=50 y=50 width=20 height=10/><b _x=-25 _y=-15 width=4 height=4/>",
         {{50, 50, 70, 60}, {45, 45, 49, 49}}},
        // an element that builds nothing still counts as the previous one
        {"<a x=0 y=0 width=10 height=10/><nothing x=100 y=0 width=5 height=0/>"
         "<b _x=1 y=0 width=1 height=1/>",
         {{0, 0, 10, 10}, {100, 0, 105, 0}, {106, 0, 107, 1}}},
        // missing attributes read as 0; a bare _x is present and steps by 0
        {"<a x=3 width=4/><b _x/>", {{3, 0, 7, 0}, {7, 0, 7, 0}}},
    };
    for (const auto& row : rows) EXPECT_EQ(rectsOf(read(row.body)), row.rects) << row.body;
}

TEST(LayoutPlacing, TagsAndOffsetPoints) {
    const struct { const char* body; int32_t tag; CPoint offset; CPoint secondOffset; } rows[] = {
        {"<knob tag=kGain xoff=3 yoff=-4 offsetx=5 offsety=6/>", kGain, {3, -4}, {5, 6}},
        {"<button tag=\"kGUIPresetMenu\" xoff=1/>", kGUIPresetMenu, {1, 0}, {0, 0}},
        {"<text tag=kNoSuchTag offsety=2/>", -1, {0, 0}, {0, 2}},
        {"<text/>", -1, {0, 0}, {0, 0}},
    };
    for (const auto& row : rows) {
        const LayoutNode root = read(row.body);
        const std::vector<LayoutPlacement> placed = placeChildren(root);
        ASSERT_EQ(placed.size(), 1u) << row.body;
        EXPECT_EQ(placed[0].name, root.children[0].name);
        EXPECT_EQ(placed[0].node, &root.children[0]);
        EXPECT_EQ(placed[0].tag, row.tag) << row.body;
        EXPECT_EQ(placed[0].offset, row.offset) << row.body;
        EXPECT_EQ(placed[0].secondOffset, row.secondOffset) << row.body;
    }
}

TEST(LayoutPlacing, TreeWalkIsDepthFirstWithinEachParent) {
    const LayoutNode root = read(
        "<box x=5 y=5 width=50 height=50>"
        "  <a x=1 y=1 width=4 height=4/>"
        "  <group _x=2 y=0 width=20 height=20><b _x=3 _y=3 width=2 height=2/></group>"
        "</box>"
        "<c _x=0 y=0 width=1 height=1/>");
    const struct { const char* name; int depth; CRect rect; } expected[] = {
        {"box", 1, {5, 5, 55, 55}},  {"a", 2, {1, 1, 5, 5}},    {"group", 2, {7, 0, 27, 20}},
        {"b", 3, {3, 3, 5, 5}},      {"c", 1, {55, 0, 56, 1}},
    };
    const std::vector<PlacedElement> walk = placeTree(root);
    ASSERT_EQ(walk.size(), std::size(expected));
    for (size_t i = 0; i < walk.size(); ++i) {
        EXPECT_EQ(walk[i].placement.name, expected[i].name) << i;
        EXPECT_EQ(walk[i].depth, expected[i].depth) << i;
        EXPECT_EQ(walk[i].placement.rect, expected[i].rect) << i;
    }
    EXPECT_TRUE(placeTree(read("")).empty());
}

}  // namespace
