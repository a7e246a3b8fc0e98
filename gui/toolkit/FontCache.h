#pragma once
// The fonts compiled into the program (resource type "TTF"), each loaded
// once, and their glyph images, rasterised once per (face, pixel size,
// glyph, horizontal subpixel phase) and kept for the life of the process.
// UI thread only.
//
// Sizes are em heights in pixels. Glyph images are placed with the
// baseline on a whole pixel row; horizontally the pen position is rounded
// to a quarter pixel and the glyph rasterised at that phase, so spacing
// follows the font's advances closely (whole-pixel pens looked crisper per
// stem but spaced small text unevenly). Below 24 px glyphs are stretched
// vertically by up to half a pixel at the x-height so that it is a whole
// number of pixels: lowercase tops then sit on a pixel edge.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "gui/toolkit/CFontDesc.h"

namespace VSTGUI {

// Decodes the UTF-8 sequence at `p` and moves `p` past it. Malformed input
// (a stray continuation byte, a truncated or overlong sequence, a
// surrogate, a value above U+10FFFF) gives U+FFFD and moves on by one byte.
// Returns 0 at the terminating NUL and leaves `p` there.
char32_t nextCodepoint(const char*& p);

struct FontFace;

// A glyph's coverage image (0 = none, 255 = full), `width` bytes a row.
// (left, top) is the image's top-left relative to the pen position on the
// baseline, y growing downwards (so `top` is negative above the baseline).
struct GlyphImage {
    int32_t width = 0;
    int32_t height = 0;
    int32_t left = 0;
    int32_t top = 0;
    const uint8_t* coverage = nullptr;
};

// A glyph of a laid-out string and its pen position from the string's start.
struct PlacedGlyph {
    int32_t glyph;
    float x;
};

class FontCache {
public:
    static constexpr int32_t kSubpixelPhases = 4;

    static FontCache& instance();

    // The face compiled in under `name`; an unknown name gives the text
    // face "OpenSans-Regular". Null only if that one is missing too.
    const FontFace* face(const std::string& name);
    // Font units to pixels for an em of `size` pixels.
    static float scaleFor(const FontFace* face, float size);
    static CFontMetrics metrics(const FontFace* face, float size);

    // Lays out a UTF-8 string from pen position 0 with kerning; fills `out`
    // (cleared first) and returns the advance width. Control characters
    // take no room and draw nothing.
    float layout(const FontFace* face, float size, const char* utf8, std::vector<PlacedGlyph>& out);
    // The advance width of a UTF-8 string, kerning included.
    float measure(const FontFace* face, float size, const char* utf8);

    // The image of a glyph at a size, rasterised with its origin shifted
    // right by phase / kSubpixelPhases of a pixel. The reference stays
    // valid until the next call of `glyph`.
    const GlyphImage& glyph(const FontFace* face, float size, int32_t glyphIndex, int32_t phase);

    // Maps glyph coverage to the alpha actually drawn. Small text loses
    // weight to anti-aliasing, light text on a dark ground most of all;
    // the curves lift partial coverage a little (full and none unchanged).
    static const uint8_t* coverageCurve(bool lightText);

    size_t cachedGlyphCount() const { return glyphs.size(); }

    FontCache(const FontCache&) = delete;
    FontCache& operator=(const FontCache&) = delete;

private:
    FontCache() = default;
    ~FontCache() = default;

    struct GlyphKey {
        const FontFace* face;
        int32_t size64;  // size in 1/64 pixel
        int32_t glyph;
        int32_t phase;
        bool operator==(const GlyphKey&) const = default;
    };
    struct GlyphKeyHash {
        size_t operator()(const GlyphKey& k) const;
    };
    struct CachedGlyph {
        GlyphImage image;
        std::vector<uint8_t> pixels;
    };

    std::unordered_map<std::string, std::unique_ptr<FontFace>> faces;
    std::unordered_map<std::string, const FontFace*> byName;  // every name asked for, fallbacks included
    std::unordered_map<GlyphKey, CachedGlyph, GlyphKeyHash> glyphs;
    std::vector<PlacedGlyph> measureScratch;
};

}  // namespace VSTGUI
