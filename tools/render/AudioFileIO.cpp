#include "tools/render/AudioFileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tools/render/RenderError.h"
#include "tools/render/SoundFormat.h"

namespace {

// The temporary file to remove if a signal ends the process; one writer at a time.
constexpr size_t kPendingCapacity = 4096;
char gPendingPath[kPendingCapacity];
volatile std::sig_atomic_t gPending = 0;

void onInterrupt(int sig) {
    if (gPending) unlink(gPendingPath);
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void setPending(const std::string& path) {
    gPending = 0;
    if (path.size() >= kPendingCapacity) return;
    std::memcpy(gPendingPath, path.c_str(), path.size() + 1);
    gPending = 1;
}

void clearPending() {
    gPending = 0;
}

std::string quoted(const std::string& s) {
    std::string q(1, '\'');
    q += s;
    q += '\'';
    return q;
}

std::string systemReason(int error) {
    return std::strerror(error);
}

// libsndfile's messages end with a full stop; ours do not.
std::string soundFileReason(SNDFILE* file) {
    std::string reason = sf_strerror(file);
    while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n' || reason.back() == ' '))
        reason.pop_back();
    return reason;
}

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

mode_t currentUmask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

}  // namespace

// ---------------------------------------------------------------------------
// Reading

SoundFileReader::SoundFileReader(const std::string& p) : path(p) {
    struct stat st = {};
    if (stat(path.c_str(), &st) != 0) throw usageError("cannot open " + quoted(path) + ": " + systemReason(errno));
    if (S_ISDIR(st.st_mode)) throw usageError("cannot open " + quoted(path) + ": it is a directory");

    file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file) throw usageError("cannot read " + quoted(path) + ": " + soundFileReason(nullptr));
    if (!containerOfFormat(info.format)) {
        sf_close(file);
        file = nullptr;
        throw usageError(quoted(path) + " is not a WAV, AIFF, FLAC, W64 or CAF file");
    }
    if (info.channels < 1 || info.channels > kMaxChannels) {
        const int32_t n = info.channels;
        sf_close(file);
        file = nullptr;
        throw usageError(quoted(path) + " has " + std::to_string(n) + " channels; at most 8 are supported");
    }
    if (info.samplerate <= 0) {
        sf_close(file);
        file = nullptr;
        throw usageError(quoted(path) + " has no valid sample rate");
    }
}

SoundFileReader::~SoundFileReader() {
    if (file) sf_close(file);
}

int64_t SoundFileReader::read(double* interleaved, int64_t frames) {
    const sf_count_t got = sf_readf_double(file, interleaved, frames);
    if (got < frames && sf_error(file) != SF_ERR_NO_ERROR)
        throw usageError("cannot read " + quoted(path) + ": " + soundFileReason(file));
    return got;
}

// ---------------------------------------------------------------------------
// Writing

SoundFileWriter::SoundFileWriter(const std::string& output, int32_t format, int32_t channels, int32_t sampleRate)
    : finalPath(output) {
    // Hidden, beside the output, so that the rename stays on one file system.
    std::string base = baseOf(finalPath);
    if (base.size() > 200) base.resize(200);
    std::string pattern = directoryOf(finalPath) + "/." + base + ".partial-XXXXXX";
    fd = mkstemp(pattern.data());
    if (fd < 0)
        throw writeError("cannot write in " + quoted(directoryOf(finalPath)) + ": " + systemReason(errno));
    tempPath = pattern;
    setPending(tempPath);

    SF_INFO info = {};
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = format;
    file = sf_open_fd(fd, SFM_WRITE, &info, SF_FALSE);
    if (!file) fail("cannot write " + quoted(finalPath) + ": " + soundFileReason(nullptr));
    // Codecs convert from doubles inside libsndfile; let them clip, not wrap.
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // No peak chunk: it carries the time of writing, and the same render
    // should give the same file, byte for byte.
    sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

SoundFileWriter::~SoundFileWriter() {
    if (!committed) discard();
}

void SoundFileWriter::discard() noexcept {
    if (file) sf_close(file);
    file = nullptr;
    if (fd >= 0) close(fd);
    fd = -1;
    if (!tempPath.empty()) unlink(tempPath.c_str());
    clearPending();
}

void SoundFileWriter::fail(const std::string& what) {
    discard();
    throw writeError(what);
}

void SoundFileWriter::writeInt(const int32_t* interleaved, int64_t frames) {
    if (sf_writef_int(file, interleaved, frames) != frames)
        fail("cannot write " + quoted(finalPath) + ": " + soundFileReason(file));
}

void SoundFileWriter::writeDouble(const double* interleaved, int64_t frames) {
    if (sf_writef_double(file, interleaved, frames) != frames)
        fail("cannot write " + quoted(finalPath) + ": " + soundFileReason(file));
}

void SoundFileWriter::commit() {
    const std::string what = "cannot write " + quoted(finalPath) + ": ";
    const int closed = sf_close(file);
    file = nullptr;
    if (closed != 0) fail(what + sf_error_number(closed));
    // mkstemp made the file private; give it the mode a new file would have.
    if (fchmod(fd, 0666 & ~currentUmask()) != 0) fail(what + systemReason(errno));
    if (fsync(fd) != 0) fail(what + systemReason(errno));
    const int descriptor = fd;
    fd = -1;
    if (close(descriptor) != 0) fail(what + systemReason(errno));
    if (std::rename(tempPath.c_str(), finalPath.c_str()) != 0) fail(what + systemReason(errno));
    committed = true;
    clearPending();
}

// ---------------------------------------------------------------------------

void checkOutputPath(const std::string& input, const std::string& output) {
    if (input == output) throw usageError("the output " + quoted(output) + " is the input; choose another name");
    struct stat out = {};
    if (stat(output.c_str(), &out) != 0) return;  // nothing there yet
    if (S_ISDIR(out.st_mode)) throw usageError("the output " + quoted(output) + " is a directory");
    struct stat in = {};
    if (stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
        throw usageError("the output " + quoted(output) + " is the same file as the input " + quoted(input) +
                         "; choose another name");
}

void installInterruptCleanup() {
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    for (const int sig : {SIGINT, SIGTERM, SIGHUP}) {
        // A signal the caller chose to ignore (a background job, nohup) stays ignored.
        struct sigaction previous = {};
        if (sigaction(sig, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN) continue;
        sigaction(sig, &action, nullptr);
    }
}
