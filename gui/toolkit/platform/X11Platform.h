#pragma once
// Switches the toolkit to X11 windows: after this call every frame that
// opens gets its native window from the X11 layer. Safe to call more than
// once. Setting FW_X11_NO_SHM (to anything but 0) before the first window
// opens makes the windows send their pixels without shared memory.

namespace VSTGUI {

void useX11Platform();

}  // namespace VSTGUI
