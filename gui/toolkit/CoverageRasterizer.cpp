#include "gui/toolkit/CoverageRasterizer.h"

namespace VSTGUI {

namespace {
constexpr float kFar = 1.0e7f;
}

void CoverageRasterizer::clear() { edges.clear(); }

void CoverageRasterizer::addEdge(float x0, float y0, float x1, float y1) {
    if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1)) return;
    if (y0 == y1) return;  // a horizontal edge covers no area
    if (edges.empty()) {
        minX = maxX = x0;
        minY = maxY = y0;
    }
    minX = std::min({minX, x0, x1});
    maxX = std::max({maxX, x0, x1});
    minY = std::min({minY, y0, y1});
    maxY = std::max({maxY, y0, y1});
    edges.push_back({x0, y0, x1, y1});
}

void CoverageRasterizer::addPolygon(const float* xy, int32_t count, bool reversed) {
    if (count < 3) return;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t j = (i + 1) % count;
        if (reversed)
            addEdge(xy[2 * j], xy[2 * j + 1], xy[2 * i], xy[2 * i + 1]);
        else
            addEdge(xy[2 * i], xy[2 * i + 1], xy[2 * j], xy[2 * j + 1]);
    }
}

bool CoverageRasterizer::prepare(int32_t clipX0, int32_t clipY0, int32_t clipX1, int32_t clipY1) {
    if (edges.empty()) return false;
    // The shape's bounds in whole pixels, cut to the clip. Coordinates far
    // outside any target are clamped before conversion to integers.
    const auto lo = [](float v) { return static_cast<int32_t>(std::floor(std::clamp(v, -kFar, kFar))); };
    const auto hi = [](float v) { return static_cast<int32_t>(std::ceil(std::clamp(v, -kFar, kFar))); };
    // Edges left of the region still cover it, so the region's left side
    // is the clip's unless the whole shape starts further right.
    const int32_t x0 = std::max(clipX0, lo(minX));
    const int32_t x1 = std::min(clipX1, hi(maxX));
    const int32_t y0 = std::max(clipY0, lo(minY));
    const int32_t y1 = std::min(clipY1, hi(maxY));
    if (x1 <= x0 || y1 <= y0) {
        edges.clear();
        return false;
    }
    regionX = x0;
    regionY = y0;
    regionW = x1 - x0;
    regionH = y1 - y0;
    const size_t needed = static_cast<size_t>(regionW + 1) * static_cast<size_t>(regionH);
    if (cells.size() < needed) cells.resize(needed, 0.0f);  // fresh cells are zero; used ones are zeroed by sweep
    for (const Edge& e : edges) accumulate(e);
    edges.clear();
    return true;
}

void CoverageRasterizer::accumulate(const Edge& edge) {
    // Work in region coordinates, walking the edge downwards; `dir` keeps
    // its original direction as the sign of its winding.
    float x0 = edge.x0 - static_cast<float>(regionX), y0 = edge.y0 - static_cast<float>(regionY);
    float x1 = edge.x1 - static_cast<float>(regionX), y1 = edge.y1 - static_cast<float>(regionY);
    float dir = 1.0f;
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        dir = -1.0f;
    }
    const float rows = static_cast<float>(regionH);
    if (y1 <= 0.0f || y0 >= rows) return;
    const double dxdy = (static_cast<double>(x1) - x0) / (static_cast<double>(y1) - y0);
    const float top = std::max(y0, 0.0f);
    const float bottom = std::min(y1, rows);
    for (int32_t row = static_cast<int32_t>(std::floor(top)); row < regionH && static_cast<float>(row) < bottom; ++row) {
        const float ya = std::max(top, static_cast<float>(row));
        const float yb = std::min(bottom, static_cast<float>(row + 1));
        if (yb <= ya) continue;
        const float xa = static_cast<float>(x0 + (ya - y0) * dxdy);
        const float xb = static_cast<float>(x0 + (yb - y0) * dxdy);
        addSpan(row, xa, xb, dir * (yb - ya));
    }
}

// Adds the part of an edge inside one row: it runs between xa and xb and
// spans `d` of the row's height (signed by direction).
void CoverageRasterizer::addSpan(int32_t row, float xa, float xb, float d) {
    float* r = cells.data() + static_cast<size_t>(row) * static_cast<size_t>(regionW + 1);
    const float width = static_cast<float>(regionW);
    const float lo = std::min(xa, xb);
    const float hi = std::max(xa, xb);
    if (hi - lo < 1e-6f) {
        // Vertical within the row.
        const float x = lo;
        if (x <= 0.0f) {
            r[0] += d;
        } else if (x < width) {
            const auto c = static_cast<int32_t>(x);
            const float frac = x - static_cast<float>(c);
            r[c] += d * (1.0f - frac);
            r[c + 1] += d * frac;
        }
        return;
    }
    const float perUnit = d / (hi - lo);
    // Whatever lies left of the region covers all of it from column 0;
    // whatever lies right of it covers nothing that is shown.
    if (lo < 0.0f) r[0] += perUnit * (std::min(hi, 0.0f) - lo);
    float s = std::max(lo, 0.0f);
    const float end = std::min(hi, width);
    while (s < end) {
        const auto c = std::min(static_cast<int32_t>(s), regionW - 1);
        const float e = std::min(end, static_cast<float>(c + 1));
        const float dd = perUnit * (e - s);
        const float mid = 0.5f * (s + e) - static_cast<float>(c);
        r[c] += dd * (1.0f - mid);
        r[c + 1] += dd * mid;
        if (e <= s) break;  // no progress (rounding at the last column)
        s = e;
    }
}

}  // namespace VSTGUI
