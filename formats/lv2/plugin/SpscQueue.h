#pragma once
// A fixed-capacity queue between exactly one producer thread and one consumer
// at a time. Neither side ever blocks or allocates: a push into a full queue
// and a pop from an empty one simply fail. The storage is part of the object.

#include <array>
#include <atomic>
#include <cstddef>

namespace fwlv2 {

template <typename T, size_t Capacity>
class SpscQueue {
    static_assert(Capacity >= 2 && (Capacity & (Capacity - 1)) == 0, "the capacity is a power of two");

public:
    static constexpr size_t kCapacity = Capacity;

    // Producer only. False when the queue is full; nothing is written then.
    bool push(const T& item) noexcept {
        const size_t head = writeAt.load(std::memory_order_relaxed);
        if (head - readAt.load(std::memory_order_acquire) == Capacity) return false;
        slots[head & (Capacity - 1)] = item;
        writeAt.store(head + 1, std::memory_order_release);
        return true;
    }

    // Consumer only. False when the queue is empty.
    bool pop(T& item) noexcept {
        const size_t tail = readAt.load(std::memory_order_relaxed);
        if (tail == writeAt.load(std::memory_order_acquire)) return false;
        item = slots[tail & (Capacity - 1)];
        readAt.store(tail + 1, std::memory_order_release);
        return true;
    }

    // Either side; exact only when the other side is idle.
    size_t size() const noexcept {
        return writeAt.load(std::memory_order_acquire) - readAt.load(std::memory_order_acquire);
    }

private:
    // The two counters only ever grow; their difference is the fill level.
    alignas(64) std::atomic<size_t> writeAt{0};
    alignas(64) std::atomic<size_t> readAt{0};
    alignas(64) std::array<T, Capacity> slots{};
};

}  // namespace fwlv2
