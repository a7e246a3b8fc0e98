// Building views from a layout document: what each element becomes, the
// builder's complaints, pages answering to a shared tag through the
// control registry, and how a placeholder looks.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/editor/ControlRegistry.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/Pages.h"
#include "gui/editor/PlaceholderView.h"
#include "gui/toolkit/HeadlessRender.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

LayoutNode read(const std::string& body) {
    const LayoutReadResult result = readLayoutDocument("<ui>" + body + "</ui>");
    EXPECT_TRUE(result.ok) << body << ": " << result.error;
    return result.root;
}

// Builds a document into a fresh root container, capturing the log.
struct Built {
    explicit Built(const std::string& body, std::vector<std::string> pending = {}) : node(read(body)) {
        setLayoutLogSink([this](const std::string& m) { log.push_back(m); });
        for (const std::string& name : pending) builder.addPlaceholder(name);
        builder.viewFromLayout(node, nullptr, root, nullptr);
        setLayoutLogSink({});
        registry.collect(root);
    }
    ~Built() {
        registry.clear();
        root->forget();
    }
    std::vector<std::string> census() const {
        std::vector<std::string> out;
        for (const CensusRow& r : builder.census())
            out.push_back(std::string(r.depth, '>') + r.name + " " + builtAsName(r.built));
        return out;
    }

    LayoutNode node;
    LayoutBuilder builder;
    CViewContainer* root = new CViewContainer(CRect(0, 0, 200, 200));
    ControlRegistry registry;
    std::vector<std::string> log;
};

CView* child(CView* container, int32_t index) { return static_cast<CViewContainer*>(container)->getView(index); }

TEST(LayoutBuilder, CensusOfEveryElement) {
    Built b("<cgviewcontainer x=0 y=0 width=100 height=100>"
            "  <Mystery><nPage/></Mystery>"
            "  <NPAGE tag=kGUIPageChange width=10 height=10><nGraph width=5 height=5/></NPAGE>"
            "  <CViewContainer><nPage/></CViewContainer>"
            "</cgviewcontainer>"
            "<nClickThruPage/>",
            {"NGRAPH"});
    EXPECT_EQ(b.census(), (std::vector<std::string>{
                              ">cgviewcontainer built-in", ">>Mystery skipped", ">>>nPage skipped",
                              ">>NPAGE page", ">>>nGraph placeholder", ">>CViewContainer skipped",
                              ">>>nPage skipped", ">nClickThruPage page"}));
    ASSERT_EQ(b.root->getNbViews(), 2);
    CView* group = b.root->getView(0);
    EXPECT_STREQ(group->getClassName(), "CGViewContainer");
    ASSERT_EQ(static_cast<CViewContainer*>(group)->getNbViews(), 1);  // only the page
    EXPECT_STREQ(child(child(group, 0), 0)->getClassName(), "PlaceholderView");
    EXPECT_STREQ(b.root->getView(1)->getClassName(), "nClickThruPage");
    EXPECT_TRUE(b.log.empty());
}

TEST(LayoutBuilder, ContainerAttributes) {
    Built b("<CGViewContainer hide=true background=7 x=1 y=2 width=3 height=4/>"
            "<CGViewContainer hide=\"false\"/>"
            "<nPage pagenumber=3 background=9/>");
    auto* hidden = static_cast<LayoutGViewContainer*>(b.root->getView(0));
    EXPECT_TRUE(hidden->isHidden());
    EXPECT_EQ(hidden->getBackgroundId(), 7);
    EXPECT_EQ(hidden->getViewSize(), CRect(1, 2, 4, 6));
    EXPECT_FALSE(static_cast<LayoutGViewContainer*>(b.root->getView(1))->isHidden());
    auto* page = static_cast<nPage*>(b.root->getView(2));
    EXPECT_TRUE(page->isHidden());  // starts at value 0, numbered 3
    EXPECT_EQ(page->getBackgroundId(), 9);
}

TEST(LayoutBuilder, ComplaintsAreLogged) {
    Built b("<nGraph tag=kGUIPageChange><CGViewContainer/></nGraph>", {"nGraph"});
    EXPECT_EQ(b.log.size(), 1u);  // children under a view that holds none
    EXPECT_EQ(b.census().back(), ">>CGViewContainer skipped");

    std::vector<std::string> log;
    setLayoutLogSink([&log](const std::string& m) { log.push_back(m); });
    LayoutBuilder orphan;
    const LayoutNode node = read("<nPage tag=kGUIPresetPage><nPage/></nPage><Unknown/>");
    orphan.viewFromLayout(node, nullptr, nullptr, nullptr);
    setLayoutLogSink({});
    // Nowhere to put the page: one complaint naming it and its tag; the
    // unknown element after it adds none.
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("name=nPage, tag=" + std::to_string(kGUIPresetPage)), std::string::npos) << log[0];
}

// Pages nested in pages, three of them sharing one tag.
const char* kPagesDocument =
    "<nPage tag=kGUIPageChange pagenumber=0 width=100 height=100>"
    "  <nPage tag=kGUIPresetPage pagenumber=0 width=50 height=50/>"
    "</nPage>"
    "<nClickThruPage tag=kGUIPageChange pagenumber=1 width=100 height=100>"
    "  <nPage tag=kGUIPageChange pagenumber=2 width=50 height=50/>"
    "</nClickThruPage>"
    "<nPage tag=kGUIPageChange pagenumber=2 width=100 height=100/>";

TEST(LayoutBuilder, SharedTagShowsTheMatchingPages) {
    Built b(kPagesDocument);
    std::vector<nPage*> shared;  // registry order: depth first
    for (int32_t i = b.registry.findTag(kGUIPageChange); i >= 0; i = b.registry.findTag(kGUIPageChange, i)) {
        auto* wrapper = static_cast<iControlWrapper*>(b.registry.controlByIndex(i));
        shared.push_back(static_cast<nPage*>(wrapper->getTarget()));
    }
    ASSERT_EQ(shared.size(), 4u);
    EXPECT_EQ(b.registry.controlCount(), 5);
    const struct { float value; std::vector<bool> shown; } rows[] = {
        {0.0f, {true, false, false, false}},
        {1.0f, {false, true, false, false}},
        {2.0f, {false, false, true, true}},
        {5.0f, {false, false, false, false}},
    };
    for (const auto& row : rows) {
        b.registry.setValueOfTag(kGUIPageChange, row.value);
        std::vector<bool> shown;
        for (nPage* page : shared) shown.push_back(!page->isHidden());
        EXPECT_EQ(shown, row.shown) << row.value;
        EXPECT_EQ(b.registry.valueOfTag(kGUIPageChange), row.value);
    }
    // the other tag is untouched
    EXPECT_FALSE(static_cast<nPage*>(child(b.root->getView(0), 0))->isHidden());
}

TEST(LayoutBuilder, RegistryLookups) {
    Built b(kPagesDocument);
    EXPECT_EQ(b.registry.findTag(kGUIPageChange), 0);
    EXPECT_EQ(b.registry.findTag(kGUIPresetPage), 1);
    EXPECT_EQ(b.registry.findTag(kGUIPageChange, 0), 2);
    EXPECT_EQ(b.registry.findTag(kGUIPageChange, 4), -1);
    EXPECT_EQ(b.registry.findTag(kGUIPresetPage, 1), -1);
    EXPECT_EQ(b.registry.valueOfTag(kGUISave), -1.0f);
    EXPECT_EQ(b.registry.controlByIndex(5), nullptr);
    CControl* wrapper = b.registry.controlByIndex(0);
    EXPECT_EQ(wrapper->getTag(), 0);
    EXPECT_EQ(wrapper->getViewSize(), CRect(0, 0, 100, 100));
}

TEST(LayoutBuilder, ClickThroughPageTakesOnlyPointsOnItsViews) {
    Built b("<nClickThruPage x=10 y=10 width=100 height=100>"
            "  <CGViewContainer x=0 y=0 width=20 height=20/>"
            "  <nGraph x=50 y=50 width=20 height=20/>"
            "  <CGViewContainer hide=true x=0 y=80 width=20 height=20/>"
            "</nClickThruPage>",
            {"nGraph"});
    auto* page = b.root->getView(0);
    const struct { CPoint where; bool inside; } rows[] = {
        {{15, 15}, true},    // on a visible container
        {{40, 40}, false},   // on nothing
        {{65, 65}, false},   // on a view that takes no mouse
        {{15, 95}, false},   // on a hidden container
    };
    for (const auto& row : rows) EXPECT_EQ(page->hitTest(row.where), row.inside) << row.where.x;
}

TEST(LayoutBuilder, PlaceholderDrawsItsOutline) {
    auto* view = new PlaceholderView(CRect(0, 0, 60, 30), "nGraph");
    CDIB* picture = renderView(view);
    for (const CPoint p : {CPoint(0, 0), CPoint(59, 0), CPoint(0, 29), CPoint(59, 29), CPoint(30, 0)}) {
        EXPECT_EQ(picture->getPixel(static_cast<int32_t>(p.x), static_cast<int32_t>(p.y)), PlaceholderView::kOutline)
            << p.x << "," << p.y;
    }
    EXPECT_EQ(picture->getPixel(2, 2).alpha, 0);
    picture->forget();
    view->forget();
}

}  // namespace
