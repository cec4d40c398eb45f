#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Core/src/wf_Record.h"
#include "platform/stores/mongo/Announcer.h"
#include "platform/stores/mongo/Client.h"

namespace PlatformAbstraction::Log {
class OutageLog;
}

namespace CommonServices::Mongo {

class Places;

/// A record on its way to the database, as documents that are ready to go, and the event in its outbox.
struct Upsert {
    Client::Step step;
    std::optional<PendingEvent> event;
    bool isStored = false;  ///< known to be on the disks of a majority

    std::size_t Bytes() const noexcept { return step.filter.Size() + step.update.Size(); }
};

/// Whether the database takes a document of so many bytes; where not, that is logged.
bool FitsDocument(std::size_t bytes);

/// Null where the record is too large for the database, which is logged.
std::unique_ptr<Upsert> NewUpsert(const Weftline::Record& record, const Weftline::Record* event);

/// Writes records, as many as there are with one message. Any thread may call.
class UpsertWriter {
public:
    /// These must outlive it.
    UpsertWriter(Clients& clients, Places& places, PlatformAbstraction::Log::OutageLog& outages)
        : m_clients(clients), m_places(places), m_outages(outages) {}

    /// Each becomes stored, or is refused alone and that is logged; all that the database did not answer for
    /// count as not stored, though they may be. Asks no more after `deadline`.
    void Write(std::span<Upsert* const> upserts, std::chrono::steady_clock::time_point deadline) noexcept;

private:
    using Open = std::vector<Upsert*>;

    /// Gives those that are to be written anew.
    Open WriteOnce(Client& client, const Open& open);
    void TellOutage(const std::exception& fault) noexcept;
    Open WithoutStrangers(Client& client, const Open& clashing);

    Clients& m_clients;
    Places& m_places;
    PlatformAbstraction::Log::OutageLog& m_outages;
};

}  // namespace CommonServices::Mongo
