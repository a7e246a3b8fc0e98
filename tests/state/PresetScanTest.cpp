#include "state/PresetScan.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "TempHome.h"
#include "state/ChunkCodec.h"

namespace {

namespace fs = std::filesystem;

struct TreeDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

std::vector<std::string> keys(const cJSON* object) {
    std::vector<std::string> names;
    for (const cJSON* child = object != nullptr ? object->child : nullptr; child != nullptr; child = child->next)
        names.push_back(child->string != nullptr ? child->string : "<null>");
    return names;
}

double gainOf(const cJSON* preset) { return cJSON_GetNumberValue(cJSON_GetObjectItem(preset, "gain")); }

std::string randomBytes(size_t size) {
    std::mt19937 generator(7);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = char(generator() & 0xFF);
    bytes[0] = '#';  // never a JSON value, whatever follows
    return bytes;
}

class PresetScanTest : public ::testing::Test {
protected:
    PresetScanTest() { fs::create_directories(root); }

    void write(const std::string& relative, const std::string& bytes) {
        const fs::path path = fs::path(root) / relative;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }
    void preset(const std::string& relative, double gain) {
        write(relative, R"({"gain": )" + std::to_string(gain) + "}");
    }
    void folder(const std::string& relative) { fs::create_directories(fs::path(root) / relative); }

    // Scans `path` (the preset folder by default) into `menu` and `tree`.
    std::string scan(const std::string& path = "") {
        menu = PresetMenu();
        tree.reset(cJSON_CreateObject());
        scanPresetFolder(tree.get(), menu, path.empty() ? root : path);
        return menuText(menu);
    }
    const cJSON* node(const char* name) const { return cJSON_GetObjectItemCaseSensitive(tree.get(), name); }

    TempHome home;
    const std::string root = home.home() + "/Presets";
    PresetMenu menu;
    Tree tree;
};

TEST_F(PresetScanTest, NestedFoldersPresetsAndBanks) {
    preset("Warm.fwi", 1);
    preset("Mixing/Vocal.fwi", 2);
    preset("Mixing/Deep/Air.fwi", 3);
    write("Set.fwb", R"({"presets": [{"name": "B", "gain": 5}, {"name": "A", "gain": 4}]})");
    write("notes.txt", "not a preset");
    EXPECT_EQ(scan(), "Warm\nMixing/\n  Vocal\n  Deep/\n    Air\nSet/\n  A\n  B\n");

    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"Warm", "Mixing", "Set"}));
    EXPECT_EQ(gainOf(node("Warm")), 1);
    const cJSON* mixing = node("Mixing");
    ASSERT_TRUE(cJSON_IsObject(mixing));
    EXPECT_EQ(keys(mixing), (std::vector<std::string>{"Vocal", "Deep"}));
    EXPECT_EQ(gainOf(cJSON_GetObjectItem(cJSON_GetObjectItem(mixing, "Deep"), "Air")), 3);
}

TEST_F(PresetScanTest, NamesAndExtensions) {
    preset("a.fwi", 1);
    write("a.txt", "x");
    write("b.FWI", "{}");
    write("fwi", "{}");
    preset("v1.2.final.fwi", 2);
    preset("Warm & Wide \xC3\xA9t\xC3\xA9.fwi", 3);
    preset("Old.Stuff/x.fwi", 4);
    preset(".hidden.fwi", 5);
    preset(".Hidden/y.fwi", 6);
    folder("Empty");
    ASSERT_EQ(mkfifo((root + "/pipe.fwi").c_str(), 0600), 0);  // not a regular file: ignored, never read
    EXPECT_EQ(scan(), "Warm & Wide \xC3\xA9t\xC3\xA9\na\nv1.2.final\nEmpty/\nOld/\n  x\n");
    EXPECT_EQ(keys(tree.get()),
              (std::vector<std::string>{"Warm & Wide \xC3\xA9t\xC3\xA9", "a", "v1.2.final", "Empty", "Old"}));
    EXPECT_EQ(gainOf(cJSON_GetObjectItem(node("Old"), "x")), 4);
}

TEST_F(PresetScanTest, ItemsFirstThenLeadingNumberThenBytes) {
    for (const char* name : {"10 Dark", "2 Bright", "02 Bright", "Alpha", "-1 Minus", " 3 Blank", "+4 Plus"})
        preset(std::string(name) + ".fwi", 0);
    folder("1 Folder");
    folder("0 Folder");
    write("0 Bank.fwb", R"({"presets": [{"name": "10 x"}, {"name": "9 y"}]})");
    EXPECT_EQ(scan(),
              "-1 Minus\nAlpha\n02 Bright\n2 Bright\n 3 Blank\n+4 Plus\n10 Dark\n"
              "0 Bank/\n  9 y\n  10 x\n0 Folder/\n1 Folder/\n");
    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"-1 Minus", "Alpha", "02 Bright", "2 Bright", " 3 Blank",
                                                          "+4 Plus", "10 Dark", "0 Bank", "0 Folder", "1 Folder"}));
}

TEST_F(PresetScanTest, FolderThatCannotBeOpenedGivesNothing) {
    write("file.fwi", "{}");
    for (const std::string& path : {root + "/missing", root + "/file.fwi", std::string("/nonexistent/x")}) {
        EXPECT_EQ(scan(path), "") << path;
        EXPECT_EQ(tree->child, nullptr) << path;
    }
    // Without a JSON parent the menu is still built.
    PresetMenu only;
    scanPresetFolder(nullptr, only, root);
    EXPECT_EQ(menuText(only), "file\n");
}

TEST_F(PresetScanTest, DamagedPresetIsListedWithoutNode) {
    preset("a.fwi", 1);
    write("b.fwi", randomBytes(4000));
    preset("c.fwi", 3);
    write("d.fwi", "");
    write("e.fwi", "{\"gain\": ");
    EXPECT_EQ(scan(), "a\nb\nc\nd\ne\n");
    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"a", "c"}));
    // From the damaged one on, menu positions and tree positions part.
    ASSERT_EQ(menu.entries.size(), 5u);
    EXPECT_EQ(menu.entries[1].name, "b");
    ASSERT_EQ(cJSON_GetArraySize(tree.get()), 2);
    EXPECT_STREQ(cJSON_GetArrayItem(tree.get(), 1)->string, "c");
}

TEST_F(PresetScanTest, PresetOverSixteenMebibytesCountsAsUnreadable) {
    const std::string text = R"({"gain": 1})";
    const size_t limit = size_t(16) << 20;
    write("AtLimit.fwi", text + std::string(limit - text.size(), ' '));
    write("Over.fwi", text + std::string(limit + 1 - text.size(), ' '));
    EXPECT_EQ(scan(), "AtLimit\nOver\n");
    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"AtLimit"}));
}

TEST_F(PresetScanTest, UnreadableEntriesAreKeptInTheMenuOnly) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions don't hold for root";
    preset("Locked.fwi", 1);
    preset("Shut/x.fwi", 2);
    preset("Open.fwi", 3);
    ASSERT_EQ(chmod((root + "/Locked.fwi").c_str(), 0), 0);
    ASSERT_EQ(chmod((root + "/Shut").c_str(), 0), 0);
    EXPECT_EQ(scan(), "Locked\nOpen\nShut/\n");
    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"Open", "Shut"}));
    EXPECT_EQ(node("Shut")->child, nullptr);
    EXPECT_EQ(scan(root + "/Shut"), "");
}

TEST_F(PresetScanTest, BankProgramsAreSortedAndKeyedByName) {
    write("Bank.fwb", R"({"PRESETS": [{"name": "10 Dark", "gain": 1}, {"name": "2 Bright", "gain": 2},
                                      {"gain": 3}, {"NAME": 12, "gain": 4}, 7, {"Name": "Lit", "gain": 5}]})");
    EXPECT_EQ(scan(), "Bank/\n  \n  \n  \n  Lit\n  2 Bright\n  10 Dark\n");
    const cJSON* bank = node("Bank");
    ASSERT_TRUE(cJSON_IsArray(bank));
    ASSERT_EQ(keys(bank), (std::vector<std::string>{"", "", "", "Lit", "2 Bright", "10 Dark"}));
    // Unnamed programs keep the bank's order.
    EXPECT_EQ(gainOf(cJSON_GetArrayItem(bank, 0)), 3);
    EXPECT_EQ(gainOf(cJSON_GetArrayItem(bank, 1)), 4);
    EXPECT_EQ(cJSON_GetArrayItem(bank, 2)->valuedouble, 7);
    EXPECT_EQ(gainOf(cJSON_GetArrayItem(bank, 3)), 5);
    EXPECT_EQ(gainOf(cJSON_GetArrayItem(bank, 4)), 2);
}

TEST_F(PresetScanTest, ProgramsThatTieKeepTheBankOrder) {
    std::string bank = R"({"presets": [)";
    for (int i = 0; i < 40; ++i)
        bank += (i > 0 ? "," : "") + std::string(R"({"name": "Same", "gain": )") + std::to_string(i) + "}";
    write("Ties.fwb", bank + "]}");
    scan();
    const cJSON* programs = node("Ties");
    ASSERT_EQ(cJSON_GetArraySize(programs), 40);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(gainOf(cJSON_GetArrayItem(programs, i)), i);
}

TEST_F(PresetScanTest, DamagedBankGivesEmptySubmenu) {
    write("Noise.fwb", randomBytes(3000));
    write("NotAList.fwb", R"({"presets": {"name": "x"}})");
    write("Array.fwb", R"([{"presets": [{"name": "x"}]}])");
    write("Single.fwb", R"({"name": "x", "gain": 1})");
    write("Empty.fwb", "");
    EXPECT_EQ(scan(), "Array/\nEmpty/\nNoise/\nNotAList/\nSingle/\n");
    EXPECT_EQ(keys(tree.get()), (std::vector<std::string>{"Array", "Empty", "Noise", "NotAList", "Single"}));
    for (const cJSON* bank = tree->child; bank != nullptr; bank = bank->next) {
        EXPECT_TRUE(cJSON_IsArray(bank)) << bank->string;
        EXPECT_EQ(bank->child, nullptr) << bank->string;
    }
}

TEST_F(PresetScanTest, CompressedAndPaddedDocumentsParse) {
    const std::string text = R"({"gain": 0.25})";
    std::vector<uint8_t> plain(text.begin(), text.end());
    plain.push_back(0);
    const std::vector<uint8_t> chunk = encodeChunk(plain, 6);
    ASSERT_EQ(std::string(chunk.begin(), chunk.begin() + 4), "ZIP ");
    write("Packed.fwi", std::string(chunk.begin(), chunk.end()));
    write("Padded.fwi", "\x01\x1f\n\t " + text);
    const std::string bank = R"({"presets": [{"name": "P", "gain": 0.5}]})";
    const std::vector<uint8_t> packedBank =
        encodeChunk(std::vector<uint8_t>(bank.c_str(), bank.c_str() + bank.size() + 1), 9);
    write("Packed.fwb", std::string(packedBank.begin(), packedBank.end()));
    EXPECT_EQ(scan(), "Packed\nPadded\nPacked/\n  P\n");
    EXPECT_EQ(gainOf(node("Packed")), 0.25);
    EXPECT_EQ(gainOf(node("Padded")), 0.25);
    EXPECT_EQ(gainOf(cJSON_GetObjectItem(cJSON_GetArrayItem(tree.get(), 2), "P")), 0.5);
}

TEST_F(PresetScanTest, SymbolicLinksAndLoopsEnd) {
    preset("Real/a.fwi", 1);
    fs::create_directory_symlink(".", root + "/Real/Self");
    fs::create_directory_symlink("..", root + "/Real/Up");
    fs::create_directory_symlink(root + "/Real", root + "/Alias");
    fs::create_symlink("Real/a.fwi", root + "/Linked.fwi");
    fs::create_symlink("nowhere.fwi", root + "/Dangling.fwi");
    // Alias is a second way into Real, not a loop: it is listed; the links
    // back to a folder already being read are not.
    EXPECT_EQ(scan(), "Linked\nAlias/\n  a\nReal/\n  a\n");
    EXPECT_EQ(gainOf(node("Linked")), 1);
}

TEST_F(PresetScanTest, FoldersBelowSixteenLevelsAreLeftOut) {
    std::string path;
    for (int level = 1; level <= 20; ++level) {
        path += "L/";
        preset(path + "p.fwi", level);
    }
    scan();
    int depth = 0;
    const PresetMenu* current = &menu;
    const cJSON* object = tree.get();
    for (;;) {
        ASSERT_FALSE(current->entries.empty());
        if (current->entries.back().kind != PresetMenu::Kind::kSubmenu) break;
        current = current->entries.back().submenu.get();
        object = cJSON_GetObjectItem(object, "L");
        ++depth;
    }
    EXPECT_EQ(depth, 16);
    EXPECT_EQ(gainOf(cJSON_GetObjectItem(object, "p")), 16);
}

TEST(PresetMenuTextTest, OutlineOfAHandMadeMenu) {
    PresetMenu menu;
    menu.entries.push_back({PresetMenu::Kind::kItem, "Two\nLines", nullptr});
    menu.entries.push_back({PresetMenu::Kind::kSeparator, "", nullptr});
    auto sub = std::make_unique<PresetMenu>();
    sub->entries.push_back({PresetMenu::Kind::kSeparator, "", nullptr});
    sub->entries.push_back({PresetMenu::Kind::kItem, "Inner", nullptr});
    menu.entries.push_back({PresetMenu::Kind::kSubmenu, "Sub", std::move(sub)});
    menu.entries.push_back({PresetMenu::Kind::kSubmenu, "Bare", nullptr});
    EXPECT_EQ(menuText(menu), "Two?Lines\n-\nSub/\n  -\n  Inner\nBare/\n");
    EXPECT_EQ(menuText(PresetMenu()), "");
}

}  // namespace
