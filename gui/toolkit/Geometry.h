#pragma once
// Plain geometry and colour values of the view toolkit. Coordinates are
// 32-bit floats; a rectangle runs from (left, top) inclusive to
// (right, bottom) exclusive, so its width is right - left.

#include <algorithm>
#include <cstdint>

namespace VSTGUI {

using CCoord = float;

struct CPoint {
    CCoord x = 0;
    CCoord y = 0;

    constexpr CPoint() = default;
    constexpr CPoint(CCoord px, CCoord py) : x(px), y(py) {}
    constexpr CPoint& offset(CCoord dx, CCoord dy) { x += dx; y += dy; return *this; }
    constexpr CPoint operator+(const CPoint& o) const { return {x + o.x, y + o.y}; }
    constexpr CPoint operator-(const CPoint& o) const { return {x - o.x, y - o.y}; }
    constexpr bool operator==(const CPoint&) const = default;
};

struct CRect {
    CCoord left = 0;
    CCoord top = 0;
    CCoord right = 0;
    CCoord bottom = 0;

    constexpr CRect() = default;
    constexpr CRect(CCoord l, CCoord t, CCoord r, CCoord b) : left(l), top(t), right(r), bottom(b) {}
    // A rectangle of a size at an origin.
    static constexpr CRect fromSize(CCoord x, CCoord y, CCoord w, CCoord h) { return {x, y, x + w, y + h}; }

    constexpr CCoord width() const { return right - left; }
    constexpr CCoord height() const { return bottom - top; }
    constexpr bool isEmpty() const { return right <= left || bottom <= top; }
    constexpr CPoint topLeft() const { return {left, top}; }

    constexpr CRect& offset(CCoord dx, CCoord dy) { left += dx; right += dx; top += dy; bottom += dy; return *this; }
    constexpr CRect& moveTo(CCoord x, CCoord y) { return offset(x - left, y - top); }
    constexpr CRect& inset(CCoord dx, CCoord dy) { left += dx; right -= dx; top += dy; bottom -= dy; return *this; }
    // Intersection; an empty result keeps the ordering left <= right.
    constexpr CRect& bound(const CRect& o) {
        left = std::max(left, o.left);
        top = std::max(top, o.top);
        right = std::max(left, std::min(right, o.right));
        bottom = std::max(top, std::min(bottom, o.bottom));
        return *this;
    }
    // Smallest rectangle holding both; an empty operand adds nothing.
    constexpr CRect& unite(const CRect& o) {
        if (o.isEmpty()) return *this;
        if (isEmpty()) return *this = o;
        left = std::min(left, o.left);
        top = std::min(top, o.top);
        right = std::max(right, o.right);
        bottom = std::max(bottom, o.bottom);
        return *this;
    }
    constexpr bool pointInside(const CPoint& p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    constexpr bool rectOverlap(const CRect& o) const { return left < o.right && o.left < right && top < o.bottom && o.top < bottom; }
    constexpr bool operator==(const CRect&) const = default;
};

// Colour with straight (not premultiplied) alpha; 255 is opaque.
struct CColor {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    uint8_t alpha = 255;
    constexpr bool operator==(const CColor&) const = default;
};

constexpr CColor kBlackCColor{0, 0, 0, 255};
constexpr CColor kWhiteCColor{255, 255, 255, 255};
constexpr CColor kGreyCColor{127, 127, 127, 255};
constexpr CColor kRedCColor{255, 0, 0, 255};
constexpr CColor kGreenCColor{0, 255, 0, 255};
constexpr CColor kBlueCColor{0, 0, 255, 255};
constexpr CColor kTransparentCColor{0, 0, 0, 0};

}  // namespace VSTGUI
