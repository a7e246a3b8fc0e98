#pragma once
// A host for tests: records what the effect sends and answers the process
// level it is told to.

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/Plug.h"
#include "session/PlugEd.h"

struct HostCall {
    int32_t opcode;
    int32_t index;
    intptr_t value;
    float opt;
};

// The effect may call back from its timer thread too (a latency change), so
// recording is locked; tests read `calls` once the effect is quiet.
class TestHost {
public:
    TestHost() { current().store(this); }
    ~TestHost() { current().store(nullptr); }

    static intptr_t callback(AEffect*, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
        TestHost* host = current().load();
        if (!host) return 0;
        {
            std::lock_guard<std::mutex> held(host->recording);
            host->calls.push_back({opcode, index, value, opt});
        }
        if (opcode == audioMasterGetCurrentProcessLevel) return host->processLevel;
        if (opcode == audioMasterGetProductString && ptr && host->product) {
            std::strcpy(static_cast<char*>(ptr), host->product);
            return 1;
        }
        return 0;
    }

    int32_t count(int32_t opcode) {
        std::lock_guard<std::mutex> held(recording);
        int32_t n = 0;
        for (const HostCall& c : calls) n += c.opcode == opcode;
        return n;
    }

    std::vector<HostCall> calls;
    std::atomic<int32_t> processLevel{kProcessLevelRealtime};
    const char* product = nullptr;

private:
    static std::atomic<TestHost*>& current() {
        static std::atomic<TestHost*> host{nullptr};
        return host;
    }
    std::mutex recording;
};

// Settings with one global setting chosen; every other key at its default.
class OneGlobalSetting : public SettingsAccess {
public:
    OneGlobalSetting(const char* name, int32_t value) : name(name), value(value) {}
    int32_t globalValue(const char* key) const override {
        return std::strcmp(key, name) == 0 ? value : StoredSettings().globalValue(key);
    }
    int32_t uiValue(const char* category, const char* key) const override {
        return StoredSettings().uiValue(category, key);
    }

private:
    const char* name;
    int32_t value;
};

// An effect with its editor object and `channels` inputs and outputs in
// the standard layout.
inline std::unique_ptr<Plug> makePlug(int32_t channels, EffectHostCallback host = nullptr) {
    return PlugEd::createInstance(channels, 48000.0f, host);
}

// Lets the engine catch up as a host's timer and the worker would: forces
// the update the timer would carry out (again while the worker designs
// and defers it), then waits for the worker. An update in a FIR
// mode hands work to the worker each time, so it is forced only while one
// is still deferred. FIR designs can take seconds on a loaded machine (CI
// compiling beside the tests): the wait goes by the clock, generously.
inline void settleEngine(Plug& fx) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    const auto pending = [&] { return fx.isRefreshPending() || fx.isWorkerPending(); };
    fx.refreshEngine(true);
    do {
        while (pending() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (fx.isRefreshPending()) fx.refreshEngine(true);
        }
        // The timer's idle clears the pending flag as its update begins:
        // the update may still be writing the bank. Once its tick has
        // ended, the bank is the test's to read (or the tick left more to do).
        SharedTimer::instance().waitForTick();
    } while (pending() && std::chrono::steady_clock::now() < deadline);
    fx.updateLatency();
}

// Takes the instance off the process-wide timer, so that nothing but the
// test itself runs its updates: for tests of when updates happen.
inline void detachFromTimer(Plug& fx) { SharedTimer::instance().leave(&fx); }

// Sets a parameter by the value it shows (dB, Hz, ...).
inline void setShown(Plug& fx, int32_t index, double shown) {
    fx.setParameter(index, float(fx.displayToNorm(index, shown)));
}

// Sets a parameter by its real value (a row's own unit: the type number, dB, Hz).
inline void setReal(Plug& fx, int32_t index, double real) {
    fx.setParameter(index, float(curveToNorm(*fx.getRow(index), real)));
}
