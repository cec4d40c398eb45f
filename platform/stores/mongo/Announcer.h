#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <stop_token>
#include <thread>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/concurrency/Mutex.h"
#include "platform/stores/mongo/Document.h"

namespace CommonServices {
class EventLog;
}

namespace CommonServices::Mongo {

class Clients;

/// An event in the outbox of a document.
struct PendingEvent {
    Document id;  ///< the document's `_id`, as a filter
    Token token;
    bool isOfRemoved = false;  ///< the document is there for this event alone
    Weftline::Record event;
};

/// How long somebody waits: that long at most, and not beyond the stop.
struct Patience {
    std::chrono::milliseconds longest{0};
    std::stop_token stop = {};
};

/// Brings pending events to the event log and takes them out of their outboxes, on threads of its own: those
/// of one record one after the other, those of others beside it, since the log answers each in its own time.
/// What the log does not take, or the end comes before, stays pending. Any thread may call.
class Announcer {
public:
    Announcer(std::shared_ptr<EventLog> log, Clients& clients);
    /// Waits for the events that the log is at.
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /// Without effect for an event that is under way already. False where there is no room.
    bool Offer(PendingEvent event);
    /// The same, but waits for room first.
    bool OfferWithin(const Patience& patience, PendingEvent event);
    /// Waits until nothing is under way; false where that did not come in time.
    bool IsIdleWithin(const Patience& patience);
    /// How many events the log has refused since it last took one.
    std::uint64_t RefusedInARow() const noexcept { return m_refused; }

private:
    struct ByBytes {
        bool operator()(const Token& left, const Token& right) const noexcept;
    };

    /// A thread with the events of its share of the records.
    struct Lane {
        PlatformAbstraction::Mutex mutex;
        std::condition_variable_any changed;
        std::deque<PendingEvent> events QUILLON_GUARDED_BY(mutex);
        std::set<Token, ByBytes> underWay QUILLON_GUARDED_BY(mutex);
        std::jthread thread;
    };

    Lane& LaneOf(const PendingEvent& event);
    bool Put(Lane& lane, PendingEvent event) QUILLON_REQUIRES(lane.mutex);
    void Run(Lane& lane, const std::stop_token& stop);
    bool Announce(const PendingEvent& event) noexcept;
    void TakeOut(const std::vector<PendingEvent>& events) noexcept;

    const std::shared_ptr<EventLog> m_pLog;
    Clients& m_clients;
    std::atomic<std::uint64_t> m_refused{0};
    std::vector<std::unique_ptr<Lane>> m_lanes;  // constant after construction
};

}  // namespace CommonServices::Mongo
