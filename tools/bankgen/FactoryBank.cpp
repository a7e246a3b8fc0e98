#include "tools/bankgen/FactoryBank.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>

#include "core/ChannelLayout.h"
#include "core/Plug.h"
#include "core/SharedTimer.h"
#include "tools/render/ParamAssignment.h"
#include "tools/render/RenderError.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t kChannels = 2;
constexpr float kSampleRate = 48000.0f;
constexpr int32_t kCompressionLevel = 9;
const char* const kBankFileName = "Factory Bank.fwi";
const char* const kPresetFolder = "Presets/Factory";

// The instance runs as in an offline render: every write reaches the engine
// at once and no FIR design waits for the worker.
intptr_t offlineHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

// Lets every pending update and design finish, so that what a chunk holds
// (the group names follow the mid/side state) is the same on every run.
void settle(Plug& fx) {
    for (int i = 0; i < 1000; ++i) {
        fx.refreshEngine(true);
        if (!fx.isRefreshPending() && !fx.isWorkerPending()) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

std::vector<uint8_t> takeChunk(Plug& fx, bool preset) {
    void* data = nullptr;
    const int32_t size = fx.getChunk(&data, preset);
    if (size <= 0 || data == nullptr) throw std::runtime_error("the effect gave no state");
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}

bool sameAsDefaults(const ProgramRecord& record, const ProgramRecord& defaults) {
    return std::memcmp(record.values, defaults.values, sizeof record.values) == 0;
}

// Writes through a temporary file beside the target, renamed over it once
// complete; nothing is left behind on failure.
void writeFileAtomically(const fs::path& target, const std::vector<uint8_t>& bytes) {
    std::string pattern = (target.parent_path() / ".bankgen-XXXXXX").string();
    const int fd = mkstemp(pattern.data());
    if (fd < 0) throw writeError("cannot write '" + target.string() + "': " + std::strerror(errno));
    size_t done = 0;
    bool ok = true;
    while (ok && done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        ok = n > 0;
        if (ok) done += size_t(n);
    }
    const int error = ok ? 0 : errno;
    // mkstemp makes the file private; a bank is for reading by anyone.
    ok = ok && fchmod(fd, 0644) == 0;
    ok = (::close(fd) == 0) && ok;
    ok = ok && std::rename(pattern.c_str(), target.c_str()) == 0;
    if (!ok) {
        const int why = error != 0 ? error : errno;
        ::unlink(pattern.c_str());
        throw writeError("cannot write '" + target.string() + "': " + std::strerror(why));
    }
}

}  // namespace

std::string presetFileName(int32_t index, const std::string& name) {
    char number[16];
    std::snprintf(number, sizeof number, "%02d", int(index + 1));
    return std::string(number) + " " + name + ".fwi";
}

BankChunks buildBank(const BankSource& source) {
    auto fx = std::make_unique<Plug>(&offlineHost);
    // Only this code drives the instance's updates.
    SharedTimer::instance().leave(fx.get());
    fx->setNumInputs(kChannels);
    fx->setNumOutputs(kChannels);
    fx->setChannelLayout(standardChannelLayout(kChannels));
    fx->setSampleRate(kSampleRate);
    fx->resume();
    // After resume, which reads the level from the global settings.
    fx->setCompressionLevel(kCompressionLevel);

    ParamAssignment parser(*fx);
    auto at = [&](int32_t line, const std::string& what) {
        return usageError(source.label + ":" + std::to_string(line) + ": " + what);
    };
    const int32_t count = int32_t(source.programs.size());
    for (int32_t p = 0; p < count; ++p) {
        const SourceProgram& program = source.programs[size_t(p)];
        fx->setProgram(p);
        std::vector<char> name(program.name.begin(), program.name.end());
        name.push_back('\0');
        fx->setProgramName(name.data());
        for (const SourceSetting& setting : program.settings) {
            std::string warning;
            try {
                warning = parser.apply(setting.text);
            } catch (const RenderError& e) {
                throw at(setting.line, e.what());
            }
            // A factory setting is meant as written: a clamped one is a mistake.
            if (!warning.empty()) throw at(setting.line, warning);
        }
        if (sameAsDefaults(fx->programStore().program(p), fx->getDefaultProgram()))
            throw at(program.line, "program '" + program.name + "' leaves every parameter at its default");
    }

    BankChunks chunks;
    fx->setProgram(0);
    settle(*fx);
    chunks.bank = takeChunk(*fx, false);
    for (int32_t p = 0; p < count; ++p) {
        fx->setProgram(p);
        settle(*fx);
        chunks.presets.push_back(takeChunk(*fx, true));
        chunks.names.push_back(source.programs[size_t(p)].name);
    }
    fx->setProgram(0);
    return chunks;
}

void writeBank(const BankChunks& chunks, const std::string& outDir) {
    const fs::path root(outDir);
    const fs::path presets = root / kPresetFolder;
    std::error_code error;
    fs::create_directories(presets, error);
    if (error) throw writeError("cannot make the folder '" + presets.string() + "': " + error.message());
    if (!fs::is_directory(presets, error))
        throw writeError("cannot make the folder '" + presets.string() + "': something else is in its place");

    writeFileAtomically(root / kBankFileName, chunks.bank);
    std::set<std::string> written;
    for (size_t p = 0; p < chunks.presets.size(); ++p) {
        const std::string file = presetFileName(int32_t(p), chunks.names[p]);
        writeFileAtomically(presets / file, chunks.presets[p]);
        written.insert(file);
    }
    // The folder holds this bank's presets and nothing else.
    std::vector<fs::path> stale;
    for (const fs::directory_entry& entry : fs::directory_iterator(presets, error)) {
        const fs::path& path = entry.path();
        if (path.extension() == ".fwi" && written.count(path.filename().string()) == 0) stale.push_back(path);
    }
    for (const fs::path& path : stale) fs::remove(path, error);
}

ScratchSettingsHome::ScratchSettingsHome() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && tmp[0] == '/' ? tmp : "/tmp") + "/fw-bankgen-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw writeError("cannot make a temporary folder in " + fs::path(pattern).parent_path().string() + ": " +
                         std::strerror(errno));
    root = pattern;
    const std::pair<const char*, const char*> folders[] = {
        {"HOME", "/home"}, {"XDG_CONFIG_HOME", "/config"}, {"XDG_DATA_HOME", "/data"}, {"XDG_CONFIG_DIRS", "/xdg"}};
    for (const auto& [variable, folder] : folders) {
        const std::string path = root + folder;
        ::mkdir(path.c_str(), 0700);
        setenv(variable, path.c_str(), 1);
    }
}

ScratchSettingsHome::~ScratchSettingsHome() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
}
