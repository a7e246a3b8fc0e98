// The editor's images as a program finds them: compiled in by the build
// from what fenwoldrine-artgen drew, loaded through CDIB::fromResource.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "gui/toolkit/CDIB.h"
#include "tools/artgen/ArtCatalogue.h"

using namespace VSTGUI;

namespace {

// One reference to an embedded image, released at the end of the scope.
struct Image {
    explicit Image(int32_t id) : dib(CDIB::fromResource(id)) {}
    ~Image() {
        if (dib) dib->forget();
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    CDIB* dib;
};

// Whether the w x h pixels at (xa, ya) equal those at (xb, yb).
bool same(const CDIB& d, int32_t xa, int32_t ya, int32_t xb, int32_t yb, int32_t w, int32_t h) {
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            if (d.getPixel(xa + x, ya + y) != d.getPixel(xb + x, yb + y)) return false;
    return true;
}

int32_t luma(const CColor& c) { return (2 * c.red + 5 * c.green + c.blue) / 8; }

// The brightest ink in a frame, weighed by its opacity.
int32_t brightest(const CDIB& d, int32_t frameHeight, int32_t frame) {
    int32_t best = 0;
    for (int32_t y = frame * frameHeight; y < (frame + 1) * frameHeight; ++y) {
        for (int32_t x = 0; x < d.width(); ++x) {
            const CColor c = d.getPixel(x, y);
            best = std::max(best, luma(c) * c.alpha / 255);
        }
    }
    return best;
}

}  // namespace

// Every image is compiled in at its size, each frame drawn; the frames of a
// button (2 to 8 of them) all differ.
TEST(ArtTest, EveryImageIsCompiledInAtItsSizeWithWholeFramesAllDrawnAndDistinct) {
    for (const art::ImageFacts& f : art::kImages) {
        SCOPED_TRACE(std::to_string(f.id) + " " + f.what);
        const Image image(f.id);
        ASSERT_NE(image.dib, nullptr);
        const CDIB& d = *image.dib;
        EXPECT_EQ(d.width(), f.width);
        EXPECT_EQ(d.height(), f.height);
        ASSERT_EQ(d.height() % f.frameHeight, 0);
        for (int32_t frame = 0; frame < f.frames(); ++frame) {
            bool drawn = false;
            for (int32_t y = frame * f.frameHeight; y < (frame + 1) * f.frameHeight && !drawn; ++y) {
                for (int32_t x = 0; x < d.width() && !drawn; ++x) drawn = d.getPixel(x, y).alpha != 0;
            }
            EXPECT_TRUE(drawn) << "frame " << frame << " is empty";
            for (int32_t other = frame + 1; other < f.frames() && f.frames() <= 8; ++other) {
                if (f.id == art::kBandGlyphs && frame == 5 && other == 6) continue;  // both notches
                EXPECT_FALSE(same(d, 0, frame * f.frameHeight, 0, other * f.frameHeight, d.width(), f.frameHeight))
                    << "frames " << frame << " and " << other;
            }
        }
    }
}

TEST(ArtTest, DisabledFramesAreDimmerThanNormalOnes) {
    for (const int32_t id : {504, 503, 505, 507}) {
        SCOPED_TRACE(id);
        const Image image(id);
        ASSERT_NE(image.dib, nullptr);
        const int32_t h = art::findImage(id)->frameHeight;
        EXPECT_LT(brightest(*image.dib, h, 2) + 40, brightest(*image.dib, h, 0));
    }
}

TEST(ArtTest, TiledAndSlicedImagesRepeatSeamlessly) {
    struct Case {
        int32_t id;
        bool alongX;      // tiled along x: every column alike; else every row alike
        int32_t from, to;  // the rows or columns that repeat; to = -1 for the last
    };
    const Case cases[] = {
        {900, true, 0, -1}, {213, true, 0, -1}, {807, false, 0, -1}, {601, false, 0, -1},
        {212, false, 0, -1}, {210, false, 50, 352},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        const Image image(c.id);
        ASSERT_NE(image.dib, nullptr);
        const CDIB& d = *image.dib;
        const int32_t last = c.to >= 0 ? c.to : (c.alongX ? d.width() : d.height()) - 1;
        for (int32_t i = c.from + 1; i <= last; ++i) {
            EXPECT_TRUE(c.alongX ? same(d, c.from, 0, i, 0, 1, d.height()) : same(d, 0, c.from, 0, i, d.width(), 1))
                << "differs at " << i;
        }
    }
    // The logo's right end continues the header's ground.
    const Image logo(901), ground(900);
    ASSERT_TRUE(logo.dib && ground.dib);
    for (int32_t y = 0; y < ground.dib->height(); ++y) {
        EXPECT_EQ(logo.dib->getPixel(logo.dib->width() - 1, y), ground.dib->getPixel(0, y)) << "row " << y;
    }
}

TEST(ArtTest, KnobFilmPointsOneDegreeFurtherEachFrame) {
    const Image film(art::kKnobFilm);
    ASSERT_NE(film.dib, nullptr);
    constexpr int32_t kSize = art::kKnobSize;
    for (const int32_t degrees : {0, 45, 135, 225, 300, 359}) {
        // The pointer is the only light part: its centre of brightness,
        // seen from the frame's centre, gives its angle.
        double sx = 0, sy = 0;
        for (int32_t y = 0; y < kSize; ++y) {
            for (int32_t x = 0; x < kSize; ++x) {
                const CColor c = film.dib->getPixel(x, degrees * kSize + y);
                const double weight = std::max(0, luma(c) - 110) * c.alpha / 255.0;
                sx += weight * (x + 0.5 - kSize / 2.0);
                sy += weight * (y + 0.5 - kSize / 2.0);
            }
        }
        double angle = std::atan2(sx, -sy) * 180 / std::numbers::pi;
        if (angle < 0) angle += 360;
        const double off = std::remainder(angle - degrees, 360.0);
        EXPECT_NEAR(off, 0.0, 1.5) << "frame " << degrees << " points at " << angle;
    }
}

TEST(ArtTest, KnobRingLeavesTheKnobVisibleAndBandArtIsGreyForTinting) {
    const Image ring(603);
    ASSERT_NE(ring.dib, nullptr);
    // The knob's cap: within 12 px of its centre at (17, 19).
    for (int32_t y = 7; y < 32; ++y) {
        for (int32_t x = 5; x < 30; ++x) {
            if (std::hypot(x + 0.5 - 17, y + 0.5 - 19) < 12) {
                EXPECT_EQ(ring.dib->getPixel(x, y).alpha, 0) << x << "," << y;
            }
        }
    }
    for (const int32_t id : {401, art::kBandGlyphs}) {
        const Image image(id);
        ASSERT_NE(image.dib, nullptr);
        for (int32_t y = 0; y < image.dib->height(); ++y) {
            for (int32_t x = 0; x < image.dib->width(); ++x) {
                const CColor c = image.dib->getPixel(x, y);
                ASSERT_TRUE(c.red == c.green && c.green == c.blue) << id << " at " << x << "," << y;
                // Each band glyph keeps to its block's glyph rows.
                const int32_t row = y % art::findImage(id)->frameHeight;
                if (id == art::kBandGlyphs && (row < art::kBandGlyphTop || row >= art::kBandGlyphTop + art::kBandGlyphRows)) {
                    ASSERT_EQ(c.alpha, 0) << "block " << y / 58 << " row " << row;
                }
            }
        }
    }
}

TEST(ArtTest, GlyphStripsHoldTheirCharactersInOrder) {
    const auto cellOf = [](char ch) { return static_cast<int32_t>(art::kGlyphCharacters.find(ch)); };
    for (const art::GlyphStripFacts& s : art::kGlyphStrips) {
        SCOPED_TRACE(s.id);
        const Image image(s.id);
        ASSERT_NE(image.dib, nullptr);
        const CDIB& d = *image.dib;
        const auto count = static_cast<int32_t>(art::kGlyphCharacters.size());
        ASSERT_EQ(d.width(), count * s.pitch);
        ASSERT_EQ(d.height(), s.cellHeight);
        std::vector<int32_t> widths(count, 0);
        std::vector<std::string> cells(count);
        for (int32_t i = 0; i < count; ++i) {
            for (int32_t y = 0; y < s.cellHeight; ++y) {
                for (int32_t x = 0; x < s.pitch; ++x) {
                    const CColor c = d.getPixel(i * s.pitch + x, y);
                    // Coverage in every channel; nothing in the spacing.
                    ASSERT_TRUE(c.red == c.alpha && c.green == c.alpha && c.blue == c.alpha);
                    if (x >= s.cellWidth) {
                        ASSERT_EQ(c.alpha, 0) << "cell " << i << " spills";
                    }
                    if (c.alpha) widths[i] = std::max(widths[i], x + 1);
                    cells[i].push_back(static_cast<char>(c.alpha));
                }
            }
            EXPECT_GT(widths[i], 0) << "cell " << i << " is empty";
            bool startsAtZero = false;
            for (int32_t y = 0; y < s.cellHeight; ++y) startsAtZero |= d.getPixel(i * s.pitch, y).alpha != 0;
            EXPECT_TRUE(startsAtZero) << "cell " << i;
        }
        for (int32_t i = 0; i < count; ++i) {
            for (int32_t j = i + 1; j < count; ++j) EXPECT_NE(cells[i], cells[j]) << "cells " << i << " and " << j;
        }
        for (const char narrow : {'1', '.', ':'}) {
            for (const char wide : {'W', 'M', '%'}) EXPECT_LT(widths[cellOf(narrow)], widths[cellOf(wide)]) << narrow << wide;
        }
    }
}
