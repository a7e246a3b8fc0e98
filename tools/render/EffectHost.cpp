#include "tools/render/EffectHost.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "core/Plug.h"
#include "dsp/DF1Cascade.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/ParamAssignment.h"
#include "gui/PlugEd.h"
#include "state/Alerts.h"
#include "state/PresetFiles.h"
#include "tools/render/RenderError.h"
#include "tools/render/RenderOptions.h"

namespace {
// Saved states are kilobytes; a file past this is something else.
constexpr size_t kMaxStateBytes = kMaxPresetFileBytes;
}  // namespace

intptr_t EffectHost::callback(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

EffectHost::EffectHost(int32_t channels, const std::vector<ChannelSlot>& slots, double sampleRate,
                       int32_t blockSize)
    : fx(std::make_unique<Plug>(&EffectHost::callback)) {
    fx->setNumInputs(channels);
    fx->setNumOutputs(channels);
    fx->setChannelLayout(slots);
    fx->setSampleRate(float(sampleRate));
    fx->setBlockSize(blockSize);
}

EffectHost::~EffectHost() = default;

void EffectHost::applyAssignments(const std::vector<std::string>& assignments, Diagnostics& diagnostics) {
    ParamAssignment parser(*fx);
    for (const std::string& a : assignments) {
        const std::string warning = parser.apply(a);
        if (!warning.empty()) diagnostics.warning(warning);
    }
}

static_assert(EffectHost::kSettleFrames > DF1Cascade::kRampSamples);

int32_t EffectHost::start() {
    fx->resume();
    // Settings made before the first block reach the band filters as
    // coefficient ramps. Silence run through first lets those ramps end, so
    // the file starts with the finished equaliser and no fade into it; the
    // filters stay at rest, since silence leaves nothing in them.
    const int32_t channels = fx->getChannelCount();
    std::vector<double> silence(size_t(kSettleFrames), 0.0), discard(size_t(kSettleFrames), 0.0);
    std::vector<double*> in(size_t(channels), silence.data()), out(size_t(channels), discard.data());
    fx->processDoubleReplacing(in.data(), out.data(), kSettleFrames);
    return fx->getAeffect()->initialDelay;
}

void EffectHost::process(double** in, double** out, int32_t frames) {
    fx->processDoubleReplacing(in, out, frames);
}

namespace {

// The bytes of a file that must hold a state document of this effect.
std::vector<uint8_t> readDocumentFile(const std::string& path, const char* what) {
    std::vector<uint8_t> bytes;
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw usageError(std::string("cannot read ") + what + " '" + path + "': no such file");
    if (!readWholeFile(path, bytes, kMaxStateBytes))
        throw usageError(std::string("cannot read ") + what + " '" + path + "': not a readable file of at most " +
                         std::to_string(kMaxStateBytes >> 20) + " MiB");
    if (!PlugBaseJSON::holdsStateDocument(bytes.data(), int32_t(bytes.size())))
        throw usageError("'" + path + "' is not a saved " + what +
                         ": it is damaged, or not a file of this effect");
    return bytes;
}

// An alert's lines joined into one, for an error stream.
std::string oneLine(std::string text) {
    for (char& c : text)
        if (c == '\n') c = ' ';
    return text;
}

}  // namespace

void EffectHost::restoreState(const std::string& path) {
    std::vector<uint8_t> bytes = readDocumentFile(path, "state");
    fx->setChunk(bytes.data(), int32_t(bytes.size()), false);
}

void EffectHost::loadBank(const std::string& path, std::optional<int32_t> program) {
    if (!path.empty()) {
        readDocumentFile(path, "bank");
        fx->getEditorObject()->loadBank(path);
    }
    if (program) fx->setProgram(*program - 1);
}

void EffectHost::loadPreset(const std::string& path) {
    readDocumentFile(path, "preset");
    fx->getEditorObject()->loadPreset(path);
}

void EffectHost::savePreset(const std::string& path) {
    if (fx->getEditorObject()->savePreset(path)) return;
    // The effect has told the user why, as an alert: that is the message.
    std::string why;
    for (const Alerts::Alert& alert : Alerts::instance().takeAll()) why.append(" ").append(oneLine(alert.text));
    throw writeError(std::string("cannot write preset '").append(path).append("':").append(why));
}

std::string EffectHost::presetListing() {
    PlugEd& editor = *fx->getEditorObject();
    editor.rebuildPresetMenu();
    return menuText(editor.getPresetMenu());
}

void EffectHost::reportAlerts(Diagnostics& diagnostics) {
    for (const Alerts::Alert& alert : Alerts::instance().takeAll())
        diagnostics.warning(alert.title + ": " + oneLine(alert.text));
}

void EffectHost::prepare(const RenderOptions& options, Diagnostics& diagnostics) {
    if (!options.stateIn.empty()) restoreState(options.stateIn);
    if (!options.bankIn.empty() || options.program) loadBank(options.bankIn, options.program);
    if (!options.presetIn.empty()) loadPreset(options.presetIn);
    applyAssignments(options.assignments, diagnostics);
    reportAlerts(diagnostics);
}

void EffectHost::saveRequested(const RenderOptions& options) {
    if (!options.stateOut.empty()) saveState(options.stateOut);
    if (!options.presetOut.empty()) savePreset(options.presetOut);
}

void EffectHost::saveState(const std::string& path) {
    void* data = nullptr;
    const int32_t size = fx->getChunk(&data, false);
    const std::string temporary = path + ".part";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) throw writeError("cannot write state '" + path + "': " + std::strerror(errno));
    const bool written = size > 0 && std::fwrite(data, 1, size_t(size), file) == size_t(size);
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        throw writeError("cannot write state '" + path + "'");
    }
}
