// The glyph strips: small pixel fonts for values and labels, one cell per
// character, rasterised from the text face. Each glyph is taken at the
// subpixel phase that lands its stems most squarely on pixels (or, if it
// is too wide for the cell, fitted to it from a larger rendering), and its
// coverage steepened so that it reads crisply at 1:1. Coverage goes into
// every channel.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "gui/toolkit/FontCache.h"
#include "tools/artgen/Images.h"

using namespace VSTGUI;

namespace art {

namespace {

struct StripStyle {
    float size;        // em height in pixels
    int32_t baseline;  // the row just below the baseline
};

// A glyph's coverage in a cell's rows, columns trimmed to its ink.
struct CellGlyph {
    int32_t width = 0;
    std::vector<float> coverage;  // width x rows, 0..1
};

CellGlyph place(const GlyphImage& img, int32_t rows, int32_t baseline) {
    CellGlyph out;
    int32_t first = img.width, last = -1;
    for (int32_t y = 0; y < img.height; ++y) {
        const int32_t row = baseline + img.top + y;
        if (row < 0 || row >= rows) continue;
        for (int32_t x = 0; x < img.width; ++x) {
            if (img.coverage[static_cast<size_t>(y) * img.width + x] == 0) continue;
            first = std::min(first, x);
            last = std::max(last, x);
        }
    }
    if (last < first) return out;
    out.width = last - first + 1;
    out.coverage.assign(static_cast<size_t>(out.width) * rows, 0.0f);
    for (int32_t y = 0; y < img.height; ++y) {
        const int32_t row = baseline + img.top + y;
        if (row < 0 || row >= rows) continue;
        for (int32_t x = first; x <= last; ++x) {
            out.coverage[static_cast<size_t>(row) * out.width + (x - first)] =
                img.coverage[static_cast<size_t>(y) * img.width + x] / 255.0f;
        }
    }
    return out;
}

// How squarely the ink falls on whole pixels: 1 when every touched pixel
// is fully covered, less the more coverage is spread thin.
float crispness(const CellGlyph& g) {
    float sum = 0, squares = 0;
    for (const float c : g.coverage) {
        sum += c;
        squares += c * c;
    }
    return sum > 0 ? squares / sum : 0;
}

// The glyph drawn `width` columns wide: taken from a rendering at four
// times the size, its ink spread over the columns and over the rows the
// glyph has at the strip's size, each pixel the mean of the area it
// covers. For glyphs too wide for the cell (W, M, %) and for a minus
// sign, which at its natural width reads as a dot.
CellGlyph fitted(FontCache& cache, const FontFace* face, float size, int32_t glyph, int32_t width, int32_t rows,
                 int32_t baseline) {
    const GlyphImage small = cache.glyph(face, size, glyph, 0);
    const int32_t top = baseline + small.top, height = small.height;
    const GlyphImage& big = cache.glyph(face, size * 4, glyph, 0);
    int32_t first = big.width, last = -1;
    for (int32_t y = 0; y < big.height; ++y) {
        for (int32_t x = 0; x < big.width; ++x) {
            if (big.coverage[static_cast<size_t>(y) * big.width + x] == 0) continue;
            first = std::min(first, x);
            last = std::max(last, x);
        }
    }
    CellGlyph out;
    if (last < first || height <= 0) return out;
    out.width = width;
    out.coverage.assign(static_cast<size_t>(width) * rows, 0.0f);
    const float sx = static_cast<float>(last + 1 - first) / static_cast<float>(width);
    const float sy = static_cast<float>(big.height) / static_cast<float>(height);
    for (int32_t y = std::max(0, top); y < std::min(rows, top + height); ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const float x0 = static_cast<float>(first) + x * sx, y0 = static_cast<float>(y - top) * sy;
            float total = 0;
            for (int32_t v = static_cast<int32_t>(y0); static_cast<float>(v) < y0 + sy && v < big.height; ++v) {
                const float wy = std::min(y0 + sy, static_cast<float>(v + 1)) - std::max(y0, static_cast<float>(v));
                for (int32_t u = static_cast<int32_t>(x0); static_cast<float>(u) < x0 + sx && u < big.width; ++u) {
                    const float wx = std::min(x0 + sx, static_cast<float>(u + 1)) - std::max(x0, static_cast<float>(u));
                    total += wx * wy * big.coverage[static_cast<size_t>(v) * big.width + u] / 255.0f;
                }
            }
            out.coverage[static_cast<size_t>(y) * width + x] = total / (sx * sy);
        }
    }
    return out;
}

// Steepens coverage: faint fringes go, partly covered stem edges darken.
uint8_t sharpened(float c) {
    const float lifted = std::clamp((c - 0.14f) / 0.72f, 0.0f, 1.0f);
    return static_cast<uint8_t>(std::lround(255 * std::pow(lifted, 0.8f)));
}

void glyphStrip(Canvas& c, const StripStyle& style) {
    const GlyphStripFacts* facts = nullptr;
    for (const GlyphStripFacts& f : kGlyphStrips) {
        if (f.id == c.facts().id) facts = &f;
    }
    if (!facts) return;
    FontCache& cache = FontCache::instance();
    const FontFace* face = cache.face("OpenSans-Regular");
    std::vector<PlacedGlyph> placed;
    for (size_t i = 0; i < kGlyphCharacters.size(); ++i) {
        const std::string ch(1, kGlyphCharacters[i]);
        cache.layout(face, style.size, ch.c_str(), placed);
        if (placed.empty()) continue;
        // The crispest phase; a glyph too wide for the cell is fitted to it.
        CellGlyph best;
        float bestScore = -1;
        for (int32_t phase = 0; phase < FontCache::kSubpixelPhases; ++phase) {
            CellGlyph g = place(cache.glyph(face, style.size, placed[0].glyph, phase), facts->cellHeight, style.baseline);
            const float score = crispness(g);
            if (score > bestScore) {
                best = std::move(g);
                bestScore = score;
            }
        }
        constexpr int32_t kMinusWidth = 3;
        if (best.width > facts->cellWidth || (kGlyphCharacters[i] == '-' && best.width < kMinusWidth)) {
            best = fitted(cache, face, style.size, placed[0].glyph, std::clamp(best.width, kMinusWidth, facts->cellWidth),
                          facts->cellHeight, style.baseline);
        }
        // A glyph whose strokes all fall between pixels (a hyphen
        // straddling two rows) is brought up to full strength first.
        const float peak = *std::max_element(best.coverage.begin(), best.coverage.end());
        std::vector<uint8_t> cell(best.coverage.size());
        int32_t first = best.width;
        for (int32_t y = 0; y < facts->cellHeight; ++y) {
            for (int32_t x = 0; x < best.width; ++x) {
                const size_t at = static_cast<size_t>(y) * best.width + x;
                cell[at] = sharpened(best.coverage[at] / peak);
                if (cell[at]) first = std::min(first, x);
            }
        }
        const int32_t cellX = static_cast<int32_t>(i) * facts->pitch;
        for (int32_t y = 0; y < facts->cellHeight; ++y) {
            for (int32_t x = first; x < best.width; ++x) {
                const uint8_t v = cell[static_cast<size_t>(y) * best.width + x];
                if (v) c.dib().setPixel(cellX + x - first, y, CColor{v, v, v, v});
            }
        }
    }
}

}  // namespace

void smallGlyphs(Canvas& c) { glyphStrip(c, StripStyle{9.0f, 7}); }
void largeGlyphs(Canvas& c) { glyphStrip(c, StripStyle{11.0f, 9}); }

}  // namespace art
