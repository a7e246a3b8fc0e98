// Feeds arbitrary bytes to an instance as a session chunk and as a preset
// chunk. Nothing may crash, hang or leak, and a chunk that does not parse
// must leave the instance exactly as it was. Every input starts from the
// same state, so a finding replays on its own.

#include <cjson/cJSON.h>

#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "core/ChannelLayout.h"
#include "core/Plug.h"
#include "session/PlugEd.h"
#include "state/ChunkCodec.h"

namespace {

std::string documentOf(Plug& fx) {
    fx.markChunkStale();
    void* data = nullptr;
    const int32_t size = fx.getChunk(&data, false);
    return std::string(static_cast<const char*>(data), size_t(size));
}

// Whether applying these bytes would parse a document at all.
bool parses(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> text = decodeChunk(data, int32_t(size));
    cJSON* root = cJSON_Parse(PlugBaseJSON::documentStart(reinterpret_cast<const char*>(text.data())));
    cJSON_Delete(root);
    return root != nullptr;
}

struct Fixture {
    std::unique_ptr<Plug> fx;
    std::vector<uint8_t> baseline;  // plain chunk of the starting state
    std::string baselineText;

    Fixture() {
        fx = PlugEd::createEffect(nullptr);
        fx->setNumInputs(2);
        fx->setNumOutputs(2);
        fx->setChannelLayout(standardChannelLayout(2));
        fx->setSampleRate(48000.0f);
        fx->resume();
        fx->setCompressionLevel(0);
        fx->setParameter(bandParam(0, kFieldState), 1.0f);
        fx->setParameter(bandParam(0, kFieldGain), 0.7f);
        fx->setParameter(kGain, 0.45f);
        // Audio has run, as in a session: a document's instance name is no
        // longer taken, so nothing a chunk sets outlives the restore.
        float silence[64] = {};
        float* channels[2] = {silence, silence};
        fx->processReplacing(channels, channels, 64);
        // Once through its own chunk, so the baseline is a restored state.
        const std::string first = documentOf(*fx);
        std::vector<uint8_t> bytes(first.begin(), first.end());
        fx->setChunk(bytes.data(), int32_t(bytes.size()), false);
        baselineText = documentOf(*fx);
        baseline.assign(baselineText.begin(), baselineText.end());
    }

    void restore() { fx->setChunk(baseline.data(), int32_t(baseline.size()), false); }

    // Every input ends here, so every input starts from the same state.
    void expectBaseline(const char* otherwise) {
        const std::string now = documentOf(*fx);
        if (now != baselineText) fuzzsupport::abortWithDifference(otherwise, baselineText, now);
    }
};

int fuzzOne(Fixture& f, const uint8_t* data, size_t size) {
    std::vector<uint8_t> bytes(data, data + size);  // setChunk takes the host's mutable buffer
    const bool readable = parses(data, size);
    // As a session chunk, then (from the starting state again) as a preset
    // chunk. A chunk that does not parse must change nothing either time; one
    // that parses is followed by the starting state's own chunk, which must
    // bring everything back. One comparison at the end covers both.
    for (const bool preset : {false, true}) {
        f.fx->setChunk(bytes.empty() ? nullptr : bytes.data(), int32_t(bytes.size()), preset);
        if (readable) f.restore();
    }
    f.expectBaseline(readable ? "the starting state does not come back from its own chunk"
                              : "a chunk that does not parse changed the state");
    return 0;
}

}  // namespace

FW_FUZZ_TARGET(Fixture, fuzzOne)
