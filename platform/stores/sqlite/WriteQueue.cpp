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
    WaitFor(number);
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
    std::atomic<std::uint32_t>& word = m_finished[group.number % 2];
    word.store(group.number, std::memory_order_release);
    word.notify_all();
}

void WriteQueue::Close() {
    {
        const std::scoped_lock lock(m_mutex);
        m_closed = true;
    }
    m_arrival.notify_one();
}

void WriteQueue::WaitFor(std::uint32_t number) {
    const PlatformAbstraction::BlockingRegion blocking;
    std::atomic<std::uint32_t>& word = m_finished[number % 2];
    // The difference is signed because the numbers wrap around. A word cannot run ahead of a waiter by more
    // than the groups that finish before it looks again.
    for (std::uint32_t seen = word.load(std::memory_order_acquire);
         static_cast<std::int32_t>(seen - number) < 0; seen = word.load(std::memory_order_acquire)) {
        word.wait(seen, std::memory_order_acquire);
    }
}

}  // namespace CommonServices::Sqlite
