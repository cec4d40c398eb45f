#include "platform/stores/mongo/Announcer.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/mongo/Client.h"
#include "platform/stores/mongo/RecordDocument.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::MutexLock;

namespace {

constexpr std::size_t kLanes = 8;
// More are left to the relay, so that a log that is away costs no more memory than this.
constexpr std::size_t kMostWaiting = 256;
// How many are taken out of their outboxes with one message to the database.
constexpr std::size_t kBatch = 32;

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
    Document filter = event.id;
    filter.Id(Fields::kOutboxToken, event.token).Child(Fields::kOutbox, Document().Int("$size", 1));
    Document update;
    update.Child("$unset", Document().Text(Fields::kOutbox, "").Text(Fields::kSince, ""));
    return {filter, update};
}

}  // namespace

bool Announcer::ByBytes::operator()(const Token& left, const Token& right) const noexcept {
    return bson_oid_compare(&left, &right) < 0;
}

Announcer::Announcer(std::shared_ptr<EventLog> log, Clients& clients)
    : m_pLog(std::move(log)), m_clients(clients) {
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

bool Announcer::Offer(PendingEvent event) {
    Lane& lane = LaneOf(event);
    const MutexLock lock(lane.mutex);
    return Put(lane, std::move(event));
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
            while (!lane.events.empty() && events.size() < kBatch) {
                events.push_back(std::move(lane.events.front()));
                lane.events.pop_front();
            }
        }
        std::vector<PendingEvent> announced;
        for (const PendingEvent& event : events) {
            if (!stop.stop_requested() && Announce(event)) {
                announced.push_back(event);
            }
        }
        TakeOut(announced);
        const MutexLock lock(lane.mutex);
        for (const PendingEvent& event : events) {
            lane.underWay.erase(event.token);
        }
        lane.changed.notify_all();
    }
}

bool Announcer::Announce(const PendingEvent& event) noexcept {
    std::string reason = "it was refused";
    try {
        if (m_pLog->Produce(event.event, true)) {
            if (m_refused.exchange(0) > 0) {
                PlatformAbstraction::Log::Info("The event log takes events again");
            }
            return true;
        }
    } catch (const std::exception& fault) {
        reason = fault.what();
    }
    if (m_refused.fetch_add(1) == 0) {
        PlatformAbstraction::Log::Warning("An event did not reach the event log and stays with its record (" +
                                          reason + "); it is sent again until it does");
    }
    return false;
}

void Announcer::TakeOut(const std::vector<PendingEvent>& events) noexcept {
    if (events.empty()) {
        return;
    }
    try {
        std::vector<Client::Step> steps;
        for (const PendingEvent& event : events) {
            if (!event.isOfRemoved) {
                steps.push_back(TakingOutTheOnly(event));
            }
        }
        std::ranges::transform(events, std::back_inserter(steps), TakingOut);
        Client(m_clients).Write(Collections::kRecords, steps, Durability::One);
    } catch (const std::exception& fault) {
        PlatformAbstraction::Log::Warning(
            "Events that were announced stay with their records, so they may "
            "come a second time: " +
            std::string(fault.what()));
    }
}

}  // namespace CommonServices::Mongo
