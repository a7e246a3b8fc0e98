#pragma once
// Software drawing into a CDIB. All coordinates given to a context are
// shifted by its offset (containers move it to their own origin) and every
// pixel written lies inside the clip rectangle and the target.
//
// Rules that callers rely on:
// - A rectangle covers the pixels [left, right) x [top, bottom); filling it
//   with an opaque colour and kAliasing writes exactly those pixels (so does
//   kAntiAliasing when the corners are whole numbers). Framing
//   it draws a line of the line width just inside that area.
// - Colours blend source-over with their alpha; an opaque colour replaces.
// - kAntiAliasing (the default) smooths lines, polylines, polygons and
//   ellipses by coverage; kAliasing draws them with hard edges.
// - Text is UTF-8, drawn with the current font in the font colour, placed
//   in a rectangle by horizontal alignment and centred vertically.
//
// Where lines fall: a pixel (x, y) covers [x, x+1) x [y, y+1). Lines and
// polylines run through pixel centres: drawLine((x0, y), (x1, y)) with
// width 1 covers pixel row y from column x0 to column x1, both ends
// included (a line is capped by half its width beyond each end point), and
// a vertical line likewise covers one column. So a line between whole-number
// points is crisp, and one at y = 10.5 is shared between rows 10 and 11. An
// odd width stays crisp the same way; an even width is centred on the pixel
// centre and so half-covers its outer rows. Stroked polygons follow the same
// rule, while filled polygons and ellipses use the pixel edges, like
// rectangles: a polygon through (0,0), (10,0), (10,10), (0,10) fills the
// same 100 pixels as fillRect(CRect(0, 0, 10, 10)). A stroked ellipse draws
// its line inside the rectangle, as framed rectangles do.
// Dashed lines (kLineOnOffDash) repeat 2 widths on, 2 widths off along the
// whole polyline. Polylines join with mitres (bevels at sharp corners) and
// overlapping parts of one shape do not darken a translucent colour.
// kAliasing snaps line end points to whole pixels and draws every pixel that
// is at least half covered.
//
// Blending is exact in 8 bits. A source colour (r, g, b, A) drawn with a
// weight k in 0..255 (alphaDraw's `alpha`, or the coverage of a shape or
// glyph rounded to 0..255) has a = A * k / 65025; over a destination with
// alpha D the result is
//     alpha  = round(255 a + D (1 - a))
//     colour = round((src 255 a + dst D (1 - a)) / (255 a + D (1 - a)))
// i.e. straight-alpha source-over. On an opaque destination this is simply
// round(src a + dst (1 - a)) with alpha 255; a = 1 replaces the pixel.

#include <cassert>
#include <cstdint>
#include <vector>

#include "gui/toolkit/CBaseObject.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/CoverageRasterizer.h"
#include "gui/toolkit/FontCache.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

enum CLineStyle : int32_t { kLineSolid = 0, kLineOnOffDash };
enum CDrawMode : int32_t { kAliasing = 0, kAntiAliasing = 1, kCopyMode = kAliasing };
enum CDrawStyle : int32_t { kDrawStroked = 0, kDrawFilled, kDrawFilledAndStroked };
enum CHoriTxtAlign : int32_t { kLeftText = 0, kCenterText, kRightText };

class CDrawContext : public CBaseObject {
public:
    // Draws into `target` (one reference is held). The clip starts as the
    // whole target and the offset at (0, 0).
    explicit CDrawContext(CDIB* target);

    CDIB* getTarget() const { return target; }

    // ---- State ----
    void setFrameColor(const CColor& c) { frameColor = c; }
    CColor getFrameColor() const { return frameColor; }
    void setFillColor(const CColor& c) { fillColor = c; }
    CColor getFillColor() const { return fillColor; }
    void setFontColor(const CColor& c) { fontColor = c; }
    CColor getFontColor() const { return fontColor; }
    void setLineWidth(CCoord width) { lineWidth = width > 0 ? width : 1; }
    CCoord getLineWidth() const { return lineWidth; }
    void setLineStyle(CLineStyle s) { lineStyle = s; }
    CLineStyle getLineStyle() const { return lineStyle; }
    void setDrawMode(CDrawMode m) { drawMode = m; }
    CDrawMode getDrawMode() const { return drawMode; }
    // Font and, when size > 0, a size that overrides the font's own.
    void setFont(CFontDesc* font, CCoord size = 0, int32_t style = -1);
    CFontDesc* getFont() const { return font.get(); }

    // The clip in the context's current coordinates. Setting it intersects
    // nothing: callers intersect with getClipRect() when they nest.
    void setClipRect(const CRect& clip);
    CRect getClipRect() const;
    void resetClipRect();
    void setOffset(const CPoint& o) { offset = o; }
    CPoint getOffset() const { return offset; }

    // ---- Lines and shapes ----
    void moveTo(const CPoint& p) { penPosition = p; }
    void lineTo(const CPoint& p);
    CPoint getPenPosition() const { return penPosition; }
    void drawLine(const CPoint& from, const CPoint& to);
    // An open polyline through the points, joined without gaps.
    void drawPolyline(const CPoint* points, int32_t count);
    void drawRect(const CRect& rect, CDrawStyle style = kDrawStroked);
    void fillRect(const CRect& rect) { drawRect(rect, kDrawFilled); }
    // A closed polygon, filled by the non-zero rule.
    void drawPolygon(const CPoint* points, int32_t count, CDrawStyle style = kDrawStroked);
    void drawEllipse(const CRect& rect, CDrawStyle style = kDrawStroked);
    // One pixel, blended in colour `c`.
    void drawPoint(const CPoint& p, const CColor& c);

    // ---- Text ----
    // The string's ascent-to-descent box is centred in `rect`; the baseline
    // and the string's start are rounded to whole pixels. Text is not cut
    // to `rect`, only to the clip.
    void drawString(const char* utf8, const CRect& rect, CHoriTxtAlign align = kCenterText);
    // Draws with the baseline's start at `origin`.
    void drawStringAt(const char* utf8, const CPoint& origin);
    CCoord getStringWidth(const char* utf8) const;

    // ---- Pixels (used by bitmaps) ----
    // Blends one pixel at device coordinates, already clipped by the caller
    // or not: pixels outside the clip are ignored. `coverage` scales alpha.
    void blendDevicePixel(int32_t x, int32_t y, const CColor& c, float coverage = 1.0f);
    // The clip in device (target) coordinates, whole pixels: the pixels
    // whose centres lie inside it, within the target.
    void deviceClip(int32_t& x0, int32_t& y0, int32_t& x1, int32_t& y1) const;
    // Blends a colour into one BGRA pixel with weight a = alpha65025 / 65025
    // (source alpha times a 0..255 weight) by the rule above.
    static void blendBGRA(uint8_t* pixel, uint8_t blue, uint8_t green, uint8_t red, uint32_t alpha65025);

protected:
    ~CDrawContext() override;

private:
    CDIB* target;
    SharedPointer<CFontDesc> font;
    CCoord fontSizeOverride = 0;
    CColor frameColor = kBlackCColor;
    CColor fillColor = kWhiteCColor;
    CColor fontColor = kWhiteCColor;
    CCoord lineWidth = 1;
    CLineStyle lineStyle = kLineSolid;
    CDrawMode drawMode = kAntiAliasing;
    CRect clipDevice;
    CPoint offset;
    CPoint penPosition;
    int32_t fontStyleOverride = -1;

    // The drawing calls' working storage: the calling thread's, shared by
    // all its contexts (see CDrawContext.cpp).
    struct Scratch;
    static Scratch& scratch();

    CFontDesc* currentFont() const;
    CCoord currentFontSize() const;
    // Device coordinates of a context point; `centre` adds the half pixel
    // of the line convention (and snaps to whole pixels when aliased).
    void toDevicePath(const CPoint* points, int32_t count, bool centre, std::vector<float>& out) const;
    void fillCollected(const CColor& c);
    void fillDeviceRect(float left, float top, float right, float bottom, const CColor& c);
    void strokeDevicePath(const float* xy, int32_t count, bool closed, bool caps);
    void strokeSolid(const float* xy, int32_t count, bool closed, float halfWidth);
    void addEllipse(float cx, float cy, float rx, float ry, bool reversed);
    static int32_t ellipsePath(float cx, float cy, float rx, float ry, std::vector<float>& out);
    void drawGlyphRun(float penX, int32_t baseline, CCoord width);
};

// A context for one paint, made on the stack instead of with new, so that
// code which needs a fresh context every frame allocates nothing for it.
// Whatever draws through it must not keep a reference past the paint.
class CLocalDrawContext final : public CDrawContext {
public:
    explicit CLocalDrawContext(CDIB* target) : CDrawContext(target) {}
    ~CLocalDrawContext() override { assert(getNbReference() == 1 && "a drawing context outlived its paint"); }
};

// A context that owns its target bitmap: for drawing a view off screen and
// copying the result elsewhere.
class COffscreenContext : public CDrawContext {
public:
    COffscreenContext(int32_t width, int32_t height, const CColor& background = kTransparentCColor);
    // Copies `source` (in this bitmap) onto `dest` in `into`.
    void copyTo(CDrawContext* into, const CRect& dest, const CPoint& source = CPoint());
    CDIB* getBitmap() const { return getTarget(); }

protected:
    ~COffscreenContext() override;
};

}  // namespace VSTGUI
