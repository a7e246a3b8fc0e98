#include "gui/editor/LevelMeter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "gui/editor/GraphPixels.h"
#include "gui/editor/PixelFont.h"

using namespace VSTGUI;

namespace {

// The exponent of the scale law and the offset of the marks' numbers, by
// "Scale" index.
constexpr double kExponents[] = {7.0, 6.75, 7.2, 6.9};
constexpr int32_t kOffsets[] = {0, 12, 14, 20};
constexpr double kMarks[] = {18, 9, 0, -12, -36, -60, -96};
constexpr int32_t kEdge = 15;  // the lit columns at each side
constexpr int32_t kMarkRoom = 8;  // the least room between the columns for marks
const CColor kMarkGrey{0x61, 0x61, 0x61, 255};

double linearOf(double dB) { return std::pow(10.0, dB / 20.0); }

}  // namespace

nVU::nVU(const CRect& size, CControlListener* listener, int32_t tag, int32_t columnCount)
    : CControl(size, listener, tag), columns(std::clamp(columnCount, 1, 2)) {
    makeFaces();
}

nVU::~nVU() {
    if (lit) lit->forget();
    if (dark) dark->forget();
}

bool nVU::isTypeOf(const char* className) const {
    return std::strcmp(className, "nVU") == 0 || CControl::isTypeOf(className);
}

void nVU::setScale(int32_t index) {
    index = std::clamp(index, 0, 3);
    if (kExponents[index] == exponent && kOffsets[index] == offset) return;
    exponent = kExponents[index];
    offset = kOffsets[index];
    makeFaces();
    invalid();
}

double nVU::now() const {
    if (clock) return clock();
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double nVU::positionOf(double v, double p) {
    if (!(v > 0.0)) return 0.0;
    return std::pow(std::min(v, kTop) / kTop, 1.0 / p);
}

double nVU::rowOf(double v) const {
    const double h = size.height();
    return std::clamp((1.0 - positionOf(v, exponent)) * (h - 3.0) + 3.0, 0.0, h);
}

void nVU::readoutText(double v, char* text, size_t size) {
    if (!(std::fabs(v) >= 0.000001)) {
        std::snprintf(text, size, "-inf");
    } else {
        std::snprintf(text, size, "%.1f", 20.0 * std::log10(std::fabs(v)));
    }
}

void nVU::setLevels(double first, double second) {
    level[0] = std::isfinite(first) ? std::fabs(first) : 0.0;
    level[1] = columns == 1 ? level[0] : (std::isfinite(second) ? std::fabs(second) : 0.0);
    const double t = now();
    // Peaks hold for five seconds, or until a click; then they start again
    // from the present levels.
    const bool expired = hold != kHoldUntilClicked && t >= holdEnds;
    bool rose = false;
    for (int32_t c = 0; c < 2; ++c) {
        if (expired) held[c] = level[c];
        if (level[c] > held[c]) {
            held[c] = level[c];
            rose = true;
        }
    }
    if (expired || rose) holdEnds = t + kHoldSeconds;
    invalid();
}

void nVU::setValue(float v) {
    CControl::setValue(v);
    setLevels(v, v);
}

CMouseEventResult nVU::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if ((buttons & kLButton) == 0) return kMouseEventNotHandled;
    // A click lets go of the held peaks.
    held[0] = level[0];
    held[1] = level[1];
    holdEnds = now() + kHoldSeconds;
    invalid();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void nVU::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = rect.width() != size.width() || rect.height() != size.height();
    CControl::setViewSize(rect, invalidate);
    if (resized) makeFaces();
}

void nVU::makeFaces() {
    if (lit) lit->forget();
    if (dark) dark->forget();
    const auto w = std::max(1, int32_t(std::lround(size.width())));
    const auto h = std::max(1, int32_t(std::lround(size.height())));
    lit = new CDIB(w, h);
    dark = new CDIB(w, h);
    const CColor ground{0x1a, 0x1a, 0x1a, 255};
    lit->fill(ground);
    dark->fill(ground);
    // The columns at both edges: dark grey, or lit from green at the
    // bottom through yellow to red at the top.
    for (int32_t y = 3; y < h - 3; ++y) {
        const double u = 1.0 - double(y - 3) / std::max(1, h - 6);
        const graphpix::Rgb c = graphpix::hsvToRgb(120.0 * (1.0 - u), 1.0, 0.5 + 0.5 * u);
        for (const int32_t x0 : {0, w - kEdge}) {
            const CRect bar(x0, y, x0 + kEdge - 1, y + 1);
            lit->fill(bar, CColor{c.red, c.green, c.blue, 255});
            dark->fill(bar, CColor{0x3a, 0x3a, 0x3a, 255});
        }
    }
    // The marks between the columns, numbered with the scale's offset; a
    // meter with no room between its columns shows none.
    if (w - 2 * kEdge < kMarkRoom) return;
    const PixelFont& font = PixelFont::small();
    char text[16];
    for (const double mark : kMarks) {
        std::snprintf(text, sizeof text, "%.0f", double(offset) + mark);
        const auto y = int32_t(std::lround(rowOf(linearOf(mark)))) - font.height() / 2;
        const int32_t x = (w - font.textWidth(text)) / 2;
        for (CDIB* face : {lit, dark}) font.draw(*face, text, x, std::clamp(y, 0, std::max(0, h - font.height())), kMarkGrey);
    }
    for (CDIB* face : {lit, dark}) font.draw(*face, "-inf", (w - font.textWidth("-inf")) / 2, h - 7 - font.height() / 2, kMarkGrey);
}

void nVU::draw(CDrawContext* context) {
    // Each half: the dark face above its level, the lit face below.
    const int32_t w = lit->width(), h = lit->height();
    for (int32_t c = 0; c < 2; ++c) {
        const int32_t x0 = c == 0 ? 0 : w / 2, x1 = c == 0 ? w / 2 : w;
        const auto y = int32_t(std::lround(rowOf(level[c])));
        dark->draw(context, CRect(size.left + x0, size.top, size.left + x1, size.top + y), CPoint(x0, 0));
        lit->draw(context, CRect(size.left + x0, size.top + y, size.left + x1, size.top + h), CPoint(x0, y));
        if (hold == kHoldOff) continue;
        const double peakRow = rowOf(held[c]);
        const int32_t edge = c == 0 ? 0 : w - 14;
        context->setFrameColor(peakYellow ? CColor{0xff, 0xff, 0x00, 0x80} : CColor{0xff, 0x00, 0x00, 0x80});
        context->drawLine(CPoint(size.left + edge, size.top + std::floor(peakRow) + 0.5),
                          CPoint(size.left + edge + 14, size.top + std::floor(peakRow) + 0.5));
    }
    setDirty(false);
}
