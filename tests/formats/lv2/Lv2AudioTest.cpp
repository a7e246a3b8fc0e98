// Our plug-ins running under a lilv host: sound through every layout,
// controls moved while audio runs, state saved and restored through lilv,
// the latency of the FIR modes, and MIDI moving the curve.

#include <gtest/gtest.h>
#include <lv2/atom/atom.h>
#include <lv2/state/state.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Lv2TestSupport.h"
#include "ToolTestSupport.h"
#include "core/Plug.h"
#include "session/PlugEd.h"

namespace {

using Clock = std::chrono::steady_clock;

const double kPlus12dB = std::pow(10.0, 12.0 / 20.0);

double peakOf(const std::vector<float>& x, size_t from, size_t to) {
    double peak = 0.0;
    for (size_t s = from; s < to; ++s) peak = std::max(peak, double(std::fabs(x[s])));
    return peak;
}

class Lv2Audio : public ::testing::TestWithParam<int32_t> {};

}  // namespace

// ---------------------------------------------------------------------------
// Sound through each layout

TEST_P(Lv2Audio, BandsAtNoGainPassNoiseUnchanged) {
    const int32_t channels = GetParam();
    auto fx = makeInstance(channels, {.activate = false});
    for (int32_t b = 0; b < kNumBands; ++b) setPeakBand(*fx, b, 30.0 * std::pow(2.0, b * 0.3), 0.0, 2.0);
    fx->activate();
    const Channels in = noise(channels, int64_t(kTestRate), 0.5f, 11);
    const Channels out = process(*fx, in, 512);
    for (int32_t c = 0; c < channels; ++c) {
        double worst = 0.0;
        for (size_t s = 0; s < in[0].size(); ++s)
            worst = std::max(worst, double(std::fabs(out[size_t(c)][s] - in[size_t(c)][s])));
        EXPECT_LE(worst, 1e-6) << "channel " << c;
    }
    EXPECT_EQ(fx->latency(), 0);
}

TEST_P(Lv2Audio, APeakOf12dBLiftsItsFrequencyFourfoldOnEveryChannel) {
    const int32_t channels = GetParam();
    auto fx = makeInstance(channels, {.activate = false});
    setParam(*fx, kScale, 12.0f);
    setPeakBand(*fx, 0, 1000.0, 12.0);
    fx->activate();
    const Channels in = sine(channels, int64_t(kTestRate) / 2, 1000.0, 0.1f);
    const Channels out = process(*fx, in, 512);
    const size_t from = out[0].size() / 2, to = out[0].size();
    for (int32_t c = 0; c < channels; ++c) {
        const double gain = amplitudeAt(out[size_t(c)], 1000.0, from, to) / amplitudeAt(in[size_t(c)], 1000.0, from, to);
        EXPECT_NEAR(gain, kPlus12dB, kPlus12dB * 0.005) << "channel " << c;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryLayout, Lv2Audio, ::testing::Range(1, lv2ports::kLayoutCount + 1), layoutTestName);

// ---------------------------------------------------------------------------
// Controls moved by another thread while audio runs

namespace {

struct MoveCase {
    const char* name;
    lv2host::WorkMode work;
    bool offerWorker;
};

class Lv2MovingControls : public ::testing::TestWithParam<MoveCase> {};

}  // namespace

// A host's control thread moves the gain of a band between 0 and +12 dB
// while its audio thread plays a 1 kHz tone in real time, in blocks of 256.
// Ports change only between run() calls (the lock the audio thread holds
// around run() sees to that). Each move must reach the output within 300 ms
// and then hold.
TEST_P(Lv2MovingControls, EveryMoveReachesTheOutputWithinABoundedNumberOfBlocks) {
    constexpr int32_t kBlock = 256;
    constexpr int32_t kMoves = 4;
    constexpr int32_t kBlocksBetweenMoves = 60;  // 320 ms
    constexpr int32_t kBound = int32_t(0.3 * kTestRate) / kBlock;
    constexpr int32_t kTotalBlocks = (kMoves + 1) * kBlocksBetweenMoves;
    constexpr double kLevel = 0.1;

    auto fx = makeInstance(2, {.work = GetParam().work, .offerWorker = GetParam().offerWorker, .maxBlock = kBlock,
                               .activate = false});
    setParam(*fx, kScale, 12.0f);
    setPeakBand(*fx, 0, 1000.0, 0.0);
    fx->activate();
    const uint32_t gainPort = uint32_t(portsOf(*fx).param(bandParam(0, kFieldGain)));

    std::mutex portLock;
    std::vector<int32_t> moveBlock(kMoves, -1);  // the block before which each move landed
    std::atomic<int32_t> blocksDone{0};
    std::vector<double> blockPeak(kTotalBlocks, 0.0);

    std::thread audio([&] {
        std::vector<float> in(kBlock), outL(kBlock), outR(kBlock);
        float* inputs[2] = {in.data(), in.data()};
        float* outputs[2] = {outL.data(), outR.data()};
        auto due = Clock::now();
        int64_t frame = 0;
        for (int32_t b = 0; b < kTotalBlocks; ++b) {
            for (int32_t s = 0; s < kBlock; ++s, ++frame)
                in[size_t(s)] = float(kLevel * std::sin(2.0 * M_PI * 1000.0 * double(frame) / kTestRate));
            {
                std::lock_guard<std::mutex> held(portLock);
                fx->connectAudio(inputs, outputs);
                fx->run(kBlock);
            }
            blockPeak[size_t(b)] = std::max(peakOf(outL, 0, kBlock), peakOf(outR, 0, kBlock));
            blocksDone.store(b + 1);
            due += std::chrono::microseconds(int64_t(1e6 * kBlock / kTestRate));
            std::this_thread::sleep_until(due);
        }
    });
    std::thread control([&] {
        for (int32_t m = 0; m < kMoves; ++m) {
            while (blocksDone.load() < (m + 1) * kBlocksBetweenMoves) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            std::lock_guard<std::mutex> held(portLock);
            fx->control(gainPort) = (m % 2 == 0) ? 1.0f : 0.0f;
            moveBlock[size_t(m)] = blocksDone.load();
        }
    });
    control.join();
    audio.join();

    for (int32_t m = 0; m < kMoves; ++m) {
        const double target = kLevel * ((m % 2 == 0) ? kPlus12dB : 1.0);
        const int32_t start = moveBlock[size_t(m)];
        const int32_t end = (m + 1 < kMoves) ? moveBlock[size_t(m) + 1] : kTotalBlocks;
        ASSERT_GE(start, 0);
        int32_t reached = -1;
        for (int32_t b = start; b < end && reached < 0; ++b)
            if (std::fabs(blockPeak[size_t(b)] - target) < 0.02 * target) reached = b;
        ASSERT_GE(reached, 0) << "move " << m << " never reached the output";
        EXPECT_LE(reached - start, kBound) << "move " << m << " took " << reached - start << " blocks";
        for (int32_t b = reached; b < end; ++b)
            ASSERT_NEAR(blockPeak[size_t(b)], target, 0.02 * target) << "move " << m << ", block " << b;
    }
    EXPECT_TRUE(fx->log().errors().empty());
}

INSTANTIATE_TEST_SUITE_P(Workers, Lv2MovingControls,
                         ::testing::Values(MoveCase{"HostWorkerThread", lv2host::WorkMode::kThreaded, true},
                                           MoveCase{"HostWorkerInRun", lv2host::WorkMode::kSynchronous, true},
                                           MoveCase{"NoHostWorker", lv2host::WorkMode::kThreaded, false}),
                         [](const ::testing::TestParamInfo<MoveCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// State through lilv

namespace {

struct PortValues {
    lv2host::Instance* fx;
    LV2_URID floatType;
};

const void* portValue(const char* symbol, void* user, uint32_t* size, uint32_t* type) {
    auto* values = static_cast<PortValues*>(user);
    const int32_t port = values->fx->portIndex(symbol);
    if (port < 0) return nullptr;
    *size = sizeof(float);
    *type = values->floatType;
    return &values->fx->control(uint32_t(port));
}

void setPortValue(const char* symbol, void* user, const void* value, uint32_t size, uint32_t type) {
    auto* values = static_cast<PortValues*>(user);
    const int32_t port = values->fx->portIndex(symbol);
    if (port >= 0 && size == sizeof(float) && type == values->floatType)
        values->fx->control(uint32_t(port)) = *static_cast<const float*>(value);
}

// Several bands of three types, the global gain and a channel level:
// settings on many kinds of rows.
void shapeTheCurve(lv2host::Instance& fx) {
    setParam(fx, kScale, 12.0f);
    setParam(fx, kGain, -3.0f);
    const double hz[] = {60, 250, 1200, 5000, 11000};
    const double db[] = {4, -6, 9, -2, 5};
    for (int32_t b = 0; b < 5; ++b) setPeakBand(fx, b, hz[b], db[b], 0.5 + b * 0.4);
    setParam(fx, bandParam(5, kFieldState), float(kBandOn));
    setParam(fx, bandParam(5, kFieldType), float(kTypeHPF));
    setParam(fx, bandParam(5, kFieldFrequency), 35.0f);
    setParam(fx, channelParam(1, kFieldLevel), 0.7f);
}

}  // namespace

TEST(Lv2State, ARestoredInstanceSoundsAsTheSavedOne) {
    lv2host::World& world = bundleWorld();
    const ScratchDir dir;
    const std::string scratch = dir / "scratch", save = dir / "saved";

    auto saved = makeInstance(2, {.activate = false});
    shapeTheCurve(*saved);
    saved->activate();
    settle(*saved, 4096, 0);

    PortValues savedValues{saved.get(), world.urids().map(LV2_ATOM__Float)};
    LilvState* state = lilv_state_new_from_instance(saved->plugin(), saved->raw(), world.urids().mapFeature(),
                                                    scratch.c_str(), nullptr, nullptr, save.c_str(), &portValue,
                                                    &savedValues, 0, nullptr);
    ASSERT_NE(state, nullptr);
    ASSERT_EQ(lilv_state_save(world.get(), world.urids().mapFeature(), world.urids().unmapFeature(), state, nullptr,
                              save.c_str(), "state.ttl"),
              0);
    lilv_state_free(state);
    // What a host reads back in a later session.
    LilvState* loaded =
        lilv_state_new_from_file(world.get(), world.urids().mapFeature(), nullptr, cat(save, "/state.ttl").c_str());
    ASSERT_NE(loaded, nullptr);

    // Restored before activation, and restored into a running instance.
    auto fresh = makeInstance(2, {.activate = false});
    PortValues freshValues{fresh.get(), savedValues.floatType};
    lilv_state_restore(loaded, fresh->raw(), &setPortValue, &freshValues, 0, nullptr);
    fresh->activate();
    auto running = makeInstance(2);
    settle(*running, 4096, 0);
    PortValues runningValues{running.get(), savedValues.floatType};
    lilv_state_restore(loaded, running->raw(), &setPortValue, &runningValues, 0, nullptr);
    settle(*running, int64_t(kTestRate / 2), 300);
    lilv_state_free(loaded);

    const lv2ports::Ports ports{2};
    for (int32_t i = 0; i < kNumParams; ++i) {
        const uint32_t p = uint32_t(ports.param(i));
        EXPECT_EQ(fresh->control(p), saved->control(p)) << staticParamTable()[i].name;
        EXPECT_EQ(running->control(p), saved->control(p)) << staticParamTable()[i].name;
    }
    const Channels in = noise(2, int64_t(kTestRate), 0.25f, 5);
    const Channels expected = process(*saved, in, 512);
    EXPECT_GT(peakOf(expected[0], 0, expected[0].size()), 0.0);
    expectIdentical(process(*fresh, in, 512), expected);
    expectIdentical(process(*running, in, 512), expected);
}

// ---------------------------------------------------------------------------
// Latency

namespace {

// Runs silence until the latency port reads `wanted` or 20 s of wall time
// have gone (the FIR designs are made on other threads); returns the last reading.
int32_t awaitLatency(lv2host::Instance& fx, int32_t wanted) {
    const auto give = Clock::now() + std::chrono::seconds(20);
    while (Clock::now() < give) {
        settle(fx, 512, 0);
        if (fx.latency() == wanted) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return fx.latency();
}

}  // namespace

TEST(Lv2Latency, TheLinearPhaseFirModeReportsHalfItsImpulseAndIirNone) {
    auto fx = makeInstance(2, {.activate = false});
    setParam(*fx, kScale, 12.0f);
    setPeakBand(*fx, 0, 1000.0, 6.0, 1.0);
    setParam(*fx, kMode, wordValue(kMode, "FIR"));
    setParam(*fx, kIRPhase, wordValue(kIRPhase, "Linear"));
    fx->activate();
    // The impulse length as the IR length row's words name its value.
    int32_t count = 0, first = 0;
    const char* const* lengths = choiceWords(kIRLength, &count, &first);
    const int32_t irLength = std::stoi(lengths[int32_t(fx->control(uint32_t(portsOf(*fx).param(kIRLength)))) - first]);
    const int32_t latency = irLength / 2;
    ASSERT_EQ(awaitLatency(*fx, latency), latency);

    // The impulse response of a linear-phase filter peaks at its latency.
    settle(*fx, irLength * 2, 0);
    Channels impulse(2, std::vector<float>(size_t(irLength) * 2, 0.0f));
    impulse[0][0] = impulse[1][0] = 0.5f;
    const Channels out = process(*fx, impulse, 512);
    for (int32_t c = 0; c < 2; ++c) {
        const auto& y = out[size_t(c)];
        const auto loudest = std::max_element(y.begin(), y.end(), [](float a, float b) { return std::fabs(a) < std::fabs(b); });
        EXPECT_EQ(loudest - y.begin(), latency) << "channel " << c;
    }

    setParam(*fx, kMode, wordValue(kMode, "IIR"));
    EXPECT_EQ(awaitLatency(*fx, 0), 0);
}

// ---------------------------------------------------------------------------
// MIDI

namespace {

// A session in which the user switched the effect's MIDI input on (it is a
// setting of the editor, saved with the state), restored through the
// plug-in's state interface as a host restores a session.
void restoreWithMidiInput(lv2host::Instance& fx) {
    const std::unique_ptr<Plug> made = PlugEd::createEffect(nullptr);
    Plug& source = *made;
    source.setNumInputs(2);
    source.setNumOutputs(2);
    source.setChannelLayout(standardChannelLayout(2));
    source.uiSettings().setValue("Misc", "MIDI Input", 1);
    source.reloadUISettings();
    void* data = nullptr;
    const int32_t size = source.getChunk(&data, false);
    ASSERT_GT(size, 0);

    struct Saved {
        LV2_URID key, type;
        const void* data;
        size_t size;
    } saved{bundleWorld().urids().map("urn:kestrawn:fenwoldrine#chunk"), bundleWorld().urids().map(LV2_ATOM__Chunk),
            data, size_t(size)};
    const auto retrieve = [](LV2_State_Handle handle, uint32_t key, size_t* size, uint32_t* type,
                             uint32_t* flags) -> const void* {
        const auto* s = static_cast<const Saved*>(handle);
        if (key != s->key) return nullptr;
        *size = s->size;
        *type = s->type;
        *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
        return s->data;
    };
    const auto* state =
        static_cast<const LV2_State_Interface*>(lilv_instance_get_extension_data(fx.raw(), LV2_STATE__interface));
    ASSERT_NE(state, nullptr);
    ASSERT_EQ(state->restore(lilv_instance_get_handle(fx.raw()), retrieve, &saved, 0, nullptr), LV2_STATE_SUCCESS);
}

class Lv2Midi : public ::testing::TestWithParam<bool> {};

}  // namespace

// A narrow +12 dB band at 1 kHz under three tones an octave apart: a note
// an octave above middle C moves it to 2 kHz, one an octave below to 500 Hz.
// Played in real time (the host's worker designs what the notes ask for) and
// free-wheeling (at their frame, inside run()).
TEST_P(Lv2Midi, NotesMoveThePeakOfTheCurve) {
    const bool freeWheeling = GetParam();
    constexpr int32_t kBlock = 512;
    auto fx = makeInstance(2, {.maxBlock = kBlock, .activate = false});
    restoreWithMidiInput(*fx);
    setParam(*fx, kScale, 12.0f);
    setPeakBand(*fx, 0, 1000.0, 12.0, 4.0);
    fx->control(uint32_t(portsOf(*fx).freeWheel())) = freeWheeling ? 1.0f : 0.0f;
    fx->activate();

    const std::vector<double> hz = {500.0, 1000.0, 2000.0};
    const int64_t window = int64_t(kTestRate / 4);
    const Channels probe = tones(2, window, hz, 0.05f);
    // The tone whose gain is largest over a window of the probe, once the
    // curve has had time to move; and that gain in dB.
    const auto loudest = [&](double* db) {
        settle(*fx, int64_t(kTestRate / 4), freeWheeling ? 0 : 300, kBlock);
        process(*fx, probe, kBlock);  // the filters fill
        const Channels out = process(*fx, probe, kBlock);
        double best = 0.0, bestHz = 0.0;
        for (double f : hz) {
            const double gain = amplitudeAt(out[0], f, 0, size_t(window)) / amplitudeAt(probe[0], f, 0, size_t(window));
            if (gain > best) best = gain, bestHz = f;
        }
        *db = 20.0 * std::log10(best);
        return bestHz;
    };

    double db = 0.0;
    EXPECT_EQ(loudest(&db), 1000.0);
    EXPECT_NEAR(db, 12.0, 0.1);
    ASSERT_TRUE(fx->queueMidi(100, 0x90, 72, 100));
    EXPECT_EQ(loudest(&db), 2000.0);
    EXPECT_NEAR(db, 12.0, 0.1);
    ASSERT_TRUE(fx->queueMidi(7, 0x93, 48, 64));  // any channel
    EXPECT_EQ(loudest(&db), 500.0);
    EXPECT_NEAR(db, 12.0, 0.1);
    ASSERT_TRUE(fx->queueMidi(0, 0x83, 48, 0));  // a note off leaves the curve where it is
    EXPECT_EQ(loudest(&db), 500.0);
}

INSTANTIATE_TEST_SUITE_P(Lv2, Lv2Midi, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return std::string(info.param ? "FreeWheeling" : "RealTime");
                         });
