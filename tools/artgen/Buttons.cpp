// Buttons, toggles and the faces of menus. Those in the header bar stand
// on its ground, so the bar runs on unbroken behind them.

#include <cmath>
#include <functional>

#include "gui/editor/LookPalette.h"
#include "tools/artgen/Images.h"

namespace art {

namespace {

// The symbol of a button: drawn into a frame's rectangle in an ink colour.
using Symbol = std::function<void(CDrawContext&, const CRect&, const CColor&)>;

// A button of the header bar: its face inset from the frame by 1 px at
// the sides and 3 px above and below, one state per frame.
void headerButton(Canvas& c, std::initializer_list<State> states, const Symbol& symbol) {
    int32_t i = 0;
    for (const State s : states) {
        const CRect r = c.frame(i++);
        headerGround(c.ctx(), r);
        const CRect face(1, 3, r.right - 1, r.bottom - 3);
        buttonFace(c.ctx(), face, s);
        symbol(c.ctx(), face, inkFor(s));
    }
}

Symbol word(const char* text, float size = 10, float tracking = 1.0f) {
    return [=](CDrawContext& g, const CRect& face, const CColor& ink) {
        label(g, text, face, Face::kDisplay, size, ink, tracking);
    };
}

// A small face filling the frame, one state per frame.
void smallButton(Canvas& c, std::initializer_list<State> states, const Symbol& symbol, float radius = 3) {
    int32_t i = 0;
    for (const State s : states) {
        const CRect r = c.frame(i++);
        buttonFace(c.ctx(), r, s, radius);
        symbol(c.ctx(), r, inkFor(s));
    }
}

// Mirrors points left to right within a width.
std::vector<CPoint> mirrored(std::vector<CPoint> points, float width) {
    for (CPoint& p : points) p.x = width - p.x;
    return points;
}

// A hooked arrow turning back on itself, pointing left; mirrored for redo.
void hookArrow(CDrawContext& g, const CRect& face, const CColor& ink, bool pointsRight) {
    const float w = face.right + face.left;  // mirror about the face's centre
    const float cx = face.left + face.width() / 2;
    const float cy = face.top + face.height() / 2;
    std::vector<CPoint> stem = {CPoint(cx - 3, cy - 3), CPoint(cx + 2, cy - 3)};
    std::vector<CPoint> arc;
    arcPoints(CPoint(cx + 2, cy + 0.5f), 3.5f, 0, 180, arc);
    stem.insert(stem.end(), arc.begin(), arc.end());
    stem.emplace_back(cx - 2, cy + 4);
    std::vector<CPoint> head = {CPoint(cx - 7, cy - 3), CPoint(cx - 3, cy - 6.5f), CPoint(cx - 3, cy + 0.5f)};
    if (pointsRight) {
        stem = mirrored(stem, w);
        head = mirrored(head, w);
    }
    polyline(g, stem, ink, 1.6f);
    polygon(g, head, ink);
}

// An arrow into a tray (down) or out of it (up), in the top 16 rows.
void trayArrow(CDrawContext& g, const CRect& face, const CColor& ink, bool into) {
    const float cx = face.left + face.width() / 2;
    polyline(g, {CPoint(cx - 6, 8.5f), CPoint(cx - 6, 12.5f), CPoint(cx + 6, 12.5f), CPoint(cx + 6, 8.5f)}, ink, 1.4f);
    if (into) {
        line(g, CPoint(cx, 3), CPoint(cx, 7.5f), ink, 1.6f);
        polygon(g, {CPoint(cx - 3.5f, 7), CPoint(cx + 3.5f, 7), CPoint(cx, 11)}, ink);
    } else {
        line(g, CPoint(cx, 6.5f), CPoint(cx, 11), ink, 1.6f);
        polygon(g, {CPoint(cx - 3.5f, 7), CPoint(cx + 3.5f, 7), CPoint(cx, 3)}, ink);
    }
}

void loadOrSave(Canvas& c, bool save) {
    for (int32_t i = 0; i < 2; ++i) {
        c.frame(i);
        const State s = i == 0 ? State::kNormal : State::kPressed;
        // The view is 16 high: the face and icon keep to the top 16 rows.
        const CRect face(0, 0, static_cast<float>(c.width()), 16);
        buttonFace(c.ctx(), face, s);
        trayArrow(c.ctx(), face, inkFor(s), save);
    }
}

void presetStep(Canvas& c, bool next) {
    smallButton(c, {State::kNormal, State::kPressed, State::kDisabled},
                [next](CDrawContext& g, const CRect& r, const CColor& ink) {
                    const float cx = r.width() / 2, cy = r.height() / 2;
                    std::vector<CPoint> tri = {CPoint(cx + 2, cy - 3.5f), CPoint(cx + 2, cy + 3.5f),
                                               CPoint(cx - 2.5f, cy)};
                    polygon(g, next ? mirrored(tri, r.width()) : tri, ink);
                },
                2);
}

void includeToggle(Canvas& c, const char* text) {
    smallButton(c, {State::kNormal, State::kLit}, word(text, 9, 0.6f));
}

void menuFace(Canvas& c) {
    // A field-like face in the header: the view draws its choice in the
    // middle; a drop mark at the right says it opens a menu.
    const CRect r = c.frame(0);
    headerGround(c.ctx(), r);
    const CRect face(1, 3, r.right - 1, r.bottom - 3);
    buttonFace(c.ctx(), face, State::kNormal);
    dropMark(c.ctx(), CPoint(face.right - 5.5f, face.bottom - 5), look::kLabel);
}

}  // namespace

void trayHandle(Canvas& c) {
    for (int32_t i = 0; i < 2; ++i) {
        const CRect r = c.frame(i);
        const float cx = r.width() / 2, cy = r.height() / 2;
        const float dir = i == 0 ? 1.0f : -1.0f;  // closed: points out, open: points back in
        polyline(c.ctx(), {CPoint(cx - 1.5f * dir, cy - 3), CPoint(cx + 1.5f * dir, cy), CPoint(cx - 1.5f * dir, cy + 3)},
                 look::kLabel, 1.6f);
    }
}

void includeEQ(Canvas& c) { includeToggle(c, "EQ"); }
void includeDSP(Canvas& c) { includeToggle(c, "DSP"); }
void includeUI(Canvas& c) { includeToggle(c, "UI"); }

void presetBankSwitch(Canvas& c) {
    // Two halves of one slot; the lit one filled with the accent.
    for (int32_t i = 0; i < 2; ++i) {
        const CRect r = c.frame(i);
        CDrawContext& g = c.ctx();
        const float split = 41;
        const CRect preset(0, 0, split, r.bottom), bank(split, 0, r.right, r.bottom);
        edgedRounded(g, r, 3, look::kGrid, look::kField, look::kField);
        const CRect lit = i == 0 ? preset : bank;
        CRect litIn = lit;
        litIn.inset(0, 0);
        fillRounded(g, litIn, 3, look::kAccent);
        // Square the lit half's inner end against the split.
        g.setFillColor(look::kAccent);
        if (i == 0) g.fillRect(CRect(split - 3, 0, split, r.bottom));
        else g.fillRect(CRect(split, 0, split + 3, r.bottom));
        label(g, "PRESET", preset, Face::kDisplay, 7.5f, i == 0 ? look::kOnText : look::kLabel, 0.5f);
        label(g, "BANK", bank, Face::kDisplay, 7.5f, i == 1 ? look::kOnText : look::kLabel, 0.5f);
    }
}

void loadButton(Canvas& c) { loadOrSave(c, false); }
void saveButton(Canvas& c) { loadOrSave(c, true); }

void undoButton(Canvas& c) {
    headerButton(c, {State::kNormal, State::kPressed, State::kDisabled},
                 [](CDrawContext& g, const CRect& f, const CColor& ink) { hookArrow(g, f, ink, false); });
}

void redoButton(Canvas& c) {
    headerButton(c, {State::kNormal, State::kPressed, State::kDisabled},
                 [](CDrawContext& g, const CRect& f, const CColor& ink) { hookArrow(g, f, ink, true); });
}

void previousPreset(Canvas& c) { presetStep(c, false); }
void nextPreset(Canvas& c) { presetStep(c, true); }

void presetMenuFace(Canvas& c) {
    CDrawContext& g = c.ctx();
    const CRect r = c.whole();
    fieldWell(g, r, 2);
    vLine(g, r.right - 17, 4, r.bottom - 4, look::kGrid);
    dropMark(g, CPoint(r.right - 8.5f, r.height() / 2), look::kLabel);
}

void analyserButton(Canvas& c) { headerButton(c, {State::kNormal, State::kLit}, word("ANALYSER")); }

void clipLight(Canvas& c) {
    for (int32_t i = 0; i < 2; ++i) {
        const CRect r = c.frame(i);
        CDrawContext& g = c.ctx();
        headerGround(g, r);
        const CRect led(3, 6, 7, 19);
        if (i == 1) {
            // A glow around the lit light.
            for (int k = 3; k >= 1; --k) {
                CRect halo = led;
                halo.inset(-static_cast<float>(k), -static_cast<float>(k));
                fillRounded(g, halo, 2.0f + k, faded(look::kWarning, 0.12f));
            }
        }
        edgedRounded(g, led, 1.5f, look::kEdgeDark, i == 1 ? mix(look::kWarning, look::kBright, 0.35f) : look::kWarningDark,
                     i == 1 ? look::kWarning : mix(look::kWarningDark, look::kShadow, 0.3f));
    }
}

void slotMenuFace(Canvas& c) { menuFace(c); }

void copyButton(Canvas& c) {
    headerButton(c, {State::kNormal, State::kPressed}, [](CDrawContext& g, const CRect& f, const CColor& ink) {
        label(g, "COPY", CRect(f.left, f.top, f.right - 9, f.bottom), Face::kDisplay, 10, ink, 1.0f);
        dropMark(g, CPoint(f.right - 8.5f, f.top + f.height() / 2), ink);
    });
}

void bypassButton(Canvas& c) {
    headerButton(c, {State::kNormal, State::kWarning}, [](CDrawContext& g, const CRect& f, const CColor& ink) {
        const CPoint centre(f.left + f.width() / 2, f.top + f.height() / 2 + 0.5f);
        std::vector<CPoint> arc;
        arcPoints(centre, 4.8f, 38, 322, arc);
        polyline(g, arc, ink, 1.6f);
        line(g, CPoint(centre.x, centre.y - 6.5f), CPoint(centre.x, centre.y - 0.5f), ink, 1.6f);
    });
}

void groupMenuFace(Canvas& c) { menuFace(c); }

void setupButton(Canvas& c) { headerButton(c, {State::kNormal, State::kPressed}, word("SETUP")); }

void presetsButton(Canvas& c) { headerButton(c, {State::kNormal, State::kLit}, word("PRESETS")); }

void fullScreenButton(Canvas& c) {
    headerButton(c, {State::kNormal, State::kLit}, [](CDrawContext& g, const CRect& f, const CColor& ink) {
        const float cx = f.left + f.width() / 2, cy = f.top + f.height() / 2;
        const float hw = 6, hh = 5, arm = 3.5f;
        for (const float sx : {-1.0f, 1.0f}) {
            for (const float sy : {-1.0f, 1.0f}) {
                const CPoint corner(cx + sx * hw, cy + sy * hh);
                polyline(g, {CPoint(corner.x, corner.y - sy * arm), corner, CPoint(corner.x - sx * arm, corner.y)}, ink,
                         1.5f);
            }
        }
    });
}

}  // namespace art
