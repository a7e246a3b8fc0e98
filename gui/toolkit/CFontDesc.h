#pragma once
// A font by name and pixel size. The names are those of the fonts compiled
// into the program: "FUTURAB" (the bold display face) and
// "OpenSans-Regular" (the text face); an unknown name falls back to
// "OpenSans-Regular". Sizes are the em height in pixels (the text face's
// ascent-to-descent box is 1.36 em, so sizing by that box would make it
// look far smaller than the display face at the same number). Metrics and
// widths are unrounded; drawn text has its baseline on a whole pixel.
//
// Glyphs are rasterised once per (font, size, glyph) and cached for the
// life of the process; all calls run on the UI thread.

#include <cstdint>
#include <string>

#include "gui/toolkit/CBaseObject.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

enum CTxtFace : int32_t { kNormalFace = 0, kBoldFace = 1, kItalicFace = 2, kUnderlineFace = 4 };

struct CFontMetrics {
    float ascent = 0;   // pixels above the baseline (positive)
    float descent = 0;  // pixels below the baseline (positive)
    float lineGap = 0;
};

class CFontDesc : public CBaseObject {
public:
    CFontDesc(const char* name, CCoord size, int32_t style = kNormalFace);

    const std::string& getName() const { return name; }
    CCoord getSize() const { return size; }
    void setSize(CCoord s) { size = s; }
    int32_t getStyle() const { return style; }
    void setStyle(int32_t s) { style = s; }

    // Metrics of the face at this size.
    CFontMetrics getMetrics() const;
    // Advance width of a UTF-8 string at this size, kerning included.
    CCoord getStringWidth(const char* utf8) const;

private:
    std::string name;
    CCoord size;
    int32_t style;
};

// Fonts shared by the controls: the text face at 11 px and the display face
// at 12 px. Never freed.
extern CFontDesc* kNormalFont;
extern CFontDesc* kSystemFont;

}  // namespace VSTGUI
