#include "session/GraphScene.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/Plug.h"
#include "dsp/EQ.h"
#include "state/UISettingsTree.h"

namespace {

bool sameShape(const BandShape& a, const BandShape& b) {
    return a.type == b.type && a.subtype == b.subtype && a.slope == b.slope && a.frequency == b.frequency &&
           a.gain == b.gain && a.q == b.q && a.shift == b.shift;
}

// The entry of a table chosen by a setting's index, the first for an index
// outside it.
template <typename T, size_t N>
T pick(const T (&table)[N], int32_t index) {
    return table[(index >= 0 && size_t(index) < N) ? size_t(index) : 0];
}

}  // namespace

GraphBand GraphScene::makeBand(int32_t state, int32_t type, int32_t groups, const BandShape& shape, double rowGain,
                               bool parallel) {
    GraphBand band;
    band.state = state;
    band.type = type;
    band.groups = groups;
    band.frequency = shape.frequency;
    band.rowFrequency = shape.frequency;
    band.gain = rowGain;
    band.parallel = parallel;
    band.shape = shape;
    designBand(shape, true, &band.sections);
    return band;
}

namespace {

void gatherPopup(Plug& effect, int32_t b, GraphPopupText& popup) {
    popup = GraphPopupText{};
    if (b < 0 || b >= kNumBands) return;
    popup.band = b;
    const int32_t type = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldType))));
    const int32_t subtype = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldSubtype)))) - 1;
    const int32_t engineType = engineTypeFor(type, false);
    popup.controls = controlMaskOf(engineType, subtype);
    const bool pass = type == kTypeHPF || type == kTypeLPF;
    auto value = [&](int32_t rect, int32_t field) {
        effect.getParameterDisplay(bandParam(b, field), popup.text[rect]);
        if (effect.programStore().isLocked(effect.getProgram(), bandParam(b, field))) popup.locked |= 1u << rect;
    };
    // The group: the first the band acts in, "+" when there are more.
    const int32_t groups = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldGroups))));
    int32_t names = 0;
    const std::string* groupNames = effect.groupNamesOf(&names);
    int32_t first = -1, count = 0;
    for (int32_t g = 0; g < 8; ++g) {
        if (((groups >> (7 - g)) & 1) == 0) continue;
        if (first < 0) first = g;
        ++count;
    }
    const char* name = (first >= 0 && first < names) ? groupNames[first].c_str() : "-";
    popup.groupCount = std::clamp(names, 0, 8);
    for (int32_t g = 0; g < popup.groupCount; ++g) {
        std::snprintf(popup.groupNames[g], sizeof popup.groupNames[g], "%s", groupNames[g].c_str());
    }
    std::snprintf(popup.text[1], sizeof popup.text[1], "%s%s", name, count > 1 ? "+" : "");
    static constexpr const char* kTypeNames[] = {"Peak", "HPF", "LSh", "HSh", "LPF", "Ntch"};
    std::snprintf(popup.text[2], sizeof popup.text[2], "%s", (type >= 1 && type <= 6) ? kTypeNames[type - 1] : "-");
    std::snprintf(popup.text[3], sizeof popup.text[3], "X");
    value(4, kFieldFrequency);
    value(5, pass ? kFieldSlope : kFieldGain);
    value(6, kFieldQ);
    value(7, kFieldShift);
    int32_t subtypes = 0;
    const char* const* list = EQ::subtypeNames(engineType, &subtypes);
    std::snprintf(popup.text[8], sizeof popup.text[8], "%s",
                  (list && subtype >= 0 && subtype < subtypes) ? list[subtype] : "-");
    if (effect.programStore().isLocked(effect.getProgram(), bandParam(b, kFieldType))) popup.locked |= 1u << 2;
    if (effect.programStore().isLocked(effect.getProgram(), bandParam(b, kFieldSubtype))) popup.locked |= 1u << 8;
}

}  // namespace

void gatherGraphScene(Plug& effect, GraphScene& scene, int32_t popupBand) {
    gatherPopup(effect, popupBand, scene.popup);
    scene.scale = effect.getRealValue(kScale);
    scene.frequencyFactor = effect.getRealValue(kFShift) * 0.01 * effect.getPitchFactor();
    scene.sampleRate = effect.getSampleRate();
    scene.listenBand = effect.getAutoListenBand();
    scene.listenGainShown = effect.getAutoListenGainMode() != 0;
    scene.listenFlatGain = effect.getAutoListenGainMode() == 2;
    scene.listenQFixed = effect.getAutoListenQMode() > 0;
    scene.listenIgnoresQ = effect.getAutoListenIgnoresQ();
    for (int32_t b = 0; b < kNumBands; ++b) {
        GraphBand& band = scene.bands[size_t(b)];
        band.state = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldState))));
        band.type = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldType))));
        band.groups = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldGroups))));
        band.gain = effect.getRealValue(bandParam(b, kFieldGain));
        band.rowFrequency = effect.getRealValue(bandParam(b, kFieldFrequency));
        for (int32_t f = 0; f < kNumBandFields; ++f) band.norm[f] = effect.getParameter(bandParam(b, f));
        const BandShape shape = effect.graphShape(b, &band.parallel);
        band.frequency = shape.frequency;
        if (!sameShape(shape, band.shape) || band.sections.count == 0) {
            band.shape = shape;
            designBand(shape, true, &band.sections);
        }
    }
}

GraphOptions graphOptionsFrom(const UISettingsTree& settings) {
    static constexpr double kOpacity[] = {0.25, 0.37, 0.5, 0.75};
    static constexpr int32_t kGrey[] = {0, 48, 64, 96};
    static constexpr int32_t kFade[] = {0, 25, 58, 70};
    static constexpr double kRange[] = {3, 6, 12, 18, 24, 36};
    static constexpr double kAnalyserOpacity[] = {1.0, 0.75, 0.5, 0.25};
    static constexpr double kSaturation[] = {1.0, 0.66, 0.33, 0.0};
    static constexpr double kAnalyserRange[] = {96, 80, 64, 48};
    static constexpr double kAnalyserTop[] = {0, -12, -24, -36};
    auto graph = [&](const char* key) { return settings.value("Graph", key); };
    auto analyser = [&](const char* key) { return settings.value("Analyser", key); };

    GraphOptions o;
    o.handles = std::clamp(graph("Handles"), 0, 2);
    o.scrollbar = graph("Scrollbar") == 1;
    o.filledBands = graph("Filled Bands") == 0;
    o.bandOpacity = pick(kOpacity, graph("Band Opacity"));
    o.display = std::clamp(graph("Display"), 0, 3);
    o.readout = std::clamp(graph("Readout"), 0, 3);
    const int32_t background = graph("Background");
    o.gridGrey = pick(kGrey, background);
    o.gridAlpha = o.gridGrey == 0 ? 0.0 : 1.0;
    o.fadeLevel = pick(kFade, graph("BG Fade"));
    o.tooltips = std::clamp(graph("Tooltips"), 0, 2);
    o.tooltipSubtype = graph("Tooltip for Subtype") == 1;
    o.crosshairs = graph("Crosshairs") == 1;
    o.bandNumbers = graph("Band Numbers") == 1;
    o.labels125 = graph("Frequency Labels") == 1;
    o.coloursByNumber = graph("Band Colours") == 1;
    o.rangeSetting = pick(kRange, graph("Range"));

    o.hidesEq = analyser("Hides EQ") == 1;
    o.analyserOpacity = pick(kAnalyserOpacity, analyser("Opacity"));
    o.saturation = pick(kSaturation, analyser("Saturation"));
    o.analyserDisplay = std::clamp(analyser("Display"), 0, 2);
    o.summed = analyser("Curves") == 1;
    o.secondaryRed = analyser("Colour") == 1;
    o.analyserRange = pick(kAnalyserRange, analyser("Range"));
    o.analyserTop = pick(kAnalyserTop, analyser("Top"));
    o.lockYellow = settings.value("Misc", "Parameter Lock Colour") == 1;
    o.invertedQ = settings.value("Misc", "Inverted Q") == 1;
    o.swapAltRight = settings.value("Misc", "Swap Alt/Right") == 1;
    o.wheelSensitivity = std::clamp(settings.value("Misc", "MouseWheel Sensitivity"), 0, 2);
    o.newBandTypes = std::clamp(settings.value("Misc", "New Band Types"), 0, 3);
    o.tooltipsFollowMouse = graph("Tooltips follow") == 0;
    o.filterDragsQ = graph("Filter Drags") == 1;
    o.wheelZoom = graph("Mousewheel Zoom") == 0;
    o.newBandQFollowsZoom = graph("New Band Q Follows Zoom") == 1;
    o.rightClick = std::clamp(graph("Right-Click"), 0, 2);
    o.wheelCtrlGain = graph("MouseWheel Ctrl") == 1;
    return o;
}
