// Graph lines judged by their ink: white on black leaves each pixel's
// covered area in its red channel, rounded down (up to 1/255 short per
// touched pixel). The total must be width x length within 0.02 px², and
// each pixel the share of a 32 x 32 grid of its points inside the line
// within 0.03. Blends are judged by exact bytes, clipping by a guard band.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "gui/editor/GraphPixels.h"

using VSTGUI::CDIB;

namespace {

struct Canvas {  // a bitmap released at the end of the scope
    explicit Canvas(CDIB* made) : owner(VSTGUI::SharedPointer<CDIB>::adopt(made)), dib(*made) {}
    VSTGUI::SharedPointer<CDIB> owner;
    CDIB& dib;
};

struct Segment { float x0, y0, x1, y1, width; };

double sampledCoverage(const Segment& s, int x, int y) {
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0, length = std::hypot(dx, dy);
    int hits = 0;
    for (int i = 0; i < 32 * 32; ++i) {
        const double px = x + (i % 32 + 0.5) / 32 - s.x0, py = y + (i / 32 + 0.5) / 32 - s.y0;
        const double along = (px * dx + py * dy) / length, across = (px * dy - py * dx) / length;
        hits += along >= 0 && along <= length && std::abs(across) <= s.width / 2;
    }
    return hits / 1024.0;
}

TEST(GraphPixelsCoverage, InkIsTheCoveredArea) {
    const Segment segments[] = {
        {20.3f, 4.6f, 26.1f, 57.2f, 2},     {3.2f, 30.4f, 60.7f, 35.9f, 1},     {10, 10, 50, 50, 3},  // steep, shallow, 45°
        {50.5f, 12.25f, 12.5f, 50.25f, 1},  {30.2f, 30.3f, 30.7f, 30.9f, 0.5f},  // 45° backwards, under a pixel long
        {17.25f, 8.5f, 17.25f, 40.75f, 1},  {40.5f, 50, 40.5f, 20, 3},           // vertical, down and up
        {55.1f, 22.5f, 6.7f, 22.5f, 2},     {6.7f, 44.2f, 55.1f, 44.2f, 0.5f},   // horizontal, left and right
        {33.5f, 5, 33.502f, 60, 1},                                              // all but vertical
    };
    for (const Segment& s : segments) {
        SCOPED_TRACE(testing::Message() << s.x0 << "," << s.y0 << " to " << s.x1 << "," << s.y1 << " w " << s.width);
        Canvas c(new CDIB(64, 64));
        graphpix::drawAALine(c.dib, s.x0, s.y0, s.x1, s.y1, s.width, 255, 255, 255, 1.0f);
        EXPECT_TRUE(c.dib.dirty);
        double total = 0.0, touched = 0.0;  // in px², and the pixels touched, each up to 1/255 short
        for (int i = 0; i < 64 * 64; ++i) {
            const uint8_t* p = c.dib.pixels() + 4 * i;
            ASSERT_NEAR(p[2] / 255.0, sampledCoverage(s, i % 64, i / 64), 0.03 + 1 / 255.0) << i % 64 << "," << i / 64;
            total += p[2] / 255.0, touched += p[3] == 255;
        }
        const double area = s.width * std::hypot(s.x1 - s.x0, s.y1 - s.y0);
        EXPECT_TRUE(total <= area + 0.02 && total >= area - 0.02 - touched / 255.0) << total << " for " << area;
    }
}

TEST(GraphPixelsClipping, NothingIsWrittenOutsideTheBitmap) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    // Whether the line shows: 1 yes, 0 no, -1 either (so far out that rounding swallows the width).
    const struct { Segment s; int draws; } rows[] = {
        {{-30, -20, 45, 35, 3}, 1}, {{5.5f, -10, 5.5f, 10, 1}, 1}, {{-5, 7.5f, 90, 7.5f, 40}, 1},
        {{-1e6f, -1e6f, 1e6f, 1e6f, 2}, 1}, {{-40, 3, -2, 30, 2}, 0}, {{3, 3, 1e30f, 4, 1e30f}, 1},
        {{-1e30f, -1e30f, 1e30f, 1e30f, 2}, -1}, {{nan, 3, 10, 10, 1}, 0}, {{3, 3, 10, inf, 1}, 0}, {{3, 3, 10, 10, nan}, 0},
        {{3, 3, 10, 10, -1}, 0}, {{3, 3, 10, 10, inf}, 0}, {{5.5f, 2, 5.5f, 9, inf}, 0},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> memory(40 * 40 * 4, 0x5A);  // a 20 x 20 view in the middle of 40 x 40
        Canvas view(new CDIB(20, 20, memory.data() + (10 * 40 + 10) * 4, 40 * 4));
        graphpix::drawAALine(view.dib, row.s.x0, row.s.y0, row.s.x1, row.s.y1, row.s.width, 255, 255, 255, 1.0f);
        bool drewInside = false;
        for (int i = 0; i < 40 * 40; ++i) {
            const bool inView = i % 40 >= 10 && i % 40 < 30 && i / 40 >= 10 && i / 40 < 30;
            drewInside = drewInside || (inView && memory[4 * i + 3] == 255);
            for (int b = 0; b < 4 && !inView; ++b) ASSERT_EQ(0x5A, memory[4 * i + b]) << i % 40 << "," << i / 40;
        }
        EXPECT_TRUE(row.draws < 0 || (row.draws == 1) == drewInside) << row.s.x0 << "," << row.s.y0 << " w " << row.s.width;
    }
}

TEST(GraphPixelsColour, HsvToRgbBySector) {
    const struct { double hue, saturation, value; int red, green, blue; } rows[] = {
        {0, 1, 1, 255, 0, 0}, {60, 1, 1, 255, 255, 0}, {120, 1, 1, 0, 255, 0}, {180, 1, 1, 0, 255, 255}, {240, 1, 1, 0, 0, 255},
        {300, 1, 1, 255, 0, 255}, {30, 1, 1, 255, 128, 0}, {210, 0.5, 0.8, 102, 153, 204}, {77, 0, 0.5, 128, 128, 128},
        {-90, 1, 1, 128, 0, 255}, {420, 1, 1, 255, 255, 0}, {-360, 1, 1, 255, 0, 0}, {720, 1, 0.6, 153, 0, 0},
    };
    for (const auto& row : rows) {
        const graphpix::Rgb c = graphpix::hsvToRgb(row.hue, row.saturation, row.value);
        EXPECT_TRUE(std::abs(c.red - row.red) <= 1 && std::abs(c.green - row.green) <= 1 && std::abs(c.blue - row.blue) <= 1)
            << row.hue << ": " << int{c.red} << "," << int{c.green} << "," << int{c.blue};
    }
}

}  // namespace

TEST(GraphPixelsColumns, PaintTheSamePixelsAsOneVerticalLinePerColumn) {
    // Spans either way round, fractional ends, one past the bottom, one empty, one past the right
    // edge (never drawn), in an 8 x 16 window of 10 x 16 bytes 90, in blue 250, green 20, red 5.
    const float from[] = {3.25f, 10.0f, 7.5f, 0.0f, 12.7f, -4.0f, 5.0f, 9.9f, 2.0f};
    const float to[] = {8.75f, 2.5f, 7.5f, 15.0f, 13.1f, 30.0f, 5.5f, 1.0f, 12.0f};
    // opacity -> (0, 3), covered 3/4, and (3, 5), covered whole: each channel moved by the weight, rounded down
    const struct { float alpha; std::vector<int> partial, whole; } rows[] = {
        {1.0f, {210, 37, 26, 255}, {250, 20, 5, 255}}, {0.25f, {120, 76, 74, 255}, {130, 72, 68, 255}},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> rowWise(10 * 16 * 4, 90), columnWise(rowWise);
        Canvas byRows(new CDIB(8, 16, rowWise.data(), 40)), byColumns(new CDIB(8, 16, columnWise.data(), 40));
        graphpix::fillColumns(byRows.dib, 0, 9, from, to, 5, 20, 250, row.alpha);
        for (int x = 0; x < 8; ++x) graphpix::drawAAVLine(byColumns.dib, x + 0.5f, from[x], to[x], 1.0f, 5, 20, 250, row.alpha);
        EXPECT_TRUE(byRows.dib.dirty && rowWise == columnWise) << row.alpha;
        EXPECT_EQ(std::vector<int>(&rowWise[4 * 30], &rowWise[4 * 31]), row.partial);
        EXPECT_EQ(std::vector<int>(&rowWise[4 * 53], &rowWise[4 * 54]), row.whole);
    }
}
