#pragma once
// A view that holds child views. Children lie in the container's own
// coordinates (their size rectangles are relative to its top-left); later
// children lie on top of earlier ones for drawing and for the mouse.
// The container owns one reference to each child.

#include <vector>

#include "gui/toolkit/CView.h"

namespace VSTGUI {

class CViewContainer : public CView {
public:
    explicit CViewContainer(const CRect& size);

    // Adds a child on top; the container takes over the caller's reference.
    virtual bool addView(CView* view);
    // Removes a child; with `withForget` its reference is dropped.
    virtual bool removeView(CView* view, bool withForget = true);
    virtual bool removeAll(bool withForget = true);
    int32_t getNbViews() const { return static_cast<int32_t>(children.size()); }
    CView* getView(int32_t index) const;
    bool isChild(const CView* view) const;
    // The top-most visible child under a point in this container's own
    // coordinates (or, with `deep`, the deepest such view); null when none.
    CView* getViewAt(const CPoint& where, bool deep = false) const;

    void setBackgroundColor(const CColor& c) { backgroundColor = c; }
    CColor getBackgroundColor() const { return backgroundColor; }
    // Draws the background (bitmap, else colour unless transparent) over a
    // rectangle in the container's own coordinates.
    virtual void drawBackgroundRect(CDrawContext* context, const CRect& rect);

    // Drawing through an off-screen bitmap, on or off. The bitmap is kept
    // between draws while drawing through it stays on.
    void setOffscreenDrawing(bool state) {
        offscreenDrawing = state;
        if (!state) offscreenTarget = SharedPointer<CDIB>();
    }
    bool getOffscreenDrawing() const { return offscreenDrawing; }

    void draw(CDrawContext* context) override;
    void drawRect(CDrawContext* context, const CRect& updateRect) override;
    bool isDirty() const override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseExited(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;
    bool onDrop(CDragContainer* drag, const CPoint& where) override;
    bool hitTest(const CPoint& where, const int32_t& buttons = -1) override;
    CMessageResult notify(CBaseObject* sender, const char* message) override;
    bool attached(CView* parent) override;
    bool removed(CView* parent) override;

    const char* getClassName() const override { return "CViewContainer"; }
    bool isTypeOf(const char* className) const override;

    // The child that took the current mouse press, if any.
    CView* getMouseDownView() const { return mouseDownView; }

protected:
    ~CViewContainer() override;
    // Mouse down on the children, top-most first; the shared dispatch of
    // containers and frames. `where` is in this container's own coordinates.
    CMouseEventResult dispatchMouseDown(CPoint& where, const int32_t& buttons);
    // Draws the children meeting `update` (own coordinates) with the
    // context already moved to this container's origin.
    void drawChildren(CDrawContext* context, const CRect& update);
    // The cleared bitmap to draw into off screen, the size of the container.
    CDIB* offscreenBitmap();

    std::vector<CView*> children;
    CView* mouseDownView = nullptr;
    CView* mouseOverView = nullptr;  // the child that last got onMouseEntered
    CColor backgroundColor = kBlackCColor;
    bool offscreenDrawing = false;
    SharedPointer<CDIB> offscreenTarget;
};

}  // namespace VSTGUI
