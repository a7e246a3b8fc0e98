#pragma once
// Every operator new and delete of a test program that links
// CountingAllocator.cpp is counted while the calling thread has
// `countingHere` set.

#include <atomic>
#include <cstdint>

extern thread_local bool countingHere;
extern std::atomic<int64_t> audioAllocations;
