#include "core/EQBank.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {
constexpr auto kBusyPoll = std::chrono::milliseconds(10);
}

EQBank::EQBank(int32_t bands, float rate, int32_t channels)
    : bandCount(bands), channelCount(std::clamp(channels, 1, kMaxChannels)), sampleRate(rate) {
    allocateDelays();
}

EQBank::~EQBank() = default;

void EQBank::setBankMode(int32_t newMode) {
    if (newMode != mode) modeChanged = true;
    mode = newMode;
    convolverActive.store(newMode != kModeIIR);
    redesign(true);
}

void EQBank::setSampleRate(float rate) {
    sampleRate = rate;
    for (int32_t c = 0; c < channelCount; ++c) {
        if (flatDelay[c]) std::fill_n(flatDelay[c].get(), flatDelayLength, 0.0);
        flatDelayPosition[c] = 0;
    }
}

void EQBank::redesign(bool force) {
    if (!force) return;
    // The band chain is empty, so there is nothing to design yet; a flat
    // impulse needs no design either.
    modeChanged = false;
}

int32_t EQBank::getLatency() const {
    return (mode == kModeAnalogue || mode == kModeLinear || mode == kModeFree) ? irLength / 2 : 0;
}

double EQBank::trueQ(int32_t) const {
    return -1.0;
}

void EQBank::setChannels(int32_t n) {
    n = std::clamp(n, 0, kMaxChannels);
    if (n == channelCount) return;
    channelCount = n;
    allocateDelays();
    if (n != 0) setSampleRate(sampleRate);
}

void EQBank::setIRLength(int32_t n) {
    if (n == irLength || n <= 0) return;
    convolverActive.store(false);
    while (busy.load()) std::this_thread::sleep_for(kBusyPoll);
    irLength = n;
    allocateDelays();
    mode = -1;  // the next setBankMode sees a change
}

void EQBank::allocateDelays() {
    flatDelayLength = irLength / 2;
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        if (c < channelCount) {
            flatDelay[c] = std::make_unique<double[]>(size_t(flatDelayLength));
        } else {
            flatDelay[c].reset();
        }
        flatDelayPosition[c] = 0;
    }
}

void EQBank::runConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept {
    const bool delays = mode == kModeAnalogue || mode == kModeLinear || mode == kModeFree;
    if (!delays || flatDelayLength <= 0) return;  // a flat impulse without latency is the identity
    const int32_t count = std::min(channels, channelCount);
    for (int32_t c = 0; c < count; ++c) {
        double* x = buffers[c];
        double* line = flatDelay[c].get();
        if (!x || !line) continue;
        int32_t pos = flatDelayPosition[c];
        for (int32_t s = 0; s < samples; ++s) {
            const double delayed = line[pos];
            line[pos] = x[s];
            if (keep) x[s] = delayed;
            if (++pos == flatDelayLength) pos = 0;
        }
        flatDelayPosition[c] = pos;
    }
}

void EQBank::processBank(double* const* buffers, int32_t samples, int32_t channels) noexcept {
    // The band chain runs here in the IIR and compensation modes; it is empty.
    enterConvolvers(buffers, samples, channels, true);
}

void EQBank::warmConvolvers(double* const* buffers, int32_t samples, int32_t channels) noexcept {
    enterConvolvers(buffers, samples, channels, false);
}

void EQBank::enterConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept {
    // Busy is raised before active is read (both sequentially consistent), so
    // a writer that clears active and then sees busy clear knows no block is
    // inside, and none will enter.
    busy.store(true);
    if (convolverActive.load()) runConvolvers(buffers, samples, channels, keep);
    busy.store(false);
}
