// The response graph, drawn headless from plain scenes and probed by pixel:
// where the curves, handles, grid and labels land, which totals are drawn,
// what each analyser display lights; and its per-column evaluation against
// the bank's own analogue response.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "TestHost.h"
#include "core/Plug.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/PixelFont.h"

using namespace VSTGUI;

namespace {

constexpr int32_t kWidth = 760, kHeight = 447;

struct Graph {
    EQGraph* view;
    explicit Graph(GraphOptions options = {}, int32_t width = kWidth, int32_t height = kHeight)
        : view(new EQGraph(CRect(0, 0, width, height), nullptr, 0)) {
        view->setOptions(options);
    }
    ~Graph() { view->forget(); }
    EQGraph* operator->() const { return view; }
    CColor at(double x, double y) const {
        return view->sceneBitmap()->getPixel(int32_t(std::floor(x)), int32_t(std::floor(y)));
    }
    bool isWhite(double x, double y) const {
        const CColor c = at(x, y);
        return c.red > 230 && c.green > 230 && c.blue > 230;
    }
};

GraphBand peak(double hz, double dB, int32_t groups = 0x80, double q = 1.0) {
    BandShape shape;
    shape.type = kEnginePeak;
    shape.frequency = float(hz);
    shape.gain = float(dB);
    shape.q = float(q);
    return GraphScene::makeBand(kBandOn, kTypePeak, groups, shape, dB);
}

}  // namespace

TEST(EQGraph, AnEmptyTotalLiesOnTheZeroRowAndAPeaksHandleOnItsFrequencyAndGain) {
    Graph graph;
    GraphScene scene;
    graph->setScene(scene);
    graph->renderFrame();
    const double middle = graph->plotHeight() / 2.0;
    for (double x : {5.0, 300.0, 700.0}) {
        EXPECT_TRUE(graph.isWhite(x, middle + 0.5)) << x;
        EXPECT_FALSE(graph.isWhite(x, middle - 6)) << x;
        EXPECT_NEAR(graph->totalDb()[size_t(x)], 0.0, 1e-12);
    }
    // "Hides EQ" with the analyser running leaves the curve out.
    GraphOptions hiding;
    hiding.hidesEq = true;
    graph->setOptions(hiding);
    graph->setAnalyserOn(true);
    graph->renderFrame();
    EXPECT_FALSE(graph.isWhite(300, middle + 0.5));
    graph->setAnalyserOn(false);

    scene.bands[3] = peak(1000.0, 12.0);
    graph->setScene(scene);
    graph->renderFrame();
    const CPoint handle = graph->handlePosition(3);
    EXPECT_NEAR(handle.x, graph->xOf(1000.0), 0.5);
    EXPECT_NEAR(handle.y, graph->yOfDb(12.0), 0.5);
    // The disc is in the band's colour; the total passes through it.
    const graphpix::Rgb colour = bandColour(3, 1000.0, 48000.0, false);
    const CColor centre = graph.at(handle.x + 3, handle.y + 3);
    EXPECT_EQ(centre.red, colour.red);
    EXPECT_EQ(centre.green, colour.green);
    EXPECT_EQ(centre.blue, colour.blue);
    EXPECT_NEAR(graph->totalDb()[size_t(handle.x)], 12.0, 0.05);
}

TEST(EQGraph, TheRangeGrowsToHoldTheLargestBandInStepsOfSixDecibels) {
    struct Row {
        double gain, scale, range;
    } rows[] = {{5, 1, 18}, {18, 1, 18}, {18.5, 1, 24}, {-25, 1, 30}, {12, 2, 24}, {12, -3, 36}};
    for (const Row& row : rows) {
        Graph graph;
        GraphScene scene;
        scene.scale = row.scale;
        scene.bands[0] = peak(1000.0, row.gain);
        graph->setScene(scene);
        graph->renderFrame();
        EXPECT_EQ(graph->getRange(), row.range) << row.gain << " x " << row.scale;
    }
}

TEST(EQGraph, GridRowsAndTheirLabelsSitWhereTheAxisPutsThem) {
    GraphOptions options;
    options.gridGrey = 96;
    options.display = 3;  // no total over the middle line
    Graph graph(options);
    graph->setScene(GraphScene{});
    graph->renderFrame();
    const int32_t h = graph->plotHeight();
    const int32_t lines = 7;  // 18 dB either side, a line every 6 dB
    const PixelFont& font = PixelFont::small();
    for (int32_t i = 0; i < lines; ++i) {
        const int32_t y = (h - 1) * i / (lines - 1);
        // A column between the frequency lines, left of the labels.
        const CColor grid = graph.at(graph->xOf(150.0), y);
        EXPECT_GT(grid.red, 15) << "line " << i;
        EXPECT_LT(grid.red, 97) << "line " << i;
        if (i == lines - 1) continue;
        // White ink right-aligned to four pixels from the edge, at the line.
        char text[16];
        std::snprintf(text, sizeof text, "%2.0fdB", 18.0 - 6.0 * i);
        const int32_t left = graph->plotWidth() - 4 - font.textWidth(text);
        const int32_t top = std::clamp(y - 4, 2, h - 9);
        int32_t ink = 0;
        for (int32_t yy = top; yy < top + font.height(); ++yy)
            for (int32_t xx = left; xx < graph->plotWidth() - 4; ++xx) ink += graph.isWhite(xx, yy) ? 1 : 0;
        EXPECT_GT(ink, 6) << text;
    }
}

TEST(EQGraph, FrequencyLabelsFollowTheChosenDigitsAndLeftLabelsWinCollisions) {
    struct Row {
        int32_t width;
        bool labels125;
        std::vector<const char*> present, absent;
    } rows[] = {
        {760, false, {"10", "20", "40", "100", "800", "1k", "8k", "20k"}, {"30", "50", "500"}},
        {760, true, {"10", "20", "50", "500", "5k"}, {"40", "60", "800"}},
        {240, false, {"10"}, {}},
    };
    for (const Row& row : rows) {
        GraphOptions options;
        options.labels125 = row.labels125;
        Graph graph(options, row.width);
        graph->setScene(GraphScene{});
        EQGraph::FrequencyLabel labels[EQGraph::kMaxLabels];
        const int32_t count = graph->frequencyLabels(labels, EQGraph::kMaxLabels);
        auto has = [&](const char* text) {
            for (int32_t i = 0; i < count; ++i)
                if (std::string(labels[i].text) == text) return true;
            return false;
        };
        for (const char* text : row.present) EXPECT_TRUE(has(text)) << row.width << " " << text;
        for (const char* text : row.absent) EXPECT_FALSE(has(text)) << row.width << " " << text;
        for (int32_t i = 1; i < count; ++i) {
            EXPECT_GT(labels[i].x, labels[i - 1].x + labels[i - 1].width + 1) << labels[i].text;
        }
    }
}

TEST(EQGraph, TheSecondGroupsTotalIsDrawnInBlueWhereItDiffers) {
    Graph graph;
    GraphScene scene;
    scene.bands[0] = peak(200.0, -12.0, 0x40);  // group 1 only
    graph->setScene(scene);
    graph->setGroups(0, 1);
    graph->renderFrame();
    // Beside the handle, on the band's own curve.
    const double x = std::floor(graph->xOf(200.0)) + 14.5;
    const double y = graph->yOfDb(20.0 * std::log10(std::abs(graph->bandResponse(0, graph->frequencyAt(x)))));
    const CColor blue = graph.at(x, y);
    EXPECT_GT(blue.blue, 200);
    EXPECT_LT(blue.red, 80);
    EXPECT_TRUE(graph.isWhite(x, graph->plotHeight() / 2.0 + 0.5));  // group 0 stays flat
    // With no second group shown there is no blue line.
    graph->setGroups(0, -1);
    graph->renderFrame();
    EXPECT_LT(graph.at(x, y).blue, 200);
}

TEST(EQGraph, ColumnsMatchTheBanksAnalogueResponseToAHundredthOfADecibel) {
    auto fx = makePlug(2);
    Plug& plug = *fx;
    const struct {
        int32_t type;
        double hz, gain, q, slope;
    } bands[] = {{kTypePeak, 120, 0.25, 0.7, 12}, {kTypeHighShelf, 6000, -0.17, 0.7, 12}, {kTypeHPF, 30, 0, 0.7, 24},
                 {kTypeNotch, 3000, 0, 4, 12}, {kTypeLowShelf, 80, 0.11, 1.2, 12}};  // gains in the rows' unit, times Scale
    for (int32_t b = 0; b < int32_t(std::size(bands)); ++b) {
        setReal(plug, bandParam(b, kFieldState), kBandOn);
        setReal(plug, bandParam(b, kFieldType), bands[b].type);
        setReal(plug, bandParam(b, kFieldFrequency), bands[b].hz);
        setReal(plug, bandParam(b, kFieldGain), bands[b].gain);
        setReal(plug, bandParam(b, kFieldQ), bands[b].q);
        setReal(plug, bandParam(b, kFieldSlope), bands[b].slope);
    }
    for (const float parallel : {0.0f, 2.0f}) {
        setReal(plug, kParallel, parallel);
        settleEngine(plug);
        GraphScene scene;
        gatherGraphScene(plug, scene);
        Graph graph;
        graph->setScene(scene);
        graph->renderFrame();
        std::vector<double> hz(size_t(graph->plotWidth()));
        for (size_t x = 0; x < hz.size(); ++x) hz[x] = graph->frequencyAt(double(x));
        std::vector<std::complex<double>> analogue(hz.size()), digital(hz.size());
        plug.getBank().channelResponse(0, hz.data(), int32_t(hz.size()), analogue.data(), digital.data());
        for (size_t x = 0; x < hz.size(); x += 7) {
            EXPECT_NEAR(graph->totalDb()[x], 20.0 * std::log10(std::abs(analogue[x])), 0.01)
                << hz[x] << " Hz, parallel " << parallel;
        }
    }
}

TEST(EQGraph, EachAnalyserDisplayLightsWhatItShouldAndHidesEqWhenAsked) {
    // Level 0.5 everywhere: the curve and its fill reach the middle.
    struct Row {
        int32_t type;
        double y;  // fraction of the plot height probed
        bool lit;
    } rows[] = {{EQGraph::kAnalyserCurve, 0.75, true},       {EQGraph::kAnalyserCurve, 0.25, false},
                {EQGraph::kThirdOctave, 0.75, true},         {EQGraph::kThirdOctave, 0.25, false},
                {EQGraph::kSpectrograph, 0.1, true},         {EQGraph::kBrightnessBars, 0.25, true},
                {EQGraph::kBrightnessAnalyser, 0.75, true},  {EQGraph::kBrightnessAnalyser, 0.25, false}};
    for (const Row& row : rows) {
        GraphOptions options;
        options.gridAlpha = 0;  // nothing but the analyser on the probed spots
        options.fadeLevel = 0;
        options.hidesEq = true;
        Graph graph(options);
        graph->setScene(GraphScene{});
        graph->setAnalyserOn(true);
        graph->setAnalyserType(row.type);
        const std::vector<double> levels(size_t(graph->plotWidth()), 0.5);
        for (int32_t frame = 0; frame < 40; ++frame)
            graph->setAnalyserLevels(levels.data(), nullptr, int32_t(levels.size()), false, false);
        graph->renderFrame();
        const CColor c = graph.at(graph->xOf(700.0), row.y * graph->plotHeight());
        EXPECT_EQ(c.red + c.green + c.blue > 60, row.lit) << "type " << row.type << " at " << row.y;
    }
}

TEST(EQGraph, ThePopupStaysOnThePlotWithABoxForEachValueTheBandHas) {
    struct Row {
        int32_t tooltips;
        bool subtype;
        double hz, dB;
    } rows[] = {{1, false, 1000, 0}, {1, true, 12, 17}, {1, false, 20000, -17}, {1, true, 200, -17},
                {2, false, 1000, 0},  {2, true, 12, 17},  {2, false, 20000, -17}};
    for (const Row& row : rows) {
        GraphOptions options;
        options.tooltips = row.tooltips;
        options.tooltipSubtype = row.subtype;
        Graph graph(options);
        GraphScene scene;
        scene.bands[5] = peak(row.hz, row.dB);
        scene.popup.band = 5;
        scene.popup.controls = kControlGain | kControlFrequency | kControlQ | kControlShift;
        graph->setScene(scene);
        graph->setSelection(1u << 5);
        graph->setPopupBand(5, 1.0);
        graph->layoutPopup();
        const CRect plot(0, 0, graph->plotWidth(), graph->plotHeight());
        for (int32_t i = 0; i < GraphPopupText::kRects; ++i) {
            const CRect r = graph->popupRect(i);
            EXPECT_EQ(r.isEmpty(), i == 8 && !row.subtype) << "rect " << i << " at " << row.hz;
            if (r.isEmpty()) continue;
            CRect inside = r;
            EXPECT_EQ(inside.bound(plot), r) << "rect " << i << " at " << row.hz << " Hz, " << row.dB << " dB";
            for (int32_t j = 0; j < i; ++j) {
                EXPECT_FALSE(r.rectOverlap(graph->popupRect(j))) << i << " overlaps " << j << " at " << row.hz;
            }
        }
        // No popup for a band that is neither selected nor hovered.
        graph->setSelection(0);
        graph->layoutPopup();
        EXPECT_TRUE(graph->popupRect(0).isEmpty());
    }
}
