#pragma once
// A picture that can be drawn into a context. `CBitmap` is the drawing
// contract; `CDIB` (CDIB.h) is the one kind of pixel store behind it.
//
// Blits copy a source rectangle whose top-left is `offset` in the bitmap
// onto `dest` in the context (the context's offset and clip apply):
//   draw             copies pixels, alpha included (no blending);
//   alphaDraw        blends with the source alpha scaled by `alpha`/255;
//   transparentDraw  copies every pixel that is not the transparent colour.

#include "gui/toolkit/CBaseObject.h"
#include "gui/toolkit/Geometry.h"

namespace VSTGUI {

class CDrawContext;
class CDIB;

class CBitmap : public CBaseObject {
public:
    virtual CCoord getWidth() const = 0;
    virtual CCoord getHeight() const = 0;

    virtual void draw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint()) = 0;
    virtual void alphaDraw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint(),
                           uint8_t alpha = 255) = 0;
    virtual void transparentDraw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint()) = 0;

    void setTransparentColor(const CColor& c) { transparentColor = c; }
    CColor getTransparentColor() const { return transparentColor; }
    // The pixel store behind the bitmap, or null.
    virtual CDIB* asDIB() { return nullptr; }

protected:
    CColor transparentColor{255, 0, 255, 255};
};

}  // namespace VSTGUI
