// What the effect tells its host, and what it reads from it.

#include <gtest/gtest.h>

#include "TestHost.h"

namespace {

TEST(HostContract, OfflineRenderingIsNoticedOnTheNextBlock) {
    TestHost host;
    auto fx = makePlug(2, TestHost::callback);
    EXPECT_FALSE(fx->isOffline());
    host.processLevel = kProcessLevelOffline;
    float a[16] = {}, b[16] = {};
    float* io[2] = {a, b};
    fx->processReplacing(io, io, 16);
    EXPECT_TRUE(fx->isOffline());
    host.processLevel = kProcessLevelRealtime;
    fx->processReplacing(io, io, 16);
    EXPECT_FALSE(fx->isOffline());
}

TEST(HostContract, AutomationIsBracketedByGestures) {
    TestHost host;
    auto fx = makePlug(2, TestHost::callback);
    host.calls.clear();
    fx->setParameterAutomated(kBand1Gain, 0.8f);
    fx->setParameterAutomated(kBand1Gain, 0.9f);  // already in its gesture
    fx->endEdit(kBand1Gain);
    fx->endEdit(kBand1Gain);  // no second end
    ASSERT_EQ(host.calls.size(), 4u);
    EXPECT_EQ(host.calls[0].opcode, audioMasterBeginEdit);
    EXPECT_EQ(host.calls[1].opcode, audioMasterAutomate);
    EXPECT_EQ(host.calls[1].index, kBand1Gain);
    EXPECT_FLOAT_EQ(host.calls[1].opt, 0.8f);
    EXPECT_EQ(host.calls[2].opcode, audioMasterAutomate);
    EXPECT_EQ(host.calls[3].opcode, audioMasterEndEdit);
    EXPECT_EQ(fx->getParameter(kBand1Gain), 0.9f);
    // Editor tags are written through without gestures or automation.
    host.calls.clear();
    fx->setParameterAutomated(kGUIGroupNamesChanged, 1.0f);
    EXPECT_TRUE(host.calls.empty());
}

TEST(HostContract, GesturesCanBeSwitchedOff) {
    const OneGlobalSetting settings("VST Gestures", 0);
    TestHost host;
    auto fx = makePlug(2, TestHost::callback);
    fx->setSettingsSource(&settings);
    host.calls.clear();
    fx->setParameterAutomated(kGain, 0.3f);
    fx->endEdit(kGain);
    EXPECT_EQ(host.count(audioMasterBeginEdit), 0);
    EXPECT_EQ(host.count(audioMasterEndEdit), 0);
    EXPECT_EQ(host.count(audioMasterAutomate), 1);
}

TEST(HostContract, SampleRateChangesKeepBandFrequencies) {
    TestHost host;
    auto fx = makePlug(2, TestHost::callback);
    setShown(*fx, kBand1Frequency, 1234.0);
    fx->setSampleRate(96000.0f);
    fx->setSampleRate(44100.0f);
    EXPECT_NEAR(fx->normToDisplay(kBand1Frequency, fx->getParameter(kBand1Frequency)), 1234.0, 0.01);
    fx->setSampleRate(-1.0f);  // ignored
    EXPECT_EQ(fx->getSampleRate(), 44100.0f);
}

}  // namespace
