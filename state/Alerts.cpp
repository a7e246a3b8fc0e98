#include "state/Alerts.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

Alerts& Alerts::instance() {
    static Alerts alerts;
    return alerts;
}

void Alerts::push(const std::string& title, const std::string& text) {
    std::lock_guard<std::mutex> held(queueLock);
    queue.push_back({title, text});
}

std::vector<Alerts::Alert> Alerts::takeAll() {
    std::lock_guard<std::mutex> held(queueLock);
    std::vector<Alert> taken;
    taken.swap(queue);
    return taken;
}

bool Alerts::empty() {
    std::lock_guard<std::mutex> held(queueLock);
    return queue.empty();
}

void fileAccessAlert(const std::string& path, const char* mode, bool force) {
    static std::atomic<bool> unforcedGiven{false};
    if (!force && unforcedGiven.exchange(true)) return;
    const bool writing = mode != nullptr && std::strchr(mode, 'w') != nullptr;
    const char* verb = writing ? "write to" : "read from";
    const char* done = writing ? "saved" : "loaded";
    const std::string text = std::string("Failed to ") + verb + " file " + path +
                             "\nThis is often due to permissions settings\nYour data has not been " + done;
    Alerts::instance().push("Kestrawn : File Access Error", text);
}
