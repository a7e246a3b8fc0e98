#pragma once
// The editor's tags: integers that name the controls and actions of the
// editor beside the parameters, which keep their indices below kNumParams.
// The list expands both to the enumeration and to its text, from which the
// editor's name table is built, so names and numbers cannot drift apart.

#include <cstdint>

#include "core/ParamEnum.h"
#include "core/ParameterNameTable.h"

// X(name): the next value; XAT(name, value): a fixed value.
#define FW_EDITOR_TAG_LIST(X, XAT) \
    XAT(kGUIEQGraph, 500) \
    X(kGUIPresetMenu) \
    X(kGUIProcessMode) \
    X(kGUIStereoMode) \
    X(kGUIAnalyser) \
    X(kGUIConsole) \
    X(kGUIVU) \
    X(kGUISetup) \
    X(kGUIPageChange) \
    X(kGUIPresetPage) \
    X(kGUISave) \
    X(kGUILoad) \
    X(kGUIUndo) \
    X(kGUIRedo) \
    X(kGUIPresetPrev) \
    X(kGUIPresetNext) \
    X(kGUIPresetName) \
    X(kGUIABMenu) \
    X(kGUIABMenuAlt) \
    X(kGUICopyTo) \
    X(kGUIMeterPrePost) \
    X(kGUIFlat) \
    X(kGUIPrefsChange) \
    X(kGUIClip) \
    X(kGUIMeterReadout) \
    XAT(kGUIBox1, 526) \
    X(kGUIBox2) \
    X(kGUIBox3) \
    X(kGUIBox4) \
    X(kGUIPresetBox) \
    X(kGUIAbout) \
    X(kGUISetupPage) \
    X(kGUIStripsChanged) \
    X(kGUIPhaseGraph) \
    X(kGUIIRGraph) \
    X(kGUIChannelCount) \
    X(kGUISurround) \
    X(kGUIMeterSection) \
    X(kGUIUIPrefsChange) \
    X(kGUISelectOnly) \
    X(kGUIMasterMeter1) \
    X(kGUIMasterMeter2) \
    X(kGUIGroupNamesChanged) \
    X(kGUIUseMS1) \
    X(kGUIBox5) \
    X(kGUIStereoMode2) \
    X(kGUIInstancesChanged) \
    X(kGUIInstanceName) \
    X(kGUIKeyboard) \
    X(kGUIScaleTray) \
    X(kGUIOpenScaleTray) \
    X(kGUIAnalyserUpdated) \
    X(kGUIMeterFade) \
    X(kGUILoadPreset) \
    X(kGUISavePreset) \
    X(kGUIPresetEQ) \
    X(kGUIPresetDSP) \
    X(kGUIPresetUI) \
    X(kGUIPresetBank) \
    X(kGUIPleaseRebuildStrips) \
    X(kGUIWizardOpen) \
    X(kGUIWizardCompleted) \
    X(kGUIReloadFreqDefault) \
    X(kGUISelectToggle) \
    X(kGUIFreeDrag) \
    X(kGUIInsertBandAfter) \
    X(kGUIAutoListen) \
    X(kGUIAutoListenQ) \
    X(kGUISelectedGroup) \
    X(kGUIDeSelectedGroup) \
    X(kGUIPropagateDSP) \
    X(kGUIFullScreen) \
    X(kGUIAutoGain) \
    X(kGUIPropagateRenderDSP) \
    X(kGUIDeleteBand) \
    X(kGUIChannel12Link) \
    X(kGUIChannel34Link) \
    X(kGUIChannel56Link) \
    X(kGUIChannel78Link) \
    X(kGUIChannel1Meter) \
    X(kGUIChannel2Meter) \
    X(kGUIChannel3Meter) \
    X(kGUIChannel4Meter) \
    X(kGUIChannel5Meter) \
    X(kGUIChannel6Meter) \
    X(kGUIChannel7Meter) \
    X(kGUIChannel8Meter) \
    X(kGUIRenderDSPMode) \
    X(kGUIRenderDSPIRLength) \
    X(kGUIRenderDSPIRWindow) \
    X(kGUIRenderDSPIRWindowParam) \
    X(kGUIRenderDSPIRPhase) \
    X(kGUIRenderDSPIRPad) \
    X(kGUIRenderDSPDPlusLen) \
    X(kGUIRenderDSPDPlusPhase) \
    X(kGUIRenderDSPEnabled) \
    XAT(kGUISelectedBand, 700) \
    XAT(kGUIMasterMeterTray, 800) \
    X(kGUIMiniMasterMeterTray) \
    X(kGUIGroupMetersTray)

#define FW_TAG_ITEM(name) name,
#define FW_TAG_ITEM_AT(name, value) name = value,

enum EditorTag : int32_t { FW_EDITOR_TAG_LIST(FW_TAG_ITEM, FW_TAG_ITEM_AT) kEditorTagEnd };

#undef FW_TAG_ITEM
#undef FW_TAG_ITEM_AT

// Names and values of the parameters followed by the editor's tags: the
// table through which the layout's names meet their numbers.
const ParameterNameTable& editorTagTable();
