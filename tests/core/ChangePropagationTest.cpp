// From parameter writes to the filters: the rate limit of engine updates,
// the forced paths, changes that wait for the next idle and are never lost,
// offline rendering and its render settings, stereo link and group names.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "TestHost.h"

namespace {

using Clock = std::chrono::steady_clock;

float gainOf(Plug& fx, int32_t band) { return fx.getBank().getBandAt(band, 0)->getGain(); }

// Writes `count` gain values to band 0 as fast as possible, as a drag at a
// host's automation rate would, and returns the milliseconds it took.
double drag(Plug& fx, int32_t count) {
    const auto start = Clock::now();
    fx.beginEdit(bandParam(0, kFieldGain));
    for (int32_t i = 0; i < count; ++i) setShown(fx, bandParam(0, kFieldGain), -12.0 + 24.0 * i / count);
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

TEST(ChangePropagation, ADragIsRateLimitedAndItsEndIsApplied) {
    // IIR: one full update per 25 ms tick at most (the timer's idle
    // included); a FIR mode at the "Mild" throttle: ten a second, each
    // handed to the worker. One more for a tick crossed at each end.
    struct Case { bool fir; int32_t writes; double periodMs; };
    for (const Case& c : {Case{false, 1000, 25.0}, Case{true, 3000, 100.0}}) {
        SCOPED_TRACE(c.fir ? "FIR" : "IIR");
        const OneGlobalSetting mild("FFT Update throttle", 0);
        auto fx = makePlug(2);
        detachFromTimer(*fx);
        fx->setSettingsSource(&mild);
        setShown(*fx, bandParam(0, kFieldState), kBandOn);
        if (c.fir) {
            setShown(*fx, kMode, 1.0);
            setShown(*fx, kIRPhase, 0.0);  // "Linear"
        }
        settleEngine(*fx);
        EXPECT_EQ(fx->getBank().getMode(), c.fir ? kModeLinear : kModeIIR);
        const int64_t before = fx->getUpdateCount();
        const double ms = drag(*fx, c.writes);
        const int64_t during = fx->getUpdateCount() - before;
        EXPECT_LE(during, int64_t(ms / c.periodMs) + 3) << ms << " ms";
        EXPECT_LT(during, c.writes);
        // The last value is pending, not lost; the end of the gesture forces it.
        setShown(*fx, bandParam(0, kFieldGain), 7.0);
        fx->endEdit(bandParam(0, kFieldGain));
        if (c.fir) settleEngine(*fx);
        EXPECT_NEAR(gainOf(*fx, 0), 7.0f, 1e-4);
    }
}

TEST(ChangePropagation, AHeldBackChangeArrivesWithTheNextIdle) {
    auto fx = makePlug(2);
    settleEngine(*fx);
    setShown(*fx, bandParam(4, kFieldFrequency), 3000.0);
    setShown(*fx, bandParam(4, kFieldFrequency), 4000.0);  // within the same tick: held back
    settleEngine(*fx);
    EXPECT_FALSE(fx->isRefreshPending());
    EXPECT_NEAR(fx->getBank().getBandAt(4, 1)->getFrequency(), 4000.0f, 0.5f);
}

TEST(ChangePropagation, FourThousandSamplesOfAudioLetAnUpdateThroughWithinATick) {
    auto fx = makePlug(1);
    detachFromTimer(*fx);
    setShown(*fx, bandParam(0, kFieldGain), 1.0);
    fx->refreshEngine(true);  // forced: the tick starts now
    std::vector<float> block(4096, 0.0f);
    float* io[1] = {block.data()};
    fx->processReplacing(io, io, 4096);
    setShown(*fx, bandParam(0, kFieldGain), 2.0);
    EXPECT_NEAR(gainOf(*fx, 0), 2.0f, 1e-4);
}

TEST(ChangePropagation, OfflineEveryWriteIsAppliedAndRenderSettingsReplaceTheDspRows) {
    TestHost host;
    host.processLevel = kProcessLevelOffline;
    auto fx = makePlug(2, &TestHost::callback);
    detachFromTimer(*fx);
    ASSERT_TRUE(fx->isOffline());
    for (int32_t i = 1; i <= 50; ++i) {
        setShown(*fx, bandParam(0, kFieldGain), 0.1 * i);
        ASSERT_NEAR(gainOf(*fx, 0), 0.1f * float(i), 1e-4);
    }
    // The render settings ask for the linear-phase FIR mode while the rows
    // say IIR: offline, with them switched on, the latency is that mode's.
    fx->setRenderSetting(0, 1.0f);  // mode: FIR
    fx->setRenderSetting(1, 1.0f);  // IR length 2048
    fx->setRenderSetting(4, 0.0f);  // phase: linear
    fx->setRenderSetting(8, 1.0f);  // enabled
    fx->refreshEngine(true);
    fx->updateLatency();
    EXPECT_EQ(fx->getAeffect()->initialDelay, 1024);
    fx->setRenderSetting(8, 0.0f);
    fx->refreshEngine(true);
    fx->updateLatency();
    EXPECT_EQ(fx->getAeffect()->initialDelay, 0);
}

TEST(ChangePropagation, AnIRLengthChangeIsReportedOnceWithTheLatencyItWillHave) {
    struct Case {
        int32_t phase, irLength;  // kIRPhase and kIRLength as shown
        int32_t latency;
    };
    const Case cases[] = {
        {0, 8, 131072},  // Linear, 262144 taps
        {3, 5, 16384},   // Analogue, 32768 taps
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "phase " << c.phase << ", IR length " << c.irLength);
        TestHost host;
        auto fx = makePlug(2, &TestHost::callback);
        detachFromTimer(*fx);
        setShown(*fx, kMode, 1.0);
        setShown(*fx, kIRPhase, c.phase);
        settleEngine(*fx);
        ASSERT_EQ(fx->getAeffect()->initialDelay, 4096);
        const int32_t before = host.count(audioMasterIOChanged);
        setShown(*fx, kIRLength, c.irLength);
        fx->refreshEngine(true);
        fx->updateLatency();
        // Reported at once, before the worker has even started on it.
        EXPECT_EQ(fx->getAeffect()->initialDelay, c.latency);
        // The host's timer runs while the worker replaces the convolvers and designs.
        const auto deadline = Clock::now() + std::chrono::seconds(60);
        while ((fx->isWorkerPending() || fx->isRefreshPending()) && Clock::now() < deadline) {
            fx->idle();
            std::this_thread::yield();
        }
        fx->idle();
        EXPECT_EQ(fx->getBank().getLatency(), c.latency);
        EXPECT_EQ(fx->getAeffect()->initialDelay, c.latency);
        EXPECT_EQ(host.count(audioMasterIOChanged) - before, 1);
    }
}

TEST(ChangePropagation, StereoLinkNeedsEveryLiveBandOnBothChannels) {
    auto fx = makePlug(2);
    detachFromTimer(*fx);
    setShown(*fx, bandParam(0, kFieldState), kBandOn);
    setShown(*fx, bandParam(0, kFieldGroups), 128);
    fx->refreshEngine(true);
    EXPECT_FALSE(fx->getBank().isStereoLinked());
    setShown(*fx, bandParam(0, kFieldGroups), 192);
    fx->refreshEngine(true);
    EXPECT_TRUE(fx->getBank().isStereoLinked());
    auto surround = makePlug(6);
    EXPECT_FALSE(surround->getBank().isStereoLinked());
}

TEST(Groups, NamesFollowTheLayoutAndMidSide) {
    auto names = [](Plug& fx) {
        int32_t n = 0;
        const std::string* g = fx.groupNamesOf(&n);
        return std::vector<std::string>(g, g + n);
    };
    auto stereo = makePlug(2);
    detachFromTimer(*stereo);
    EXPECT_EQ(names(*stereo), (std::vector<std::string>{"Mid", "Side"}));  // pair 0 is coded by default
    EXPECT_STREQ(stereo->channelLabel(1), "Side");
    setShown(*stereo, kMsState, 0);
    stereo->refreshEngine(true);
    EXPECT_EQ(names(*stereo), (std::vector<std::string>{"Left", "Right"}));
    EXPECT_STREQ(stereo->channelLabel(0), "Left");
    stereo->setMsMask(1);
    stereo->refreshEngine(true);  // the next update sets the mask's own bit order right
    EXPECT_EQ(names(*stereo), (std::vector<std::string>{"Mid", "Side"}));
    EXPECT_EQ(stereo->getParameter(kMsState), float(stereo->displayToNorm(kMsState, 8)));

    auto mono = makePlug(1);
    EXPECT_EQ(names(*mono), (std::vector<std::string>{"Mono"}));

    auto surround = makePlug(6);
    detachFromTimer(*surround);
    setShown(*surround, kMsState, 12);  // pairs 0 and 1
    surround->refreshEngine(true);
    EXPECT_EQ(names(*surround), (std::vector<std::string>{"1", "2", "3", "4", "5", "6"}));
    const char* labels[6] = {"Mid", "Side", "Mid s", "Side s", "Center", "LFE"};
    for (int32_t s = 0; s < 6; ++s) EXPECT_STREQ(surround->channelLabel(s), labels[s]) << s;
    EXPECT_EQ(surround->getMsMask(), 0b0011);  // the state's bits are the pair numbers reversed
    setShown(*surround, kMsState, 1);
    surround->refreshEngine(true);
    EXPECT_EQ(surround->getMsMask(), 0b1000);
    EXPECT_STREQ(surround->channelLabel(0), "Left");
    surround->setGroupName(2, "Rears");
    surround->setGroupName(6, "beyond the channels");  // ignored
    EXPECT_EQ(names(*surround)[2], "Rears");
}
