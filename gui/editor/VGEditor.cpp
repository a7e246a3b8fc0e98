#include "gui/editor/VGEditor.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>

#include <cjson/cJSON.h>

#include "core/BandMapping.h"
#include "core/ParamTable.h"
#include "dsp/BandDesign.h"
#include "core/Plug.h"
#include "gui/editor/AlertView.h"
#include "gui/editor/AnalyserButton.h"
#include "gui/editor/EditorControls.h"
#include "gui/editor/EditorMenus.h"
#include "gui/editor/EditorButtons.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "gui/editor/LayoutResource.h"
#include "gui/editor/LookPalette.h"
#include "gui/editor/MeterSection.h"
#include "gui/editor/Pages.h"
#include "gui/editor/StaticViews.h"
#include "gui/toolkit/CFileSelector.h"
#include "gui/toolkit/CGFrame.h"
#include "gui/toolkit/HeadlessRender.h"
#include "gui/toolkit/iControl.h"
#include "session/PlugEd.h"
#include "session/ValueText.h"
#include "state/Alerts.h"

using namespace VSTGUI;

namespace {

// Parameter rows whose controls are menus: they show and report the index
// of the chosen word, and the effect takes the row's normalised value.
bool isMenuRow(int32_t tag) {
    switch (tag) {
        case kParallel:
        case kIRLength:
        case kIRWindow:
        case kIRPhase:
        case kIRPad:
        case kDPlusLen:
        case kDPlusPhase:
        case kMode:
        case kABBank: return true;
        default: return false;
    }
}

int32_t firstWordValue(int32_t row) {
    int32_t count = 0;
    int32_t first = 0;
    choiceWords(row, &count, &first);
    return first;
}

// The normalised value of menu entry `index` of a parameter row.
float normOfEntry(int32_t row, float index) {
    return static_cast<float>(curveToNorm(staticParamTable()[row], firstWordValue(row) + std::round(index)));
}

// The menu entry a normalised value of a parameter row stands for.
float entryOfNorm(int32_t row, float norm) {
    return static_cast<float>(std::round(curveToReal(staticParamTable()[row], norm)) - firstWordValue(row));
}

// A render setting as its control shows it: the entry of a menu row, the
// normalised value of a continuous row, the switch as it is; and back.
float renderShown(int32_t setting, float raw) {
    const int32_t row = Plug::renderSettingRow(setting);
    if (row < 0) return raw;
    if (isMenuRow(row)) return raw - float(firstWordValue(row));
    return float(curveToNorm(staticParamTable()[row], raw));
}

float renderRaw(int32_t setting, float shown) {
    const int32_t row = Plug::renderSettingRow(setting);
    if (row < 0) return shown;
    if (isMenuRow(row)) return shown + float(firstWordValue(row));
    return float(curveToReal(staticParamTable()[row], shown));
}

CRect toRect(const layout::Box& b) { return CRect(b.left, b.top, b.right, b.bottom); }

uint64_t steadyMilliseconds() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

}  // namespace

// Builds the layout and keeps the views of the elements that have no tag.
class VGEditor::Builder : public LayoutBuilder {
public:
    CView* createCustomView(std::string_view name, const CRect& rect, CControlListener* listener, int32_t tag,
                            const LayoutNode& node) override {
        CView* view = LayoutBuilder::createCustomView(name, rect, listener, tag, node);
        if (view) byName[std::string(name)] = view;
        return view;
    }
    std::map<std::string, CView*> byName;  // the last view made of each element
};

VGEditor::VGEditor(PlugEd& editor) : ed(editor), effect(editor.getEffect()), clock(steadyMilliseconds) {
    setFileChooser(nullptr);
}

void VGEditor::setFileChooser(FileChooser chooser) {
    if (chooser) {
        fileChooser = std::move(chooser);
        return;
    }
    fileChooser = [this](bool save, const char* title, const char* initial, const char* extension, std::string* path) {
        if (!frame) return false;
        return CFileSelector(frame).run(save ? FileSelectorStyle::kSave : FileSelectorStyle::kOpen, title, initial,
                                        extension, path);
    };
}

VGEditor::~VGEditor() { close(); }

void VGEditor::setClock(Clock c) { clock = c ? std::move(c) : Clock(steadyMilliseconds); }

bool VGEditor::open(uintptr_t parent) {
    close();
    inputs.channels = effect.getChannelCount();
    applyUiSettings();
    regions = layout::computeRegions(inputs);
    if (overrideWidth > 0) {
        regions.width = overrideWidth;
        regions.height = overrideHeight;
    }
    auto* root = new CGFrame(CRect(0, 0, regions.width, regions.height), this);
    root->setBackgroundColor(look::kPanel);
    frame = root;
    builder = std::make_unique<Builder>();
    buildEmbeddedLayout(*builder, frame, this);
    registry.collect(frame);
    bindValueTexts();
    layoutEditor();
    pushAllValues();
    restoreGraphZoom();
    refreshAnalyserMenu();
    rebuildStrips();
    frame->setScale(scaleFactor);
    return parent == 0 || frame->open(parent);
}

bool VGEditor::setScale(int32_t factor) {
    if (factor < 1 || factor > VSTGUI::kMaxPlatformScale) return false;
    const bool changed = factor != getScale();
    if (frame && !frame->setScale(factor)) return false;
    scaleFactor = factor;
    if (changed && frame && sizeListener) sizeListener(getWindowWidth(), getWindowHeight());
    return true;
}

int32_t VGEditor::getScale() const { return frame ? frame->getScale() : scaleFactor; }

void VGEditor::close() {
    meterSectionBuilt = false;
    if (!frame) return;
    registry.clear();
    frame->close();
    frame->forget();
    frame = nullptr;
    builder.reset();
    alertView = nullptr;
    alertDismissed = false;
}

const std::vector<CensusRow>& VGEditor::census() const {
    static const std::vector<CensusRow> none;
    return builder ? builder->census() : none;
}

CView* VGEditor::viewOfElement(const char* name) const {
    if (!builder) return nullptr;
    const auto found = builder->byName.find(name);
    return found == builder->byName.end() ? nullptr : found->second;
}

CView* VGEditor::viewOf(int32_t index) const {
    CControl* control = registry.controlByIndex(index);
    if (!control) return nullptr;
    if (control->isTypeOf("iControlWrapper")) {
        return dynamic_cast<CView*>(static_cast<iControlWrapper*>(control)->getTarget());
    }
    return control;
}

void VGEditor::placeTagged(int32_t tag, const std::function<void(CView*)>& place) {
    for (int32_t i = registry.findTag(tag); i >= 0; i = registry.findTag(tag, i)) {
        if (CView* view = viewOf(i)) place(view);
    }
}

// ---------------------------------------------------------------------------
// Layout

void VGEditor::applyUiSettings() {
    const UISettingsTree& settings = ed.uiSettings();
    inputs.flags = layout::flagsFromSettings(settings);
    inputs.uiSize = std::clamp(settings.value("Layout", "UI Size"), 0, layout::kFreeSize);
    if (inputs.uiSize < layout::kFreeSize) ed.setFreeWidth(layout::kSizeWidths[inputs.uiSize]);
    inputs.freeWidth = ed.getFreeWidth();
    if (overrideWidth > 0) {
        inputs.uiSize = layout::kFreeSize;
        inputs.freeWidth = overrideWidth;
    }
    inputs.scrollbar = settings.value("Graph", "Scrollbar") != 0;
    refreshRate = kRefreshRates[std::clamp(settings.value("Misc", "Refresh Rate"), 0, 5)];
    stripsRebuildPending = true;
}

void VGEditor::setSizeOverride(int32_t width, int32_t height) {
    overrideWidth = width > 0 && height > 0 ? width : 0;
    overrideHeight = overrideWidth ? height : 0;
    applyUiSettings();
    resizePending = true;
    if (frame) layoutEditor();
}

void VGEditor::resizeFrame() {
    if (!frame) return;
    if (overrideWidth > 0) {
        regions.width = overrideWidth;
        regions.height = overrideHeight;
    }
    if (frame->getWidth() == regions.width && frame->getHeight() == regions.height) return;
    frame->setSize(regions.width, regions.height);
    if (sizeListener) sizeListener(getWindowWidth(), getWindowHeight());
}

void VGEditor::layoutEditor() {
    if (!frame) return;
    resizePending = false;
    regions = layout::computeRegions(inputs);
    resizeFrame();
    const layout::Regions& r = regions;
    const CRect whole(0, 0, r.width, r.height);

    // The wizard's page and the editor's page both take the whole window.
    placeTagged(kGUIWizardOpen, [&](CView* v) {
        if (!v->isTypeOf("nPage")) return;
        v->setViewSize(whole);
        v->setMouseableArea(whole);  // the regions below the layout's own height take the mouse too
    });
    auto show = [](CView* v, const layout::Box& box) {
        v->setViewSize(toRect(box));
        v->setMouseableArea(toRect(box));
        v->setVisible(box.width() > 0 && box.height() > 0);
    };
    placeTagged(kGUIEQGraph, [&](CView* v) { show(v, r.graph); });
    placeTagged(kGUIKeyboard, [&](CView* v) { show(v, r.keyboard); });
    if (CView* strips = viewOfElement("BandStrips")) {
        // The strips' rows hang from their height: a new height builds them again.
        if (strips->getViewSize().height() != r.strips.height()) stripsRebuildPending = true;
        show(strips, r.strips);
    }
    if (CView* meters = viewOfElement("meterSection")) {
        show(meters, r.meters);
        refreshMeterSection();
    }
    placeTagged(kGUIMeterFade, [&](CView* v) { show(v, r.meterFade); });

    // The top bar.
    placeTagged(kGUIBox1, [&](CView* v) { v->setViewSize(toRect(r.box1)); });
    placeTagged(kGUIBox2, [&](CView* v) {
        CRect box = v->getViewSize();
        v->setViewSize(box.moveTo(r.box2Left, box.top));
        v->setMouseableArea(v->getViewSize());
    });
    placeTagged(kGUIBox5, [&](CView* v) {
        // Its place in the layout is right after the stereo menu.
        CRect box = v->getViewSize();
        constexpr CCoord kBox5Left = 252;
        v->setViewSize(box.moveTo(kBox5Left + r.box5Shift, box.top));
        v->setMouseableArea(v->getViewSize());
    });
    placeTagged(kGUIStereoMode, [&](CView* v) { v->setVisible(r.stereoMenuShown); });
    placeTagged(kGUIBox3, [&](CView* v) {
        CRect box = v->getViewSize();
        box.right = r.box3Right;
        v->setViewSize(box);
    });

    // Trays, the resize corner, the setup panel.
    placeTagged(kGUIPresetBox, [&](CView* v) {
        if (v->isTypeOf("nPage")) v->setViewSize(toRect(r.presetBox));
    });
    placeTagged(kGUIScaleTray, [&](CView* v) {
        v->setViewSize(toRect(r.scaleTray));
        v->setVisible((inputs.flags & layout::kScaleTray) != 0 && r.graph.height() > 0);
    });
    placeTagged(kGUIFreeDrag, [&](CView* v) { show(v, r.resizeBox); });
    placeTagged(kGUISetup, [&](CView* v) {
        if (v->isTypeOf("nDarken")) v->setViewSize(toRect(r.darken));
        if (v->isTypeOf("nDraggablePage")) v->setViewSize(toRect(r.setupPanel));
    });
    placeTagged(kGUISetupPage, [&](CView* v) {
        CRect box = v->getViewSize();
        box.bottom = box.top + r.setupPageHeight;
        v->setViewSize(box);
    });
    placeTagged(kGUIChannelCount, [&](CView* v) {
        if (!v->isTypeOf("nTextDisplay")) return;
        char text[64];
        std::snprintf(text, sizeof text, "This instance has %d channel%s.", inputs.channels,
                      inputs.channels == 1 ? "" : "s");
        static_cast<nTextDisplay*>(v)->setText(text);
    });
    registry.setValueOfTag(kGUISurround, inputs.channels > 2 ? 1.0f : 2.0f);
    frame->invalid();
}

// ---------------------------------------------------------------------------
// Values toward the views

float VGEditor::widgetValue(int32_t tag, float value) const {
    if (isMenuRow(tag)) return entryOfNorm(tag, value);
    if (bandFieldOf(tag) == kFieldSubtype) return std::round(curveToReal(staticParamTable()[tag], value)) - 1;
    return value;
}

void VGEditor::updateUndoButtons() {
    undoButtonsStale = false;
    placeTagged(kGUIUndo, [&](CView* v) {
        if (v->isTypeOf("nKickButton2")) static_cast<nKickButton2*>(v)->setDisabled(!effect.canUndo());
    });
    placeTagged(kGUIRedo, [&](CView* v) {
        if (v->isTypeOf("nKickButton2")) static_cast<nKickButton2*>(v)->setDisabled(!effect.canRedo());
    });
    placeTagged(kGUIPresetPrev, [&](CView* v) {
        if (v->isTypeOf("nKickButton2")) static_cast<nKickButton2*>(v)->setDisabled(!ed.canPresetPrev());
    });
    placeTagged(kGUIPresetNext, [&](CView* v) {
        if (v->isTypeOf("nKickButton2")) static_cast<nKickButton2*>(v)->setDisabled(!ed.canPresetNext());
    });
}

void VGEditor::updateControl(int32_t tag, float value) {
    if (!frame) return;
    switch (tag) {
        case kGUISetup: setSetupOpen(value != 0.0f); break;
        case kGUIWizardOpen: setWizardOpen(value != 0.0f); break;
        case kABBank: registry.setValueOfTag(kGUIABMenu, entryOfNorm(kABBank, value)); break;
        case kMode: registry.setValueOfTag(kGUIProcessMode, entryOfNorm(kMode, value)); break;
        case kMsState: registry.setValueOfTag(kGUIUseMS1, 1.0f - value); break;
        case kGUIGroupNamesChanged:
            stripsRebuildPending = true;
            refreshGroupMenus();
            break;
        case kGUIInstancesChanged: refreshAnalyserMenu(); break;
        case kGUIInstanceName:
            placeTagged(kGUIInstanceName, [&](CView* v) {
                if (v->isTypeOf("nNameField")) static_cast<nNameField*>(v)->setText(effect.getInstanceName());
            });
            break;
        case kScale:
        case kFShift: refreshSliders(); break;
        case kGUIPresetMenu:
            programChanged();
            if (editListener) editListener(kGUIPresetMenu, EditEvent::kChange);
            break;
        default: break;
    }
    const int32_t field = bandFieldOf(tag);
    if (field == kFieldState) {
        // A band switched off gives up the locks of its rows.
        const int32_t band = bandIndexOf(tag);
        const bool on = effect.getRealValue(tag) != 0.0f;
        if (bandOn[band] && !on) {
            for (int32_t f = 0; f < kNumBandFields; ++f)
                effect.setParameterLocked(effect.getProgram(), bandParam(band, f), false);
        }
        // "Freq Sorting" "On Create" and "Always" place a new band by its frequency.
        if (!bandOn[band] && on && ed.getUiSetting("BandStrips", "Freq Sorting") >= 1) sortStripsOnce = true;
        bandOn[band] = on;
    }
    if (field == kFieldState || field == kFieldType || field == kFieldSubtype) stripsRebuildPending = true;
    if (field == kFieldFrequency && ed.getUiSetting("BandStrips", "Freq Sorting") == 2 && !ed.bandOrderSorted()) {
        sortStripsOnce = true;
        stripsRebuildPending = true;
    }
    if (field == kFieldFrequency) {
        // A band's colour may follow its frequency.
        if (BandStrips* strips = getStrips()) {
            const int32_t band = bandIndexOf(tag);
            const graphpix::Rgb c = bandColour(band, effect.getRealValue(tag), effect.getSampleRate(),
                                               graphOptionsFrom(ed.uiSettings()).coloursByNumber);
            strips->setBandColour(band, CColor{c.red, c.green, c.blue, 255});
        }
    }
    // The strips show gains and frequencies through the scale and the shift.
    if (tag == kScale || tag == kFShift) stripsRebuildPending = true;
    registry.setValueOfTag(tag, widgetValue(tag, value));
    // Many rows may change in one refresh: the buttons follow once, after them.
    if (isParamIndex(tag)) undoButtonsStale = true;
}

void VGEditor::pushAllValues() {
    for (int32_t tag = 0; tag < kNumParams; ++tag) updateControl(tag, effect.getParameter(tag));
    for (int32_t i = 0; i < Plug::kRenderSettingCount; ++i) {
        registry.setValueOfTag(kGUIRenderDSPMode + i, renderShown(i, effect.getRenderSetting(i)));
    }
    placeTagged(kGUIInstanceName, [&](CView* v) {
        if (v->isTypeOf("nNameField")) static_cast<nNameField*>(v)->setText(effect.getInstanceName());
    });
    const uint32_t loading = ed.getLoadingFlags();
    registry.setValueOfTag(kGUIPresetEQ, (loading & 1u) ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIPresetDSP, (loading & 2u) ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIPresetUI, (loading & 4u) ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIAnalyser, ed.isAnalyserOn() ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIMeterPrePost, ed.isPreEQ() ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIClip, effect.getClip() ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIPresetPage, presetTrayOpen ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIPresetBank, 0.0f);
    registry.setValueOfTag(kGUISetupPage, 0.0f);
    registry.setValueOfTag(kGUIWizardOpen, inputs.wizardOpen ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUISetup, inputs.setupOpen ? 1.0f : 0.0f);
    updateUndoButtons();
    refreshPresetBox();
    refreshGroupMenus();
    refreshSliders();
    placeTagged(kGUIOpenScaleTray, [&](CView* v) {
        if (v->isTypeOf("SpecialArrows")) static_cast<SpecialArrows*>(v)->setTrayOpen(scaleTrayOpen);
    });
    frame->invalid();
}

void VGEditor::programChanged() {
    refreshPresetBox();
    ed.setSelectedBands(0);
    ed.setLinkedBands(0);
    for (int32_t b = 0; b < kNumBands; ++b) registry.setValueOfTag(kGUISelectedBand + b, 0.0f);
    stripsRebuildPending = true;
    updateUndoButtons();
}

void VGEditor::chooseGroups(int32_t tag, float value) {
    const auto v = static_cast<int32_t>(std::lround(value));
    const int32_t side = tag == kGUIStereoMode2 ? 1 : 0;
    // With two channels the first button chooses for both sides: the first
    // group alone, the second alone, or both.
    if (inputs.channels == 2 && side == 0 && (v == 0 || v == 2 || v == 3)) {
        selectedGroup[0] = v == 2 ? -1 : 0;
        selectedGroup[1] = v == 0 ? -1 : 1;
        return;
    }
    selectedGroup[side] = v - 2 < 0 ? -1 : v - 2;
}

bool VGEditor::trayState(CControl* control, bool open) const {
    const float value = control->getValue();
    // A toggle shows the tray's state; a momentary button's press and any
    // other control's report flip it.
    if (control->isTypeOf("CMovieButton")) return value >= 0.5f;
    if (control->isTypeOf("CKickButton")) return value >= 0.5f ? !open : open;
    return !open;
}

void VGEditor::chooseGroupFromMenu(CControl* control, int32_t tag, float value) {
    auto* menu = static_cast<SGroupMenu*>(control);
    const auto v = static_cast<int32_t>(std::lround(value));
    const int32_t side = tag == kGUIStereoMode2 ? 1 : 0;
    if (inputs.channels == 2 && side == 0) {
        // The pair's two groups, one alone, both, or none.
        selectedGroup[0] = (v == 0 || v == menu->bothValue()) ? 0 : -1;
        selectedGroup[1] = (v == 1 || v == menu->bothValue()) ? 1 : -1;
        return;
    }
    selectedGroup[side] = (v == menu->noneValue() || v < 0) ? -1 : v;
}

void VGEditor::refreshPresetBox() {
    const std::string name = ed.currentPresetName();
    placeTagged(kGUIPresetMenu, [&](CView* v) {
        if (!v->isTypeOf("CPresetMenu")) return;
        auto* menu = static_cast<CPresetMenu*>(v);
        menu->setMenu(ed.getPresetMenu());
        menu->setName(name);
    });
    updateUndoButtons();
}

void VGEditor::refreshGroupMenus() {
    int32_t count = 0;
    const std::string* names = effect.groupNamesOf(&count);
    const std::vector<std::string> groups(names, names + (names ? count : 0));
    for (int32_t tag : {kGUIStereoMode, kGUIStereoMode2}) {
        placeTagged(tag, [&](CView* v) {
            if (!v->isTypeOf("SGroupMenu")) return;
            auto* menu = static_cast<SGroupMenu*>(v);
            menu->setGroups(groups, inputs.channels);
            const int32_t side = tag == kGUIStereoMode2 ? 1 : 0;
            float shown = static_cast<float>(selectedGroup[side]);
            if (inputs.channels == 2 && side == 0) {
                shown = selectedGroup[0] >= 0 && selectedGroup[1] >= 0 ? static_cast<float>(menu->bothValue())
                        : selectedGroup[0] >= 0                         ? 0.0f
                        : selectedGroup[1] >= 0                         ? 1.0f
                                                                        : static_cast<float>(menu->noneValue());
            }
            menu->setValue(shown);
            menu->invalid();
        });
    }
}

void VGEditor::refreshSliders() {
    const int32_t labels = ed.getUiSetting("Misc", "Slider Labels");
    const CEQSlider::Readout readout = labels == 0   ? CEQSlider::Readout::kNever
                                       : labels == 2 ? CEQSlider::Readout::kAlways
                                                     : CEQSlider::Readout::kWhileActive;
    for (int32_t tag : {kScale, kFShift}) {
        char text[64] = {};
        effect.getParameterDisplay(tag, text);
        char unit[64] = {};
        effect.getParameterLabel(tag, unit);
        const std::string shown = unit[0] ? std::string(text) + " " + unit : std::string(text);
        placeTagged(tag, [&](CView* v) {
            if (!v->isTypeOf("CEQSlider")) return;
            auto* slider = static_cast<CEQSlider*>(v);
            slider->setReadout(readout);
            slider->setDisplayText(shown);
        });
    }
}

// Scale and Shift moved with the second-function modifier: the bands' gains
// (or frequencies) move the other way so that the sound stays. Refused,
// with nothing changed, when a gain would leave its range.
bool VGEditor::compensate(int32_t tag, float value) {
    const ParamRow& row = staticParamTable()[tag];
    const double before = curveToReal(row, effect.getParameter(tag));
    const double after = curveToReal(row, value);
    if (after == 0.0) return false;
    const double ratio = before / after;
    const int32_t field = tag == kScale ? kFieldGain : kFieldFrequency;
    if (tag == kScale) {
        for (int32_t b = 0; b < kNumBands; ++b)
            if (std::fabs(effect.getRealValue(bandParam(b, field)) * ratio) > 1.0) return false;
    }
    effect.undoBeginGroup();
    effect.setParameterAutomated(tag, value);
    for (int32_t b = 0; b < kNumBands; ++b) {
        const int32_t band = bandParam(b, field);
        if (effect.getRealValue(bandParam(b, kFieldState)) == 0.0f) continue;
        const double raw = effect.getRealValue(band) * ratio;
        effect.beginEdit(band);
        effect.setParameterAutomated(band, static_cast<float>(curveToNorm(*effect.getRow(band), raw)));  // the live range
        effect.endEdit(band);
    }
    effect.undoEndGroup();
    return true;
}

void VGEditor::runFileAction(int32_t tag) {
    std::string path;
    switch (tag) {
        case kGUISave:
            if (fileChooser(true, "Choose destination filename", "~/Desktop/Fenwoldrine bank.fwb", "fwb", &path))
                ed.saveBank(path);
            ed.rebuildPresetMenu();
            break;
        case kGUISavePreset:
            if (fileChooser(true, "Choose destination filename", "~/Desktop/Fenwoldrine Preset.fwi", "fwi", &path))
                ed.savePreset(path);
            break;
        case kGUILoad:
            if (fileChooser(false, "Select preset bank", "~/Desktop", "fwb", &path)) ed.loadBank(path);
            break;
        case kGUILoadPreset:
            if (fileChooser(false, "Select preset file", "~/Desktop", "fwi", &path)) ed.loadPreset(path);
            break;
        default: return;
    }
    updateUndoButtons();
    stripsRebuildPending = true;
}

void VGEditor::setSetupOpen(bool open) {
    registry.setValueOfTag(kGUISetup, open ? 1.0f : 0.0f);
    if (inputs.setupOpen == open) return;
    inputs.setupOpen = open;
    layoutEditor();
}

void VGEditor::setWizardOpen(bool open) {
    registry.setValueOfTag(kGUIWizardOpen, open ? 1.0f : 0.0f);
    if (inputs.wizardOpen == open) return;
    inputs.wizardOpen = open;
    layoutEditor();
}

// ---------------------------------------------------------------------------
// The controller

void VGEditor::beginEdit(int32_t tag) {
    ed.beginLinkedEdit(tag);
    if (editListener) editListener(tag, EditEvent::kBegin);
}

void VGEditor::endEdit(int32_t tag) {
    ed.endLinkedEdit(tag);
    if (editListener) editListener(tag, EditEvent::kEnd);
}

void VGEditor::valueChanged(CControl* control) {
    handleValue(control);
    if (editListener) editListener(control->getTag(), EditEvent::kChange);
}

void VGEditor::handleValue(CControl* control) {
    const int32_t tag = control->getTag();
    const float value = control->getValue();
    if ((tag == kScale || tag == kFShift) && control->isTypeOf("CEQSlider") &&
        static_cast<CEQSlider*>(control)->isCompensating()) {
        if (!compensate(tag, value)) control->setValue(effect.getParameter(tag));
        refreshSliders();
        return;
    }
    if (isParamIndex(tag)) {
        if (isMenuRow(tag)) {
            effect.setParameterAutomated(tag, normOfEntry(tag, value));
        } else if (bandIndexOf(tag) >= 0) {
            ed.editBandRow(tag, value);
        } else if (tag >= kFirstChannelParam && tag < kFirstBandParam) {
            // A channel of a linked pair takes its partner along.
            const int32_t channel = (tag - kFirstChannelParam) / kNumChannelFields;
            const int32_t field = (tag - kFirstChannelParam) % kNumChannelFields;
            const int32_t partner = channel ^ 1;
            const bool linkedPair = (ed.getChannelLinks() >> (channel / 2)) & 1u;
            const float old = effect.getParameter(tag);
            effect.setParameterAutomated(tag, value);
            if (linkedPair && partner < effect.getChannelCount()) {
                const int32_t other = channelParam(partner, field);
                const float follow = field == kFieldLevel ? effect.getParameter(other) + (value - old) : value;
                effect.setParameterAutomated(other, std::clamp(follow, 0.0f, 1.0f));
            }
        } else {
            effect.setParameterAutomated(tag, value);
        }
        if (tag == kScale || tag == kFShift) refreshSliders();
        return;
    }
    if (tag >= kGUISelectedBand && tag < kGUISelectedBand + kNumBands) {
        ed.setBandSelected(tag - kGUISelectedBand, value != 0.0f);
        return;
    }
    if (tag >= kGUIRenderDSPMode && tag <= kGUIRenderDSPEnabled) {
        effect.setRenderSetting(tag - kGUIRenderDSPMode, renderRaw(tag - kGUIRenderDSPMode, value));
        return;
    }
    if (tag >= kGUIChannel12Link && tag <= kGUIChannel78Link) {
        const uint32_t bit = 1u << (tag - kGUIChannel12Link);
        ed.setChannelLinks(value != 0.0f ? ed.getChannelLinks() | bit : ed.getChannelLinks() & ~bit);
        return;
    }
    switch (tag) {
        case kGUIProcessMode: effect.setParameterAutomated(kMode, normOfEntry(kMode, value)); break;
        case kGUIUseMS1: effect.setParameterAutomated(kMsState, 1.0f - value); break;
        case kGUISetup:
            // The header's button is momentary: its press opens or closes
            // the panel; the close box and the dimming sheet say which.
            if (control->isTypeOf("CKickButton")) {
                if (value >= 0.5f) updateControl(kGUISetup, inputs.setupOpen ? 0.0f : 1.0f);
            } else {
                updateControl(kGUISetup, value);
            }
            break;
        case kGUIAbout:
            registry.setValueOfTag(kGUISetupPage, 5.0f);
            updateControl(kGUISetup, 1.0f);
            break;
        case kGUISetupPage: registry.setValueOfTag(kGUISetupPage, value); frame->invalid(); break;
        case kGUIWizardOpen: updateControl(kGUIWizardOpen, value); break;
        case kGUIPresetPage:
            presetTrayOpen = trayState(control, presetTrayOpen);
            break;
        case kGUIOpenScaleTray:
            if (trayState(control, scaleTrayOpen) != scaleTrayOpen) {
                scaleTrayOpen = !scaleTrayOpen;
                placeTagged(kGUIOpenScaleTray, [&](CView* v) {
                    if (v->isTypeOf("SpecialArrows")) static_cast<SpecialArrows*>(v)->setTrayOpen(scaleTrayOpen);
                });
            }
            break;
        case kGUIUndo:
            if (value != 0.0f) effect.undo();
            updateUndoButtons();
            stripsRebuildPending = true;
            break;
        case kGUIRedo:
            if (value != 0.0f) effect.redo();
            updateUndoButtons();
            stripsRebuildPending = true;
            break;
        case kGUIPresetPrev:
            if (value != 0.0f) ed.presetPrev();
            updateUndoButtons();
            break;
        case kGUIPresetNext:
            if (value != 0.0f) ed.presetNext();
            updateUndoButtons();
            break;
        case kGUIABMenu: ed.chooseABSlot(static_cast<int32_t>(std::lround(value))); break;
        case kGUIABMenuAlt: ed.toggleABSlot(); break;
        case kGUICopyTo: ed.copyToABSlot(static_cast<int32_t>(std::lround(value))); break;
        case kGUIPresetEQ:
        case kGUIPresetDSP:
        case kGUIPresetUI: ed.setLoadingFlag(tag, value != 0.0f); break;
        case kGUIPleaseRebuildStrips: stripsRebuildPending = true; break;
        case kGUIMeterPrePost:
            ed.setPreEQ(value != 0.0f);
            effect.setMeterPreBank(value != 0.0f);
            break;
        case kGUIPrefsChange: effect.reloadGlobalSettings(); break;
        case kGUIClip:
            effect.setClip(false);
            registry.setValueOfTag(kGUIClip, 0.0f);
            break;
        case kGUIAnalyser: ed.setAnalyserOn(value != 0.0f); break;
        case kGUIAnalyserUpdated:
            if (control->isTypeOf("nAnalyserButton")) {
                const auto* button = static_cast<const nAnalyserButton*>(control);
                ed.setAnalyserSource(0, button->primarySource());
                ed.setAnalyserSource(1, button->secondarySource());
                ed.setAnalyserType(button->displayType());
                refreshGraph();
            }
            break;
        case kGUIStripsChanged:
        case kGUIMeterSection: layoutEditor(); break;
        case kGUIUIPrefsChange:
            applyUiSettings();
            layoutEditor();
            break;
        case kGUISelectOnly:
            if (value < 0.0f) {
                // Nothing chosen, nothing linked.
                ed.setSelectedBands(0);
                ed.setLinkedBands(0);
            } else {
                ed.selectOnly(static_cast<int32_t>(value));
            }
            for (int32_t b = 0; b < kNumBands; ++b)
                registry.setValueOfTag(kGUISelectedBand + b, ((ed.getSelectedBands() >> b) & 1u) ? 1.0f : 0.0f);
            break;
        case kGUISelectToggle: {
            const auto band = static_cast<int32_t>(value);
            ed.selectToggle(band);
            if (band >= 0 && band < kNumBands)
                registry.setValueOfTag(kGUISelectedBand + band, ((ed.getSelectedBands() >> band) & 1u) ? 1.0f : 0.0f);
            break;
        }
        case kGUIDeleteBand: {
            const auto band = static_cast<int32_t>(value);
            if (band < 0 || band >= kNumBands) break;
            const int32_t state = bandParam(band, kFieldState);
            ed.beginLinkedEdit(state);
            ed.editBandRow(state, 0.0f);
            ed.endLinkedEdit(state);
            ed.setSelectedBands(0);
            if (ed.isLinkingOn()) ed.setLinkedBands(0);
            for (int32_t b = 0; b < kNumBands; ++b) registry.setValueOfTag(kGUISelectedBand + b, 0.0f);
            break;
        }
        case kGUIStereoMode:
        case kGUIStereoMode2:
            if (control->isTypeOf("SGroupMenu")) {
                chooseGroupFromMenu(control, tag, value);
                break;
            }
            chooseGroups(tag, value);
            break;
        case kGUIPresetMenu:
            if (control->isTypeOf("CPresetMenu")) {
                ed.applyMenuPath(static_cast<CPresetMenu*>(control)->getChosenPath());
                refreshPresetBox();
                updateUndoButtons();
                stripsRebuildPending = true;
            }
            break;
        case kGUIPresetName:
            if (control->isTypeOf("CPresetMenu")) {
                ed.setPresetName(static_cast<CPresetMenu*>(control)->getName().c_str());
                ed.rebuildPresetMenu();
                refreshPresetBox();
            }
            break;
        case kGUISelectedGroup:
        case kGUIDeSelectedGroup: chooseGroups(kGUIStereoMode, value); break;
        case kGUISave:
        case kGUILoad:
        case kGUISavePreset:
        case kGUILoadPreset:
            if (value == 1.0f) runFileAction(tag);
            break;
        case kGUIPropagateDSP: effect.propagateDSP(); break;
        case kGUIPropagateRenderDSP: effect.propagateRenderDSP(); break;
        case kGUIAutoListen:
        case kGUIAutoListenQ: {
            const auto band = static_cast<int32_t>(std::lround(value));
            effect.setAutoListenArmed(band >= 0);
            if (band >= 0 && band < kNumBands && effect.isAutoListening()) ed.selectOnly(band);
            break;
        }
        case kGUIInsertBandAfter:
            if (ed.insertBandAfter(static_cast<int32_t>(value)) >= 0) stripsRebuildPending = true;
            break;
        case kGUIFreeDrag:
            ed.setFreeWidth(std::max(layout::kMinimumWidth, ed.getFreeWidth() + static_cast<int32_t>(value)));
            inputs.freeWidth = ed.getFreeWidth();
            resizePending = true;
            break;
        case kGUIAutoGain: ed.setAutoGain(value != 0.0f, false); break;
        case kGUIInstanceName:
            if (control->isTypeOf("nNameField"))
                effect.setInstanceName(static_cast<nNameField*>(control)->getText().c_str(), true);
            break;
        default: break;  // the view's own business
    }
}

// ---------------------------------------------------------------------------
// Idle and the timer

void VGEditor::showNextAlert() {
    if (!frame) return;
    if (alertView && alertDismissed) {
        // Taken away here, not from within its own mouse call.
        frame->setModalView(nullptr);
        frame->removeView(alertView);
        alertView = nullptr;
        frame->invalid();
    }
    if (alertView) return;
    std::vector<Alerts::Alert> waiting = Alerts::instance().takeAll();
    if (waiting.empty()) return;
    // The later messages wait their turn in the queue.
    for (size_t i = 1; i < waiting.size(); ++i) Alerts::instance().push(waiting[i].title, waiting[i].text);
    alertDismissed = false;
    alertView = new AlertView(CRect(0, 0, frame->getWidth(), frame->getHeight()), waiting[0].title, waiting[0].text,
                              [this]() { alertDismissed = true; });
    frame->addView(alertView);
    frame->setModalView(alertView);
    frame->invalid();
}

void VGEditor::slideTrays() {
    if (inputs.wizardOpen) return;
    auto toward = [](int32_t& at, int32_t target, int32_t step) {
        if (at == target) return false;
        at = at < target ? std::min(target, at + step) : std::max(target, at - step);
        return true;
    };
    // Both trays move in the same refresh.
    const bool presetMoved = toward(
        inputs.presetTrayTop, presetTrayOpen ? layout::kPresetTrayShown : layout::kPresetTrayHidden, kPresetTrayStep);
    const bool scaleMoved = toward(
        inputs.scaleTrayLeft, scaleTrayOpen ? layout::kScaleTrayShown : layout::kScaleTrayHidden, kScaleTrayStep);
    if (presetMoved || scaleMoved) layoutEditor();
}

void VGEditor::editorTimer() {
    const auto step = static_cast<int64_t>(static_cast<double>(clock()) * 0.001 * refreshRate);
    if (step == lastRefreshStep) return;
    lastRefreshStep = step;
    ++refreshes;
    if (ed.takePresetDisplayStale()) refreshPresetBox();
    slideTrays();
    float value = 0;
    for (int32_t tag = 0; tag < PlugEd::kNumTags; ++tag) {
        if (ed.takeUpdate(tag, &value)) updateControl(tag, value);
    }
    if (undoButtonsStale) updateUndoButtons();
    if (inputs.wizardOpen) return;
    refreshGraph();
    registry.setValueOfTag(kGUIMasterMeter1, static_cast<float>(effect.getLevelMeter(0)));
    registry.setValueOfTag(kGUIMasterMeter2, static_cast<float>(effect.getLevelMeter(1)));
    for (int32_t c = 0; c < effect.getChannelCount(); ++c)
        registry.setValueOfTag(kGUIChannel1Meter + c, static_cast<float>(effect.getLevelMeter(c)));
    if (effect.getClip() && registry.valueOfTag(kGUIClip) <= 0.5f) updateControl(kGUIClip, 1.0f);
}

void VGEditor::refreshAnalyserMenu() {
    CView* view = viewOfElement("nAnalyserButton");
    if (!view || !view->isTypeOf("nAnalyserButton")) return;
    // The sources on offer: this instance's channels, and every other
    // instance's by its name.
    AnalyserMenuModel model;
    for (int32_t c = 0; c < effect.getChannelCount(); ++c) model.channels.emplace_back(effect.channelLabel(c));
    InstanceRegistry::instance().forEachOther(&effect, [&](Plug& other) {
        AnalyserMenuModel::Instance instance;
        instance.name = other.getInstanceName();
        for (int32_t c = 0; c < other.getChannelCount(); ++c) instance.channels.emplace_back(other.channelLabel(c));
        model.others.push_back(std::move(instance));
    });
    model.primary = ed.getAnalyserSource(0);
    model.secondary = ed.getAnalyserSource(1);
    model.type = ed.getAnalyserType();
    static_cast<nAnalyserButton*>(view)->setMenuModel(model);
}

void VGEditor::graphUndoGroup(bool begin) {
    if (begin) {
        effect.undoBeginGroup();
        ed.setGraphGesture(true);
    } else {
        ed.setGraphGesture(false);
        effect.undoEndGroup();
        undoButtonsStale = true;
    }
}

void VGEditor::graphZoomChanged(double minHz, double maxHz) {
    ed.setGraphRange("EQGraph", minHz, maxHz);
    if (nKeyboard* keys = getKeyboard()) keys->setRange(minHz, maxHz);
}

nKeyboard* VGEditor::getKeyboard() const {
    CView* view = viewOfElement("Keyboard");
    return view && view->isTypeOf("nKeyboard") ? static_cast<nKeyboard*>(view) : nullptr;
}

void VGEditor::restoreGraphZoom() {
    EQGraph* graph = getGraph();
    if (!graph) return;
    graph->setHost(this);
    // The zoom the graph was left at, kept with the editor's state; the
    // whole range when there is none.
    gatherGraphScene(effect, graphScene);
    graph->setScene(graphScene);  // the sample rate sets the top of the range
    const cJSON* zoom = cJSON_GetObjectItemCaseSensitive(ed.getSubgraphSettings(), "EQGraph");
    const cJSON* low = cJSON_GetObjectItemCaseSensitive(zoom, "minf");
    const cJSON* high = cJSON_GetObjectItemCaseSensitive(zoom, "maxf");
    graph->setFrequencyRange(cJSON_IsNumber(low) ? low->valuedouble : 10.0,
                             cJSON_IsNumber(high) ? high->valuedouble : graph->getNyquist());
    // The keyboard runs along the graph's axis and works on its bands.
    if (nKeyboard* keys = getKeyboard()) {
        keys->setRange(graph->getMinFrequency(), graph->getMaxFrequency());
        keys->onCreateBand = [graph](double hz) { graph->createBand(hz, 0.0); };
        keys->onDeleteBand = [graph](int32_t band) { graph->deleteBand(band); };
        keys->onHoverBand = [graph](int32_t band) { graph->setHoverBand(band); };
    }
}

EQGraph* VGEditor::getGraph() const {
    CView* view = viewOfElement("EQGraph");
    return view && view->isTypeOf("EQGraph") ? static_cast<EQGraph*>(view) : nullptr;
}

void VGEditor::refreshGraph() {
    EQGraph* graph = getGraph();
    if (!graph || !graph->isVisible()) return;
    gatherGraphScene(effect, graphScene, graph->getPopupBand());
    graph->setScene(graphScene);
    graph->setOptions(graphOptionsFrom(ed.uiSettings()));
    graph->setGroups(selectedGroup[0], selectedGroup[1]);
    graph->setSelection(static_cast<uint32_t>(ed.getSelectedBands()));
    graph->setAnalyserType(ed.getAnalyserType());
    graph->setAnalyserOn(ed.isAnalyserOn());
    if (nKeyboard* keys = getKeyboard()) {
        keys->setScene(graphScene);
        keys->setGroups(selectedGroup[0], selectedGroup[1]);
        keys->setColoursByNumber(graph->getOptions().coloursByNumber);
        keys->setRange(graph->getMinFrequency(), graph->getMaxFrequency());
    }
    // A frozen analyser keeps its picture.
    if (!ed.isAnalyserOn() || graph->isAnalyserFrozen()) return;

    // The analyser follows the graph's columns and zoom, and its sources.
    const int32_t columns = graph->plotWidth();
    if (columns != analyserSetup.columns || graph->getMinFrequency() != analyserSetup.low ||
        graph->getMaxFrequency() != analyserSetup.high) {
        analyserSetup.columns = columns;
        analyserSetup.low = graph->getMinFrequency();
        analyserSetup.high = graph->getMaxFrequency();
        analyser.setColumns(columns, analyserSetup.low, analyserSetup.high);
    }
    InstanceRegistry& registry = InstanceRegistry::instance();
    for (int32_t s = 0; s < 2; ++s) {
        const int32_t source = ed.getAnalyserSource(s);
        if (source == analyserSetup.source[s]) continue;
        analyserSetup.source[s] = source;
        // The instance's position in the bits from 8 up (0 this one), the
        // channel code in the low bits; -1 no source.
        const int32_t other = source < 0 ? 0 : source >> 8;
        InstanceRegistry::Handle handle = other == 0 ? registry.handleOf(&effect) : registry.otherAt(&effect, other - 1);
        const int32_t channel = source < 0 ? -1 : (source & 0xF);
        if (s == 0) {
            analyser.setPrimary(std::move(handle), channel);
        } else {
            analyser.setSecondary(std::move(handle), channel);
        }
    }
    analyser.setNyquist(0.5f * effect.getSampleRate());
    analyser.applySettings(ed.uiSettings());
    analyser.update();
    graph->setAnalyserLevels(analyser.primaryLevels().data(), analyser.secondaryLevels().data(), columns,
                             analyserSetup.source[0] >= 0x100, analyserSetup.source[1] >= 0x100);
}

void VGEditor::idle() {
    if (!frame) return;
    showNextAlert();
    if (resizePending) layoutEditor();
    editorTimer();
    BandStrips* strips = getStrips();
    if (stripsRebuildPending && !frame->getModalView() && !inputs.wizardOpen && !(strips && strips->isBusy())) {
        rebuildStrips();
    }
    frame->idle();
}

bool VGEditor::writeSnapshot(const std::string& path, std::string* error) {
    if (!frame) {
        if (error) *error = "the editor is not open";
        return false;
    }
    return writeViewPNG(frame, path.c_str(), error, look::kPanel);
}

// ---------------------------------------------------------------------------
// The meter section

void VGEditor::refreshMeterSection() {
    CView* view = viewOfElement("meterSection");
    if (!view || !view->isTypeOf("meterSection") || !frame) return;
    auto* section = static_cast<meterSection*>(view);
    MeterSectionModel model;
    model.layoutFlags = inputs.flags;
    model.channels = inputs.channels;
    for (int32_t c = 0; c < inputs.channels && c < 8; ++c) model.channelLabels[c] = effect.channelLabel(c);
    model.scale = ed.getUiSetting("Meters", "Scale");
    model.hold = ed.getUiSetting("Meters", "Meter Peak/Hold");
    model.readoutPeaks = ed.getUiSetting("Meters", "Readouts") == 0;
    model.peakYellow = ed.getUiSetting("Meters", "Peak Colour") == 1;
    if (meterSectionBuilt && section->getModel() == model) return;
    meterSectionBuilt = true;
    section->rebuild(model);
    // The registry learns the new controls, and they show the values in force.
    registry.collect(frame);
    for (int32_t tag = kFirstChannelParam; tag < kFirstBandParam; ++tag) updateControl(tag, effect.getParameter(tag));
    updateControl(kGain, effect.getParameter(kGain));
    for (int32_t pair = 0; pair < 4; ++pair)
        registry.setValueOfTag(kGUIChannel12Link + pair, ((ed.getChannelLinks() >> pair) & 1u) ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIMeterPrePost, ed.isPreEQ() ? 1.0f : 0.0f);
    registry.setValueOfTag(kGUIClip, effect.getClip() ? 1.0f : 0.0f);
}

// ---------------------------------------------------------------------------
// The band strips

BandStrips* VGEditor::getStrips() const {
    CView* view = viewOfElement("BandStrips");
    return view && view->isTypeOf("BandStrips") ? static_cast<BandStrips*>(view) : nullptr;
}

std::function<std::string(int32_t, float, bool)> VGEditor::valueFormat() {
    Plug* fx = &effect;
    return [fx](int32_t tag, float norm, bool musical) {
        char text[kParamTextSize] = {};
        fx->formatParameter(tag, norm, text, musical);
        char unit[kParamTextSize] = {};
        fx->getParameterLabel(tag, unit);
        const ParamRow& row = staticParamTable()[tag];
        // Words of a menu row, and note names, carry no unit.
        const bool words = row.curve == kCurveInt || row.curve == kCurveBool;
        std::string shown = unit[0] && !words && !(musical && std::isalpha(static_cast<unsigned char>(text[0])))
                                ? std::string(text) + " " + unit
                                : std::string(text);
        while (!shown.empty() && shown.back() == ' ') shown.pop_back();
        return shown;
    };
}

std::function<std::optional<float>(int32_t, std::string_view, bool)> VGEditor::valueReader() {
    Plug* fx = &effect;
    return [fx](int32_t tag, std::string_view text, bool noteMode) -> std::optional<float> {
        const TypedValue typed = readTypedValue(text, isBandFrequency(tag), noteMode);
        if (typed.kind == TypedValue::kIgnored) return std::nullopt;
        if (typed.kind == TypedValue::kDefault) return staticParamTable()[tag].norm;
        const double norm = fx->displayToNorm(tag, typed.value);
        if (!std::isfinite(norm)) return std::nullopt;
        return float(std::clamp(norm, 0.0, 1.0));
    };
}

StripsModel VGEditor::stripsModel() {
    StripsModel model;
    model.flags = inputs.flags;
    int32_t order[kNumBands];
    const int32_t count = ed.reviewedBandOrder(order, sortStripsOnce);
    const GraphOptions options = graphOptionsFrom(ed.uiSettings());
    const double rate = effect.getSampleRate();
    for (int32_t i = 0; i < count; ++i) {
        const int32_t b = order[i];
        StripBand band;
        band.band = b;
        for (int32_t f = 0; f < kNumBandFields; ++f) band.norm[f] = effect.getParameter(bandParam(b, f));
        band.bypassed = std::lround(effect.getRealValue(bandParam(b, kFieldState))) == kBandBypassed;
        const auto type = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldType))));
        const auto subtype = int32_t(std::lround(effect.getRealValue(bandParam(b, kFieldSubtype)))) - 1;
        const int32_t engineType = engineTypeFor(type, false);
        band.controls = controlMaskOf(engineType, subtype);
        band.shiftName = shiftLabelOf(engineType, subtype);
        const graphpix::Rgb c =
            bandColour(b, effect.getRealValue(bandParam(b, kFieldFrequency)), rate, options.coloursByNumber);
        band.colour = CColor{c.red, c.green, c.blue, 255};
        model.bands.push_back(band);
    }
    int32_t names = 0;
    const std::string* groupNames = effect.groupNamesOf(&names);
    for (int32_t g = 0; g < names && groupNames; ++g) model.groupNames.push_back(groupNames[g]);
    model.selected = ed.getSelectedBands();
    for (int32_t tag = 0; tag < kNumParams; ++tag) {
        if (effect.programStore().isLocked(effect.getProgram(), tag)) model.lockedRows[tag / 32] |= 1u << (tag % 32);
    }
    model.lockColour = options.lockYellow ? CColor{255, 255, 0, 0x80} : CColor{255, 0, 0, 0x80};

    model.format = valueFormat();
    model.read = valueReader();
    model.defaultValue = [](int32_t tag) { return staticParamTable()[tag].norm; };
    VGEditor* self = this;
    model.undoGroup = [self](bool begin) { self->graphUndoGroup(begin); };
    model.createBand = [self](double hz, double q) {
        (void)q;
        if (EQGraph* graph = self->getGraph()) graph->createBand(hz, 0.0);
        self->stripsRebuildPending = true;
    };
    model.hoverBand = [self](int32_t band) {
        if (EQGraph* graph = self->getGraph()) graph->setHoverBand(band);
    };
    model.toggleLock = [self](int32_t tag) {
        if (!isParamIndex(tag)) return;
        Plug& fx = self->effect;
        fx.setParameterLocked(fx.getProgram(), tag, !fx.programStore().isLocked(fx.getProgram(), tag));
        self->stripsRebuildPending = true;
    };
    model.selection = [self] { return self->ed.getSelectedBands(); };
    return model;
}

StripValueRow VGEditor::valueTextRow(int32_t tag) {
    // The row the field stands for: a parameter, or the row a render setting copies.
    const int32_t setting = tag - kGUIRenderDSPMode;
    const int32_t row = isParamIndex(tag) ? tag
                        : (setting >= 0 && setting < Plug::kRenderSettingCount) ? Plug::renderSettingRow(setting)
                                                                                : -1;
    StripValueRow valueRow;
    if (row < 0) return valueRow;
    valueRow.format = [format = valueFormat(), row](int32_t, float norm, bool musical) {
        return format(row, norm, musical);
    };
    valueRow.read = [read = valueReader(), row](int32_t, std::string_view text, bool noteMode) {
        return read(row, text, noteMode);
    };
    valueRow.frequency = isBandFrequency(row);
    return valueRow;
}

void VGEditor::bindValueTexts() {
    // The layout's own value fields (the strips' know their rows from birth).
    for (int32_t i = 0; i < registry.controlCount(); ++i) {
        CControl* control = registry.controlByIndex(i);
        if (!control || !control->isTypeOf("CEQText") || control->getParentView() == getStrips()) continue;
        auto* field = static_cast<CEQText*>(control);
        field->setRow(valueTextRow(field->getTag()));
        const int32_t row = isParamIndex(field->getTag()) ? field->getTag()
                                                          : Plug::renderSettingRow(field->getTag() - kGUIRenderDSPMode);
        if (row >= 0) field->setDefaultValue(staticParamTable()[row].norm);
    }
}

void VGEditor::rebuildStrips() {
    stripsRebuildPending = false;
    BandStrips* strips = getStrips();
    if (strips && strips->takeSortRequest()) sortStripsOnce = true;
    const bool sort = sortStripsOnce;
    // The band order made whole again (and sorted when asked) and kept with the program.
    int32_t order[kNumBands];
    const int32_t count = ed.reviewedBandOrder(order, sort);
    const int32_t* stored = effect.programStore().bandOrder(effect.getProgram());
    if (!std::equal(order, order + count, stored) || (count < kNumBands && stored[count] >= 0))
        effect.setBandOrder(effect.getProgram(), order, count);
    if (!strips || !frame) {
        sortStripsOnce = false;
        return;
    }
    const StripsModel model = stripsModel();
    sortStripsOnce = false;
    strips->rebuild(model);
    // The registry forgets the old strips' controls and learns the new ones.
    registry.collect(frame);
}
