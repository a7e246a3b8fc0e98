#pragma once
// A small LV2 host on lilv, enough to load any plug-in of the system or of
// LV2_PATH, give it the features a plug-in of ours or of a peer asks for
// and run it block by block: URID map and unmap, options (sample rate,
// nominal and largest block), bounded block length, a log, and a worker that
// carries out scheduled work either inside run() or on a thread of its own.
// The integration tests of our bundle and the benchmark host both use it.
//
// Threads: one audio thread calls run(); the worker thread (when threaded)
// calls the plug-in's work(). Everything else is the control thread's, and
// only between blocks.

#include <lilv/lilv.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace lv2host {

// URIs to numbers and back; any thread. A number, once given, stays.
class UridMap {
public:
    UridMap();
    UridMap(const UridMap&) = delete;
    UridMap& operator=(const UridMap&) = delete;

    LV2_URID map(const char* uri);
    const char* unmap(LV2_URID urid);
    LV2_URID_Map* mapFeature() { return &mapData; }
    LV2_URID_Unmap* unmapFeature() { return &unmapData; }

private:
    std::mutex lock;
    std::unordered_map<std::string, LV2_URID> ids;
    std::deque<std::string> uris;  // uris[id - 1]; a deque keeps the texts in place
    LV2_URID_Map mapData;
    LV2_URID_Unmap unmapData;
};

// Messages the plug-in logs: errors and warnings go to standard error as
// well unless quiet; all of them are kept for a test to read.
class Log {
public:
    explicit Log(UridMap& urids);
    LV2_Log_Log* feature() { return &logData; }
    void setQuiet(bool q) { quiet = q; }
    // Error messages so far.
    std::vector<std::string> errors();

private:
    static int vprintfEntry(LV2_Log_Handle handle, LV2_URID type, const char* format, va_list args);
    static int printfEntry(LV2_Log_Handle handle, LV2_URID type, const char* format, ...);

    LV2_URID errorType, warningType;
    bool quiet = false;
    std::mutex lock;
    std::vector<std::string> errorTexts;
    LV2_Log_Log logData;
};

enum class WorkMode {
    kSynchronous,  // work() runs inside the schedule call, on the audio thread
    kThreaded,     // work() runs on the worker thread
};

// The host side of the worker extension for one instance.
class Worker {
public:
    explicit Worker(WorkMode mode);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    LV2_Worker_Schedule* feature() { return &scheduleData; }
    // After instantiation: the plug-in's interface (null when it has none).
    void attach(LV2_Handle handle, const LV2_Worker_Interface* interface);
    // Audio thread, after run(): hands the responses over and ends the run.
    void deliverResponses();
    // Control thread: true when no request waits or is being worked on.
    bool idle();
    // Stops the thread; later requests are refused.
    void stop();

private:
    static LV2_Worker_Status scheduleEntry(LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data);
    static LV2_Worker_Status respondEntry(LV2_Worker_Respond_Handle handle, uint32_t size, const void* data);
    void loop();

    const WorkMode mode;
    LV2_Handle plugin = nullptr;
    const LV2_Worker_Interface* iface = nullptr;
    LV2_Worker_Schedule scheduleData;

    std::mutex lock;
    std::condition_variable wake;
    std::deque<std::vector<uint8_t>> requests;
    std::deque<std::vector<uint8_t>> responses;
    std::vector<std::vector<uint8_t>> delivering;  // the audio thread's copy
    bool busy = false;
    bool stopping = false;
    std::thread thread;
};

// The plug-ins lilv finds on this system and in LV2_PATH, with the URID map
// all instances share.
class World {
public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    LilvWorld* get() { return world; }
    // The plug-in of this URI, or nullptr when none is installed.
    const LilvPlugin* plugin(const std::string& uri) const;
    UridMap& urids() { return map; }
    // A URI node the world keeps until it goes.
    const LilvNode* node(const char* uri);

private:
    LilvWorld* world;
    UridMap map;
    std::unordered_map<std::string, LilvNode*> nodes;
};

struct HostSetup {
    double sampleRate = 48000.0;
    int32_t nominalBlock = 1024;
    int32_t maxBlock = 1024;
    WorkMode work = WorkMode::kThreaded;
    bool offerWorker = true;  // false: no work:schedule among the features
    bool quietLog = false;
};

// One instance with every port connected: control ports to values of their
// own (set to the defaults), atom inputs to event sequences the host fills,
// atom outputs to buffers, audio ports to whatever connectAudio gives.
class Instance {
public:
    // Throws std::runtime_error when the plug-in cannot be instantiated.
    Instance(World& world, const LilvPlugin* plugin, const HostSetup& setup);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    const LilvPlugin* plugin() const { return lilvPlugin; }
    LilvInstance* raw() { return instance; }
    // The index of the port with this symbol, -1 for none.
    int32_t portIndex(const std::string& symbol) const;

    // The value slot of a control port (input or output).
    float& control(uint32_t port) { return values[port]; }
    // Sets a control input by symbol; false when there is no such port.
    bool setControl(const std::string& symbol, float value);

    const std::vector<uint32_t>& audioInputs() const { return audioIn; }
    const std::vector<uint32_t>& audioOutputs() const { return audioOut; }
    // Connects the audio ports in port order; nullptr entries leave a port as it is.
    void connectAudio(float* const* inputs, float* const* outputs);

    void activate();
    void deactivate();
    // One block: run(), worker responses delivered, atom buffers made ready
    // for the next. With `nanoseconds`, the time of the run() call alone is
    // added to it.
    void run(uint32_t frames, int64_t* nanoseconds = nullptr);
    // The value of the lv2:reportsLatency output, -1 when there is none.
    int32_t latency() const;
    Worker& worker() { return *work; }
    // What this instance's plug-in wrote to the host's log.
    Log& log() { return *logger; }

private:
    struct AtomBuffer {
        uint32_t port;
        bool input;
        std::vector<uint64_t> storage;  // 8-byte aligned
    };
    void prepareAtoms();

    World& host;
    const LilvPlugin* lilvPlugin;
    std::unique_ptr<Log> logger;
    std::unique_ptr<Worker> work;
    LilvInstance* instance = nullptr;
    bool active = false;

    std::vector<float> values;
    std::vector<std::string> symbols;
    std::vector<uint32_t> audioIn, audioOut;
    std::vector<AtomBuffer> atoms;
    std::vector<std::vector<float>> cvBuffers;
    int32_t latencyPort = -1;
    LV2_URID sequenceType, chunkType, frameTime;

    // Feature data; alive as long as the instance.
    int32_t nominalBlock, maxBlock, minBlock;
    float rate;
    std::vector<LV2_Options_Option> options;
    std::vector<LV2_Feature> features;
    std::vector<const LV2_Feature*> featureList;
};

}  // namespace lv2host
