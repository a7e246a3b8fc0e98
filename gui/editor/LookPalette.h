#pragma once
// The editor's colours, in one place: the images drawn at build time
// (tools/artgen) and the views that draw for themselves take them from
// here, so both keep one look. Dark and flat: grounds step up from the
// wells to the panels to the raised faces, edges are 1 px lines a step
// lighter or darker, and one amber accent marks whatever is lit.

#include "gui/toolkit/Geometry.h"

namespace look {

using VSTGUI::CColor;

// ---- Grounds, darkest first ----
constexpr CColor kShadow{0, 0, 0, 255};          // drop shadows, drawn with alpha
constexpr CColor kWell{16, 17, 20, 255};         // meter wells, the deepest recess
constexpr CColor kField{22, 24, 28, 255};        // value fields, list and text wells, the graph
constexpr CColor kPanel{30, 32, 36, 255};        // panel ground, the meter section
constexpr CColor kStrip{37, 40, 46, 255};        // a band strip's card
constexpr CColor kRaised{44, 48, 54, 255};       // button faces
constexpr CColor kRaisedHigh{54, 58, 66, 255};   // a face's upper gradient end, hover-light parts

// ---- The header bar: a faint gradient between two 1 px lines ----
constexpr CColor kHeaderTop{47, 51, 58, 255};
constexpr CColor kHeaderBottom{36, 39, 45, 255};
constexpr CColor kHeaderHighlight{64, 69, 78, 255};  // its top row
constexpr CColor kHeaderEdge{12, 13, 15, 255};       // its bottom row

// ---- Lines ----
constexpr CColor kEdgeDark{14, 15, 18, 255};  // the shadowed side of a well, outlines of caps
constexpr CColor kGrid{58, 62, 70, 255};      // grid lines, dividers, tick marks
constexpr CColor kFrame{70, 74, 82, 255};     // 1 px edges of faces and fields
constexpr CColor kTrack{0x3a, 0x3a, 0x3a, 255};  // slider tracks

// ---- Text and symbols ----
constexpr CColor kLabel{170, 176, 186, 255};   // labels and icons at rest
constexpr CColor kValue{0xa6, 0xa6, 0xa6, 255};  // value read-outs
constexpr CColor kUnit{0xa6, 0x85, 0x57, 255};   // units, scroll thumbs, slider handles (warm gold)
constexpr CColor kBright{224, 228, 234, 255};  // the wordmark, pointers, pressed icons
constexpr CColor kDimmed{88, 93, 102, 255};    // labels and icons of something disabled

// ---- States ----
constexpr CColor kAccent{255, 178, 64, 255};     // lit: on, selected, soloed
constexpr CColor kAccentDeep{122, 84, 28, 255};  // the accent's edge and pressed shade
constexpr CColor kOnText{26, 20, 10, 255};       // text and symbols on an accent fill
constexpr CColor kGreen{96, 200, 140, 255};      // healthy levels, the analyser's traces
constexpr CColor kWarning{226, 76, 62, 255};     // bypassed, muted, clipping
constexpr CColor kWarningDark{70, 30, 28, 255};  // an unlit warning light

}  // namespace look
