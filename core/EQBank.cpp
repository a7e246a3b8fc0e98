#include "core/EQBank.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <thread>

#include "dsp/BrenmoorEQ.h"
#include "dsp/CompensationSpectrum.h"

namespace {

constexpr auto kBusyPoll = std::chrono::milliseconds(10);
// Weight lost per sample of fade still to go: 5000 samples fade from 0 to 1.
constexpr double kFadeWeightPerSample = 0.0002;
constexpr float kNewBandRate = 44100.0f;
constexpr float kNewBandShift = 0.5f;

bool latencyMode(int32_t mode) { return mode == kModeAnalogue || mode == kModeLinear || mode == kModeFree; }

}  // namespace

EQBank::EQBank(int32_t bands, float rate, int32_t channels)
    : bandCount(bands),
      channelCount(0),
      sampleRate(rate),
      bandScratch(std::make_unique<double[]>(kScratchLength)),
      sumScratch(std::make_unique<double[]>(kScratchLength)) {
    firWindow.set(kDefaultWindowShape, kDefaultWindowParameter);
    compensationWindow.set(kDefaultWindowShape, kDefaultWindowParameter);
    setChannels(std::clamp(channels, 1, kMaxChannels));
}

EQBank::~EQBank() = default;

std::unique_ptr<EQ> EQBank::makeBand() const {
    // A fresh place in the grid: bypassed, flat, waiting for its first design.
    auto band = std::make_unique<BrenmoorEQ>();
    band->setState(1);
    band->setType(kEngineFlat);
    band->setSubtype(0);
    band->setSlope(2);
    band->setFrequency(1000.0f);
    band->setGain(0.0f);
    band->setQ(0.707f);
    band->setShift(kNewBandShift);
    band->setPhase(1.0f);
    band->setSampleRate(kNewBandRate);
    return band;
}

EQ* EQBank::getBandAt(int32_t band, int32_t channel) const {
    if (band < 0 || band >= bandCount || channel < 0 || channel >= channelCount) return nullptr;
    return grid[size_t(channelCount * band + channel)].get();
}

void EQBank::setBankMode(int32_t newMode) {
    if (newMode != mode.load()) modeChanged = true;
    mode.store(newMode);
    convolverActive.store(newMode != kModeIIR);
    redesign(true);
}

void EQBank::setParallelMode(int32_t value) {
    if (!parallel.load() && value != kParallelOff) parallelFade.store(kParallelFadeSamples, std::memory_order_relaxed);
    parallel.store(value != kParallelOff);
    for (const std::unique_ptr<EQ>& band : grid) {
        const int32_t type = band->getType();
        const bool peak = type == kEnginePeak;
        const bool shelf = type == kEngineLowShelf || type == kEngineHighShelf;
        const bool inBranch = (value == kParallelPeaks && peak) || (value == kParallelPeaksAndShelves && (peak || shelf));
        band->setParallel(inBranch && band->getState() == 0);
    }
}

void EQBank::setStereoLinked(bool on) { stereoLinked.store(on && channelCount == 2); }

void EQBank::setSampleRate(float rate) {
    sampleRate = rate;
    for (const std::unique_ptr<EQ>& band : grid) band->setSampleRate(rate);
    for (int32_t c = 0; c < channelCount; ++c) {
        if (firConvolver[c]) firConvolver[c]->clearHistory();
        if (compensationConvolver[c]) compensationConvolver[c]->clearHistory();
    }
}

template <typename Setter>
void EQBank::forChannels(int32_t band, int32_t channelMask, Setter set) {
    if (band < 0 || band >= bandCount) return;
    for (int32_t c = 0; c < channelCount; ++c)
        if ((channelMask >> c) & 1) set(*grid[size_t(channelCount * band + c)]);
}

void EQBank::setBypass(bool on, int32_t band, int32_t mask) {
    forChannels(band, mask, [on](EQ& e) { e.setState(on ? 1 : 0); });
}
void EQBank::setType(int32_t v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setType(v); });
}
void EQBank::setSubtype(int32_t v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setSubtype(v); });
}
void EQBank::setFrequency(float v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setFrequency(v); });
}
void EQBank::setSlope(int32_t v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setSlope(v); });
}
void EQBank::setGain(float v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setGain(v); });
}
void EQBank::setQ(float v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setQ(v); });
}
void EQBank::setShift(float v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setShift(v); });
}
void EQBank::setPhase(float v, int32_t band, int32_t mask) {
    forChannels(band, mask, [v](EQ& e) { e.setPhase(v); });
}

void EQBank::setShape(const BandShape& shape, int32_t band, int32_t mask) {
    forChannels(band, mask, [&shape](EQ& e) { e.setShape(shape); });
}

void EQBank::redesign(bool force) {
    if (!force) return;
    bool anyDirty = modeChanged;
    for (const std::unique_ptr<EQ>& band : grid) anyDirty = anyDirty || band->isDirty();
    if (!anyDirty) return;
    // The biquads run in the IIR and Digital+ modes; the FIR modes design
    // them too, since the graph and the Digital+ compensation read them.
    for (int32_t b = 0; b < bandCount; ++b) {
        EQ* master = nullptr;
        DigitalSection coefficients[kMaxSections];
        int32_t count = 0;
        for (int32_t c = 0; c < channelCount; ++c) {
            EQ* band = grid[size_t(channelCount * b + c)].get();
            if (band->getState() != 0) {
                band->rebuild();  // a bypassed object still gets designed, for the graph
                continue;
            }
            if (!master) {
                master = band;
                master->rebuild();
                count = master->getCoefficients(coefficients);
                continue;
            }
            // One design serves every active channel of the band.
            band->setCoefficients(coefficients, count);
            band->setUnity(master->isUnity() ? 1u : 0u);
        }
    }
    if (convolverActive.load()) designImpulses();
}

void EQBank::designImpulses() {
    const int32_t m = mode.load();
    const int32_t count = stereoLinked.load() ? 1 : channelCount;
    EQ* const* bands = gridView.data();
    const bool fir = m >= kModeFullMinimum;
    const int32_t padding = fir ? padFactor : 1;
    const int32_t length = fir ? irLength.load() : compensationLength;
    const int32_t points = length * padding;
    spectrum.assign(size_t(points + 2), 0.0);
    auto build = [&](int32_t c) {
        if (fir) return designer.buildSpectrum(points, bands, bandCount, channelCount, c, sampleRate, m, spectrum.data());
        return double(buildCompensationSpectrum(points, bands, bandCount, channelCount, c, sampleRate,
                                                m == kModeDPlusPhase, spectrum.data()));
    };
    // The phase peak of all channels matters only where the zero-latency
    // mode keeps it; then every spectrum is built twice.
    double peak = -1.0;
    if (keepLatencyPeak) {
        peak = 0.0;
        for (int32_t c = 0; c < count; ++c) peak = std::max(peak, build(c));
    }
    const int32_t impulseMode = fir ? m : (m == kModeDPlusPhase ? kModeZeroLatency : kModeFullMinimum);
    for (int32_t c = 0; c < count; ++c) {
        build(c);
        finishImpulse(spectrum.data(), c, length, padding, impulseMode, fir ? firWindow : compensationWindow, peak,
                      fir);
    }
    if (fir) {
        // The window as the impulses of this mode get it.
        windowPreview.assign(size_t(length), 1.0);
        if (m == kModeFullMinimum || m == kModeZeroLatency)
            firWindow.applyCausal(windowPreview.data(), length);
        else
            firWindow.applyCentred(windowPreview.data(), length);
    }
}

void EQBank::finishImpulse(const double* source, int32_t channel, int32_t length, int32_t padding, int32_t m,
                           WindowTable& window, double peak, bool fir) {
    const double* h = designer.makeImpulse(source, length, padding, m, window, peak);
    PartitionedConvolver* target = fir ? firConvolver[channel].get() : compensationConvolver[channel].get();
    if (!target || target->getLength() != length) return;
    target->stageImpulse(h);
    std::vector<double>& copy = fir ? impulseCopy[channel] : compensationCopy[channel];
    copy.assign(h, h + length);
}

const double* EQBank::getImpulse(int32_t channel) const {
    if (!convolverActive.load() || channelCount == 0) return nullptr;
    const int32_t c = stereoLinked.load() ? 0 : ((channel % channelCount) + channelCount) % channelCount;
    const std::vector<double>& copy = mode.load() >= kModeFullMinimum ? impulseCopy[c] : compensationCopy[c];
    return copy.empty() ? nullptr : copy.data();
}

int32_t EQBank::getImpulseLength() const {
    return mode.load() >= kModeFullMinimum ? irLength.load() : compensationLength;
}

int32_t EQBank::getLatency() const { return latencyOf(mode.load(), irLength.load()); }

int32_t EQBank::latencyOf(int32_t mode, int32_t irLength) { return latencyMode(mode) ? irLength / 2 : 0; }

void EQBank::setDPlusLength(int32_t n) {
    if (n == compensationLength || n <= 0) return;
    convolverActive.store(false);
    while (busy.load()) std::this_thread::sleep_for(kBusyPoll);
    compensationLength = n;
    allocateConvolvers(false, true);
    mode.store(-1);  // the next setBankMode sees a change
}
void EQBank::setFirWindow(int32_t shape, float p) {
    const float mapped = mapWindowParameter(shape, p);
    firWindow.set(shape, mapped);
    compensationWindow.set(shape, mapped);
}

double EQBank::trueQ(int32_t band) const {
    for (int32_t c = 0; c < channelCount; ++c) {
        const EQ* e = getBandAt(band, c);
        if (e && e->getState() == 0) return e->displayQ();
    }
    return -1.0;
}

void EQBank::channelResponse(int32_t channel, const double* hz, int32_t count, std::complex<double>* analogue,
                             std::complex<double>* digital) const {
    for (int32_t i = 0; i < count; ++i) {
        if (analogue) analogue[i] = 1.0;
        if (digital) digital[i] = 1.0;
    }
    if (channel < 0 || channel >= channelCount) return;
    std::vector<std::complex<double>> analogueSum(size_t(count), 1.0), digitalSum(size_t(count), 1.0);
    bool anyParallel = false;
    for (int32_t b = 0; b < bandCount; ++b) {
        EQ* band = grid[size_t(channelCount * b + channel)].get();
        SectionSet set{};
        band->design(&set, false);
        const bool inBranch = band->getParallel();
        anyParallel = anyParallel || inBranch;
        for (int32_t i = 0; i < count; ++i) {
            double re = 0.0, im = 0.0;
            band->responseAt(hz[i], &re, &im);
            const std::complex<double> a = analogueResponse(set.section, set.count, hz[i]);
            const std::complex<double> d(re, im);
            if (inBranch) {
                // The running band already realises H - 1.
                analogueSum[size_t(i)] += a - 1.0;
                digitalSum[size_t(i)] += d;
            } else {
                if (analogue) analogue[i] *= a;
                if (digital) digital[i] *= d;
            }
        }
    }
    if (!anyParallel) return;
    for (int32_t i = 0; i < count; ++i) {
        if (analogue) analogue[i] *= analogueSum[size_t(i)];
        if (digital) digital[i] *= digitalSum[size_t(i)];
    }
}

double EQBank::analogueMagnitude(int32_t channel, double hz) const {
    std::complex<double> a;
    channelResponse(channel, &hz, 1, &a, nullptr);
    return std::abs(a);
}

double EQBank::analoguePhase(int32_t channel, double hz) const {
    std::complex<double> a;
    channelResponse(channel, &hz, 1, &a, nullptr);
    return std::arg(a);
}

double EQBank::digitalMagnitude(int32_t channel, double hz) const {
    std::complex<double> d;
    channelResponse(channel, &hz, 1, nullptr, &d);
    return std::abs(d);
}

double EQBank::digitalToAnalogueRatio(int32_t channel, double hz) const {
    std::complex<double> a, d;
    channelResponse(channel, &hz, 1, &a, &d);
    const double analogue = std::abs(a), digital = std::abs(d);
    if (analogue == digital || digital == 0.0) return 1.0;
    return analogue / digital;
}

void EQBank::setChannels(int32_t n) {
    n = std::clamp(n, 0, kMaxChannels);
    if (n == channelCount && !grid.empty()) return;
    std::vector<std::unique_ptr<EQ>> next(size_t(n * bandCount));
    for (int32_t b = 0; b < bandCount; ++b) {
        for (int32_t c = 0; c < n; ++c) {
            std::unique_ptr<EQ>& place = next[size_t(n * b + c)];
            if (c < channelCount && !grid.empty())
                place = std::move(grid[size_t(channelCount * b + c)]);
            else
                place = makeBand();
        }
    }
    grid = std::move(next);  // objects of channels above n go with the old grid
    gridView.clear();
    for (const std::unique_ptr<EQ>& band : grid) gridView.push_back(band.get());
    channelCount = n;
    allocateConvolvers(true, true);
    if (n != 0) setSampleRate(sampleRate);
}

void EQBank::setIRLength(int32_t n) {
    if (n == irLength.load() || n <= 0) return;
    convolverActive.store(false);
    while (busy.load()) std::this_thread::sleep_for(kBusyPoll);
    irLength.store(n);
    allocateConvolvers(true, false);
    mode.store(-1);  // the next setBankMode sees a change
}

void EQBank::allocateConvolvers(bool fir, bool compensation) {
    // Behind the active and busy flags, or before the first block.
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        const bool present = c < channelCount;
        if (fir) {
            firConvolver[c] = present ? std::make_unique<PartitionedConvolver>(irLength.load()) : nullptr;
            impulseCopy[c].clear();
        }
        if (compensation) {
            compensationConvolver[c] = present ? std::make_unique<PartitionedConvolver>(compensationLength) : nullptr;
            compensationCopy[c].clear();
        }
    }
}

// ---------------------------------------------------------------------------
// Audio thread

void EQBank::runCascade(double* x, int32_t channel, int32_t samples) noexcept {
    // The order of the chain is the band index, never frequency or strip order.
    for (int32_t b = 0; b < bandCount; ++b) grid[size_t(channelCount * b + channel)]->processDouble(x, samples);
}

void EQBank::runCascadePair(double* x0, double* x1, int32_t channel, int32_t samples) noexcept {
    // Band by band, both channels of the pair at once where the two bands
    // allow it: consecutive bands (at rest or ramping) gather their sections
    // into one run. The channels stay independent and every band sees the same
    // input, so the result is that of one channel after the other.
    int32_t held = 0;
    for (int32_t b = 0; b < bandCount; ++b) {
        EQ& first = *grid[size_t(channelCount * b + channel)];
        EQ& second = *grid[size_t(channelCount * b + channel + 1)];
        // Flat bands at rest on both channels touch nothing: the run goes on past them.
        if (first.passesUntouched() && second.passesUntouched()) continue;
        int32_t got = 0;
        if (held + kMaxSections <= kMaxPairedSections && first.pairSections(second, pairedRun.get() + held, &got, samples)) {
            held += got;
            continue;
        }
        runPairedSections(pairedRun.get(), held, x0, x1, samples);
        held = 0;
        if (first.pairSections(second, pairedRun.get(), &got, samples)) {
            held = got;
            continue;
        }
        first.processDouble(x0, samples);
        second.processDouble(x1, samples);
    }
    runPairedSections(pairedRun.get(), held, x0, x1, samples);
}

void EQBank::runParallel(double* x, int32_t channel, int32_t samples, int32_t fadeAtStart) noexcept {
    const double weight = fadeAtStart > 0 ? 1.0 - double(fadeAtStart) * kFadeWeightPerSample : 1.0;
    for (int32_t done = 0; done < samples; done += kScratchLength) {
        const int32_t m = std::min(kScratchLength, samples - done);
        double* part = x + done;
        std::fill_n(sumScratch.get(), m, 0.0);
        for (int32_t b = 0; b < bandCount; ++b) {
            EQ* band = grid[size_t(channelCount * b + channel)].get();
            if (!band->getParallel()) continue;
            std::memcpy(bandScratch.get(), part, sizeof(double) * size_t(m));
            band->processDouble(bandScratch.get(), m);
            for (int32_t i = 0; i < m; ++i) sumScratch[i] += bandScratch[i];
        }
        for (int32_t i = 0; i < m; ++i) part[i] += weight * sumScratch[i];
        for (int32_t b = 0; b < bandCount; ++b) {
            EQ* band = grid[size_t(channelCount * b + channel)].get();
            if (!band->getParallel()) band->processDouble(part, m);
        }
    }
}

void EQBank::processBank(double* const* buffers, int32_t samples, int32_t channels) noexcept {
    if (samples <= 0) return;
    const int32_t fade = parallelFade.load(std::memory_order_relaxed);
    const int32_t count = mode.load(std::memory_order_relaxed) < kModeFullMinimum ? std::min(channels, channelCount) : 0;
    const bool inParallel = parallel.load(std::memory_order_relaxed);
    const bool pairs = pairChannels.load(std::memory_order_relaxed);
    for (int32_t c = 0; c < count; ++c) {
        double* x = buffers[c];
        if (!x) continue;
        if (inParallel) {
            runParallel(x, c, samples, fade);
        } else if (pairs && c + 1 < count && buffers[c + 1]) {
            runCascadePair(x, buffers[c + 1], c, samples);
            ++c;
        } else {
            runCascade(x, c, samples);
        }
    }
    if (fade > 0) parallelFade.store(std::max(0, fade - samples), std::memory_order_relaxed);
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

void EQBank::runConvolvers(double* const* buffers, int32_t samples, int32_t channels, bool keep) noexcept {
    const bool fir = mode.load(std::memory_order_relaxed) >= kModeFullMinimum;
    std::unique_ptr<PartitionedConvolver>* convolvers = fir ? firConvolver : compensationConvolver;
    const int32_t count = std::min(channels, channelCount);
    if (stereoLinked.load(std::memory_order_relaxed) && count == 2 && buffers[0] && buffers[1] && convolvers[0]) {
        // One convolver for the pair: both channels as one complex signal.
        double* a = buffers[0];
        double* b = buffers[1];
        convolvers[0]->processStereo(a, b, keep ? a : nullptr, keep ? b : nullptr, samples);
        return;
    }
    for (int32_t c = 0; c < count; ++c) {
        double* x = buffers[c];
        PartitionedConvolver* conv = convolvers[c].get();
        if (x && conv) conv->processMono(x, keep ? x : nullptr, samples);
    }
}

// ---------------------------------------------------------------------------
// Auto gain

namespace {

constexpr int32_t kAutoGainPoints = 128;
constexpr double kAutoGainLowest = 20.0;     // Hz
constexpr double kAutoGainSpan = 1100.0;     // the grid spans 20 Hz * 1100
constexpr double kPinkReference = 1000.0;    // pink weights are f / 1 kHz
constexpr double kAutoGainMin = 0.0625;
constexpr double kAutoGainMax = 16.0;
// The two filters of the loudness weighting, by their analogue constants.
constexpr double kHighPassRadians = 239.6122302908756;   // times 1/rate
constexpr double kHighPassQScale = 1.00065407464886;
constexpr double kShelfRadians = 5284.078578647593;      // tan(x / rate)
constexpr double kShelfVbExponent = 0.09999609634933361;
constexpr double kShelfVhExponent = 0.19999219269866722;
constexpr double kShelfDenominatorK = 1.4140766640886306;
constexpr double kShelfNumeratorK = 1.4138596904142389;

// |b(z) / a(z)| of a biquad at z = e^(j w).
double biquadMagnitude(const double b[3], const double a[3], double w) {
    const std::complex<double> z1 = std::polar(1.0, -w), z2 = std::polar(1.0, -2.0 * w);
    return std::abs((b[0] + b[1] * z1 + b[2] * z2) / (a[0] + a[1] * z1 + a[2] * z2));
}

// The loudness weighting's magnitude at f: its high pass times its shelf.
double loudnessWeight(double f, double rate) {
    const double x = kHighPassRadians / rate;
    const double q = std::sin(x) / kHighPassQScale;
    const double hpB[3] = {1.0, -2.0, 1.0};
    const double hpA[3] = {1.0, -2.0 * std::cos(x) / (1.0 + q), (1.0 - q) / (1.0 + q)};
    const double k = std::tan(kShelfRadians / rate);
    const double vb = std::pow(10.0, kShelfVbExponent), vh = std::pow(10.0, kShelfVhExponent);
    const double a = 1.0 / (k * k + kShelfDenominatorK * k + 1.0);
    const double shB[3] = {(vh + kShelfNumeratorK * vb * k + k * k) * a, 2.0 * (k * k - vh) * a,
                           (vh - kShelfNumeratorK * vb * k + k * k) * a};
    const double shA[3] = {1.0, 2.0 * (k * k - 1.0) * a, (k * k - kShelfDenominatorK * k + 1.0) * a};
    const double w = 2.0 * std::numbers::pi * f / rate;
    return biquadMagnitude(hpB, hpA, w) * biquadMagnitude(shB, shA, w);
}

double clampGain(double level) {
    if (level == 0.0) return 0.0;
    return std::clamp(1.0 / level, kAutoGainMin, kAutoGainMax);
}

}  // namespace

void EQBank::autoGainAmount(double* g1, double* g2, bool separate, int32_t weighting, double sampleRate) const {
    std::vector<double> hz(kAutoGainPoints), weight(kAutoGainPoints, 1.0);
    for (int32_t i = 0; i < kAutoGainPoints; ++i)
        hz[size_t(i)] = kAutoGainLowest * std::exp(i * std::log(kAutoGainSpan) / kAutoGainPoints);
    for (int32_t i = 0; i < kAutoGainPoints; ++i) {
        if (weighting & 1) weight[size_t(i)] *= hz[size_t(i)] / kPinkReference;
        if (weighting & 2) weight[size_t(i)] *= loudnessWeight(hz[size_t(i)], sampleRate);
    }
    double total = 0.0;
    for (const double w : weight) total += w;
    for (double& w : weight) w /= total;

    std::vector<std::complex<double>> curve(kAutoGainPoints);
    std::vector<double> level(size_t(std::max(channelCount, 1)), 1.0);
    for (int32_t c = 0; c < channelCount; ++c) {
        channelResponse(c, hz.data(), kAutoGainPoints, curve.data(), nullptr);
        double sum = 0.0;
        for (int32_t i = 0; i < kAutoGainPoints; ++i) sum += weight[size_t(i)] * std::abs(curve[size_t(i)]);
        level[size_t(c)] = sum;
    }
    double a = 0.0, b = 1.0;
    if (!separate) {
        for (int32_t c = 0; c < channelCount; ++c) a += level[size_t(c)];
        a = channelCount > 0 ? a / channelCount : 1.0;
    } else {
        a = level[0];
        b = channelCount > 1 ? level[1] : 1.0;
    }
    if (g1 != nullptr) *g1 = clampGain(a);
    if (g2 != nullptr) *g2 = clampGain(b);
}
