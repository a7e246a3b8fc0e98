#pragma once
// Anti-aliased area coverage of closed paths, filled by the non-zero rule.
//
// Edges are collected first; `sweep` then accumulates them into a grid of
// cells covering the shape's bounds (cut to a clip) and hands each row of
// coverage to a sink. Each edge adds, per cell it crosses, the signed area
// to its right within that cell; a running sum along a row then gives the
// winding-weighted coverage of every pixel. Its magnitude, capped at 1, is
// the pixel's coverage: exact for simple shapes, and shapes that overlap
// with the same orientation do not add up inside (no doubled alpha).
//
// Coordinates are in pixels with pixel (x, y) covering [x, x+1) x [y, y+1),
// so a rectangle with whole-number corners covers its pixels exactly.
// The buffers are kept between uses; nothing is allocated per pixel.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace VSTGUI {

class CoverageRasterizer {
public:
    // Forgets the edges collected so far.
    void clear();
    bool empty() const { return edges.empty(); }

    // One directed edge; a closed path is a chain of edges ending where it
    // began. Edges with a non-finite coordinate are dropped.
    void addEdge(float x0, float y0, float x1, float y1);
    // A closed polygon of `count` points (x, y interleaved), closed back to
    // its first point. `reversed` adds it with the opposite orientation.
    void addPolygon(const float* xy, int32_t count, bool reversed = false);

    // Calls sink(y, x0, count, coverage) for each row of the collected
    // shape that meets the clip [clipX0, clipX1) x [clipY0, clipY1), with
    // coverage[i] for pixel x0 + i: a signed winding-weighted value whose
    // magnitude, capped at 1, is the pixel's coverage (see coverageOf).
    template <class Sink>
    void sweep(int32_t clipX0, int32_t clipY0, int32_t clipX1, int32_t clipY1, Sink&& sink);

    static float coverageOf(float accumulated) {
        const float c = std::fabs(accumulated);
        return c < 1.0f ? c : 1.0f;
    }

private:
    struct Edge {
        float x0, y0, x1, y1;
    };

    bool prepare(int32_t clipX0, int32_t clipY0, int32_t clipX1, int32_t clipY1);
    void accumulate(const Edge& e);
    void addSpan(int32_t row, float xa, float xb, float d);

    std::vector<Edge> edges;
    std::vector<float> cells;
    float minX = 0, minY = 0, maxX = 0, maxY = 0;
    // The region being swept: pixels [regionX, regionX + regionW) x
    // [regionY, regionY + regionH); each row has regionW + 1 cells.
    int32_t regionX = 0, regionY = 0, regionW = 0, regionH = 0;
};

template <class Sink>
void CoverageRasterizer::sweep(int32_t clipX0, int32_t clipY0, int32_t clipX1, int32_t clipY1, Sink&& sink) {
    if (!prepare(clipX0, clipY0, clipX1, clipY1)) return;
    const int32_t stride = regionW + 1;
    for (int32_t row = 0; row < regionH; ++row) {
        float* r = cells.data() + static_cast<size_t>(row) * stride;
        float sum = 0;
        bool any = false;
        for (int32_t i = 0; i < regionW; ++i) {
            sum += r[i];
            r[i] = sum;
            any = any || std::fabs(sum) > 1e-4f;
        }
        if (any) sink(regionY + row, regionX, regionW, static_cast<const float*>(r));
        std::fill(r, r + stride, 0.0f);
    }
}

}  // namespace VSTGUI
