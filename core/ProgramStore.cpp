#include "core/ProgramStore.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

ProgramStore::ProgramStore() {
    const ParamRow* defaults = staticParamTable();
    for (ProgramRecord& p : programs) {
        // "-" marks a program nobody has used; the preset menu lists programs
        // up to the last one in use.
        std::memset(p.name, 0, sizeof p.name);
        p.name[0] = '-';
        for (int32_t i = 0; i < kNumParams; ++i) p.values[i] = defaults[i].norm;
    }
    for (ProgramRecord& s : slots) s = programs[0];
    for (RecordExtras& e : programExtra) std::fill(std::begin(e.bandOrder), std::end(e.bandOrder), -1);
    for (RecordExtras& e : slotExtra) std::fill(std::begin(e.bandOrder), std::end(e.bandOrder), -1);
}

void ProgramStore::setName(int32_t program, const char* name) {
    std::snprintf(programs[program].name, kProgramNameLength, "%s", name ? name : "");
}

int32_t ProgramStore::lastProgramInUse() const {
    int32_t last = kNumPrograms - 1;
    while (last > 0 && std::strcmp(programs[last].name, "-") == 0) --last;
    return last;
}

void ProgramStore::setSlotValues(int32_t slot, const ParamRow* live) {
    for (int32_t i = 0; i < kNumParams; ++i) slots[slot].values[i] = live[i].norm;
}

void ProgramStore::setCurrentSlot(int32_t slot) noexcept {
    std::atomic_ref<int32_t>(current).store(slot, std::memory_order_relaxed);
}

void ProgramStore::storeValue(int32_t program, int32_t index, float norm) noexcept {
    // The slot number changes on the message thread while an audio-thread
    // write may be here: it is read as one atomic word.
    const int32_t slot = std::atomic_ref<int32_t>(current).load(std::memory_order_relaxed);
    std::atomic_ref<float>(programs[program].values[index]).store(norm, std::memory_order_relaxed);
    std::atomic_ref<float>(slots[slot].values[index]).store(norm, std::memory_order_relaxed);
}

const int32_t* ProgramStore::bandOrder(int32_t program) const {
    return programExtra[std::clamp(program, 0, kNumPrograms - 1)].bandOrder;
}

int32_t ProgramStore::autoGain(int32_t program) const {
    return programExtra[std::clamp(program, 0, kNumPrograms - 1)].autoGain;
}

bool ProgramStore::setBandOrder(int32_t program, const int32_t* order, int32_t count, int32_t currentProgram) {
    if (program < 0 || program >= kNumPrograms || order == nullptr) return false;
    int32_t* to = programExtra[program].bandOrder;
    for (int32_t i = 0; i < kNumBands; ++i) {
        const int32_t band = i < count ? order[i] : -1;
        to[i] = (band >= 0 && band < kNumBands) ? band : -1;
    }
    if (program == currentProgram) std::copy_n(to, kNumBands, slotExtra[current].bandOrder);
    return true;
}

bool ProgramStore::setAutoGain(int32_t program, int32_t state, int32_t currentProgram) {
    if (program < 0 || program >= kNumPrograms) return false;
    programExtra[program].autoGain = state;
    if (program == currentProgram) slotExtra[current].autoGain = state;
    return true;
}

bool ProgramStore::isLocked(int32_t program, int32_t index) const {
    if (index < 0 || index >= kNumParams) return false;
    return (lockMask[program][index / 32] >> (index % 32)) & 1u;
}

void ProgramStore::setLocked(int32_t program, int32_t index, bool locked) {
    if (program < 0 || program >= kNumPrograms || !isParamIndex(index)) return;
    const uint32_t bit = 1u << (index % 32);
    if (locked)
        lockMask[program][index / 32] |= bit;
    else
        lockMask[program][index / 32] &= ~bit;
}

uint32_t ProgramStore::lockWord(int32_t program, int32_t word) const {
    if (program < 0 || program >= kNumPrograms || word < 0 || word >= kLockWordsPerProgram) return 0;
    return lockMask[program][word];
}

void ProgramStore::clearLocks(int32_t program) {
    std::fill(std::begin(lockMask[program]), std::end(lockMask[program]), 0u);
}

void ProgramStore::clearAllLocks() {
    for (auto& words : lockMask) std::fill(std::begin(words), std::end(words), 0u);
}
