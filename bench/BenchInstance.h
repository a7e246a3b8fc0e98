#pragma once
// An instance as the benchmarks use it: a host's set-up of channels,
// standard layout and 48 kHz, resumed and ready for blocks.

#include <memory>

#include "core/Plug.h"
#include "session/PlugEd.h"

inline std::unique_ptr<Plug> benchInstance(int32_t channels) { return PlugEd::createInstance(channels); }
