// Saved states from outside: a session saved with --save-state and restored
// with --state renders bit for bit the same, and a file that is not a state
// stops the renderer before anything is written.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>

#include "ToolTestSupport.h"

namespace {

constexpr int32_t kRate = 44100;

std::vector<uint8_t> bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Noise and a sine, so every band has something to work on.
std::string writeSignal(const ScratchDir& dir) {
    Audio a = sineAudio(2, kRate, kRate / 2, 0.4, 997.0);
    uint32_t seed = 12345;
    for (double& x : a.samples) {
        seed = seed * 1664525u + 1013904223u;
        x += 0.2 * (double(seed >> 8) / double(1u << 24) - 0.5);
    }
    const std::string path = dir / "in.wav";
    writeFloatFile(path, a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    return path;
}

std::vector<std::string> settings(const std::string& mode) {
    return {"--set", "Mode=" + mode,        "--set", "Gain=-1.3",          "--set", "Band1 State=On",
            "--set", "Band1 Gain=4.5",      "--set", "Band1 Frequency=180", "--set", "Band1 Q=0.8",
            "--set", "Band2 State=On",      "--set", "Band2 Type=HSh",     "--set", "Band2 Gain=-2",
            "--set", "Band2 Frequency=9000", "--set", "Band3 State=On",     "--set", "Band3 Type=HPF",
            "--set", "Band3 Frequency=30"};
}

}  // namespace

TEST(StateRender, ASavedSessionRendersBitForBitWhenRestored) {
    for (const std::string mode : {"IIR", "FIR"}) {
        ScratchDir dir;
        const std::string in = writeSignal(dir);
        std::vector<std::string> first = settings(mode);
        const std::vector<std::string> rest = {"-q", "--save-state", dir / "session.fws", in, dir / "a.wav"};
        first.insert(first.end(), rest.begin(), rest.end());
        const RunResult saved = runRenderer(first);
        ASSERT_EQ(saved.status, 0) << saved.err;

        const RunResult restored =
            runRenderer({"-q", "--state", dir / "session.fws", in, dir / "b.wav"});
        ASSERT_EQ(restored.status, 0) << restored.err;
        const std::vector<uint8_t> a = bytesOf(dir / "a.wav");
        EXPECT_GT(a.size(), size_t(kRate));
        EXPECT_TRUE(a == bytesOf(dir / "b.wav")) << mode;

        // The state does change the sound: without it the render differs.
        ASSERT_EQ(runRenderer({"-q", in, dir / "c.wav"}).status, 0);
        EXPECT_FALSE(a == bytesOf(dir / "c.wav")) << mode;
    }
}

TEST(StateRender, SettingsAfterTheStateWinAndTheStateAloneCanBeWritten) {
    ScratchDir dir;
    ASSERT_EQ(runRenderer({"--save-state", dir / "s.fws", "--set", "Gain=3", "--set", "Band1 State=On"}).status, 0);
    const std::vector<uint8_t> chunk = bytesOf(dir / "s.fws");
    ASSERT_GE(chunk.size(), 4u);
    EXPECT_EQ(std::string(chunk.begin(), chunk.begin() + 4), "ZIP ");

    // The state, then a --set over it: the same as making both settings anew.
    ASSERT_EQ(runRenderer({"--save-state", dir / "t.fws", "--state", dir / "s.fws", "--set", "Gain=-6"}).status, 0);
    ASSERT_EQ(runRenderer({"--save-state", dir / "u.fws", "--set", "Band1 State=On", "--set", "Gain=-6"}).status, 0);
    EXPECT_TRUE(bytesOf(dir / "t.fws") == bytesOf(dir / "u.fws"));
    EXPECT_FALSE(bytesOf(dir / "t.fws") == chunk);
}

TEST(StateRender, FilesThatAreNotStatesAreRefusedBeforeAnythingIsWritten) {
    ScratchDir dir;
    const std::string in = writeSignal(dir);
    std::ofstream(dir / "garbage.fws") << "{ this is not a state";
    std::ofstream(dir / "array.fws") << "[1, 2, 3]";
    std::ofstream(dir / "zip.fws") << "ZIP \x78\x9c\x01\x02\x03";
    for (const std::string bad : {"garbage.fws", "array.fws", "zip.fws", "missing.fws"}) {
        const RunResult r = runRenderer({"--state", dir / bad, in, dir / "out.wav"});
        EXPECT_EQ(r.status, 2) << bad;
        EXPECT_NE(r.err.find(bad), std::string::npos) << r.err;
        EXPECT_FALSE(fileExists(dir / "out.wav")) << bad;
    }
    const RunResult audio = runRenderer({"--state", in, in, dir / "out.wav"});
    EXPECT_EQ(audio.status, 2);
    EXPECT_NE(audio.err.find("not a saved state"), std::string::npos) << audio.err;

    const RunResult unwritable = runRenderer({"--save-state", dir / "no/such/folder/s.fws"});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_NE(unwritable.err.find("cannot write state"), std::string::npos) << unwritable.err;
}
