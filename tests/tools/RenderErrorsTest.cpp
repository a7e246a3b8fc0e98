// How fenwoldrine-render fails: one line on stderr starting with its name,
// exit status 2 for bad usage or input, 1 when the output cannot be written,
// control characters shown as escapes, and never a partial output file or a
// touched input.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>

#include "ToolTestSupport.h"

namespace {

class RenderErrorTest : public ::testing::Test {
protected:
    RenderErrorTest() {
        writeIntegerFile(input, 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, std::vector<int32_t>(2 * 4800, 1000));
    }

    // Expects status and a single stderr line with the program name and fragment.
    static void expectFailure(const RunResult& r, int status, const std::string& fragment) {
        EXPECT_EQ(r.status, status) << r.err;
        EXPECT_EQ(r.err.rfind("fenwoldrine-render: ", 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.err.find(fragment), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }

    // Every file in the directory with its bytes.
    std::map<std::string, std::string> snapshot() const {
        std::map<std::string, std::string> files;
        for (const std::string& name : dir.entries()) {
            std::ifstream in(dir / name, std::ios::binary);
            files[name] = std::string(std::istreambuf_iterator<char>(in), {});
        }
        return files;
    }

    ScratchDir dir;
    const std::string input = dir / "in.wav";
    const std::string output = dir / "out.wav";
};

}  // namespace

TEST_F(RenderErrorTest, EachBadCommandStopsBeforeWritingWithOneLine) {
    // Files to read: a state, a preset, damaged ones, a text, nine channels, links to the input.
    ASSERT_EQ(runRenderer({"--save-state", dir / "s.fws", "--save-preset", dir / "p.fwi"}).status, 0);
    std::ofstream(dir / "m.mid") << "MThd but not really";
    std::ofstream(dir / "garbage.fws") << "{ this is not a state";
    std::ofstream(dir / "array.fws") << "[1, 2, 3]";
    std::ofstream(dir / "zip.fws") << "ZIP \x78\x9c\x01\x02\x03";
    std::ofstream(dir / "bad.fwi") << "ZIP garbage";
    std::ofstream(dir / "notes.wav") << "not audio at all, just words\n";
    writeIntegerFile(dir / "nine.wav", 9, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, std::vector<int32_t>(900, 0));
    const std::string alias = dir / "alias.wav", hard = dir / "hard.wav", e = dir / "e.png", r = dir / "r.csv";
    ASSERT_EQ(symlink(input.c_str(), alias.c_str()), 0);
    ASSERT_EQ(link(input.c_str(), hard.c_str()), 0);
    const std::string elsewhere = dir / ("../" + std::filesystem::path(dir.path()).filename().string());

    struct Row {
        std::vector<std::string> args;
        int status;
        std::string shown;  // a fragment of stderr
    };
    const Row rows[] = {
        // The command line.
        {{"--volume", "11", input, output}, 2, "unknown option '--volume'"},
        {{}, 2, "missing INPUT and OUTPUT"},
        {{input}, 2, "missing OUTPUT"},
        {{input, output, "c"}, 2, "unexpected argument 'c'"},
        {{input, output, "--set"}, 2, "--set needs a value"},
        {{"--block", "0", input, output}, 2, "bad --block"},
        {{"--block", "8193", input, output}, 2, "bad --block"},
        {{"--block", "12.5", input, output}, 2, "bad --block"},
        {{"--tail", "-1", input, output}, 2, "bad --tail"},
        {{"--tail", "nan", input, output}, 2, "bad --tail"},
        {{"--bits", "12", input, output}, 2, "bad --bits"},
        {{"--format", "mp3", input, output}, 2, "bad --format"},
        {{"--rate", "12", "--list-params"}, 2, "bad --rate"},
        {{"--list-params", input}, 2, "takes no files"},
        {{"--rate", "44100", input, output}, 2, "the sample rate comes from the input file"},
        {{input, output, "--channels", "2"}, 2, "--channels does not apply here"},
        {{"--spectrum-source", "middle", input, output}, 2, "bad --spectrum-source 'middle'"},
        {{"--program", "21", "--save-state", dir / "t.fws"}, 2, "bad --program '21'"},
        {{"--snapshot-size", "800x600", input, output}, 2, "--snapshot-size needs --snapshot"},
        {{"--snapshot", e, "--snapshot-size", "80x60", input, output}, 2, "bad --snapshot-size '80x60'"},
        {{"--snapshot", e, "--snapshot-size", "wide", input, output}, 2, "bad --snapshot-size"},
        {{"--ui", "Layout/BandStrips=Knobs", input, output}, 2, "--ui needs --snapshot"},
        {{"--snapshot", e, "--ui", "Layout/BandStrips=Dials", input, output}, 2,
         "no choice \"Dials\" for Layout/BandStrips (choose Hide, Text, Knobs)"},
        {{"--snapshot", e, "--ui", "Layout/Nothing=1", input, output}, 2, "no setting \"Layout/Nothing\""},
        {{"--snapshot", e, "--ui", "BandStrips", input, output}, 2, "give CATEGORY/KEY=CHOICE"},
        {{"--format", "flac", "--bits", "float", input, dir / "out.flac"}, 2, "FLAC holds at most 24-bit samples"},
        {{"--bits", "32", input, dir / "out.flac", "--format=flac"}, 2, "FLAC"},
        // --response.
        {{"--response", "-", input, output}, 2, "--response takes no audio files"},
        {{"--response", "-", "--points", "1"}, 2, "bad --points '1'"},
        {{"--response", "-", "--channel", "3", "--channels", "2"}, 2, "--channel 3 is beyond --channels 2"},
        {{"--response", "-", "--channel", "2", "--channels", "2"}, 0, ""},
        {{"--response", "-", "--channel", "9"}, 2, "bad --channel '9'"},
        {{"--response", dir / "missing/curve.csv"}, 1, "cannot write"},
        // Assignments; a clamped value only warns.
        {{"--set", "Band1 Frequncy=1000", input, output}, 2,
         "unknown parameter 'Band1 Frequncy'; did you mean 'Band1 Frequency'"},
        {{"--list-params", "--set", "Gian=1"}, 2, "did you mean 'Gain'"},
        {{"--set", "Auto Gain=maybe", input, output}, 2, "'maybe'"},
        {{"--set", "Gain=-50 dB", input, output}, 0,
         "fenwoldrine-render: warning: Gain: -50 dB is outside the range -36.00 dB .. 36.00 dB"},
        // Inputs, states, presets, banks and MIDI files that cannot be used.
        {{dir / "absent.wav", output}, 2, "cannot open"},
        {{dir.path(), output}, 2, "is a directory"},
        {{dir / "notes.wav", output}, 2, "cannot read"},
        {{dir / "nine.wav", output}, 2, "has 9 channels; at most 8 are supported"},
        {{"--state", dir / "garbage.fws", input, output}, 2, "garbage.fws"},
        {{"--state", dir / "array.fws", input, output}, 2, "array.fws"},
        {{"--state", dir / "zip.fws", input, output}, 2, "zip.fws"},
        {{"--state", dir / "missing.fws", input, output}, 2, "missing.fws"},
        {{"--state", input, input, output}, 2, "not a saved state"},
        {{"--preset", dir / "bad.fwi", input, output}, 2, "bad.fwi"},
        {{"--preset", dir / "none.fwi", input, output}, 2, "none.fwi"},
        {{"--bank", dir / "bad.fwi", input, output}, 2, "bad.fwi"},
        {{"--midi", dir / "m.mid", input, output}, 2, "m.mid"},
        // Outputs that cannot be written.
        {{input, dir / "missing/out.wav"}, 1, "cannot write in"},
        {{"--save-state", dir / "no/such/folder/s.fws"}, 1, "cannot write state"},
        {{"--save-preset", "/proc/no-such-place/p.fwi"}, 1, "Failed to write to file /proc/no-such-place/p.fwi"},
        // No file is written over a file read or written.
        {{"--set", "Gain=-6", input, input}, 2, "is the input"},
        {{"--set", "Gain=-6", input, alias}, 2, "the output '" + alias + "' is the same file as the input"},
        {{input, hard}, 2, "is the same file as the input"},
        {{input, dir / "./in.wav"}, 2, "is the same file as the input"},
        {{input, output, "--save-state", input}, 2, "the --save-state file '" + input + "' is the input; nothing was"},
        {{input, output, "--spectrum", input}, 2, "the --spectrum file '" + input + "' is the input"},
        {{input, output, "--spectrum", output}, 2, "the --spectrum file '" + output + "' is the output"},
        {{input, output, "--save-preset", dir / "./out.wav"}, 2,
         "is the same file as the output '" + output + "'; nothing was written"},
        {{input, output, "--save-state", alias}, 2, "the --save-state file '" + alias + "' is the same file as the input"},
        {{input, output, "--state", dir / "s.fws", "--save-state", elsewhere + "/s.fws"}, 2, "as the --state file"},
        {{input, output, "--preset", dir / "p.fwi", "--save-preset", dir / "p.fwi"}, 2, "is the --preset file"},
        {{input, output, "--midi", dir / "m.mid", "--spectrum", elsewhere + "/m.mid"}, 2, "as the --midi file"},
        {{"--bank", dir / "p.fwi", "--save-preset", dir / "p.fwi"}, 2, "the --save-preset file"},
        {{"--response", r, "--save-state", r}, 2, "the --response file '" + r + "' is the --save-state file"},
        {{"--list-params", "--save-state", dir / "x", "--save-preset", elsewhere + "/x"}, 2, "as the --save-state file"},
        {{input, output, "--snapshot", output}, 2, "the --snapshot file '" + output + "' is the output"},
        {{"--response", "-", "--save-state", dir / "t.fws"}, 0, ""},
        // Control characters in what is echoed are shown as escapes.
        {{"--set", "Gain\x1b[2J=1", input, output}, 2, "unknown parameter 'Gain\\x1b[2J'"},
        {{"--set", "Gain=lo\nud", input, output}, 2, "'lo\\nud' is not a value of Gain"},
        {{"--set", "Gain=\xc2\x9b" "1", input, output}, 2, "'\\xc2\\x9b1' is not a value"},
        {{"--set", "G\xc3\xa4in=1", input, output}, 2, "unknown parameter 'G\xc3\xa4in'"},
        {{"--vol\tume", input, output}, 2, "unknown option '--vol\\tume'"},
        {{"--format", "w\x7fv", input, output}, 2, "bad --format 'w\\x7fv'"},
        {{dir / "a\rb.wav", output}, 2, "a\\rb.wav"},
        {{input, dir / "o\x1b]0;x\x07.wav"}, 0, "wrote '" + dir / "o\\x1b]0;x\\x07.wav'"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.shown);
        const std::map<std::string, std::string> before = snapshot();
        const RunResult r = runRenderer(row.args);
        auto inert = [](char c) { return c == '\n' || (uint8_t(c) >= 0x20 && uint8_t(c) != 0x7f); };
        EXPECT_TRUE(std::all_of(r.err.begin(), r.err.end(), inert)) << r.err;
        EXPECT_EQ(r.err.find("\xc2\x9b"), std::string::npos);
        if (row.status == 0) {
            EXPECT_EQ(r.status, 0) << r.err;
            EXPECT_NE(r.err.find(row.shown), std::string::npos) << r.err;
            continue;
        }
        expectFailure(r, row.status, row.shown);
        EXPECT_TRUE(snapshot() == before);
    }
    EXPECT_TRUE(fileExists(output));
    EXPECT_TRUE(fileExists(dir / "t.fws"));
    EXPECT_EQ(readCodes(input, 16), std::vector<int32_t>(2 * 4800, 1000));

    const RunResult help = runRenderer({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: fenwoldrine-render", 0), 0u);
    EXPECT_EQ(help.err, "");
}

// A file size limit makes writes fail as a full disk does, even for root.
TEST_F(RenderErrorTest, AFullDiskExitsWithOneAndRemovesThePartialFile) {
    writeIntegerFile(input, 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, std::vector<int32_t>(2 * 48000, 1000));
    RunLimits limits;
    limits.maxFileBytes = 64 * 1024;
    expectFailure(runRenderer({input, output}, limits), 1, "cannot write");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"in.wav"});
}

TEST_F(RenderErrorTest, SamplesThatAreNotFiniteAreNeverWritten) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInf = std::numeric_limits<double>::infinity();
    using Poison = std::vector<std::pair<int64_t, double>>;  // (interleaved index, value)
    struct Row { Poison poison; std::vector<std::string> args; int status; const char* message; };
    Poison burst;
    for (int64_t k = 0; k < 10; ++k) burst.emplace_back(2 * (24000 + k) + 1, kNaN);
    const Row rows[] = {
        {burst, {}, 0, "10 input samples were not finite (first at 0.500 s, channel 2); they were rendered as silence"},
        {{{100, kInf}}, {"--bits", "16"}, 0, "1 input sample was not finite (first at 0.001 s, channel 1)"},
        {{{7, -kInf}, {8, kNaN}}, {"--set", "Mode=FIR", "--tail", "0.1"}, 0, "2 input samples were not finite"},
        {burst, {"--strict", "--save-state", dir / "s.fws"}, 2,
         "10 input samples were not finite (first at 0.500 s, channel 2); --strict refuses such input"},
        {{}, {"--strict"}, 0, ""},
    };
    const std::string clean = dir / "clean.wav", floatIn = dir / "float.wav";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        std::filesystem::remove(output);
        Audio a = sineAudio(2, 48000, 48000, 0.5, 997.0);
        for (const auto& [at, value] : row.poison) a.samples[size_t(at)] = 0.0;
        writeFloatFile(clean, a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        for (const auto& [at, value] : row.poison) a.samples[size_t(at)] = value;
        writeFloatFile(floatIn, a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);

        std::vector<std::string> args = row.args;
        args.insert(args.end(), {"--quiet", floatIn, output});
        const RunResult r = runRenderer(args);
        if (row.status != 0) {
            expectFailure(r, row.status, row.message);
            EXPECT_FALSE(fileExists(output));
            EXPECT_FALSE(fileExists(dir / "s.fws"));
            continue;
        }
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find(row.message), std::string::npos) << r.err;
        EXPECT_EQ(r.err.empty(), row.poison.empty()) << r.err;
        // The render is that of the input with silence in place of the bad samples.
        const Audio got = readFile(output);
        EXPECT_TRUE(std::all_of(got.samples.begin(), got.samples.end(), [](double x) { return std::isfinite(x); }));
        args.back() = dir / "reference.wav";
        args[args.size() - 2] = clean;
        ASSERT_EQ(runRenderer(args).status, 0);
        EXPECT_EQ(got.samples, readFile(dir / "reference.wav").samples);
    }
}
