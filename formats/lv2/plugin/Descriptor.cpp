// The binary's one exported symbol: lv2_descriptor, with one plug-in per
// standard channel layout (index 0..7 = 1..8 channels). Every entry point
// checks what the host passes and keeps exceptions from crossing into C.

#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/worker/worker.h>

#include <array>
#include <cstring>
#include <string>

#include "formats/lv2/PortLayout.h"
#include "formats/lv2/plugin/PluginInstance.h"

namespace {

using fwlv2::PluginInstance;

PluginInstance* instanceOf(LV2_Handle handle) {
    return static_cast<PluginInstance*>(handle);
}

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundlePath,
                       const LV2_Feature* const* features) {
    (void)bundlePath;
    return PluginInstance::create(descriptor ? descriptor->URI : nullptr, rate, features);
}

// Audio thread (connect_port may also come from the instantiation thread).
void connectPort(LV2_Handle handle, uint32_t port, void* data) {
    if (PluginInstance* self = instanceOf(handle)) self->connectPort(port, data);
}

void activate(LV2_Handle handle) {
    PluginInstance* self = instanceOf(handle);
    if (!self) return;
    try {
        self->activate();
    } catch (...) {
        // The effect then runs with what it had; nothing better is left to do.
    }
}

// Audio thread: no allocation, no locks.
void run(LV2_Handle handle, uint32_t frames) {
    if (PluginInstance* self = instanceOf(handle)) self->run(frames);
}

void deactivate(LV2_Handle handle) {
    if (PluginInstance* self = instanceOf(handle)) self->deactivate();
}

void cleanup(LV2_Handle handle) {
    delete instanceOf(handle);
}

LV2_State_Status saveState(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t,
                           const LV2_Feature* const*) {
    PluginInstance* self = instanceOf(handle);
    if (!self) return LV2_STATE_ERR_UNKNOWN;
    try {
        return self->save(store, state);
    } catch (...) {
        return LV2_STATE_ERR_UNKNOWN;
    }
}

LV2_State_Status restoreState(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                              uint32_t, const LV2_Feature* const*) {
    PluginInstance* self = instanceOf(handle);
    if (!self) return LV2_STATE_ERR_UNKNOWN;
    try {
        return self->restore(retrieve, state);
    } catch (...) {
        return LV2_STATE_ERR_UNKNOWN;
    }
}

// The host's worker thread. Every request means the same: apply what waits.
LV2_Worker_Status work(LV2_Handle handle, LV2_Worker_Respond_Function, LV2_Worker_Respond_Handle, uint32_t,
                       const void*) {
    PluginInstance* self = instanceOf(handle);
    return self ? self->work() : LV2_WORKER_ERR_UNKNOWN;
}

// Audio thread: the worker sends no responses.
LV2_Worker_Status workResponse(LV2_Handle, uint32_t, const void*) {
    return LV2_WORKER_SUCCESS;
}

const void* extensionData(const char* uri) {
    static const LV2_State_Interface state = {saveState, restoreState};
    static const LV2_Worker_Interface worker = {work, workResponse, nullptr};
    if (!uri) return nullptr;
    if (std::strcmp(uri, LV2_STATE__interface) == 0) return &state;
    if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &worker;
    return nullptr;
}

struct DescriptorTable {
    std::array<std::string, lv2ports::kLayoutCount> uris;
    std::array<LV2_Descriptor, lv2ports::kLayoutCount> descriptors;

    DescriptorTable() {
        for (int32_t i = 0; i < lv2ports::kLayoutCount; ++i) {
            uris[size_t(i)] = lv2ports::pluginUri(i + 1);
            descriptors[size_t(i)] = LV2_Descriptor{uris[size_t(i)].c_str(), instantiate, connectPort, activate,
                                                    run, deactivate, cleanup, extensionData};
        }
    }
};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    static const DescriptorTable table;
    return index < uint32_t(lv2ports::kLayoutCount) ? &table.descriptors[index] : nullptr;
}
