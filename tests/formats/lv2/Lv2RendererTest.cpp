// The plug-in against the offline renderer: under our lilv host, lv2apply
// and lv2file the same settings write the same samples as fenwoldrine-render
// does in blocks of 512.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "Lv2TestSupport.h"
#include "ToolTestSupport.h"

namespace {

// One band as both sides set it: through the ports (real values of the rows)
// and through the renderer's --set (the values it shows). Every value is
// exact in binary and in decimal, so both sides start from the same number.
struct BandSetting {
    int32_t band;
    int32_t type;
    const char* typeWord;
    float hz;
    float gainRow;  // times the Scale below
    float q;
};

// The renderer takes a band's gain in dB and divides it by the Scale it reads
// back from its normalised value; 18 dB (the default) is one whose
// normalised value, 0.75, is exact, so the division gives the row value exactly.
constexpr float kScaleDb = 18.0f;
constexpr BandSetting kBands[] = {
    {0, kTypePeak, "Peak", 1000.0f, 0.5f, 1.0f},
    {1, kTypeLowShelf, "LSh", 120.0f, -0.5f, 0.75f},
    {2, kTypeHighShelf, "HSh", 8000.0f, 0.75f, 0.625f},
};

std::vector<std::pair<int32_t, float>> rowValues() {
    std::vector<std::pair<int32_t, float>> rows = {{kScale, kScaleDb}};
    for (const BandSetting& b : kBands) {
        rows.push_back({bandParam(b.band, kFieldState), float(kBandOn)});
        rows.push_back({bandParam(b.band, kFieldType), float(b.type)});
        rows.push_back({bandParam(b.band, kFieldFrequency), b.hz});
        rows.push_back({bandParam(b.band, kFieldGain), b.gainRow});
        rows.push_back({bandParam(b.band, kFieldQ), b.q});
    }
    return rows;
}

std::string text(float v) {
    std::ostringstream s;
    s.precision(9);
    s << v;
    return s.str();
}

std::vector<std::string> rendererSettings() {
    std::vector<std::string> args = {"--set", cat("Scale=", text(kScaleDb))};
    for (const BandSetting& b : kBands) {
        const std::string band = cat("Band", std::to_string(b.band + 1));
        for (const std::string& s : {cat(band, " State=On"), cat(band, " Type=", b.typeWord),
                                     cat(band, " Frequency=", text(b.hz)), cat(band, " Gain=", text(b.gainRow * kScaleDb)),
                                     cat(band, " Q=", text(b.q))}) {
            args.push_back("--set");
            args.push_back(s);
        }
    }
    return args;
}

RunLimits withBundle() {
    RunLimits limits;
    limits.environment.push_back({"LV2_PATH", FW_LV2_BUNDLE_PARENT});
    return limits;
}

}  // namespace

namespace {

// Two seconds of stereo noise and a tone as a 32-bit float file, and the
// renderer's output for it under the settings above.
class Lv2AgainstRendererFile : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new ScratchDir;
        source = new Audio;
        source->channels = 2;
        source->rate = 48000;
        const Channels signal = noise(2, 2 * 48000, 0.3f, 21);
        const Channels tone = sine(2, 2 * 48000, 440.0, 0.2f);
        for (size_t s = 0; s < signal[0].size(); ++s)
            for (size_t c = 0; c < 2; ++c) source->samples.push_back(double(signal[c][s] + tone[c][s]));
        writeFloatFile(*dir / "in.wav", *source, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        rendering = new Audio(render({}));
    }
    // The renderer's output for in.wav under the settings above and `extra`.
    static Audio render(const std::vector<std::string>& extra) {
        std::vector<std::string> args = rendererSettings();
        args.insert(args.end(), extra.begin(), extra.end());
        for (const std::string& a : {std::string("--quiet"), *dir / "in.wav", *dir / "render.wav"}) args.push_back(a);
        const RunResult rendered = runRenderer(args);
        EXPECT_EQ(rendered.status, 0) << rendered.err;
        Audio out = readFile(*dir / "render.wav");
        EXPECT_EQ(out.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        EXPECT_EQ(out.samples.size(), source->samples.size());
        return out;
    }
    static void TearDownTestSuite() {
        delete rendering;
        delete source;
        delete dir;
    }

    // Interleaved samples against the renderer's, bit for bit; `late` frames
    // late when the host does not compensate the latency (the renderer does).
    static void expectTheRenderersSamples(const std::vector<double>& samples, const Audio& reference = *rendering,
                                          size_t late = 0) {
        ASSERT_EQ(samples.size(), reference.samples.size());
        size_t differing = 0, first = 0;
        double worst = 0.0;
        for (size_t k = 2 * late; k < samples.size(); ++k) {
            const double expected = reference.samples[k - 2 * late];
            if (samples[k] == expected) continue;
            if (differing++ == 0) first = k;
            worst = std::max(worst, std::fabs(samples[k] - expected));
        }
        EXPECT_EQ(differing, 0u) << "first at frame " << first / 2 << " channel " << first % 2
                                 << "; largest difference " << worst;
        // And the equaliser did act.
        double change = 0.0;
        for (size_t k = 0; k < samples.size(); ++k) change = std::max(change, std::fabs(samples[k] - source->samples[k]));
        EXPECT_GT(change, 0.01);
    }

    static ScratchDir* dir;
    static Audio* source;
    static Audio* rendering;
};

ScratchDir* Lv2AgainstRendererFile::dir = nullptr;
Audio* Lv2AgainstRendererFile::source = nullptr;
Audio* Lv2AgainstRendererFile::rendering = nullptr;

}  // namespace

// Hosts that process a file: lv2apply sets the ports before activation and
// runs one frame per run() call; lv2file sets them after activation. Neither
// offers a worker or free-wheels, so run() applies the settings before the
// first block (and settles again): the file is the renderer's from its first
// sample in every mode, late by the latency the host does not compensate.
TEST_F(Lv2AgainstRendererFile, FileHostsWriteTheRenderersSamplesInEveryMode) {
    if (FW_SANITIZED) GTEST_SKIP() << "lv2apply and lv2file cannot load a plug-in built with a sanitizer";
    struct Case {
        const char* name;
        std::string tool;
        std::vector<std::pair<int32_t, float>> rows;
        std::vector<std::string> renderer;
        size_t latency;  // half the IR in the linear-phase FIR mode
    };
    const Case cases[] = {
        {"lv2apply IIR", FW_LV2APPLY_PATH, {}, {}, 0},
        {"lv2file IIR", FW_LV2FILE_PATH, {}, {}, 0},
        {"lv2file Digital+", FW_LV2FILE_PATH, {{kDPlusLen, 3.0f}}, {"--set", "D+Len=64"}, 0},
        {"lv2file FIR Linear", FW_LV2FILE_PATH, {{kMode, 1.0f}, {kIRLength, 1.0f}},
         {"--set", "Mode=FIR", "--set", "IRLength=2048"}, 1024},
    };
    std::string missing;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.tool.empty()) {
            missing = c.name;
            continue;
        }
        const bool lv2file = c.tool == FW_LV2FILE_PATH;
        // lv2file limits the samples to full scale unless told not to.
        std::vector<std::string> args = {"-i", *dir / "in.wav", "-o", *dir / "host.wav"};
        if (lv2file) args.push_back("--ignore-clipping");
        std::vector<std::pair<int32_t, float>> rows = rowValues();
        rows.insert(rows.end(), c.rows.begin(), c.rows.end());
        for (const auto& [index, value] : rows) {
            const std::string symbol = lv2ports::parameterSymbol(index);
            for (const std::string& a : lv2file ? std::vector<std::string>{"-p", cat(symbol, ":", text(value))}
                                                : std::vector<std::string>{"-c", symbol, text(value)})
                args.push_back(a);
        }
        args.push_back(lv2ports::pluginUri(2));
        const RunResult run = runProgram(c.tool, args, withBundle());
        ASSERT_EQ(run.status, 0) << run.err;
        const Audio a = readFile(*dir / "host.wav");
        EXPECT_EQ(a.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        ASSERT_EQ(a.channels, 2);
        expectTheRenderersSamples(a.samples, c.renderer.empty() ? *rendering : render(c.renderer), c.latency);
    }
    if (!missing.empty()) GTEST_SKIP() << missing << ": the host is not installed (lilv-utils, lv2file)";
}
