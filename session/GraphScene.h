#pragma once
// What the response graph draws, as plain values: per band its state,
// type, groups, where its handle goes and its analogue prototype; and the
// graph's settings, decoded from the "Graph", "Analyser" and "Misc"
// categories of the UI settings. The editor gathers a scene from its
// instance at every refresh; tests make one by hand.
//
// Threads: UI thread.

#include <array>
#include <cstdint>

#include "core/ParamTable.h"
#include "core/PlugBase.h"
#include "dsp/BandDesign.h"

class Plug;
class UISettingsTree;

struct GraphBand {
    int32_t state = 0;    // 0 an unused slot, 1 bypassed, 2 on
    int32_t type = kTypePeak;  // the row's type: 1 Peak, 2 HPF, 3 LSh, 4 HSh, 5 LPF, 6 notch
    int32_t groups = 0;   // bit (7 - g) set: the band acts in group g
    double frequency = 1000.0;  // where it runs, Hz (shift and pitch applied)
    double gain = 0.0;    // the row's gain in dB, before Scale
    bool parallel = false;  // summed in the parallel branch instead of cascaded
    double rowFrequency = 1000.0;  // the row's own frequency, Hz (before shift and pitch)
    float norm[kNumBandFields] = {};  // the band's rows, normalised, in field order
    BandShape shape;        // what the prototype was designed from
    SectionSet sections{{kIdentitySection}, 1};  // its prototype, drawn whatever its state

    bool inGroup(int32_t group) const { return group >= 0 && group < 8 && ((groups >> (7 - group)) & 1) != 0; }
};

// The texts of the band popup, by its rectangle: 1 the group, 2 the type,
// 3 the delete box, 4 the frequency, 5 the gain (the slope for a pass
// filter), 6 the Q, 7 the shift, 8 the subtype. Values read "number unit".
struct GraphPopupText {
    static constexpr int32_t kRects = 9;
    int32_t band = -1;
    int32_t controls = 0;  // the values the band has (BandControl bits)
    uint32_t locked = 0;   // bit r: the value of rectangle r is locked
    char text[kRects][kParamTextSize] = {};  // as long as a parameter's display text may be
    // The names of the groups the band may act in, for the group menu.
    int32_t groupCount = 0;
    char groupNames[8][32] = {};
};

struct GraphScene {
    std::array<GraphBand, kNumBands> bands{};
    double scale = 1.0;          // real Scale: band gains are drawn times this
    double frequencyFactor = 1.0;  // where bands run over their rows' frequencies: the shift and the pitch
    float sampleRate = 48000.0f;
    int32_t listenBand = -1;     // the band being auditioned, -1 none
    bool listenGainShown = false;  // "AutoListen Gain" leaves the audition's shelf handle at its gain
    GraphPopupText popup;          // for the band that shows its popup
    bool listenQFixed = false;     // "AutoListen Q" gives the audition its own Q
    bool listenIgnoresQ = false;   // "AutoListen Ignores Q"
    bool listenFlatGain = false;   // "AutoListen Gain" "0dB": the audition keeps no gain

    // A band made from a shape by the design code (tests, and the gathering below).
    static GraphBand makeBand(int32_t state, int32_t type, int32_t groups, const BandShape& shape, double rowGain,
                              bool parallel = false);
};

// Fills `scene` from an instance. A band whose shape did not change since
// the scene was last filled keeps its sections (no design runs).
// The popup's texts are gathered for `popupBand` (none for -1).
void gatherGraphScene(Plug& effect, GraphScene& scene, int32_t popupBand = -1);

// The graph's settings.
struct GraphOptions {
    // "Graph"
    int32_t handles = 1;        // 0 hidden, 1 shown, 2 larger
    bool scrollbar = true;
    bool filledBands = true;    // "Filled" (else outlines only)
    double bandOpacity = 0.25;  // 0.25, 0.37, 0.5, 0.75
    int32_t display = 0;        // 0 All, 1 Total, 2 Bands, 3 Off
    int32_t readout = 0;        // bit 0 the analyser's, bit 1 the graph's
    int32_t gridGrey = 64;      // "Background": 0, 48, 64, 96
    double gridAlpha = 1.0;     // 0 with "Background" off
    int32_t fadeLevel = 58;     // "BG Fade": 0, 25, 58, 70
    int32_t tooltips = 2;       // 0 none, 1 "Type1", 2 "Type2"
    bool tooltipSubtype = false;
    bool crosshairs = false;
    bool bandNumbers = false;
    bool labels125 = false;     // "Frequency Labels" "1,2,5" (else "2,4,6,8")
    bool coloursByNumber = false;
    double rangeSetting = 18.0;  // dB: 3, 6, 12, 18, 24, 36
    // "Analyser"
    bool hidesEq = false;
    double analyserOpacity = 0.75;  // 1, 0.75, 0.5, 0.25
    double saturation = 0.66;       // 1, 0.66, 0.33, 0
    int32_t analyserDisplay = 2;    // 0 filled, 1 outlined, 2 both
    bool summed = false;            // "Curves" "Summed"
    bool secondaryRed = false;      // "Colour" "White/Red"
    double analyserRange = 96.0;    // dB from top to bottom
    double analyserTop = 0.0;       // dB at the top
    // "Misc"
    bool lockYellow = false;        // "Parameter Lock Colour" "Yellow" (else red)
    bool invertedQ = false;         // "Inverted Q"
    bool swapAltRight = false;      // "Swap Alt/Right"
    int32_t wheelSensitivity = 0;   // "MouseWheel Sensitivity": 0 broad, 1 medium, 2 fine
    int32_t newBandTypes = 0;       // "New Band Types": 0 peaks, 1 by freq, 2 by gain, 3 both
    // "Graph", for the mouse
    bool tooltipsFollowMouse = true;  // "Tooltips follow" "Mouse" (else "Adjustment")
    bool filterDragsQ = false;      // "Filter Drags" "Q" (else "Slope")
    bool wheelZoom = true;          // "Mousewheel Zoom" "Active"
    bool newBandQFollowsZoom = true;
    int32_t rightClick = 0;         // "Right-Click": 0 disabled, 1 invert, 2 bypass
    bool wheelCtrlGain = true;      // "MouseWheel Ctrl" "Gain" (else "Freq")

    bool operator==(const GraphOptions&) const = default;
};

GraphOptions graphOptionsFrom(const UISettingsTree& settings);
