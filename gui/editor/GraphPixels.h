#pragma once
// Anti-aliased straight lines drawn straight into a pixel store, for the
// response graph. A line is the rectangle around a segment (no caps past
// its ends); each pixel it touches is blended towards the colour by the
// exact area of the pixel the rectangle covers, times the opacity. These
// are called tens of thousands of times per frame, so nothing here
// allocates and whole pixels inside a line are filled without measuring.
//
// Everything is clipped to the bitmap; a call with a NaN or infinite
// coordinate, width or opacity draws nothing.

#include <cstdint>

#include "gui/toolkit/CDIB.h"

namespace graphpix {

// A segment from (x0, y0) to (x1, y1), `width` thick, blended over the
// pixels by the exact area it covers: colour components 0..255, alpha
// 0..1. Marks the bitmap dirty.
void drawAALine(VSTGUI::CDIB& dib, float x0, float y0, float x1, float y1, float width, int red, int green,
                int blue, float alpha);

// The axis-aligned cases (drawAALine hands them over): the same coverage,
// measured once for the partial first and last rows or columns and shared
// by the whole ones between.
void drawAAVLine(VSTGUI::CDIB& dib, float x, float y0, float y1, float width, int red, int green, int blue,
                 float alpha);
void drawAAHLine(VSTGUI::CDIB& dib, float y, float x0, float x1, float width, int red, int green, int blue,
                 float alpha);

// Columns x0 .. x1 - 1, each covered from from[x] to to[x] (either way
// round): the same pixels as drawAAVLine(x + 0.5, from[x], to[x], 1, ...)
// column by column, painted row by row so that the writes run along the
// rows. The arrays are indexed by x.
void fillColumns(VSTGUI::CDIB& dib, int x0, int x1, const float* from, const float* to, int red, int green,
                 int blue, float alpha);

struct Rgb {
    uint8_t red, green, blue;
};

// Hue in degrees (any real; taken mod 360), saturation and value 0..1.
Rgb hsvToRgb(double hue, double saturation, double value);

}  // namespace graphpix
