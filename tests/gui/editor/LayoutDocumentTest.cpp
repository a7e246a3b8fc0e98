// The layout document's reader: elements, the attribute list of a start tag
// and the lookup of attributes over it; and where the elements sit:
// absolute and chained positions, tags and offset points, and the walk over
// the whole tree.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "gui/editor/LayoutDocument.h"
#include "gui/editor/LayoutPlacing.h"
#include "session/EditorTags.h"

namespace {

using Strings = std::vector<std::string>;

// The root element with these attributes.
LayoutNode rootWith(const std::string& attributes) {
    const LayoutReadResult read = readLayoutDocument("<ui " + attributes + "/>");
    EXPECT_TRUE(read.ok) << attributes << ": " << read.error;
    return read.root;
}

TEST(LayoutAttributes, StartTagsReadAsPairs) {
    const struct { const char* text; std::vector<LayoutAttribute> pairs; } rows[] = {
        {"x=0", {{"x", ""}, {"0", ""}}},
        {"text=\"SHIFT\"", {{"text", "SHIFT"}}},
        {"text='A B' x = \"1\"", {{"text", "A B"}, {"x", "1"}}},
        {"a=b=c\t\r\nd", {{"a", ""}, {"b", ""}, {"c", ""}, {"d", ""}}},
        {"t=\"x=\\n/>\" k", {{"t", "x=\\n/>"}, {"k", ""}}},
        {"", {}},
    };
    for (const auto& row : rows) EXPECT_EQ(rootWith(row.text).attributes, row.pairs) << row.text;
}

TEST(LayoutAttributes, LookupOverTheList) {
    const struct { const char* text; const char* key; const char* expected; } rows[] = {
        {"x=0 y=5", "y", "5"},
        {"x=0 y=5", "0", nullptr},  // an unquoted value never counts as a name
        {"text=\"A B\" x=1", "text", "A B"},
        {"text=\"A B\" x=1", "x", "1"},
        {"text=\"A B\" x=1", "B", nullptr},
        {"clickthru=1", "clickthru", "1"},
        {"X=3", "x", "3"},
        {"width=10", "width", "10"},  // read as <ui width=10/>
        {"tag=x x=4", "x", "4"},
        {"tag=x x=4", "tag", "x"},
        {"flag", "flag", ""},             // bare at the end
        {"flag text=\"T\"", "flag", ""},  // bare before a quoted pair
        {"q=\"\" r=2", "r", nullptr},     // an empty quoted value reads as unquoted
        {"n=\"7\" n=8", "n", "7"},        // the first match wins
    };
    for (const auto& row : rows) {
        const LayoutNode node = rootWith(row.text);
        const char* got = getAttribute(node, row.key);
        if (row.expected == nullptr) EXPECT_EQ(got, nullptr) << row.text << " [" << row.key << "]";
        else EXPECT_STREQ(got, row.expected) << row.text << " [" << row.key << "]";
    }
}

TEST(LayoutAttributes, NumbersSwitchesAndTags) {
    const LayoutNode node = rootWith("x=-12 y=\" +7px\" big=99999999999 c=ff80C0e0 h=\"0x1F\" "
                                     "t=TRUE f=False n0=0 n1=1 word=yes");
    const struct { const char* key; int32_t asInt; uint32_t asHex; bool asBool; } rows[] = {
        {"x", -12, 0xFFFFFFEEu, false},  {"y", 7, 7, false},
        {"big", INT32_MAX, UINT32_MAX, false}, {"c", 0, 0xFF80C0E0u, true},
        {"h", 0, 0x1F, true},            {"t", 0, 0, true},
        {"f", 0, 0xFA, false},           {"n0", 0, 0, true},  // a numeric switch is on at 0
        {"n1", 1, 1, false},             {"word", 0, 0, true},
        {"missing", 0, 0, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(getInt(node, row.key), row.asInt) << row.key;
        EXPECT_EQ(getHex(node, row.key), row.asHex) << row.key;
        EXPECT_EQ(getBool(node, row.key), row.asBool) << row.key;
    }
    const struct { const char* text; int32_t tag; } tags[] = {
        {"tag=kGUIPresetMenu", kGUIPresetMenu}, {"tag=\"kGUIBox1\"", kGUIBox1}, {"tag=kGain", kGain},
        {"tag=kguipresetmenu", -1}, {"tag=kNoSuchTag", -1}, {"x=1", -1}, {"tag", -1},
    };
    for (const auto& row : tags) EXPECT_EQ(getTag(rootWith(row.text)), row.tag) << row.text;
}

TEST(LayoutDocument, ElementsNestTextIsIgnoredEscapesStay) {
    const LayoutReadResult read = readLayoutDocument(
        "<?xml version=\"1.0\"?>\r\n<UI width=800>\r\n\tstray text > here\r\n"
        "\t<!-- a <comment> with \"quotes\" -->\r\n\t<Panel name=\"top\">\r\n\t\t<knob tag=kGain/>\r\n"
        "\t\t<label text=\"In\\Out\"></LABEL>\r\n\t</panel >\r\n\t<menu items=\"A\\nB\\n\"/>\r\n</ui>\r\n");
    ASSERT_TRUE(read.ok) << read.error << " at line " << read.errorLine;
    const LayoutNode& ui = read.root;
    EXPECT_TRUE(isElement(ui, "ui"));
    EXPECT_EQ(getInt(ui, "width"), 800);
    ASSERT_EQ(ui.children.size(), 2u);
    const LayoutNode& panel = ui.children[0];
    EXPECT_TRUE(isElement(panel, "PANEL"));
    EXPECT_EQ(panel.line, 5);
    ASSERT_EQ(panel.children.size(), 2u);
    EXPECT_EQ(getTag(panel.children[0]), kGain);
    EXPECT_EQ(splitTextLines(getAttribute(panel.children[1], "text")), (Strings{"In", "Out"}));
    EXPECT_EQ(splitMenuEntries(getAttribute(ui.children[1], "items")), (Strings{"A", "B", ""}));
    EXPECT_EQ(splitMenuEntries("a\\nb\\tc"), (Strings{"a", "b\\tc"}));
    EXPECT_EQ(splitTextLines("a\\nb\\tc"), (Strings{"a", "nb", "tc"}));
}

TEST(LayoutDocument, MalformedTextFailsWithALine) {
    const auto nested = [](int levels) {  // closed elements, levels deep with the root
        std::string open = "<ui>", close = "</ui>";
        for (int i = 1; i < levels; ++i) open += "<a>", close = "</a>" + close;
        return open + close;
    };
    EXPECT_TRUE(readLayoutDocument(nested(kMaxLayoutDepth)).ok);
    EXPECT_FALSE(readLayoutDocument(nested(kMaxLayoutDepth + 1)).ok);
    std::string deep = "<ui>";
    for (int i = 0; i < 100000; ++i) deep += "<a>";

    const struct { std::string text; int line; } rows[] = {
        {"", 1}, {"just text", 1}, {"<ui>\r\n<a>\r\n</ui>", 3}, {"<ui>\r\n\t<a>", 2}, {"<ui/></ui>", 1},
        {"<ui/><ui/>", 1}, {"<panel/>", 1}, {"<ui>< a/></ui>", 1}, {"<ui><a <b/></ui>", 1}, {"<ui>\r\n<", 2},
        {"<ui x=\"open", 1}, {"<ui x=1", 1}, {"<ui a/b/>", 1}, {"<ui></ui", 1}, {"<ui><!-- open", 1},
        {"<ui><?pi?></ui>", 1}, {"<!DOCTYPE ui><ui/>", 1}, {deep, 1},
    };
    for (const auto& row : rows) {
        const LayoutReadResult read = readLayoutDocument(row.text);
        EXPECT_FALSE(read.ok || read.error.empty()) << row.text.substr(0, 40);
        EXPECT_EQ(read.errorLine, row.line) << row.text.substr(0, 40) << ": " << read.error;
    }
}

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
