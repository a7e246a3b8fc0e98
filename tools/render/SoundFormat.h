#pragma once
// Containers and sample encodings the renderer reads and writes, and how the
// output's format follows from the input's and the command line.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

enum class Container { kWav, kAiff, kFlac, kW64, kCaf };
enum class WordLength { kPcm16, kPcm24, kPcm32, kFloat };

// "wav", "aiff" (or "aif"), "flac", "w64", "caf", any case.
std::optional<Container> containerFromName(std::string_view name);
// "16", "24", "32", "float", any case.
std::optional<WordLength> wordLengthFromName(std::string_view name);
const char* containerName(Container container);

// The container of a libsndfile format (WAVEX counts as WAV); nullopt for
// containers the renderer does not handle.
std::optional<Container> containerOfFormat(int32_t sfFormat);

// How a subformat stores samples. Integers are quantised by the renderer;
// floats pass as they are; codecs (u-law, ADPCM, ...) convert in libsndfile.
enum class SampleKind { kInteger, kFloat, kCodec };

struct SampleEncoding {
    SampleKind kind;
    int32_t bits;  // word length; for a codec, the precision it decodes to
};

SampleEncoding encodingOf(int32_t sfFormat);

// "WAV 24-bit", "FLAC 16-bit", "CAF 32-bit float", "WAV u-law".
std::string describeFormat(int32_t sfFormat);

// What the renderer writes.
struct OutputPlan {
    int32_t format;   // libsndfile major type | subformat
    SampleKind kind;
    int32_t bits;     // integer word length the samples are quantised to
    bool dither;      // TPDF dither before quantising
};

// Same container and encoding as the input unless the options say otherwise;
// dither when an integer output has fewer bits than the input (a float input
// has more than any integer) and dither is wanted. Throws a usage error for
// combinations that cannot be written (FLAC with 32-bit or float samples).
OutputPlan planOutput(int32_t inputFormat, std::optional<Container> container, std::optional<WordLength> bits,
                      bool ditherWanted, int32_t channels, int32_t sampleRate);
