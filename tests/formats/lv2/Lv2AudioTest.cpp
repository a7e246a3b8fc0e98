// Our plug-ins under a lilv host, loaded from the bundle as a host loads
// them: every layout verifies and instantiates, controls moved while audio
// runs in real time reach the sound, state saved to a host's files and
// restored sounds the same, and the FIR modes report their latency.

#include <gtest/gtest.h>
#include <lv2/atom/atom.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "Lv2TestSupport.h"
#include "ToolTestSupport.h"

namespace {

using Clock = std::chrono::steady_clock;

const double kPlus12dB = std::pow(10.0, 12.0 / 20.0);

double peakOf(const std::vector<float>& x) {
    double peak = 0.0;
    for (const float s : x) peak = std::max(peak, double(std::fabs(s)));
    return peak;
}

}  // namespace

// ---------------------------------------------------------------------------
// Controls moved while audio runs in real time

namespace {

struct MoveCase {
    const char* name;
    lv2host::WorkMode work;
    bool offerWorker;
};

class Lv2MovingControls : public ::testing::TestWithParam<MoveCase> {};

}  // namespace

// The host moves the gain of a band between 0 and +12 dB, between run()
// calls, while it plays a 1 kHz tone in real time in blocks of 256. Each
// move must reach the output within 300 ms and then hold.
TEST_P(Lv2MovingControls, EveryMoveReachesTheOutputWithinABoundedNumberOfBlocks) {
    constexpr int32_t kBlock = 256, kMoves = 4, kBlocksBetweenMoves = 60;  // 320 ms
    constexpr int32_t kBound = int32_t(0.3 * kTestRate) / kBlock;
    constexpr double kLevel = 0.1;
    auto fx = makeInstance(2, {.work = GetParam().work, .offerWorker = GetParam().offerWorker, .maxBlock = kBlock,
                               .activate = false});
    setParam(*fx, kScale, 12.0f);
    setPeakBand(*fx, 0, 1000.0, 0.0);
    fx->activate();
    const uint32_t gainPort = uint32_t(portsOf(*fx).param(bandParam(0, kFieldGain)));
    Channels tone = sine(1, (kMoves + 1) * kBlocksBetweenMoves * kBlock, 1000.0, float(kLevel));
    std::vector<float> outL(kBlock), outR(kBlock);
    float* outputs[2] = {outL.data(), outR.data()};
    auto due = Clock::now();
    for (int32_t b = 0, reached = 0; b < (kMoves + 1) * kBlocksBetweenMoves; ++b) {
        const int32_t move = b / kBlocksBetweenMoves - 1, since = b % kBlocksBetweenMoves;
        if (move >= 0 && since == 0) fx->control(gainPort) = move % 2 == 0 ? 1.0f : 0.0f;
        float* in = tone[0].data() + b * kBlock;
        float* inputs[2] = {in, in};
        fx->connectAudio(inputs, outputs);
        fx->run(kBlock);
        due += std::chrono::microseconds(int64_t(1e6 * kBlock / kTestRate));
        std::this_thread::sleep_until(due);
        if (move < 0) continue;
        const double target = kLevel * (move % 2 == 0 ? kPlus12dB : 1.0);
        const bool there = std::fabs(std::max(peakOf(outL), peakOf(outR)) - target) < 0.02 * target;
        if (since == 0) reached = -1;
        if (reached < 0 && there) reached = since;
        ASSERT_TRUE(reached < 0 || there) << "move " << move << " did not hold at block " << since;
        ASSERT_TRUE(reached >= 0 || since <= kBound) << "move " << move << " did not reach the output in time";
    }
    EXPECT_TRUE(fx->log().errors().empty());
}

INSTANTIATE_TEST_SUITE_P(Workers, Lv2MovingControls,
                         ::testing::Values(MoveCase{"HostWorkerThread", lv2host::WorkMode::kThreaded, true},
                                           MoveCase{"HostWorkerInRun", lv2host::WorkMode::kSynchronous, true},
                                           MoveCase{"NoHostWorker", lv2host::WorkMode::kThreaded, false}),
                         [](const ::testing::TestParamInfo<MoveCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// State through lilv and a host's files

namespace {

struct PortValues {
    lv2host::Instance* fx;
    LV2_URID floatType;

    static const void* get(const char* symbol, void* user, uint32_t* size, uint32_t* type) {
        auto* values = static_cast<PortValues*>(user);
        const int32_t port = values->fx->portIndex(symbol);
        if (port < 0) return nullptr;
        *size = sizeof(float);
        *type = values->floatType;
        return &values->fx->control(uint32_t(port));
    }
    static void set(const char* symbol, void* user, const void* value, uint32_t size, uint32_t type) {
        auto* values = static_cast<PortValues*>(user);
        const int32_t port = values->fx->portIndex(symbol);
        if (port >= 0 && size == sizeof(float) && type == values->floatType)
            values->fx->control(uint32_t(port)) = *static_cast<const float*>(value);
    }
};

}  // namespace

TEST(Lv2State, ARestoredInstanceSoundsAsTheSavedOne) {
    lv2host::World& world = bundleWorld();
    const ScratchDir dir;
    const std::string scratch = dir / "scratch", save = dir / "saved";

    // Several bands, the global gain and a channel level.
    auto saved = makeInstance(2, {.activate = false});
    setParam(*saved, kScale, 12.0f);
    setParam(*saved, kGain, -3.0f);
    for (int32_t b = 0; b < 5; ++b) setPeakBand(*saved, b, 60.0 * std::pow(3.0, b), b % 2 ? -6.0 : 4.0, 0.5 + b * 0.4);
    setParam(*saved, channelParam(1, kFieldLevel), 0.7f);
    saved->activate();
    settle(*saved, 4096, 0);

    PortValues savedValues{saved.get(), world.urids().map(LV2_ATOM__Float)};
    LilvState* state = lilv_state_new_from_instance(saved->plugin(), saved->raw(), world.urids().mapFeature(),
                                                    scratch.c_str(), nullptr, nullptr, save.c_str(), &PortValues::get,
                                                    &savedValues, 0, nullptr);
    ASSERT_NE(state, nullptr);
    ASSERT_EQ(lilv_state_save(world.get(), world.urids().mapFeature(), world.urids().unmapFeature(), state, nullptr,
                              save.c_str(), "state.ttl"),
              0);
    lilv_state_free(state);
    // What a host reads back in a later session, restored before activation
    // and into a running instance.
    LilvState* loaded =
        lilv_state_new_from_file(world.get(), world.urids().mapFeature(), nullptr, cat(save, "/state.ttl").c_str());
    ASSERT_NE(loaded, nullptr);
    auto fresh = makeInstance(2, {.activate = false});
    PortValues freshValues{fresh.get(), savedValues.floatType};
    lilv_state_restore(loaded, fresh->raw(), &PortValues::set, &freshValues, 0, nullptr);
    fresh->activate();
    auto running = makeInstance(2);
    settle(*running, 4096, 0);
    PortValues runningValues{running.get(), savedValues.floatType};
    lilv_state_restore(loaded, running->raw(), &PortValues::set, &runningValues, 0, nullptr);
    settle(*running, int64_t(kTestRate / 2), 300);
    lilv_state_free(loaded);

    const Channels in = noise(2, int64_t(kTestRate), 0.25f, 5);
    const Channels expected = process(*saved, in, 512);
    EXPECT_GT(peakOf(expected[0]), 0.0);
    EXPECT_TRUE(process(*fresh, in, 512) == expected);
    EXPECT_TRUE(process(*running, in, 512) == expected);
}

// ---------------------------------------------------------------------------
// Latency

// The FIR designs are made on other threads: silence runs until the latency
// port reads what is wanted, or 20 s of wall time have gone.
TEST(Lv2Latency, TheLinearPhaseFirModeReportsHalfItsImpulseAndIirNone) {
    auto fx = makeInstance(2, {.activate = false});
    setPeakBand(*fx, 0, 1000.0, 6.0, 1.0);
    setParam(*fx, kMode, 1.0f);      // FIR,
    setParam(*fx, kIRLength, 1.0f);  // 2048 taps,
    setParam(*fx, kIRPhase, 0.0f);   // linear phase
    fx->activate();
    const auto latencyBecomes = [&](int32_t wanted) {
        for (const auto give = Clock::now() + std::chrono::seconds(20); fx->latency() != wanted && Clock::now() < give;)
            settle(*fx, 512, 2);
        return fx->latency();
    };
    EXPECT_EQ(latencyBecomes(1024), 1024);
    setParam(*fx, kMode, 0.0f);
    EXPECT_EQ(latencyBecomes(0), 0);
}
