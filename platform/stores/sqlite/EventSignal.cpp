#include "platform/stores/sqlite/EventSignal.h"

#include "base/concurrency/BlockingRegion.h"

namespace CommonServices::Sqlite {

std::uint64_t EventSignal::Count() const {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    return m_count;
}

void EventSignal::Raise() {
    {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        ++m_count;
    }
    m_raised.notify_all();
}

void EventSignal::WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline,
                           const std::stop_token& stop) {
    const PlatformAbstraction::BlockingRegion blocking;
    PlatformAbstraction::MutexLock lock(m_mutex);
    m_raised.wait_until(lock, stop, deadline, [this, seen] {
        m_mutex.AssertHeld();
        return m_count != seen;
    });
}

}  // namespace CommonServices::Sqlite
