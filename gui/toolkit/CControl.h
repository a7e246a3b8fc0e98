#pragma once
// A view with a tag and a value that reports to one listener. The value
// lies in [min, max] after bounding; `valueChanged` tells the listener.
// Edits made by the mouse are bracketed by beginEdit/endEdit, which reach
// the listener and, through the frame, the editor (the host's touch marks).
//
// Dirtiness: a control is dirty when its value differs from its old value
// or its dirty flag is set. setDirty(true) moves the old value away from
// the value (to 0 when the value is -1, else -1); setDirty(false) copies
// the value to the old value.

#include <cstdint>

#include "gui/toolkit/CView.h"

namespace VSTGUI {

class CControl;

class CControlListener {
public:
    virtual ~CControlListener() = default;
    virtual void valueChanged(CControl* control) = 0;
    // Offered every click whose button word holds a modifier or the right
    // button; returning 1 consumes it.
    virtual int32_t controlModifierClicked(CControl* control, int32_t buttons) {
        (void)control;
        (void)buttons;
        return 0;
    }
    virtual void controlBeginEdit(CControl* control) { (void)control; }
    virtual void controlEndEdit(CControl* control) { (void)control; }
};

class CControl : public CView {
public:
    CControl(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0,
             CBitmap* background = nullptr);

    virtual void setValue(float v) { value = v; }
    float getValue() const { return value; }
    virtual void setMin(float v) { vmin = v; }
    float getMin() const { return vmin; }
    virtual void setMax(float v) { vmax = v; }
    float getMax() const { return vmax; }
    void setOldValue(float v) { oldValue = v; }
    float getOldValue() const { return oldValue; }
    void setDefaultValue(float v) { defaultValue = v; }
    float getDefaultValue() const { return defaultValue; }
    virtual void setTag(int32_t t) { tag = t; }
    int32_t getTag() const { return tag; }
    void setListener(CControlListener* l) { listener = l; }
    CControlListener* getListener() const { return listener; }
    void setWheelInc(float v) { wheelInc = v; }
    float getWheelInc() const { return wheelInc; }
    void setBackOffset(const CPoint& p) { backOffset = p; }
    const CPoint& getBackOffset() const { return backOffset; }

    // Clamps the value to [min, max].
    virtual void bounceValue();
    // Tells the listener that the value changed.
    virtual void valueChanged();
    virtual void beginEdit();
    virtual void endEdit();
    bool isEditing() const { return editDepth > 0; }

    // True when this press follows the previous one within the double-click
    // time; it also records the press time. Used by controls that reset to
    // their default on a double click.
    bool checkDefaultValue(int32_t buttons);
    // The double-click time in milliseconds (at least 250).
    static uint32_t doubleClickTime();
    static void setDoubleClickTime(uint32_t milliseconds);

    bool isDirty() const override;
    void setDirty(bool state = true) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CControl"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CControl() override;

    CControlListener* listener;
    int32_t tag;
    float value = 0.0f;
    float oldValue = 1.0f;
    float defaultValue = 0.5f;
    float vmin = 0.0f;
    float vmax = 1.0f;
    float wheelInc = 0.1f;
    uint64_t lastMouseDownMs = 0;
    uint32_t delta;
    CPoint backOffset;
    int32_t editDepth = 0;
};

// Milliseconds of a steady clock, for double clicks and animations.
uint64_t toolkitMilliseconds();

}  // namespace VSTGUI
