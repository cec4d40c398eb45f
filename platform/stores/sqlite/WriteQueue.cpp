#include "platform/stores/sqlite/WriteQueue.h"

#include <utility>

#include "base/concurrency/BlockingRegion.h"

namespace CommonServices::Sqlite {

namespace {

// Events of a kilobyte or less: some ten megabytes, and more than a second's work.
constexpr std::size_t kMaxDetached = 16384;

}  // namespace

bool WriteQueue::TryTake() {
    const std::scoped_lock lock(m_mutex);
    if (m_inHand || m_logIsLong || m_closed || !m_open.writes.empty()) {
        return false;
    }
    m_inHand = true;
    ++m_taken;
    return true;
}

void WriteQueue::Release(bool logIsLong) {
    std::unique_lock lock(m_mutex);
    m_inHand = false;
    m_logIsLong = logIsLong;
    const bool wake = (logIsLong || m_closed || !m_open.writes.empty()) && m_writerSleeps;
    m_writerSleeps = m_writerSleeps && !wake;
    lock.unlock();
    if (wake) {
        m_arrival.notify_one();
    }
}

void WriteQueue::AddAndWait(PendingWrite& write) {
    std::unique_lock lock(m_mutex);
    const std::uint32_t number = m_open.number;
    m_open.writes.push_back(&write);
    WakeWriter(lock);
    const PlatformAbstraction::BlockingRegion blocking(PlatformAbstraction::Wait::Disk);
    m_finished[number % 2].WaitFor(number);
}

bool WriteQueue::AddDetached(std::unique_ptr<PendingWrite> write) {
    std::unique_lock lock(m_mutex);
    if (m_open.detached.size() >= kMaxDetached) {
        return false;
    }
    m_open.writes.push_back(write.get());
    m_open.detached.push_back(std::move(write));
    WakeWriter(lock);
    return true;
}

bool WriteQueue::Take(WriteGroup& group, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    m_inHand = false;
    const auto ready = [this] { return !m_inHand && (m_closed || m_logIsLong || !m_open.writes.empty()); };
    for (std::uint64_t taken = m_taken; !ready();) {
        m_writerSleeps = true;
        const bool called = m_arrival.wait_for(lock, patience, ready);
        m_writerSleeps = false;
        if (!called && !m_inHand && taken == m_taken) {
            break;  // a quiet time
        }
        taken = m_taken;
    }
    if (m_closed && m_open.writes.empty()) {
        return false;
    }
    m_inHand = true;
    m_logIsLong = false;
    if (!m_open.writes.empty()) {
        // The vectors change hands, so that their memory serves group after group.
        std::swap(m_open.writes, group.writes);
        std::swap(m_open.detached, group.detached);
        group.number = m_open.number++;
    }
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

// Whoever has the file in hand looks after the writer when he gives it back.
void WriteQueue::WakeWriter(std::unique_lock<std::mutex>& lock) {
    const bool wake = !m_inHand && std::exchange(m_writerSleeps, false);
    lock.unlock();
    if (wake) {
        m_arrival.notify_one();
    }
}

}  // namespace CommonServices::Sqlite
