// The renderer's listening options end to end: --meters, --spectrum,
// --midi and the auto gain switch.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>

#include "ToolTestSupport.h"

namespace {

std::string noiseFile(const ScratchDir& dir, double amplitude) {
    Audio a;
    a.channels = 2;
    std::mt19937 gen(5);
    std::uniform_real_distribution<double> white(-amplitude, amplitude);
    a.samples.resize(size_t(2 * 48000));
    for (double& x : a.samples) x = white(gen);
    writeFloatFile(dir / "noise.wav", a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    return dir / "noise.wav";
}

// Renders the noise with a narrow +18 dB peak at 1 kHz and the options, and
// returns the difference of the spectrum file's levels at 1 kHz and at hz.
double peakAbove(const ScratchDir& dir, const Strings& options, double hz) {
    const Strings peak = {"--set", "Band1 State=On", "--set", "Band1 Type=Peak", "--set", "Band1 Gain=18",
                          "--set", "Band1 Frequency=1000", "--set", "Band1 Q=8"};
    const RunResult r = runRenderer(peak + options + Strings{"-q", "--spectrum", dir / "s.csv", noiseFile(dir, 0.2), dir / "out.wav"});
    EXPECT_EQ(r.status, 0) << r.err;
    std::ifstream in(dir / "s.csv");
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "hz,db");
    // The columns nearest to hz and to 1 kHz on a log scale.
    double atHz = 0.0, at1k = 0.0, nearHz = 1e300, near1k = 1e300;
    int count = 0;
    while (std::getline(in, line)) {
        const double f = std::stod(line.substr(0, line.find(','))), db = std::stod(line.substr(line.find(',') + 1));
        if (std::fabs(std::log(f / hz)) < nearHz) {
            nearHz = std::fabs(std::log(f / hz));
            atHz = db;
        }
        if (std::fabs(std::log(f / 1000.0)) < near1k) {
            near1k = std::fabs(std::log(f / 1000.0));
            at1k = db;
        }
        ++count;
    }
    EXPECT_EQ(count, 256);
    return at1k - atHz;
}

// A format 0 file at 480 ticks a quarter, 120 bpm: note-on of `key` at tick 0.
void writeNoteFile(const std::string& path, uint8_t key) {
    const std::vector<uint8_t> bytes = {'M', 'T', 'h', 'd', 0,    0,    0,   6,    0,    0,    0, 1, 0x01, 0xE0,
                                        'M', 'T', 'r', 'k', 0,    0,    0,   8,    0x00, 0x90, key, 0x64,
                                        0x00, 0xFF, 0x2F, 0x00};
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

}  // namespace

TEST(ListeningRender, MetersReportPeaksLevelsAndTheClipFlag) {
    ScratchDir dir;
    writeFloatFile(dir / "sine.wav", sineAudio(2, 48000, 48000, 0.5, 997.0), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const RunResult r = runRenderer({"-q", "--meters", dir / "sine.wav", dir / "out.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::istringstream report(r.out);
    std::string line;
    std::getline(report, line);
    EXPECT_EQ(line, "channel,label,peak_dbfs,meter_dbfs,coded_meter_dbfs");
    for (int32_t c = 1; c <= 2; ++c) {
        ASSERT_TRUE(std::getline(report, line));
        std::vector<std::string> cells;
        std::stringstream cellStream(line);
        for (std::string cell; std::getline(cellStream, cell, ',');) cells.push_back(cell);
        ASSERT_EQ(cells.size(), 5u) << line;
        EXPECT_EQ(cells[0], std::to_string(c));
        EXPECT_NEAR(std::stod(cells[2]), -6.02, 0.05) << line;  // a 0.5 sine
        // "Digital" followers hold near the peak with a 0.3 s release.
        EXPECT_NEAR(std::stod(cells[3]), -6.02, 0.3) << line;
    }
    ASSERT_TRUE(std::getline(report, line));
    EXPECT_EQ(line, "clip,no");

    writeFloatFile(dir / "hot.wav", sineAudio(2, 48000, 12000, 1.05, 997.0), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const RunResult clipped = runRenderer({"-q", "--meters", dir / "hot.wav", dir / "out2.wav"});
    ASSERT_EQ(clipped.status, 0) << clipped.err;
    EXPECT_NE(clipped.out.find("clip,yes"), std::string::npos) << clipped.out;
}

TEST(ListeningRender, TheSpectrumShowsAPeakAfterTheBankAndMidiNotesMoveIt) {
    ScratchDir dir;
    // After the bank the peak stands well above its surroundings; before it, the noise is flat.
    EXPECT_GT(peakAbove(dir, {}, 300.0), 10.0);
    EXPECT_LT(std::fabs(peakAbove(dir, {"--spectrum-source", "pre"}, 300.0)), 4.0);
    // A note an octave above middle C moves the peak an octave up.
    writeNoteFile(dir / "up.mid", 72);
    EXPECT_LT(peakAbove(dir, {"--midi", dir / "up.mid"}, 2000.0), -10.0);
}

TEST(ListeningRender, AutoGainCanBeSwitchedOnForARender) {
    ScratchDir dir;
    const std::string in = noiseFile(dir, 0.1);
    const Strings lift = {"--set", "Band1 State=On", "--set", "Band1 Type=HSh", "--set", "Band1 Gain=6",
                          "--set", "Band1 Frequency=10", "-q", in};
    ASSERT_EQ(runRenderer(lift + Strings{dir / "plain.wav"}).status, 0);
    const RunResult on = runRenderer(Strings{"--set", "Auto Gain=On"} + lift + Strings{dir / "auto.wav"});
    ASSERT_EQ(on.status, 0) << on.err;
    const Audio plain = readFile(dir / "plain.wav"), automatic = readFile(dir / "auto.wav");
    double p = 0.0, a = 0.0;
    for (size_t k = size_t(48000); k < plain.samples.size(); ++k) {
        p += plain.samples[k] * plain.samples[k];
        a += automatic.samples[k] * automatic.samples[k];
    }
    // A 6 dB lift everywhere, divided away: half the amplitude.
    EXPECT_NEAR(std::sqrt(a / p), 0.5, 0.02);
}
