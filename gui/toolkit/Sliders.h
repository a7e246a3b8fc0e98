#pragma once
// Linear sliders. The handle's leading edge (its top, or its left) travels
// between two positions measured from the view's top (left); by default
// from 0 to the view's length less the handle's. The value follows the
// pointer: pressed on the handle, the handle keeps the spot where it was
// grabbed; pressed beside it, the handle's centre jumps to the pointer.
// With the fine modifier held the value moves ten times slower than the
// pointer from where the modifier took effect. A double click resets the
// default; the wheel steps by the wheel increment (a tenth when fine).

#include <cstdint>

#include "gui/toolkit/Switches.h"

namespace VSTGUI {

class CSlider : public CControl {
public:
    static constexpr float kFineFactor = 10;

    // `style`: kHorizontal or kVertical, with the end of the minimum (kLeft
    // or kRight, kTop or kBottom; left or bottom when none). Without a
    // `handle` bitmap a handle is drawn.
    CSlider(const CRect& size, CControlListener* listener, int32_t tag, int32_t style = kVertical | kBottom,
            CBitmap* handle = nullptr, CBitmap* background = nullptr);

    void setStyle(int32_t style);
    int32_t getStyle() const { return style; }
    bool isHorizontal() const { return (style & kHorizontal) != 0; }

    void setHandle(CBitmap* bitmap);
    CBitmap* getHandle() const { return handle.get(); }
    // The handle's length along the axis: the bitmap's, else a drawn size.
    CCoord getHandleLength() const;
    // Where the handle's leading edge lies at the minimum and maximum of
    // its travel, from the view's top (or left); negative: automatic.
    void setMinPos(CCoord pos) { minPos = pos; setDirty(); }
    void setMaxPos(CCoord pos) { maxPos = pos; setDirty(); }
    CCoord getMinPos() const;
    CCoord getMaxPos() const;
    // The handle's rectangle for the present value, in the view's parent's
    // coordinates.
    CRect getHandleRect() const;

    void setTrackColor(const CColor& c) { trackColor = c; setDirty(); }
    void setValueColor(const CColor& c) { valueColor = c; setDirty(); }
    void setHandleColor(const CColor& c) { handleColor = c; setDirty(); }

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CSlider"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CSlider() override;
    // The pointer's position along the axis, from the view's top (left).
    CCoord along(const CPoint& where) const;
    // Handle position (leading edge) and fraction of the range, both ways.
    float fractionAtHandlePos(CCoord pos) const;
    CCoord handlePosAt(float fraction) const;

    int32_t style = kVertical | kBottom;
    SharedPointer<CBitmap> handle;
    CCoord minPos = -1;
    CCoord maxPos = -1;
    CColor trackColor = ControlKit::kGroove;
    CColor valueColor = ControlKit::kAccent;
    CColor handleColor = ControlKit::kFace;

    // Drag: coarse, the handle sits at pointer - grabOffset; fine, the value
    // moves from fineValue by the pointer's travel from fineAnchor / 10.
    bool tracking = false;
    bool fineMode = false;
    CCoord grabOffset = 0;
    CCoord fineAnchor = 0;
    CCoord lastAlong = 0;
    float fineValue = 0;
};

class CVerticalSlider : public CSlider {
public:
    // `origin`: kBottom (minimum at the bottom) or kTop.
    CVerticalSlider(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* handle = nullptr,
                    CBitmap* background = nullptr, int32_t origin = kBottom);
    const char* getClassName() const override { return "CVerticalSlider"; }
    bool isTypeOf(const char* className) const override;
};

class CHorizontalSlider : public CSlider {
public:
    // `origin`: kLeft (minimum at the left) or kRight.
    CHorizontalSlider(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* handle = nullptr,
                      CBitmap* background = nullptr, int32_t origin = kLeft);
    const char* getClassName() const override { return "CHorizontalSlider"; }
    bool isTypeOf(const char* className) const override;
};

}  // namespace VSTGUI
