#include "gui/editor/Keyboard.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "gui/editor/EQGraph.h"

using namespace VSTGUI;
using graphpix::Rgb;

namespace {

// Per semitone from C: 3 a black key; a white one 0 with a black key to
// its right only, 2 with one to its left only, 1 with one on both sides.
constexpr int8_t kKeyKind[12] = {0, 3, 1, 3, 2, 0, 3, 1, 3, 1, 3, 2};
constexpr int8_t kBlack = 3;

constexpr double kA4 = 440.0;
constexpr int32_t kA4Note = 69;
constexpr double kBlackWidth = 0.75;       // of a semitone
constexpr double kBlackLength = 2.0 / 3.0;  // of the strip's height
constexpr double kWhitesPerOctave = 7.0;

constexpr Rgb kEdge{0x4c, 0x4c, 0x4c};
constexpr Rgb kBlackKey{0x26, 0x26, 0x26};
constexpr Rgb kBlackLip{0x4a, 0x4a, 0x4a};  // the lower end of a black key, catching the light
constexpr Rgb kRim{0x1a, 0x1a, 0x1a};       // around a mark on a white key
constexpr Rgb kLightRim{0xdd, 0xdd, 0xdd};  // on a black one
constexpr Rgb kWhiteKey{nKeyboard::kStripGrey, nKeyboard::kStripGrey, nKeyboard::kStripGrey};

int32_t semitoneOf(int32_t note) { return ((note % 12) + 12) % 12; }

// The band colour toned down for the grey keys: each channel pulled 30%
// towards the mean, then all of them 5% brighter.
Rgb dimmed(const Rgb& c) {
    const double mean = (c.red + c.green + c.blue) / 3.0;
    if (mean <= 0.0) return Rgb{0, 0, 0};
    auto channel = [mean](uint8_t v) {
        const double out = ((v / mean - 1.0) * 0.7 + 1.0) * mean * 1.05;
        return uint8_t(std::lround(std::clamp(out, 0.0, 255.0)));
    };
    return Rgb{channel(c.red), channel(c.green), channel(c.blue)};
}

void hline(CDIB& dib, double y, double x0, double x1, double width, const Rgb& c) {
    graphpix::drawAAHLine(dib, float(y), float(x0), float(x1), float(width), c.red, c.green, c.blue, 1.0f);
}

// A disc of horizontal chords, one per pixel row, centred on a pixel centre.
void disc(CDIB& dib, double cx, double cy, double r, const Rgb& c) {
    if (r <= 0.0) return;
    for (int32_t i = 0; i < int32_t(std::ceil(r)); ++i) {
        const double half = std::sqrt(std::max(0.0, r * r - double(i) * i));
        hline(dib, cy - i, cx - half, cx + half, 1.0, c);
        if (i > 0) hline(dib, cy + i, cx - half, cx + half, 1.0, c);
    }
}

}  // namespace

nKeyboard::nKeyboard(const CRect& size, CControlListener* listener, int32_t tag) : CControl(size, listener, tag) {
    for (GraphBand& band : scene.bands) band = GraphBand{};
    makeBuffer();
    computeGeometry();
}

nKeyboard::~nKeyboard() {
    if (strip) strip->forget();
}

bool nKeyboard::isTypeOf(const char* className) const {
    return std::strcmp(className, "nKeyboard") == 0 || CControl::isTypeOf(className);
}

// ---- State ----

void nKeyboard::makeBuffer() {
    if (strip) strip->forget();
    width = std::max(1, int32_t(std::lround(size.width())));
    height = std::max(1, int32_t(std::lround(size.height())));
    strip = new CDIB(width, height);
    stale = true;
}

void nKeyboard::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = rect.width() != size.width() || rect.height() != size.height();
    CControl::setViewSize(rect, invalidate);
    if (!resized) return;
    makeBuffer();
    computeGeometry();
    computeMarks();
    changed();
}

void nKeyboard::changed() {
    stale = true;
    setDirty(true);
    invalid();
}

void nKeyboard::setRange(double minHz, double maxHz) {
    if (!(minHz > 0.0) || !(maxHz > minHz) || !std::isfinite(maxHz)) return;
    if (minHz == minF && maxHz == maxF) return;
    minF = minHz;
    maxF = maxHz;
    computeGeometry();
    computeMarks();
    changed();
}

void nKeyboard::setScene(const GraphScene& next) {
    const bool rateChanged = next.sampleRate != scene.sampleRate;
    scene = next;
    if (rateChanged) {
        computeGeometry();
        computeMarks();
        changed();
        return;
    }
    const auto before = marks;
    computeMarks();
    if (marks != before) changed();
}

void nKeyboard::setGroups(int32_t a, int32_t b) {
    if (a == groupA && b == groupB) return;
    groupA = a;
    groupB = b;
    computeMarks();
    changed();
}

void nKeyboard::setColoursByNumber(bool byNumber) {
    if (byNumber == coloursByNumber) return;
    coloursByNumber = byNumber;
    computeMarks();
    changed();
}

void nKeyboard::computeGeometry() {
    perLog = width / std::log(maxF / minF);
    semitone = perLog * std::numbers::ln2 / 12.0;
    whiteWidth = semitone * 12.0 / kWhitesPerOctave;
    // Seven equal white keys per octave, from the edge half a semitone
    // below C: each white key's centre lies that far from its pitch.
    int32_t white = 0;
    for (int32_t k = 0; k < 12; ++k) {
        if (kKeyKind[k] == kBlack) {
            offset[size_t(k)] = 0.0;
            continue;
        }
        const double evenCentre = -0.5 + (white + 0.5) * 12.0 / kWhitesPerOctave;
        offset[size_t(k)] = (evenCentre - k) * semitone;
        ++white;
    }
    // The keys whose pitch lies in the range; a hair of slack for the
    // rounding of the range's ends.
    const double slack = 1e-9;
    first = int32_t(std::ceil(kA4Note + 12.0 * std::log2(minF / kA4) - slack));
    last = int32_t(std::floor(kA4Note + 12.0 * std::log2(maxF / kA4) + slack));
}

void nKeyboard::computeMarks() {
    for (int32_t b = 0; b < kNumBands; ++b) {
        const GraphBand& band = scene.bands[size_t(b)];
        Mark& mark = marks[size_t(b)];
        mark = Mark{};
        const bool shown = band.inGroup(groupA) || band.inGroup(groupB);
        if ((band.state != kBandOn && band.state != kBandBypassed) || !shown || !(band.frequency > 0.0)) continue;
        const int32_t note = noteOf(band.frequency);
        if (note < first || note > last) continue;
        mark.state = band.state;
        mark.note = note;
        mark.colour = dimmed(bandColour(b, band.frequency, scene.sampleRate, coloursByNumber));
    }
}

// ---- Geometry ----

double nKeyboard::noteFrequency(int32_t note) { return kA4 * std::exp2((note - kA4Note) / 12.0); }

int32_t nKeyboard::noteOf(double hz) { return kA4Note + int32_t(std::floor(12.0 * std::log2(hz / kA4) + 0.5)); }

bool nKeyboard::isBlack(int32_t note) { return kKeyKind[semitoneOf(note)] == kBlack; }

double nKeyboard::xOf(double hz) const { return perLog * std::log(hz / minF); }

double nKeyboard::keyCentre(int32_t note) const {
    return xOf(noteFrequency(note)) + offset[size_t(semitoneOf(note))];
}

double nKeyboard::keyLeft(int32_t note) const {
    return keyCentre(note) - 0.5 * (isBlack(note) ? kBlackWidth * semitone : whiteWidth);
}

double nKeyboard::keyRight(int32_t note) const {
    return keyCentre(note) + 0.5 * (isBlack(note) ? kBlackWidth * semitone : whiteWidth);
}

int32_t nKeyboard::noteAt(double x) const {
    // The white keys' centres sit up to half a semitone off their pitch,
    // so the nearest centre is among the two notes either side.
    const int32_t around = noteOf(minF * std::exp(x / perLog));
    int32_t best = around;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (int32_t n = around - 2; n <= around + 2; ++n) {
        const double d = std::fabs(keyCentre(n) - x);
        if (d < bestDistance) {
            bestDistance = d;
            best = n;
        }
    }
    return best;
}

double nKeyboard::markRadius() const {
    const double most = std::max(2.5, height / 6.0 - 1.0);
    return std::clamp(0.36 * whiteWidth, 2.5, most);
}

double nKeyboard::markCentreY(int32_t note) const {
    const double blackBottom = std::round(height * kBlackLength);
    const double y = isBlack(note) ? blackBottom - markRadius() - 2.5 : (blackBottom + height) / 2.0;
    return std::floor(y) + 0.5;
}

CRect nKeyboard::markRect(int32_t band) const {
    if (band < 0 || band >= kNumBands || marks[size_t(band)].state == 0) return CRect();
    const int32_t note = marks[size_t(band)].note;
    const double cx = std::floor(keyCentre(note)) + 0.5, cy = markCentreY(note), r = markRadius();
    return CRect(CCoord(cx - r), CCoord(cy - r), CCoord(cx + r), CCoord(cy + r));
}

int32_t nKeyboard::bandAt(double x, double y) const {
    // Marks are drawn in band order, so the last one covering the point is on top.
    constexpr double kReach = 2.0;  // pixels around a mark that still take it
    for (int32_t b = kNumBands - 1; b >= 0; --b) {
        const CRect r = markRect(b);
        if (r.isEmpty()) continue;
        if (x >= r.left - kReach && x < r.right + kReach && y >= r.top - kReach && y < r.bottom + kReach) return b;
    }
    return -1;
}

Rgb nKeyboard::markColour(int32_t band) const {
    if (band < 0 || band >= kNumBands) return Rgb{0, 0, 0};
    const GraphBand& b = scene.bands[size_t(band)];
    return dimmed(bandColour(band, b.frequency, scene.sampleRate, coloursByNumber));
}

// ---- Painting ----

void nKeyboard::renderStrip() {
    if (!stale) return;
    CDIB& dib = *strip;
    dib.fill(CColor{kStripGrey, kStripGrey, kStripGrey, 255});
    const double blackBottom = std::round(height * kBlackLength);
    // White edges first, on pixel centres so that they stay one pixel
    // sharp; the black keys cover their upper parts.
    // Each edge is drawn once, as the left one of the key to its right,
    // and the last white key's right edge besides.
    auto edge = [&](double x) {
        graphpix::drawAAVLine(dib, float(std::floor(x) + 0.5), 0.0f, float(height), 1.0f, kEdge.red, kEdge.green,
                              kEdge.blue, 1.0f);
    };
    int32_t lastWhite = first - 1;
    for (int32_t n = first; n <= last; ++n) {
        if (isBlack(n)) continue;
        edge(keyLeft(n));
        lastWhite = n;
    }
    if (lastWhite >= first) edge(keyRight(lastWhite));
    for (int32_t n = first; n <= last; ++n) {
        if (!isBlack(n)) continue;
        double x0 = std::round(keyLeft(n)), x1 = std::round(keyRight(n));
        if (x1 - x0 < 2.0) x1 = x0 + 2.0;
        hline(dib, blackBottom / 2.0, x0, x1, blackBottom, kBlackKey);
        if (x1 - x0 >= 4.0) hline(dib, blackBottom - 1.5, x0 + 1.0, x1 - 1.0, 1.0, kBlackLip);
    }
    for (int32_t b = 0; b < kNumBands; ++b) drawMark(b);
    stale = false;
    dib.dirty = true;
}

void nKeyboard::drawMark(int32_t band) {
    const Mark& mark = marks[size_t(band)];
    if (mark.state == 0) return;
    CDIB& dib = *strip;
    const double cx = std::floor(keyCentre(mark.note)) + 0.5, cy = markCentreY(mark.note), r = markRadius();
    // A rim against the key keeps the colour apart from it: dark on the
    // grey keys, where light colours would fade, light on the black ones.
    const bool black = isBlack(mark.note);
    disc(dib, cx, cy, r, black ? kLightRim : kRim);
    disc(dib, cx, cy, r - 1.0, mark.colour);
    // A bypassed band: a ring of its colour around the key's own.
    if (mark.state == kBandBypassed) disc(dib, cx, cy, std::max(r - 2.5, 0.45 * r), black ? kBlackKey : kWhiteKey);
}

void nKeyboard::draw(CDrawContext* context) {
    renderStrip();
    strip->draw(context, size);
    setDirty(false);
}

// ---- Mouse ----

void nKeyboard::report(int32_t paramTag, double norm, Report what) {
    const int32_t ownTag = getTag();
    const float ownValue = getValue();
    setTag(paramTag);
    setValue(float(norm));
    // beginEdit/endEdit reach the listener and, through the frame, the host.
    if (what == Report::kBegin || what == Report::kWhole) beginEdit();
    if (what == Report::kChange || what == Report::kWhole) valueChanged();
    if (what == Report::kEnd || what == Report::kWhole) endEdit();
    setTag(ownTag);
    setValue(ownValue);
}

void nKeyboard::hover(int32_t band) {
    if (band == hoverBand) return;
    hoverBand = band;
    if (onHoverBand) onHoverBand(band);
}

CMouseEventResult nKeyboard::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    const double x = where.x - size.left, y = where.y - size.top;
    const int32_t band = bandAt(x, y);
    const bool alternate = (buttons & (kDoubleClick | kControl)) != 0;
    if (alternate && band < 0) {
        const int32_t note = std::clamp(noteAt(x), first, std::max(first, last));
        if (onCreateBand) onCreateBand(noteFrequency(note));
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (alternate) {
        if (buttons & kAlt) {
            if (onDeleteBand) onDeleteBand(band);
        } else {
            const int32_t tag = bandParam(band, kFieldState);
            const int32_t state = scene.bands[size_t(band)].state;
            report(tag, curveToNorm(staticParamTable()[tag], 3.0 - state), Report::kWhole);
        }
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (band < 0) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    dragBand = band;
    dragX0 = x;
    dragHz0 = scene.bands[size_t(band)].rowFrequency;
    dragLastHz = 0.0;
    report(bandParam(band, kFieldFrequency), scene.bands[size_t(band)].norm[kFieldFrequency], Report::kBegin);
    return kMouseEventHandled;
}

CMouseEventResult nKeyboard::onMouseMoved(CPoint& where, const int32_t& buttons) {
    const double x = where.x - size.left, y = where.y - size.top;
    if (dragBand >= 0) {
        const int32_t tag = bandParam(dragBand, kFieldFrequency);
        const ParamRow& row = staticParamTable()[tag];
        // Whole semitones from A4, kept within the row's range.
        const double hz = dragHz0 * std::exp((x - dragX0) / perLog);
        const double lowest = std::ceil(12.0 * std::log2(row.min / kA4));
        const double highest = std::floor(12.0 * std::log2(row.max / kA4));
        const double steps = std::clamp(std::floor(12.0 * std::log2(hz / kA4) + 0.5), lowest, highest);
        const double snapped = kA4 * std::exp2(steps / 12.0);
        if (snapped != dragLastHz) {
            dragLastHz = snapped;
            report(tag, curveToNorm(row, snapped), Report::kChange);
        }
        return kMouseEventHandled;
    }
    if ((buttons & (kLButton | kMButton | kRButton)) == 0) hover(bandAt(x, y));
    return kMouseEventHandled;
}

CMouseEventResult nKeyboard::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (dragBand < 0) return kMouseEventHandled;
    const int32_t tag = bandParam(dragBand, kFieldFrequency);
    const double norm = dragLastHz > 0.0 ? curveToNorm(staticParamTable()[tag], dragLastHz)
                                         : scene.bands[size_t(dragBand)].norm[kFieldFrequency];
    dragBand = -1;
    report(tag, norm, Report::kEnd);
    return kMouseEventHandled;
}

CMouseEventResult nKeyboard::onMouseExited(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    hover(-1);
    return kMouseEventHandled;
}
