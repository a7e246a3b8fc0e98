#pragma once
// Every instance of the effect in this process, in order of creation. The
// instances find each other here: to name the others, to send them settings,
// and to read another instance's signal for the analyser.
//
// Threads: instances are added and removed by their constructors and
// destructors, and the list is read on the editor's (message) thread. A
// lock guards the list itself; calls into instances happen outside it.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class Plug;

class InstanceRegistry {
public:
    static InstanceRegistry& instance();

    // Appends; every instance is then told that the list changed.
    void add(Plug* fx);
    // Removes every occurrence; the others are then told.
    void remove(Plug* fx);
    // Position in the list, -1 when absent.
    int32_t indexOf(const Plug* fx) const;
    // The instance at a position, nullptr past the end.
    Plug* at(int32_t index) const;
    int32_t count() const;
    // The instances in order, as they are now.
    std::vector<Plug*> snapshot() const;
    // Display names of all instances but `self`, in order.
    std::vector<std::string> instanceNames(const Plug* self) const;
    // Instance i among the others of `self`: position i below self's own
    // position, i + 1 from there on; nullptr when there is none.
    Plug* instanceFromOtherIndex(const Plug* self, int32_t i) const;
    // Tells every instance, in order, that the list changed.
    void notifyInstancesChanged();

private:
    mutable std::mutex listLock;
    std::vector<Plug*> instances;
};
