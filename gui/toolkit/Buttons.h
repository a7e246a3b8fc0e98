#pragma once
// Buttons. Each draws image 0 (off) or 1 (on) of a two-image strip, or
// without a strip a rounded face in the lit or unlit colour with an
// optional title. "On" means the value lies above the middle of its range;
// buttons set min or max. The wheel does nothing to them.

#include <cstdint>
#include <string>

#include "gui/toolkit/Switches.h"

namespace VSTGUI {

// What the buttons share: the two-image strip and the drawn face.
class CButtonBase : public CControl, public IMultiBitmapControl {
public:
    CButtonBase(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip);

    // Text drawn on the face when there is no strip.
    void setTitle(const char* text);
    const std::string& getTitle() const { return title; }
    void setLitColor(const CColor& c) { litColor = c; setDirty(); }

    bool isOn() const;

    void draw(CDrawContext* context) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CButtonBase"; }
    bool isTypeOf(const char* className) const override;

protected:
    // Whether the button shows itself on; the value by default.
    virtual bool showsOn() const { return isOn(); }
    // Sets min or max; reports and repaints when the value changed.
    void setOn(bool on);

    std::string title;
    CColor litColor = ControlKit::kAccent;
};

// Toggles between min and max at each left press.
class COnOffButton : public CButtonBase {
public:
    COnOffButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr);

    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "COnOffButton"; }
    bool isTypeOf(const char* className) const override;
};

// Max while pressed with the pointer inside, min otherwise; every change
// is reported, so a click reports max then min.
class CKickButton : public CButtonBase {
public:
    CKickButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr);

    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CKickButton"; }
    bool isTypeOf(const char* className) const override;

private:
    bool tracking = false;
};

// Toggles between min and max when released inside; while pressed with
// the pointer inside it shows the state a release would give.
class CMovieButton : public CButtonBase {
public:
    CMovieButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr);

    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "CMovieButton"; }
    bool isTypeOf(const char* className) const override;

protected:
    bool showsOn() const override { return pressedInside ? !isOn() : isOn(); }

private:
    void setPressedInside(bool inside);

    bool tracking = false;
    bool pressedInside = false;
};

}  // namespace VSTGUI
