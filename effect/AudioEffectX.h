#pragma once
// The extended effect: capabilities, pin properties, names, events, bypass and
// the host queries (process level, time, product) an effect may make.

#include "effect/AudioEffect.h"

class AudioEffectX : public AudioEffect {
public:
    AudioEffectX(EffectHostCallback host, int32_t numPrograms, int32_t numParams);

    // Control thread: the base opcodes, then the extended ones.
    intptr_t dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) override;

    // 1 for the capabilities this effect has, 0 for any other text.
    virtual int32_t canDo(const char* text);
    // MIDI and other events; the default ignores them.
    virtual int32_t processEvents(VstEvents* events) { (void)events; return 0; }
    // Label "Input %d"/"Output %d", pin flags and the arrangement by channel count.
    virtual bool getInputProperties(int32_t index, VstPinProperties* properties);
    virtual bool getOutputProperties(int32_t index, VstPinProperties* properties);
    virtual bool getEffectName(char* name);
    virtual bool getVendorString(char* text);
    virtual bool getProductString(char* text);
    virtual int32_t getVendorVersion();
    virtual bool setBypass(bool on) { (void)on; return false; }
    virtual void beginEdit(int32_t index);
    virtual void endEdit(int32_t index);

    // Host queries. Each answers 0 or an empty text when there is no host.
    int32_t getCurrentProcessLevel();
    VstTimeInfo* getTimeInfo();
    bool getHostProductString(char* text);  // text holds kEffectNameSize bytes
    void ioChanged();
    void wantEvents();

private:
    bool fillPinProperties(const char* format, int32_t index, int32_t count, VstPinProperties* p);
};
