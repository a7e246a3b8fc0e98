#pragma once
// What the fuzz targets share: a home folder of their own for the run, and
// writing an input to a file the code under test then reads.

#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace fuzzsupport {

inline std::string& homeFolder() {
    static std::string folder;
    return folder;
}

inline void removeHome() {
    std::error_code ignored;
    if (!homeFolder().empty()) std::filesystem::remove_all(homeFolder(), ignored);
}

// The settings and presets of this run live in a folder of its own, removed
// again at exit. Returns that folder.
inline const std::string& useTemporaryHome() {
    char pattern[] = "/tmp/fw-fuzz-home-XXXXXX";
    if (mkdtemp(pattern) == nullptr) std::abort();
    homeFolder() = pattern;
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CONFIG_DIRS"})
        setenv(variable, (homeFolder() + "/" + variable).c_str(), 1);
    std::atexit(removeHome);
    return homeFolder();
}

// Replaces the file at `path` with exactly these bytes; aborts when it can't,
// since every later finding would be meaningless.
inline void writeFile(const std::string& path, const uint8_t* data, size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::abort();
    const bool ok = (size == 0 || std::fwrite(data, 1, size, file) == size) && std::fclose(file) == 0;
    if (!ok) std::abort();
}

}  // namespace fuzzsupport
