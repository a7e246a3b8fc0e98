#include "gui/editor/GraphPixels.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace graphpix {

namespace {

using VSTGUI::CDIB;

// A weight of this many 1/65536ths replaces the pixel with the colour.
constexpr int kFullWeight = 0x10000;

struct Paint {
    int red, green, blue;
    double alpha;  // 0..1
};

// A polygon's corner with the slope (dy/dx) of the edge to the next
// corner and its inverse (dx/dy), so clipping never divides.
struct Point {
    double x, y, slope, inverse;
};

// One edge of a polygon as the area under it is measured: its x extent,
// the y at its left end, its slope and +1 or -1 for the way it runs.
struct Edge {
    double lo, hi, yAtLo, slope, sign;
};

bool allFinite(std::initializer_list<float> values) {
    for (float v : values)
        if (!std::isfinite(v)) return false;
    return true;
}

Paint makePaint(int red, int green, int blue, float alpha) {
    return {std::clamp(red, 0, 255), std::clamp(green, 0, 255), std::clamp(blue, 0, 255),
            std::min(1.0, static_cast<double>(alpha))};
}

// floor(v) and ceil(v) clamped to [lo, hi] with 0 <= lo: far-out and NaN
// coordinates land on the bounds, and within them v is positive, so the
// conversion's truncation is the floor (no library call).
int floorIn(double v, int lo, int hi) {
    if (!(v > lo)) return lo;
    if (!(v < hi)) return hi;
    return static_cast<int>(v);
}

int ceilIn(double v, int lo, int hi) {
    if (!(v > lo)) return lo;
    if (!(v < hi)) return hi;
    const int i = static_cast<int>(v);
    return i < v ? i + 1 : i;
}

// Coverage 0..1 at the paint's opacity in 1/65536ths, rounded.
int weightOf(double coverage, double alpha) {
    const double w = coverage * alpha * 65536.0 + 0.5;
    if (!(w >= 1.0)) return 0;
    return w >= kFullWeight ? kFullWeight : static_cast<int>(w);
}

// Moves the pixel (blue, green, red, alpha bytes) `weight`/65536 of the
// way to the colour and makes it opaque. The products may be negative;
// the shift rounds them down, which keeps every channel between its old
// value and the colour's.
inline void blendPixel(uint8_t* p, const Paint& paint, int weight) {
    if (weight == kFullWeight) {
        p[0] = static_cast<uint8_t>(paint.blue);
        p[1] = static_cast<uint8_t>(paint.green);
        p[2] = static_cast<uint8_t>(paint.red);
    } else {
        p[0] = static_cast<uint8_t>(p[0] + (((paint.blue - p[0]) * weight) >> 16));
        p[1] = static_cast<uint8_t>(p[1] + (((paint.green - p[1]) * weight) >> 16));
        p[2] = static_cast<uint8_t>(p[2] + (((paint.red - p[2]) * weight) >> 16));
    }
    p[3] = 255;
}

// Pixels [from, to) of a row at one weight; a zero weight leaves them be.
void blendSpan(uint8_t* row, int from, int to, const Paint& paint, int weight) {
    if (weight <= 0) return;
    if (weight == kFullWeight) {
        for (int x = from; x < to; ++x) blendPixel(row + 4 * x, paint, weight);
        return;
    }
    // One weight for the whole span: a plain loop the compiler can widen.
    const int blue = paint.blue, green = paint.green, red = paint.red;
    uint8_t* p = row + 4 * from;
    for (int x = from; x < to; ++x, p += 4) {
        p[0] = static_cast<uint8_t>(p[0] + (((blue - p[0]) * weight) >> 16));
        p[1] = static_cast<uint8_t>(p[1] + (((green - p[1]) * weight) >> 16));
        p[2] = static_cast<uint8_t>(p[2] + (((red - p[2]) * weight) >> 16));
        p[3] = 255;
    }
}

// The length of [i, i + 1) that lies within [a, b].
double overlap(int i, double a, double b) {
    return std::max(0.0, std::min(i + 1.0, b) - std::max(static_cast<double>(i), a));
}

// The rectangle [left, right] x [top, bottom]. Its coverage of a pixel is
// the product of its column's and its row's overlaps, and only the outer
// rows and columns overlap partly, so the rows between share three
// weights: first column, whole columns, last column.
void fillAxisRect(CDIB& dib, double left, double right, double top, double bottom, const Paint& paint) {
    const int c0 = floorIn(left, 0, dib.width());
    const int c1 = ceilIn(right, 0, dib.width());
    const int r0 = floorIn(top, 0, dib.height());
    const int r1 = ceilIn(bottom, 0, dib.height());
    if (c0 >= c1 || r0 >= r1) return;
    const double firstColumn = overlap(c0, left, right);
    const double lastColumn = overlap(c1 - 1, left, right);

    auto paintRow = [&](int y, int wFirst, int wMiddle, int wLast) {
        uint8_t* row = dib.row(y);
        if (wFirst > 0) blendPixel(row + 4 * c0, paint, wFirst);
        if (c1 - c0 > 1) {
            blendSpan(row, c0 + 1, c1 - 1, paint, wMiddle);
            if (wLast > 0) blendPixel(row + 4 * (c1 - 1), paint, wLast);
        }
    };
    auto paintPartialRow = [&](int y) {
        const double rowCover = overlap(y, top, bottom);
        paintRow(y, weightOf(firstColumn * rowCover, paint.alpha), weightOf(rowCover, paint.alpha),
                 weightOf(lastColumn * rowCover, paint.alpha));
    };

    paintPartialRow(r0);
    if (r1 - r0 > 1) paintPartialRow(r1 - 1);
    const int wFirst = weightOf(firstColumn, paint.alpha);
    const int wMiddle = weightOf(1.0, paint.alpha);
    const int wLast = weightOf(lastColumn, paint.alpha);
    for (int y = r0 + 1; y < r1 - 1; ++y) paintRow(y, wFirst, wMiddle, wLast);
}

// Keeps the part of a convex polygon on one side of the line y = edge
// (y >= edge when `keepGreater`, else y <= edge). Points made on the line
// get exactly `edge` as y. Each kept edge keeps its slope; the edge made
// along the line is level. `out` needs room for count + 1 points.
int clipToHorizontal(const Point* in, int count, Point* out, double edge, bool keepGreater) {
    if (count < 3) return 0;
    int n = 0;
    Point prev = in[count - 1];
    bool prevIn = keepGreater ? prev.y >= edge : prev.y <= edge;
    for (int i = 0; i < count; ++i) {
        const Point cur = in[i];
        const bool curIn = keepGreater ? cur.y >= edge : cur.y <= edge;
        if (curIn != prevIn) {
            const double x = prev.x + (edge - prev.y) * prev.inverse;
            out[n++] = curIn ? Point{x, edge, prev.slope, prev.inverse} : Point{x, edge, 0.0, 0.0};
        }
        if (curIn) out[n++] = cur;
        prev = cur;
        prevIn = curIn;
    }
    return n;
}

// The area of the polygon whose non-vertical edges are `edges` inside the
// column [left, left + 1]: the integral of y dx along the boundary, each
// edge cut to the column. The column's own sides, which close the cut
// boundary, are vertical and add nothing to that integral.
double columnCoverage(const Edge* edges, int count, double left) {
    const double right = left + 1.0;
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        const Edge& e = edges[i];
        const double a = std::min(std::max(left, e.lo), e.hi);
        const double b = std::min(std::max(right, e.lo), e.hi);
        sum += e.sign * (2.0 * e.yAtLo + e.slope * ((a - e.lo) + (b - e.lo))) * (b - a);
    }
    return std::min(1.0, std::abs(sum) * 0.5);
}

// One pixel row of a convex polygon given in the row's own coordinates
// (the row is 0 <= y <= 1).
void fillPolygonRow(CDIB& dib, int y, const Point* quad, const Paint& paint) {
    Point above[8];
    Point band[8];
    const int n = clipToHorizontal(above, clipToHorizontal(quad, 4, above, 0.0, true), band, 1.0, false);
    if (n < 3) return;

    // The polygon's x extent, and its cross-sections along the row's top
    // and bottom: a pixel lying between both is covered whole.
    double minX = band[0].x, maxX = band[0].x;
    double topL = HUGE_VAL, topR = -HUGE_VAL, bottomL = HUGE_VAL, bottomR = -HUGE_VAL;
    Edge edges[8];
    int edgeCount = 0;
    for (int i = 0; i < n; ++i) {
        const Point a = band[i];
        const Point b = band[i + 1 < n ? i + 1 : 0];
        minX = std::min(minX, a.x);
        maxX = std::max(maxX, a.x);
        if (a.y == 0.0) {
            topL = std::min(topL, a.x);
            topR = std::max(topR, a.x);
        } else if (a.y == 1.0) {
            bottomL = std::min(bottomL, a.x);
            bottomR = std::max(bottomR, a.x);
        }
        // Vertical edges and those along the row's top (y = 0) add nothing.
        if (a.x != b.x && (a.y != 0.0 || b.y != 0.0)) {
            const bool rightward = b.x > a.x;
            edges[edgeCount++] = {rightward ? a.x : b.x, rightward ? b.x : a.x, rightward ? a.y : b.y, a.slope,
                                  rightward ? 1.0 : -1.0};
        }
    }

    const int x0 = floorIn(minX, 0, dib.width());
    const int x1 = ceilIn(maxX, 0, dib.width());
    if (x0 >= x1) return;
    int wholeFrom = x1;
    int wholeTo = x1;
    if (topL <= topR && bottomL <= bottomR) {
        const int from = ceilIn(std::max(topL, bottomL), x0, x1);
        const int to = floorIn(std::min(topR, bottomR), x0, x1);
        if (from < to) {
            wholeFrom = from;
            wholeTo = to;
        }
    }

    uint8_t* row = dib.row(y);
    auto partial = [&](int from, int to) {
        for (int x = from; x < to; ++x) {
            const int w = weightOf(columnCoverage(edges, edgeCount, x), paint.alpha);
            if (w > 0) blendPixel(row + 4 * x, paint, w);
        }
    };
    partial(x0, wholeFrom);
    blendSpan(row, wholeFrom, wholeTo, paint, weightOf(1.0, paint.alpha));
    partial(wholeTo, x1);
}

}  // namespace

void drawAAVLine(CDIB& dib, float x, float y0, float y1, float width, int red, int green, int blue,
                 float alpha) {
    if (!allFinite({x, y0, y1, width, alpha}) || !(width > 0.0f) || !(alpha > 0.0f)) return;
    if (y1 < y0) std::swap(y0, y1);
    const double half = 0.5 * static_cast<double>(width);
    fillAxisRect(dib, x - half, x + half, y0, y1, makePaint(red, green, blue, alpha));
    dib.dirty = true;
}

void fillColumns(CDIB& dib, int x0, int x1, const float* from, const float* to, int red, int green, int blue,
                 float alpha) {
    if (!std::isfinite(alpha) || !(alpha > 0.0f)) return;
    x0 = std::max(x0, 0);
    x1 = std::min(x1, dib.width());
    if (x0 >= x1) return;
    for (int x = x0; x < x1; ++x) {
        if (!std::isfinite(from[x]) || !std::isfinite(to[x])) return;
    }
    const Paint paint = makePaint(red, green, blue, alpha);
    const int full = weightOf(1.0, paint.alpha);
    // The columns go in chunks, each with the rows it reaches, so a row
    // looks only at the chunks that reach it: curves are tall in a few
    // places and flat elsewhere.
    constexpr int kChunk = 16;
    for (int c0 = x0; c0 < x1; c0 += kChunk) {
        const int c1 = std::min(c0 + kChunk, x1);
        float top = from[c0], bottom = from[c0];
        // Rows every column of the chunk covers whole: one span each.
        float wholeTop = -3e38f, wholeBottom = 3e38f;
        for (int x = c0; x < c1; ++x) {
            const float lo = std::min(from[x], to[x]), hi = std::max(from[x], to[x]);
            top = std::min(top, lo);
            bottom = std::max(bottom, hi);
            wholeTop = std::max(wholeTop, std::ceil(lo));
            wholeBottom = std::min(wholeBottom, std::floor(hi));
        }
        const int r0 = floorIn(top, 0, dib.height());
        const int r1 = ceilIn(bottom, 0, dib.height());
        const int w0 = std::max(r0, floorIn(wholeTop, 0, dib.height()));
        const int w1 = std::min(r1, floorIn(wholeBottom, 0, dib.height()));
        // Along each row the whole pixels come in runs, blended with one
        // weight; the partly covered pixels at their ends one by one.
        for (int y = r0; y < r1; ++y) {
            uint8_t* row = dib.row(y);
            if (y >= w0 && y < w1) {
                blendSpan(row, c0, c1, paint, full);
                continue;
            }
            const float rowTop = float(y), rowBottom = float(y + 1);
            int run = -1;
            for (int x = c0; x < c1; ++x) {
                const float lo = std::min(from[x], to[x]), hi = std::max(from[x], to[x]);
                if (lo <= rowTop && hi >= rowBottom) {
                    if (run < 0) run = x;
                    continue;
                }
                if (run >= 0) {
                    blendSpan(row, run, x, paint, full);
                    run = -1;
                }
                if (hi > rowTop && lo < rowBottom) {
                    const int weight = weightOf(double(std::min(hi, rowBottom) - std::max(lo, rowTop)), paint.alpha);
                    if (weight > 0) blendPixel(row + 4 * x, paint, weight);
                }
            }
            if (run >= 0) blendSpan(row, run, c1, paint, full);
        }
    }
    dib.dirty = true;
}

void drawAAHLine(CDIB& dib, float y, float x0, float x1, float width, int red, int green, int blue,
                 float alpha) {
    if (!allFinite({y, x0, x1, width, alpha}) || !(width > 0.0f) || !(alpha > 0.0f)) return;
    if (x1 < x0) std::swap(x0, x1);
    const double half = 0.5 * static_cast<double>(width);
    fillAxisRect(dib, x0, x1, y - half, y + half, makePaint(red, green, blue, alpha));
    dib.dirty = true;
}

void drawAALine(CDIB& dib, float x0, float y0, float x1, float y1, float width, int red, int green, int blue,
                float alpha) {
    if (!allFinite({x0, y0, x1, y1, width, alpha}) || !(width > 0.0f) || !(alpha > 0.0f)) return;
    if (y1 < y0) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    if (x0 == x1) {
        drawAAVLine(dib, x0, y0, y1, width, red, green, blue, alpha);
        return;
    }
    if (y0 == y1) {
        drawAAHLine(dib, y0, x0, x1, width, red, green, blue, alpha);
        return;
    }

    // The rectangle's corners: the direction scaled to half the width and
    // turned a quarter, on either side of both ends, in order around it.
    // Its sides run along the segment and across it.
    const double dx = static_cast<double>(x1) - x0;
    const double dy = static_cast<double>(y1) - y0;
    // Differences of floats squared stay far inside double range.
    const double scale = 0.5 * static_cast<double>(width) / std::sqrt(dx * dx + dy * dy);
    const double nx = -dy * scale;
    const double ny = dx * scale;
    const double along = dy / dx;
    const double alongInverse = dx / dy;
    const Point corners[4] = {{x0 + nx, y0 + ny, along, alongInverse},
                              {x1 + nx, y1 + ny, -alongInverse, -along},
                              {x1 - nx, y1 - ny, along, alongInverse},
                              {x0 - nx, y0 - ny, -alongInverse, -along}};

    const double reachX = std::abs(nx);
    const double left = std::min(static_cast<double>(x0), static_cast<double>(x1)) - reachX;
    const double right = std::max(static_cast<double>(x0), static_cast<double>(x1)) + reachX;
    if (right >= 0.0 && left <= dib.width()) {
        const Paint paint = makePaint(red, green, blue, alpha);
        const int r0 = floorIn(y0 - std::abs(ny), 0, dib.height());
        const int r1 = ceilIn(y1 + std::abs(ny), 0, dib.height());
        for (int y = r0; y < r1; ++y) {
            Point local[4];
            for (int i = 0; i < 4; ++i) local[i] = {corners[i].x, corners[i].y - y, corners[i].slope, corners[i].inverse};
            fillPolygonRow(dib, y, local, paint);
        }
    }
    dib.dirty = true;
}

namespace {

double unitClamped(double v) {
    if (!(v > 0.0)) return 0.0;
    return v < 1.0 ? v : 1.0;
}

uint8_t toByte(double unit) { return static_cast<uint8_t>(std::lround(unit * 255.0)); }

}  // namespace

Rgb hsvToRgb(double hue, double saturation, double value) {
    double h = std::isfinite(hue) ? std::fmod(hue, 360.0) : 0.0;
    if (h < 0.0) h += 360.0;
    if (h >= 360.0) h = 0.0;  // a tiny negative hue can round up to 360
    const double s = unitClamped(saturation);
    const double v = unitClamped(value);

    const double sector = h / 60.0;
    const int index = std::min(5, static_cast<int>(sector));
    const double f = sector - index;
    const double p = v * (1.0 - s);
    const double q = v * (1.0 - s * f);
    const double t = v * (1.0 - s * (1.0 - f));
    switch (index) {
        case 0: return {toByte(v), toByte(t), toByte(p)};
        case 1: return {toByte(q), toByte(v), toByte(p)};
        case 2: return {toByte(p), toByte(v), toByte(t)};
        case 3: return {toByte(p), toByte(q), toByte(v)};
        case 4: return {toByte(t), toByte(p), toByte(v)};
        default: return {toByte(v), toByte(p), toByte(q)};
    }
}

}  // namespace graphpix
