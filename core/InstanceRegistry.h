#pragma once
// Every instance of the effect in this process, in order of creation. The
// instances find each other here: to name the others, to send them settings,
// and to read another instance's signal for the analyser.
//
// Threads: any thread. An instance joins at the end of its construction and
// leaves at the start of its destruction. A lock guards the list; no call
// into an instance is made under it.
//
// Pins: an instance is reached only through forEachOther or Handle::with,
// which pin it for the length of the call. remove(), and so the instance's
// destructor, refuses new pins and then waits until the pins of every other
// thread have ended; after it returns nothing reaches the instance again.
// Pinning holds the entry's own lock only for a count, never waits on a
// pin, and never holds a lock across the call; so two instances reaching
// each other at the same time cannot deadlock on their pins. Rules:
//  - Hold no lock of your own instance while reaching another: the other
//    may at that moment be reaching yours.
//  - Destroy instances where this thread holds no pin (not from inside a
//    call made through the registry). remove() leaves out the destroying
//    thread's own pins on the instance, which could never end before it
//    returns; the instance then goes while still pinned, and that call must
//    not touch it afterwards (forEachOther and Handle::with do not). A pin
//    on another instance could make two destroying threads wait for each
//    other.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class Plug;

class InstanceRegistry {
    struct Entry;

    // Holds an instance still while it lives on the stack; instance() is
    // nullptr when the entry is empty or its instance is leaving.
    class Pin {
    public:
        explicit Pin(const std::shared_ptr<Entry>& entry);
        ~Pin();
        Plug* instance() const { return fx; }
        Pin(const Pin&) = delete;
        Pin& operator=(const Pin&) = delete;

    private:
        friend class InstanceRegistry;
        static const Pin*& innermost();
        std::shared_ptr<Entry> entry;  // kept, should the handle change during the call
        Plug* fx = nullptr;
        const Pin* outer = nullptr;  // the pin this thread made before this one
    };

public:
    // One instance, held weakly: it never dangles, and once its instance is
    // gone it reaches nothing. Copyable; an empty handle reaches nothing.
    class Handle {
    public:
        Handle() = default;
        // Any thread. Calls fn(Plug&) with the instance pinned; false, and
        // fn not called, when the instance is gone.
        template <typename Fn>
        bool with(Fn&& fn) const {
            Pin pin(entry);
            if (pin.instance() == nullptr) return false;
            fn(*pin.instance());
            return true;
        }

    private:
        friend class InstanceRegistry;
        explicit Handle(std::shared_ptr<Entry> e) : entry(std::move(e)) {}
        std::shared_ptr<Entry> entry;
    };

    static InstanceRegistry& instance();

    // Appends; every instance is then told that the list changed.
    void add(Plug* fx);
    // Takes the instance off the list and waits out the pins on it (see
    // above); the others are then told.
    void remove(Plug* fx);
    // Position in the list, -1 when absent.
    int32_t indexOf(const Plug* fx) const;
    int32_t count() const;
    // Display names of all instances but `self`, in order.
    std::vector<std::string> instanceNames(const Plug* self) const;
    // The handle of a listed instance; empty when it is not listed.
    Handle handleOf(const Plug* fx) const;
    // Instance i among the others of `self`: position i below self's own
    // position, i + 1 from there on; empty when there is none.
    Handle otherAt(const Plug* self, int32_t i) const;
    // Calls fn(Plug&) for every instance but `self`, in order, each pinned
    // for its call. Instances that come meanwhile are left out, those that
    // go meanwhile are skipped.
    template <typename Fn>
    void forEachOther(const Plug* self, Fn&& fn) const {
        for (const std::shared_ptr<Entry>& entry : entriesBut(self)) {
            Pin pin(entry);
            if (pin.instance() != nullptr) fn(*pin.instance());
        }
    }
    // Tells every instance, in order, that the list changed.
    void notifyInstancesChanged() const;

private:
    // Under listLock: the position of an instance, -1 when absent.
    int32_t positionOf(const Plug* fx) const;
    // The entries of all instances but `self`, as the list holds them now.
    std::vector<std::shared_ptr<Entry>> entriesBut(const Plug* self) const;

    mutable std::mutex listLock;
    std::vector<std::shared_ptr<Entry>> entries;
};
