#pragma once
// Translation of X input to the toolkit's terms: key symbols to typed
// characters and virtual keys, event state to the mouse-state word.
// Plain functions of their arguments; they need no connection.

#include <cstdint>

namespace VSTGUI {

struct X11Key {
    uint32_t character = 0;  // the typed code point, 0 for none
    int32_t virtualKey = 0;  // a VirtualKey, VKEY_NONE for ordinary characters
};

// What a key symbol (as XLookupString gives it) types. Space types ' ' and
// is VKEY_SPACE as well; editing and movement keys type nothing. Symbols
// outside Latin-1, the keypad and the Unicode range give nothing.
X11Key translateKeySym(unsigned long keySym);

// Shift, Control and Alt (Mod1) of an event state as kShift/kControl/kAlt.
int32_t modifierBits(unsigned int state);
// The left, middle and right buttons held in an event state.
int32_t heldButtonBits(unsigned int state);
// The bit of an X button number: 1 left, 2 middle, 3 right, 8 and 9 the
// side buttons; 0 for the wheel (4-7) and anything else.
int32_t buttonBit(unsigned int button);

}  // namespace VSTGUI
