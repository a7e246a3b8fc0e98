#include "state/JsonPrinter.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>

namespace {

struct TreeDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

Tree parse(const std::string& text) {
    Tree tree(cJSON_Parse(text.c_str()));
    EXPECT_NE(tree, nullptr) << text;
    return tree;
}

std::string cjsonText(const cJSON* item, bool formatted) {
    char* raw = formatted ? cJSON_Print(item) : cJSON_PrintUnformatted(item);
    std::string text = raw != nullptr ? raw : "";
    cJSON_free(raw);
    return text;
}

}  // namespace

TEST(JsonPrinter, LayoutAndEscapingMatchCJson) {
    std::string deep;
    for (int i = 0; i < 1000; ++i) deep += (i % 2 == 0) ? "{\"k\":" : "[";
    deep += "7";
    for (int i = 999; i >= 0; --i) deep += (i % 2 == 0) ? "}" : "]";
    for (const std::string& source : {
             std::string(R"({"a":[],"b":{},"c":[1,{"d":[2,-3],"e":{}},[],[[4]]],"g":null,"h":true,"i":false})"),
             std::string(R"([{"x":{"y":{"z":[{}]}}},[],{}])"), std::string("{}"), std::string("\"lonely\""),
             std::string(R"({"quote\"key\\":"say \"hi\" \\ back/slash","ctl":"\b\f\n\r\t\u0001\u001f\u0000x"})"),
             std::string(R"(["caf\u00e9 \u00fc\u00df \u4e2d\u6587 \ud83c\udfb5", "del\u007f"])"), deep}) {
        auto tree = parse(source);
        ASSERT_NE(tree, nullptr);
        EXPECT_EQ(printJson(tree.get(), true), cjsonText(tree.get(), true)) << source;
        EXPECT_EQ(printJson(tree.get(), false), cjsonText(tree.get(), false)) << source;
    }
    EXPECT_EQ(printJson(nullptr, true), "");

    Tree tree(cJSON_CreateObject());
    cJSON_AddStringToObject(tree.get(), "gain\tdB\n", "\x01\x1f\x7f \xc3\xa9");
    EXPECT_EQ(printJson(tree.get(), true), cjsonText(tree.get(), true));
    EXPECT_EQ(printJson(tree.get(), false), "{\"gain\\tdB\\n\":\"\\u0001\\u001f\x7f \xc3\xa9\"}");
}

TEST(JsonPrinter, NumbersFollowTheProjectRule) {
    const struct {
        double value;
        const char* expected;
    } cases[] = {
        {0.0, "0"},
        {-0.0, "0"},
        {1e-17, "0"},  // within epsilon of the integer 0
        {0.1, "0.1000000000"},
        {1e-7, "1.000000e-07"},
        {1.0 / 3.0, "0.3333333333"},
        {0.7071067811865476, "0.7071067812"},
        {double(0.1f), "0.1000000015"},
        {-12.5, "-12.5000000000"},
        {42.0, "42"},
        {2147483647.0, "2147483647"},
        {-2147483648.0, "-2147483648"},
        {1e9, "1000000000"},
        {1e9 + 0.5, "1.000000e+09"},
        {3e9, "3000000000"},
        {-3e9, "-3000000000"},
        {1180591620717411303424.0, "1180591620717411303424"},  // 2^70
        {1e60, "1.000000e+60"},
        {-1.5e300, "-1.500000e+300"},
        {std::numeric_limits<double>::quiet_NaN(), "null"},
        {std::numeric_limits<double>::infinity(), "null"},
        {-std::numeric_limits<double>::infinity(), "null"},
    };
    // The same where the host's locale writes a decimal comma (make deps
    // generates de_DE.UTF-8).
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous != nullptr ? previous : "C";
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        if (std::setlocale(LC_NUMERIC, locale) == nullptr) {
            ADD_FAILURE() << "the locale " << locale << " is not installed";
            continue;
        }
        for (const auto& c : cases) EXPECT_EQ(printJsonNumber(c.value), c.expected) << c.value << " in " << locale;
    }
    std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(JsonPrinter, NumbersInsideTreesUseTheRuleInBothLayouts) {
    auto tree = parse(R"({"g":[0.5,-3,1e-7]})");
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(printJson(tree.get(), false), R"({"g":[0.5000000000,-3,1.000000e-07]})");
    EXPECT_EQ(printJson(tree.get(), true), "{\n\t\"g\":\t[0.5000000000, -3, 1.000000e-07]\n}");
}

TEST(JsonPrinter, FloatParameterValuesSurviveARoundTrip) {
    std::mt19937 random(1234);
    std::uniform_real_distribution<float> exponent(-2.0f, 9.0f);
    for (int i = 0; i < 20000; ++i) {
        float value = std::pow(10.0f, exponent(random));
        if (i % 2 == 1) value = -value;

        std::string text = printJsonNumber(double(value));
        text.insert(text.begin(), '[');
        text.push_back(']');
        auto tree = parse(text);
        ASSERT_NE(tree, nullptr);
        ASSERT_EQ(float(cJSON_GetArrayItem(tree.get(), 0)->valuedouble), value) << text;
    }
}
