#pragma once
// A 32-bit top-down pixel store: each pixel is blue, green, red, alpha in
// bytes, rows `pitch` bytes apart (pitch = width * 4). The pixels belong
// to the object unless it was made over memory that someone else owns (a
// shared-memory segment of the window system, say); such memory is never
// freed here. `dirty` tells a GPU path that the pixels changed.

#include <cstddef>
#include <cstdint>
#include <string>

#include "gui/toolkit/CBitmap.h"

namespace VSTGUI {

class CDIB : public CBitmap {
public:
    // An empty (all-zero, transparent black) bitmap; sizes below 1 become 1.
    CDIB(int32_t width, int32_t height);
    // A view over pixels owned elsewhere; they must outlive the object.
    CDIB(int32_t width, int32_t height, uint8_t* foreignPixels, int32_t pitchBytes);
    // A copy of a rectangle of another bitmap (clipped to it).
    CDIB(const CDIB& source, const CRect& area);

    // Decodes a PNG held in memory; null with `error` set when it is not a
    // readable PNG. Any PNG colour type is converted to BGRA.
    static CDIB* fromPNG(const uint8_t* data, size_t size, std::string* error = nullptr);
    // A PNG compiled into the program under `resourceName` (type "PNG");
    // loaded once per name and shared: the caller gets its own reference.
    static CDIB* fromResource(const char* resourceName);
    // The same for a numbered image: the resource named by the number in decimal.
    static CDIB* fromResource(int32_t resourceId);
    // Writes the pixels as an RGBA PNG file; false with `error` set on failure.
    bool writePNG(const char* path, std::string* error = nullptr) const;

    int32_t width() const { return w; }
    int32_t height() const { return h; }
    int32_t pitch() const { return rowPitch; }
    uint8_t* pixels() { return data; }
    const uint8_t* pixels() const { return data; }
    uint8_t* row(int32_t y) { return data + static_cast<ptrdiff_t>(y) * rowPitch; }
    const uint8_t* row(int32_t y) const { return data + static_cast<ptrdiff_t>(y) * rowPitch; }
    bool ownsPixels() const { return owned; }

    // The pixel at (x, y) as a colour; transparent black outside.
    CColor getPixel(int32_t x, int32_t y) const;
    void setPixel(int32_t x, int32_t y, const CColor& c);
    // Sets every pixel of a rectangle (clipped) to a colour, alpha included.
    void fill(const CColor& c);
    void fill(const CRect& area, const CColor& c);
    // Copies a rectangle of `source` with its top-left at `to` (clipped both ways).
    void copyFrom(const CDIB& source, const CRect& area, const CPoint& to);

    bool dirty = false;
    float textureScale = 1.0f;

    CCoord getWidth() const override { return static_cast<CCoord>(w); }
    CCoord getHeight() const override { return static_cast<CCoord>(h); }
    void draw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint()) override;
    void alphaDraw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint(),
                   uint8_t alpha = 255) override;
    void transparentDraw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint()) override;
    CDIB* asDIB() override { return this; }

protected:
    ~CDIB() override;

private:
    int32_t w = 1;
    int32_t h = 1;
    int32_t rowPitch = 4;
    uint8_t* data = nullptr;
    bool owned = true;
};

}  // namespace VSTGUI
