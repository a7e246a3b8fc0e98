// Feeds arbitrary bytes to the LV2 plug-in as the state a host hands back on
// restore, through the plug-in's state interface. Nothing may crash, hang or
// leak; a refused state must leave the instance as it was; an accepted one
// must come back from its own save, and the instance must then run. Every
// input starts from the same state, so a finding replays on its own.

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

void require(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// Names the first line where two saved states part, for the finding's report.
void requireSame(const StoredProperty& expected, const StoredProperty& found, const char* what) {
    if (found.bytes == expected.bytes) return;
    const std::vector<uint8_t> x = decodeChunk(expected.bytes.data(), int32_t(expected.bytes.size()));
    const std::vector<uint8_t> y = decodeChunk(found.bytes.data(), int32_t(found.bytes.size()));
    fuzzsupport::abortWithDifference(what, std::string(x.begin(), x.end()), std::string(y.begin(), y.end()));
}

// The adaptor's test host at 48 kHz in blocks of 256, without a worker;
// messages about refused states come by the thousand and are dropped.
struct Host : Lv2TestHost {
    Host() : Lv2TestHost({2, 48000.0, true, false, 256}) {
        require(handle != nullptr, "the plug-in could not be instantiated");
        activate();
        run();
    }
    void run() {
        Lv2TestHost::run(256);
        log.clear();
    }
    StoredProperty save() {
        StoredProperty p;
        require(Lv2TestHost::save(p) == LV2_STATE_SUCCESS, "the state could not be saved");
        return p;
    }
    LV2_State_Status restore(const StoredProperty& p) {
        StoredProperty given = p;
        const LV2_State_Status status = Lv2TestHost::restore(given);
        log.clear();
        return status;
    }
};

struct Fixture {
    Host host;
    StoredProperty baseline;
    Fixture() {
        host.restore(host.save());  // the baseline is a restored state
        baseline = host.save();
    }
};

int fuzzOne(Fixture& f, const uint8_t* data, size_t size) {
    Host& host = f.host;
    const StoredProperty given{host.urids.map(fwlv2::kChunkKeyUri), host.urids.map(LV2_ATOM__Chunk),
                               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, {data, data + size}};
    const LV2_State_Status status = host.restore(given);
    if (status != LV2_STATE_SUCCESS) {
        requireSame(f.baseline, host.save(), "a refused state changed the instance");
        return 0;
    }
    // A document may hold programs and A/B slots that disagree, which the
    // first save can still show; from the plug-in's own save on, the state
    // must settle.
    const StoredProperty once = host.save();
    require(host.restore(once) == LV2_STATE_SUCCESS, "a saved state was refused");
    const StoredProperty twice = host.save();
    require(host.restore(twice) == LV2_STATE_SUCCESS, "a saved state was refused");
    requireSame(twice, host.save(), "a restored state saves differently from how it was saved");
    host.run();
    require(host.restore(f.baseline) == LV2_STATE_SUCCESS, "the starting state was refused");
    return 0;
}

}  // namespace

FW_FUZZ_TARGET(Fixture, fuzzOne)
