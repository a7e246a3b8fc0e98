#pragma once
// The Turtle of the LV2 bundle, made from the parameter table and the port
// layout: the manifest, the description of the eight plug-ins (one per
// standard channel layout) and the factory presets of each plug-in.

#include <cstdint>
#include <string>
#include <vector>

namespace lv2ttl {

constexpr const char* kManifestFile = "manifest.ttl";
constexpr const char* kPluginsFile = "fenwoldrine.ttl";
constexpr const char* kBinaryFile = "fenwoldrine.so";

// What the effect says about itself.
struct Product {
    std::string name;     // "Fenwoldrine"
    std::string vendor;   // "Kestrawn"
    int32_t version = 0;  // the vendor version, 159 for 1.59
};

// One named program of the factory bank, as the effect plays it.
struct FactoryPreset {
    int32_t program = 0;        // 0-based number in the bank
    std::string name;
    std::vector<float> values;  // the real value of every parameter row, table order
};

// "urn:kestrawn:fenwoldrine:stereo:preset:3" for program 2 of the stereo plug-in.
std::string presetUri(int32_t channels, int32_t program);
// "presets-stereo.ttl": the file with the presets of one plug-in.
std::string presetsFileName(int32_t channels);

// Anything the generator changed to make valid Turtle (a default outside
// its range, a value no decimal holds), one line each.
using Notes = std::vector<std::string>;

// The plug-ins with their binary and description, and each factory preset
// of each plug-in with the file that holds it.
std::string manifestTurtle(const std::vector<FactoryPreset>& presets);
// The eight plug-ins with their ports, port groups and units.
std::string pluginsTurtle(const Product& product, Notes& notes);
// The presets of one plug-in: every parameter port of each program, so that
// applying one from any state gives the program exactly. The values do not
// depend on the layout; the meters, latency, clip and the host's switches
// are no part of a preset.
std::string presetsTurtle(int32_t channels, const std::vector<FactoryPreset>& presets, Notes& notes);

}  // namespace lv2ttl
