#include "base/concurrency/MemoryWatch.h"

#include <sys/resource.h>
#ifndef QUILLON_OTHER_ALLOCATOR
#include <malloc.h>
#endif

#include <cstddef>
#include <utility>

namespace PlatformAbstraction {

namespace {

// Pages that the system handed to the thread before anybody looks closer: few, for a page may be a huge one.
constexpr long kManyFaults = 32;
constexpr std::size_t kMostIdleBytes = std::size_t{64} << 20U;

#ifndef QUILLON_OTHER_ALLOCATOR
// As large as only bodies, long answers and whole lists of results come; what is smaller is used again.
constexpr int kLargeBlock = 1 << 20;
#endif

// Faults since the thread asked for the last time.
long NewFaultsOfThread() noexcept {
    thread_local long t_told = 0;
    rusage usage{};
    if (getrusage(RUSAGE_THREAD, &usage) != 0) {
        return 0;
    }
    return usage.ru_minflt - std::exchange(t_told, usage.ru_minflt);
}

// Bytes that were freed, and that the C library's allocator keeps for later. It looks through all of its
// heaps. A sanitizer brings its own allocator; the C library's has never been used then, and takes questions
// of several threads badly.
std::size_t CountFreeBytes() noexcept {
#ifdef QUILLON_OTHER_ALLOCATOR
    return 0;
#else
    return mallinfo2().fordblks;
#endif
}

}  // namespace

void KeepLargeBlocksApart() noexcept {
#ifndef QUILLON_OTHER_ALLOCATOR
    mallopt(M_MMAP_THRESHOLD, kLargeBlock);
#endif
}

void ReturnFreeMemory() noexcept {
#ifndef QUILLON_OTHER_ALLOCATOR
    malloc_trim(0);
#endif
}

MemoryWatch::~MemoryWatch() {
    // The allocator keeps freed blocks wherever a smaller one still lives behind them.
    if (NewFaultsOfThread() > kManyFaults && CountFreeBytes() > kMostIdleBytes) {
        ReturnFreeMemory();
    }
}

}  // namespace PlatformAbstraction
