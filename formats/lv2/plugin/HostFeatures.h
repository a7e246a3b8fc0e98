#pragma once
// What the host hands over at instantiation: the features we use, the URIDs
// mapped once, the block options, and a logger that falls back to stderr.
// Instantiation thread only; afterwards everything here is read-only.

#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <cstdarg>
#include <cstdint>

namespace fwlv2 {

// The key under which the whole state chunk is stored.
constexpr const char* kChunkKeyUri = "urn:kestrawn:fenwoldrine#chunk";

struct HostFeatures {
    LV2_URID_Map* map = nullptr;        // the host's, else privateUridMap()
    LV2_Log_Log* log = nullptr;         // optional
    LV2_Worker_Schedule* schedule = nullptr;  // optional
    const LV2_Options_Option* options = nullptr;  // optional

    // Picks the features we know out of the host's null-terminated list;
    // entries with a null URI or null data are passed over.
    static HostFeatures scan(const LV2_Feature* const* features) noexcept;
};

// A map of our own for hosts that offer none (simple command-line hosts):
// the equaliser runs as usual; MIDI and state, which need URIDs the host
// shares, simply never arrive from such a host. Process-wide, thread-safe,
// never on the audio thread.
LV2_URID_Map* privateUridMap();

struct Urids {
    LV2_URID atomChunk = 0;
    LV2_URID atomDouble = 0;
    LV2_URID atomFloat = 0;
    LV2_URID atomInt = 0;
    LV2_URID atomLong = 0;
    LV2_URID atomSequence = 0;
    LV2_URID midiEvent = 0;
    LV2_URID chunkKey = 0;
    LV2_URID sampleRate = 0;
    LV2_URID maxBlockLength = 0;
    LV2_URID nominalBlockLength = 0;
    LV2_URID logError = 0;
    LV2_URID logWarning = 0;
    // The host's transport (time:Position objects in the event input).
    LV2_URID atomObject = 0;
    LV2_URID atomBlank = 0;
    LV2_URID timePosition = 0;
    LV2_URID timeBar = 0;
    LV2_URID timeBarBeat = 0;
    LV2_URID timeBeatsPerBar = 0;
    LV2_URID timeBeatUnit = 0;
    LV2_URID timeBeatsPerMinute = 0;
    LV2_URID timeSpeed = 0;
    LV2_URID timeFrame = 0;

    static Urids mapAll(LV2_URID_Map& map);
};

// Writes through the host's log when it has one, else to stderr, each line
// prefixed with the product name. Not for the audio thread.
class Logger {
public:
    Logger() = default;
    Logger(LV2_Log_Log* log, LV2_URID error, LV2_URID warning) : hostLog(log), errorType(error), warningType(warning) {}

    void error(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    void warning(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    void write(bool isError, const char* format, std::va_list args) const;

    LV2_Log_Log* hostLog = nullptr;
    LV2_URID errorType = 0;
    LV2_URID warningType = 0;
};

struct BlockOptions {
    double sampleRate = 0.0;
    int32_t maxBlock = 0;      // the longest run() the host promises
    int32_t nominalBlock = 0;  // 0 when the host gave none
};

// The host's options: param:sampleRate, bufsz:maxBlockLength and
// bufsz:nominalBlockLength, as Int, Long, Float or Double. A rate that is
// missing or not positive gives fallbackRate; a missing or unusable maximum
// gives kDefaultMaxBlock.
constexpr int32_t kDefaultMaxBlock = 4096;
constexpr int32_t kLargestMaxBlock = 1 << 20;  // past this a host's maximum is taken as nonsense
BlockOptions readBlockOptions(const LV2_Options_Option* options, const Urids& urids, double fallbackRate) noexcept;

}  // namespace fwlv2
