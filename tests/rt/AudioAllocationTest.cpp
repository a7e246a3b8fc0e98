// The audio thread never allocates or frees memory once its buffers exist:
// every operator new and delete of this program is counted while the
// counting thread is inside a process call, with other threads writing
// parameters meanwhile. Latency and channel changes, which let the effect
// replace its buffers on the audio thread, are left out on purpose.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "TestHost.h"
#include "rt/CountingAllocator.h"

TEST(AudioThread, ProcessingNeverAllocatesWhileParametersChange) {
    // The counter itself: an allocation on a counting thread is seen.
    countingHere = true;
    ::operator delete(::operator new(sizeof(int)));  // called, so never elided
    countingHere = false;
    ASSERT_EQ(audioAllocations.exchange(0), 2);

    auto fx = makePlug(2);
    constexpr int32_t kBlock = 512;
    std::vector<float> left(kBlock, 0.1f), right(kBlock, -0.1f);
    float* io[2] = {left.data(), right.data()};
    fx->processReplacing(io, io, kBlock);  // the first block sets up the buffers

    std::atomic<bool> stop{false};
    std::thread audio([&] {
        countingHere = true;
        while (!stop) fx->processReplacing(io, io, kBlock);
        countingHere = false;
    });
    std::mt19937 gen(5);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    for (int32_t i = 0; std::chrono::steady_clock::now() < deadline; ++i) {
        const int32_t band = i % kNumBands;
        fx->setParameter(bandParam(band, kFieldState), 1.0f);
        fx->setParameter(bandParam(band, kFieldGain), unit(gen));
        fx->setParameter(bandParam(band, kFieldFrequency), unit(gen));
        fx->setParameter(bandParam(band, kFieldType), unit(gen));
        if (i % 10 == 0) {
            fx->setParameter(kParallel, unit(gen));
            fx->setParameter(kMsState, unit(gen));
            fx->setParameter(kDPlusLen, unit(gen));
            fx->setParameter(kChannel2Solo, float(i % 20 == 0));
            fx->refreshEngine(true);
        }
        fx->idle();
    }
    stop = true;
    audio.join();
    EXPECT_EQ(audioAllocations.load(), 0);
}
