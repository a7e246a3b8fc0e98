#pragma once
// The stored programs and A/B slots of an instance: the 20 program records
// and the eight slot records, the band order and auto gain switch that each
// keeps beside its values, the lock bits of every program, and which slot
// is current. It knows nothing of the live parameters, the engine or the
// host: the effect owns one and writes it, and an editor reads it through
// the effect's programStore().
//
// Threads: the message thread, except storeValue and isLocked, which the
// audio thread calls too. Program and slot numbers are checked where noted;
// elsewhere the caller passes numbers inside the store.

#include <cstdint>

#include "core/ParamTable.h"
#include "core/ProgramRecord.h"

// What a program or a slot keeps beside its values: the display order of
// its bands (band numbers, -1 after the last) and its auto gain switch.
struct RecordExtras {
    int32_t bandOrder[kNumBands];
    int32_t autoGain = 0;
};

class ProgramStore {
public:
    // Every program unused (named "-") at the factory defaults, every slot
    // a copy of program 0, no band order, auto gain off, nothing locked.
    ProgramStore();

    // ---- Records ----
    const ProgramRecord& program(int32_t p) const { return programs[p]; }
    ProgramRecord& program(int32_t p) { return programs[p]; }
    const ProgramRecord& slot(int32_t s) const { return slots[s]; }
    ProgramRecord& slot(int32_t s) { return slots[s]; }
    // Names a program; a null name gives an empty one. Cut to 63 bytes.
    void setName(int32_t program, const char* name);
    // The last program in use (an unused one is named "-"), or 0.
    int32_t lastProgramInUse() const;
    // The live values become a slot's values; its extras stay.
    void setSlotValues(int32_t slot, const ParamRow* live);

    // ---- The current slot ----
    int32_t currentSlot() const { return current; }
    // Stored as one atomic word: storeValue reads it on the audio thread.
    void setCurrentSlot(int32_t slot) noexcept;
    // Any thread, the audio thread included: norm into one parameter of a
    // program and of the current slot, by atomic stores, since the state
    // and the editor read the records from other threads.
    void storeValue(int32_t program, int32_t index, float norm) noexcept;

    // ---- Band order and auto gain ----
    const RecordExtras& programExtras(int32_t p) const { return programExtra[p]; }
    RecordExtras& programExtras(int32_t p) { return programExtra[p]; }
    const RecordExtras& slotExtras(int32_t s) const { return slotExtra[s]; }
    RecordExtras& slotExtras(int32_t s) { return slotExtra[s]; }
    // A program's band order and auto gain; a number outside the programs
    // reads the nearest program.
    const int32_t* bandOrder(int32_t program) const;
    int32_t autoGain(int32_t program) const;
    // The current slot mirrors the current program, as parameters do: when
    // `program` is `currentProgram` the current slot takes the change too.
    // Band numbers outside the bands and the entries after `count` read -1.
    // False, with nothing changed, for a number outside the programs or a
    // null order.
    bool setBandOrder(int32_t program, const int32_t* order, int32_t count, int32_t currentProgram);
    bool setAutoGain(int32_t program, int32_t state, int32_t currentProgram);
    // The extras travel with the values between a program and a slot.
    void copyExtrasToSlot(int32_t program, int32_t slot) { slotExtra[slot] = programExtra[program]; }
    void copyExtrasToProgram(int32_t slot, int32_t program) { programExtra[program] = slotExtra[slot]; }

    // ---- Lock bits: one per parameter of each program ----
    // False for an index outside the table.
    bool isLocked(int32_t program, int32_t index) const;
    // Does nothing outside the programs or the table.
    void setLocked(int32_t program, int32_t index, bool locked);
    // 0 outside the programs or the words.
    uint32_t lockWord(int32_t program, int32_t word) const;
    void setLockWord(int32_t program, int32_t word, uint32_t bits) { lockMask[program][word] = bits; }
    void clearLocks(int32_t program);
    void clearAllLocks();

private:
    ProgramRecord programs[kNumPrograms];
    ProgramRecord slots[kNumABSlots];
    RecordExtras programExtra[kNumPrograms];
    RecordExtras slotExtra[kNumABSlots];
    uint32_t lockMask[kNumPrograms][kLockWordsPerProgram] = {};
    int32_t current = 0;
};
