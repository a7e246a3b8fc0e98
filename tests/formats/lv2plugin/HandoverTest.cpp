// How control port changes reach the effect: handed to a worker while the
// host plays in real time, applied before the block while it free-wheels,
// and never lost when the queue between the two is full.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <thread>

#include "Lv2TestHost.h"

namespace {

const int32_t kGain1 = bandParam(0, kFieldGain);
const HostSetup kWithWorker{2, 48000.0, true, true};

}  // namespace

TEST(Lv2Instantiation, EightLayoutsAndHostsWithoutAMap) {
    for (int32_t i = 0; i < lv2ports::kLayoutCount; ++i)
        EXPECT_EQ(lv2_descriptor(uint32_t(i))->URI, lv2ports::pluginUri(i + 1));
    EXPECT_EQ(lv2_descriptor(uint32_t(lv2ports::kLayoutCount)), nullptr);

    // A host with no urid:map still gets a working equaliser.
    Lv2TestHost bare({2, 48000.0, false, false});
    ASSERT_NE(bare.handle, nullptr);
    bare.activate();
    bare.run(64);
}

TEST(Lv2Handover, RealTimeChangesReachTheEffectOnAnotherThread) {
    // Our own applier thread, when the host has no worker.
    Lv2TestHost own({});
    own.activate();
    own.param(kGain1) = 0.5f;
    own.run(64);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!own.plugin().handoverDone() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(own.effect().getParameter(kGain1), normOf(kGain1, 0.5f));

    // The host's worker: run() only hands over, checked values; the work applies.
    Lv2TestHost host(kWithWorker);
    host.activate();
    const int32_t q = bandParam(3, kFieldQ);
    host.param(kGain1) = 1.0e9f;                                // clamped to the maximum
    host.param(q) = std::numeric_limits<float>::quiet_NaN();   // keeps the last value
    host.run(64);
    host.run(64);
    EXPECT_EQ(host.effect().getParameter(kGain1), staticParamTable()[kGain1].norm);
    EXPECT_EQ(host.workRequests, 1);  // one request until the work is done
    host.doWork();
    EXPECT_EQ(host.effect().getParameter(kGain1), 1.0f);
    EXPECT_EQ(host.effect().getParameter(q), staticParamTable()[q].norm);
}

TEST(Lv2Handover, AFullQueueDropsCountsAndSendsAgainLater) {
    Lv2TestHost host(kWithWorker);
    host.activate();
    // Every channel and band row changes twice before any work is done:
    // more changes than the queue holds.
    for (double t : {0.25, 0.75}) {
        for (int32_t i = kFirstChannelParam; i < kDPlusPhase; ++i) host.param(i) = rowValueAt(i, t);
        host.run(16);
    }
    EXPECT_GT(host.plugin().droppedChanges(), 0);
    host.doWork();
    host.run(16);  // the held-back changes go now
    host.doWork();
    for (int32_t i = kFirstChannelParam; i < kDPlusPhase; ++i)
        ASSERT_EQ(host.effect().getParameter(i), normOf(i, rowValueAt(i, 0.75))) << "row " << i;
}

TEST(Lv2Handover, FreeWheelingAppliesChangesBeforeTheBlock) {
    Lv2TestHost host(kWithWorker);
    host.activate();
    host.control(host.ports.freeWheel()) = 1.0f;
    host.param(kGain1) = 0.75f;
    host.param(bandParam(0, kFieldState)) = float(kBandOn);
    host.run(2048);
    EXPECT_EQ(host.effect().getParameter(kGain1), normOf(kGain1, 0.75f));
    EXPECT_TRUE(host.effect().isOffline());

    // The host's enabled port bypasses from the block it is cleared in.
    host.control(host.ports.enabled()) = 0.0f;
    for (auto& channel : host.in) {
        channel.assign(256, 0.0f);
        for (size_t s = 0; s < channel.size(); ++s) channel[s] = 0.25f * float(std::sin(0.13 * double(s)));
    }
    host.run(256);
    EXPECT_EQ(host.effect().getParameter(kBypass), 1.0f);
    EXPECT_EQ(host.out, host.in);
    EXPECT_EQ(host.workRequests, 0);

    // Back in real time, the worker tells the effect, not run().
    host.control(host.ports.freeWheel()) = 0.0f;
    host.run(32);
    EXPECT_TRUE(host.effect().isOffline());
    host.doWork();
    EXPECT_FALSE(host.effect().isOffline());
}
