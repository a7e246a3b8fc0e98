#include "core/PlugBaseJSON.h"

namespace {
constexpr int32_t kUniqueID = fourCC('F', 'w', 'd', 'n');
}

PlugBaseJSON::PlugBaseJSON(EffectHostCallback host) : PlugBase(host) {
    setUniqueID(kUniqueID);
    canProcessReplacing(true);
    canDoubleReplacing(true);
    programsAreChunks(true);
    cEffect.flags |= effFlagsCanMono;
}
