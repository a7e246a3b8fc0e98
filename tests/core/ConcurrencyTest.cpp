// A host-like storm: one thread writes parameters as fast as it can (drags,
// mode flips, mid/side and parallel switches, and, with audio paused as a
// host pauses it, layout changes and resume), one processes audio, one runs
// idle beside the shared timer. Afterwards the instance must equal a fresh
// one given the final parameters: no change lost. Run under ThreadSanitizer
// (make tsan) this is also the race check of every shared field.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <chrono>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "CoreRun.h"
#include "core/InstanceRegistry.h"
#include "session/AnalyserEngine.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int32_t kBlock = 256;

// Rows the storm writes, with the normalised ranges it uses: Q at most 4 and
// frequencies from 40 Hz, so that filter memories die out within a second
// and two instances can be compared by their sound.
struct Target {
    int32_t field;
    float low, high;
};
constexpr Target kBandTargets[] = {
    {kFieldState, 0.0f, 1.0f}, {kFieldGroups, 0.0f, 1.0f}, {kFieldType, 0.0f, 1.0f}, {kFieldSubtype, 0.0f, 0.3f},
    {kFieldGain, 0.0f, 1.0f},  {kFieldFrequency, 0.2f, 1.0f}, {kFieldQ, 0.25f, 0.59f}, {kFieldSlope, 0.0f, 1.0f},
};
constexpr int32_t kGlobalTargets[] = {kMode, kIRPhase, kDPlusLen, kParallel, kMsState, kGain, kChannel1Level,
                                      kChannel2Mute, kChannel1Phase};

class AudioThread {
public:
    explicit AudioThread(Plug& effect) : fx(effect), worker([this] { loop(); }) {}
    ~AudioThread() {
        stop = true;
        worker.join();
    }
    // As a host does around a layout change: no block is in flight until resumeAudio.
    void pause() {
        pauseWanted = true;
        while (!paused) std::this_thread::yield();
    }
    void resumeAudio() { pauseWanted = false; }

private:
    void loop() {
        for (uint32_t seed = 3; !stop; ++seed) {
            if (pauseWanted) {
                paused = true;
                while (pauseWanted && !stop) std::this_thread::yield();
                paused = false;
                continue;
            }
            run(fx, noise(8, kBlock, seed, 0.1f), kBlock);
        }
    }
    Plug& fx;
    std::atomic<bool> stop{false}, pauseWanted{false}, paused{false};
    std::thread worker;
};

// Runs the instance's idle beside the shared timer, as a host's UI thread would.
class IdleThread {
public:
    explicit IdleThread(Plug& fx)
        : worker([this, &fx] {
              while (!stop) {
                  fx.idle();
                  std::this_thread::sleep_for(std::chrono::milliseconds(1));
              }
          }) {}
    ~IdleThread() {
        stop = true;
        worker.join();
    }

private:
    std::atomic<bool> stop{false};
    std::thread worker;
};

// Noise (or silence) through the effect in blocks of kBlock.
Buffers render(Plug& fx, int32_t frames, bool silent) {
    const int32_t channels = fx.getChannelCount();
    return run(fx, silent ? Buffers(size_t(channels), std::vector<float>(size_t(frames))) : noise(channels, frames, 11, 0.3f),
               kBlock);
}

}  // namespace

TEST(Concurrency, AParameterStormWhileAudioRunsLosesNothing) {
    auto fx = makePlug(2);
    std::mt19937 gen(7);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    {
        IdleThread idler(*fx);
        AudioThread audio(*fx);
        const auto deadline = Clock::now() + std::chrono::milliseconds(1500);
        const int32_t layouts[] = {6, 1, 8, 2};
        for (int32_t i = 0; Clock::now() < deadline; ++i) {
            if (i % 400 == 399) {
                audio.pause();
                const int32_t n = layouts[(i / 400) % 4];
                fx->setNumInputs(n);
                fx->setNumOutputs(n);
                fx->setChannelLayout(standardChannelLayout(n));
                fx->resume();
                audio.resumeAudio();
                continue;
            }
            const int32_t band = int32_t(unit(gen) * 31.99f);
            if (i % 50 == 0) {
                // A drag: a gesture of many writes to one row.
                const int32_t row = bandParam(band, kFieldFrequency);
                fx->beginEdit(row);
                for (int32_t k = 0; k < 40; ++k) fx->setParameterAutomated(row, 0.2f + 0.8f * unit(gen));
                fx->endEdit(row);
            } else if (i % 7 == 0) {
                const int32_t row = kGlobalTargets[size_t(unit(gen) * 8.99f)];
                fx->setParameter(row, row == kMode || row == kParallel ? float(unit(gen) > 0.5f) : unit(gen));
            } else {
                const Target& t = kBandTargets[size_t(unit(gen) * 7.99f)];
                fx->setParameter(bandParam(band, t.field), t.low + (t.high - t.low) * unit(gen));
            }
        }
    }

    // A fresh instance given the final parameters.
    auto fresh = makePlug(fx->getChannelCount());
    for (int32_t i = 0; i < kNumParams; ++i)
        if (i != kABBank) fresh->setParameter(i, fx->getParameter(i));
    settleEngine(*fx);
    settleEngine(*fresh);
    EXPECT_EQ(fx->getBank().getMode(), fresh->getBank().getMode());
    EXPECT_EQ(fx->getMsMask(), fresh->getMsMask());
    EXPECT_EQ(fx->getBank().isParallel(), fresh->getBank().isParallel());
    for (int32_t c = 0; c < fx->getChannelCount(); ++c)
        EXPECT_DOUBLE_EQ(fx->getChannelGainTarget(c), fresh->getChannelGainTarget(c)) << c;
    for (int32_t b = 0; b < kNumBands; ++b)
        for (int32_t c = 0; c < fx->getChannelCount(); ++c) {
            const EQ* a = fx->getBank().getBandAt(b, c);
            const EQ* e = fresh->getBank().getBandAt(b, c);
            auto fields = [](const EQ* q) {
                return std::vector<double>{double(q->getState()), double(q->getType()), q->getGain(),
                                           q->getFrequency(), q->getQ(), double(q->getSubtype())};
            };
            ASSERT_EQ(fields(a), fields(e)) << "band " << b << ", channel " << c;
        }
    // And they sound the same once the storm's filter memories are gone. A
    // high-order pass filter near 40 Hz can ring for longer than a second,
    // so the memories are cleared as a host's stop and start clears them;
    // the silence then lets ramps and fades end.
    for (Plug* instance : {fx.get(), fresh.get()}) {
        instance->suspend();
        instance->resume();
        settleEngine(*instance);
        render(*instance, 48000, true);
    }
    const Buffers x = render(*fx, 4096, false), y = render(*fresh, 4096, false);
    for (size_t c = 0; c < x.size(); ++c)
        for (size_t k = 0; k < x[c].size(); ++k)
            ASSERT_NEAR(x[c][k], y[c][k], 1e-5f) << c << "/" << k << " in mode " << fx->getBank().getMode();
}

TEST(Concurrency, SessionsRestoredWhileAudioRunsEndInTheLastOne) {
    // A host restoring sessions (and asking for chunks) while audio and the
    // timer run: the last restored state is what the instance holds.
    auto fx = makePlug(2);
    std::vector<std::vector<uint8_t>> chunks;
    for (int32_t k = 0; k < 4; ++k) {
        auto source = makePlug(2);
        source->setParameter(bandParam(k, kFieldState), 1.0f);
        source->setParameter(bandParam(k, kFieldGain), 0.2f + 0.15f * float(k));
        source->setParameter(kMode, k == 2 ? 1.0f : 0.0f);
        chunks.push_back(chunkOf(*source));
    }
    {
        AudioThread audio(*fx);
        IdleThread idler(*fx);
        for (int32_t round = 0; round < 12; ++round) {
            std::vector<uint8_t>& chunk = chunks[size_t(round) % chunks.size()];
            fx->setChunk(chunk.data(), int32_t(chunk.size()), false);
            chunkOf(*fx, round % 3 == 0);
        }
    }
    settleEngine(*fx);
    // Round 11 restored chunk 3: the instance runs what a fresh one given it runs.
    auto fresh = makePlug(2);
    fresh->setChunk(chunks[3].data(), int32_t(chunks[3].size()), false);
    settleEngine(*fresh);
    for (int32_t i = 0; i < kNumParams; ++i) ASSERT_EQ(fx->getParameter(i), fresh->getParameter(i)) << i;
    EXPECT_EQ(fx->getBank().getMode(), fresh->getBank().getMode());
    for (int32_t b = 0; b < kNumBands; ++b)
        ASSERT_EQ(fx->getBank().getBandAt(b, 0)->getGain(), fresh->getBank().getBandAt(b, 0)->getGain()) << b;
    EXPECT_NE(fx->getParameter(bandParam(3, kFieldState)), fx->getDefaultNorm(bandParam(3, kFieldState)));
}

TEST(Concurrency, InstancesDestroyedWhileAViewReachesThemAreNeverTouchedAfter) {
    // A view's thread sends settings to the other instances, reads another
    // instance's signal and its own meters while audio runs, and the others
    // are destroyed one by one meanwhile. None may be reached once its
    // destructor began: under ThreadSanitizer that is a reported race,
    // elsewhere it may crash.
    auto source = makePlug(2);
    std::vector<std::unique_ptr<Plug>> others;
    for (int32_t k = 0; k < 12; ++k) others.push_back(makePlug(2));
    std::atomic<bool> stop{false};
    std::atomic<int32_t> passes{0};
    std::thread view([&] {
        AnalyserEngine analyser;
        analyser.setColumns(64, 20.0, 20000.0);
        double loudest = 0.0;
        while (!stop) {
            source->propagateDSP();
            source->propagateRenderDSP();
            PlugEd::of(*source)->propagateUISettings("Analyser");
            analyser.setPrimary(InstanceRegistry::instance().otherAt(source.get(), 0), 0);
            analyser.update();
            loudest = std::max({loudest, source->getLevelMeter(0), source->getCodedLevelMeter(0)});
            passes.fetch_add(1);
        }
        EXPECT_GT(loudest, 0.0);
    });
    std::vector<float> tone(kBlock), left(kBlock), right(kBlock);
    for (int32_t s = 0; s < kBlock; ++s) tone[size_t(s)] = 0.25f * float(std::sin(0.13 * s));
    float* in[2] = {tone.data(), tone.data()};
    float* out[2] = {left.data(), right.data()};
    while (!others.empty()) {
        // Each goes somewhere in the view's next pass.
        const int32_t seen = passes.load();
        while (passes.load() == seen) source->processReplacing(in, out, kBlock);
        others.erase(others.begin());
    }
    stop = true;
    view.join();
}

namespace {

// Holds the worker inside its design until the test opens the gate.
std::atomic<bool> designHeld{false}, designGateOpen{false};
void holdDesign(Plug&) {
    designHeld = true;
    while (!designGateOpen) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

TEST(Concurrency, HostCallsGoThroughWhileTheWorkerDesigns) {
    auto source = makePlug(2);
    source->setParameter(bandParam(0, kFieldState), 1.0f);
    source->setParameter(bandParam(0, kFieldGain), 0.8f);
    std::vector<uint8_t> chunk = chunkOf(*source);

    auto fx = makePlug(2);
    designHeld = false;
    designGateOpen = false;
    fx->setDesignProbe(holdDesign);
    setShown(*fx, kMode, 1.0);  // a FIR mode: the worker designs it
    fx->refreshEngine(true);
    for (const auto until = Clock::now() + std::chrono::seconds(60); !designHeld && Clock::now() < until;)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(designHeld);

    // Each call on a thread of its own, one after the other; a call still
    // waiting after seconds ends the run, and the gate lets it finish.
    char label[kParamTextSize];
    const std::function<void()> calls[] = {
        [&] { fx->setSampleRate(44100.0f); },
        [&] { fx->setChunk(chunk.data(), int32_t(chunk.size()), false); },
        [&] { fx->bandControls(0, label, false); },
    };
    std::atomic<bool> done[std::size(calls)] = {};
    std::vector<std::thread> threads;
    size_t finished = 0;
    for (; finished < std::size(calls); ++finished) {
        std::atomic<bool>& over = done[finished];
        threads.emplace_back([&over, &call = calls[finished]] {
            call();
            over = true;
        });
        for (const auto until = Clock::now() + std::chrono::seconds(10); !over && Clock::now() < until;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!over) break;
    }
    designGateOpen = true;
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(finished, std::size(calls));
    fx->setDesignProbe(nullptr);

    // What the design held back arrives after it: the restored state, IIR.
    settleEngine(*fx);
    EXPECT_EQ(fx->getBank().getMode(), kModeIIR);
    EXPECT_EQ(fx->getBank().getBandAt(0, 0)->getGain(), source->getBank().getBandAt(0, 0)->getGain());
    EXPECT_EQ(fx->bandControls(0, label, false), source->bandControls(0, label, false));
}
