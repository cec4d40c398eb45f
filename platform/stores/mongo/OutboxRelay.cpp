#include "platform/stores/mongo/OutboxRelay.h"

#include <algorithm>
#include <condition_variable>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/stores/mongo/Client.h"
#include "platform/stores/mongo/MongoStore.h"
#include "platform/stores/mongo/RecordDocument.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::MutexLock;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kOwner = "owner";
constexpr const char* kTurn = "turn";
// A log that refuses that many in a row is away; the rest of the backlog would only wait for it.
constexpr std::uint64_t kRefusedWhenAway = 16;
// Few at once, so that what others announce meanwhile is not announced again.
constexpr std::int32_t kAtOnce = 64;
constexpr int kRenewalsInALife = 4;

}  // namespace

Lease::Lease(std::string name, std::chrono::milliseconds life)
    : m_name(std::move(name)), m_life(life), m_self(NewToken()) {}

Document Lease::FilterOf(const Token& owner, std::int64_t turn) const {
    Document filter;
    filter.Text(Fields::kId, m_name).Id(kOwner, owner).Long(kTurn, turn);
    return filter;
}

bool Lease::Hold(Client& client) {
    const auto become = [&](const Token& owner, std::int64_t turn) {
        Document update;
        update.Child("$set", Document().Id(kOwner, m_self).Long(kTurn, turn + 1));
        m_isOurs = client.Update(Collections::kLeases, FilterOf(owner, turn), update) > 0;
        m_turn = turn + 1;
        return m_isOurs;
    };
    if (m_isOurs && become(m_self, m_turn)) {
        return true;
    }
    bool isThere = false;
    Token owner{};
    std::int64_t turn = 0;
    client.Find(Collections::kLeases, Document().Text(Fields::kId, m_name), Document(),
                [&](const bson_t& lease) {
                    const auto foundOwner = Value(lease, kOwner).Id();
                    const auto foundTurn = Value(lease, kTurn).Number();
                    isThere = foundOwner && foundTurn;
                    owner = foundOwner.value_or(Token{});
                    turn = foundTurn.value_or(0);
                    return true;
                });
    if (!isThere) {
        Document lease = FilterOf(m_self, 1);
        try {
            client.Insert(Collections::kLeases, lease);
        } catch (const Fault& fault) {
            if (fault.kind != Fault::Kind::Duplicate) {
                throw;
            }
            return false;  // another was faster
        }
        m_turn = 1;
        return m_isOurs = true;
    }
    if (bson_oid_equal(&owner, &m_self)) {
        return become(owner, turn);  // a renewal whose answer was lost
    }
    const auto now = Clock::now();
    if (turn != m_turn || !bson_oid_equal(&owner, &m_seenOwner)) {
        m_turn = turn;
        m_seenOwner = owner;
        m_seenSince = now;
        return false;
    }
    return now - m_seenSince >= m_life && become(owner, turn);
}

void Lease::LetGo(Client& client) {
    if (std::exchange(m_isOurs, false)) {
        client.Delete(Collections::kLeases, FilterOf(m_self, m_turn));
    }
}

OutboxRelay::OutboxRelay(const MongoSettings& settings, Clients& clients, Announcer& announcer)
    : m_age(settings.relayAge),
      m_pause(settings.leaseLife / kRenewalsInALife),
      m_clients(clients),
      m_announcer(announcer),
      m_lease("relay", settings.leaseLife),
      m_thread([this](const std::stop_token& stop) { Run(stop); }) {}

OutboxRelay::~OutboxRelay() = default;

void OutboxRelay::Run(const std::stop_token& stop) {
    PlatformAbstraction::Mutex mutex;
    std::condition_variable_any stopped;
    while (!stop.stop_requested()) {
        try {
            Round(stop);
            m_isFailing = false;
        } catch (const std::exception& fault) {
            if (!std::exchange(m_isFailing, true)) {
                PlatformAbstraction::Log::Warning("Pending events cannot be looked for: " +
                                                  std::string(fault.what()));
            }
        }
        MutexLock lock(mutex);
        stopped.wait_for(lock, stop, m_pause, [] { return false; });
    }
    try {
        Client client(m_clients);
        m_lease.LetGo(client);
    } catch (const std::exception&) {
        // It runs out by itself.
    }
}

void OutboxRelay::Round(const std::stop_token& stop) {
    Client client(m_clients);
    if (!m_lease.Hold(client)) {
        return;
    }
    m_renewAt = Clock::now() + m_pause;
    m_refusedBefore = m_announcer.RefusedInARow();
    Document filter;
    filter.Child(Fields::kSince, Document().Time("$lt", std::chrono::system_clock::now() - m_age));
    Document options;
    options.Child("sort", Document().Int(Fields::kSince, 1))
        .Child("projection", Document().Int(Fields::kCollection, 1).Int(Fields::kOutbox, 1))
        .Int("batchSize", kAtOnce);
    client.Find(Collections::kRecords, filter, options,
                [&](const bson_t& document) { return Relay(client, document, stop); });
    while (!m_announcer.IsIdleWithin({m_pause, stop}) && GoesOn(client, stop)) {
    }
}

bool OutboxRelay::GoesOn(Client& client, const std::stop_token& stop) {
    m_refusedBefore = std::min(m_refusedBefore, m_announcer.RefusedInARow());
    if (stop.stop_requested() || m_announcer.RefusedInARow() >= m_refusedBefore + kRefusedWhenAway) {
        return false;
    }
    if (Clock::now() < m_renewAt) {
        return true;
    }
    m_renewAt = Clock::now() + m_pause;
    return m_lease.Hold(client);
}

bool OutboxRelay::Relay(Client& client, const bson_t& document, const std::stop_token& stop) {
    if (!GoesOn(client, stop)) {
        return false;
    }
    Document filter;
    filter.Copy(Fields::kId, Value(document, Fields::kId));
    const bool isOfRemoved = !Value(document, Fields::kCollection).IsThere();
    const auto entries = Value(document, Fields::kOutbox).Children();
    for (const Document& entry : entries) {
        const auto token = Value(*entry.Get(), Fields::kToken).Id();
        if (!token) {
            continue;
        }
        const PendingEvent event{filter, *token, isOfRemoved, EventOf(entry)};
        while (!m_announcer.OfferWithin({m_pause, stop}, event)) {
            if (!GoesOn(client, stop)) {
                return false;
            }
        }
    }
    if (entries.empty()) {
        // Two processes took out one event each, and neither saw that nothing was left.
        filter.Child(Fields::kOutbox, Document().Int("$size", 0));
        Document update;
        update.Child("$unset", Document().Text(Fields::kOutbox, "").Text(Fields::kSince, ""));
        client.Update(Collections::kRecords, filter, update);
    }
    return true;
}

}  // namespace CommonServices::Mongo
