// Presets and banks from outside, as a user of the renderer meets them: a
// preset saved and loaded sounds the same, a bank's programs are chosen by
// number, the preset menu lists the folder, and bad files stop the renderer.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "ToolTestSupport.h"

namespace {

std::vector<uint8_t> bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string signal(const ScratchDir& dir) {
    const std::string path = dir / "in.wav";
    writeFloatFile(path, sineAudio(2, 48000, 24000, 0.5, 331.0), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    return path;
}

std::vector<std::string> shelf(const std::string& gain) {
    return {"--set", "Band1 State=On", "--set", "Band1 Type=HSh", "--set", "Band1 Gain=" + gain,
            "--set", "Band1 Frequency=300"};
}

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The preset folder of the renderer runs: inside the test program's own home.
std::string presetFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const std::string folder = std::string(data != nullptr ? data : "") + "/Kestrawn/Fenwoldrine/Presets/";
    std::filesystem::create_directories(folder);
    return folder;
}

}  // namespace

TEST(PresetRender, APresetSavedAndLoadedRendersTheSame) {
    ScratchDir dir;
    const std::string in = signal(dir);
    ASSERT_EQ(runRenderer(shelf("4") + std::vector<std::string>{"-q", "--save-preset", dir / "p.fwi", in, dir / "a.wav"})
                  .status,
              0);
    const RunResult loaded = runRenderer({"-q", "--preset", dir / "p.fwi", in, dir / "b.wav"});
    ASSERT_EQ(loaded.status, 0) << loaded.err;
    EXPECT_TRUE(bytesOf(dir / "a.wav") == bytesOf(dir / "b.wav"));
    ASSERT_EQ(runRenderer({"-q", in, dir / "c.wav"}).status, 0);
    EXPECT_FALSE(bytesOf(dir / "a.wav") == bytesOf(dir / "c.wav"));
}

TEST(PresetRender, ABanksProgramsAreChosenByNumber) {
    ScratchDir dir;
    const std::string in = signal(dir);
    // A bank whose program 3 holds the shelf, saved as a host would save a session.
    const RunResult made = runRenderer(shelf("-5") + std::vector<std::string>{"--program", "3", "--save-state",
                                                                               dir / "bank.fwb"});
    ASSERT_EQ(made.status, 0) << made.err;
    ASSERT_EQ(runRenderer(shelf("-5") + std::vector<std::string>{"-q", in, dir / "shelf.wav"}).status, 0);
    ASSERT_EQ(runRenderer({"-q", "--bank", dir / "bank.fwb", "--program", "3", in, dir / "p3.wav"}).status, 0);
    ASSERT_EQ(runRenderer({"-q", "--bank", dir / "bank.fwb", "--program", "1", in, dir / "p1.wav"}).status, 0);
    ASSERT_EQ(runRenderer({"-q", in, dir / "flat.wav"}).status, 0);
    EXPECT_TRUE(bytesOf(dir / "p3.wav") == bytesOf(dir / "shelf.wav"));
    EXPECT_TRUE(bytesOf(dir / "p1.wav") == bytesOf(dir / "flat.wav"));
    // Without --program the bank's own current program plays.
    ASSERT_EQ(runRenderer({"-q", "--bank", dir / "bank.fwb", in, dir / "cur.wav"}).status, 0);
    EXPECT_TRUE(bytesOf(dir / "cur.wav") == bytesOf(dir / "shelf.wav"));
}

TEST(PresetRender, TheListShowsTheProgramsAndTheSortedFolder) {
    const std::string folder = presetFolder();
    std::filesystem::create_directories(folder + "Mastering");
    ASSERT_EQ(runRenderer(shelf("2") + std::vector<std::string>{"--save-preset", folder + "Mastering/10 Dark.fwi"})
                  .status,
              0);
    ASSERT_EQ(runRenderer(shelf("1") + std::vector<std::string>{"--save-preset", folder + "Mastering/2 Bright.fwi"})
                  .status,
              0);
    ASSERT_EQ(runRenderer(shelf("1") + std::vector<std::string>{"--save-preset", folder + "Air.fwi"}).status, 0);
    std::ofstream(folder + "notes.txt") << "not a preset";
    std::ofstream(folder + "broken.fwi") << "{ damaged";
    const RunResult listed = runRenderer({"--list-presets"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out, " \n-\nAir\nbroken\nMastering/\n  2 Bright\n  10 Dark\n");
}

TEST(PresetRender, BadPresetAndBankFilesStopTheRendererBeforeAnythingIsWritten) {
    ScratchDir dir;
    const std::string in = signal(dir);
    std::ofstream(dir / "bad.fwi") << "ZIP garbage";
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--preset", dir / "bad.fwi"}, std::vector<std::string>{"--preset", dir / "none.fwi"},
          std::vector<std::string>{"--bank", dir / "bad.fwi"}}) {
        const RunResult r = runRenderer(args + std::vector<std::string>{in, dir / "out.wav"});
        EXPECT_EQ(r.status, 2) << args[1];
        EXPECT_NE(r.err.find(args[1]), std::string::npos) << r.err;
        EXPECT_FALSE(fileExists(dir / "out.wav"));
    }
    EXPECT_EQ(runRenderer({"--program", "21", "--save-state", dir / "s.fws"}).status, 2);
    const RunResult unwritable = runRenderer({"--save-preset", "/proc/no-such-place/p.fwi"});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_NE(unwritable.err.find("Failed to write to file /proc/no-such-place/p.fwi"), std::string::npos)
        << unwritable.err;
}
