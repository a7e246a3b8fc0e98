// How closely the running biquads follow the analogue prototype: for a fixed
// set of peaks, shelves and pass filters at three sample rates, the largest
// deviation in dB of the digital magnitude from the analogue one between
// 20 Hz and 0.95 x Nyquist, beside that of a plain bilinear transform
// pre-warped at the band frequency. Levels below -60 dB on the analogue
// curve are left out of both columns: there a pass filter's stop band is
// already inaudible and a dB ratio says little.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "dsp/DesignTestSupport.h"
#include "dsp/SubtypeNames.h"

namespace {

using designtest::shapeOf;

struct Case {
    std::string name;
    BandShape shape;
};

std::vector<Case> cases() {
    std::vector<Case> list;
    char name[96];
    for (float hz : {100.0f, 1000.0f, 5000.0f, 10000.0f, 15000.0f, 19000.0f})
        for (float q : {0.5f, 1.0f, 4.0f})
            for (float gain : {12.0f, -12.0f}) {
                std::snprintf(name, sizeof name, "peak %gHz Q%g %+gdB", double(hz), double(q), double(gain));
                list.push_back({name, shapeOf(kEnginePeak, kPeakKestrawn, hz, gain, q)});
            }
    for (float hz : {100.0f, 8000.0f})
        for (int32_t type : {kEngineLowShelf, kEngineHighShelf})
            for (float gain : {12.0f, -12.0f}) {
                std::snprintf(name, sizeof name, "%s shelf %gHz %+gdB", type == kEngineLowShelf ? "low" : "high",
                              double(hz), double(gain));
                list.push_back({name, shapeOf(type, kShelfKestrawn, hz, gain, 0.707f)});
            }
    for (int32_t slope : {2, 8})
        for (int32_t type : {kEngineHighPass, kEngineLowPass}) {
            const float hz = type == kEngineHighPass ? 100.0f : 10000.0f;
            std::snprintf(name, sizeof name, "%s Butterworth %gHz %ddB/oct", type == kEngineHighPass ? "HPF" : "LPF",
                          double(hz), slope * 6);
            list.push_back({name, shapeOf(type, kPassButterworth, hz, 0.0f, 0.707f, slope)});
        }
    return list;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
}

}  // namespace

int main() {
    std::vector<double> ours, bilinear;
    std::printf("%-34s %8s %12s %12s\n", "case", "rate", "ours dB", "bilinear dB");
    for (const Case& c : cases()) {
        for (double fs : {44100.0, 48000.0, 96000.0}) {
            const designtest::Deviation d = designtest::deviationFromPrototype(c.shape, fs);
            ours.push_back(d.band);
            bilinear.push_back(d.bilinear);
            std::printf("%-34s %8.0f %12.4f %12.4f\n", c.name.c_str(), fs, d.band, d.bilinear);
        }
    }
    std::printf("\n%-34s %8s %12.4f %12.4f\n", "median", "", median(ours), median(bilinear));
    std::printf("%-34s %8s %12.4f %12.4f\n", "maximum", "", *std::max_element(ours.begin(), ours.end()),
                *std::max_element(bilinear.begin(), bilinear.end()));
    return 0;
}
