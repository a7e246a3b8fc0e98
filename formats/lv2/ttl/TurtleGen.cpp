// fenwoldrine-lv2-ttl BANK BUNDLEDIR: writes the Turtle of the LV2 bundle
// into BUNDLEDIR: manifest.ttl, fenwoldrine.ttl (the eight plug-ins, from
// the parameter table and the port layout) and presets-<layout>.ttl (the
// named programs of the factory bank BANK, as the effect plays them).
//
// Exit status: 0 done; 2 bad command line; 1 the bank could not be read or
// a file could not be written.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/ChannelLayout.h"
#include "core/Plug.h"
#include "core/SharedTimer.h"
#include "formats/lv2/PortLayout.h"
#include "formats/lv2/ttl/BundleTurtle.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kUsage =
    "usage: fenwoldrine-lv2-ttl BANK BUNDLEDIR\n"
    "Writes manifest.ttl, fenwoldrine.ttl and the factory presets of the bank BANK\n"
    "into the LV2 bundle folder BUNDLEDIR.\n";

constexpr const char* kUnnamedProgram = "-";

// The effect reads the user's settings and default bank when it is made:
// for the life of this object HOME and the XDG folders point into an empty
// temporary folder, removed afterwards.
class EmptyHome {
public:
    EmptyHome() {
        std::string pattern = (fs::temp_directory_path() / "fw-lv2-ttl-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
        root = pattern;
        for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CONFIG_DIRS"}) {
            const fs::path folder = root / variable;
            fs::create_directory(folder);
            setenv(variable, folder.c_str(), 1);
        }
    }
    ~EmptyHome() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    EmptyHome(const EmptyHome&) = delete;
    EmptyHome& operator=(const EmptyHome&) = delete;

private:
    fs::path root;
};

// As in an offline render: no design waits for a real-time deadline.
intptr_t offlineHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

std::vector<uint8_t> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::string what("cannot read '");
        throw std::runtime_error(what.append(path).append("': ").append(std::strerror(errno)));
    }
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Loads the bank into a stereo instance, as the bank was made, and takes
// each named program's real values from the effect's table.
std::vector<lv2ttl::FactoryPreset> factoryPresets(Plug& fx, const std::string& bankPath) {
    std::vector<uint8_t> bank = readFile(bankPath);
    const int32_t size = int32_t(bank.size());
    if (!PlugBaseJSON::holdsStateDocument(bank.data(), size)) {
        std::string what("'");
        throw std::runtime_error(what.append(bankPath).append("' holds no bank"));
    }
    fx.setChunk(bank.data(), size, false);

    std::vector<lv2ttl::FactoryPreset> presets;
    for (int32_t p = 0; p < kNumPrograms; ++p) {
        fx.setProgram(p);
        const char* name = fx.programStore().program(p).name;
        if (name[0] == '\0' || std::strcmp(name, kUnnamedProgram) == 0) continue;
        lv2ttl::FactoryPreset preset;
        preset.program = p;
        preset.name = name;
        for (int32_t i = 0; i < kNumParams; ++i) preset.values.push_back(fx.getRealValue(i));
        presets.push_back(std::move(preset));
    }
    fx.setProgram(0);
    if (presets.empty()) {
        std::string what("'");
        throw std::runtime_error(what.append(bankPath).append("' has no named program"));
    }
    return presets;
}

lv2ttl::Product productOf(Plug& fx) {
    char text[kEffectNameSize] = {};
    lv2ttl::Product product;
    fx.getEffectName(text);
    product.name = text;
    fx.getVendorString(text);
    product.vendor = text;
    product.version = fx.getVendorVersion();
    return product;
}

// Written beside its final name and renamed into place, so a reader never
// sees half a file.
void writeFile(const fs::path& path, const std::string& text) {
    fs::path temporary = path;
    temporary += ".part";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        out.close();
        if (!out) {
            std::error_code ignored;
            fs::remove(temporary, ignored);
            std::string what("cannot write '");
            throw std::runtime_error(what.append(path.string()).append("'"));
        }
    }
    std::error_code error;
    fs::rename(temporary, path, error);
    if (error) {
        std::string what("cannot write '");
        throw std::runtime_error(what.append(path.string()).append("': ").append(error.message()));
    }
}

int run(const std::string& bankPath, const fs::path& bundle) {
    lv2ttl::Product product;
    std::vector<lv2ttl::FactoryPreset> presets;
    {
        EmptyHome home;
        auto fx = std::make_unique<Plug>(&offlineHost);
        // Only this code drives the instance.
        SharedTimer::instance().leave(fx.get());
        fx->setNumInputs(2);
        fx->setNumOutputs(2);
        fx->setChannelLayout(standardChannelLayout(2));
        product = productOf(*fx);
        presets = factoryPresets(*fx, bankPath);
    }

    lv2ttl::Notes notes;
    std::error_code error;
    fs::create_directories(bundle, error);
    if (error) {
        std::string what("cannot make the folder '");
        throw std::runtime_error(what.append(bundle.string()).append("': ").append(error.message()));
    }
    writeFile(bundle / lv2ttl::kPluginsFile, lv2ttl::pluginsTurtle(product, notes));
    std::vector<std::string> written{lv2ttl::kManifestFile, lv2ttl::kPluginsFile};
    for (int32_t channels = 1; channels <= lv2ports::kLayoutCount; ++channels) {
        written.push_back(lv2ttl::presetsFileName(channels));
        writeFile(bundle / written.back(), lv2ttl::presetsTurtle(channels, presets, notes));
    }
    // Last: a host finds nothing until everything the manifest names is there.
    writeFile(bundle / lv2ttl::kManifestFile, lv2ttl::manifestTurtle(presets));

    // Presets left by an earlier build with other layouts would be loaded
    // by nobody but would confuse anyone reading the bundle.
    for (const fs::directory_entry& entry : fs::directory_iterator(bundle, error)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("presets-") && entry.path().extension() == ".ttl" &&
            std::find(written.begin(), written.end(), name) == written.end())
            fs::remove(entry.path(), error);
    }
    for (const std::string& note : notes) std::fprintf(stderr, "fenwoldrine-lv2-ttl: note: %s\n", note.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (argc != 3 || argv[1][0] == '\0' || argv[2][0] == '\0') {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        return run(argv[1], argv[2]);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fenwoldrine-lv2-ttl: %s\n", e.what());
        return 1;
    }
}
