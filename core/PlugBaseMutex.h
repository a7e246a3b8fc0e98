#pragma once
// The engine and design locks: recursive critical sections, so an update can
// nest inside a load, or a design inside an offline update, on the same
// thread. refreshEngine only ever tries them.

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
