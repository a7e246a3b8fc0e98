// UI settings kept as defaults in the default bank, and given to the other
// instances: by category or all at once.

#include <gtest/gtest.h>

#include <filesystem>

#include "TestHost.h"
#include "session/PlugEd.h"
#include "state/PresetFiles.h"

TEST(UIDefaults, ACategorySavedAsDefaultComesBackAloneAndStartsNewInstances) {
    auto fx = makePlug(2);
    UISettingsTree& ui = fx->uiSettings();
    ui.setValue("Graph", "Range", 5);
    ui.setValue("Misc", "Hide Mouse", 1);
    ASSERT_TRUE(PlugEd::of(*fx)->saveUIDefaults("Graph"));
    EXPECT_TRUE(std::filesystem::exists(defaultBankPath(nullptr)));  // made from this instance's state

    ui.setValue("Graph", "Range", 0);
    ui.setValue("Misc", "Hide Mouse", 0);
    ASSERT_TRUE(PlugEd::of(*fx)->restoreUIDefaults("Graph"));
    EXPECT_EQ(ui.value("Graph", "Range"), 5);
    // The bank was first written from the state at that time, Misc included.
    EXPECT_EQ(ui.value("Misc", "Hide Mouse"), 0);
    ASSERT_TRUE(PlugEd::of(*fx)->restoreUIDefaults(nullptr));
    EXPECT_EQ(ui.value("Misc", "Hide Mouse"), 1);

    auto fresh = makePlug(2);
    EXPECT_EQ(PlugEd::of(*fresh)->getUiSetting("Graph", "Range"), 5);
}

TEST(UIDefaults, SavingAllReplacesEveryCategory) {
    auto fx = makePlug(2);
    UISettingsTree& ui = fx->uiSettings();
    ASSERT_TRUE(PlugEd::of(*fx)->saveUIDefaults(nullptr));
    ui.setValue("Meters", "Scale", 3);
    ui.setValue("Layout", "UI Size", 4);
    ASSERT_TRUE(PlugEd::of(*fx)->saveUIDefaults(nullptr));
    ui.setValue("Meters", "Scale", 0);
    ui.setValue("Layout", "UI Size", 0);
    ASSERT_TRUE(PlugEd::of(*fx)->restoreUIDefaults(nullptr));
    EXPECT_EQ(ui.value("Meters", "Scale"), 3);
    EXPECT_EQ(ui.value("Layout", "UI Size"), 4);
}

TEST(UIDefaults, PropagationGivesTheOthersOneCategoryOrAll) {
    auto a = makePlug(2), b = makePlug(2), c = makePlug(2);
    UISettingsTree& ui = a->uiSettings();
    ui.setValue("Graph", "Range", 2);
    ui.setValue("Misc", "Number format", 1);
    PlugEd::of(*a)->propagateUISettings("Graph");
    for (Plug* other : {b.get(), c.get()}) {
        EXPECT_EQ(PlugEd::of(*other)->getUiSetting("Graph", "Range"), 2);
        EXPECT_EQ(PlugEd::of(*other)->getUiSetting("Misc", "Number format"), 0);
        EXPECT_TRUE(PlugEd::of(*other)->isSettingsPageStale());
    }
    PlugEd::of(*a)->propagateUISettings(nullptr);
    EXPECT_EQ(PlugEd::of(*c)->getUiSetting("Misc", "Number format"), 1);
    EXPECT_FALSE(PlugEd::of(*a)->isSettingsPageStale());
}
