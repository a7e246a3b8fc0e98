#include "effect/AudioEffect.h"

#include <cstring>

namespace {

AudioEffect* effectOf(AEffect* e) {
    return e ? static_cast<AudioEffect*>(e->object) : nullptr;
}

intptr_t dispatchEntry(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    AudioEffect* fx = effectOf(e);
    return fx ? fx->dispatcher(opcode, index, value, ptr, opt) : 0;
}

void setParameterEntry(AEffect* e, int32_t index, float value) {
    if (AudioEffect* fx = effectOf(e)) fx->setParameter(index, value);
}

float getParameterEntry(AEffect* e, int32_t index) {
    AudioEffect* fx = effectOf(e);
    return fx ? fx->getParameter(index) : 0.0f;
}

void processReplacingEntry(AEffect* e, float** in, float** out, int32_t n) {
    if (AudioEffect* fx = effectOf(e)) fx->processReplacing(in, out, n);
}

void processDoubleEntry(AEffect* e, double** in, double** out, int32_t n) {
    if (AudioEffect* fx = effectOf(e)) fx->processDoubleReplacing(in, out, n);
}

}  // namespace

AudioEffect::AudioEffect(EffectHostCallback host, int32_t programs, int32_t params)
    : numPrograms(programs), numParams(params), audioMaster(host) {
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatchEntry;
    cEffect.process = nullptr;
    cEffect.setParameter = setParameterEntry;
    cEffect.getParameter = getParameterEntry;
    cEffect.numPrograms = programs;
    cEffect.numParams = params;
    cEffect.numInputs = 2;
    cEffect.numOutputs = 2;
    cEffect.flags = 0;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.user = nullptr;
    cEffect.uniqueID = fourCC('N', 'o', 'I', 'd');
    cEffect.version = 1;
    cEffect.processReplacing = processReplacingEntry;
    cEffect.processDoubleReplacing = processDoubleEntry;
}

AudioEffect::~AudioEffect() {
    cEffect.object = nullptr;
}

intptr_t AudioEffect::callHost(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    if (!audioMaster) return 0;
    return audioMaster(&cEffect, opcode, index, value, ptr, opt);
}

void AudioEffect::processReplacing(float**, float**, int32_t) noexcept {}
void AudioEffect::processDoubleReplacing(double**, double**, int32_t) noexcept {}

void AudioEffect::setParameterAutomated(int32_t index, float value) {
    setParameter(index, value);
    callHost(audioMasterAutomate, index, 0, nullptr, value);
}

int32_t AudioEffect::getChunk(void** data, bool) {
    if (data) *data = nullptr;
    return 0;
}

int32_t AudioEffect::setChunk(void*, int32_t, bool) {
    return 0;
}

void AudioEffect::canProcessReplacing(bool state) {
    if (state)
        cEffect.flags |= effFlagsCanReplacing;
    else
        cEffect.flags &= ~effFlagsCanReplacing;
}

void AudioEffect::canDoubleReplacing(bool state) {
    if (state)
        cEffect.flags |= effFlagsCanDoubleReplacing;
    else
        cEffect.flags &= ~effFlagsCanDoubleReplacing;
}

void AudioEffect::programsAreChunks(bool state) {
    if (state)
        cEffect.flags |= effFlagsProgramChunks;
    else
        cEffect.flags &= ~effFlagsProgramChunks;
}

intptr_t AudioEffect::dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    switch (opcode) {
        case effOpen: open(); return 0;
        case effClose: close(); return 0;
        case effSetProgram:
            if (value >= 0 && value < numPrograms) setProgram(int32_t(value));
            return 0;
        case effGetProgram: return getProgram();
        case effSetProgramName:
            if (ptr) setProgramName(static_cast<char*>(ptr));
            return 0;
        case effGetProgramName:
            if (ptr) getProgramName(static_cast<char*>(ptr));
            return 0;
        case effGetParamLabel:
            if (ptr) getParameterLabel(index, static_cast<char*>(ptr));
            return 0;
        case effGetParamDisplay:
            if (ptr) getParameterDisplay(index, static_cast<char*>(ptr));
            return 0;
        case effGetParamName:
            if (ptr) getParameterName(index, static_cast<char*>(ptr));
            return 0;
        case effSetSampleRate: setSampleRate(opt); return 0;
        case effSetBlockSize: setBlockSize(int32_t(value)); return 0;
        case effMainsChanged:
            if (value)
                resume();
            else
                suspend();
            return 0;
        case effGetChunk:
            return ptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
        case effSetChunk:
            return setChunk(ptr, int32_t(value), index != 0);
        default: return 0;
    }
}
