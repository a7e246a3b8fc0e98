#pragma once
// One timer for the whole process: a thread that ticks every 10 ms and calls
// idle() of every instance that has joined. Instances join at construction
// and leave at destruction; the list is guarded by its own lock, which is
// held during a tick, so an instance that has left is never called again
// (and an idle must not join or leave).

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

class TimerClient {
public:
    virtual ~TimerClient() = default;
    // Timer thread, every tick.
    virtual void idle() = 0;
};

class SharedTimer {
public:
    static constexpr int32_t kTickMs = 10;

    static SharedTimer& instance();

    // The timer runs while the list is not empty.
    void join(TimerClient* client);
    void leave(TimerClient* client);
    // Any thread but the timer's own (an idle would wait for itself): returns
    // once a tick in progress has ended, so that whatever its idle calls
    // wrote is seen by the caller.
    void waitForTick();

private:
    SharedTimer() = default;
    ~SharedTimer();
    void tickLoop(uint64_t generation);
    void stopLocked(std::unique_lock<std::mutex>& held);

    std::mutex listLock;
    std::condition_variable wake;
    std::vector<TimerClient*> clients;
    std::thread ticker;
    // Each ticker runs while the generation it was started with is current.
    uint64_t generation = 0;
};
