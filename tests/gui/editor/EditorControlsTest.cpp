// The editor's small controls as the layout builds them: the setup page
// list, the corner grip, the highlight sheet and the sliders with a value
// readout, driven by mouse calls and judged by what the listener hears and
// by pixels of the drawn views.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gui/editor/EditorControls.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/HeadlessRender.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

struct Heard : CControlListener {
    void valueChanged(CControl* c) override {
        events.push_back(std::to_string(c->getTag()) + "=" + std::to_string(static_cast<int>(c->getValue())));
    }
    void controlBeginEdit(CControl* c) override { events.push_back("begin " + std::to_string(c->getTag())); }
    void controlEndEdit(CControl* c) override { events.push_back("end " + std::to_string(c->getTag())); }
    std::vector<std::string> events;
};

// A headless frame holding what one element builds.
struct Built {
    explicit Built(const std::string& element) : frame(new CFrame(CRect(0, 0, 800, 500), nullptr)) {
        const LayoutReadResult doc = readLayoutDocument("<ui>" + element + "</ui>");
        EXPECT_TRUE(doc.ok) << doc.error;
        builder.viewFromLayout(doc.root, frame, frame, &heard);
    }
    ~Built() { frame->forget(); }
    template <class View>
    View* view() const {
        return dynamic_cast<View*>(frame->getView(0));
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

}  // namespace

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
    EXPECT_STREQ(slider->getClassName(), "CEQVSlider");
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
