#include "effect/AudioEffectX.h"

#include <cstdio>
#include <cstring>

#include "effect/Product.h"

namespace {

void copyText(char* dest, const char* src) {
    std::snprintf(dest, kEffectNameSize, "%s", src);
}

// Arrangement code a host reads for a given pin count.
int32_t arrangementFor(int32_t count) {
    switch (count) {
        case 1: return 0;
        case 2: return 1;
        case 3: return 7;
        case 4: return 11;
        default: return 0;
    }
}

}  // namespace

AudioEffectX::AudioEffectX(EffectHostCallback host, int32_t programs, int32_t params)
    : AudioEffect(host, programs, params) {}

int32_t AudioEffectX::canDo(const char* text) {
    if (!text) return 0;
    static constexpr const char* kCapabilities[] = {"bypass", "receiveVstEvents", "receiveVstMidiEvent"};
    for (const char* cap : kCapabilities)
        if (std::strcmp(text, cap) == 0) return 1;
    return 0;
}

bool AudioEffectX::fillPinProperties(const char* format, int32_t index, int32_t count,
                                     VstPinProperties* p) {
    if (!p || index < 0 || index >= count) return false;
    *p = VstPinProperties{};
    std::snprintf(p->label, sizeof p->label, format, index + 1);
    p->flags = kVstPinIsActive | kVstPinStereoMark;
    if (getNumOutputs() == 2) p->flags |= kVstPinIsPair;
    p->arrangementType = arrangementFor(getNumInputs());
    char host[kEffectNameSize] = {};
    if (getHostProductString(host) &&
        (std::strcmp(host, "Ableton") == 0 || std::strcmp(host, "Cakewalk, Inc") == 0))
        p->flags &= ~kVstPinStereoMark;
    return true;
}

bool AudioEffectX::getInputProperties(int32_t index, VstPinProperties* p) {
    return fillPinProperties("Input %d", index, getNumInputs(), p);
}

bool AudioEffectX::getOutputProperties(int32_t index, VstPinProperties* p) {
    return fillPinProperties("Output %d", index, getNumOutputs(), p);
}

bool AudioEffectX::getEffectName(char* name) {
    if (!name) return false;
    copyText(name, kProductName);
    return true;
}

bool AudioEffectX::getVendorString(char* text) {
    if (!text) return false;
    copyText(text, kVendorName);
    return true;
}

bool AudioEffectX::getProductString(char* text) {
    if (!text) return false;
    copyText(text, kProductName);
    return true;
}

int32_t AudioEffectX::getVendorVersion() {
    return kVendorVersion;
}

void AudioEffectX::beginEdit(int32_t index) {
    callHost(audioMasterBeginEdit, index);
}

void AudioEffectX::endEdit(int32_t index) {
    callHost(audioMasterEndEdit, index);
}

int32_t AudioEffectX::getCurrentProcessLevel() {
    return int32_t(callHost(audioMasterGetCurrentProcessLevel));
}

VstTimeInfo* AudioEffectX::getTimeInfo() {
    return reinterpret_cast<VstTimeInfo*>(callHost(audioMasterGetTime));
}

bool AudioEffectX::getHostProductString(char* text) {
    if (!text) return false;
    text[0] = 0;
    bool ok = callHost(audioMasterGetProductString, 0, 0, text) != 0;
    text[kEffectNameSize - 1] = 0;
    return ok;
}

void AudioEffectX::ioChanged() {
    callHost(audioMasterIOChanged);
}

void AudioEffectX::wantEvents() {
    callHost(audioMasterWantMidi, 0, 1);
}

intptr_t AudioEffectX::dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    switch (opcode) {
        case effProcessEvents: return processEvents(static_cast<VstEvents*>(ptr));
        case effGetInputProperties: return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effGetOutputProperties: return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effSetBypass: return setBypass(value != 0);
        case effGetEffectName: return getEffectName(static_cast<char*>(ptr));
        case effGetVendorString: return getVendorString(static_cast<char*>(ptr));
        case effGetProductString: return getProductString(static_cast<char*>(ptr));
        case effGetVendorVersion: return getVendorVersion();
        case effCanDo: return canDo(static_cast<const char*>(ptr));
        default: return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}
