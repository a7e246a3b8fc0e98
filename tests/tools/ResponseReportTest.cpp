// The renderer's --response report from outside: the CSV it prints, the
// grid, the bands it multiplies, the channel it looks at, and its failures.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <complex>
#include <numbers>
#include <sstream>

#include "ToolTestSupport.h"

namespace {

struct Row {
    double hz, db, deg, digitalDb, digitalDeg;
};

struct Report {
    std::string header;
    std::vector<Row> rows;

    // The row at hz, which must be on the grid to a hundredth of a hertz.
    const Row* find(double hz) const {
        for (const Row& r : rows)
            if (std::fabs(r.hz - hz) < 0.005) return &r;
        return nullptr;
    }
    const Row& at(double hz) const {
        if (const Row* r = find(hz)) return *r;
        throw std::runtime_error("no row at " + std::to_string(hz));
    }
};

Report parse(const std::string& csv) {
    Report report;
    std::istringstream in(csv);
    std::getline(in, report.header);
    std::string line;
    while (std::getline(in, line)) {
        Row r{};
        char c[4] = {};
        std::istringstream fields(line);
        fields >> r.hz >> c[0] >> r.db >> c[1] >> r.deg >> c[2] >> r.digitalDb >> c[3] >> r.digitalDeg;
        if (!fields || std::string(c, 4) != ",,,,") throw std::runtime_error("bad row: " + line);
        report.rows.push_back(r);
    }
    return report;
}

Report response(std::vector<std::string> args) {
    args.insert(args.begin(), {"--response", "-"});
    const RunResult r = runRenderer(args);
    EXPECT_EQ(r.status, 0) << r.err;
    return parse(r.out);
}

const std::vector<std::string> kPeak12At1k = {"--set", "Band1 State=On", "--set", "Band1 Type=Peak",
                                              "--set", "Band1 Gain=12",   "--set", "Band1 Frequency=1000",
                                              "--set", "Band1 Q=1"};

}  // namespace

TEST(ResponseReport, PeakShowsItsGainAtItsFrequencyOnAGridToNyquist) {
    const Report report = response(kPeak12At1k);
    EXPECT_EQ(report.header, "hz,analogue_db,analogue_deg,digital_db,digital_deg");
    ASSERT_EQ(report.rows.size(), 513u);  // 512 grid points and the band's own frequency
    EXPECT_DOUBLE_EQ(report.rows.front().hz, 10.0);
    EXPECT_DOUBLE_EQ(report.rows.back().hz, 24000.0);
    EXPECT_NEAR(report.at(1000.0).db, 12.0, 1e-4);
    EXPECT_NEAR(report.at(1000.0).deg, 0.0, 1e-3);  // a peak has no phase shift at its centre
    // The biquads meet the analogue peak at its centre; elsewhere they stay
    // within a few hundredths of a dB below 10 kHz.
    EXPECT_NEAR(report.at(1000.0).digitalDb, 12.0, 1e-3);
    for (const Row& r : report.rows) {
        if (r.hz >= 10000.0) continue;
        ASSERT_NEAR(r.digitalDb, r.db, 0.05) << r.hz;
    }
    EXPECT_NEAR(report.rows.front().db, 0.0, 0.05);
    for (size_t i = 1; i < report.rows.size(); ++i) ASSERT_GT(report.rows[i].hz, report.rows[i - 1].hz);
}

TEST(ResponseReport, BandsMultiplyAndFlatWithoutBands) {
    for (const Row& r : response({}).rows) {
        ASSERT_EQ(r.db, 0.0);
        ASSERT_EQ(r.digitalDb, 0.0);
    }

    std::vector<std::string> lowPass = {"--rate", "96000", "--points", "100"};
    for (const char* s : {"Band2 State=On", "Band2 Type=LPF", "Band2 Subtype=Butterworth", "Band2 Slope=24",
                          "Band2 Frequency=8000"}) {
        lowPass.push_back("--set");
        lowPass.push_back(s);
    }
    std::vector<std::string> both = lowPass;
    both.insert(both.end(), kPeak12At1k.begin(), kPeak12At1k.end());
    std::vector<std::string> peakOnly = kPeak12At1k;
    peakOnly.insert(peakOnly.end(), {"--rate", "96000", "--points", "100"});

    const Report lp = response(lowPass), pk = response(peakOnly), sum = response(both);
    EXPECT_DOUBLE_EQ(lp.rows.back().hz, 48000.0);
    // A Butterworth low pass is 3 dB down at its corner.
    EXPECT_NEAR(lp.at(8000.0).db, -10.0 * std::log10(2.0), 1e-4);
    // Levels add and angles add (modulo a turn) when bands are multiplied;
    // the printed figures carry 1e-4 each.
    int compared = 0;
    for (const Row& r : lp.rows) {
        const Row* p = pk.find(r.hz);
        if (!p) continue;  // the band frequencies are not on every grid
        const Row& s = sum.at(r.hz);
        EXPECT_NEAR(s.db, r.db + p->db, 3e-4) << r.hz;
        EXPECT_NEAR(std::remainder(s.deg - r.deg - p->deg, 360.0), 0.0, 3e-4) << r.hz;
        ++compared;
    }
    EXPECT_EQ(compared, 100);
}

TEST(ResponseReport, LooksAtTheChannelAsked) {
    std::vector<std::string> args = kPeak12At1k;
    args.insert(args.end(), {"--set", "Band1 Groups=128"});
    std::vector<std::string> second = args;
    second.insert(second.end(), {"--channel", "2"});
    EXPECT_NEAR(response(args).at(1000.0).db, 12.0, 1e-4);
    const Report other = response(second);
    for (const Row& r : other.rows) ASSERT_EQ(r.db, 0.0);

    std::vector<std::string> surround = kPeak12At1k;
    surround.insert(surround.end(), {"--channel", "6"});
    EXPECT_NEAR(response(surround).at(1000.0).db, 12.0, 1e-4);
}

TEST(ResponseReport, WritesAFileAndRefusesBadRequests) {
    ScratchDir dir;
    std::vector<std::string> args = {"--response", dir / "curve.csv", "--points", "2"};
    RunResult r = runRenderer(args);
    ASSERT_EQ(r.status, 0) << r.err;
    std::ifstream file(dir / "curve.csv");
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(parse(text.str()).rows.size(), 2u);

    const std::vector<std::vector<std::string>> bad = {
        {"--response", "-", "in.wav", "out.wav"},
        {"--response", "-", "--points", "1"},
        {"--response", "-", "--channel", "3", "--channels", "2"},
        {"--response", "-", "--channel", "9"},
        {"--response", "-", "--set", "Band1 Wobble=3"},
        {"in.wav", "out.wav", "--channels", "2"},
    };
    for (const auto& a : bad) {
        r = runRenderer(a);
        EXPECT_EQ(r.status, 2) << a[2];
        EXPECT_NE(r.err.find("fenwoldrine-render: "), std::string::npos);
    }
    r = runRenderer({"--response", dir / "missing/curve.csv"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("cannot write"), std::string::npos) << r.err;
}

// An impulse rendered through 32 live bands, measured by a naive DFT of the
// output, against the digital column the report prints for the same
// settings. Both come from the same running biquads, so the only differences
// are the report's four decimals and the truncation of the impulse response
// (below 1e-6 dB after 2^16 samples for these bands).
TEST(ResponseReport, ARenderMatchesThePrintedDigitalResponse) {
    std::vector<std::string> settings;
    for (int b = 1; b <= 32; ++b) {
        const std::string band = "Band" + std::to_string(b) + " ";
        const double hz = 30.0 * std::pow(1.23, b - 1);
        for (const std::string& s :
             {band + "State=On", band + "Frequency=" + std::to_string(hz), band + "Gain=" + (b % 2 ? "2.5" : "-2"),
              band + "Q=" + (b % 3 ? "1.4" : "0.6"), band + "Type=" + (b == 1 ? "HPF" : b == 32 ? "LPF" : "Peak")}) {
            settings.push_back("--set");
            settings.push_back(s);
        }
    }
    ScratchDir dir;
    Audio impulse;
    impulse.channels = 2;
    impulse.rate = 48000;
    impulse.samples.assign(size_t(2 << 16), 0.0);
    impulse.samples[0] = impulse.samples[1] = 0.5;
    writeFloatFile(dir / "impulse.wav", impulse, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    std::vector<std::string> args = settings;
    args.insert(args.end(), {"--quiet", dir / "impulse.wav", dir / "out.wav"});
    const RunResult r = runRenderer(args);
    ASSERT_EQ(r.status, 0) << r.err;
    const Audio out = readFile(dir / "out.wav");
    ASSERT_EQ(out.frames(), impulse.frames());

    std::vector<std::string> report = settings;
    report.insert(report.end(), {"--points", "60"});
    int compared = 0;
    double lowest = 0.0, highest = 0.0;
    for (const Row& row : response(report).rows) {
        if (row.hz > 20000.0) continue;
        lowest = std::min(lowest, row.digitalDb);
        highest = std::max(highest, row.digitalDb);
        std::complex<double> sum = 0.0;
        const double w = 2.0 * std::numbers::pi * row.hz / 48000.0;
        for (int64_t n = 0; n < out.frames(); ++n) sum += out.at(n, 0) / 0.5 * std::polar(1.0, -w * double(n));
        ASSERT_NEAR(20.0 * std::log10(std::abs(sum)), row.digitalDb, 0.01) << row.hz << " Hz";
        ++compared;
    }
    EXPECT_GT(compared, 80);
    EXPECT_GT(highest - lowest, 6.0);  // the bands really shape the curve
}
