#include "tools/render/ResponseReport.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>

#include "core/Plug.h"
#include "tools/render/RenderError.h"

namespace {

constexpr double kLowestHz = 10.0;
constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;

}  // namespace

std::vector<double> responseGrid(double nyquist, int32_t points, const std::vector<double>& extra) {
    std::vector<double> grid;
    grid.reserve(size_t(points) + extra.size());
    const double span = std::log(nyquist / kLowestHz);
    for (int32_t i = 0; i < points; ++i) {
        const double t = points > 1 ? double(i) / double(points - 1) : 0.0;
        grid.push_back(i == points - 1 && points > 1 ? nyquist : kLowestHz * std::exp(span * t));
    }
    for (double hz : extra)
        if (hz > kLowestHz && hz < nyquist) grid.push_back(hz);
    std::sort(grid.begin(), grid.end());
    grid.erase(std::unique(grid.begin(), grid.end()), grid.end());
    return grid;
}

// The response of the impulse the channel's convolver runs, at each grid
// frequency, by a direct transform of its taps: in the FIR modes on its own,
// with the latency the renderer compensates taken out; with Digital+ after
// the biquads. Empty when no convolver runs.
std::vector<std::complex<double>> impulseResponse(Plug& effect, int32_t channel, const std::vector<double>& grid,
                                                  const std::vector<std::complex<double>>& digital) {
    const EQBank& bank = effect.getBank();
    const double* h = bank.getImpulse(channel);
    if (!h) return {};
    const int32_t length = bank.getImpulseLength();
    const bool fir = bank.getMode() >= kModeFullMinimum;
    const double latency = bank.getLatency();
    const double rate = bank.getSampleRate();
    std::vector<std::complex<double>> out(grid.size());
    for (size_t i = 0; i < grid.size(); ++i) {
        const double w = 2.0 * std::numbers::pi * grid[i] / rate;
        const std::complex<double> turn = std::polar(1.0, -w);
        std::complex<double> phasor(1.0, 0.0), sum(0.0, 0.0);
        for (int32_t n = 0; n < length; ++n) {
            sum += h[n] * phasor;
            phasor *= turn;
            if ((n & 1023) == 1023) phasor /= std::abs(phasor);  // keep the rotation on the unit circle
        }
        out[i] = fir ? sum * std::polar(1.0, w * latency) : sum * digital[i];
    }
    return out;
}

ResponseTable channelResponse(Plug& effect, int32_t channel, int32_t points, double nyquist) {
    const EQBank& bank = effect.getBank();
    std::vector<double> bandHz;
    for (int32_t b = 0; b < bank.getBandCount(); ++b) {
        const EQ* band = bank.getBandAt(b, channel);
        if (band && band->getState() == 0) bandHz.push_back(band->getFrequency());
    }
    const std::vector<double> grid = responseGrid(nyquist, points, bandHz);
    std::vector<std::complex<double>> analogue(grid.size()), digital(grid.size());
    bank.channelResponse(channel, grid.data(), int32_t(grid.size()), analogue.data(), digital.data());

    ResponseTable table;
    table.columns = {"hz", "analogue_db", "analogue_deg", "digital_db", "digital_deg"};
    for (size_t i = 0; i < grid.size(); ++i) {
        table.rows.push_back({grid[i], 20.0 * std::log10(std::abs(analogue[i])), std::arg(analogue[i]) * kDegreesPerRadian,
                              20.0 * std::log10(std::abs(digital[i])), std::arg(digital[i]) * kDegreesPerRadian});
    }
    const std::vector<std::complex<double>> fir = impulseResponse(effect, channel, grid, digital);
    if (!fir.empty()) {
        table.columns.insert(table.columns.end(), {"fir_db", "fir_deg"});
        for (size_t i = 0; i < grid.size(); ++i) {
            table.rows[i].push_back(20.0 * std::log10(std::abs(fir[i])));
            table.rows[i].push_back(std::arg(fir[i]) * kDegreesPerRadian);
        }
    }
    return table;
}

void writeResponseCsv(const ResponseTable& table, const std::string& path, std::FILE* out) {
    const bool toStdout = path == "-";
    std::FILE* f = toStdout ? out : std::fopen(path.c_str(), "w");
    if (!f) throw writeError("cannot write '" + path + "': " + std::strerror(errno));
    for (size_t c = 0; c < table.columns.size(); ++c)
        std::fprintf(f, "%s%s", c ? "," : "", table.columns[c].c_str());
    std::fputc('\n', f);
    for (const std::vector<double>& row : table.rows) {
        // Frequencies to the hundredth of a hertz; levels and angles to 1e-4.
        std::fprintf(f, "%.2f", row[0]);
        for (size_t c = 1; c < row.size(); ++c) std::fprintf(f, ",%.4f", row[c]);
        std::fputc('\n', f);
    }
    const bool failed = std::ferror(f) != 0;
    if (toStdout) {
        std::fflush(f);
    } else if (std::fclose(f) != 0 || failed) {
        std::remove(path.c_str());
        throw writeError("cannot write '" + path + "'");
    }
    if (failed) throw writeError("cannot write the response");
}
