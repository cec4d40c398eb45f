#include "platform/stores/mongo/HeldUpserts.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "base/concurrency/BlockingRegion.h"
#include "base/failpoint/Failpoint.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::MutexLock;

namespace {

// While one group is on its way the next gathers, and goes with the other. More would make the groups small.
constexpr int kWriters = 2;

// What waits.
constexpr std::size_t kMostWaiting = 4096;
constexpr std::size_t kMostWaitingBytes = std::size_t{64} << 20U;

// Of a group, so that it stays far below what a message may take. A single upsert may be larger.
constexpr std::size_t kMostWrites = 512;
constexpr std::size_t kMostBytes = std::size_t{4} << 20U;

}  // namespace

HeldUpserts::HeldUpserts(std::chrono::milliseconds timeout, UpsertWriter& writer, Announcer& announcer)
    : m_patience(timeout / 2), m_limit(timeout, kMostWrites), m_writer(writer), m_announcer(announcer) {
    std::generate_n(std::back_inserter(m_threads), kWriters,
                    [this] { return std::jthread([this] { Run(); }); });
}

HeldUpserts::~HeldUpserts() {
    {
        const MutexLock lock(m_mutex);
        m_isClosed = true;
    }
    m_arrival.NotifyAll();
    m_threads.clear();
}

bool HeldUpserts::HasRoomFor(std::size_t bytes) const {
    return m_queue.size() < kMostWaiting && (m_queue.empty() || m_bytes + bytes <= kMostWaitingBytes);
}

// A writer on its way to the queue takes all that has come by then.
bool HeldUpserts::ClaimWakeUp() {
    return m_sleeping > 0 && !std::exchange(m_isWaking, true);
}

bool HeldUpserts::Add(std::unique_ptr<Upsert> upsert, PlatformAbstraction::HeldOutput& output) {
    const std::size_t bytes = upsert->Bytes();
    MutexLock lock(m_mutex);
    if (!HasRoomFor(bytes)) {
        const PlatformAbstraction::BlockingRegion blocking;
        const auto deadline = Clock::now() + m_patience;
        while (!HasRoomFor(bytes)) {
            if (!m_room.WaitUntil(lock, deadline)) {
                return false;
            }
        }
    }
    m_queue.push_back({std::move(upsert), &output, Clock::now(), bytes});  // first, for it may fail
    output.Begin();
    m_bytes += bytes;
    const bool wake = ClaimWakeUp();
    lock.unlock();
    if (wake) {
        m_arrival.NotifyOne();
    }
    return true;
}

void HeldUpserts::MoveFirst(Queue& to) noexcept {
    m_bytes -= m_queue.front().bytes;
    to.splice(to.end(), m_queue, m_queue.begin());
}

// Whoever waits is looked at each time that a writer is free, which asks the database for no longer than the
// other half of the time: so nobody waits for longer than both.
bool HeldUpserts::Take(Queue& group, Queue& late) noexcept {
    MutexLock lock(m_mutex);
    while (m_queue.empty() && !m_isClosed) {
        ++m_sleeping;
        m_arrival.Wait(lock);
        --m_sleeping;
        m_isWaking = false;
    }
    if (m_queue.empty()) {
        return false;
    }
    const auto now = Clock::now();
    while (!m_queue.empty() && now - m_queue.front().since > m_patience) {
        MoveFirst(late);
    }
    std::size_t bytes = 0;
    while (!m_queue.empty() && group.size() < m_limit.Get() && bytes < kMostBytes) {
        bytes += m_queue.front().bytes;
        MoveFirst(group);
    }
    const bool wake = !m_queue.empty() && ClaimWakeUp();
    lock.unlock();
    m_room.NotifyAll();
    if (wake) {
        m_arrival.NotifyOne();
    }
    return true;
}

void HeldUpserts::Run() noexcept {
    Queue group;
    Queue late;
    while (Take(group, late)) {
        WriteAndEnd(late, Clock::time_point::min());
        const auto start = Clock::now();
        const std::size_t count = group.size();
        WriteAndEnd(group, start + m_patience);
        m_limit.Note(count, Clock::now() - start);
    }
}

void HeldUpserts::WriteAndEnd(Queue& group, Clock::time_point deadline) noexcept {
    if (group.empty()) {
        return;
    }
    try {
        std::vector<Upsert*> upserts;
        std::ranges::transform(group, std::back_inserter(upserts),
                               [](const Waiting& waiting) { return waiting.upsert.get(); });
        m_writer.Write(upserts, deadline);
    } catch (const std::bad_alloc&) {
        // None of them is stored.
    }
    QUILLON_FAILPOINT("before-held-answers");
    for (const Waiting& waiting : group) {
        waiting.output->End(waiting.upsert->isStored);
    }
    QUILLON_FAILPOINT("before-announcing");
    Announce(group);
    group.clear();
}

void HeldUpserts::Announce(Queue& group) noexcept {
    try {
        std::vector<PendingEvent> events;
        for (Waiting& waiting : group) {
            if (waiting.upsert->isStored && waiting.upsert->event) {
                events.push_back(std::move(*waiting.upsert->event));
            }
        }
        m_announcer.Offer(std::move(events));
    } catch (const std::bad_alloc&) {
        // The relay announces them.
    }
}

}  // namespace CommonServices::Mongo
