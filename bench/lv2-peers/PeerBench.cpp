// fenwoldrine-lv2-peers: our LV2 plug-in against other equalisers installed
// on the system, all run through the same lilv host on the same noise.
// Only the run() calls are timed; each configuration gets the whole signal
// in blocks of the same size, after an untimed warm-up that lets designs
// made on other threads finish. A peer that is not installed is reported
// and skipped.
//
// The whole signal runs through each configuration `--rounds` times and
// the fastest round counts, so a moment of load from elsewhere on the
// machine does not land on one configuration alone. The level of the output
// against the input shows each plug-in did act on the signal.
//
//   fenwoldrine-lv2-peers [--seconds S] [--block N] [--rounds R] [--only TEXT]

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Lv2Host.h"
#include "core/ParamTable.h"
#include "formats/lv2/PortLayout.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int32_t kSignalChannels = 8;  // a plug-in with fewer inputs takes the first ones
constexpr double kLowestHz = 30.0;
constexpr double kHighestHz = 16000.0;
constexpr double kBandDb = 6.0;  // every band boosts or cuts by this, alternately

enum class Family { kOursIIR, kOursFIR, kPeerIIR, kPeerFIR, kBaseline };

struct Config {
    std::string label;
    std::string uri;
    int32_t bands = 0;
    Family family = Family::kPeerIIR;
    std::vector<std::pair<std::string, float>> controls;
};

struct Result {
    const Config* config = nullptr;
    bool installed = false;
    std::string problem;  // why it did not run
    int32_t channels = 0;
    int32_t latency = -1;
    double nsPerSampleChannel = 0.0;
    double levelDb = 0.0;  // output against input, over the last round

    double perBand() const { return config->bands > 0 ? nsPerSampleChannel / config->bands : 0.0; }
};

// Texts joined; plain appends keep GCC's overlap warnings quiet.
template <typename... Parts>
std::string cat(const Parts&... parts) {
    std::string text;
    (text.append(parts), ...);
    return text;
}

// Frequency of band b of n, log-spaced over the benchmark's range.
double spread(int32_t b, int32_t n, double low = kLowestHz, double high = kHighestHz) {
    return n < 2 ? std::sqrt(low * high) : low * std::pow(high / low, double(b) / double(n - 1));
}

double gainDb(int32_t b) { return (b % 2 == 0) ? kBandDb : -kBandDb; }

// The real value of a word of one of our choice rows.
float wordValue(int32_t index, const char* word) {
    int32_t count = 0, first = 0;
    const char* const* words = choiceWords(index, &count, &first);
    for (int32_t k = 0; words && k < count; ++k)
        if (std::strcmp(words[k], word) == 0) return float(first + k);
    std::fprintf(stderr, "no word '%s' for row %d\n", word, index);
    std::exit(2);
}

std::string symbolOf(int32_t index) { return lv2ports::parameterSymbol(index); }

Config ours(const char* label, Family family, std::vector<std::pair<std::string, float>> mode,
           int32_t bands = kNumBands, int32_t channels = 2) {
    Config c;
    c.label = label;
    c.uri = lv2ports::pluginUri(channels);
    c.bands = bands;
    c.family = family;
    // Band gains are fractions of Scale: 12 dB of scale makes 0.5 a 6 dB band.
    c.controls.emplace_back(symbolOf(kScale), 12.0f);
    for (int32_t b = 0; b < kNumBands; ++b) {
        c.controls.emplace_back(symbolOf(bandParam(b, kFieldState)), float(b < bands ? kBandOn : kBandOff));
        c.controls.emplace_back(symbolOf(bandParam(b, kFieldType)), float(kTypePeak));
        c.controls.emplace_back(symbolOf(bandParam(b, kFieldFrequency)), float(spread(b, bands)));
        c.controls.emplace_back(symbolOf(bandParam(b, kFieldGain)), float(gainDb(b) / 12.0));
        c.controls.emplace_back(symbolOf(bandParam(b, kFieldQ)), 1.0f);
    }
    for (auto& m : mode) c.controls.push_back(std::move(m));
    return c;
}

Config lspParametric(const char* label, const char* uri, int32_t bands, Family family, float mode) {
    Config c;
    c.label = label;
    c.uri = uri;
    c.bands = bands;
    c.family = family;
    c.controls = {{"enabled", 1.0f}, {"mode", mode}};
    for (int32_t b = 0; b < bands; ++b) {
        const std::string n = std::to_string(b);
        c.controls.emplace_back(cat("ft_", n), 1.0f);  // bell
        c.controls.emplace_back(cat("fm_", n), 0.0f);  // the first (bilinear) design
        c.controls.emplace_back(cat("s_", n), 0.0f);   // single section
        c.controls.emplace_back(cat("f_", n), float(spread(b, bands)));
        c.controls.emplace_back(cat("g_", n), float(std::pow(10.0, gainDb(b) / 20.0)));
        c.controls.emplace_back(cat("q_", n), 1.0f);
    }
    return c;
}

std::vector<Config> configurations() {
    std::vector<Config> list;
    const auto mode = [](float m) { return std::pair<std::string, float>(symbolOf(kMode), m); };
    const auto phase = [](const char* word) {
        return std::pair<std::string, float>(symbolOf(kIRPhase), wordValue(kIRPhase, word));
    };
    list.push_back(ours("Fenwoldrine stereo, IIR", Family::kOursIIR, {mode(wordValue(kMode, "IIR"))}));
    list.push_back(ours("Fenwoldrine stereo, IIR, 8 bands", Family::kOursIIR, {mode(wordValue(kMode, "IIR"))}, 8));
    list.push_back(ours("Fenwoldrine 7.1, IIR", Family::kOursIIR, {mode(wordValue(kMode, "IIR"))}, kNumBands, 8));
    list.push_back(ours("Fenwoldrine stereo, Digital+ 64", Family::kOursIIR,
                        {mode(wordValue(kMode, "IIR")), {symbolOf(kDPlusLen), wordValue(kDPlusLen, "64")}}));
    for (const char* p : {"Linear", "Full Minimum", "Zero-latency Analogue", "Analogue"}) {
        const std::string label = cat("Fenwoldrine stereo, FIR ", p);
        list.push_back(ours(label.c_str(), Family::kOursFIR, {mode(wordValue(kMode, "FIR")), phase(p)}));
    }

    const char* lsp = "http://lsp-plug.in/plugins/lv2/";
    list.push_back(lspParametric("LSP Parametric EQ x32 Stereo, IIR",
                                 cat(lsp, "para_equalizer_x32_stereo").c_str(), 32, Family::kPeerIIR, 0));
    list.push_back(lspParametric("LSP Parametric EQ x32 Stereo, FIR",
                                 cat(lsp, "para_equalizer_x32_stereo").c_str(), 32, Family::kPeerFIR, 1));
    list.push_back(lspParametric("LSP Parametric EQ x32 Stereo, IIR, 8 bands",
                                 cat(lsp, "para_equalizer_x32_stereo").c_str(), 8, Family::kPeerIIR, 0));
    list.push_back(lspParametric("LSP Parametric EQ x8 Stereo, IIR",
                                 cat(lsp, "para_equalizer_x8_stereo").c_str(), 8, Family::kPeerIIR, 0));
    list.push_back(lspParametric("LSP Parametric EQ x16 Stereo, IIR",
                                 cat(lsp, "para_equalizer_x16_stereo").c_str(), 16, Family::kPeerIIR, 0));

    {
        // Four bells, two shelves, high and low pass: every section on.
        Config c;
        c.label = "x42 fil4 stereo";
        c.uri = "http://gareus.org/oss/lv2/fil4#stereo";
        c.bands = 8;
        c.controls = {{"enable", 1}, {"HighPass", 1}, {"HPfreq", 25}, {"LowPass", 1}, {"LPfreq", 18000},
                      {"LSsec", 1},  {"LSfreq", 60}, {"LSgain", 6},  {"HSsec", 1},   {"HSfreq", 10000},
                      {"HSgain", -6}};
        const double hz[4] = {150, 600, 2400, 6000};
        for (int32_t s = 1; s <= 4; ++s) {
            const std::string n = std::to_string(s);
            c.controls.emplace_back(cat("sec", n), 1.0f);
            c.controls.emplace_back(cat("freq", n), float(hz[s - 1]));
            c.controls.emplace_back(cat("q", n), 1.0f);
            c.controls.emplace_back(cat("gain", n), float(gainDb(s)));
        }
        list.push_back(std::move(c));
    }
    {
        Config c;
        c.label = "Calf Equalizer 12 Band";
        c.uri = "http://calf.sourceforge.net/plugins/Equalizer12Band";
        c.bands = 12;
        c.controls = {{"bypass", 0},   {"hp_active", 1}, {"hp_freq", 25},   {"lp_active", 1},
                      {"lp_freq", 18000}, {"ls_active", 1}, {"ls_level", 2},  {"ls_freq", 60},
                      {"hs_active", 1}, {"hs_level", 0.5f}, {"hs_freq", 10000}};
        for (int32_t p = 1; p <= 8; ++p) {
            const std::string n = cat("p", std::to_string(p), "_");
            c.controls.emplace_back(cat(n, "active"), 1.0f);
            c.controls.emplace_back(cat(n, "level"), float(std::pow(10.0, gainDb(p) / 20.0)));
            c.controls.emplace_back(cat(n, "freq"), float(spread(p - 1, 8, 100.0, 8000.0)));
            c.controls.emplace_back(cat(n, "q"), 1.0f);
        }
        list.push_back(std::move(c));
    }
    {
        Config c;
        c.label = "ZamEQ2 (mono)";
        c.uri = "urn:zamaudio:ZamEQ2";
        c.bands = 4;
        c.controls = {{"boost1", 6}, {"bw1", 1}, {"f1", 500},   {"boost2", -6}, {"bw2", 1},
                      {"f2", 3000},  {"boostl", 6}, {"fl", 120}, {"boosth", -6}, {"fh", 8000}};
        list.push_back(std::move(c));
    }
    {
        Config c;
        c.label = "host baseline (copy)";
        c.uri = "urn:kestrawn:fenwoldrine-bench:copy";
        c.bands = 0;
        c.family = Family::kBaseline;
        list.push_back(std::move(c));
    }
    return list;
}

// Untimed blocks until what other threads design has landed: at least a
// second of audio, then until the worker is idle and the latency has held
// still for a quarter of a second of wall time (at most ten seconds).
void warmUp(lv2host::Instance& fx, int32_t block, float* const* in, float* const* out) {
    using Clock = std::chrono::steady_clock;
    const auto give = Clock::now() + std::chrono::seconds(10);
    const int32_t minimumBlocks = int32_t(kRate) / block + 1;
    int32_t lastLatency = fx.latency();
    auto still = Clock::now();
    for (int32_t k = 0;; ++k) {
        fx.connectAudio(in, out);
        fx.run(uint32_t(block));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto now = Clock::now();
        if (fx.latency() != lastLatency || !fx.worker().idle()) {
            lastLatency = fx.latency();
            still = now;
        }
        if (k >= minimumBlocks && now - still > std::chrono::milliseconds(250)) return;
        if (now > give) return;
    }
}

Result measure(lv2host::World& world, const Config& config, const std::vector<float>& noise, int32_t block,
               int32_t rounds) {
    Result r;
    r.config = &config;
    const LilvPlugin* plugin = world.plugin(config.uri);
    if (!plugin) return r;
    r.installed = true;
    lv2host::HostSetup setup;
    setup.sampleRate = kRate;
    setup.nominalBlock = block;
    setup.maxBlock = block;
    setup.work = lv2host::WorkMode::kThreaded;
    setup.quietLog = true;
    std::unique_ptr<lv2host::Instance> fx;
    try {
        fx = std::make_unique<lv2host::Instance>(world, plugin, setup);
    } catch (const std::exception& e) {
        r.problem = e.what();
        return r;
    }
    for (const auto& [symbol, value] : config.controls) {
        if (!fx->setControl(symbol, value)) {
            r.problem = cat("no port '", symbol, "'");
            return r;
        }
    }
    const int32_t channels = int32_t(fx->audioInputs().size());
    if (channels < 1 || channels > kSignalChannels || fx->audioOutputs().size() != size_t(channels)) {
        r.problem = "unexpected audio ports";
        return r;
    }
    r.channels = channels;

    const int64_t frames = int64_t(noise.size()) / kSignalChannels;
    std::vector<std::vector<float>> in(size_t(channels), std::vector<float>(size_t(block), 0.0f));
    std::vector<std::vector<float>> out(size_t(channels), std::vector<float>(size_t(block), 0.0f));
    std::vector<float*> inPtr, outPtr;
    for (int32_t c = 0; c < channels; ++c) {
        inPtr.push_back(in[size_t(c)].data());
        outPtr.push_back(out[size_t(c)].data());
    }
    const auto fill = [&](int64_t at, int32_t n) {
        for (int32_t c = 0; c < channels; ++c)
            for (int32_t s = 0; s < n; ++s)
                in[size_t(c)][size_t(s)] = noise[size_t((at + s) * kSignalChannels + c)];
    };

    fx->activate();
    fill(0, block);
    warmUp(*fx, block, inPtr.data(), outPtr.data());
    r.latency = fx->latency();

    int64_t fastest = 0;
    for (int32_t round = 0; round < rounds; ++round) {
        int64_t nanoseconds = 0;
        double inEnergy = 0.0, outEnergy = 0.0;
        for (int64_t at = 0; at < frames; at += block) {
            const int32_t n = int32_t(std::min<int64_t>(block, frames - at));
            fill(at, n);
            fx->connectAudio(inPtr.data(), outPtr.data());
            fx->run(uint32_t(n), &nanoseconds);
            for (int32_t c = 0; c < channels; ++c)
                for (int32_t s = 0; s < n; ++s) {
                    inEnergy += double(in[size_t(c)][size_t(s)]) * in[size_t(c)][size_t(s)];
                    outEnergy += double(out[size_t(c)][size_t(s)]) * out[size_t(c)][size_t(s)];
                }
        }
        if (round == 0 || nanoseconds < fastest) fastest = nanoseconds;
        r.levelDb = 10.0 * std::log10(outEnergy / inEnergy);
    }
    fx->deactivate();
    r.nsPerSampleChannel = double(fastest) / double(frames) / double(channels);
    return r;
}

void printTable(const std::vector<Result>& results, double seconds, int32_t block, int32_t rounds) {
    std::printf("LV2 equalisers, %.0f s of noise (a channel each input) at 48 kHz in blocks of %d, run() timed alone, "
                "fastest of %d rounds\n\n",
                seconds, block, rounds);
    std::printf("%-46s %5s %3s %8s %8s %13s %18s %10s\n", "configuration", "bands", "ch", "latency", "out/in",
                "ns/sample/ch", "ns/sample/ch/band", "x realtime");
    for (const Result& r : results) {
        if (!r.installed) {
            std::printf("%-46s not installed (%s)\n", r.config->label.c_str(), r.config->uri.c_str());
            continue;
        }
        if (!r.problem.empty()) {
            std::printf("%-46s not run: %s\n", r.config->label.c_str(), r.problem.c_str());
            continue;
        }
        char perBand[32] = "-";
        if (r.config->bands > 0) std::snprintf(perBand, sizeof perBand, "%.3f", r.perBand());
        char latency[16] = "-";
        if (r.latency >= 0) std::snprintf(latency, sizeof latency, "%d", r.latency);
        const double realtime = 1e9 / kRate / (r.nsPerSampleChannel * r.channels);
        std::printf("%-46s %5d %3d %8s %5.1f dB %13.3f %18s %10.0f\n", r.config->label.c_str(), r.config->bands,
                    r.channels, latency, r.levelDb, r.nsPerSampleChannel, perBand, realtime);
    }
}

const Result* find(const std::vector<Result>& results, Family family, const char* labelPart = nullptr) {
    for (const Result& r : results)
        if (r.config->family == family && r.installed && r.problem.empty() &&
            (!labelPart || r.config->label.find(labelPart) != std::string::npos))
            return &r;
    return nullptr;
}

// The same results as a table in Markdown, for the README: each of ours, and
// each peer with its time against ours in the same family (IIR or FIR, and
// at 8 bands against our 8 bands).
void printMarkdown(const std::vector<Result>& results) {
    const Result* iir = find(results, Family::kOursIIR);
    const Result* fir = find(results, Family::kOursFIR, "Linear");
    std::printf("\n| configuration | bands | channels | latency | ns per sample, channel and band | peer / ours |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Result& r : results) {
        if (!r.installed || !r.problem.empty() || r.config->bands == 0) continue;
        const bool oursRow = r.config->family == Family::kOursIIR || r.config->family == Family::kOursFIR;
        const Result* ours8 = find(results, Family::kOursIIR, "8 bands");
        const Result* against = r.config->family == Family::kPeerFIR                             ? fir
                                : ours8 && r.config->label.find("8 bands") != std::string::npos ? ours8
                                                                                                  : iir;
        char ratio[32] = "";
        if (!oursRow && against) std::snprintf(ratio, sizeof ratio, "%.2f", r.perBand() / against->perBand());
        char latency[16] = "-";
        if (r.latency >= 0) std::snprintf(latency, sizeof latency, "%d", r.latency);
        std::printf("| %s | %d | %d | %s | %.3f | %s |\n", r.config->label.c_str(), r.config->bands, r.channels, latency,
                    r.perBand(), ratio);
    }
}

void printRatios(const std::vector<Result>& results) {
    const Result* iir = find(results, Family::kOursIIR);
    const Result* fir = find(results, Family::kOursFIR, "Linear");
    std::printf("\nper band, peer time / our time (above 1: we are faster)\n");
    if (!iir) {
        std::printf("  our IIR configuration did not run\n");
        return;
    }
    const Result* fastestPeerIIR = nullptr;
    for (const Result& r : results) {
        if (!r.installed || !r.problem.empty() || r.config->bands == 0) continue;
        if (r.config->family == Family::kPeerIIR) {
            std::printf("  %-46s vs our IIR: %6.2f\n", r.config->label.c_str(), r.perBand() / iir->perBand());
            if (!fastestPeerIIR || r.perBand() < fastestPeerIIR->perBand()) fastestPeerIIR = &r;
        } else if (r.config->family == Family::kPeerFIR && fir) {
            std::printf("  %-46s vs our FIR Linear: %6.2f\n", r.config->label.c_str(), r.perBand() / fir->perBand());
        }
    }
    if (fastestPeerIIR) {
        const double ratio = fastestPeerIIR->perBand() / iir->perBand();
        std::printf("\nfastest peer IIR per band: %s, %.3f ns; ours %.3f ns: %.2fx (goal 2x: %s)\n",
                    fastestPeerIIR->config->label.c_str(), fastestPeerIIR->perBand(), iir->perBand(), ratio,
                    ratio >= 2.0 ? "met" : "missed");
    }
    const Result* sameBands = nullptr;
    for (const Result& r : results)
        if (r.config->family == Family::kPeerIIR && r.installed && r.problem.empty() && r.config->bands == kNumBands &&
            (!sameBands || r.perBand() < sameBands->perBand()))
            sameBands = &r;
    if (sameBands) {
        const double ratio = sameBands->perBand() / iir->perBand();
        std::printf("at %d bands: %s %.3f ns per band; ours %.3f ns: %.2fx (goal 2x: %s)\n", kNumBands,
                    sameBands->config->label.c_str(), sameBands->perBand(), iir->perBand(), ratio,
                    ratio >= 2.0 ? "met" : "missed");
    }
    const Result* ours8 = find(results, Family::kOursIIR, "8 bands");
    const Result* peer8 = find(results, Family::kPeerIIR, "8 bands");
    if (ours8 && peer8) {
        const double ratio = peer8->perBand() / ours8->perBand();
        std::printf("at 8 bands: %s %.3f ns per band; ours %.3f ns: %.2fx (goal 1x: %s)\n",
                    peer8->config->label.c_str(), peer8->perBand(), ours8->perBand(), ratio,
                    ratio >= 1.0 ? "met" : "missed");
    }
    if (const Result* wide = find(results, Family::kOursIIR, "7.1")) {
        const double ratio = wide->nsPerSampleChannel / iir->nsPerSampleChannel;
        std::printf("8 channels: %.3f ns per sample and channel against %.3f in stereo: %.2fx (goal at most 1x: %s)\n",
                    wide->nsPerSampleChannel, iir->nsPerSampleChannel, ratio, ratio <= 1.0 ? "met" : "missed");
    }
    if (const Result* peerFir = find(results, Family::kPeerFIR); peerFir && fir) {
        const double ratio = fir->perBand() / peerFir->perBand();
        std::printf("FIR Linear: %s %.3f ns per band; ours %.3f ns: %.2fx its time (goal at most 3x: %s)\n",
                    peerFir->config->label.c_str(), peerFir->perBand(), fir->perBand(), ratio,
                    ratio <= 3.0 ? "met" : "missed");
    }
}

int usage() {
    std::fprintf(stderr, "usage: fenwoldrine-lv2-peers [--seconds S] [--block N] [--rounds R] [--only TEXT]\n");
    return 2;
}

// lilv finds our bundle and the baseline through LV2_PATH, ahead of the
// system's folders (which an LV2_PATH of the user's replaces).
void extendSearchPath() {
    std::string path = FW_BENCH_BUNDLES;
    path.append(":").append(FW_PLUGIN_BUNDLES).append(":");
    const char* before = std::getenv("LV2_PATH");
    const char* home = std::getenv("HOME");
    if (before && *before) {
        path.append(before);
    } else {
        if (home && *home) path.append(home).append("/.lv2:");
        path.append("/usr/local/lib/lv2:/usr/lib/lv2");
    }
    setenv("LV2_PATH", path.c_str(), 1);
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = 60.0;
    int32_t block = 1024;
    int32_t rounds = 3;
    std::optional<std::string> only;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (i + 1 >= argc) return usage();
        if (a == "--seconds") seconds = std::atof(argv[++i]);
        else if (a == "--block") block = std::atoi(argv[++i]);
        else if (a == "--rounds") rounds = std::atoi(argv[++i]);
        else if (a == "--only") only = argv[++i];
        else return usage();
    }
    if (!(seconds > 0.0) || block < 1 || block > 8192 || rounds < 1) return usage();

    extendSearchPath();
    lv2host::World world;

    // The same noise for every configuration: uniform, -12 dBFS peak.
    const int64_t frames = int64_t(std::llround(seconds * kRate));
    std::vector<float> noise(size_t(frames * kSignalChannels));
    std::mt19937 gen(20240601);
    std::uniform_real_distribution<float> uniform(-0.25f, 0.25f);
    for (float& x : noise) x = uniform(gen);

    const std::vector<Config> list = configurations();
    std::vector<Result> results;
    for (const Config& c : list) {
        if (only && c.label.find(*only) == std::string::npos) continue;
        std::fprintf(stderr, "running %s\n", c.label.c_str());
        results.push_back(measure(world, c, noise, block, rounds));
    }
    printTable(results, seconds, block, rounds);
    printRatios(results);
    printMarkdown(results);
    return 0;
}
