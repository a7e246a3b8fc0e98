#include "gui/toolkit/platform/X11Input.h"

#include <X11/X.h>
#include <X11/keysym.h>

#include "gui/toolkit/CView.h"

namespace VSTGUI {

namespace {

int32_t virtualKeyOf(unsigned long keySym) {
    switch (keySym) {
        case XK_BackSpace: return VKEY_BACK;
        case XK_Tab: case XK_ISO_Left_Tab: case XK_KP_Tab: return VKEY_TAB;
        case XK_Return: return VKEY_RETURN;
        case XK_KP_Enter: return VKEY_ENTER;
        case XK_Escape: return VKEY_ESCAPE;
        case XK_space: case XK_KP_Space: return VKEY_SPACE;
        case XK_End: case XK_KP_End: return VKEY_END;
        case XK_Home: case XK_KP_Home: return VKEY_HOME;
        case XK_Left: case XK_KP_Left: return VKEY_LEFT;
        case XK_Up: case XK_KP_Up: return VKEY_UP;
        case XK_Right: case XK_KP_Right: return VKEY_RIGHT;
        case XK_Down: case XK_KP_Down: return VKEY_DOWN;
        case XK_Page_Up: case XK_KP_Page_Up: return VKEY_PAGEUP;
        case XK_Page_Down: case XK_KP_Page_Down: return VKEY_PAGEDOWN;
        case XK_Insert: case XK_KP_Insert: return VKEY_INSERT;
        case XK_Delete: case XK_KP_Delete: return VKEY_DELETE;
        default: return VKEY_NONE;
    }
}

uint32_t characterOf(unsigned long keySym) {
    if (keySym == XK_space || keySym == XK_KP_Space) return ' ';
    if ((keySym >= 0x20 && keySym <= 0x7e) || (keySym >= 0xa0 && keySym <= 0xff)) {
        return static_cast<uint32_t>(keySym);  // Latin-1 symbols are their code points
    }
    if (keySym >= XK_KP_0 && keySym <= XK_KP_9) return static_cast<uint32_t>('0' + (keySym - XK_KP_0));
    switch (keySym) {
        case XK_KP_Decimal: return '.';
        case XK_KP_Separator: return ',';
        case XK_KP_Add: return '+';
        case XK_KP_Subtract: return '-';
        case XK_KP_Multiply: return '*';
        case XK_KP_Divide: return '/';
        case XK_KP_Equal: return '=';
        case XK_EuroSign: return 0x20ac;
        default: break;
    }
    // Symbols of the Unicode range carry the code point in the low bits.
    if (keySym >= 0x01000100 && keySym <= 0x0110ffff) return static_cast<uint32_t>(keySym - 0x01000000);
    return 0;
}

}  // namespace

X11Key translateKeySym(unsigned long keySym) {
    X11Key key;
    key.virtualKey = virtualKeyOf(keySym);
    if (key.virtualKey == VKEY_NONE || key.virtualKey == VKEY_SPACE) key.character = characterOf(keySym);
    return key;
}

int32_t modifierBits(unsigned int state) {
    int32_t bits = 0;
    if (state & ShiftMask) bits |= kShift;
    if (state & ControlMask) bits |= kControl;
    if (state & Mod1Mask) bits |= kAlt;
    return bits;
}

int32_t heldButtonBits(unsigned int state) {
    int32_t bits = 0;
    if (state & Button1Mask) bits |= kLButton;
    if (state & Button2Mask) bits |= kMButton;
    if (state & Button3Mask) bits |= kRButton;
    return bits;
}

int32_t buttonBit(unsigned int button) {
    switch (button) {
        case 1: return kLButton;
        case 2: return kMButton;
        case 3: return kRButton;
        case 8: return kButton4;
        case 9: return kButton5;
        default: return 0;
    }
}

}  // namespace VSTGUI
