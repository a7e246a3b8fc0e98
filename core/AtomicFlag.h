#pragma once
// A 32-bit flag raised and taken by compare-exchange: a request that arrives
// while the previous one is being served is kept for the next round.

#include <atomic>
#include <cstdint>

class AtomicFlag {
public:
    AtomicFlag() = default;
    virtual ~AtomicFlag() = default;
    AtomicFlag(const AtomicFlag&) = delete;
    AtomicFlag& operator=(const AtomicFlag&) = delete;

    // Raises the flag; values written before are visible to whoever takes it.
    void raise() { value.store(1, std::memory_order_release); }
    // Takes the flag if it is raised: true when this call cleared it.
    bool take() {
        int32_t expected = 1;
        return value.compare_exchange_strong(expected, 0, std::memory_order_acq_rel);
    }
    bool isRaised() const { return value.load(std::memory_order_acquire) != 0; }

private:
    std::atomic<int32_t> value{0};
};
