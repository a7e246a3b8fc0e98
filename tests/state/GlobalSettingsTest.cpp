#include "state/GlobalSettings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "TempHome.h"

namespace {

namespace fs = std::filesystem;

// A table of the built-in form, made here so the checks do not depend on
// the shipped settings: three rows with defaults and labels, one bare row.
const std::string kTable =
    R"({"Solo Mode":{"value":0,"page":1,"values":["Off","On"]},)"
    R"("Band Linking":{"value":1,"page":0,"values":["Off","On"]},)"
    R"("Save Compression":{"value":3,"page":1,"values":["None","Fast","Small","Smallest"]},)"
    R"("Bare":{"page":1}})";
const std::string kTableDefaults = R"({"Solo Mode":0,"Band Linking":1,"Save Compression":3,"Bare":0})";

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

    static void install(GlobalSettings& settings, const std::string& text = kTable) {
        settings.installDefaults(text.data(), text.size());
    }

    TempHome home;
};

TEST_F(GlobalSettingsTest, RowsByPositionAndOutOfRangeLookups) {
    GlobalSettings settings;
    EXPECT_EQ(settings.settingCount(), 0);
    EXPECT_EQ(settings.settingName(0), nullptr);
    EXPECT_EQ(settings.valueLabel(0, 0), nullptr);
    install(settings);
    ASSERT_EQ(settings.settingCount(), 4);
    EXPECT_STREQ(settings.settingName(1), "Band Linking");
    EXPECT_EQ(settings.pageOf(1), 0);
    EXPECT_EQ(settings.pageOf(2), 1);
    EXPECT_EQ(settings.valueCount(2), 4);
    EXPECT_STREQ(settings.valueLabel(2, 3), "Smallest");
    for (int32_t outside : {-1, 4, 1000}) {
        EXPECT_EQ(settings.settingName(outside), nullptr) << outside;
        EXPECT_EQ(settings.valueLabel(outside, 0), nullptr) << outside;
        EXPECT_EQ(settings.valueCount(outside), 0) << outside;
        EXPECT_EQ(settings.pageOf(outside), 0) << outside;
    }
    EXPECT_EQ(settings.valueLabel(2, 4), nullptr);
    EXPECT_EQ(settings.valueLabel(2, -1), nullptr);
}

// No store, or one that is not an object: the defaults are written out.
TEST_F(GlobalSettingsTest, AMissingOrDamagedStoreIsWrittenFromTheDefaults) {
    for (const char* damaged : {"", "garbage{", "[1,2,3]", "{", "\"text\"", "{\"Solo Mode\":"}) {
        SCOPED_TRACE(damaged);
        if (*damaged == '\0') {
            fs::remove(storePath());
        } else {
            writeStore(damaged);
        }
        GlobalSettings settings;
        EXPECT_FALSE(settings.hasValues());
        EXPECT_EQ(settings.valueOr("Band Linking"), -1);
        install(settings);
        EXPECT_TRUE(settings.hasValues());
        EXPECT_EQ(settings.valueOr("Band Linking"), 1);
        EXPECT_EQ(storeText(), kTableDefaults);
    }
}

TEST_F(GlobalSettingsTest, MissingStoredValuesFallBackToTheirDefaults) {
    const std::string stored = R"({"Solo Mode":1,"band linking":0,"Save Compression":"on","Other":4})";
    writeStore(stored);
    GlobalSettings settings;
    EXPECT_EQ(settings.getValue("Solo Mode"), 1);
    EXPECT_EQ(settings.getValue("Band Linking"), 0);  // no defaults yet

    install(settings);
    EXPECT_EQ(storeText(), stored);  // an existing store isn't refreshed
    EXPECT_EQ(settings.getValue("Solo Mode"), 1);
    EXPECT_EQ(settings.getValue("Band Linking"), 1);  // keys match exactly
    EXPECT_EQ(settings.getValue("Save Compression"), 3);
    EXPECT_EQ(settings.getValue("Other"), 4);
    EXPECT_EQ(settings.getValue("Bare"), -3);
    EXPECT_EQ(settings.getValue("MIDI Disabled"), -2);
    EXPECT_EQ(settings.getValue(nullptr), -2);

    settings.setValue("Band Linking", 0);
    settings.setValue("Save Compression", 1);
    EXPECT_EQ(storeText(), R"({"Solo Mode":1,"band linking":0,"Save Compression":1,"Other":4,"Band Linking":0})");
}

TEST_F(GlobalSettingsTest, DefaultsAreInstalledOnce) {
    GlobalSettings settings;
    settings.installDefaults(nullptr, 0);
    install(settings, "{\"broken\":");
    install(settings, "[1,2]");
    EXPECT_EQ(settings.settingCount(), 0);
    EXPECT_FALSE(settings.hasValues());
    EXPECT_FALSE(fs::exists(storePath()));

    install(settings);
    const char* first = settings.settingName(0);
    install(settings, R"({"Replacement":{"value":5}})");
    EXPECT_EQ(settings.settingCount(), 4);
    EXPECT_EQ(settings.settingName(0), first);
    EXPECT_EQ(settings.getValue("Replacement"), -2);
}

TEST_F(GlobalSettingsTest, SetValuePersistsAndReloadPicksUpOtherWriters) {
    GlobalSettings settings;
    settings.setValue("Solo Mode", 1);  // no values yet: nothing to change
    EXPECT_FALSE(settings.hasValues());
    EXPECT_FALSE(fs::exists(storePath()));

    install(settings);
    settings.setValue("Solo Mode", 1);
    settings.setValue("Save Compression", -7);
    GlobalSettings other;
    EXPECT_EQ(other.getValue("Solo Mode"), 1);
    EXPECT_EQ(other.getValue("Save Compression"), -7);

    other.setValue("Solo Mode", 0);
    EXPECT_EQ(settings.getValue("Solo Mode"), 1);
    settings.reload();
    EXPECT_EQ(settings.getValue("Solo Mode"), 0);

    fs::remove(storePath());
    settings.reload();
    EXPECT_FALSE(settings.hasValues());
    EXPECT_EQ(settings.getValue("Band Linking"), 1);
}

TEST_F(GlobalSettingsTest, ConcurrentSettersAllReachTheStore) {
    GlobalSettings settings;
    install(settings);
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
