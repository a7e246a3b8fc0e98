#include "gui/editor/EditorElements.h"

#include <string>

#include "gui/editor/AnalyserButton.h"
#include "gui/editor/BandStrips.h"
#include "gui/editor/EditorButtons.h"
#include "gui/editor/EditorControls.h"
#include "gui/editor/EditorMenus.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "gui/editor/LevelMeter.h"
#include "gui/editor/MeterSection.h"
#include "gui/editor/Pages.h"
#include "gui/editor/StaticViews.h"
#include "gui/editor/StripControls.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/CParamDisplay.h"

using namespace VSTGUI;

namespace {

// Light grey of the value glyphs, for labels drawn in their colours.
constexpr CColor kGlyphGrey{0xc0, 0xc0, 0xc0, 0xff};

template <class Page>
CView* makePage(const LayoutElementArgs& a) {
    return new Page(a.rect, a.tag, getInt(a.node, "pagenumber"), getInt(a.node, "background"));
}

CView* makeCGViewContainer(const LayoutElementArgs& a) { return new nCGViewContainer(a.rect, getBool(a.node, "hide")); }

CView* makeTextLabel(const LayoutElementArgs& a) {
    auto* label = new CTextLabel(a.rect, getText(a.node, "txt").c_str());
    label->setTransparency(true);
    label->setFontColor(kGlyphGrey);
    label->setMouseEnabled(false);
    return label;
}

CView* makePageSelect(const LayoutElementArgs& a) {
    return new nPageSelect(a.rect, a.listener, a.tag, static_cast<float>(getInt(a.node, "val")));
}

CView* makeKickButton2(const LayoutElementArgs& a) {
    return new nKickButton2(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), getInt(a.node, "heightOfOneImage"));
}

// The toggles divide their strips by their own height: two frames, or three
// for the one with a third state.
CView* makeMovieButton3(const LayoutElementArgs& a) {
    return new CMovieButton3(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), 0);
}

CView* makeMovieButton4(const LayoutElementArgs& a) {
    return new CMovieButton4(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"), a.rect.height());
}

template <nTiled::Axis Axis>
CView* makeTiled(const LayoutElementArgs& a) {
    return new nTiled(a.rect, a.tag, getInt(a.node, "background"), Axis, getBool(a.node, "clickthru"));
}

CView* makeFaded(const LayoutElementArgs& a) { return new nFaded(a.rect, a.tag); }

CView* makeTextDisplay(const LayoutElementArgs& a) {
    return new nTextDisplay(a.rect, a.tag, getText(a.node, "text"), nTextDisplay::kLabel);
}

CView* makeTextDisplayC(const LayoutElementArgs& a) {
    return new nTextDisplay(a.rect, a.tag, getText(a.node, "text"), nTextDisplay::kCaption);
}

CView* makeDarken(const LayoutElementArgs& a) { return new nDarken(a.rect, a.listener, a.tag); }

CView* makeScrollBox(const LayoutElementArgs& a) { return new nScrollBox(a.rect, a.tag); }

CView* makeGraph(const LayoutElementArgs& a) { return new EQGraph(a.rect, a.listener, a.tag); }

CView* makeKeyboard(const LayoutElementArgs& a) { return new nKeyboard(a.rect, a.listener, a.tag); }

CView* makeLevelMeter(const LayoutElementArgs& a) { return new nVU(a.rect, a.listener, a.tag); }

CView* makeAboutText(const LayoutElementArgs& a) {
    return new nTextDisplay(a.rect, a.tag, aboutText(getText(a.node, "text")), nTextDisplay::kLabel);
}

// One row per element of the editor, in the order they are compared: a
// maker for those that exist, a few words for those to come.
struct EditorElement {
    const char* name;
    CView* (*make)(const LayoutElementArgs&);
    const char* what;
};

constexpr EditorElement kEditorElements[] = {
    {"nCGViewContainer", makeCGViewContainer, nullptr},
    {"EQGraph", makeGraph, nullptr},
    {"TextLabel", makeTextLabel, nullptr},
    {"CEQKnob", nullptr, "band knob"},
    {"CEQText", makeValueText, nullptr},
    {"CEQTextG", makeValueText, nullptr},
    {"SOptionMenu", makeSlotMenu, nullptr},
    {"SGroupMenu", makeGroupMenu, nullptr},
    {"TOptionMenu", makeTextMenu, nullptr},
    {"CopyToMenu", makeCopyToMenu, nullptr},
    {"nVU", makeLevelMeter, nullptr},
    {"nPage", makePage<nPage>, nullptr},
    {"nPageR", makePage<nPageR>, nullptr},
    {"nClickThruPage", makePage<nClickThruPage>, nullptr},
    {"nDraggablePage", makePage<nDraggablePage>, nullptr},
    {"nPageSelect", makePageSelect, nullptr},
    {"nHighlightSheet", makeHighlightSheet, nullptr},
    {"CEQVSlider", makeEQVSlider, nullptr},
    {"CEQHSlider", makeEQHSlider, nullptr},
    {"CPresetMenu", makePresetMenu, nullptr},
    {"BandButton", nullptr, "band button"},
    {"SetupWindow", makeSetupWindow, nullptr},
    {"nKickButton2", makeKickButton2, nullptr},
    {"Preferences", nullptr, "preferences"},
    {"UIPreferences", nullptr, "display preferences"},
    {"TextDisplay", nullptr, "value readout"},
    {"CMovieButton3", makeMovieButton3, nullptr},
    {"CMovieButton4", makeMovieButton4, nullptr},
    {"nTiled", makeTiled<nTiled::Axis::X>, nullptr},
    {"nTiledV", makeTiled<nTiled::Axis::Y>, nullptr},
    {"BandStrips", makeBandStrips, nullptr},
    {"meterSection", makeMeterSection, nullptr},
    {"nFaded", makeFaded, nullptr},
    {"nTextDisplay", makeTextDisplay, nullptr},
    {"nTextDisplayC", makeTextDisplayC, nullptr},
    {"nDarken", makeDarken, nullptr},
    {"nScrollBox", makeScrollBox, nullptr},
    {"nTTMenu", makeDisplayMenu, nullptr},
    {"PhaseGraph", nullptr, "phase graph"},
    {"IRGraph", nullptr, "impulse graph"},
    {"RoutingMatrix", nullptr, "routing matrix"},
    {"nAnalyserButton", makeAnalyserButton, nullptr},
    {"Keyboard", makeKeyboard, nullptr},
    {"SpecialArrows", makeSpecialArrows, nullptr},
    {"SetupWizard", nullptr, "setup wizard"},
    {"nResizeBox", makeResizeBox, nullptr},
    {"PropagateMenu", nullptr, "propagate menu"},
    {"AboutText", makeAboutText, nullptr},
};

const EditorElement* findElement(std::string_view name) {
    for (const EditorElement& row : kEditorElements) {
        if (sameLayoutName(row.name, name)) return &row;
    }
    return nullptr;
}

}  // namespace

CView* createEditorElement(std::string_view name, const LayoutElementArgs& args) {
    const EditorElement* row = findElement(name);
    return row && row->make ? row->make(args) : nullptr;
}

const char* pendingElement(std::string_view name) {
    const EditorElement* row = findElement(name);
    return row && !row->make ? row->what : nullptr;
}
