#include "gui/toolkit/CTimer.h"

#include <algorithm>
#include <vector>

#include "gui/toolkit/CControl.h"

namespace VSTGUI {

namespace {

std::vector<CTimer*>& runningTimers() {
    static std::vector<CTimer*> timers;
    return timers;
}

}  // namespace

CTimer::CTimer(uint32_t intervalMs, std::function<void()> cb) : interval(std::max<uint32_t>(intervalMs, 1)), callback(std::move(cb)) {}

CTimer::~CTimer() { stop(); }

void CTimer::start() {
    nextFire = toolkitMilliseconds() + interval;
    if (running) return;
    running = true;
    runningTimers().push_back(this);
}

void CTimer::stop() {
    if (!running) return;
    running = false;
    auto& timers = runningTimers();
    timers.erase(std::remove(timers.begin(), timers.end(), this), timers.end());
}

void CTimer::setInterval(uint32_t intervalMs) {
    interval = std::max<uint32_t>(intervalMs, 1);
    if (running) nextFire = toolkitMilliseconds() + interval;
}

void CTimer::fireDue(uint64_t nowMs) {
    // A callback may start or stop timers (itself included): work on a
    // snapshot and skip the ones stopped meanwhile.
    const std::vector<CTimer*> snapshot = runningTimers();
    for (CTimer* timer : snapshot) {
        const auto& timers = runningTimers();
        if (std::find(timers.begin(), timers.end(), timer) == timers.end()) continue;
        if (nowMs < timer->nextFire) continue;
        timer->nextFire = nowMs + timer->interval;
        if (timer->callback) timer->callback();
    }
}

}  // namespace VSTGUI
