// The plug-in against the offline renderer: the same settings give the same
// curve, and lv2apply (which runs one frame per run() call) writes the same
// samples as fenwoldrine-render does in blocks of 512.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <map>
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

// The renderer's digital response in dB at the frequencies of the bands.
std::map<double, double> rendererResponse() {
    std::vector<std::string> args = {"--response", "-", "--points", "16", "--quiet"};
    for (const std::string& a : rendererSettings()) args.push_back(a);
    const RunResult r = runRenderer(args);
    EXPECT_EQ(r.status, 0) << r.err;
    std::map<double, double> db;
    std::istringstream lines(r.out);
    std::string line;
    std::getline(lines, line);  // hz,analogue_db,analogue_deg,digital_db,digital_deg
    while (std::getline(lines, line)) {
        double hz, analogueDb, analogueDeg, digitalDb;
        char comma;
        std::istringstream fields(line);
        if (fields >> hz >> comma >> analogueDb >> comma >> analogueDeg >> comma >> digitalDb) db[hz] = digitalDb;
    }
    return db;
}

}  // namespace

TEST(Lv2AgainstRenderer, TheCurveIsTheRenderersAtEveryBandFrequency) {
    const std::map<double, double> response = rendererResponse();
    auto fx = makeInstance(2, {.activate = false});
    for (const auto& [index, value] : rowValues()) setParam(*fx, index, value);
    fx->activate();
    for (const BandSetting& b : kBands) {
        const auto found = response.find(double(b.hz));
        ASSERT_NE(found, response.end()) << b.hz << " Hz is not on the renderer's grid";
        const Channels in = sine(2, int64_t(kTestRate) / 2, b.hz, 0.05f);
        const Channels out = process(*fx, in, 480);
        const size_t from = in[0].size() / 2, to = in[0].size();
        for (int32_t c = 0; c < 2; ++c) {
            const double db = 20.0 * std::log10(amplitudeAt(out[size_t(c)], b.hz, from, to) /
                                                amplitudeAt(in[size_t(c)], b.hz, from, to));
            EXPECT_NEAR(db, found->second, 0.01) << b.hz << " Hz, channel " << c;
        }
    }
}

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

        std::vector<std::string> args = rendererSettings();
        for (const std::string& a : {std::string("--quiet"), *dir / "in.wav", *dir / "render.wav"}) args.push_back(a);
        const RunResult rendered = runRenderer(args);
        ASSERT_EQ(rendered.status, 0) << rendered.err;
        rendering = new Audio(readFile(*dir / "render.wav"));
        EXPECT_EQ(rendering->format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        ASSERT_EQ(rendering->samples.size(), source->samples.size());
    }
    static void TearDownTestSuite() {
        delete rendering;
        delete source;
        delete dir;
    }

    // Interleaved samples against the renderer's, bit for bit.
    static void expectTheRenderersSamples(const std::vector<double>& samples) {
        ASSERT_EQ(samples.size(), rendering->samples.size());
        size_t differing = 0, first = 0;
        double worst = 0.0;
        for (size_t k = 0; k < samples.size(); ++k) {
            if (samples[k] == rendering->samples[k]) continue;
            if (differing++ == 0) first = k;
            worst = std::max(worst, std::fabs(samples[k] - rendering->samples[k]));
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

// Our host running one frame per run() call, then blocks of an odd length:
// the output does not depend on how the host cuts the stream.
TEST_F(Lv2AgainstRendererFile, RunsOfAnyLengthGiveTheRenderersSamples) {
    Channels in(2);
    for (size_t s = 0; s < source->samples.size() / 2; ++s)
        for (size_t c = 0; c < 2; ++c) in[c].push_back(float(source->samples[s * 2 + c]));
    for (const int32_t block : {1, 333}) {
        SCOPED_TRACE(block);
        auto fx = makeInstance(2, {.maxBlock = 512, .activate = false});
        for (const auto& [index, value] : rowValues()) setParam(*fx, index, value);
        fx->activate();
        const Channels out = process(*fx, in, block);
        std::vector<double> interleaved;
        for (size_t s = 0; s < out[0].size(); ++s)
            for (size_t c = 0; c < 2; ++c) interleaved.push_back(double(out[c][s]));
        expectTheRenderersSamples(interleaved);
    }
}

// lv2apply loads the plug-in with no host features and runs it one frame
// per run() call.
TEST_F(Lv2AgainstRendererFile, Lv2applyWritesTheRenderersSamples) {
    if (std::string(FW_LV2APPLY_PATH).empty()) GTEST_SKIP() << "lv2apply is not installed (lilv-utils)";
    if (FW_SANITIZED) GTEST_SKIP() << "lv2apply cannot load a plug-in built with a sanitizer";
    const std::string viaLv2 = *dir / "lv2apply.wav";
    std::vector<std::string> args = {"-i", *dir / "in.wav", "-o", viaLv2};
    for (const auto& [index, value] : rowValues()) {
        args.push_back("-c");
        args.push_back(lv2ports::parameterSymbol(index));
        args.push_back(text(value));
    }
    args.push_back(lv2ports::pluginUri(2));
    const RunResult applied = runProgram(FW_LV2APPLY_PATH, args, withBundle());
    ASSERT_EQ(applied.status, 0) << applied.err;
    const Audio a = readFile(viaLv2);
    EXPECT_EQ(a.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    ASSERT_EQ(a.channels, 2);
    expectTheRenderersSamples(a.samples);
}
