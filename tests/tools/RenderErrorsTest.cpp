// How fenwoldrine-render fails: one line on stderr starting with its name,
// exit status 2 for bad usage or input, 1 when the output cannot be written,
// and never a partial output file or a touched input.

#include <gtest/gtest.h>

#include <utility>
#include <vector>
#include <sys/stat.h>
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

    // Only the input is left in the directory.
    void expectNothingWritten() const {
        EXPECT_EQ(dir.entries(), std::vector<std::string>{"in.wav"});
        EXPECT_EQ(readCodes(input, 16), std::vector<int32_t>(2 * 4800, 1000));
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

TEST_F(RenderErrorTest, HelpGoesToStdout) {
    const RunResult r = runRenderer({"--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("usage: fenwoldrine-render", 0), 0u);
    EXPECT_EQ(r.err, "");
}

TEST_F(RenderErrorTest, BadCommandLinesExitWithTwo) {
    expectFailure(runRenderer({"--volume", "11", input, output}), 2, "unknown option '--volume'");
    expectFailure(runRenderer({}), 2, "missing INPUT and OUTPUT");
    expectFailure(runRenderer({input}), 2, "missing OUTPUT");
    expectFailure(runRenderer({"--block", "0", input, output}), 2, "bad --block");
    expectFailure(runRenderer({"--bits", "12", input, output}), 2, "bad --bits");
    expectFailure(runRenderer({"--format", "mp3", input, output}), 2, "bad --format");
    expectFailure(runRenderer({"--rate", "44100", input, output}), 2, "the sample rate comes from the input file");
    expectFailure(runRenderer({"--snapshot-size", "800x600", input, output}), 2, "--snapshot-size needs --snapshot");
    expectFailure(runRenderer({"--snapshot", dir / "e.png", "--snapshot-size", "80x60", input, output}), 2,
                  "bad --snapshot-size '80x60'");
    expectFailure(runRenderer({"--snapshot", dir / "e.png", "--snapshot-size", "wide", input, output}), 2,
                  "bad --snapshot-size");
    expectFailure(runRenderer({"--ui", "Layout/BandStrips=Knobs", input, output}), 2, "--ui needs --snapshot");
    for (const auto& [ui, says] : std::vector<std::pair<std::string, std::string>>{
             {"Layout/BandStrips=Dials", "no choice \"Dials\" for Layout/BandStrips (choose Hide, Text, Knobs)"},
             {"Layout/Nothing=1", "no setting \"Layout/Nothing\""},
             {"BandStrips", "give CATEGORY/KEY=CHOICE"}}) {
        expectFailure(runRenderer({"--snapshot", dir / "e.png", "--ui", ui, input, output}), 2, says);
    }
    expectNothingWritten();
}

TEST_F(RenderErrorTest, BadAssignmentsExitWithTwoBeforeWriting) {
    expectFailure(runRenderer({"--set", "Band1 Frequncy=1000", input, output}), 2,
                  "unknown parameter 'Band1 Frequncy'; did you mean 'Band1 Frequency'");
    expectFailure(runRenderer({"--set", "Gain=loud", input, output}), 2, "'loud' is not a value of Gain");
    expectFailure(runRenderer({"--set", "Mode=Turbo", input, output}), 2, "choose IIR, FIR");
    expectFailure(runRenderer({"--list-params", "--set", "Gian=1"}), 2, "did you mean 'Gain'");
    expectNothingWritten();
}

TEST_F(RenderErrorTest, ClampedValuesWarnButRender) {
    const RunResult r = runRenderer({"--set", "Gain=-50 dB", input, output});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("fenwoldrine-render: warning: Gain: -50 dB is outside the range -36.00 dB .. 36.00 dB"),
              std::string::npos)
        << r.err;
    EXPECT_TRUE(fileExists(output));
}

TEST_F(RenderErrorTest, UnusableInputsExitWithTwo) {
    expectFailure(runRenderer({dir / "absent.wav", output}), 2, "cannot open");
    expectFailure(runRenderer({dir.path(), output}), 2, "is a directory");

    const std::string text = dir / "notes.wav";
    FILE* f = std::fopen(text.c_str(), "w");
    std::fputs("not audio at all, just words\n", f);
    std::fclose(f);
    expectFailure(runRenderer({text, output}), 2, "cannot read");

    const std::string nine = dir / "nine.wav";
    writeIntegerFile(nine, 9, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, std::vector<int32_t>(9 * 100, 0));
    expectFailure(runRenderer({nine, output}), 2, "has 9 channels; at most 8 are supported");
    EXPECT_FALSE(fileExists(output));
}

TEST_F(RenderErrorTest, FlacCannotTakeFloatOrThirtyTwoBits) {
    expectFailure(runRenderer({"--format", "flac", "--bits", "float", input, dir / "out.flac"}), 2,
                  "FLAC holds at most 24-bit samples");
    expectFailure(runRenderer({"--bits", "32", input, dir / "out.flac", "--format=flac"}), 2, "FLAC");
    expectNothingWritten();
}

TEST_F(RenderErrorTest, TheInputIsNeverTheOutput) {
    expectFailure(runRenderer({"--set", "Gain=-6", input, input}), 2, "is the input");
    ASSERT_EQ(symlink(input.c_str(), (dir / "alias.wav").c_str()), 0);
    expectFailure(runRenderer({"--set", "Gain=-6", input, dir / "alias.wav"}), 2, "is the same file as the input");
    ASSERT_EQ(link(input.c_str(), (dir / "hard.wav").c_str()), 0);
    expectFailure(runRenderer({input, dir / "hard.wav"}), 2, "is the same file as the input");
    expectFailure(runRenderer({input, dir / "./in.wav"}), 2, "is the same file as the input");
    EXPECT_EQ(readCodes(input, 16), std::vector<int32_t>(2 * 4800, 1000));
}

TEST_F(RenderErrorTest, UnwritableOutputExitsWithOneAndLeavesNothing) {
    expectFailure(runRenderer({input, dir / "missing/out.wav"}), 1, "cannot write in");
    expectNothingWritten();
}

TEST_F(RenderErrorTest, ReadOnlyDirectoryExitsWithOne) {
    ScratchDir locked;
    RunLimits run;
    if (geteuid() == 0) {
        // Permissions do not hold back root: render as an ordinary user who may read the input.
        run.userId = kNobody;
        // The build may sit in a folder that user cannot enter (a private
        // temporary clone, say); then the case cannot be staged here.
        if (runRenderer({"--help"}, run).status != 0)
            GTEST_SKIP() << "the renderer cannot be run as an unprivileged user from this build folder";
        ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
        ASSERT_EQ(chmod(input.c_str(), 0644), 0);
    }
    ASSERT_EQ(chmod(locked.path().c_str(), 0555), 0);
    expectFailure(runRenderer({input, locked / "out.wav"}, run), 1, "Permission denied");
    EXPECT_TRUE(locked.entries().empty());
}

TEST_F(RenderErrorTest, FullDiskExitsWithOneAndRemovesThePartialFile) {
    // A file size limit makes writes fail as a full disk does, even for root.
    writeIntegerFile(input, 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, std::vector<int32_t>(2 * 48000, 1000));
    RunLimits limits;
    limits.maxFileBytes = 64 * 1024;
    const RunResult r = runRenderer({input, output}, limits);
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_NE(r.err.find("cannot write"), std::string::npos) << r.err;
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"in.wav"});
}

TEST_F(RenderErrorTest, NoFileIsWrittenOverAFileReadOrWritten) {
    // A state, a preset and a MIDI file to read; a link to the input.
    ASSERT_EQ(runRenderer({"--save-state", dir / "s.fws", "--save-preset", dir / "p.fwi"}).status, 0);
    std::ofstream(dir / "m.mid") << "MThd";
    ASSERT_EQ(symlink(input.c_str(), (dir / "alias.wav").c_str()), 0);
    const std::string elsewhere = dir / ("../" + std::filesystem::path(dir.path()).filename().string());
    struct Row { std::vector<std::string> args; std::string message; };  // message "" when the command is fine
    const std::string alias = dir / "alias.wav", r = dir / "r.csv";
    const Row rows[] = {
        {{input, output, "--save-state", input}, "the --save-state file '" + input + "' is the input"},
        {{input, output, "--spectrum", input}, "the --spectrum file '" + input + "' is the input"},
        {{input, output, "--spectrum", output}, "the --spectrum file '" + output + "' is the output"},
        {{input, output, "--save-preset", dir / "./out.wav"}, "is the same file as the output '" + output + "'"},
        {{input, output, "--save-state", alias}, "the --save-state file '" + alias + "' is the same file as the input"},
        {{input, output, "--state", dir / "s.fws", "--save-state", elsewhere + "/s.fws"}, "as the --state file"},
        {{input, output, "--preset", dir / "p.fwi", "--save-preset", dir / "p.fwi"}, "is the --preset file"},
        {{input, output, "--midi", dir / "m.mid", "--spectrum", elsewhere + "/m.mid"}, "as the --midi file"},
        {{"--bank", dir / "p.fwi", "--save-preset", dir / "p.fwi"}, "the --save-preset file"},
        {{"--response", r, "--save-state", r}, "the --response file '" + r + "' is the --save-state file"},
        {{"--list-params", "--save-state", dir / "x", "--save-preset", elsewhere + "/x"}, "as the --save-state file"},
        {{input, alias}, "the output '" + alias + "' is the same file as the input"},
        {{input, output, "--snapshot", output}, "the --snapshot file '" + output + "' is the output"},
        {{input, output, "--spectrum", "-"}, ""},
        {{"--response", "-", "--save-state", dir / "t.fws"}, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.args.back());
        const std::map<std::string, std::string> before = snapshot();
        const RunResult r = runRenderer(row.args);
        if (!row.message.empty()) {
            expectFailure(r, 2, row.message);
            EXPECT_NE(r.err.find("nothing was written"), std::string::npos);
            EXPECT_EQ(snapshot(), before);
        } else {
            EXPECT_EQ(r.status, 0) << r.err;
        }
    }
    EXPECT_TRUE(fileExists(output));
    EXPECT_TRUE(fileExists(dir / "t.fws"));
}

TEST_F(RenderErrorTest, ControlCharactersInMessagesAreShownAsEscapes) {
    struct Row { std::vector<std::string> args; int status; std::string shown; };
    const Row rows[] = {
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
        const RunResult r = runRenderer(row.args);
        EXPECT_EQ(r.status, row.status) << r.err;
        EXPECT_NE(r.err.find(row.shown), std::string::npos) << r.err;
        auto inert = [](char c) { return c == '\n' || (uint8_t(c) >= 0x20 && uint8_t(c) != 0x7f); };
        EXPECT_TRUE(std::all_of(r.err.begin(), r.err.end(), inert)) << r.err;
        EXPECT_EQ(r.err.find("\xc2\x9b"), std::string::npos);
    }
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
