#include "state/ValueStore.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

constexpr const char* kStoreSubfolder = "Kestrawn/Fenwoldrine/";

bool isValidName(const char* name) {
    return name != nullptr && name[0] != '\0' && std::strchr(name, '/') == nullptr && std::strcmp(name, ".") != 0 &&
           std::strcmp(name, "..") != 0;
}

// An environment variable holding an absolute path; empty otherwise (the
// folder rules treat relative paths as unset).
std::string absolutePathFromEnv(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/') return {};
    return value;
}

std::string homeFolder() {
    std::string home = absolutePathFromEnv("HOME");
    if (!home.empty()) return home;
    // No usable HOME (a host started with a scrubbed environment): the
    // account's home from the password database.
    long bufferSize = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(bufferSize > 0 ? static_cast<size_t>(bufferSize) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] == '/') {
        return found->pw_dir;
    }
    return {};
}

// base + "/Kestrawn/Fenwoldrine/", without doubling the slash.
std::string storeFolderUnder(std::string base) {
    while (base.size() > 1 && base.back() == '/') base.pop_back();
    if (base.back() != '/') base += '/';
    return base + kStoreSubfolder;
}

// The file's first `maxBytes` bytes; nullopt when it can't be opened or read,
// or isn't a regular file. O_NONBLOCK keeps a FIFO planted at the path from
// blocking the open; it is then refused as not regular.
std::optional<std::string> readFile(const std::string& path, size_t maxBytes) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(fd);
        return std::nullopt;
    }
    std::string text;
    char chunk[4096];
    while (text.size() < maxBytes) {
        const size_t wanted = std::min(sizeof(chunk), maxBytes - text.size());
        const ssize_t got = read(fd, chunk, wanted);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            close(fd);
            return std::nullopt;
        }
        if (got == 0) break;
        text.append(chunk, static_cast<size_t>(got));
    }
    close(fd);
    return text;
}

bool writeAll(int fd, const std::string& text) {
    const char* next = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t written = write(fd, next, left);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        next += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

// Creates a temporary file beside the value, named ".<name>.<pid>.<n>" so it
// can't be taken for a value; its mode follows the umask like any new file.
int createTemporary(const std::string& folder, const char* name, std::string& path) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        path = folder + "." + name + "." + std::to_string(getpid()) + "." + std::to_string(counter++);
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

bool writeInto(const std::string& folder, const char* name, const std::string& text) {
    if (folder.empty()) return false;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error)) return false;

    std::string temporary;
    const int fd = createTemporary(folder, name, temporary);
    if (fd < 0) return false;
    bool ok = writeAll(fd, text);
    ok = close(fd) == 0 && ok;
    ok = ok && std::rename(temporary.c_str(), (folder + name).c_str()) == 0;
    if (!ok) unlink(temporary.c_str());
    return ok;
}

}  // namespace

std::string userStoreFolder() {
    std::string base = absolutePathFromEnv("XDG_CONFIG_HOME");
    if (base.empty()) {
        const std::string home = homeFolder();
        if (home.empty()) return {};
        base = (home.back() == '/' ? home : home + "/") + ".config";
    }
    return storeFolderUnder(base);
}

std::string machineStoreFolder() {
    const char* dirs = std::getenv("XDG_CONFIG_DIRS");
    if (dirs != nullptr) {
        // The first absolute entry of the ':'-separated list.
        for (const char* entry = dirs; *entry != '\0';) {
            const char* end = std::strchr(entry, ':');
            const size_t length = end != nullptr ? static_cast<size_t>(end - entry) : std::strlen(entry);
            if (length > 0 && entry[0] == '/') return storeFolderUnder(std::string(entry, length));
            if (end == nullptr) break;
            entry = end + 1;
        }
    }
    return storeFolderUnder("/etc/xdg");
}

std::optional<std::string> readStoreValue(const char* name, size_t maxBytes) {
    if (!isValidName(name)) return std::nullopt;
    for (const std::string& folder : {userStoreFolder(), machineStoreFolder()}) {
        if (folder.empty()) continue;
        std::optional<std::string> text = readFile(folder + name, maxBytes);
        if (text && !text->empty()) return text;
    }
    return std::nullopt;
}

bool writeStoreValue(const char* name, const std::string& text) {
    if (!isValidName(name)) return false;
    return writeInto(userStoreFolder(), name, text) || writeInto(machineStoreFolder(), name, text);
}
