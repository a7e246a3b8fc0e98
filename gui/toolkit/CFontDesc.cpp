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

// Created on first use of the module and kept for the life of the process:
// views anywhere may hold them, static ones included.
CFontDesc* kNormalFont = new CFontDesc("OpenSans-Regular", 11);
CFontDesc* kSystemFont = new CFontDesc("FUTURAB", 12);

}  // namespace VSTGUI
