#pragma once
// Small behaviours that the editor's controls mix in.

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

class CFrame;

// "Hide Mouse": while a drag runs the cursor is hidden; when it ends the
// cursor comes back where the drag started, plus an offset the control
// chooses (the graph puts it on the handle that moved).
class nControlMouse {
public:
    void setHideMouse(bool enabled) { hideEnabled = enabled; }
    bool getHideMouse() const { return hideEnabled; }
    bool isCursorHidden() const { return !cursorVisible; }
    const CPoint& getSavedCursorPosition() const { return savedPosition; }

    // At the start of a drag: remembers the pointer and hides it.
    void beginHideMouse(CFrame* frame);
    // At the end: puts the pointer back, moved by `offset`, and shows it.
    void endHideMouse(CFrame* frame, const CPoint& offset = CPoint());

private:
    bool hideEnabled = false;
    bool cursorVisible = true;
    CPoint savedPosition;
};

// A tint for a control's value text.
class nTintable {
public:
    void setTint(const CColor& c) { tint = c; tinted = true; }
    void clearTint() { tinted = false; }
    bool isTinted() const { return tinted; }
    // The tint when one is set, else `normal`.
    CColor textColour(const CColor& normal) const { return tinted ? tint : normal; }

private:
    CColor tint;
    bool tinted = false;
};

// Up to two outlines around a control, an outer and an inner one.
class CHighlightControl {
public:
    void setHighlight(const CColor& outer) { outerColour = outer; hasOuter = true; }
    void setInnerHighlight(const CColor& inner) { innerColour = inner; hasInner = true; }
    void clearHighlights() { hasOuter = hasInner = false; }
    bool isHighlighted() const { return hasOuter || hasInner; }
    // Draws the outlines just inside `rect`: the outer one on its edge, the
    // inner one a pixel further in.
    void drawHighlight(CDrawContext* context, const CRect& rect) const;

private:
    CColor outerColour;
    CColor innerColour;
    bool hasOuter = false;
    bool hasInner = false;
};

// A control whose parameter is locked is drawn in the lock colour.
class nLockable {
public:
    void setLocked(bool state) { locked = state; }
    bool isLocked() const { return locked; }
    void setLockColour(const CColor& c) { lockColour = c; }
    // The lock colour when locked, else `normal`.
    CColor drawColour(const CColor& normal) const { return locked ? lockColour : normal; }

private:
    bool locked = false;
    CColor lockColour{255, 96, 64, 255};
};

}  // namespace VSTGUI
