#include "state/PresetFiles.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "state/ValueStore.h"

namespace {

constexpr size_t kPresetPathBytes = 1024;
constexpr size_t kFlagsBytes = 32;

std::string withSlash(std::string folder) {
    if (folder.empty() || folder.back() != '/') folder += '/';
    return folder;
}

std::string dataHome() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg != nullptr && xdg[0] == '/') return withSlash(xdg);
    const char* home = std::getenv("HOME");
    return withSlash(std::string(home != nullptr ? home : "") + "/.local/share");
}

}  // namespace

std::string installationFolder(size_t maxBytes) {
    const std::optional<std::string> stored = readStoreValue("Path", maxBytes);
    if (stored && !stored->empty()) return withSlash(*stored);
    return dataHome() + "Kestrawn/Fenwoldrine/";
}

const std::string& presetFolderPath() {
    static const std::string folder = installationFolder(kPresetPathBytes) + "Presets/";
    return folder;
}

std::string defaultBankPath(std::string* factory) {
    const std::string folder = installationFolder(2 * kPresetPathBytes);
    if (factory != nullptr) *factory = folder + "Factory Bank.fwi";
    return folder + "Default Bank.fwi";
}

bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, size_t maxBytes) {
    bytes.clear();
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return false;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return false;
    uint8_t block[65536];
    size_t n = 0;
    bool ok = true;
    while ((n = std::fread(block, 1, sizeof block, file)) > 0) {
        if (bytes.size() + n > maxBytes) {
            ok = false;
            break;
        }
        bytes.insert(bytes.end(), block, block + n);
    }
    ok = ok && std::ferror(file) == 0;
    std::fclose(file);
    if (!ok) bytes.clear();
    return ok;
}

bool writeWholeFile(const std::string& path, const void* data, size_t size) {
    const std::string temporary = path + ".writing." + std::to_string(getpid());
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    const bool closed = std::fclose(file) == 0;
    if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
    std::remove(temporary.c_str());
    return false;
}

uint32_t readLoadingFlags(uint32_t current) {
    const std::optional<std::string> stored = readStoreValue("loadingFlags", kFlagsBytes);
    if (!stored) return current;
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(stored->c_str(), &end, 10);
    if (end == stored->c_str() || errno != 0) return current;
    return uint32_t(value);
}

void writeLoadingFlags(uint32_t flags) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", int32_t(flags));
    writeStoreValue("loadingFlags", text);
}
