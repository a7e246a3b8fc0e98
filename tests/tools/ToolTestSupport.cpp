#include "ToolTestSupport.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

std::string temporaryRoot() {
    const char* t = std::getenv("TMPDIR");
    return (t && *t) ? t : "/tmp";
}

// The tests and the renderer they start see a home of their own, never the real one.
class IsolatedHome : public ::testing::Environment {
public:
    void SetUp() override {
        home = std::make_unique<ScratchDir>();
        const std::string config = *home / "config";
        const std::string data = *home / "data";
        mkdir(config.c_str(), 0700);
        mkdir(data.c_str(), 0700);
        setenv("HOME", home->path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        setenv("XDG_DATA_HOME", data.c_str(), 1);
    }
    void TearDown() override { home.reset(); }

private:
    std::unique_ptr<ScratchDir> home;
};

[[maybe_unused]] const ::testing::Environment* const kIsolatedHome =
    ::testing::AddGlobalTestEnvironment(new IsolatedHome);

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

SNDFILE* openForWrite(const std::string& path, int32_t channels, int32_t rate, int32_t format) {
    SF_INFO info = {};
    info.channels = channels;
    info.samplerate = rate;
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!f) throw std::runtime_error("test cannot write " + path + ": " + sf_strerror(nullptr));
    return f;
}

}  // namespace

ScratchDir::ScratchDir() {
    std::string pattern = temporaryRoot() + "/fw-tools-test-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    dir = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
}

std::vector<std::string> ScratchDir::entries() const {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir)) names.push_back(e.path().filename().string());
    return names;
}

void writeFloatFile(const std::string& path, const Audio& audio, int32_t format) {
    SNDFILE* f = openForWrite(path, audio.channels, audio.rate, format);
    sf_writef_double(f, audio.samples.data(), audio.frames());
    sf_close(f);
}

void writeIntegerFile(const std::string& path, int32_t channels, int32_t rate, int32_t format, int32_t bits,
                      const std::vector<int32_t>& codes) {
    std::vector<int32_t> justified(codes.size());
    for (size_t k = 0; k < codes.size(); ++k) justified[k] = int32_t(int64_t(codes[k]) * (int64_t(1) << (32 - bits)));
    SNDFILE* f = openForWrite(path, channels, rate, format);
    sf_writef_int(f, justified.data(), sf_count_t(codes.size() / size_t(channels)));
    sf_close(f);
}

Audio readFile(const std::string& path) {
    SF_INFO info = {};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (!f) throw std::runtime_error("test cannot read " + path + ": " + sf_strerror(nullptr));
    Audio a;
    a.channels = info.channels;
    a.rate = info.samplerate;
    a.format = info.format;
    a.samples.resize(size_t(info.frames) * size_t(info.channels));
    sf_readf_double(f, a.samples.data(), info.frames);
    sf_close(f);
    return a;
}

std::vector<int32_t> readCodes(const std::string& path, int32_t bits) {
    SF_INFO info = {};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (!f) throw std::runtime_error("test cannot read " + path + ": " + sf_strerror(nullptr));
    std::vector<int32_t> codes(size_t(info.frames) * size_t(info.channels));
    sf_readf_int(f, codes.data(), info.frames);
    sf_close(f);
    for (int32_t& c : codes) c >>= (32 - bits);
    return codes;
}

Audio sineAudio(int32_t channels, int32_t rate, int64_t frames, double peak, double hz) {
    Audio a;
    a.channels = channels;
    a.rate = rate;
    a.samples.resize(size_t(frames) * size_t(channels));
    for (int64_t s = 0; s < frames; ++s)
        for (int32_t c = 0; c < channels; ++c)
            a.samples[size_t(s * channels + c)] = peak * std::sin(2.0 * M_PI * hz * double(s) / rate + 0.7 * c);
    return a;
}

RunResult runProgram(const std::string& program, const std::vector<std::string>& args, const RunLimits& limits) {
    ScratchDir capture;
    const std::string outPath = capture / "stdout", errPath = capture / "stderr";
    std::vector<std::string> argvStore = {program};
    argvStore.insert(argvStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : argvStore) argv.push_back(a.data());
    argv.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out < 0 || err < 0) _exit(127);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        if (limits.maxFileBytes >= 0) {
            // Writes beyond the limit fail with EFBIG, as on a full disk.
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit r = {rlim_t(limits.maxFileBytes), rlim_t(limits.maxFileBytes)};
            setrlimit(RLIMIT_FSIZE, &r);
        }
        for (const auto& [name, value] : limits.environment) setenv(name.c_str(), value.c_str(), 1);
        execv(argv[0], argv.data());
        _exit(127);
    }
    RunResult result;
    int wstatus = 0;
    if (pid < 0 || waitpid(pid, &wstatus, 0) != pid) return result;
    result.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
    result.out = slurp(outPath);
    result.err = slurp(errPath);
    return result;
}

RunResult runRenderer(const std::vector<std::string>& args, const RunLimits& limits) {
    return runProgram(FW_RENDER_PATH, args, limits);
}

bool fileExists(const std::string& path) {
    struct stat st = {};
    return stat(path.c_str(), &st) == 0;
}
