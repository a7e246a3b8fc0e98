#include "gui/toolkit/CFontDesc.h"

#include "gui/toolkit/FontCache.h"

namespace VSTGUI {

CFontDesc::CFontDesc(const char* n, CCoord s, int32_t st) : name(n ? n : ""), size(s), style(st) {}

CFontMetrics CFontDesc::getMetrics() const {
    FontCache& cache = FontCache::instance();
    return FontCache::metrics(cache.face(name), size);
}

CCoord CFontDesc::getStringWidth(const char* utf8) const {
    FontCache& cache = FontCache::instance();
    return cache.measure(cache.face(name), size, utf8);
}

namespace {

// The shared fonts are released when the program ends, or when a host
// unloads the plug-in that holds them, so nothing is left behind.
struct SharedFont {
    CFontDesc* font;
    SharedFont(const char* name, CCoord size) : font(new CFontDesc(name, size)) {}
    ~SharedFont() { font->forget(); }
    SharedFont(const SharedFont&) = delete;
    SharedFont& operator=(const SharedFont&) = delete;
};

SharedFont normalFont("OpenSans-Regular", 11);
SharedFont systemFont("FUTURAB", 12);

}  // namespace

CFontDesc* kNormalFont = normalFont.font;
CFontDesc* kSystemFont = systemFont.font;

}  // namespace VSTGUI
