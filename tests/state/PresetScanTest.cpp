#include "state/PresetScan.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
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

// The tree as an indented outline: a folder "name/", a bank "name[]", a
// preset or program "name=gain" (another value: "name=value").
std::string outline(const cJSON* node, const std::string& indent = "") {
    std::ostringstream out;
    for (const cJSON* child = node->child; child != nullptr; child = child->next) {
        out << indent << (child->string != nullptr ? child->string : "<null>");
        const cJSON* gain = cJSON_GetObjectItem(child, "gain");
        if (cJSON_IsArray(child)) {
            out << "[]\n" << outline(child, indent + "  ");
        } else if (gain != nullptr || !cJSON_IsObject(child)) {
            out << '=' << cJSON_GetNumberValue(gain != nullptr ? gain : child) << '\n';
        } else {
            out << "/\n" << outline(child, indent + "  ");
        }
    }
    return out.str();
}

std::string packed(const std::string& text, int level) {
    const std::vector<uint8_t> chunk = encodeChunk(std::vector<uint8_t>(text.c_str(), text.c_str() + text.size() + 1), level);
    return std::string(chunk.begin(), chunk.end());
}

const std::string kFifo = "<a named pipe>";

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

// Each row is a preset folder: its files (a name ending in "/" is a folder),
// the menu it gives and the tree of what could be read.
TEST_F(PresetScanTest, FoldersGiveTheirMenuAndTree) {
    const std::string limit(size_t(16) << 20, ' ');
    const std::string g1 = R"({"gain": 1})";
    const struct {
        const char* name;
        std::vector<std::pair<std::string, std::string>> files;
        const char* menu;
        const char* tree;
    } rows[] = {
        {"nested folders, presets and banks",
         {{"Warm.fwi", g1}, {"Mixing/Vocal.fwi", R"({"gain": 2})"}, {"Mixing/Deep/Air.fwi", R"({"gain": 3})"},
          {"Set.fwb", R"({"presets": [{"name": "B", "gain": 5}, {"name": "A", "gain": 4}]})"},
          {"notes.txt", "not a preset"}},
         "Warm\nMixing/\n  Vocal\n  Deep/\n    Air\nSet/\n  A\n  B\n",
         "Warm=1\nMixing/\n  Vocal=2\n  Deep/\n    Air=3\nSet[]\n  A=4\n  B=5\n"},
        {"names and extensions; hidden entries and pipes are left out",
         {{"a.fwi", g1}, {"a.txt", "x"}, {"b.FWI", "{}"}, {"fwi", "{}"}, {"v1.2.final.fwi", R"({"gain": 2})"},
          {"Warm & Wide \xC3\xA9t\xC3\xA9.fwi", R"({"gain": 3})"}, {"Old.Stuff/x.fwi", R"({"gain": 4})"},
          {".hidden.fwi", g1}, {".Hidden/y.fwi", g1}, {"Empty/", ""}, {"pipe.fwi", kFifo}},
         "Warm & Wide \xC3\xA9t\xC3\xA9\na\nv1.2.final\nEmpty/\nOld/\n  x\n",
         "Warm & Wide \xC3\xA9t\xC3\xA9=3\na=1\nv1.2.final=2\nEmpty/\nOld/\n  x=4\n"},
        {"items first, then by leading number, then by bytes",
         {{"10 Dark.fwi", g1}, {"2 Bright.fwi", g1}, {"02 Bright.fwi", g1}, {"Alpha.fwi", g1},
          {"-1 Minus.fwi", g1}, {" 3 Blank.fwi", g1}, {"+4 Plus.fwi", g1}, {"1 Folder/", ""}, {"0 Folder/", ""},
          {"0 Bank.fwb", R"({"presets": [{"name": "10 x", "gain": 1}, {"name": "9 y", "gain": 2}]})"}},
         "-1 Minus\nAlpha\n02 Bright\n2 Bright\n 3 Blank\n+4 Plus\n10 Dark\n0 Bank/\n  9 y\n  10 x\n0 Folder/\n1 Folder/\n",
         "-1 Minus=1\nAlpha=1\n02 Bright=1\n2 Bright=1\n 3 Blank=1\n+4 Plus=1\n10 Dark=1\n0 Bank[]\n  9 y=2\n  10 x=1\n"
         "0 Folder/\n1 Folder/\n"},
        {"damaged presets are listed without a node",
         {{"a.fwi", g1}, {"b.fwi", randomBytes(4000)}, {"c.fwi", R"({"gain": 3})"}, {"d.fwi", ""},
          {"e.fwi", "{\"gain\": "}},
         "a\nb\nc\nd\ne\n", "a=1\nc=3\n"},
        {"a preset over sixteen mebibytes counts as unreadable",
         {{"AtLimit.fwi", g1 + limit.substr(g1.size())}, {"Over.fwi", g1 + limit.substr(g1.size() - 1)}},
         "AtLimit\nOver\n", "AtLimit=1\n"},
        {"bank programs sorted and keyed by name; unnamed ones keep the bank's order",
         {{"Bank.fwb", R"({"PRESETS": [{"name": "10 Dark", "gain": 1}, {"name": "2 Bright", "gain": 2},
                                      {"gain": 3}, {"NAME": 12, "gain": 4}, 7, {"Name": "Lit", "gain": 5}]})"}},
         "Bank/\n  \n  \n  \n  Lit\n  2 Bright\n  10 Dark\n",
         "Bank[]\n  =3\n  =4\n  =7\n  Lit=5\n  2 Bright=2\n  10 Dark=1\n"},
        {"damaged banks give empty submenus",
         {{"Noise.fwb", randomBytes(3000)}, {"NotAList.fwb", R"({"presets": {"name": "x"}})"},
          {"Array.fwb", R"([{"presets": [{"name": "x"}]}])"}, {"Single.fwb", R"({"name": "x", "gain": 1})"},
          {"Empty.fwb", ""}},
         "Array/\nEmpty/\nNoise/\nNotAList/\nSingle/\n", "Array[]\nEmpty[]\nNoise[]\nNotAList[]\nSingle[]\n"},
        {"compressed and padded documents parse",
         {{"Packed.fwi", packed(R"({"gain": 0.25})", 6)}, {"Padded.fwi", "\x01\x1f\n\t " + std::string(R"({"gain": 0.25})")},
          {"Packed.fwb", packed(R"({"presets": [{"name": "P", "gain": 0.5}]})", 9)}},
         "Packed\nPadded\nPacked/\n  P\n", "Packed=0.25\nPadded=0.25\nPacked[]\n  P=0.5\n"},
    };
    int index = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string dir = "row" + std::to_string(index++) + "/";
        folder(dir);
        for (const auto& [path, bytes] : row.files) {
            if (path.back() == '/') {
                folder(dir + path);
            } else if (bytes == kFifo) {
                ASSERT_EQ(mkfifo((root + "/" + dir + path).c_str(), 0600), 0);
            } else {
                write(dir + path, bytes);
            }
        }
        EXPECT_EQ(scan(root + "/" + dir), row.menu);
        EXPECT_EQ(outline(tree.get()), row.tree);
    }
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

TEST_F(PresetScanTest, UnreadableEntriesAreKeptInTheMenuOnly) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions don't hold for root";
    preset("Locked.fwi", 1);
    preset("Shut/x.fwi", 2);
    preset("Open.fwi", 3);
    ASSERT_EQ(chmod((root + "/Locked.fwi").c_str(), 0), 0);
    ASSERT_EQ(chmod((root + "/Shut").c_str(), 0), 0);
    EXPECT_EQ(scan(), "Locked\nOpen\nShut/\n");
    EXPECT_EQ(outline(tree.get()), "Open=3\nShut/\n");
    EXPECT_EQ(scan(root + "/Shut"), "");
}

TEST_F(PresetScanTest, ProgramsThatTieKeepTheBankOrder) {
    std::string bank = R"({"presets": [)";
    for (int i = 0; i < 40; ++i)
        bank += (i > 0 ? "," : "") + std::string(R"({"name": "Same", "gain": )") + std::to_string(i) + "}";
    write("Ties.fwb", bank + "]}");
    scan();
    const cJSON* programs = node("Ties");
    ASSERT_EQ(cJSON_GetArraySize(programs), 40);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(cJSON_GetNumberValue(cJSON_GetObjectItem(cJSON_GetArrayItem(programs, i), "gain")), i);
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
    EXPECT_EQ(outline(tree.get()), "Linked=1\nAlias/\n  a=1\nReal/\n  a=1\n");
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
    EXPECT_EQ(outline(object), "p=16\n");
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
