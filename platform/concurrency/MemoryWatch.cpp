#include "MemoryWatch.h"

#include <malloc.h>
#include <sys/resource.h>

#include <cstddef>

namespace PlatformAbstraction {

namespace {

// Pages that the system handed to the thread before anybody looks closer: few, for a page may be a huge one.
constexpr long kManyFaults = 32;
constexpr std::size_t kMostIdleBytes = std::size_t{64} << 20U;

long FaultsOfThread() noexcept {
    rusage usage{};
    return getrusage(RUSAGE_THREAD, &usage) == 0 ? usage.ru_minflt : 0;
}

}  // namespace

MemoryWatch::MemoryWatch() noexcept : m_faultsBefore(FaultsOfThread()) {}

MemoryWatch::~MemoryWatch() {
    // The allocator keeps freed blocks wherever a smaller one still lives behind them.
    if (FaultsOfThread() - m_faultsBefore > kManyFaults && mallinfo2().fordblks > kMostIdleBytes) {
        malloc_trim(0);
    }
}

}  // namespace PlatformAbstraction
