#pragma once
// The response graph: every band's analogue prototype evaluated at every
// pixel column (so the picture does not depend on the sample rate), the
// totals of the two shown groups, the handles, the analyser's spectrum
// behind them, the grids and their labels, the readouts and the scroll bar.
// Everything is painted in software into bitmaps of the graph's own:
//
//   base        empty, made with the size
//   background  base, the fade and the frequency grid; redrawn only when
//               settings, zoom, range or sample rate change
//   scene       the background and one frame's layers, shown by draw()
//   scroll bar  W x 19 under the plot, with "Scrollbar" on
//
// The graph draws from what it is given (a GraphScene, the options, the
// analyser's levels); it never reaches into the effect. Threads: UI thread.

#include <algorithm>
#include <complex>
#include <functional>
#include <cstdint>
#include <vector>

#include "gui/editor/GraphPixels.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CDIB.h"
#include "session/GraphScene.h"

// The colour of a band on the graph and in its strip: by its number (45
// degrees of hue apart) or by where its frequency lies between 10 Hz and
// the Nyquist frequency.
graphpix::Rgb bandColour(int32_t band, double frequency, double sampleRate, bool byNumber);

class EQGraph : public VSTGUI::CControl {
public:
    // What the graph asks of its editor beyond values under tags. Every
    // value goes out through the listener with the tag it is for, inside
    // begin and end edit; a gesture's values are one undo step.
    class Host {
    public:
        virtual ~Host() = default;
        virtual void graphUndoGroup(bool begin) = 0;
        // The shown range changed (to keep with the editor's state, and for
        // the keyboard under the graph).
        virtual void graphZoomChanged(double minHz, double maxHz) = 0;
    };

    static constexpr int32_t kScrollBarHeight = 19;
    static constexpr double kLowestFrequency = 10.0;  // the graph never shows below it
    static constexpr int32_t kExtraRows = 6;  // the bitmaps run this far below the plot
    static constexpr int32_t kSpectrographRows = 256;
    // The analyser's display types.
    enum AnalyserType : int32_t {
        kAnalyserCurve = 0, kThirdOctave, kTwelfthOctave, kSpectrograph, kBrightnessBars, kBrightnessAnalyser
    };

    EQGraph(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag);

    // ---- What it draws ----
    void setScene(const GraphScene& scene);
    const GraphScene& getScene() const { return scene; }
    void setOptions(const GraphOptions& options);
    const GraphOptions& getOptions() const { return options; }
    // The editor's two shown groups (-1 none): group A's total is white,
    // group B's blue.
    void setGroups(int32_t groupA, int32_t groupB);
    void setSelection(uint32_t mask);
    void setHoverBand(int32_t band);
    void setPopupBand(int32_t band, double fade);
    int32_t getPopupBand() const { return popupBand; }
    void setAnalyserOn(bool on);
    bool isAnalyserOn() const { return analyserOn; }
    void setAnalyserType(int32_t type);
    // One frame of the analyser: per plot column a level 0..1 (1 the top of
    // its scale) of each source; `count` should be plotWidth(). A null
    // source reads as silence. `…Other`: the source is another instance.
    void setAnalyserLevels(const double* primary, const double* secondary, int32_t count, bool primaryOther,
                           bool secondaryOther);
    // The pointer over the view (view coordinates) for the readouts.
    void setPointer(const VSTGUI::CPoint& where);
    void clearPointer();

    // ---- Working on it with the mouse ----
    void setHost(Host* graphHost) { host = graphHost; }
    // The clock the popup's time-out runs on, in seconds (tests give theirs).
    void setClock(std::function<double()> seconds) { clock = std::move(seconds); }
    int32_t getHoverBand() const { return hoverBand; }
    uint32_t getSelection() const { return selection; }
    bool isAnalyserFrozen() const { return analyserFrozen; }
    double getPopupFade() const { return popupFade; }
    // The band whose handle lies nearest within sqrt(limit) pixels of a
    // plot point, or -1; unless `noSelect`, it becomes the hovered band.
    int32_t hitTestHandles(const VSTGUI::CPoint& where, bool noSelect, double limit = 100.0);
    // Makes a band as a double click on empty graph does, at hz with a
    // gain of dB (its type and Q follow where it is made, by the settings);
    // the band, or -1 when all 32 are in use.
    int32_t createBand(double hz, double dB);
    void deleteBand(int32_t band);
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const float& distance, const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const int32_t& buttons) override;

    // ---- Zoom: the shown frequency range, kept within 10 Hz .. Nyquist and at least an octave ----
    void setFrequencyRange(double lowHz, double highHz);
    double getMinFrequency() const { return minF; }
    double getMaxFrequency() const { return maxF; }
    double getNyquist() const { return nyquist; }

    // ---- Geometry (plot coordinates) ----
    int32_t plotWidth() const { return plotW; }
    int32_t plotHeight() const { return plotH; }
    // Half the dB span shown: the "Range" setting, grown to hold the
    // largest band.
    double getRange() const { return range; }
    double xOf(double hz) const;
    double frequencyAt(double x) const;
    double yOfDb(double dB) const { return (0.5 - dB / (2.0 * range)) * plotH; }
    // Where band b's handle is drawn.
    VSTGUI::CPoint handlePosition(int32_t band) const;
    // The frequency labels a frame writes along the bottom, left to right,
    // after those that would touch the label before them were left out.
    struct FrequencyLabel {
        double frequency;
        int32_t x, width;
        char text[12];
    };
    static constexpr int32_t kMaxLabels = 128;
    int32_t frequencyLabels(FrequencyLabel* out, int32_t capacity) const;
    bool isShown(int32_t band) const;

    // ---- The band popup ----
    // Its rectangles in plot coordinates, by index (0 on/bypass, 1 group,
    // 2 type, 3 delete, 4 frequency, 5 gain or slope, 6 Q, 7 shift, 8
    // subtype); an empty one is not there. Laid out for the popup band, or
    // all empty when no popup shows.
    const VSTGUI::CRect& popupRect(int32_t index) const { return popupRects[std::clamp(index, 0, 8)]; }
    void layoutPopup();

    // ---- A frame ----
    // Builds the next frame into the scene bitmap; draw() calls it when
    // something changed. Never allocates.
    void renderFrame();
    VSTGUI::CDIB* sceneBitmap() const { return sceneDib; }
    VSTGUI::CDIB* scrollBitmap() const { return scrollDib; }
    // After a frame: group A's total in dB at each column.
    const std::vector<double>& totalDb() const { return graphDb; }
    // The response of band b alone at hz (its prototype), and the total of
    // a group at hz, as the graph evaluates them.
    std::complex<double> bandResponse(int32_t band, double hz) const;

    void draw(VSTGUI::CDrawContext* context) override;
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "EQGraph"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~EQGraph() override;

private:
    void makeBuffers();
    void releaseBuffers();
    void changed(bool background);
    void checkRange();
    void computeRange();
    void columnFrequencies();
    void drawBackground();
    // Calls visit(f, leading digit, step between decades or 0, all steps
    // shown) for the grid's frequencies on show, left to right: each
    // digit of each decade, and the tenths between them when the zoom
    // leaves room for them.
    template <typename Visit>
    void forEachGridFrequency(Visit&& visit) const;
    void drawAnalyser();
    void drawAnalyserCurves();
    void drawAnalyserBars(int32_t perOctave);
    void drawSpectrograph();
    void drawBrightness(bool bars);
    void drawBandsAndTotals();
    void drawHandles();
    void drawReadouts(int32_t mask);
    void drawGridAndLabels();
    void drawFrequencyLabels();
    void drawScrollBar();
    void drawHandle(int32_t band);
    void drawPopup();
    void drawRubberBand();
    // A line through (x - back, y[x - 1]) and (x - back + 1, y[x]) over all columns.
    void drawPolyline(VSTGUI::CDIB& dib, const double* y, double back, double lineWidth, const graphpix::Rgb& colour,
                      double alpha);
    graphpix::Rgb colourOf(int32_t band) const;
    double bandDbAt(int32_t band, double hz) const;
    void columnHue(double saturation);

    // ---- The mouse ----
    enum class Press { None, Rubber, Scroll, Band };
    void sendValue(int32_t tag, float value);
    void beginTag(int32_t tag);
    void endTag(int32_t tag);
    void setBandRow(int32_t band, int32_t field, float norm);  // one bracketed change
    void changeBandRow(int32_t band, int32_t field, float norm);  // the same as its own undo step
    void selectOnly(int32_t band);
    void toggleSelected(int32_t band);
    void clearSelection();
    double now() const;
    int32_t autoListenMask() const;
    int32_t qMask() const;
    void startDrag(int32_t band, const VSTGUI::CPoint& at, int32_t buttons);
    void endDrag();
    void dragTo(const VSTGUI::CPoint& at, int32_t buttons);
    void rubberTo(const VSTGUI::CPoint& at, int32_t buttons);
    void scrollTo(double x);
    void hover(const VSTGUI::CPoint& at);
    void endWheel();
    void zoomTo(double centre, double ratio);
    void zoomChanged();
    float rowNorm(int32_t band, int32_t field) const;
    void clickPopup(int32_t rect);
    // The group, type or subtype menu, or the text entry of a value, over
    // the popup's box `rect`.
    void openPopupChild(int32_t rect);
    // The scroll bar's scale over 10 Hz .. Nyquist: the x of a frequency
    // (before the thumb's inset) and the frequency under a pointer's x.
    double scrollBarX(double hz) const;
    double scrollBarFrequency(double x) const;
    void followLocally(int32_t band, int32_t field, float norm);

    Host* host = nullptr;
    std::function<double()> clock;
    Press press = Press::None;
    int32_t pressBand = -1;
    int32_t startButtons = 0;
    bool moved = false, fine = false, qFlag = false, listenRequested = false;
    int32_t dragTagX = -1, dragTagY = -1;
    float dragNorm[2] = {};  // the values of the X and Y rows as last sent
    double lastX = 0, lastY = 0, dragStartX = 0, dragStartY = 0, hitOffset = 0;
    double gainAtStart = 0, gainRatio = 1, stepAccumulator = 0, wheelAccumulator = 0;
    int32_t scrollMode = 0;
    VSTGUI::CRect rubber;
    bool rubberOn = false;
    bool analyserFrozen = false;
    bool wheelActive = false;
    int32_t wheelTag = -1;
    float wheelNorm = 0;
    double popupTime = 0;

    GraphScene scene;
    GraphOptions options;
    int32_t groupA = 0, groupB = -1;
    uint32_t selection = 0;
    int32_t hoverBand = -1;
    int32_t popupBand = -1;
    double popupFade = 0.0;
    bool analyserOn = false;
    int32_t analyserType = kAnalyserCurve;
    bool primaryOther = false, secondaryOther = false;
    bool pointerInside = false;
    VSTGUI::CPoint pointer;

    int32_t plotW = 1, plotH = 1;
    double minF = 10.0, maxF = 24000.0;
    double nyquist = 24000.0;
    double range = 18.0;
    bool backgroundDirty = true;
    bool frameDirty = true;

    VSTGUI::CDIB* baseDib = nullptr;
    VSTGUI::CDIB* backgroundDib = nullptr;
    VSTGUI::CDIB* sceneDib = nullptr;
    VSTGUI::CDIB* scrollDib = nullptr;

    // Per column.
    std::vector<double> frequency, frequency2;
    std::vector<double> graphDb;
    std::vector<double> totalYA, totalYB;
    std::vector<double> seriesA, parallelA, seriesB, parallelB;  // complex pairs, re and im interleaved
    std::vector<double> levelPrimary, levelSecondary;
    VSTGUI::CRect popupRects[GraphPopupText::kRects];
    std::vector<graphpix::Rgb> hue;
    std::vector<double> bandY;               // one band's curve
    std::vector<float> fillFrom, fillTo;     // columns painted by fillColumns
    std::vector<double> spectrograph;  // kSpectrographRows rows of width levels
    uint8_t spectrographRow = 0;
};
