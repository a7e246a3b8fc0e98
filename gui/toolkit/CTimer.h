#pragma once
// Timers of the UI thread. They fire from CTimer::fireDue, which every
// frame's idle() calls, so a timer never fires on another thread or in
// the middle of a mouse call. A timer that is late fires once, not once
// per missed interval.

#include <cstdint>
#include <functional>

namespace VSTGUI {

class CTimer {
public:
    CTimer(uint32_t intervalMs, std::function<void()> callback);
    ~CTimer();
    CTimer(const CTimer&) = delete;
    CTimer& operator=(const CTimer&) = delete;

    void start();
    void stop();
    bool isRunning() const { return running; }
    void setInterval(uint32_t intervalMs);
    uint32_t getInterval() const { return interval; }

    // Fires every running timer whose time has come at `nowMs`.
    static void fireDue(uint64_t nowMs);

private:
    uint32_t interval;
    std::function<void()> callback;
    uint64_t nextFire = 0;
    bool running = false;
};

}  // namespace VSTGUI
