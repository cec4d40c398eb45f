#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <thread>
#include <vector>

#include "base/concurrency/HeldOutput.h"
#include "base/concurrency/Mutex.h"
#include "platform/stores/mongo/GroupLimit.h"
#include "platform/stores/mongo/Upserts.h"

namespace CommonServices::Mongo {

/// Upserts that no thread waits for. They gather by arrival, and a few threads write what has gathered as a
/// group each, with one message; then their outputs are told, each how its own upsert went, and their events
/// are announced. Any thread may call.
class HeldUpserts {
public:
    /// `writer` and `announcer` must outlive it. Each upsert ends within about `timeout`.
    HeldUpserts(std::chrono::milliseconds timeout, UpsertWriter& writer, Announcer& announcer);
    /// Ends what was added. Nothing may be added any more.
    ~HeldUpserts();
    HeldUpserts(const HeldUpserts&) = delete;
    HeldUpserts& operator=(const HeldUpserts&) = delete;

    /// On the thread of the output's work; returns at once. Back-pressure: where too many or too large ones
    /// are waiting it first waits for room. False where that does not come in time.
    [[nodiscard]] bool Add(std::unique_ptr<Upsert> upsert, PlatformAbstraction::HeldOutput& output);

private:
    using Clock = std::chrono::steady_clock;
    struct Waiting {
        std::unique_ptr<Upsert> upsert;
        PlatformAbstraction::HeldOutput* output;
        Clock::time_point since;
        std::size_t bytes;
    };
    using Queue = std::list<Waiting>;  // moves from one to the other take no memory, and so cannot fail

    void Run() noexcept;
    /// Waits for upserts and fills `group` with some, and `late` with those that have waited for too long.
    /// False once the queue was closed and is empty.
    bool Take(Queue& group, Queue& late) noexcept;
    void MoveFirst(Queue& to) noexcept QUILLON_REQUIRES(m_mutex);
    bool HasRoomFor(std::size_t bytes) const QUILLON_REQUIRES(m_mutex);
    bool ClaimWakeUp() QUILLON_REQUIRES(m_mutex);
    void WriteAndEnd(Queue& group, Clock::time_point deadline) noexcept;
    void Announce(Queue& group) noexcept;

    const std::chrono::milliseconds m_patience;
    GroupLimit m_limit;
    UpsertWriter& m_writer;
    Announcer& m_announcer;

    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_arrival;
    PlatformAbstraction::Condition m_room;
    Queue m_queue QUILLON_GUARDED_BY(m_mutex);
    std::size_t m_bytes QUILLON_GUARDED_BY(m_mutex) = 0;
    std::size_t m_sleeping QUILLON_GUARDED_BY(m_mutex) = 0;
    bool m_isWaking QUILLON_GUARDED_BY(m_mutex) = false;  // of these, one is to be or was woken
    bool m_isClosed QUILLON_GUARDED_BY(m_mutex) = false;
    std::vector<std::jthread> m_threads;  // the last member: they use the others
};

}  // namespace CommonServices::Mongo
