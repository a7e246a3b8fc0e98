#pragma once
// Base of every effect: owns the AEffect record whose entry points cast back
// to this object and call its virtual operations. Host-neutral: it knows the
// callback and the opcodes, never a plug-in format.

#include "effect/AEffect.h"

class EffectEditor;  // the editor object a host may open; defined by the editor layer

class AudioEffect {
public:
    // Fills the record: magic, entry points, program and parameter counts,
    // two inputs and two outputs, version 1.
    AudioEffect(EffectHostCallback host, int32_t numPrograms, int32_t numParams);
    virtual ~AudioEffect();

    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;

    // Control thread: maps the opcodes of EffectOpcode to the operations below.
    virtual intptr_t dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { sampleRate = rate; }
    virtual void setBlockSize(int32_t size) { blockSize = size; }

    // Audio thread: no allocation, no locks (the derived effects document exceptions).
    virtual void processReplacing(float** inputs, float** outputs, int32_t sampleFrames) noexcept;
    virtual void processDoubleReplacing(double** inputs, double** outputs, int32_t sampleFrames) noexcept;

    virtual void setParameter(int32_t index, float value) { (void)index; (void)value; }
    virtual float getParameter(int32_t index) { (void)index; return 0.0f; }
    virtual void setParameterAutomated(int32_t index, float value);

    virtual int32_t getProgram() { return curProgram; }
    virtual void setProgram(int32_t program) { curProgram = program; }
    virtual void setProgramName(char* name) { (void)name; }
    virtual void getProgramName(char* name) { name[0] = 0; }
    virtual void getParameterLabel(int32_t index, char* label) { (void)index; (void)label; }
    virtual void getParameterDisplay(int32_t index, char* text) { (void)index; text[0] = 0; }
    virtual void getParameterName(int32_t index, char* text) { (void)index; text[0] = 0; }
    // Returns the size of the chunk and points *data at bytes the effect owns.
    virtual int32_t getChunk(void** data, bool isPreset = false);
    virtual int32_t setChunk(void* data, int32_t byteSize, bool isPreset = false);

    // Set-up used by the effect's constructor and by adaptors.
    void setUniqueID(int32_t id) { cEffect.uniqueID = id; }
    void setNumInputs(int32_t n) { cEffect.numInputs = n; }
    void setNumOutputs(int32_t n) { cEffect.numOutputs = n; }
    void canProcessReplacing(bool state = true);
    void canDoubleReplacing(bool state = true);
    void programsAreChunks(bool state = true);
    void setInitialDelay(int32_t delay) { cEffect.initialDelay = delay; }
    EffectEditor* getEditor() const { return editor; }
    AEffect* getAeffect() { return &cEffect; }
    EffectHostCallback getHostCallback() const { return audioMaster; }

    float getSampleRate() const { return sampleRate; }
    int32_t getBlockSize() const { return blockSize; }
    int32_t getNumInputs() const { return cEffect.numInputs; }
    int32_t getNumOutputs() const { return cEffect.numOutputs; }

protected:
    // Sends an opcode to the host; 0 when there is none.
    intptr_t callHost(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                      float opt = 0.0f);

    float sampleRate = 44100.0f;
    int32_t blockSize = 1024;
    int32_t numPrograms;
    int32_t numParams;
    int32_t curProgram = 0;
    EffectHostCallback audioMaster;
    EffectEditor* editor = nullptr;
    AEffect cEffect;
};
