// Feeds arbitrary bytes to the LV2 plug-in as the state a host hands back on
// restore, through the plug-in's state interface. Nothing may crash, hang or
// leak; a refused state must leave the instance as it was; an accepted one
// must come back from its own save, and the instance must then run. Every
// input starts from the same state, so a finding replays on its own.

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/parameters/parameters.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "formats/lv2/plugin/PluginInstance.h"
#include "formats/lv2plugin/Lv2TestHost.h"
#include "state/ChunkCodec.h"

namespace {

// The host's side of state: one property, stored and handed back.
struct Property {
    uint32_t key = 0, type = 0;
    std::vector<uint8_t> bytes;

    static LV2_State_Status store(LV2_State_Handle h, uint32_t key, const void* value, size_t size, uint32_t type,
                                  uint32_t) {
        const auto* bytes = static_cast<const uint8_t*>(value);
        *static_cast<Property*>(h) = {key, type, {bytes, bytes + size}};
        return LV2_STATE_SUCCESS;
    }
    static const void* retrieve(LV2_State_Handle h, uint32_t key, size_t* size, uint32_t* type, uint32_t* flags) {
        const auto* p = static_cast<const Property*>(h);
        *size = p->bytes.size(), *type = p->type, *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
        return key == p->key ? (p->bytes.empty() ? static_cast<const void*>("") : p->bytes.data()) : nullptr;
    }
};

// Messages about refused states are expected by the thousand; the log
// counts them instead of printing them.
int vprintfQuietly(LV2_Log_Handle h, LV2_URID, const char*, va_list) {
    ++*static_cast<int*>(h);
    return 0;
}
int printfQuietly(LV2_Log_Handle h, LV2_URID, const char*, ...) {
    ++*static_cast<int*>(h);
    return 0;
}

struct Host {
    const lv2ports::Ports ports{2};
    const LV2_Descriptor& desc = *lv2_descriptor(uint32_t(ports.channels - 1));
    UridMap urids;
    float rate = 48000.0f;
    int32_t maxBlock = 256;
    int logged = 0;
    LV2_Log_Log log{&logged, printfQuietly, vprintfQuietly};
    std::vector<LV2_Options_Option> options;
    std::vector<float> controls;
    std::vector<std::vector<float>> audio{4, std::vector<float>(256, 0.0f)};
    alignas(8) uint8_t midi[256] = {};
    LV2_Handle handle = nullptr;
    const LV2_State_Interface* state = nullptr;

    Host() {
        options = {{LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_PARAMETERS__sampleRate), 4, urids.map(LV2_ATOM__Float), &rate},
                   {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_BUF_SIZE__maxBlockLength), 4, urids.map(LV2_ATOM__Int),
                    &maxBlock},
                   {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
        const LV2_Feature optionsFeature{LV2_OPTIONS__options, options.data()};
        const LV2_Feature mapFeature{LV2_URID__map, &urids.feature};
        const LV2_Feature logFeature{LV2_LOG__log, &log};
        const LV2_Feature* features[] = {&optionsFeature, &mapFeature, &logFeature, nullptr};
        handle = desc.instantiate(&desc, double(rate), "/", features);
        if (handle == nullptr) std::abort();
        state = static_cast<const LV2_State_Interface*>(desc.extension_data(LV2_STATE__interface));
        controls.assign(size_t(ports.count()), 0.0f);
        for (int32_t i = 0; i < kNumParams; ++i) controls[size_t(ports.param(i))] = staticParamTable()[i].value;
        controls[size_t(ports.enabled())] = 1.0f;
        for (int32_t p = 0; p < ports.count(); ++p) {
            void* where = &controls[size_t(p)];
            if (p < 2 * ports.channels) where = audio[size_t(p)].data();
            if (p == ports.midiIn()) where = midi;
            desc.connect_port(handle, uint32_t(p), where);
        }
        desc.activate(handle);
        run();
    }
    ~Host() { desc.cleanup(handle); }

    void run() {
        *reinterpret_cast<LV2_Atom_Sequence*>(midi) = {{sizeof(LV2_Atom_Sequence_Body), urids.map(LV2_ATOM__Sequence)},
                                                       {0, 0}};
        desc.run(handle, uint32_t(maxBlock));
    }
    Property save() {
        Property p;
        if (state->save(handle, &Property::store, &p, 0, nullptr) != LV2_STATE_SUCCESS) {
            std::fprintf(stderr, "the state could not be saved\n");
            std::abort();
        }
        return p;
    }
    LV2_State_Status restore(const Property& p) {
        return state->restore(handle, &Property::retrieve, const_cast<Property*>(&p), 0, nullptr);
    }
};

void require(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// Names the first line where two saved states part, for the finding's report.
void requireSame(const Property& expected, const Property& found, const char* what) {
    if (found.bytes == expected.bytes) return;
    const std::vector<uint8_t> x = decodeChunk(expected.bytes.data(), int32_t(expected.bytes.size()));
    const std::vector<uint8_t> y = decodeChunk(found.bytes.data(), int32_t(found.bytes.size()));
    const std::string a(x.begin(), x.end()), b(y.begin(), y.end());
    size_t at = 0;
    while (at < a.size() && at < b.size() && a[at] == b[at]) ++at;
    const size_t from = a.rfind('\n', at) == std::string::npos ? 0 : a.rfind('\n', at) + 1;
    std::fprintf(stderr, "%s\nexpected: %.160s\nfound:    %.160s\n", what, a.c_str() + from,
                 b.c_str() + std::min(from, b.size()));
    std::abort();
}

struct Fixture {
    Host host;
    Property baseline;
    Fixture() {
        host.restore(host.save());  // the baseline is a restored state
        baseline = host.save();
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzsupport::useTemporaryHome();
    fixture();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (size_t(1) << 20)) return -1;
    Fixture& f = fixture();
    Host& host = f.host;
    Property given{host.urids.map(fwlv2::kChunkKeyUri), host.urids.map(LV2_ATOM__Chunk), {data, data + size}};
    const LV2_State_Status status = host.restore(given);
    if (status != LV2_STATE_SUCCESS) {
        requireSame(f.baseline, host.save(), "a refused state changed the instance");
        return 0;
    }
    // A document may hold programs and A/B slots that disagree, which the
    // first save can still show; from the plug-in's own save on, the state
    // must settle.
    const Property once = host.save();
    require(host.restore(once) == LV2_STATE_SUCCESS, "a saved state was refused");
    const Property twice = host.save();
    require(host.restore(twice) == LV2_STATE_SUCCESS, "a saved state was refused");
    requireSame(twice, host.save(), "a restored state saves differently from how it was saved");
    host.run();
    require(host.restore(f.baseline) == LV2_STATE_SUCCESS, "the starting state was refused");
    return 0;
}
