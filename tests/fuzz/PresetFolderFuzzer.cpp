// Feeds arbitrary bytes to the preset menu: the input becomes a preset file
// and a bank file in the preset folder, the editor scans the folder, and
// every preset and bank program the menu then offers is loaded. Nothing may
// crash, hang or leak, and the scan must leave the files as they were. Every
// input starts from the same state, so a finding replays on its own.

#include <cjson/cJSON.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "core/ChannelLayout.h"
#include "core/Plug.h"
#include "session/PlugEd.h"
#include "state/PresetFiles.h"
#include "state/PresetScan.h"

namespace {

// A bank with thousands of programs would make every input slow; the first
// few of each list show whether loading works.
constexpr int32_t kMostLoadedPerList = 8;

const char* const kFileNames[] = {"input.fwi", "input.fwb"};

std::string documentOf(Plug& fx) {
    fx.markChunkStale();
    void* data = nullptr;
    const int32_t size = fx.getChunk(&data, false);
    return std::string(static_cast<const char*>(data), size_t(size));
}

std::vector<uint8_t> fileBytes(const std::string& path) {
    std::vector<uint8_t> bytes;
    if (!readWholeFile(path, bytes, size_t(1) << 24)) std::abort();
    return bytes;
}

struct Fixture {
    std::unique_ptr<Plug> fx;
    PlugEd* ed = nullptr;
    std::string folder;
    std::vector<uint8_t> baseline;

    Fixture() {
        folder = presetFolderPath();
        std::filesystem::create_directories(folder);
        fx = PlugEd::createEffect(nullptr);
        fx->setNumInputs(2);
        fx->setNumOutputs(2);
        fx->setChannelLayout(standardChannelLayout(2));
        fx->setSampleRate(48000.0f);
        fx->resume();
        fx->setCompressionLevel(0);
        ed = PlugEd::of(*fx);
        ed->setLoadingFlags(kLoadEQ | kLoadDSP | kLoadUI);  // a preset may reach every part
        const std::string text = documentOf(*fx);
        baseline.assign(text.begin(), text.end());
    }

    // Loads the first items of `tree` as the menu would, and the programs of
    // the banks among them.
    void loadItems(const cJSON* tree, bool root) {
        const int32_t count = std::min(cJSON_GetArraySize(tree), root ? INT32_MAX : kMostLoadedPerList);
        for (int32_t i = 0; i < count; ++i) {
            const cJSON* item = cJSON_GetArrayItem(tree, i);
            if (root && cJSON_IsNumber(item)) continue;  // the programs, which are no files
            if (cJSON_IsArray(item)) {
                loadItems(item, false);
            } else {
                ed->applyMenuPreset(tree, i);
                ed->presetNext();
                ed->presetPrev();
            }
        }
    }

    void restore() {
        std::vector<uint8_t> bytes = baseline;
        fx->setChunk(bytes.data(), int32_t(bytes.size()), false);
    }
};

int fuzzOne(Fixture& f, const uint8_t* data, size_t size) {
    for (const char* name : kFileNames) fuzzsupport::writeFile(f.folder + name, data, size);

    f.ed->rebuildPresetMenu();
    (void)menuText(f.ed->getPresetMenu());
    for (const char* name : kFileNames) {
        if (fileBytes(f.folder + name) != std::vector<uint8_t>(data, data + size)) {
            std::fprintf(stderr, "the scan changed %s\n", name);
            std::abort();
        }
    }
    f.loadItems(f.ed->getPresetRoot(), true);
    f.restore();
    return 0;
}

}  // namespace

FW_FUZZ_TARGET(Fixture, fuzzOne)
