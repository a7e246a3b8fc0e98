// The meter section: the blocks' grounds (cut from the top to the height
// in use), the wells the meters stand in, the fader handle and the small
// per-channel toggles.

#include "gui/editor/LookPalette.h"
#include "tools/artgen/Images.h"

namespace art {

namespace {

// The section's ground with a divider down its left side, where the
// band strips' fade ends.
void block(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    g.setFillColor(look::kPanel);
    g.fillRect(r);
    vLine(g, 0, 0, r.bottom, look::kEdgeDark);
    vLine(g, 1, 0, r.bottom, faded(look::kHeaderHighlight, 0.3f));
}

// A toggle: a face per state, off then on.
template <class Symbol>
void toggle(Canvas& c, State lit, Symbol symbol) {
    for (int32_t i = 0; i < 2; ++i) {
        const CRect r = c.frame(i);
        const State s = i == 0 ? State::kNormal : lit;
        buttonFace(c.ctx(), r, s, 3);
        symbol(c.ctx(), r, inkFor(s));
    }
}

void letter(Canvas& c, const char* text, State lit, Face face = Face::kDisplay, float size = 10) {
    toggle(c, lit, [&](CDrawContext& g, const CRect& r, const CColor& ink) { label(g, text, r, face, size, ink); });
}

}  // namespace

void meterBlock(Canvas& c) { block(c); }
void masterBlock(Canvas& c) { block(c); }

void meterWell(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    g.setFillColor(look::kWell);
    g.fillRect(r);
    vLine(g, 0, 0, r.bottom, look::kEdgeDark);
    hLine(g, 0, r.right, 0, look::kEdgeDark);
    vLine(g, r.right - 1, 1, r.bottom, look::kGrid);
}

void faderHandle(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    edgedRounded(g, r, 2, look::kEdgeDark, CColor{112, 118, 128, 255}, CColor{72, 76, 84, 255});
    // The line the level is read at, across the middle.
    hLine(g, 3, r.right - 3, 6, look::kBright);
    hLine(g, 3, r.right - 3, 7, faded(look::kShadow, 0.5f));
}

void phaseToggle(Canvas& c) { letter(c, "\xC3\x98", State::kLit, Face::kText, 11); }  // Ø
void muteToggle(Canvas& c) { letter(c, "M", State::kWarning); }
void soloToggle(Canvas& c) { letter(c, "S", State::kLit); }

void linkToggle(Canvas& c) {
    toggle(c, State::kLit, [](CDrawContext& g, const CRect& r, const CColor& ink) {
        // Two links of a chain, overlapping.
        const float cy = r.height() / 2;
        for (const float left : {3.5f, 9.5f}) {
            std::vector<CPoint> link;
            roundedRectPath(CRect(left, cy - 2.5f, left + 7, cy + 2.5f), 2.5f, link);
            link.push_back(link.front());
            polyline(g, link, ink, 1.3f);
        }
    });
}

}  // namespace art
