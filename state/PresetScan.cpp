#include "state/PresetScan.h"

#include <cjson/cJSON.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>

#include "state/ChunkCodec.h"

namespace {

// Folders more than this many levels below the preset folder are not read.
constexpr size_t kMaxDepth = 16;
// A preset or bank file larger than this is not one; it counts as unreadable.
constexpr size_t kMaxFileSize = size_t(16) << 20;
// Bytes from 1 to this one in front of a document are skipped.
constexpr unsigned char kLastSkippedByte = 32;

struct TreeDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Node = std::unique_ptr<cJSON, TreeDeleter>;

struct FolderId {
    dev_t device;
    ino_t inode;
    bool operator==(const FolderId&) const = default;
};

// A folder entry as listed, before it is looked at.
struct Listed {
    std::string name;
    unsigned char type;  // d_type; DT_UNKNOWN when the file system doesn't say
};

// An entry on its way into the menu: gathered first, sorted, then added.
struct Pending {
    PresetMenu::Kind kind;
    std::string name;
    int number;  // the leading integer of the name, for sorting
    Node node;   // null for a preset that couldn't be read or parsed
    std::unique_ptr<PresetMenu> submenu;
};

// The leading integer of a name as atoi reads it: blanks, an optional sign,
// then digits; 0 when there are none. Past the range of int it stays at the
// nearest end instead of overflowing.
int leadingInteger(const std::string& name) {
    const char* c = name.c_str();
    while (*c == ' ' || (*c >= '\t' && *c <= '\r')) ++c;
    bool negative = false;
    if (*c == '+' || *c == '-') negative = *c++ == '-';
    constexpr int64_t kBeyond = int64_t(INT_MAX) + 2;
    int64_t value = 0;
    for (; *c >= '0' && *c <= '9'; ++c) value = std::min<int64_t>(value * 10 + (*c - '0'), kBeyond);
    if (negative) value = -value;
    return int(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
}

Pending pending(PresetMenu::Kind kind, std::string name, Node node, std::unique_ptr<PresetMenu> submenu) {
    const int number = leadingInteger(name);
    return Pending{kind, std::move(name), number, std::move(node), std::move(submenu)};
}

// Items before submenus; then the leading number, lower first; then the
// bytes of the name.
bool comesBefore(const Pending& a, const Pending& b) {
    if (a.kind != b.kind) return a.kind == PresetMenu::Kind::kItem;
    if (a.number != b.number) return a.number < b.number;
    return std::strcmp(a.name.c_str(), b.name.c_str()) < 0;
}

void sortEntries(std::vector<Pending>& entries) { std::stable_sort(entries.begin(), entries.end(), comesBefore); }

// Adds `node` to `parent` under `name`; without a parent the node is dropped.
void addNode(cJSON* parent, const std::string& name, Node node) {
    if (parent == nullptr || node == nullptr) return;
    if (cJSON_AddItemToObject(parent, name.c_str(), node.get())) node.release();
}

// The whole content of a regular file, or nothing when it can't be read or
// is larger than kMaxFileSize. Opened without blocking, so a FIFO that took
// the file's place after it was looked at cannot stall the scan.
std::optional<std::vector<uint8_t>> readWholeFile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    bool ok = fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size >= 0 &&
              uint64_t(info.st_size) <= kMaxFileSize;
    std::vector<uint8_t> data;
    size_t used = 0;
    if (ok) {
        // One byte more than the stated size, so the end is seen without
        // growing; a file that grows meanwhile is read until the limit.
        data.resize(size_t(info.st_size) + 1);
        for (;;) {
            if (used == data.size()) {
                if (used > kMaxFileSize) {
                    ok = false;
                    break;
                }
                data.resize(std::min(data.size() * 2, kMaxFileSize + 1));
            }
            const ssize_t n = read(fd, data.data() + used, data.size() - used);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) {
                ok = false;
                break;
            }
            if (n == 0) break;
            used += size_t(n);
        }
    }
    close(fd);
    if (!ok) return std::nullopt;
    data.resize(used);
    return data;
}

// The document in a preset or bank file: the chunk framing undone, leading
// control bytes and blanks skipped, then parsed. Null when the file can't be
// read or doesn't parse.
Node readDocument(const std::string& path) {
    const std::optional<std::vector<uint8_t>> data = readWholeFile(path);
    if (!data) return nullptr;
    const std::vector<uint8_t> text = decodeChunk(data->data(), int32_t(data->size()));
    // decodeChunk always ends the text with a NUL, which stops this loop.
    size_t start = 0;
    while (text[start] >= 1 && text[start] <= kLastSkippedByte) ++start;
    return Node(cJSON_Parse(reinterpret_cast<const char*>(text.data() + start)));
}

// A bank file: a submenu of its programs and an array of them, each keyed by
// its name, both in sorted order.
Pending bankEntry(const std::string& name, const std::string& path) {
    Node array(cJSON_CreateArray());
    auto submenu = std::make_unique<PresetMenu>();
    const Node document = readDocument(path);
    cJSON* presets = cJSON_IsObject(document.get()) ? cJSON_GetObjectItem(document.get(), "presets") : nullptr;
    std::vector<Pending> programs;
    while (cJSON_IsArray(presets) && presets->child != nullptr) {
        Node program(cJSON_DetachItemViaPointer(presets, presets->child));
        const cJSON* programName = cJSON_IsObject(program.get()) ? cJSON_GetObjectItem(program.get(), "name") : nullptr;
        std::string shown;
        if (cJSON_IsString(programName) && programName->valuestring != nullptr) shown = programName->valuestring;
        programs.push_back(pending(PresetMenu::Kind::kItem, std::move(shown), std::move(program), nullptr));
    }
    sortEntries(programs);
    for (Pending& program : programs) {
        submenu->entries.push_back(PresetMenu::Entry{PresetMenu::Kind::kItem, program.name, nullptr});
        addNode(array.get(), program.name, std::move(program.node));
    }
    return pending(PresetMenu::Kind::kSubmenu, name, std::move(array), std::move(submenu));
}

// The entries of a folder, sorted by name, without those beginning with ".";
// nothing when it can't be opened. `id` is the folder that was opened.
bool listFolder(const std::string& folder, std::vector<Listed>& listed, FolderId& id) {
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return false;
    struct stat info {};
    const bool ok = fstat(dirfd(dir), &info) == 0;
    id = FolderId{info.st_dev, info.st_ino};
    if (ok) {
        // A read error ends the listing; what was read so far is kept.
        while (const dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.') listed.push_back(Listed{entry->d_name, entry->d_type});
        }
    }
    closedir(dir);
    // The order of a listing depends on the file system; sorting it makes
    // entries that tie in the menu order come out the same everywhere.
    std::sort(listed.begin(), listed.end(),
              [](const Listed& a, const Listed& b) { return std::strcmp(a.name.c_str(), b.name.c_str()) < 0; });
    return ok;
}

// `path` holds the folders from the preset folder down to the one above
// `folder`; a folder found on it again is a loop and is not read.
void scanFolder(cJSON* parent, PresetMenu& menu, const std::string& folder, std::vector<FolderId>& path) {
    std::vector<Listed> listed;
    FolderId id{};
    if (!listFolder(folder, listed, id)) return;
    if (std::find(path.begin(), path.end(), id) != path.end()) return;
    path.push_back(id);

    const std::string prefix = (!folder.empty() && folder.back() == '/') ? folder : folder + "/";
    std::vector<Pending> entries;
    for (const Listed& entry : listed) {
        const size_t dot = entry.name.rfind('.');
        const std::string shown = entry.name.substr(0, dot);
        const std::string extension = dot == std::string::npos ? std::string() : entry.name.substr(dot + 1);
        const bool maybePreset = extension == "fwi" || extension == "fwb";
        // Only what could be a folder or a preset is looked at more closely.
        if (!maybePreset && entry.type != DT_DIR && entry.type != DT_LNK && entry.type != DT_UNKNOWN) continue;

        const std::string childPath = prefix + entry.name;
        struct stat info {};
        if (stat(childPath.c_str(), &info) != 0) continue;  // gone, or a dangling link
        if (S_ISDIR(info.st_mode)) {
            // `path` now ends with this folder, so its size is the child's depth.
            if (path.size() > kMaxDepth) continue;
            if (std::find(path.begin(), path.end(), FolderId{info.st_dev, info.st_ino}) != path.end()) continue;
            Pending sub = pending(PresetMenu::Kind::kSubmenu, shown, Node(cJSON_CreateObject()),
                                  std::make_unique<PresetMenu>());
            scanFolder(sub.node.get(), *sub.submenu, childPath, path);
            entries.push_back(std::move(sub));
        } else if (S_ISREG(info.st_mode) && extension == "fwi") {
            entries.push_back(pending(PresetMenu::Kind::kItem, shown, readDocument(childPath), nullptr));
        } else if (S_ISREG(info.st_mode) && extension == "fwb") {
            entries.push_back(bankEntry(shown, childPath));
        }
    }
    path.pop_back();

    sortEntries(entries);
    for (Pending& entry : entries) {
        menu.entries.push_back(PresetMenu::Entry{entry.kind, entry.name, std::move(entry.submenu)});
        addNode(parent, entry.name, std::move(entry.node));
    }
}

void appendOutline(std::string& out, const PresetMenu& menu, size_t depth) {
    for (const PresetMenu::Entry& entry : menu.entries) {
        out.append(depth * 2, ' ');
        if (entry.kind == PresetMenu::Kind::kSeparator) {
            out += '-';
        } else {
            for (const char c : entry.name) {
                const auto byte = static_cast<unsigned char>(c);
                out += (byte < 0x20 || byte == 0x7f) ? '?' : c;
            }
            if (entry.kind == PresetMenu::Kind::kSubmenu) out += '/';
        }
        out += '\n';
        if (entry.kind == PresetMenu::Kind::kSubmenu && entry.submenu) appendOutline(out, *entry.submenu, depth + 1);
    }
}

}  // namespace

void scanPresetFolder(cJSON* parent, PresetMenu& menu, const std::string& folder) {
    std::vector<FolderId> path;
    scanFolder(parent, menu, folder, path);
}

std::string menuText(const PresetMenu& menu) {
    std::string out;
    appendOutline(out, menu, 0);
    return out;
}
