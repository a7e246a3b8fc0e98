#pragma once
// Every image of the editor: its number (compiled in as the resource named
// by the number in decimal, type "PNG", found by CDIB::fromResource), its
// size and how it divides into frames. fenwoldrine-artgen draws exactly
// these, and the build embeds exactly these: cmake/ArtImages.cmake reads
// the numbers from the table's lines, so keep one image a line, number
// first.

#include <cstdint>
#include <string_view>

#include "resources/GlyphStrips.h"

namespace art {

struct ImageFacts {
    int32_t id;
    int32_t width;
    int32_t height;
    int32_t frameHeight;  // frames are stacked from the top, each this high
    const char* what;

    constexpr int32_t frames() const { return height / frameHeight; }
};

inline constexpr ImageFacts kImages[] = {
    // Chrome and panels
    {900, 16, 25, 25, "header bar ground, tiled along x"},
    {901, 181, 25, 25, "logo at the header's left end"},
    {213, 16, 7, 7, "shadow under the header, tiled along x"},
    {807, 44, 16, 16, "fade from the band strips into the meter section, tiled along y"},
    {903, 632, 428, 428, "setup wizard background"},
    {210, 632, 403, 403, "setup panel background: rows 0-49, 50-352 repeated, 353-402"},
    {215, 153, 11, 11, "heading shade above the setup panel's page list"},
    {211, 282, 54, 54, "preset box background"},
    {220, 133, 240, 240, "scale tray background"},
    {400, 20, 11, 11, "vertical slider handle"},
    // Buttons: frame 0 is the normal or off state
    {221, 12, 20, 10, "scale tray handle: closed, open"},
    {231, 28, 34, 17, "preset load includes EQ: off, on"},
    {230, 28, 34, 17, "preset load includes DSP: off, on"},
    {232, 28, 34, 17, "preset load includes UI: off, on"},
    {233, 71, 18, 9, "preset or bank switch: PRESET lit, BANK lit"},
    {502, 24, 54, 27, "load: normal, pressed"},
    {501, 24, 54, 27, "save: normal, pressed"},
    {504, 26, 75, 25, "undo: normal, pressed, disabled"},
    {503, 26, 75, 25, "redo: normal, pressed, disabled"},
    {505, 15, 42, 14, "previous preset: normal, pressed, disabled"},
    {507, 15, 42, 14, "next preset: normal, pressed, disabled"},
    {506, 208, 18, 18, "preset menu face"},
    {800, 67, 50, 25, "analyser: off, on"},
    {801, 10, 50, 25, "clip light: off, lit"},
    {802, 27, 25, 25, "A/B slot menu face"},
    {803, 59, 50, 25, "copy slot menu: normal, pressed"},
    {804, 27, 50, 25, "bypass: off, on"},
    {806, 35, 25, 25, "stereo group menu face"},
    {808, 49, 50, 25, "setup: normal, pressed"},
    {810, 53, 50, 25, "presets tray: off, on"},
    {811, 26, 50, 25, "full screen: off, on"},
    // Band strips
    {602, 65, 4, 4, "band strip top edge"},
    {601, 65, 406, 406, "band strip body, uniform vertically"},
    {600, 65, 4, 4, "band strip bottom edge"},
    {212, 65, 154, 154, "text-mode band strip body, uniform vertically"},
    {604, 59, 17, 17, "band value field"},
    {603, 34, 41, 41, "knob ring and scale"},
    {700, 30, 10800, 30, "knob film: frame d points d degrees clockwise from 12 o'clock"},
    {401, 31, 32, 32, "band type button body, tinted when drawn"},
    {402, 31, 406, 58, "band type glyphs, tinted when drawn"},
    // Meters
    {605, 66, 600, 600, "small meter block background"},
    {606, 133, 600, 600, "master meter block background"},
    {608, 24, 600, 600, "meter column pair well"},
    {607, 28, 14, 14, "gain fader handle"},
    {610, 20, 32, 16, "phase invert: off, on"},
    {611, 20, 32, 16, "mute: off, on"},
    {612, 20, 32, 16, "solo: off, on"},
    {614, 20, 32, 16, "link: off, on"},
    // Glyph strips
    {101, 560, 9, 9, "small glyph strip"},
    {102, 770, 11, 11, "large glyph strip"},
};

// ---- Facts of particular images that readers rely on ----

// The knob film: one frame per degree.
inline constexpr int32_t kKnobFilm = 700;
inline constexpr int32_t kKnobSize = 30;

// The band type glyphs: block k is band type k, its glyph in rows
// kBandGlyphTop .. kBandGlyphTop + kBandGlyphRows - 1 of the block.
inline constexpr int32_t kBandGlyphs = 402;
inline constexpr int32_t kBandGlyphTop = 13;
inline constexpr int32_t kBandGlyphRows = 32;

// The glyph strips: their characters and cell layout live with the
// resources, where the editor's pixel fonts read them too.
inline constexpr std::string_view kGlyphCharacters = glyphs::kCharacters;
using GlyphStripFacts = glyphs::StripFacts;
inline constexpr const auto& kGlyphStrips = glyphs::kStrips;

// The facts of image `id`, or null.
constexpr const ImageFacts* findImage(int32_t id) {
    for (const ImageFacts& f : kImages) {
        if (f.id == id) return &f;
    }
    return nullptr;
}

// Each strip's image is exactly as large as its cells need.
static_assert([] {
    for (const GlyphStripFacts& s : kGlyphStrips) {
        int matches = 0;
        for (const ImageFacts& f : kImages) {
            if (f.id == s.id && f.width == s.stripWidth() && f.height == s.cellHeight) ++matches;
        }
        if (matches != 1) return false;
    }
    return true;
}());

}  // namespace art
