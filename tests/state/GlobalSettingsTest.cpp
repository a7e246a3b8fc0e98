#include "state/GlobalSettings.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "TempHome.h"
#include "resources/ResourceTable.h"
#include "state/JsonPrinter.h"
#include "state/ValueStore.h"

namespace {

namespace fs = std::filesystem;

struct TreeDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

const char* const kNames[] = {"FFT Update throttle", "AutoListen Enable", "AutoListen Gain", "AutoListen Q",
                              "AutoListen Ignores Q", "AutoListen Disabled", "Solo Mode", "A/B Automation",
                              "A/B Toggle", "Clip threshold", "ProTools Opt/Shift", "Band Linking",
                              "Save Compression", "OpenGL", "VST Gestures"};
const int32_t kDefaults[] = {1, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 3, 0, 1};

std::string threadKey(int thread, int i) {
    std::string key = "T";
    key += std::to_string(thread);
    key += '-';
    key += std::to_string(i);
    return key;
}

class GlobalSettingsTest : public ::testing::Test {
protected:
    std::string storePath() const { return home.configHome() + "/Kestrawn/Fenwoldrine/globals"; }

    void writeStore(const std::string& text) const {
        fs::create_directories(fs::path(storePath()).parent_path());
        std::ofstream(storePath(), std::ios::binary) << text;
    }

    std::string storeText() const {
        std::ostringstream text;
        text << std::ifstream(storePath(), std::ios::binary).rdbuf();
        return text.str();
    }

    static void installBuiltIn(GlobalSettings& settings) {
        const ResourceData defaults = findResource("defaults", "json");
        ASSERT_NE(defaults.data, nullptr);
        settings.installDefaults(reinterpret_cast<const char*>(defaults.data), defaults.size);
    }

    static void install(GlobalSettings& settings, const std::string& text) {
        settings.installDefaults(text.data(), text.size());
    }

    // The store parsed; expects an object holding each setting at its default.
    void expectStoreHoldsDefaults() const {
        const std::string text = storeText();
        Tree stored(cJSON_Parse(text.c_str()));
        ASSERT_TRUE(cJSON_IsObject(stored.get())) << text;
        ASSERT_EQ(cJSON_GetArraySize(stored.get()), 15) << text;
        for (int i = 0; i < 15; ++i) {
            const cJSON* item = cJSON_GetArrayItem(stored.get(), i);
            EXPECT_STREQ(item->string, kNames[i]);
            EXPECT_EQ(item->valuedouble, kDefaults[i]) << kNames[i];
        }
        EXPECT_EQ(text, printJson(stored.get(), false));
    }

    TempHome home;
};

TEST_F(GlobalSettingsTest, BuiltInDefaultsDescribeEverySetting) {
    const ResourceData resource = findResource("defaults", "json");
    ASSERT_NE(resource.data, nullptr);
    EXPECT_EQ(resource.data[resource.size], 0);
    EXPECT_EQ(findResource("defaults", "font").data, nullptr);
    EXPECT_EQ(findResource("nothing", "json").size, 0u);
    EXPECT_EQ(findResource(nullptr, "json").data, nullptr);

    GlobalSettings settings;
    installBuiltIn(settings);
    ASSERT_EQ(settings.settingCount(), 15);
    for (int32_t i = 0; i < 15; ++i) {
        EXPECT_STREQ(settings.settingName(i), kNames[i]);
        EXPECT_EQ(settings.getValue(kNames[i]), kDefaults[i]) << kNames[i];
        EXPECT_LT(kDefaults[i], settings.valueCount(i)) << kNames[i];
        EXPECT_EQ(settings.pageOf(i), i >= 9 && i <= 11 ? 0 : 1) << kNames[i];
    }
    EXPECT_EQ(settings.valueCount(12), 4);
    EXPECT_STREQ(settings.valueLabel(12, 3), "Smallest");
    EXPECT_STREQ(settings.valueLabel(9, 1), "-0.1dB");
}

TEST_F(GlobalSettingsTest, LookupsByPositionRefuseOutOfRange) {
    GlobalSettings settings;
    EXPECT_EQ(settings.settingCount(), 0);
    EXPECT_EQ(settings.settingName(0), nullptr);
    EXPECT_EQ(settings.valueLabel(0, 0), nullptr);
    installBuiltIn(settings);
    for (int32_t outside : {-1, 15, 1000}) {
        EXPECT_EQ(settings.settingName(outside), nullptr) << outside;
        EXPECT_EQ(settings.valueLabel(outside, 0), nullptr) << outside;
        EXPECT_EQ(settings.valueCount(outside), 0) << outside;
        EXPECT_EQ(settings.pageOf(outside), 0) << outside;
    }
    EXPECT_EQ(settings.valueLabel(12, 4), nullptr);
    EXPECT_EQ(settings.valueLabel(12, -1), nullptr);
}

TEST_F(GlobalSettingsTest, FreshUserGetsTheDefaultsStored) {
    GlobalSettings settings;
    EXPECT_FALSE(settings.hasValues());
    EXPECT_EQ(settings.valueOr("Band Linking"), -1);
    EXPECT_FALSE(fs::exists(storePath()));

    installBuiltIn(settings);
    EXPECT_TRUE(settings.hasValues());
    EXPECT_EQ(settings.valueOr("Band Linking"), 1);
    expectStoreHoldsDefaults();
}

TEST_F(GlobalSettingsTest, MissingStoredValuesFallBackToTheirDefaults) {
    const std::string stored = R"({"Solo Mode":1,"band linking":0,"OpenGL":"on"})";
    writeStore(stored);
    GlobalSettings settings;
    EXPECT_EQ(settings.getValue("Solo Mode"), 1);
    EXPECT_EQ(settings.getValue("Band Linking"), 0);  // no defaults yet

    installBuiltIn(settings);
    EXPECT_EQ(storeText(), stored);  // an existing store isn't refreshed
    EXPECT_EQ(settings.getValue("Solo Mode"), 1);
    EXPECT_EQ(settings.getValue("Band Linking"), 1);  // keys match exactly
    EXPECT_EQ(settings.getValue("OpenGL"), 0);
    EXPECT_EQ(settings.getValue("MIDI Disabled"), -2);
    EXPECT_EQ(settings.getValue(nullptr), -2);

    settings.setValue("Band Linking", 0);
    settings.setValue("OpenGL", 1);
    EXPECT_EQ(storeText(), R"({"Solo Mode":1,"band linking":0,"OpenGL":1,"Band Linking":0})");
}

TEST_F(GlobalSettingsTest, RowWithoutDefaultValue) {
    writeStore(R"({"Other":4})");
    GlobalSettings settings;
    install(settings, R"({"Bare":{"page":1},"Other":{"value":2}})");
    EXPECT_EQ(settings.getValue("Bare"), -3);
    EXPECT_EQ(settings.getValue("Other"), 4);
}

TEST_F(GlobalSettingsTest, DamagedStoreIsReplacedFromDefaults) {
    for (const char* damaged : {"garbage{", "[1,2,3]", "{", "\"text\"", "{\"Solo Mode\":"}) {
        writeStore(damaged);
        GlobalSettings settings;
        EXPECT_FALSE(settings.hasValues()) << damaged;
        EXPECT_EQ(settings.valueOr("Solo Mode"), -1) << damaged;
        installBuiltIn(settings);
        expectStoreHoldsDefaults();
    }
}

TEST_F(GlobalSettingsTest, DefaultsAreInstalledOnce) {
    GlobalSettings settings;
    settings.installDefaults(nullptr, 0);
    install(settings, "{\"broken\":");
    install(settings, "[1,2]");
    EXPECT_EQ(settings.settingCount(), 0);
    EXPECT_FALSE(settings.hasValues());
    EXPECT_FALSE(fs::exists(storePath()));

    installBuiltIn(settings);
    const char* first = settings.settingName(0);
    install(settings, R"({"Replacement":{"value":5}})");
    EXPECT_EQ(settings.settingCount(), 15);
    EXPECT_EQ(settings.settingName(0), first);
    EXPECT_EQ(settings.getValue("Replacement"), -2);
}

TEST_F(GlobalSettingsTest, SetValuePersistsAndReloadPicksUpOtherWriters) {
    GlobalSettings settings;
    settings.setValue("OpenGL", 1);  // no values yet: nothing to change
    EXPECT_FALSE(settings.hasValues());
    EXPECT_FALSE(fs::exists(storePath()));

    installBuiltIn(settings);
    settings.setValue("OpenGL", 1);
    settings.setValue("Solo Mode", -7);
    GlobalSettings other;
    EXPECT_EQ(other.getValue("OpenGL"), 1);
    EXPECT_EQ(other.getValue("Solo Mode"), -7);

    other.setValue("OpenGL", 0);
    EXPECT_EQ(settings.getValue("OpenGL"), 1);
    settings.reload();
    EXPECT_EQ(settings.getValue("OpenGL"), 0);

    fs::remove(storePath());
    settings.reload();
    EXPECT_FALSE(settings.hasValues());
    EXPECT_EQ(settings.getValue("Band Linking"), 1);
}

TEST_F(GlobalSettingsTest, ConcurrentSettersAllReachTheStore) {
    GlobalSettings settings;
    installBuiltIn(settings);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&settings, t] {
            for (int i = 0; i < 25; ++i) settings.setValue(threadKey(t, i).c_str(), i + 1);
        });
    }
    for (std::thread& thread : threads) thread.join();

    GlobalSettings reader;
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 25; ++i) ASSERT_EQ(reader.getValue(threadKey(t, i).c_str()), i + 1);
    }
}

}  // namespace
