// The renderer's --response report from outside: the CSV it prints, the
// grid, the bands it multiplies, the channel it looks at, and renders of an
// impulse measured against the columns it prints for IIR, FIR and Digital+.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>
#include <sstream>

#include "ToolTestSupport.h"

namespace {

// The columns of a --response CSV by name, after its header.
struct Report {
    Strings header;
    std::vector<std::vector<double>> rows;

    std::vector<double> column(const std::string& name) const {
        const size_t at = size_t(std::find(header.begin(), header.end(), name) - header.begin());
        std::vector<double> out;
        for (const auto& row : rows) out.push_back(at < row.size() ? row[at] : NAN);
        return out;
    }
    // The value of a column in the row at hz, which must be on the grid to a hundredth of a hertz.
    double at(double hz, const std::string& name) const {
        const std::vector<double> grid = column("hz"), values = column(name);
        for (size_t i = 0; i < grid.size(); ++i)
            if (std::fabs(grid[i] - hz) < 0.005) return values[i];
        ADD_FAILURE() << "no row at " << hz;
        return NAN;
    }
};

Report parse(const std::string& csv) {
    Report report;
    std::istringstream in(csv);
    std::string line;
    std::getline(in, line);
    std::stringstream hs(line);
    for (std::string cell; std::getline(hs, cell, ',');) report.header.push_back(cell);
    while (std::getline(in, line)) {
        std::vector<double> row;
        std::stringstream rs(line);
        for (std::string cell; std::getline(rs, cell, ',');) row.push_back(std::stod(cell));
        EXPECT_EQ(row.size(), report.header.size()) << line;
        report.rows.push_back(row);
    }
    return report;
}

Report response(const Strings& args) {
    const RunResult r = runRenderer(Strings{"--response", "-"} + args);
    EXPECT_EQ(r.status, 0) << r.err;
    return parse(r.out);
}

const Strings kPeak12At1k = {"--set", "Band1 State=On", "--set", "Band1 Type=Peak", "--set", "Band1 Gain=12",
                             "--set", "Band1 Frequency=1000", "--set", "Band1 Q=1"};

// The response at hz of the first channel to an impulse of the given height at frame `at`.
std::complex<double> dft(const Audio& a, double hz, double height, int64_t at) {
    std::complex<double> sum = 0.0;
    const double w = 2.0 * std::numbers::pi * hz / a.rate;
    for (int64_t n = 0; n < a.frames(); ++n) sum += a.at(n, 0) / height * std::polar(1.0, -w * double(n - at));
    return sum;
}

}  // namespace

// The grid runs from 10 Hz to Nyquist with the bands' own frequencies on it;
// no band is flat, bands multiply, and only the channel asked is looked at.
TEST(ResponseReport, GridBandsAndChannel) {
    const Report peak = response(kPeak12At1k);
    EXPECT_EQ(peak.header, (Strings{"hz", "analogue_db", "analogue_deg", "digital_db", "digital_deg"}));
    ASSERT_EQ(peak.rows.size(), 513u);  // 512 grid points and the band's own frequency
    const std::vector<double> hz = peak.column("hz");
    for (size_t i = 1; i < hz.size(); ++i) ASSERT_GT(hz[i], hz[i - 1]);
    EXPECT_DOUBLE_EQ(hz.front(), 10.0);
    EXPECT_DOUBLE_EQ(hz.back(), 24000.0);
    EXPECT_NEAR(peak.at(1000.0, "analogue_db"), 12.0, 1e-4);
    EXPECT_NEAR(peak.at(1000.0, "analogue_deg"), 0.0, 1e-3);  // a peak has no phase shift at its centre
    EXPECT_NEAR(peak.at(1000.0, "digital_db"), 12.0, 1e-3);
    for (const auto& row : response({}).rows) {
        ASSERT_EQ(row[1], 0.0);
        ASSERT_EQ(row[3], 0.0);
    }

    const Strings grid = {"--rate", "96000", "--points", "100"};
    const Strings lowPass = {"--set", "Band2 State=On",  "--set", "Band2 Type=LPF",       "--set",
                             "Band2 Subtype=Butterworth", "--set", "Band2 Slope=24", "--set", "Band2 Frequency=8000"};
    const Report lp = response(grid + lowPass), pk = response(grid + kPeak12At1k);
    const Report both = response(grid + lowPass + kPeak12At1k);
    EXPECT_DOUBLE_EQ(lp.column("hz").back(), 48000.0);
    EXPECT_NEAR(lp.at(8000.0, "analogue_db"), -10.0 * std::log10(2.0), 1e-4);  // Butterworth: 3 dB down
    // Levels and angles (modulo a turn) add; the printed figures carry 1e-4
    // each. The grids meet on 100 points.
    int compared = 0;
    for (const auto& r : lp.rows)
        for (const auto& p : pk.rows) {
            if (std::fabs(p[0] - r[0]) > 0.005) continue;
            EXPECT_NEAR(both.at(r[0], "analogue_db"), r[1] + p[1], 3e-4) << r[0];
            EXPECT_NEAR(std::remainder(both.at(r[0], "analogue_deg") - r[2] - p[2], 360.0), 0.0, 3e-4) << r[0];
            ++compared;
        }
    EXPECT_EQ(compared, 100);

    // Groups 128: the band acts on the first channel of each pair only.
    const struct { Strings args; double db; } rows[] = {{{"--set", "Band1 Groups=128"}, 12.0},
                                                        {{"--set", "Band1 Groups=128", "--channel", "2"}, 0.0},
                                                        {{"--channel", "6"}, 12.0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args.back());
        const Report report = response(kPeak12At1k + row.args + Strings{"--points", "16"});
        double loudest = 0.0;
        for (double db : report.column("analogue_db")) loudest = std::max(loudest, std::fabs(db));
        EXPECT_NEAR(loudest, row.db, 1e-4);
    }

    // Written to a file as well.
    ScratchDir dir;
    ASSERT_EQ(runRenderer({"--response", dir / "curve.csv", "--points", "2"}).status, 0);
    std::stringstream text;
    text << std::ifstream(dir / "curve.csv").rdbuf();
    EXPECT_EQ(parse(text.str()).rows.size(), 2u);
}

// An impulse rendered, measured by a naive DFT of the output, against the
// level and phase the report prints for the same settings: the running
// filter is what the report says runs, lined up as the report says. The only
// differences are the report's four decimals and the truncation of the
// impulse response. The click comes late enough that the pre-ringing of the
// centred FIR modes stays inside the file.
TEST(ResponseReport, RendersMatchThePrintedResponse) {
    Strings bands;  // 32 live bands
    for (int b = 1; b <= 32; ++b) {
        const std::string band = "Band" + std::to_string(b) + " ";
        for (const std::string& s : {band + "State=On", band + "Frequency=" + std::to_string(30.0 * std::pow(1.23, b - 1)),
                                     band + "Gain=" + (b % 2 ? "2.5" : "-2"), band + "Q=" + (b % 3 ? "1.4" : "0.6"),
                                     band + "Type=" + (b == 1 ? "HPF" : b == 32 ? "LPF" : "Peak")})
            bands = bands + Strings{"--set", s};
    }
    const Strings peak = {"--set", "Band1 State=On", "--set", "Band1 Type=Peak", "--set", "Band1 Gain=9",
                          "--set", "Band1 Frequency=2000", "--set", "Band1 Q=2"};
    const Strings fir = {"--set", "Mode=FIR", "--set", "IRLength=4096", "--set"};
    // The FIR modes are compared above their resolution of about 12 Hz.
    const struct { Strings settings; const char* column; double from; } rows[] = {
        {bands, "digital", 0.0},
        {peak + fir + Strings{"IRPhase=Linear"}, "fir", 30.0},
        {peak + fir + Strings{"IRPhase=Full Minimum"}, "fir", 30.0},
        {peak + fir + Strings{"IRPhase=Zero-latency Analogue"}, "fir", 30.0},
        {peak + fir + Strings{"IRPhase=Analogue"}, "fir", 30.0},
        {peak + fir + Strings{"IRPhase=Free"}, "fir", 30.0},
    };
    constexpr int64_t kClick = 4096;
    ScratchDir dir;
    Audio impulse;
    impulse.channels = 2;
    impulse.samples.assign(size_t(2 << 16), 0.0);
    impulse.samples[2 * kClick] = impulse.samples[2 * kClick + 1] = 0.5;
    writeFloatFile(dir / "impulse.wav", impulse, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.settings.back());
        const RunResult r = runRenderer(row.settings + Strings{"--quiet", dir / "impulse.wav", dir / "out.wav"});
        ASSERT_EQ(r.status, 0) << r.err;
        const Audio out = readFile(dir / "out.wav");
        ASSERT_EQ(out.frames(), impulse.frames());
        const Report report = response(row.settings + Strings{"--points", "60"});
        const std::string column = row.column;
        const std::vector<double> hz = report.column("hz"), db = report.column(column + "_db");
        const std::vector<double> deg = report.column(column + "_deg");
        const std::vector<double> analogue = report.column("analogue_db");
        double lowest = 0.0, highest = 0.0;
        for (size_t i = 0; i < hz.size(); ++i) {
            if (hz[i] < row.from || hz[i] > 20000.0) continue;
            lowest = std::min(lowest, db[i]);
            highest = std::max(highest, db[i]);
            const std::complex<double> measured = dft(out, hz[i], 0.5, kClick);
            ASSERT_NEAR(20.0 * std::log10(std::abs(measured)), db[i], 0.01) << hz[i] << " Hz";
            ASSERT_NEAR(std::remainder(std::arg(measured) * 180.0 / std::numbers::pi - deg[i], 360.0), 0.0, 0.05)
                << hz[i] << " Hz";
            // A 4096-tap FIR follows the analogue peak closely.
            if (column == "fir" && hz[i] > 200.0) {
                EXPECT_NEAR(db[i], analogue[i], 0.1) << hz[i];
            }
        }
        EXPECT_GT(highest - lowest, 6.0);  // the bands really shape the curve
        if (row.settings.back() == "IRPhase=Linear") {
            // Lined up: the symmetric impulse's centre falls on the input's.
            int64_t loudest = 0;
            for (int64_t n = 0; n < out.frames(); ++n)
                if (std::fabs(out.at(n, 0)) > std::fabs(out.at(loudest, 0))) loudest = n;
            EXPECT_EQ(loudest, kClick);
        }
    }
}

TEST(ResponseReport, DigitalPlusBringsTheBiquadsCloserToTheAnalogueCurve) {
    // A wide high peak near Nyquist, where biquads depart from the analogue shape.
    const Report report = response({"--set", "Band1 State=On", "--set", "Band1 Gain=12", "--set",
                                    "Band1 Frequency=15000", "--set", "Band1 Q=0.5", "--set", "D+Len=512", "--points",
                                    "200"});
    const std::vector<double> hz = report.column("hz"), analogue = report.column("analogue_db");
    const std::vector<double> digital = report.column("digital_db"), corrected = report.column("fir_db");
    double plainError = 0.0, correctedError = 0.0;
    for (size_t i = 0; i < hz.size(); ++i) {
        if (hz[i] < 200.0 || hz[i] > 0.9 * 24000.0) continue;
        plainError = std::max(plainError, std::fabs(digital[i] - analogue[i]));
        correctedError = std::max(correctedError, std::fabs(corrected[i] - analogue[i]));
    }
    EXPECT_GT(plainError, 0.1);
    EXPECT_LT(correctedError, plainError / 2.0);
}
