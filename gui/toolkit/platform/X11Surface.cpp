#include "gui/toolkit/platform/X11Surface.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace VSTGUI {

namespace {

// A channel of a true-colour pixel: where its bits sit and how many.
struct Channel {
    int shift = 0;
    int bits = 0;
    explicit Channel(unsigned long mask) {
        if (!mask) return;
        while (!(mask & 1)) { mask >>= 1; ++shift; }
        while (mask & 1) { mask >>= 1; ++bits; }
    }
    unsigned long place(uint8_t value) const {
        const unsigned long top = (1ul << bits) - 1;
        return ((value * top + 127) / 255) << shift;
    }
};

void destroyImage(XImage*& image) {
    if (!image) return;
    image->data = nullptr;  // the pixels are not Xlib's to free
    XDestroyImage(image);
    image = nullptr;
}

}  // namespace

void convertToImage(const CDIB& source, XImage* image, int x, int y, int width, int height) {
    const Channel red(image->red_mask), green(image->green_mask), blue(image->blue_mask);
    for (int row = y; row < y + height; ++row) {
        const uint8_t* from = source.row(row) + static_cast<ptrdiff_t>(x) * 4;
        for (int column = x; column < x + width; ++column, from += 4) {
            XPutPixel(image, column, row, red.place(from[2]) | green.place(from[1]) | blue.place(from[0]));
        }
    }
}

void enlargeInto(const CDIB& source, CDIB& target, int scale, int x, int y, int width, int height) {
    scale = std::max(scale, 1);
    const int x0 = std::max(x, 0), y0 = std::max(y, 0);
    const int x1 = std::min({x + width, source.width(), target.width() / scale});
    const int y1 = std::min({y + height, source.height(), target.height() / scale});
    if (x1 <= x0 || y1 <= y0) return;
    const size_t rowBytes = static_cast<size_t>(x1 - x0) * static_cast<size_t>(scale) * 4;
    for (int row = y0; row < y1; ++row) {
        const uint8_t* from = source.row(row) + static_cast<ptrdiff_t>(x0) * 4;
        uint8_t* first = target.row(row * scale) + static_cast<ptrdiff_t>(x0) * scale * 4;
        uint8_t* to = first;
        for (int column = x0; column < x1; ++column, from += 4) {
            for (int copy = 0; copy < scale; ++copy, to += 4) std::memcpy(to, from, 4);
        }
        for (int copy = 1; copy < scale; ++copy) {
            std::memcpy(target.row(row * scale + copy) + static_cast<ptrdiff_t>(x0) * scale * 4, first, rowBytes);
        }
    }
}

X11Surface::X11Surface(std::shared_ptr<X11Connection> c) : connection(std::move(c)) {}

X11Surface::~X11Surface() { release(); }

void X11Surface::resize(int width, int height, int scale) {
    width = std::max(width, 1);
    height = std::max(height, 1);
    release();
    w = width;
    h = height;
    factor = std::max(scale, 1);
    const int deviceWidth = width * factor, deviceHeight = height * factor;
    if (!(connection->pixelFormat().direct && connection->sharedMemoryAllowed() &&
          makeShared(deviceWidth, deviceHeight))) {
        makePlain(deviceWidth, deviceHeight);
    }
    drawing = factor == 1 ? pixels : new CDIB(width, height);
}

bool X11Surface::makeShared(int width, int height) {
    Display* dpy = connection->display();
    image = XShmCreateImage(dpy, connection->visual(), static_cast<unsigned>(connection->depth()), ZPixmap, nullptr,
                            &segment, static_cast<unsigned>(width), static_cast<unsigned>(height));
    if (!image) return false;
    if (image->bits_per_pixel != 32 || image->byte_order != LSBFirst) {
        destroyImage(image);
        return false;
    }
    const size_t bytes = static_cast<size_t>(image->bytes_per_line) * static_cast<size_t>(height);
    segment.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (segment.shmid < 0) {
        destroyImage(image);
        return false;
    }
    void* address = shmat(segment.shmid, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        shmctl(segment.shmid, IPC_RMID, nullptr);
        destroyImage(image);
        return false;
    }
    segment.shmaddr = static_cast<char*>(address);
    segment.readOnly = False;
    image->data = segment.shmaddr;

    // The server refuses the segment when it cannot reach our memory after
    // all (another machine, another IPC namespace): catch that error.
    X11ErrorTrap trap(dpy);
    const Status attached = XShmAttach(dpy, &segment);
    const int error = trap.finish();
    // Marked for removal at once: it disappears when both sides detach, even
    // if this process dies without cleaning up.
    shmctl(segment.shmid, IPC_RMID, nullptr);
    if (!attached || error != 0) {
        shmdt(segment.shmaddr);
        segment = XShmSegmentInfo{};
        destroyImage(image);
        connection->sharedMemoryFailed();
        std::fprintf(stderr, "Fenwoldrine: the X server could not attach shared memory (error %d); "
                             "drawing without it\n", error);
        return false;
    }
    pixels = new CDIB(width, height, reinterpret_cast<uint8_t*>(segment.shmaddr), image->bytes_per_line);
    shared = true;
    return true;
}

void X11Surface::makePlain(int width, int height) {
    Display* dpy = connection->display();
    pixels = new CDIB(width, height);
    if (connection->pixelFormat().direct) {
        image = XCreateImage(dpy, connection->visual(), static_cast<unsigned>(connection->depth()), ZPixmap, 0,
                             reinterpret_cast<char*>(pixels->pixels()), static_cast<unsigned>(width),
                             static_cast<unsigned>(height), 32, pixels->pitch());
        // BGRA in memory is 0xAARRGGBB read little-endian; Xlib swaps the
        // bytes for a server that wants the other order.
        if (image) image->byte_order = LSBFirst;
    } else {
        image = XCreateImage(dpy, connection->visual(), static_cast<unsigned>(connection->depth()), ZPixmap, 0,
                             nullptr, static_cast<unsigned>(width), static_cast<unsigned>(height), 32, 0);
        if (image) {
            image->data = static_cast<char*>(std::calloc(static_cast<size_t>(image->bytes_per_line),
                                                         static_cast<size_t>(height)));
            converting = true;
        }
    }
}

void X11Surface::release() {
    if (shared) {
        Display* dpy = connection->display();
        if (!connection->isBroken()) XShmDetach(dpy, &segment);
        shmdt(segment.shmaddr);
        segment = XShmSegmentInfo{};
        shared = false;
    }
    if (converting && image) std::free(image->data);
    converting = false;
    blitPending = false;
    destroyImage(image);
    if (drawing && drawing != pixels) drawing->forget();
    drawing = nullptr;
    if (pixels) pixels->forget();
    pixels = nullptr;
}

void X11Surface::beginDrawing() {
    if (!blitPending) return;
    blitPending = false;
    if (!connection->isBroken()) XSync(connection->display(), False);
}

void X11Surface::put(Drawable target, GC gc, int x, int y, int width, int height) {
    if (!image || connection->isBroken()) return;
    int x0 = std::max(x, 0), y0 = std::max(y, 0);
    int x1 = std::min(x + width, w), y1 = std::min(y + height, h);
    if (x1 <= x0 || y1 <= y0) return;
    if (factor > 1) {
        enlargeInto(*drawing, *pixels, factor, x0, y0, x1 - x0, y1 - y0);
        x0 *= factor, y0 *= factor, x1 *= factor, y1 *= factor;
    }
    Display* dpy = connection->display();
    if (shared) {
        XShmPutImage(dpy, target, gc, image, x0, y0, x0, y0, static_cast<unsigned>(x1 - x0),
                     static_cast<unsigned>(y1 - y0), False);
        blitPending = true;
        return;
    }
    if (converting) convertToImage(*pixels, image, x0, y0, x1 - x0, y1 - y0);
    XPutImage(dpy, target, gc, image, x0, y0, x0, y0, static_cast<unsigned>(x1 - x0),
              static_cast<unsigned>(y1 - y0));
}

}  // namespace VSTGUI
