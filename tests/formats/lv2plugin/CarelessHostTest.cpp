// The plug-in driven the way careless hosts drive it: odd sample rates and
// block sizes, nonsense on the control ports, activation out of order,
// unconnected and shared buffers, many instances at once, damaged state and
// non-finite audio. Whatever it accepts it runs with finite output; whatever
// it cannot run it refuses, and nothing it refuses changes it.
// Last, the state a careful host saves between sessions.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Lv2TestHost.h"
#include "session/PlugEd.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Settings = std::vector<std::pair<int32_t, float>>;

// Engine modes as a host sets them on the ports; the FIR at its shortest length.
struct ModeRow {
    const char* name;
    Settings ports;
};
const ModeRow kModes[] = {{"IIR", {{kMode, 0.0f}, {kDPlusLen, 0.0f}}},
                          {"linear FIR", {{kMode, 1.0f}, {kIRLength, 0.0f}, {kIRPhase, 0.0f}}},
                          {"Digital+", {{kMode, 0.0f}, {kDPlusLen, 2.0f}}}};

// A sine of 1/48 of the sample rate with a little noise, a different phase per channel.
void fillSignal(Lv2TestHost& host, size_t frames) {
    std::minstd_rand noise(7);
    for (size_t c = 0; c < host.in.size(); ++c) {
        host.in[c].resize(std::max(host.in[c].size(), frames));
        for (size_t s = 0; s < frames; ++s)
            host.in[c][s] = 0.2f * float(std::sin(2.0 * M_PI * double(s) / 48.0 + 0.5 * double(c))) +
                            0.01f * (float(noise()) / float(noise.max()) - 0.5f);
    }
}

// The largest output magnitude; infinity when any output is not finite.
float peak(const Lv2TestHost& host) {
    float largest = 0.0f;
    for (const auto& channel : host.out)
        for (const float y : channel) largest = std::isfinite(y) ? std::max(largest, std::fabs(y)) : kInf;
    return largest;
}

// Fresh blocks of the signal through the plug-in, `frames` at a time; the peak of the last.
float runSignal(Lv2TestHost& host, uint32_t frames, int32_t blocks = 1) {
    for (int32_t b = 0; b < blocks; ++b) {
        fillSignal(host, frames);
        host.run(frames);
    }
    return peak(host);
}

// A host with three bands at work (a boost, a cut and a high shelf) and a mode set, activated.
void start(Lv2TestHost& host, const Settings& mode = {}) {
    Settings settings = {{bandParam(0, kFieldState), float(kBandOn)}, {bandParam(0, kFieldGain), 0.5f},
                         {bandParam(0, kFieldFrequency), 1000.0f},    {bandParam(1, kFieldState), float(kBandOn)},
                         {bandParam(1, kFieldGain), -0.4f},           {bandParam(1, kFieldFrequency), 120.0f},
                         {bandParam(2, kFieldState), float(kBandOn)}, {bandParam(2, kFieldType), 3.0f},
                         {bandParam(2, kFieldGain), 0.3f},            {bandParam(2, kFieldFrequency), 8000.0f}};
    settings.insert(settings.end(), mode.begin(), mode.end());
    for (const auto& [index, value] : settings) host.param(index) = value;
    host.activate();
}

std::vector<uint8_t> savedChunk(Lv2TestHost& host) {
    StoredProperty saved;
    EXPECT_EQ(host.save(saved), LV2_STATE_SUCCESS);
    return saved.bytes;
}

}  // namespace

TEST(Lv2CarelessHost, SampleRatesItCannotRunAreRefusedWithAMessageTheRestRunFinite) {
    const struct {
        double rate;
        bool runs;
    } rows[] = {{0.0, false}, {-48000.0, false}, {double(kNaN), false}, {double(kInf), false},
                {1.0e9, false}, {1.0, true}, {22050.0, true}, {1.0e7, true}};
    for (const auto& row : rows) {
        for (const auto* mode : {&kModes[0], &kModes[1]}) {
            SCOPED_TRACE(testing::Message() << row.rate << " Hz, " << mode->name);
            Lv2TestHost host({2, row.rate});
            EXPECT_EQ(host.handle != nullptr, row.runs);
            EXPECT_EQ(host.log.size(), row.runs ? 0u : 1u);
            if (!host.handle) continue;
            start(host, mode->ports);
            const float loudest = runSignal(host, 512, 4);
            EXPECT_GT(loudest, 0.05f);
            EXPECT_LT(loudest, 2.0f);
        }
    }
}

TEST(Lv2CarelessHost, AnyBlockSizeUpToTheMaximumAndBeyondRunsFiniteInEveryEngine) {
    constexpr int32_t kMaxBlock = 4096;
    for (const auto& mode : kModes) {
        for (const bool worker : {false, true}) {
            SCOPED_TRACE(testing::Message() << mode.name << (worker ? ", worker" : ""));
            Lv2TestHost host({2, 48000.0, true, worker, kMaxBlock});
            start(host, mode.ports);
            for (const uint32_t frames : {0u, 1u, 7u, 1023u, 0u, 4095u, 4096u, 1u, 2u * kMaxBlock + 5u}) {
                for (auto& channel : host.out) channel.assign(frames, kNaN);
                EXPECT_LT(runSignal(host, frames), 2.0f) << frames;
            }
        }
    }
}

TEST(Lv2CarelessHost, NonsenseOnEveryControlPortIsClampedOrIgnoredAndTheOutputStaysFinite) {
    // Each row after the one before it on the same port: a NaN keeps what the last row left.
    const struct {
        const char* name;
        float (*value)(const ParamRow&);
        int32_t expect;  // -1 keeps the last value, 0 the row's minimum, 1 its maximum
    } rows[] = {{"+Inf", [](const ParamRow&) { return kInf; }, 1},
                {"NaN", [](const ParamRow&) { return kNaN; }, -1},
                {"-Inf", [](const ParamRow&) { return -kInf; }, 0},
                {"past the maximum", [](const ParamRow& r) { return r.max + (r.max - r.min) + 1.0f; }, 1},
                {"below the minimum", [](const ParamRow& r) { return r.min - (r.max - r.min) - 1.0f; }, 0}};
    Lv2TestHost host({2, 48000.0});
    host.param(kIRLength) = 0.0f;  // should a port switch to FIR: the shortest
    start(host);
    Plug& fx = host.effect();
    for (int32_t i = 0; i < kNumParams; ++i) {
        if (i == kABBank) continue;  // a slot switch loads another program; its own case below
        const ParamRow& row = *fx.getRow(i);
        const float before = host.param(i);
        for (const auto& nonsense : rows) {
            SCOPED_TRACE(testing::Message() << row.name << ", " << nonsense.name);
            const float last = fx.getParameter(i);
            host.param(i) = nonsense.value(row);
            EXPECT_LT(runSignal(host, 64), kInf);
            const float expected = nonsense.expect < 0 ? last
                                   : i == kBypass      ? float(nonsense.expect)
                                                       : float(curveToNorm(row, nonsense.expect ? row.max : row.min));
            EXPECT_EQ(fx.getParameter(i), expected);
        }
        host.param(i) = before;
    }
    // The slot row: any nonsense lands on a slot that exists.
    for (const float value : {kNaN, kInf, -kInf, 100.0f}) {
        host.param(kABBank) = value;
        EXPECT_LT(runSignal(host, 64), kInf);
        EXPECT_GE(fx.programStore().currentSlot(), 0);
        EXPECT_LT(fx.programStore().currentSlot(), kNumABSlots);
    }
}

TEST(Lv2CarelessHost, ActivationInAnyOrderNullAndSharedBuffers) {
    // a activate, d deactivate, r run 256 frames. Every block is finite;
    // one run after an activation sounds.
    for (const std::string script : {"r", "rdr", "ar", "ardar", "ardardardar", "aard", "addar", "ardr", "rrdrrar"}) {
        SCOPED_TRACE(script);
        Lv2TestHost host({2, 48000.0, true, true});
        for (const char step : script) {
            if (step == 'a') start(host);
            if (step == 'd') host.desc.deactivate(host.handle);
            if (step == 'r') {
                ASSERT_LT(runSignal(host, 256), 2.0f);
            }
        }
        if (script.ends_with("ar")) {
            EXPECT_GT(peak(host), 0.05f);
        }
    }

    // Ports left unconnected, or connected to null: a missing input is
    // silence, a missing output is skipped, a missing control keeps its value.
    Lv2TestHost host({6, 48000.0});
    start(host);
    fillSignal(host, 256);
    for (size_t c = 0; c < 6; ++c) host.out[c].assign(256, kNaN);
    for (const int32_t port : {host.ports.audioIn(1), host.ports.audioOut(2), host.ports.param(kGain),
                               host.ports.enabled(), host.ports.freeWheel(), host.ports.latency(), host.ports.midiIn(),
                               host.ports.meter(0), host.ports.clip(), host.ports.count(), host.ports.count() + 1000})
        host.desc.connect_port(host.handle, uint32_t(port), nullptr);
    for (size_t c = 0; c < 6; ++c) {
        if (c != 1) host.desc.connect_port(host.handle, uint32_t(host.ports.audioIn(int32_t(c))), host.in[c].data());
        if (c != 2) host.desc.connect_port(host.handle, uint32_t(host.ports.audioOut(int32_t(c))), host.out[c].data());
    }
    for (const uint32_t frames : {256u, 0u, 1u, 255u}) host.desc.run(host.handle, frames);
    for (size_t c = 0; c < 6; ++c)
        for (const float y : host.out[c]) ASSERT_EQ(!std::isfinite(y), c == 2) << "channel " << c;

    // In place: the output written over its own input sounds as with buffers of its own.
    for (const auto& mode : kModes) {
        SCOPED_TRACE(mode.name);
        Lv2TestHost apart({2, 48000.0}), shared({2, 48000.0});
        start(apart, mode.ports);
        start(shared, mode.ports);
        for (int32_t b = 0; b < 4; ++b) {
            runSignal(apart, 333);
            fillSignal(shared, 333);
            for (uint32_t c = 0; c < 2; ++c) {
                shared.desc.connect_port(shared.handle, c, shared.in[c].data());
                shared.desc.connect_port(shared.handle, 2 + c, shared.in[c].data());
            }
            shared.desc.run(shared.handle, 333);
            ASSERT_EQ(shared.in, apart.out);
        }
    }
}

// Every layout, hosts with and without a worker or a URID map, one after another and two at once.
TEST(Lv2CarelessHost, ManyInstancesInARowAndAtOnce) {
    auto lifetime = [](int32_t n) {
        const int32_t channels = 1 + n % lv2ports::kLayoutCount;
        Lv2TestHost host({channels, n % 3 ? 48000.0 : 44100.0, n % 5 != 0, n % 2 == 0});
        if (!host.handle) return false;
        start(host);
        runSignal(host, 128, 2);
        if (n % 4 == 0) host.doWork();
        const float loudest = runSignal(host, 128);
        host.desc.deactivate(host.handle);
        return loudest > 0.05f && loudest < 2.0f;
    };
    bool other = false;
    std::thread beside([&] { other = lifetime(3) && lifetime(6); });
    for (int32_t n = 0; n < 40; ++n) EXPECT_TRUE(lifetime(n)) << n;
    beside.join();
    EXPECT_TRUE(other);
}

TEST(Lv2CarelessHost, DamagedOrForeignStateIsRefusedAndChangesNothing) {
    Lv2TestHost source({2, 48000.0});
    source.activate();
    const std::vector<uint8_t> good = savedChunk(source);
    std::vector<uint8_t> noise(4096);
    std::mt19937 random(11);
    for (auto& b : noise) b = uint8_t(random());
    auto text = [](const std::string& s, bool terminated = true) {
        std::vector<uint8_t> bytes(s.begin(), s.end());
        if (terminated) bytes.push_back(0);
        return bytes;
    };

    Lv2TestHost host({2, 48000.0});
    start(host);
    runSignal(host, 64);
    const uint32_t key = host.urids.map(fwlv2::kChunkKeyUri), chunk = host.urids.map(LV2_ATOM__Chunk);
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
        uint32_t key, type;
        size_t claimedSize;
        LV2_State_Status status;  // success stands for any refusal
    } rows[] = {
        {"empty", {}, key, chunk, 0, LV2_STATE_SUCCESS},
        {"cut in half", {good.begin(), good.begin() + ptrdiff_t(good.size() / 2)}, key, chunk, 0,
         LV2_STATE_ERR_UNKNOWN},
        {"random bytes", noise, key, chunk, 0, LV2_STATE_SUCCESS},
        {"a foreign object", text(R"({"tempo": 120, "tracks": [1, 2]})"), key, chunk, 0, LV2_STATE_SUCCESS},
        {"unterminated", text(R"({"parameters": {)", false), key, chunk, 0, LV2_STATE_SUCCESS},
        {"the largest size", good, key, chunk, SIZE_MAX, LV2_STATE_SUCCESS},
        {"a string atom", good, key, host.urids.map(LV2_ATOM__String), 0, LV2_STATE_ERR_BAD_TYPE},
        {"no type", good, key, 0, 0, LV2_STATE_SUCCESS},
        {"no such key", good, 0, chunk, 0, LV2_STATE_ERR_NO_PROPERTY},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<uint8_t> before = savedChunk(host);
        std::vector<float> params(kNumParams);
        for (int32_t i = 0; i < kNumParams; ++i) params[size_t(i)] = host.effect().getParameter(i);
        StoredProperty damaged{row.key, row.type, LV2_STATE_IS_POD, row.bytes, row.claimedSize};
        const LV2_State_Status status = host.restore(damaged);
        EXPECT_NE(status, LV2_STATE_SUCCESS);
        if (row.status != LV2_STATE_SUCCESS) {
            EXPECT_EQ(status, row.status);
        }
        for (int32_t i = 0; i < kNumParams; ++i) ASSERT_EQ(host.effect().getParameter(i), params[size_t(i)]) << i;
        EXPECT_EQ(savedChunk(host), before);
        EXPECT_LT(runSignal(host, 64), 2.0f);
    }
    // The good chunk still restores.
    StoredProperty intact{key, chunk, LV2_STATE_IS_POD, good, 0};
    EXPECT_EQ(host.restore(intact), LV2_STATE_SUCCESS);
    EXPECT_EQ(host.effect().getParameter(bandParam(0, kFieldGain)), staticParamTable()[bandParam(0, kFieldGain)].norm);
}

// Samples that are not numbers go in as silence: the output is that of the
// same signal with zeros there. The largest floats are numbers, but the curve
// lifts them past what a float holds: the output stays finite and the signal
// is back once the curve's longest decay has rung down.
TEST(Lv2CarelessHost, NonFiniteInputGoesInAsSilenceAndHugeInputRingsDown) {
    constexpr uint32_t kBlock = 256;
    const float burst[] = {kNaN, kInf, -kInf, kNaN};
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        for (const auto* mode : {&kModes[0], &kModes[1]}) {
            SCOPED_TRACE(testing::Message() << channels << " channels, " << mode->name);
            Lv2TestHost dirty({channels, 48000.0}), clean({channels, 48000.0});
            start(dirty, mode->ports);
            start(clean, mode->ports);
            for (int32_t b = 0; b < 4; ++b) {
                fillSignal(dirty, kBlock);
                fillSignal(clean, kBlock);
                for (size_t c = 0; b == 1 && c < dirty.in.size(); ++c)
                    for (size_t k = 0; k < 4; ++k) {
                        dirty.in[c][10 + 50 * k + c] = burst[k];
                        clean.in[c][10 + 50 * k + c] = 0.0f;
                    }
                dirty.run(kBlock);
                clean.run(kBlock);
                ASSERT_EQ(dirty.out, clean.out) << "block " << b;
            }
            fillSignal(dirty, kBlock);
            for (size_t c = 0; c < dirty.in.size(); ++c)
                for (size_t k = 0; k < 3; ++k) dirty.in[c][10 + 50 * k + c] = k % 2 ? -3.0e38f : 3.0e38f;
            dirty.run(kBlock);
            float loudest = peak(dirty);
            EXPECT_LT(loudest, kInf);
            for (int32_t b = 0; b < 256 && (b < 8 || !(loudest < 2.0f)); ++b) {
                loudest = runSignal(dirty, kBlock);
                EXPECT_LT(loudest, kInf);
            }
            EXPECT_GT(loudest, 0.05f);
            EXPECT_LT(loudest, 2.0f);
        }
    }
}

// The whole state is one portable chunk property, cached between session
// saves: a preset saved from the editor in between leaves every program and
// slot in the next one.
TEST(Lv2State, APresetSavedByTheEditorLeavesTheSessionWhole) {
    const HostSetup setup{2, 48000.0, true, true};
    Lv2TestHost first(setup);
    first.activate();
    Plug& fx = first.effect();
    fx.setProgram(7);
    fx.setParameter(bandParam(1, kFieldGain), 0.8f);
    fx.copyToABSlot(5);
    fx.setProgram(0);
    fx.setParameter(bandParam(4, kFieldQ), 0.3f);
    StoredProperty earlier;  // the host's last session save, cached by the effect
    ASSERT_EQ(first.save(earlier), LV2_STATE_SUCCESS);

    ASSERT_TRUE(PlugEd::of(fx)->savePreset(std::string(std::getenv("HOME")) + "/editor preset.fwi"));
    StoredProperty session;
    ASSERT_EQ(first.save(session), LV2_STATE_SUCCESS);
    EXPECT_EQ(session.key, first.urids.map(fwlv2::kChunkKeyUri));
    EXPECT_EQ(session.type, first.urids.map(LV2_ATOM__Chunk));
    EXPECT_EQ(session.flags, uint32_t(LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE));

    Lv2TestHost fresh(setup);
    ASSERT_EQ(fresh.restore(session), LV2_STATE_SUCCESS);
    auto same = [](const ProgramRecord& a, const ProgramRecord& b) {
        return std::strcmp(a.name, b.name) == 0 && std::memcmp(a.values, b.values, sizeof a.values) == 0;
    };
    const ProgramStore &got = fresh.effect().programStore(), &want = fx.programStore();
    for (int32_t p = 0; p < kNumPrograms; ++p) EXPECT_TRUE(same(got.program(p), want.program(p))) << "program " << p;
    for (int32_t s = 0; s < kNumABSlots; ++s) EXPECT_TRUE(same(got.slot(s), want.slot(s))) << "slot " << s;
}
