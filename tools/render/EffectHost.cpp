#include "tools/render/EffectHost.h"

#include "core/Plug.h"
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

int32_t EffectHost::start() {
    fx->resume();
    return fx->getAeffect()->initialDelay;
}

void EffectHost::process(double** in, double** out, int32_t frames) {
    fx->processDoubleReplacing(in, out, frames);
}
