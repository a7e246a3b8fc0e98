// The view tree through the frame: who gets the mouse and in which
// coordinates, modal views, focus, reference counts, control values and
// edit brackets, hidden containers and the editor's frame callback.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CGFrame.h"
#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/CTimer.h"
#include "gui/toolkit/HeadlessRender.h"
#include "gui/toolkit/iControl.h"

using namespace VSTGUI;

namespace {

std::vector<std::string> gLog;

// A view that logs its mouse calls with the point it was given.
class Probe : public CView {
public:
    Probe(const char* n, const CRect& r, CMouseEventResult answer = kMouseEventHandled)
        : CView(r), name(n), answer(answer) {
        ++made;
    }
    ~Probe() override { ++destroyed; }

    CMouseEventResult onMouseDown(CPoint& p, const int32_t& buttons) override {
        record("down", p, buttons);
        return answer;
    }
    CMouseEventResult onMouseMoved(CPoint& p, const int32_t& buttons) override {
        record("moved", p, buttons);
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseUp(CPoint& p, const int32_t& buttons) override {
        record("up", p, buttons);
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseEntered(CPoint&, const int32_t&) override {
        gLog.push_back(name + " entered");
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseExited(CPoint&, const int32_t&) override {
        gLog.push_back(name + " exited");
        return kMouseEventHandled;
    }
    void takeFocus() override { gLog.push_back(name + " focus"); }
    void looseFocus() override { gLog.push_back(name + " unfocus"); }

    static int made, destroyed;

private:
    void record(const char* what, const CPoint& p, int32_t buttons) {
        gLog.push_back(name + " " + what + " " + std::to_string(static_cast<int>(p.x)) + "," +
                       std::to_string(static_cast<int>(p.y)) + " b" + std::to_string(buttons));
    }
    std::string name;
    CMouseEventResult answer;
};
int Probe::made = 0, Probe::destroyed = 0;

class Listener : public CControlListener {
public:
    void valueChanged(CControl* c) override { log.push_back("changed " + std::to_string(c->getValue())); }
    int32_t controlModifierClicked(CControl*, int32_t buttons) override {
        log.push_back("modified " + std::to_string(buttons));
        return consume ? 1 : 0;
    }
    void controlBeginEdit(CControl*) override { log.push_back("begin"); }
    void controlEndEdit(CControl*) override { log.push_back("end"); }
    std::vector<std::string> log;
    bool consume = true;
};

class Editor : public VSTGUIEditorInterface {
public:
    void beginEdit(int32_t index) override { log.push_back("host begin " + std::to_string(index)); }
    void endEdit(int32_t index) override { log.push_back("host end " + std::to_string(index)); }
    std::vector<std::string> log;
};

// A control that drags its value with the pointer, 100 px per unit.
class Dragger : public CControl {
public:
    using CControl::CControl;
    CMouseEventResult onMouseDown(CPoint& p, const int32_t&) override {
        start = p.y;
        beginEdit();
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseMoved(CPoint& p, const int32_t& buttons) override {
        if (!(buttons & kLButton)) return kMouseEventNotHandled;
        value = (start - p.y) / 100.0f;
        bounceValue();
        valueChanged();
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseUp(CPoint&, const int32_t&) override {
        endEdit();
        return kMouseEventHandled;
    }
    float start = 0;
};

struct ViewTree : ::testing::Test {
    void SetUp() override {
        gLog.clear();
        Probe::destroyed = 0;
    }
};

}  // namespace

// Each row builds a tree in a fresh frame and plays mouse calls on it
// ('d'own, 'm'oved, 'u'p, e'x'ited, or '!' for the row's own step): the
// topmost view that takes a press gets it in its parent's coordinates and
// keeps the moves and the release wherever they go; hidden, disabled and
// declining views let it through; a press moves the focus to a view that
// wants it or takes it away; the pointer enters and exits what it crosses.
// Every view is freed once with the frame.
TEST_F(ViewTree, MouseCallsReachTheRightViewsInTheirCoordinates) {
    struct Call {
        char kind;
        CCoord x, y;
        int32_t buttons;
    };
    CGViewContainer* page = nullptr;
    const struct {
        const char* name;
        std::function<void(CFrame*)> build;
        std::vector<Call> calls;
        std::vector<std::string> log;
    } rows[] = {
        {"topmost, in its parent's coordinates", [](CFrame* f) {
             auto* box = new CViewContainer(CRect(50, 40, 250, 190));
             box->addView(new Probe("under", CRect(0, 0, 100, 100)));
             box->addView(new Probe("over", CRect(20, 20, 60, 60)));
             f->addView(box);
         },
         {{'d', 80, 70, kLButton}, {'m', 400, 400, kLButton}, {'u', 400, 400, kLButton}, {'d', 60, 50, kLButton | kShift}},
         {"over down 30,30 b2", "over moved 350,360 b2", "over up 350,360 b2", "under down 10,10 b18"}},
        {"through hidden, disabled and declining views", [&page](CFrame* f) {
             f->addView(new Probe("bottom", CRect(0, 0, 100, 100)));
             f->addView(new Probe("declining", CRect(0, 0, 100, 100), kMouseEventNotHandled));
             auto* disabled = new Probe("disabled", CRect(0, 0, 100, 100));
             disabled->setMouseEnabled(false);
             f->addView(disabled);
             page = new CGViewContainer(CRect(0, 0, 100, 100), true);
             page->addView(new Probe("on hidden page", CRect(0, 0, 100, 100)));
             f->addView(page);
             auto* invisible = new Probe("invisible", CRect(0, 0, 100, 100));
             invisible->setVisible(false);
             f->addView(invisible);
         },
         {{'d', 10, 10, kLButton}, {'u', 10, 10, kLButton}, {'!', 0, 0, 0}, {'d', 10, 10, kLButton}},
         {"declining down 10,10 b2", "bottom down 10,10 b2", "bottom up 10,10 b2", "on hidden page down 10,10 b2"}},
        {"focus", [](CFrame* f) {
             auto* a = new Probe("a", CRect(0, 0, 100, 100));
             a->setWantsFocus(true);
             f->addView(a);
             f->addView(new Probe("b", CRect(100, 0, 200, 100)));
         },
         {{'d', 10, 10, kLButton}, {'u', 10, 10, kLButton}, {'d', 150, 10, kLButton}},
         {"a down 10,10 b2", "a focus", "a up 10,10 b2", "b down 150,10 b2", "a unfocus"}},
        {"crossing", [](CFrame* f) {
             f->addView(new Probe("a", CRect(0, 0, 100, 100)));
             f->addView(new Probe("b", CRect(100, 0, 200, 100)));
         },
         {{'m', 10, 10, 0}, {'m', 150, 10, 0}, {'x', 150, 10, 0}},
         {"a entered", "a moved 10,10 b0", "a exited", "b entered", "b moved 150,10 b0", "b exited"}},
    };
    for (const auto& row : rows) {
        gLog.clear();
        Probe::made = Probe::destroyed = 0;
        auto* frame = new CFrame(CRect(0, 0, 300, 200), nullptr);
        row.build(frame);
        for (const Call& call : row.calls) {
            CPoint p(call.x, call.y);
            if (call.kind == 'd') frame->onMouseDown(p, call.buttons);
            if (call.kind == 'm') frame->onMouseMoved(p, call.buttons);
            if (call.kind == 'u') frame->onMouseUp(p, call.buttons);
            if (call.kind == 'x') frame->onMouseExited(p, call.buttons);
            if (call.kind == '!') page->setHidden(false);
        }
        EXPECT_EQ(gLog, row.log) << row.name;
        frame->forget();
        EXPECT_EQ(Probe::destroyed, Probe::made) << row.name;
    }
}

TEST_F(ViewTree, AModalViewTakesEveryPressAndOnlyOneCanBeSet) {
    auto* frame = new CFrame(CRect(0, 0, 200, 200), nullptr);
    frame->addView(new Probe("below", CRect(0, 0, 200, 200)));
    auto* holder = new CViewContainer(CRect(100, 100, 200, 200));
    auto* modal = new Probe("modal", CRect(10, 10, 50, 50));
    holder->addView(modal);
    frame->addView(holder);
    EXPECT_TRUE(frame->setModalView(modal));
    auto* second = new Probe("second", CRect());
    EXPECT_FALSE(frame->setModalView(second));
    second->forget();
    Probe::destroyed = 0;

    CPoint p(5, 5);  // outside the modal view, still its press
    frame->onMouseDown(p, kLButton);
    frame->onMouseUp(p, kLButton);
    EXPECT_EQ(gLog, (std::vector<std::string>{"modal down -95,-95 b2", "modal up -95,-95 b2"}));

    // A modal view that leaves the tree stops being modal.
    holder->removeView(modal);
    EXPECT_EQ(frame->getModalView(), nullptr);
    EXPECT_EQ(Probe::destroyed, 1);
    gLog.clear();
    frame->onMouseDown(p, kLButton);
    EXPECT_EQ(gLog, (std::vector<std::string>{"below down 5,5 b2"}));
    frame->forget();
}

TEST_F(ViewTree, ViewsAreFreedOnceWhetherRemovedOrOwnedToTheEnd) {
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* box = new CViewContainer(CRect(0, 0, 100, 100));
    auto* kept = new Probe("kept", CRect(0, 0, 10, 10));
    box->addView(kept);
    box->addView(new Probe("dropped", CRect(0, 0, 10, 10)));
    frame->addView(box);
    EXPECT_FALSE(box->addView(kept));  // already a child

    kept->remember();  // someone else holds it too
    EXPECT_TRUE(box->removeView(kept));
    EXPECT_EQ(Probe::destroyed, 0);
    EXPECT_FALSE(kept->isAttached());
    EXPECT_EQ(kept->getFrame(), nullptr);
    frame->addView(kept);  // the extra reference moves into the frame
    EXPECT_EQ(kept->getFrame(), frame);

    frame->forget();
    EXPECT_EQ(Probe::destroyed, 2);
}

TEST_F(ViewTree, ControlValuesClampAndEditsAreBracketedOnce) {
    Editor editor;
    Listener listener;
    auto* frame = new CFrame(CRect(0, 0, 100, 300), &editor);
    auto* control = new Dragger(CRect(0, 100, 100, 200), &listener, 7);
    control->setMin(0);
    control->setMax(1);
    frame->addView(control);

    CPoint p(50, 150);
    frame->onMouseDown(p, kLButton);
    p.y = 100;
    frame->onMouseMoved(p, kLButton);
    p.y = -100;  // far past the top: clamps at max
    frame->onMouseMoved(p, kLButton);
    frame->onMouseUp(p, kLButton);
    EXPECT_EQ(control->getValue(), 1.0f);
    EXPECT_EQ(listener.log, (std::vector<std::string>{"begin", "changed 0.500000", "changed 1.000000", "end"}));
    EXPECT_EQ(editor.log, (std::vector<std::string>{"host begin 7", "host end 7"}));

    // Nested brackets reach the listener once.
    listener.log.clear();
    control->beginEdit();
    control->beginEdit();
    control->endEdit();
    EXPECT_TRUE(control->isEditing());
    control->endEdit();
    control->endEdit();  // unbalanced: ignored
    EXPECT_EQ(listener.log, (std::vector<std::string>{"begin", "end"}));
    frame->forget();
}

TEST_F(ViewTree, ModifiedClicksAreOfferedToTheListenerFirst) {
    Listener listener;
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* control = new Dragger(CRect(0, 0, 100, 100), &listener, 1);
    frame->addView(control);
    CPoint p(10, 10);
    EXPECT_EQ(frame->onMouseDown(p, kLButton | kAlt), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_EQ(listener.log, (std::vector<std::string>{"modified 66"}));

    listener.log.clear();
    listener.consume = false;  // declined: the control gets the press
    EXPECT_EQ(frame->onMouseDown(p, kRButton), kMouseEventHandled);
    EXPECT_EQ(listener.log, (std::vector<std::string>{"modified 8", "begin"}));
    frame->onMouseUp(p, kRButton);

    listener.log.clear();
    frame->onMouseDown(p, kLButton);  // a plain click is not offered
    EXPECT_EQ(listener.log, (std::vector<std::string>{"begin"}));
    frame->onMouseUp(p, kLButton);
    frame->forget();
}

TEST_F(ViewTree, DoubleClickWithinTheTimeResetsToTheDefault) {
    Listener listener;
    auto* control = new CControl(CRect(0, 0, 10, 10), &listener);
    control->setDefaultValue(0.25f);
    control->setValue(0.9f);
    EXPECT_FALSE(control->checkDefaultValue(kLButton));
    EXPECT_TRUE(control->checkDefaultValue(kLButton));  // at once: well inside 400 ms
    EXPECT_EQ(control->getValue(), 0.25f);
    control->setValue(0.9f);
    EXPECT_TRUE(control->checkDefaultValue(kLButton | kDoubleClick));  // the platform's own double click
    EXPECT_FALSE(control->checkDefaultValue(kRButton));
    EXPECT_EQ(listener.log, (std::vector<std::string>{"begin", "changed 0.250000", "end", "begin", "changed 0.250000", "end"}));
    control->forget();
}

namespace {

class Claimer : public iVSTFrameCallbackInterface {
public:
    CView* viewAtPoint(const CPoint& where) override { return where.x < 10 ? special : nullptr; }
    bool frameMouseDown(CPoint& where, const int32_t&) override { return where.y < 10; }
    CView* special = nullptr;
};

class Page : public CGViewContainer, public iControl {
public:
    Page(const CRect& r, int32_t number) : CGViewContainer(r, number != 0), number(number) {}
    int32_t getTag() const override { return 42; }
    float getValue() const override { return value; }
    void setValue(float v) override {
        value = v;
        setHidden(static_cast<int32_t>(v) != number);
    }
    void invalidControl() override { invalid(); }
    void setControlSize(const CRect& r) override { setViewSize(r); }
    CRect getControlSize() const override { return getViewSize(); }
    CRect getControlMouseableArea() const override { return getMouseableArea(); }
    float value = 0;
    int32_t number;
};

}  // namespace

TEST_F(ViewTree, TheEditorsFrameCallbackSeesPressesFirst) {
    Claimer claimer;
    auto* frame = new CGFrame(CRect(0, 0, 100, 100), nullptr, &claimer);
    auto* probe = new Probe("probe", CRect(0, 0, 100, 100));
    frame->addView(probe);
    claimer.special = probe;
    CPoint p(50, 5);
    EXPECT_EQ(frame->onMouseDown(p, kLButton), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_TRUE(gLog.empty());
    p = CPoint(50, 50);
    EXPECT_EQ(frame->onMouseDown(p, kLButton), kMouseEventHandled);
    EXPECT_EQ(gLog.size(), 1u);
    EXPECT_EQ(frame->viewAt(CPoint(5, 50)), probe);
    EXPECT_EQ(frame->viewAt(CPoint(50, 50)), probe);
    frame->forget();
}

TEST_F(ViewTree, PagesSwitchByValueThroughTheirWrapper) {
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* first = new Page(CRect(0, 0, 100, 100), 0);
    auto* second = new Page(CRect(0, 0, 100, 100), 1);
    first->addView(new Probe("first", CRect(0, 0, 100, 100)));
    second->addView(new Probe("second", CRect(0, 0, 100, 100)));
    frame->addView(first);
    frame->addView(second);
    auto* wrapFirst = new iControlWrapper(first);
    auto* wrapSecond = new iControlWrapper(second);
    EXPECT_EQ(wrapFirst->getTag(), 0);
    EXPECT_EQ(wrapFirst->getTargetTag(), 42);

    CPoint p(10, 10);
    frame->onMouseDown(p, kLButton);
    frame->onMouseUp(p, kLButton);
    wrapFirst->setValue(1);
    wrapSecond->setValue(1);
    EXPECT_TRUE(first->isHidden());
    EXPECT_FALSE(second->isHidden());
    EXPECT_EQ(wrapSecond->getValue(), 1.0f);
    frame->onMouseDown(p, kLButton);
    EXPECT_EQ(gLog, (std::vector<std::string>{"first down 10,10 b2", "first up 10,10 b2", "second down 10,10 b2"}));
    wrapFirst->forget();
    wrapSecond->forget();
    frame->forget();
}

TEST_F(ViewTree, TimersFireWhenDueAndNotAfterStopping) {
    int fired = 0;
    CTimer timer(50, [&] { ++fired; });
    timer.start();
    const uint64_t now = toolkitMilliseconds();
    CTimer::fireDue(now);
    EXPECT_EQ(fired, 0);
    CTimer::fireDue(now + 1000);  // late: fires once, not twenty times
    EXPECT_EQ(fired, 1);
    timer.stop();
    CTimer::fireDue(now + 5000);
    EXPECT_EQ(fired, 1);
}

TEST_F(ViewTree, AnyViewTreeDrawsIntoABitmapWithoutAWindow) {
    // A container away from the origin, not in any frame, with a child.
    auto* box = new CViewContainer(CRect(100, 50, 140, 80));
    box->setBackgroundColor(CColor{10, 20, 30, 255});
    auto* inner = new CViewContainer(CRect(10, 5, 20, 15));
    inner->setBackgroundColor(CColor{200, 100, 50, 255});
    box->addView(inner);

    CDIB* picture = renderView(box);
    ASSERT_EQ(picture->width(), 40);
    ASSERT_EQ(picture->height(), 30);
    EXPECT_EQ(picture->getPixel(0, 0), (CColor{10, 20, 30, 255}));
    EXPECT_EQ(picture->getPixel(39, 29), (CColor{10, 20, 30, 255}));
    EXPECT_EQ(picture->getPixel(10, 5), (CColor{200, 100, 50, 255}));
    EXPECT_EQ(picture->getPixel(19, 14), (CColor{200, 100, 50, 255}));
    EXPECT_EQ(picture->getPixel(20, 14), (CColor{10, 20, 30, 255}));
    picture->forget();

    // A frame draws the same way, and clean afterwards.
    auto* frame = new CFrame(CRect(0, 0, 200, 100), nullptr);
    frame->addView(box);
    EXPECT_FALSE(frame->getInvalidRect().isEmpty());
    auto* whole = new CDIB(200, 100);
    frame->drawInto(whole);
    EXPECT_TRUE(frame->getInvalidRect().isEmpty());
    EXPECT_EQ(whole->getPixel(110, 55), (CColor{200, 100, 50, 255}));
    whole->forget();
    frame->forget();
}
