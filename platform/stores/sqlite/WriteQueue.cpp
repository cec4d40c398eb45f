#include "platform/stores/sqlite/WriteQueue.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace CommonServices::Sqlite {

using PlatformAbstraction::MutexLock;

namespace {

// Events of a kilobyte or less: some ten megabytes, and more than a second's work.
constexpr std::size_t kMaxDetached = 16384;

}  // namespace

void GroupSignal::WaitFor(std::uint32_t number) {
    for (;;) {
        const std::uint32_t last = m_last.load(std::memory_order_acquire);
        if (static_cast<std::int32_t>(last - number) >= 0) {
            return;
        }
        // Returns at once when the word has changed since, so no announcement is missed.
        ::syscall(SYS_futex, &m_last, FUTEX_WAIT_PRIVATE, last, nullptr, nullptr, 0);
    }
}

void GroupSignal::Announce(std::uint32_t number) {
    m_last.store(number, std::memory_order_release);
    ::syscall(SYS_futex, &m_last, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

bool WriteQueue::TryTake() {
    const MutexLock lock(m_mutex);
    if (m_inHand || IsWriterWanted()) {
        return false;
    }
    m_inHand = true;
    ++m_taken;
    return true;
}

void WriteQueue::Release(bool logIsLong) {
    MutexLock lock(m_mutex);
    m_inHand = false;
    m_logIsLong = logIsLong;
    const bool wake = IsWriterWanted() && ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
}

void WriteQueue::AddAndWait(PendingWrite& write) {
    MutexLock lock(m_mutex);
    const std::uint32_t number = m_open.number;
    m_open.writes.push_back(&write);
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    m_finished[number % 2].WaitFor(number);
}

bool WriteQueue::AddDetached(std::unique_ptr<PendingWrite> write) {
    MutexLock lock(m_mutex);
    if (m_open.detached.size() >= kMaxDetached) {
        return false;
    }
    m_open.writes.push_back(write.get());
    m_open.detached.push_back(std::move(write));
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    return true;
}

bool WriteQueue::Take(WriteGroup& group, std::chrono::milliseconds patience) {
    MutexLock lock(m_mutex);
    m_inHand = false;
    while (m_inHand || !IsWriterWanted()) {
        const std::uint64_t taken = m_taken;
        const auto end = std::chrono::steady_clock::now() + patience;
        m_writerSleeps = true;
        while ((m_inHand || !IsWriterWanted()) && m_arrival.WaitUntil(lock, end)) {
        }
        m_writerSleeps = false;
        if (!m_inHand && !IsWriterWanted() && taken == m_taken) {
            break;  // a quiet time
        }
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
        const MutexLock lock(m_mutex);
        m_closed = true;
    }
    m_arrival.NotifyOne();
}

bool WriteQueue::IsWriterWanted() const {
    return m_logIsLong || m_closed || !m_open.writes.empty();
}

// Whoever has the file in hand looks after the writer when he gives it back.
bool WriteQueue::ClaimWakeUp() {
    return !m_inHand && std::exchange(m_writerSleeps, false);
}

}  // namespace CommonServices::Sqlite
