#include "core/SharedTimer.h"

#include <algorithm>
#include <chrono>

SharedTimer& SharedTimer::instance() {
    static SharedTimer timer;
    return timer;
}

SharedTimer::~SharedTimer() {
    std::unique_lock<std::mutex> held(listLock);
    stopLocked(held);
}

void SharedTimer::join(TimerClient* client) {
    std::unique_lock<std::mutex> held(listLock);
    if (std::find(clients.begin(), clients.end(), client) == clients.end()) clients.push_back(client);
    if (!ticker.joinable()) {
        const uint64_t mine = ++generation;
        ticker = std::thread([this, mine] { tickLoop(mine); });
    }
}

void SharedTimer::leave(TimerClient* client) {
    std::unique_lock<std::mutex> held(listLock);
    clients.erase(std::remove(clients.begin(), clients.end(), client), clients.end());
    if (clients.empty()) stopLocked(held);
}

void SharedTimer::waitForTick() { std::lock_guard<std::mutex> held(listLock); }

void SharedTimer::stopLocked(std::unique_lock<std::mutex>& held) {
    if (!ticker.joinable()) return;
    ++generation;
    wake.notify_all();
    std::thread finishing = std::move(ticker);
    held.unlock();
    finishing.join();
    held.lock();
}

void SharedTimer::tickLoop(uint64_t mine) {
    std::unique_lock<std::mutex> held(listLock);
    auto next = std::chrono::steady_clock::now();
    while (mine == generation) {
        next += std::chrono::milliseconds(kTickMs);
        wake.wait_until(held, next, [this, mine] { return mine != generation; });
        if (mine != generation) break;
        for (TimerClient* client : clients) client->idle();
    }
}
