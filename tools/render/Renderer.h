#pragma once
// The offline render: input file -> effect -> output file, block by block.
//
// The effect's latency is taken out: the first `latency` output samples are
// dropped and as many samples of silence are fed after the input (and after
// --tail's silence), so output sample 0 lines up with input sample 0 and the
// output is exactly as long as the input plus the tail.

#include <cstdint>
#include <string>

#include "tools/render/SoundFormat.h"

struct RenderOptions;
class Diagnostics;

struct RenderSummary {
    int32_t channels = 0;
    int32_t sampleRate = 0;
    int64_t inputFrames = 0;
    int64_t outputFrames = 0;
    int32_t latency = 0;
    OutputPlan plan = {};
    int64_t clipped = 0;     // integer samples clamped to the word's limits
    int64_t notFiniteInput = 0;   // input samples that were NaN or infinite, rendered as silence
    int64_t notFiniteOutput = 0;  // samples the effect made NaN or infinite, written as 0
    std::string meters;      // with --meters: the report printed at the end
};

class Renderer {
public:
    Renderer(const RenderOptions& options, Diagnostics& diagnostics);

    // Renders options.input to options.output. Throws a usage error for bad
    // input or settings (before any output exists) and a write error when the
    // output cannot be written; in both cases no output file is left.
    //
    // No sample that is not finite is written. Such input samples (NaN or
    // infinite, only a floating-point file holds them) are rendered as
    // silence with a warning giving their count and the first one's place;
    // under --strict the input is read through first and refused before
    // anything is written. Should the effect ever produce one, it is written
    // as 0, with a warning.
    RenderSummary run();

private:
    const RenderOptions& options;
    Diagnostics& diagnostics;
};
