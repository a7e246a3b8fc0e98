// How closely the running biquads follow the analogue prototype: for a fixed
// set of peaks, shelves and pass filters at three sample rates, the largest
// deviation in dB of the digital magnitude from the analogue one between
// 20 Hz and 0.95 x Nyquist, beside that of a plain bilinear transform
// pre-warped at the band frequency. Levels below -60 dB on the analogue
// curve are left out of both columns: there a pass filter's stop band is
// already inaudible and a dB ratio says little.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include "dsp/BrenmoorEQ.h"
#include "dsp/DigitalDesign.h"
#include "dsp/SubtypeNames.h"

namespace {

constexpr int kProbePoints = 400;
constexpr double kLowestHz = 20.0;
constexpr double kTopShare = 0.95;
constexpr double kFloorDb = -60.0;

struct Case {
    std::string name;
    BandShape shape;
};

double db(double magnitude) { return 20.0 * std::log10(std::max(magnitude, 1e-300)); }

// Magnitude at hz of biquads given as sections.
double digitalMagnitude(const std::vector<DigitalSection>& sections, double hz, double fs) {
    const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * hz / fs);
    std::complex<double> h = 1.0;
    for (const DigitalSection& s : sections)
        h *= (s.b0 + s.b1 * z1 + s.b2 * z1 * z1) / (1.0 + s.a1 * z1 + s.a2 * z1 * z1);
    return std::abs(h);
}

struct Deviation {
    double ours;
    double bilinear;
};

Deviation measure(const BandShape& shape, double fs) {
    BrenmoorEQ band;
    band.setSampleRate(float(fs));
    band.setShape(shape);
    band.rebuild();

    SectionSet set{};
    designBand(shape, false, &set);
    std::vector<DigitalSection> plain;
    const double prewarp = std::min(double(shape.frequency), 0.499 * fs);
    for (int32_t i = 0; i < set.count; ++i) {
        AnalogueSection working = set.section[i];
        scaleSections(1, &working, 2.0 * std::numbers::pi);
        plain.push_back(bilinearSection(working, prewarp, fs));
    }

    Deviation worst{0.0, 0.0};
    const double top = kTopShare * fs / 2.0;
    for (int k = 0; k < kProbePoints; ++k) {
        const double hz = kLowestHz * std::pow(top / kLowestHz, double(k) / (kProbePoints - 1));
        const double analogue = db(analogueMagnitude(set.section, set.count, hz));
        if (analogue < kFloorDb) continue;
        worst.ours = std::max(worst.ours, std::fabs(db(band.magnitudeAt(hz, nullptr)) - analogue));
        worst.bilinear = std::max(worst.bilinear, std::fabs(db(digitalMagnitude(plain, hz, fs)) - analogue));
    }
    return worst;
}

BandShape shapeOf(int32_t type, int32_t subtype, float hz, float gain, float q, int32_t slope = 2) {
    BandShape s;
    s.type = type;
    s.subtype = subtype;
    s.frequency = hz;
    s.gain = gain;
    s.q = q;
    s.slope = slope;
    s.state = 0;
    return s;
}

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
            const Deviation d = measure(c.shape, fs);
            ours.push_back(d.ours);
            bilinear.push_back(d.bilinear);
            std::printf("%-34s %8.0f %12.4f %12.4f\n", c.name.c_str(), fs, d.ours, d.bilinear);
        }
    }
    std::printf("\n%-34s %8s %12.4f %12.4f\n", "median", "", median(ours), median(bilinear));
    std::printf("%-34s %8s %12.4f %12.4f\n", "maximum", "", *std::max_element(ours.begin(), ours.end()),
                *std::max_element(bilinear.begin(), bilinear.end()));
    return 0;
}
