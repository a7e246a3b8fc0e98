// Text: UTF-8 decoding, measurement against the fonts' own metrics (read
// here straight from the font files with stb_truetype) and where drawn
// strings land.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <stb/stb_truetype.h>

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/FontCache.h"
#include "resources/ResourceTable.h"

using namespace VSTGUI;

namespace {

std::vector<char32_t> decodeAll(const char* s) {
    std::vector<char32_t> out;
    for (char32_t c = nextCodepoint(s); c != 0; c = nextCodepoint(s)) out.push_back(c);
    return out;
}

// The font as stored, for an independent reading of its metrics.
struct RawFont {
    stbtt_fontinfo info{};
    explicit RawFont(const char* name) {
        const ResourceData r = findResource(name, "TTF");
        EXPECT_NE(r.data, nullptr) << name;
        if (r.data) {
            EXPECT_TRUE(stbtt_InitFont(&info, r.data, stbtt_GetFontOffsetForIndex(r.data, 0)));
        }
    }
    float scale(float emPixels) const { return stbtt_ScaleForMappingEmToPixels(&info, emPixels); }
    int advance(int c) const {
        int adv = 0, lsb = 0;
        stbtt_GetCodepointHMetrics(&info, c, &adv, &lsb);
        return adv;
    }
};

// Columns and rows of a bitmap where any pixel differs from black.
struct Ink {
    int left = 1 << 30, right = -1, top = 1 << 30, bottom = -1;  // right, bottom exclusive
};

Ink inkOf(const CDIB* dib, int threshold = 40) {
    Ink ink;
    for (int y = 0; y < dib->height(); ++y)
        for (int x = 0; x < dib->width(); ++x)
            if (dib->getPixel(x, y).red >= threshold) {
                ink.left = std::min(ink.left, x);
                ink.right = std::max(ink.right, x + 1);
                ink.top = std::min(ink.top, y);
                ink.bottom = std::max(ink.bottom, y + 1);
            }
    return ink;
}

}  // namespace

TEST(Utf8, DecodesValidSequencesAndReplacesMalformedOnes) {
    EXPECT_EQ(decodeAll("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xB5"), (std::vector<char32_t>{'A', 0xE9, 0x20AC, 0x1F3B5}));
    constexpr char32_t R = 0xFFFD;
    EXPECT_EQ(decodeAll("\x80z"), (std::vector<char32_t>{R, 'z'}));                      // stray continuation
    EXPECT_EQ(decodeAll("\xC0\xAF"), (std::vector<char32_t>{R, R}));                      // overlong
    EXPECT_EQ(decodeAll("\xE0\x80\xAF"), (std::vector<char32_t>{R, R, R}));               // overlong, 3 bytes
    EXPECT_EQ(decodeAll("\xED\xA0\x80!"), (std::vector<char32_t>{R, R, R, '!'}));         // surrogate
    EXPECT_EQ(decodeAll("\xF4\x90\x80\x80"), (std::vector<char32_t>{R, R, R, R}));        // above U+10FFFF
    EXPECT_EQ(decodeAll("ab\xE2\x82"), (std::vector<char32_t>{'a', 'b', R, R}));          // cut short by the end

    // Random bytes measure and draw without harm.
    auto* dib = new CDIB(64, 16);
    auto* context = new CDrawContext(dib);
    uint32_t seed = 12345;
    for (int i = 0; i < 300; ++i) {
        char text[24];
        for (int k = 0; k < 23; ++k) {
            seed = seed * 1664525u + 1013904223u;
            text[k] = static_cast<char>((seed >> 24) | 1);  // never NUL
        }
        text[23] = 0;
        const CCoord w = context->getStringWidth(text);
        ASSERT_TRUE(std::isfinite(w) && w >= 0);
        context->drawString(text, CRect(0, 0, 64, 16), kLeftText);
    }
    context->forget();
    dib->forget();
}

TEST(TextMetrics, WidthsAreTheFontsAdvancesAndKerning) {
    const char* sample = "AVATAR Wavy To 1.20 kHz";
    struct Case {
        const char* name;
        float size;
    };
    for (const Case& c : {Case{"OpenSans-Regular", 11}, Case{"FUTURAB", 12}, Case{"FUTURAB", 17.5f}}) {
        RawFont raw(c.name);
        const float scale = raw.scale(c.size);
        int units = 0, kerning = 0;
        for (const char* p = sample; *p; ++p) {
            units += raw.advance(*p);
            if (p != sample) kerning += stbtt_GetCodepointKernAdvance(&raw.info, p[-1], p[0]);
        }
        if (std::string(c.name) == "FUTURAB") {
            EXPECT_NE(kerning, 0) << "the sample should exercise kerning";
        }
        CFontDesc font(c.name, c.size);
        // Float sums in a different order: a hundredth of a pixel is plenty.
        EXPECT_NEAR(font.getStringWidth(sample), (units + kerning) * scale, 0.01) << c.name << " " << c.size;

        int ascent = 0, descent = 0, gap = 0;
        stbtt_GetFontVMetrics(&raw.info, &ascent, &descent, &gap);
        const CFontMetrics m = font.getMetrics();
        EXPECT_NEAR(m.ascent, ascent * scale, 1e-3);
        EXPECT_NEAR(m.descent, -descent * scale, 1e-3);
    }
    // Unknown names fall back to the text face.
    EXPECT_FLOAT_EQ(CFontDesc("NoSuchFace", 11).getStringWidth(sample), kNormalFont->getStringWidth(sample));
}

// The inked pixels of "HIH" sit where the font's side bearings and cap
// height put them. Tolerance across: 1.5 pixels, for the string's start
// rounded to a whole pixel (up to 1/2) and an edge pixel counted as ink
// once it is faintly covered (up to 1). Up and down: the baseline is
// exact, the cap height within a pixel (the vertical stretch that puts the
// x-height on a whole pixel moves it by less than half a pixel).
TEST(TextPlacement, AlignmentAndVerticalCentringMatchTheFont) {
    const char* text = "HIH";
    RawFont raw("OpenSans-Regular");
    const float scale = raw.scale(11);
    int advance = 0, lsb = 0, x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    stbtt_GetCodepointHMetrics(&raw.info, 'H', &advance, &lsb);
    stbtt_GetCodepointBox(&raw.info, 'H', &x0, &y0, &x1, &y1);
    const float leftBearing = static_cast<float>(lsb) * scale;
    const float rightBearing = static_cast<float>(advance - x1) * scale;
    const float capHeight = static_cast<float>(y1) * scale;
    int ascent = 0, descent = 0, gap = 0;
    stbtt_GetFontVMetrics(&raw.info, &ascent, &descent, &gap);

    const CRect box(20, 5, 180, 35);
    const float width = kNormalFont->getStringWidth(text);
    const float baseline = std::round(box.top + (box.height() - (ascent - descent) * scale) / 2 + ascent * scale);
    struct Case {
        CHoriTxtAlign align;
        float start;
    };
    for (const Case& c : {Case{kLeftText, box.left}, Case{kCenterText, box.left + (box.width() - width) / 2},
                          Case{kRightText, box.right - width}}) {
        auto* dib = new CDIB(200, 40);
        dib->fill(kBlackCColor);
        auto* context = new CDrawContext(dib);
        context->setFont(kNormalFont);
        context->setFontColor(kWhiteCColor);
        context->drawString(text, box, c.align);
        const Ink ink = inkOf(dib);
        EXPECT_NEAR(ink.left, c.start + leftBearing, 1.5) << "align " << c.align;
        EXPECT_NEAR(ink.right, c.start + width - rightBearing, 1.5) << "align " << c.align;
        EXPECT_EQ(ink.bottom, baseline) << "flat letters stand on the whole-pixel baseline";
        EXPECT_NEAR(ink.top, baseline - capHeight, 1.0);
        context->forget();
        dib->forget();
    }

    // Placed by its baseline with drawStringAt, and cut by the clip.
    auto* dib = new CDIB(200, 40);
    dib->fill(kBlackCColor);
    auto* context = new CDrawContext(dib);
    context->setFont(kNormalFont);
    context->setFontColor(kWhiteCColor);
    context->drawStringAt(text, CPoint(10, 30));
    EXPECT_EQ(inkOf(dib).bottom, 30);
    EXPECT_NEAR(inkOf(dib).left, 10 + leftBearing, 1.5);
    dib->fill(kBlackCColor);
    context->setClipRect(CRect(0, 0, 100, 40));
    context->drawString(text, CRect(60, 5, 140, 35));
    EXPECT_EQ(inkOf(dib).right, 100);
    context->forget();
    dib->forget();
}
