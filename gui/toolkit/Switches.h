#pragma once
// Controls that choose one of a few positions, and what every standard
// control shares: the style bits of axis and origin, film strips of images
// (IMultiBitmapControl) and the flat look drawn when no bitmap is given.
//
// A film strip holds its images stacked vertically, all of one height; the
// control draws one of them at its top-left.

#include <cstdint>

#include "gui/toolkit/CControl.h"

namespace VSTGUI {

// Style bits of sliders, rockers and meters: the axis, and for sliders the
// end where the minimum lies (bottom or left when none is given).
enum CControlStyle : int32_t {
    kHorizontal = 1 << 0,
    kVertical = 1 << 1,
    kLeft = 1 << 2,
    kRight = 1 << 3,
    kTop = 1 << 4,
    kBottom = 1 << 5,
};

// A control that draws one image of a film strip.
class IMultiBitmapControl {
public:
    virtual ~IMultiBitmapControl() = default;

    // The number of images in the strip; 0 lets the strip's height decide.
    virtual void setNumSubPixmaps(int32_t count) { subPixmaps = count > 0 ? count : 0; }
    int32_t getNumSubPixmaps() const { return subPixmaps; }
    // The height of one image; 0 lets the strip and the count decide.
    virtual void setHeightOfOneImage(CCoord height) { heightOfOneImage = height > 0 ? height : 0; }
    CCoord getHeightOfOneImage() const { return heightOfOneImage; }

protected:
    struct StripLayout {
        int32_t count = 1;
        CCoord imageHeight = 0;
    };
    // How `strip` divides: by the count when set (height = strip / count),
    // else by the image height when set, else by `viewHeight`.
    StripLayout stripLayout(const CBitmap* strip, CCoord viewHeight) const;
    // Draws image `index` (clamped to the strip) with its top-left at that
    // of `dest`, cut to the size of `dest` and of one image.
    static void drawStripImage(CDrawContext* context, CBitmap* strip, const StripLayout& layout, int32_t index,
                               const CRect& dest);

    int32_t subPixmaps = 0;
    CCoord heightOfOneImage = 0;
};

// What the standard controls share: the flat dark look drawn without
// bitmaps, and value fractions.
namespace ControlKit {
constexpr CColor kFace{52, 56, 64, 255};       // knob bodies, buttons, handles
constexpr CColor kTrack{30, 32, 37, 255};      // wells, unlit segments
constexpr CColor kGroove{60, 64, 73, 255};     // the unlit travel of knobs and sliders
constexpr CColor kOutline{92, 98, 110, 255};
constexpr CColor kAccent{232, 148, 56, 255};   // values and lit states
constexpr CColor kPointer{236, 238, 242, 255};
constexpr CColor kText{214, 218, 224, 255};

// A rectangle with corners rounded by `radius` (limited to half the
// shorter side), anti-aliased.
void drawRoundRect(CDrawContext* context, const CRect& rect, CCoord radius, CDrawStyle style);
// The control's value as a fraction of its range, in [0, 1].
float normalizedValue(const CControl& control);
// The value at a fraction of the control's range.
float valueAt(const CControl& control, float fraction);
// Sets the value, bounded to the range; when it moved, tells the listener
// and repaints.
void changeValue(CControl& control, float value);
// Ends the drag that `tracking` marks: the cursor back to the arrow and the
// edit bracket closed. "Not handled" when no drag was running.
CMouseEventResult finishDrag(CControl& control, bool& tracking);
}  // namespace ControlKit

// What the vertical and horizontal switches share: N positions along one
// axis, value = min + (max - min) * position / (N - 1).
class CSwitchBase : public CControl, public IMultiBitmapControl {
public:
    // `positions` 0: as many as the strip has images (2 without a strip).
    CSwitchBase(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions, CBitmap* strip,
                bool horizontal);

    int32_t getPositionCount() const;
    // The position the value stands for.
    int32_t getPosition() const;

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;
    // One position per step, up or right to higher positions.
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CSwitchBase"; }
    bool isTypeOf(const char* className) const override;

protected:
    int32_t positionAt(const CPoint& where) const;
    // Sets the value of `position`; reports and repaints when it changed.
    void choosePosition(int32_t position);

    bool horizontal;
    bool tracking = false;
};

// Positions top to bottom; the strip holds one image per position.
class CVerticalSwitch : public CSwitchBase {
public:
    CVerticalSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions = 0,
                    CBitmap* strip = nullptr);
    const char* getClassName() const override { return "CVerticalSwitch"; }
    bool isTypeOf(const char* className) const override;
};

// Positions left to right; the strip still stacks its images vertically.
class CHorizontalSwitch : public CSwitchBase {
public:
    CHorizontalSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t positions = 0,
                      CBitmap* strip = nullptr);
    const char* getClassName() const override { return "CHorizontalSwitch"; }
    bool isTypeOf(const char* className) const override;
};

// A spring-loaded three-state switch: while pressed on the upper (right)
// half it holds max, on the lower (left) half min, and it returns to the
// middle on release. Min and max start at -1 and +1. The strip has three
// images: min, middle, max.
class CRockerSwitch : public CControl, public IMultiBitmapControl {
public:
    CRockerSwitch(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr,
                  int32_t style = kVertical);

    int32_t getStyle() const { return style; }
    // -1 for min, 0 for the middle, +1 for max.
    int32_t getState() const;

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CRockerSwitch"; }
    bool isTypeOf(const char* className) const override;

protected:
    int32_t stateAt(const CPoint& where) const;
    void setState(int32_t state);

    int32_t style;
    bool tracking = false;
};

}  // namespace VSTGUI
