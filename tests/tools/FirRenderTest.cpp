// The FIR and Digital+ modes from outside: renders line up with their input
// whatever the latency, the bypass keeps time, the measured sound matches
// the fir columns of --response, and Digital+ brings the running filter
// closer to the analogue curve.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <sstream>

#include "ToolTestSupport.h"

namespace {

constexpr int32_t kRate = 48000;

std::vector<std::string> peakBand() {
    return {"--set", "Band1 State=On", "--set", "Band1 Type=Peak", "--set", "Band1 Gain=9",
            "--set", "Band1 Frequency=2000", "--set", "Band1 Q=2"};
}

std::vector<std::string> with(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Column values of a --response CSV, by column name.
std::vector<std::vector<double>> columns(const std::string& csv, const std::vector<std::string>& names) {
    std::istringstream in(csv);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> header;
    std::stringstream hs(line);
    for (std::string cell; std::getline(hs, cell, ',');) header.push_back(cell);
    std::vector<size_t> at;
    for (const std::string& n : names)
        at.push_back(size_t(std::find(header.begin(), header.end(), n) - header.begin()));
    std::vector<std::vector<double>> out(names.size());
    while (std::getline(in, line)) {
        std::vector<double> row;
        std::stringstream rs(line);
        for (std::string cell; std::getline(rs, cell, ',');) row.push_back(std::stod(cell));
        for (size_t k = 0; k < at.size(); ++k) out[k].push_back(at[k] < row.size() ? row[at[k]] : NAN);
    }
    return out;
}

Audio impulseAt(int64_t frames, int64_t at) {
    Audio a;
    a.channels = 2;
    a.rate = kRate;
    a.samples.assign(size_t(frames * 2), 0.0);
    a.samples[size_t(at * 2)] = a.samples[size_t(at * 2 + 1)] = 0.5;
    return a;
}

double dftDb(const Audio& a, int32_t channel, double hz, double scale) {
    std::complex<double> sum = 0.0;
    const double w = 2.0 * std::numbers::pi * hz / kRate;
    for (int64_t n = 0; n < a.frames(); ++n) sum += a.at(n, channel) / scale * std::polar(1.0, -w * double(n));
    return 20.0 * std::log10(std::abs(sum));
}

}  // namespace

TEST(FirRender, EveryPhaseModeRendersLinedUpAndAsItsResponseSays) {
    ScratchDir dir;
    // The click comes late enough that the pre-ringing of the centred modes
    // stays inside the file.
    constexpr int64_t kClick = 4096;
    writeFloatFile(dir / "in.wav", impulseAt(1 << 15, kClick), SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    for (const char* phase : {"Linear", "Full Minimum", "Zero-latency Analogue", "Analogue", "Free"}) {
        const std::vector<std::string> settings =
            with(peakBand(), {"--set", "Mode=FIR", "--set", std::string("IRPhase=") + phase, "--set", "IRLength=4096"});
        RunResult r = runRenderer(with(settings, {"--quiet", dir / "in.wav", dir / "out.wav"}));
        ASSERT_EQ(r.status, 0) << phase << ": " << r.err;
        const Audio out = readFile(dir / "out.wav");
        ASSERT_EQ(out.frames(), 1 << 15) << phase;
        r = runRenderer(with(settings, {"--response", "-", "--points", "40"}));
        ASSERT_EQ(r.status, 0) << r.err;
        const auto cols = columns(r.out, {"hz", "fir_db", "analogue_db"});
        ASSERT_FALSE(std::isnan(cols[1][0])) << phase << ": no fir column";
        for (size_t i = 0; i < cols[0].size(); ++i) {
            if (cols[0][i] < 30.0 || cols[0][i] > 20000.0) continue;
            // What was rendered is what the report says runs ...
            EXPECT_NEAR(dftDb(out, 0, cols[0][i], 0.5), cols[1][i], 0.01) << phase << " at " << cols[0][i];
            // ... and a 4096-tap FIR follows the analogue peak closely above
            // its resolution of about 12 Hz.
            if (cols[0][i] > 200.0) {
                EXPECT_NEAR(cols[1][i], cols[2][i], 0.1) << phase << " at " << cols[0][i];
            }
        }
        if (std::string(phase) == "Linear") {
            // Lined up: the symmetric impulse's centre falls on the input's.
            int64_t loudest = 0;
            for (int64_t n = 0; n < out.frames(); ++n)
                if (std::fabs(out.at(n, 0)) > std::fabs(out.at(loudest, 0))) loudest = n;
            EXPECT_EQ(loudest, kClick);
        }
    }
}

TEST(FirRender, BypassInALatencyModeKeepsTime) {
    ScratchDir dir;
    writeFloatFile(dir / "in.wav", impulseAt(20000, 1000), SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    const RunResult r = runRenderer(with(peakBand(), {"--set", "Mode=FIR", "--set", "IRPhase=Linear", "--set",
                                                      "Bypass=On", "--quiet", dir / "in.wav", dir / "out.wav"}));
    ASSERT_EQ(r.status, 0) << r.err;
    const Audio out = readFile(dir / "out.wav");
    for (int64_t n = 0; n < out.frames(); ++n) ASSERT_EQ(out.at(n, 0), n == 1000 ? 0.5 : 0.0) << n;
}

TEST(FirRender, DigitalPlusBringsTheBiquadsCloserToTheAnalogueCurve) {
    // A wide high peak near Nyquist, where biquads depart from the analogue shape.
    const std::vector<std::string> band = {"--set", "Band1 State=On",        "--set", "Band1 Gain=12",
                                           "--set", "Band1 Frequency=15000", "--set", "Band1 Q=0.5"};
    const RunResult r = runRenderer(with(band, {"--set", "D+Len=512", "--response", "-", "--points", "200"}));
    ASSERT_EQ(r.status, 0) << r.err;
    const auto cols = columns(r.out, {"hz", "analogue_db", "digital_db", "fir_db"});
    double plain = 0.0, corrected = 0.0;
    for (size_t i = 0; i < cols[0].size(); ++i) {
        if (cols[0][i] < 200.0 || cols[0][i] > 0.9 * kRate / 2) continue;
        plain = std::max(plain, std::fabs(cols[2][i] - cols[1][i]));
        corrected = std::max(corrected, std::fabs(cols[3][i] - cols[1][i]));
    }
    EXPECT_GT(plain, 0.1);
    EXPECT_LT(corrected, plain / 2.0);
}
