// How fenwoldrine-render fails: one line on stderr starting with its name,
// exit status 2 for bad usage or input, 1 when the output cannot be written,
// and never a partial output file or a touched input.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

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
