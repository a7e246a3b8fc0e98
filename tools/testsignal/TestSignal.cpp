// fenwoldrine-testsignal: makes the project's own test material and measures
// files, so that the demo and the tests need no audio from elsewhere.
//
//   fenwoldrine-testsignal generate OUT.wav [SECONDS] [CHANNELS]
//       a logarithmic sine sweep from 20 Hz to 20 kHz at -12 dBFS on the odd
//       channels, the same sweep at -18 dBFS mixed with white noise at
//       -30 dBFS on the even ones; 48 kHz, 24-bit WAV.
//   fenwoldrine-testsignal programme OUT.wav [SECONDS] [CHANNELS]
//       a stand-in for finished music: pink noise (falling 3 dB an octave)
//       under a bass note and a chord, each channel its own noise;
//       48 kHz, 24-bit WAV.
//   fenwoldrine-testsignal measure FILE
//       peak and RMS of each channel in dBFS.

#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr double kRate = 48000.0;
constexpr double kSweepStart = 20.0;
constexpr double kSweepEnd = 20000.0;
constexpr double kPi = 3.14159265358979323846;

double dbToGain(double db) {
    return std::pow(10.0, db / 20.0);
}

double gainToDb(double g) {
    return g > 0.0 ? 20.0 * std::log10(g) : -INFINITY;
}

int usage() {
    std::fprintf(stderr,
                 "usage: fenwoldrine-testsignal generate OUT.wav [SECONDS] [CHANNELS]\n"
                 "       fenwoldrine-testsignal programme OUT.wav [SECONDS] [CHANNELS]\n"
                 "       fenwoldrine-testsignal measure FILE\n");
    return 2;
}

// Pink noise from white: first-order low passes an octave apart, each
// weighted so that the sum falls 3 dB per octave over the audio band.
class PinkNoise {
public:
    explicit PinkNoise(unsigned seed) : gen(seed) {
        for (int i = 0; i < kStages; ++i) {
            const double corner = 20.0 * std::pow(2.0, i);
            pole[i] = std::exp(-2.0 * kPi * corner / kRate);
            weight[i] = std::sqrt(corner / 20.0) * (1.0 - pole[i]);
        }
    }
    double next() {
        const double w = white(gen);
        double sum = 0.0;
        for (int i = 0; i < kStages; ++i) {
            state[i] = pole[i] * state[i] + w;
            sum += weight[i] * state[i] / std::sqrt(std::pow(2.0, i));
        }
        return sum * 0.05;
    }

private:
    static constexpr int kStages = 11;
    std::mt19937 gen;
    std::uniform_real_distribution<double> white{-1.0, 1.0};
    double pole[kStages] = {}, weight[kStages] = {}, state[kStages] = {};
};

int writeFrames(const char* path, double seconds, int channels, const std::function<void(double, double*)>& make) {
    if (!(seconds > 0.0 && seconds <= 600.0) || channels < 1 || channels > 8) return usage();
    const sf_count_t frames = sf_count_t(seconds * kRate);
    SF_INFO info{};
    info.samplerate = int(kRate);
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    SNDFILE* f = sf_open(path, SFM_WRITE, &info);
    if (!f) {
        std::fprintf(stderr, "fenwoldrine-testsignal: cannot write %s: %s\n", path, sf_strerror(nullptr));
        return 1;
    }
    std::vector<double> frame(static_cast<size_t>(channels));
    for (sf_count_t n = 0; n < frames; ++n) {
        make(double(n) / kRate, frame.data());
        if (sf_writef_double(f, frame.data(), 1) != 1) {
            std::fprintf(stderr, "fenwoldrine-testsignal: write failed: %s\n", sf_strerror(f));
            sf_close(f);
            return 1;
        }
    }
    sf_close(f);
    return 0;
}

int programme(const char* path, double seconds, int channels) {
    std::vector<PinkNoise> noise;
    for (int c = 0; c < std::clamp(channels, 1, 8); ++c) noise.emplace_back(unsigned(2026 + c));
    static constexpr double kNotes[] = {55.0, 220.0, 277.18, 329.63, 440.0};
    static constexpr double kLevels[] = {-16.0, -24.0, -27.0, -27.0, -30.0};
    return writeFrames(path, seconds, channels, [&](double t, double* frame) {
        double tones = 0.0;
        for (size_t i = 0; i < std::size(kNotes); ++i) tones += dbToGain(kLevels[i]) * std::sin(2.0 * kPi * kNotes[i] * t);
        for (int c = 0; c < channels; ++c) frame[c] = tones + noise[size_t(c)].next();
    });
}

int generate(const char* path, double seconds, int channels) {
    std::mt19937 gen(2026);
    std::uniform_real_distribution<double> white(-1.0, 1.0);
    // Exponential sweep: the phase is the integral of f(t) = f0 * k^(t/T).
    const double T = std::max(1.0, std::floor(seconds * kRate)) / kRate;
    const double k = std::log(kSweepEnd / kSweepStart);
    return writeFrames(path, seconds, channels, [&](double t, double* frame) {
        const double phase = 2.0 * kPi * kSweepStart * T / k * (std::exp(t / T * k) - 1.0);
        const double sweep = std::sin(phase);
        for (int c = 0; c < channels; ++c)
            frame[c] = c % 2 == 0 ? dbToGain(-12.0) * sweep : dbToGain(-18.0) * sweep + dbToGain(-30.0) * white(gen);
    });
}

int measure(const char* path) {
    SF_INFO info{};
    SNDFILE* f = sf_open(path, SFM_READ, &info);
    if (!f) {
        std::fprintf(stderr, "fenwoldrine-testsignal: cannot read %s: %s\n", path, sf_strerror(nullptr));
        return 2;
    }
    const int channels = info.channels;
    std::vector<double> peak(size_t(channels), 0.0), energy(size_t(channels), 0.0);
    std::vector<double> block(size_t(channels) * 4096);
    sf_count_t total = 0, got;
    while ((got = sf_readf_double(f, block.data(), 4096)) > 0) {
        for (sf_count_t n = 0; n < got; ++n)
            for (int c = 0; c < channels; ++c) {
                const double x = block[size_t(n) * size_t(channels) + size_t(c)];
                peak[size_t(c)] = std::fmax(peak[size_t(c)], std::fabs(x));
                energy[size_t(c)] += x * x;
            }
        total += got;
    }
    sf_close(f);
    std::printf("%s: %d channels, %lld frames at %d Hz\n", path, channels, (long long)total, info.samplerate);
    for (int c = 0; c < channels; ++c) {
        const double rms = total > 0 ? std::sqrt(energy[size_t(c)] / double(total)) : 0.0;
        std::printf("  channel %d: peak %7.2f dBFS, rms %7.2f dBFS\n", c + 1, gainToDb(peak[size_t(c)]),
                    gainToDb(rms));
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "generate") == 0 && argc <= 5) {
        const double seconds = argc >= 4 ? std::atof(argv[3]) : 6.0;
        const int channels = argc >= 5 ? std::atoi(argv[4]) : 2;
        return generate(argv[2], seconds, channels);
    }
    if (argc >= 3 && std::strcmp(argv[1], "programme") == 0 && argc <= 5) {
        const double seconds = argc >= 4 ? std::atof(argv[3]) : 6.0;
        const int channels = argc >= 5 ? std::atoi(argv[4]) : 2;
        return programme(argv[2], seconds, channels);
    }
    if (argc == 3 && std::strcmp(argv[1], "measure") == 0) return measure(argv[2]);
    return usage();
}
