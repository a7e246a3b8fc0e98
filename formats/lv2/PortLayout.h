#pragma once
// The ports of the LV2 plug-ins, one plug-in per standard channel layout.
// The Turtle generator, the adaptor and the tests all take port numbers,
// symbols and URIs from here, so they cannot disagree.
//
// Port order for a layout of n channels:
//   0 .. n-1            audio inputs, in the layout's host order
//   n .. 2n-1           audio outputs, same order
//   2n .. 2n+366        one input control port per parameter row, table order
//   then: enabled (lv2:enabled, 1 processes, 0 bypasses), free-wheeling
//   (lv2:freeWheeling, the host renders offline), latency (output, in
//   frames), MIDI input (atom sequence), one meter output per channel (dBFS),
//   the clip flag (output).

#include <cstdint>
#include <string>

#include "core/ParamEnum.h"

namespace lv2ports {

constexpr int32_t kLayoutCount = 8;  // 1 to 8 channels
constexpr const char* kUriPrefix = "urn:kestrawn:fenwoldrine:";
// The editor's UI, one for every layout.
constexpr const char* kUiUri = "urn:kestrawn:fenwoldrine:ui";
constexpr float kMeterFloorDb = -120.0f;  // meters read this for silence

// "urn:kestrawn:fenwoldrine:stereo" and so on, for 1..8 channels; empty otherwise.
std::string pluginUri(int32_t channels);
// The channel count of a plug-in URI, 0 when it names none of ours.
int32_t channelsOfUri(const char* uri);

// The port symbol of a parameter row: its name in lower case with every
// run of other characters as one "_" ("Band 1 Gain" -> "band_1_gain").
// Unique over the table.
std::string parameterSymbol(int32_t index);

struct Ports {
    int32_t channels;

    constexpr int32_t audioIn(int32_t c) const { return c; }
    constexpr int32_t audioOut(int32_t c) const { return channels + c; }
    constexpr int32_t param(int32_t index) const { return 2 * channels + index; }
    constexpr int32_t enabled() const { return 2 * channels + kNumParams; }
    constexpr int32_t freeWheel() const { return enabled() + 1; }
    constexpr int32_t latency() const { return enabled() + 2; }
    constexpr int32_t midiIn() const { return enabled() + 3; }
    constexpr int32_t meter(int32_t c) const { return enabled() + 4 + c; }
    constexpr int32_t clip() const { return enabled() + 4 + channels; }
    constexpr int32_t count() const { return clip() + 1; }
    // The parameter index of a port, -1 for other ports.
    constexpr int32_t paramOf(int32_t port) const {
        return (port >= param(0) && port < param(kNumParams)) ? port - param(0) : -1;
    }
};

}  // namespace lv2ports
