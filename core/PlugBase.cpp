#include "core/PlugBase.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "effect/AEffect.h"

PlugBase::PlugBase(EffectHostCallback host) : AudioEffectX(host, kNumPrograms, kNumParams) {
    const ParamRow* defaults = staticParamTable();
    table = std::make_unique<ParamRow[]>(kNumParams);
    for (int32_t i = 0; i < kNumParams; ++i) table[i] = defaults[i];
}

PlugBase::~PlugBase() = default;

void PlugBase::processReplacing(float** inputs, float** outputs, int32_t n) noexcept {
    updateProcessLevel();
    processFloat(inputs, outputs, n);
    samplesSinceUpdate.fetch_add(n, std::memory_order_relaxed);
}

void PlugBase::processDoubleReplacing(double** inputs, double** outputs, int32_t n) noexcept {
    updateProcessLevel();
    processDouble(inputs, outputs, n);
    samplesSinceUpdate.fetch_add(n, std::memory_order_relaxed);
}

void PlugBase::storeNorm(int32_t index, float norm) noexcept {
    ParamRow& row = table[index];
    // A row back at its default holds the exact default value, as a fresh
    // instance does, rather than one the curve rounds: a restored state then
    // sounds exactly like the session it came from.
    const ParamRow& factory = staticParamTable()[index];
    const bool atDefault = norm == factory.norm && row.min == factory.min && row.max == factory.max;
    const float value = atDefault ? factory.value : float(curveToReal(row, norm));
    // The engine update reads rows from the timer and worker threads.
    std::atomic_ref<float>(row.norm).store(norm, std::memory_order_relaxed);
    std::atomic_ref<float>(row.value).store(value, std::memory_order_relaxed);
    // The program number changes on the message thread while an audio-thread
    // write may be here: it is read as one atomic word, as the store reads
    // the slot number.
    records.storeValue(std::atomic_ref<int32_t>(curProgram).load(std::memory_order_relaxed), index, norm);
}

void PlugBase::setParameter(int32_t index, float norm) {
    if (std::isnan(norm)) return;  // a NaN from a host has no position on any curve
    if (index == abParameterIndex && isParamIndex(index) && !loadInProgress) {
        ParamRow& row = table[index];
        const int32_t slot = int32_t(curveToReal(row, norm));
        if (slot != records.currentSlot()) {
            // Read by updates on the timer and worker threads, as storeNorm's rows are.
            std::atomic_ref<float>(row.norm).store(norm, std::memory_order_relaxed);
            std::atomic_ref<float>(row.value).store(float(slot), std::memory_order_relaxed);
            switchABSlot(slot);
            notifyEditor(index, norm);
            return;
        }
    }
    if (isParamIndex(index)) {
        storeNorm(index, norm);
        refreshEngine(false);
    }
    if (!(loadInProgress && index == abParameterIndex)) notifyEditor(index, norm);
}

void PlugBase::switchABSlot(int32_t slot) {
    // Recalling a slot's values belongs to the A/B layer; the base only
    // records which slot is current, so that later writes land in it.
    if (slot >= 0 && slot < kNumABSlots) records.setCurrentSlot(slot);
}

float PlugBase::getParameter(int32_t index) {
    return isParamIndex(index) ? table[index].norm : 0.0f;
}

float PlugBase::getRealValue(int32_t index) {
    return isParamIndex(index) ? table[index].value : 0.0f;
}

float PlugBase::getDefaultNorm(int32_t index) {
    return isParamIndex(index) ? staticParamTable()[index].norm : 0.0f;
}

int32_t PlugBase::getParameterCurve(int32_t index) {
    return isParamIndex(index) ? table[index].curve : -1;
}

float PlugBase::getParameterMin(int32_t index) {
    return isParamIndex(index) ? table[index].min : 0.0f;
}

float PlugBase::getParameterMax(int32_t index) {
    return isParamIndex(index) ? table[index].max : 1.0f;
}

int32_t PlugBase::getParameterStepCount(int32_t index) {
    if (!isParamIndex(index)) return 0;
    const ParamRow& r = table[index];
    return curveStepCount(r.curve, r.min, r.max);
}

int32_t PlugBase::getParameterStepSize(int32_t index) {
    if (!isParamIndex(index)) return 1;
    switch (table[index].curve) {
        case kCurveSixes: return 6;
        case kCurveTwelves: return 12;
        default: return 1;
    }
}

float PlugBase::snapParameter(int32_t index, float x, bool fromNorm) {
    if (!isParamIndex(index)) return x;
    const ParamRow& r = table[index];
    if (r.curve != kCurveInt && r.curve != kCurveSixes && r.curve != kCurveTwelves) return x;
    if (!fromNorm) return float(curveToNorm(r, std::floor(r.min + (r.max - r.min) * double(x))));
    const double real = curveToReal(r, x);
    return float((real - r.min) / (double(r.max) - r.min));
}

bool PlugBase::isBoolParameter(int32_t index) {
    return table[index].curve == kCurveBool;  // callers pass table indices only
}

int32_t PlugBase::getParameterGroup(int32_t index) {
    return isParamIndex(index) ? table[index].group : 0;
}

void PlugBase::getParameterName(int32_t index, char* text) {
    if (!text || !isParamIndex(index)) return;
    std::snprintf(text, sizeof(ParamRow::name), "%s", table[index].name);
}

void PlugBase::setProgramName(char* name) {
    if (!name) return;
    records.setName(curProgram, name);
}

void PlugBase::getProgramName(char* name) {
    if (!name) return;
    std::snprintf(name, kProgramNameLength, "%s", records.program(curProgram).name);
}

void PlugBase::getParameterDisplay(int32_t index, char* text) {
    if (!text) return;
    formatCurrentParameter(index, text, false);
}

void PlugBase::formatCurrentParameter(int32_t index, char* text, bool musical) {
    if (!isParamIndex(index)) {
        text[0] = 0;
        return;
    }
    formatParameter(index, table[index].norm, text, musical);
}

void PlugBase::formatParameter(int32_t index, float norm, char* text, bool) {
    baseFormat(index, norm, text);
}

void PlugBase::baseFormat(int32_t index, float norm, char* text) {
    if (!isParamIndex(index)) {
        text[0] = 0;
        return;
    }
    const ParamRow& r = table[index];
    const double x = curveToReal(r, norm);
    if (r.curve == kCurveInt || r.curve == kCurveSixes || r.curve == kCurveTwelves) {
        std::snprintf(text, kParamTextSize, "%d %s", int32_t(x), r.unit);
    } else if (r.curve == kCurveBool) {
        std::snprintf(text, kParamTextSize, "%s", x < 0.5 ? "Off" : "On");
    } else if (std::strcmp(r.unit, "Hz") == 0) {
        if (x > 1000.0)
            std::snprintf(text, kParamTextSize, "%.1f kHz", x * 0.001);
        else
            std::snprintf(text, kParamTextSize, "%.0f Hz", x);
    } else if (std::strcmp(r.unit, "dB") == 0) {
        std::snprintf(text, kParamTextSize, "%.2f dB", x);
    } else if (std::strcmp(r.unit, "%") == 0) {
        std::snprintf(text, kParamTextSize, "%.0f %%", x);
    } else if (x < 999.995) {
        std::snprintf(text, kParamTextSize, "%.2f %s", x, r.unit);
    } else {
        std::snprintf(text, kParamTextSize, "%.0f %s", x, r.unit);
    }
}
