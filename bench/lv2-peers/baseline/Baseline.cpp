// The benchmark's host baseline: a stereo plug-in that only copies its input
// to its output, so its time is what the host and the run() call cost.

#include <lv2/core/lv2.h>

#include <cstdint>
#include <cstring>
#include <new>

namespace {

struct Copy {
    const float* in[2] = {nullptr, nullptr};
    float* out[2] = {nullptr, nullptr};
};

LV2_Handle instantiate(const LV2_Descriptor*, double, const char*, const LV2_Feature* const*) {
    return new (std::nothrow) Copy;
}

void connect(LV2_Handle handle, uint32_t port, void* data) {
    auto* self = static_cast<Copy*>(handle);
    if (port < 2) self->in[port] = static_cast<const float*>(data);
    else if (port < 4) self->out[port - 2] = static_cast<float*>(data);
}

void run(LV2_Handle handle, uint32_t frames) {
    auto* self = static_cast<Copy*>(handle);
    for (int c = 0; c < 2; ++c)
        if (self->in[c] != self->out[c]) std::memcpy(self->out[c], self->in[c], frames * sizeof(float));
}

void cleanup(LV2_Handle handle) { delete static_cast<Copy*>(handle); }

const LV2_Descriptor kDescriptor = {
    "urn:kestrawn:fenwoldrine-bench:copy", instantiate, connect, nullptr, run, nullptr, cleanup, nullptr,
};

}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    return index == 0 ? &kDescriptor : nullptr;
}
