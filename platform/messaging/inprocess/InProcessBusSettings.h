#pragma once

#include <cstddef>

namespace PlatformAbstraction::Messaging {

/// Limits of each service on the bus of one process; all at least 1, but `maxStandIns`.
struct InProcessBusSettings {
    /// Handlers at work at once; those that wait for somebody else do not count.
    std::size_t threads = 32;
    /// Waiting handlers that are stood in for, so that there are at most so many threads above `threads`.
    std::size_t maxStandIns = 1024;
    /// How many of them may stand in for handlers that wait for the disk. These are through together, in
    /// a moment: more of them write no faster, and crowd out one another when they go on.
    std::size_t maxDiskStandIns = 64;
    /// Messages waiting for a thread; past that the sender is told at once.
    std::size_t maxQueuedMessages = 4096;
};

}  // namespace PlatformAbstraction::Messaging
