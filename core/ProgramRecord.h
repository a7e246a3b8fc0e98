#pragma once
// One stored program: its name and the normalised value of every parameter.
// The 20 programs, the eight A/B slots and the default program share it.

#include <cstdint>

#include "core/ParamTable.h"

constexpr int32_t kProgramNameLength = 64;
constexpr int32_t kNumABSlots = 8;

struct ProgramRecord {
    char name[kProgramNameLength];
    float values[kNumParams];
};
