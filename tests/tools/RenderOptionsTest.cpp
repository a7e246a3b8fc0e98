// The command line's spellings: --name=value and --name value, options
// anywhere, "--" before a file name that starts with a dash. Its usage
// errors are checked end to end in RenderErrorsTest.

#include <gtest/gtest.h>

#include "tools/render/RenderOptions.h"

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
    const RenderOptions list = parseCommandLine({"--list-params", "--rate", "96000"});
    EXPECT_TRUE(list.listParams);
    EXPECT_EQ(list.rate, 96000.0);
}
