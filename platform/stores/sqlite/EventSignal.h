#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace CommonServices::Sqlite {

/// Tells readers of the event log that something was appended. Any thread may call.
class EventSignal {
public:
    /// To be read before looking for events, so that none that comes after is missed.
    std::uint64_t Count() const;
    void Raise();
    /// Returns when the count is past `seen`, at the latest at `deadline`. The thread counts as blocked
    /// meanwhile.
    void WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline);

private:
    mutable std::mutex m_mutex;  // guards what follows
    std::condition_variable m_raised;
    std::uint64_t m_count = 0;
};

}  // namespace CommonServices::Sqlite
