// The built fenwoldrine-render run on real files: formats and lengths, gain,
// latency alignment, tail, dither, channel order and the parameter listing.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <tuple>

#include "ToolTestSupport.h"
#include "gui/toolkit/CDIB.h"

namespace {

const double kMinus6dB = std::pow(10.0, -6.0 / 20.0);

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
    static void expectSameSamples(const Audio& result, const Audio& expected) {
        ASSERT_EQ(result.samples.size(), expected.samples.size());
        for (size_t k = 0; k < expected.samples.size(); ++k)
            ASSERT_NEAR(result.samples[k], expected.samples[k], 1e-12) << "sample " << k;
    }

    static std::string bytesOf(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    ScratchDir dir;
    std::string lastErr;
};

}  // namespace

// ---------------------------------------------------------------------------
// File in, file out

struct FormatCase {
    const char* name;
    int32_t format;
    int32_t bits;  // 0 for float
};

void PrintTo(const FormatCase& c, std::ostream* os) {
    *os << c.name;
}

class FormatRoundTrip : public RenderTest, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(FormatRoundTrip, NeutralSettingsGiveTheSameFormatLengthAndSamples) {
    const FormatCase c = GetParam();
    const std::string in = dir / (std::string("in.") + c.name), out = dir / (std::string("out.") + c.name);
    constexpr int64_t kFrames = 10000;
    if (c.bits) {
        writeIntegerFile(in, 2, 44100, c.format, c.bits, sineCodes(2, kFrames, c.bits, 0.8));
    } else {
        Audio a = sineAudio(2, 44100, kFrames, 0.8, 997.0);
        for (double& x : a.samples) x = double(float(x));
        writeFloatFile(in, a, c.format);
    }
    render(in, out, {});
    const Audio source = readFile(in), result = readFile(out);
    EXPECT_EQ(result.format, source.format);
    EXPECT_EQ(result.channels, 2);
    EXPECT_EQ(result.rate, 44100);
    ASSERT_EQ(result.frames(), kFrames);
    if (c.bits)
        EXPECT_EQ(result.samples, source.samples);  // no dither, no rounding: bit for bit
    else
        expectSameSamples(result, source);
}

INSTANTIATE_TEST_SUITE_P(Containers, FormatRoundTrip,
                         ::testing::Values(FormatCase{"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 24},
                                           FormatCase{"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 16},
                                           FormatCase{"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 24},
                                           FormatCase{"w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT, 0},
                                           FormatCase{"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, 16}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(RenderTest, FormatAndBitsOptionsChangeTheOutput) {
    const std::string in = dir / "in.wav", out = dir / "out.flac";
    writeIntegerFile(in, 1, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 24, sineCodes(1, 4800, 24, 0.5));
    render(in, out, {"--format", "flac", "--bits", "16", "--quiet"});
    const Audio result = readFile(out);
    EXPECT_EQ(result.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    EXPECT_EQ(result.frames(), 4800);
    EXPECT_EQ(lastErr, "");  // --quiet and nothing to warn about
}

// ---------------------------------------------------------------------------
// The editor drawn after a render

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

// ---------------------------------------------------------------------------
// Gain

TEST_F(RenderTest, GainScalesFloatAudio) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    const Audio source = sineAudio(2, 48000, 9600, 0.5, 440.0);
    writeFloatFile(in, source, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    render(in, out, {"--set", "Gain=-6"});
    const Audio result = readFile(out);
    ASSERT_EQ(result.frames(), source.frames());
    // Float output: the product is exact to float precision (6e-8 at 0.5).
    for (size_t k = 0; k < source.samples.size(); ++k)
        ASSERT_NEAR(result.samples[k], double(float(source.samples[k])) * kMinus6dB, 1e-6) << k;
}

TEST_F(RenderTest, GainOnSixteenBitsRoundsPlainlyWhenTheWordLengthStays) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    const std::vector<int32_t> codes = sineCodes(2, 9600, 16, 0.7);
    writeIntegerFile(in, 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, codes);
    render(in, out, {"--set", "Gain=-6"});
    const std::vector<int32_t> result = readCodes(out, 16);
    ASSERT_EQ(result.size(), codes.size());
    // No dither: within half an LSB of the exact product (plus the float gain's rounding).
    for (size_t k = 0; k < codes.size(); ++k) ASSERT_LE(std::fabs(result[k] - codes[k] * kMinus6dB), 0.501) << k;
}

TEST_F(RenderTest, GainReducedToSixteenBitsStaysWithinTheDither) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    const std::vector<int32_t> codes = sineCodes(2, 9600, 24, 0.7);
    writeIntegerFile(in, 2, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 24, codes);
    render(in, out, {"--set", "Gain=-6", "--bits", "16"});
    const std::vector<int32_t> result = readCodes(out, 16);
    ASSERT_EQ(result.size(), codes.size());
    // TPDF of +-1 LSB and rounding: at most 1.5 LSB from the exact value, unbiased.
    double bias = 0.0;
    for (size_t k = 0; k < codes.size(); ++k) {
        const double exact = codes[k] * kMinus6dB / 256.0;
        ASSERT_LE(std::fabs(result[k] - exact), 1.5) << k;
        bias += result[k] - exact;
    }
    EXPECT_NEAR(bias / double(codes.size()), 0.0, 0.02);
}

TEST_F(RenderTest, ClippedSamplesAreCountedAndReported) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    writeIntegerFile(in, 1, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, sineCodes(1, 4800, 16, 0.9));
    render(in, out, {"--set", "Gain=6", "--quiet"});
    EXPECT_NE(lastErr.find("warning: "), std::string::npos);
    EXPECT_NE(lastErr.find("samples clipped at the 16-bit limits"), std::string::npos);
    const std::vector<int32_t> result = readCodes(out, 16);
    EXPECT_EQ(*std::max_element(result.begin(), result.end()), 32767);
    EXPECT_EQ(*std::min_element(result.begin(), result.end()), -32768);
}

// ---------------------------------------------------------------------------
// Latency and tail

TEST_F(RenderTest, LinearPhaseFirOutputIsLinedUpWithTheInput) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    const Audio source = sineAudio(2, 48000, 20000, 0.5, 1234.5);
    writeFloatFile(in, source, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    // 4096 samples of latency, dropped across several blocks of an odd size.
    render(in, out, {"--set", "Mode=FIR", "--set", "IRPhase=Linear", "--block", "333"});
    const Audio result = readFile(out);
    ASSERT_EQ(result.frames(), source.frames());
    // Sample for sample; a one-sample slip would differ by about 0.08.
    expectSameSamples(result, readFile(in));
}

TEST_F(RenderTest, TailAppendsRingOutTime) {
    const std::string in = dir / "in.wav", out = dir / "out.wav";
    const Audio source = sineAudio(1, 48000, 1000, 0.5, 300.0);
    writeFloatFile(in, source, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    render(in, out, {"--tail", "0.25", "--set", "Mode=FIR", "--set", "IRPhase=Linear", "--set", "IRLength=1024"});
    const Audio result = readFile(out);
    ASSERT_EQ(result.frames(), 1000 + 12000);
    const Audio written = readFile(in);
    // A flat linear-phase FIR is a unit tap at its centre, up to rounding.
    for (int64_t s = 0; s < 1000; ++s) ASSERT_NEAR(result.at(s, 0), written.at(s, 0), 1e-9) << s;
    for (int64_t s = 1000; s < result.frames(); ++s) ASSERT_NEAR(result.at(s, 0), 0.0, 1e-9) << s;
}

// ---------------------------------------------------------------------------
// Dither

class DitherRenderTest : public RenderTest {
protected:
    DitherRenderTest() {
        source = sineAudio(1, 48000, 48000, 0.3, 997.0);
        writeFloatFile(dir / "in.wav", source, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    }
    std::vector<int32_t> render16(const std::string& name, std::vector<std::string> options) {
        options.insert(options.begin(), {"--bits", "16"});
        render(dir / "in.wav", dir / name, options);
        return readCodes(dir / name, 16);
    }
    Audio source;
};

TEST_F(DitherRenderTest, NoDitherGivesPlainRounding) {
    const std::vector<int32_t> plain = render16("plain.wav", {"--no-dither"});
    ASSERT_EQ(plain.size(), source.samples.size());
    for (size_t k = 0; k < plain.size(); ++k) ASSERT_EQ(plain[k], std::lround(source.samples[k] * 32768.0)) << k;
}

TEST_F(DitherRenderTest, DitherMovesSamplesByAtMostOneLsbFromRounding) {
    const std::vector<int32_t> dithered = render16("dithered.wav", {});
    ASSERT_EQ(dithered.size(), source.samples.size());
    size_t moved = 0;
    for (size_t k = 0; k < dithered.size(); ++k) {
        const long plain = std::lround(source.samples[k] * 32768.0);
        ASSERT_LE(std::labs(dithered[k] - plain), 1) << k;
        moved += dithered[k] != plain;
    }
    // A triangle of +-1 LSB moves about a third of the samples off the nearest code.
    const double share = double(moved) / double(dithered.size());
    EXPECT_GT(share, 0.25);
    EXPECT_LT(share, 0.45);
}

TEST_F(DitherRenderTest, RendersAreReproducible) {
    render16("first.wav", {});
    render16("second.wav", {});
    EXPECT_EQ(bytesOf(dir / "first.wav"), bytesOf(dir / "second.wav"));
}

TEST_F(DitherRenderTest, DitherKeepsASignalSmallerThanOneLsb) {
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
    const std::vector<int32_t> plain = readCodes(dir / "plain.wav", 16);
    EXPECT_TRUE(std::all_of(plain.begin(), plain.end(), [](int32_t c) { return c == 0; }));
    EXPECT_NEAR(amplitude(readCodes(dir / "dithered.wav", 16)), 0.4, 0.03);
}

// ---------------------------------------------------------------------------
// Channels

TEST_F(RenderTest, FileChannelsReachTheEffectSlotsOfTheirLabels) {
    // 5.1 in file order L R C LFE Ls Rs; the effect's Channel 5 is its Center
    // slot and Channel 6 its LFE.
    Audio a;
    a.channels = 6;
    a.samples.resize(6 * 2000);
    for (size_t k = 0; k < a.samples.size(); ++k) a.samples[k] = 0.1 * double(k % 6 + 1);
    writeFloatFile(dir / "in.wav", a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);

    auto levelsAfter = [&](const std::string& assignment) {
        render(dir / "in.wav", dir / "out.wav", {"--set", assignment});
        const Audio r = readFile(dir / "out.wav");
        std::vector<double> levels;
        for (int32_t c = 0; c < 6; ++c) levels.push_back(r.at(1000, c));
        return levels;
    };
    const std::vector<double> centreMuted = levelsAfter("Channel 5 Mute=On");
    const std::vector<double> lfeMuted = levelsAfter("Channel 6 Mute=On");
    const std::vector<double> surroundMuted = levelsAfter("Channel 3 Mute=On");
    for (int32_t c = 0; c < 6; ++c) {
        const double level = double(float(0.1 * (c + 1)));
        EXPECT_NEAR(centreMuted[size_t(c)], c == 2 ? 0.0 : level, 1e-7) << "channel " << c;
        EXPECT_NEAR(lfeMuted[size_t(c)], c == 3 ? 0.0 : level, 1e-7) << "channel " << c;
        EXPECT_NEAR(surroundMuted[size_t(c)], c == 4 ? 0.0 : level, 1e-7) << "channel " << c;
    }
}

// ---------------------------------------------------------------------------
// Odd input and the listing

TEST_F(RenderTest, ListParamsPrintsEveryParameterAsShown) {
    const RunResult r = runRenderer({"--list-params", "--set", "Scale=12"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::istringstream lines(r.out);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) all.push_back(line);
    ASSERT_EQ(all.size(), 367u);
    EXPECT_EQ(all[1], "1\tGain\tdB\t-36.00 dB\t36.00 dB\t0.00 dB\t");
    EXPECT_EQ(all[4], "4\tMode\t\tIIR\tFIR\tIIR\tIIR|FIR");
    EXPECT_EQ(all[50].rfind("50\tBand1 Gain\tdB\t-12.00 dB\t12.00 dB\t0.00 dB", 0), 0u);
    EXPECT_EQ(all[366].rfind("366\tD+Phase\t", 0), 0u);
}
