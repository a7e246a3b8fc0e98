#include "gui/editor/LayoutBuilder.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "gui/editor/EditorButtons.h"
#include "gui/editor/EditorElements.h"
#include "gui/editor/LayoutPlacing.h"
#include "gui/editor/Pages.h"
#include "gui/editor/PlaceholderView.h"
#include "gui/toolkit/Animations.h"
#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/CParamDisplay.h"
#include "gui/toolkit/CTextEdit.h"
#include "gui/toolkit/Knobs.h"
#include "gui/toolkit/Sliders.h"
#include "gui/toolkit/Switches.h"

using namespace VSTGUI;

namespace {

LayoutLogSink& logSink() {
    static LayoutLogSink sink;
    return sink;
}

// ---- The toolkit's elements ----
// One row per element, compared in order. A row without a maker names an
// element that is recognised and deliberately builds nothing.

bool has(const LayoutNode& node, const char* key) { return getAttribute(node, key) != nullptr; }
CPoint backOffset(const LayoutNode& node) { return CPoint(getInt(node, "xoff"), getInt(node, "yoff")); }
CPoint secondOffset(const LayoutNode& node) { return CPoint(getInt(node, "offsetx"), getInt(node, "offsety")); }
CView* makeGViewContainer(const LayoutElementArgs& a) {
    return new LayoutGViewContainer(a.rect, getBool(a.node, "hide"), getInt(a.node, "background"));
}

CView* makeOnOffButton(const LayoutElementArgs& a) {
    return new COnOffButton(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"));
}

CView* makeParamDisplay(const LayoutElementArgs& a) {
    return new CParamDisplay(a.rect, LayoutImage(a.node, "background"), getInt(a.node, "style"));
}

CView* makeTextLabel(const LayoutElementArgs& a) {
    return new CTextLabel(a.rect, getText(a.node, "txt").c_str(), LayoutImage(a.node, "background"),
                          getInt(a.node, "style"));
}

CView* makeTextEdit(const LayoutElementArgs& a) {
    return new CTextEdit(a.rect, a.listener, a.tag, getText(a.node, "txt").c_str(), LayoutImage(a.node, "background"),
                         getInt(a.node, "style"));
}

CView* makeOptionMenu(const LayoutElementArgs& a) {
    return new COptionMenu(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"),
                           LayoutImage(a.node, "bgclicked"), getInt(a.node, "style"));
}

CView* makeKnob(const LayoutElementArgs& a) {
    return new CKnob(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), LayoutImage(a.node, "handle"),
                     secondOffset(a.node));
}

CView* makeAnimKnob(const LayoutElementArgs& a) {
    return new CAnimKnob(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), 0, 0, secondOffset(a.node));
}

CView* makeAnimKnob2(const LayoutElementArgs& a) {
    return new CAnimKnob(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), getInt(a.node, "subpixmaps"),
                         getInt(a.node, "heightofoneimage"), secondOffset(a.node));
}

template <class Switch>
CView* makeSwitch(const LayoutElementArgs& a) {
    return new Switch(a.rect, a.listener, a.tag, 0, LayoutImage(a.node, "background"));
}

template <class Switch>
CView* makeSwitch2(const LayoutElementArgs& a) {
    auto* view = new Switch(a.rect, a.listener, a.tag, getInt(a.node, "maxpositions"), LayoutImage(a.node, "background"));
    setStripFrames(*view, getInt(a.node, "heightofoneimage"), getInt(a.node, "subpixmaps"));
    return view;
}

int32_t rockerStyle(const LayoutNode& node) {
    const int32_t style = getInt(node, "style");
    return (style & (kHorizontal | kVertical)) ? style : style | kVertical;
}

CView* makeRocker(const LayoutElementArgs& a) {
    return new CRockerSwitch(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), rockerStyle(a.node));
}

CView* makeRocker2(const LayoutElementArgs& a) {
    auto* view = new CRockerSwitch(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), rockerStyle(a.node));
    setStripFrames(*view, getInt(a.node, "heightofoneimage"));
    return view;
}

template <class Film>
CView* makeFilm(const LayoutElementArgs& a) {
    return new Film(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"));
}

template <class Film>
CView* makeFilm2(const LayoutElementArgs& a) {
    return new Film(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), getInt(a.node, "subpixmaps"),
                    getInt(a.node, "heightofoneimage"));
}

template <class Button>
CView* makeButton(const LayoutElementArgs& a) {
    return new Button(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"));
}

template <class Button>
CView* makeButton2(const LayoutElementArgs& a) {
    auto* view = new Button(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"));
    setStripFrames(*view, getInt(a.node, "heightofoneimage"));
    return view;
}

// Puts the handle's travel `range` pixels long from `offset` along the
// slider's axis; the slider's style says at which end its minimum lies.
void setSliderTravel(CSlider& slider, const CPoint& offset, CCoord range) {
    const CCoord low = slider.isHorizontal() ? offset.x : offset.y;
    slider.setMinPos(low);
    slider.setMaxPos(low + std::max<CCoord>(0, range - slider.getHandleLength()));
}

// Sliders: the plain one takes its axis from `style`, the vertical and the
// horizontal ones add theirs to it.
CSlider* newSlider(const LayoutElementArgs& a, int32_t axis) {
    const int32_t style = getInt(a.node, "style") | axis;
    LayoutImage handle(a.node, "handle");
    LayoutImage background(a.node, "background");
    CSlider* slider = nullptr;
    if (axis == kVertical) {
        slider = new CVerticalSlider(a.rect, a.listener, a.tag, handle, background);
    } else if (axis == kHorizontal) {
        slider = new CHorizontalSlider(a.rect, a.listener, a.tag, handle, background);
    } else {
        slider = new CSlider(a.rect, a.listener, a.tag, kVertical | kBottom, handle, background);
    }
    if (style & (kHorizontal | kVertical)) slider->setStyle(style);
    return slider;
}

template <int32_t Axis>
CView* makeSlider(const LayoutElementArgs& a) {
    CSlider* slider = newSlider(a, Axis);
    if (has(a.node, "maxpos")) slider->setMaxPos(getInt(a.node, "maxpos"));
    if (has(a.node, "minpos")) slider->setMinPos(getInt(a.node, "minpos"));
    return slider;
}

// The "2" sliders give the handle's travel: it starts `offsetx` or
// `offsety` into the view and runs `rangehandle` pixels along its axis.
template <int32_t Axis>
CView* makeSlider2(const LayoutElementArgs& a) {
    CSlider* slider = newSlider(a, Axis);
    if (has(a.node, "rangehandle")) setSliderTravel(*slider, secondOffset(a.node), getInt(a.node, "rangehandle"));
    return slider;
}

CView* makeSplash(const LayoutElementArgs& a) {
    const CRect shown(getInt(a.node, "dleft"), getInt(a.node, "dtop"), getInt(a.node, "dright"),
                      getInt(a.node, "dbottom"));
    return new CSplashScreen(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), shown, backOffset(a.node));
}

CView* makeVuMeter(const LayoutElementArgs& a) {
    const int32_t style = getInt(a.node, "style");
    auto* meter = new CVuMeter(a.rect, LayoutImage(a.node, "on"), LayoutImage(a.node, "off"), getInt(a.node, "nbled"),
                               (style & (kHorizontal | kVertical)) ? style : kVertical);
    meter->setTag(a.tag);
    meter->setDecreaseStepValue(0.1f);
    return meter;
}

struct ToolkitElement {
    const char* name;
    CView* (*make)(const LayoutElementArgs&);
};

constexpr ToolkitElement kToolkitElements[] = {
    {"CViewContainer", nullptr},
    {"CGViewContainer", makeGViewContainer},
    {"COnOffButton", makeOnOffButton},
    {"CParamDisplay", makeParamDisplay},
    {"CTextLabel", makeTextLabel},
    {"CTextEdit", makeTextEdit},
    {"COptionMenu", makeOptionMenu},
    {"CKnob", makeKnob},
    {"CAnimKnob", makeAnimKnob},
    {"CAnimKnob2", makeAnimKnob2},
    {"CVerticalSwitch", makeSwitch<CVerticalSwitch>},
    {"CHorizontalSwitch", makeSwitch<CHorizontalSwitch>},
    {"CVerticalSwitch2", makeSwitch2<CVerticalSwitch>},
    {"CHorizontalSwitch2", makeSwitch2<CHorizontalSwitch>},
    {"CRockerSwitch", makeRocker},
    {"CRockerSwitch2", makeRocker2},
    {"CMovieBitmap", makeFilm<CMovieBitmap>},
    {"CAutoAnimation", makeFilm<CAutoAnimation>},
    {"CMovieBitmap2", makeFilm2<CMovieBitmap>},
    {"CAutoAnimation2", makeFilm2<CAutoAnimation>},
    {"CMovieButton", makeButton<CMovieButton>},
    {"CKickButton", makeButton<CKickButton>},
    {"CMovieButton2", makeButton2<CMovieButton>},
    {"CKickButton2", makeButton2<CKickButton>},
    {"CSlider", makeSlider<0>},
    {"CVerticalSlider", makeSlider<kVertical>},
    {"CHorizontalSlider", makeSlider<kHorizontal>},
    {"CSlider2", makeSlider2<0>},
    {"CVerticalSlider2", makeSlider2<kVertical>},
    {"CHorizontalSlider2", makeSlider2<kHorizontal>},
    {"CSplashScreen", makeSplash},
    {"CVuMeter", makeVuMeter},
};

}  // namespace

void setLayoutLogSink(LayoutLogSink sink) { logSink() = std::move(sink); }

void layoutLog(const char* format, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (logSink()) {
        logSink()(buffer);
    } else {
        std::fputs(buffer, stderr);
    }
}

const char* builtAsName(BuiltAs what) {
    switch (what) {
        case BuiltAs::BuiltIn: return "built-in";
        case BuiltAs::Page: return "page";
        case BuiltAs::Placeholder: return "placeholder";
        case BuiltAs::Custom: return "custom";
        case BuiltAs::Skipped: break;
    }
    return "skipped";
}

LayoutImage::LayoutImage(const LayoutNode& node, const char* key) {
    if (const int32_t id = getInt(node, key)) image = CDIB::fromResource(id);
}

LayoutImage::~LayoutImage() {
    if (image) image->forget();
}

LayoutImage::operator CBitmap*() const { return image; }

LayoutGViewContainer::LayoutGViewContainer(const CRect& r, bool hide, int32_t id)
    : CGViewContainer(r, hide), backgroundId(id) {
    setTransparency(!setBackgroundFromId(this, id));
}

LayoutBuilder::LayoutBuilder() = default;

void LayoutBuilder::addPlaceholder(std::string_view name) { placeholders.emplace_back(name); }

CView* LayoutBuilder::createCustomView(std::string_view name, const CRect& rect, CControlListener* listener,
                                       int32_t tag, const LayoutNode& node) {
    if (CView* view = createEditorElement(name, {node, rect, tag, listener})) return view;
    for (const std::string& pending : placeholders) {
        if (sameLayoutName(pending, name)) return new PlaceholderView(rect, node.name, {}, tag);
    }
    if (const char* what = pendingElement(name)) return new PlaceholderView(rect, node.name, what, tag);
    return nullptr;
}

void LayoutBuilder::viewFromLayout(const LayoutNode& node, CFrame* f, CViewContainer* parent,
                                   CControlListener* listener) {
    CFrame* const outer = frame;
    frame = f;
    buildChildren(node, parent, listener, 1);
    frame = outer;
}

void LayoutBuilder::skipAll(const LayoutNode& node, int depth) {
    for (const LayoutNode& child : node.children) {
        rows.push_back({child.name, depth, child.line, BuiltAs::Skipped, {}});
        skipAll(child, depth + 1);
    }
}

void LayoutBuilder::buildChildren(const LayoutNode& node, CViewContainer* parent, CControlListener* listener,
                                  int depth) {
    for (const LayoutPlacement& placed : placeChildren(node)) {
        const LayoutNode& element = *placed.node;
        const size_t row = rows.size();
        rows.push_back({element.name, depth, element.line, BuiltAs::Skipped, {}});

        CView* view = nullptr;
        bool known = false;
        for (const ToolkitElement& entry : kToolkitElements) {
            if (!sameLayoutName(element.name, entry.name)) continue;
            known = true;
            if (entry.make) view = entry.make({element, placed.rect, placed.tag, listener});
            if (view) {
                rows[row].built = BuiltAs::BuiltIn;
                if (view->isTypeOf("CControl") && (has(element, "xoff") || has(element, "yoff")))
                    static_cast<CControl*>(view)->setBackOffset(backOffset(element));
            }
            break;
        }
        if (!known) {
            view = createCustomView(element.name, placed.rect, listener, placed.tag, element);
            if (view) {
                rows[row].built = view->isTypeOf("PlaceholderView") ? BuiltAs::Placeholder
                                  : view->isTypeOf("nPage")         ? BuiltAs::Page
                                                                    : BuiltAs::Custom;
                if (rows[row].built == BuiltAs::Placeholder)
                    rows[row].standsFor = static_cast<PlaceholderView*>(view)->getStandsFor();
            }
        }
        if (!view) {
            skipAll(element, depth + 1);
            continue;
        }

        if (!parent) {
            layoutLog("Something very odd happened. name=%s, tag=%d\n", element.name.c_str(), placed.tag);
            rows[row].built = BuiltAs::Skipped;
            view->forget();
            skipAll(element, depth + 1);
            continue;
        }
        parent->addView(view);

        if (element.children.empty()) continue;
        if (view->isTypeOf("CViewContainer")) {
            buildChildren(element, static_cast<CViewContainer*>(view), listener, depth + 1);
        } else {
            layoutLog("XML is wrong! Trying to add child controls to a non ViewContainer class. "
                      "Did you forget a /?\n");
            skipAll(element, depth + 1);
        }
    }
}
