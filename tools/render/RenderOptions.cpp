#include "tools/render/RenderOptions.h"

#include <charconv>
#include <cmath>
#include <string>

#include "tools/render/EditorSnapshot.h"
#include "tools/render/RenderError.h"

namespace {

constexpr const char* kUsage =
    "usage: fenwoldrine-render [options] INPUT OUTPUT\n"
    "       fenwoldrine-render --list-params [--set NAME=VALUE ...]\n"
    "       fenwoldrine-render --response FILE [--rate HZ] [--points N]\n"
    "                          [--channel C] [--channels N] [--set NAME=VALUE ...]\n"
    "       fenwoldrine-render --save-state FILE [--state FILE] [--set NAME=VALUE ...]\n"
    "       fenwoldrine-render --list-presets\n"
    "       fenwoldrine-render --snapshot FILE.png [--snapshot-size WxH] [--ui C/K=V ...]\n"
    "                          [--state FILE] [--set ...]\n"
    "\n"
    "Renders INPUT through the Fenwoldrine equaliser offline and writes OUTPUT.\n"
    "Reads WAV, AIFF, FLAC, W64 and CAF with 1 to 8 channels (mono, stereo, LCR,\n"
    "LCRS, 5.0, 5.1, 7.0, 7.1 in the usual file order). OUTPUT has the input's\n"
    "length plus --tail, lined up with the input whatever latency the effect has.\n"
    "\n"
    "options:\n"
    "  --set NAME=VALUE  set a parameter by the name and value the effect shows\n"
    "                    (and \"Auto Gain=On\" for the current program's auto gain),\n"
    "                    e.g. \"Gain=-3 dB\", \"Band1 Frequency=2.5kHz\", \"Mode=FIR\";\n"
    "                    repeatable, applied in order. Numbers read as in the\n"
    "                    editor: \"2,5\" is 2.5, \"3k\" 3000, \"1k5\" 1500; a frequency\n"
    "                    may be a note: \"a4\" (440 Hz), \"c#5+20\" (cents after + or -)\n"
    "  --format FMT      output container: wav, aiff, flac, w64, caf\n"
    "                    (default: the input's)\n"
    "  --bits B          output samples: 16, 24, 32 or float (default: the input's)\n"
    "  --no-dither       plain rounding when the word length is reduced\n"
    "                    (default: TPDF dither, reproducible from render to render)\n"
    "  --tail SECONDS    append that much silence so filters can ring out\n"
    "  --block N         host block size, 1..8192 (default 512)\n"
    "  --rate HZ         sample rate for work without an input file (default 48000)\n"
    "  --response FILE   write the frequency response of the bands acting on one\n"
    "                    channel as CSV (hz,analogue_db,analogue_deg) instead of\n"
    "                    rendering; '-' writes to standard output. The grid runs\n"
    "                    logarithmically from 10 Hz to Nyquist, with the frequency\n"
    "                    of every active band added to it\n"
    "  --points N        grid points of --response, 2..1000000 (default 512)\n"
    "  --channel C       channel of --response, 1..8 (default 1)\n"
    "  --channels N      channels of the instance for --response, 1..8\n"
    "                    (default 2, or C when C is larger)\n"
    "  --state FILE      restore a saved state (a session chunk, as --save-state\n"
    "                    writes it) before the --set list is applied\n"
    "  --save-state FILE write the instance's full state after the --set list;\n"
    "                    with no audio files and no --response, only that\n"
    "  --bank FILE       load a bank (.fwb) as a host loads one: all 20 programs\n"
    "  --program N       make program N (1..20) current, after --bank\n"
    "  --preset FILE     load a preset (.fwi) into the current program, under the\n"
    "                    loading flags of the user's settings\n"
    "  --save-preset FILE  write the current program as a preset after the --set list\n"
    "  --midi FILE       feed a Standard MIDI File's notes and pitch bends to the\n"
    "                    effect in time with the input (MIDI input is switched on)\n"
    "  --meters          print each channel's output peak, meter readings and the\n"
    "                    clip flag at the end (CSV on standard output)\n"
    "  --spectrum FILE   write the analyser's display at the end as CSV hz,db,\n"
    "                    of channel C (--channel, default 1)\n"
    "  --spectrum-source pre|post  before or after the bank (default post)\n"
    "  --snapshot FILE.png  draw the editor as it stands at the end (after the\n"
    "                    render, or after the settings without audio files) into\n"
    "                    a PNG, at the stored UI size\n"
    "  --snapshot-size WxH  draw it at that size instead (300x200 to 4096x4096)\n"
    "  --ui CATEGORY/KEY=CHOICE  an editor setting for the picture, the choice\n"
    "                    by its word or number, e.g. Layout/BandStrips=Knobs;\n"
    "                    repeatable\n"
    "  --list-presets    list the preset menu: the programs, then the preset folder\n"
    "  --list-params     list every parameter: index, name, unit, minimum,\n"
    "                    maximum, default and choices, tab separated\n"
    "  --strict          refuse an input holding samples that are not finite\n"
    "                    (NaN or infinite): exit 2 before anything is written.\n"
    "                    Without it such samples are rendered as silence, with a\n"
    "                    warning giving their count and where the first one is.\n"
    "                    No sample that is not finite is ever written\n"
    "  --quiet           no progress bar and no notes (warnings still appear)\n"
    "  --help            show this text\n"
    "\n"
    "No file written may be a file read or another file written (links and\n"
    "other spellings of a path included): such a command is refused first.\n"
    "\n"
    "exit status: 0 done, 1 the output could not be written, 2 bad usage or input\n";

// An option that takes a value.
enum class Valued {
    kSet, kFormat, kBits, kTail, kBlock, kRate, kResponse, kPoints, kChannel, kChannels, kState, kSaveState,
    kBank, kProgram, kPreset, kSavePreset, kMidi, kSpectrum, kSpectrumSource, kSnapshot, kSnapshotSize, kUi
};

struct ValuedOption {
    const char* name;
    Valued which;
};

constexpr ValuedOption kValuedOptions[] = {
    {"--set", Valued::kSet},     {"--format", Valued::kFormat}, {"--bits", Valued::kBits},
    {"--tail", Valued::kTail},   {"--block", Valued::kBlock},   {"--rate", Valued::kRate},
    {"--response", Valued::kResponse}, {"--points", Valued::kPoints}, {"--channel", Valued::kChannel},
    {"--channels", Valued::kChannels}, {"--state", Valued::kState}, {"--save-state", Valued::kSaveState},
    {"--bank", Valued::kBank},         {"--program", Valued::kProgram}, {"--preset", Valued::kPreset},
    {"--save-preset", Valued::kSavePreset}, {"--midi", Valued::kMidi}, {"--spectrum", Valued::kSpectrum},
    {"--spectrum-source", Valued::kSpectrumSource}, {"--snapshot", Valued::kSnapshot},
    {"--snapshot-size", Valued::kSnapshotSize}, {"--ui", Valued::kUi},
};

std::optional<double> parseNumber(const std::string& text) {
    const char* first = text.data();
    const char* last = first + text.size();
    if (first != last && *first == '+') ++first;
    double x = 0.0;
    const auto [end, ec] = std::from_chars(first, last, x);
    if (ec != std::errc() || end != last || first == last || !std::isfinite(x)) return std::nullopt;
    return x;
}

// A whole number from lo to hi, or a usage error naming the option.
int32_t wholeNumber(const std::string& option, const std::string& value, int32_t lo, int32_t hi) {
    const std::optional<double> n = parseNumber(value);
    if (!n || *n != std::floor(*n) || *n < lo || *n > hi)
        throw usageError("bad " + option + " '" + value + "': give a whole number from " + std::to_string(lo) +
                         " to " + std::to_string(hi));
    return int32_t(*n);
}

void applyValued(RenderOptions& o, Valued which, const std::string& value) {
    switch (which) {
        case Valued::kSet:
            o.assignments.push_back(value);
            return;
        case Valued::kFormat:
            o.format = containerFromName(value);
            if (!o.format) throw usageError("bad --format '" + value + "': choose wav, aiff, flac, w64 or caf");
            return;
        case Valued::kBits:
            o.bits = wordLengthFromName(value);
            if (!o.bits) throw usageError("bad --bits '" + value + "': choose 16, 24, 32 or float");
            return;
        case Valued::kTail: {
            const std::optional<double> s = parseNumber(value);
            if (!s || *s < 0.0 || *s > RenderOptions::kMaxTailSeconds)
                throw usageError("bad --tail '" + value + "': give seconds from 0 to 3600");
            o.tailSeconds = *s;
            return;
        }
        case Valued::kBlock: o.block = wholeNumber("--block", value, 1, RenderOptions::kMaxBlock); return;
        case Valued::kResponse:
            if (value.empty()) throw usageError("--response needs a file name, or '-' for standard output");
            o.response = value;
            return;
        case Valued::kPoints:
            o.responsePoints = wholeNumber("--points", value, 2, RenderOptions::kMaxResponsePoints);
            return;
        case Valued::kChannel: o.responseChannel = wholeNumber("--channel", value, 1, 8); return;
        case Valued::kChannels: o.channels = wholeNumber("--channels", value, 1, 8); return;
        case Valued::kState:
            if (value.empty()) throw usageError("--state needs a file name");
            o.stateIn = value;
            return;
        case Valued::kSaveState:
            if (value.empty()) throw usageError("--save-state needs a file name");
            o.stateOut = value;
            return;
        case Valued::kBank:
            if (value.empty()) throw usageError("--bank needs a file name");
            o.bankIn = value;
            return;
        case Valued::kProgram: o.program = wholeNumber("--program", value, 1, 20); return;
        case Valued::kPreset:
            if (value.empty()) throw usageError("--preset needs a file name");
            o.presetIn = value;
            return;
        case Valued::kMidi:
            if (value.empty()) throw usageError("--midi needs a file name");
            o.midi = value;
            return;
        case Valued::kSpectrum:
            if (value.empty()) throw usageError("--spectrum needs a file name");
            o.spectrum = value;
            return;
        case Valued::kSpectrumSource:
            if (value != "pre" && value != "post") throw usageError("bad --spectrum-source '" + value + "': choose pre or post");
            o.spectrumPre = value == "pre";
            return;
        case Valued::kSnapshot:
            if (value.empty()) throw usageError("--snapshot needs a file name");
            o.snapshot = value;
            return;
        case Valued::kUi: {
            const std::string wrong = checkUiChoice(value);
            if (!wrong.empty()) throw usageError("bad --ui '" + value + "': " + wrong);
            o.snapshotUi.push_back(value);
            return;
        }
        case Valued::kSnapshotSize:
            if (!parseSnapshotSize(value, o.snapshotWidth, o.snapshotHeight))
                throw usageError("bad --snapshot-size '" + value + "': give WxH, such as 750x741");
            return;
        case Valued::kSavePreset:
            if (value.empty()) throw usageError("--save-preset needs a file name");
            o.presetOut = value;
            return;
        case Valued::kRate: {
            const std::optional<double> r = parseNumber(value);
            if (!r || *r < 1000.0 || *r > 768000.0)
                throw usageError("bad --rate '" + value + "': give hertz from 1000 to 768000");
            o.rate = *r;
            return;
        }
    }
}

}  // namespace

const char* usageText() {
    return kUsage;
}

RenderOptions parseCommandLine(const std::vector<std::string>& args) {
    RenderOptions o;
    std::vector<std::string> files;
    bool optionsEnded = false;

    for (size_t k = 0; k < args.size(); ++k) {
        const std::string& arg = args[k];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            files.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            o.help = true;
            return o;
        }
        if (arg == "--no-dither") { o.dither = false; continue; }
        if (arg == "--quiet" || arg == "-q") { o.quiet = true; continue; }
        if (arg == "--list-params") { o.listParams = true; continue; }
        if (arg == "--list-presets") { o.listPresets = true; continue; }
        if (arg == "--meters") { o.meters = true; continue; }
        if (arg == "--strict") { o.strict = true; continue; }

        const size_t eq = arg.find('=');
        const std::string name = arg.substr(0, eq);
        const ValuedOption* option = nullptr;
        for (const ValuedOption& v : kValuedOptions)
            if (name == v.name) option = &v;
        if (!option) throw usageError("unknown option '" + name + "' (see --help)");

        std::string value;
        if (eq != std::string::npos) {
            value = arg.substr(eq + 1);
        } else {
            if (k + 1 >= args.size()) throw usageError(name + " needs a value (see --help)");
            value = args[++k];
        }
        applyValued(o, option->which, value);
    }

    if (o.listParams) {
        if (!files.empty()) throw usageError("--list-params takes no files, got '" + files.front() + "'");
        return o;
    }
    if (!o.response.empty()) {
        if (!files.empty()) throw usageError("--response takes no audio files, got '" + files.front() + "'");
        if (o.channels && o.responseChannel > *o.channels)
            throw usageError("--channel " + std::to_string(o.responseChannel) + " is beyond --channels " +
                             std::to_string(*o.channels));
        return o;
    }
    if (o.listPresets) {
        if (!files.empty()) throw usageError("--list-presets takes no files, got '" + files.front() + "'");
        return o;
    }
    if (o.snapshotWidth && o.snapshot.empty()) throw usageError("--snapshot-size needs --snapshot FILE.png");
    if (!o.snapshotUi.empty() && o.snapshot.empty()) throw usageError("--ui needs --snapshot FILE.png");
    // Only a state, a preset or a snapshot is written.
    if ((!o.stateOut.empty() || !o.presetOut.empty() || !o.snapshot.empty()) && files.empty()) return o;
    if (files.empty()) throw usageError("missing INPUT and OUTPUT (see --help)");
    if (files.size() == 1) throw usageError("missing OUTPUT after '" + files.front() + "' (see --help)");
    if (files.size() > 2) throw usageError("unexpected argument '" + files[2] + "' (see --help)");
    o.input = files[0];
    o.output = files[1];
    if (o.rate) throw usageError("--rate does not apply here: the sample rate comes from the input file");
    if (o.channels) throw usageError("--channels does not apply here: the channels come from the input file");
    return o;
}
