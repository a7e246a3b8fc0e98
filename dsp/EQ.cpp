#include "dsp/EQ.h"

#include "dsp/SubtypeNames.h"

namespace {

// Stores value into field and reports whether it changed.
template <typename T>
bool assign(T& field, T value) {
    if (field == value) return false;
    field = value;
    return true;
}

}  // namespace

void EQ::setSampleRate(float rate) {
    if (assign(sampleRate, rate)) dirty = 1;
    clearState();
}

bool EQ::setState(int32_t value) {
    const bool changed = assign(shape.state, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setType(int32_t value) {
    const int32_t old = shape.type;
    const bool changed = assign(shape.type, value);
    if (changed) previousType = old;
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setSubtype(int32_t value) {
    const bool changed = assign(shape.subtype, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setFrequency(float value) {
    const bool changed = assign(shape.frequency, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setSlope(int32_t value) {
    const bool changed = assign(shape.slope, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setGain(float value) {
    const bool changed = assign(shape.gain, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setQ(float value) {
    const bool changed = assign(shape.q, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setShift(float value) {
    const bool changed = assign(shape.shift, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setPhase(float value) {
    const bool changed = assign(shape.phase, value);
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setParallel(bool value) {
    const bool changed = parallel.exchange(value) != value;
    dirty |= uint8_t(changed);
    return changed;
}

bool EQ::setShape(const BandShape& s) {
    bool changed = setState(s.state);
    changed |= setType(s.type);
    changed |= setSubtype(s.subtype);
    changed |= setFrequency(s.frequency);
    changed |= setSlope(s.slope);
    changed |= setGain(s.gain);
    changed |= setQ(s.q);
    changed |= setShift(s.shift);
    changed |= setPhase(s.phase);
    return changed;
}

void EQ::design(SectionSet* out, bool ignoreState) {
    if (!out) return;
    designBand(shape, ignoreState, &sections);
    *out = sections;
}

double EQ::displayQ() const { return displayQOf(shape); }

int32_t EQ::controlMask(bool usePreviousType) const {
    return controlMaskOf(usePreviousType ? previousType : shape.type, shape.subtype);
}

const char* EQ::shiftLabel(bool usePreviousType) const {
    return shiftLabelOf(usePreviousType ? previousType : shape.type, shape.subtype);
}

const char* const* EQ::subtypeNames(int32_t type, int32_t* count) { return bandSubtypeNames(type, count); }
