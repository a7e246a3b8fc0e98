// Text from the glyph strips, judged against the strip image read here:
// each character's ink where its cell puts it, the next one after its ink
// width plus the strip's spacing (a blank, or a character the strip lacks,
// after 3), clipped exactly to the target and blended over what is there.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "gui/editor/PixelFont.h"
#include "gui/toolkit/CDIB.h"

using namespace VSTGUI;

namespace {

class PixelFontTest : public testing::TestWithParam<int32_t> {};
INSTANTIATE_TEST_SUITE_P(PixelFont, PixelFontTest, testing::Values(0, 1));

TEST_P(PixelFontTest, DrawsEachCharactersInkSpacedClippedAndBlended) {
    const PixelFont& font = GetParam() ? PixelFont::large() : PixelFont::small();
    const glyphs::StripFacts facts = glyphs::kStrips[GetParam()];
    const auto image = SharedPointer<CDIB>::adopt(CDIB::fromResource(facts.id));
    ASSERT_TRUE(image.get() && font.height() == image->height());
    // The target: a 40 x 16 window into a buffer with 12 pixels all round.
    constexpr int32_t kW = 40, kH = 16, kGuard = 12, kSpan = kW + 2 * kGuard;
    // `cells`: what the strip holds for each character, a blank for what it lacks. Where the
    // strip covers a pixel fully it becomes `full`; where not at all it stays `under`.
    const struct {
        const char *text, *cells;
        int32_t x, y;
        CColor colour = kWhiteCColor, under = kTransparentCColor, full = kWhiteCColor;
    } rows[] = {
        {"10k", "10k", 2, 3}, {"-12.5 dB", "-12.5 dB", 0, 0}, {"Hz", "Hz", -4, 2}, {"kHz", "kHz", 5, -5},
        {"W%a b", "W%a b", 30, 10}, {"?!", "  ", 3, 3}, {"2\xc2\xb5s", "2 s", 50, 0}, {"", "", 3, 3},
        {"0123456789", "0123456789", -30, 4}, {"xyz", "xyz", 1, 12},
        {"8", "8", 1, 1, {255, 255, 255, 128}, kBlackCColor, {128, 128, 128, 255}},
        {"8", "8", 1, 1, {255, 0, 0, 51}, {0, 100, 200, 0}, {51, 80, 160, 255}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " at " << row.x << "," << row.y);
        // The strip's coverage where each cell's ink lands inside the window, on the buffer's grid.
        std::vector<uint8_t> coverage(kSpan * (kH + 2 * kGuard), 0);
        int32_t pen = row.x;
        for (const char* c = row.cells; *c; ++c) {
            const int32_t cell = int32_t(glyphs::kCharacters.find(*c)) * facts.pitch;
            int32_t ink = *c == ' ' ? 3 : 0;
            for (int32_t i = 0; *c != ' ' && i < facts.pitch * image->height(); ++i) {
                const int32_t x = pen + i % facts.pitch, y = row.y + i / facts.pitch;
                const uint8_t a = image->getPixel(cell + i % facts.pitch, i / facts.pitch).alpha;
                if (a) ink = std::max(ink, i % facts.pitch + 1);
                if (x >= 0 && x < kW && y >= 0 && y < kH) coverage[size_t((y + kGuard) * kSpan + x + kGuard)] = a;
            }
            pen += ink + (c[1] ? facts.spacing() : 0);
        }
        EXPECT_EQ(font.textWidth(row.text), pen - row.x);
        std::vector<uint8_t> memory(coverage.size() * 4);
        SharedPointer<CDIB>::adopt(new CDIB(kSpan, kH + 2 * kGuard, memory.data(), kSpan * 4))->fill(row.under);
        auto target = SharedPointer<CDIB>::adopt(new CDIB(kW, kH, &memory[(kGuard * kSpan + kGuard) * 4], kSpan * 4));
        EXPECT_EQ(font.draw(*target.get(), row.text, row.x, row.y, row.colour), pen);
        // White over transparent black leaves the coverage itself, made opaque.
        const bool plain = row.colour == kWhiteCColor && row.under == kTransparentCColor;
        EXPECT_TRUE(plain || std::count(coverage.begin(), coverage.end(), 255) > 0);  // the blends are seen
        for (size_t i = 0; i < coverage.size(); ++i) {
            const uint8_t a = coverage[i], *p = &memory[4 * i];
            const CColor got{p[2], p[1], p[0], p[3]}, want = a == 0 ? row.under : a == 255 ? row.full : CColor{a, a, a, 255};
            ASSERT_TRUE(got == want || (!plain && a != 0 && a != 255)) << int(i) % kSpan - kGuard << "," << int(i) / kSpan - kGuard
                                                                       << ": " << int(a);
        }
    }
}

}  // namespace
