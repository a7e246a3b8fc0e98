// Graph lines judged by their ink: white on black leaves each pixel's
// covered area in its red channel, rounded down (up to 1/255 short per
// touched pixel). The total must be width x length within 0.02 px² (half
// of it at half opacity), and each pixel the share of a 32 x 32 grid of
// its points inside the line within 0.03.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
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

// The red channel summed in units of 255, and the pixels made opaque.
std::pair<double, int> ink(CDIB& dib) {
    std::pair<double, int> sum{0.0, 0};
    for (int i = 0; i < dib.width() * dib.height(); ++i) {
        sum.first += dib.pixels()[4 * i + 2] / 255.0;
        sum.second += dib.pixels()[4 * i + 3] == 255;
    }
    return sum;
}

void drawWhite(CDIB& dib, const Segment& s, float alpha = 1.0f) {
    graphpix::drawAALine(dib, s.x0, s.y0, s.x1, s.y1, s.width, 255, 255, 255, alpha);
}

const Segment kInside[] = {
    {20.3f, 4.6f, 26.1f, 57.2f, 2},     {3.2f, 30.4f, 60.7f, 35.9f, 1},     {10, 10, 50, 50, 3},  // steep, shallow, 45°
    {50.5f, 12.25f, 12.5f, 50.25f, 1},  {30.2f, 30.3f, 30.7f, 30.9f, 0.5f},  // 45° backwards, under a pixel long
    {17.25f, 8.5f, 17.25f, 40.75f, 1},  {40.5f, 50, 40.5f, 20, 3},           // vertical, down and up
    {55.1f, 22.5f, 6.7f, 22.5f, 2},     {6.7f, 44.2f, 55.1f, 44.2f, 0.5f},   // horizontal, left and right
    {33.5f, 5, 33.502f, 60, 1},                                              // all but vertical
};

TEST(GraphPixelsCoverage, InkIsTheCoveredArea) {
    for (const Segment& s : kInside) {
        SCOPED_TRACE(testing::Message() << s.x0 << "," << s.y0 << " to " << s.x1 << "," << s.y1 << " w " << s.width);
        Canvas c(new CDIB(64, 64));
        drawWhite(c.dib, s);
        EXPECT_TRUE(c.dib.dirty);
        const auto [total, touched] = ink(c.dib);
        const double area = s.width * std::hypot(s.x1 - s.x0, s.y1 - s.y0);
        EXPECT_LE(total, area + 0.02);
        EXPECT_GE(total, area - 0.02 - touched / 255.0);
        Canvas half(new CDIB(64, 64));
        drawWhite(half.dib, s, 0.5f);
        EXPECT_NEAR(ink(half.dib).first, total / 2, 0.02 + touched / 255.0);
        for (int i = 0; i < 64 * 64; ++i) {
            const uint8_t* p = c.dib.pixels() + 4 * i;
            ASSERT_NEAR(p[2] / 255.0, sampledCoverage(s, i % 64, i / 64), 0.03 + 1 / 255.0) << i % 64 << "," << i / 64;
            ASSERT_TRUE(p[3] == 255 || p[0] + p[1] + p[2] + p[3] == 0) << i % 64 << "," << i / 64;
        }
        if (s.x0 == s.x1 || s.y0 == s.y1) {  // the axis-aligned lines called directly do the same
            Canvas direct(new CDIB(64, 64));
            if (s.x0 == s.x1) graphpix::drawAAVLine(direct.dib, s.x0, s.y0, s.y1, s.width, 255, 255, 255, 1.0f);
            else graphpix::drawAAHLine(direct.dib, s.y0, s.x0, s.x1, s.width, 255, 255, 255, 1.0f);
            EXPECT_TRUE(direct.dib.dirty && std::memcmp(direct.dib.pixels(), c.dib.pixels(), 64 * 64 * 4) == 0);
        }
    }
}

TEST(GraphPixelsClipping, NothingIsWrittenOutsideTheBitmap) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    // Whether the line shows: 1 yes, 0 no, -1 either (so far out that rounding swallows the width).
    const struct { Segment s; int draws; } rows[] = {
        {{-30, -20, 45, 35, 3}, 1},        {{5.5f, -10, 5.5f, 10, 1}, 1},  {{-5, 7.5f, 90, 7.5f, 40}, 1},
        {{-1e6f, -1e6f, 1e6f, 1e6f, 2}, 1}, {{-40, 3, -2, 30, 2}, 0},       {{3, 3, 1e30f, 4, 1e30f}, 1},
        {{-1e30f, -1e30f, 1e30f, 1e30f, 2}, -1}, {{nan, 3, 10, 10, 1}, 0}, {{3, 3, 10, inf, 1}, 0},
        {{3, 3, 10, 10, nan}, 0},          {{3, 3, 10, 10, -1}, 0},        {{3, 3, 10, 10, inf}, 0},
        {{5.5f, 2, 5.5f, 9, inf}, 0},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> memory(40 * 40 * 4, 0x5A);  // a 20 x 20 view in the middle of 40 x 40
        Canvas view(new CDIB(20, 20, memory.data() + (10 * 40 + 10) * 4, 40 * 4));
        drawWhite(view.dib, row.s);
        bool drewInside = false;
        for (int i = 0; i < 40 * 40; ++i) {
            const bool inView = i % 40 >= 10 && i % 40 < 30 && i / 40 >= 10 && i / 40 < 30;
            drewInside = drewInside || (inView && memory[4 * i + 3] == 255);
            for (int b = 0; b < 4 && !inView; ++b) ASSERT_EQ(0x5A, memory[4 * i + b]) << i % 40 << "," << i / 40;
        }
        EXPECT_TRUE(row.draws < 0 || (row.draws == 1) == drewInside) << row.s.x0 << "," << row.s.y0 << " w " << row.s.width;
    }
}

TEST(GraphPixelsBlending, MovesEachChannelByTheWeightRoundingDown) {
    // Over red 201, green 50, blue 100, alpha 7, in red 0, green 255, blue 100.
    const struct { Segment s; float alpha; int x, y, red, green; } rows[] = {
        {{10.5f, 2, 10.5f, 2.5f, 1}, 1.0f, 10, 2, 100, 152},  // half covered: red -100.5 becomes -101
        {{3, 5.5f, 8, 5.5f, 1}, 1.0f, 4, 5, 0, 255},          // covered: the colour itself
        {{2, 2, 30, 30, 6}, 0.25f, 15, 15, 150, 101},         // covered, quarter opacity
    };
    for (const auto& row : rows) {
        Canvas c(new CDIB(32, 32));
        c.dib.fill(VSTGUI::CColor{201, 50, 100, 7});
        graphpix::drawAALine(c.dib, row.s.x0, row.s.y0, row.s.x1, row.s.y1, row.s.width, 0, 255, 100, row.alpha);
        const uint8_t *p = c.dib.row(row.y) + 4 * row.x, *far = c.dib.row(31);
        EXPECT_EQ((std::vector<int>{100, row.green, row.red, 255}), (std::vector<int>{p[0], p[1], p[2], p[3]}));
        EXPECT_EQ((std::vector<int>{100, 50, 201, 7}), (std::vector<int>{far[0], far[1], far[2], far[3]}));
    }
}

TEST(GraphPixelsColour, HsvToRgbBySector) {
    const struct { double hue, saturation, value; int red, green, blue; } rows[] = {
        {0, 1, 1, 255, 0, 0},     {60, 1, 1, 255, 255, 0},  {120, 1, 1, 0, 255, 0},         {180, 1, 1, 0, 255, 255},
        {240, 1, 1, 0, 0, 255},   {300, 1, 1, 255, 0, 255}, {30, 1, 1, 255, 128, 0},        {210, 0.5, 0.8, 102, 153, 204},
        {77, 0, 0.5, 128, 128, 128}, {-90, 1, 1, 128, 0, 255}, {420, 1, 1, 255, 255, 0},   {-360, 1, 1, 255, 0, 0},
        {720, 1, 0.6, 153, 0, 0},
    };
    for (const auto& row : rows) {
        const graphpix::Rgb c = graphpix::hsvToRgb(row.hue, row.saturation, row.value);
        EXPECT_TRUE(std::abs(c.red - row.red) <= 1 && std::abs(c.green - row.green) <= 1 && std::abs(c.blue - row.blue) <= 1)
            << row.hue << ": " << int{c.red} << "," << int{c.green} << "," << int{c.blue};
    }
}

}  // namespace

TEST(GraphPixelsColumns, PaintTheSamePixelsAsOneVerticalLinePerColumn) {
    // Spans either way round, fractional ends, one past the bottom, one
    // empty, over a background that is not black.
    const std::vector<float> from = {3.25f, 10.0f, 7.5f, 0.0f, 12.7f, -4.0f, 5.0f, 9.9f};
    const std::vector<float> to = {8.75f, 2.5f, 7.5f, 15.0f, 13.1f, 30.0f, 5.5f, 1.0f};
    for (const float alpha : {1.0f, 0.25f}) {
        Canvas rows(new CDIB(8, 16)), columns(new CDIB(8, 16));
        rows.dib.fill(VSTGUI::CColor{40, 90, 160, 255});
        columns.dib.fill(VSTGUI::CColor{40, 90, 160, 255});
        graphpix::fillColumns(rows.dib, 0, 8, from.data(), to.data(), 250, 20, 5, alpha);
        for (int x = 0; x < 8; ++x) graphpix::drawAAVLine(columns.dib, x + 0.5f, from[x], to[x], 1.0f, 250, 20, 5, alpha);
        for (int y = 0; y < 16; ++y) {
            EXPECT_EQ(std::memcmp(rows.dib.row(y), columns.dib.row(y), 8 * 4), 0) << "row " << y << " alpha " << alpha;
        }
    }
}
