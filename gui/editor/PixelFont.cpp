#include "gui/editor/PixelFont.h"

#include <algorithm>

using namespace VSTGUI;

namespace {

constexpr int32_t kBlankWidth = 3;

// The second and later bytes of a UTF-8 character: 10xxxxxx.
constexpr bool continuesCharacter(unsigned char byte) { return (byte & 0xc0) == 0x80; }

// (a * b) / 255, rounded, for bytes.
constexpr uint32_t scale(uint32_t a, uint32_t b) { return (a * b + 127) / 255; }

// `over` laid on `under` with weight a / 255.
constexpr uint8_t blend(uint32_t over, uint32_t under, uint32_t a) {
    return static_cast<uint8_t>((over * a + under * (255 - a) + 127) / 255);
}

}  // namespace

const PixelFont& PixelFont::small() {
    // Built on first use and never destroyed: drawing code may run while
    // other statics are being torn down.
    static const PixelFont* font = new PixelFont(glyphs::kSmall);
    return *font;
}

const PixelFont& PixelFont::large() {
    static const PixelFont* font = new PixelFont(glyphs::kLarge);
    return *font;
}

PixelFont::PixelFont(const glyphs::StripFacts& facts)
    : strip(CDIB::fromResource(facts.id)), cellHeight(facts.cellHeight), spacing(facts.spacing()) {
    // Everything advances like a blank until the strip says otherwise.
    for (size_t byte = 0; byte < table.size(); ++byte) {
        if (!continuesCharacter(static_cast<unsigned char>(byte))) {
            table[byte].advance = static_cast<uint8_t>(kBlankWidth + spacing);
        }
    }
    if (!strip) return;
    const int32_t rows = std::min(cellHeight, strip->height());
    for (size_t i = 0; i < glyphs::kCharacters.size(); ++i) {
        const int32_t left = static_cast<int32_t>(i) * facts.pitch;
        const int32_t right = std::min(left + facts.cellWidth, strip->width());
        int32_t width = 0, top = rows, bottom = 0;
        for (int32_t y = 0; y < rows; ++y) {
            const uint8_t* row = strip->row(y);
            for (int32_t x = left; x < right; ++x) {
                if (row[x * 4 + 3] == 0) continue;
                width = std::max(width, x - left + 1);
                top = std::min(top, y);
                bottom = y + 1;
            }
        }
        if (width == 0) continue;  // an empty cell stays a blank
        Glyph& g = table[static_cast<unsigned char>(glyphs::kCharacters[i])];
        g.column = static_cast<int16_t>(left);
        g.width = static_cast<uint8_t>(width);
        g.top = static_cast<uint8_t>(top);
        g.bottom = static_cast<uint8_t>(bottom);
        g.advance = static_cast<uint8_t>(width + spacing);
    }
}

int32_t PixelFont::textWidth(std::string_view text) const {
    int32_t width = 0;
    for (const char ch : text) width += table[static_cast<unsigned char>(ch)].advance;
    return width > 0 ? width - spacing : 0;
}

int32_t PixelFont::draw(CDIB& target, std::string_view text, int32_t x, int32_t y, const CColor& colour) const {
    const int32_t start = x;
    int32_t pen = x;
    const uint32_t alpha = colour.alpha;
    // The glyphs' rows that fall inside the target, as offsets from y.
    const int32_t rowFrom = std::max(0, -y), rowTo = std::min(cellHeight, target.height() - y);
    bool drawn = false;
    for (const char ch : text) {
        const Glyph& g = table[static_cast<unsigned char>(ch)];
        const int32_t left = std::max(pen, 0), right = std::min(pen + g.width, target.width());
        const int32_t top = std::max<int32_t>(g.top, rowFrom), bottom = std::min<int32_t>(g.bottom, rowTo);
        if (alpha != 0 && left < right && top < bottom) {
            for (int32_t row = top; row < bottom; ++row) {
                const uint8_t* src = strip->row(row) + (g.column + left - pen) * 4 + 3;
                uint8_t* dst = target.row(y + row) + left * 4;
                for (int32_t px = left; px < right; ++px, src += 4, dst += 4) {
                    const uint32_t a = scale(alpha, *src);
                    if (a == 0) continue;
                    dst[0] = blend(colour.blue, dst[0], a);
                    dst[1] = blend(colour.green, dst[1], a);
                    dst[2] = blend(colour.red, dst[2], a);
                    dst[3] = 255;
                }
            }
            drawn = true;
        }
        pen += g.advance;
    }
    if (drawn) target.dirty = true;
    return pen > start ? pen - spacing : start;
}
