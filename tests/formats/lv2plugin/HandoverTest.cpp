// How control port changes reach the effect: run() writes them straight in,
// and the engine update follows on the host's worker while the host plays in
// real time, or before the block where the host offers no worker.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "Lv2TestHost.h"

namespace {

const int32_t kGain1 = bandParam(0, kFieldGain);
const int32_t kQ4 = bandParam(3, kFieldQ);

// The worker's update, or the effect's timer should the rate limit hold it back.
bool updatedSoon(Plug& fx, int64_t before) {
    for (int32_t ms = 0; fx.getUpdateCount() == before && ms < 5000; ++ms)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return fx.getUpdateCount() > before;
}

}  // namespace

TEST(Lv2Handover, RunWritesThePortsAndTheUpdateFollowsOnTheWorkerOrBeforeTheBlock) {
    for (const bool worker : {true, false}) {
        SCOPED_TRACE(worker ? "worker" : "no worker");
        Lv2TestHost host({2, 48000.0, true, worker});
        Plug& fx = host.effect();
        host.activate();
        host.run(64);  // the first block after activation applies in place in every host
        const int64_t before = fx.getUpdateCount();
        fx.setParameterLocked(fx.getProgram(), kQ4, true);
        host.param(kGain1) = 1.0e9f;  // clamped to the maximum
        host.param(kQ4) = 4.0f;       // locked: stays, as with setParameter
        host.run(64);
        host.run(64);
        // Stored by run() itself: the row, the program and the slot.
        EXPECT_EQ(fx.getParameter(kGain1), 1.0f);
        EXPECT_EQ(fx.programStore().program(fx.getProgram()).values[kGain1], 1.0f);
        EXPECT_EQ(fx.programStore().slot(0).values[kGain1], 1.0f);
        EXPECT_EQ(fx.getParameter(kQ4), staticParamTable()[kQ4].norm);
        EXPECT_EQ(host.workRequests, worker ? 1 : 0);  // one request until the work is done
        if (worker) {
            host.doWork();
            EXPECT_TRUE(updatedSoon(fx, before));
        } else {
            EXPECT_GT(fx.getUpdateCount(), before);
            EXPECT_FALSE(fx.isRefreshPending());
        }
        host.param(kABBank) = 2.0f;  // a recall moves every row: more than run() may do
        host.run(64);
        if (worker) host.doWork();
        EXPECT_EQ(fx.getABSlot(), 2);
    }
}

TEST(Lv2Handover, FreeWheelingAppliesChangesBeforeTheBlock) {
    Lv2TestHost host({2, 48000.0, true, true});
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

// The host's transport reaches the effect's time record: a position where
// the host sends one, the advance over each block while the transport plays.
TEST(Lv2Handover, TransportFillsTheTimeRecord) {
    Lv2TestHost host({});
    host.activate();
    VstTimeInfo* time = host.effect().getTimeInfo();
    ASSERT_NE(time, nullptr);
    EXPECT_EQ(time->flags, 0);  // nothing heard yet
    const struct { float speed; double ppqAfter, sampleAfter; int32_t playing; } rows[] = {
        {1.0f, 9.5 + 480.0 / 48000.0 * 2.0, 96000 + 480, 2},  // 120 bpm: two quarters a second
        {0.0f, 9.5, 96000, 0},                               // stopped: the position stays
    };
    for (const auto& row : rows) {
        host.addTransport(120.0f, 2, 1.5f, 4.0f, 4, row.speed, 96000);  // bar 2 of 4/4, beat 1.5
        host.run(480);
        EXPECT_DOUBLE_EQ(time->tempo, 120.0);
        EXPECT_EQ(time->timeSigNumerator, 4);
        EXPECT_EQ(time->timeSigDenominator, 4);
        EXPECT_DOUBLE_EQ(time->barStartPos, 8.0);
        EXPECT_NEAR(time->ppqPos, row.ppqAfter, 1e-9) << row.speed;
        EXPECT_DOUBLE_EQ(time->samplePos, row.sampleAfter);
        EXPECT_EQ(time->flags, 0x3700 | row.playing);
        EXPECT_DOUBLE_EQ(time->sampleRate, 48000.0);
    }
    // 6/8: a beat is an eighth note.
    host.addTransport(90.0f, 1, 3.0f, 6.0f, 8, 1.0f, 0);
    host.run(1);
    EXPECT_NEAR(time->ppqPos, 1 * 6 * 0.5 + 3 * 0.5 + 1.0 / 48000.0 * 1.5, 1e-9);
}
