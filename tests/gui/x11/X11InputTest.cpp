// The translations that need no window: key symbols to characters and
// virtual keys, event states to the mouse-state word, and BGRA pixels to a
// visual of another layout.

#include "X11TestSupport.h"

#include <X11/keysym.h>

#include "gui/toolkit/platform/X11Input.h"
#include "gui/toolkit/platform/X11Surface.h"

namespace fwx11 {
namespace {

TEST(X11Keys, SymbolsBecomeCharactersOrVirtualKeys) {
    struct Case {
        unsigned long symbol;
        uint32_t character;
        int32_t virtualKey;
    };
    const Case cases[] = {
        {XK_a, 'a', VKEY_NONE},           {XK_eacute, 0xe9, VKEY_NONE},
        {XK_KP_5, '5', VKEY_NONE},        {XK_KP_Decimal, '.', VKEY_NONE},
        {0x010020ac, 0x20ac, VKEY_NONE},  // a symbol of the Unicode range
        {XK_space, ' ', VKEY_SPACE},      {XK_ISO_Left_Tab, 0, VKEY_TAB},
        {XK_KP_Enter, 0, VKEY_ENTER},     {XK_Return, 0, VKEY_RETURN},
        {XK_KP_Delete, 0, VKEY_DELETE},   {XK_Page_Down, 0, VKEY_PAGEDOWN},
        {XK_KP_Home, 0, VKEY_HOME},       {XK_Shift_L, 0, VKEY_NONE},
    };
    for (const Case& c : cases) {
        const X11Key key = translateKeySym(c.symbol);
        EXPECT_EQ(key.character, c.character) << std::hex << c.symbol;
        EXPECT_EQ(key.virtualKey, c.virtualKey) << std::hex << c.symbol;
    }
}

TEST(X11Keys, EventStatesBecomeTheMouseStateWord) {
    EXPECT_EQ(modifierBits(ShiftMask | ControlMask | Mod1Mask | LockMask | Mod2Mask), kShift | kControl | kAlt);
    EXPECT_EQ(heldButtonBits(Button1Mask | Button3Mask | ShiftMask), kLButton | kRButton);
    EXPECT_EQ(buttonBit(2), kMButton);
    EXPECT_EQ(buttonBit(8), kButton4);
    EXPECT_EQ(buttonBit(9), kButton5);
    EXPECT_EQ(buttonBit(4), 0);  // the wheel is no button
}

TEST(X11Pixels, AreConvertedForA16BitVisual) {
    Display* dpy = openTestDisplay();  // only for the byte order of images
    ASSERT_NE(dpy, nullptr);
    Visual visual{};
    visual.c_class = TrueColor;
    visual.red_mask = 0xf800;
    visual.green_mask = 0x07e0;
    visual.blue_mask = 0x001f;
    XImage* image = XCreateImage(dpy, &visual, 16, ZPixmap, 0, nullptr, 3, 1, 16, 0);
    ASSERT_NE(image, nullptr);
    image->data = static_cast<char*>(calloc(static_cast<size_t>(image->bytes_per_line), 1));

    auto* dib = new CDIB(3, 1);
    dib->setPixel(0, 0, CColor{255, 0, 0, 255});
    dib->setPixel(1, 0, CColor{0, 255, 128, 255});
    dib->setPixel(2, 0, CColor{255, 255, 255, 255});
    convertToImage(*dib, image, 1, 0, 2, 1);  // the first pixel stays out
    EXPECT_EQ(XGetPixel(image, 0, 0), 0u);
    EXPECT_EQ(XGetPixel(image, 1, 0), 0x07f0u);  // 128 of 255 is 16 of 31
    EXPECT_EQ(XGetPixel(image, 2, 0), 0xffffu);
    dib->forget();
    XDestroyImage(image);
    XCloseDisplay(dpy);
}

}  // namespace
}  // namespace fwx11
