#pragma once
// Standard MIDI Files for the renderer's --midi option: the notes and pitch
// bends of a file, each placed at the sample where it falls, so the effect
// can follow them while a render runs.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// One channel message at a sample position.
struct MidiMessage {
    int64_t frame;      // sample index from the start of the file's audio, at sampleRate
    uint8_t bytes[3];   // status (with channel) and two data bytes; unused data bytes 0
};

// A file that cannot be read or is damaged; the message is one line naming
// the file, what is wrong and, inside the file, the byte offset where.
class MidiFileError : public std::runtime_error {
public:
    explicit MidiFileError(const std::string& message) : std::runtime_error(message) {}
};

// The largest file read, and the most messages kept from one.
constexpr int64_t kMaxMidiFileBytes = int64_t(64) * 1024 * 1024;
constexpr int64_t kMaxMidiMessages = 10'000'000;

// Reads a Standard MIDI File (format 0 or 1; format 2 is refused) and returns its
// note-on, note-off and pitch-bend messages of every track and channel, merged
// in time order (stable for equal times: track order, then file order), with
// times converted to frames at sampleRate through the file's tempo map (set-tempo
// meta events of any track, default 500000 us per quarter note; metrical
// division in ticks per quarter note, and SMPTE division frames-per-second x
// ticks-per-frame). Running status is honoured. Other channel messages
// (controllers, program change, aftertouch), sysex and meta events are skipped.
// Note-ons at velocity 0 are returned as they are.
// Throws MidiFileError (a std::runtime_error) with a one-line message naming what
// is wrong and where (byte offset) for: a missing or unreadable file, no "MThd",
// a header of the wrong size, format 2, zero tracks or zero division, a track
// without "MTrk", a chunk or variable-length number running past the end of the
// file or track, a variable-length number of more than 4 bytes, a data byte
// where a status is needed with no running status, a file over 64 MiB, or more
// than 10 million messages.
std::vector<MidiMessage> readMidiFile(const std::string& path, double sampleRate);
