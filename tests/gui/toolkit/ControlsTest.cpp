// The standard controls driven through a headless frame: presses, drags
// and the wheel go to the frame in frame coordinates, and a recording
// listener sees the values and the edit brackets.

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/Knobs.h"
#include "gui/toolkit/Sliders.h"
#include "gui/toolkit/Switches.h"

using namespace VSTGUI;

namespace {

struct Event {
    std::string what;  // "begin", "value" or "end"
    float value;
};

class Recorder : public CControlListener {
public:
    void valueChanged(CControl* c) override { events.push_back({"value", c->getValue()}); }
    void controlBeginEdit(CControl* c) override { events.push_back({"begin", c->getValue()}); }
    void controlEndEdit(CControl* c) override { events.push_back({"end", c->getValue()}); }

    std::vector<float> values() const {
        std::vector<float> out;
        for (const Event& e : events)
            if (e.what == "value") out.push_back(e.value);
        return out;
    }
    // True when the events are one begin, then only values, then one end.
    bool oneBracketAroundValues() const {
        if (events.size() < 2 || events.front().what != "begin" || events.back().what != "end") return false;
        for (size_t i = 1; i + 1 < events.size(); ++i)
            if (events[i].what != "value") return false;
        return true;
    }

    // True when there are `presses` brackets, none nested, and every value
    // lies inside one.
    bool bracketsPerPress(size_t presses) const {
        size_t begun = 0;
        bool open = false;
        for (const Event& e : events) {
            if (e.what == "begin" && open) return false;
            if (e.what == "end" && !open) return false;
            if (e.what == "value" && !open) return false;
            if (e.what != "value") open = !open;
            begun += e.what == "begin";
        }
        return !open && begun == presses;
    }

    std::vector<Event> events;
};

class Controls : public ::testing::Test {
protected:
    void SetUp() override { frame = new CFrame(CRect(0, 0, 300, 300), nullptr); }
    void TearDown() override { frame->forget(); }

    template <class T>
    T* add(T* control) {
        frame->addView(control);
        return control;
    }
    CMouseEventResult press(CCoord x, CCoord y, int32_t buttons = kLButton) {
        CPoint p(x, y);
        return frame->onMouseDown(p, buttons);
    }
    void move(CCoord x, CCoord y, int32_t buttons = kLButton) {
        CPoint p(x, y);
        frame->onMouseMoved(p, buttons);
    }
    void release(CCoord x, CCoord y, int32_t buttons = 0) {
        CPoint p(x, y);
        frame->onMouseUp(p, buttons);
    }
    void drag(CPoint from, CPoint to, int32_t buttons = kLButton) {
        press(from.x, from.y, buttons);
        move(to.x, to.y, buttons);
        release(to.x, to.y);
    }

    CFrame* frame = nullptr;
    Recorder recorder;
};

// Each row plays presses ('d'), moves ('m') and releases ('u') with the
// buttons held on a fresh control and checks its value after every step;
// every left press is one edit bracket around the values reported.
//  - knobs: half the range per 100 px, a tenth of that while the fine
//    modifier is held (from the move it is held on), clamped at the ends
//    with each end reported once, and only the left button edits;
//  - sliders: the handle follows the pointer from where it was grabbed, a
//    press beside it centres it there, fine moves ten times slower from the
//    press and letting go of the modifier makes no jump;
//  - an on/off button toggles at each press, a kick button is on only while
//    pressed inside, a movie button toggles only when let go inside, a
//    switch takes the position under the pointer, a rocker holds the end
//    pressed and returns to the middle.
TEST_F(Controls, ControlsFollowPressesMovesAndReleases) {
    const int32_t L = kLButton, F = kLButton | modifierRoles().fine, R = kRButton;
    struct Step {
        char kind;
        CCoord x, y;
        int32_t buttons;
        float after;
    };
    auto knob = [](float min, float max, float start) {
        return [=](CControlListener* l) -> CControl* {
            auto* c = new CKnob(CRect(10, 150, 50, 190), l, 1);
            c->setMin(min), c->setMax(max), c->setValue(start);
            return c;
        };
    };
    auto at = [](CControl* c, float value) { return c->setValue(value), c; };
    const struct {
        const char* name;
        std::function<CControl*(CControlListener*)> make;
        std::vector<Step> gesture;
        std::optional<std::vector<float>> heard;
    } rows[] = {
        {"knob", knob(0, 1, 0.2f), {{'d', 30, 170, L, 0.2f}, {'m', 30, 70, L, 0.7f}, {'u', 30, 70, 0, 0.7f}}, {{0.7f}}},
        {"knob, fine", knob(0, 1, 0.2f), {{'d', 30, 170, F, 0.2f}, {'m', 30, 70, F, 0.25f}, {'u', 30, 70, 0, 0.25f}}, {{0.25f}}},
        {"knob, down a wide range", knob(-12, 12, 0), {{'d', 30, 170, L, 0}, {'m', 30, 220, L, -6}, {'u', 30, 220, 0, -6}}, {{-6}}},
        {"knob, fine from mid-drag", knob(0, 1, 0),
         {{'d', 30, 170, L, 0}, {'m', 30, 120, L, 0.25f}, {'m', 30, 70, F, 0.275f}, {'u', 30, 70, 0, 0.275f}}, {{0.25f, 0.275f}}},
        {"knob, clamped", knob(0, 1, 0.9f),
         {{'d', 30, 170, L, 0.9f}, {'m', 30, 140, L, 1}, {'m', 30, -200, L, 1}, {'m', 30, 400, L, 0}, {'u', 30, 400, 0, 0}}, {{1, 0}}},
        {"knob, right button", knob(0, 1, 0.5f), {{'d', 30, 170, R, 0.5f}, {'m', 30, 0, R, 0.5f}, {'u', 30, 0, 0, 0.5f}}, {{}}},
        // 20 px wide: a 12 px handle travelling 108 px, minimum at the bottom.
        {"slider grabbed 2 px below its top", [&](CControlListener* l) { return at(new CVerticalSlider(CRect(100, 20, 120, 140), l, 1), 0); },
         {{'d', 110, 130, L, 0}, {'m', 110, 76, L, 0.5f}, {'m', 110, -50, L, 1}, {'u', 110, -50, 0, 1}}, {}},
        {"slider pressed beside its handle", [&](CControlListener* l) { return at(new CVerticalSlider(CRect(100, 20, 120, 140), l, 1), 0); },
         {{'d', 110, 80, L, 0.5f}, {'u', 110, 80, 0, 0.5f}}, {}},
        {"slider with its minimum on the right", [&](CControlListener* l) {
             return at(new CHorizontalSlider(CRect(10, 200, 130, 220), l, 2, nullptr, nullptr, kRight), 0);
         }, {{'d', 70, 210, L, 0.5f}, {'u', 70, 210, 0, 0.5f}}, {}},
        {"slider, fine", [&](CControlListener* l) { return at(new CHorizontalSlider(CRect(10, 10, 130, 30), l, 1), 0.5f); },
         {{'d', 20, 20, F, 0.5f}, {'m', 128, 20, F, 0.6f}, {'m', 128, 20, L, 0.6f}, {'m', 138.8f, 20, L, 0.7f}, {'u', 138.8f, 20, 0, 0.7f}},
         {}},
        {"on/off", [](CControlListener* l) { return new COnOffButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, L, 1}, {'u', 20, 20, 0, 1}, {'d', 20, 20, L, 0}, {'u', 20, 20, 0, 0}}, {{1, 0}}},
        {"kick", [](CControlListener* l) { return new CKickButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, L, 1}, {'u', 20, 20, 0, 0}, {'d', 20, 20, L, 1}, {'m', 80, 20, L, 0}, {'m', 30, 20, L, 1},
          {'m', 80, 20, L, 0}, {'u', 80, 20, 0, 0}},
         {{1, 0, 1, 0, 1, 0}}},
        {"movie", [](CControlListener* l) { return new CMovieButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, L, 0}, {'u', 25, 25, 0, 1}, {'d', 20, 20, L, 1}, {'u', 90, 90, 0, 1}}, {{1}}},
        {"vertical switch", [](CControlListener* l) { return new CVerticalSwitch(CRect(10, 10, 30, 110), l, 1, 5); },
         {{'d', 20, 15, L, 0}, {'m', 20, 60, L, 0.5f}, {'m', 20, 400, L, 1}, {'u', 20, 400, 0, 1}}, {}},
        {"horizontal switch", [](CControlListener* l) {
             auto* c = new CHorizontalSwitch(CRect(50, 10, 110, 30), l, 2, 3);
             c->setMax(2);
             return c;
         }, {{'d', 95, 20, L, 2}, {'u', 95, 20, 0, 2}, {'d', 75, 20, L, 1}, {'u', 75, 20, 0, 1}}, {}},
        {"rocker", [](CControlListener* l) { return new CRockerSwitch(CRect(10, 10, 30, 50), l, 1); },
         {{'d', 20, 15, L, 1}, {'m', 20, 45, L, -1}, {'u', 20, 45, 0, 0}}, {{1, -1, 0}}},
        {"rocker across", [](CControlListener* l) {
             return new CRockerSwitch(CRect(50, 10, 90, 30), l, 2, nullptr, kHorizontal);
         }, {{'d', 55, 20, L, -1}, {'u', 55, 20, 0, 0}}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        recorder.events.clear();
        CControl* control = add(row.make(&recorder));
        size_t presses = 0;
        for (const Step& step : row.gesture) {
            if (step.kind == 'd') press(step.x, step.y, step.buttons), presses += step.buttons == L || step.buttons == F;
            if (step.kind == 'm') move(step.x, step.y, step.buttons);
            if (step.kind == 'u') release(step.x, step.y);
            EXPECT_NEAR(control->getValue(), step.after, 1e-3f) << step.kind << " at " << step.x << "," << step.y;
        }
        EXPECT_TRUE(!row.heard || recorder.values() == *row.heard);
        EXPECT_TRUE(recorder.bracketsPerPress(presses));
        EXPECT_FALSE(control->isEditing());
        frame->removeView(control);
    }
}

TEST_F(Controls, DoubleClickResetsKnobsAndSlidersToTheirDefault) {
    auto* knob = add(new CKnob(CRect(10, 10, 50, 50), &recorder, 1));
    knob->setDefaultValue(0.5f);
    knob->setValue(0.9f);
    auto* slider = add(new CVerticalSlider(CRect(100, 10, 120, 130), nullptr, 2));
    slider->setDefaultValue(0.25f);
    slider->setValue(0.75f);

    const CRect handle = slider->getHandleRect();
    const CCoord handleX = (handle.left + handle.right) / 2;
    const CCoord handleY = (handle.top + handle.bottom) / 2;
    press(30, 30);
    release(30, 30);
    press(handleX, handleY);
    release(handleX, handleY);
    EXPECT_FLOAT_EQ(knob->getValue(), 0.9f);  // single presses change nothing
    EXPECT_FLOAT_EQ(slider->getValue(), 0.75f);

    recorder.events.clear();
    EXPECT_EQ(press(30, 30), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_FLOAT_EQ(knob->getValue(), 0.5f);
    EXPECT_TRUE(recorder.oneBracketAroundValues());
    press(handleX, handleY);
    EXPECT_FLOAT_EQ(slider->getValue(), 0.25f);
}

TEST_F(Controls, WheelStepsByTheIncrementAndFineByATenth) {
    auto* knob = add(new CKnob(CRect(10, 10, 50, 50), &recorder, 1));
    knob->setValue(0.5f);
    EXPECT_TRUE(frame->onWheel(CPoint(30, 30), 1.0f, 0));
    EXPECT_NEAR(knob->getValue(), 0.6f, 1e-5f);
    EXPECT_TRUE(frame->onWheel(CPoint(30, 30), -1.0f, modifierRoles().fine));
    EXPECT_NEAR(knob->getValue(), 0.59f, 1e-5f);

    auto* slider = add(new CHorizontalSlider(CRect(60, 10, 180, 30), nullptr, 2));
    slider->setValue(0.95f);
    frame->onWheel(CPoint(100, 20), 1.0f, 0);
    EXPECT_FLOAT_EQ(slider->getValue(), 1.0f);

    // Buttons ignore the wheel.
    auto* button = add(new COnOffButton(CRect(200, 10, 240, 30), nullptr, 3));
    EXPECT_FALSE(frame->onWheel(CPoint(220, 20), 1.0f, 0));
    EXPECT_FLOAT_EQ(button->getValue(), 0.0f);
}

// ---- Sliders ----

TEST_F(Controls, SliderHandlesSitWhereTheirValueAndTravelPutThem) {
    // 20 px wide: a 12 px handle, minimum at the bottom.
    auto* slider = add(new CVerticalSlider(CRect(100, 20, 120, 140), nullptr, 1));
    slider->setValue(0);
    EXPECT_EQ(slider->getHandleRect(), CRect(101, 128, 119, 140));
    auto* reversed = add(new CHorizontalSlider(CRect(10, 200, 130, 220), nullptr, 2, nullptr, nullptr, kRight));
    reversed->setValue(0);
    EXPECT_EQ(reversed->getHandleRect().right, 130);
    auto* limited = add(new CSlider(CRect(100, 20, 120, 140), nullptr, 3, kVertical | kTop));
    limited->setMinPos(10);
    limited->setMaxPos(50);
    limited->setValue(0);
    EXPECT_EQ(limited->getHandleRect().top, 30);
    limited->setValue(1);
    EXPECT_EQ(limited->getHandleRect().top, 70);
}

}  // namespace
