#pragma once
// The worker of an instance: a thread that repeats workerStep() with a 10 ms
// sleep between steps until it is stopped. It carries out IR length changes
// and all FIR design, so neither the audio thread nor the caller's thread
// ever waits for them. Stopping waits for the step in progress to end.

#include <atomic>
#include <cstdint>
#include <thread>

class PlugBaseThread {
public:
    static constexpr int32_t kSleepMs = 10;

    PlugBaseThread() = default;
    virtual ~PlugBaseThread();
    PlugBaseThread(const PlugBaseThread&) = delete;
    PlugBaseThread& operator=(const PlugBaseThread&) = delete;

    // One round of the worker's duties.
    virtual void workerStep() = 0;
    // The thread body: workerStep, sleep, until the stop flag is set.
    virtual void run();

    // Control thread. Starting a running worker does nothing; stopping waits
    // without limit for the thread to leave.
    void startThread();
    void stopThread();

private:
    std::atomic<bool> stopFlag{false};
    int32_t sleepMs = kSleepMs;
    std::thread worker;
};
