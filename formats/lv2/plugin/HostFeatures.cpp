#include "formats/lv2/plugin/HostFeatures.h"

#include <lv2/atom/atom.h>
#include <lv2/time/time.h>

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/midi/midi.h>
#include <lv2/parameters/parameters.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace fwlv2 {

HostFeatures HostFeatures::scan(const LV2_Feature* const* features) noexcept {
    HostFeatures found;
    if (!features) return found;
    for (const LV2_Feature* const* f = features; *f; ++f) {
        const char* uri = (*f)->URI;
        void* data = (*f)->data;
        if (!uri || !data) continue;
        if (std::strcmp(uri, LV2_URID__map) == 0)
            found.map = static_cast<LV2_URID_Map*>(data);
        else if (std::strcmp(uri, LV2_LOG__log) == 0)
            found.log = static_cast<LV2_Log_Log*>(data);
        else if (std::strcmp(uri, LV2_WORKER__schedule) == 0)
            found.schedule = static_cast<LV2_Worker_Schedule*>(data);
        else if (std::strcmp(uri, LV2_OPTIONS__options) == 0)
            found.options = static_cast<const LV2_Options_Option*>(data);
    }
    // A map or schedule without its function is no use.
    if (found.map && !found.map->map) found.map = nullptr;
    if (found.schedule && !found.schedule->schedule_work) found.schedule = nullptr;
    if (found.log && !found.log->vprintf) found.log = nullptr;
    return found;
}

namespace {

LV2_URID mapPrivately(LV2_URID_Map_Handle, const char* uri) {
    static std::mutex lock;
    static std::vector<std::string> known;
    if (!uri) return 0;
    const std::lock_guard<std::mutex> hold(lock);
    for (size_t i = 0; i < known.size(); ++i) {
        if (known[i] == uri) return LV2_URID(i + 1);
    }
    known.emplace_back(uri);
    return LV2_URID(known.size());
}

}  // namespace

LV2_URID_Map* privateUridMap() {
    static LV2_URID_Map map{nullptr, &mapPrivately};
    return &map;
}

Urids Urids::mapAll(LV2_URID_Map& map) {
    auto id = [&map](const char* uri) { return map.map(map.handle, uri); };
    Urids u;
    u.atomChunk = id(LV2_ATOM__Chunk);
    u.atomDouble = id(LV2_ATOM__Double);
    u.atomFloat = id(LV2_ATOM__Float);
    u.atomInt = id(LV2_ATOM__Int);
    u.atomLong = id(LV2_ATOM__Long);
    u.atomSequence = id(LV2_ATOM__Sequence);
    u.midiEvent = id(LV2_MIDI__MidiEvent);
    u.chunkKey = id(kChunkKeyUri);
    u.sampleRate = id(LV2_PARAMETERS__sampleRate);
    u.maxBlockLength = id(LV2_BUF_SIZE__maxBlockLength);
    u.nominalBlockLength = id(LV2_BUF_SIZE__nominalBlockLength);
    u.logError = id(LV2_LOG__Error);
    u.logWarning = id(LV2_LOG__Warning);
    u.atomObject = id(LV2_ATOM__Object);
    u.atomBlank = id(LV2_ATOM__Blank);
    u.timePosition = id(LV2_TIME__Position);
    u.timeBar = id(LV2_TIME__bar);
    u.timeBarBeat = id(LV2_TIME__barBeat);
    u.timeBeatsPerBar = id(LV2_TIME__beatsPerBar);
    u.timeBeatUnit = id(LV2_TIME__beatUnit);
    u.timeBeatsPerMinute = id(LV2_TIME__beatsPerMinute);
    u.timeSpeed = id(LV2_TIME__speed);
    u.timeFrame = id(LV2_TIME__frame);
    return u;
}

void Logger::error(const char* format, ...) const {
    std::va_list args;
    va_start(args, format);
    write(true, format, args);
    va_end(args);
}

void Logger::warning(const char* format, ...) const {
    std::va_list args;
    va_start(args, format);
    write(false, format, args);
    va_end(args);
}

void Logger::write(bool isError, const char* format, std::va_list args) const {
    char line[512];
    std::vsnprintf(line, sizeof line, format, args);
    const LV2_URID type = isError ? errorType : warningType;
    if (hostLog && type != 0) {
        hostLog->printf(hostLog->handle, type, "Fenwoldrine: %s\n", line);
    } else {
        std::fprintf(stderr, "Fenwoldrine: %s\n", line);
    }
}

namespace {

// The number an option holds, when its type is one we read.
bool optionNumber(const LV2_Options_Option& o, const Urids& u, double* out) {
    if (!o.value) return false;
    if (o.type == u.atomInt && o.size >= sizeof(int32_t)) {
        *out = double(*static_cast<const int32_t*>(o.value));
    } else if (o.type == u.atomLong && o.size >= sizeof(int64_t)) {
        *out = double(*static_cast<const int64_t*>(o.value));
    } else if (o.type == u.atomFloat && o.size >= sizeof(float)) {
        *out = double(*static_cast<const float*>(o.value));
    } else if (o.type == u.atomDouble && o.size >= sizeof(double)) {
        *out = *static_cast<const double*>(o.value);
    } else {
        return false;
    }
    return std::isfinite(*out);
}

}  // namespace

BlockOptions readBlockOptions(const LV2_Options_Option* options, const Urids& urids, double fallbackRate) noexcept {
    BlockOptions result;
    double rate = 0.0, maxBlock = 0.0, nominal = 0.0;
    for (const LV2_Options_Option* o = options; o && o->key != 0; ++o) {
        if (o->context != LV2_OPTIONS_INSTANCE) continue;
        double x = 0.0;
        if (!optionNumber(*o, urids, &x)) continue;
        if (o->key == urids.sampleRate) rate = x;
        else if (o->key == urids.maxBlockLength) maxBlock = x;
        else if (o->key == urids.nominalBlockLength) nominal = x;
    }
    result.sampleRate = rate > 0.0 ? rate : fallbackRate;
    result.maxBlock = (maxBlock >= 1.0 && maxBlock <= kLargestMaxBlock) ? int32_t(maxBlock) : kDefaultMaxBlock;
    result.nominalBlock = (nominal >= 1.0 && nominal <= kLargestMaxBlock) ? int32_t(nominal) : 0;
    return result;
}

}  // namespace fwlv2
