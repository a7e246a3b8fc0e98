#pragma once
// The state layer of the effect: the flags by which a host knows that the
// effect's programs travel as chunks. The chunk codec itself stands here.

#include "core/PlugBase.h"

class PlugBaseJSON : public PlugBase {
public:
    explicit PlugBaseJSON(EffectHostCallback host);
};
