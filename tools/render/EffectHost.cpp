#include "tools/render/EffectHost.h"

#include <vector>

#include "core/Plug.h"
#include "dsp/DF1Cascade.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/ParamAssignment.h"

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
