#include "formats/lv2/ttl/BundleTurtle.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <tuple>

#include "core/ChannelLayout.h"
#include "core/ParamTable.h"
#include "formats/lv2/PortLayout.h"
#include "formats/lv2/ttl/TurtleText.h"
#include "core/PlugBaseJSON.h"

namespace lv2ttl {

namespace {

using Props = std::vector<std::string>;

constexpr const char* kGenerated =
    "# Made at build time by fenwoldrine-lv2-ttl from the parameter table and the\n"
    "# port layout of the effect. Edits here are lost on the next build.\n\n";

constexpr const char* kLicenseUri = "<urn:kestrawn:license>";
constexpr const char* kScaleUnitUri = "<urn:kestrawn:fenwoldrine:unit:scale>";
constexpr const char* kSlopeUnitUri = "<urn:kestrawn:fenwoldrine:unit:dbPerOctave>";
// The meters read kMeterFloorDb for silence; a level this far above full
// scale is as high as a meter port goes.
constexpr float kMeterCeilingDb = 24.0f;

struct Prefix {
    const char* name;
    const char* uri;
};

constexpr Prefix kPrefixes[] = {
    {"atom", "http://lv2plug.in/ns/ext/atom#"},
    {"bufsz", "http://lv2plug.in/ns/ext/buf-size#"},
    {"doap", "http://usefulinc.com/ns/doap#"},
    {"foaf", "http://xmlns.com/foaf/0.1/"},
    {"lv2", "http://lv2plug.in/ns/lv2core#"},
    {"log", "http://lv2plug.in/ns/ext/log#"},
    {"midi", "http://lv2plug.in/ns/ext/midi#"},
    {"opts", "http://lv2plug.in/ns/ext/options#"},
    {"param", "http://lv2plug.in/ns/ext/parameters#"},
    {"pg", "http://lv2plug.in/ns/ext/port-groups#"},
    {"pprop", "http://lv2plug.in/ns/ext/port-props#"},
    {"pset", "http://lv2plug.in/ns/ext/presets#"},
    {"rdf", "http://www.w3.org/1999/02/22-rdf-syntax-ns#"},
    {"rdfs", "http://www.w3.org/2000/01/rdf-schema#"},
    {"state", "http://lv2plug.in/ns/ext/state#"},
    {"units", "http://lv2plug.in/ns/extensions/units#"},
    {"urid", "http://lv2plug.in/ns/ext/urid#"},
    {"time", "http://lv2plug.in/ns/ext/time#"},
    {"ui", "http://lv2plug.in/ns/extensions/ui#"},
    {"work", "http://lv2plug.in/ns/ext/worker#"},
};

void writeHeader(TurtleText& t, std::initializer_list<std::string_view> names) {
    t << kGenerated;
    for (const Prefix& p : kPrefixes)
        if (std::find(names.begin(), names.end(), std::string_view(p.name)) != names.end())
            t << "@prefix " << p.name << ": <" << p.uri << "> .\n";
    t << '\n';
}

std::string prop(std::string_view predicate, std::string_view object) {
    std::string line(predicate);
    line.push_back(' ');
    line.append(object);
    return line;
}

std::string number(int value) {
    TurtleText t;
    t << value;
    return t.take();
}

std::string joined(const std::vector<std::string>& items, std::string_view separator) {
    std::string text;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text.append(separator);
        text.append(items[i]);
    }
    return text;
}

// "[ ... ]" over several lines, its properties one level below `indent`.
std::string blankNode(const Props& props, std::string_view indent) {
    std::string inner(indent);
    inner.push_back('\t');
    std::string separator(" ;\n");
    separator.append(inner);
    std::string text("[\n");
    text.append(inner).append(joined(props, separator)).append("\n").append(indent).append("]");
    return text;
}

void writeSubject(TurtleText& t, std::string_view subject, const Props& props) {
    t << subject << "\n\t" << joined(props, " ;\n\t") << " .\n\n";
}

std::string bracketed(const std::string& uri) {
    std::string text("<");
    text.append(uri).append(">");
    return text;
}

// ---- Channels ----

// Where each channel label of our layouts sits in the port-groups vocabulary.
struct ChannelDesignation {
    const char* label;
    const char* designation;
};

constexpr ChannelDesignation kChannelDesignations[] = {
    {"Mono", "pg:center"},        {"Left", "pg:left"},          {"Right", "pg:right"},
    {"Center", "pg:center"},      {"Surr", "pg:rearCenter"},    {"Ls", "pg:rearLeft"},
    {"Rs", "pg:rearRight"},       {"Lc", "pg:centerLeft"},      {"Rc", "pg:centerRight"},
    {"LFE", "pg:lowFrequencyEffects"},
};

const char* designationOf(const char* label) {
    for (const ChannelDesignation& d : kChannelDesignations)
        if (std::string_view(d.label) == label) return d.designation;
    std::string what("no port designation for the channel label '");
    what.append(label).append("'");
    throw std::runtime_error(what);
}

// The vocabulary's group class whose channels are exactly those of a layout.
// LCR and 7.0 have none (its 3.0 group has a rear centre, not a centre), so
// they are plain discrete groups. The 7.1 layout has left and right centre
// channels: the wide 7.1 group.
const char* groupClassOf(int32_t channels) {
    static constexpr const char* kClasses[] = {
        "pg:MonoGroup",         "pg:StereoGroup",        "pg:DiscreteGroup", "pg:FourPointZeroGroup",
        "pg:FivePointZeroGroup", "pg:FivePointOneGroup", "pg:DiscreteGroup", "pg:SevenPointOneWideGroup"};
    return kClasses[channels - 1];
}

// The channel labels in port order, which is the host's order.
std::vector<const char*> labelsInPortOrder(int32_t channels) {
    const std::vector<ChannelSlot> slots = standardChannelLayout(channels);
    std::vector<const char*> labels(slots.size(), nullptr);
    for (const ChannelSlot& slot : slots) {
        if (slot.hostIndex < 0 || size_t(slot.hostIndex) >= labels.size() || labels[size_t(slot.hostIndex)])
            throw std::runtime_error("a channel layout does not give each host channel one slot");
        labels[size_t(slot.hostIndex)] = slot.label;
    }
    return labels;
}

// "in_left" from "in" and "Left": lower case, other characters as '_'.
std::string portSymbol(std::string_view prefix, std::string_view label) {
    std::string symbol(prefix);
    symbol.push_back('_');
    for (const char c : label) {
        const auto u = static_cast<unsigned char>(c);
        symbol.push_back(std::isalnum(u) ? char(std::tolower(u)) : '_');
    }
    return symbol;
}

std::string spaced(std::string_view first, std::string_view second) {
    std::string text(first);
    text.push_back(' ');
    text.append(second);
    return text;
}

std::string audioGroupUri(int32_t channels, bool input) {
    std::string uri = lv2ports::pluginUri(channels);
    uri.append(input ? ":in" : ":out");
    return bracketed(uri);
}

// ---- Parameter rows ----

bool isIntegerCurve(int32_t curve) {
    return curve == kCurveInt || curve == kCurveSixes || curve == kCurveTwelves || curve == kCurveOctave ||
           curve == kCurveFloor;
}

// The unit of a row's real value, when the vocabulary (or one of ours) has it.
const char* unitOf(int32_t index) {
    // A band's gain is a fraction of the Scale row, shown in dB only after
    // multiplying by it; its slope is in dB per octave.
    if (isBandGain(index)) return kScaleUnitUri;
    if (bandFieldOf(index) == kFieldSlope) return kSlopeUnitUri;
    const std::string_view unit = staticParamTable()[index].unit;
    if (unit == "dB") return "units:db";
    if (unit == "Hz") return "units:hz";
    if (unit == "%") return "units:pc";
    if (unit == "Level") return "units:coef";  // a linear gain, 1 is unity
    return nullptr;
}

std::string parameterGroupUri(std::string_view symbol) {
    std::string uri("<urn:kestrawn:fenwoldrine:group:");
    uri.append(symbol).append(">");
    return uri;
}

// The group of a row: its channel or its band; none for the global rows.
std::string parameterGroupSymbol(int32_t index) {
    std::string symbol;
    if (index >= kFirstChannelParam && index < kFirstBandParam) {
        symbol = "channel_";
        symbol.append(number((index - kFirstChannelParam) / kNumChannelFields + 1));
    } else if (bandIndexOf(index) >= 0) {
        symbol = "band_";
        symbol.append(number(bandIndexOf(index) + 1));
    }
    return symbol;
}

// Everything of a parameter port but its index, the same in every plug-in.
Props parameterPortProps(int32_t index, Notes& notes) {
    const ParamRow& row = staticParamTable()[index];
    Props props{"a lv2:InputPort , lv2:ControlPort"};
    props.push_back(prop("lv2:symbol", turtleString(lv2ports::parameterSymbol(index))));
    props.push_back(prop("lv2:name", turtleString(row.name)));

    const float clamped = std::clamp(row.value, row.min, row.max);
    if (clamped != row.value) {
        std::string note("the default of '");
        note.append(row.name).append("' (").append(turtleDecimal(row.value)).append(") lies outside ");
        note.append(turtleDecimal(row.min)).append("..").append(turtleDecimal(row.max)).append(": written as ");
        notes.push_back(note.append(turtleDecimal(clamped)));
    }
    props.push_back(prop("lv2:default", turtleDecimal(clamped)));
    props.push_back(prop("lv2:minimum", turtleDecimal(row.min)));
    props.push_back(prop("lv2:maximum", turtleDecimal(row.max)));
    if (const char* unit = unitOf(index)) props.push_back(prop("units:unit", unit));

    int32_t count = 0, first = 0;
    const char* const* words = choiceWords(index, &count, &first);
    const bool toggled = row.curve == kCurveBool;
    const bool integer = isIntegerCurve(row.curve);
    // An enumeration only when the words name every value of the range;
    // otherwise they label the values they have.
    const bool enumeration = integer && words && float(first) == row.min && float(first + count - 1) == row.max;
    Props properties;
    if (toggled) properties.push_back("lv2:toggled");
    if (integer) properties.push_back("lv2:integer");
    if (enumeration) properties.push_back("lv2:enumeration");
    if (row.curve == kCurveLog || row.curve == kCurveOctave) properties.push_back("pprop:logarithmic");
    // Changing these redesigns the filters on the worker.
    if (isDspParameter(index)) properties.push_back("pprop:expensive");
    if (!properties.empty()) props.push_back(prop("lv2:portProperty", joined(properties, " , ")));

    // Steps wider than one (the slopes go in sixes) say more than lv2:integer.
    const int32_t steps = curveStepCount(row.curve, row.min, row.max);
    if (integer && steps >= 2 && (row.max - row.min) / float(steps - 1) != 1.0f)
        props.push_back(prop("pprop:rangeSteps", number(steps)));

    if (words) {
        Props points;
        for (int32_t k = 0; k < count; ++k) {
            std::string point("[ rdfs:label ");
            point.append(turtleString(words[k])).append(" ; rdf:value ");
            points.push_back(point.append(turtleDecimal(float(first + k))).append(" ]"));
        }
        props.push_back(prop("lv2:scalePoint", joined(points, " , ")));
    }

    const std::string group = parameterGroupSymbol(index);
    if (!group.empty()) props.push_back(prop("pg:group", parameterGroupUri(group)));
    return props;
}

Props controlOutputProps(std::string_view symbol, std::string_view name) {
    return {"a lv2:OutputPort , lv2:ControlPort", prop("lv2:symbol", turtleString(symbol)),
            prop("lv2:name", turtleString(name))};
}

Props toggleInputProps(std::string_view symbol, std::string_view name, std::string_view designation, float value) {
    return {"a lv2:InputPort , lv2:ControlPort",      prop("lv2:symbol", turtleString(symbol)),
            prop("lv2:name", turtleString(name)),     prop("lv2:designation", designation),
            prop("lv2:default", turtleDecimal(value)), prop("lv2:minimum", "0.0"),
            prop("lv2:maximum", "1.0")};
}

// The ports of one plug-in, in the order of PortLayout.
std::vector<std::string> portsOf(int32_t channels, const std::vector<Props>& parameterPorts) {
    const lv2ports::Ports ports{channels};
    const std::vector<const char*> labels = labelsInPortOrder(channels);
    std::vector<Props> list(size_t(ports.count()));
    auto at = [&](int32_t port) -> Props& { return list[size_t(port)]; };

    for (int32_t c = 0; c < channels; ++c) {
        const char* designation = designationOf(labels[size_t(c)]);
        for (const bool input : {true, false}) {
            Props& p = at(input ? ports.audioIn(c) : ports.audioOut(c));
            p = {input ? "a lv2:InputPort , lv2:AudioPort" : "a lv2:OutputPort , lv2:AudioPort",
                 prop("lv2:symbol", turtleString(portSymbol(input ? "in" : "out", labels[size_t(c)]))),
                 prop("lv2:name", turtleString(spaced(input ? "In" : "Out", labels[size_t(c)]))),
                 prop("lv2:designation", designation), prop("pg:group", audioGroupUri(channels, input))};
        }
        Props& meter = at(ports.meter(c));
        meter = controlOutputProps(portSymbol("meter", labels[size_t(c)]), spaced("Meter", labels[size_t(c)]));
        meter.push_back(prop("lv2:minimum", turtleDecimal(lv2ports::kMeterFloorDb)));
        meter.push_back(prop("lv2:maximum", turtleDecimal(kMeterCeilingDb)));
        meter.push_back(prop("units:unit", "units:db"));
    }
    for (int32_t i = 0; i < kNumParams; ++i) at(ports.param(i)) = parameterPorts[size_t(i)];

    at(ports.enabled()) = toggleInputProps("enabled", "Enabled", "lv2:enabled", 1.0f);
    at(ports.enabled()).push_back(prop("lv2:portProperty", "lv2:toggled"));
    at(ports.freeWheel()) = toggleInputProps("freewheel", "Free-wheeling", "lv2:freeWheeling", 0.0f);
    at(ports.freeWheel()).push_back(prop("lv2:portProperty", "lv2:toggled , pprop:notOnGUI"));

    Props& latency = at(ports.latency());
    latency = controlOutputProps("latency", "Latency");
    latency.push_back(prop("lv2:designation", "lv2:latency"));
    latency.push_back(prop("lv2:portProperty", "lv2:reportsLatency , lv2:integer"));
    latency.push_back(prop("lv2:minimum", "0.0"));
    latency.push_back(prop("units:unit", "units:frame"));

    at(ports.midiIn()) = {"a lv2:InputPort , atom:AtomPort", prop("lv2:symbol", turtleString("midi_in")),
                          prop("lv2:name", turtleString("MIDI In")), prop("atom:bufferType", "atom:Sequence"),
                          prop("atom:supports", "midi:MidiEvent , time:Position"), prop("lv2:designation", "lv2:control"),
                          // Runs without MIDI: a host with no event support may leave it alone.
                          prop("lv2:portProperty", "lv2:connectionOptional")};

    Props& clip = at(ports.clip());
    clip = controlOutputProps("clip", "Clip");
    clip.push_back(prop("lv2:minimum", "0.0"));
    clip.push_back(prop("lv2:maximum", "1.0"));
    clip.push_back(prop("lv2:portProperty", "lv2:toggled"));

    std::vector<std::string> blanks;
    for (int32_t port = 0; port < ports.count(); ++port) {
        Props& p = at(port);
        if (p.empty()) throw std::runtime_error("the port layout has a port the generator does not describe");
        p.insert(p.begin() + 1, prop("lv2:index", number(port)));
        blanks.push_back(blankNode(p, "\t"));
    }
    return blanks;
}

void writeAudioGroups(TurtleText& t, int32_t channels) {
    const char* cls = groupClassOf(channels);
    writeSubject(t, audioGroupUri(channels, true),
                 {prop("a", joined({cls, "pg:InputGroup"}, " , ")), prop("lv2:symbol", turtleString("main_in")),
                  prop("lv2:name", turtleString("Input"))});
    writeSubject(t, audioGroupUri(channels, false),
                 {prop("a", joined({cls, "pg:OutputGroup"}, " , ")), prop("lv2:symbol", turtleString("main_out")),
                  prop("lv2:name", turtleString("Output")), prop("pg:source", audioGroupUri(channels, true))});
}

void writeParameterGroups(TurtleText& t) {
    for (const auto& [prefix, name, count] :
         {std::tuple{"channel_", "Channel ", kNumChannels}, std::tuple{"band_", "Band ", kNumBands}}) {
        for (int32_t k = 1; k <= count; ++k) {
            std::string symbol(prefix), label(name);
            symbol.append(number(k));
            label.append(number(k));
            writeSubject(t, parameterGroupUri(symbol),
                         {"a pg:InputGroup", prop("lv2:symbol", turtleString(symbol)),
                          prop("lv2:name", turtleString(label))});
        }
    }
}

void writeUnits(TurtleText& t) {
    writeSubject(t, kScaleUnitUri,
                 {"a units:Unit", prop("rdfs:label", turtleString("fraction of Scale")),
                  prop("units:symbol", turtleString("x Scale")), prop("units:render", turtleString("%f x Scale"))});
    writeSubject(t, kSlopeUnitUri,
                 {"a units:Unit", prop("rdfs:label", turtleString("decibels per octave")),
                  prop("units:symbol", turtleString("dB/oct")), prop("units:render", turtleString("%f dB/oct"))});
}

std::string pluginName(const Product& product, int32_t channels) {
    std::string name = product.name;
    name.append(" (").append(channelLayoutName(channels)).append(")");
    return name;
}

}  // namespace

std::string presetUri(int32_t channels, int32_t program) {
    std::string uri = lv2ports::pluginUri(channels);
    uri.append(":preset:").append(number(program + 1));
    return uri;
}

std::string presetsFileName(int32_t channels) {
    std::string name("presets-");
    name.append(channelLayoutName(channels)).append(".ttl");
    return name;
}

std::string manifestTurtle(const std::vector<FactoryPreset>& presets) {
    TurtleText t;
    writeHeader(t, {"lv2", "opts", "pset", "rdfs", "ui", "urid"});
    // The editor: an X11 UI in the plug-in's own binary, working on the
    // plug-in instance itself, so a host must offer instance access. It
    // follows the host's scale for dense screens, at open and later.
    const std::string ui = bracketed(lv2ports::kUiUri);
    writeSubject(t, ui,
                 {"a ui:X11UI", prop("lv2:binary", bracketed(kBinaryFile)),
                  prop("lv2:requiredFeature", "<http://lv2plug.in/ns/ext/instance-access>"),
                  prop("lv2:optionalFeature",
                       "ui:parent , ui:resize , ui:touch , ui:idleInterface , opts:options , urid:map"),
                  prop("opts:supportedOption", "ui:scaleFactor"),
                  prop("lv2:extensionData", "ui:idleInterface , opts:interface")});
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        const std::string plugin = bracketed(lv2ports::pluginUri(channels));
        writeSubject(t, plugin,
                     {"a lv2:Plugin", prop("lv2:binary", bracketed(kBinaryFile)),
                      prop("rdfs:seeAlso", bracketed(kPluginsFile)), prop("ui:ui", ui)});
        for (const FactoryPreset& preset : presets)
            writeSubject(t, bracketed(presetUri(channels, preset.program)),
                         {"a pset:Preset", prop("lv2:appliesTo", plugin),
                          prop("rdfs:label", turtleString(preset.name)),
                          prop("rdfs:seeAlso", bracketed(presetsFileName(channels)))});
    }
    return t.take();
}

std::string pluginsTurtle(const Product& product, Notes& notes) {
    TurtleText t;
    writeHeader(t, {"atom", "bufsz", "doap", "foaf", "log", "lv2", "midi", "opts", "param", "pg", "pprop", "rdf", "rdfs",
                    "state", "time", "units", "urid", "work"});
    t << "# Versions: LV2 hosts keep the newest of two bundles with the same plug-in,\n"
         "# comparing lv2:minorVersion and then lv2:microVersion, and take an odd\n"
         "# minor version for a development build. The minor version stays 0 (a\n"
         "# release) and the micro version is the product version without its point,\n"
         "# as the effect reports it (1.59 is 159), so every later release compares\n"
         "# newer.\n\n";

    std::vector<Props> parameterPorts;
    for (int32_t i = 0; i < kNumParams; ++i) parameterPorts.push_back(parameterPortProps(i, notes));

    std::string maintainer("[ foaf:name ");
    maintainer.append(turtleString(product.vendor)).append(" ]");
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        Props props{"a lv2:Plugin , lv2:EQPlugin , doap:Project",
                    prop("doap:name", turtleString(pluginName(product, channels))),
                    prop("doap:license", kLicenseUri),
                    prop("doap:maintainer", maintainer),
                    prop("lv2:minorVersion", "0"),
                    prop("lv2:microVersion", number(product.version)),
                    prop("lv2:optionalFeature",
                         "lv2:hardRTCapable , urid:map , opts:options , bufsz:boundedBlockLength , work:schedule , "
                         "log:log"),
                    prop("lv2:extensionData", "state:interface , work:interface"),
                    prop("opts:supportedOption", "param:sampleRate , bufsz:nominalBlockLength , bufsz:maxBlockLength"),
                    prop("pg:mainInput", audioGroupUri(channels, true)),
                    prop("pg:mainOutput", audioGroupUri(channels, false))};
        props.push_back(prop("lv2:port", joined(portsOf(channels, parameterPorts), " , ")));
        writeSubject(t, bracketed(lv2ports::pluginUri(channels)), props);
        writeAudioGroups(t, channels);
    }
    writeParameterGroups(t);
    writeUnits(t);
    std::string license("Proprietary. Copyright ");
    license.append(product.vendor).append(", all rights reserved.");
    writeSubject(t, kLicenseUri, {prop("rdfs:label", turtleString(license))});
    return t.take();
}

std::string presetsTurtle(int32_t channels, const std::vector<FactoryPreset>& presets, Notes& notes) {
    TurtleText t;
    writeHeader(t, {"lv2", "pset", "rdfs"});
    const std::string plugin = bracketed(lv2ports::pluginUri(channels));
    for (const FactoryPreset& preset : presets) {
        if (preset.values.size() != size_t(kNumParams))
            throw std::runtime_error("a factory preset does not hold a value for every parameter");
        std::vector<std::string> values;
        for (int32_t i = 0; i < kNumParams; ++i) {
            bool replaced = false;
            std::string value("[ lv2:symbol ");
            value.append(turtleString(lv2ports::parameterSymbol(i))).append(" ; pset:value ");
            value.append(turtleDecimal(preset.values[size_t(i)], &replaced)).append(" ]");
            values.push_back(std::move(value));
            // Every layout writes the same values: report them once.
            if (replaced && channels == 1) {
                std::string note("preset '");
                note.append(preset.name).append("': '").append(staticParamTable()[i].name);
                notes.push_back(note.append("' is not a finite number; written as the nearest one"));
            }
        }
        writeSubject(t, bracketed(presetUri(channels, preset.program)),
                     {"a pset:Preset", prop("lv2:appliesTo", plugin), prop("rdfs:label", turtleString(preset.name)),
                      prop("lv2:port", joined(values, " ,\n\t\t"))});
    }
    return t.take();
}

}  // namespace lv2ttl
