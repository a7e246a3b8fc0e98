// What the standard controls and displays draw, read back as pixels of a
// headless frame painted into a bitmap; and the displays' own behaviour
// (meter fall-off, digits, splash, animation steps, display text).

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "gui/toolkit/Animations.h"
#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CParamDisplay.h"
#include "gui/toolkit/Knobs.h"
#include "gui/toolkit/Switches.h"

using namespace VSTGUI;

namespace {

CColor shade(int i) {
    return CColor{static_cast<uint8_t>(20 + 23 * i), static_cast<uint8_t>(200 - 17 * i), static_cast<uint8_t>(90 + i), 255};
}

// A strip of `count` solid images, image i in shade(i).
CDIB* makeStrip(int32_t width, int32_t imageHeight, int32_t count) {
    auto* strip = new CDIB(width, imageHeight * count);
    for (int32_t i = 0; i < count; ++i)
        strip->fill(CRect::fromSize(0, static_cast<CCoord>(imageHeight * i), static_cast<CCoord>(width),
                                    static_cast<CCoord>(imageHeight)),
                    shade(i));
    return strip;
}

CDIB* solid(int32_t width, int32_t height, const CColor& c) {
    auto* bitmap = new CDIB(width, height);
    bitmap->fill(c);
    return bitmap;
}

class ControlDrawing : public ::testing::Test {
protected:
    void SetUp() override {
        frame = new CFrame(CRect(0, 0, 120, 120), nullptr);
        target = new CDIB(120, 120);
    }
    void TearDown() override {
        target->forget();
        frame->forget();
    }
    template <class T>
    T* add(T* view) {
        frame->addView(view);
        return view;
    }
    CColor pixelAfterDrawing(int32_t x, int32_t y) {
        frame->drawInto(target);
        return target->getPixel(x, y);
    }
    CMouseEventResult press(CCoord x, CCoord y) {
        CPoint p(x, y);
        const CMouseEventResult result = frame->onMouseDown(p, kLButton);
        frame->onMouseUp(p, 0);
        return result;
    }

    CFrame* frame = nullptr;
    CDIB* target = nullptr;
};

TEST_F(ControlDrawing, FilmStripControlsShowTheImageOfTheirValue) {
    CDIB* four = makeStrip(20, 20, 4);
    CDIB* two = makeStrip(20, 20, 2);
    auto* knob = add(new CAnimKnob(CRect(10, 10, 30, 30), nullptr, 1, four));
    auto* movie = add(new CMovieBitmap(CRect(40, 10, 60, 30), nullptr, 2, four));
    auto* button = add(new COnOffButton(CRect(70, 10, 90, 30), nullptr, 3, two));
    auto* inverse = add(new CAnimKnob(CRect(10, 40, 30, 60), nullptr, 4, four, 4));
    inverse->setInverseBitmap(true);
    // The strip's images are taller than the view: the count decides.
    auto* choice = add(new CVerticalSwitch(CRect(40, 40, 60, 50), nullptr, 5, 4, four));
    four->forget();
    two->forget();

    knob->setValue(2.0f / 3.0f);
    movie->setValue(1.0f / 3.0f);
    button->setValue(1);
    inverse->setValue(0);
    choice->setValue(1);
    frame->drawInto(target);
    EXPECT_EQ(target->getPixel(20, 20), shade(2));
    EXPECT_EQ(target->getPixel(50, 20), shade(1));
    EXPECT_EQ(target->getPixel(80, 20), shade(1));
    EXPECT_EQ(target->getPixel(20, 50), shade(3));
    EXPECT_EQ(target->getPixel(50, 45), shade(3));
    EXPECT_EQ(target->getPixel(50, 55), kBlackCColor);  // cut to the view

    knob->setValue(1);
    button->setValue(0);
    EXPECT_EQ(pixelAfterDrawing(20, 20), shade(3));
    EXPECT_EQ(target->getPixel(80, 20), shade(0));
}

TEST_F(ControlDrawing, DrawnKnobArcRunsClockwiseFromTheLowerLeft) {
    auto* knob = add(new CKnob(CRect(0, 0, 40, 40), nullptr, 1));
    knob->setCoronaColor(kRedCColor);
    knob->setTrackColor(kBlueCColor);
    auto lit = [&](int32_t x, int32_t y) {
        const CColor c = pixelAfterDrawing(x, y);
        EXPECT_TRUE((c.red > 180 && c.blue < 60) || (c.blue > 180 && c.red < 60)) << x << "," << y;
        return c.red > 180;
    };
    // The top of the ring is the middle of the range, the lower right its end.
    knob->setValue(0.6f);
    EXPECT_TRUE(lit(20, 1));
    EXPECT_FALSE(lit(35, 29));
    knob->setValue(0.4f);
    EXPECT_FALSE(lit(20, 1));
    knob->setValue(1);
    EXPECT_TRUE(lit(35, 29));
    // Lit from the middle, a value below it lights the left of the top.
    knob->setCoronaFromCenter(true);
    knob->setValue(0.3f);
    EXPECT_FALSE(lit(20, 1) && lit(35, 29));
    EXPECT_TRUE(lit(9, 5));
}

TEST_F(ControlDrawing, VuMeterRisesAtOnceAndFallsOneStepPerDraw) {
    auto* meter = add(new CVuMeter(CRect(10, 10, 20, 110)));
    meter->setDecreaseStepValue(0.1f);
    meter->setValue(1);
    frame->drawInto(target);
    EXPECT_FLOAT_EQ(meter->getShownLevel(), 1.0f);
    EXPECT_EQ(target->getPixel(15, 12), (CColor{226, 72, 60, 255}));  // top zone

    meter->setValue(0);
    frame->drawInto(target);
    EXPECT_NEAR(meter->getShownLevel(), 0.9f, 1e-5f);
    EXPECT_EQ(target->getPixel(15, 15), ControlKit::kTrack);  // above 0.9: dark
    EXPECT_EQ(target->getPixel(15, 25), (CColor{232, 190, 64, 255}));
    EXPECT_TRUE(meter->isDirty());

    for (int i = 0; i < 9; ++i) frame->drawInto(target);
    EXPECT_NEAR(meter->getShownLevel(), 0.0f, 1e-5f);
    EXPECT_FALSE(meter->isDirty());
}

TEST_F(ControlDrawing, VuMeterShowsItsBitmapsInWholeLeds) {
    CDIB* on = solid(10, 100, kGreenCColor);
    CDIB* off = solid(10, 100, kBlueCColor);
    auto* meter = add(new CVuMeter(CRect(10, 10, 20, 110), on, off, 10));
    on->forget();
    off->forget();
    meter->setValue(0.55f);  // five of ten LEDs
    EXPECT_EQ(pixelAfterDrawing(15, 65), kGreenCColor);
    EXPECT_EQ(target->getPixel(15, 55), kBlueCColor);
}

TEST_F(ControlDrawing, SpecialDigitShowsEachDigitFromTheStrip) {
    CDIB* digits = makeStrip(8, 10, 10);
    auto* display = add(new CSpecialDigit(CRect(10, 10, 34, 20), nullptr, 1, 42, 3, digits));
    digits->forget();
    EXPECT_EQ(pixelAfterDrawing(14, 15), shade(0));
    EXPECT_EQ(target->getPixel(22, 15), shade(4));
    EXPECT_EQ(target->getPixel(30, 15), shade(2));

    display->setValue(12345);
    EXPECT_EQ(display->getNumber(), 999);
}

TEST_F(ControlDrawing, SplashShowsOnClickAndAnyClickHidesIt) {
    CDIB* picture = solid(50, 50, kRedCColor);
    auto* splash = add(new CSplashScreen(CRect(0, 0, 10, 10), nullptr, 1, picture, CRect(20, 20, 70, 70)));
    picture->forget();

    EXPECT_EQ(press(5, 5), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_TRUE(splash->isSplashShown());
    EXPECT_FLOAT_EQ(splash->getValue(), 1.0f);
    EXPECT_EQ(frame->getModalView(), splash->getSplashView());
    EXPECT_EQ(pixelAfterDrawing(40, 40), kRedCColor);

    press(110, 110);
    EXPECT_FALSE(splash->isSplashShown());
    EXPECT_FLOAT_EQ(splash->getValue(), 0.0f);
    EXPECT_EQ(frame->getModalView(), nullptr);
    EXPECT_EQ(pixelAfterDrawing(40, 40), kBlackCColor);
}

TEST_F(ControlDrawing, AutoAnimationOpensOnClickAndStepsRoundItsImages) {
    CDIB* strip = makeStrip(20, 20, 3);
    auto* animation = add(new CAutoAnimation(CRect(10, 10, 30, 30), nullptr, 1, strip));
    strip->forget();
    animation->nextPixmap();  // closed: no effect
    EXPECT_EQ(animation->getImageIndex(), 0);

    press(20, 20);
    EXPECT_TRUE(animation->isWindowOpened());
    EXPECT_FLOAT_EQ(animation->getValue(), 1.0f);
    animation->previousPixmap();
    EXPECT_EQ(animation->getImageIndex(), 2);
    EXPECT_EQ(pixelAfterDrawing(20, 20), shade(2));
    animation->nextPixmap();
    EXPECT_EQ(animation->getImageIndex(), 0);

    press(20, 20);
    EXPECT_FALSE(animation->isWindowOpened());
    EXPECT_EQ(pixelAfterDrawing(20, 20), kBlackCColor);
}

TEST_F(ControlDrawing, ParamDisplayFormatsItsValueAndDrawsBackAndFrame) {
    auto* display = add(new CParamDisplay(CRect(10, 10, 60, 30)));
    display->setValue(0.5f);
    EXPECT_EQ(display->getDisplayText(), "0.50");
    display->setStringConvert([](float v, char* text, void* data) {
        std::snprintf(text, 256, "%s %.1f dB", static_cast<const char*>(data), static_cast<double>(v * 10));
    }, const_cast<char*>("Gain"));
    EXPECT_EQ(display->getDisplayText(), "Gain 5.0 dB");

    display->setStyle(kNoTextStyle);
    display->setBackColor(kBlueCColor);
    display->setFrameColor(kRedCColor);
    EXPECT_EQ(pixelAfterDrawing(10, 20), kRedCColor);
    EXPECT_EQ(target->getPixel(12, 20), kBlueCColor);

    auto* label = add(new CTextLabel(CRect(10, 40, 60, 60), "Low Shelf"));
    label->setValue(3);
    EXPECT_EQ(label->getDisplayText(), "Low Shelf");
}

}  // namespace
