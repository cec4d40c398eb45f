#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <stop_token>

#include "base/concurrency/Mutex.h"

namespace CommonServices::Sqlite {

/// Tells readers of the event log that something was appended. Any thread may call.
class EventSignal {
public:
    /// To be read before looking for events, so that none that comes after is missed.
    std::uint64_t Count() const;
    void Raise();
    /// Returns when the count is past `seen`, at the latest at `deadline` or on the stop. The thread counts
    /// as blocked meanwhile.
    void WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline,
                  const std::stop_token& stop);

private:
    mutable PlatformAbstraction::Mutex m_mutex;
    std::condition_variable_any m_raised;
    std::uint64_t m_count QUILLON_GUARDED_BY(m_mutex) = 0;
};

}  // namespace CommonServices::Sqlite
