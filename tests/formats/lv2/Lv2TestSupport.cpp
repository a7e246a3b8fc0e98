#include "Lv2TestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <thread>

lv2host::World& bundleWorld() {
    static lv2host::World* world = [] {
        setenv("LV2_PATH", FW_LV2_BUNDLE_PARENT, 1);
        return new lv2host::World;  // lives as long as the process: instances may outlive a test
    }();
    return *world;
}

const LilvPlugin* ourPlugin(int32_t channels) { return bundleWorld().plugin(lv2ports::pluginUri(channels)); }

std::unique_ptr<lv2host::Instance> makeInstance(int32_t channels, const InstanceOptions& options) {
    const LilvPlugin* plugin = ourPlugin(channels);
    if (!plugin) throw std::runtime_error("our plug-in is not in the bundle");
    lv2host::HostSetup setup;
    setup.sampleRate = kTestRate;
    setup.nominalBlock = options.maxBlock;
    setup.maxBlock = options.maxBlock;
    setup.work = options.work;
    setup.offerWorker = options.offerWorker;
    auto fx = std::make_unique<lv2host::Instance>(bundleWorld(), plugin, setup);
    if (options.activate) fx->activate();
    return fx;
}

lv2ports::Ports portsOf(const lv2host::Instance& fx) { return {int32_t(fx.audioInputs().size())}; }

void setParam(lv2host::Instance& fx, int32_t index, float real) {
    fx.control(uint32_t(portsOf(fx).param(index))) = real;
}

void setPeakBand(lv2host::Instance& fx, int32_t band, double hz, double db, double q) {
    const double scale = fx.control(uint32_t(portsOf(fx).param(kScale)));
    setParam(fx, bandParam(band, kFieldState), float(kBandOn));
    setParam(fx, bandParam(band, kFieldType), float(kTypePeak));
    setParam(fx, bandParam(band, kFieldFrequency), float(hz));
    setParam(fx, bandParam(band, kFieldGain), float(db / scale));
    setParam(fx, bandParam(band, kFieldQ), float(q));
}

Channels process(lv2host::Instance& fx, const Channels& input, int32_t block) {
    const size_t channels = input.size();
    const size_t frames = channels ? input[0].size() : 0;
    Channels output(channels, std::vector<float>(frames));
    std::vector<std::vector<float>> in(channels, std::vector<float>(size_t(block), 0.0f));
    std::vector<std::vector<float>> out(channels, std::vector<float>(size_t(block), 0.0f));
    std::vector<float*> inPtr, outPtr;
    for (size_t c = 0; c < channels; ++c) {
        inPtr.push_back(in[c].data());
        outPtr.push_back(out[c].data());
    }
    for (size_t at = 0; at < frames; at += size_t(block)) {
        const size_t n = std::min(frames - at, size_t(block));
        for (size_t c = 0; c < channels; ++c) std::copy_n(input[c].begin() + long(at), n, in[c].begin());
        fx.connectAudio(inPtr.data(), outPtr.data());
        fx.run(uint32_t(n));
        for (size_t c = 0; c < channels; ++c) std::copy_n(out[c].begin(), n, output[c].begin() + long(at));
    }
    return output;
}

void settle(lv2host::Instance& fx, int64_t frames, int32_t wallMs, int32_t block) {
    const size_t channels = fx.audioInputs().size();
    std::vector<float> silence(size_t(block), 0.0f), scrap(channels * size_t(block));
    std::vector<float*> in(channels, silence.data()), out;
    for (size_t c = 0; c < channels; ++c) out.push_back(scrap.data() + c * size_t(block));
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(wallMs);
    for (int64_t done = 0; done < frames || std::chrono::steady_clock::now() < until; done += block) {
        fx.connectAudio(in.data(), out.data());
        fx.run(uint32_t(block));
        if (wallMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Channels noise(int32_t channels, int64_t frames, float peak, uint32_t seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> uniform(-peak, peak);
    Channels x(static_cast<size_t>(channels), std::vector<float>(static_cast<size_t>(frames)));
    for (auto& channel : x)
        for (float& s : channel) s = uniform(gen);
    return x;
}

Channels sine(int32_t channels, int64_t frames, double hz, float peak) {
    std::vector<float> one(static_cast<size_t>(frames));
    for (int64_t s = 0; s < frames; ++s) one[size_t(s)] = float(peak * std::sin(2.0 * M_PI * hz * double(s) / kTestRate));
    return Channels(size_t(channels), one);
}
