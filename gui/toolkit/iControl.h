#pragma once
// Objects that answer tag-addressed calls without being controls (pages),
// and the registry entry that lets them stand among controls.

#include <cstdint>

#include "gui/toolkit/CControl.h"

namespace VSTGUI {

// Marks a view that may be hidden and shown as a whole.
class iCGinterface {
public:
    virtual ~iCGinterface() = default;
    virtual void setHidden(bool state) = 0;
    virtual bool isHidden() const = 0;
};

// A view-owning object with a tag and a value.
class iControl {
public:
    virtual ~iControl() = default;
    virtual int32_t getTag() const = 0;
    virtual float getValue() const = 0;
    virtual void setValue(float value) = 0;
    // Forwarded to the view behind the object.
    virtual void invalidControl() = 0;
    virtual void setControlSize(const CRect& rect) = 0;
    virtual CRect getControlSize() const = 0;
    virtual CRect getControlMouseableArea() const = 0;
};

// A control with tag 0 and the object's rectangle that forwards its value
// to one iControl; registries hold it under the object's tag. The wrapper
// does not own the object and is not part of any view tree.
class iControlWrapper : public CControl {
public:
    explicit iControlWrapper(iControl* target);

    iControl* getTarget() const { return target; }
    int32_t getTargetTag() const { return target->getTag(); }
    // Sets the object's value; the wrapper's own value follows.
    void setValue(float v) override;
    // Reads the object's value now.
    float readValue() const { return target->getValue(); }
    void invalid() override { target->invalidControl(); }
    void setViewSize(const CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "iControlWrapper"; }
    bool isTypeOf(const char* className) const override;

private:
    iControl* target;
};

}  // namespace VSTGUI
