#pragma once
// What the LV2 tests share: the lilv world of the bundle in the build tree,
// instances of our plug-ins with every port connected, parameter rows set by
// their real values, and signals run through them.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Lv2Host.h"
#include "core/ChannelLayout.h"
#include "core/ParamTable.h"
#include "formats/lv2/PortLayout.h"

// Texts joined; plain appends keep GCC's overlap warnings quiet.
template <typename... Parts>
std::string cat(const Parts&... parts) {
    std::string text;
    (text.append(parts), ...);
    return text;
}

// One buffer per channel.
using Channels = std::vector<std::vector<float>>;

constexpr double kTestRate = 48000.0;

// The world of the tests: LV2_PATH points at the build tree's bundle folder
// alone, so only our plug-ins are seen. Made once per process.
lv2host::World& bundleWorld();

// The plug-in of a channel count, nullptr when missing.
const LilvPlugin* ourPlugin(int32_t channels);

struct InstanceOptions {
    lv2host::WorkMode work = lv2host::WorkMode::kThreaded;
    bool offerWorker = true;
    int32_t maxBlock = 512;
    bool activate = true;
};

// An instance at 48 kHz taking blocks of up to maxBlock.
std::unique_ptr<lv2host::Instance> makeInstance(int32_t channels, const InstanceOptions& options = {});

lv2ports::Ports portsOf(const lv2host::Instance& fx);
// Sets the control port of a parameter row to a real value.
void setParam(lv2host::Instance& fx, int32_t index, float real);
// Band b (0-based) on as a peak at hz with gain in dB: the gain row takes
// dB over the Scale now on the Scale port (pick a Scale that makes it exact).
void setPeakBand(lv2host::Instance& fx, int32_t band, double hz, double db, double q = 0.707);

// Runs input through the instance in blocks of `block` frames and returns
// what came out.
Channels process(lv2host::Instance& fx, const Channels& input, int32_t block);
// Runs silence until `frames` have gone by and, at a millisecond a block,
// at least `wallMs` of wall time: the time a host's own threads get to
// carry changes over, and for coefficient ramps to end on silence.
void settle(lv2host::Instance& fx, int64_t frames, int32_t wallMs, int32_t block = 512);

Channels noise(int32_t channels, int64_t frames, float peak, uint32_t seed);
// The same sine on every channel.
Channels sine(int32_t channels, int64_t frames, double hz, float peak);
