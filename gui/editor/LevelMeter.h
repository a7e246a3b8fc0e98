#pragma once
// `nVU`: a level meter of one or two columns side by side. A linear level v
// (8.0 the top of the scale) lies at u = (v / 8)^(1/p) of the height, p by
// "Scale" (FS, K-12, K-14, K-20), the same law the channel faders travel
// by; marks from +18 to -96 dB are written with the K scale's offset. Each
// column shows a lit face below its level and a dark face above, and a
// held peak as a short line; the hold falls back after five seconds, or
// stays until the meter is clicked ("Meter Peak/Hold").
//
// Threads: UI thread. Levels come from the editor's refresh.

#include <cstdint>
#include <functional>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CDIB.h"

class nVU : public VSTGUI::CControl {
public:
    enum Hold : int32_t { kHoldFiveSeconds = 0, kHoldUntilClicked = 1, kHoldOff = 2 };
    static constexpr double kTop = 8.0;  // the level at the top of the scale
    static constexpr double kHoldSeconds = 5.0;

    nVU(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, int32_t columns = 2);

    // "Scale": 0 FS, 1 K-12, 2 K-14, 3 K-20.
    void setScale(int32_t index);
    int32_t getScaleOffset() const { return offset; }
    void setHoldMode(int32_t mode) { hold = mode; }
    void setPeakYellow(bool yellow) { peakYellow = yellow; }
    // The clock the hold runs on, in seconds (tests give theirs).
    void setClock(std::function<double()> seconds) { clock = std::move(seconds); }

    // One refresh: the columns' levels (with one column the second copies
    // the first), and the held peaks moved on.
    void setLevels(double first, double second);
    double getLevel(int32_t column) const { return level[column & 1]; }
    double getHeld(int32_t column) const { return held[column & 1]; }
    // The value of the meter's tag: one linear level for both columns.
    void setValue(float v) override;

    // The row (from the top) of a level in a meter `height` high.
    double rowOf(double v) const;
    static double positionOf(double v, double exponent);
    // The text of a reading: "%.1f" dB, or "-inf" below a millionth.
    static void readoutText(double v, char* text, size_t size);

    void draw(VSTGUI::CDrawContext* context) override;
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "nVU"; }
    bool isTypeOf(const char* className) const override;
    VSTGUI::CDIB* litFace() const { return lit; }
    VSTGUI::CDIB* darkFace() const { return dark; }

protected:
    ~nVU() override;

private:
    void makeFaces();
    double now() const;

    int32_t columns;
    double level[2] = {0, 0};
    double held[2] = {0, 0};
    double holdEnds = 0;
    double exponent = 7.0;
    int32_t offset = 0;
    int32_t hold = kHoldFiveSeconds;
    bool peakYellow = false;
    std::function<double()> clock;
    VSTGUI::CDIB* lit = nullptr;
    VSTGUI::CDIB* dark = nullptr;
};
