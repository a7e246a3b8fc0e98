// Feeds arbitrary bytes to the renderer's MIDI file reader as a file on disk.
// A damaged file must give a MidiFileError, never a crash, hang or leak; what
// a readable file gives must be in time order, from frame 0 on, and hold only
// the kinds of messages the reader keeps.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "tools/render/MidiFile.h"

namespace {

std::string inputPath;

void check(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void checkMessages(const std::vector<MidiMessage>& messages) {
    int64_t previous = 0;
    for (const MidiMessage& m : messages) {
        check(m.frame >= previous, "messages out of time order (or before frame 0)");
        previous = m.frame;
        const uint8_t kind = m.bytes[0] & 0xF0;
        check(kind == 0x80 || kind == 0x90 || kind == 0xE0, "a kind of message the reader does not keep");
        check(m.bytes[1] < 0x80 && m.bytes[2] < 0x80, "a status byte in the place of a data byte");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    inputPath = fuzzsupport::useTemporaryHome() + "/input.mid";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (size_t(1) << 20)) return -1;
    fuzzsupport::writeFile(inputPath, data, size);
    // An ordinary rate, and one that stretches every time a thousandfold.
    for (const double rate : {48000.0, 48.0e6}) {
        try {
            checkMessages(readMidiFile(inputPath, rate));
        } catch (const MidiFileError& e) {
            const std::string message = e.what();
            check(!message.empty() && message.find('\n') == std::string::npos, "an error message not on one line");
        }
    }
    return 0;
}
