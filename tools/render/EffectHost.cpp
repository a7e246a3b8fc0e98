#include "tools/render/EffectHost.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <vector>

#include "core/InstanceRegistry.h"
#include "core/Plug.h"
#include "dsp/DF1Cascade.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/ParamAssignment.h"
#include "session/AnalyserEngine.h"
#include "session/PlugEd.h"
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
    : fx(PlugEd::createEffect(&EffectHost::callback)) {
    fx->setNumInputs(channels);
    fx->setNumOutputs(channels);
    fx->setChannelLayout(slots);
    fx->setSampleRate(float(sampleRate));
    fx->setBlockSize(blockSize);
}

EffectHost::~EffectHost() = default;

namespace {

// "Auto Gain=On|Off": the current program's auto gain switch, which is not a
// parameter row. True when the assignment was this one.
bool applyAutoGainSwitch(Plug& fx, const std::string& assignment) {
    const size_t eq = assignment.find('=');
    if (eq == std::string::npos) return false;
    std::string name = assignment.substr(0, eq), value = assignment.substr(eq + 1);
    for (std::string* text : {&name, &value})
        for (char& ch : *text) ch = char(std::tolower(static_cast<unsigned char>(ch)));
    if (name != "auto gain" && name != "autogain") return false;
    if (value != "on" && value != "off" && value != "1" && value != "0")
        throw usageError("'" + assignment.substr(eq + 1) + "' is not a value of Auto Gain; choose On or Off");
    fx.setAutoGain(fx.getProgram(), value == "on" || value == "1" ? 1 : 0);
    return true;
}

}  // namespace

void EffectHost::applyAssignments(const std::vector<std::string>& assignments, Diagnostics& diagnostics) {
    ParamAssignment parser(*fx);
    for (const std::string& a : assignments) {
        if (applyAutoGainSwitch(*fx, a)) continue;
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
    int32_t done = 0;
    while (done < frames) {
        // Messages due now go first, one list per frame, as a host sends them.
        VstEvents list;
        while (nextMessage < midi.size() && midi[nextMessage].frame <= position) {
            VstMidiEvent event;
            for (int32_t b = 0; b < 3; ++b) event.midiData[b] = char(midi[nextMessage].bytes[b]);
            list.numEvents = 1;
            list.events[0] = reinterpret_cast<VstEvent*>(&event);
            fx->processEvents(&list);
            ++nextMessage;
        }
        int64_t span = frames - done;
        if (nextMessage < midi.size()) span = std::min<int64_t>(span, midi[nextMessage].frame - position);
        if (analyser) span = std::min<int64_t>(span, framesToLook);
        processSpan(in, out, done, int32_t(span));
        done += int32_t(span);
        position += span;
        if (analyser && (framesToLook -= int32_t(span)) == 0) {
            analyser->update();
            framesToLook = framesPerLook;
        }
    }
}

void EffectHost::processSpan(double** in, double** out, int32_t offset, int32_t frames) {
    const int32_t channels = fx->getChannelCount();
    double* inAt[Plug::kMaxChannels];
    double* outAt[Plug::kMaxChannels];
    for (int32_t c = 0; c < channels; ++c) {
        inAt[c] = in[c] + offset;
        outAt[c] = out[c] + offset;
    }
    fx->processDoubleReplacing(inAt, outAt, frames);
    if (peaks.size() != size_t(channels)) peaks.assign(size_t(channels), 0.0);
    for (int32_t c = 0; c < channels; ++c)
        for (int32_t s = 0; s < frames; ++s) peaks[size_t(c)] = std::max(peaks[size_t(c)], std::fabs(outAt[c][s]));
}

void EffectHost::setMidi(std::vector<MidiMessage> messages) {
    midi = std::move(messages);
    nextMessage = 0;
    // A file of notes is fed on purpose: the instance listens to MIDI.
    fx->uiSettings().setValue("Misc", "MIDI Input", 1);
    fx->reloadUISettings();
}

void EffectHost::watchSpectrum(int32_t channelCode) {
    // Frames of the editor's "Refresh Rate": 10, 20, 30, 50, 60 or 120 a second.
    constexpr int32_t kRefreshRates[6] = {10, 20, 30, 50, 60, 120};
    constexpr int32_t kReportColumns = 256;
    constexpr double kLowestHz = 20.0;
    const UISettingsTree& ui = fx->uiSettings();
    const int32_t refresh = kRefreshRates[std::clamp(ui.value("Misc", "Refresh Rate"), 0, 5)];
    analyser = std::make_unique<AnalyserEngine>();
    analyser->applySettings(ui);
    analyser->setNyquist(fx->getSampleRate() / 2.0f);
    analyser->setColumns(kReportColumns, kLowestHz, fx->getSampleRate() / 2.0);
    analyser->setPrimary(InstanceRegistry::instance().handleOf(fx.get()), channelCode);
    framesPerLook = std::max(1, int32_t(fx->getSampleRate() / float(refresh)));
    framesToLook = framesPerLook;
}

void EffectHost::writeSpectrum(const std::string& path, std::FILE* standardOutput) {
    if (!analyser) return;
    std::string text = "hz,db\n";
    const std::vector<double>& level = analyser->primaryLevels();
    char line[64];
    for (int32_t c = 0; c < int32_t(level.size()); ++c) {
        const double centre = std::sqrt(analyser->columnLow(c) * analyser->columnHigh(c));
        std::snprintf(line, sizeof line, "%.2f,%.2f\n", centre, analyser->levelToDb(level[size_t(c)]));
        text.append(line);
    }
    if (path == "-") {
        std::fputs(text.c_str(), standardOutput);
        std::fflush(standardOutput);
        return;
    }
    if (!writeWholeFile(path, text.data(), text.size())) throw writeError("cannot write spectrum '" + path + "'");
}

std::string EffectHost::meterReport() {
    auto db = [](double x) {
        char text[32];
        if (x <= 0.0)
            std::snprintf(text, sizeof text, "-inf");
        else
            std::snprintf(text, sizeof text, "%.2f", 20.0 * std::log10(x));
        return std::string(text);
    };
    std::string report = "channel,label,peak_dbfs,meter_dbfs,coded_meter_dbfs\n";
    for (int32_t c = 0; c < fx->getChannelCount(); ++c) {
        const std::vector<ChannelSlot>& slots = fx->getChannelSlots();
        const char* label = c < int32_t(slots.size()) && slots[size_t(c)].label ? slots[size_t(c)].label : "";
        report.append(std::to_string(c + 1)).append(",").append(label).append(",");
        report.append(db(c < int32_t(peaks.size()) ? peaks[size_t(c)] : 0.0)).append(",");
        report.append(db(fx->getLevelMeter(c))).append(",").append(db(fx->getCodedLevelMeter(c))).append("\n");
    }
    report.append("clip,").append(fx->getClip() ? "yes" : "no").append("\n");
    return report;
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
        PlugEd::of(*fx)->loadBank(path);
    }
    if (program) fx->setProgram(*program - 1);
}

void EffectHost::loadPreset(const std::string& path) {
    readDocumentFile(path, "preset");
    PlugEd::of(*fx)->loadPreset(path);
}

void EffectHost::savePreset(const std::string& path) {
    if (PlugEd::of(*fx)->savePreset(path)) return;
    // The effect has told the user why, as an alert: that is the message.
    std::string why;
    for (const Alerts::Alert& alert : Alerts::instance().takeAll()) why.append(" ").append(oneLine(alert.text));
    throw writeError(std::string("cannot write preset '").append(path).append("':").append(why));
}

std::string EffectHost::presetListing() {
    PlugEd& editor = *PlugEd::of(*fx);
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
