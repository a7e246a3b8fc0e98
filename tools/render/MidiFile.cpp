#include "tools/render/MidiFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

namespace {

constexpr uint32_t kDefaultMicrosPerQuarter = 500000;

// A kept message before its time is known: its tick and where it sits in the
// file, for the error should its time not fit.
struct TickedMessage {
    int64_t tick;
    uint32_t offset;
    uint8_t bytes[3];
};

struct TempoChange {
    int64_t tick;
    uint32_t microsPerQuarter;
};

std::string hexByte(uint8_t b) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s("0x");
    s.push_back(digits[b >> 4]);
    s.push_back(digits[b & 15]);
    return s;
}

// A closing guard for a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int f) : fd(f) {}
    ~Descriptor() { ::close(fd); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd; }

private:
    int fd;
};

std::string systemFailure(const char* doing, const std::string& path) {
    std::string m(doing);
    m.append(" MIDI file \"").append(path).append("\": ").append(std::strerror(errno));
    return m;
}

// The whole file. Only regular files are read, so a FIFO or device can
// neither stall the render nor feed it without end.
std::vector<uint8_t> loadFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) throw MidiFileError(systemFailure("cannot open", path));
    const Descriptor guard(fd);
    struct stat info = {};
    if (::fstat(fd, &info) != 0) throw MidiFileError(systemFailure("cannot read", path));
    if (!S_ISREG(info.st_mode)) {
        std::string m("MIDI file \"");
        m.append(path).append("\" is not a regular file");
        throw MidiFileError(m);
    }
    if (info.st_size > kMaxMidiFileBytes) {
        std::string m("MIDI file \"");
        m.append(path).append("\" is ").append(std::to_string(info.st_size)).append(" bytes, over the 64 MiB limit");
        throw MidiFileError(m);
    }
    std::vector<uint8_t> data(size_t(info.st_size));
    size_t got = 0;
    while (got < data.size()) {
        const ssize_t n = ::read(fd, data.data() + got, data.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw MidiFileError(systemFailure("cannot read", path));
        if (n == 0) break;  // the file shrank while being read; parse what is there
        got += size_t(n);
    }
    data.resize(got);
    return data;
}

class Parser {
public:
    Parser(const std::string& p, std::vector<uint8_t> d) : path(p), data(std::move(d)) {}

    void parse();
    std::vector<MidiMessage> toFrames(double sampleRate);

private:
    [[noreturn]] void fail(const std::string& what, size_t offset) const;
    [[noreturn]] void failInTrack(const std::string& what, size_t offset) const;
    uint32_t be32(size_t at) const {
        return uint32_t(data[at]) << 24 | uint32_t(data[at + 1]) << 16 | uint32_t(data[at + 2]) << 8 | data[at + 3];
    }
    uint32_t be16(size_t at) const { return uint32_t(data[at]) << 8 | data[at + 1]; }
    uint32_t readNumber(size_t& pos, size_t end) const;
    void readHeader();
    void readTrack(size_t pos, size_t end);

    const std::string& path;
    const std::vector<uint8_t> data;
    uint32_t trackCount = 0;
    uint32_t track = 0;  // the track being read, from 0
    double ticksPerQuarter = 0.0;
    double smpteTicksPerSecond = 0.0;  // 0 for metrical division
    std::vector<TickedMessage> messages;
    std::vector<TempoChange> tempos;
};

void Parser::fail(const std::string& what, size_t offset) const {
    std::string m("MIDI file \"");
    m.append(path).append("\": ").append(what).append(" at byte ").append(std::to_string(offset));
    throw MidiFileError(m);
}

void Parser::failInTrack(const std::string& what, size_t offset) const {
    std::string m("track ");
    m.append(std::to_string(track + 1)).append(": ").append(what);
    fail(m, offset);
}

// A variable-length number: seven bits a byte, high bit set on all but the
// last, at most four bytes.
uint32_t Parser::readNumber(size_t& pos, size_t end) const {
    const size_t start = pos;
    uint32_t value = 0;
    for (int n = 0;; ++n) {
        if (n == 4) failInTrack("variable-length number longer than 4 bytes", start);
        if (pos >= end) failInTrack("variable-length number runs past the end of the track", start);
        const uint8_t b = data[pos++];
        value = value << 7 | (b & 0x7F);
        if (!(b & 0x80)) return value;
    }
}

void Parser::readHeader() {
    if (data.size() < 4 || std::memcmp(data.data(), "MThd", 4) != 0)
        fail("not a Standard MIDI File: no \"MThd\" header", 0);
    if (data.size() < 8) fail("header chunk runs past the end of the file", 0);
    const uint32_t length = be32(4);
    if (length != 6) fail("header chunk is " + std::to_string(length) + " bytes long instead of 6", 4);
    if (data.size() < 14) fail("header chunk runs past the end of the file", 0);
    const uint32_t format = be16(8);
    if (format == 2) fail("format 2 (independent sequences) is not supported", 8);
    if (format > 2) fail("unknown format " + std::to_string(format), 8);
    trackCount = be16(10);
    if (trackCount == 0) fail("the file has no tracks", 10);
    const uint32_t division = be16(12);
    if (division == 0) fail("division is zero", 12);
    if (division & 0x8000) {
        const int32_t frameRate = -int32_t(int8_t(division >> 8));
        const uint32_t ticksPerFrame = division & 0xFF;
        if (ticksPerFrame == 0) fail("SMPTE division has zero ticks per frame", 13);
        if (frameRate != 24 && frameRate != 25 && frameRate != 29 && frameRate != 30)
            fail("SMPTE division has unknown frame rate " + std::to_string(frameRate), 12);
        // 29 stands for the drop-frame rate, 30000/1001 frames a second.
        const double framesPerSecond = frameRate == 29 ? 30000.0 / 1001.0 : double(frameRate);
        smpteTicksPerSecond = framesPerSecond * ticksPerFrame;
    } else {
        ticksPerQuarter = double(division);
    }
}

void Parser::readTrack(size_t pos, size_t end) {
    int64_t tick = 0;
    uint8_t running = 0;  // 0: none in force
    while (pos < end) {
        tick += readNumber(pos, end);
        if (pos >= end) failInTrack("event runs past the end of the track", pos);
        const size_t at = pos;
        uint8_t status = data[pos];
        if (status & 0x80) {
            ++pos;
        } else if (running) {
            status = running;
        } else {
            failInTrack("data byte " + hexByte(status) + " where a status byte is needed (no running status)", at);
        }

        if (status < 0xF0) {
            running = status;
            const size_t length = (status & 0xE0) == 0xC0 ? 1 : 2;  // program change and channel pressure: 1
            if (end - pos < length) failInTrack("message runs past the end of the track", at);
            uint8_t bytes[3] = {status, 0, 0};
            for (size_t k = 0; k < length; ++k) {
                if (data[pos + k] & 0x80)
                    failInTrack("status byte " + hexByte(data[pos + k]) + " where a data byte is needed", pos + k);
                bytes[k + 1] = data[pos + k];
            }
            pos += length;
            const uint8_t kind = status & 0xF0;
            if (kind == 0x80 || kind == 0x90 || kind == 0xE0) {
                if (int64_t(messages.size()) >= kMaxMidiMessages)
                    failInTrack("more than " + std::to_string(kMaxMidiMessages) + " messages", at);
                messages.push_back({tick, uint32_t(at), {bytes[0], bytes[1], bytes[2]}});
            }
        } else if (status == 0xFF) {
            // Meta and sysex events end any running status.
            running = 0;
            if (pos >= end) failInTrack("meta event runs past the end of the track", at);
            const uint8_t type = data[pos++];
            const uint32_t length = readNumber(pos, end);
            if (end - pos < length) failInTrack("meta event runs past the end of the track", at);
            if (type == 0x51 && length == 3)
                tempos.push_back({tick, uint32_t(data[pos]) << 16 | uint32_t(data[pos + 1]) << 8 | data[pos + 2]});
            pos += length;
            if (type == 0x2F) return;  // End of Track: whatever follows in the chunk is not read
        } else if (status == 0xF0 || status == 0xF7) {
            running = 0;
            const uint32_t length = readNumber(pos, end);
            if (end - pos < length) failInTrack("sysex event runs past the end of the track", at);
            pos += length;
        } else {
            failInTrack("status byte " + hexByte(status) + " does not belong in a MIDI file", at);
        }
    }
}

bool printableId(const uint8_t* id) {
    return std::all_of(id, id + 4, [](uint8_t c) { return c >= 0x20 && c < 0x7F; });
}

void Parser::parse() {
    readHeader();
    size_t pos = 14;
    while (track < trackCount) {
        const std::string which = "track " + std::to_string(track + 1) + " of " + std::to_string(trackCount);
        if (pos == data.size()) fail("the file ends before " + which, pos);
        if (data.size() - pos < 8) fail("chunk header runs past the end of the file", pos);
        const uint8_t* id = data.data() + pos;
        const bool isTrack = std::memcmp(id, "MTrk", 4) == 0;
        // Chunks of other kinds are skipped; bytes that cannot be a chunk name mean damage.
        if (!isTrack && !printableId(id)) fail("expected \"MTrk\" for " + which, pos);
        const uint32_t length = be32(pos + 4);
        if (data.size() - pos - 8 < length) {
            std::string m("chunk \"");
            m.append(reinterpret_cast<const char*>(id), 4)
                .append("\" of ")
                .append(std::to_string(length))
                .append(" bytes runs past the end of the file");
            fail(m, pos);
        }
        if (isTrack) {
            readTrack(pos + 8, pos + 8 + length);
            ++track;
        }
        pos += 8 + size_t(length);
    }
}

std::vector<MidiMessage> Parser::toFrames(double sampleRate) {
    // Ticks run at one pace through the whole file, so the messages of all
    // tracks merge by tick; the stable sort keeps track order, then file
    // order, for equal ticks.
    std::stable_sort(messages.begin(), messages.end(),
                     [](const TickedMessage& a, const TickedMessage& b) { return a.tick < b.tick; });
    std::stable_sort(tempos.begin(), tempos.end(),
                     [](const TempoChange& a, const TempoChange& b) { return a.tick < b.tick; });

    // The tempo map: from each segment's first tick, seconds run on at a
    // fixed rate per tick. SMPTE division has one segment and no tempo.
    struct Segment {
        int64_t tick;
        double seconds;
        double secondsPerTick;
    };
    std::vector<Segment> map;
    if (smpteTicksPerSecond > 0.0) {
        map.push_back({0, 0.0, 1.0 / smpteTicksPerSecond});
    } else {
        const auto perTick = [this](uint32_t micros) { return double(micros) * 1e-6 / ticksPerQuarter; };
        map.push_back({0, 0.0, perTick(kDefaultMicrosPerQuarter)});
        for (const TempoChange& t : tempos) {
            Segment& last = map.back();
            if (t.tick == last.tick)
                last.secondsPerTick = perTick(t.microsPerQuarter);  // the last change at a tick wins
            else
                map.push_back({t.tick, last.seconds + double(t.tick - last.tick) * last.secondsPerTick,
                               perTick(t.microsPerQuarter)});
        }
    }

    std::vector<MidiMessage> out;
    out.reserve(messages.size());
    size_t segment = 0;
    for (const TickedMessage& m : messages) {
        while (segment + 1 < map.size() && map[segment + 1].tick <= m.tick) ++segment;
        const Segment& s = map[segment];
        const double frame = (s.seconds + double(m.tick - s.tick) * s.secondsPerTick) * sampleRate;
        if (!(frame < 9.0e18)) fail("message time lies beyond the longest render", m.offset);
        out.push_back({std::llround(frame), {m.bytes[0], m.bytes[1], m.bytes[2]}});
    }
    return out;
}

}  // namespace

std::vector<MidiMessage> readMidiFile(const std::string& path, double sampleRate) {
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) {
        std::string m("MIDI file \"");
        m.append(path).append("\": the sample rate must be positive and finite");
        throw MidiFileError(m);
    }
    Parser parser(path, loadFile(path));
    parser.parse();
    return parser.toFrames(sampleRate);
}
