#include "tools/render/SoundFormat.h"

#include <sndfile.h>

#include <cctype>

#include "tools/render/RenderError.h"

namespace {

bool sameWord(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t k = 0; k < a.size(); ++k)
        if (std::tolower(uint8_t(a[k])) != std::tolower(uint8_t(b[k]))) return false;
    return true;
}

int32_t majorOf(Container c) {
    switch (c) {
        case Container::kWav: return SF_FORMAT_WAV;
        case Container::kAiff: return SF_FORMAT_AIFF;
        case Container::kFlac: return SF_FORMAT_FLAC;
        case Container::kW64: return SF_FORMAT_W64;
        case Container::kCaf: return SF_FORMAT_CAF;
    }
    return SF_FORMAT_WAV;
}

int32_t subformatOf(WordLength w) {
    switch (w) {
        case WordLength::kPcm16: return SF_FORMAT_PCM_16;
        case WordLength::kPcm24: return SF_FORMAT_PCM_24;
        case WordLength::kPcm32: return SF_FORMAT_PCM_32;
        case WordLength::kFloat: return SF_FORMAT_FLOAT;
    }
    return SF_FORMAT_PCM_24;
}

const char* codecName(int32_t sub) {
    switch (sub) {
        case SF_FORMAT_ULAW: return "u-law";
        case SF_FORMAT_ALAW: return "A-law";
        case SF_FORMAT_IMA_ADPCM: return "IMA ADPCM";
        case SF_FORMAT_MS_ADPCM: return "MS ADPCM";
        case SF_FORMAT_GSM610: return "GSM 6.10";
        default: return "encoded";
    }
}

// An 8-bit PCM file is unsigned in the RIFF family and signed elsewhere.
int32_t eightBitFor(int32_t major) {
    return (major == SF_FORMAT_WAV || major == SF_FORMAT_WAVEX || major == SF_FORMAT_W64) ? SF_FORMAT_PCM_U8
                                                                                          : SF_FORMAT_PCM_S8;
}

}  // namespace

std::optional<Container> containerFromName(std::string_view name) {
    if (sameWord(name, "wav")) return Container::kWav;
    if (sameWord(name, "aiff") || sameWord(name, "aif")) return Container::kAiff;
    if (sameWord(name, "flac")) return Container::kFlac;
    if (sameWord(name, "w64")) return Container::kW64;
    if (sameWord(name, "caf")) return Container::kCaf;
    return std::nullopt;
}

std::optional<WordLength> wordLengthFromName(std::string_view name) {
    if (name == "16") return WordLength::kPcm16;
    if (name == "24") return WordLength::kPcm24;
    if (name == "32") return WordLength::kPcm32;
    if (sameWord(name, "float")) return WordLength::kFloat;
    return std::nullopt;
}

const char* containerName(Container c) {
    switch (c) {
        case Container::kWav: return "WAV";
        case Container::kAiff: return "AIFF";
        case Container::kFlac: return "FLAC";
        case Container::kW64: return "W64";
        case Container::kCaf: return "CAF";
    }
    return "?";
}

std::optional<Container> containerOfFormat(int32_t sfFormat) {
    switch (sfFormat & SF_FORMAT_TYPEMASK) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_WAVEX: return Container::kWav;
        case SF_FORMAT_AIFF: return Container::kAiff;
        case SF_FORMAT_FLAC: return Container::kFlac;
        case SF_FORMAT_W64: return Container::kW64;
        case SF_FORMAT_CAF: return Container::kCaf;
        default: return std::nullopt;
    }
}

SampleEncoding encodingOf(int32_t sfFormat) {
    switch (sfFormat & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8: return {SampleKind::kInteger, 8};
        case SF_FORMAT_PCM_16:
        case SF_FORMAT_ALAC_16: return {SampleKind::kInteger, 16};
        case SF_FORMAT_ALAC_20: return {SampleKind::kInteger, 20};
        case SF_FORMAT_PCM_24:
        case SF_FORMAT_ALAC_24: return {SampleKind::kInteger, 24};
        case SF_FORMAT_PCM_32:
        case SF_FORMAT_ALAC_32: return {SampleKind::kInteger, 32};
        case SF_FORMAT_FLOAT: return {SampleKind::kFloat, 32};
        case SF_FORMAT_DOUBLE: return {SampleKind::kFloat, 64};
        default: return {SampleKind::kCodec, 16};  // u-law, A-law and ADPCM decode to 16 bits at most
    }
}

std::string describeFormat(int32_t sfFormat) {
    const std::optional<Container> c = containerOfFormat(sfFormat);
    std::string text = c ? containerName(*c) : "audio";
    const SampleEncoding e = encodingOf(sfFormat);
    const int32_t sub = sfFormat & SF_FORMAT_SUBMASK;
    if (sub >= SF_FORMAT_ALAC_16 && sub <= SF_FORMAT_ALAC_32) text += " ALAC";
    switch (e.kind) {
        case SampleKind::kInteger: return text + " " + std::to_string(e.bits) + "-bit";
        case SampleKind::kFloat: return text + " " + std::to_string(e.bits) + "-bit float";
        case SampleKind::kCodec: return text + " " + codecName(sub);
    }
    return text;
}

OutputPlan planOutput(int32_t inputFormat, std::optional<Container> container, std::optional<WordLength> bits,
                      bool ditherWanted, int32_t channels, int32_t sampleRate) {
    const int32_t inputMajor = inputFormat & SF_FORMAT_TYPEMASK;
    const int32_t inputSub = inputFormat & SF_FORMAT_SUBMASK;

    int32_t major = inputMajor;
    if (container && containerOfFormat(inputFormat) != container) major = majorOf(*container);

    int32_t sub = inputSub;
    if (bits) {
        sub = subformatOf(*bits);
    } else if (major != inputMajor) {
        // Carry the input's word length into the new container.
        if (sub == SF_FORMAT_PCM_S8 || sub == SF_FORMAT_PCM_U8) sub = eightBitFor(major);
        if (major != SF_FORMAT_CAF) {
            if (sub == SF_FORMAT_ALAC_16) sub = SF_FORMAT_PCM_16;
            if (sub == SF_FORMAT_ALAC_20 || sub == SF_FORMAT_ALAC_24) sub = SF_FORMAT_PCM_24;
            if (sub == SF_FORMAT_ALAC_32) sub = SF_FORMAT_PCM_32;
        }
    }

    if (major == SF_FORMAT_FLAC &&
        (sub == SF_FORMAT_PCM_32 || sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE))
        throw usageError("FLAC holds at most 24-bit samples; choose --bits 16 or --bits 24");

    SF_INFO probe = {};
    probe.channels = channels;
    probe.samplerate = sampleRate;
    probe.format = major | sub;
    if (!sf_format_check(&probe))
        throw usageError("cannot write " + describeFormat(major | sub) + " with " + std::to_string(channels) +
                         " channels at " + std::to_string(sampleRate) + " Hz; choose another --format or --bits");

    const SampleEncoding in = encodingOf(inputFormat);
    const SampleEncoding out = encodingOf(major | sub);
    OutputPlan plan{major | sub, out.kind, out.bits, false};
    plan.dither = ditherWanted && out.kind == SampleKind::kInteger &&
                  (in.kind == SampleKind::kFloat || in.bits > out.bits);
    return plan;
}
