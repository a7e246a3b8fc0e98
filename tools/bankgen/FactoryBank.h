#pragma once
// Makes a bank from its source: one stereo instance of the effect at
// 48 kHz, each program set from the defaults by its settings, then the whole
// state and each program's preset taken as the chunks a host would store.

#include <cstdint>
#include <string>
#include <vector>

#include "tools/bankgen/BankSource.h"

// The files of a bank, as bytes.
struct BankChunks {
    std::vector<uint8_t> bank;                  // the full state, program 1 current
    std::vector<std::vector<uint8_t>> presets;  // the preset chunk of each program
    std::vector<std::string> names;             // the program names
};

// Sets every program of a fresh instance from the source and takes the
// chunks, compressed at zlib level 9. Throws a usage error "file:line: ..."
// for a setting the effect does not take, a value outside its range, or a
// program that leaves every parameter at its default.
BankChunks buildBank(const BankSource& source);

// File name of the preset of program `index` (0-based): "NN Name.fwi",
// numbered from 01 so that a listing by name is in program order.
std::string presetFileName(int32_t index, const std::string& name);

// Writes "Factory Bank.fwi" and "Presets/Factory/NN Name.fwi" under
// outDir, creating the folders. Each file is written beside its final name
// and renamed into place; other ".fwi" files in Presets/Factory (left by
// programs since renamed) are removed. A failure is a write error.
void writeBank(const BankChunks& chunks, const std::string& outDir);

// Points HOME, XDG_CONFIG_HOME, XDG_DATA_HOME and XDG_CONFIG_DIRS into a
// fresh temporary folder for the life of the object and removes the folder
// afterwards, so that the instance neither reads the user's settings and
// default bank nor writes anything of its own into them.
class ScratchSettingsHome {
public:
    ScratchSettingsHome();
    ~ScratchSettingsHome();
    ScratchSettingsHome(const ScratchSettingsHome&) = delete;
    ScratchSettingsHome& operator=(const ScratchSettingsHome&) = delete;

    const std::string& path() const { return root; }

private:
    std::string root;
};
