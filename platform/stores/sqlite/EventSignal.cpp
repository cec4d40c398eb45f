#include "platform/stores/sqlite/EventSignal.h"

#include "base/concurrency/BlockingRegion.h"

namespace CommonServices::Sqlite {

std::uint64_t EventSignal::Count() const {
    const std::scoped_lock lock(m_mutex);
    return m_count;
}

void EventSignal::Raise() {
    {
        const std::scoped_lock lock(m_mutex);
        ++m_count;
    }
    m_raised.notify_all();
}

void EventSignal::WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline) {
    const PlatformAbstraction::BlockingRegion blocking;
    std::unique_lock lock(m_mutex);
    m_raised.wait_until(lock, deadline, [this, seen] { return m_count != seen; });
}

}  // namespace CommonServices::Sqlite
