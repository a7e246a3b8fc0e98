#include "tools/artgen/Paint.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "gui/editor/LookPalette.h"
#include "gui/toolkit/FontCache.h"

using namespace VSTGUI;

namespace art {

Canvas::Canvas(const ImageFacts& facts) : image(facts) {
    auto* target = new CDIB(facts.width, facts.height);
    context = new CDrawContext(target);
    target->forget();  // the context holds it now
}

Canvas::~Canvas() { context->forget(); }

CRect Canvas::frame(int32_t index) {
    context->setOffset(CPoint(0, static_cast<float>(index * image.frameHeight)));
    const CRect r(0, 0, static_cast<float>(image.width), static_cast<float>(image.frameHeight));
    context->setClipRect(r);
    return r;
}

CRect Canvas::whole() {
    context->setOffset(CPoint());
    context->resetClipRect();
    return CRect(0, 0, static_cast<float>(image.width), static_cast<float>(image.height));
}

// ---- Colours ----

CColor mix(const CColor& a, const CColor& b, float t) {
    const auto lerp = [t](uint8_t x, uint8_t y) {
        return static_cast<uint8_t>(std::lround(static_cast<float>(x) + (static_cast<float>(y) - x) * t));
    };
    return CColor{lerp(a.red, b.red), lerp(a.green, b.green), lerp(a.blue, b.blue), lerp(a.alpha, b.alpha)};
}

CColor faded(const CColor& c, float a) {
    CColor out = c;
    out.alpha = static_cast<uint8_t>(std::lround(std::clamp(a, 0.0f, 1.0f) * c.alpha));
    return out;
}

// ---- Shapes ----

void roundedRectPath(const CRect& r, float radius, std::vector<CPoint>& out) {
    out.clear();
    radius = std::clamp(radius, 0.0f, std::min(r.width(), r.height()) / 2);
    if (radius <= 0) {
        out = {r.topLeft(), CPoint(r.right, r.top), CPoint(r.right, r.bottom), CPoint(r.left, r.bottom)};
        return;
    }
    // Corners clockwise from the top-left, each a quarter circle.
    const CPoint centres[4] = {CPoint(r.left + radius, r.top + radius), CPoint(r.right - radius, r.top + radius),
                               CPoint(r.right - radius, r.bottom - radius),
                               CPoint(r.left + radius, r.bottom - radius)};
    const int steps = std::max(2, static_cast<int>(std::ceil(radius * 2)));
    for (int corner = 0; corner < 4; ++corner) {
        const double start = std::numbers::pi * (1.0 + 0.5 * corner);
        for (int i = 0; i <= steps; ++i) {
            const double a = start + 0.5 * std::numbers::pi * i / steps;
            out.emplace_back(centres[corner].x + radius * static_cast<float>(std::cos(a)),
                             centres[corner].y + radius * static_cast<float>(std::sin(a)));
        }
    }
}

void fillRounded(CDrawContext& c, const CRect& r, float radius, const CColor& colour) {
    std::vector<CPoint> path;
    roundedRectPath(r, radius, path);
    polygon(c, path, colour);
}

void fillRoundedGradient(CDrawContext& c, const CRect& r, float radius, const CColor& top, const CColor& bottom) {
    // Row by row, each row clipped to itself, so the shape keeps its
    // smooth edge while the colour steps down.
    std::vector<CPoint> path;
    roundedRectPath(r, radius, path);
    const CRect saved = c.getClipRect();
    const int rows = static_cast<int>(std::ceil(r.height()));
    for (int i = 0; i < rows; ++i) {
        const float y = std::floor(r.top) + static_cast<float>(i);
        CRect row(r.left - 1, y, r.right + 1, y + 1);
        row.bound(saved);
        if (row.isEmpty()) continue;
        c.setClipRect(row);
        polygon(c, path, mix(top, bottom, rows > 1 ? static_cast<float>(i) / static_cast<float>(rows - 1) : 0.0f));
    }
    c.setClipRect(saved);
}

void edgedRounded(CDrawContext& c, const CRect& r, float radius, const CColor& edge, const CColor& top,
                  const CColor& bottom) {
    fillRounded(c, r, radius, edge);
    CRect inner = r;
    inner.inset(1, 1);
    fillRoundedGradient(c, inner, std::max(0.0f, radius - 1), top, bottom);
}

void hLine(CDrawContext& c, float x0, float x1, float y, const CColor& colour) {
    c.setFillColor(colour);
    c.fillRect(CRect(x0, y, x1, y + 1));
}

void vLine(CDrawContext& c, float x, float y0, float y1, const CColor& colour) {
    c.setFillColor(colour);
    c.fillRect(CRect(x, y0, x + 1, y1));
}

void line(CDrawContext& c, CPoint a, CPoint b, const CColor& colour, float width) {
    // The context's lines run through pixel centres: shift edge
    // coordinates by half a pixel.
    c.setDrawMode(kAntiAliasing);
    c.setFrameColor(colour);
    c.setLineWidth(width);
    c.drawLine(CPoint(a.x - 0.5f, a.y - 0.5f), CPoint(b.x - 0.5f, b.y - 0.5f));
    c.setLineWidth(1);
}

void polyline(CDrawContext& c, const std::vector<CPoint>& points, const CColor& colour, float width) {
    std::vector<CPoint> shifted;
    shifted.reserve(points.size());
    for (const CPoint& p : points) shifted.emplace_back(p.x - 0.5f, p.y - 0.5f);
    c.setDrawMode(kAntiAliasing);
    c.setFrameColor(colour);
    c.setLineWidth(width);
    c.drawPolyline(shifted.data(), static_cast<int32_t>(shifted.size()));
    c.setLineWidth(1);
}

void polygon(CDrawContext& c, const std::vector<CPoint>& points, const CColor& colour) {
    c.setDrawMode(kAntiAliasing);
    c.setFillColor(colour);
    c.drawPolygon(points.data(), static_cast<int32_t>(points.size()), kDrawFilled);
}

CPoint polar(CPoint centre, float radius, float deg) {
    const double a = deg * std::numbers::pi / 180.0;
    return CPoint(centre.x + radius * static_cast<float>(std::sin(a)),
                  centre.y - radius * static_cast<float>(std::cos(a)));
}

void arcPoints(CPoint centre, float radius, float fromDeg, float toDeg, std::vector<CPoint>& out) {
    out.clear();
    const int steps = std::max(4, static_cast<int>(std::ceil(std::abs(toDeg - fromDeg) / 4)));
    for (int i = 0; i <= steps; ++i) {
        out.push_back(polar(centre, radius, fromDeg + (toDeg - fromDeg) * static_cast<float>(i) / steps));
    }
}

// ---- Header ----

void headerGround(CDrawContext& c, const CRect& r) {
    const int rows = static_cast<int>(r.height());
    for (int i = 0; i < rows; ++i) {
        CColor colour = mix(look::kHeaderTop, look::kHeaderBottom, static_cast<float>(i) / std::max(1, rows - 2));
        if (i == 0) colour = look::kHeaderHighlight;
        if (i == rows - 1) colour = look::kHeaderEdge;
        hLine(c, r.left, r.right, r.top + static_cast<float>(i), colour);
    }
}

// ---- Faces ----

void buttonFace(CDrawContext& c, const CRect& r, State s, float radius) {
    switch (s) {
    case State::kNormal:
        edgedRounded(c, r, radius, look::kFrame, look::kRaisedHigh, look::kRaised);
        break;
    case State::kPressed:
        edgedRounded(c, r, radius, look::kFrame, look::kField, look::kPanel);
        break;
    case State::kLit:
        edgedRounded(c, r, radius, look::kAccentDeep, mix(look::kAccent, look::kBright, 0.25f), look::kAccent);
        break;
    case State::kDisabled:
        edgedRounded(c, r, radius, look::kGrid, look::kPanel, look::kPanel);
        break;
    case State::kWarning:
        edgedRounded(c, r, radius, mix(look::kWarning, look::kShadow, 0.45f), mix(look::kWarning, look::kBright, 0.15f),
                     look::kWarning);
        break;
    }
}

CColor inkFor(State s) {
    switch (s) {
    case State::kNormal: return look::kLabel;
    case State::kPressed: return look::kBright;
    case State::kLit: return look::kOnText;
    case State::kDisabled: return look::kDimmed;
    case State::kWarning: return look::kBright;
    }
    return look::kLabel;
}

void fieldWell(CDrawContext& c, const CRect& r, float radius) {
    edgedRounded(c, r, radius, look::kGrid, look::kField, look::kField);
    // The upper inner row a shade darker: the field lies below the face.
    CRect inner = r;
    inner.inset(1, 1);
    hLine(c, inner.left + std::max(0.0f, radius - 1), inner.right - std::max(0.0f, radius - 1), inner.top,
          mix(look::kField, look::kShadow, 0.45f));
}

void dropMark(CDrawContext& c, CPoint at, const CColor& colour) {
    polygon(c, {CPoint(at.x - 3, at.y - 1.5f), CPoint(at.x + 3, at.y - 1.5f), CPoint(at.x, at.y + 1.5f)}, colour);
}

// ---- Text ----

namespace {

const char* faceName(Face face) { return face == Face::kDisplay ? "FUTURAB" : "OpenSans-Regular"; }

SharedPointer<CFontDesc> fontFor(Face face, float size) {
    return SharedPointer<CFontDesc>::adopt(new CFontDesc(faceName(face), size));
}

// The text split into its characters (UTF-8 sequences).
std::vector<std::string> characters(std::string_view text) {
    std::vector<std::string> out;
    const std::string whole(text);
    const char* p = whole.c_str();
    while (*p) {
        const char* start = p;
        if (nextCodepoint(p) == 0) break;
        out.emplace_back(start, p);
    }
    return out;
}

struct Ink {
    int32_t left, top, right, bottom;  // relative to the baseline's start; right/bottom exclusive
    bool empty;
};

// Where drawing `text` at a whole-pixel origin puts ink.
Ink inkOf(std::string_view text, Face face, float size, float tracking) {
    const int32_t margin = static_cast<int32_t>(std::ceil(size * 2)) + 4;
    const int32_t w = static_cast<int32_t>(std::ceil(labelWidth(text, face, size, tracking))) + 2 * margin;
    const int32_t h = 3 * margin;
    auto* scratch = new COffscreenContext(w, h);
    textAt(*scratch, text, CPoint(static_cast<float>(margin), static_cast<float>(2 * margin)), face, size,
           kWhiteCColor, tracking);
    const CDIB* dib = scratch->getBitmap();
    Ink ink{w, h, 0, 0, true};
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            if (dib->row(y)[4 * x + 3] == 0) continue;
            ink.left = std::min(ink.left, x);
            ink.right = std::max(ink.right, x + 1);
            ink.top = std::min(ink.top, y);
            ink.bottom = std::max(ink.bottom, y + 1);
            ink.empty = false;
        }
    }
    scratch->forget();
    ink.left -= margin;
    ink.right -= margin;
    ink.top -= 2 * margin;
    ink.bottom -= 2 * margin;
    return ink;
}

}  // namespace

float labelWidth(std::string_view text, Face face, float size, float tracking) {
    const SharedPointer<CFontDesc> font = fontFor(face, size);
    if (tracking == 0) return font->getStringWidth(std::string(text).c_str());
    float width = 0;
    const std::vector<std::string> chars = characters(text);
    for (const std::string& ch : chars) width += font->getStringWidth(ch.c_str());
    return width + tracking * static_cast<float>(std::max<size_t>(chars.size(), 1) - 1);
}

void textAt(CDrawContext& c, std::string_view text, CPoint origin, Face face, float size, const CColor& colour,
            float tracking) {
    const SharedPointer<CFontDesc> font = fontFor(face, size);
    c.setFont(font.get());
    c.setFontColor(colour);
    if (tracking == 0) {
        c.drawStringAt(std::string(text).c_str(), origin);
        return;
    }
    float x = origin.x;
    for (const std::string& ch : characters(text)) {
        c.drawStringAt(ch.c_str(), CPoint(std::round(x), origin.y));
        x += font->getStringWidth(ch.c_str()) + tracking;
    }
}

void label(CDrawContext& c, std::string_view text, const CRect& box, Face face, float size, const CColor& colour,
           float tracking) {
    const Ink ink = inkOf(text, face, size, tracking);
    if (ink.empty) return;
    const Ink caps = inkOf("H", face, size, 0);
    const float capHeight = static_cast<float>(-caps.top);
    const float x = std::round(box.left + (box.width() - static_cast<float>(ink.right - ink.left)) / 2) -
                    static_cast<float>(ink.left);
    const float baseline = std::round(box.top + (box.height() + capHeight) / 2);
    textAt(c, text, CPoint(x, baseline), face, size, colour, tracking);
}

}  // namespace art
