#include "gui/toolkit/platform/X11Platform.h"

#include "gui/toolkit/platform/Platform.h"
#include "gui/toolkit/platform/X11Frame.h"

namespace VSTGUI {

namespace {

IPlatformFrame* makeX11Frame(IPlatformFrameCallback* frame, const CRect& size, uintptr_t parent) {
    return X11Frame::create(frame, size, parent);
}

}  // namespace

void useX11Platform() { setPlatformFrameFactory(&makeX11Frame); }

}  // namespace VSTGUI
