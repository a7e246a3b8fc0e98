#pragma once
// The band strips: a horizontally scrolling row of one strip per band in
// use, under the graph. Each strip holds the band's number, its type
// button, its subtype and group menus, and its values as knobs with text or
// as text alone, as the layout word chooses; a column of row names may go
// first. The row is rebuilt whole from a plain model whenever the bands or
// the layout change, and drawn from what it was built from.
//
// Threads: UI thread.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gui/editor/StripControls.h"
#include "gui/toolkit/CViewContainer.h"

// One band as its strip shows it.
struct StripBand {
    int32_t band = 0;
    float norm[10] = {};          // the band's ten rows, normalised
    bool bypassed = false;
    VSTGUI::CColor colour{255, 255, 255, 255};  // the band's colour, as the graph draws it
    int32_t controls = 0;         // the values its type uses (BandControl bits)
    std::string shiftName;        // the fourth value's name when it is not a slope
};

struct StripsModel {
    uint32_t flags = 0;             // the layout word
    std::vector<StripBand> bands;   // in the order shown
    std::vector<std::string> groupNames;
    uint64_t selected = 0;          // bands chosen, a bit each
    uint32_t lockedRows[12] = {};   // parameter rows locked, a bit each
    VSTGUI::CColor lockColour{255, 0, 0, 0x80};
    // Text of a value, and the value typed text sets (see StripValueRow).
    std::function<std::string(int32_t tag, float norm, bool musical)> format;
    std::function<std::optional<float>(int32_t tag, std::string_view text, bool noteMode)> read;
    // The value a control returns to when asked for its default.
    std::function<float(int32_t tag)> defaultValue;
    // Brackets a gesture over several rows as one undo step.
    std::function<void(bool begin)> undoGroup;
    // A band asked for where there is none (a double click on the ground).
    std::function<void(double hz, double q)> createBand;
    // The band under the pointer, or -1: the graph lights its handle.
    std::function<void(int32_t band)> hoverBand;
    // A value's lock switched by the person (Ctrl and the right button).
    std::function<void(int32_t tag)> toggleLock;
    // The bands chosen now, a bit each: the strips light by it after a click.
    std::function<uint64_t()> selection;

    bool isLocked(int32_t tag) const {
        return tag >= 0 && tag < 12 * 32 && ((lockedRows[tag / 32] >> (tag % 32)) & 1u) != 0;
    }
};

// The back of one strip: its card, lit while the band is chosen (value
// non-zero, tag kGUISelectedBand + band), the knob rings, and the clicks
// on it: choose, add to the choice, insert a band after it, delete it.
class nStripBack : public VSTGUI::CControl {
public:
    nStripBack(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t band, bool textMode,
               VSTGUI::CCoord splitTop, VSTGUI::CCoord splitBottom);

    int32_t getBand() const { return band; }
    void addRing(const VSTGUI::CRect& ring) { rings.push_back(ring); }
    void addTinted(StripValueControl* control) { tinted.push_back(control); }
    void setTint(const VSTGUI::CColor& colour) { tint = colour; }
    const std::vector<VSTGUI::CRect>& getRings() const { return rings; }

    void setValue(float v) override;
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseEntered(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "nStripBack"; }
    bool isTypeOf(const char* className) const override;

    // What the strips do with a click, a drag starting on a strip, and the
    // pointer's coming and going.
    std::function<void(nStripBack&, int32_t buttons)> onClick;
    std::function<void(nStripBack&, VSTGUI::CPoint where)> onDragStart;
    std::function<void(int32_t band)> onHover;

protected:
    ~nStripBack() override;

private:
    void drawSlabs(VSTGUI::CDrawContext* context, VSTGUI::CDIB* image, VSTGUI::CCoord top, VSTGUI::CCoord bottom,
                   int32_t slab);

    int32_t band;
    bool textMode;
    VSTGUI::CCoord splitTop, splitBottom;
    std::vector<VSTGUI::CRect> rings;
    std::vector<StripValueControl*> tinted;  // children of the same row, outlived by it
    VSTGUI::CColor tint;
    VSTGUI::CPoint pressedAt;
    VSTGUI::CDIB* images[5] = {};  // top, body, bottom, ring, text body
};

class BandStrips : public VSTGUI::CViewContainer {
public:
    static constexpr VSTGUI::CCoord kPitch = 66;         // one strip and its gap
    static constexpr VSTGUI::CCoord kLabelWidth = 66;
    static constexpr VSTGUI::CCoord kScrollBarHeight = 13;
    static constexpr VSTGUI::CCoord kScrollInset = 4;
    static constexpr VSTGUI::CCoord kEdgeZone = 20;      // a rubber band this near an end scrolls
    static constexpr double kNewBandHz = 1000.0;

    BandStrips(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener);

    // Removes every strip and builds them again from `model`. Focus inside
    // the strips is dropped first.
    void rebuild(const StripsModel& model);
    const StripsModel& model() const { return built; }

    // The row height of the values: 22 in text mode, 63 with knobs.
    static int32_t rowHeight(uint32_t flags);
    int32_t contentWidth() const { return content; }
    // The horizontal scroll, 0 to 1 (0 whenever everything fits).
    float getScrollPos() const { return scrollPos; }
    void setScrollPos(float pos);
    VSTGUI::CRect scrollBarRect() const;  // own coordinates
    VSTGUI::CRect thumbRect() const;      // own coordinates
    // A band's colour changed (it follows the frequency): its button and
    // the tint of its chosen values follow.
    void setBandColour(int32_t band, const VSTGUI::CColor& colour);
    // The back of band `band`'s strip; null when it has none.
    nStripBack* stripOf(int32_t band) const;
    // Sorting by frequency was asked for (a right click on the ground);
    // reading it clears it.
    bool takeSortRequest();
    // A gesture runs in the strips: a rebuild now would pull the control
    // from under the pointer.
    bool isBusy() const;

    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& rect) override;
    void drawRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& updateRect) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const int32_t& buttons) override;
    const char* getClassName() const override { return "BandStrips"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~BandStrips() override;

private:
    void buildLabels(const StripsModel& model, int32_t rowH);
    void buildStrip(const StripBand& band, const StripsModel& model, VSTGUI::CCoord x, int32_t rowH);
    void send(int32_t tag, float value);
    void clickStrip(nStripBack& strip, int32_t buttons);
    void refreshSelection();
    void startRubberBand(const VSTGUI::CPoint& where);
    void moveRubberBand(const VSTGUI::CPoint& where);
    void scrollTo(VSTGUI::CCoord x);

    VSTGUI::CControlListener* listener;
    StripsModel built;
    std::vector<std::pair<VSTGUI::CView*, VSTGUI::CRect>> placed;  // each child and its unscrolled place
    VSTGUI::CControl* reporter = nullptr;  // reports the strips' own requests to the listener
    int32_t content = 0;
    float scrollPos = 0;
    int32_t offset = 0;  // pixels the children are moved to the left
    bool sortOnce = false;
    bool scrollDragging = false;
    bool rubberBanding = false;
    bool rubberMoved = false;
    VSTGUI::CPoint rubberStart, rubberNow;  // content coordinates
};

VSTGUI::CView* makeBandStrips(const struct LayoutElementArgs& args);
