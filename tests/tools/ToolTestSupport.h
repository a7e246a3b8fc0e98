#pragma once
// Helpers for the renderer's tests: scratch directories, sound files made and
// read with libsndfile, and a way to run the built fenwoldrine-render.

#include <sndfile.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// A fresh directory under the system temporary directory, removed with
// everything in it when the object goes.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return dir; }
    std::string operator/(const std::string& name) const { return dir + "/" + name; }
    // Names of the entries in the directory, hidden ones included.
    std::vector<std::string> entries() const;

private:
    std::string dir;
};

// Interleaved audio, full scale +-1.0.
struct Audio {
    int32_t channels = 1;
    int32_t rate = 48000;
    int32_t format = 0;  // as read: libsndfile major | subformat
    std::vector<double> samples;

    int64_t frames() const { return channels ? int64_t(samples.size()) / channels : 0; }
    double at(int64_t frame, int32_t channel) const { return samples[size_t(frame * channels + channel)]; }
};

// Writes float or double audio as it is (format must have a float subformat).
void writeFloatFile(const std::string& path, const Audio& audio, int32_t format);
// Writes integer codes (-2^(bits-1) .. 2^(bits-1)-1), exactly, interleaved.
void writeIntegerFile(const std::string& path, int32_t channels, int32_t rate, int32_t format, int32_t bits,
                      const std::vector<int32_t>& codes);
// Reads a file as normalised doubles.
Audio readFile(const std::string& path);
// Reads a file's integer codes at bits.
std::vector<int32_t> readCodes(const std::string& path, int32_t bits);

// A test signal: a sine of the given peak and frequency on every channel,
// each channel shifted in phase so channels differ.
Audio sineAudio(int32_t channels, int32_t rate, int64_t frames, double peak, double hz);

struct RunResult {
    int status = -1;  // exit status; -1 when ended by a signal
    std::string out;
    std::string err;
};

struct RunLimits {
    int64_t maxFileBytes = -1;  // RLIMIT_FSIZE for the child; -1 none
    std::vector<std::pair<std::string, std::string>> environment;  // variables set for the child alone
};

// Runs a program with args and waits for it.
RunResult runProgram(const std::string& program, const std::vector<std::string>& args, const RunLimits& limits = {});
// Runs the built renderer with args and waits for it.
RunResult runRenderer(const std::vector<std::string>& args, const RunLimits& limits = {});

bool fileExists(const std::string& path);

// Command lines put together.
using Strings = std::vector<std::string>;
inline Strings operator+(Strings a, const Strings& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
