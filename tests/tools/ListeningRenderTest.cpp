// The renderer's listening options end to end: --meters, --spectrum,
// --midi and the auto gain switch.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <numbers>
#include <random>
#include <sstream>

#include "ToolTestSupport.h"

namespace {

constexpr int32_t kRate = 48000;

std::string noiseFile(const ScratchDir& dir, double amplitude) {
    Audio a;
    a.channels = 2;
    a.rate = kRate;
    std::mt19937 gen(5);
    std::uniform_real_distribution<double> white(-amplitude, amplitude);
    a.samples.resize(size_t(2 * kRate));
    for (double& x : a.samples) x = white(gen);
    const std::string path = dir / "noise.wav";
    writeFloatFile(path, a, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    return path;
}

// The "hz,db" rows of a spectrum file.
std::map<double, double> spectrum(const std::string& path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "hz,db");
    std::map<double, double> rows;
    while (std::getline(in, line)) {
        const size_t comma = line.find(',');
        rows[std::stod(line.substr(0, comma))] = std::stod(line.substr(comma + 1));
    }
    return rows;
}

double dbNear(const std::map<double, double>& rows, double hz) {
    double best = 0.0, distance = 1e300;
    for (const auto& [f, db] : rows)
        if (std::fabs(std::log(f / hz)) < distance) {
            distance = std::fabs(std::log(f / hz));
            best = db;
        }
    return best;
}

// A format 0 file at 480 ticks a quarter, 120 bpm: note-on of `key` at tick 0.
void writeNoteFile(const std::string& path, uint8_t key) {
    const std::vector<uint8_t> track = {0x00, 0x90, key, 0x64, 0x00, 0xFF, 0x2F, 0x00};
    std::vector<uint8_t> bytes = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x01, 0xE0,
                                  'M', 'T', 'r', 'k', 0, 0, 0, uint8_t(track.size())};
    bytes.insert(bytes.end(), track.begin(), track.end());
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::vector<std::string> narrowPeak() {
    return {"--set", "Band1 State=On", "--set", "Band1 Type=Peak", "--set", "Band1 Gain=18",
            "--set", "Band1 Frequency=1000", "--set", "Band1 Q=8"};
}

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace

TEST(ListeningRender, MetersReportPeaksLevelsAndTheClipFlag) {
    ScratchDir dir;
    writeFloatFile(dir / "sine.wav", sineAudio(2, kRate, kRate, 0.5, 997.0), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
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

    Audio hot = sineAudio(2, kRate, kRate / 4, 1.05, 997.0);
    writeFloatFile(dir / "hot.wav", hot, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const RunResult clipped = runRenderer({"-q", "--meters", dir / "hot.wav", dir / "out2.wav"});
    ASSERT_EQ(clipped.status, 0) << clipped.err;
    EXPECT_NE(clipped.out.find("clip,yes"), std::string::npos) << clipped.out;
}

TEST(ListeningRender, TheSpectrumShowsAPeakBeforeOrAfterTheBank) {
    ScratchDir dir;
    const std::string in = noiseFile(dir, 0.2);
    ASSERT_EQ(runRenderer(narrowPeak() + std::vector<std::string>{"-q", "--spectrum", dir / "post.csv", in,
                                                                    dir / "a.wav"})
                  .status,
              0);
    ASSERT_EQ(runRenderer(narrowPeak() + std::vector<std::string>{"-q", "--spectrum", dir / "pre.csv",
                                                                    "--spectrum-source", "pre", in, dir / "b.wav"})
                  .status,
              0);
    const std::map<double, double> post = spectrum(dir / "post.csv"), pre = spectrum(dir / "pre.csv");
    EXPECT_EQ(post.size(), 256u);
    // After the bank the peak stands well above its surroundings; before it, the noise is flat.
    EXPECT_GT(dbNear(post, 1000.0) - dbNear(post, 300.0), 10.0);
    EXPECT_LT(std::fabs(dbNear(pre, 1000.0) - dbNear(pre, 300.0)), 4.0);
    EXPECT_EQ(runRenderer({"--spectrum-source", "middle", in, dir / "c.wav"}).status, 2);
}

TEST(ListeningRender, MidiNotesMoveTheBands) {
    ScratchDir dir;
    const std::string in = noiseFile(dir, 0.2);
    writeNoteFile(dir / "up.mid", 72);  // an octave above middle C
    const RunResult r = runRenderer(narrowPeak() + std::vector<std::string>{"-q", "--midi", dir / "up.mid",
                                                                              "--spectrum", dir / "s.csv", in,
                                                                              dir / "out.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::map<double, double> moved = spectrum(dir / "s.csv");
    EXPECT_GT(dbNear(moved, 2000.0) - dbNear(moved, 1000.0), 10.0);

    std::ofstream(dir / "bad.mid") << "MThd but not really";
    const RunResult bad = runRenderer({"--midi", dir / "bad.mid", in, dir / "x.wav"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_NE(bad.err.find("bad.mid"), std::string::npos) << bad.err;
    EXPECT_FALSE(fileExists(dir / "x.wav"));
}

TEST(ListeningRender, AutoGainCanBeSwitchedOnForARender) {
    ScratchDir dir;
    const std::string in = noiseFile(dir, 0.1);
    const std::vector<std::string> lift = {"--set", "Band1 State=On", "--set", "Band1 Type=HSh",
                                           "--set", "Band1 Gain=6", "--set", "Band1 Frequency=10"};
    ASSERT_EQ(runRenderer(lift + std::vector<std::string>{"-q", in, dir / "plain.wav"}).status, 0);
    const RunResult on = runRenderer(lift + std::vector<std::string>{"-q", "--set", "Auto Gain=On", in, dir / "auto.wav"});
    ASSERT_EQ(on.status, 0) << on.err;
    const Audio plain = readFile(dir / "plain.wav"), automatic = readFile(dir / "auto.wav");
    double p = 0.0, a = 0.0;
    for (size_t k = size_t(kRate); k < plain.samples.size(); ++k) {
        p += plain.samples[k] * plain.samples[k];
        a += automatic.samples[k] * automatic.samples[k];
    }
    // A 6 dB lift everywhere, divided away: half the amplitude.
    EXPECT_NEAR(std::sqrt(a / p), 0.5, 0.02);
    EXPECT_EQ(runRenderer({"--set", "Auto Gain=maybe", in, dir / "x.wav"}).status, 2);
}
