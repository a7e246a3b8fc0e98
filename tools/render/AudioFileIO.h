#pragma once
// Sound files through libsndfile: the input read as normalised doubles, and
// the output written to a temporary file beside its final name that takes
// that name only when everything has been written. A render that fails, or
// is interrupted, leaves no partial output behind.

#include <sndfile.h>

#include <cstdint>
#include <string>

class SoundFileReader {
public:
    static constexpr int32_t kMaxChannels = 8;

    // Opens a WAV, AIFF, FLAC, W64 or CAF file of 1..8 channels; throws a
    // usage error naming the path and the reason otherwise.
    explicit SoundFileReader(const std::string& path);
    ~SoundFileReader();

    SoundFileReader(const SoundFileReader&) = delete;
    SoundFileReader& operator=(const SoundFileReader&) = delete;

    int32_t channels() const { return info.channels; }
    int32_t sampleRate() const { return info.samplerate; }
    int64_t frames() const { return info.frames; }
    int32_t format() const { return info.format; }

    // Reads up to frames frames, interleaved, full scale +-1.0. Returns the
    // frames read, 0 at the end; throws a usage error when the file is damaged.
    int64_t read(double* interleaved, int64_t frames);

private:
    std::string path;
    SNDFILE* file = nullptr;
    SF_INFO info = {};
};

class SoundFileWriter {
public:
    // Creates the temporary file beside finalPath; throws a write error when
    // the directory cannot take it.
    SoundFileWriter(const std::string& finalPath, int32_t format, int32_t channels, int32_t sampleRate);
    // Removes the temporary file unless commit() succeeded.
    ~SoundFileWriter();

    SoundFileWriter(const SoundFileWriter&) = delete;
    SoundFileWriter& operator=(const SoundFileWriter&) = delete;

    // Interleaved integers, left-justified in 32 bits.
    void writeInt(const int32_t* interleaved, int64_t frames);
    // Interleaved doubles for float and codec encodings.
    void writeDouble(const double* interleaved, int64_t frames);
    // Finishes the file, flushes it to disk and renames it to the final name.
    // Throws a write error (and removes the temporary file) on failure.
    void commit();

    const std::string& temporaryPath() const { return tempPath; }

private:
    [[noreturn]] void fail(const std::string& what);
    void discard() noexcept;

    std::string finalPath;
    std::string tempPath;
    int fd = -1;
    SNDFILE* file = nullptr;
    bool committed = false;
};

// Throws a usage error when writing output would replace input: the same
// path, or the same file reached another way (a link, another spelling), or
// when output names a directory.
void checkOutputPath(const std::string& input, const std::string& output);

// Makes SIGINT, SIGTERM and SIGHUP remove a writer's temporary file before
// the process ends as the signal would end it.
void installInterruptCleanup();
