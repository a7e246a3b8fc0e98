#pragma once
// What several core tests feed an instance and take from it: seeded noise,
// a float run in host blocks, and the chunk the instance hands its host.

#include <algorithm>
#include <random>
#include <vector>

#include "TestHost.h"

using Buffers = std::vector<std::vector<float>>;

inline Buffers noise(int32_t channels, int32_t frames, uint32_t seed = 1, float amplitude = 0.5f) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> d(-amplitude, amplitude);
    Buffers b(size_t(channels), std::vector<float>(size_t(frames), 0.0f));
    for (auto& ch : b)
        for (float& x : ch) x = d(gen);
    return b;
}

// Runs `in` through the effect in host blocks of the given sizes, the last
// size repeating until the input is used up.
inline Buffers run(Plug& fx, const Buffers& in, std::vector<int32_t> blocks) {
    const int32_t frames = int32_t(in[0].size());
    Buffers out(in.size(), std::vector<float>(size_t(frames), 0.0f));
    size_t k = 0;
    for (int32_t at = 0; at < frames; at += blocks[k], k = std::min(k + 1, blocks.size() - 1)) {
        std::vector<float*> ip, op;
        for (size_t c = 0; c < in.size(); ++c) {
            ip.push_back(const_cast<float*>(in[c].data()) + at);
            op.push_back(out[c].data() + at);
        }
        fx.processReplacing(ip.data(), op.data(), std::min(blocks[k], frames - at));
    }
    return out;
}

inline Buffers run(Plug& fx, const Buffers& in, int32_t block) { return run(fx, in, std::vector<int32_t>{block}); }

inline std::vector<uint8_t> chunkOf(Plug& fx, bool preset = false) {
    void* data = nullptr;
    const int32_t size = fx.getChunk(&data, preset);
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}
