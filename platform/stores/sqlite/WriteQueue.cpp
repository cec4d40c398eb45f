#include "WriteQueue.h"

#include <utility>

#include "BlockingRegion.h"

namespace CommonServices::Sqlite {

namespace {

// Events of a kilobyte or less: some ten megabytes, and more than a second's work.
constexpr std::size_t kMaxDetached = 16384;

}  // namespace

void WriteQueue::AddAndWait(PendingWrite& write) {
    std::unique_lock lock(m_mutex);
    const std::uint32_t number = m_open.number;
    m_open.writes.push_back(&write);
    const bool wake = std::exchange(m_writerSleeps, false);
    lock.unlock();
    if (wake) {
        m_arrival.notify_one();
    }
    const PlatformAbstraction::BlockingRegion blocking;
    m_finished[number % 2].WaitFor(number);
}

bool WriteQueue::AddDetached(std::unique_ptr<PendingWrite> write) {
    std::unique_lock lock(m_mutex);
    if (m_open.detached.size() >= kMaxDetached) {
        return false;
    }
    m_open.writes.push_back(write.get());
    m_open.detached.push_back(std::move(write));
    const bool wake = std::exchange(m_writerSleeps, false);
    lock.unlock();
    if (wake) {
        m_arrival.notify_one();
    }
    return true;
}

bool WriteQueue::Take(WriteGroup& group, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    const auto ready = [this] { return m_closed || !m_open.writes.empty(); };
    if (!ready()) {
        m_writerSleeps = true;
        m_arrival.wait_for(lock, patience, ready);
        m_writerSleeps = false;
    }
    if (m_open.writes.empty()) {
        return !m_closed;
    }
    // The vectors change hands, so that their memory serves group after group.
    std::swap(m_open.writes, group.writes);
    std::swap(m_open.detached, group.detached);
    group.number = m_open.number++;
    return true;
}

void WriteQueue::Finish(WriteGroup& group) {
    group.writes.clear();  // first: those who wait own their writes and take them away
    group.detached.clear();
    m_finished[group.number % 2].Announce(group.number);
}

void WriteQueue::Close() {
    {
        const std::scoped_lock lock(m_mutex);
        m_closed = true;
    }
    m_arrival.notify_one();
}

}  // namespace CommonServices::Sqlite
