#include "gui/toolkit/CDIB.h"

#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "gui/toolkit/CDrawContext.h"
#include "resources/ResourceTable.h"

namespace VSTGUI {

namespace {

// Largest picture decoded; a damaged header must not ask for gigabytes.
constexpr png_uint_32 kMaxPNGSide = 16384;
constexpr size_t kMaxPNGBytes = size_t{1} << 28;

int32_t toPixel(CCoord v) {
    // Rounds to the nearest whole pixel, clamped far outside any target.
    constexpr CCoord kFar = 1.0e7f;
    if (!(v > -kFar)) return -static_cast<int32_t>(kFar);
    if (!(v < kFar)) return static_cast<int32_t>(kFar);
    return static_cast<int32_t>(std::floor(v + 0.5f));
}

// ---- PNG reading ----
// libpng reports errors by longjmp, so the functions that call setjmp hold
// only plain data: everything that must be released after a jump lives in
// this struct, which the caller owns.
struct PNGReadState {
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t position = 0;
    char message[200] = {};
    png_structp png = nullptr;
    png_infop info = nullptr;
    uint8_t* pixels = nullptr;  // malloc'd BGRA, handed over on success
    png_bytep* rows = nullptr;  // malloc'd
    png_uint_32 width = 0;
    png_uint_32 height = 0;
};

void pngReadError(png_structp png, png_const_charp message) {
    auto* state = static_cast<PNGReadState*>(png_get_error_ptr(png));
    std::snprintf(state->message, sizeof(state->message), "%s", message ? message : "PNG error");
    png_longjmp(png, 1);
}

void pngWarning(png_structp, png_const_charp) {}

void pngReadFromMemory(png_structp png, png_bytep out, png_size_t count) {
    auto* state = static_cast<PNGReadState*>(png_get_io_ptr(png));
    if (count > state->size - state->position) png_error(png, "the PNG data ends early");
    std::memcpy(out, state->data + state->position, count);
    state->position += count;
}

// Decodes into state->pixels; false with state->message set on failure.
bool decodePNG(PNGReadState* state) {
    if (setjmp(png_jmpbuf(state->png))) return false;
    png_structp png = state->png;
    png_infop info = state->info;
    png_set_read_fn(png, state, pngReadFromMemory);
    png_set_user_limits(png, kMaxPNGSide, kMaxPNGSide);
    png_read_info(png, info);

    const png_byte colorType = png_get_color_type(png, info);
    const png_byte bitDepth = png_get_bit_depth(png, info);
    // Everything becomes 8-bit BGRA: palettes and low-depth grey expand,
    // tRNS becomes an alpha channel, 16-bit samples are scaled down, grey
    // is copied to all three colours, and an opaque alpha is added when
    // there is none.
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
    if (bitDepth == 16) png_set_scale_16(png);
    if (colorType == PNG_COLOR_TYPE_GRAY || colorType == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png);
    if (!(colorType & PNG_COLOR_MASK_ALPHA) && !png_get_valid(png, info, PNG_INFO_tRNS))
        png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    png_set_bgr(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);

    state->width = png_get_image_width(png, info);
    state->height = png_get_image_height(png, info);
    if (state->width == 0 || state->height == 0) png_error(png, "the PNG has no pixels");
    if (png_get_rowbytes(png, info) != static_cast<size_t>(state->width) * 4)
        png_error(png, "the PNG did not convert to 32-bit pixels");
    const size_t bytes = static_cast<size_t>(state->width) * state->height * 4;
    if (bytes > kMaxPNGBytes) png_error(png, "the PNG is too large");
    state->pixels = static_cast<uint8_t*>(std::calloc(bytes, 1));
    state->rows = static_cast<png_bytep*>(std::malloc(sizeof(png_bytep) * state->height));
    if (!state->pixels || !state->rows) png_error(png, "out of memory decoding a PNG");
    for (png_uint_32 y = 0; y < state->height; ++y) state->rows[y] = state->pixels + static_cast<size_t>(y) * state->width * 4;
    png_read_image(png, state->rows);
    png_read_end(png, nullptr);
    return true;
}

// ---- PNG writing ----
struct PNGWriteState {
    FILE* file = nullptr;
    char message[200] = {};
    png_structp png = nullptr;
    png_infop info = nullptr;
};

void pngWriteError(png_structp png, png_const_charp message) {
    auto* state = static_cast<PNGWriteState*>(png_get_error_ptr(png));
    std::snprintf(state->message, sizeof(state->message), "%s", message ? message : "PNG error");
    png_longjmp(png, 1);
}

bool encodePNG(PNGWriteState* state, const CDIB* dib) {
    if (setjmp(png_jmpbuf(state->png))) return false;
    png_structp png = state->png;
    png_infop info = state->info;
    png_init_io(png, state->file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(dib->width()), static_cast<png_uint_32>(dib->height()), 8,
                 PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);  // the rows are BGRA; the file is RGBA
    for (int32_t y = 0; y < dib->height(); ++y) png_write_row(png, const_cast<png_bytep>(dib->row(y)));
    png_write_end(png, nullptr);
    return true;
}

void setError(std::string* error, const char* text) {
    if (error) *error = text;
}

// The blit area shared by the three ways of drawing: the destination in
// device pixels cut to the clip, and the matching source origin.
struct BlitArea {
    int32_t x0, y0, x1, y1;  // device pixels written
    int32_t sx, sy;          // source pixel that lands on (x0, y0)
};

bool blitArea(const CDIB& source, CDrawContext* context, const CRect& dest, const CPoint& offset, BlitArea& a) {
    if (!context || !context->getTarget()) return false;
    const CPoint o = context->getOffset();
    const int32_t dx0 = toPixel(dest.left + o.x);
    const int32_t dy0 = toPixel(dest.top + o.y);
    int32_t sx = toPixel(offset.x);
    int32_t sy = toPixel(offset.y);
    // The destination spans the rectangle, but no more than the source has.
    int32_t x1 = std::min(toPixel(dest.right + o.x), dx0 + (source.width() - sx));
    int32_t y1 = std::min(toPixel(dest.bottom + o.y), dy0 + (source.height() - sy));
    int32_t x0 = dx0, y0 = dy0;
    // A negative source offset leaves those destination pixels alone.
    if (sx < 0) { x0 -= sx; sx = 0; }
    if (sy < 0) { y0 -= sy; sy = 0; }
    int32_t cx0, cy0, cx1, cy1;
    context->deviceClip(cx0, cy0, cx1, cy1);
    if (x0 < cx0) { sx += cx0 - x0; x0 = cx0; }
    if (y0 < cy0) { sy += cy0 - y0; y0 = cy0; }
    x1 = std::min(x1, cx1);
    y1 = std::min(y1, cy1);
    if (x1 <= x0 || y1 <= y0) return false;
    a = {x0, y0, x1, y1, sx, sy};
    return true;
}

}  // namespace

// ---- Construction ----

CDIB::CDIB(int32_t width, int32_t height)
    : w(std::max(width, 1)), h(std::max(height, 1)), rowPitch(w * 4) {
    data = static_cast<uint8_t*>(std::calloc(static_cast<size_t>(rowPitch) * h, 1));
    if (!data) {
        // Keep the object usable: a single transparent pixel.
        w = h = 1;
        rowPitch = 4;
        data = static_cast<uint8_t*>(std::calloc(4, 1));
    }
}

CDIB::CDIB(int32_t width, int32_t height, uint8_t* foreignPixels, int32_t pitchBytes)
    : w(std::max(width, 1)), h(std::max(height, 1)), rowPitch(pitchBytes), data(foreignPixels), owned(false) {}

CDIB::CDIB(const CDIB& source, const CRect& area) : CDIB(1, 1) {
    const int32_t x0 = std::clamp(toPixel(area.left), 0, source.w);
    const int32_t y0 = std::clamp(toPixel(area.top), 0, source.h);
    const int32_t x1 = std::clamp(toPixel(area.right), x0, source.w);
    const int32_t y1 = std::clamp(toPixel(area.bottom), y0, source.h);
    if (x1 <= x0 || y1 <= y0) return;
    auto* copy = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(x1 - x0) * 4 * (y1 - y0)));
    if (!copy) return;
    std::free(data);
    data = copy;
    w = x1 - x0;
    h = y1 - y0;
    rowPitch = w * 4;
    for (int32_t y = 0; y < h; ++y) std::memcpy(row(y), source.row(y0 + y) + x0 * 4, static_cast<size_t>(rowPitch));
}

CDIB::~CDIB() {
    if (owned) std::free(data);
}

CDIB* CDIB::fromPNG(const uint8_t* bytes, size_t size, std::string* error) {
    if (!bytes || size < 8 || png_sig_cmp(bytes, 0, 8) != 0) {
        setError(error, "not a PNG");
        return nullptr;
    }
    PNGReadState state;
    state.data = bytes;
    state.size = size;
    state.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &state, pngReadError, pngWarning);
    if (state.png) state.info = png_create_info_struct(state.png);
    if (!state.png || !state.info) {
        png_destroy_read_struct(&state.png, &state.info, nullptr);
        setError(error, "out of memory decoding a PNG");
        return nullptr;
    }
    const bool ok = decodePNG(&state);
    png_destroy_read_struct(&state.png, &state.info, nullptr);
    std::free(state.rows);
    if (!ok) {
        std::free(state.pixels);
        setError(error, state.message[0] ? state.message : "damaged PNG");
        return nullptr;
    }
    auto* dib = new CDIB(1, 1);
    std::free(dib->data);
    dib->data = state.pixels;
    dib->w = static_cast<int32_t>(state.width);
    dib->h = static_cast<int32_t>(state.height);
    dib->rowPitch = dib->w * 4;
    return dib;
}

CDIB* CDIB::fromResource(const char* resourceName) {
    if (!resourceName) return nullptr;
    // One decoded copy per name for the life of the process; each caller
    // gets a reference of its own.
    static auto* cache = new std::unordered_map<std::string, CDIB*>();
    if (auto it = cache->find(resourceName); it != cache->end()) {
        it->second->remember();
        return it->second;
    }
    const ResourceData res = findResource(resourceName, "PNG");
    if (!res.data) return nullptr;
    CDIB* dib = fromPNG(res.data, res.size);
    if (!dib) return nullptr;
    cache->emplace(resourceName, dib);  // the cache keeps the first reference
    dib->remember();
    return dib;
}

CDIB* CDIB::fromResource(int32_t resourceId) {
    char name[16];
    std::snprintf(name, sizeof name, "%d", resourceId);
    return fromResource(name);
}

bool CDIB::writePNG(const char* path, std::string* error) const {
    if (!path || !*path) {
        setError(error, "no file name");
        return false;
    }
    // Written beside the target and renamed over it, so a reader never
    // sees half a file.
    std::string temp(path);
    temp.append(".XXXXXX");
    const int fd = mkstemp(temp.data());
    if (fd < 0) {
        std::string text("cannot create a file beside ");
        text.append(path).append(": ").append(std::strerror(errno));
        if (error) *error = text;
        return false;
    }
    // mkstemp makes the file private; give it the mode of the file it
    // replaces, or the usual one for a new picture.
    struct stat existing {};
    fchmod(fd, stat(path, &existing) == 0 ? (existing.st_mode & 07777) : 0644);
    PNGWriteState state;
    state.file = fdopen(fd, "wb");
    bool ok = state.file != nullptr;
    if (!ok) {
        close(fd);
        std::snprintf(state.message, sizeof(state.message), "%s", std::strerror(errno));
    }
    if (ok) {
        state.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, pngWriteError, pngWarning);
        if (state.png) state.info = png_create_info_struct(state.png);
        ok = state.png && state.info && encodePNG(&state, this);
        png_destroy_write_struct(&state.png, &state.info);
        if (!ok && !state.message[0]) std::snprintf(state.message, sizeof(state.message), "PNG encoder failed");
        if (std::fflush(state.file) != 0 || fsync(fileno(state.file)) != 0) {
            if (ok) std::snprintf(state.message, sizeof(state.message), "%s", std::strerror(errno));
            ok = false;
        }
        if (std::fclose(state.file) != 0 && ok) {
            std::snprintf(state.message, sizeof(state.message), "%s", std::strerror(errno));
            ok = false;
        }
    }
    if (ok && std::rename(temp.c_str(), path) != 0) {
        std::snprintf(state.message, sizeof(state.message), "%s", std::strerror(errno));
        ok = false;
    }
    if (!ok) {
        std::remove(temp.c_str());
        std::string text("cannot write ");
        text.append(path).append(": ").append(state.message);
        if (error) *error = text;
    }
    return ok;
}

// ---- Pixels ----

CColor CDIB::getPixel(int32_t x, int32_t y) const {
    if (x < 0 || y < 0 || x >= w || y >= h) return kTransparentCColor;
    const uint8_t* p = row(y) + x * 4;
    return {p[2], p[1], p[0], p[3]};
}

void CDIB::setPixel(int32_t x, int32_t y, const CColor& c) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    uint8_t* p = row(y) + x * 4;
    p[0] = c.blue;
    p[1] = c.green;
    p[2] = c.red;
    p[3] = c.alpha;
    dirty = true;
}

void CDIB::fill(const CColor& c) { fill(CRect(0, 0, getWidth(), getHeight()), c); }

void CDIB::fill(const CRect& area, const CColor& c) {
    const int32_t x0 = std::clamp(toPixel(area.left), 0, w);
    const int32_t y0 = std::clamp(toPixel(area.top), 0, h);
    const int32_t x1 = std::clamp(toPixel(area.right), x0, w);
    const int32_t y1 = std::clamp(toPixel(area.bottom), y0, h);
    if (x1 <= x0 || y1 <= y0) return;
    const uint8_t bgra[4] = {c.blue, c.green, c.red, c.alpha};
    for (int32_t y = y0; y < y1; ++y) {
        uint8_t* p = row(y) + x0 * 4;
        for (int32_t x = x0; x < x1; ++x, p += 4) std::memcpy(p, bgra, 4);
    }
    dirty = true;
}

void CDIB::copyFrom(const CDIB& source, const CRect& area, const CPoint& to) {
    int32_t sx0 = toPixel(area.left), sy0 = toPixel(area.top);
    int32_t sx1 = toPixel(area.right), sy1 = toPixel(area.bottom);
    int32_t dx = toPixel(to.x), dy = toPixel(to.y);
    // Cut to the source, moving the destination along.
    if (sx0 < 0) { dx -= sx0; sx0 = 0; }
    if (sy0 < 0) { dy -= sy0; sy0 = 0; }
    sx1 = std::min(sx1, source.w);
    sy1 = std::min(sy1, source.h);
    // Then to this bitmap.
    if (dx < 0) { sx0 -= dx; dx = 0; }
    if (dy < 0) { sy0 -= dy; dy = 0; }
    sx1 = std::min(sx1, sx0 + (w - dx));
    sy1 = std::min(sy1, sy0 + (h - dy));
    if (sx1 <= sx0 || sy1 <= sy0) return;
    const size_t bytes = static_cast<size_t>(sx1 - sx0) * 4;
    const int32_t rows = sy1 - sy0;
    // Copying within one bitmap: walk rows against the direction of the move.
    const bool upwards = &source == this && dy > sy0;
    for (int32_t i = 0; i < rows; ++i) {
        const int32_t r = upwards ? rows - 1 - i : i;
        std::memmove(row(dy + r) + dx * 4, source.row(sy0 + r) + sx0 * 4, bytes);
    }
    dirty = true;
}

// ---- Drawing into a context ----

void CDIB::draw(CDrawContext* context, const CRect& dest, const CPoint& offset) {
    BlitArea a{};
    if (!blitArea(*this, context, dest, offset, a)) return;
    CDIB* target = context->getTarget();
    const size_t bytes = static_cast<size_t>(a.x1 - a.x0) * 4;
    const bool upwards = target == this && a.y0 > a.sy;
    const int32_t rows = a.y1 - a.y0;
    for (int32_t i = 0; i < rows; ++i) {
        const int32_t r = upwards ? rows - 1 - i : i;
        std::memmove(target->row(a.y0 + r) + a.x0 * 4, row(a.sy + r) + a.sx * 4, bytes);
    }
    target->dirty = true;
}

void CDIB::alphaDraw(CDrawContext* context, const CRect& dest, const CPoint& offset, uint8_t alpha) {
    if (alpha == 0) return;
    BlitArea a{};
    if (!blitArea(*this, context, dest, offset, a)) return;
    CDIB* target = context->getTarget();
    for (int32_t y = a.y0; y < a.y1; ++y) {
        uint8_t* d = target->row(y) + a.x0 * 4;
        const uint8_t* s = row(a.sy + y - a.y0) + a.sx * 4;
        for (int32_t x = a.x0; x < a.x1; ++x, d += 4, s += 4)
            CDrawContext::blendBGRA(d, s[0], s[1], s[2], static_cast<uint32_t>(s[3]) * alpha);
    }
    target->dirty = true;
}

void CDIB::transparentDraw(CDrawContext* context, const CRect& dest, const CPoint& offset) {
    BlitArea a{};
    if (!blitArea(*this, context, dest, offset, a)) return;
    CDIB* target = context->getTarget();
    const CColor key = transparentColor;
    for (int32_t y = a.y0; y < a.y1; ++y) {
        uint8_t* d = target->row(y) + a.x0 * 4;
        const uint8_t* s = row(a.sy + y - a.y0) + a.sx * 4;
        for (int32_t x = a.x0; x < a.x1; ++x, d += 4, s += 4) {
            if (s[0] == key.blue && s[1] == key.green && s[2] == key.red) continue;
            std::memcpy(d, s, 4);
        }
    }
    target->dirty = true;
}

}  // namespace VSTGUI
