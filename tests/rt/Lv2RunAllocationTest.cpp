// The LV2 plug-in's run() in real time never allocates or frees memory:
// control ports move every block and MIDI arrives while the host's worker
// redesigns the bands between blocks. Only run() is counted.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "formats/lv2plugin/Lv2TestHost.h"
#include "rt/CountingAllocator.h"

TEST(Lv2AudioThread, RunNeverAllocatesWhilePortsMoveAndMidiArrives) {
    Lv2TestHost host({2, 48000.0, true, true});  // a real-time host with a worker
    ASSERT_NE(host.handle, nullptr);
    host.activate();
    constexpr uint32_t kBlock = 256;
    host.in = {std::vector<float>(kBlock, 0.1f), std::vector<float>(kBlock, -0.1f)};
    for (int32_t i = 0; i < 4; ++i) host.run(kBlock);  // the first blocks set up the buffers
    audioAllocations = 0;

    std::mt19937 gen(9);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int32_t i = 0; i < 600; ++i) {
        const int32_t band = i % kNumBands;
        for (int32_t field : {kFieldState, kFieldGain, kFieldFrequency, kFieldQ}) {
            const int32_t index = bandParam(band, field);
            host.param(index) = rowValueAt(index, unit(gen));
        }
        if (i % 50 == 0) host.param(kDPlusLen) = rowValueAt(kDPlusLen, unit(gen));
        if (i % 7 == 0) host.addMidi(i % kBlock, 0x90, uint8_t(48 + i % 24), 100);
        countingHere = true;
        host.run(kBlock);
        countingHere = false;
        if (i % 3 == 0) host.doWork();
    }
    EXPECT_EQ(audioAllocations.load(), 0);
}
