#include "gui/editor/EQGraph.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "gui/editor/PixelFont.h"

using namespace VSTGUI;
using graphpix::Rgb;

namespace {

constexpr int32_t kGripColour[] = {0x57, 0x85, 0xa6};
constexpr int32_t kScaleGrey = 0x80;
const CColor kWhite{255, 255, 255, 255};
const CColor kAnalyserScale{0x57, 0x85, 0xa6, 255};

bool isFiniteValue(double v) { return std::isfinite(v); }

// dB of a squared magnitude; -200 for nothing at all.
double decibels(double magnitude2) { return magnitude2 > 0.0 ? 10.0 * std::log10(magnitude2) : -200.0; }

// The same within a millionth of a dB, without the logarithm where the
// magnitude is within a thousandth of 1 (most columns of most bands):
// 10 log10(1 + d) by its series.
double curveDecibels(double magnitude2) {
    const double d = magnitude2 - 1.0;
    if (std::fabs(d) < 1e-3) return (10.0 / std::numbers::ln10) * (d - d * d * (0.5 - d / 3.0));
    return decibels(magnitude2);
}

// Complex products on plain doubles: the library's operator guards against
// infinities at a cost the column loop cannot pay.
struct Complex {
    double re, im;
    void times(double r, double i) {
        const double t = re * r - im * i;
        im = re * i + im * r;
        re = t;
    }
};

// The text of a frequency label, "%.0f" below 1 kHz, else in kHz.
void frequencyText(char* out, size_t size, double hz, bool sub) {
    if (hz < 1000.0) {
        std::snprintf(out, size, "%.0f", hz);
    } else if (sub) {
        std::snprintf(out, size, "%.1fk", hz / 1000.0);
    } else {
        std::snprintf(out, size, "%.0fk", hz / 1000.0);
    }
}

void line(CDIB& dib, double x0, double y0, double x1, double y1, double width, const Rgb& c, double alpha) {
    graphpix::drawAALine(dib, float(x0), float(y0), float(x1), float(y1), float(width), c.red, c.green, c.blue,
                         float(alpha));
}

void vline(CDIB& dib, double x, double y0, double y1, double width, const Rgb& c, double alpha) {
    graphpix::drawAAVLine(dib, float(x), float(y0), float(y1), float(width), c.red, c.green, c.blue, float(alpha));
}

// A rectangle of whole pixels: an upright line as wide as it is.
void fillRows(CDIB& dib, int32_t x0, int32_t x1, int32_t y0, int32_t y1, const Rgb& c, double alpha) {
    if (x1 > x0 && y1 > y0) vline(dib, 0.5 * (x0 + x1), y0, y1, x1 - x0, c, std::clamp(alpha, 0.0, 1.0));
}

void hline(CDIB& dib, double y, double x0, double x1, double width, const Rgb& c, double alpha) {
    graphpix::drawAAHLine(dib, float(y), float(x0), float(x1), float(width), c.red, c.green, c.blue, float(alpha));
}

Rgb grey(int32_t level) { return Rgb{uint8_t(level), uint8_t(level), uint8_t(level)}; }

CColor toColour(const Rgb& c) { return CColor{c.red, c.green, c.blue, 255}; }

}  // namespace

Rgb bandColour(int32_t band, double frequency, double sampleRate, bool byNumber) {
    constexpr double kLowestFrequency = EQGraph::kLowestFrequency;
    double hue = 45.0 * band;
    if (!byNumber) {
        const double top = std::max(0.5 * sampleRate, 2.0 * kLowestFrequency);
        hue = std::log(std::max(frequency, 1e-3) / kLowestFrequency) / std::log(top / kLowestFrequency) * 360.0;
    }
    if (!isFiniteValue(hue)) hue = 0.0;
    return graphpix::hsvToRgb(std::fmod(hue + 270.0, 360.0), 1.0, 1.0);
}

EQGraph::EQGraph(const CRect& size, CControlListener* listener, int32_t tag) : CControl(size, listener, tag) {
    for (GraphBand& band : scene.bands) band = GraphBand{};
    makeBuffers();
}

EQGraph::~EQGraph() { releaseBuffers(); }

bool EQGraph::isTypeOf(const char* className) const {
    return std::strcmp(className, "EQGraph") == 0 || CControl::isTypeOf(className);
}

// ---- Buffers and state ----

void EQGraph::releaseBuffers() {
    for (CDIB** dib : {&baseDib, &backgroundDib, &sceneDib, &scrollDib}) {
        if (*dib) (*dib)->forget();
        *dib = nullptr;
    }
}

void EQGraph::makeBuffers() {
    releaseBuffers();
    plotW = std::max(1, int32_t(std::lround(size.width())));
    const int32_t viewH = std::max(1, int32_t(std::lround(size.height())));
    plotH = std::max(1, viewH - (options.scrollbar ? kScrollBarHeight : 0));
    baseDib = new CDIB(plotW, plotH + kExtraRows);
    baseDib->fill(CColor{0, 0, 0, 255});
    backgroundDib = new CDIB(plotW, plotH + kExtraRows);
    sceneDib = new CDIB(plotW, plotH + kExtraRows);
    scrollDib = new CDIB(plotW, kScrollBarHeight);
    const auto w = size_t(plotW);
    frequency.assign(w, 0.0);
    frequency2.assign(w, 0.0);
    graphDb.assign(w, 0.0);
    totalYA.assign(w, 0.0);
    totalYB.assign(w, 0.0);
    for (std::vector<double>* v : {&seriesA, &parallelA, &seriesB, &parallelB}) v->assign(2 * w, 0.0);
    levelPrimary.assign(w, 0.0);
    levelSecondary.assign(w, 0.0);
    hue.assign(w, Rgb{});
    bandY.assign(w, 0.0);
    fillFrom.assign(w, 0.0f);
    fillTo.assign(w, 0.0f);
    spectrograph.assign(w * kSpectrographRows, 0.0);
    spectrographRow = 0;
    columnFrequencies();
    changed(true);
}

void EQGraph::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = rect.width() != size.width() || rect.height() != size.height();
    CControl::setViewSize(rect, invalidate);
    if (resized) makeBuffers();
}

void EQGraph::changed(bool background) {
    frameDirty = true;
    backgroundDirty = backgroundDirty || background;
    setDirty(true);
    invalid();
}

namespace {

bool sameBand(const GraphBand& a, const GraphBand& b) {
    return a.state == b.state && a.type == b.type && a.groups == b.groups && a.frequency == b.frequency &&
           a.gain == b.gain && a.parallel == b.parallel && a.sections.count == b.sections.count &&
           std::memcmp(a.norm, b.norm, sizeof a.norm) == 0 &&
           std::memcmp(a.sections.section, b.sections.section, sizeof a.sections.section) == 0;
}

bool sameScene(const GraphScene& a, const GraphScene& b) {
    if (a.scale != b.scale || a.sampleRate != b.sampleRate || a.listenBand != b.listenBand ||
        a.listenGainShown != b.listenGainShown || a.popup.band != b.popup.band ||
        a.popup.controls != b.popup.controls || a.popup.locked != b.popup.locked ||
        std::memcmp(a.popup.text, b.popup.text, sizeof a.popup.text) != 0) {
        return false;
    }
    for (size_t i = 0; i < a.bands.size(); ++i) {
        if (!sameBand(a.bands[i], b.bands[i])) return false;
    }
    return true;
}

}  // namespace

void EQGraph::setScene(const GraphScene& next) {
    // Refreshes hand the scene over whether or not it changed.
    if (sameScene(next, scene)) return;
    const double previousNyquist = nyquist;
    scene = next;
    nyquist = std::max(0.5 * double(scene.sampleRate), 2.0 * kLowestFrequency);
    if (nyquist != previousNyquist) {
        // A new sample rate shows the whole range again.
        maxF = nyquist;
        checkRange();
    }
    changed(false);
}

void EQGraph::setOptions(const GraphOptions& next) {
    if (next == options) return;
    const bool scrollChanged = next.scrollbar != options.scrollbar;
    options = next;
    if (scrollChanged) {
        makeBuffers();
    } else {
        changed(true);
    }
}

void EQGraph::setGroups(int32_t a, int32_t b) {
    if (a == groupA && b == groupB) return;
    groupA = a;
    groupB = b;
    changed(false);
}

void EQGraph::setSelection(uint32_t mask) {
    if (mask == selection) return;
    selection = mask;
    changed(false);
}

void EQGraph::setHoverBand(int32_t band) {
    if (band == hoverBand) return;
    hoverBand = band;
    changed(false);
}

void EQGraph::setPopupBand(int32_t band, double fade) {
    popupBand = band;
    popupFade = std::clamp(fade, 0.0, 1.0);
    changed(false);
}

void EQGraph::setAnalyserOn(bool on) {
    if (on == analyserOn) return;
    analyserOn = on;
    changed(false);
}

void EQGraph::setAnalyserType(int32_t type) {
    type = std::clamp(type, int32_t(kAnalyserCurve), int32_t(kBrightnessAnalyser));
    if (type == analyserType) return;
    analyserType = type;
    changed(false);
}

void EQGraph::setAnalyserLevels(const double* primary, const double* secondary, int32_t count, bool pOther,
                                bool sOther) {
    primaryOther = pOther;
    secondaryOther = sOther;
    const auto n = size_t(std::clamp(count, 0, plotW));
    auto take = [&](const double* from, std::vector<double>& to) {
        std::fill(to.begin(), to.end(), 0.0);
        if (!from) return;
        for (size_t i = 0; i < n; ++i) to[i] = isFiniteValue(from[i]) ? std::clamp(from[i], 0.0, 1.0) : 0.0;
    };
    take(primary, levelPrimary);
    take(secondary, levelSecondary);
    // The spectrograph keeps a history of the primary source's rows.
    std::copy(levelPrimary.begin(), levelPrimary.end(), spectrograph.begin() + ptrdiff_t(spectrographRow) * plotW);
    spectrographRow = uint8_t(spectrographRow + 1);
    changed(false);
}

void EQGraph::setPointer(const CPoint& where) {
    pointer = where;
    pointerInside = true;
    changed(false);
}

void EQGraph::clearPointer() {
    if (!pointerInside) return;
    pointerInside = false;
    changed(false);
}

// ---- Zoom and coordinates ----

void EQGraph::setFrequencyRange(double lowHz, double highHz) {
    minF = isFiniteValue(lowHz) ? lowHz : kLowestFrequency;
    maxF = isFiniteValue(highHz) ? highHz : nyquist;
    checkRange();
}

void EQGraph::checkRange() {
    // Within 10 Hz .. Nyquist, and never less than an octave.
    if (maxF <= 0.0) maxF = nyquist;
    minF = std::max(minF, kLowestFrequency);
    maxF = std::min(maxF, nyquist);
    if (minF > maxF / 2.0) minF = maxF / 2.0;
    if (maxF < 2.0 * minF) maxF = 2.0 * minF;
    minF = std::max(minF, kLowestFrequency);
    maxF = std::min(maxF, nyquist);
    columnFrequencies();
    changed(true);
}

void EQGraph::columnFrequencies() {
    const double span = std::log(maxF / minF);
    for (int32_t x = 0; x < plotW; ++x) {
        const double f = minF * std::exp(span * x / plotW);
        frequency[size_t(x)] = f;
        frequency2[size_t(x)] = f * f;
    }
}

double EQGraph::xOf(double hz) const { return plotW * std::log(hz / minF) / std::log(maxF / minF); }

double EQGraph::frequencyAt(double x) const { return minF * std::exp(std::log(maxF / minF) * x / plotW); }

bool EQGraph::isShown(int32_t band) const {
    if (band < 0 || band >= kNumBands) return false;
    const GraphBand& b = scene.bands[size_t(band)];
    return b.inGroup(groupA) || b.inGroup(groupB);
}

std::complex<double> EQGraph::bandResponse(int32_t band, double hz) const {
    const SectionSet& set = scene.bands[size_t(std::clamp(band, 0, kNumBands - 1))].sections;
    Complex num{1.0, 0.0}, den{1.0, 0.0};
    for (int32_t s = 0; s < std::min(set.count, kMaxSections); ++s) {
        std::complex<double> n, d;
        sectionParts(set.section[s], hz, hz * hz, n, d);
        num.times(n.real(), n.imag());
        den.times(d.real(), d.imag());
    }
    const double d2 = den.re * den.re + den.im * den.im;
    if (d2 == 0.0) return (num.re == 0.0 && num.im == 0.0) ? 1.0 : 0.0;
    return {(num.re * den.re + num.im * den.im) / d2, (num.im * den.re - num.re * den.im) / d2};
}

double EQGraph::bandDbAt(int32_t band, double hz) const { return decibels(std::norm(bandResponse(band, hz))); }

CPoint EQGraph::handlePosition(int32_t band) const {
    const GraphBand& b = scene.bands[size_t(std::clamp(band, 0, kNumBands - 1))];
    const double x = std::clamp(xOf(b.frequency), 0.0, double(plotW - 1));
    double y = plotH / 2.0;
    switch (b.type) {
        case kTypePeak:
        case kTypeNotch:
            // On the plot, above the scroll bar, even for a deep notch.
            y = std::clamp(yOfDb(bandDbAt(band, b.frequency)), 0.0, double(plotH - 1));
            break;
        case kTypeLowShelf:
        case kTypeHighShelf: {
            const bool heardAtGain = scene.listenGainShown && scene.listenBand == band;
            if (scene.listenBand >= 0 && !heardAtGain) break;
            y = std::clamp((0.5 - b.gain * scene.scale / (2.0 * range)) * plotH, 0.0, double(plotH - 1));
            break;
        }
        default: break;
    }
    return CPoint(x, y);
}

Rgb EQGraph::colourOf(int32_t band) const {
    return bandColour(band, scene.bands[size_t(band)].frequency, scene.sampleRate, options.coloursByNumber);
}

// ---- The frame ----

void EQGraph::computeRange() {
    double r = options.rangeSetting;
    for (int32_t b = 0; b < kNumBands; ++b) {
        const GraphBand& band = scene.bands[size_t(b)];
        if (band.state == kBandOff || band.type == kTypeNotch || !isShown(b)) continue;
        const bool pass = band.type == kTypeHPF || band.type == kTypeLPF;
        const double g = pass ? 0.0 : std::fabs(band.gain) * std::fabs(scene.scale);
        if (!(g > r)) continue;
        const double x = std::floor(g + 0.9);
        r = x > 6.0 ? 6.0 * std::ceil(x / 6.0) : (x > 3.0 ? 6.0 : 3.0);
    }
    if (r != range) {
        range = r;
        backgroundDirty = true;
    }
}

void EQGraph::renderFrame() {
    if (frameDirty) computeRange();
    if (backgroundDirty) {
        backgroundDib->copyFrom(*baseDib, CRect(0, 0, plotW, plotH + kExtraRows), CPoint(0, 0));
        drawBackground();
        backgroundDirty = false;
    }
    sceneDib->copyFrom(*backgroundDib, CRect(0, 0, plotW, plotH + kExtraRows), CPoint(0, 0));
    if (analyserOn) drawAnalyser();
    std::fill(graphDb.begin(), graphDb.end(), 0.0);
    if (!(analyserOn && options.hidesEq)) {
        drawBandsAndTotals();
        drawHandles();
    }
    const int32_t mask = options.readout & (analyserOn ? 3 : 2);
    if (mask != 0) drawReadouts(mask);
    drawGridAndLabels();
    drawFrequencyLabels();
    if (options.scrollbar) drawScrollBar();
    if (rubberOn) drawRubberBand();
    drawPopup();
    sceneDib->dirty = true;
    frameDirty = false;
}

void EQGraph::draw(CDrawContext* context) {
    if (frameDirty || backgroundDirty) renderFrame();
    sceneDib->draw(context, CRect(size.left, size.top, size.left + plotW, size.top + plotH));
    if (options.scrollbar) {
        scrollDib->draw(context, CRect(size.left, size.top + plotH, size.left + plotW, size.top + plotH + kScrollBarHeight));
    }
    setDirty(false);
}

void EQGraph::drawBackground() {
    CDIB& dib = *backgroundDib;
    // The upper half fades from grey at the top to black in the middle.
    for (int32_t y = 0; y < plotH / 2; ++y) {
        const auto level = uint8_t(std::clamp((plotH - 2 * y) * options.fadeLevel / plotH, 0, 255));
        fillRows(dib, 0, plotW, y, y + 1, grey(level), 1.0);
    }
    // Decade lines, and lines between them when the zoom leaves room (the
    // even ones, or all of them zoomed in further).
    const Rgb lineGrey = grey(options.gridGrey);
    forEachGridFrequency([&](double f, int32_t, int32_t sub, bool all) {
        if (sub > 0 && !all && (sub % 2) != 0) return;
        vline(dib, std::floor(xOf(f)) + 0.5, 0, plotH, 0.5, lineGrey, options.gridAlpha * (sub > 0 ? 0.5 : 1.0));
    });
}

template <typename Visit>
void EQGraph::forEachGridFrequency(Visit&& visit) const {
    const double ratio = maxF / minF;
    const bool subLines = ratio * 32.0 < plotW / 10.0;
    const bool allSubLines = ratio * 256.0 < plotW / 10.0;
    for (double decade = kLowestFrequency; decade < maxF; decade *= 10.0) {
        for (int32_t digit = 1; digit <= 9; ++digit) {
            const double f = decade * digit;
            if (f > maxF) return;
            if (f >= minF) visit(f, digit, 0, allSubLines);
            if (!subLines) continue;
            for (int32_t i = 1; i <= 9; ++i) {
                const double sub = f + i * decade * 0.1;
                if (sub > maxF) break;
                if (sub >= minF) visit(sub, digit, i, allSubLines);
            }
        }
    }
}

void EQGraph::drawBandsAndTotals() {
    CDIB& dib = *sceneDib;
    const size_t w = size_t(plotW);
    for (size_t i = 0; i < w; ++i) {
        seriesA[2 * i] = seriesB[2 * i] = parallelA[2 * i] = parallelB[2 * i] = 1.0;
        seriesA[2 * i + 1] = seriesB[2 * i + 1] = parallelA[2 * i + 1] = parallelB[2 * i + 1] = 0.0;
    }
    const bool drawBands = (options.display & 1) == 0;
    const double middle = plotH / 2.0;
    std::fill(fillFrom.begin(), fillFrom.end(), float(middle));
    for (int32_t b = 0; b < kNumBands; ++b) {
        const GraphBand& band = scene.bands[size_t(b)];
        if (band.state != kBandOn) continue;
        const bool inA = band.inGroup(groupA), inB = band.inGroup(groupB);
        if (!inA && !inB) continue;
        const Rgb colour = colourOf(b);
        const double alpha = options.bandOpacity + (b == hoverBand ? popupFade * 0.25 : 0.0);
        const int32_t count = std::min(band.sections.count, kMaxSections);
        for (size_t x = 0; x < w; ++x) {
            const double f = frequency[x], f2 = frequency2[x];
            Complex num{1.0, 0.0}, den{1.0, 0.0};
            for (int32_t s = 0; s < count; ++s) {
                std::complex<double> n, d;
                sectionParts(band.sections.section[s], f, f2, n, d);
                num.times(n.real(), n.imag());
                den.times(d.real(), d.imag());
            }
            double re = 1.0, im = 0.0;
            const double d2 = den.re * den.re + den.im * den.im;
            if (d2 != 0.0) {
                re = (num.re * den.re + num.im * den.im) / d2;
                im = (num.im * den.re - num.re * den.im) / d2;
            } else if (num.re != 0.0 || num.im != 0.0) {
                re = 0.0;
            }
            if (inA) {
                if (band.parallel) {
                    parallelA[2 * x] += re - 1.0, parallelA[2 * x + 1] += im;
                } else {
                    Complex t{seriesA[2 * x], seriesA[2 * x + 1]};
                    t.times(re, im);
                    seriesA[2 * x] = t.re, seriesA[2 * x + 1] = t.im;
                }
            }
            if (inB) {
                if (band.parallel) {
                    parallelB[2 * x] += re - 1.0, parallelB[2 * x + 1] += im;
                } else {
                    Complex t{seriesB[2 * x], seriesB[2 * x + 1]};
                    t.times(re, im);
                    seriesB[2 * x] = t.re, seriesB[2 * x + 1] = t.im;
                }
            }
            if (!drawBands) continue;
            const double v = curveDecibels(re * re + im * im) / (2.0 * range);
            const double y = (0.5 - v) * plotH;
            bandY[x] = y;
            const double k = std::fabs(v) < 0.5 ? 0.0 : (v > 0 ? 0.5 : -0.5);
            fillTo[x] = float(std::clamp(y - k, -2.0, plotH + 8.0));
        }
        if (!drawBands) continue;
        if (options.filledBands) {
            // Only the columns where the band lifts or cuts at all.
            size_t first = 0, last = w;
            while (first < w && std::fabs(fillTo[first] - middle) < 1e-3) ++first;
            while (last > first && std::fabs(fillTo[last - 1] - middle) < 1e-3) --last;
            graphpix::fillColumns(dib, int32_t(first), int32_t(last), fillFrom.data(), fillTo.data(), colour.red,
                                  colour.green, colour.blue, float(alpha));
        }
        drawPolyline(dib, bandY.data(), 0.5, 1.0, colour, 0.5);
    }

    // The totals: series times the parallel sum, per group.
    for (size_t x = 0; x < w; ++x) {
        Complex a{seriesA[2 * x], seriesA[2 * x + 1]};
        a.times(parallelA[2 * x], parallelA[2 * x + 1]);
        Complex b{seriesB[2 * x], seriesB[2 * x + 1]};
        b.times(parallelB[2 * x], parallelB[2 * x + 1]);
        graphDb[x] = decibels(a.re * a.re + a.im * a.im);
        totalYA[x] = yOfDb(graphDb[x]);
        totalYB[x] = yOfDb(decibels(b.re * b.re + b.im * b.im));
    }
    if ((options.display & 2) != 0) return;
    // Column x is evaluated at its left edge: the segments join those exact
    // points, and each column is crossed by one segment, so a flat total is
    // a solid line.
    const Rgb blue{0, 0, 255}, white{255, 255, 255};
    if (groupB >= 0) drawPolyline(dib, totalYB.data(), 1.0, 2.0, blue, 1.0);
    if (groupA >= 0) drawPolyline(dib, totalYA.data(), 1.0, 2.0, white, 1.0);
}

void EQGraph::drawPolyline(VSTGUI::CDIB& dib, const double* y, double back, double lineWidth, const Rgb& colour,
                           double alpha) {
    // The points are (k + 1 - back, y[k]). Stretches that stay within a
    // twentieth of a pixel of a straight line are drawn as that line: the
    // same picture with a fraction of the segments (curves are straight or
    // level over most of the width).
    constexpr double kTolerance = 0.05;
    constexpr int32_t kLongest = 96;
    const int32_t w = plotW;
    auto at = [&](int32_t k) { return k + 1.0 - back; };
    int32_t start = 0;
    while (start < w - 1) {
        // Slopes from the start that keep every point passed within the tolerance.
        double low = -1e300, high = 1e300;
        int32_t end = start + 1;
        for (int32_t k = start + 1; k < w && k - start <= kLongest; ++k) {
            const double run = double(k - start);
            const double slope = (y[k] - y[start]) / run;
            if (!(slope >= low && slope <= high)) break;
            end = k;
            low = std::max(low, (y[k] - y[start] - kTolerance) / run);
            high = std::min(high, (y[k] - y[start] + kTolerance) / run);
        }
        line(dib, at(start), y[start], at(end), y[end], lineWidth, colour, alpha);
        start = end;
    }
}

void EQGraph::drawHandles() {
    if (options.handles == 0) return;
    for (int32_t b = 0; b < kNumBands; ++b) {
        if (scene.bands[size_t(b)].state != kBandOff && isShown(b)) drawHandle(b);
    }
}

void EQGraph::drawHandle(int32_t b) {
    CDIB& dib = *sceneDib;
    const GraphBand& band = scene.bands[size_t(b)];
    Rgb colour = colourOf(b);
    double alpha = 1.0;
    if (band.state == kBandBypassed) {
        colour = Rgb{uint8_t((colour.red + 0x180) / 4), uint8_t((colour.green + 0x180) / 4),
                     uint8_t((colour.blue + 0x180) / 4)};
        alpha = 0.5;
    }
    const CPoint at = handlePosition(b);
    const bool big = b == hoverBand || ((selection >> b) & 1) != 0;
    const double r = (big ? 8.0 : 6.0) + (options.handles == 2 ? 2.0 : 0.0);
    // On pixel centres, so the chords fill whole rows.
    const double cx = std::floor(at.x) + 0.5, cy = std::floor(at.y) + 0.5;

    // Shelves: joined to the curve where their gain handle is elsewhere.
    if (band.type == kTypeLowShelf || band.type == kTypeHighShelf) {
        const double curveY = std::clamp(yOfDb(bandDbAt(b, band.frequency)), 0.0, double(plotH));
        if (std::fabs(curveY - at.y) >= 1.0) vline(dib, cx, cy, curveY + 0.5, 1.0, colour, alpha);
    }
    // A disc of horizontal chords, and a rim of short segments.
    for (int32_t i = 0; i < int32_t(r); ++i) {
        const double half = std::sqrt(r * r - double(i) * i);
        hline(dib, cy - i, cx - half, cx + half, 1.0, colour, alpha);
        if (i > 0) hline(dib, cy + i, cx - half, cx + half, 1.0, colour, alpha);
    }
    constexpr int32_t kRimSteps = 4;  // per quarter: sixteen around
    for (int32_t k = 0; k < kRimSteps; ++k) {
        const double a0 = k * std::numbers::pi / (2 * kRimSteps), a1 = (k + 1) * std::numbers::pi / (2 * kRimSteps);
        const double x0 = r * std::cos(a0), y0 = r * std::sin(a0), x1 = r * std::cos(a1), y1 = r * std::sin(a1);
        for (const auto& [sx, sy] : {std::pair{1.0, 1.0}, {-1.0, 1.0}, {1.0, -1.0}, {-1.0, -1.0}}) {
            line(dib, cx + sx * x0, cy + sy * y0, cx + sx * x1, cy + sy * y1, 1.0, colour, alpha);
        }
    }
    if (options.bandNumbers) {
        char text[12];
        std::snprintf(text, sizeof text, "%d", b + 1);
        const PixelFont& font = PixelFont::small();
        const Rgb inverse{uint8_t(colour.red ^ 0xff), uint8_t(colour.green ^ 0xff), uint8_t(colour.blue ^ 0xff)};
        font.draw(dib, text, int32_t(std::lround(cx - font.textWidth(text) / 2.0)), int32_t(std::lround(cy)) - 3,
                  toColour(inverse));
    }
}

// ---- The band popup ----

void EQGraph::layoutPopup() {
    for (CRect& r : popupRects) r = CRect();
    const int32_t b = popupBand;
    if (b < 0 || b >= kNumBands || options.tooltips == 0 || !isShown(b)) return;
    if (scene.bands[size_t(b)].state == kBandOff) return;
    if (b != hoverBand && ((selection >> b) & 1) == 0) return;
    const CPoint at = handlePosition(b);
    const double px = at.x + 0.5, py = at.y + 0.5;
    int32_t controls = scene.popup.band == b ? scene.popup.controls : (kControlFrequency | kControlGain | kControlQ);
    if ((controls & kControlSlope) != 0) controls |= kControlGain;
    const bool frequency = (controls & kControlFrequency) != 0, gain = (controls & kControlGain) != 0;
    const bool q = (controls & kControlQ) != 0, shift = (controls & kControlShift) != 0;
    CRect* r = popupRects;
    const double w = plotW, h = plotH;

    if (options.tooltips == 2) {
        // A column of rows 16 high, 110 wide, below the handle or above it.
        const double centre = std::clamp(px, 55.0, std::max(55.0, w - 57.0));
        const double left = centre - 55.0, right = centre + 55.0;
        int32_t rows = 1 + (options.tooltipSubtype ? 1 : 0) + int32_t(frequency) + int32_t(gain) + int32_t(q) + int32_t(shift);
        const double height = 16.0 * rows;
        double top = py + 14.0;
        if (py > h / 2.0 || top + height > h) top = py - 14.0 - height;
        top = std::clamp(top, 0.0, std::max(0.0, h - height));
        r[0] = CRect(left, top, left + 15, top + 16);
        r[1] = CRect(left + 15, top, centre, top + 16);
        r[2] = CRect(centre, top, right - 15, top + 16);
        r[3] = CRect(right - 15, top, right, top + 16);
        double y = top + 16.0;
        auto next = [&](int32_t index, bool present) {
            if (!present) return;
            r[index] = CRect(left, y, right, y + 16);
            y += 16.0;
        };
        next(8, options.tooltipSubtype);
        next(4, frequency);
        next(5, gain);
        next(6, q);
        next(7, shift);
        return;
    }

    // A row under the handle, the values around it.
    const double rowTop = py + 28.0;
    if (options.tooltipSubtype) {
        r[0] = CRect(px - 123, rowTop, px - 105, rowTop + 18);
        r[1] = CRect(px - 105, rowTop, px - 35, rowTop + 18);
        r[2] = CRect(px - 35, rowTop, px + 35, rowTop + 18);
        r[8] = CRect(px + 35, rowTop, px + 105, rowTop + 18);
        r[3] = CRect(px + 105, rowTop, px + 123, rowTop + 18);
    } else {
        r[0] = CRect(px - 95, rowTop, px - 70, rowTop + 18);
        r[1] = CRect(px - 70, rowTop, px, rowTop + 18);
        r[2] = CRect(px, rowTop, px + 70, rowTop + 18);
        r[3] = CRect(px + 70, rowTop, px + 95, rowTop + 18);
    }
    if (frequency) r[4] = CRect(px - 35, py - 43, px + 35, py - 25);
    if (gain) r[5] = CRect(px - 95, py - 9, px - 25, py + 9);
    if (q) r[6] = CRect(px + 25, py - 9, px + 95, py + 9);
    if (shift) {
        const double centre = q ? px + 140 : px + 60;
        r[7] = CRect(centre - 35, py - 9, centre + 35, py + 9);
    }
    auto moveRow = [&](double dx, double dy) {
        for (int32_t i : {0, 1, 2, 3, 8}) {
            if (!r[i].isEmpty()) r[i].offset(dx, dy);
        }
    };
    // Kept on the plot: the row slides sideways; a value box off one side
    // moves to the far side of the others.
    const double rowLeft = r[0].left, rowRight = r[3].right;
    if (rowLeft < 0) moveRow(-rowLeft, 0);
    if (rowRight > w) moveRow(w - rowRight, 0);
    double leftmost = w, rightmost = 0;
    for (int32_t i = 4; i <= 7; ++i) {
        if (r[i].isEmpty()) continue;
        leftmost = std::min(leftmost, double(r[i].left));
        rightmost = std::max(rightmost, double(r[i].right));
    }
    for (int32_t i = 4; i <= 7; ++i) {
        if (r[i].isEmpty()) continue;
        const double width = r[i].width();
        if (r[i].left < 0) {
            if (i >= 5) {
                const double gap = (i == 5 && r[6].isEmpty()) ? 50.0 : 10.0;
                r[i].offset(rightmost + gap - r[i].left, 0);
                rightmost = r[i].right;
            } else {
                r[i].offset(-r[i].left, 0);
            }
        } else if (r[i].right > w) {
            if (i == 5 || i >= 6) {
                r[i].offset(std::max(0.0, leftmost - 10 - width) - r[i].left, 0);
                leftmost = r[i].left;
            } else {
                r[i].offset(w - r[i].right, 0);
            }
        }
    }
    if (r[0].bottom > h && !r[4].isEmpty()) {
        moveRow(0, (r[4].top - 10 - 18) - r[0].top);
    } else if (r[0].bottom > h) {
        moveRow(0, (py - 28 - 18) - r[0].top);
    }
    if (!r[4].isEmpty() && r[4].top < 0) r[4].offset(0, r[0].bottom + 10 - r[4].top);
    // The boxes beside the handle stay on the plot too.
    for (int32_t i = 5; i <= 7; ++i) {
        if (r[i].isEmpty()) continue;
        if (r[i].top < 0) r[i].offset(0, -r[i].top);
        if (r[i].bottom > h) r[i].offset(0, h - r[i].bottom);
    }
}

namespace {

// A box with rounded corners, filled and framed.
void roundedBox(CDIB& dib, const CRect& box, double radius, const Rgb& fill, double fillAlpha, const Rgb& frame,
                double frameAlpha) {
    const double left = box.left + 0.5, right = box.right - 0.5, top = box.top + 0.5, bottom = box.bottom - 0.5;
    radius = std::min({radius, (right - left) / 2.0, (bottom - top) / 2.0});
    for (int32_t y = int32_t(box.top); y < int32_t(box.bottom); ++y) {
        const double cy = y + 0.5;
        const double dy = std::max({0.0, top + radius - cy, cy - (bottom - radius)});
        const double inset = radius - std::sqrt(std::max(0.0, radius * radius - dy * dy));
        fillRows(dib, int32_t(std::lround(left + inset)), int32_t(std::lround(right - inset)) + 1, y, y + 1, fill,
                 fillAlpha);
    }
    hline(dib, top, left + radius, right - radius, 1.0, frame, frameAlpha);
    hline(dib, bottom, left + radius, right - radius, 1.0, frame, frameAlpha);
    vline(dib, left, top + radius, bottom - radius, 1.0, frame, frameAlpha);
    vline(dib, right, top + radius, bottom - radius, 1.0, frame, frameAlpha);
    constexpr int32_t kSteps = 6;
    const double cx[2] = {left + radius, right - radius}, cyy[2] = {top + radius, bottom - radius};
    for (int32_t corner = 0; corner < 4; ++corner) {
        const double sx = corner & 1 ? 1.0 : -1.0, sy = corner & 2 ? 1.0 : -1.0;
        const double ox = cx[corner & 1], oy = cyy[(corner >> 1) & 1];
        for (int32_t k = 0; k < kSteps; ++k) {
            const double a0 = k * std::numbers::pi / (2 * kSteps), a1 = (k + 1) * std::numbers::pi / (2 * kSteps);
            line(dib, ox + sx * radius * std::cos(a0), oy + sy * radius * std::sin(a0), ox + sx * radius * std::cos(a1),
                 oy + sy * radius * std::sin(a1), 1.0, frame, frameAlpha);
        }
    }
}

}  // namespace

void EQGraph::drawPopup() {
    layoutPopup();
    if (popupRects[0].isEmpty()) return;
    CDIB& dib = *sceneDib;
    const int32_t b = popupBand;
    const GraphBand& band = scene.bands[size_t(b)];
    Rgb c = colourOf(b);
    if (band.state == kBandBypassed) {
        c = Rgb{uint8_t((c.red >> 1) & 0x7f), uint8_t((c.green >> 1) & 0x7f), uint8_t((c.blue >> 1) & 0x7f)};
    }
    const double fade = std::max(popupFade, 0.0);
    const CPoint at = handlePosition(b);
    if (options.crosshairs) {
        const double hx = std::floor(at.x) + 0.5, hy = std::floor(at.y) + 0.5;
        vline(dib, hx, 0, hy - 9, 1.0, c, fade);
        vline(dib, hx, hy + 9, plotH, 1.0, c, fade);
        hline(dib, hy, 0, hx - 9, 1.0, c, fade);
        hline(dib, hy, hx + 9, plotW, 1.0, c, fade);
    }
    const Rgb black{0, 0, 0}, dividerGrey = grey(kScaleGrey);
    const CColor unitColour{0xa6, 0x85, 0x57, 255};
    const CColor lockColour = options.lockYellow ? CColor{255, 255, 0, 255} : CColor{255, 0, 0, 255};
    auto dim = [&](CColor colour) {
        colour.alpha = uint8_t(std::lround(255.0 * fade));
        return colour;
    };
    // Frames: the row (or the column) in one box, each value in its own.
    if (options.tooltips == 2) {
        CRect column = popupRects[0];
        for (const CRect& r : popupRects) {
            if (!r.isEmpty()) column.unite(r);
        }
        roundedBox(dib, column, 8.0, black, 0.75 * fade, c, fade);
        for (int32_t i = 4; i <= 8; ++i) {
            if (!popupRects[i].isEmpty()) hline(dib, popupRects[i].top + 0.5, column.left + 4, column.right - 4, 1.0, dividerGrey, fade);
        }
    } else {
        CRect row = popupRects[0];
        row.unite(popupRects[3]);
        if (!popupRects[8].isEmpty()) row.unite(popupRects[8]);
        roundedBox(dib, row, 8.0, black, 0.75 * fade, c, fade);
        for (int32_t i = 4; i <= 7; ++i) {
            if (!popupRects[i].isEmpty()) roundedBox(dib, popupRects[i], 8.0, black, 0.75 * fade, c, fade);
        }
    }
    for (int32_t i : {0, 1, 2, 8}) {
        const CRect& r = popupRects[i];
        if (!r.isEmpty() && !(options.tooltips == 2 && i == 8)) vline(dib, r.right - 0.5, r.top + 3, r.bottom - 3, 1.0, dividerGrey, fade);
    }

    // The on/bypass mark: a disc when on, a ring when bypassed.
    const CRect& onOff = popupRects[0];
    const double ox = std::floor((onOff.left + onOff.right) / 2.0) + 0.5, oy = std::floor((onOff.top + onOff.bottom) / 2.0) + 0.5;
    for (int32_t i = -3; i <= 3; ++i) {
        const double half = std::sqrt(16.0 - double(i) * i);
        if (band.state == kBandOn || std::abs(i) == 3) hline(dib, oy + i, ox - half, ox + half, 1.0, c, fade);
    }
    if (band.state != kBandOn) {
        vline(dib, ox - 3.5, oy - 2, oy + 2, 1.0, c, fade);
        vline(dib, ox + 3.5, oy - 2, oy + 2, 1.0, c, fade);
    }

    // The texts, number and unit in their two colours.
    const PixelFont& font = PixelFont::large();
    const bool ours = scene.popup.band == b;
    for (int32_t i = 1; i < GraphPopupText::kRects; ++i) {
        const CRect& r = popupRects[i];
        if (r.isEmpty() || !ours) continue;
        const std::string_view text = scene.popup.text[i];
        const size_t blank = text.find(' ');
        const std::string_view number = text.substr(0, blank);
        const std::string_view unit = blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1);
        const bool locked = ((scene.popup.locked >> i) & 1) != 0;
        const int32_t gap = unit.empty() ? 0 : 4;
        const int32_t width = font.textWidth(number) + gap + font.textWidth(unit);
        const bool leftAligned = options.tooltips == 2 && i >= 4;
        int32_t x = leftAligned ? int32_t(r.left) + 8 : int32_t(std::lround((r.left + r.right - width) / 2.0));
        const int32_t y = int32_t(std::lround((r.top + r.bottom - font.height()) / 2.0));
        x = font.draw(dib, number, x, y, dim(locked ? lockColour : kWhite));
        if (!unit.empty()) font.draw(dib, unit, x + gap, y, dim(locked ? lockColour : unitColour));
    }
}

void EQGraph::drawRubberBand() {
    // Filled row by row, then its two upright edges.
    CDIB& dib = *sceneDib;
    const double left = std::min(rubber.left, rubber.right), right = std::max(rubber.left, rubber.right);
    const double top = std::min(rubber.top, rubber.bottom), bottom = std::max(rubber.top, rubber.bottom);
    const Rgb white{255, 255, 255};
    for (double y = std::floor(top) + 0.5; y < bottom; y += 1.0) hline(dib, y, left, right, 1.0, white, 0.12);
    vline(dib, std::floor(left) + 0.5, top, bottom, 1.0, white, 0.6);
    vline(dib, std::floor(right) + 0.5, top, bottom, 1.0, white, 0.6);
}

// ---- The analyser ----

void EQGraph::columnHue(double saturation) {
    const double l = std::log(nyquist / kLowestFrequency);
    const double d0 = std::log(minF / kLowestFrequency) / l;
    const double dv = std::log(maxF / minF) / (plotW * l);
    for (int32_t x = 0; x < plotW; ++x) {
        hue[size_t(x)] = graphpix::hsvToRgb(std::fmod((x * dv + d0) * 360.0 + 270.0, 360.0), saturation, 1.0);
    }
}

void EQGraph::drawAnalyser() {
    switch (analyserType) {
        case kThirdOctave: drawAnalyserBars(3); break;
        case kTwelfthOctave: drawAnalyserBars(12); break;
        case kSpectrograph: drawSpectrograph(); break;
        case kBrightnessBars: drawBrightness(true); break;
        case kBrightnessAnalyser: drawBrightness(false); break;
        default: drawAnalyserCurves(); break;
    }
}

void EQGraph::drawAnalyserCurves() {
    CDIB& dib = *sceneDib;
    const double bottom = plotH + 1.0;
    const Rgb primary = primaryOther ? Rgb{0, 255, 0} : Rgb{255, 255, 255};
    Rgb secondary = options.secondaryRed ? Rgb{255, 0, 0} : Rgb{0x1a, 0x55, 0x81};
    if (secondaryOther) secondary.green = 255;
    auto yOf = [&](double level) { return (1.0 - level) * bottom; };
    const bool filled = options.analyserDisplay != 1, outlined = options.analyserDisplay != 0;
    if (filled) {
        auto fill = [&](const std::vector<double>& levels, const Rgb& colour) {
            for (size_t x = 0; x < size_t(plotW); ++x) {
                fillFrom[x] = float(yOf(levels[x]));
                fillTo[x] = float(bottom);
            }
            graphpix::fillColumns(dib, 0, plotW, fillFrom.data(), fillTo.data(), colour.red, colour.green, colour.blue,
                                  float(options.analyserOpacity));
        };
        if (!options.summed) fill(levelSecondary, secondary);
        fill(levelPrimary, primary);
    }
    if (!outlined) return;
    if (options.summed) {
        for (int32_t x = 1; x < plotW; ++x) {
            const double before = 0.5 * (levelPrimary[size_t(x - 1)] + levelSecondary[size_t(x - 1)]);
            const double now = 0.5 * (levelPrimary[size_t(x)] + levelSecondary[size_t(x)]);
            line(dib, x - 0.5, yOf(before), x + 0.5, yOf(now), 1.0, primary, 1.0);
        }
        return;
    }
    for (const auto& [levels, colour] : {std::pair{&levelSecondary, secondary}, {&levelPrimary, primary}}) {
        for (int32_t x = 1; x < plotW; ++x) {
            line(dib, x - 0.5, yOf((*levels)[size_t(x - 1)]), x + 0.5, yOf((*levels)[size_t(x)]), 1.0, colour, 1.0);
        }
    }
}

void EQGraph::drawAnalyserBars(int32_t perOctave) {
    CDIB& dib = *sceneDib;
    columnHue(options.saturation);
    const double bar = std::log(2.0) * plotW / (perOctave * std::log(maxF / minF));
    const double bottom = plotH + 1.0;
    for (double centre = bar / 2.0; centre - bar / 2.0 < plotW; centre += bar) {
        const auto x0 = int32_t(std::floor(centre - bar / 2.0)), x1 = int32_t(std::floor(centre + bar / 2.0));
        double level = 0.0;
        for (int32_t x = std::max(x0, 0); x < std::min(std::max(x1, x0 + 1), plotW); ++x) {
            level = std::max(level, levelPrimary[size_t(x)]);
        }
        const int32_t top = int32_t(std::lround((1.0 - level) * bottom));
        // A pixel of gap between bars that are wide enough for one.
        const int32_t left = x1 - x0 >= 3 ? x0 + 1 : x0;
        const Rgb colour = hue[size_t(std::clamp(int32_t(centre), 0, plotW - 1))];
        fillRows(dib, left, std::max(x1, x0 + 1), top, int32_t(bottom), colour, options.analyserOpacity);
    }
}

void EQGraph::drawSpectrograph() {
    CDIB& dib = *sceneDib;
    columnHue(options.saturation);
    // Row 1 is the newest; older rows go down the plot.
    for (int32_t r = 1; r < kSpectrographRows; ++r) {
        const int32_t y0 = plotH * r / (kSpectrographRows + 1), y1 = plotH * (r + 1) / (kSpectrographRows + 1);
        if (y1 <= y0) continue;
        const auto ring = uint8_t(spectrographRow - r);
        const double* levels = spectrograph.data() + ptrdiff_t(ring) * plotW;
        for (int32_t x = 0; x < plotW; ++x) {
            const double v = levels[x];
            const Rgb& h = hue[size_t(x)];
            const Rgb c{uint8_t(h.red * v), uint8_t(h.green * v), uint8_t(h.blue * v)};
            fillRows(dib, x, x + 1, y0, y1, c, options.analyserOpacity);
        }
    }
}

void EQGraph::drawBrightness(bool bars) {
    CDIB& dib = *sceneDib;
    columnHue(options.saturation);
    const double bottom = plotH + 1.0;
    for (int32_t x = 0; x < plotW; ++x) {
        const double v = levelPrimary[size_t(x)];
        const Rgb& h = hue[size_t(x)];
        if (bars) {
            const Rgb c{uint8_t(h.red * v), uint8_t(h.green * v), uint8_t(h.blue * v)};
            fillRows(dib, x, x + 1, 0, plotH, c, options.analyserOpacity);
        } else {
            vline(dib, x + 0.5, (1.0 - v) * bottom, bottom, 1.0, h, options.analyserOpacity);
        }
    }
}

// ---- Texts and the grid on top ----

void EQGraph::drawReadouts(int32_t mask) {
    if (!pointerInside) return;
    const auto column = int32_t(std::floor(pointer.x));
    if (column < 0 || column >= plotW || pointer.y < 0 || pointer.y >= plotH) return;
    CDIB& dib = *sceneDib;
    const PixelFont& font = PixelFont::large();
    char text[64];
    const double hz = frequencyAt(pointer.x);
    if ((mask & 1) != 0) {
        const double dB = options.analyserTop - pointer.y * options.analyserRange / plotH;
        std::snprintf(text, sizeof text, "Cursor: %.1fHz, %0.fdB", hz, dB);
    } else {
        std::snprintf(text, sizeof text, "Cursor: %.1fHz", hz);
    }
    font.draw(dib, text, 32, 4, kWhite);
    if ((mask & 2) != 0) {
        std::snprintf(text, sizeof text, "Graph: %.2f dB", graphDb[size_t(column)]);
        font.draw(dib, text, plotW - 110, 4, kWhite);
    }
    if ((mask & 1) != 0) {
        const double a = (levelPrimary[size_t(column)] - 1.0) * options.analyserRange + options.analyserTop;
        const double b = (levelSecondary[size_t(column)] - 1.0) * options.analyserRange + options.analyserTop;
        std::snprintf(text, sizeof text, "Analyser: %.0fdB, %.0fdB", a, b);
        font.draw(dib, text, (plotW - 80) / 2, 4, kWhite);
    }
}

void EQGraph::drawGridAndLabels() {
    CDIB& dib = *sceneDib;
    const PixelFont& font = PixelFont::small();
    const auto lines = int32_t(std::floor(range / 3.0 + 1.0));
    const Rgb lineGrey = grey(options.gridGrey);
    char text[32];
    for (int32_t i = 0; i < lines; ++i) {
        const int32_t y = lines > 1 ? (plotH - 1) * i / (lines - 1) : 0;
        hline(dib, y + 0.5, 0, plotW, 0.5, lineGrey, options.gridAlpha);
        if (i == lines - 1) continue;
        const int32_t labelY = std::clamp(y - 4, 2, std::max(2, plotH - 9));
        std::snprintf(text, sizeof text, "%2.0fdB", range - 6.0 * i);
        font.draw(dib, text, plotW - 4 - font.textWidth(text), labelY, kWhite);
        if (analyserOn) {
            std::snprintf(text, sizeof text, "%2.0fdB", options.analyserTop - i * options.analyserRange / (lines - 1));
            font.draw(dib, text, 4, labelY, kAnalyserScale);
        }
    }
}

int32_t EQGraph::frequencyLabels(FrequencyLabel* out, int32_t capacity) const {
    const PixelFont& font = PixelFont::small();
    const bool subLines = (maxF / minF) * 32.0 < plotW / 10.0;
    int32_t count = 0;
    int32_t lastEnd = -1000;
    forEachGridFrequency([&](double f, int32_t digit, int32_t sub, bool all) {
        // Leading digits by "Frequency Labels" (all of them zoomed in); of
        // the lines between, the sixth, or all zoomed in further.
        const bool labelled = sub > 0 ? (all || sub == 6)
                                      : (subLines || digit == 1 || digit == 2 ||
                                         (options.labels125 ? digit == 5 : (digit % 2) == 0));
        if (!labelled || count >= capacity) return;
        FrequencyLabel& label = out[count];
        frequencyText(label.text, sizeof label.text, f, sub > 0);
        label.frequency = f;
        label.width = font.textWidth(label.text);
        label.x = std::clamp(int32_t(std::floor(xOf(f))) - (label.width - 1) / 2, 2,
                             std::max(2, plotW - label.width - 4));
        // Left labels win: one that would touch the label before is left out.
        if (label.x <= lastEnd + 1) return;
        lastEnd = label.x + label.width;
        ++count;
    });
    return count;
}

void EQGraph::drawFrequencyLabels() {
    FrequencyLabel labels[kMaxLabels];
    const int32_t count = frequencyLabels(labels, kMaxLabels);
    const PixelFont& font = PixelFont::small();
    for (int32_t i = 0; i < count; ++i) font.draw(*sceneDib, labels[i].text, labels[i].x, plotH - 11, kWhite);
}

double EQGraph::scrollBarX(double hz) const {
    return std::floor(std::log(hz / kLowestFrequency) / std::log(nyquist / kLowestFrequency) * (plotW - kScrollBarHeight));
}

double EQGraph::scrollBarFrequency(double x) const {
    return kLowestFrequency * std::exp(std::log(nyquist / kLowestFrequency) * (x - 9.5) / (plotW - kScrollBarHeight));
}

void EQGraph::drawScrollBar() {
    CDIB& dib = *scrollDib;
    dib.fill(CColor{0, 0, 0, 255});
    const double full = std::log(nyquist / kLowestFrequency);
    auto at = [&](double f) { return scrollBarX(f); };
    const Rgb lineGrey = grey(options.gridGrey);
    for (double decade = kLowestFrequency; decade < nyquist; decade *= 10.0) {
        for (int32_t digit = 1; digit <= 9 && decade * digit <= nyquist; ++digit) {
            const double x = std::log(decade * digit / kLowestFrequency) / full * plotW;
            vline(dib, std::floor(x) + 0.5, 0, kScrollBarHeight - 1, 0.5, lineGrey, options.gridAlpha);
        }
    }
    // The thumb: framed, with grips at both ends and a line between them.
    const double left = at(minF) + 5.5, right = at(maxF) + 13.5;
    const Rgb frame = grey(kScaleGrey);
    const Rgb grip{uint8_t(kGripColour[0]), uint8_t(kGripColour[1]), uint8_t(kGripColour[2])};
    hline(dib, 1.5, left, right, 1.0, frame, 1.0);
    hline(dib, kScrollBarHeight - 1.5, left, right, 1.0, frame, 1.0);
    vline(dib, left, 1.5, kScrollBarHeight - 1.5, 1.0, frame, 1.0);
    vline(dib, right, 1.5, kScrollBarHeight - 1.5, 1.0, frame, 1.0);
    for (int32_t i = 0; i < 9; ++i) {
        const double step = 1.2 * i;
        line(dib, left + 2 + step, kScrollBarHeight - 4.0, left + 4 + step, 4.0, 1.0, grip, 1.0);
        line(dib, right - 4 - step, kScrollBarHeight - 4.0, right - 2 - step, 4.0, 1.0, grip, 1.0);
    }
    if (right - left > 30) hline(dib, 9.5, left + 15, right - 15, 1.0, grip, 1.0);
}
