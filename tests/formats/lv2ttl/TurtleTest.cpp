// The generated LV2 bundle read back through lilv as a host reads it: the
// manifest's plug-ins, their ports against the port layout and the effect,
// the factory presets against the effect playing the factory bank; and the
// literals the generator writes.

#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/ChannelLayout.h"
#include "core/Plug.h"
#include "formats/lv2/PortLayout.h"
#include "formats/lv2/ttl/BundleTurtle.h"
#include "formats/lv2/ttl/TurtleText.h"

namespace {

constexpr const char* kLv2 = "http://lv2plug.in/ns/lv2core#";

intptr_t quietHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A stereo instance, with the factory bank applied when asked.
std::unique_ptr<Plug> effect(bool withFactoryBank) {
    auto fx = std::make_unique<Plug>(&quietHost);
    if (withFactoryBank) {
        std::string bank = slurp(std::string(FW_FACTORY_DIR) + "/Factory Bank.fwi");
        EXPECT_FALSE(bank.empty());
        fx->setChunk(bank.data(), int32_t(bank.size()), false);
    }
    return fx;
}

// The bundle loaded once for every test; nodes made here live as long.
class Lv2Turtle : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        world = lilv_world_new();
        const std::string dir = std::string(FW_LV2_BUNDLE_DIR) + "/";
        LilvNode* bundle = lilv_new_file_uri(world, nullptr, dir.c_str());
        lilv_world_load_bundle(world, bundle);
        lilv_node_free(bundle);
    }
    static void TearDownTestSuite() {
        for (LilvNode* n : nodes) lilv_node_free(n);
        nodes.clear();
        lilv_world_free(world);
    }

    static const LilvNode* uri(const std::string& first, const char* rest = "") {
        std::string text = first;
        text.append(rest);
        nodes.push_back(lilv_new_uri(world, text.c_str()));
        return nodes.back();
    }
    static const LilvPlugin* plugin(int32_t channels) {
        return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri(lv2ports::pluginUri(channels)));
    }
    static std::string text(const LilvNode* n) { return n ? lilv_node_as_string(n) : ""; }
    static std::string portText(const LilvPlugin* p, const LilvPort* port, const char* first, const char* rest) {
        LilvNodes* values = lilv_port_get_value(p, port, uri(first, rest));
        const std::string s = values ? text(lilv_nodes_get_first(values)) : "";
        lilv_nodes_free(values);
        return s;
    }

    static LilvWorld* world;
    static std::vector<LilvNode*> nodes;
};

LilvWorld* Lv2Turtle::world = nullptr;
std::vector<LilvNode*> Lv2Turtle::nodes;

// Every layout verifies, asks only for features a host offers, and has its
// ports where the port layout puts them.
TEST_F(Lv2Turtle, TheEightLayoutsAreEqualisersWithPortsWhereTheLayoutPutsThem) {
    const std::set<std::string> offered = {LV2_URID__map, LV2_URID__unmap, LV2_OPTIONS__options, LV2_LOG__log,
                                           LV2_WORKER__schedule,
                                           "http://lv2plug.in/ns/ext/buf-size#boundedBlockLength"};
    std::set<std::string> listed, wanted;
    LILV_FOREACH (plugins, it, lilv_world_get_all_plugins(world))
        listed.insert(text(lilv_plugin_get_uri(lilv_plugins_get(lilv_world_get_all_plugins(world), it))));
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels)
        wanted.insert(lv2ports::pluginUri(channels));
    EXPECT_EQ(listed, wanted);

    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        const LilvPlugin* p = plugin(channels);
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(lilv_plugin_verify(p)) << channels;
        LilvNodes* required = lilv_plugin_get_required_features(p);
        LILV_FOREACH (nodes, it, required)
            EXPECT_TRUE(offered.count(text(lilv_nodes_get(required, it)))) << text(lilv_nodes_get(required, it));
        lilv_nodes_free(required);
        LilvNodes* types = lilv_plugin_get_value(p, uri("http://www.w3.org/1999/02/22-rdf-syntax-ns#type"));
        EXPECT_TRUE(lilv_nodes_contains(types, uri(kLv2, "EQPlugin"))) << channels;
        lilv_nodes_free(types);
        const lv2ports::Ports ports{channels};
        ASSERT_EQ(int32_t(lilv_plugin_get_num_ports(p)), ports.count()) << channels;

        std::set<std::string> symbols;
        for (int32_t i = 0; i < ports.count(); ++i) {
            const std::string symbol = text(lilv_port_get_symbol(p, lilv_plugin_get_port_by_index(p, uint32_t(i))));
            EXPECT_TRUE(symbols.insert(symbol).second) << "repeated symbol " << symbol;
        }

        auto designated = [&](const char* portClass, const char* designation) {
            const LilvPort* port = lilv_plugin_get_port_by_designation(p, uri(kLv2, portClass), uri(kLv2, designation));
            return port ? int32_t(lilv_port_get_index(p, port)) : -1;
        };
        EXPECT_EQ(designated("InputPort", "enabled"), ports.enabled());
        EXPECT_EQ(designated("InputPort", "freeWheeling"), ports.freeWheel());
        EXPECT_EQ(designated("InputPort", "control"), ports.midiIn());
        EXPECT_TRUE(lilv_port_supports_event(p, lilv_plugin_get_port_by_index(p, uint32_t(ports.midiIn())),
                                             uri("http://lv2plug.in/ns/ext/midi#MidiEvent")));
        EXPECT_EQ(int32_t(lilv_plugin_get_latency_port_index(p)), ports.latency());

        // Each channel has one designation, the same on its input and output.
        std::set<std::string> designations;
        for (int32_t c = 0; c < channels; ++c) {
            auto designation = [&](int32_t port) {
                return portText(p, lilv_plugin_get_port_by_index(p, uint32_t(port)), kLv2, "designation");
            };
            EXPECT_EQ(designation(ports.audioIn(c)), designation(ports.audioOut(c)));
            EXPECT_TRUE(designations.insert(designation(ports.audioIn(c))).second) << channels << ": " << c;
        }
        EXPECT_FALSE(designations.count(""));
    }
}

// Each parameter port carries its row's range, its kind of value (toggle,
// integer, enumeration) from the values the effect can reach, and its words.
TEST_F(Lv2Turtle, ParameterPortsCarryTheTableAndItsKindsOfValue) {
    auto fx = effect(false);
    for (const int32_t channels : {1, 6}) {
        const LilvPlugin* p = plugin(channels);
        ASSERT_NE(p, nullptr);
        for (int32_t i = 0; i < kNumParams; ++i) {
            const ParamRow& row = *fx->getRow(i);
            SCOPED_TRACE(row.name);
            const LilvPort* port = lilv_plugin_get_port_by_index(p, uint32_t(lv2ports::Ports{channels}.param(i)));
            ASSERT_NE(port, nullptr);
            LilvNode *def = nullptr, *min = nullptr, *max = nullptr;
            lilv_port_get_range(p, port, &def, &min, &max);
            ASSERT_TRUE(def && min && max);
            EXPECT_EQ(lilv_node_as_float(def), fx->getRealValue(i));  // a fresh instance holds it exactly
            EXPECT_EQ(lilv_node_as_float(min), row.min);
            EXPECT_EQ(lilv_node_as_float(max), row.max);
            lilv_node_free(def), lilv_node_free(min), lilv_node_free(max);

            // The values the effect can take, over the whole host range.
            std::set<float> reachable;
            bool whole = true;
            for (int k = 0; k <= 2048; ++k) {
                const double v = curveToReal(row, k / 2048.0);
                whole = whole && v == std::floor(v);
                reachable.insert(float(v));
            }
            auto has = [&](const char* property) { return lilv_port_has_property(p, port, uri(kLv2, property)); };
            const bool toggled = fx->isBoolParameter(i);
            EXPECT_EQ(has("toggled"), toggled);
            EXPECT_EQ(has("integer"), whole && !toggled);

            std::map<float, std::string> points;
            LilvScalePoints* list = lilv_port_get_scale_points(p, port);
            LILV_FOREACH (scale_points, it, list) {
                const LilvScalePoint* sp = lilv_scale_points_get(list, it);
                points[lilv_node_as_float(lilv_scale_point_get_value(sp))] = text(lilv_scale_point_get_label(sp));
            }
            lilv_scale_points_free(list);
            int32_t count = 0, first = 0;
            const char* const* words = choiceWords(i, &count, &first);
            ASSERT_EQ(points.size(), size_t(words ? count : 0));
            for (int32_t k = 0; k < count; ++k) EXPECT_EQ(points[float(first + k)], words[k]);
            // An enumeration names every value the effect can take.
            bool named = !points.empty();
            for (const float v : reachable) named = named && points.count(v);
            EXPECT_EQ(has("enumeration"), named && !toggled);
        }
    }
}

// The port values of a preset as lilv hands them to a host: through a URID
// map, each value an atom float (anything else is counted apart).
struct PresetValues {
    std::vector<std::string> uris;
    LV2_URID_Map map{this, [](LV2_URID_Map_Handle self, const char* uri) {
                         auto& list = static_cast<PresetValues*>(self)->uris;
                         if (std::find(list.begin(), list.end(), uri) == list.end()) list.emplace_back(uri);
                         return LV2_URID(std::find(list.begin(), list.end(), uri) - list.begin() + 1);
                     }};
    std::map<std::string, float> values;
    int32_t others = 0;

    static void take(const char* symbol, void* self, const void* value, uint32_t size, uint32_t type) {
        auto* out = static_cast<PresetValues*>(self);
        if (type == out->map.map(out, LV2_ATOM__Float) && size == sizeof(float))
            out->values[symbol] = *static_cast<const float*>(value);
        else
            ++out->others;
    }
};

TEST_F(Lv2Turtle, EveryPluginHasEveryNamedFactoryProgramWithTheEffectsValues) {
    auto fx = effect(true);
    std::map<std::string, int32_t> programs;
    for (int32_t p = 0; p < kNumPrograms; ++p)
        if (std::string(fx->programStore().program(p).name) != "-") programs[fx->programStore().program(p).name] = p;
    ASSERT_FALSE(programs.empty());

    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        LilvNodes* presets = lilv_plugin_get_related(plugin(channels), uri("http://lv2plug.in/ns/ext/presets#Preset"));
        EXPECT_EQ(lilv_nodes_size(presets), programs.size()) << channels;
        LILV_FOREACH (nodes, it, presets) {
            const LilvNode* preset = lilv_nodes_get(presets, it);
            ASSERT_GE(lilv_world_load_resource(world, preset), 0);  // the number of files read
            PresetValues got;
            LilvState* state = lilv_state_new_from_world(world, &got.map, preset);
            ASSERT_NE(state, nullptr) << text(preset);
            const char* label = lilv_state_get_label(state);
            ASSERT_TRUE(label && programs.count(label)) << text(preset);
            const int32_t program = programs[label];
            EXPECT_EQ(text(preset), lv2ttl::presetUri(channels, program));

            lilv_state_emit_port_values(state, &PresetValues::take, &got);
            lilv_state_free(state);
            fx->setProgram(program);
            EXPECT_EQ(got.others, 0) << label;
            EXPECT_EQ(got.values.size(), size_t(kNumParams)) << label;
            for (int32_t i = 0; i < kNumParams; ++i) {
                const auto found = got.values.find(lv2ports::parameterSymbol(i));
                ASSERT_NE(found, got.values.end()) << label << ": " << lv2ports::parameterSymbol(i);
                EXPECT_EQ(found->second, fx->getRealValue(i)) << label << ": " << found->first;
            }
        }
        lilv_nodes_free(presets);
    }
}

// Whole numbers keep a point (a decimal, not an integer literal); what is not
// finite is replaced, and said to be.
TEST(TurtleText, DecimalsAreTurtleDecimalsThatReadBackExactly) {
    EXPECT_EQ(lv2ttl::turtleDecimal(-36.0f), "-36.0");
    bool replaced = false;
    EXPECT_EQ(std::strtof(lv2ttl::turtleDecimal(-INFINITY, &replaced).c_str(), nullptr), -FLT_MAX);
    EXPECT_TRUE(replaced);
    EXPECT_EQ(lv2ttl::turtleDecimal(NAN, &replaced), "0.0");
    EXPECT_TRUE(replaced);

    // Random bit patterns: always [-]digits.digits, and the same float back.
    std::mt19937 gen(5);
    for (int k = 0; k < 5000; ++k) {
        const uint32_t b = uint32_t(gen());
        float x;
        std::memcpy(&x, &b, sizeof x);
        if (!std::isfinite(x)) continue;
        const std::string s = lv2ttl::turtleDecimal(x);
        const size_t point = s.find('.');
        ASSERT_TRUE(point != std::string::npos && point > 0 && point + 1 < s.size()) << s;
        ASSERT_EQ(s.find_first_not_of("-0123456789."), std::string::npos) << s;
        ASSERT_EQ(std::strtof(s.c_str(), nullptr), x) << s;
    }
}

TEST(TurtleText, StringsEscapeQuotesBackslashesAndControlCharacters) {
    EXPECT_EQ(lv2ttl::turtleString("a \"b\" \\ 1\n2\x01 \xC3\xA9"), "\"a \\\"b\\\" \\\\ 1\\n2\\u0001 \xC3\xA9\"");
}

}  // namespace
