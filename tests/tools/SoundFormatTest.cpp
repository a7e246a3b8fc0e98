// The output format chosen from the input's and the options, and the channel
// order that connects file channels to the effect's slots.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>

#include "tools/render/ChannelOrder.h"
#include "tools/render/RenderError.h"
#include "tools/render/SoundFormat.h"

namespace {

OutputPlan plan(int32_t input, std::optional<Container> c = {}, std::optional<WordLength> b = {},
                bool dither = true) {
    return planOutput(input, c, b, dither, 2, 48000);
}

}  // namespace

TEST(OutputPlan, KeepsTheInputFormatByDefault) {
    const OutputPlan p = plan(SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
    EXPECT_EQ(p.format, SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
    EXPECT_EQ(p.kind, SampleKind::kInteger);
    EXPECT_EQ(p.bits, 24);
    EXPECT_FALSE(p.dither);
    EXPECT_EQ(plan(SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, Container::kWav).format, SF_FORMAT_WAVEX | SF_FORMAT_FLOAT);
    EXPECT_EQ(plan(SF_FORMAT_CAF | SF_FORMAT_FLOAT).kind, SampleKind::kFloat);
}

TEST(OutputPlan, OptionsChangeContainerAndWordLength) {
    EXPECT_EQ(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac).format, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    EXPECT_EQ(plan(SF_FORMAT_FLAC | SF_FORMAT_PCM_24, Container::kW64, WordLength::kFloat).format,
              SF_FORMAT_W64 | SF_FORMAT_FLOAT);
    EXPECT_EQ(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_U8, Container::kAiff).format, SF_FORMAT_AIFF | SF_FORMAT_PCM_S8);
    EXPECT_EQ(plan(SF_FORMAT_CAF | SF_FORMAT_ALAC_20, Container::kWav).format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
}

TEST(OutputPlan, DithersOnlyWhenTheWordLengthShrinks) {
    EXPECT_TRUE(plan(SF_FORMAT_WAV | SF_FORMAT_FLOAT, {}, WordLength::kPcm32).dither);
    EXPECT_TRUE(plan(SF_FORMAT_WAV | SF_FORMAT_DOUBLE, {}, WordLength::kPcm16).dither);
    EXPECT_TRUE(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kPcm16).dither);
    EXPECT_FALSE(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kPcm16, false).dither);
    EXPECT_FALSE(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_16, {}, WordLength::kPcm16).dither);
    EXPECT_FALSE(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_16, {}, WordLength::kPcm24).dither);
    EXPECT_FALSE(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kFloat).dither);
}

TEST(OutputPlan, RefusesFlacWithoutRoomForTheSamples) {
    try {
        plan(SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac, WordLength::kFloat);
        ADD_FAILURE() << "FLAC accepted float samples";
    } catch (const RenderError& e) {
        EXPECT_EQ(e.status(), ExitStatus::kUsage);
        EXPECT_NE(std::string(e.what()).find("FLAC holds at most 24-bit"), std::string::npos);
    }
    EXPECT_THROW(plan(SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac, WordLength::kPcm32), RenderError);
    EXPECT_THROW(plan(SF_FORMAT_WAV | SF_FORMAT_FLOAT, Container::kFlac), RenderError);
    EXPECT_EQ(plan(SF_FORMAT_WAV | SF_FORMAT_FLOAT, Container::kFlac, WordLength::kPcm24).format,
              SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    EXPECT_EQ(describeFormat(SF_FORMAT_WAVEX | SF_FORMAT_FLOAT), "WAV 32-bit float");
}

TEST(ChannelOrder, FilePositionsReplaceTheHostIndices) {
    // 5.1 files run L R C LFE Ls Rs; the effect's slots run L R Ls Rs C LFE.
    const std::vector<ChannelSlot> slots = fileChannelLayout(6);
    ASSERT_EQ(slots.size(), 6u);
    const char* labels[] = {"Left", "Right", "Ls", "Rs", "Center", "LFE"};
    const int32_t positions[] = {0, 1, 4, 5, 2, 3};
    for (size_t s = 0; s < 6; ++s) {
        EXPECT_STREQ(slots[s].label, labels[s]);
        EXPECT_EQ(slots[s].hostIndex, positions[s]) << labels[s];
    }
    EXPECT_EQ(fileChannelLayout(3)[2].hostIndex, 2);  // L R C: Center is the third in the file too
    EXPECT_EQ(fileChannelLayout(4)[3].hostIndex, 3);  // Surr
}

TEST(ChannelOrder, EveryFileChannelReachesExactlyOneSlot) {
    for (int32_t n = 1; n <= 8; ++n) {
        const std::vector<ChannelSlot> slots = fileChannelLayout(n);
        ASSERT_EQ(int32_t(slots.size()), n);
        std::vector<int32_t> seen;
        for (const ChannelSlot& s : slots) {
            seen.push_back(s.hostIndex);
            EXPECT_EQ(fileChannelLabels(n)[size_t(s.hostIndex)], s.label);
        }
        std::sort(seen.begin(), seen.end());
        for (int32_t k = 0; k < n; ++k) EXPECT_EQ(seen[size_t(k)], k);
    }
    EXPECT_TRUE(fileChannelLayout(9).empty());
    EXPECT_TRUE(fileChannelLayout(0).empty());
}
