#include "Lv2Host.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/parameters/parameters.h>

#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace lv2host {

namespace {

constexpr size_t kAtomBufferBytes = 16384;

}  // namespace

// ---------------------------------------------------------------------------
// UridMap

UridMap::UridMap() {
    mapData.handle = this;
    mapData.map = [](LV2_URID_Map_Handle h, const char* uri) { return static_cast<UridMap*>(h)->map(uri); };
    unmapData.handle = this;
    unmapData.unmap = [](LV2_URID_Unmap_Handle h, LV2_URID id) { return static_cast<UridMap*>(h)->unmap(id); };
}

LV2_URID UridMap::map(const char* uri) {
    if (uri == nullptr) return 0;
    std::lock_guard<std::mutex> held(lock);
    const auto found = ids.find(uri);
    if (found != ids.end()) return found->second;
    uris.emplace_back(uri);
    const auto id = LV2_URID(uris.size());
    ids.emplace(uris.back(), id);
    return id;
}

const char* UridMap::unmap(LV2_URID urid) {
    std::lock_guard<std::mutex> held(lock);
    return (urid >= 1 && urid <= uris.size()) ? uris[urid - 1].c_str() : nullptr;
}

// ---------------------------------------------------------------------------
// Log

Log::Log(UridMap& urids)
    : errorType(urids.map(LV2_LOG__Error)), warningType(urids.map(LV2_LOG__Warning)) {
    logData.handle = this;
    logData.printf = &Log::printfEntry;
    logData.vprintf = &Log::vprintfEntry;
}

int Log::vprintfEntry(LV2_Log_Handle handle, LV2_URID type, const char* format, va_list args) {
    auto* self = static_cast<Log*>(handle);
    char text[1024];
    const int n = std::vsnprintf(text, sizeof text, format, args);
    if (type == self->errorType || type == self->warningType) {
        if (!self->quiet) std::fprintf(stderr, "plug-in %s: %s", type == self->errorType ? "error" : "warning", text);
        if (type == self->errorType) {
            std::lock_guard<std::mutex> held(self->lock);
            self->errorTexts.emplace_back(text);
        }
    }
    return n;
}

int Log::printfEntry(LV2_Log_Handle handle, LV2_URID type, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = vprintfEntry(handle, type, format, args);
    va_end(args);
    return n;
}

std::vector<std::string> Log::errors() {
    std::lock_guard<std::mutex> held(lock);
    return errorTexts;
}

// ---------------------------------------------------------------------------
// Worker

Worker::Worker(WorkMode m) : mode(m) {
    scheduleData.handle = this;
    scheduleData.schedule_work = &Worker::scheduleEntry;
    if (mode == WorkMode::kThreaded) thread = std::thread([this] { loop(); });
}

Worker::~Worker() { stop(); }

void Worker::attach(LV2_Handle handle, const LV2_Worker_Interface* interface) {
    std::lock_guard<std::mutex> held(lock);
    plugin = handle;
    iface = interface;
}

void Worker::stop() {
    {
        std::lock_guard<std::mutex> held(lock);
        stopping = true;
    }
    wake.notify_all();
    if (thread.joinable()) thread.join();
}

LV2_Worker_Status Worker::scheduleEntry(LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data) {
    auto* self = static_cast<Worker*>(handle);
    const auto* bytes = static_cast<const uint8_t*>(data);
    std::unique_lock<std::mutex> held(self->lock);
    if (self->iface == nullptr || self->iface->work == nullptr || self->stopping) return LV2_WORKER_ERR_UNKNOWN;
    if (self->mode == WorkMode::kSynchronous) {
        const LV2_Worker_Interface* interface = self->iface;
        LV2_Handle plugin = self->plugin;
        held.unlock();
        return interface->work(plugin, &Worker::respondEntry, self, size, data);
    }
    self->requests.emplace_back(bytes, bytes + size);
    held.unlock();
    self->wake.notify_one();
    return LV2_WORKER_SUCCESS;
}

LV2_Worker_Status Worker::respondEntry(LV2_Worker_Respond_Handle handle, uint32_t size, const void* data) {
    auto* self = static_cast<Worker*>(handle);
    const auto* bytes = static_cast<const uint8_t*>(data);
    std::lock_guard<std::mutex> held(self->lock);
    self->responses.emplace_back(bytes, bytes + size);
    return LV2_WORKER_SUCCESS;
}

void Worker::loop() {
    std::unique_lock<std::mutex> held(lock);
    for (;;) {
        wake.wait(held, [this] { return stopping || !requests.empty(); });
        if (stopping) return;
        std::vector<uint8_t> request = std::move(requests.front());
        requests.pop_front();
        busy = true;
        const LV2_Worker_Interface* interface = iface;
        LV2_Handle handle = plugin;
        held.unlock();
        interface->work(handle, &Worker::respondEntry, this, uint32_t(request.size()), request.data());
        held.lock();
        busy = false;
    }
}

void Worker::deliverResponses() {
    const LV2_Worker_Interface* interface;
    {
        std::lock_guard<std::mutex> held(lock);
        interface = iface;
        delivering.clear();
        while (!responses.empty()) {
            delivering.push_back(std::move(responses.front()));
            responses.pop_front();
        }
    }
    if (interface == nullptr) return;
    if (interface->work_response)
        for (const std::vector<uint8_t>& r : delivering) interface->work_response(plugin, uint32_t(r.size()), r.data());
    if (interface->end_run) interface->end_run(plugin);
}

bool Worker::idle() {
    std::lock_guard<std::mutex> held(lock);
    return requests.empty() && responses.empty() && !busy;
}

// ---------------------------------------------------------------------------
// World

World::World() : world(lilv_world_new()) {
    if (world == nullptr) throw std::runtime_error("lilv cannot make a world");
    lilv_world_load_all(world);
}

World::~World() {
    for (auto& entry : nodes) lilv_node_free(entry.second);
    lilv_world_free(world);
}

const LilvPlugin* World::plugin(const std::string& uri) const {
    LilvNode* name = lilv_new_uri(world, uri.c_str());
    const LilvPlugin* found = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), name);
    lilv_node_free(name);
    return found;
}

const LilvNode* World::node(const char* uri) {
    const auto found = nodes.find(uri);
    if (found != nodes.end()) return found->second;
    LilvNode* made = lilv_new_uri(world, uri);
    nodes.emplace(uri, made);
    return made;
}

// ---------------------------------------------------------------------------
// Instance

Instance::Instance(World& w, const LilvPlugin* p, const HostSetup& setup)
    : host(w), lilvPlugin(p) {
    if (lilvPlugin == nullptr) throw std::runtime_error("no plug-in to instantiate");
    UridMap& urids = host.urids();
    sequenceType = urids.map(LV2_ATOM__Sequence);
    chunkType = urids.map(LV2_ATOM__Chunk);
    frameTime = urids.map(LV2_ATOM__frameTime);

    logger = std::make_unique<Log>(urids);
    logger->setQuiet(setup.quietLog);
    work = std::make_unique<Worker>(setup.work);

    rate = float(setup.sampleRate);
    nominalBlock = setup.nominalBlock;
    maxBlock = setup.maxBlock;
    minBlock = 1;
    const LV2_URID intType = urids.map(LV2_ATOM__Int);
    const LV2_URID floatType = urids.map(LV2_ATOM__Float);
    options = {
        {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_PARAMETERS__sampleRate), sizeof(float), floatType, &rate},
        {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_BUF_SIZE__nominalBlockLength), sizeof(int32_t), intType,
         &nominalBlock},
        {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_BUF_SIZE__maxBlockLength), sizeof(int32_t), intType, &maxBlock},
        {LV2_OPTIONS_INSTANCE, 0, urids.map(LV2_BUF_SIZE__minBlockLength), sizeof(int32_t), intType, &minBlock},
        {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr},
    };
    features = {
        {LV2_URID__map, urids.mapFeature()},
        {LV2_URID__unmap, urids.unmapFeature()},
        {LV2_OPTIONS__options, options.data()},
        {LV2_BUF_SIZE__boundedBlockLength, nullptr},
        {LV2_LOG__log, logger->feature()},
    };
    if (setup.offerWorker) features.push_back({LV2_WORKER__schedule, work->feature()});
    for (const LV2_Feature& f : features) featureList.push_back(&f);
    featureList.push_back(nullptr);

    // Ports: control values start at the defaults.
    const uint32_t n = lilv_plugin_get_num_ports(lilvPlugin);
    values.assign(n, 0.0f);
    std::vector<float> defaults(n);
    lilv_plugin_get_port_ranges_float(lilvPlugin, nullptr, nullptr, defaults.data());
    const LilvNode* audioClass = host.node(LV2_CORE__AudioPort);
    const LilvNode* controlClass = host.node(LV2_CORE__ControlPort);
    const LilvNode* atomClass = host.node(LV2_ATOM__AtomPort);
    const LilvNode* inputClass = host.node(LV2_CORE__InputPort);
    for (uint32_t i = 0; i < n; ++i) {
        const LilvPort* port = lilv_plugin_get_port_by_index(lilvPlugin, i);
        symbols.emplace_back(lilv_node_as_string(lilv_port_get_symbol(lilvPlugin, port)));
        const bool input = lilv_port_is_a(lilvPlugin, port, inputClass);
        if (lilv_port_is_a(lilvPlugin, port, controlClass)) {
            values[i] = std::isnan(defaults[i]) ? 0.0f : defaults[i];
        } else if (lilv_port_is_a(lilvPlugin, port, audioClass)) {
            (input ? audioIn : audioOut).push_back(i);
        } else if (lilv_port_is_a(lilvPlugin, port, atomClass)) {
            AtomBuffer buffer;
            buffer.port = i;
            buffer.input = input;
            buffer.storage.assign(kAtomBufferBytes / sizeof(uint64_t), 0);
            atoms.push_back(std::move(buffer));
        }
    }
    if (lilv_plugin_has_latency(lilvPlugin)) latencyPort = int32_t(lilv_plugin_get_latency_port_index(lilvPlugin));

    instance = lilv_plugin_instantiate(lilvPlugin, setup.sampleRate, featureList.data());
    if (instance == nullptr) {
        std::string why = "cannot instantiate ";
        why.append(lilv_node_as_uri(lilv_plugin_get_uri(lilvPlugin)));
        throw std::runtime_error(why);
    }
    work->attach(lilv_instance_get_handle(instance), static_cast<const LV2_Worker_Interface*>(
                                                         lilv_instance_get_extension_data(instance, LV2_WORKER__interface)));

    const LilvNode* cvClass = host.node(LV2_CORE__CVPort);
    for (uint32_t i = 0; i < n; ++i) {
        const LilvPort* port = lilv_plugin_get_port_by_index(lilvPlugin, i);
        if (lilv_port_is_a(lilvPlugin, port, controlClass)) {
            lilv_instance_connect_port(instance, i, &values[i]);
        } else if (lilv_port_is_a(lilvPlugin, port, cvClass)) {
            // Not used by any plug-in we run; a port of silence all the same.
            cvBuffers.emplace_back(size_t(maxBlock), 0.0f);
            lilv_instance_connect_port(instance, i, cvBuffers.back().data());
        } else if (!lilv_port_is_a(lilvPlugin, port, audioClass) && !lilv_port_is_a(lilvPlugin, port, atomClass)) {
            lilv_instance_connect_port(instance, i, nullptr);
        }
    }
    for (AtomBuffer& a : atoms) lilv_instance_connect_port(instance, a.port, a.storage.data());
    prepareAtoms();
}

Instance::~Instance() {
    if (active) deactivate();
    // The worker goes first so no work() runs into a freed instance.
    work->stop();
    if (instance) lilv_instance_free(instance);
}

int32_t Instance::portIndex(const std::string& symbol) const {
    for (size_t i = 0; i < symbols.size(); ++i)
        if (symbols[i] == symbol) return int32_t(i);
    return -1;
}

bool Instance::setControl(const std::string& symbol, float value) {
    const int32_t i = portIndex(symbol);
    if (i < 0) return false;
    values[size_t(i)] = value;
    return true;
}

void Instance::connectAudio(float* const* inputs, float* const* outputs) {
    for (size_t c = 0; c < audioIn.size(); ++c)
        if (inputs && inputs[c]) lilv_instance_connect_port(instance, audioIn[c], inputs[c]);
    for (size_t c = 0; c < audioOut.size(); ++c)
        if (outputs && outputs[c]) lilv_instance_connect_port(instance, audioOut[c], outputs[c]);
}

void Instance::prepareAtoms() {
    for (AtomBuffer& a : atoms) {
        auto* atom = reinterpret_cast<LV2_Atom*>(a.storage.data());
        if (a.input) {
            auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(atom);
            sequence->atom.type = sequenceType;
            sequence->atom.size = sizeof(LV2_Atom_Sequence_Body);
            sequence->body.unit = frameTime;
            sequence->body.pad = 0;
        } else {
            atom->type = chunkType;
            atom->size = uint32_t(a.storage.size() * sizeof(uint64_t) - sizeof(LV2_Atom));
        }
    }
}

void Instance::activate() {
    if (active) return;
    lilv_instance_activate(instance);
    active = true;
}

void Instance::deactivate() {
    if (!active) return;
    lilv_instance_deactivate(instance);
    active = false;
}

void Instance::run(uint32_t frames, int64_t* nanoseconds) {
    if (nanoseconds) {
        const auto start = std::chrono::steady_clock::now();
        lilv_instance_run(instance, frames);
        const auto end = std::chrono::steady_clock::now();
        *nanoseconds += std::chrono::duration_cast<std::chrono::nanoseconds>(end - start).count();
    } else {
        lilv_instance_run(instance, frames);
    }
    work->deliverResponses();
    prepareAtoms();
}

int32_t Instance::latency() const {
    return latencyPort < 0 ? -1 : int32_t(std::lround(values[size_t(latencyPort)]));
}

}  // namespace lv2host
