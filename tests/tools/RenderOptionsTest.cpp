// The command line: the spellings it accepts and the usage errors that the
// end-to-end tests do not already reach.

#include <gtest/gtest.h>

#include "tools/render/RenderError.h"
#include "tools/render/RenderOptions.h"

namespace {

// The message of the usage error parsing throws, or "" when it does not.
std::string usageFailure(const std::vector<std::string>& args) {
    try {
        parseCommandLine(args);
    } catch (const RenderError& e) {
        EXPECT_EQ(e.status(), ExitStatus::kUsage);
        return e.what();
    }
    return "";
}

}  // namespace

TEST(RenderOptions, ValuesTakeBothSpellingsAndOptionsGoAnywhere) {
    const RenderOptions plain = parseCommandLine({"in.wav", "out.wav"});
    EXPECT_EQ(plain.block, 512);
    EXPECT_TRUE(plain.dither);

    const RenderOptions o = parseCommandLine({"--set", "Gain=-6", "in.flac", "--format=wav", "--bits", "16",
                                              "--set=Band1 Frequency=1 kHz", "out.wav", "--block=8192",
                                              "--tail", "1.5", "--no-dither", "--quiet"});
    EXPECT_EQ(o.input, "in.flac");
    EXPECT_EQ(o.output, "out.wav");
    EXPECT_EQ(o.assignments, (std::vector<std::string>{"Gain=-6", "Band1 Frequency=1 kHz"}));
    EXPECT_EQ(o.format, Container::kWav);
    EXPECT_EQ(o.bits, WordLength::kPcm16);
    EXPECT_EQ(o.block, 8192);
    EXPECT_DOUBLE_EQ(o.tailSeconds, 1.5);
    EXPECT_FALSE(o.dither);
    EXPECT_TRUE(o.quiet);
    EXPECT_EQ(parseCommandLine({"--", "--odd-name.wav", "out.wav"}).input, "--odd-name.wav");
}

TEST(RenderOptions, ListingNeedsNoFilesAndTakesARate) {
    const RenderOptions list = parseCommandLine({"--list-params", "--rate", "96000", "--set", "Scale=12"});
    EXPECT_TRUE(list.listParams);
    EXPECT_EQ(list.rate, 96000.0);
    EXPECT_NE(usageFailure({"--list-params", "in.wav"}).find("takes no files"), std::string::npos);
}

TEST(RenderOptions, RejectsMalformedValuesAndArguments) {
    EXPECT_NE(usageFailure({"a", "b", "c"}).find("unexpected argument 'c'"), std::string::npos);
    EXPECT_NE(usageFailure({"in.wav", "out.wav", "--set"}).find("--set needs a value"), std::string::npos);
    EXPECT_NE(usageFailure({"--block", "8193", "a", "b"}).find("bad --block"), std::string::npos);
    EXPECT_NE(usageFailure({"--block", "12.5", "a", "b"}).find("bad --block"), std::string::npos);
    EXPECT_NE(usageFailure({"--tail", "-1", "a", "b"}).find("bad --tail"), std::string::npos);
    EXPECT_NE(usageFailure({"--tail", "nan", "a", "b"}).find("bad --tail"), std::string::npos);
    EXPECT_NE(usageFailure({"--rate", "12", "--list-params"}).find("bad --rate"), std::string::npos);
}
