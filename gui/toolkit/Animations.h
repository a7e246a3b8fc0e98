#pragma once
// Controls that show rather than edit: film-strip pictures, a small
// animation, a splash shown on click, a level meter and a digit display.
// None of them takes the wheel; only the animation and the splash take
// clicks.

#include <cstdint>

#include "gui/toolkit/Switches.h"

namespace VSTGUI {

// Shows image round(fraction * (N - 1)) of a strip; without a strip, a bar
// filled to the value.
class CMovieBitmap : public CControl, public IMultiBitmapControl {
public:
    CMovieBitmap(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr,
                 int32_t subPixmaps = 0, CCoord heightOfOneImage = 0);

    int32_t getImageIndex() const;

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CMovieBitmap"; }
    bool isTypeOf(const char* className) const override;
};

// An animation that a click opens and the next click closes; its value is
// max while open and min while closed (reported at each click). Whoever
// runs it steps the images with nextPixmap/previousPixmap, which wrap
// around. Open it shows the current image, closed nothing. Without a strip
// it draws a turning spoke of twelve steps.
class CAutoAnimation : public CControl, public IMultiBitmapControl {
public:
    CAutoAnimation(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip = nullptr,
                   int32_t subPixmaps = 0, CCoord heightOfOneImage = 0);

    void openWindow();
    void closeWindow();
    bool isWindowOpened() const { return opened; }
    void nextPixmap();
    void previousPixmap();
    int32_t getImageIndex() const { return imageIndex; }
    int32_t getImageCount() const;

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CAutoAnimation"; }
    bool isTypeOf(const char* className) const override;

private:
    void setOpened(bool state);

    bool opened = false;
    int32_t imageIndex = 0;
};

class CSplashHolder;

// A click shows a splash (part of a bitmap, or a view) over the whole
// frame and sets the value to max; a click on the splash hides it and sets
// min. While shown the splash is the frame's modal view, drawn on top.
// The control itself draws only its background bitmap, if any.
class CSplashScreen : public CControl {
public:
    // Shows the part of `splash` at `offset` in the rectangle `splashRect`
    // (frame coordinates).
    CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* splash,
                  const CRect& splashRect, const CPoint& offset = CPoint());
    // Shows `splashView` at its own size rectangle, taken as frame
    // coordinates. The control takes over the caller's reference.
    CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CView* splashView);

    bool isSplashShown() const { return shown; }
    void showSplash();
    void unSplash();
    // The view shown as the splash.
    CView* getSplashView() const;

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;
    bool removed(CView* parent) override;

    const char* getClassName() const override { return "CSplashScreen"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CSplashScreen() override;

private:
    SharedPointer<CSplashHolder> holder;
    CFrame* shownIn = nullptr;
    bool shown = false;
};

// A level meter: the value's fraction lights the meter from the bottom (or
// the left), in `nbLed` steps or continuously when 0. The "on" bitmap
// shows where lit and the "off" bitmap elsewhere, both at the view's size;
// without them lit segments are coloured by zone (low, high, top) and
// unlit ones dark. The shown level falls by at most the decrease step per
// draw, and the meter stays dirty until it has reached the value.
class CVuMeter : public CControl {
public:
    CVuMeter(const CRect& size, CBitmap* onBitmap = nullptr, CBitmap* offBitmap = nullptr, int32_t nbLed = 0,
             int32_t style = kVertical);

    void setDecreaseStepValue(float step) { decreaseStep = step > 0 ? step : 0; }
    float getDecreaseStepValue() const { return decreaseStep; }
    // The fraction drawn last.
    float getShownLevel() const { return shownLevel; }
    void setZoneColors(const CColor& low, const CColor& high, const CColor& top);
    void setOffColor(const CColor& c) { offColor = c; setDirty(); }

    bool isDirty() const override;
    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CVuMeter"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CVuMeter() override;

private:
    // The part of the view lit at `fraction`, and the rest.
    void splitAt(float fraction, CRect& lit, CRect& unlit) const;

    SharedPointer<CBitmap> onBitmap;
    SharedPointer<CBitmap> offBitmap;
    int32_t nbLed;
    int32_t style;
    float decreaseStep = 0.1f;
    float shownLevel = 0;
    CColor lowColor{86, 196, 110, 255};
    CColor highColor{232, 190, 64, 255};
    CColor topColor{226, 72, 60, 255};
    CColor offColor = ControlKit::kTrack;
};

// Shows the value as a whole number of `digits` decimal digits, leading
// zeros included (min 0, max 10^digits - 1). With a strip of ten digit
// images (0 to 9, each strip height / 10 high) the digits stand side by
// side, `digitWidth` apart (the strip's width when 0); else as text.
class CSpecialDigit : public CControl, public IMultiBitmapControl {
public:
    CSpecialDigit(const CRect& size, CControlListener* listener, int32_t tag, int32_t value, int32_t digits,
                  CBitmap* digitStrip = nullptr, CCoord digitWidth = 0);

    int32_t getDigits() const { return digits; }
    // The number shown: the value rounded and bounded.
    int32_t getNumber() const;
    void setFontColor(const CColor& c) { fontColor = c; setDirty(); }

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const int32_t& buttons) override;

    const char* getClassName() const override { return "CSpecialDigit"; }
    bool isTypeOf(const char* className) const override;

private:
    int32_t digits;
    CCoord digitWidth;
    CColor fontColor = ControlKit::kText;
};

}  // namespace VSTGUI
