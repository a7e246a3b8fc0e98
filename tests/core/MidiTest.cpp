// MIDI notes and pitch bends move the whole curve.

#include <gtest/gtest.h>

#include <cmath>

#include "TestHost.h"
#include "session/PlugEd.h"

namespace {

void send(Plug& fx, uint8_t status, uint8_t d1, uint8_t d2) {
    VstMidiEvent midi;
    midi.midiData[0] = char(status);
    midi.midiData[1] = char(d1);
    midi.midiData[2] = char(d2);
    VstEvents list;
    list.numEvents = 1;
    list.events[0] = reinterpret_cast<VstEvent*>(&midi);
    EXPECT_EQ(fx.processEvents(&list), 1);
}

std::unique_ptr<Plug> midiPlug(int32_t bendIndex = 2) {
    auto fx = makePlug(2);
    UISettingsTree& ui = fx->uiSettings();
    ui.setValue("Misc", "MIDI Input", 1);
    ui.setValue("Misc", "MIDI Bend Range", bendIndex);
    fx->reloadUISettings();
    setShown(*fx, bandParam(0, kFieldState), kBandOn);
    setShown(*fx, bandParam(0, kFieldFrequency), 1000.0);
    setShown(*fx, bandParam(1, kFieldState), kBandOn);
    setShown(*fx, bandParam(1, kFieldFrequency), 15000.0);
    settleEngine(*fx);
    return fx;
}

float bandHz(Plug& fx, int32_t b) {
    return fx.getBank().getBandAt(b, 0)->getFrequency();
}

}  // namespace

TEST(Midi, NotesMoveEveryBandByOctavesFromMiddleC) {
    auto fx = midiPlug();
    send(*fx, 0x90, 60, 100);  // middle C: no shift
    EXPECT_EQ(fx->getPitchFactor(), 1.0);
    EXPECT_NEAR(bandHz(*fx, 0), 1000.0f, 0.01f);
    send(*fx, 0x91, 72, 64);  // an octave up, any channel
    settleEngine(*fx);
    EXPECT_EQ(fx->getPitchFactor(), 2.0);
    EXPECT_NEAR(bandHz(*fx, 0), 2000.0f, 0.05f);
    EXPECT_NEAR(bandHz(*fx, 1), fx->getMaxFrequency(), 0.5f);  // clamped to the range
    send(*fx, 0x81, 72, 0);   // note off: the shift stays
    send(*fx, 0x90, 67, 0);   // note on at velocity 0: likewise
    send(*fx, 0x90, 5, 100);  // below key 12: ignored
    send(*fx, 0x90, 120, 100);  // above key 108: ignored
    EXPECT_EQ(fx->getPitchFactor(), 2.0);
    send(*fx, 0x90, 57, 100);  // A below middle C
    EXPECT_DOUBLE_EQ(fx->getPitchFactor(), double(float(std::pow(2.0, -3.0 / 12.0))));
}

TEST(Midi, PitchBendFollowsTheBendRange) {
    auto fx = midiPlug(11);  // "12": a full bend is an octave
    send(*fx, 0xE0, 0x7F, 0x7F);
    EXPECT_DOUBLE_EQ(fx->getPitchFactor(), double(float(std::pow(2.0, 8191.0 / 8192.0))));
    send(*fx, 0x90, 48, 90);  // the note multiplies in
    EXPECT_DOUBLE_EQ(fx->getPitchFactor(), double(float(std::pow(2.0, 8191.0 / 8192.0) * 0.5)));
    send(*fx, 0xE3, 0x00, 0x40);  // the centre
    EXPECT_DOUBLE_EQ(fx->getPitchFactor(), 0.5);

    auto wide = midiPlug(12);  // "24": two octaves
    send(*wide, 0xE0, 0x00, 0x00);
    EXPECT_DOUBLE_EQ(wide->getPitchFactor(), 0.25);
}

TEST(Midi, WithMidiInputOffEventsAreDropped) {
    auto fx = midiPlug();
    UISettingsTree& ui = fx->uiSettings();
    ui.setValue("Misc", "MIDI Input", 0);
    fx->reloadUISettings();
    send(*fx, 0x90, 72, 100);
    send(*fx, 0xE0, 0x7F, 0x7F);
    EXPECT_EQ(fx->getPitchFactor(), 1.0);
    // Other messages, a controller here, change nothing either.
    ui.setValue("Misc", "MIDI Input", 1);
    fx->reloadUISettings();
    send(*fx, 0xB0, 7, 100);
    EXPECT_EQ(fx->getPitchFactor(), 1.0);
    EXPECT_EQ(fx->processEvents(nullptr), 1);
}
