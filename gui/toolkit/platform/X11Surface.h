#pragma once
// A window's pixel buffer: a CDIB the toolkit draws into and the image that
// carries it to the server. On a local server with the MIT-SHM extension
// the CDIB lies in a shared-memory segment the server reads directly;
// otherwise the pixels travel in the request (XPutImage). On a visual whose
// layout differs from BGRA the pixels are converted on the way.
//
// A surface may show its pixels enlarged by a whole factor (a host's
// scale for a dense screen): the toolkit draws at its own size into a
// buffer of that size, and each pixel becomes a square of factor x factor
// on the way to the window, so pixel art and glyphs stay crisp.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>

#include <memory>

#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/platform/X11Connection.h"

namespace VSTGUI {

class X11Surface {
public:
    explicit X11Surface(std::shared_ptr<X11Connection> connection);
    ~X11Surface();
    X11Surface(const X11Surface&) = delete;
    X11Surface& operator=(const X11Surface&) = delete;

    // Makes a blank buffer of that size (sizes below 1 become 1) shown
    // `scale` times larger (below 1 becomes 1); the old content is gone.
    void resize(int width, int height, int scale = 1);
    // The size drawn into, and the factor it is shown enlarged by.
    int width() const { return w; }
    int height() const { return h; }
    int scale() const { return factor; }
    // The pixels to draw into; valid until the next resize.
    CDIB* dib() const { return drawing; }
    bool usesSharedMemory() const { return shared; }

    // Waits until the server has read the last shared-memory blit, so the
    // buffer may be drawn into again.
    void beginDrawing();
    // Copies an area of the buffer to the same place in `target` (clipped),
    // enlarged by the scale: the area is in the drawn buffer's pixels.
    void put(Drawable target, GC gc, int x, int y, int width, int height);

private:
    bool makeShared(int width, int height);
    void makePlain(int width, int height);
    void release();
    void convertArea(int x, int y, int width, int height);

    std::shared_ptr<X11Connection> connection;
    int w = 0;
    int h = 0;
    int factor = 1;
    CDIB* pixels = nullptr;   // what the window receives: w x h times the scale
    CDIB* drawing = nullptr;  // what the toolkit draws into: the same as `pixels` at scale 1
    XImage* image = nullptr;
    XShmSegmentInfo segment{};
    bool shared = false;
    bool converting = false;
    bool blitPending = false;
};

// Copies an area of `source` into `target` with each pixel made a square
// of `scale` x `scale`: (x, y) lands at (x * scale, y * scale). The area is
// in the source's pixels; what would fall outside the target is left out.
void enlargeInto(const CDIB& source, CDIB& target, int scale, int x, int y, int width, int height);

// Writes BGRA pixels into an image of any true-colour layout (by its masks).
void convertToImage(const CDIB& source, XImage* image, int x, int y, int width, int height);

}  // namespace VSTGUI
