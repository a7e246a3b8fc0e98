// Text from the glyph strips: widths as the strip's own ink gives them,
// ink kept to the text's box, colours blended as asked, clipping exact.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "gui/editor/PixelFont.h"
#include "gui/toolkit/CDIB.h"

using namespace VSTGUI;

namespace {

// A font and its strip image, read here independently of the font.
struct Strip {
    const PixelFont& font;
    glyphs::StripFacts facts;
    SharedPointer<CDIB> image = SharedPointer<CDIB>::adopt(CDIB::fromResource(facts.id));

    // A character's ink width (a blank is 3) and a pixel it fully covers.
    int32_t ink(char ch, CPoint* full = nullptr) const {
        const auto cell = static_cast<int32_t>(glyphs::kCharacters.find(ch)) * facts.pitch;
        int32_t width = ch == ' ' ? 3 : 0;
        for (int32_t y = 0; ch != ' ' && y < image->height(); ++y) {
            for (int32_t x = 0; x < facts.pitch; ++x) {
                const uint8_t c = image->getPixel(cell + x, y).alpha;
                if (c) width = std::max(width, x + 1);
                if (c == 255 && full) *full = CPoint(x, y);
            }
        }
        return width;
    }
};

const Strip& strip(int32_t which) {
    static const Strip strips[] = {{PixelFont::small(), glyphs::kSmall}, {PixelFont::large(), glyphs::kLarge}};
    return strips[which];
}

class PixelFontTest : public testing::TestWithParam<int32_t> {};
INSTANTIATE_TEST_SUITE_P(PixelFont, PixelFontTest, testing::Values(0, 1));

TEST_P(PixelFontTest, WidthIsTheInkOfEachCharacterPlusSpacing) {
    const Strip& s = strip(GetParam());
    ASSERT_NE(s.image.get(), nullptr);
    EXPECT_EQ(s.font.height(), s.image->height());
    // `cells`: what the strip holds for each character, a blank for what it lacks.
    const struct {
        const char *text, *cells;
    } rows[] = {{"10k", "10k"}, {"-12.5dB", "-12.5dB"}, {"W%", "W%"},   {"a b", "a b"},
                {" ", " "},     {"?!", "  "},           {"2\xc2\xb5s", "2 s"}, {"", ""}};
    for (const auto& row : rows) {
        int32_t expected = 0;
        for (const char* c = row.cells; *c; ++c) expected += s.ink(*c) + (c == row.cells ? 0 : s.facts.spacing());
        EXPECT_EQ(s.font.textWidth(row.text), expected) << row.text;
    }
}

TEST_P(PixelFontTest, DrawnTextStaysInItsBoxAndClipsExactly) {
    const Strip& s = strip(GetParam());
    constexpr int32_t kW = 40, kH = 16, kPad = 40, kGuard = 12, kSpan = kW + 2 * kGuard;
    constexpr CColor kInk{200, 150, 100, 255};
    const struct {
        const char* text;
        int32_t x, y;
    } rows[] = {{"10k", 2, 3},   {"-12.5 dB", 0, 0}, {"Hz", -4, 2}, {"kHz", 5, -5},
                {"1000", 30, 10}, {"W", 50, 0},       {"", 3, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const int32_t width = s.font.textWidth(row.text);
        // The text unclipped, with room all round: ink only in its box, opaque.
        auto whole = SharedPointer<CDIB>::adopt(new CDIB(kW + 2 * kPad, kH + 2 * kPad));
        EXPECT_EQ(s.font.draw(*whole.get(), row.text, row.x + kPad, row.y + kPad, kInk), row.x + kPad + width);
        int32_t inked = 0;
        for (int32_t y = 0; y < whole->height(); ++y) {
            for (int32_t x = 0; x < whole->width(); ++x) {
                const CColor c = whole->getPixel(x, y);
                if (c == kTransparentCColor) continue;
                ++inked;
                EXPECT_EQ(c.alpha, 255);
                ASSERT_TRUE(x >= row.x + kPad && x < row.x + kPad + width && y >= row.y + kPad &&
                            y < row.y + kPad + s.font.height()) << x << "," << y;
            }
        }
        EXPECT_EQ(inked > 0, *row.text != '\0');
        // At the edges of a small target, a window into a larger buffer:
        // exactly the part inside, nothing around it.
        std::vector<uint8_t> buffer(static_cast<size_t>(kSpan) * (kH + 2 * kGuard) * 4, 0);
        auto clipped = SharedPointer<CDIB>::adopt(new CDIB(kW, kH, &buffer[(kGuard * kSpan + kGuard) * 4], kSpan * 4));
        EXPECT_EQ(s.font.draw(*clipped.get(), row.text, row.x, row.y, kInk), row.x + width);
        for (int32_t y = -kGuard; y < kH + kGuard; ++y) {
            for (int32_t x = -kGuard; x < kW + kGuard; ++x) {
                const uint8_t* p = &buffer[((y + kGuard) * kSpan + x + kGuard) * 4];
                const bool inside = x >= 0 && x < kW && y >= 0 && y < kH;
                const CColor expected = inside ? whole->getPixel(x + kPad, y + kPad) : kTransparentCColor;
                ASSERT_EQ((CColor{p[2], p[1], p[0], p[3]}), expected) << x << "," << y;
            }
        }
    }
}

TEST_P(PixelFontTest, BlendsTheColourOverWhatIsThereWhereFullyCovered) {
    const Strip& s = strip(GetParam());
    CPoint full(-1, -1);
    s.ink('8', &full);
    ASSERT_GE(full.x, 0);
    const struct {
        CColor under, colour, result;
    } rows[] = {{kBlackCColor, kWhiteCColor, kWhiteCColor},
                {kBlackCColor, {255, 255, 255, 128}, {128, 128, 128, 255}},
                {{0, 0, 200, 0}, {200, 0, 0, 255}, {200, 0, 0, 255}},
                {{0, 100, 200, 0}, {255, 0, 0, 51}, {51, 80, 160, 255}},
                {kWhiteCColor, {0, 0, 0, 0}, kWhiteCColor}};
    for (const auto& row : rows) {
        auto dib = SharedPointer<CDIB>::adopt(new CDIB(16, 16));
        dib->fill(row.under);
        s.font.draw(*dib.get(), "8", 0, 0, row.colour);
        EXPECT_EQ(dib->getPixel(int32_t(full.x), int32_t(full.y)), row.result);
    }
}

TEST_P(PixelFontTest, DigitsDrawDistinctly) {
    std::vector<std::string> drawn;
    for (const char digit : std::string_view("0123456789")) {
        auto dib = SharedPointer<CDIB>::adopt(new CDIB(12, 12));
        strip(GetParam()).font.draw(*dib.get(), std::string(1, digit), 0, 0, kWhiteCColor);
        drawn.emplace_back(reinterpret_cast<const char*>(dib->pixels()), 12 * 12 * 4);
        EXPECT_EQ(std::count(drawn.begin(), drawn.end(), drawn.back()), 1) << digit;
    }
}

}  // namespace
