// The band strips: their card in three pieces, the text-mode body, the
// value field, the knob with its ring, and the band type button.

#include <cmath>

#include "gui/editor/LookPalette.h"
#include "tools/artgen/Images.h"

namespace art {

namespace {

constexpr CColor kStripEdge = look::kGrid;

// The card's columns: the edge at either side, the card between.
void stripColumns(CDrawContext& g, const CRect& r) {
    g.setFillColor(look::kStrip);
    g.fillRect(r);
    vLine(g, r.left, r.top, r.bottom, kStripEdge);
    vLine(g, r.right - 1, r.top, r.bottom, kStripEdge);
}

// One end of the card: rounded corners drawn on a card reaching past the
// piece, so the piece meets the body's columns exactly.
void stripEnd(Canvas& c, bool top) {
    const CRect r = c.whole();
    const CRect card = top ? CRect(0, 0, r.right, r.bottom + 8) : CRect(0, -8, r.right, r.bottom);
    edgedRounded(c.ctx(), card, 3, kStripEdge, look::kStrip, look::kStrip);
}

// A filled circle with a colour running from top to bottom.
void disc(CDrawContext& g, CPoint centre, float radius, const CColor& top, const CColor& bottom) {
    fillRoundedGradient(g, CRect(centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius), radius, top,
                        bottom);
}

// The band type glyphs: response curves over a log-frequency axis t in
// 0..1, 1 = the most boost drawn, -1 the most cut.
float softStep(float t, float centre, float steepness) { return 1.0f / (1.0f + std::exp(-(t - centre) * steepness)); }

float bellCurve(float t) { return std::exp(-std::pow((t - 0.5f) / 0.14f, 2.0f)); }
float passSlope(float t) {
    // Flat above the corner, falling at a fixed slope below it, rounded at the knee.
    const float k = 24, corner = 0.45f;
    return -std::log1p(std::exp((corner - t) * k)) / k * 3.2f;
}
float shelfStep(float t) { return 1.0f - softStep(t, 0.5f, 16); }
float notchDip(float t) { return -std::exp(-std::pow((t - 0.5f) / 0.05f, 2.0f)); }

enum class Curve { kPeak, kHighPass, kLowShelf, kHighShelf, kLowPass, kNotch };

// The curve's shape and where its level line sits within the glyph's 32
// rows, so that each glyph is centred in them.
void bandGlyph(CDrawContext& g, Curve curve, float top) {
    constexpr float kLeft = 3.5f, kRight = 27.5f, kAmp = 12;
    float zero = 0;  // row of the 0 dB level
    switch (curve) {
    case Curve::kPeak: zero = top + 22; break;
    case Curve::kHighPass:
    case Curve::kLowPass: zero = top + 10; break;
    case Curve::kLowShelf:
    case Curve::kHighShelf: zero = top + 16 + kAmp / 2 - 3; break;
    case Curve::kNotch: zero = top + 10; break;
    }
    std::vector<CPoint> points;
    constexpr int kSteps = 48;
    for (int i = 0; i <= kSteps; ++i) {
        const float t = static_cast<float>(i) / kSteps;
        float level = 0;
        switch (curve) {
        case Curve::kPeak: level = bellCurve(t); break;
        case Curve::kHighPass: level = std::max(-1.25f, passSlope(t)); break;
        case Curve::kLowPass: level = std::max(-1.25f, passSlope(1 - t)); break;
        case Curve::kLowShelf: level = 0.55f * shelfStep(t); break;
        case Curve::kHighShelf: level = 0.55f * shelfStep(1 - t); break;
        case Curve::kNotch: level = 1.2f * notchDip(t); break;
        }
        points.emplace_back(kLeft + (kRight - kLeft) * t, zero - level * kAmp);
    }
    polyline(g, points, VSTGUI::kWhiteCColor, 2.0f);
}

}  // namespace

void stripTop(Canvas& c) { stripEnd(c, true); }
void stripBottom(Canvas& c) { stripEnd(c, false); }
void stripBody(Canvas& c) { stripColumns(c.ctx(), c.whole()); }

void textStripBody(Canvas& c) {
    // Every row alike: the card with a field running down it from column
    // 3 to column 61, so any slab of it (the value field's background at
    // (3, 10) among them) reads as a field.
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    stripColumns(g, r);
    g.setFillColor(look::kField);
    g.fillRect(CRect(3, 0, 62, r.bottom));
    vLine(g, 3, 0, r.bottom, look::kEdgeDark);
    vLine(g, 61, 0, r.bottom, look::kGrid);
}

void valueField(Canvas& c) { fieldWell(c.ctx(), c.whole(), 2); }

void knobRing(Canvas& c) {
    // The knob's 30 x 30 square lies at (2, 4): its centre is (17, 19).
    CDrawContext& g = c.ctx();
    const CPoint centre(17, 19);
    std::vector<CPoint> arc;
    arcPoints(centre, 15, -135, 135, arc);
    polyline(g, arc, look::kFrame, 1.2f);
    // Ends of the travel, and its middle.
    for (const float deg : {-135.0f, 135.0f}) line(g, polar(centre, 13.2f, deg), polar(centre, 16.8f, deg), look::kLabel, 1.5f);
    line(g, polar(centre, 13.8f, 0), polar(centre, 16.8f, 0), look::kLabel, 1.3f);
}

void knobFilm(Canvas& c) {
    const CPoint centre(kKnobSize / 2.0f, kKnobSize / 2.0f);
    for (int32_t d = 0; d < c.frames(); ++d) {
        c.frame(d);
        CDrawContext& g = c.ctx();
        // A soft shadow, an outline, the cap, then the pointer.
        disc(g, CPoint(centre.x, centre.y + 1), 13, faded(look::kShadow, 0.35f), faded(look::kShadow, 0.5f));
        disc(g, centre, 12.5f, look::kEdgeDark, look::kEdgeDark);
        disc(g, centre, 11.5f, mix(look::kRaisedHigh, look::kFrame, 0.5f), look::kRaised);
        line(g, polar(centre, 4.0f, static_cast<float>(d)), polar(centre, 10.0f, static_cast<float>(d)), look::kBright,
             2.0f);
    }
}

void bandTypeButton(Canvas& c) {
    // Greys only: the editor multiplies them by the band's colour.
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    edgedRounded(g, r, 5, CColor{170, 170, 170, 255}, CColor{96, 96, 96, 255}, CColor{70, 70, 70, 255});
    hLine(g, 4, r.right - 4, 1, CColor{124, 124, 124, 255});
}

void bandTypeGlyphs(Canvas& c) {
    // Block k is band type k: peak, high-pass, low shelf, high shelf,
    // low-pass, and two notches.
    constexpr Curve kOrder[] = {Curve::kPeak,   Curve::kHighPass, Curve::kLowShelf, Curve::kHighShelf,
                                Curve::kLowPass, Curve::kNotch,    Curve::kNotch};
    for (int32_t k = 0; k < c.frames(); ++k) {
        c.frame(k);
        bandGlyph(c.ctx(), kOrder[k], kBandGlyphTop);
    }
}

}  // namespace art
