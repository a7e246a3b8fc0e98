// The editor's window over a real effect, headless: its size, tags reaching
// the effect or the views, linked and grouped edits as undo steps, updates
// from another thread, the refresh timer, alerts and the snapshot.

#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cmath>
#include <numbers>
#include <functional>
#include <thread>
#include <vector>
#include <algorithm>

#include "TestHost.h"
#include "gui/editor/AlertView.h"
#include "gui/editor/AnalyserButton.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/MeterSection.h"
#include "gui/editor/StripControls.h"
#include "gui/editor/VGEditor.h"
#include "gui/toolkit/Sliders.h"
#include "session/PlugEd.h"
#include "state/Alerts.h"

using namespace VSTGUI;

namespace {

// A control that counts the values given to it.
struct Probe : CControl {
    explicit Probe(int32_t tag) : CControl(CRect(0, 0, 4, 4), nullptr, tag) {}
    void setValue(float v) override {
        ++writes;
        CControl::setValue(v);
    }
    void draw(CDrawContext*) override {}
    int writes = 0;
};

struct Window {
    explicit Window(int32_t channels = 2) : fx(makePlug(channels)), ed(*PlugEd::of(*fx)), editor(ed) {
        detachFromTimer(*fx);
        editor.setClock([this] { return now; });
        editor.open(0);
    }
    // A control of `tag` moved to `value` through the controller, bracketed
    // as a gesture.
    void edit(int32_t tag, float value) {
        auto* control = new CControl(CRect(0, 0, 1, 1), &editor, tag);
        control->setValue(value);
        editor.beginEdit(tag);
        editor.valueChanged(control);
        editor.endEdit(tag);
        control->forget();
    }
    Probe* addProbe(int32_t tag) {
        auto* probe = new Probe(tag);
        editor.getFrame()->addView(probe);
        editor.controls().collect(editor.getFrame());
        return probe;
    }

    std::unique_ptr<Plug> fx;
    PlugEd& ed;
    VGEditor editor;
    uint64_t now = 1000;
};

TEST(VGEditor, OpensAtTheSizeOfTheSettings) {
    const struct { int32_t uiSize, channels, width, height; bool stereoMenu; } rows[] = {
        {2, 2, 750, 741, true}, {0, 2, 581, 646, true}, {4, 2, 1300, 1051, true}, {2, 1, 750, 741, false},
    };
    for (const auto& row : rows) {
        Window w(row.channels);
        w.ed.uiSettings().setValue("Layout", "UI Size", row.uiSize);
        w.editor.open(0);
        EXPECT_EQ(w.editor.getFrame()->getWidth(), row.width) << row.uiSize;
        EXPECT_EQ(w.editor.getFrame()->getHeight(), row.height) << row.uiSize;
        const int32_t stereo = w.editor.controls().findTag(kGUIStereoMode);
        ASSERT_GE(stereo, 0);
        EXPECT_EQ(w.editor.controls().controlByIndex(stereo)->isVisible(), row.stereoMenu);
    }
}

TEST(VGEditor, SetupPanelAndFreeSizeResizeTheWindow) {
    Window w;
    w.ed.uiSettings().setValue("Layout", "Graph", 0);
    w.ed.uiSettings().setValue("Layout", "BandStrips", 0);
    w.ed.uiSettings().setValue("Layout", "Keyboard", 0);
    w.editor.open(0);
    EXPECT_EQ(w.editor.getHeight(), 25);
    w.edit(kGUISetup, 1);
    EXPECT_TRUE(w.editor.isSetupOpen());
    EXPECT_EQ(w.editor.getHeight(), 428);
    w.edit(kGUISetup, 0);
    EXPECT_EQ(w.editor.getHeight(), 25);

    w.ed.uiSettings().setValue("Layout", "UI Size", 5);
    w.edit(kGUIUIPrefsChange, 1);
    const int32_t before = w.editor.getWidth();
    w.edit(kGUIFreeDrag, 40);
    w.editor.idle();
    EXPECT_EQ(w.editor.getWidth(), before + 40);
    EXPECT_EQ(w.ed.getFreeWidth(), before + 40);
    // Closed and opened again, the window keeps its size.
    w.editor.close();
    EXPECT_FALSE(w.editor.isOpen());
    w.editor.open(0);
    EXPECT_EQ(w.editor.getFrame()->getWidth(), before + 40);
}

// The header's own buttons, clicked through the window: the momentary
// setup button and the presets toggle each open on one click and close on
// the next.
TEST(VGEditor, HeaderButtonsOpenAndCloseWhatTheyName) {
    Window w;
    auto click = [&](int32_t tag) {
        ControlRegistry& controls = w.editor.controls();
        CControl* button = controls.controlByIndex(controls.findTag(tag));
        const CRect r = button->getViewSize();
        CPoint at = button->localToFrame(CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2));
        w.editor.getFrame()->onMouseDown(at, kLButton);
        w.editor.getFrame()->onMouseUp(at, 0);
    };
    const struct { int32_t tag; std::function<bool(Window&)> open; } rows[] = {
        {kGUISetup, [](Window& x) { return x.editor.isSetupOpen(); }},
        {kGUIPresetPage, [](Window& x) { return x.editor.isPresetTrayOpen(); }},
    };
    for (const auto& row : rows) {
        click(row.tag);
        EXPECT_TRUE(row.open(w)) << row.tag;
        if (row.tag == kGUISetup) {
            // The panel covers the header: its close box closes it.
            ControlRegistry& controls = w.editor.controls();
            for (int32_t i = controls.findTag(kGUISetup); i >= 0; i = controls.findTag(kGUISetup, i)) {
                CControl* c = controls.controlByIndex(i);
                if (!c->isTypeOf("nPageSelect")) continue;
                const CRect r = c->getViewSize();
                CPoint at = c->localToFrame(CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2));
                w.editor.getFrame()->onMouseDown(at, kLButton);
                w.editor.getFrame()->onMouseUp(at, 0);
            }
        } else {
            click(row.tag);
        }
        EXPECT_FALSE(row.open(w)) << row.tag;
    }
}

TEST(VGEditor, TagsReachTheEffect) {
    Window w;
    const struct {
        int32_t tag;
        float value;
        std::function<bool(Window&)> reached;
    } rows[] = {
        {kGUIProcessMode, 1, [](Window& x) { return x.fx->getRealValue(kMode) == 1.0f; }},
        {kParallel, 2, [](Window& x) { return x.fx->getRealValue(kParallel) == 2.0f; }},
        {kGUIRenderDSPIRLength, 3, [](Window& x) { return x.fx->getRenderSetting(1) == 3.0f; }},
        {kGUIRenderDSPEnabled, 1, [](Window& x) { return x.fx->getRenderSetting(8) == 1.0f; }},
        {kGUIAnalyser, 1, [](Window& x) { return x.ed.isAnalyserOn(); }},
        {kGUIPresetDSP, 0, [](Window& x) { return (x.ed.getLoadingFlags() & 2u) == 0; }},
        {kGUIChannel12Link, 1, [](Window& x) { return x.ed.getChannelLinks() == 1u; }},
        {kGUIMeterPrePost, 1, [](Window& x) { return x.ed.isPreEQ(); }},
        {kGUIABMenu, 3, [](Window& x) { return std::lround(x.fx->getRealValue(kABBank)) == 3; }},
        {kGain, 0.25f, [](Window& x) { return x.fx->getParameter(kGain) == 0.25f; }},
        {kGUIAbout, 1, [](Window& x) {
             return x.editor.isSetupOpen() && x.editor.controls().valueOfTag(kGUISetupPage) == 5.0f;
         }},
        {kGUISetupPage, 2, [](Window& x) { return x.editor.controls().valueOfTag(kGUISetupPage) == 2.0f; }},
        {kGUISetup, 0, [](Window& x) { return !x.editor.isSetupOpen(); }},
        {kGUIPresetPage, 1, [](Window& x) { return x.editor.isPresetTrayOpen(); }},
        {kGUIOpenScaleTray, 1, [](Window& x) { return x.editor.isScaleTrayOpen(); }},
        {kGUIUseMS1, 1, [](Window& x) { return x.fx->getParameter(kMsState) == 0.0f; }},
        {kGUIWizardOpen, 1, [](Window& x) { return x.editor.isWizardOpen() && x.editor.getWidth() == 632; }},
        {kGUIWizardOpen, 0, [](Window& x) { return !x.editor.isWizardOpen() && x.editor.getWidth() == 750; }},
        {kGUIABMenu, 5, [](Window& x) { return std::lround(x.fx->getRealValue(kABBank)) == 5; }},
        {kGUIABMenuAlt, 1, [](Window& x) { return std::lround(x.fx->getRealValue(kABBank)) != 5; }},  // to a visited slot
        {kGUIAutoGain, 1, [](Window& x) { return x.fx->programStore().autoGain(x.fx->getProgram()) != 0; }},
        {kGUISelectedBand + 4, 1, [](Window& x) { return x.ed.getSelectedBands() == (1u << 4); }},
    };
    for (const auto& row : rows) {
        w.edit(row.tag, row.value);
        EXPECT_TRUE(row.reached(w)) << "tag " << row.tag;
    }
    // Linked channel pairs: the partner follows a level change by the same amount.
    const float left = w.fx->getParameter(kChannel2Level);
    w.edit(kChannel1Level, w.fx->getParameter(kChannel1Level) + 0.1f);
    EXPECT_NEAR(w.fx->getParameter(kChannel2Level), left + 0.1f, 1e-6);
    w.fx->setClip(true);
    w.edit(kGUIClip, 0);
    EXPECT_FALSE(w.fx->getClip());
}

double shown(Plug& fx, int32_t index) { return fx.normToDisplay(index, fx.getParameter(index)); }

TEST(VGEditor, LinkedBandsFollowAndGesturesAreOneUndoStep) {
    Window w;
    const double gains[3] = {6.0, 3.0, -4.0};
    for (int32_t b = 0; b < 3; ++b) {
        w.fx->setParameter(bandParam(b, kFieldState), 1.0f);
        setShown(*w.fx, bandParam(b, kFieldGain), gains[b]);
    }
    w.fx->clearUndo();
    w.edit(kGUISelectOnly, 0);
    w.edit(kGUISelectToggle, 1);
    w.edit(kGUISelectToggle, 2);
    EXPECT_EQ(w.ed.getSelectedBands(), 0b111u);
    auto gainsNow = [&] {
        return std::vector<double>{shown(*w.fx, bandParam(0, kFieldGain)), shown(*w.fx, bandParam(1, kFieldGain)),
                                   shown(*w.fx, bandParam(2, kFieldGain))};
    };
    auto near = [](const std::vector<double>& a, const std::vector<double>& b) {
        for (size_t i = 0; i < a.size(); ++i)
            if (std::fabs(a[i] - b[i]) > 1e-3) return false;
        return true;
    };

    // Band 0 from +6 to +3 dB: the others take half their gain; one undo
    // takes the whole gesture back.
    const int32_t gain0 = bandParam(0, kFieldGain);
    w.edit(gain0, float(w.fx->displayToNorm(gain0, 3.0)));
    EXPECT_TRUE(near(gainsNow(), {3.0, 1.5, -2.0}));
    w.edit(kGUIUndo, 1);
    EXPECT_TRUE(near(gainsNow(), {6.0, 3.0, -4.0}));
    w.edit(kGUIRedo, 1);
    EXPECT_TRUE(near(gainsNow(), {3.0, 1.5, -2.0}));

    // Frequency: the same normalised step for each.
    const float f1 = w.fx->getParameter(bandParam(1, kFieldFrequency));
    const int32_t freq0 = bandParam(0, kFieldFrequency);
    w.edit(freq0, w.fx->getParameter(freq0) + 0.05f);
    EXPECT_NEAR(w.fx->getParameter(bandParam(1, kFieldFrequency)), f1 + 0.05f, 1e-5);

    // Insert after band 1: band 3 takes band 1's rows, next to it in the
    // order; one undo removes it whole.
    w.edit(kGUIInsertBandAfter, 1);
    EXPECT_NEAR(shown(*w.fx, bandParam(3, kFieldGain)), 1.5, 1e-3);
    EXPECT_NE(w.fx->getRealValue(bandParam(3, kFieldState)), 0.0f);
    const int32_t* order = w.fx->programStore().bandOrder(w.fx->getProgram());
    EXPECT_EQ(std::find(order, order + kNumBands, 3) - order, (std::find(order, order + kNumBands, 1) - order) + 1);
    w.edit(kGUIUndo, 1);
    EXPECT_EQ(w.fx->getRealValue(bandParam(3, kFieldState)), 0.0f);
    EXPECT_NEAR(shown(*w.fx, bandParam(3, kFieldGain)), 0.0, 1e-3);

    // Delete band 0 (its followers go too), then one undo brings them back.
    w.edit(kGUISelectOnly, 0);
    w.edit(kGUIDeleteBand, 0);
    EXPECT_EQ(w.fx->getRealValue(bandParam(0, kFieldState)), 0.0f);
    EXPECT_EQ(w.ed.getSelectedBands(), 0u);
    w.edit(kGUIUndo, 1);
    EXPECT_NE(w.fx->getRealValue(bandParam(0, kFieldState)), 0.0f);
}

TEST(VGEditor, BanksAndPresetsGoThroughTheFileChooser) {
    Window w;
    const std::string folder = ::testing::TempDir();
    std::vector<std::string> asked;
    std::string answer;
    w.editor.setFileChooser([&](bool save, const char* title, const char*, const char* extension, std::string* path) {
        asked.push_back(std::string(save ? "save " : "open ") + title + " ." + extension);
        if (answer.empty()) return false;
        *path = answer;
        return true;
    });
    const std::string bank = folder + "/editor-test.fwb";
    const std::string preset = folder + "/editor-test.fwi";
    w.fx->setParameter(kGain, 0.75f);
    answer = bank;
    w.edit(kGUISave, 1);
    answer = preset;
    w.edit(kGUISavePreset, 1);
    w.fx->setParameter(kGain, 0.25f);
    answer = bank;
    w.edit(kGUILoad, 1);
    EXPECT_FLOAT_EQ(w.fx->getParameter(kGain), 0.75f);
    w.fx->setParameter(kGain, 0.25f);
    answer = preset;
    w.edit(kGUILoadPreset, 1);
    EXPECT_FLOAT_EQ(w.fx->getParameter(kGain), 0.75f);
    answer.clear();
    w.fx->setParameter(kGain, 0.5f);
    w.edit(kGUILoad, 1);  // cancelled: nothing changes
    w.edit(kGUISave, 0);  // only a press of 1 asks
    EXPECT_FLOAT_EQ(w.fx->getParameter(kGain), 0.5f);
    EXPECT_EQ(asked, (std::vector<std::string>{"save Choose destination filename .fwb",
                                               "save Choose destination filename .fwi", "open Select preset bank .fwb",
                                               "open Select preset file .fwi", "open Select preset bank .fwb"}));
}

TEST(VGEditor, StereoModeChoosesTheGroupsShown) {
    const struct { int32_t channels, tag; float value; int32_t first, second; } rows[] = {
        {2, kGUIStereoMode, 0, 0, -1}, {2, kGUIStereoMode, 2, -1, 1}, {2, kGUIStereoMode, 3, 0, 1},
        {6, kGUIStereoMode, 4, 2, -1}, {6, kGUIStereoMode, 1, -1, -1}, {6, kGUIStereoMode2, 5, 0, 3},
    };
    for (const auto& row : rows) {
        Window w(row.channels);
        w.edit(row.tag, row.value);
        EXPECT_EQ(w.editor.getSelectedGroup(0), row.first) << row.channels << " " << row.value;
        EXPECT_EQ(w.editor.getSelectedGroup(1), row.second) << row.channels << " " << row.value;
    }
}

TEST(VGEditor, ScaleWithTheSecondModifierKeepsTheSound) {
    Window w;
    for (int32_t b = 0; b < 2; ++b) {
        w.fx->setParameter(bandParam(b, kFieldState), 1.0f);
        setShown(*w.fx, bandParam(b, kFieldGain), b == 0 ? 6.0 : -3.0);  // at the shipped scale, 18 dB
    }
    auto* slider = static_cast<CSlider*>(w.editor.controls().controlByIndex(w.editor.controls().findTag(kScale)));
    ASSERT_TRUE(slider->isTypeOf("CEQSlider"));
    const struct { int32_t buttons; double scale; bool soundKept; double scaleAfter; } rows[] = {
        {kLButton | kAlt, 12, true, 12},  // compensating: the bands' own gains grow by 18/12
        {kLButton, 9, false, 9},          // plain: every band follows the scale
        {kLButton | kAlt, 4, true, 18},   // a gain would leave its range: refused, nothing moves
    };
    for (const auto& row : rows) {
        setShown(*w.fx, kScale, 18.0);
        w.editor.updateControl(kScale, w.fx->getParameter(kScale));
        const double g0 = shown(*w.fx, bandParam(0, kFieldGain));
        const CRect handle = slider->getHandleRect();
        CPoint at((handle.left + handle.right) / 2, (handle.top + handle.bottom) / 2);
        slider->onMouseDown(at, row.buttons);
        slider->setValue(float(w.fx->displayToNorm(kScale, row.scale)));
        w.editor.valueChanged(slider);
        slider->onMouseUp(at, 0);
        EXPECT_EQ(std::fabs(shown(*w.fx, bandParam(0, kFieldGain)) - g0) < 1e-3, row.soundKept) << row.scale;
        EXPECT_NEAR(shown(*w.fx, kScale), row.scaleAfter, 1e-3) << row.scale;
    }
}

TEST(VGEditor, ABurstFromAnotherThreadArrivesOnce) {
    Window w;
    Probe* probe = w.addProbe(kGain);
    const int before = probe->writes;
    std::thread writer([&] {
        for (int i = 1; i <= 1000; ++i) w.ed.setParameter(kGain, float(i) / 1000.0f);
    });
    writer.join();
    w.now += 1000;
    w.editor.idle();
    EXPECT_EQ(probe->writes - before, 1);
    EXPECT_EQ(probe->getValue(), 1.0f);
}

TEST(VGEditor, RefreshesFollowTheRefreshRate) {
    const struct { int32_t setting; int64_t perSecond; } rows[] = {{2, 30}, {0, 10}, {5, 120}};
    for (const auto& row : rows) {
        Window w;
        w.ed.uiSettings().setValue("Misc", "Refresh Rate", row.setting);
        w.editor.open(0);
        w.editor.idle();
        const int64_t start = w.editor.refreshCount();
        for (int ms = 0; ms < 1000; ++ms) {
            ++w.now;
            w.editor.idle();
            w.editor.idle();  // idles between refreshes do nothing
        }
        EXPECT_EQ(w.editor.refreshCount() - start, row.perSecond) << row.setting;
    }
}

TEST(VGEditor, AlertsShowOneAtATimeOverTheWindow) {
    Window w;
    Alerts::instance().push("First", "one");
    Alerts::instance().push("Second", "two");
    w.editor.idle();
    auto* alert = static_cast<AlertView*>(w.editor.getAlert());
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->getTitle(), "First");
    EXPECT_EQ(w.editor.getFrame()->getModalView(), alert);
    const auto middle = [](const CRect& r) { return CPoint((r.left + r.right) / 2, (r.top + r.bottom) / 2); };
    CPoint ok = middle(alert->buttonRect());
    w.editor.getFrame()->onMouseDown(ok, kLButton);
    w.editor.idle();
    ASSERT_NE(w.editor.getAlert(), nullptr);
    EXPECT_EQ(static_cast<AlertView*>(w.editor.getAlert())->getTitle(), "Second");
    CPoint ok2 = middle(static_cast<AlertView*>(w.editor.getAlert())->buttonRect());
    w.editor.getFrame()->onMouseDown(ok2, kLButton);
    w.editor.idle();
    EXPECT_EQ(w.editor.getAlert(), nullptr);
    EXPECT_EQ(w.editor.getFrame()->getModalView(), nullptr);
}

}  // namespace

TEST(VGEditor, TheGraphsAnalyserShowsAnotherInstancesSignalInItsOwnColour) {
    Window w;
    auto source = makePlug(2);
    std::vector<float> left(16384), right(16384);
    for (size_t n = 0; n < left.size(); ++n) left[n] = right[n] = float(0.5 * std::sin(2.0 * std::numbers::pi * 1000.0 * double(n) / 48000.0));
    for (size_t at = 0; at < left.size(); at += 512) {
        float* io[2] = {left.data() + at, right.data() + at};
        source->processReplacing(io, io, 512);
    }
    w.ed.setAnalyserOn(true);
    w.ed.setAnalyserSource(0, -1);
    w.ed.setAnalyserSource(1, 1 << 8);  // the first other instance, its first channel
    EXPECT_FALSE(w.ed.getAnalyserSourceName(1).empty());
    w.editor.refreshGraph();
    EQGraph* graph = w.editor.getGraph();
    ASSERT_NE(graph, nullptr);
    graph->renderFrame();
    // Low in the plot: the other instance's fill (green at full) at the
    // tone, nothing an octave below.
    auto near = [&](double hz) {
        bool found = false;
        for (int32_t dx = -2; dx <= 2; ++dx) {
            const CColor c = graph->sceneBitmap()->getPixel(int32_t(graph->xOf(hz)) + dx, graph->plotHeight() - 20);
            found = found || (c.green > 150 && c.red < 80);
        }
        return found;
    };
    EXPECT_TRUE(near(1000.0));
    EXPECT_FALSE(near(300.0));
}

TEST(VGEditor, TheGraphOpensAtTheZoomKeptWithTheEditorsState) {
    struct Row {
        const char* settings;
        double low, high;
    } rows[] = {
        {R"({"settings": {"subgraphs": {"EQGraph": {"minf": 100, "maxf": 1000}}}})", 100, 1000},
        {R"({"settings": {"subgraphs": {"EQGraph": {"minf": 1, "maxf": 90000}}}})", 10, 24000},
        {R"({"settings": {"subgraphs": {}}})", 10, 24000},
    };
    for (const Row& row : rows) {
        Window w;
        cJSON* root = cJSON_Parse(row.settings);
        w.ed.applyEditorState(root, false);
        cJSON_Delete(root);
        w.editor.open(0);
        EQGraph* graph = w.editor.getGraph();
        ASSERT_NE(graph, nullptr);
        EXPECT_NEAR(graph->getMinFrequency(), row.low, 1e-9) << row.settings;
        EXPECT_NEAR(graph->getMaxFrequency(), row.high, 1e-9) << row.settings;
    }
}

TEST(VGEditor, TheAnalyserButtonOffersEveryInstanceAndItsChoicesReachTheEditor) {
    Window w;
    auto other = makePlug(2);
    w.editor.updateControl(kGUIInstancesChanged, 1.0f);
    auto* button = static_cast<nAnalyserButton*>(w.editor.viewOfElement("nAnalyserButton"));
    ASSERT_NE(button, nullptr);
    ASSERT_EQ(button->getMenuModel().others.size(), 1u);
    EXPECT_EQ(button->getMenuModel().others[0].channels.size(), 2u);
    EXPECT_EQ(button->getMenuModel().channels.size(), 2u);

    AnalyserMenuModel chosen = button->getMenuModel();
    chosen.primary = analyserSource(1, 2, 1, true);  // the other instance's second channel before its bank
    chosen.secondary = AnalyserMenuModel::kNoSource;
    chosen.type = AnalyserMenuModel::kSpectrograph;
    button->setMenuModel(chosen);
    const int32_t own = button->getTag();
    button->setTag(kGUIAnalyserUpdated);  // as the button reports a choice
    w.editor.valueChanged(button);
    button->setTag(own);
    EXPECT_EQ(w.ed.getAnalyserSource(0), (1 << 8) | 3);
    EXPECT_EQ(w.ed.getAnalyserSource(1), -1);
    EXPECT_EQ(w.ed.getAnalyserType(), int32_t(AnalyserMenuModel::kSpectrograph));
}

TEST(VGEditor, TheMeterSectionHasABlockPerChannelAndShowsWhatTheEffectMeasured) {
    for (const int32_t channels : {2, 8, 1}) {
        Window w(channels);
        w.ed.uiSettings().setValue("Layout", "Channel Meters", 1);
        w.editor.open(0);
        std::vector<std::vector<float>> audio(size_t(channels), std::vector<float>(2048, 0.5f));
        float* io[8] = {};
        for (int32_t c = 0; c < channels; ++c) io[c] = audio[size_t(c)].data();
        w.fx->processReplacing(io, io, 2048);
        w.now += 1000;
        w.editor.idle();
        // A block per channel (their layout is the meter section's tests), each
        // showing the level the effect measured.
        ControlRegistry& controls = w.editor.controls();
        for (int32_t c = 0; c < 8; ++c) {
            const int32_t meter = controls.findTag(kGUIChannel1Meter + c);
            ASSERT_EQ(meter >= 0, c < channels) << channels << " channel " << c;
            for (int32_t i = meter; i >= 0; i = controls.findTag(kGUIChannel1Meter + c, i)) {
                CControl* control = controls.controlByIndex(i);
                if (control->isTypeOf("nVU")) { EXPECT_GT(static_cast<nVU*>(control)->getLevel(0), 0.3) << c; }
                if (control->isTypeOf("meterText")) { EXPECT_NE(static_cast<meterText*>(control)->getText(), "-inf") << c; }
            }
        }
    }
}

TEST(VGEditor, TheLayoutsValueFieldsShowAndTakeTheirRows) {
    Window w;
    auto fieldOf = [&](int32_t tag, const char* className) -> CControl* {
        for (int32_t i = w.editor.controls().findTag(tag); i >= 0; i = w.editor.controls().findTag(tag, i))
            if (w.editor.controls().controlByIndex(i)->isTypeOf(className)) return w.editor.controls().controlByIndex(i);
        return nullptr;
    };
    auto* window = static_cast<CEQText*>(fieldOf(kIRWindowParam, "CEQText"));
    auto* render = static_cast<CEQText*>(fieldOf(kGUIRenderDSPIRWindowParam, "CEQText"));
    auto* name = static_cast<nNameField*>(fieldOf(kGUIInstanceName, "nNameField"));
    ASSERT_TRUE(window && render && name);
    EXPECT_EQ(name->getText(), w.fx->getInstanceName());
    // Typed values reach the row (a render setting keeps its own value), typed names the instance.
    EXPECT_TRUE(window->enterText("0,25"));
    EXPECT_NEAR(w.fx->getRealValue(kIRWindowParam), 0.25, 1e-6);
    EXPECT_EQ(window->shownText(), "0.25");
    EXPECT_TRUE(render->enterText("0.75"));
    EXPECT_NEAR(w.fx->getRenderSetting(3), 0.75, 1e-6);
    EXPECT_NEAR(w.fx->getRealValue(kIRWindowParam), 0.25, 1e-6);
    name->enterText("Bus EQ");
    EXPECT_STREQ(w.fx->getInstanceName(), "Bus EQ");
}
