// The layout compiled into the program, built whole: what each element
// became, and tags reaching every view that carries them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/editor/ControlRegistry.h"
#include "gui/editor/LayoutResource.h"
#include "gui/editor/Pages.h"
#include "gui/editor/PlaceholderView.h"
#include "gui/toolkit/CFrame.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

struct BuiltLayout {
    BuiltLayout() {
        setLayoutLogSink([this](const std::string& m) { log.push_back(m); });
        built = buildEmbeddedLayout(builder, frame, nullptr);
        setLayoutLogSink({});
        registry.collect(frame);
    }
    ~BuiltLayout() {
        registry.clear();
        frame->forget();
    }
    std::vector<CControl*> withTag(int32_t tag) const {
        std::vector<CControl*> out;
        for (int32_t i = registry.findTag(tag); i >= 0; i = registry.findTag(tag, i))
            out.push_back(registry.controlByIndex(i));
        return out;
    }

    CFrame* frame = new CFrame(CRect(0, 0, 760, 472), nullptr);
    LayoutBuilder builder;
    ControlRegistry registry;
    std::vector<std::string> log;
    bool built = false;
};

TEST(EmbeddedLayout, EveryElementBuildsSomethingAndPlaceholdersSayWhat) {
    const LayoutReadResult document = readEmbeddedLayout();
    ASSERT_TRUE(document.ok) << document.error;
    BuiltLayout layout;
    ASSERT_TRUE(layout.built);
    EXPECT_TRUE(layout.log.empty()) << layout.log.front();

    // Nothing is skipped, and a view still to be built says what it stands for.
    for (const CensusRow& row : layout.builder.census()) {
        EXPECT_NE(row.built, BuiltAs::Skipped) << row.name << " at line " << row.line;
        EXPECT_TRUE(row.built != BuiltAs::Placeholder || !row.standsFor.empty()) << row.name;
    }
}

TEST(EmbeddedLayout, OneSetupPageValueReachesAllSixPagesAndTheList) {
    BuiltLayout layout;
    const std::vector<CControl*> entries = layout.withTag(kGUISetupPage);
    ASSERT_EQ(entries.size(), 7u);
    int lists = 0;
    for (int number = 0; number < 6; ++number) {
        layout.registry.setValueOfTag(kGUISetupPage, static_cast<float>(number));
        int shown = 0;
        for (CControl* entry : entries) {
            if (entry->isTypeOf("SetupWindow")) {
                EXPECT_EQ(entry->getValue(), number);
                lists += number == 0;
                continue;
            }
            auto* page = static_cast<nPage*>(static_cast<iControlWrapper*>(entry)->getTarget());
            shown += !page->isHidden();
            if (!page->isHidden()) {
                EXPECT_EQ(page->getPageNumber(), number);
            }
        }
        EXPECT_EQ(shown, 1) << "setup page " << number;
    }
    EXPECT_EQ(lists, 1);
}

TEST(EmbeddedLayout, PageTagsShowTheirPages) {
    BuiltLayout layout;
    // tag, value -> how many pages of that tag are on show
    const struct { int32_t tag; float value; size_t pages; size_t shown; } rows[] = {
        {kGUIWizardOpen, 0, 2, 1}, {kGUIWizardOpen, 1, 2, 1}, {kGUISetup, 1, 1, 1}, {kGUISetup, 0, 1, 0},
        {kGUIPresetBank, 1, 2, 1}, {kGUISurround, 2, 2, 1}, {kGUISurround, 3, 2, 0},
    };
    for (const auto& row : rows) {
        layout.registry.setValueOfTag(row.tag, row.value);
        size_t pages = 0;
        size_t shown = 0;
        for (CControl* entry : layout.withTag(row.tag)) {
            if (!entry->isTypeOf("iControlWrapper")) continue;
            auto* page = dynamic_cast<nPage*>(static_cast<iControlWrapper*>(entry)->getTarget());
            if (!page || page->isTypeOf("nScrollBox")) continue;
            ++pages;
            shown += !page->isHidden();
        }
        EXPECT_EQ(pages, row.pages) << row.tag;
        EXPECT_EQ(shown, row.shown) << row.tag << " = " << row.value;
    }
}

TEST(EmbeddedLayout, ParameterValuesReachEveryControlOfTheTag) {
    BuiltLayout layout;
    std::vector<int32_t> asked;
    layout.registry.setParameterOnControls(kBypass, [&](int32_t tag) {
        asked.push_back(tag);
        return 1.0f;
    });
    layout.registry.setParameterOnControls(kGUIDeleteBand, [&](int32_t tag) {
        asked.push_back(tag);
        return 0.0f;
    });
    EXPECT_EQ(asked, std::vector<int32_t>{kBypass});  // nothing carries the second tag
    EXPECT_EQ(layout.registry.valueOfTag(kBypass), 1.0f);
    EXPECT_TRUE(layout.registry.controlByIndex(layout.registry.findTag(kBypass))->isDirty());
}

}  // namespace
