#include "gui/toolkit/FontCache.h"

#include <algorithm>
#include <array>
#include <cmath>

#define STB_TRUETYPE_IMPLEMENTATION
#include <stb_truetype.h>

#include "resources/ResourceTable.h"

namespace VSTGUI {

namespace {

constexpr const char* kFallbackFace = "OpenSans-Regular";
constexpr const char* kFontResourceType = "TTF";
// Limits that keep a silly size from rasterising enormous glyphs.
constexpr float kMinSize = 1.0f;
constexpr float kMaxSize = 400.0f;
// Glyph images kept before the cache starts over (a few fonts and sizes of
// a UI use a few hundred).
constexpr size_t kMaxCachedGlyphs = 8192;

float clampSize(float size) { return std::isfinite(size) ? std::clamp(size, kMinSize, kMaxSize) : kMinSize; }

bool isControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

}  // namespace

struct FontFace {
    std::string name;
    stbtt_fontinfo info{};
    int ascent = 0;  // font units, as stored (descent negative)
    int descent = 0;
    int lineGap = 0;
    int xHeight = 0;  // top of the lowercase x, font units
    std::unordered_map<char32_t, int32_t> glyphIndices;

    int32_t glyphIndex(char32_t c) {
        auto it = glyphIndices.find(c);
        if (it != glyphIndices.end()) return it->second;
        int32_t g = stbtt_FindGlyphIndex(&info, static_cast<int>(c));
        if (g == 0 && c != 0xFFFD) g = stbtt_FindGlyphIndex(&info, 0xFFFD);
        glyphIndices.emplace(c, g);
        return g;
    }
};

char32_t nextCodepoint(const char*& p) {
    const auto* s = reinterpret_cast<const unsigned char*>(p);
    const unsigned lead = s[0];
    if (lead == 0) return 0;
    if (lead < 0x80) {
        ++p;
        return lead;
    }
    int32_t length = 0;
    char32_t c = 0;
    char32_t smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        c = lead & 0x1F;
        smallest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        c = lead & 0x0F;
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        c = lead & 0x07;
        smallest = 0x10000;
    } else {
        ++p;
        return 0xFFFD;
    }
    for (int32_t i = 1; i < length; ++i) {
        const unsigned b = s[i];  // a NUL fails this test, so nothing past it is read
        if ((b & 0xC0) != 0x80) {
            ++p;
            return 0xFFFD;
        }
        c = (c << 6) | (b & 0x3F);
    }
    if (c < smallest || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        ++p;
        return 0xFFFD;
    }
    p += length;
    return c;
}

FontCache& FontCache::instance() {
    // Never destroyed: fonts outlive every view, including static ones.
    static FontCache* cache = new FontCache();
    return *cache;
}

const FontFace* FontCache::face(const std::string& name) {
    if (auto it = byName.find(name); it != byName.end()) return it->second;
    const FontFace* found = nullptr;
    const ResourceData bytes = findResource(name.c_str(), kFontResourceType);
    if (bytes.data && bytes.size > 0) {
        auto f = std::make_unique<FontFace>();
        f->name = name;
        const int offset = stbtt_GetFontOffsetForIndex(bytes.data, 0);
        if (offset >= 0 && stbtt_InitFont(&f->info, bytes.data, offset)) {
            stbtt_GetFontVMetrics(&f->info, &f->ascent, &f->descent, &f->lineGap);
            int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
            if (stbtt_GetCodepointBox(&f->info, 'x', &x0, &y0, &x1, &y1)) f->xHeight = y1;
            found = f.get();
            faces.emplace(name, std::move(f));
        }
    }
    if (!found && name != kFallbackFace) found = face(kFallbackFace);
    byName.emplace(name, found);
    return found;
}

float FontCache::scaleFor(const FontFace* f, float size) {
    return f ? stbtt_ScaleForMappingEmToPixels(&f->info, clampSize(size)) : 0.0f;
}

CFontMetrics FontCache::metrics(const FontFace* f, float size) {
    CFontMetrics m;
    if (!f) return m;
    const float scale = scaleFor(f, size);
    m.ascent = static_cast<float>(f->ascent) * scale;
    m.descent = static_cast<float>(-f->descent) * scale;
    m.lineGap = static_cast<float>(f->lineGap) * scale;
    return m;
}

float FontCache::layout(const FontFace* constFace, float size, const char* utf8, std::vector<PlacedGlyph>& out) {
    out.clear();
    if (!constFace || !utf8) return 0.0f;
    // The glyph index map is a cache inside the face; the face itself is
    // owned here, so dropping const is safe.
    auto* f = const_cast<FontFace*>(constFace);
    const float scale = scaleFor(f, size);
    float pen = 0.0f;
    int32_t previous = -1;
    const char* p = utf8;
    for (char32_t c = nextCodepoint(p); c != 0; c = nextCodepoint(p)) {
        if (isControl(c)) continue;
        const int32_t g = f->glyphIndex(c);
        if (previous >= 0) pen += static_cast<float>(stbtt_GetGlyphKernAdvance(&f->info, previous, g)) * scale;
        out.push_back({g, pen});
        int advance = 0;
        int leftBearing = 0;
        stbtt_GetGlyphHMetrics(&f->info, g, &advance, &leftBearing);
        pen += static_cast<float>(advance) * scale;
        previous = g;
    }
    return pen;
}

float FontCache::measure(const FontFace* f, float size, const char* utf8) {
    return layout(f, size, utf8, measureScratch);
}

size_t FontCache::GlyphKeyHash::operator()(const GlyphKey& k) const {
    size_t h = std::hash<const void*>()(k.face);
    for (int32_t v : {k.size64, k.glyph, k.phase}) h = h * 1000003u ^ std::hash<int32_t>()(v);
    return h;
}

const GlyphImage& FontCache::glyph(const FontFace* f, float size, int32_t glyphIndex, int32_t phase) {
    static const GlyphImage kNone;
    if (!f) return kNone;
    size = clampSize(size);
    phase = std::clamp(phase, 0, kSubpixelPhases - 1);
    const GlyphKey key{f, static_cast<int32_t>(std::lround(size * 64.0f)), glyphIndex, phase};
    if (auto it = glyphs.find(key); it != glyphs.end()) return it->second.image;
    if (glyphs.size() >= kMaxCachedGlyphs) glyphs.clear();

    CachedGlyph& entry = glyphs[key];
    const float scale = scaleFor(f, size);
    // Small text: stretch vertically so the x-height is a whole number of
    // pixels; the tops of lowercase letters then land on a pixel edge
    // instead of smearing over two rows. Widths are untouched.
    float scaleY = scale;
    const float xHeight = static_cast<float>(f->xHeight) * scale;
    if (xHeight >= 3.0f && size < 24.0f) scaleY = scale * std::round(xHeight) / xHeight;
    const float shift = static_cast<float>(phase) / static_cast<float>(kSubpixelPhases);
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    stbtt_GetGlyphBitmapBoxSubpixel(&f->info, glyphIndex, scale, scaleY, shift, 0.0f, &x0, &y0, &x1, &y1);
    const int w = x1 - x0;
    const int h = y1 - y0;
    if (w > 0 && h > 0) {
        entry.pixels.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0);
        stbtt_MakeGlyphBitmapSubpixel(&f->info, entry.pixels.data(), w, h, w, scale, scaleY, shift, 0.0f, glyphIndex);
        entry.image.width = w;
        entry.image.height = h;
        entry.image.coverage = entry.pixels.data();
    }
    entry.image.left = x0;
    entry.image.top = y0;
    return entry.image;
}

const uint8_t* FontCache::coverageCurve(bool lightText) {
    // out = 255 * (c / 255)^gamma with gamma < 1: partial coverage rises,
    // 0 and 255 stay put. Light text gets the stronger lift.
    static const auto makeCurve = [](double gamma) {
        std::array<uint8_t, 256> t{};
        for (int i = 0; i < 256; ++i) t[i] = static_cast<uint8_t>(std::lround(255.0 * std::pow(i / 255.0, gamma)));
        return t;
    };
    static const std::array<uint8_t, 256> light = makeCurve(0.75);
    static const std::array<uint8_t, 256> dark = makeCurve(0.8);
    return lightText ? light.data() : dark.data();
}

}  // namespace VSTGUI
