// Saved states, presets and banks from outside, as a user of the renderer
// meets them: what was saved renders bit for bit the same when loaded, a
// --set after a state wins, a bank's programs are chosen by number, and the
// preset menu lists the folder sorted.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "ToolTestSupport.h"

namespace {

std::string bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Noise and a sine, so every band has something to work on.
std::string writeSignal(const ScratchDir& dir) {
    Audio a = sineAudio(2, 44100, 22050, 0.4, 997.0);
    uint32_t seed = 12345;
    for (double& x : a.samples) {
        seed = seed * 1664525u + 1013904223u;
        x += 0.2 * (double(seed >> 8) / double(1u << 24) - 0.5);
    }
    writeFloatFile(dir / "in.wav", a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    return dir / "in.wav";
}

Strings shelf(const std::string& gain) {
    return {"--set", "Band1 State=On", "--set", "Band1 Type=HSh", "--set", "Band1 Gain=" + gain,
            "--set", "Band1 Frequency=300"};
}

// Renders in to dir/name with the options and returns the file's bytes.
std::string rendered(const ScratchDir& dir, const std::string& in, const Strings& options, const std::string& name) {
    const RunResult r = runRenderer(options + Strings{"-q", in, dir / name});
    EXPECT_EQ(r.status, 0) << r.err;
    return bytesOf(dir / name);
}

}  // namespace

TEST(StateRender, ASavedSessionRendersBitForBitWhenRestored) {
    for (const std::string mode : {"IIR", "FIR"}) {
        SCOPED_TRACE(mode);
        ScratchDir dir;
        const std::string in = writeSignal(dir);
        const Strings settings = {"--set", "Mode=" + mode, "--set", "Gain=-1.3", "--set", "Band2 State=On",
                                  "--set", "Band2 Type=HPF", "--set", "Band2 Frequency=30"};
        const std::string a = rendered(dir, in, settings + shelf("4.5") + Strings{"--save-state", dir / "s.fws"}, "a.wav");
        EXPECT_GT(a.size(), size_t(44100));
        EXPECT_TRUE(a == rendered(dir, in, {"--state", dir / "s.fws"}, "b.wav"));
        // The state does change the sound: without it the render differs.
        EXPECT_FALSE(a == rendered(dir, in, {}, "c.wav"));
    }
}

TEST(StateRender, SettingsAfterTheStateWinAndTheStateAloneCanBeWritten) {
    ScratchDir dir;
    ASSERT_EQ(runRenderer({"--save-state", dir / "s.fws", "--set", "Gain=3", "--set", "Band1 State=On"}).status, 0);
    const std::string chunk = bytesOf(dir / "s.fws");
    EXPECT_EQ(chunk.substr(0, 4), "ZIP ");
    // The state, then a --set over it: the same as making both settings anew.
    ASSERT_EQ(runRenderer({"--save-state", dir / "t.fws", "--state", dir / "s.fws", "--set", "Gain=-6"}).status, 0);
    ASSERT_EQ(runRenderer({"--save-state", dir / "u.fws", "--set", "Band1 State=On", "--set", "Gain=-6"}).status, 0);
    EXPECT_TRUE(bytesOf(dir / "t.fws") == bytesOf(dir / "u.fws"));
    EXPECT_FALSE(bytesOf(dir / "t.fws") == chunk);
}

TEST(PresetRender, APresetAndABanksProgramsRenderAsSaved) {
    ScratchDir dir;
    const std::string in = writeSignal(dir);
    const std::string flat = rendered(dir, in, {}, "flat.wav");
    const std::string saved = rendered(dir, in, shelf("4") + Strings{"--save-preset", dir / "p.fwi"}, "a.wav");
    EXPECT_FALSE(saved == flat);
    EXPECT_TRUE(saved == rendered(dir, in, {"--preset", dir / "p.fwi"}, "b.wav"));

    // A bank whose program 3 holds a shelf, saved as a host would save a session.
    const RunResult made = runRenderer(shelf("-5") + Strings{"--program", "3", "--save-state", dir / "bank.fwb"});
    ASSERT_EQ(made.status, 0) << made.err;
    const std::string lowered = rendered(dir, in, shelf("-5"), "shelf.wav");
    EXPECT_TRUE(rendered(dir, in, {"--bank", dir / "bank.fwb", "--program", "3"}, "p3.wav") == lowered);
    EXPECT_TRUE(rendered(dir, in, {"--bank", dir / "bank.fwb", "--program", "1"}, "p1.wav") == flat);
    // Without --program the bank's own current program plays.
    EXPECT_TRUE(rendered(dir, in, {"--bank", dir / "bank.fwb"}, "cur.wav") == lowered);
}

TEST(PresetRender, TheListShowsTheProgramsAndTheSortedFolder) {
    // The preset folder of the renderer runs: inside the test program's own home.
    const char* data = std::getenv("XDG_DATA_HOME");
    const std::string folder = std::string(data != nullptr ? data : "") + "/Kestrawn/Fenwoldrine/Presets/";
    std::filesystem::create_directories(folder + "Mastering");
    for (const char* name : {"Mastering/10 Dark.fwi", "Mastering/2 Bright.fwi", "Air.fwi"})
        ASSERT_EQ(runRenderer(shelf("2") + Strings{"--save-preset", folder + name}).status, 0);
    std::ofstream(folder + "notes.txt") << "not a preset";
    std::ofstream(folder + "broken.fwi") << "{ damaged";
    const RunResult listed = runRenderer({"--list-presets"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out, " \n-\nAir\nbroken\nMastering/\n  2 Bright\n  10 Dark\n");
}
