#pragma once
// A window's pixel buffer: a CDIB the toolkit draws into and the image that
// carries it to the server. On a local server with the MIT-SHM extension
// the CDIB lies in a shared-memory segment the server reads directly;
// otherwise the pixels travel in the request (XPutImage). On a visual whose
// layout differs from BGRA the pixels are converted on the way.

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

    // Makes a blank buffer of that size (sizes below 1 become 1); the old
    // content is gone.
    void resize(int width, int height);
    int width() const { return w; }
    int height() const { return h; }
    // The pixels to draw into; valid until the next resize.
    CDIB* dib() const { return pixels; }
    bool usesSharedMemory() const { return shared; }

    // Waits until the server has read the last shared-memory blit, so the
    // buffer may be drawn into again.
    void beginDrawing();
    // Copies an area of the buffer to the same place in `target` (clipped).
    void put(Drawable target, GC gc, int x, int y, int width, int height);

private:
    bool makeShared(int width, int height);
    void makePlain(int width, int height);
    void release();
    void convertArea(int x, int y, int width, int height);

    std::shared_ptr<X11Connection> connection;
    int w = 0;
    int h = 0;
    CDIB* pixels = nullptr;
    XImage* image = nullptr;
    XShmSegmentInfo segment{};
    bool shared = false;
    bool converting = false;
    bool blitPending = false;
};

// Writes BGRA pixels into an image of any true-colour layout (by its masks).
void convertToImage(const CDIB& source, XImage* image, int x, int y, int width, int height);

}  // namespace VSTGUI
