#pragma once
// A minimal LV2 host for the adaptor's tests: a URID map, the options, a log
// that keeps what it is told, an optional worker that only counts requests
// (the test does the work when it chooses), a buffer behind every port, and
// one state property kept for the plug-in.

#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/parameters/parameters.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "formats/lv2/plugin/PluginInstance.h"

struct UridMap {
    std::map<std::string, LV2_URID, std::less<>> ids;
    LV2_URID map(const char* uri) {
        const auto known = ids.find(uri);
        return known != ids.end() ? known->second : ids.emplace(uri, LV2_URID(ids.size() + 1)).first->second;
    }
    LV2_URID_Map feature{this, [](LV2_URID_Map_Handle h, const char* uri) {
                             return static_cast<UridMap*>(h)->map(uri);
                         }};
};

struct HostSetup {
    int32_t channels = 2;
    double sampleRate = 48000.0;
    bool withMap = true;
    bool withWorker = false;  // without it run() carries out every change before its block
    int32_t maxBlock = 1024;  // bufsz:maxBlockLength
};

// The host's side of state: one stored property, handed back on retrieve
// (with claimedSize, retrieve reports that size instead of the real one).
struct StoredProperty {
    uint32_t key = 0, type = 0, flags = 0;
    std::vector<uint8_t> bytes;
    size_t claimedSize = 0;

    static LV2_State_Status store(LV2_State_Handle h, uint32_t key, const void* value, size_t size, uint32_t type,
                                  uint32_t flags) {
        const auto* bytes = static_cast<const uint8_t*>(value);
        *static_cast<StoredProperty*>(h) = {key, type, flags, {bytes, bytes + size}, 0};
        return LV2_STATE_SUCCESS;
    }
    static const void* retrieve(LV2_State_Handle h, uint32_t key, size_t* size, uint32_t* type, uint32_t* flags) {
        const auto* p = static_cast<StoredProperty*>(h);
        *size = p->claimedSize ? p->claimedSize : p->bytes.size(), *type = p->type, *flags = p->flags;
        return key == p->key ? (p->bytes.empty() ? static_cast<const void*>("") : p->bytes.data()) : nullptr;
    }
};

class Lv2TestHost {
public:
    explicit Lv2TestHost(const HostSetup& setup)
        : ports{setup.channels}, rate(float(setup.sampleRate)), maxBlock(setup.maxBlock) {
        options = {{LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_PARAMETERS__sampleRate), 4, urids.map(LV2_ATOM__Float), &rate},
                   {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_BUF_SIZE__maxBlockLength), 4, urids.map(LV2_ATOM__Int),
                    &maxBlock},
                   {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
        features = {{LV2_OPTIONS__options, options.data()},
                    {LV2_URID__map, &urids.feature},
                    {LV2_WORKER__schedule, &worker},
                    {LV2_LOG__log, &logFeature}};
        const LV2_Feature* list[] = {&features[0], &features[3], nullptr, nullptr, nullptr};
        if (setup.withMap) list[2] = &features[1];
        if (setup.withMap && setup.withWorker) list[3] = &features[2];
        handle = desc.instantiate(&desc, setup.sampleRate, "/", list);
        if (!handle) return;
        controls.assign(size_t(ports.count()), 0.0f);
        for (int32_t i = 0; i < kNumParams; ++i) param(i) = staticParamTable()[i].value;
        controls[size_t(ports.enabled())] = 1.0f;
        in.assign(size_t(setup.channels), {});
        out = in;
        for (int32_t p = 2 * setup.channels; p < ports.count(); ++p)
            desc.connect_port(handle, uint32_t(p),
                              p == ports.midiIn() ? static_cast<void*>(midi) : &controls[size_t(p)]);
        clearMidi();
    }
    ~Lv2TestHost() {
        if (handle) desc.cleanup(handle);
    }

    fwlv2::PluginInstance& plugin() { return *static_cast<fwlv2::PluginInstance*>(handle); }
    Plug& effect() { return plugin().effect(); }
    void activate() { desc.activate(handle); }
    float& param(int32_t index) { return controls[size_t(ports.param(index))]; }
    float& control(int32_t port) { return controls[size_t(port)]; }

    // Runs from in[c][offset] into out[c][offset]; the MIDI added goes with it.
    void run(uint32_t frames, size_t offset = 0) {
        for (size_t c = 0; c < in.size(); ++c) {
            in[c].resize(std::max(in[c].size(), offset + frames));
            out[c].resize(in[c].size());
            desc.connect_port(handle, uint32_t(ports.audioIn(int32_t(c))), in[c].data() + offset);
            desc.connect_port(handle, uint32_t(ports.audioOut(int32_t(c))), out[c].data() + offset);
        }
        desc.run(handle, frames);
        clearMidi();
    }
    void addMidi(int64_t frame, uint8_t status, uint8_t d1, uint8_t d2) {
        struct {
            LV2_Atom_Event event;
            uint8_t bytes[3];
        } m{{{frame}, {3, urids.map(LV2_MIDI__MidiEvent)}}, {status, d1, d2}};
        lv2_atom_sequence_append_event(sequence(), sizeof midi - sizeof(LV2_Atom), &m.event);
    }
    // The host's transport at the block's start, as a time:Position object.
    void addTransport(float bpm, int64_t bar, float barBeat, float beatsPerBar, int32_t beatUnit, float speed,
                      int64_t frame) {
        alignas(8) uint8_t event[264] = {};  // the event's time (frame 0), then the object
        LV2_Atom_Forge forge;
        lv2_atom_forge_init(&forge, &urids.feature);
        lv2_atom_forge_set_buffer(&forge, event + sizeof(int64_t), sizeof event - sizeof(int64_t));
        LV2_Atom_Forge_Frame object;
        lv2_atom_forge_object(&forge, &object, 0, urids.map(LV2_TIME__Position));
        auto key = [&](const char* uri) { lv2_atom_forge_key(&forge, urids.map(uri)); };
        key(LV2_TIME__beatsPerMinute), lv2_atom_forge_float(&forge, bpm);
        key(LV2_TIME__bar), lv2_atom_forge_long(&forge, bar);
        key(LV2_TIME__barBeat), lv2_atom_forge_float(&forge, barBeat);
        key(LV2_TIME__beatsPerBar), lv2_atom_forge_float(&forge, beatsPerBar);
        key(LV2_TIME__beatUnit), lv2_atom_forge_int(&forge, beatUnit);
        key(LV2_TIME__speed), lv2_atom_forge_float(&forge, speed);
        key(LV2_TIME__frame), lv2_atom_forge_long(&forge, frame);
        lv2_atom_forge_pop(&forge, &object);
        lv2_atom_sequence_append_event(sequence(), sizeof midi - sizeof(LV2_Atom), reinterpret_cast<LV2_Atom_Event*>(event));
    }
    // What a host's worker thread does with the requests.
    void doWork() {
        auto* work = static_cast<const LV2_Worker_Interface*>(desc.extension_data(LV2_WORKER__interface));
        work->work(handle, nullptr, nullptr, 0, nullptr);
    }
    LV2_State_Status save(StoredProperty& into) {
        return stateInterface().save(handle, &StoredProperty::store, &into, 0, nullptr);
    }
    LV2_State_Status restore(StoredProperty& from) {
        return stateInterface().restore(handle, &StoredProperty::retrieve, &from, 0, nullptr);
    }

    const lv2ports::Ports ports;
    const LV2_Descriptor& desc = *lv2_descriptor(uint32_t(ports.channels - 1));
    LV2_Handle handle = nullptr;
    UridMap urids;
    std::vector<std::string> log;  // every line the plug-in wrote, in order
    std::vector<std::vector<float>> in, out;
    int32_t workRequests = 0;

private:
    LV2_Atom_Sequence* sequence() { return reinterpret_cast<LV2_Atom_Sequence*>(midi); }
    void clearMidi() { *sequence() = {{sizeof(LV2_Atom_Sequence_Body), urids.map(LV2_ATOM__Sequence)}, {0, 0}}; }
    const LV2_State_Interface& stateInterface() {
        return *static_cast<const LV2_State_Interface*>(desc.extension_data(LV2_STATE__interface));
    }
    static int print(LV2_Log_Handle h, LV2_URID, const char* format, std::va_list args) {
        char line[512];
        const int n = std::vsnprintf(line, sizeof line, format, args);
        static_cast<Lv2TestHost*>(h)->log.emplace_back(line);
        return n;
    }
    static int printLine(LV2_Log_Handle h, LV2_URID type, const char* format, ...) {
        std::va_list args;
        va_start(args, format);
        const int n = print(h, type, format, args);
        va_end(args);
        return n;
    }

    float rate;
    int32_t maxBlock;
    LV2_Log_Log logFeature{this, printLine, print};
    LV2_Worker_Schedule worker{this, [](LV2_Worker_Schedule_Handle h, uint32_t, const void*) {
                                   ++static_cast<Lv2TestHost*>(h)->workRequests;
                                   return LV2_WORKER_SUCCESS;
                               }};
    std::vector<LV2_Options_Option> options;
    std::vector<LV2_Feature> features;
    std::vector<float> controls;
    alignas(8) uint8_t midi[4096] = {};
};

// The real value of a row at fraction t of its range, and the norm the effect gets for it.
inline float rowValueAt(int32_t index, double t) {
    const ParamRow& row = staticParamTable()[index];
    return float(row.min + t * (double(row.max) - row.min));
}
inline float normOf(int32_t index, float real) {
    return float(curveToNorm(staticParamTable()[index], double(real)));
}
