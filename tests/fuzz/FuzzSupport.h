#pragma once
// What the fuzz targets share: a home folder of their own for the run, their
// entry points, writing an input to a file the code under test then reads,
// and the report of two texts that should be equal.

#include <stdlib.h>

#include <algorithm>
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

// Prints what went wrong and the line where the two texts first part, then
// aborts: a finding.
[[noreturn]] inline void abortWithDifference(const char* what, const std::string& expected,
                                             const std::string& found) {
    size_t at = 0;
    while (at < expected.size() && at < found.size() && expected[at] == found[at]) ++at;
    const size_t from = expected.rfind('\n', at) == std::string::npos ? 0 : expected.rfind('\n', at) + 1;
    std::fprintf(stderr, "%s\nexpected: %.160s\nfound:    %.160s\n", what, expected.c_str() + from,
                 found.c_str() + std::min(from, found.size()));
    std::abort();
}

// The state of a target, made once: before the first input, in the home of its own.
template <typename Fixture>
Fixture& fixture() {
    static Fixture f;
    return f;
}

}  // namespace fuzzsupport

// The entry points of a target with a Fixture and a function taking
// (Fixture&, data, size); inputs over a megabyte are turned away.
#define FW_FUZZ_TARGET(Fixture, fuzzOne)                                      \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                      \
        fuzzsupport::useTemporaryHome();                                      \
        fuzzsupport::fixture<Fixture>();                                      \
        return 0;                                                             \
    }                                                                         \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        if (size > (size_t(1) << 20)) return -1;                              \
        return fuzzOne(fuzzsupport::fixture<Fixture>(), data, size);          \
    }
