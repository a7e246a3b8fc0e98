#include "core/InstanceRegistry.h"

#include <algorithm>
#include <condition_variable>

#include "core/Plug.h"

// One instance's place in the registry, shared by the list and by every
// handle and pin of it, so that it outlives the instance. `instance` never
// changes; the rest is under `lock`.
struct InstanceRegistry::Entry {
    explicit Entry(Plug* fx) : instance(fx) {}
    Plug* const instance;
    std::mutex lock;
    std::condition_variable unpinned;  // signalled as pins end while removal waits
    int32_t pins = 0;
    bool alive = true;  // false from the start of remove() on: no new pins
};

// The innermost pin of this thread; pins nest as the calls that hold them
// do, each linked to the one before.
const InstanceRegistry::Pin*& InstanceRegistry::Pin::innermost() {
    thread_local const Pin* top = nullptr;
    return top;
}

InstanceRegistry::Pin::Pin(const std::shared_ptr<Entry>& e) {
    if (!e) return;
    {
        std::lock_guard<std::mutex> held(e->lock);
        if (!e->alive) return;
        ++e->pins;
    }
    entry = e;
    fx = e->instance;
    outer = innermost();
    innermost() = this;
}

InstanceRegistry::Pin::~Pin() {
    if (fx == nullptr) return;
    innermost() = outer;
    std::lock_guard<std::mutex> held(entry->lock);
    --entry->pins;
    if (!entry->alive) entry->unpinned.notify_all();
}

InstanceRegistry& InstanceRegistry::instance() {
    static InstanceRegistry registry;
    return registry;
}

void InstanceRegistry::add(Plug* fx) {
    {
        std::lock_guard<std::mutex> held(listLock);
        entries.push_back(std::make_shared<Entry>(fx));
    }
    notifyInstancesChanged();
}

void InstanceRegistry::remove(Plug* fx) {
    std::vector<std::shared_ptr<Entry>> leaving;
    {
        std::lock_guard<std::mutex> held(listLock);
        for (const std::shared_ptr<Entry>& e : entries)
            if (e->instance == fx) leaving.push_back(e);
        std::erase_if(entries, [fx](const std::shared_ptr<Entry>& e) { return e->instance == fx; });
    }
    for (const std::shared_ptr<Entry>& e : leaving) {
        // This thread's own pins on the instance end only after we return.
        int32_t own = 0;
        for (const Pin* p = Pin::innermost(); p != nullptr; p = p->outer) own += p->entry == e;
        std::unique_lock<std::mutex> held(e->lock);
        e->alive = false;
        e->unpinned.wait(held, [&] { return e->pins == own; });
    }
    notifyInstancesChanged();
}

int32_t InstanceRegistry::indexOf(const Plug* fx) const {
    std::lock_guard<std::mutex> held(listLock);
    return positionOf(fx);
}

int32_t InstanceRegistry::count() const {
    std::lock_guard<std::mutex> held(listLock);
    return int32_t(entries.size());
}

std::vector<std::string> InstanceRegistry::instanceNames(const Plug* self) const {
    std::vector<std::string> names;
    forEachOther(self, [&](const Plug& fx) { names.emplace_back(fx.getInstanceName()); });
    return names;
}

InstanceRegistry::Handle InstanceRegistry::handleOf(const Plug* fx) const {
    std::lock_guard<std::mutex> held(listLock);
    const int32_t at = positionOf(fx);
    return at >= 0 ? Handle(entries[size_t(at)]) : Handle();
}

InstanceRegistry::Handle InstanceRegistry::otherAt(const Plug* self, int32_t i) const {
    if (i < 0) return {};
    std::lock_guard<std::mutex> held(listLock);
    const int32_t own = positionOf(self);
    const size_t at = size_t(own >= 0 && i >= own ? i + 1 : i);
    return at < entries.size() ? Handle(entries[at]) : Handle();
}

void InstanceRegistry::notifyInstancesChanged() const {
    forEachOther(nullptr, [](Plug& fx) { fx.instancesChanged(); });
}

int32_t InstanceRegistry::positionOf(const Plug* fx) const {
    const auto it = std::find_if(entries.begin(), entries.end(), [fx](const auto& e) { return e->instance == fx; });
    return it == entries.end() ? -1 : int32_t(it - entries.begin());
}

std::vector<std::shared_ptr<InstanceRegistry::Entry>> InstanceRegistry::entriesBut(const Plug* self) const {
    std::lock_guard<std::mutex> held(listLock);
    std::vector<std::shared_ptr<Entry>> others;
    others.reserve(entries.size());
    for (const std::shared_ptr<Entry>& e : entries)
        if (e->instance != self) others.push_back(e);
    return others;
}
