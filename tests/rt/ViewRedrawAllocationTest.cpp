// A view tree drawn a second time allocates nothing, and what is kept for
// that leaves no trace: the redraw has the first draw's pixels, and after a
// change the tree draws what a new tree with that change draws.

#include <gtest/gtest.h>

#include <vector>

#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CParamDisplay.h"
#include "rt/CountingAllocator.h"

using namespace VSTGUI;

namespace {

// Translucent shapes and text: anything left from an earlier draw shows.
class Sketch : public CView {
public:
    using CView::CView;
    void draw(CDrawContext* c) override {
        const CRect r = size;
        const CPoint zig[] = {{r.left, r.bottom}, {r.left + 30, r.top + 20}, {r.left + 60, r.bottom}, {r.right, r.top}};
        c->setFrameColor(CColor{240, 200, 40, 180});
        c->setFillColor(CColor{40, 160, 220, 160});
        c->setLineWidth(1.5f);
        c->drawLine(r.topLeft(), CPoint(r.right, r.bottom));
        c->drawPolygon(zig, 3, kDrawFilledAndStroked);
        c->drawEllipse(CRect(r.left + 60, r.top + 10, r.right - 5, r.bottom - 5), kDrawFilledAndStroked);
        c->setLineStyle(kLineOnOffDash);
        c->drawPolyline(zig, 4);
        c->setFontColor(CColor{255, 255, 255, 200});
        c->drawString("Sketched text", r);
    }
};

struct Tree {
    CFrame* frame = new CFrame(CRect(0, 0, 160, 120), nullptr);
    CDIB* target = new CDIB(160, 120);
    CTextLabel* label = new CTextLabel(CRect(4, 4, 156, 24), "A label longer than a short string");
    CViewContainer* box = new CViewContainer(CRect(10, 30, 150, 110));
    Sketch* sketch = new Sketch(CRect(5, 5, 120, 70));
    Tree() {
        box->setOffscreenDrawing(true);
        box->setTransparency(true);
        box->addView(sketch);
        frame->addView(label);
        frame->addView(box);
    }
    ~Tree() {
        frame->forget();
        target->forget();
    }
    std::vector<uint8_t> pixels() const { return {target->pixels(), target->pixels() + 160 * 120 * 4}; }
    std::vector<uint8_t> draw() {
        frame->drawInto(target);
        return pixels();
    }
};

}  // namespace

TEST(ViewRedraw, AllocatesNothingAndDrawsWhatANewTreeDraws) {
    const struct {
        const char* name;
        void (*change)(Tree&);
    } cases[] = {
        {"nothing", [](Tree&) {}},
        {"label text", [](Tree& t) { t.label->setText("Another label, of other words"); }},
        {"child moved", [](Tree& t) { t.sketch->setViewSize(CRect(15, 12, 130, 77)); }},
        {"container resized", [](Tree& t) { t.box->setViewSize(CRect(10, 30, 140, 100)); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Tree tree;
        const std::vector<uint8_t> first = tree.draw();
        const int64_t before = audioAllocations.load();
        countingHere = true;
        tree.frame->drawInto(tree.target);
        countingHere = false;
        EXPECT_EQ(audioAllocations.load() - before, 0);
        EXPECT_TRUE(tree.pixels() == first);

        c.change(tree);
        Tree fresh;
        c.change(fresh);
        EXPECT_TRUE(tree.draw() == fresh.draw());
    }
}
