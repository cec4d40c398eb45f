#include "platform/stores/mongo/Announcer.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "base/failpoint/Failpoint.h"
#include "base/log/OutageLog.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/mongo/Client.h"
#include "platform/stores/mongo/RecordDocument.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::MutexLock;
using PlatformAbstraction::Log::OutageLog;

namespace {

// While one waits for the log the other takes out what was announced.
constexpr std::size_t kLanes = 2;
// More are left to the relay, so that a log that is away costs no more memory than this.
constexpr std::size_t kMostWaiting = 4096;
// How many go to the log together, and with one message to the database.
constexpr std::size_t kMostAtOnce = 1024;

Client::Step TakingOut(const PendingEvent& event) {
    Document filter = event.id;
    filter.Id(Fields::kOutboxToken, event.token);
    if (event.isOfRemoved) {
        return {filter, {}};
    }
    Document update;
    update.Child("$pull", Document().Child(Fields::kOutbox, Document().Id(Fields::kToken, event.token)));
    return {filter, update};
}

// The usual case, in which nothing else is pending.
Client::Step TakingOutTheOnly(const PendingEvent& event) {
    if (event.isOfRemoved) {
        return TakingOut(event);
    }
    Document filter = event.id;
    filter.Id(Fields::kOutboxToken, event.token).Child(Fields::kOutbox, Document().Int("$size", 1));
    Document update;
    update.Child("$unset", Document().Text(Fields::kOutbox, "").Text(Fields::kSince, ""));
    return {filter, update};
}

constexpr const char* kLogOutage =
    "Events do not reach the event log; they stay with their records and are sent again until they do";
constexpr const char* kOutage =
    "Events that were announced stay with their records, so they may come a second time";

}  // namespace

bool Announcer::ByBytes::operator()(const Token& left, const Token& right) const noexcept {
    return bson_oid_compare(&left, &right) < 0;
}

Announcer::Announcer(std::shared_ptr<EventLog> log, Clients& clients, std::chrono::milliseconds timeout,
                     OutageLog& outages)
    : m_pLog(std::move(log)), m_clients(clients), m_outages(outages), m_limit(timeout, kMostAtOnce) {
    std::generate_n(std::back_inserter(m_lanes), kLanes, std::make_unique<Lane>);
    for (const auto& lane : m_lanes) {
        lane->thread = std::jthread([this, &lane = *lane](const std::stop_token& stop) { Run(lane, stop); });
    }
}

Announcer::~Announcer() {
    for (const auto& lane : m_lanes) {
        lane->thread.request_stop();
    }
    m_lanes.clear();
}

Announcer::Lane& Announcer::LaneOf(const PendingEvent& event) {
    const auto* const bytes = reinterpret_cast<const char*>(bson_get_data(event.id.Get()));
    return *m_lanes[std::hash<std::string_view>()({bytes, event.id.Size()}) % m_lanes.size()];
}

bool Announcer::Put(Lane& lane, PendingEvent event) {
    if (lane.underWay.contains(event.token)) {
        return true;
    }
    if (lane.events.size() >= kMostWaiting) {
        return false;
    }
    lane.underWay.insert(event.token);
    lane.events.push_back(std::move(event));
    lane.changed.notify_all();
    return true;
}

void Announcer::Offer(std::vector<PendingEvent> events) {
    for (PendingEvent& event : events) {
        Lane& lane = LaneOf(event);
        const MutexLock lock(lane.mutex);
        Put(lane, std::move(event));
    }
}

bool Announcer::OfferWithin(const Patience& patience, PendingEvent event) {
    Lane& lane = LaneOf(event);
    MutexLock lock(lane.mutex);
    const bool hasRoom = lane.changed.wait_for(lock, patience.stop, patience.longest, [&lane] {
        lane.mutex.AssertHeld();
        return lane.events.size() < kMostWaiting;
    });
    return hasRoom && Put(lane, std::move(event));
}

bool Announcer::IsIdleWithin(const Patience& patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience.longest;
    return std::ranges::all_of(m_lanes, [&](const auto& lane) {
        MutexLock lock(lane->mutex);
        return lane->changed.wait_until(lock, patience.stop, deadline, [&lane = *lane] {
            lane.mutex.AssertHeld();
            return lane.underWay.empty();
        });
    });
}

void Announcer::Run(Lane& lane, const std::stop_token& stop) {
    for (;;) {
        std::vector<PendingEvent> events;
        {
            MutexLock lock(lane.mutex);
            lane.changed.wait(lock, stop, [&lane] {
                lane.mutex.AssertHeld();
                return !lane.events.empty();
            });
            if (stop.stop_requested()) {
                return;
            }
            while (!lane.events.empty() && events.size() < m_limit.Get()) {
                events.push_back(std::move(lane.events.front()));
                lane.events.pop_front();
            }
        }
        TakeOut(Announce(events));
        const MutexLock lock(lane.mutex);
        for (const PendingEvent& event : events) {
            lane.underWay.erase(event.token);
        }
        lane.changed.notify_all();
    }
}

std::vector<const PendingEvent*> Announcer::Announce(const std::vector<PendingEvent>& events) noexcept {
    std::vector<const PendingEvent*> announced;
    std::string reason = "it was refused";
    try {
        std::vector<const Weftline::Record*> records;
        std::ranges::transform(events, std::back_inserter(records),
                               [](const PendingEvent& event) { return &event.event; });
        announced.reserve(events.size());
        const std::vector<bool> taken = m_pLog->ProduceAll(records);
        for (std::size_t place = 0; place < events.size(); ++place) {
            if (taken[place]) {
                announced.push_back(&events[place]);
            }
        }
    } catch (const std::exception& fault) {
        reason = fault.what();
    }
    if (!announced.empty()) {
        m_refused = 0;
    }
    if (announced.size() < events.size()) {
        m_refused += events.size() - announced.size();
        m_outages.Down(kLogOutage, reason);
    } else {
        m_outages.Up(kLogOutage);
    }
    return announced;
}

void Announcer::TakeOut(const std::vector<const PendingEvent*>& events) noexcept {
    if (events.empty()) {
        return;
    }
    QUILLON_FAILPOINT("after-announcing");
    const auto start = std::chrono::steady_clock::now();
    try {
        Client client(m_clients);
        const auto write = [&](Client::Step (*take)(const PendingEvent&)) {
            std::vector<Client::Step> steps;
            std::ranges::transform(events, std::back_inserter(steps),
                                   [take](const PendingEvent* event) { return take(*event); });
            return client.Write(Collections::kRecords, steps, Durability::One);
        };
        if (write(TakingOutTheOnly) < events.size()) {
            write(TakingOut);
        }
        m_outages.Up(kOutage);
    } catch (const std::exception& fault) {
        m_outages.Down(kOutage, fault.what());
    }
    m_limit.Note(events.size(), std::chrono::steady_clock::now() - start);
}

}  // namespace CommonServices::Mongo
