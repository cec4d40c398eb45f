#include "platform/stores/sqlite/WriteQueue.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <new>

namespace CommonServices::Sqlite {

using PlatformAbstraction::MutexLock;

namespace {

// Events of a kilobyte or less: some ten megabytes, and more than a second's work.
constexpr std::size_t kMaxDetached = 16384;

constexpr std::size_t kMostHeldBytes = std::size_t{64} << 20U;

// Of a group with held writes.
constexpr std::size_t kMostWrites = 512;
constexpr std::size_t kMostBytes = std::size_t{4} << 20U;

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
    m_open.bytes += write.bytes;
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    m_finished[number % 2].WaitFor(number);
}

bool WriteQueue::AddDetached(std::unique_ptr<PendingWrite> write) {
    MutexLock lock(m_mutex);
    if (m_open.owned.size() >= kMaxDetached) {
        return false;
    }
    m_open.writes.push_back(write.get());
    try {
        m_open.owned.push_back(std::move(write));
    } catch (...) {
        m_open.writes.pop_back();
        throw;
    }
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    return true;
}

std::unique_ptr<PendingWrite> WriteQueue::AddHeld(std::unique_ptr<PendingWrite> write) {
    MutexLock lock(m_mutex);
    if (m_heldBytes + write->bytes > kMostHeldBytes) {
        return write;
    }
    m_held.push_back(std::move(write));  // first, for it may fail
    const PendingWrite& added = *m_held.back();
    added.output->Begin();
    m_heldBytes += added.bytes;
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    return nullptr;
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
    if (m_closed && !HasWrites()) {
        return false;
    }
    m_inHand = true;
    m_logIsLong = false;
    if (HasWrites()) {
        // The vectors change hands, so that their memory serves group after group.
        std::swap(m_open.writes, group.writes);
        std::swap(m_open.owned, group.owned);
        group.bytes = std::exchange(m_open.bytes, 0);
        group.number = m_open.number++;
        JoinHeld(group);
    }
    return true;
}

// Those that found no room in a group come with the next, whatever else that holds.
void WriteQueue::JoinHeld(WriteGroup& group) {
    const std::size_t before = group.writes.size();
    try {
        group.writes.reserve(before + std::min(m_held.size(), kMostWrites));
        group.owned.reserve(group.owned.size() + std::min(m_held.size(), kMostWrites));
    } catch (const std::bad_alloc&) {  // they wait for better times, and the group goes without them
        return;
    }
    if (m_heldHaveWaited) {
        group.bytes = 0;
    }
    while (!m_held.empty() && group.bytes < kMostBytes &&
           (group.writes.size() < kMostWrites ||
            (m_heldHaveWaited && group.writes.size() < before + kMostWrites))) {
        std::unique_ptr<PendingWrite> write = std::move(m_held.front());
        m_held.pop_front();
        m_heldBytes -= write->bytes;
        group.bytes += write->bytes;
        group.writes.push_back(write.get());
        group.owned.push_back(std::move(write));
    }
    m_heldHaveWaited = !m_held.empty() && group.writes.size() == before;
}

void WriteQueue::Finish(WriteGroup& group) {
    for (const auto& write : group.owned) {
        if (write->output != nullptr) {
            write->output->End(write->accepted);
        }
    }
    group.writes.clear();  // first: those who wait own their writes and take them away
    group.owned.clear();
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
    return m_logIsLong || m_closed || HasWrites();
}

// Whoever has the file in hand looks after the writer when he gives it back.
bool WriteQueue::ClaimWakeUp() {
    return !m_inHand && std::exchange(m_writerSleeps, false);
}

}  // namespace CommonServices::Sqlite
