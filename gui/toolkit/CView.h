#pragma once
// The base of everything in an editor window. A view has a size rectangle
// and a mouse rectangle relative to its parent, knows its frame and its
// parent once attached, and may have a background bitmap. A new view is
// visible and mouse enabled; a view added to a container belongs to it
// (the container holds its reference and forgets it when removed).
//
// Mouse calls get a point in the coordinates of the view's parent (the
// same coordinates as its size rectangle) and the mouse-state word.

#include <cstdint>

#include "gui/toolkit/CBaseObject.h"
#include "gui/toolkit/CBitmap.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

class CFrame;
class CViewContainer;
class CDragContainer;

// The mouse-state word.
enum CButtonState : int32_t {
    kLButton = 2,
    kMButton = 4,
    kRButton = 8,
    kShift = 0x10,
    kControl = 0x20,
    kAlt = 0x40,
    kApple = 0x80,
    kButton4 = 0x100,
    kButton5 = 0x200,
    kDoubleClick = 0x400,
};
// Bits that offer a click to a listener's mouse-down hook first.
constexpr int32_t kModifiedClickMask = 0xF8;

// Results of mouse calls.
enum CMouseEventResult : int32_t {
    kMouseEventNotImplemented = 0,
    kMouseEventHandled = 1,
    kMouseEventNotHandled = 2,
    kMouseDownEventHandledButDontNeedMovedOrUpEvents = 3,
};

enum CMouseWheelAxis : int32_t { kMouseWheelAxisX = 0, kMouseWheelAxisY };

// Process-wide modifier roles (see setModifierRoles).
struct ModifierRoles {
    int32_t fine = kShift;       // fine adjustment while dragging
    int32_t second = kAlt;       // second function of a click
    int32_t third = kControl;    // third function
};
ModifierRoles& modifierRoles();
// With the alternative layout on, fine is Control, second Shift, third Alt.
void setModifierRoles(bool alternativeLayout);

// Messages sent through notify().
extern const char* const kMsgLooseFocus;             // "LooseFocus"
extern const char* const kMsgCheckIfViewContainer;   // "kMsgCheckIfViewContainer"
extern const char* const kMsgNewFocusView;           // "kMsgNewFocusView"
extern const char* const kMsgOldFocusView;           // "kMsgOldFocusView"
enum CMessageResult : int32_t { kMessageUnknown = 0, kMessageNotified = 1 };

class CView : public CBaseObject {
public:
    explicit CView(const CRect& size);

    virtual CMessageResult notify(CBaseObject* sender, const char* message);

    // ---- Drawing ----
    virtual void draw(CDrawContext* context);
    // Draws only what meets `updateRect` (parent coordinates); the default
    // draws everything.
    virtual void drawRect(CDrawContext* context, const CRect& updateRect);
    virtual bool checkUpdate(const CRect& updateRect) const { return updateRect.rectOverlap(size); }
    virtual bool isDirty() const { return dirty; }
    virtual void setDirty(bool state = true) { dirty = state; }
    // Asks the frame to repaint the view's rectangle.
    virtual void invalid();
    // Draws the view at once through the frame, when attached.
    virtual void redraw();
    virtual void setVisible(bool state);
    bool isVisible() const { return visible; }

    // ---- Mouse and keys ----
    virtual CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons);
    virtual CMouseEventResult onMouseUp(CPoint& where, const int32_t& buttons);
    virtual CMouseEventResult onMouseMoved(CPoint& where, const int32_t& buttons);
    virtual CMouseEventResult onMouseEntered(CPoint& where, const int32_t& buttons);
    virtual CMouseEventResult onMouseExited(CPoint& where, const int32_t& buttons);
    virtual bool hitTest(const CPoint& where, const int32_t& buttons = -1);
    virtual bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance, const int32_t& buttons);
    virtual bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons);
    // Drop of files (paths, one per entry), and the drag calls around it.
    virtual bool onDrop(CDragContainer* drag, const CPoint& where);
    virtual void onDragEnter(CDragContainer* drag, const CPoint& where);
    virtual void onDragLeave(CDragContainer* drag, const CPoint& where);
    virtual void onDragMove(CDragContainer* drag, const CPoint& where);
    // Key calls return 1 when used, -1 when not. `character` is the typed
    // code point (0 for none); `virtualKey` one of VirtualKey.
    virtual int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers);
    virtual int32_t onKeyUp(uint32_t character, int32_t virtualKey, int32_t modifiers);
    virtual void setMouseEnabled(bool state = true) { mouseEnabled = state; }
    bool getMouseEnabled() const { return mouseEnabled; }
    virtual void takeFocus() {}
    virtual void looseFocus() {}
    bool wantsFocus() const { return wantsFocusFlag; }
    void setWantsFocus(bool state) { wantsFocusFlag = state; }

    // ---- Tree ----
    // Called when the view joins (`parent` set, frame known) or leaves a tree.
    virtual bool attached(CView* parent);
    virtual bool removed(CView* parent);
    bool isAttached() const { return parentView != nullptr; }
    CView* getParentView() const { return parentView; }
    CFrame* getFrame() const { return frame; }
    // The view's top-left in frame coordinates.
    CPoint frameOffset() const;
    // The view's size rectangle in frame coordinates.
    CRect frameRect() const;
    // Converts a point from frame coordinates to this view's parent's.
    CPoint frameToLocal(const CPoint& framePoint) const;
    // Converts a point from the view's parent's coordinates to the frame's.
    CPoint localToFrame(const CPoint& local) const;

    // ---- Geometry ----
    virtual void setViewSize(const CRect& rect, bool invalidate = true);
    const CRect& getViewSize() const { return size; }
    virtual void setMouseableArea(const CRect& rect) { mouseableArea = rect; }
    const CRect& getMouseableArea() const { return mouseableArea; }
    CCoord getWidth() const { return size.width(); }
    CCoord getHeight() const { return size.height(); }

    // ---- Background and flags ----
    virtual void setBackground(CBitmap* background);
    CBitmap* getBackground() const { return background.get(); }
    void setTransparency(bool state) { transparencyEnabled = state; }
    bool getTransparency() const { return transparencyEnabled; }
    void setAutosizeFlags(int32_t flags) { autosizeFlags = flags; }
    int32_t getAutosizeFlags() const { return autosizeFlags; }

    // ---- Class identity ----
    virtual const char* getClassName() const { return "CView"; }
    // True when this view's class or one of its bases has that name.
    virtual bool isTypeOf(const char* className) const;

protected:
    ~CView() override;

    CRect size;
    CRect mouseableArea;
    CFrame* frame = nullptr;
    CView* parentView = nullptr;
    SharedPointer<CBitmap> background;
    int32_t autosizeFlags = 0;
    bool dirty = false;
    bool mouseEnabled = true;
    bool transparencyEnabled = false;
    bool wantsFocusFlag = false;
    bool visible = true;
};

// Keys the platform layer reports beside typed characters.
enum VirtualKey : int32_t {
    VKEY_NONE = 0, VKEY_BACK, VKEY_TAB, VKEY_RETURN, VKEY_ESCAPE, VKEY_SPACE,
    VKEY_END, VKEY_HOME, VKEY_LEFT, VKEY_UP, VKEY_RIGHT, VKEY_DOWN,
    VKEY_PAGEUP, VKEY_PAGEDOWN, VKEY_INSERT, VKEY_DELETE, VKEY_ENTER,
};

}  // namespace VSTGUI
