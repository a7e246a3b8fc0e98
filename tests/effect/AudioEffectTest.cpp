// The effect interface: the record's entry points and the dispatcher reach
// the virtual operations, and the extended queries answer as described.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "effect/AudioEffectX.h"

namespace {

class ProbeEffect : public AudioEffectX {
public:
    explicit ProbeEffect(EffectHostCallback host = nullptr) : AudioEffectX(host, 3, 5) {}
    void setParameter(int32_t index, float value) override {
        lastIndex = index;
        lastValue = value;
    }
    float getParameter(int32_t index) override { return float(index) * 0.1f; }
    void processReplacing(float**, float**, int32_t n) noexcept override { floatFrames += n; }
    void processDoubleReplacing(double**, double**, int32_t n) noexcept override { doubleFrames += n; }
    void resume() override { ++resumes; }
    void suspend() override { ++suspends; }
    int32_t processEvents(VstEvents* events) override { return events ? events->numEvents : -1; }

    int32_t lastIndex = -1;
    float lastValue = 0;
    int32_t floatFrames = 0, doubleFrames = 0, resumes = 0, suspends = 0;
};

const char* gHostProduct = nullptr;
intptr_t productHost(AEffect*, int32_t opcode, int32_t, intptr_t, void* ptr, float) {
    if (opcode == audioMasterGetProductString && gHostProduct) {
        std::strcpy(static_cast<char*>(ptr), gHostProduct);
        return 1;
    }
    return 0;
}

TEST(AudioEffect, RecordEntryPointsReachTheObject) {
    ProbeEffect fx;
    AEffect* e = fx.getAeffect();
    EXPECT_EQ(e->magic, kEffectMagic);
    EXPECT_EQ(e->numPrograms, 3);
    EXPECT_EQ(e->numParams, 5);
    EXPECT_EQ(e->numInputs, 2);
    e->setParameter(e, 4, 0.25f);
    EXPECT_EQ(fx.lastIndex, 4);
    EXPECT_FLOAT_EQ(e->getParameter(e, 3), 0.3f);
    e->processReplacing(e, nullptr, nullptr, 17);
    e->processDoubleReplacing(e, nullptr, nullptr, 19);
    EXPECT_EQ(fx.floatFrames, 17);
    EXPECT_EQ(fx.doubleFrames, 19);
}

TEST(AudioEffect, DispatcherMapsOpcodes) {
    ProbeEffect fx;
    AEffect* e = fx.getAeffect();
    e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0);
    e->dispatcher(e, effMainsChanged, 0, 0, nullptr, 0);
    EXPECT_EQ(fx.resumes, 1);
    EXPECT_EQ(fx.suspends, 1);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, 96000.0f);
    EXPECT_EQ(fx.getSampleRate(), 96000.0f);
    e->dispatcher(e, effSetBlockSize, 0, 256, nullptr, 0);
    EXPECT_EQ(fx.getBlockSize(), 256);
    e->dispatcher(e, effSetProgram, 0, 2, nullptr, 0);
    EXPECT_EQ(e->dispatcher(e, effGetProgram, 0, 0, nullptr, 0), 2);
    e->dispatcher(e, effSetProgram, 0, 3, nullptr, 0);  // out of range
    EXPECT_EQ(fx.getProgram(), 2);

    VstMidiEvent note;
    VstEvents list;
    list.numEvents = 1;
    list.events[0] = reinterpret_cast<VstEvent*>(&note);
    EXPECT_EQ(e->dispatcher(e, effProcessEvents, 0, 0, &list, 0), 1);
    EXPECT_EQ(e->dispatcher(e, 9999, 0, 0, nullptr, 0), 0);
}

TEST(AudioEffect, CapabilitiesAndNames) {
    ProbeEffect fx;
    AEffect* e = fx.getAeffect();
    EXPECT_EQ(fx.canDo("bypass"), 1);
    EXPECT_EQ(fx.canDo("receiveVstEvents"), 1);
    EXPECT_EQ(fx.canDo("receiveVstMidiEvent"), 1);
    EXPECT_EQ(fx.canDo("sendVstEvents"), 0);
    EXPECT_EQ(fx.canDo(nullptr), 0);
    char text[kEffectNameSize] = {};
    e->dispatcher(e, effGetVendorString, 0, 0, text, 0);
    EXPECT_STREQ(text, "Kestrawn");
    e->dispatcher(e, effGetProductString, 0, 0, text, 0);
    EXPECT_STREQ(text, "Fenwoldrine");
    e->dispatcher(e, effGetEffectName, 0, 0, text, 0);
    EXPECT_STREQ(text, "Fenwoldrine");
    EXPECT_EQ(e->dispatcher(e, effGetVendorVersion, 0, 0, nullptr, 0), 159);
}

TEST(AudioEffect, PinPropertiesByChannelCountAndHost) {
    gHostProduct = nullptr;
    ProbeEffect fx(productHost);
    VstPinProperties p;
    ASSERT_TRUE(fx.getInputProperties(1, &p));
    EXPECT_STREQ(p.label, "Input 2");
    EXPECT_EQ(p.flags, 7);
    EXPECT_EQ(p.arrangementType, 1);
    ASSERT_TRUE(fx.getOutputProperties(0, &p));
    EXPECT_STREQ(p.label, "Output 1");
    EXPECT_FALSE(fx.getInputProperties(2, &p));

    fx.setNumInputs(3);
    fx.setNumOutputs(3);
    ASSERT_TRUE(fx.getInputProperties(2, &p));
    EXPECT_EQ(p.flags, 5);
    EXPECT_EQ(p.arrangementType, 7);
    fx.setNumInputs(4);
    fx.getInputProperties(0, &p);
    EXPECT_EQ(p.arrangementType, 11);

    for (const char* host : {"Ableton", "Cakewalk, Inc"}) {
        gHostProduct = host;
        fx.getInputProperties(0, &p);
        EXPECT_EQ(p.flags & kVstPinStereoMark, 0) << host;
    }
    gHostProduct = "Ableton Live";  // only the exact strings
    fx.getInputProperties(0, &p);
    EXPECT_NE(p.flags & kVstPinStereoMark, 0);
    gHostProduct = nullptr;
}

TEST(AudioEffect, SetupFlags) {
    ProbeEffect fx;
    fx.canProcessReplacing();
    fx.programsAreChunks();
    EXPECT_EQ(fx.getAeffect()->flags, effFlagsCanReplacing | effFlagsProgramChunks);
    fx.programsAreChunks(false);
    EXPECT_EQ(fx.getAeffect()->flags, effFlagsCanReplacing);
    fx.setInitialDelay(64);
    EXPECT_EQ(fx.getAeffect()->initialDelay, 64);
}

}  // namespace
