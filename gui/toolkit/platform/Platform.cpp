#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

namespace {
PlatformFrameFactory gFactory = nullptr;
}

void setPlatformFrameFactory(PlatformFrameFactory factory) { gFactory = factory; }
PlatformFrameFactory getPlatformFrameFactory() { return gFactory; }

}  // namespace VSTGUI
