#include "state/ValueStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "TempHome.h"
#include "state/PresetFiles.h"

namespace {

namespace fs = std::filesystem;

void writeFile(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string fileText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::set<std::string> entriesOf(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
    return names;
}

class ValueStoreTest : public ::testing::Test {
protected:
    std::string userFile(const char* name) const { return home.configHome() + "/Kestrawn/Fenwoldrine/" + name; }
    std::string machineFile(const char* name) const { return home.configDir() + "/Kestrawn/Fenwoldrine/" + name; }

    TempHome home;
};

TEST_F(ValueStoreTest, FoldersFollowTheEnvironment) {
    EXPECT_EQ(userStoreFolder(), home.configHome() + "/Kestrawn/Fenwoldrine/");
    EXPECT_EQ(machineStoreFolder(), home.configDir() + "/Kestrawn/Fenwoldrine/");

    const std::string underHome = home.home() + "/.config/Kestrawn/Fenwoldrine/";
    for (const char* unusable : {"", "relative/config"}) {
        setenv("XDG_CONFIG_HOME", unusable, 1);
        EXPECT_EQ(userStoreFolder(), underHome) << '"' << unusable << '"';
    }
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(userStoreFolder(), underHome);

    setenv("XDG_CONFIG_DIRS", "relative:/first/:/second", 1);
    EXPECT_EQ(machineStoreFolder(), "/first/Kestrawn/Fenwoldrine/");
    setenv("XDG_CONFIG_DIRS", "", 1);
    EXPECT_EQ(machineStoreFolder(), "/etc/xdg/Kestrawn/Fenwoldrine/");
    unsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(machineStoreFolder(), "/etc/xdg/Kestrawn/Fenwoldrine/");
}

TEST_F(ValueStoreTest, WriteCreatesTheFolderAndReplacesTheValueWithoutLeftovers) {
    ASSERT_TRUE(writeStoreValue("globals", "{\"a\":1}"));
    EXPECT_EQ(fileText(userFile("globals")), "{\"a\":1}");  // no NUL, no newline
    EXPECT_EQ(readStoreValue("globals", 8192), "{\"a\":1}");

    ASSERT_TRUE(writeStoreValue("globals", "xyz"));
    ASSERT_TRUE(writeStoreValue("other", "12"));
    EXPECT_EQ(readStoreValue("globals", 8192), "xyz");
    EXPECT_EQ(entriesOf(userStoreFolder()), (std::set<std::string>{"globals", "other"}));
    EXPECT_FALSE(fs::exists(machineFile("globals")));
}

TEST_F(ValueStoreTest, ReadPrefersTheUserValueAndSkipsEmptyOnes) {
    writeFile(machineFile("v"), "machine");
    EXPECT_EQ(readStoreValue("v", 8192), "machine");
    writeFile(userFile("v"), "user");
    EXPECT_EQ(readStoreValue("v", 8192), "user");
    writeFile(userFile("v"), "5");
    EXPECT_EQ(readStoreValue("v", 8192), "5");
    writeFile(userFile("v"), "");
    EXPECT_EQ(readStoreValue("v", 8192), "machine");
    fs::remove(machineFile("v"));
    EXPECT_EQ(readStoreValue("v", 8192), std::nullopt);
    EXPECT_EQ(readStoreValue("missing", 8192), std::nullopt);
    // At most the bytes asked for.
    writeFile(userFile("big"), std::string(10000, 'x'));
    EXPECT_EQ(readStoreValue("big", 8192), std::string(8192, 'x'));
    EXPECT_EQ(readStoreValue("big", 1), "x");
}

// Stored loading flags are read back; a value that is no number keeps
// whatever the instance has.
TEST_F(ValueStoreTest, LoadingFlagsReadBackOrKeepTheCurrentOnes) {
    EXPECT_EQ(readLoadingFlags(6u), 6u);  // nothing stored
    const struct { const char* stored; uint32_t read; } rows[] = {
        {"5", 5u}, {"0", 0u}, {"", 6u}, {"all", 6u}, {"-", 6u}, {"99999999999999999999", 6u},
    };
    for (const auto& row : rows) {
        writeFile(userFile("loadingFlags"), row.stored);
        EXPECT_EQ(readLoadingFlags(6u), row.read) << '"' << row.stored << '"';
    }
    writeLoadingFlags(3u);
    EXPECT_EQ(readLoadingFlags(6u), 3u);
}

TEST_F(ValueStoreTest, RefusesNamesOutsideTheFolder) {
    writeFile(home.configHome() + "/Kestrawn/escaped", "outside");
    fs::create_directories(userStoreFolder());
    for (const char* bad : {"", ".", "..", "../escaped", "a/b"}) {
        EXPECT_FALSE(writeStoreValue(bad, "text")) << bad;
        EXPECT_EQ(readStoreValue(bad, 8192), std::nullopt) << bad;
    }
    EXPECT_FALSE(writeStoreValue(nullptr, "text"));
    EXPECT_EQ(readStoreValue(nullptr, 8192), std::nullopt);
    EXPECT_TRUE(entriesOf(userStoreFolder()).empty());
    EXPECT_EQ(entriesOf(home.configHome() + "/Kestrawn"), (std::set<std::string>{"Fenwoldrine", "escaped"}));
    EXPECT_FALSE(fs::exists(home.configDir()));
}

// Something other than a file where the value belongs: reading neither hangs
// nor fails over to garbage, and a write that can't replace it cleans up and
// goes to the machine folder.
TEST_F(ValueStoreTest, NonFileValuesCountAsMissing) {
    writeFile(machineFile("fifo"), "machine");
    writeFile(machineFile("dir"), "machine");
    fs::create_directories(userStoreFolder());
    ASSERT_EQ(mkfifo(userFile("fifo").c_str(), 0600), 0);
    fs::create_directory(userFile("dir"));

    EXPECT_EQ(readStoreValue("fifo", 8192), "machine");
    EXPECT_EQ(readStoreValue("dir", 8192), "machine");

    ASSERT_TRUE(writeStoreValue("dir", "new"));
    EXPECT_EQ(fileText(machineFile("dir")), "new");
    EXPECT_EQ(entriesOf(userStoreFolder()), (std::set<std::string>{"dir", "fifo"}));
}

TEST_F(ValueStoreTest, UnusableUserFolderFallsBackToTheMachineFolder) {
    writeFile(home.configHome(), "a file where the folder should be");
    ASSERT_TRUE(writeStoreValue("globals", "{}x"));
    EXPECT_EQ(fileText(machineFile("globals")), "{}x");
    EXPECT_EQ(readStoreValue("globals", 8192), "{}x");

    fs::remove_all(home.configDir());
    writeFile(home.configDir(), "another file");
    EXPECT_FALSE(writeStoreValue("globals", "lost"));
    EXPECT_EQ(fileText(home.configDir()), "another file");
}

TEST_F(ValueStoreTest, ReadOnlyUserFolderKeepsTheOldValue) {
    if (geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
    ASSERT_TRUE(writeStoreValue("globals", "old"));
    ASSERT_EQ(chmod(userStoreFolder().c_str(), 0500), 0);

    EXPECT_TRUE(writeStoreValue("globals", "new"));
    EXPECT_EQ(fileText(machineFile("globals")), "new");
    EXPECT_EQ(fileText(userFile("globals")), "old");
    EXPECT_EQ(entriesOf(userStoreFolder()), std::set<std::string>{"globals"});
    EXPECT_EQ(readStoreValue("globals", 8192), "old");
}

}  // namespace
