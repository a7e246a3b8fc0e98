// The level meters, the clip latch and the analyser taps, observed from
// outside: what a follower reads for a known signal, how fast each
// ballistic rises and falls, where the meters sit in the chain, when the
// latch takes, and what the taps hand an analyser, also while the host
// changes the channel layout under it.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <thread>
#include <vector>

#include "TestHost.h"
#include "session/PlugEd.h"
#include "state/GlobalSettings.h"

namespace {

// One vector of samples per channel slot (the effect's own channel order).
using Signal = std::vector<std::vector<double>>;

enum Ballistic : int32_t { kDigital = 0, kPPM = 1, kVU = 2, kBBC = 3 };

constexpr double kGrain = std::numeric_limits<double>::epsilon();  // the spacing of doubles just above 1.0

// Runs per-slot signals through the double path in host blocks of the given
// sizes, the last size repeating; returns the outputs per slot.
Signal run(Plug& fx, const Signal& in, std::vector<int32_t> blocks) {
    const std::vector<ChannelSlot>& slots = fx.getChannelSlots();
    const size_t channels = in.size();
    const int32_t frames = int32_t(in[0].size());
    Signal source = in;
    Signal out(channels, std::vector<double>(size_t(frames), 0.0));
    size_t k = 0;
    for (int32_t at = 0; at < frames; at += blocks[k], k = std::min(k + 1, blocks.size() - 1)) {
        const int32_t n = std::min(blocks[k], frames - at);
        std::vector<double*> ip(channels), op(channels);
        for (size_t c = 0; c < channels; ++c) {
            const size_t host = size_t(slots[c].hostIndex);
            ip[host] = source[c].data() + at;
            op[host] = out[c].data() + at;
        }
        fx.processDoubleReplacing(ip.data(), op.data(), n);
    }
    return out;
}

Signal run(Plug& fx, const Signal& in, int32_t block) { return run(fx, in, std::vector<int32_t>{block}); }

// Runs `in` as one host block: the meters are read right after its last sample.
Signal runWhole(Plug& fx, const Signal& in) { return run(fx, in, int32_t(in[0].size())); }

Signal constant(size_t channels, int32_t frames, double value) {
    return Signal(channels, std::vector<double>(size_t(frames), value));
}

// A square wave of 100-sample period: its magnitude is `amplitude` throughout.
std::vector<double> square(int32_t frames, double amplitude) {
    std::vector<double> x(static_cast<size_t>(frames));
    for (int32_t s = 0; s < frames; ++s) x[size_t(s)] = (s / 50) % 2 ? -amplitude : amplitude;
    return x;
}

std::vector<double> sine(int32_t frames, double amplitude, double cyclesPerSample, int32_t start = 0) {
    std::vector<double> x(static_cast<size_t>(frames));
    for (int32_t s = 0; s < frames; ++s)
        x[size_t(s)] = amplitude * std::sin(2.0 * std::numbers::pi * cyclesPerSample * (start + s));
    return x;
}

// A ramp whose steps are exact in float and double: (s + 1) * step.
std::vector<double> ramp(int32_t frames, double step, int32_t start = 0) {
    std::vector<double> x(static_cast<size_t>(frames));
    for (int32_t s = 0; s < frames; ++s) x[size_t(s)] = (start + s + 1) * step;
    return x;
}

std::unique_ptr<Plug> meteredPlug(int32_t channels, Ballistic ballistic, float rate) {
    auto fx = makePlug(channels);
    fx->uiSettings().setValue("Meters", "Ballistic Type", ballistic);
    fx->reloadUISettings();
    fx->setSampleRate(rate);
    fx->resume();
    return fx;
}

// Left/right throughout: every follower and tap then sees its own channel.
void uncodePairs(Plug& fx) {
    fx.setParameter(kMsState, 0.0f);
    settleEngine(fx);
    ASSERT_EQ(fx.getMsMask(), 0);
}

void relayout(Plug& fx, int32_t channels) {
    fx.setNumInputs(channels);
    fx.setNumOutputs(channels);
    fx.setChannelLayout(standardChannelLayout(channels));
    fx.resume();
}

std::vector<double> readTap(Plug& fx, int32_t tap, int32_t count) {
    std::vector<double> dest(size_t(count), std::nan(""));
    fx.getAnalyserTap(dest.data(), count, tap);
    return dest;
}

std::vector<double> lastOf(const std::vector<double>& x, size_t n) {
    return std::vector<double>(x.end() - std::ptrdiff_t(n), x.end());
}

// Samples [from, from + n) of every channel.
Signal slice(const Signal& x, int32_t from, int32_t n) {
    Signal part;
    for (const auto& ch : x) part.emplace_back(ch.begin() + from, ch.begin() + from + n);
    return part;
}

bool allZero(const std::vector<double>& x) {
    for (double v : x)
        if (v != 0.0) return false;
    return true;
}

// ---------------------------------------------------------------------------
// Readings of a steady signal

TEST(Meters, ASteadySineReadsItsCrestOrItsMeanOnEveryFollower) {
    // "Digital": a period of 40 samples puts samples on the crests, 20
    // apart; between them the release (20 dB in 0.3 s) lets a reading sag by
    // at most 0.1^(20 / 14400), 0.3%, whenever it is read.
    // "VU": equal attack and release make the follower a one-pole lowpass of
    // |x|, time constant 0.3 s / ln(100) = 65 ms, so it settles on the mean
    // of |sin|, 2/pi of the peak. The rectified sine's ripple left is its
    // 2 kHz component, 4/(3 pi) of the peak, divided by 2 pi * 2 kHz * 65 ms
    // = 820: +-0.08%. 0.25% leaves room for that alone; a peak reading would
    // be 57% off. Each channel has its own level: no follower hears another.
    struct Case {
        Ballistic type;
        float rate;
        int32_t channels;
        double cyclesPerSample;
        int32_t settle, step, reads;
        double level, below, above;  // the reading, as a part of the peak, and its room
    };
    const Case cases[] = {
        {kDigital, 48000.0f, 1, 1.0 / 40.0, 74, 37, 52, 1.0, 0.005, 1e-12},
        {kDigital, 48000.0f, 3, 1.0 / 40.0, 74, 37, 52, 1.0, 0.005, 1e-12},
        {kDigital, 48000.0f, 8, 1.0 / 40.0, 74, 37, 52, 1.0, 0.005, 1e-12},
        {kVU, 44100.0f, 2, 1000.0 / 44100.0, 44100 * 3 / 2, 1097, 20, 2.0 / std::numbers::pi, 0.0025, 0.0025},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "ballistic " << c.type << ", " << c.channels << " channels");
        auto fx = meteredPlug(c.channels, c.type, c.rate);
        uncodePairs(*fx);
        const int32_t frames = c.settle + c.step * c.reads;
        Signal in;
        for (int32_t ch = 0; ch < c.channels; ++ch) in.push_back(sine(frames, 0.1 * (ch + 1), c.cyclesPerSample, 3 * ch));
        runWhole(*fx, slice(in, 0, c.settle));
        for (int32_t at = c.settle; at < frames; at += c.step) {
            runWhole(*fx, slice(in, at, c.step));
            for (int32_t ch = 0; ch < c.channels; ++ch) {
                const double want = 0.1 * (ch + 1) * c.level;
                for (const double reading : {fx->getLevelMeter(ch), fx->getCodedLevelMeter(ch)}) {
                    ASSERT_LE(reading, want * (1.0 + c.above)) << ch << " at " << at;
                    ASSERT_GE(reading, want * (1.0 - c.below)) << ch << " at " << at;
                }
            }
        }
        for (int32_t ch = c.channels; ch < Plug::kMaxChannels; ++ch) {
            EXPECT_EQ(fx->getLevelMeter(ch), 0.0) << ch;
            EXPECT_EQ(fx->getCodedLevelMeter(ch), 0.0) << ch;
        }
    }
}

// ---------------------------------------------------------------------------
// Where the meters sit

TEST(Meters, BeforeTheBankTheyReadTheInputAfterItTheOutput) {
    auto fx = meteredPlug(2, kDigital, 44100.0f);
    setShown(*fx, kGain, -20.0);
    settleEngine(*fx);
    fx->resume();  // the gain starts at its target, without a fade
    // The gain is -20 dB as the parameter's float value gives it: 1e-6 room.
    const std::vector<double> x = square(4410, 0.25);
    runWhole(*fx, {x, x});
    EXPECT_NEAR(fx->getLevelMeter(0), 0.025, 0.025e-6);
    EXPECT_NEAR(fx->getCodedLevelMeter(0), 0.05, 0.05e-6);
    EXPECT_EQ(fx->getCodedLevelMeter(1), 0.0);

    // Before the bank the plain followers see the pair as the host does, the
    // coded ones as the bank does: mid = L + R and side = L - R.
    fx->setMeterPreBank(true);
    runWhole(*fx, {x, x});
    EXPECT_EQ(fx->getLevelMeter(0), 0.25);
    EXPECT_EQ(fx->getLevelMeter(1), 0.25);
    EXPECT_EQ(fx->getCodedLevelMeter(0), 0.5);
    EXPECT_EQ(fx->getCodedLevelMeter(1), 0.0);

    // Back after the bank, the readings fall to the output's level at the
    // release rate, 20 dB in 0.3 s: after a second they are 1e-4 above it,
    // after three 1e-11.
    fx->setMeterPreBank(false);
    for (int32_t i = 0; i < 10; ++i) runWhole(*fx, {x, x});
    EXPECT_GT(fx->getLevelMeter(0), 0.025 + 0.5e-4);
    for (int32_t i = 0; i < 20; ++i) runWhole(*fx, {x, x});
    EXPECT_NEAR(fx->getLevelMeter(0), 0.025, 0.025e-6);
    EXPECT_NEAR(fx->getCodedLevelMeter(0), 0.05, 0.05e-6);

    // A pair in antiphase has no mid: only the side follower rises.
    fx->setMeterPreBank(true);
    std::vector<double> y = x;
    for (double& v : y) v = -v;
    runWhole(*fx, {x, y});
    EXPECT_EQ(fx->getLevelMeter(1), 0.25);
    EXPECT_LT(fx->getCodedLevelMeter(0), 0.05);
    EXPECT_EQ(fx->getCodedLevelMeter(1), 0.5);

    // A pair that is not coded: the coded readings are the plain ones.
    auto uncoded = meteredPlug(2, kDigital, 44100.0f);
    uncodePairs(*uncoded);
    uncoded->setMeterPreBank(true);
    const std::vector<double> rising = ramp(4410, 1.0 / 16384.0);  // louder in every chunk
    runWhole(*uncoded, {rising, x});
    EXPECT_EQ(uncoded->getLevelMeter(0), rising.back());
    EXPECT_EQ(uncoded->getCodedLevelMeter(0), rising.back());
    EXPECT_EQ(uncoded->getCodedLevelMeter(1), 0.25);
}

// ---------------------------------------------------------------------------
// Ballistics, timed from a step

TEST(MeterBallistics, StepsAreReachedAndLeftAtEachBallisticsRate) {
    // A step of `level` for `frames`, then the reading against `target`:
    // below it ('<'), above it ('>') or on it within `tolerance` ('=').
    struct Phase {
        double level;
        int32_t frames;
        char check;
        double target, tolerance;
    };
    struct Case {
        Ballistic type;
        float rate;
        std::vector<Phase> phases;
    };
    const Case cases[] = {
        // Digital: one sample shows at once; one sample of release at 44100 Hz
        // keeps 0.1^(1/13230) of it (48 kHz would keep 1.4e-5 more), and 0.3 s
        // after it the reading is 20 dB down.
        {kDigital, 44100.0f, {{1.0, 1, '=', 1.0, 0}, {0.0, 1, '=', std::pow(0.1, 1.0 / 13230.0), 1e-15},
                              {0.0, 13229, '=', 0.1, 1e-9}}},
        // VU: within 1% of a step after 0.3 s, both ways.
        {kVU, 44100.0f, {{1.0, 12789, '<', 0.99, 0}, {1.0, 441, '=', 0.99, 1e-9},
                         {0.0, 12789, '>', 0.01, 0}, {0.0, 441, '=', 0.99 * 0.01, 1e-9}}},
        // PPM: 80% in 5 ms.
        {kPPM, 48000.0f, {{1.0, 239, '<', 0.8, 0}, {1.0, 1, '=', 0.8, 1e-9}}},
        // BBC: after 50 attack times full scale, short only by where a step
        // of the attack no longer moves the sum; then 6.31% after 2.8 s.
        {kBBC, 48000.0f, {{1.0, 24000, '=', 1.0, 1e-13}, {0.0, 134400, '=', 0.0631, 1e-9}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        auto fx = meteredPlug(2, c.type, c.rate);
        for (const Phase& p : c.phases) {
            runWhole(*fx, constant(2, p.frames, p.level));
            const double reading = fx->getLevelMeter(0);
            if (p.check == '<') {
                EXPECT_LT(reading, p.target) << p.frames;
            } else if (p.check == '>') {
                EXPECT_GT(reading, p.target) << p.frames;
            } else {
                EXPECT_NEAR(reading, p.target, p.tolerance) << p.frames;
            }
        }
    }
}

TEST(MeterBallistics, SilenceLeavesEveryBallisticOnAWholeNumberOfGrains) {
    // After each chunk the guard, (e + 1) - 1, puts a reading on the grid of
    // doubles next to 1.0. In silence the release multiplies a reading by f
    // per 1024-sample chunk; on the grid it stops where that moves it by
    // less than half a grain, at most 0.5 / (1 - f) grains above zero. It
    // never goes subnormal.
    struct Release {
        Ballistic type;
        double base, seconds;
    };
    for (const Release& r : {Release{kDigital, 0.1, 0.3}, Release{kPPM, 0.1, 1.7}, Release{kVU, 0.01, 0.3},
                             Release{kBBC, 0.0631, 2.8}}) {
        SCOPED_TRACE(r.type);
        auto fx = meteredPlug(2, r.type, 44100.0f);
        runWhole(*fx, {square(4410, 1.0), square(4410, 1.0)});
        ASSERT_GT(fx->getLevelMeter(0), 0.5);
        // Long enough to fall by 1e-17.
        const int32_t frames = int32_t(44100.0 * r.seconds * 17.0 / -std::log10(r.base)) + 44100;
        run(*fx, constant(2, frames, 0.0), 1024);
        const double f = std::pow(r.base, 1024.0 / (44100.0 * r.seconds));
        for (double level : {fx->getLevelMeter(0), fx->getCodedLevelMeter(0), fx->getCodedLevelMeter(1)}) {
            const double grains = level / kGrain;
            EXPECT_EQ(grains, std::floor(grains));
            EXPECT_LE(grains, 0.5 / (1.0 - f));
            EXPECT_NE(std::fpclassify(level), FP_SUBNORMAL);
        }
    }
}

TEST(MeterBallistics, ALevelBelowHalfAGrainOrNotFiniteReadsExactlyZero) {
    // Without the guard an instant attack would show 1e-17 as it is.
    auto fx = meteredPlug(2, kDigital, 44100.0f);
    runWhole(*fx, constant(2, 64, 1e-17));
    EXPECT_EQ(fx->getLevelMeter(0), 0.0);
    EXPECT_EQ(fx->getCodedLevelMeter(0), 0.0);
    // Above half a grain it shows, rounded to whole grains.
    runWhole(*fx, constant(2, 64, 1e-15));
    EXPECT_EQ(fx->getLevelMeter(0), std::round(1e-15 / kGrain) * kGrain);
    // A sample that is not finite does not stick in a meter.
    Signal in = constant(2, 1024, 0.0);
    in[0][10] = std::nan("");
    runWhole(*fx, in);
    EXPECT_EQ(fx->getLevelMeter(0), 0.0);
    runWhole(*fx, constant(2, 64, 0.5));
    EXPECT_EQ(fx->getLevelMeter(0), 0.5);
}

// ---------------------------------------------------------------------------
// The clip latch

TEST(ClipLatch, FullScaleLatchesOnlyAtTheLowerThresholdAndStaysUntilCleared) {
    // Stereo coded as mid and side: the mid of a full-scale pair is 2.0, but
    // the latch judges what leaves the effect.
    const std::vector<double> full = square(1000, 1.0), over = square(1000, 1.01), under = square(1000, 0.988);
    {
        auto fx = makePlug(2);
        runWhole(*fx, {full, full});
        EXPECT_FALSE(fx->getClip()) << "exactly full scale is no clip at 0 dB";
        runWhole(*fx, {full, over});
        EXPECT_TRUE(fx->getClip());
        for (int32_t i = 0; i < 20; ++i) runWhole(*fx, constant(2, 4410, 0.0));
        EXPECT_TRUE(fx->getClip());
        fx->setClip(false);
        EXPECT_FALSE(fx->getClip());
        runWhole(*fx, {under, under});
        EXPECT_FALSE(fx->getClip());
    }
    {
        auto fx = makePlug(2);
        GlobalSettings::instance().setValue("Clip threshold", 1);  // -0.1 dB
        fx->reloadGlobalSettings();
        runWhole(*fx, {under, under});
        EXPECT_FALSE(fx->getClip());
        runWhole(*fx, {full, full});
        EXPECT_TRUE(fx->getClip());
        fx->setClip(false);
        runWhole(*fx, {under, over});
        EXPECT_TRUE(fx->getClip());
        GlobalSettings::instance().setValue("Clip threshold", 0);  // no later test inherits it
    }
}

// ---------------------------------------------------------------------------
// The analyser taps

TEST(AnalyserTap, UntilAudioRunsEveryTapReadsZerosAndUnknownTapsAlways) {
    auto fx = makePlug(4);  // built for stereo, told four channels
    ASSERT_FALSE(Plug::audioHasRun());
    for (int32_t tap = 0; tap < 8; ++tap) EXPECT_TRUE(allZero(readTap(*fx, tap, 8192))) << tap;
    // The rings made for the reader are the ones the audio then fills.
    uncodePairs(*fx);
    Signal in;
    for (int32_t c = 0; c < 4; ++c) in.push_back(ramp(3000, 1.0 / 65536.0, 1000 * c));
    run(*fx, in, 512);
    for (int32_t c = 0; c < 4; ++c) EXPECT_EQ(readTap(*fx, c, 3000), in[size_t(c)]) << c;
    for (int32_t tap : {-1, 8, 1000, std::numeric_limits<int32_t>::min()})
        EXPECT_TRUE(allZero(readTap(*fx, tap, 100))) << tap;
    std::vector<double> dest(4, 7.0);
    fx->getAnalyserTap(dest.data(), 0, 0);
    fx->getAnalyserTap(dest.data(), -3, 0);
    EXPECT_EQ(dest, std::vector<double>(4, 7.0));
    fx->getAnalyserTap(nullptr, 100, 0);
}

TEST(AnalyserTap, PostTapsGiveTheLatestOutputOldestFirstAsTheBankSeesIt) {
    // Uncoded, each tap is its channel's output; a coded pair shows as mid
    // and side.
    for (const bool coded : {false, true}) {
        SCOPED_TRACE(coded);
        auto fx = makePlug(2);
        if (!coded) uncodePairs(*fx);
        const int32_t frames = 10000;  // more than a ring: the copy wraps
        const Signal in = {ramp(frames, 1.0 / 16384.0), ramp(frames, -1.0 / 32768.0)};
        const Signal out = run(*fx, in, {700, 13, 1024, 3000});
        ASSERT_EQ(out, in);
        Signal seen = out;
        if (coded)
            for (size_t s = 0; s < size_t(frames); ++s) {
                seen[0][s] = out[0][s] + out[1][s];
                seen[1][s] = out[0][s] - out[1][s];
            }
        for (int32_t c = 0; c < 2; ++c)
            for (int32_t n : {1, 3000, Plug::kRingLength})
                EXPECT_EQ(readTap(*fx, c, n), lastOf(seen[size_t(c)], size_t(n))) << c << " " << n;
        // More than a ring holds: the whole ring, then zeros.
        const std::vector<double> more = readTap(*fx, 0, 9000);
        EXPECT_EQ(std::vector<double>(more.begin(), more.begin() + Plug::kRingLength),
                  lastOf(seen[0], Plug::kRingLength));
        EXPECT_TRUE(allZero(std::vector<double>(more.begin() + Plug::kRingLength, more.end())));
    }
}

TEST(AnalyserTap, APreTapIsCopiedOnceReadAndGivesTheInput) {
    auto fx = makePlug(2);
    uncodePairs(*fx);
    setShown(*fx, kGain, -20.0);
    settleEngine(*fx);
    fx->resume();
    run(*fx, {ramp(2000, 1.0 / 16384.0), ramp(2000, 1.0 / 16384.0)}, 512);
    // Nothing was copied before the bank until now: this read switches it on.
    EXPECT_TRUE(allZero(readTap(*fx, 2, 2000)));
    const Signal in = {ramp(5000, 1.0 / 16384.0, 2000), ramp(5000, -1.0 / 65536.0)};
    const Signal out = run(*fx, in, 512);
    EXPECT_EQ(readTap(*fx, 2, 5000), in[0]);
    EXPECT_EQ(readTap(*fx, 3, 5000), in[1]);
    const std::vector<double> post = readTap(*fx, 0, 5000);
    EXPECT_EQ(post, out[0]);
    for (size_t i = 0; i < 5000; ++i) ASSERT_NEAR(post[i], 0.1 * in[0][i], 1e-6) << i;
}

TEST(AnalyserTap, AReaderThreadFollowsTheRingsThroughTheFirstBlockAndLayoutChanges) {
    // An analyser reads every tap as fast as it can from before the host's
    // first block, while the host's threads process and change the layout.
    // The making of the rings and the audio must not overlap (the thread
    // sanitizer build checks), every value the reader sees must be one the
    // effect carried, or a ring's zeros, and after each change every tap
    // gives its own channel of the new layout.
    auto levels = [](int32_t channels) {
        Signal in;
        for (int32_t c = 0; c < channels; ++c) in.push_back(std::vector<double>(3000, (c + 1) / 16.0));
        return in;
    };
    for (int32_t attempt = 0; attempt < 8; ++attempt) {
        auto fx = makePlug(2);
        uncodePairs(*fx);
        ASSERT_FALSE(Plug::audioHasRun());
        std::atomic<bool> stop{false};
        std::atomic<int64_t> reads{0}, strange{0};
        std::thread reader([&] {
            std::vector<double> buffer(size_t(Plug::kRingLength));
            while (!stop.load()) {
                for (int32_t tap = 0; tap < 2 * Plug::kMaxChannels; ++tap) {
                    fx->getAnalyserTap(buffer.data(), Plug::kRingLength, tap);
                    for (double v : buffer) {
                        const double k = v * 16.0;
                        if (!(v == 0.0 || (k == std::floor(k) && k >= 1.0 && k <= 8.0))) strange.fetch_add(1);
                    }
                }
                reads.fetch_add(1);
            }
        });
        for (int32_t channels : {2, 4, 1, 8, 3, 2}) {
            if (channels != fx->getChannelCount()) relayout(*fx, channels);  // the first block meets the built layout
            const int64_t before = reads.load();
            run(*fx, levels(channels), 256);
            for (int32_t c = 0; c < channels; ++c)
                EXPECT_EQ(readTap(*fx, c, 100), std::vector<double>(100, (c + 1) / 16.0)) << channels << "/" << c;
            EXPECT_TRUE(allZero(readTap(*fx, 2 * channels, 100))) << channels;  // past the pre taps
            // Let the reader take this generation before the next.
            while (reads.load() < before + 2) std::this_thread::yield();
        }
        stop.store(true);
        reader.join();
        EXPECT_EQ(strange.load(), 0);
        // A block size change keeps the rings and their contents.
        const Signal in = {ramp(3000, 1.0 / 16384.0), ramp(3000, 1.0 / 32768.0)};
        run(*fx, in, {64, 4096, 100});
        EXPECT_EQ(readTap(*fx, 1, 3000), in[1]);
    }
    // An instance whose rings were replaced with no reader at all frees them
    // when it goes (the address sanitizer build checks).
    auto unread = makePlug(2);
    for (int32_t channels : {3, 8, 2}) {
        relayout(*unread, channels);
        run(*unread, levels(channels), 512);
    }
}

TEST(MetersSwitch, OffStopsFollowersTapsAndLatchButNotTheSound) {
    auto fx = makePlug(2);
    const std::vector<double> loud = square(3000, 1.5);
    fx->setMetersEnabled(false);
    const Signal quiet = runWhole(*fx, {loud, loud});
    EXPECT_EQ(fx->getLevelMeter(0), 0.0);
    EXPECT_EQ(fx->getCodedLevelMeter(0), 0.0);
    EXPECT_FALSE(fx->getClip());
    EXPECT_TRUE(allZero(readTap(*fx, 0, 3000)));
    fx->setMetersEnabled(true);
    const Signal metered = runWhole(*fx, {loud, loud});
    EXPECT_EQ(metered, quiet);
    EXPECT_EQ(fx->getLevelMeter(0), 1.5);
    EXPECT_EQ(fx->getCodedLevelMeter(0), 3.0);
    EXPECT_TRUE(fx->getClip());
    EXPECT_EQ(std::fabs(readTap(*fx, 0, 1)[0]), 3.0);
}

}  // namespace
