// Aids for the ear: auto gain, which keeps the level steady while the curve
// changes, and AutoListen, which lets the user hear the region one band
// works on while its frequency is dragged.

#include <algorithm>
#include <cstdio>

#include "core/Plug.h"

// ---------------------------------------------------------------------------
// Auto gain

void Plug::autoGainNow(double* g1, double* g2, bool* separate) {
    const int32_t channels = bank.getChannelCount();
    const bool apart = channels == 2 && msMask.load(std::memory_order_relaxed) != 0 && autoGainMidSide == 1;
    if (separate != nullptr) *separate = apart;
    bank.autoGainAmount(g1, g2, apart, autoGainWeighting, sampleRate);
}

void Plug::applyAutoGain(int32_t channels) {
    if (autoGainLive.load(std::memory_order_relaxed) == 0) return;
    double g1 = 1.0, g2 = 1.0;
    bool separate = false;
    autoGainNow(&g1, &g2, &separate);
    for (int32_t c = 0; c < channels; ++c) {
        const double g = (separate && c == 1) ? g2 : g1;
        channelGainTarget[c].store(channelGainTarget[c].load(std::memory_order_relaxed) * g,
                                   std::memory_order_relaxed);
    }
}

void Plug::bakeAutoGain() {
    double g1 = 1.0, g2 = 1.0;
    bool separate = false;
    {
        // The curves are read from the band objects, which a design writes.
        std::lock_guard<PlugBaseMutex> design(designLock);
        std::lock_guard<PlugBaseMutex> held(engineLock);
        autoGainNow(&g1, &g2, &separate);
    }
    for (int32_t c = 0; c < getChannelCount(); ++c) {
        const int32_t index = channelParam(c, kFieldLevel);
        const double level = getRealValue(index) * ((separate && c == 1) ? g2 : g1);
        beginEdit(index);
        setParameterAutomated(index, float(displayToNorm(index, level)));
        endEdit(index);
    }
}

// ---------------------------------------------------------------------------
// AutoListen

void Plug::setAutoListenArmed(bool on) {
    autoListenArmed = (on && autoListenAllowed) ? 1 : 0;
}

void Plug::listenOnBeginEdit(int32_t index) {
    const int32_t band = bandIndexOf(index);
    const int32_t field = bandFieldOf(index);
    const bool armed = autoListenArmed.load() != 0;
    // "Toggle" with Q ignored: a Q gesture on the listened band ends it.
    if (listenEnableMode != 0 && listenIgnoresQ != 0 && armed) {
        if (band != -1 && band == autoListenBand.load() && field == kFieldQ) {
            autoListenBand = -1;
            refreshEngine(false);
            return;
        }
    }
    if (armed && autoListenBand.load() == -1) {
        if (band != -1 && (field == kFieldFrequency || (field == kFieldQ && listenQMode == 0 && listenIgnoresQ == 0)))
            autoListenBand = band;
        refreshEngine(false);
    }
}

void Plug::listenOnEndEdit(int32_t index) {
    const int32_t band = bandIndexOf(index);
    const int32_t field = bandFieldOf(index);
    const bool armed = autoListenArmed.load() != 0;
    if (listenEnableMode != 0 && listenIgnoresQ != 0 && armed && autoListenBand.load() == -1 && field == kFieldQ &&
        band != -1) {
        autoListenBand = band;
        refreshEngine(false);
    }
    if (!armed && band != -1 && band == autoListenBand.load()) {
        if (field == kFieldFrequency || (field == kFieldQ && listenIgnoresQ == 0)) {
            autoListenBand = -1;
            notifyEditor(index, table[index].norm);
        }
    }
}

int32_t Plug::bandControls(int32_t band, char* label, bool listening) {
    if (label != nullptr) label[0] = 0;
    if (band < 0 || band >= kNumBands) return 0;
    const int32_t listened = autoListenBand.load();
    // Read from what the last engine update left, never from the bank,
    // which the worker may be designing. Under AutoListen the object runs a
    // listening type; its controls are those of the type it had.
    const int32_t previous = listened != -1 ? 1 : 0;
    int32_t flags = bandControlCache[band][previous].load();
    const char* shift = bandLabelCache[band][previous].load();
    if ((flags & kControlShift) != 0 && label != nullptr)
        std::snprintf(label, kParamTextSize, "%s", shift ? shift : "");
    if (listened == -1 || !listening) return flags;
    if (band == listened) {
        if (listenGainMode != 0) flags &= ~kControlGain;
        if (listenQMode != 0 || listenIgnoresQ != 0) flags &= ~kControlQ;
        flags &= ~kControlShift;
    } else {
        flags &= ~(kControlGain | kControlQ | kControlShift | kControlSlope);
    }
    return flags;
}
