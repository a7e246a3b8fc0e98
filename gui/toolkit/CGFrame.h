#pragma once
// The editor's frame. Before any view sees a press, the editor's frame
// callback may claim it (a press on the graph's handles, say); then the
// modal view, then the children top-most first, as in CFrame.

#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/iControl.h"

namespace VSTGUI {

class iVSTFrameCallbackInterface {
public:
    virtual ~iVSTFrameCallbackInterface() = default;
    // The view that should answer at a frame point, or null for the usual search.
    virtual CView* viewAtPoint(const CPoint& where) = 0;
    // Offered every press first; true claims it (no further mouse calls).
    virtual bool frameMouseDown(CPoint& where, const int32_t& buttons) = 0;
};

class CGFrame : public CFrame, public iCGinterface {
public:
    CGFrame(const CRect& size, VSTGUIEditorInterface* editor, iVSTFrameCallbackInterface* callback = nullptr);

    void setFrameCallback(iVSTFrameCallbackInterface* c) { callback = c; }
    iVSTFrameCallbackInterface* getFrameCallback() const { return callback; }

    // The view under a frame point: the callback's answer, else the deepest
    // visible view there.
    CView* viewAt(const CPoint& where) const;

    void setHidden(bool state) override;
    bool isHidden() const override { return hidden; }

    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    void drawRect(CDrawContext* context, const CRect& updateRect) override;

    const char* getClassName() const override { return "CGFrame"; }
    bool isTypeOf(const char* className) const override;

private:
    iVSTFrameCallbackInterface* callback;
    bool hidden = false;
};

}  // namespace VSTGUI
