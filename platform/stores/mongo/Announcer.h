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
#include "base/log/OutageLog.h"
#include "platform/stores/mongo/Document.h"
#include "platform/stores/mongo/GroupLimit.h"

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

/// Brings pending events to the event log and takes them out of their outboxes, on threads of its own and as
/// many at once as there are by then: those of one record in order.
/// What the log does not take, or the end comes before, stays pending. Any thread may call.
class Announcer {
public:
    /// `clients` and `outages` must outlive it.
    Announcer(std::shared_ptr<EventLog> log, Clients& clients, std::chrono::milliseconds timeout,
              PlatformAbstraction::Log::OutageLog& outages);
    /// Waits for the events that the log is at.
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /// Those for which there is no room are left to the relay, and those that are under way already as they
    /// are.
    void Offer(std::vector<PendingEvent> events);
    /// The same of one, but waits for room first; false where there was none in time.
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
    /// Gives those that the log has.
    std::vector<const PendingEvent*> Announce(const std::vector<PendingEvent>& events) noexcept;
    void TakeOut(const std::vector<const PendingEvent*>& events) noexcept;

    const std::shared_ptr<EventLog> m_pLog;
    Clients& m_clients;
    PlatformAbstraction::Log::OutageLog& m_outages;
    GroupLimit m_limit;
    std::atomic<std::uint64_t> m_refused{0};
    std::vector<std::unique_ptr<Lane>> m_lanes;  // constant after construction
};

}  // namespace CommonServices::Mongo
