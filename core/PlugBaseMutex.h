#pragma once
// The engine lock: a recursive critical section, so an update can nest inside
// a load on the same thread. refreshEngine only ever tries it.

#include <mutex>

class PlugBaseMutex {
public:
    PlugBaseMutex() = default;
    virtual ~PlugBaseMutex() = default;
    PlugBaseMutex(const PlugBaseMutex&) = delete;
    PlugBaseMutex& operator=(const PlugBaseMutex&) = delete;

    void lock() { section.lock(); }
    bool try_lock() { return section.try_lock(); }
    void unlock() { section.unlock(); }

private:
    std::recursive_mutex section;
};
