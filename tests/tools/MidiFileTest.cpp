// Reading Standard MIDI Files for --midi: small files written byte by byte,
// their messages and frames, and the errors damaged files give.

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <fstream>

#include "ToolTestSupport.h"
#include "tools/render/MidiFile.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Row = std::array<int64_t, 4>;  // frame, status, data 1, data 2

// One event: its delta time as a variable-length number, then its bytes.
Bytes ev(uint32_t delta, const Bytes& bytes) {
    Bytes out;
    for (int shift = 21; shift > 0; shift -= 7)
        if (delta >> shift) out.push_back(uint8_t(0x80 | ((delta >> shift) & 0x7F)));
    out.push_back(uint8_t(delta & 0x7F));
    out.insert(out.end(), bytes.begin(), bytes.end());
    return out;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes chunk(const char* id, const std::vector<Bytes>& parts) {
    Bytes body;
    for (const Bytes& p : parts) body = body + p;
    Bytes out(id, id + 4);
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(body.size() >> shift));
    return out + body;
}

Bytes header(uint16_t format, uint16_t tracks, uint16_t division) {
    return chunk("MThd", {{uint8_t(format >> 8), uint8_t(format), uint8_t(tracks >> 8), uint8_t(tracks),
                           uint8_t(division >> 8), uint8_t(division)}});
}

Bytes file(uint16_t format, uint16_t division, const std::vector<Bytes>& tracks) {
    Bytes out = header(format, uint16_t(tracks.size()), division);
    for (const Bytes& t : tracks) out = out + t;
    return out;
}

const Bytes kEnd = ev(0, {0xFF, 0x2F, 0x00});

class MidiFileTest : public ::testing::Test {
protected:
    std::string write(const Bytes& bytes) {
        const std::string path = dir / "in.mid";
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
        return path;
    }
    std::vector<Row> read(const Bytes& bytes, double rate = 48000.0) {
        std::vector<Row> rows;
        for (const MidiMessage& m : readMidiFile(write(bytes), rate))
            rows.push_back({m.frame, m.bytes[0], m.bytes[1], m.bytes[2]});
        return rows;
    }
    static std::string errorAt(const std::string& path) {
        try {
            readMidiFile(path, 48000.0);
        } catch (const MidiFileError& e) {
            return e.what();
        }
        return "no error";
    }
    ScratchDir dir;
};

}  // namespace

TEST_F(MidiFileTest, NotesAndBendsLandOnTheirFrames) {
    const Bytes track = chunk("MTrk", {ev(0, {0x90, 60, 100}), ev(480, {0xE0, 0x00, 0x50}),
                                       ev(480, {0x80, 60, 64}), ev(1, {0x95, 62, 0}), kEnd});
    const Bytes quarterSecond = ev(960, {0xFF, 0x51, 0x03, 0x03, 0xD0, 0x90});  // 250000 us at tick 960
    const Bytes threeNotes = chunk("MTrk", {ev(480, {0x90, 60, 1}), ev(480, {0x90, 61, 1}), ev(480, {0x90, 62, 1})});
    const Bytes first = chunk("MTrk", {ev(0, {0x90, 60, 9}), ev(480, {0x80, 60, 0}), ev(0, {0x90, 62, 9}), kEnd});
    const Bytes second = chunk("MTrk", {ev(240, {0x91, 64, 9}), ev(240, {0x81, 64, 0}), kEnd});
    const struct {
        const char* what;
        Bytes bytes;
        double rate;
        std::vector<Row> messages;
    } rows[] = {
        {"the default tempo", file(0, 480, {track}), 48000.0,
         {{0, 0x90, 60, 100}, {24000, 0xE0, 0x00, 0x50}, {48000, 0x80, 60, 64}, {48050, 0x95, 62, 0}}},
        {"running status, carried over skipped messages too",
         file(0, 480, {chunk("MTrk", {ev(0, {0x93, 60, 100}), ev(240, {64, 100}), ev(0, {0xB3, 7, 100}), ev(240, {7, 80}),
                                      ev(0, {0xE3, 0, 64}), ev(240, {0x7F, 0x7F}), kEnd})}),
         48000.0, {{0, 0x93, 60, 100}, {12000, 0x93, 64, 100}, {24000, 0xE3, 0, 64}, {36000, 0xE3, 0x7F, 0x7F}}},
        {"a tempo change in another track", file(1, 480, {chunk("MTrk", {quarterSecond, kEnd}), threeNotes}), 48000.0,
         {{24000, 0x90, 60, 1}, {48000, 0x90, 61, 1}, {60000, 0x90, 62, 1}}},
        {"a tempo in the last track",
         file(1, 480, {threeNotes, chunk("MTrk", {ev(0, {0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40})})}), 48000.0,
         {{48000, 0x90, 60, 1}, {96000, 0x90, 61, 1}, {144000, 0x90, 62, 1}}},
        {"tracks merged in time, ties in track then file order", file(1, 480, {first, second}), 48000.0,
         {{0, 0x90, 60, 9}, {12000, 0x91, 64, 9}, {24000, 0x80, 60, 0}, {24000, 0x90, 62, 9}, {24000, 0x81, 64, 0}}},
        {"SMPTE division: ticks per second, tempo ignored",
         file(0, 0xE728, {chunk("MTrk", {ev(0, {0xFF, 0x51, 0x03, 0x03, 0xD0, 0x90}), ev(500, {0x90, 60, 1}), ev(500, {0x80, 60, 1}), kEnd})}), 48000.0,
         {{24000, 0x90, 60, 1}, {48000, 0x80, 60, 1}}},
        // 29 is 30000/1001 frames a second: 3000000 ticks of 100 a frame take 1001 s.
        {"29.97 frames a second", file(0, 0xE364, {chunk("MTrk", {ev(3000000, {0x90, 60, 1})})}), 48000.0,
         {{48048000, 0x90, 60, 1}}},
        {"other events and chunks skipped, their time kept",
         header(0, 1, 480) + chunk("XFIH", {{1, 2, 3}}) +
             chunk("MTrk", {ev(0, {0xFF, 0x03, 0x02, 'h', 'i'}), ev(120, {0xB0, 7, 100}), ev(120, {0xC0, 5}),
                            ev(120, {0xD0, 64}), ev(120, {0xA0, 60, 32}), ev(0, {0xF0, 0x03, 0x7E, 0x7F, 0xF7}),
                            ev(0, {0xF7, 0x02, 0x01, 0x02}), ev(0, {0xE1, 0, 64})}),
         48000.0, {{24000, 0xE1, 0, 64}}},
        {"nothing after the end of the track", file(0, 480, {chunk("MTrk", {ev(0, {0x90, 60, 1}), kEnd, {0x3C, 0x64}})}),
         48000.0, {{0, 0x90, 60, 1}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(read(row.bytes, row.rate), row.messages);
    }
    EXPECT_EQ(read(file(0, 480, {track}), 44100.0)[1][0], 22050);
    // Many ties, past what a small sort would happen to keep in order.
    std::vector<Bytes> tracks;
    std::vector<Row> expected;
    for (uint8_t t = 0; t < 2; ++t) {
        std::vector<Bytes> events;
        for (uint8_t k = 0; k < 40; ++k) {
            events.push_back(ev(k == 0 ? 48 : 0, {uint8_t(0x90 | t), k, 1}));
            expected.push_back({2400, 0x90 | t, k, 1});
        }
        tracks.push_back(chunk("MTrk", events));
    }
    EXPECT_EQ(read(file(1, 480, tracks)), expected);
}

TEST_F(MidiFileTest, DamagedFilesAreRefusedNamingTheProblemAndWhere) {
    const Bytes ok = chunk("MTrk", {ev(0, {0x90, 60, 1}), kEnd});
    const struct {
        Bytes bytes;
        const char* message;
    } cases[] = {
        {Bytes{'R', 'I', 'F', 'F'} + ok, "no \"MThd\" header at byte 0"},
        {chunk("MThd", {{0, 0, 0, 1, 1, 0xE0, 0}}) + ok, "header chunk is 7 bytes long instead of 6 at byte 4"},
        {header(2, 1, 480) + ok, "format 2 (independent sequences) is not supported at byte 8"},
        {header(0, 0, 480), "no tracks at byte 10"},
        {header(0, 1, 0) + ok, "division is zero at byte 12"},
        {header(1, 2, 480) + ok, "the file ends before track 2 of 2 at byte 30"},
        {header(0, 1, 480) + Bytes{0, 1, 2, 3, 0, 0, 0, 0}, "expected \"MTrk\" for track 1 of 1 at byte 14"},
        {header(0, 1, 480) + Bytes{'M', 'T', 'r', 'k', 0, 0, 0, 20, 0, 0x90},
         "\"MTrk\" of 20 bytes runs past the end of the file at byte 14"},
        {file(0, 480, {chunk("MTrk", {{0, 0x90, 60}})}), "track 1: message runs past the end of the track at byte 23"},
        {file(0, 480, {chunk("MTrk", {{0x81}})}), "track 1: variable-length number runs past the end of the track at byte 22"},
        {file(0, 480, {chunk("MTrk", {{0x81, 0x81, 0x81, 0x81, 0, 0x90, 60, 1}})}),
         "variable-length number longer than 4 bytes at byte 22"},
        {file(0, 480, {ok, chunk("MTrk", {{0, 60, 1}})}),
         "track 2: data byte 0x3C where a status byte is needed (no running status) at byte 39"},
        {file(0, 480, {chunk("MTrk", {{0, 0x90, 60, 1, 0, 0xFF, 0x01, 0, 0, 62, 1}})}),
         "data byte 0x3E where a status byte is needed (no running status) at byte 31"},
        {file(0, 480, {chunk("MTrk", {ev(0, {0xFF, 0x01, 0x10, 'a'})})}), "meta event runs past the end of the track at byte 23"},
    };
    for (const auto& c : cases) {
        const std::string error = errorAt(write(c.bytes));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
    EXPECT_NE(errorAt(dir / "none.mid").find("No such file or directory"), std::string::npos);
    EXPECT_NE(errorAt(dir.path()).find("is not a regular file"), std::string::npos);
    const std::string big = dir / "big.mid";
    std::ofstream(big).put('M');
    ASSERT_EQ(truncate(big.c_str(), kMaxMidiFileBytes + 1), 0);
    EXPECT_NE(errorAt(big).find("over the 64 MiB limit"), std::string::npos);

    // Every truncation of a good file is refused.
    const Bytes whole = file(1, 96, {chunk("MTrk", {ev(0, {0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20}), kEnd}),
                                     chunk("MTrk", {ev(0, {0x90, 60, 1}), ev(200, {62, 1}), ev(5000, {0xE0, 1, 2}), kEnd})});
    ASSERT_EQ(read(whole).size(), 3u);
    for (size_t n = 0; n < whole.size(); ++n)
        EXPECT_THROW(readMidiFile(write(Bytes(whole.begin(), whole.begin() + long(n))), 48000.0), MidiFileError) << n;
}
