// MIDI moves the curve: a note or a pitch bend multiplies the frequency of
// every band, so a set of resonances can follow a melody.

#include <cmath>

#include "core/Plug.h"

namespace {

constexpr int32_t kMiddleC = 60;  // the key that shifts nothing
constexpr int32_t kLowestKey = 12;
constexpr int32_t kHighestKey = 108;
constexpr int32_t kBendCentre = 8192;

}  // namespace

bool Plug::takePitchMessage(uint8_t status, uint8_t d1, uint8_t d2) noexcept {
    const double before = noteFactor * bendFactor;
    if (status >= 0x80 && status <= 0x9F) {
        // Note on with a velocity: the key sets the factor; a note off
        // leaves the last note in force.
        if ((status & 0x10) == 0 || d2 == 0 || d1 < kLowestKey || d1 > kHighestKey) return false;
        noteFactor = std::pow(2.0, (int32_t(d1) - kMiddleC) / 12.0);
    } else if (status >= 0xE0 && status <= 0xEF) {
        const int32_t bend = (d2 & 0x7F) * 128 + (d1 & 0x7F);
        bendFactor = std::pow(2.0, (bend - kBendCentre) * midiBendRange / kBendCentre);
    } else {
        return false;
    }
    const double total = noteFactor * bendFactor;
    if (total == before || float(total) == -1.0f) return false;
    pitchFactor.store(double(float(total)), std::memory_order_relaxed);
    return true;
}

int32_t Plug::processEvents(VstEvents* events) {
    if (!midiInput || events == nullptr) return 1;
    for (int32_t k = 0; k < events->numEvents; ++k) {
        const VstEvent* event = events->events[k];
        if (event == nullptr || event->type != kVstMidiType) continue;
        const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
        if (!takePitchMessage(uint8_t(midi->midiData[0]), uint8_t(midi->midiData[1]), uint8_t(midi->midiData[2])))
            continue;
        // The change takes the normal way: a poke of the shift row, whose
        // end forces the update that multiplies the new factor in.
        beginEdit(kFShift);
        setParameterAutomated(kFShift, getParameter(kFShift));
        endEdit(kFShift);
    }
    return 1;
}

// Audio thread: no allocation, no locks. The editor re-shows the shifted
// rows as the poke of the shift row makes it do; the update waits for
// applyAudioWrites, forced as the end of that poke forces it.
void Plug::midiFromAudio(uint8_t status, uint8_t d1, uint8_t d2) noexcept {
    if (!midiInput || !takePitchMessage(status, d1, d2)) return;
    forcedRefreshPending.store(true);
    refreshPending.store(true);
    notifyEditor(kFShift, std::atomic_ref<float>(table[kFShift].norm).load(std::memory_order_relaxed));
    notifyScaledRows(kFShift);
}
