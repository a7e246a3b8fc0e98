#include "tools/render/EffectHost.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "core/Plug.h"
#include "dsp/DF1Cascade.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/ParamAssignment.h"
#include "tools/render/RenderError.h"

namespace {
// Saved states are kilobytes; a file past this is something else.
constexpr size_t kMaxStateBytes = size_t(64) << 20;
}  // namespace

intptr_t EffectHost::callback(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

EffectHost::EffectHost(int32_t channels, const std::vector<ChannelSlot>& slots, double sampleRate,
                       int32_t blockSize)
    : fx(std::make_unique<Plug>(&EffectHost::callback)) {
    fx->setNumInputs(channels);
    fx->setNumOutputs(channels);
    fx->setChannelLayout(slots);
    fx->setSampleRate(float(sampleRate));
    fx->setBlockSize(blockSize);
}

EffectHost::~EffectHost() = default;

void EffectHost::applyAssignments(const std::vector<std::string>& assignments, Diagnostics& diagnostics) {
    ParamAssignment parser(*fx);
    for (const std::string& a : assignments) {
        const std::string warning = parser.apply(a);
        if (!warning.empty()) diagnostics.warning(warning);
    }
}

static_assert(EffectHost::kSettleFrames > DF1Cascade::kRampSamples);

int32_t EffectHost::start() {
    fx->resume();
    // Settings made before the first block reach the band filters as
    // coefficient ramps. Silence run through first lets those ramps end, so
    // the file starts with the finished equaliser and no fade into it; the
    // filters stay at rest, since silence leaves nothing in them.
    const int32_t channels = fx->getChannelCount();
    std::vector<double> silence(size_t(kSettleFrames), 0.0), discard(size_t(kSettleFrames), 0.0);
    std::vector<double*> in(size_t(channels), silence.data()), out(size_t(channels), discard.data());
    fx->processDoubleReplacing(in.data(), out.data(), kSettleFrames);
    return fx->getAeffect()->initialDelay;
}

void EffectHost::process(double** in, double** out, int32_t frames) {
    fx->processDoubleReplacing(in, out, frames);
}

void EffectHost::restoreState(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw usageError("cannot read state '" + path + "': " + std::strerror(errno));
    std::vector<uint8_t> bytes;
    uint8_t block[65536];
    size_t n = 0;
    while ((n = std::fread(block, 1, sizeof block, file)) > 0) {
        bytes.insert(bytes.end(), block, block + n);
        if (bytes.size() > kMaxStateBytes) break;
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) throw usageError("cannot read state '" + path + "'");
    if (bytes.size() > kMaxStateBytes) throw usageError("state '" + path + "' is too large to be a saved state");
    if (!PlugBaseJSON::holdsStateDocument(bytes.data(), int32_t(bytes.size())))
        throw usageError("'" + path + "' is not a saved state: it is damaged, or not a state file of this effect");
    fx->setChunk(bytes.data(), int32_t(bytes.size()), false);
}

void EffectHost::saveState(const std::string& path) {
    void* data = nullptr;
    const int32_t size = fx->getChunk(&data, false);
    const std::string temporary = path + ".part";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) throw writeError("cannot write state '" + path + "': " + std::strerror(errno));
    const bool written = size > 0 && std::fwrite(data, 1, size_t(size), file) == size_t(size);
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        throw writeError("cannot write state '" + path + "'");
    }
}
