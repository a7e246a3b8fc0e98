#pragma once
// The root of a view tree and owner of its native window. The frame routes
// the window's input to its children, keeps the focus view, a modal view
// and the view that took the current press, draws invalid areas double
// buffered, and forwards the controls' edit brackets to the editor.
//
// Without a platform window (no factory installed, or none asked for) a
// frame is headless: invalid areas collect in getInvalidRect() and
// drawInto() paints the tree into any CDIB.

#include <cstdint>
#include <memory>

#include "gui/toolkit/CViewContainer.h"
#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

class VSTGUIEditorInterface {
public:
    virtual ~VSTGUIEditorInterface() = default;
    // The host's touch bracket of a parameter.
    virtual void beginEdit(int32_t index) { (void)index; }
    virtual void endEdit(int32_t index) { (void)index; }
    // Work the editor does while a control loops (menus, drags).
    virtual void doIdleStuff() {}
};

class CFrame : public CViewContainer, public IPlatformFrameCallback {
public:
    // A frame of `size` for `editor` (may be null). No window yet. The
    // frame's own rectangle always starts at (0, 0).
    CFrame(const CRect& size, VSTGUIEditorInterface* editor);

    // Opens the native window inside `parent` (0: top level). False when no
    // window system is available; the frame then stays headless.
    bool open(uintptr_t parent);
    // Closes the native window; the views stay.
    void close();
    bool isOpen() const { return platform != nullptr && !windowGone; }
    IPlatformFrame* getPlatformFrame() const { return platform.get(); }

    // Shows the window enlarged by a whole factor (a dense screen); views
    // keep drawing and receiving input at the frame's size. Kept for a
    // window opened later; false (and 1 kept) when the window cannot.
    bool setScale(int32_t factor);
    // The factor the window shows; what was asked for while headless.
    int32_t getScale() const { return scale; }

    VSTGUIEditorInterface* getEditor() const { return editor; }
    bool setSize(CCoord width, CCoord height);
    // The frame's top-left on the screen; (0, 0) when headless.
    bool getPosition(CCoord& x, CCoord& y) const;

    // ---- Focus, modal view, drawing on top ----
    CView* getFocusView() const { return focusView; }
    // Moves the focus; the old view gets looseFocus, the new one takeFocus.
    void setFocusView(CView* view);
    // While a modal view is set, it alone gets the mouse. False when another
    // modal view is already set.
    bool setModalView(CView* view);
    CView* getModalView() const { return modalView; }
    // One extra view drawn over everything (not owned).
    void setViewOnTop(CView* view) { viewOnTop = view; }
    CView* getViewOnTop() const { return viewOnTop; }

    // ---- Mouse and cursor ----
    bool getCurrentMouseLocation(CPoint& where) const;
    int32_t getCurrentMouseButtons() const;
    void setCursor(CCursorType type);
    void showCursor(bool visible);
    // Moves the pointer to a point in frame coordinates.
    void setCursorPosition(const CPoint& where);
    uint32_t getDoubleClickTime() const;

    // ---- Edit brackets (from controls) ----
    void beginEdit(int32_t tag);
    void endEdit(int32_t tag);

    // ---- Drawing ----
    // Marks a rectangle (frame coordinates) for repainting.
    void invalidRect(const CRect& rect);
    CRect getInvalidRect() const { return invalidArea; }
    // Paints everything into `target` (its size or the frame's, whichever is
    // smaller) and forgets the invalid area. Works with or without window.
    void drawInto(CDIB* target);
    // Paints the part of the tree that meets `updateRect` into `context`,
    // then the view on top.
    void drawRect(CDrawContext* context, const CRect& updateRect) override;
    void draw(CDrawContext* context) override;

    // ---- Idle ----
    // Handles window events, repaints, and runs due timers.
    void idle();

    // ---- Popups ----
    // Runs a toolkit-drawn popup; false when the frame has no window.
    bool runPopup(IPopupClient* client);

    // ---- Input (the platform calls these; tests may too) ----
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons) override;
    CMouseEventResult onMouseExited(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;
    int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override;
    int32_t onKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers) override;

    void platformDrawRect(CDrawContext* context, const CRect& rect) override;
    CMouseEventResult platformOnMouseDown(CPoint& where, const int32_t& buttons) override { return onMouseDown(where, buttons); }
    CMouseEventResult platformOnMouseUp(CPoint& where, const int32_t& buttons) override { return onMouseUp(where, buttons); }
    CMouseEventResult platformOnMouseMoved(CPoint& where, const int32_t& buttons) override { return onMouseMoved(where, buttons); }
    CMouseEventResult platformOnMouseExited(CPoint& where, const int32_t& buttons) override { return onMouseExited(where, buttons); }
    bool platformOnMouseWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                              const int32_t& buttons) override;
    int32_t platformOnKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override { return onKeyDown(character, virtualKey, modifiers); }
    int32_t platformOnKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers) override { return onKeyUp(character, virtualKey, modifiers); }
    void platformOnFocusChanged(bool hasFocus) override;
    void platformOnDragEnter(CDragContainer* drag, const CPoint& where) override;
    void platformOnDragMove(CDragContainer* drag, const CPoint& where) override;
    void platformOnDragLeave(CDragContainer* drag, const CPoint& where) override;
    bool platformOnDrop(CDragContainer* drag, const CPoint& where) override;
    void platformWindowGone() override;

    // A view about to leave the tree: the frame forgets any role it had.
    void viewRemoved(CView* view);

    const char* getClassName() const override { return "CFrame"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CFrame() override;

    VSTGUIEditorInterface* editor;
    std::unique_ptr<IPlatformFrame> platform;
    int32_t scale = 1;
    CView* focusView = nullptr;
    CView* modalView = nullptr;
    CView* viewOnTop = nullptr;
    CView* dragView = nullptr;  // the view a drag is over
    CRect invalidArea;
    bool windowGone = false;
};

}  // namespace VSTGUI
