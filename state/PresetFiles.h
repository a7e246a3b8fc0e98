#pragma once
// Where presets live and how their files are read and written. Every file is
// a chunk and nothing else: ".fwi" one program, ".fwb" a whole bank, and the
// default and factory banks (full states, in spite of their extension).
//
// The installation folder is the stored value "Path" when there is one,
// otherwise $XDG_DATA_HOME/Kestrawn/Fenwoldrine/ (~/.local/share/...).

#include <cstdint>
#include <string>
#include <vector>

// The installation folder, ending in '/'. `maxBytes` bounds the stored path
// as it is read.
std::string installationFolder(size_t maxBytes);
// The preset folder: the installation folder plus "Presets/". Found once per
// process and kept.
const std::string& presetFolderPath();
// The default bank: "Default Bank.fwi" in the installation folder. `factory`
// is set to the factory bank beside it, which stands in when the default
// bank cannot be read.
std::string defaultBankPath(std::string* factory);

// A whole file; false when it cannot be read or is larger than `maxBytes`.
bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, size_t maxBytes);
// Writes a file through a temporary beside it, so a failed write leaves the
// old file as it was; false on failure.
bool writeWholeFile(const std::string& path, const void* data, size_t size);

// Presets are kilobytes; anything past this is not one.
constexpr size_t kMaxPresetFileBytes = size_t(64) << 20;

// The loading flags shared by all instances of the user: the stored value
// "loadingFlags", or `current` when there is none.
uint32_t readLoadingFlags(uint32_t current);
void writeLoadingFlags(uint32_t flags);
