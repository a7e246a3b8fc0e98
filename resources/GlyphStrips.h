#pragma once
// The two glyph strips, the editor's small pixel fonts: which characters
// they hold and how their cells are laid out. The build draws the strips
// from these facts (tools/artgen) and the editor reads text out of them
// (gui/editor/PixelFont), so both sides agree on one table.

#include <cstdint>
#include <string_view>

namespace glyphs {

// The characters in cell order; cell i starts at x = i * pitch. A glyph
// starts at its cell's column 0, keeps within the first `cellWidth`
// columns and is stored as coverage in every channel, (c, c, c, c). The
// columns past `cellWidth` are the spacing between neighbouring glyphs.
inline constexpr std::string_view kCharacters =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.%-,+#:/";

struct StripFacts {
    int32_t id;  // the image number of the strip
    int32_t pitch;
    int32_t cellWidth;
    int32_t cellHeight;  // also the strip's height

    constexpr int32_t spacing() const { return pitch - cellWidth; }
    constexpr int32_t stripWidth() const { return static_cast<int32_t>(kCharacters.size()) * pitch; }
};

inline constexpr StripFacts kSmall{101, 8, 7, 9};
inline constexpr StripFacts kLarge{102, 11, 9, 11};
inline constexpr StripFacts kStrips[] = {kSmall, kLarge};

}  // namespace glyphs
