#pragma once
// Rotary controls. A knob is dragged vertically: moving up by the drag
// range (200 px) travels the whole range of the value, and with the fine
// modifier held ten times less. A double click resets it to its default;
// the wheel steps it by the wheel increment (a tenth of it when fine).
//
// Angles are in degrees, counter-clockwise from three o'clock; the value
// travels clockwise from the start angle through the range angle (by
// default from 225 degrees, lower left, through 270 to lower right).

#include <cstdint>

#include "gui/toolkit/Switches.h"

namespace VSTGUI {

class CKnob : public CControl {
public:
    // `background` is drawn behind the pointer; `handle`, when given, is
    // drawn as the pointer (centred on the point of the value's angle).
    CKnob(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* background = nullptr,
          CBitmap* handle = nullptr, const CPoint& backgroundOffset = CPoint());

    static constexpr CCoord kDefaultDragRange = 200;
    static constexpr float kFineFactor = 10;

    void setStartAngle(float degrees) { startAngle = degrees; setDirty(); }
    float getStartAngle() const { return startAngle; }
    void setRangeAngle(float degrees) { rangeAngle = degrees; setDirty(); }
    float getRangeAngle() const { return rangeAngle; }
    // Pixels of vertical drag for the whole range (fine: ten times more).
    void setDragRange(CCoord pixels) { dragRange = pixels > 1 ? pixels : 1; }
    CCoord getDragRange() const { return dragRange; }

    void setHandleBitmap(CBitmap* bitmap);
    CBitmap* getHandleBitmap() const { return handle.get(); }
    // Distance between the rim and the outer end of the pointer.
    void setInsetValue(CCoord pixels) { inset = pixels; setDirty(); }
    CCoord getInsetValue() const { return inset; }

    // Colours of the drawn knob: pointer, the pointer's shadow (transparent
    // for none), the arc of the value, the arc behind it and the body.
    void setColorHandle(const CColor& c) { handleColor = c; setDirty(); }
    CColor getColorHandle() const { return handleColor; }
    void setColorShadowHandle(const CColor& c) { shadowColor = c; setDirty(); }
    CColor getColorShadowHandle() const { return shadowColor; }
    void setCoronaColor(const CColor& c) { coronaColor = c; setDirty(); }
    CColor getCoronaColor() const { return coronaColor; }
    void setTrackColor(const CColor& c) { trackColor = c; setDirty(); }
    void setBodyColor(const CColor& c) { bodyColor = c; setDirty(); }
    // The value's arc from the middle of the range (bipolar values) rather
    // than from the start.
    void setCoronaFromCenter(bool state) { coronaFromCenter = state; setDirty(); }

    // The angle in degrees that stands for `fraction` of the range.
    float angleOf(float fraction) const { return startAngle - rangeAngle * fraction; }

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CKnob"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CKnob() override;
    // The body, the arcs and the pointer, without bitmaps.
    void drawVectorKnob(CDrawContext* context, float fraction);
    void drawPointer(CDrawContext* context, float fraction);

    SharedPointer<CBitmap> handle;
    float startAngle = 225;
    float rangeAngle = 270;
    CCoord dragRange = kDefaultDragRange;
    CCoord inset = 3;
    CColor handleColor = ControlKit::kPointer;
    CColor shadowColor = kTransparentCColor;
    CColor coronaColor = ControlKit::kAccent;
    CColor trackColor = ControlKit::kGroove;
    CColor bodyColor = ControlKit::kFace;
    bool coronaFromCenter = false;

    bool tracking = false;
    CCoord lastY = 0;
};

// A knob drawn from a film strip: image round(fraction * (N - 1)), or the
// reverse order when inverted. Without a strip it draws like CKnob.
class CAnimKnob : public CKnob, public IMultiBitmapControl {
public:
    // `subPixmaps` 0: as many images as the strip holds at the view's height.
    CAnimKnob(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr,
              int32_t subPixmaps = 0, CCoord heightOfOneImage = 0, const CPoint& backgroundOffset = CPoint());

    void setInverseBitmap(bool state) { inverse = state; setDirty(); }
    bool getInverseBitmap() const { return inverse; }
    // The image the value shows.
    int32_t getImageIndex() const;

    void draw(CDrawContext* context) override;

    const char* getClassName() const override { return "CAnimKnob"; }
    bool isTypeOf(const char* className) const override;

private:
    bool inverse = false;
};

}  // namespace VSTGUI
