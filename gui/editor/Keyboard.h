#pragma once
// The piano strip under the response graph. It shares the graph's
// frequency axis, so each key lies at the x of its pitch, x = p ln(f/minF)
// with p = width / ln(maxF/minF) pixels per natural-log unit. The white keys
// are evened out as on a real keyboard: each takes 12/7 semitones, its
// centre moved from its pitch by a per-note offset; black keys stay on
// their pitch.
//
// Each band that is on and in one of the shown groups marks its key with a
// dot in its graph colour (a bypassed one with a ring). The mouse works on
// the marks: a drag moves a band from note to note, a double click (or
// Control) switches it between on and bypassed, Alt with it deletes it; the
// same on an empty key asks for a new band there.
//
// The strip is painted in software into a bitmap of its own size, again
// only when what it shows changed. Threads: UI thread.

#include <array>
#include <cstdint>
#include <functional>

#include "gui/editor/GraphPixels.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CDIB.h"
#include "session/GraphScene.h"

class nKeyboard : public VSTGUI::CControl {
public:
    static constexpr uint8_t kStripGrey = 0xbb;

    nKeyboard(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag);

    // ---- What it shows ----
    // The graph's frequency range; the editor passes every change on.
    void setRange(double minHz, double maxHz);
    double getMinFrequency() const { return minF; }
    double getMaxFrequency() const { return maxF; }
    void setScene(const GraphScene& scene);
    // The editor's two shown groups (-1 none).
    void setGroups(int32_t groupA, int32_t groupB);
    // "Band Colours": by number, else by frequency.
    void setColoursByNumber(bool byNumber);

    // ---- What the mouse asks of the editor ----
    // A new band at hz (Q 0.707).
    std::function<void(double hz)> onCreateBand;
    std::function<void(int32_t band)> onDeleteBand;
    // The band whose mark is under the pointer, -1 for none; told on change.
    std::function<void(int32_t band)> onHoverBand;

    // ---- Geometry (pixels from the view's top-left) ----
    // MIDI numbering: note 69 is A4 at 440 Hz.
    static double noteFrequency(int32_t note);
    // The note whose key lies at hz: its pitch rounded to the nearest semitone.
    static int32_t noteOf(double hz);
    static bool isBlack(int32_t note);
    double pixelsPerLog() const { return perLog; }
    double semitoneWidth() const { return semitone; }
    // The x of hz on the shared axis.
    double xOf(double hz) const;
    // Where a key is drawn: the middle of its top (black) or of its full
    // width (white), and its left and right edges.
    double keyCentre(int32_t note) const;
    double keyLeft(int32_t note) const;
    double keyRight(int32_t note) const;
    // The key whose centre is nearest to x.
    int32_t noteAt(double x) const;
    // The keys drawn: those whose pitch lies within the range (first > last
    // when none does).
    int32_t firstKey() const { return first; }
    int32_t lastKey() const { return last; }
    // The bounds of band b's mark; empty when it has none.
    VSTGUI::CRect markRect(int32_t band) const;
    // The band whose mark covers (x, y), the topmost one; -1 for none.
    int32_t bandAt(double x, double y) const;
    // The mark's colour of band b: its graph colour, dimmed.
    graphpix::Rgb markColour(int32_t band) const;

    // ---- Painting ----
    // Paints the strip when something changed since the last time.
    void renderStrip();
    VSTGUI::CDIB* stripBitmap() const { return strip; }

    void draw(VSTGUI::CDrawContext* context) override;
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "nKeyboard"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~nKeyboard() override;

private:
    struct Mark {
        int32_t state = 0;  // 0 none, else the band's state
        int32_t note = 0;
        graphpix::Rgb colour{0, 0, 0};
        bool operator==(const Mark& o) const {
            return state == o.state && note == o.note && colour.red == o.colour.red &&
                   colour.green == o.colour.green && colour.blue == o.colour.blue;
        }
    };
    enum class Report { kBegin, kChange, kEnd, kWhole };

    void makeBuffer();
    void computeGeometry();
    void computeMarks();
    void changed();
    double markRadius() const;
    double markCentreY(int32_t note) const;
    void drawMark(int32_t band);
    void hover(int32_t band);
    // Sends a value of another parameter through the listener, as if this
    // control carried that tag, and restores its own tag and value.
    void report(int32_t paramTag, double norm, Report what);

    GraphScene scene;
    int32_t groupA = 0, groupB = -1;
    bool coloursByNumber = false;

    double minF = 10.0, maxF = 24000.0;
    int32_t width = 1, height = 1;
    double perLog = 1.0;    // pixels per natural-log unit
    double semitone = 1.0;  // pixels per semitone
    double whiteWidth = 1.0;
    std::array<double, 12> offset{};  // per note of the octave, pixels from its pitch to its key centre
    int32_t first = 0, last = -1;
    std::array<Mark, kNumBands> marks{};

    VSTGUI::CDIB* strip = nullptr;
    bool stale = true;

    int32_t dragBand = -1;
    double dragX0 = 0.0, dragHz0 = 0.0, dragLastHz = 0.0;
    int32_t hoverBand = -1;
};
