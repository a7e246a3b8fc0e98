// The header bar, the panels and the trays.

#include <cmath>

#include "gui/editor/LookPalette.h"
#include "tools/artgen/Images.h"

namespace art {

namespace {

// Rows of black falling off from `top` alpha to nothing, eased so the
// shadow is dense at its edge and soft at its end.
float shadowAlpha(int32_t row, int32_t rows, float top) {
    const float t = 1.0f - static_cast<float>(row) / static_cast<float>(rows);
    return top * t * t;
}

// The editor's mark: an amber tile with a bell curve across it.
void mark(CDrawContext& c, const CRect& r) {
    fillRoundedGradient(c, r, 3, mix(look::kAccent, look::kBright, 0.2f), look::kAccent);
    std::vector<CPoint> curve;
    const float baseY = r.bottom - 4.0f;
    const float peak = r.top + 4.0f;
    for (int i = 0; i <= 24; ++i) {
        const float t = static_cast<float>(i) / 24;
        const float x = r.left + 1.5f + t * (r.width() - 3);
        const float bump = std::exp(-std::pow((t - 0.5f) / 0.14f, 2.0f));
        curve.emplace_back(x, baseY - bump * (baseY - peak));
    }
    polyline(c, curve, look::kOnText, 1.6f);
}

// A panel's title band: the header's ground, within the panel's edge.
void titleBand(CDrawContext& c, const CRect& r) { headerGround(c, r); }

}  // namespace

void headerBar(Canvas& c) { headerGround(c.ctx(), c.whole()); }

void logo(Canvas& c) {
    const CRect r = c.whole();
    headerGround(c.ctx(), r);
    mark(c.ctx(), CRect::fromSize(9, 5, 15, 15));
    label(c.ctx(), "FENWOLDRINE", CRect(31, 1, 31 + labelWidth("FENWOLDRINE", Face::kDisplay, 13, 1.6f), 24),
          Face::kDisplay, 13, look::kBright, 1.6f);
}

void headerShadow(Canvas& c) {
    const CRect r = c.whole();
    for (int32_t y = 0; y < c.frameHeight(); ++y) {
        hLine(c.ctx(), 0, r.right, static_cast<float>(y),
              faded(look::kShadow, shadowAlpha(y, c.frameHeight(), 0x70 / 255.0f)));
    }
}

void meterFade(Canvas& c) {
    const CRect r = c.whole();
    const int32_t w = c.width();
    for (int32_t x = 0; x < w; ++x) {
        const float t = static_cast<float>(x) / static_cast<float>(w - 1);
        vLine(c.ctx(), static_cast<float>(x), 0, r.bottom, faded(look::kPanel, t * t * (3 - 2 * t)));
    }
}

void wizardPanel(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    g.setFillColor(look::kPanel);
    g.fillRect(r);
    titleBand(g, CRect(0, 0, r.right, 48));
    // A footer for the wizard's buttons, set off by a rule.
    g.setFillColor(mix(look::kPanel, look::kField, 0.5f));
    g.fillRect(CRect(0, r.bottom - 52, r.right, r.bottom));
    hLine(g, 0, r.right, r.bottom - 52, look::kEdgeDark);
    hLine(g, 0, r.right, r.bottom - 51, look::kGrid);
}

void setupPanel(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    constexpr float kRadius = 6;
    constexpr float kTitleBottom = 40;  // the band's last row, a dark rule
    edgedRounded(g, r, kRadius, look::kFrame, look::kPanel, look::kPanel);
    // The title band inside the edge, its top corners following the panel's.
    {
        const CRect saved = g.getClipRect();
        g.setClipRect(CRect(1, 1, r.right - 1, kTitleBottom + 1));
        std::vector<CPoint> outline;
        roundedRectPath(CRect(1, 1, r.right - 1, r.bottom - 1), kRadius - 1, outline);
        for (int32_t y = 1; y <= kTitleBottom; ++y) {
            g.setClipRect(CRect(1, static_cast<float>(y), r.right - 1, static_cast<float>(y + 1)));
            CColor colour = mix(look::kHeaderTop, look::kHeaderBottom, static_cast<float>(y - 1) / (kTitleBottom - 2));
            if (y == 1) colour = look::kHeaderHighlight;
            if (y == kTitleBottom) colour = look::kHeaderEdge;
            polygon(g, outline, colour);
        }
        g.setClipRect(saved);
    }
    const CRect titleRow(18, 15, 300, 40);
    label(g, "SETUP", CRect(titleRow.left, titleRow.top, titleRow.left + labelWidth("SETUP", Face::kDisplay, 13, 1.6f),
                            titleRow.bottom),
          Face::kDisplay, 13, look::kBright, 1.6f);
    // The close box at (590, 15), 27 x 25.
    const CRect close = CRect::fromSize(590, 15, 27, 25);
    buttonFace(g, CRect(close.left + 2, close.top + 3, close.right - 2, close.bottom - 3), State::kNormal);
    const CPoint mid(close.left + close.width() / 2, close.top + close.height() / 2);
    line(g, CPoint(mid.x - 4, mid.y - 4), CPoint(mid.x + 4, mid.y + 4), look::kLabel, 1.6f);
    line(g, CPoint(mid.x - 4, mid.y + 4), CPoint(mid.x + 4, mid.y - 4), look::kLabel, 1.6f);
    // The page list and the page's content: wells from row 41 to row 386.
    // Their sides are straight down, so rows 50..352 are all alike.
    const CRect list = CRect(16, 41, 165, 387);
    const CRect content = CRect(166, 41, 616, 387);
    edgedRounded(g, list, 2, look::kEdgeDark, look::kField, look::kField);
    edgedRounded(g, content, 2, look::kEdgeDark, mix(look::kPanel, look::kField, 0.6f),
                 mix(look::kPanel, look::kField, 0.6f));
    hLine(g, content.left + 1, content.right - 1, content.bottom - 1, look::kGrid);
    hLine(g, list.left + 1, list.right - 1, list.bottom - 1, look::kGrid);
}

void setupListHeading(Canvas& c) {
    // Laid over the top of the page list: a shade falling from the title
    // band into the list, thinning out at either end.
    const int32_t w = c.width();
    const int32_t h = c.frameHeight();
    for (int32_t y = 2; y < h; ++y) {
        const float rowAlpha = shadowAlpha(y - 2, h - 2, 0.45f);
        for (int32_t x = 0; x < w; ++x) {
            const float ends = std::min({1.0f, static_cast<float>(x + 1) / 3, static_cast<float>(w - x) / 6});
            c.ctx().drawPoint(CPoint(static_cast<float>(x), static_cast<float>(y)),
                              faded(look::kShadow, rowAlpha * ends));
        }
    }
}

void presetBox(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    // A tab hanging from the header: square at the top, rounded below.
    const CRect body(0, -8, r.right, r.bottom);
    edgedRounded(g, body, 6, look::kFrame, mix(look::kRaised, look::kPanel, 0.3f), mix(look::kRaised, look::kPanel, 0.85f));
    // The preset name's field and the divider above the lower row.
    fieldWell(g, CRect::fromSize(38, 4, 208, 18), 2);
    hLine(g, 12, r.right - 12, 26, faded(look::kGrid, 0.8f));
    hLine(g, 12, r.right - 12, 27, faded(look::kHeaderHighlight, 0.35f));
}

void scaleTray(Canvas& c) {
    CDrawContext& g = c.ctx();
    // The tray's body against the window's left edge and the header, with
    // the handle's tab on its right side.
    const CRect body(-8, -8, 116, 240);
    const CRect tab(108, 24, 129, 46);
    const CColor fill = mix(look::kPanel, look::kRaised, 0.35f);
    fillRounded(g, body, 6, look::kFrame);
    fillRounded(g, tab, 4, look::kFrame);
    CRect bodyIn = body, tabIn = tab;
    bodyIn.inset(1, 1);
    tabIn.inset(1, 1);
    fillRounded(g, bodyIn, 5, fill);
    fillRounded(g, tabIn, 3, fill);
    // Two slider tracks: a slot in the middle of each 20 px slider, where
    // the handle's centre runs, with a tick every eighth and a longer
    // one at the middle.
    for (const float left : {33.0f, 89.0f}) {
        const float cx = left + 10;
        const float top = 29 + 5, bottom = 237 - 5;
        edgedRounded(g, CRect(cx - 2, top - 2, cx + 2, bottom + 2), 2, look::kEdgeDark, look::kTrack, look::kTrack);
        for (int i = 0; i <= 8; ++i) {
            const float y = std::round(top + (bottom - 1 - top) * static_cast<float>(i) / 8);
            const float len = i == 4 ? 6 : 4;
            const CColor tick = i == 4 ? look::kFrame : look::kGrid;
            hLine(g, cx - 5 - len, cx - 5, y, tick);
            hLine(g, cx + 5, cx + 5 + len, y, tick);
        }
    }
}

void sliderHandle(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    edgedRounded(g, r, 2, mix(look::kUnit, look::kShadow, 0.55f), mix(look::kUnit, look::kBright, 0.3f), look::kUnit);
    // Grip: three dark lines, the middle one where the value is read.
    for (const float y : {3.0f, 5.0f, 7.0f}) hLine(g, 5, 15, y, mix(look::kUnit, look::kShadow, 0.6f));
}

}  // namespace art
