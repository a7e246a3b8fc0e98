#include "core/InstanceRegistry.h"

#include <algorithm>

#include "core/Plug.h"

InstanceRegistry& InstanceRegistry::instance() {
    static InstanceRegistry registry;
    return registry;
}

void InstanceRegistry::add(Plug* fx) {
    {
        std::lock_guard<std::mutex> held(listLock);
        instances.push_back(fx);
    }
    notifyInstancesChanged();
}

void InstanceRegistry::remove(Plug* fx) {
    {
        std::lock_guard<std::mutex> held(listLock);
        instances.erase(std::remove(instances.begin(), instances.end(), fx), instances.end());
    }
    notifyInstancesChanged();
}

int32_t InstanceRegistry::indexOf(const Plug* fx) const {
    std::lock_guard<std::mutex> held(listLock);
    const auto it = std::find(instances.begin(), instances.end(), fx);
    return it == instances.end() ? -1 : int32_t(it - instances.begin());
}

Plug* InstanceRegistry::at(int32_t index) const {
    std::lock_guard<std::mutex> held(listLock);
    return (index >= 0 && size_t(index) < instances.size()) ? instances[size_t(index)] : nullptr;
}

int32_t InstanceRegistry::count() const {
    std::lock_guard<std::mutex> held(listLock);
    return int32_t(instances.size());
}

std::vector<Plug*> InstanceRegistry::snapshot() const {
    std::lock_guard<std::mutex> held(listLock);
    return instances;
}

std::vector<std::string> InstanceRegistry::instanceNames(const Plug* self) const {
    std::vector<std::string> names;
    for (const Plug* fx : snapshot())
        if (fx != self) names.emplace_back(fx->getInstanceName());
    return names;
}

Plug* InstanceRegistry::instanceFromOtherIndex(const Plug* self, int32_t i) const {
    if (i < 0) return nullptr;
    const int32_t own = indexOf(self);
    return at(own >= 0 && i >= own ? i + 1 : i);
}

void InstanceRegistry::notifyInstancesChanged() {
    for (Plug* fx : snapshot()) fx->instancesChanged();
}
