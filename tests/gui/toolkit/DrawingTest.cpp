// Software drawing: exact pixels of fills, lines, clipping and blits, PNG
// reading and writing, and text: UTF-8 decoding, measurement against the
// fonts' own metrics (read here straight from the font files with
// stb_truetype) and where drawn strings land. Expected bytes are worked out
// by hand from the blending rule in CDrawContext.h.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <stb/stb_truetype.h>

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/FontCache.h"
#include "resources/ResourceTable.h"

using namespace VSTGUI;

namespace {

constexpr CColor kBackground{10, 20, 30, 255};

// A bitmap filled with one colour and a context drawing into it; both are
// released at the end of the test.
struct Canvas {
    CDIB* dib;
    CDrawContext* context;
    explicit Canvas(int w = 40, int h = 40, CColor bg = kBackground) : dib(new CDIB(w, h)), context(new CDrawContext(dib)) {
        dib->fill(bg);
    }
    ~Canvas() {
        context->forget();
        dib->forget();
    }
    // Pixels outside [x0, x1) x [y0, y1) that are not the background.
    int changedOutside(int x0, int y0, int x1, int y1) const {
        int n = 0;
        for (int y = 0; y < dib->height(); ++y)
            for (int x = 0; x < dib->width(); ++x)
                if ((x < x0 || x >= x1 || y < y0 || y >= y1) && dib->getPixel(x, y) != kBackground) ++n;
        return n;
    }
};

}  // namespace

// Each shape is drawn on the background and changes nothing outside its
// rectangle; `spots` are pixels with the colour they must have. The frame
// is translucent white, so overlapping sides would show: a = 128/255 over
// (10, 20, 30) gives round(255a + d(1-a)) = 133, 138, 143.
TEST(SoftwareDrawing, ShapesStayInsideTheirRectangles) {
    const CColor orange{200, 100, 50, 255}, frame{133, 138, 143, 255};
    struct Spot { int x, y; CColor colour; };
    std::vector<Spot> filled, frameSpots;
    for (int y = 4; y < 11; ++y)
        for (int x = 3; x < 9; ++x) filled.push_back({x, y, orange});
    for (int x = 5; x < 15; ++x) frameSpots.insert(frameSpots.end(), {{x, 5, frame}, {x, 12, frame}});
    for (int y = 7; y < 11; ++y) frameSpots.insert(frameSpots.end(), {{6, y, frame}, {13, y, frame}, {8, y, kBackground}});
    const struct {
        const char* name;
        std::function<void(CDrawContext&)> draw;
        CRect bounds;
        std::vector<Spot> spots;
    } rows[] = {
        {"aliased fill", [&](CDrawContext& c) { c.setDrawMode(kAliasing), c.setFillColor(orange), c.fillRect(CRect(3, 4, 9, 11)); },
         {3, 4, 9, 11}, filled},
        {"antialiased fill", [&](CDrawContext& c) { c.setDrawMode(kAntiAliasing), c.setFillColor(orange), c.fillRect(CRect(3, 4, 9, 11)); },
         {3, 4, 9, 11}, filled},
        {"frame 2 wide", [](CDrawContext& c) {
             c.setLineWidth(2), c.setFrameColor(CColor{255, 255, 255, 128}), c.drawRect(CRect(5, 5, 15, 13));
         }, {5, 5, 15, 13}, frameSpots},
        {"filled ellipse", [](CDrawContext& c) { c.setFillColor(kWhiteCColor), c.drawEllipse(CRect(5, 8, 25, 20), kDrawFilled); },
         {5, 8, 25, 20}, {{15, 14, kWhiteCColor}, {5, 8, kBackground}}},
        {"ellipse ring 3 wide", [](CDrawContext& c) {
             c.setFrameColor(kWhiteCColor), c.setLineWidth(3), c.drawEllipse(CRect(5, 5, 35, 35));
         }, {5, 5, 35, 35}, {{20, 20, kBackground}, {6, 20, kWhiteCColor}, {20, 33, kWhiteCColor}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Canvas c;
        row.draw(*c.context);
        for (const Spot& spot : row.spots) ASSERT_EQ(c.dib->getPixel(spot.x, spot.y), spot.colour) << spot.x << "," << spot.y;
        const CRect& r = row.bounds;
        EXPECT_EQ(c.changedOutside(int(r.left), int(r.top), int(r.right), int(r.bottom)), 0);
    }
}

TEST(SoftwareDrawing, LinesBetweenWholePointsCoverPixelsInclusively) {
    Canvas c;
    c.context->setFrameColor(kWhiteCColor);
    c.context->drawLine(CPoint(2, 10), CPoint(12, 10));
    for (int x = 2; x <= 12; ++x) EXPECT_EQ(c.dib->getPixel(x, 10), kWhiteCColor) << x;
    c.context->drawLine(CPoint(20, 3), CPoint(20, 8));
    for (int y = 3; y <= 8; ++y) EXPECT_EQ(c.dib->getPixel(20, y), kWhiteCColor) << y;
    EXPECT_EQ(c.changedOutside(0, 0, 0, 0), 11 + 6);  // nothing else

    // Half way between two rows: both get coverage 1/2, weight 128:
    // round(255 * 128/255 + 10 * 127/255) = 133 (and 138, 143).
    Canvas h;
    h.context->setFrameColor(kWhiteCColor);
    h.context->drawLine(CPoint(2, 10.5f), CPoint(12, 10.5f));
    EXPECT_EQ(h.dib->getPixel(6, 10), (CColor{133, 138, 143, 255}));
    EXPECT_EQ(h.dib->getPixel(6, 11), (CColor{133, 138, 143, 255}));
    EXPECT_EQ(h.dib->getPixel(6, 9), kBackground);
}

TEST(SoftwareDrawing, DashesAndTranslucentJoints) {
    Canvas c;
    c.context->setFrameColor(kWhiteCColor);
    c.context->setLineStyle(kLineOnOffDash);
    c.context->drawLine(CPoint(0, 5), CPoint(15, 5));  // 16 pixels: on 2, off 2
    for (int x = 0; x < 16; ++x) EXPECT_EQ(c.dib->getPixel(x, 5) == kWhiteCColor, x % 4 < 2) << x;

    // A translucent corner is no darker than the straight parts beside it.
    Canvas j;
    j.context->setFrameColor(CColor{255, 255, 255, 100});
    const CPoint corner[3] = {CPoint(5, 5), CPoint(25, 5), CPoint(25, 25)};
    j.context->drawPolyline(corner, 3);
    const CColor straight = j.dib->getPixel(15, 5);
    EXPECT_NE(straight, kBackground);
    EXPECT_EQ(j.dib->getPixel(25, 5), straight);
    EXPECT_EQ(j.dib->getPixel(25, 15), straight);
}

TEST(SoftwareDrawing, PolygonsFillByCoverageAndTheNonZeroRule) {
    Canvas c;
    c.context->setFillColor(kWhiteCColor);
    const CPoint square[4] = {CPoint(2, 2), CPoint(12, 2), CPoint(12, 12), CPoint(2, 12)};
    c.context->drawPolygon(square, 4, kDrawFilled);
    for (int y = 2; y < 12; ++y)
        for (int x = 2; x < 12; ++x) ASSERT_EQ(c.dib->getPixel(x, y), kWhiteCColor);
    EXPECT_EQ(c.changedOutside(2, 2, 12, 12), 0);

    // The diagonal of a right triangle halves the pixels it crosses.
    Canvas t(40, 40, kBlackCColor);
    t.context->setFillColor(kWhiteCColor);
    const CPoint tri[3] = {CPoint(0, 0), CPoint(20, 0), CPoint(0, 20)};
    t.context->drawPolygon(tri, 3, kDrawFilled);
    EXPECT_NEAR(t.dib->getPixel(7, 12).red, 128, 1);
    EXPECT_EQ(t.dib->getPixel(6, 12).red, 255);
    EXPECT_EQ(t.dib->getPixel(8, 12).red, 0);

    // A pentagram's centre winds twice and is filled.
    Canvas s;
    s.context->setFillColor(kWhiteCColor);
    const CPoint star[5] = {CPoint(20, 2), CPoint(31, 36), CPoint(2, 15), CPoint(38, 15), CPoint(9, 36)};
    s.context->drawPolygon(star, 5, kDrawFilled);
    EXPECT_EQ(s.dib->getPixel(20, 20), kWhiteCColor);
}

TEST(SoftwareDrawing, ClipAndOffsetWorkTogether) {
    Canvas c;
    c.context->setOffset(CPoint(5, 5));
    c.context->setClipRect(CRect(0, 0, 10, 10));  // device (5, 5) - (15, 15)
    EXPECT_EQ(c.context->getClipRect(), CRect(0, 0, 10, 10));
    c.context->setOffset(CPoint(0, 0));
    EXPECT_EQ(c.context->getClipRect(), CRect(5, 5, 15, 15));  // the clip stays put on the device

    c.context->setFrameColor(kWhiteCColor);
    c.context->setFillColor(kWhiteCColor);
    c.context->setLineWidth(4);
    c.context->drawLine(CPoint(-20, -3), CPoint(50, 44));
    const CPoint tri[3] = {CPoint(-100, 12), CPoint(100, 12), CPoint(10, -100)};
    c.context->drawPolygon(tri, 3, kDrawFilledAndStroked);
    c.context->drawEllipse(CRect(0, 0, 40, 40), kDrawFilled);
    EXPECT_EQ(c.changedOutside(5, 5, 15, 15), 0);
    EXPECT_EQ(c.dib->getPixel(10, 10), kWhiteCColor);

    // A clip is cut to the target.
    c.context->setClipRect(CRect(-10, 30, 100, 100));
    EXPECT_EQ(c.context->getClipRect(), CRect(0, 30, 40, 40));
}

TEST(Blits, AlphaDrawAndBlendFollowTheStatedArithmetic) {
    auto* src = new CDIB(2, 1);
    src->setPixel(0, 0, CColor{200, 100, 50, 255});
    src->setPixel(1, 0, CColor{255, 255, 255, 64});
    Canvas c(4, 4, CColor{10, 20, 30, 255});
    c.dib->setPixel(3, 0, kBlackCColor);
    c.context->setOffset(CPoint(1, 0));
    src->alphaDraw(c.context, CRect(1, 0, 3, 1), CPoint(), 128);
    // Pixel 0: a = 255*128/65025; round(200a + 10(1-a)) = 105, round(100a + 20(1-a)) = 60,
    // round(50a + 30(1-a)) = 40.
    EXPECT_EQ(c.dib->getPixel(2, 0), (CColor{105, 60, 40, 255}));
    // Pixel 1, over black: a = 64*128/65025 = 0.12598; round(255a) = 32.
    EXPECT_EQ(c.dib->getPixel(3, 0), (CColor{32, 32, 32, 255}));
    EXPECT_EQ(c.dib->getPixel(1, 0), (CColor{10, 20, 30, 255}));

    // One pixel through blendDevicePixel with coverage 128/255: the same as pixel 0.
    c.context->blendDevicePixel(0, 1, CColor{200, 100, 50, 255}, 128.0f / 255.0f);
    EXPECT_EQ(c.dib->getPixel(0, 1), (CColor{105, 60, 40, 255}));

    // Under a translucent destination (0, 0, 255, 128), source (255, 0, 0, 128):
    // a = 128/255, alpha = round(128 + 128(1-a)) = 192,
    // red = round(255*128 / 191.75) = 170, blue = round(255*128(1-a) / 191.75) = 85.
    c.dib->setPixel(1, 2, CColor{0, 0, 255, 128});
    c.context->blendDevicePixel(1, 2, CColor{255, 0, 0, 128});
    EXPECT_EQ(c.dib->getPixel(1, 2), (CColor{170, 0, 85, 192}));
    src->forget();
}

TEST(Blits, CopyAndTransparentDrawRespectClipAndKey) {
    auto* src = new CDIB(3, 2);
    const CColor key{255, 0, 255, 255};
    for (int x = 0; x < 3; ++x) {
        src->setPixel(x, 0, x == 1 ? kRedCColor : key);
        src->setPixel(x, 1, CColor{1, 2, 3, 4});
    }
    Canvas c(8, 8, kGreenCColor);
    src->transparentDraw(c.context, CRect(2, 2, 5, 3));
    EXPECT_EQ(c.dib->getPixel(2, 2), kGreenCColor);
    EXPECT_EQ(c.dib->getPixel(3, 2), kRedCColor);
    EXPECT_EQ(c.dib->getPixel(4, 2), kGreenCColor);

    // draw copies alpha too, from a source offset, cut by the clip.
    c.context->setClipRect(CRect(0, 0, 6, 8));
    src->draw(c.context, CRect(5, 5, 8, 6), CPoint(0, 1));
    EXPECT_EQ(c.dib->getPixel(5, 5), (CColor{1, 2, 3, 4}));
    EXPECT_EQ(c.dib->getPixel(6, 5), kGreenCColor);

    // An off-screen context copies its picture out the same way.
    auto* off = new COffscreenContext(2, 2, kBlueCColor);
    off->copyTo(c.context, CRect(0, 6, 2, 8));
    EXPECT_EQ(c.dib->getPixel(1, 7), kBlueCColor);
    off->forget();
    src->forget();
}

namespace {

// A minimal PNG encoder for test pictures: stored (uncompressed) deflate
// blocks, so any colour type and depth can be written byte by byte.
uint32_t crc32Of(const std::vector<uint8_t>& bytes, size_t from) {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = from; i < bytes.size(); ++i) {
        crc ^= bytes[i];
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}

void chunk(std::vector<uint8_t>& png, const char* type, const std::vector<uint8_t>& data) {
    put32(png, static_cast<uint32_t>(data.size()));
    const size_t start = png.size();
    png.insert(png.end(), type, type + 4);
    png.insert(png.end(), data.begin(), data.end());
    put32(png, crc32Of(png, start));
}

// `rows` are the raw scanlines without filter bytes.
std::vector<uint8_t> makePNG(int w, int h, int depth, int colorType, const std::vector<std::vector<uint8_t>>& rows,
                             const std::vector<uint8_t>& plte = {}, const std::vector<uint8_t>& trns = {}) {
    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> ihdr;
    put32(ihdr, static_cast<uint32_t>(w));
    put32(ihdr, static_cast<uint32_t>(h));
    ihdr.insert(ihdr.end(), {static_cast<uint8_t>(depth), static_cast<uint8_t>(colorType), 0, 0, 0});
    chunk(png, "IHDR", ihdr);
    if (!plte.empty()) chunk(png, "PLTE", plte);
    if (!trns.empty()) chunk(png, "tRNS", trns);
    std::vector<uint8_t> raw;
    for (const auto& r : rows) {
        raw.push_back(0);  // filter: none
        raw.insert(raw.end(), r.begin(), r.end());
    }
    std::vector<uint8_t> z = {0x78, 0x01, 0x01, static_cast<uint8_t>(raw.size()), static_cast<uint8_t>(raw.size() >> 8),
                              static_cast<uint8_t>(~raw.size()), static_cast<uint8_t>(~raw.size() >> 8)};
    // A loop rather than insert(): GCC 12 at -O2 warns falsely on the latter.
    for (uint8_t v : raw) z.push_back(v);
    uint32_t a = 1, b = 0;
    for (uint8_t v : raw) {
        a = (a + v) % 65521;
        b = (b + a) % 65521;
    }
    put32(z, (b << 16) | a);
    chunk(png, "IDAT", z);
    chunk(png, "IEND", {});
    return png;
}

CColor decodedPixel(const std::vector<uint8_t>& png, int x) {
    std::string error;
    CDIB* dib = CDIB::fromPNG(png.data(), png.size(), &error);
    EXPECT_NE(dib, nullptr) << error;
    if (!dib) return {};
    const CColor c = dib->getPixel(x, 0);
    dib->forget();
    return c;
}

}  // namespace

TEST(PNG, EveryColourTypeBecomesStraightBGRA) {
    // 8-bit grey; grey with a tRNS key; 16-bit grey + alpha (scaled to 8 bits).
    EXPECT_EQ(decodedPixel(makePNG(2, 1, 8, 0, {{7, 200}}), 1), (CColor{200, 200, 200, 255}));
    EXPECT_EQ(decodedPixel(makePNG(2, 1, 8, 0, {{7, 200}}, {}, {0, 7}), 0), (CColor{7, 7, 7, 0}));
    EXPECT_EQ(decodedPixel(makePNG(1, 1, 16, 4, {{0x80, 0x80, 0xFF, 0xFF}}), 0), (CColor{128, 128, 128, 255}));
    // A 2-bit palette with a tRNS entry for index 1.
    const std::vector<uint8_t> plte = {255, 0, 0, 0, 0, 255, 9, 8, 7};
    const auto pal = makePNG(3, 1, 2, 3, {{0b00011000}}, plte, {255, 40});
    EXPECT_EQ(decodedPixel(pal, 0), (CColor{255, 0, 0, 255}));
    EXPECT_EQ(decodedPixel(pal, 1), (CColor{0, 0, 255, 40}));
    EXPECT_EQ(decodedPixel(pal, 2), (CColor{9, 8, 7, 255}));
    // 16-bit RGB.
    EXPECT_EQ(decodedPixel(makePNG(1, 1, 16, 2, {{0x12, 0x34, 0xAB, 0xCD, 0xFF, 0xFF}}), 0), (CColor{0x12, 0xAB, 0xFF, 255}));
}

TEST(PNG, RoundTripKeepsEveryByteAndDamageIsReported) {
    auto* dib = new CDIB(7, 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            dib->setPixel(x, y, CColor{static_cast<uint8_t>(x * 37), static_cast<uint8_t>(y * 51), static_cast<uint8_t>(x * y * 9),
                                       static_cast<uint8_t>((x + y) * 23)});
    const std::filesystem::path dir = std::filesystem::path(::testing::TempDir()) / "fw-png-test";
    std::filesystem::create_directories(dir);
    const std::string path = (dir / "round.png").string();
    std::string error;
    ASSERT_TRUE(dib->writePNG(path.c_str(), &error)) << error;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), std::filesystem::directory_iterator()), 1)
        << "no temporary file is left behind";

    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    CDIB* back = CDIB::fromPNG(bytes.data(), bytes.size(), &error);
    ASSERT_NE(back, nullptr) << error;
    ASSERT_EQ(back->width(), 7);
    ASSERT_EQ(back->height(), 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x) ASSERT_EQ(back->getPixel(x, y), dib->getPixel(x, y)) << x << "," << y;
    back->forget();

    // Damage: a flipped byte inside the image data, a cut-off file, no PNG at all.
    std::vector<uint8_t> flipped = bytes;
    flipped[bytes.size() - 20] ^= 0x5A;
    const std::vector<uint8_t> truncated(bytes.begin(), bytes.begin() + static_cast<long>(bytes.size() / 2));
    const std::vector<uint8_t> garbage = {'n', 'o', 't', ' ', 'a', ' ', 'p', 'n', 'g', '!'};
    const std::vector<uint8_t>* damagedInputs[] = {&flipped, &truncated, &garbage};
    for (const auto* damaged : damagedInputs) {
        error.clear();
        EXPECT_EQ(CDIB::fromPNG(damaged->data(), damaged->size(), &error), nullptr);
        EXPECT_FALSE(error.empty());
    }
    EXPECT_FALSE(dib->writePNG((dir / "missing-dir" / "x.png").string().c_str(), &error));
    EXPECT_FALSE(error.empty());
    dib->forget();
    std::filesystem::remove_all(dir);
}

// ---- Text ----

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
