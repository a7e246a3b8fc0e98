#include "state/UISettingsTree.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "resources/ResourceTable.h"
#include "state/JsonPrinter.h"

namespace {

struct TreeDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

UISettingsTree builtIn() {
    const ResourceData resource = findResource("uisettings", "json");
    return UISettingsTree(reinterpret_cast<const char*>(resource.data), resource.size);
}

UISettingsTree fromText(const std::string& text) { return UISettingsTree(text.data(), text.size()); }

// The built-in tree: each category opens with its "open" flag (shut, no
// labels), and every setting's default names one of its labels.
TEST(UISettingsTreeTest, BuiltInTreeIsWellFormed) {
    ASSERT_NE(findResource("uisettings", "json").data, nullptr);
    const UISettingsTree settings = builtIn();
    ASSERT_GT(cJSON_GetArraySize(settings.root()), 0);
    for (const cJSON* category = settings.root()->child; category != nullptr; category = category->next) {
        ASSERT_STREQ(category->child->string, "open");
        EXPECT_EQ(settings.value(category->string, "open"), 0);
        EXPECT_EQ(cJSON_GetObjectItem(category->child, "values"), nullptr);
        for (const cJSON* key = category->child->next; key != nullptr; key = key->next) {
            const int labels = cJSON_GetArraySize(cJSON_GetObjectItemCaseSensitive(key, "values"));
            const int value = settings.value(category->string, key->string);
            EXPECT_TRUE(value >= 0 && value < labels) << category->string << " / " << key->string;
        }
    }
}

TEST(UISettingsTreeTest, DamagedTextGivesAnEmptyTree) {
    for (const char* damaged : {"", "{\"Layout\":", "[1,2]", "42"}) {
        UISettingsTree settings(damaged, std::strlen(damaged));
        ASSERT_TRUE(cJSON_IsObject(settings.root())) << damaged;
        EXPECT_EQ(settings.root()->child, nullptr) << damaged;
        EXPECT_FALSE(settings.setValue("Layout", "UI Size", 1));
    }
    UISettingsTree none(nullptr, 0);
    ASSERT_TRUE(cJSON_IsObject(none.root()));
    EXPECT_EQ(none.value("Layout", "UI Size"), 0);

    // Only `size` bytes are read: the cut-off document is damaged.
    const std::string text = R"({"A":{"k":{"value":4}}})";
    EXPECT_EQ(fromText(text).value("A", "k"), 4);
    EXPECT_FALSE(UISettingsTree(text.data(), text.size() - 1).has("A", "k"));
}

TEST(UISettingsTreeTest, SetValueChangesExistingKeysOnly) {
    UISettingsTree settings = fromText(R"({"A":{"open":{"value":0},"k":{"value":1},"label":{"value":"x"}}})");
    EXPECT_TRUE(settings.setValue("A", "k", 3));
    EXPECT_EQ(settings.value("A", "k"), 3);
    EXPECT_TRUE(settings.setValue("A", "open", 1));
    EXPECT_EQ(settings.value("A", "open"), 1);
    EXPECT_FALSE(settings.setValue("A", "label", 2));
    EXPECT_FALSE(settings.setValue("A", "new", 2));
    EXPECT_FALSE(settings.setValue("B", "k", 2));
    EXPECT_FALSE(settings.has("A", "new"));
    EXPECT_FALSE(settings.has("B", "k"));
}

TEST(UISettingsTreeTest, CopiesAreIndependent) {
    UISettingsTree original = builtIn();
    UISettingsTree copy(original);
    copy.setValue("Layout", "UI Size", 4);
    EXPECT_EQ(original.value("Layout", "UI Size"), 2);

    UISettingsTree assigned = fromText("{}");
    assigned = copy;
    copy.setValue("Layout", "UI Size", 0);
    EXPECT_EQ(assigned.value("Layout", "UI Size"), 4);
    assigned = assigned;
    EXPECT_EQ(assigned.value("Layout", "UI Size"), 4);
}

TEST(UISettingsTreeTest, MergeCopiesMatchingNumbersOnly) {
    UISettingsTree settings = builtIn();
    Tree saved(cJSON_Parse(R"({
        "layout": {"ui size": {"value": 4}, "open": {"value": 1}, "Bogus": {"value": 1}},
        "Graph": {"Range": {"value": "5"}, "Scrollbar": 0, "Handles": {"value": 2}},
        "Meters": [1, 2],
        "Unknown": {"x": {"value": 1}},
        "Misc": {"Refresh Rate": {"value": 5.9}, "MIDI Input": {"value": null}, "Hide Mouse": {"value": 1e12},
                 "Number format": {"value": -3}}
    })"));
    ASSERT_NE(saved, nullptr);
    // Documents that are not objects change nothing.
    const std::string before = printJson(settings.root(), false);
    settings.mergeFrom(nullptr);
    for (const char* text : {"[{\"Layout\":{\"UI Size\":{\"value\":4}}}]", "7", "null"}) {
        Tree other(cJSON_Parse(text));
        settings.mergeFrom(other.get());
    }
    EXPECT_EQ(printJson(settings.root(), false), before);
    settings.mergeFrom(saved.get());

    EXPECT_EQ(settings.value("Layout", "UI Size"), 4);  // names match ignoring case
    EXPECT_EQ(settings.value("Layout", "open"), 0);
    EXPECT_EQ(settings.value("Layout", "Keyboard"), 1);  // absent from the document
    EXPECT_FALSE(settings.has("Layout", "Bogus"));
    EXPECT_FALSE(settings.has("Unknown", "x"));
    EXPECT_EQ(settings.value("Graph", "Range"), 3);
    EXPECT_EQ(settings.value("Graph", "Scrollbar"), 1);
    EXPECT_EQ(settings.value("Graph", "Handles"), 2);
    EXPECT_EQ(settings.value("Meters", "Scale"), 0);
    EXPECT_EQ(settings.value("Misc", "Refresh Rate"), 5);
    EXPECT_EQ(settings.value("Misc", "MIDI Input"), 0);
    EXPECT_EQ(settings.value("Misc", "Hide Mouse"), 1);  // kept within the labels
    EXPECT_EQ(settings.value("Misc", "Number format"), 0);
    EXPECT_TRUE(cJSON_IsArray(cJSON_GetObjectItem(
        cJSON_GetObjectItem(cJSON_GetObjectItem(settings.root(), "Misc"), "Refresh Rate"), "values")));
}

}  // namespace
