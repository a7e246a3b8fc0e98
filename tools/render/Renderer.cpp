#include "tools/render/Renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/AudioFileIO.h"
#include "tools/render/EditorSnapshot.h"
#include "tools/render/ChannelOrder.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/Dither.h"
#include "tools/render/EffectHost.h"
#include "tools/render/Progress.h"
#include "tools/render/RenderError.h"
#include "tools/render/RenderOptions.h"

namespace {

constexpr int64_t kLongestKnownFile = int64_t(1) << 48;

// Non-interleaved buffers for one block, with the pointer table the effect takes.
class ChannelBuffers {
public:
    ChannelBuffers(int32_t channels, int32_t frames)
        : storage(size_t(channels) * size_t(frames), 0.0), pointers(size_t(channels)) {
        for (int32_t c = 0; c < channels; ++c) pointers[size_t(c)] = storage.data() + size_t(c) * size_t(frames);
    }
    double** table() { return pointers.data(); }
    double* channel(int32_t c) { return pointers[size_t(c)]; }

private:
    std::vector<double> storage;
    std::vector<double*> pointers;
};

// Samples that were not finite numbers (NaN or infinite): how many, and where the first was.
struct NonFinite {
    int64_t count = 0;
    int64_t firstFrame = 0;
    int32_t firstChannel = 0;

    // Replaces a sample that is not finite with 0 and counts it.
    void clean(double& x, int64_t frame, int32_t channel) {
        if (std::isfinite(x)) return;
        if (count++ == 0) {
            firstFrame = frame;
            firstChannel = channel;
        }
        x = 0.0;
    }

    // "3 input samples were not finite (first at 1.234 s, channel 2)"
    std::string describe(const char* which, int32_t rate) const {
        char text[160];
        std::snprintf(text, sizeof text, "%lld %s sample%s %s not finite (first at %.3f s, channel %d)",
                      static_cast<long long>(count), which, count == 1 ? "" : "s", count == 1 ? "was" : "were",
                      double(firstFrame) / double(std::max(rate, 1)), firstChannel + 1);
        return text;
    }
};

// Reads the whole input once to find samples that are not finite; only a
// floating-point file can hold them.
NonFinite scanInput(const std::string& path, int32_t format) {
    NonFinite found;
    const int32_t subtype = format & SF_FORMAT_SUBMASK;
    if (subtype != SF_FORMAT_FLOAT && subtype != SF_FORMAT_DOUBLE) return found;
    SoundFileReader reader(path);
    const int32_t channels = reader.channels();
    constexpr int64_t kFrames = 4096;
    std::vector<double> block(size_t(kFrames) * size_t(channels));
    int64_t frame = 0;
    for (int64_t m; (m = reader.read(block.data(), kFrames)) > 0; frame += m)
        for (int64_t k = 0; k < m * channels; ++k)
            found.clean(block[size_t(k)], frame + k / channels, int32_t(k % channels));
    return found;
}

std::string describeSummary(const RenderSummary& s, const std::string& output) {
    char text[512];
    std::snprintf(text, sizeof text, "wrote '%s': %s, %d channel%s at %d Hz, %lld frames (%.2f s)%s%s",
                  output.c_str(), describeFormat(s.plan.format).c_str(), s.channels, s.channels == 1 ? "" : "s",
                  s.sampleRate, static_cast<long long>(s.outputFrames),
                  double(s.outputFrames) / double(std::max(s.sampleRate, 1)),
                  s.latency > 0 ? ("; latency of " + std::to_string(s.latency) + " samples compensated").c_str()
                                : "",
                  s.plan.dither ? "; TPDF dither" : "");
    return text;
}

}  // namespace

Renderer::Renderer(const RenderOptions& o, Diagnostics& d) : options(o), diagnostics(d) {}

RenderSummary Renderer::run() {
    SoundFileReader reader(options.input);
    checkOutputPath(options.input, options.output);
    if (options.strict) {
        const NonFinite found = scanInput(options.input, reader.format());
        if (found.count > 0)
            throw usageError("'" + options.input + "': " + found.describe("input", reader.sampleRate()) +
                             "; --strict refuses such input, nothing was written");
    }

    RenderSummary summary;
    summary.channels = reader.channels();
    summary.sampleRate = reader.sampleRate();
    const int32_t channels = summary.channels;
    summary.plan = planOutput(reader.format(), options.format, options.bits, options.dither, channels,
                              summary.sampleRate);

    EffectHost host(channels, fileChannelLayout(channels), double(summary.sampleRate), options.block);
    host.prepare(options, diagnostics);
    if (!options.midi.empty()) {
        try {
            host.setMidi(readMidiFile(options.midi, double(summary.sampleRate)));
        } catch (const MidiFileError& e) {
            throw usageError(e.what());
        }
    }
    if (!options.spectrum.empty() && options.responseChannel > channels)
        throw usageError("--channel " + std::to_string(options.responseChannel) + " is beyond the " +
                         std::to_string(channels) + " channels of '" + options.input + "'");
    if (!options.spectrum.empty())
        host.watchSpectrum(options.spectrumPre ? options.responseChannel - 1 + channels : options.responseChannel - 1);
    summary.latency = host.start();
    host.saveRequested(options);

    const int64_t tailFrames = std::llround(options.tailSeconds * summary.sampleRate);
    SoundFileWriter writer(options.output, summary.plan.format, channels, summary.sampleRate);

    const bool integer = summary.plan.kind == SampleKind::kInteger;
    std::optional<Quantiser> quantiser;
    if (integer) quantiser.emplace(summary.plan.bits, summary.plan.dither);

    const int32_t block = options.block;
    const size_t samples = size_t(block) * size_t(channels);
    std::vector<double> interleaved(samples);
    std::vector<int32_t> words(integer ? samples : 0);
    ChannelBuffers in(channels, block), out(channels, block);

    // A stream of unknown length reports a huge frame count; it gets no bar.
    const int64_t knownFrames = reader.frames() > 0 && reader.frames() < kLongestKnownFile ? reader.frames() : 0;
    const int64_t totalFed = knownFrames + tailFrames + summary.latency;
    ProgressBar bar(diagnostics.stream(), totalFed,
                    ProgressBar::wanted(diagnostics.stream(), diagnostics.quiet(), knownFrames, summary.sampleRate));

    int64_t silenceLeft = tailFrames + summary.latency;  // fed after the file
    int64_t skipLeft = summary.latency;                  // dropped from the front of the output
    int64_t fed = 0;
    bool fileDone = false;
    NonFinite badInput, badOutput;
    for (;;) {
        int32_t m = 0;
        if (!fileDone) {
            m = int32_t(reader.read(interleaved.data(), block));
            if (m < block) fileDone = true;
            // Samples that are not numbers would ruin the filters' memory for
            // good; they go in as silence.
            for (int32_t c = 0; c < channels; ++c) {
                double* x = in.channel(c);
                for (int32_t s = 0; s < m; ++s) {
                    x[s] = interleaved[size_t(s) * size_t(channels) + size_t(c)];
                    badInput.clean(x[s], summary.inputFrames + s, c);
                }
            }
            summary.inputFrames += m;
        }
        if (fileDone && m < block && silenceLeft > 0) {
            const int32_t z = int32_t(std::min<int64_t>(block - m, silenceLeft));
            for (int32_t c = 0; c < channels; ++c) std::fill_n(in.channel(c) + m, z, 0.0);
            m += z;
            silenceLeft -= z;
        }
        if (m == 0) break;

        host.process(in.table(), out.table(), m);
        fed += m;
        bar.update(fed);

        const int32_t first = int32_t(std::min<int64_t>(skipLeft, m));
        skipLeft -= first;
        const int32_t n = m - first;
        if (n == 0) continue;
        // Nothing that is not a number reaches the file, whatever the effect did.
        for (int32_t c = 0; c < channels; ++c) {
            const double* y = out.channel(c) + first;
            for (int32_t s = 0; s < n; ++s) {
                double& sample = interleaved[size_t(s) * size_t(channels) + size_t(c)];
                sample = y[s];
                badOutput.clean(sample, summary.outputFrames + s, c);
            }
        }
        const size_t count = size_t(n) * size_t(channels);
        if (integer) {
            for (size_t k = 0; k < count; ++k) words[k] = quantiser->quantise(interleaved[k]);
            writer.writeInt(words.data(), n);
        } else {
            writer.writeDouble(interleaved.data(), n);
        }
        summary.outputFrames += n;
    }
    bar.finish();
    writer.commit();
    if (!options.spectrum.empty()) host.writeSpectrum(options.spectrum, stdout);
    if (options.meters) summary.meters = host.meterReport();
    if (!options.snapshot.empty())
        writeEditorSnapshot(host.effect(), options.snapshot, options.snapshotWidth, options.snapshotHeight,
                            options.snapshotUi);

    if (quantiser) summary.clipped = quantiser->clippedCount();
    summary.notFiniteInput = badInput.count;
    summary.notFiniteOutput = badOutput.count;
    if (summary.clipped > 0)
        diagnostics.warning(std::to_string(summary.clipped) + " samples clipped at the " +
                            std::to_string(summary.plan.bits) + "-bit limits; lower the Gain to avoid it");
    if (badInput.count > 0)
        diagnostics.warning(badInput.describe("input", summary.sampleRate) +
                            "; they were rendered as silence (--strict refuses such input)");
    if (badOutput.count > 0)
        diagnostics.warning(badOutput.describe("output", summary.sampleRate) + "; they were written as 0");
    diagnostics.note(describeSummary(summary, options.output));
    return summary;
}
