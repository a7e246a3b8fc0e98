#include "rt/CountingAllocator.h"

#include <cstdlib>
#include <new>

thread_local bool countingHere = false;
std::atomic<int64_t> audioAllocations{0};

namespace {

void* allocate(std::size_t n) {
    if (countingHere) audioAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}

void release(void* p) noexcept {
    if (p && countingHere) audioAllocations.fetch_add(1, std::memory_order_relaxed);
    std::free(p);
}

}  // namespace

void* operator new(std::size_t n) { return allocate(n); }
void* operator new[](std::size_t n) { return allocate(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    try {
        return allocate(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t n, const std::nothrow_t& tag) noexcept { return operator new(n, tag); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
