// The bundle as lilv reads it: every plug-in is found, verifies and
// instantiates with the features a host offers, and its ports are those of
// the port layout, described as the parameter table says.

#include <gtest/gtest.h>
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/port-groups/port-groups.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <set>
#include <string>
#include <vector>

#include "Lv2TestSupport.h"

namespace {

// A node lilv made for us, freed when it goes.
class OwnedNode {
public:
    explicit OwnedNode(LilvNode* n) : node(n) {}
    ~OwnedNode() { lilv_node_free(node); }
    OwnedNode(const OwnedNode&) = delete;
    OwnedNode& operator=(const OwnedNode&) = delete;
    const LilvNode* get() const { return node; }
    bool isUri(const char* uri) const { return node && lilv_node_is_uri(node) && std::string(lilv_node_as_uri(node)) == uri; }
    std::string text() const { return node ? lilv_node_as_string(node) : std::string("(none)"); }

private:
    LilvNode* node;
};

const LilvNode* uri(const char* u) { return bundleWorld().node(u); }

// The channels of each layout in port order: symbol suffix and designation.
struct AudioChannel {
    const char* suffix;
    const char* designation;
};

std::vector<AudioChannel> expectedAudio(int32_t channels) {
    const AudioChannel left{"left", LV2_PORT_GROUPS__left}, right{"right", LV2_PORT_GROUPS__right},
        center{"center", LV2_PORT_GROUPS__center}, lfe{"lfe", LV2_PORT_GROUPS__lowFrequencyEffects},
        ls{"ls", LV2_PORT_GROUPS__rearLeft}, rs{"rs", LV2_PORT_GROUPS__rearRight};
    switch (channels) {
        case 1: return {{"mono", LV2_PORT_GROUPS__center}};
        case 2: return {left, right};
        case 3: return {left, center, right};
        case 4: return {left, center, right, {"surr", LV2_PORT_GROUPS__rearCenter}};
        case 5: return {left, center, right, ls, rs};
        case 6: return {left, center, right, ls, rs, lfe};
        case 7:
        case 8: {
            std::vector<AudioChannel> list = {left,  center, right, ls, rs, {"lc", LV2_PORT_GROUPS__centerLeft},
                                              {"rc", LV2_PORT_GROUPS__centerRight}};
            if (channels == 8) list.push_back(lfe);
            return list;
        }
        default: return {};
    }
}

class Lv2Layout : public ::testing::TestWithParam<int32_t> {
protected:
    void SetUp() override {
        plugin = ourPlugin(GetParam());
        ASSERT_NE(plugin, nullptr) << lv2ports::pluginUri(GetParam()) << " is not in " << FW_LV2_BUNDLE_PARENT;
    }
    const LilvPort* port(int32_t index) const { return lilv_plugin_get_port_by_index(plugin, uint32_t(index)); }
    bool is(int32_t index, const char* cls) const { return lilv_port_is_a(plugin, port(index), uri(cls)); }
    bool has(int32_t index, const char* property) const {
        return lilv_port_has_property(plugin, port(index), uri(property));
    }
    std::string symbol(int32_t index) const {
        return lilv_node_as_string(lilv_port_get_symbol(plugin, port(index)));
    }
    OwnedNode designation(int32_t index) const {
        return OwnedNode(lilv_port_get(plugin, port(index), uri(LV2_CORE__designation)));
    }

    const LilvPlugin* plugin = nullptr;
};


}  // namespace

TEST(Lv2Bundle, HoldsExactlyOurEightPlugins) {
    std::set<std::string> ours;
    const LilvPlugins* all = lilv_world_get_all_plugins(bundleWorld().get());
    LILV_FOREACH (plugins, it, all) {
        const std::string u = lilv_node_as_uri(lilv_plugin_get_uri(lilv_plugins_get(all, it)));
        if (u.rfind(lv2ports::kUriPrefix, 0) == 0) ours.insert(u);
    }
    std::set<std::string> expected;
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        expected.insert(lv2ports::pluginUri(channels));
        EXPECT_EQ(lv2ports::channelsOfUri(lv2ports::pluginUri(channels).c_str()), channels);
    }
    EXPECT_EQ(ours, expected);
}

TEST_P(Lv2Layout, VerifiesAndInstantiatesWithTheFeaturesAHostOffers) {
    EXPECT_TRUE(lilv_plugin_verify(plugin));
    // Everything it requires is among what our host gives.
    const std::set<std::string> offered = {LV2_URID__map, LV2_URID__unmap, LV2_OPTIONS__options,
                                           LV2_LOG__log, LV2_WORKER__schedule,
                                           "http://lv2plug.in/ns/ext/buf-size#boundedBlockLength"};
    LilvNodes* required = lilv_plugin_get_required_features(plugin);
    LILV_FOREACH (nodes, it, required) {
        const std::string feature = lilv_node_as_uri(lilv_nodes_get(required, it));
        EXPECT_TRUE(offered.count(feature)) << "requires " << feature;
    }
    lilv_nodes_free(required);

    for (const auto work : {lv2host::WorkMode::kThreaded, lv2host::WorkMode::kSynchronous}) {
        auto fx = makeInstance(GetParam(), {.work = work});
        EXPECT_EQ(fx->audioInputs().size(), size_t(GetParam()));
        EXPECT_EQ(fx->audioOutputs().size(), size_t(GetParam()));
        fx->deactivate();
        fx->activate();
        EXPECT_TRUE(fx->log().errors().empty()) << fx->log().errors().front();
    }
}

TEST_P(Lv2Layout, AudioAndHostPortsSitWhereTheLayoutPutsThem) {
    const int32_t channels = GetParam();
    const lv2ports::Ports ports{channels};
    ASSERT_EQ(lilv_plugin_get_num_ports(plugin), uint32_t(ports.count()));

    const std::vector<AudioChannel> audio = expectedAudio(channels);
    ASSERT_EQ(audio.size(), size_t(channels));
    std::set<std::string> designations;
    for (int32_t c = 0; c < channels; ++c) {
        for (const bool input : {true, false}) {
            const int32_t p = input ? ports.audioIn(c) : ports.audioOut(c);
            EXPECT_TRUE(is(p, LV2_CORE__AudioPort)) << p;
            EXPECT_TRUE(is(p, input ? LV2_CORE__InputPort : LV2_CORE__OutputPort)) << p;
            EXPECT_EQ(symbol(p), std::string(input ? "in_" : "out_") + audio[size_t(c)].suffix);
            EXPECT_TRUE(designation(p).isUri(audio[size_t(c)].designation))
                << symbol(p) << " is " << designation(p).text();
        }
        designations.insert(designation(ports.audioIn(c)).text());
        EXPECT_TRUE(is(ports.meter(c), LV2_CORE__ControlPort) && is(ports.meter(c), LV2_CORE__OutputPort));
        EXPECT_EQ(symbol(ports.meter(c)), std::string("meter_") + audio[size_t(c)].suffix);
    }
    EXPECT_EQ(designations.size(), size_t(channels)) << "two channels share a designation";

    EXPECT_TRUE(is(ports.enabled(), LV2_CORE__ControlPort) && is(ports.enabled(), LV2_CORE__InputPort));
    EXPECT_TRUE(designation(ports.enabled()).isUri(LV2_CORE__enabled));
    EXPECT_TRUE(has(ports.enabled(), LV2_CORE__toggled));
    EXPECT_TRUE(is(ports.freeWheel(), LV2_CORE__ControlPort) && is(ports.freeWheel(), LV2_CORE__InputPort));
    EXPECT_TRUE(designation(ports.freeWheel()).isUri(LV2_CORE__freeWheeling));

    EXPECT_TRUE(lilv_plugin_has_latency(plugin));
    EXPECT_EQ(lilv_plugin_get_latency_port_index(plugin), uint32_t(ports.latency()));
    EXPECT_TRUE(is(ports.latency(), LV2_CORE__ControlPort) && is(ports.latency(), LV2_CORE__OutputPort));
    EXPECT_TRUE(has(ports.latency(), LV2_CORE__reportsLatency));

    const int32_t midi = ports.midiIn();
    EXPECT_TRUE(is(midi, LV2_ATOM__AtomPort) && is(midi, LV2_CORE__InputPort));
    EXPECT_TRUE(lilv_port_supports_event(plugin, port(midi), uri(LV2_MIDI__MidiEvent)));
    EXPECT_TRUE(OwnedNode(lilv_port_get(plugin, port(midi), uri(LV2_ATOM__bufferType))).isUri(LV2_ATOM__Sequence));

    EXPECT_TRUE(is(ports.clip(), LV2_CORE__ControlPort) && is(ports.clip(), LV2_CORE__OutputPort));
    EXPECT_TRUE(has(ports.clip(), LV2_CORE__toggled));
    EXPECT_EQ(symbol(ports.clip()), "clip");
}

TEST_P(Lv2Layout, OneControlInputPerParameterDescribedAsTheTableSays) {
    const lv2ports::Ports ports{GetParam()};
    const ParamRow* table = staticParamTable();
    std::set<std::string> symbols;
    for (int32_t i = 0; i < kNumParams; ++i) {
        const ParamRow& row = table[i];
        const int32_t p = ports.param(i);
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ports.paramOf(p), i);
        ASSERT_TRUE(is(p, LV2_CORE__ControlPort) && is(p, LV2_CORE__InputPort));
        EXPECT_EQ(symbol(p), lv2ports::parameterSymbol(i));
        symbols.insert(symbol(p));

        LilvNode *def = nullptr, *min = nullptr, *max = nullptr;
        lilv_port_get_range(plugin, port(p), &def, &min, &max);
        ASSERT_TRUE(def && min && max);
        EXPECT_EQ(lilv_node_as_float(def), row.value);
        EXPECT_EQ(lilv_node_as_float(min), row.min);
        EXPECT_EQ(lilv_node_as_float(max), row.max);
        lilv_node_free(def);
        lilv_node_free(min);
        lilv_node_free(max);

        const bool toggled = row.curve == kCurveBool;
        const bool integer = row.curve == kCurveInt || row.curve == kCurveSixes;
        int32_t count = 0, first = 0;
        const char* const* words = choiceWords(i, &count, &first);
        // A list of words that names every value of an integer row is an enumeration.
        const bool enumeration = integer && words && first == row.min && first + count - 1 == row.max;
        EXPECT_EQ(has(p, LV2_CORE__toggled), toggled);
        EXPECT_EQ(has(p, LV2_CORE__integer), integer);
        EXPECT_EQ(has(p, LV2_CORE__enumeration), enumeration);

        // The words are the port's scale points, value for value.
        LilvScalePoints* points = lilv_port_get_scale_points(plugin, port(p));
        std::set<std::pair<float, std::string>> found, expected;
        LILV_FOREACH (scale_points, it, points) {
            const LilvScalePoint* point = lilv_scale_points_get(points, it);
            found.insert({lilv_node_as_float(lilv_scale_point_get_value(point)),
                          lilv_node_as_string(lilv_scale_point_get_label(point))});
        }
        lilv_scale_points_free(points);
        for (int32_t k = 0; words && k < count; ++k) expected.insert({float(first + k), words[k]});
        EXPECT_EQ(found, expected);
    }
    EXPECT_EQ(symbols.size(), size_t(kNumParams));
}

INSTANTIATE_TEST_SUITE_P(EveryLayout, Lv2Layout, ::testing::Range(1, lv2ports::kLayoutCount + 1), layoutTestName);
