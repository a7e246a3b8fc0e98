#pragma once
// The drawing shared by the images: a canvas per image with its frames,
// colour arithmetic, rounded and shaded shapes, the faces of buttons in
// their states, and labels centred by their ink.

#include <cstdint>
#include <string_view>
#include <vector>

#include "gui/toolkit/CDrawContext.h"
#include "tools/artgen/ArtCatalogue.h"

namespace art {

using VSTGUI::CColor;
using VSTGUI::CDrawContext;
using VSTGUI::CPoint;
using VSTGUI::CRect;

// An image being drawn: a transparent bitmap of the catalogue's size and a
// context drawing into it.
class Canvas {
public:
    explicit Canvas(const ImageFacts& facts);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    const ImageFacts& facts() const { return image; }
    int32_t width() const { return image.width; }
    int32_t frameHeight() const { return image.frameHeight; }
    int32_t frames() const { return image.frames(); }
    VSTGUI::CDIB& dib() { return *context->getTarget(); }
    CDrawContext& ctx() { return *context; }

    // Moves drawing to frame `index`: its top-left becomes (0, 0) and
    // nothing is drawn outside it. Returns the frame's rectangle.
    CRect frame(int32_t index);
    // The whole image again, from its top-left.
    CRect whole();

private:
    const ImageFacts& image;
    CDrawContext* context;
};

// ---- Colours ----
// a + (b - a) t, alpha included.
CColor mix(const CColor& a, const CColor& b, float t);
// `c` with its alpha scaled by `a` (0..1).
CColor faded(const CColor& c, float a);

// ---- Shapes (rectangles run from left/top inclusive to right/bottom exclusive) ----
// A rectangle's outline with quarter-circle corners, as a polygon.
void roundedRectPath(const CRect& r, float radius, std::vector<CPoint>& out);
void fillRounded(CDrawContext& c, const CRect& r, float radius, const CColor& colour);
// Filled with a colour running from `top` in its first row to `bottom` in its last.
void fillRoundedGradient(CDrawContext& c, const CRect& r, float radius, const CColor& top, const CColor& bottom);
// A 1 px `edge` around a gradient fill.
void edgedRounded(CDrawContext& c, const CRect& r, float radius, const CColor& edge, const CColor& top,
                  const CColor& bottom);
// Whole-pixel horizontal and vertical runs, 1 px thick.
void hLine(CDrawContext& c, float x0, float x1, float y, const CColor& colour);
void vLine(CDrawContext& c, float x, float y0, float y1, const CColor& colour);
// An anti-aliased line between points given in pixel-edge coordinates
// (pixel (x, y) spans x..x+1), round enough for icons.
void line(CDrawContext& c, CPoint a, CPoint b, const CColor& colour, float width);
// An open polyline in pixel-edge coordinates.
void polyline(CDrawContext& c, const std::vector<CPoint>& points, const CColor& colour, float width);
// A filled polygon in pixel-edge coordinates.
void polygon(CDrawContext& c, const std::vector<CPoint>& points, const CColor& colour);
// Points along a circular arc around `centre`; angles in degrees clockwise
// from 12 o'clock.
void arcPoints(CPoint centre, float radius, float fromDeg, float toDeg, std::vector<CPoint>& out);
// A point `radius` from `centre` at `deg` degrees clockwise from 12 o'clock.
CPoint polar(CPoint centre, float radius, float deg);

// ---- The header bar's ground, shared by everything that sits in it ----
void headerGround(CDrawContext& c, const CRect& r);

// ---- Faces of buttons and fields ----
enum class State { kNormal, kPressed, kLit, kDisabled, kWarning };
// A button face in a state: raised at rest, sunken when pressed, filled
// with the accent when lit, flat and dim when disabled, filled with the
// warning colour for a warning state.
void buttonFace(CDrawContext& c, const CRect& r, State s, float radius = 3);
// The colour of a label or symbol on a face in that state.
CColor inkFor(State s);
// A recessed field: a dark fill with a shadowed top and a 1 px frame.
void fieldWell(CDrawContext& c, const CRect& r, float radius = 2);
// A small downward triangle (the mark of a drop-down menu) centred on `at`.
void dropMark(CDrawContext& c, CPoint at, const CColor& colour);

// ---- Text ----
enum class Face { kDisplay, kText };
// `text` centred in `box`: horizontally by its ink, vertically by the
// capitals' height, so a label sits in the middle whatever its letters.
// `tracking` adds space between letters.
void label(CDrawContext& c, std::string_view text, const CRect& box, Face face, float size, const CColor& colour,
           float tracking = 0);
// The advance width of `text` with `tracking`.
float labelWidth(std::string_view text, Face face, float size, float tracking = 0);
// Draws `text` with its baseline's start at `origin` (whole pixels).
void textAt(CDrawContext& c, std::string_view text, CPoint origin, Face face, float size, const CColor& colour,
            float tracking = 0);

}  // namespace art
