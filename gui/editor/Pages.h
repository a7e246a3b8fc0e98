#pragma once
// Pages: containers that show themselves only while their tag holds their
// page number. Several pages share one tag, each with its own number, so
// one value picks the page on show among them. A page answers to its tag
// through iControl; the control registry stands a wrapper for it among the
// controls.

#include <cstdint>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/iControl.h"

class nPage : public VSTGUI::CGViewContainer, public VSTGUI::iControl {
public:
    // The page starts at value 0, hence hidden unless its number is 0. It
    // is transparent unless image `backgroundId` (0 for none) could be loaded.
    nPage(const VSTGUI::CRect& size, int32_t tag, int32_t pageNumber, int32_t backgroundId = 0);

    int32_t getPageNumber() const { return pageNumber; }
    // The image number written in the layout; 0 for none. Kept even when no
    // image of that number could be loaded.
    int32_t getBackgroundId() const { return backgroundId; }

    int32_t getTag() const override { return tag; }
    float getValue() const override { return value; }
    // Stores the value and shows the page exactly when it equals the number.
    void setValue(float v) override;
    void invalidControl() override { invalid(); }
    void setControlSize(const VSTGUI::CRect& rect) override { setViewSize(rect); }
    VSTGUI::CRect getControlSize() const override { return size; }
    VSTGUI::CRect getControlMouseableArea() const override { return mouseableArea; }

    // The background image is laid over what lies below, by its alpha.
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& rect) override;

    const char* getClassName() const override { return "nPage"; }
    bool isTypeOf(const char* className) const override;

private:
    int32_t tag;
    int32_t pageNumber;
    int32_t backgroundId;

protected:
    float value = 0.0f;
};

// A page that lets the mouse through wherever none of its own views is: a
// point is inside only when it lies on a visible, mouse-enabled child.
class nClickThruPage : public nPage {
public:
    using nPage::nPage;

    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;

    const char* getClassName() const override { return "nClickThruPage"; }
    bool isTypeOf(const char* className) const override;
};

// A page whose first view takes the page's size whenever the page is
// resized; that view keeps its top-left corner.
class nPageR : public nPage {
public:
    using nPage::nPage;

    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "nPageR"; }
    bool isTypeOf(const char* className) const override;
};

// A page the user moves by dragging its own ground. Its background image is
// drawn in three parts so that the page may take any height: the top
// kCapRows rows, the middle rows repeated, the bottom kCapRows rows. While
// dragged the page stays reachable: its left edge at most (frame width -
// kKeepVisible), its right edge at least kKeepVisible, its top edge from 0
// to (frame height - kKeepVisible).
class nDraggablePage : public nPage {
public:
    static constexpr VSTGUI::CCoord kCapRows = 50;
    static constexpr VSTGUI::CCoord kKeepVisible = 100;

    using nPage::nPage;

    void drawBackgroundRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& rect) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "nDraggablePage"; }
    bool isTypeOf(const char* className) const override;

private:
    // Moves the page so that its top-left lies at `topLeft` (parent
    // coordinates), kept within the limits above.
    void moveTo(VSTGUI::CPoint topLeft);

    bool dragging = false;
    VSTGUI::CPoint grab;  // the pointer's place within the page at the press
};

// A page that scrolls its views vertically under a bar kBarWidth wide at
// its right edge. Its views are moved by whole pixels. The extent to scroll
// is that of the views on show, so it follows pages inside the box that
// appear and disappear; a value given to the box's tag (the mode whose
// pages it holds) makes it measure again rather than hide it.
class nScrollBox : public nPage {
public:
    static constexpr VSTGUI::CCoord kBarWidth = 13;
    static constexpr VSTGUI::CColor kTrack{0x3a, 0x3a, 0x3a, 0xff};
    static constexpr VSTGUI::CColor kThumb{0xa6, 0x85, 0x57, 0xff};
    static constexpr float kWheelStep = 20;  // pixels per wheel step

    nScrollBox(const VSTGUI::CRect& size, int32_t tag);

    // Pixels scrolled from the top, 0 to scrollRange().
    VSTGUI::CCoord getScrollOffset() const { return offset; }
    void setScrollOffset(VSTGUI::CCoord pixels);
    // How far the views reach below the box's height; 0 when all fit.
    VSTGUI::CCoord scrollRange() const;
    // The thumb within the bar, in the box's own coordinates; empty when
    // everything fits.
    VSTGUI::CRect thumbRect() const;

    void setValue(float v) override;
    void drawRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& updateRect) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "nScrollBox"; }
    bool isTypeOf(const char* className) const override;

private:
    // The lowest bottom edge among the views on show, unscrolled.
    VSTGUI::CCoord contentHeight() const;
    VSTGUI::CRect barRect() const;

    VSTGUI::CCoord offset = 0;
    bool draggingThumb = false;
    VSTGUI::CCoord grabY = 0;  // pointer's distance below the thumb's top at the press
};

// An invisible switch between the setup window's pages and the editor:
// while the left button is held down inside it its value is `selectValue`,
// otherwise the value it had when pressed; the listener hears of it when
// the button is let go.
class nPageSelect : public VSTGUI::CControl {
public:
    nPageSelect(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, float selectValue);

    float getSelectValue() const { return selectValue; }

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "nPageSelect"; }
    bool isTypeOf(const char* className) const override;

private:
    void follow(const VSTGUI::CPoint& where, const int32_t& buttons);

    float selectValue;
    float valueAtPress = 0;
    bool tracking = false;
};

// Loads image `id` as the view's background; false (and no change) when
// `id` is 0 or names no image.
bool setBackgroundFromId(VSTGUI::CView* view, int32_t id);
