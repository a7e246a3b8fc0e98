#pragma once
// A control that paints itself into a back buffer of its own size and
// shows the front buffer. Painting happens only when the control is dirty
// or its buffers are new; drawing a clean control is a single blit.
// Subclasses implement paint().

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CDIB.h"

namespace VSTGUI {

class nControl : public CControl {
public:
    nControl(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0);

    CDIB* getBackBuffer() const { return back; }
    CDIB* getFrontBuffer() const { return front; }
    // Exchanges the buffers: what was painted becomes what is shown.
    void swapBuffers();
    // Forces a repaint of the buffers at the next draw.
    void invalidateBuffers() { buffersStale = true; }

    void draw(CDrawContext* context) override;
    void setViewSize(const CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "nControl"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~nControl() override;
    // Paints the control into `context`, a context over the back buffer
    // with the origin at the control's top-left.
    virtual void paint(CDrawContext* context) = 0;

private:
    void makeBuffers();

    CDIB* back = nullptr;
    CDIB* front = nullptr;
    bool buffersStale = true;
};

}  // namespace VSTGUI
