#pragma once
// The renderer's host for one effect instance: it tells the effect it runs
// offline, sets up channels, layout, rate and block size the way a host
// does, applies the --set assignments and starts processing.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ChannelLayout.h"
#include "tools/render/MidiFile.h"

class AnalyserEngine;
class Plug;
class Diagnostics;
struct AEffect;
struct RenderOptions;

class EffectHost {
public:
    // channels 1..8, slots from fileChannelLayout(channels).
    EffectHost(int32_t channels, const std::vector<ChannelSlot>& slots, double sampleRate, int32_t blockSize);
    ~EffectHost();

    EffectHost(const EffectHost&) = delete;
    EffectHost& operator=(const EffectHost&) = delete;

    // Applies "NAME=VALUE" assignments in order; clamping warnings go to
    // diagnostics. Throws a usage error on the first bad one.
    void applyAssignments(const std::vector<std::string>& assignments, Diagnostics& diagnostics);

    // What a host does before audio, in this order: a saved state, a bank
    // and its program, a preset, then the --set list.
    void prepare(const RenderOptions& options, Diagnostics& diagnostics);
    // Writes the state and the preset the options ask for.
    void saveRequested(const RenderOptions& options);

    // Loads a bank (all programs) and, if given, makes program 1..20 current.
    void loadBank(const std::string& path, std::optional<int32_t> program);
    // Loads a preset into the current program under the user's loading flags.
    void loadPreset(const std::string& path);
    // Writes the current program as a preset file.
    void savePreset(const std::string& path);
    // The preset menu as an indented outline.
    std::string presetListing();
    // Messages the effect queued for the user (file access), one per line.
    void reportAlerts(Diagnostics& diagnostics);

    // Restores a state saved by saveState (or by a host session) from a
    // file, as a host restores a session. A file that cannot be read or does
    // not hold a state document is a usage error, and the effect is untouched.
    void restoreState(const std::string& path);
    // Writes the full state chunk to a file (replacing it only once the new
    // one is complete); a failure is a write error.
    void saveState(const std::string& path);

    // Resumes the effect after the assignments, lets the coefficient ramps
    // of those settings finish on silence, and returns the latency in samples.
    int32_t start();

    // One block of non-interleaved channels in file order; in and out are
    // separate buffers. MIDI messages due within the block reach the effect
    // at their frame (the block is split there), the analyser takes its
    // frames, and the output peaks are kept.
    void process(double** in, double** out, int32_t frames);

    // MIDI messages by input frame (frame 0 is the first frame processed after start).
    void setMidi(std::vector<MidiMessage> messages);
    // Runs the analyser on a channel code (below the channel count after the
    // bank, from there up before it) at the editor's refresh rate.
    void watchSpectrum(int32_t channelCode);
    // The analyser's display at the end as "hz,db" lines (column centres).
    void writeSpectrum(const std::string& path, std::FILE* standardOutput);
    // Each channel's output peak and meter readings, and the clip flag.
    std::string meterReport();

    Plug& effect() { return *fx; }

    // The host callback: offline process level, nothing else.
    static intptr_t callback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                             float opt);

    // Silence run after resume; longer than a coefficient ramp.
    static constexpr int32_t kSettleFrames = 1024;

private:
    void processSpan(double** in, double** out, int32_t offset, int32_t frames);

    std::unique_ptr<Plug> fx;
    std::vector<MidiMessage> midi;
    size_t nextMessage = 0;
    int64_t position = 0;  // frames processed since start
    std::unique_ptr<AnalyserEngine> analyser;
    int32_t framesPerLook = 0;
    int32_t framesToLook = 0;
    std::vector<double> peaks;
};
