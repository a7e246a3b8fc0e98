#pragma once
// Text drawn from the glyph strips, the editor's small pixel fonts: the
// graph's frequency and gain labels and other short values, drawn straight
// into a bitmap without going through the font rasteriser. A glyph's
// advance is its ink width plus the strip's spacing; characters the strip
// lacks (a blank among them) advance like a three-pixel blank.

#include <array>
#include <cstdint>
#include <string_view>

#include "gui/toolkit/CDIB.h"
#include "resources/GlyphStrips.h"

class PixelFont {
public:
    static const PixelFont& small();  // strip 101
    static const PixelFont& large();  // strip 102

    PixelFont(const PixelFont&) = delete;
    PixelFont& operator=(const PixelFont&) = delete;

    // The cell height: every text is this high.
    int32_t height() const { return cellHeight; }
    // The width in pixels of `text`, without spacing after its last
    // character. Bytes continuing a UTF-8 character add nothing, so a
    // character the strip lacks counts once, as a blank.
    int32_t textWidth(std::string_view text) const;
    // Draws `text` with its first cell's top-left at (x, y): each pixel
    // blended over the target by the colour's alpha times the glyph's
    // coverage, the alpha of touched pixels set to opaque, all clipped to
    // the target. Returns x + textWidth(text).
    int32_t draw(VSTGUI::CDIB& target, std::string_view text, int32_t x, int32_t y, const VSTGUI::CColor& colour) const;

private:
    explicit PixelFont(const glyphs::StripFacts& facts);
    ~PixelFont() = default;

    // Where a character's ink lies in the strip: columns [column, column +
    // width), rows [top, bottom). Width 0 draws nothing.
    struct Glyph {
        int16_t column = 0;
        uint8_t width = 0;
        uint8_t top = 0;
        uint8_t bottom = 0;
        uint8_t advance = 0;  // pixels to the next character's cell
    };

    const VSTGUI::CDIB* strip = nullptr;  // held for the program's life; null when missing
    int32_t cellHeight;
    int32_t spacing;
    std::array<Glyph, 256> table{};  // by byte value
};
