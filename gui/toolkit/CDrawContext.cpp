#include "gui/toolkit/CDrawContext.h"

#include <cmath>
#include <cstring>

namespace VSTGUI {

namespace {

constexpr float kPi = 3.14159265358979f;
// Coordinates are clamped this far out before any conversion to integers.
constexpr float kFar = 1.0e7f;
// Dashes of kLineOnOffDash, in line widths.
constexpr float kDashOn = 2.0f;
constexpr float kDashOff = 2.0f;
// Mitres longer than this many half widths become bevels.
constexpr float kMiterLimit = 2.0f;
// Largest distance between a true ellipse and its polygon, in pixels.
constexpr float kEllipseTolerance = 0.05f;

float clampFar(float v) { return std::isfinite(v) ? std::clamp(v, -kFar, kFar) : 0.0f; }

// Signed area (times two) of a polygon, used to give every piece of a
// stroke the same orientation.
float signedArea2(const float* xy, int32_t count) {
    float a = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t j = (i + 1) % count;
        a += xy[2 * i] * xy[2 * j + 1] - xy[2 * j] * xy[2 * i + 1];
    }
    return a;
}

}  // namespace

// Contexts are made per paint (a frame makes one for every redraw), so
// storage kept in a context would be grown afresh every frame. Kept per
// thread instead, it grows during the first frames and is reused from
// then on, and repeated drawing allocates nothing. Every drawing call is
// done with it before it returns and calls no view, so the contexts of one
// thread (an off-screen one inside a paint, say) never use it at the same
// time; a renderer drawing on another thread has its own.
struct CDrawContext::Scratch {
    CoverageRasterizer rasterizer;
    std::vector<float> path;   // the caller's points in device coordinates
    std::vector<float> dash;   // the dash being collected
    std::vector<float> shape;  // a capped copy of a path, an ellipse's polygon
    std::vector<PlacedGlyph> glyphs;
};

CDrawContext::Scratch& CDrawContext::scratch() {
    thread_local Scratch storage;
    return storage;
}

// ---- Blending ----

void CDrawContext::blendBGRA(uint8_t* p, uint8_t blue, uint8_t green, uint8_t red, uint32_t a) {
    constexpr uint32_t kOne = 65025;
    if (a == 0) return;
    if (a >= kOne) {
        p[0] = blue;
        p[1] = green;
        p[2] = red;
        p[3] = 255;
        return;
    }
    const uint32_t inv = kOne - a;
    const uint32_t dstAlpha = p[3];
    if (dstAlpha == 255) {
        p[0] = static_cast<uint8_t>((blue * a + p[0] * inv + kOne / 2) / kOne);
        p[1] = static_cast<uint8_t>((green * a + p[1] * inv + kOne / 2) / kOne);
        p[2] = static_cast<uint8_t>((red * a + p[2] * inv + kOne / 2) / kOne);
        return;
    }
    // Straight alpha under a translucent destination: weight the
    // destination colour by its own alpha and divide by the result's.
    const uint64_t srcWeight = 255ull * a;
    const uint64_t dstWeight = static_cast<uint64_t>(dstAlpha) * inv;
    const uint64_t total = srcWeight + dstWeight;  // result alpha * 65025, > 0 as a > 0
    const auto mix = [&](uint8_t s, uint8_t d) {
        return static_cast<uint8_t>((s * srcWeight + d * dstWeight + total / 2) / total);
    };
    p[0] = mix(blue, p[0]);
    p[1] = mix(green, p[1]);
    p[2] = mix(red, p[2]);
    p[3] = static_cast<uint8_t>((total + kOne / 2) / kOne);
}

// ---- Construction and state ----

CDrawContext::CDrawContext(CDIB* t) : target(t ? t : new CDIB(1, 1)) {
    if (t) target->remember();
    resetClipRect();
}

CDrawContext::~CDrawContext() { target->forget(); }

void CDrawContext::setFont(CFontDesc* f, CCoord size, int32_t style) {
    font = SharedPointer<CFontDesc>(f);
    fontSizeOverride = size > 0 ? size : 0;
    fontStyleOverride = style;
}

CFontDesc* CDrawContext::currentFont() const { return font ? font.get() : kNormalFont; }

CCoord CDrawContext::currentFontSize() const {
    return fontSizeOverride > 0 ? fontSizeOverride : currentFont()->getSize();
}

void CDrawContext::setClipRect(const CRect& clip) {
    clipDevice = clip;
    clipDevice.offset(offset.x, offset.y);
    clipDevice.bound(CRect(0, 0, target->getWidth(), target->getHeight()));
}

CRect CDrawContext::getClipRect() const {
    CRect r = clipDevice;
    return r.offset(-offset.x, -offset.y);
}

void CDrawContext::resetClipRect() { clipDevice = CRect(0, 0, target->getWidth(), target->getHeight()); }

void CDrawContext::deviceClip(int32_t& x0, int32_t& y0, int32_t& x1, int32_t& y1) const {
    // Pixels whose centres are inside: x0 is the first x with x + 0.5 >= left.
    const auto first = [](float edge, int32_t limit) {
        return std::clamp(static_cast<int32_t>(std::ceil(clampFar(edge) - 0.5f)), 0, limit);
    };
    x0 = first(clipDevice.left, target->width());
    y0 = first(clipDevice.top, target->height());
    x1 = std::max(x0, first(clipDevice.right, target->width()));
    y1 = std::max(y0, first(clipDevice.bottom, target->height()));
}

void CDrawContext::blendDevicePixel(int32_t x, int32_t y, const CColor& c, float coverage) {
    int32_t x0, y0, x1, y1;
    deviceClip(x0, y0, x1, y1);
    if (x < x0 || y < y0 || x >= x1 || y >= y1) return;
    if (!(coverage > 0.0f)) return;
    const auto k = static_cast<uint32_t>(std::min(coverage, 1.0f) * 255.0f + 0.5f);
    blendBGRA(target->row(y) + x * 4, c.blue, c.green, c.red, c.alpha * k);
    target->dirty = true;
}

// ---- Filling ----

void CDrawContext::fillCollected(const CColor& c) {
    int32_t x0, y0, x1, y1;
    deviceClip(x0, y0, x1, y1);
    CoverageRasterizer& rasterizer = scratch().rasterizer;
    if (c.alpha == 0) {
        rasterizer.clear();
        return;
    }
    const bool hard = drawMode == kAliasing;
    CDIB* t = target;
    rasterizer.sweep(x0, y0, x1, y1, [&](int32_t y, int32_t x, int32_t n, const float* acc) {
        uint8_t* p = t->row(y) + x * 4;
        for (int32_t i = 0; i < n; ++i, p += 4) {
            const float cov = CoverageRasterizer::coverageOf(acc[i]);
            const uint32_t k = hard ? (cov >= 0.5f ? 255u : 0u) : static_cast<uint32_t>(cov * 255.0f + 0.5f);
            if (k) blendBGRA(p, c.blue, c.green, c.red, c.alpha * k);
        }
    });
    rasterizer.clear();
    target->dirty = true;
}

void CDrawContext::fillDeviceRect(float left, float top, float right, float bottom, const CColor& c) {
    if (c.alpha == 0) return;
    left = clampFar(left);
    top = clampFar(top);
    right = clampFar(right);
    bottom = clampFar(bottom);
    if (drawMode == kAliasing) {
        left = std::floor(left + 0.5f);
        top = std::floor(top + 0.5f);
        right = std::floor(right + 0.5f);
        bottom = std::floor(bottom + 0.5f);
    }
    if (right <= left || bottom <= top) return;
    int32_t cx0, cy0, cx1, cy1;
    deviceClip(cx0, cy0, cx1, cy1);
    const int32_t x0 = std::max(cx0, static_cast<int32_t>(std::floor(left)));
    const int32_t x1 = std::min(cx1, static_cast<int32_t>(std::ceil(right)));
    const int32_t y0 = std::max(cy0, static_cast<int32_t>(std::floor(top)));
    const int32_t y1 = std::min(cy1, static_cast<int32_t>(std::ceil(bottom)));
    if (x1 <= x0 || y1 <= y0) return;
    // Each pixel's coverage is the product of its row's and its column's
    // overlap with the rectangle: whole pixels inside get exactly 1.
    const auto overlap = [](int32_t i, float lo, float hi) {
        return std::min(hi, static_cast<float>(i + 1)) - std::max(lo, static_cast<float>(i));
    };
    for (int32_t y = y0; y < y1; ++y) {
        const float cy = overlap(y, top, bottom);
        uint8_t* p = target->row(y) + x0 * 4;
        for (int32_t x = x0; x < x1; ++x, p += 4) {
            const float cov = cy * overlap(x, left, right);
            const auto k = static_cast<uint32_t>(cov * 255.0f + 0.5f);
            if (k) blendBGRA(p, c.blue, c.green, c.red, c.alpha * k);
        }
    }
    target->dirty = true;
}

// ---- Paths ----

void CDrawContext::toDevicePath(const CPoint* points, int32_t count, bool centre, std::vector<float>& out) const {
    out.clear();
    for (int32_t i = 0; i < count; ++i) {
        float x = clampFar(points[i].x + offset.x);
        float y = clampFar(points[i].y + offset.y);
        if (centre) {
            if (drawMode == kAliasing) {
                x = std::floor(x + 0.5f);
                y = std::floor(y + 0.5f);
            }
            x += 0.5f;
            y += 0.5f;
        }
        // Repeated points add nothing and have no direction.
        const size_t n = out.size();
        if (n >= 2 && std::fabs(out[n - 2] - x) < 1e-4f && std::fabs(out[n - 1] - y) < 1e-4f) continue;
        out.push_back(x);
        out.push_back(y);
    }
}

// Adds the outline of a solid stroke (no caps) to the rasterizer: one
// quadrilateral per segment and a mitre or bevel wedge at each joint, all
// with the same orientation so that their overlaps count once.
void CDrawContext::strokeSolid(const float* xy, int32_t count, bool closed, float h) {
    if (count < 2) return;
    CoverageRasterizer& rasterizer = scratch().rasterizer;
    const int32_t segments = closed ? count : count - 1;
    float quad[8];
    for (int32_t i = 0; i < segments; ++i) {
        const int32_t j = (i + 1) % count;
        const float px = xy[2 * i], py = xy[2 * i + 1], qx = xy[2 * j], qy = xy[2 * j + 1];
        const float len = std::hypot(qx - px, qy - py);
        if (len <= 0.0f) continue;
        const float nx = -(qy - py) / len * h, ny = (qx - px) / len * h;
        const float q[8] = {px + nx, py + ny, qx + nx, qy + ny, qx - nx, qy - ny, px - nx, py - ny};
        std::memcpy(quad, q, sizeof(quad));
        rasterizer.addPolygon(quad, 4, signedArea2(quad, 4) > 0);
    }
    // Joints: every inner point, and every point of a closed path.
    const int32_t first = closed ? 0 : 1;
    const int32_t last = closed ? count : count - 1;
    for (int32_t i = first; i < last; ++i) {
        const int32_t prev = (i + count - 1) % count, next = (i + 1) % count;
        const float vx = xy[2 * i], vy = xy[2 * i + 1];
        float ax = vx - xy[2 * prev], ay = vy - xy[2 * prev + 1];
        float bx = xy[2 * next] - vx, by = xy[2 * next + 1] - vy;
        const float la = std::hypot(ax, ay), lb = std::hypot(bx, by);
        if (la <= 0.0f || lb <= 0.0f) continue;
        ax /= la;
        ay /= la;
        bx /= lb;
        by /= lb;
        const float cross = ax * by - ay * bx;
        if (std::fabs(cross) < 1e-5f) continue;  // straight on (or straight back)
        // Unit normals of both segments on the outside of the turn.
        const float side = cross > 0 ? -1.0f : 1.0f;
        const float uax = -ay * side, uay = ax * side, ubx = -by * side, uby = bx * side;
        float wedge[8];
        int32_t n = 0;
        wedge[n++] = vx;
        wedge[n++] = vy;
        wedge[n++] = vx + uax * h;
        wedge[n++] = vy + uay * h;
        const float sx = uax + ubx, sy = uay + uby;
        const float s2 = sx * sx + sy * sy;  // mitre length is h * 2 / sqrt(s2)
        if (s2 * kMiterLimit * kMiterLimit >= 4.0f) {
            wedge[n++] = vx + sx * (2.0f * h / s2);
            wedge[n++] = vy + sy * (2.0f * h / s2);
        }
        wedge[n++] = vx + ubx * h;
        wedge[n++] = vy + uby * h;
        rasterizer.addPolygon(wedge, n / 2, signedArea2(wedge, n / 2) > 0);
    }
}

// Strokes a path in device coordinates with the line width and style.
// `caps` extends an open path by half the width at both ends.
void CDrawContext::strokeDevicePath(const float* xy, int32_t count, bool closed, bool caps) {
    const float h = 0.5f * lineWidth;
    if (count <= 0) return;
    Scratch& s = scratch();
    if (count == 1 || (count == 2 && closed)) closed = false;
    if (count == 1) {
        // A line of no length: a square dot when capped.
        if (!caps) return;
        const float dot[8] = {xy[0] - h, xy[1] - h, xy[0] + h, xy[1] - h, xy[0] + h, xy[1] + h, xy[0] - h, xy[1] + h};
        s.rasterizer.addPolygon(dot, 4);
        return;
    }
    const float* path = xy;
    if (caps && !closed) {
        s.shape.assign(xy, xy + 2 * count);
        const auto extend = [&](int32_t end, int32_t inner) {
            float dx = s.shape[2 * end] - s.shape[2 * inner];
            float dy = s.shape[2 * end + 1] - s.shape[2 * inner + 1];
            const float len = std::hypot(dx, dy);
            s.shape[2 * end] += dx / len * h;
            s.shape[2 * end + 1] += dy / len * h;
        };
        extend(0, 1);
        extend(count - 1, count - 2);
        path = s.shape.data();
    }
    if (lineStyle != kLineOnOffDash) {
        strokeSolid(path, count, closed, h);
        return;
    }

    // Dashes follow the whole path; the pattern carries on round corners.
    // Parts of the path far outside the clip only move the pattern on.
    // (Hairlines dash as if a pixel wide, which also bounds the work.)
    const float unit = std::max(lineWidth, 1.0f);
    const float on = kDashOn * unit, period = (kDashOn + kDashOff) * unit;
    int32_t cx0, cy0, cx1, cy1;
    deviceClip(cx0, cy0, cx1, cy1);
    const float margin = lineWidth + 2.0f;
    const float bx0 = static_cast<float>(cx0) - margin, by0 = static_cast<float>(cy0) - margin;
    const float bx1 = static_cast<float>(cx1) + margin, by1 = static_cast<float>(cy1) + margin;
    float pos = 0;  // distance into the current period
    std::vector<float>& dash = s.dash;
    dash.clear();
    const auto flush = [&] {
        if (dash.size() >= 4) strokeSolid(dash.data(), static_cast<int32_t>(dash.size() / 2), false, h);
        dash.clear();
    };
    const int32_t segments = closed ? count : count - 1;
    for (int32_t i = 0; i < segments; ++i) {
        const int32_t j = (i + 1) % count;
        const float px = path[2 * i], py = path[2 * i + 1];
        const float dx = path[2 * j] - px, dy = path[2 * j + 1] - py;
        const float len = std::hypot(dx, dy);
        if (len <= 0.0f) continue;
        // The part of the segment inside the widened clip (Liang-Barsky).
        float t0 = 0, t1 = 1;
        const float pp[4] = {-dx, dx, -dy, dy};
        const float qq[4] = {px - bx0, bx1 - px, py - by0, by1 - py};
        for (int32_t k = 0; k < 4 && t0 <= t1; ++k) {
            if (pp[k] == 0.0f) {
                if (qq[k] < 0) t1 = -1;
                continue;
            }
            const float r = qq[k] / pp[k];
            if (pp[k] < 0) t0 = std::max(t0, r);
            else t1 = std::min(t1, r);
        }
        if (t0 > t1) {
            flush();
            pos = std::fmod(pos + len, period);
            continue;
        }
        if (t0 > 0) {
            flush();
            pos = std::fmod(pos + t0 * len, period);
        }
        float t = t0 * len;
        const float end = t1 * len;
        while (t < end) {
            const bool inDash = pos < on;
            const float boundary = inDash ? on : period;
            const float step = std::min(boundary - pos, end - t);
            if (inDash) {
                if (dash.empty()) {
                    dash.push_back(px + dx * (t / len));
                    dash.push_back(py + dy * (t / len));
                }
                dash.push_back(px + dx * ((t + step) / len));
                dash.push_back(py + dy * ((t + step) / len));
            }
            t += step;
            pos += step;
            if (pos >= boundary - 1e-4f) {
                if (inDash) flush();
                pos = boundary >= period ? 0.0f : on;
            }
        }
        if (t1 < 1) {
            flush();
            pos = std::fmod(pos + (1 - t1) * len, period);
        }
    }
    flush();
}

void CDrawContext::addEllipse(float cx, float cy, float rx, float ry, bool reversed) {
    if (rx <= 0 || ry <= 0) return;
    Scratch& s = scratch();
    const int32_t n = ellipsePath(cx, cy, rx, ry, s.shape);
    s.rasterizer.addPolygon(s.shape.data(), n, reversed);
}

// The polygon standing for an ellipse, close enough to be smooth.
int32_t CDrawContext::ellipsePath(float cx, float cy, float rx, float ry, std::vector<float>& out) {
    const float r = std::max(rx, ry);
    int32_t n = 8;
    if (r > kEllipseTolerance)
        n = std::clamp(static_cast<int32_t>(std::ceil(kPi / std::acos(1.0f - kEllipseTolerance / r))), 8, 2048);
    out.resize(static_cast<size_t>(2 * n));
    for (int32_t i = 0; i < n; ++i) {
        const float a = 2.0f * kPi * static_cast<float>(i) / static_cast<float>(n);
        out[2 * i] = cx + rx * std::cos(a);
        out[2 * i + 1] = cy + ry * std::sin(a);
    }
    return n;
}

// ---- Public drawing ----

void CDrawContext::lineTo(const CPoint& p) {
    drawLine(penPosition, p);
    penPosition = p;
}

void CDrawContext::drawLine(const CPoint& from, const CPoint& to) {
    const CPoint points[2] = {from, to};
    drawPolyline(points, 2);
}

void CDrawContext::drawPolyline(const CPoint* points, int32_t count) {
    if (!points || count <= 0) return;
    std::vector<float>& path = scratch().path;
    toDevicePath(points, count, true, path);
    strokeDevicePath(path.data(), static_cast<int32_t>(path.size() / 2), false, true);
    fillCollected(frameColor);
}

void CDrawContext::drawRect(const CRect& rect, CDrawStyle style) {
    const float l = rect.left + offset.x, t = rect.top + offset.y;
    const float r = rect.right + offset.x, b = rect.bottom + offset.y;
    if (r <= l || b <= t) return;
    const float w = lineWidth;
    const bool solidFrame = w * 2 >= std::min(r - l, b - t) && lineStyle != kLineOnOffDash;
    if (style == kDrawFilled || (style == kDrawFilledAndStroked && !solidFrame)) {
        if (style == kDrawFilled)
            fillDeviceRect(l, t, r, b, fillColor);
        else
            fillDeviceRect(l + w, t + w, r - w, b - w, fillColor);
    }
    if (style == kDrawFilled) return;
    if (solidFrame) {
        fillDeviceRect(l, t, r, b, frameColor);
    } else if (lineStyle == kLineOnOffDash) {
        const float h = 0.5f * w;
        const float frame[8] = {l + h, t + h, r - h, t + h, r - h, b - h, l + h, b - h};
        strokeDevicePath(frame, 4, true, false);
        fillCollected(frameColor);
    } else {
        // Four bands that do not overlap, so a translucent frame is even.
        fillDeviceRect(l, t, r, t + w, frameColor);
        fillDeviceRect(l, b - w, r, b, frameColor);
        fillDeviceRect(l, t + w, l + w, b - w, frameColor);
        fillDeviceRect(r - w, t + w, r, b - w, frameColor);
    }
}

void CDrawContext::drawPolygon(const CPoint* points, int32_t count, CDrawStyle style) {
    if (!points || count <= 0) return;
    Scratch& s = scratch();
    if (style != kDrawStroked) {
        toDevicePath(points, count, false, s.path);
        s.rasterizer.addPolygon(s.path.data(), static_cast<int32_t>(s.path.size() / 2));
        fillCollected(fillColor);
    }
    if (style != kDrawFilled) {
        toDevicePath(points, count, true, s.path);
        strokeDevicePath(s.path.data(), static_cast<int32_t>(s.path.size() / 2), true, true);
        fillCollected(frameColor);
    }
}

void CDrawContext::drawEllipse(const CRect& rect, CDrawStyle style) {
    const float l = clampFar(rect.left + offset.x), t = clampFar(rect.top + offset.y);
    const float r = clampFar(rect.right + offset.x), b = clampFar(rect.bottom + offset.y);
    if (r <= l || b <= t) return;
    const float cx = 0.5f * (l + r), cy = 0.5f * (t + b), rx = 0.5f * (r - l), ry = 0.5f * (b - t);
    const float w = lineWidth;
    const bool solidRing = w >= std::min(rx, ry) && lineStyle != kLineOnOffDash;
    if (style == kDrawFilled || (style == kDrawFilledAndStroked && solidRing)) {
        addEllipse(cx, cy, rx, ry, false);
        fillCollected(style == kDrawFilled ? fillColor : frameColor);
        return;
    }
    if (style == kDrawFilledAndStroked) {
        addEllipse(cx, cy, rx - w, ry - w, false);
        fillCollected(fillColor);
    }
    if (solidRing) {
        addEllipse(cx, cy, rx, ry, false);
    } else if (lineStyle == kLineOnOffDash) {
        const float h = 0.5f * w;
        std::vector<float>& path = scratch().path;
        const int32_t n = ellipsePath(cx, cy, std::max(rx - h, 0.01f), std::max(ry - h, 0.01f), path);
        strokeDevicePath(path.data(), n, true, false);
    } else {
        // A ring: the outer ellipse and the inner one wound the other way.
        addEllipse(cx, cy, rx, ry, false);
        addEllipse(cx, cy, rx - w, ry - w, true);
    }
    fillCollected(frameColor);
}

void CDrawContext::drawPoint(const CPoint& p, const CColor& c) {
    blendDevicePixel(static_cast<int32_t>(std::floor(clampFar(p.x + offset.x))),
                     static_cast<int32_t>(std::floor(clampFar(p.y + offset.y))), c, 1.0f);
}

// ---- Text ----

CCoord CDrawContext::getStringWidth(const char* utf8) const {
    FontCache& cache = FontCache::instance();
    return cache.measure(cache.face(currentFont()->getName()), currentFontSize(), utf8);
}

void CDrawContext::drawStringAt(const char* utf8, const CPoint& origin) {
    FontCache& cache = FontCache::instance();
    const FontFace* face = cache.face(currentFont()->getName());
    const CCoord width = cache.layout(face, currentFontSize(), utf8, scratch().glyphs);
    const auto baseline = static_cast<int32_t>(std::floor(clampFar(origin.y + offset.y) + 0.5f));
    drawGlyphRun(clampFar(origin.x + offset.x), baseline, width);
}

void CDrawContext::drawString(const char* utf8, const CRect& rect, CHoriTxtAlign align) {
    FontCache& cache = FontCache::instance();
    const FontFace* face = cache.face(currentFont()->getName());
    const CCoord size = currentFontSize();
    const CCoord width = cache.layout(face, size, utf8, scratch().glyphs);
    const CFontMetrics m = FontCache::metrics(face, size);
    float x = rect.left;
    if (align == kCenterText) x = rect.left + 0.5f * (rect.width() - width);
    else if (align == kRightText) x = rect.right - width;
    const float baseline = rect.top + 0.5f * (rect.height() - (m.ascent + m.descent)) + m.ascent;
    // A whole-pixel start keeps the first stem of every string equally sharp.
    drawGlyphRun(std::floor(clampFar(x + offset.x) + 0.5f),
                 static_cast<int32_t>(std::floor(clampFar(baseline + offset.y) + 0.5f)), width);
}

// Draws the glyphs just laid out in the scratch from a device pen position.
void CDrawContext::drawGlyphRun(float penX, int32_t baseline, CCoord width) {
    const std::vector<PlacedGlyph>& glyphs = scratch().glyphs;
    if (fontColor.alpha == 0 || glyphs.empty()) return;
    FontCache& cache = FontCache::instance();
    CFontDesc* f = currentFont();
    const FontFace* face = cache.face(f->getName());
    const CCoord size = currentFontSize();
    const int32_t style = fontStyleOverride >= 0 ? fontStyleOverride : f->getStyle();
    // Light text (by luma) gets the stronger coverage lift.
    const int32_t luma = 2 * fontColor.red + 5 * fontColor.green + fontColor.blue;
    const uint8_t* curve = FontCache::coverageCurve(luma >= 8 * 128);
    int32_t cx0, cy0, cx1, cy1;
    deviceClip(cx0, cy0, cx1, cy1);
    constexpr int32_t phases = FontCache::kSubpixelPhases;
    const CColor c = fontColor;
    for (const PlacedGlyph& g : glyphs) {
        const auto q = static_cast<int64_t>(std::floor((penX + g.x) * phases + 0.5f));
        const int64_t whole = q >= 0 ? q / phases : -((-q + phases - 1) / phases);
        const auto phase = static_cast<int32_t>(q - whole * phases);
        const GlyphImage& img = cache.glyph(face, size, g.glyph, phase);
        if (!img.coverage) continue;
        const int32_t gx = static_cast<int32_t>(whole) + img.left;
        const int32_t gy = baseline + img.top;
        const int32_t x0 = std::max(gx, cx0), x1 = std::min(gx + img.width, cx1);
        const int32_t y0 = std::max(gy, cy0), y1 = std::min(gy + img.height, cy1);
        for (int32_t y = y0; y < y1; ++y) {
            const uint8_t* src = img.coverage + static_cast<size_t>(y - gy) * img.width + (x0 - gx);
            uint8_t* p = target->row(y) + x0 * 4;
            for (int32_t x = x0; x < x1; ++x, ++src, p += 4)
                if (*src) blendBGRA(p, c.blue, c.green, c.red, c.alpha * static_cast<uint32_t>(curve[*src]));
        }
    }
    if (style & kUnderlineFace) {
        const CFontMetrics m = FontCache::metrics(face, size);
        const float thickness = std::max(1.0f, std::round(size / 14.0f));
        const float top = static_cast<float>(baseline) + std::max(1.0f, std::round(m.descent * 0.4f));
        fillDeviceRect(std::round(penX), top, std::round(penX + width), top + thickness, c);
    }
    target->dirty = true;
}

// ---- Off-screen contexts ----

namespace {
CDIB* makeOffscreenTarget(int32_t width, int32_t height, const CColor& background) {
    auto* dib = new CDIB(width, height);
    if (background != kTransparentCColor) dib->fill(background);
    return dib;
}
}  // namespace

COffscreenContext::COffscreenContext(int32_t width, int32_t height, const CColor& background)
    : CDrawContext(makeOffscreenTarget(width, height, background)) {
    getTarget()->forget();  // the base holds the only reference now
}

COffscreenContext::~COffscreenContext() = default;

void COffscreenContext::copyTo(CDrawContext* into, const CRect& dest, const CPoint& source) {
    getBitmap()->draw(into, dest, source);
}

}  // namespace VSTGUI
