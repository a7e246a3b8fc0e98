// The built fenwoldrine-render run on real files: formats and lengths, gain,
// latency alignment and tail, dither, channel order, the editor's picture and
// the parameter listing.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <tuple>

#include "ToolTestSupport.h"
#include "gui/toolkit/CDIB.h"

namespace {

class RenderTest : public ::testing::Test {
protected:
    // Renders in -> out with the options and expects success.
    void render(const std::string& in, const std::string& out, std::vector<std::string> options) {
        options.push_back(in);
        options.push_back(out);
        const RunResult r = runRenderer(options);
        ASSERT_EQ(r.status, 0) << r.err;
        lastErr = r.err;
    }

    // Sine codes of a bits-wide integer file, channels interleaved.
    static std::vector<int32_t> sineCodes(int32_t channels, int64_t frames, int32_t bits, double peak) {
        const Audio a = sineAudio(channels, 48000, frames, peak, 997.0);
        std::vector<int32_t> codes(a.samples.size());
        for (size_t k = 0; k < codes.size(); ++k) codes[k] = int32_t(std::lround(a.samples[k] * std::ldexp(1.0, bits - 1)));
        return codes;
    }

    // Equal up to the effect's mid/side coding, which can round away the last
    // bits of a float sample that is tiny beside its partner channel.
    static void expectSameSamples(const Audio& result, const Audio& expected, double tolerance = 1e-12) {
        ASSERT_EQ(result.samples.size(), expected.samples.size());
        for (size_t k = 0; k < expected.samples.size(); ++k)
            ASSERT_NEAR(result.samples[k], expected.samples[k], tolerance) << "sample " << k;
    }

    static std::string bytesOf(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    ScratchDir dir;
    std::string lastErr;
};

}  // namespace

TEST_F(RenderTest, NeutralSettingsKeepFormatLengthAndSamplesUnlessTheOptionsChangeTheFormat) {
    struct Row {
        const char* ext;
        int32_t format;
        int32_t bits;  // 0 for float
        std::vector<std::string> options;
        int32_t written;  // the output's format; 0: the input's, samples and all
    };
    const Row rows[] = {
        {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 24, {}, 0},
        {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 16, {}, 0},
        {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 24, {}, 0},
        {"w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT, 0, {}, 0},
        {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, 16, {}, 0},
        {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 24, {"--format", "flac", "--bits", "16"}, SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
    };
    constexpr int64_t kFrames = 10000;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.ext);
        const std::string in = dir / (std::string("in.") + row.ext), out = dir / (std::string("out.") + row.ext);
        if (row.bits) {
            writeIntegerFile(in, 2, 44100, row.format, row.bits, sineCodes(2, kFrames, row.bits, 0.8));
        } else {
            Audio a = sineAudio(2, 44100, kFrames, 0.8, 997.0);
            for (double& x : a.samples) x = double(float(x));
            writeFloatFile(in, a, row.format);
        }
        std::vector<std::string> options = row.options;
        options.push_back("--quiet");
        render(in, out, options);
        EXPECT_EQ(lastErr, "");  // --quiet and nothing to warn about
        const Audio source = readFile(in), result = readFile(out);
        EXPECT_EQ(result.format, row.written ? row.written : source.format);
        EXPECT_EQ(result.channels, 2);
        EXPECT_EQ(result.rate, 44100);
        ASSERT_EQ(result.frames(), kFrames);
        if (row.written) continue;
        if (row.bits)
            EXPECT_EQ(result.samples, source.samples);  // no dither, no rounding: bit for bit
        else
            expectSameSamples(result, source);
    }
}

TEST_F(RenderTest, SnapshotDrawsTheEditorAsTheRenderLeftIt) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    writeFloatFile(in, sineAudio(2, 48000, 4800, 0.9, 440.0), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    // The clip light, at the right end of the top bar.
    auto clipLight = [](const std::string& png) {
        std::ifstream file(png, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        VSTGUI::CDIB* picture = VSTGUI::CDIB::fromPNG(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        EXPECT_NE(picture, nullptr) << png;
        if (!picture) return std::make_tuple(0, 0, VSTGUI::CColor());
        const auto result = std::make_tuple(picture->width(), picture->height(), picture->getPixel(745, 12));
        picture->forget();
        return result;
    };
    const struct { std::vector<std::string> args; int width, height; bool clipped; } rows[] = {
        {{"--set", "Gain=-6"}, 750, 741, false},
        {{"--set", "Gain=+12"}, 750, 741, true},
        {{"--set", "Gain=+12", "--snapshot-size", "900x500"}, 900, 500, true},
        // Without strips the meters stand beside the graph, and the window is lower.
        {{"--ui", "Layout/BandStrips=Hide"}, 880, 461, false},
    };
    for (const auto& row : rows) {
        const std::string png = dir / "editor.png";
        std::vector<std::string> args = row.args;
        args.insert(args.end(), {"--snapshot", png, "--quiet"});
        render(in, out, args);
        const auto [width, height, light] = clipLight(png);
        EXPECT_EQ(width, row.width);
        EXPECT_EQ(height, row.height);
        if (row.width == 750) {
            EXPECT_EQ(light.red > 150, row.clipped) << int(light.red);  // lit: bright red
        }
    }
    // Without audio: the editor after the settings alone.
    const RunResult r = runRenderer({"--snapshot", dir / "alone.png", "--set", "Band1 State=On"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(std::get<0>(clipLight(dir / "alone.png")), 750);
}

TEST_F(RenderTest, GainRoundsPlainlyOnIntegersAndClipsWithAWarning) {
    const double kMinus6dB = std::pow(10.0, -6.0 / 20.0);
    // 16 bits in and out: no dither, within half an LSB of the exact product
    // (plus the float gain's rounding).
    const std::vector<int32_t> codes = sineCodes(2, 9600, 16, 0.7);
    writeIntegerFile(dir / "16.wav", 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, codes);
    render(dir / "16.wav", dir / "out.wav", {"--set", "Gain=-6"});
    const std::vector<int32_t> rounded = readCodes(dir / "out.wav", 16);
    ASSERT_EQ(rounded.size(), codes.size());
    for (size_t k = 0; k < codes.size(); ++k) ASSERT_LE(std::fabs(rounded[k] - codes[k] * kMinus6dB), 0.501) << k;

    // Too loud: clamped to the word's limits, counted and reported even with --quiet.
    writeIntegerFile(dir / "hot.wav", 1, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, sineCodes(1, 4800, 16, 0.9));
    render(dir / "hot.wav", dir / "out.wav", {"--set", "Gain=6", "--quiet"});
    EXPECT_NE(lastErr.find("warning: "), std::string::npos);
    EXPECT_NE(lastErr.find("samples clipped at the 16-bit limits"), std::string::npos);
    const std::vector<int32_t> clipped = readCodes(dir / "out.wav", 16);
    EXPECT_EQ(*std::max_element(clipped.begin(), clipped.end()), 32767);
    EXPECT_EQ(*std::min_element(clipped.begin(), clipped.end()), -32768);
}

// Latent modes come out lined up with the input, whatever the block size,
// and the tail rings out after it: a flat linear-phase FIR is a unit tap at
// its centre, and a bypassed one passes the file exactly.
TEST_F(RenderTest, LatentModesAreLinedUpWithTheInputAndTheTailFollows) {
    const struct {
        int64_t frames, tailFrames;
        std::vector<std::string> options;
        double tolerance;
    } rows[] = {
        // 4096 samples of latency, dropped across several blocks of an odd size;
        // a one-sample slip would differ by about 0.08.
        {20000, 0, {"--set", "IRPhase=Linear", "--block", "333"}, 1e-12},
        {1000, 12000, {"--set", "IRPhase=Linear", "--set", "IRLength=1024", "--tail", "0.25"}, 1e-9},
        {20000, 0, {"--set", "IRPhase=Linear", "--set", "Band1 State=On", "--set", "Band1 Gain=9", "--set", "Bypass=On"}, 1e-12},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.options.back());
        const Audio source = sineAudio(2, 48000, row.frames, 0.5, 1234.5);
        writeFloatFile(dir / "in.wav", source, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        std::vector<std::string> options = row.options;
        options.insert(options.end(), {"--set", "Mode=FIR"});
        render(dir / "in.wav", dir / "out.wav", options);
        Audio expected = readFile(dir / "in.wav");
        expected.samples.resize(size_t((row.frames + row.tailFrames) * 2), 0.0);
        expectSameSamples(readFile(dir / "out.wav"), expected, row.tolerance);
    }
}

TEST_F(RenderTest, DitherIsWithinOneLsbOfRoundingRepeatableAndKeepsWhatRoundingLoses) {
    const Audio source = sineAudio(1, 48000, 48000, 0.3, 997.0);
    writeFloatFile(dir / "in.wav", source, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    render(dir / "in.wav", dir / "plain.wav", {"--bits", "16", "--no-dither"});
    render(dir / "in.wav", dir / "dithered.wav", {"--bits", "16"});
    render(dir / "in.wav", dir / "again.wav", {"--bits", "16"});
    const std::vector<int32_t> plain = readCodes(dir / "plain.wav", 16), dithered = readCodes(dir / "dithered.wav", 16);
    ASSERT_EQ(plain.size(), source.samples.size());
    ASSERT_EQ(dithered.size(), source.samples.size());
    size_t moved = 0;
    for (size_t k = 0; k < plain.size(); ++k) {
        const long rounded = std::lround(source.samples[k] * 32768.0);
        ASSERT_EQ(plain[k], rounded) << k;
        ASSERT_LE(std::labs(dithered[k] - rounded), 1) << k;
        moved += dithered[k] != rounded;
    }
    // A triangle of +-1 LSB moves about a third of the samples off the nearest code.
    EXPECT_GT(double(moved) / double(dithered.size()), 0.25);
    EXPECT_LT(double(moved) / double(dithered.size()), 0.45);
    EXPECT_EQ(bytesOf(dir / "dithered.wav"), bytesOf(dir / "again.wav"));

    // A sine of 0.4 LSB: rounding erases it, dither keeps it in the noise.
    const double lsb = 1.0 / 32768.0, hz = 1000.0;
    writeFloatFile(dir / "quiet.wav", sineAudio(1, 48000, 48000, 0.4 * lsb, hz), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    auto amplitude = [&](const std::vector<int32_t>& codes) {
        double projection = 0.0;
        for (size_t s = 0; s < codes.size(); ++s) projection += codes[s] * std::sin(2.0 * M_PI * hz * double(s) / 48000.0);
        return 2.0 * projection / double(codes.size());
    };
    render(dir / "quiet.wav", dir / "plain.wav", {"--bits", "16", "--no-dither"});
    render(dir / "quiet.wav", dir / "dithered.wav", {"--bits", "16"});
    EXPECT_EQ(amplitude(readCodes(dir / "plain.wav", 16)), 0.0);
    EXPECT_NEAR(amplitude(readCodes(dir / "dithered.wav", 16)), 0.4, 0.03);
}

TEST_F(RenderTest, FileChannelsReachTheEffectSlotsOfTheirLabels) {
    // 5.1 in file order L R C LFE Ls Rs; the effect's Channel 3 is its Ls
    // slot, Channel 5 its Center and Channel 6 its LFE.
    Audio a;
    a.channels = 6;
    a.samples.resize(6 * 2000);
    for (size_t k = 0; k < a.samples.size(); ++k) a.samples[k] = 0.1 * double(k % 6 + 1);
    writeFloatFile(dir / "in.wav", a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    for (const auto& [effectChannel, fileChannel] : {std::pair{5, 2}, std::pair{6, 3}, std::pair{3, 4}}) {
        render(dir / "in.wav", dir / "out.wav", {"--set", "Channel " + std::to_string(effectChannel) + " Mute=On"});
        const Audio r = readFile(dir / "out.wav");
        for (int32_t c = 0; c < 6; ++c)
            EXPECT_NEAR(r.at(1000, c), c == fileChannel ? 0.0 : double(float(0.1 * (c + 1))), 1e-7)
                << "channel " << c << " with Channel " << effectChannel << " muted";
    }
}

TEST_F(RenderTest, ListParamsPrintsEachParameterAsShownAfterTheSettings) {
    const RunResult r = runRenderer({"--list-params", "--set", "Scale=12"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("0\tBypass\t", 0), 0u) << r.out.substr(0, 80);
    for (const char* line : {"\n1\tGain\tdB\t-36.00 dB\t36.00 dB\t0.00 dB\t\n", "\n4\tMode\t\tIIR\tFIR\tIIR\tIIR|FIR\n",
                             "\n50\tBand1 Gain\tdB\t-12.00 dB\t12.00 dB\t0.00 dB"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
}
