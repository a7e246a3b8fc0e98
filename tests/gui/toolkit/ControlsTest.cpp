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

// ---- Knobs ----

// Each row drags a fresh knob from y = 170 through `moves` (y and the
// buttons held) and lets go: half the range per 100 px, a tenth of that
// while the fine modifier is held, clamped at the ends with each end
// reported once, and only the left button edits.
TEST_F(Controls, KnobDragsFollowThePointerWithinTheRange) {
    const int32_t fine = kLButton | modifierRoles().fine;
    const struct {
        const char* name;
        float min, max, start;
        int32_t pressed;
        std::vector<std::pair<CCoord, int32_t>> moves;
        std::vector<float> heard;  // the last is where the knob ends
    } rows[] = {
        {"coarse", 0, 1, 0.2f, kLButton, {{70, kLButton}}, {0.7f}},
        {"fine", 0, 1, 0.2f, fine, {{70, fine}}, {0.25f}},
        {"down, wide range", -12, 12, 0, kLButton, {{220, kLButton}}, {-6}},
        {"fine from mid-drag on", 0, 1, 0, kLButton, {{120, kLButton}, {70, fine}}, {0.25f, 0.275f}},
        {"clamped", 0, 1, 0.9f, kLButton, {{140, kLButton}, {-200, kLButton}, {400, kLButton}}, {1, 0}},
        {"right button", 0, 1, 0.5f, kRButton, {{0, kRButton}}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        recorder.events.clear();
        auto* knob = add(new CKnob(CRect(10, 150, 50, 190), &recorder, 1));
        knob->setMin(row.min);
        knob->setMax(row.max);
        knob->setValue(row.start);
        EXPECT_EQ(press(30, 170, row.pressed), row.pressed == kRButton ? kMouseEventNotHandled : kMouseEventHandled);
        for (const auto& [y, buttons] : row.moves) move(30, y, buttons);
        release(30, row.moves.back().first);
        const std::vector<float> heard = recorder.values();
        ASSERT_EQ(heard.size(), row.heard.size());
        for (size_t i = 0; i < heard.size(); ++i) EXPECT_NEAR(heard[i], row.heard[i], 1e-3f) << i;
        EXPECT_NEAR(knob->getValue(), row.heard.empty() ? row.start : row.heard.back(), 1e-3f);
        EXPECT_EQ(recorder.oneBracketAroundValues(), !row.heard.empty());
        EXPECT_FALSE(knob->isEditing());
        frame->removeView(knob);
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

TEST_F(Controls, VerticalSliderHandleFollowsThePointerFromWhereItWasGrabbed) {
    // 20 px wide: a 12 px handle travelling 108 px, minimum at the bottom.
    auto* slider = add(new CVerticalSlider(CRect(100, 20, 120, 140), &recorder, 1));
    slider->setValue(0);
    EXPECT_EQ(slider->getHandleRect(), CRect(101, 128, 119, 140));

    // Grabbed 2 px below the handle's top: moving up 54 px is half the travel.
    press(110, 130);
    move(110, 76);
    EXPECT_NEAR(slider->getValue(), 0.5f, 1e-4f);
    move(110, -50);
    EXPECT_FLOAT_EQ(slider->getValue(), 1.0f);
    release(110, -50);
    EXPECT_TRUE(recorder.oneBracketAroundValues());
}

TEST_F(Controls, SliderClickBesideTheHandleCentresItThere) {
    auto* slider = add(new CVerticalSlider(CRect(100, 20, 120, 140), nullptr, 1));
    slider->setValue(0);
    press(110, 80);  // handle centre at local 60: its top at 54 of 108
    EXPECT_NEAR(slider->getValue(), 0.5f, 1e-4f);
    release(110, 80);

    // Minimum on the right: the value grows leftwards.
    auto* reversed = add(new CHorizontalSlider(CRect(10, 200, 130, 220), nullptr, 2, nullptr, nullptr, kRight));
    reversed->setValue(0);
    EXPECT_EQ(reversed->getHandleRect().right, 130);
    press(70, 210);
    EXPECT_NEAR(reversed->getValue(), 0.5f, 1e-4f);
    release(70, 210);
}

TEST_F(Controls, SliderFineModifierMovesTenTimesSlowerFromTheStartPoint) {
    auto* slider = add(new CHorizontalSlider(CRect(10, 10, 130, 30), nullptr, 1));
    slider->setValue(0.5f);
    const int32_t fine = kLButton | modifierRoles().fine;
    press(20, 20, fine);  // off the handle: with fine held nothing jumps
    EXPECT_FLOAT_EQ(slider->getValue(), 0.5f);
    move(128, 20, fine);  // the whole travel, 108 px
    EXPECT_NEAR(slider->getValue(), 0.6f, 1e-4f);
    // Letting go of the modifier keeps the handle where it is.
    const CRect before = slider->getHandleRect();
    move(128, 20);
    EXPECT_EQ(slider->getHandleRect(), before);
    move(138.8f, 20);
    EXPECT_NEAR(slider->getValue(), 0.7f, 1e-4f);
    release(138.8f, 20);
}

TEST_F(Controls, SliderTravelLimitsPlaceTheHandle) {
    auto* slider = add(new CSlider(CRect(100, 20, 120, 140), nullptr, 1, kVertical | kTop));
    slider->setMinPos(10);
    slider->setMaxPos(50);
    slider->setValue(0);
    EXPECT_EQ(slider->getHandleRect().top, 30);
    slider->setValue(1);
    EXPECT_EQ(slider->getHandleRect().top, 70);
}

// ---- Buttons and switches ----

// Each row plays presses ('d'), moves ('m') and releases ('u') on a fresh
// control and checks its value after every step: an on/off button toggles
// at each press, a kick button is on only while pressed inside, a movie
// button toggles only when let go inside, a switch takes the position under
// the pointer, a rocker holds the end pressed and returns to the middle.
// Every press is one edit bracket around the values reported.
TEST_F(Controls, ButtonsAndSwitchesFollowPressesMovesAndReleases) {
    struct Step {
        char kind;
        CCoord x, y;
        float after;
    };
    const struct {
        const char* name;
        std::function<CControl*(CControlListener*)> make;
        std::vector<Step> gesture;
        std::optional<std::vector<float>> heard;
    } rows[] = {
        {"on/off", [](CControlListener* l) { return new COnOffButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, 1}, {'u', 20, 20, 1}, {'d', 20, 20, 0}, {'u', 20, 20, 0}}, {{1, 0}}},
        {"kick", [](CControlListener* l) { return new CKickButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, 1}, {'u', 20, 20, 0}, {'d', 20, 20, 1}, {'m', 80, 20, 0}, {'m', 30, 20, 1}, {'m', 80, 20, 0},
          {'u', 80, 20, 0}},
         {{1, 0, 1, 0, 1, 0}}},
        {"movie", [](CControlListener* l) { return new CMovieButton(CRect(10, 10, 50, 30), l, 1); },
         {{'d', 20, 20, 0}, {'u', 25, 25, 1}, {'d', 20, 20, 1}, {'u', 90, 90, 1}}, {{1}}},
        {"vertical switch", [](CControlListener* l) { return new CVerticalSwitch(CRect(10, 10, 30, 110), l, 1, 5); },
         {{'d', 20, 15, 0}, {'m', 20, 60, 0.5f}, {'m', 20, 400, 1}, {'u', 20, 400, 1}}, {}},
        {"horizontal switch", [](CControlListener* l) {
             auto* c = new CHorizontalSwitch(CRect(50, 10, 110, 30), l, 2, 3);
             c->setMax(2);
             return c;
         }, {{'d', 95, 20, 2}, {'u', 95, 20, 2}, {'d', 75, 20, 1}, {'u', 75, 20, 1}}, {}},
        {"rocker", [](CControlListener* l) { return new CRockerSwitch(CRect(10, 10, 30, 50), l, 1); },
         {{'d', 20, 15, 1}, {'m', 20, 45, -1}, {'u', 20, 45, 0}}, {{1, -1, 0}}},
        {"rocker across", [](CControlListener* l) {
             return new CRockerSwitch(CRect(50, 10, 90, 30), l, 2, nullptr, kHorizontal);
         }, {{'d', 55, 20, -1}, {'u', 55, 20, 0}}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        recorder.events.clear();
        CControl* control = add(row.make(&recorder));
        size_t presses = 0;
        for (const Step& step : row.gesture) {
            if (step.kind == 'd') press(step.x, step.y), ++presses;
            if (step.kind == 'm') move(step.x, step.y);
            if (step.kind == 'u') release(step.x, step.y);
            EXPECT_FLOAT_EQ(control->getValue(), step.after) << step.kind << " at " << step.x << "," << step.y;
        }
        EXPECT_TRUE(!row.heard || recorder.values() == *row.heard);
        EXPECT_TRUE(recorder.bracketsPerPress(presses));
        frame->removeView(control);
    }
}

}  // namespace
