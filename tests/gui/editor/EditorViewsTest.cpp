// The editor's own views and the toolkit elements as the layout builds
// them: attributes reaching the views, pages that resize, drag and scroll,
// tiles and sheets that take or pass the mouse, texts, fades and the
// frames a filmstrip button shows; and the small controls (the setup page
// list, the corner grip, the highlight sheet, the sliders with a value
// readout) driven by mouse calls and judged by what the listener hears and
// by pixels of the drawn views.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "effect/Product.h"
#include "gui/editor/EditorButtons.h"
#include "gui/editor/EditorControls.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/Pages.h"
#include "gui/editor/StaticViews.h"
#include "gui/toolkit/Animations.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/HeadlessRender.h"
#include "gui/toolkit/Sliders.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

// Each report as "tag=value" or "begin tag" / "end tag", and the values alone.
struct Heard : CControlListener {
    void valueChanged(CControl* c) override {
        events.push_back(std::to_string(c->getTag()) + "=" + std::to_string(static_cast<int>(c->getValue())));
        values.push_back(c->getValue());
    }
    void controlBeginEdit(CControl* c) override { events.push_back("begin " + std::to_string(c->getTag())); }
    void controlEndEdit(CControl* c) override { events.push_back("end " + std::to_string(c->getTag())); }
    std::vector<std::string> events;
    std::vector<float> values;
};

// A headless frame holding what a document builds.
struct Built {
    explicit Built(const std::string& body, CCoord width = 800, CCoord height = 500)
        : frame(new CFrame(CRect(0, 0, width, height), nullptr)) {
        const LayoutReadResult doc = readLayoutDocument("<ui>" + body + "</ui>");
        EXPECT_TRUE(doc.ok) << doc.error;
        builder.viewFromLayout(doc.root, frame, frame, &heard);
    }
    ~Built() { frame->forget(); }
    template <class View>
    View* view(int32_t index = 0) const {
        return dynamic_cast<View*>(frame->getView(index));
    }
    CMouseEventResult mouse(int kind, CCoord x, CCoord y, int32_t buttons = kLButton) {
        CPoint at(x, y);
        if (kind == 0) return frame->onMouseDown(at, buttons);
        if (kind == 1) return frame->onMouseMoved(at, buttons);
        return frame->onMouseUp(at, 0);
    }

    Heard heard;
    CFrame* frame;
    LayoutBuilder builder;
};

int32_t press(CView* view, CCoord x, CCoord y, int32_t buttons = kLButton) {
    CPoint where(x, y);
    return view->onMouseDown(where, buttons);
}

TEST(LayoutElements, ToolkitRowsReadTheirAttributes) {
    Built b("<CVerticalSlider2 x=0 y=0 width=20 height=200 offsety=10 rangehandle=100/>"
            "<CHorizontalSlider style=16 minpos=3 maxpos=40 width=60 height=10/>"
            "<CVuMeter nbled=8 width=10 height=80/>"
            "<CKickButton2 heightofoneimage=25 xoff=2 yoff=3 width=20 height=25/>"
            "<CMovieBitmap2 subpixmaps=5 heightofoneimage=12 width=10 height=12/>");
    auto* vertical = b.view<CSlider>(0);
    const CCoord handle = vertical->getHandleLength();
    vertical->setValue(0);  // the minimum at the bottom of the travel
    EXPECT_EQ(vertical->getHandleRect().bottom, 110);
    vertical->setValue(1);
    EXPECT_EQ(vertical->getHandleRect().top, 10);
    EXPECT_EQ(vertical->getHandleRect().height(), handle);
    auto* horizontal = b.view<CSlider>(1);
    EXPECT_TRUE(horizontal->isHorizontal());
    EXPECT_EQ(horizontal->getMinPos(), 3);
    EXPECT_EQ(horizontal->getMaxPos(), 40);
    EXPECT_EQ(b.view<CVuMeter>(2)->getDecreaseStepValue(), 0.1f);
    auto* kick = b.view<CKickButton>(3);
    EXPECT_EQ(kick->getHeightOfOneImage(), 25);
    EXPECT_EQ(kick->getBackOffset(), CPoint(2, 3));
    auto* film = b.view<CMovieBitmap>(4);
    EXPECT_EQ(film->getNumSubPixmaps(), 5);
    EXPECT_EQ(film->getHeightOfOneImage(), 12);
}

TEST(LayoutElements, ResizablePageCarriesItsFirstView) {
    Built b("<nPageR x=10 y=10 width=100 height=80><nPage x=5 y=6 width=100 height=80/>"
            "<nPage x=0 y=0 width=7 height=7/></nPageR>");
    auto* page = b.view<nPageR>();
    page->setViewSize(CRect(10, 10, 310, 210));
    auto* first = static_cast<CView*>(page->getView(0));
    EXPECT_EQ(first->getViewSize(), CRect(5, 6, 305, 206));
    EXPECT_EQ(page->getView(1)->getViewSize(), CRect(0, 0, 7, 7));
}

TEST(LayoutElements, DraggedPageStaysWithinReach) {
    // frame 400 x 300, page 200 x 150 at (50, 50), grabbed at (60, 60)
    const struct { CPoint to; CPoint topLeft; } rows[] = {
        {{110, 90}, {100, 80}},      // free move
        {{1000, 60}, {300, 50}},     // left edge at most width - 100
        {{-500, 60}, {-100, 50}},    // right edge at least 100
        {{60, -40}, {50, 0}},        // top edge not above 0
        {{60, 900}, {50, 200}},      // top edge at most height - 100
    };
    for (const auto& row : rows) {
        Built b("<nDraggablePage x=50 y=50 width=200 height=150 pagenumber=0/>", 400, 300);
        auto* page = b.view<nDraggablePage>();
        ASSERT_EQ(press(page, 60, 60), kMouseEventHandled);
        CPoint where = row.to;
        page->onMouseMoved(where, kLButton);
        page->onMouseUp(where, 0);
        EXPECT_EQ(page->getViewSize().topLeft(), row.topLeft) << row.to.x << "," << row.to.y;
    }
    // A child's own press is not a drag.
    Built b("<nDraggablePage x=0 y=0 width=200 height=150><COnOffButton x=10 y=10 width=20 height=20/>"
            "</nDraggablePage>");
    press(b.view<CView>(), 15, 15);
    EXPECT_EQ(b.heard.values, std::vector<float>{1.0f});
}

TEST(LayoutElements, ScrollBoxFollowsItsShownViews) {
    Built b("<nScrollBox tag=kGUIProcessMode width=200 height=100>"
            "  <nPage tag=kGUIPresetBox pagenumber=0 y=0 width=150 height=40/>"
            "  <nPage tag=kGUIPresetBox pagenumber=1 y=20 width=150 height=280/>"
            "</nScrollBox>");
    auto* box = b.view<nScrollBox>();
    auto* shortPage = static_cast<nPage*>(box->getView(0));
    auto* tallPage = static_cast<nPage*>(box->getView(1));
    EXPECT_EQ(box->scrollRange(), 0);
    EXPECT_TRUE(box->thumbRect().isEmpty());

    shortPage->setValue(1);
    tallPage->setValue(1);
    box->setValue(1);  // the mode changed: the box measures again and stays
    EXPECT_FALSE(box->isHidden());
    EXPECT_EQ(box->scrollRange(), 200);
    box->setScrollOffset(50.4f);
    EXPECT_EQ(box->getScrollOffset(), 50);
    EXPECT_EQ(tallPage->getViewSize().top, -30);
    box->onWheel(CPoint(50, 50), kMouseWheelAxisY, -100, 0);
    EXPECT_EQ(box->getScrollOffset(), 200);
    EXPECT_EQ(box->thumbRect().bottom, 100);
    EXPECT_EQ(box->thumbRect().width(), nScrollBox::kBarWidth);

    tallPage->setValue(0);  // back to the short page: nothing left to scroll
    CDIB* picture = renderView(b.frame);
    EXPECT_EQ(box->getScrollOffset(), 0);
    EXPECT_EQ(shortPage->getViewSize().top, 0);
    picture->forget();
}

TEST(LayoutElements, PageSelectHoldsItsValueOnlyWhilePressedInside) {
    const struct { CPoint release; std::vector<float> heard; } rows[] = {
        {{5, 5}, {1.0f}},
        {{50, 50}, {0.0f}},  // let go outside: the value at the press
    };
    for (const auto& row : rows) {
        Built b("<nPageSelect tag=kGUISetup val=1 width=20 height=20/>");
        auto* select = b.view<nPageSelect>();
        press(select, 5, 5);
        EXPECT_EQ(select->getValue(), 1.0f);
        CPoint where = row.release;
        select->onMouseMoved(where, kLButton);
        select->onMouseUp(where, 0);
        EXPECT_EQ(b.heard.values, row.heard);
    }
}

TEST(LayoutElements, TilesAndSheetsTakeOrPassTheMouse) {
    Built b("<nTiled clickthru=true width=50 height=10/><nTiledV clickthru=1 width=50 height=10/>"
            "<nDarken tag=kGUISetup width=50 height=10/>");
    auto* through = b.view<nTiled>(0);
    auto* solid = b.view<nTiled>(1);  // "1" reads as off
    auto* sheet = b.view<nDarken>(2);
    const CPoint inside(5, 5);
    EXPECT_FALSE(through->hitTest(inside));
    EXPECT_TRUE(solid->hitTest(inside));
    EXPECT_EQ(press(solid, 5, 5), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    EXPECT_FALSE(sheet->hitTest(inside));
    sheet->setValue(1);
    EXPECT_TRUE(sheet->hitTest(inside));
    CDIB* picture = renderView(sheet, kWhiteCColor);
    EXPECT_EQ(picture->getPixel(5, 5), (CColor{0x66, 0x66, 0x66, 0xff}));  // white under 0x99 black
    picture->forget();
    press(sheet, 5, 5);
    EXPECT_EQ(sheet->getValue(), 0.0f);
    EXPECT_EQ(b.heard.values, std::vector<float>{0.0f});
}

TEST(LayoutElements, TextsAndTheFade) {
    Built b("<nTextDisplay text=\"One\\Two\" width=200 height=40/><AboutText text=\"Credits\" width=200 height=60/>"
            "<nTextDisplayC text=\"SCALE\" width=60 height=20/><nFaded width=10 height=100/>");
    EXPECT_EQ(b.view<nTextDisplay>(0)->getLines(), (std::vector<std::string>{"One", "Two"}));
    EXPECT_EQ(b.view<nTextDisplay>(1)->getLines(), (std::vector<std::string>{std::string(kProductName) + " " + kVersionText, "Credits"}));
    EXPECT_EQ(b.view<nTextDisplay>(2)->getStyle().align, kCenterText);
    EXPECT_FALSE(b.view<nTextDisplay>(0)->hitTest(CPoint(5, 5)));
    CDIB* fade = renderView(b.view<CView>(3));
    const struct { int32_t row; uint8_t level; } rows[] = {{0, 58}, {50, 29}, {99, 0}};
    for (const auto& row : rows) EXPECT_EQ(fade->getPixel(5, row.row).red, row.level) << row.row;
    fade->forget();
}

// A strip of three 4-pixel frames in red, green and blue.
CDIB* threeFrames() {
    auto* strip = new CDIB(4, 12);
    const CColor colours[3] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}};
    for (int i = 0; i < 3; ++i) strip->fill(CRect(0, 4 * i, 4, 4 * i + 4), colours[i]);
    return strip;
}

TEST(LayoutElements, FilmstripButtonsShowTheirStates) {
    CDIB* strip = threeFrames();
    auto* kick = new nKickButton2(CRect(0, 0, 4, 4), nullptr, 1, strip, 4);
    auto* toggle = new CMovieButton4(CRect(0, 0, 4, 4), nullptr, 2, strip, 4);
    strip->forget();
    auto shown = [](CView* view) {
        CDIB* picture = renderView(view);
        const CColor c = picture->getPixel(1, 1);
        picture->forget();
        return c.red ? 0 : c.green ? 1 : 2;
    };
    const struct { bool busy, disabled, pressed; int frame; } kicks[] = {
        {false, false, false, 0}, {true, false, false, 1}, {false, false, true, 1}, {true, true, false, 2},
    };
    for (const auto& row : kicks) {
        kick->setBusy(row.busy);
        kick->setDisabled(row.disabled);
        kick->setValue(row.pressed ? 1.0f : 0.0f);
        EXPECT_EQ(shown(kick), row.frame) << row.busy << row.disabled << row.pressed;
    }
    EXPECT_EQ(press(kick, 1, 1), kMouseDownEventHandledButDontNeedMovedOrUpEvents);  // disabled: ignored
    EXPECT_EQ(kick->getValue(), 0.0f);
    toggle->setValue(1);
    EXPECT_EQ(shown(toggle), 1);
    toggle->setThirdState(true);
    EXPECT_EQ(shown(toggle), 2);
    kick->forget();
    toggle->forget();
}

// Pixels of `area` (in the view's parent's coordinates) in a drawing of
// the view alone whose red is at least `level`.
int brightPixels(CView* view, const CRect& area, int level) {
    CDIB* picture = renderView(view);
    const CRect& size = view->getViewSize();
    int count = 0;
    for (auto y = static_cast<int32_t>(area.top); y < static_cast<int32_t>(area.bottom); ++y) {
        for (auto x = static_cast<int32_t>(area.left); x < static_cast<int32_t>(area.right); ++x) {
            const CColor c = picture->getPixel(x - static_cast<int32_t>(size.left), y - static_cast<int32_t>(size.top));
            count += c.alpha > 0 && c.red >= level;
        }
    }
    picture->forget();
    return count;
}

TEST(SetupWindow, ARowClickChoosesItsPageAndTheWizardRowOpensTheWizard) {
    Built b("<SetupWindow x=16 y=41 width=150 height=346 tag=kGUISetupPage/>");
    auto* list = b.view<SetupWindow>();
    ASSERT_NE(list, nullptr);
    list->setValue(2);
    const std::string page = std::to_string(kGUISetupPage);
    const std::string wizard = std::to_string(kGUIWizardOpen);
    const struct {
        int32_t row;
        std::vector<std::string> heard;
        float valueAfter;
    } rows[] = {
        {0, {"begin " + page, page + "=0", "end " + page}, 0},
        {4, {"begin " + page, page + "=4", "end " + page}, 4},
        {5, {"begin " + page, page + "=5", "end " + page}, 5},
        {SetupWindow::kPageCount, {"begin " + wizard, wizard + "=1", "end " + wizard}, 5},
        {1, {"begin " + page, page + "=1", "end " + page}, 1},
    };
    for (const auto& row : rows) {
        b.heard.events.clear();
        const CRect r = list->rowRect(row.row);
        b.mouse(0, r.left + 30, r.top + SetupWindow::kRowHeight / 2);
        EXPECT_EQ(b.heard.events, row.heard) << "row " << row.row;
        EXPECT_EQ(list->getValue(), row.valueAfter);
        EXPECT_EQ(list->getTag(), kGUISetupPage);
    }
    // The wizard's row follows the list's foot when the panel grows.
    list->setViewSize(CRect(16, 41, 166, 487));
    b.heard.events.clear();
    b.mouse(0, 60, 487 - 16);
    EXPECT_EQ(b.heard.events.size(), 3u);
    EXPECT_EQ(b.heard.events[1], wizard + "=1");
}

TEST(ResizeBox, ADragReportsTheMovementAlongXSinceTheLastReport) {
    Built b("<nResizeBox x=744 y=456 width=16 height=16 tag=kGUIFreeDrag/>");
    auto* grip = b.view<nResizeBox>();
    ASSERT_NE(grip, nullptr);
    const std::string tag = std::to_string(kGUIFreeDrag);
    b.mouse(0, 750, 460);
    for (const CCoord x : {755.0f, 755.0f, 752.0f, 790.0f}) b.mouse(1, x, 470);
    b.mouse(2, 788, 470);
    EXPECT_EQ(b.heard.events, (std::vector<std::string>{"begin " + tag, tag + "=5", tag + "=-3", tag + "=38",
                                                         tag + "=-2", "end " + tag}));
    // Collapsed, it draws nothing and takes no mouse.
    grip->setViewSize(CRect(760, 472, 760, 472));
    grip->setMouseableArea(grip->getViewSize());
    b.heard.events.clear();
    EXPECT_EQ(b.mouse(0, 760, 472), kMouseEventNotHandled);
    EXPECT_TRUE(b.heard.events.empty());
}

TEST(HighlightSheet, ShowsItsImageOnlyWhileTheValueIsItsNumber) {
    // The slider handle's image: opaque gold across its middle.
    Built b("<nHighlightSheet x=10 y=10 width=40 height=30 tag=kGUISelectedBand highlight=400 band=3 num=7/>");
    auto* sheet = b.view<nHighlightSheet>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->getBand(), 3);
    ASSERT_NE(sheet->getSheet(), nullptr);
    EXPECT_EQ(sheet->getSheet()->width(), 40);
    const CRect handleMiddle(12, 14, 28, 15);
    for (const float value : {0.0f, 7.0f, 6.0f, 7.0f}) {
        sheet->setValue(value);
        EXPECT_FALSE(sheet->isHidden());
        EXPECT_EQ(brightPixels(sheet, handleMiddle, 100) > 0, value == 7.0f) << value;
    }
}

TEST(ValueSliders, TheReadoutShowsByItsModeThePointerAndTheDrag) {
    Built b("<CEQVSlider x=33 y=29 width=20 height=208 tag=kScale handle=400 rangehandle=208 style=64/>");
    auto* slider = b.view<CEQSlider>();
    ASSERT_NE(slider, nullptr);
    EXPECT_EQ(slider->getColumn(), CRect(33, 29, 53, 237));
    slider->setValue(0.5f);
    slider->setDisplayText("+2.0 dB");
    enum Pointer { kAway, kOver, kDragging };
    const struct {
        CEQSlider::Readout mode;
        Pointer pointer;
        bool shown;
    } rows[] = {
        {CEQSlider::Readout::kAlways, kAway, true},       {CEQSlider::Readout::kWhileActive, kAway, false},
        {CEQSlider::Readout::kWhileActive, kOver, true},  {CEQSlider::Readout::kWhileActive, kDragging, true},
        {CEQSlider::Readout::kNever, kOver, false},       {CEQSlider::Readout::kNever, kDragging, false},
    };
    const CPoint handle(43, slider->getHandleRect().top + 5);
    for (const auto& row : rows) {
        slider->setReadout(row.mode);
        b.mouse(1, 300, 100, 0);  // away from the slider
        if (row.pointer != kAway) b.mouse(1, handle.x, handle.y, 0);
        if (row.pointer == kDragging) b.mouse(0, handle.x, handle.y);
        // The readout's light text beside the handle, wider than the column.
        const CRect box = slider->readoutRect();
        EXPECT_GT(box.width(), 20);
        EXPECT_EQ(brightPixels(slider, box, 200) > 0, row.shown) << static_cast<int>(row.mode) << " " << row.pointer;
        if (row.pointer == kDragging) b.mouse(2, handle.x, handle.y);
    }
}

TEST(ValueSliders, CompensatingModeFollowsTheSecondModifierAtThePress) {
    Built b("<CEQHSlider x=10 y=40 width=200 height=11 tag=kScale handle=400 rangehandle=200/>");
    auto* slider = b.view<CEQSlider>();
    ASSERT_NE(slider, nullptr);
    EXPECT_TRUE(slider->isHorizontal());
    const struct {
        bool alternativeRoles;
        int32_t buttons;
        bool compensating;
    } rows[] = {
        {false, kLButton, false},         {false, kLButton | kAlt, true}, {false, kLButton | kShift, false},
        {true, kLButton | kShift, true},  {true, kLButton | kAlt, false},
    };
    for (const auto& row : rows) {
        setModifierRoles(row.alternativeRoles);
        b.mouse(0, 100, 45, row.buttons);
        EXPECT_EQ(slider->isCompensating(), row.compensating) << row.buttons;
        b.mouse(2, 100, 45);
    }
    setModifierRoles(false);
}

}  // namespace
