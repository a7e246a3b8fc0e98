// Word-length reduction (the quantiser and its TPDF dither) and the output
// format planned from the input's and the options.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <limits>

#include "tools/render/Dither.h"
#include "tools/render/RenderError.h"
#include "tools/render/SoundFormat.h"

TEST(Quantiser, RoundsClampsAndLeftJustifiesEveryLength) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    struct Row {
        int32_t bits;
        double x;
        int64_t code;  // at the word length, before justification
        bool clipped;
    };
    const Row rows[] = {
        {16, 1000.0 / 32768.0, 1000, false}, {16, -1.0, -32768, false},       {16, 10.4 / 32768.0, 10, false},
        {16, 10.6 / 32768.0, 11, false},     {16, -10.6 / 32768.0, -11, false}, {16, 1.0, 32767, true},
        {16, -1.5, -32768, true},            {16, kInf, 32767, true},          {16, -kInf, -32768, true},
        {8, -0.5, -64, false},               {24, 0.25, 1 << 21, false},       {32, -0.5, -(1 << 30), false},
        {32, 2.0, std::numeric_limits<int32_t>::max(), true},                  {24, NAN, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.bits) + " bits, " + std::to_string(row.x));
        Quantiser q(row.bits, false);
        EXPECT_EQ(q.quantise(row.x), int32_t(row.code * (int64_t(1) << (32 - row.bits))));
        EXPECT_EQ(q.clippedCount(), row.clipped ? 1 : 0);
        EXPECT_EQ(q.notNumberCount(), std::isnan(row.x) ? 1 : 0);
    }
}

TEST(Quantiser, DitherIsATriangleOverOneLsbEachSide) {
    TpdfDither d;
    constexpr int kDraws = 200000;
    double sum = 0.0, squares = 0.0;
    int inner = 0;  // |x| < 0.5 holds 3/4 of a triangle over (-1, 1)
    for (int k = 0; k < kDraws; ++k) {
        const double x = d.next();
        ASSERT_GT(x, -1.0);
        ASSERT_LT(x, 1.0);
        sum += x;
        squares += x * x;
        inner += std::fabs(x) < 0.5;
    }
    EXPECT_NEAR(sum / kDraws, 0.0, 0.01);
    EXPECT_NEAR(squares / kDraws, 1.0 / 6.0, 0.005);
    EXPECT_NEAR(double(inner) / kDraws, 0.75, 0.01);
    // Not a number is silence, dithered or not.
    Quantiser dithered(16, true);
    EXPECT_LE(std::abs(dithered.quantise(NAN) >> 16), 1);
}

TEST(OutputPlan, FollowsTheInputUnlessTheOptionsSayOtherwise) {
    struct Row {
        int32_t input;
        std::optional<Container> container;
        std::optional<WordLength> bits;
        bool ditherWanted;
        int32_t format;  // 0 when refused
        bool dither;
    };
    const Row rows[] = {
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_24, {}, {}, true, SF_FORMAT_AIFF | SF_FORMAT_PCM_24, false},
        {SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, Container::kWav, {}, true, SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac, {}, true, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, false},
        {SF_FORMAT_FLAC | SF_FORMAT_PCM_24, Container::kW64, WordLength::kFloat, true, SF_FORMAT_W64 | SF_FORMAT_FLOAT,
         false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, Container::kAiff, {}, true, SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, false},
        {SF_FORMAT_CAF | SF_FORMAT_ALAC_20, Container::kWav, {}, true, SF_FORMAT_WAV | SF_FORMAT_PCM_24, false},
        // Dither only when an integer word gets shorter, and only when wanted.
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, {}, WordLength::kPcm32, true, SF_FORMAT_WAV | SF_FORMAT_PCM_32, true},
        {SF_FORMAT_WAV | SF_FORMAT_DOUBLE, {}, WordLength::kPcm16, true, SF_FORMAT_WAV | SF_FORMAT_PCM_16, true},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kPcm16, true, SF_FORMAT_WAV | SF_FORMAT_PCM_16, true},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kPcm16, false, SF_FORMAT_WAV | SF_FORMAT_PCM_16, false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, {}, WordLength::kPcm16, true, SF_FORMAT_WAV | SF_FORMAT_PCM_16, false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, {}, WordLength::kPcm24, true, SF_FORMAT_WAV | SF_FORMAT_PCM_24, false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_24, {}, WordLength::kFloat, true, SF_FORMAT_WAV | SF_FORMAT_FLOAT, false},
        // FLAC holds at most 24-bit integers.
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, Container::kFlac, WordLength::kPcm24, true, SF_FORMAT_FLAC | SF_FORMAT_PCM_24,
         true},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac, WordLength::kFloat, true, 0, false},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, Container::kFlac, WordLength::kPcm32, true, 0, false},
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, Container::kFlac, {}, true, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(describeFormat(row.input) + " -> " + (row.format ? describeFormat(row.format) : "refused"));
        try {
            const OutputPlan p = planOutput(row.input, row.container, row.bits, row.ditherWanted, 2, 48000);
            EXPECT_EQ(p.format, row.format);
            EXPECT_EQ(p.dither, row.dither);
            EXPECT_EQ(p.kind, encodingOf(row.format).kind);
        } catch (const RenderError& e) {
            EXPECT_EQ(row.format, 0) << e.what();
            EXPECT_EQ(e.status(), ExitStatus::kUsage);
            EXPECT_NE(std::string(e.what()).find("FLAC holds at most 24-bit"), std::string::npos) << e.what();
        }
    }
}
