#include "base/concurrency/MemoryWatch.h"

#include <sys/resource.h>

#include <cstddef>
#include <utility>

#include "base/concurrency/FreeMemory.h"

namespace PlatformAbstraction {

namespace {

// Pages that the system handed to the thread before anybody looks closer: few, for a page may be a huge one.
constexpr long kManyFaults = 32;
constexpr std::size_t kMostIdleBytes = std::size_t{64} << 20U;

// Faults since the thread asked for the last time.
long NewFaultsOfThread() noexcept {
    thread_local long t_told = 0;
    rusage usage{};
    if (getrusage(RUSAGE_THREAD, &usage) != 0) {
        return 0;
    }
    return usage.ru_minflt - std::exchange(t_told, usage.ru_minflt);
}

}  // namespace

MemoryWatch::~MemoryWatch() {
    // The allocator keeps freed blocks wherever a smaller one still lives behind them.
    if (NewFaultsOfThread() > kManyFaults && CountFreeBytes() > kMostIdleBytes) {
        ReturnFreeMemory();
    }
}

}  // namespace PlatformAbstraction
