#pragma once
// The --response report: the frequency response of the bands acting on one
// channel, on a logarithmic grid, as CSV with a header line. Columns are
// named, so further curves join as further columns.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

class Plug;

struct ResponseTable {
    std::vector<std::string> columns;         // first column "hz"
    std::vector<std::vector<double>> rows;    // one value per column
};

// points frequencies spaced evenly in log from 10 Hz to nyquist, both ends
// included, merged in order with the extra frequencies that lie in between
// (the frequencies of the bands, so their own gain stands in the report).
std::vector<double> responseGrid(double nyquist, int32_t points, const std::vector<double>& extra);

// hz, analogue_db, analogue_deg, digital_db and digital_deg of the bands
// acting on the channel slot (0-based): their analogue prototypes and the
// biquads as they will run once their coefficient ramps end; and, when a
// convolver runs (FIR modes, Digital+), fir_db and fir_deg of what is heard:
// the FIR impulse with its latency taken out, or the biquads followed by the
// Digital+ impulse.
ResponseTable channelResponse(Plug& effect, int32_t channel, int32_t points, double nyquist);

// Writes the table as CSV to path, or to out when path is "-". Throws a
// write error when the file cannot be written.
void writeResponseCsv(const ResponseTable& table, const std::string& path, std::FILE* out);
