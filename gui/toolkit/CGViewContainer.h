#pragma once
// Containers that can be hidden as a whole. A hidden container draws
// nothing, is never dirty and answers "not handled" to every mouse call,
// so the views below it get the mouse. nCGViewContainer owns a CDIB of its
// own size as background, for views that paint into it directly.

#include "gui/toolkit/CViewContainer.h"
#include "gui/toolkit/iControl.h"

namespace VSTGUI {

class CGViewContainer : public CViewContainer, public iCGinterface {
public:
    explicit CGViewContainer(const CRect& size, bool hidden = false);

    void setHidden(bool state) override;
    bool isHidden() const override { return hidden; }

    void drawRect(CDrawContext* context, const CRect& updateRect) override;
    bool isDirty() const override { return !hidden && CViewContainer::isDirty(); }
    bool checkUpdate(const CRect& updateRect) const override { return !hidden && CViewContainer::checkUpdate(updateRect); }
    bool hitTest(const CPoint& where, const int32_t& buttons = -1) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CGViewContainer"; }
    bool isTypeOf(const char* className) const override;

protected:
    bool hidden;
};

class nCGViewContainer : public CGViewContainer {
public:
    explicit nCGViewContainer(const CRect& size, bool hidden = false);
    CDIB* getDIB() const { return dib; }
    void setViewSize(const CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "nCGViewContainer"; }
    bool isTypeOf(const char* className) const override;

private:
    CDIB* dib = nullptr;  // the background; held through CView::background
};

}  // namespace VSTGUI
