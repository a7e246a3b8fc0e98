#pragma once
// The editor's small controls: the scale tray's handle, the corner grip of
// the free size, the band highlight sheet, the sliders that show their
// value as text, and the list of setup pages. Like the toolkit's controls
// they draw from what they are given and report through their listener,
// mouse gestures bracketed by beginEdit/endEdit.

#include <cstdint>
#include <string>
#include <string_view>

#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/Pages.h"
#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/Sliders.h"

// For the length of its life, the control reports under `reportTag`: its
// tag is switched, and put back when the object goes. A control that
// speaks for two tags (an action beside its own value) reports its second
// one this way, so the listener sees that tag on the control itself.
class ReportingAs {
public:
    ReportingAs(VSTGUI::CControl& control, int32_t reportTag);
    ~ReportingAs();
    ReportingAs(const ReportingAs&) = delete;
    ReportingAs& operator=(const ReportingAs&) = delete;

private:
    VSTGUI::CControl& control;
    int32_t ownTag;
};

// The scale tray's handle: a momentary button (max while pressed inside,
// min at release, every change reported) whose strip shows the tray's
// state, frame 0 closed and frame 1 open. The frame stands centred in the
// view's height.
class SpecialArrows : public VSTGUI::CKickButton {
public:
    SpecialArrows(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, VSTGUI::CBitmap* strip,
                  VSTGUI::CCoord heightOfOneImage);

    void setTrayOpen(bool open);
    bool isTrayOpen() const { return trayOpen; }
    int32_t frameShown() const { return trayOpen ? 1 : 0; }

    void draw(VSTGUI::CDrawContext* context) override;

    const char* getClassName() const override { return "SpecialArrows"; }
    bool isTypeOf(const char* className) const override;

private:
    bool trayOpen = false;
};

// The grip in the window's bottom-right corner that sets the free width.
// During a left-button drag every movement along x is reported as the
// value: the pixels moved since the previous report (movements that do
// not change x report nothing). A collapsed rectangle (the free size not
// in use) draws nothing and takes no mouse.
class nResizeBox : public VSTGUI::CControl {
public:
    nResizeBox(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag);

    bool isDragging() const { return dragging; }

    void draw(VSTGUI::CDrawContext* context) override;
    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "nResizeBox"; }
    bool isTypeOf(const char* className) const override;

private:
    bool dragging = false;
    VSTGUI::CCoord lastX = 0;
};

// A sheet over a band's views that lights up when its band is the chosen
// one: while its value equals its number it shows its highlight image at
// its top-left, otherwise nothing of its own. Unlike other pages it stays
// on show whatever its value. Its background is a bitmap of its own size,
// transparent, for views that paint into it.
class nHighlightSheet : public nPage {
public:
    nHighlightSheet(const VSTGUI::CRect& size, int32_t tag, int32_t highlightId, int32_t band, int32_t number);

    int32_t getBand() const { return band; }
    int32_t getNumber() const { return number; }
    int32_t getHighlightId() const { return highlightId; }
    bool isHighlightShown() const;
    // The bitmap kept as the background.
    VSTGUI::CDIB* getSheet() const;

    void setValue(float v) override;
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& rect) override;

    const char* getClassName() const override { return "nHighlightSheet"; }
    bool isTypeOf(const char* className) const override;

private:
    void makeSheet();

    int32_t highlightId;
    int32_t band;
    int32_t number;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> highlight;
};

// A slider that shows its value as a text the editor sets ("+2.0 dB") in a
// small box beside its handle: above it (below when there is no room) on
// a vertical slider, above it on a horizontal one. Whether the box is on
// show is the readout mode's: always, while the pointer is over the slider
// or dragging it, or never.
//
// The slider is built for a column (its handle's track, the rectangle the
// layout gives); the view reaches kReadoutRoom beyond it on both sides
// across its axis so that the box, wider than a narrow column, is still
// the slider's own to draw. Only the column takes the mouse. The slider
// draws no groove of its own: its background image when it has one, else
// what lies below it shows, and the handle.
//
// The second-function modifier (modifierRoles().second) held at the press
// that starts a gesture puts the gesture in compensating mode, for the
// controller to read while it lasts; the next press decides again.
class CEQSlider : public VSTGUI::CSlider {
public:
    enum class Readout : int32_t { kAlways, kWhileActive, kNever };
    static constexpr VSTGUI::CCoord kReadoutRoom = 16;
    static constexpr VSTGUI::CCoord kReadoutFontSize = 10;
    static constexpr VSTGUI::CCoord kReadoutHeight = 14;
    static constexpr VSTGUI::CCoord kReadoutGap = 2;

    // `style` must name the axis (kVertical or kHorizontal).
    CEQSlider(const VSTGUI::CRect& column, VSTGUI::CControlListener* listener, int32_t tag, int32_t style,
              VSTGUI::CBitmap* handle = nullptr, VSTGUI::CBitmap* background = nullptr);

    void setDisplayText(std::string_view text);
    const std::string& getDisplayText() const { return displayText; }
    void setReadout(Readout mode);
    Readout getReadout() const { return readout; }
    // Whether the box is on show now: by the mode, the pointer and the drag.
    bool isReadoutShown() const;
    // The box's place for the present value and text (the parent's
    // coordinates); empty without text.
    VSTGUI::CRect readoutRect() const;

    bool isCompensating() const { return compensating; }
    bool isHovered() const { return hovered; }
    bool isDragging() const { return tracking; }
    // The slider's column: the view less the room for the box.
    VSTGUI::CRect getColumn() const;
    // Puts the handle's travel `range` pixels long from `offset` along the
    // axis (the layout's offsetx/offsety and rangehandle); the minimum lies
    // at the end the style chooses.
    void setTravel(VSTGUI::CCoord offset, VSTGUI::CCoord range);

    // `rect` is the whole view, room included.
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseEntered(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CEQSlider"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CEQSlider() override;

private:
    void drawReadout(VSTGUI::CDrawContext* context);

    std::string displayText;
    Readout readout = Readout::kWhileActive;
    bool hovered = false;
    bool compensating = false;
    VSTGUI::CFontDesc* font;
};

class CEQVSlider : public CEQSlider {
public:
    // `style` gains kVertical.
    CEQVSlider(const VSTGUI::CRect& column, VSTGUI::CControlListener* listener, int32_t tag, int32_t style,
               VSTGUI::CBitmap* handle = nullptr, VSTGUI::CBitmap* background = nullptr);
    const char* getClassName() const override { return "CEQVSlider"; }
    bool isTypeOf(const char* className) const override;
};

class CEQHSlider : public CEQSlider {
public:
    // `style` gains kHorizontal.
    CEQHSlider(const VSTGUI::CRect& column, VSTGUI::CControlListener* listener, int32_t tag, int32_t style,
               VSTGUI::CBitmap* handle = nullptr, VSTGUI::CBitmap* background = nullptr);
    const char* getClassName() const override { return "CEQHSlider"; }
    bool isTypeOf(const char* className) const override;
};

// The setup panel's list of pages: one row for each page, then a row that
// opens the setup wizard below a rule at the list's foot. The value is the
// page on show (0 to kPageCount - 1) and its row is lit. A left click on a
// page's row makes that page the value and tells the listener; a click on
// the wizard's row tells the listener under `wizardTag` with the value 1
// and leaves the list's own value as it was.
class SetupWindow : public VSTGUI::CControl {
public:
    static constexpr int32_t kPageCount = 6;
    static constexpr const char* kPageNames[kPageCount] = {"DSP",     "Render DSP",   "GUI",
                                                           "Routing", "Global Prefs", "About/Credits"};
    static constexpr const char* kWizardName = "Setup Wizard...";
    static constexpr VSTGUI::CCoord kRowHeight = 22;
    // The rows start below the instance name field the panel shows at the
    // list's top.
    static constexpr VSTGUI::CCoord kFirstRowTop = 28;
    static constexpr VSTGUI::CCoord kFontSize = 13;

    SetupWindow(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, int32_t wizardTag);

    int32_t getWizardTag() const { return wizardTag; }
    // The page whose row is lit: the value rounded, -1 outside the pages.
    int32_t currentPage() const;
    // Row `row` (0 to kPageCount - 1 for the pages, kPageCount for the
    // wizard) in the parent's coordinates.
    VSTGUI::CRect rowRect(int32_t row) const;
    // The row under a point of the parent's coordinates; -1 for none.
    int32_t rowAt(const VSTGUI::CPoint& where) const;
    int32_t hoveredRow() const { return hovered; }

    void setValue(float v) override;
    // The mouse area follows the view: the wizard's row moves with the foot.
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseExited(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "SetupWindow"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~SetupWindow() override;

private:
    void setHovered(int32_t row);

    int32_t wizardTag;
    int32_t hovered = -1;
    VSTGUI::CFontDesc* font;
};

// ---- Makers for the layout's elements ----
VSTGUI::CView* makeSpecialArrows(const LayoutElementArgs& args);
VSTGUI::CView* makeResizeBox(const LayoutElementArgs& args);
VSTGUI::CView* makeHighlightSheet(const LayoutElementArgs& args);
VSTGUI::CView* makeEQVSlider(const LayoutElementArgs& args);
VSTGUI::CView* makeEQHSlider(const LayoutElementArgs& args);
VSTGUI::CView* makeSetupWindow(const LayoutElementArgs& args);
