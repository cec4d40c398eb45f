#pragma once

#include <chrono>
#include <cstdint>

#include "base/concurrency/Mutex.h"

namespace CommonServices::Mongo {

class Client;

/// Places in the store's order. They come in blocks from a counter that all processes share, so that hardly a
/// record costs a question more; a block is let go after a second, so that a process that writes little does
/// not put its records far before those of others. Any thread may call.
class Places {
public:
    /// Makes the counter where there is none. Throws `Fault`.
    static void Prepare(Client& client);

    /// Larger than all that this process was given before. Throws `Fault`; whoever waits meanwhile for the
    /// block of another caller fails with it, so that a wait does not add up.
    std::int64_t Take(Client& client);

private:
    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_fetched;
    std::int64_t m_next QUILLON_GUARDED_BY(m_mutex) = 0;
    std::int64_t m_end QUILLON_GUARDED_BY(m_mutex) = 0;
    std::chrono::steady_clock::time_point m_staleAt QUILLON_GUARDED_BY(m_mutex);
    bool m_isFetching QUILLON_GUARDED_BY(m_mutex) = false;
    std::uint64_t m_failures QUILLON_GUARDED_BY(m_mutex) = 0;
};

}  // namespace CommonServices::Mongo
