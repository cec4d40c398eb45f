#include "platform/stores/mongo/Upserts.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "base/log/OutageLog.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/mongo/Places.h"
#include "platform/stores/mongo/RecordDocument.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::Log::Error;

namespace {

// What one document may take, less what the server wants beside it; a larger one would come back refused.
constexpr std::size_t kMostDocumentBytes = 16 * 1024 * 1024 - 16 * 1024;

constexpr const char* kOutage = "Records cannot be stored";
constexpr const char* kTooSlow = "the database is too slow";

void TellRefused(const std::string& why) {
    Error("A record cannot be stored: " + why);
}

}  // namespace

bool FitsDocument(std::size_t bytes) {
    if (bytes > kMostDocumentBytes) {
        TellRefused("it takes " + std::to_string(bytes) + " bytes, and MongoDB takes " +
                    std::to_string(kMostDocumentBytes));
    }
    return bytes <= kMostDocumentBytes;
}

std::unique_ptr<Upsert> NewUpsert(const Weftline::Record& record, const Weftline::Record* event) {
    auto upsert = std::make_unique<Upsert>();
    auto& [filter, update] = upsert->step;
    const auto now = std::chrono::system_clock::now();
    filter.Text(Fields::kId, record.recordID).Text(Fields::kCollection, record.recordTopic);
    update.Child("$set", FieldsOf(record, now));
    if (event != nullptr) {
        Document id;
        id.Text(Fields::kId, record.recordID);
        upsert->event.emplace(PendingEvent{std::move(id), NewToken(), false, *event});
        update.Child("$push", Document().Child(Fields::kOutbox, OutboxEntryOf(upsert->event->token, *event)))
            .Child("$min", Document().Time(Fields::kSince, now));
    }
    return FitsDocument(upsert->Bytes()) ? std::move(upsert) : nullptr;
}

void UpsertWriter::Write(std::span<Upsert* const> upserts,
                         std::chrono::steady_clock::time_point deadline) noexcept {
    try {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw Fault(Fault::Kind::Other, kTooSlow);
        }
        Client client(m_clients);
        for (Upsert* const upsert : upserts) {
            upsert->step.update.Child("$setOnInsert", Document().Long(Fields::kPlace, m_places.Take(client)));
        }
        for (Open open(upserts.begin(), upserts.end()); !open.empty();) {
            if (std::chrono::steady_clock::now() >= deadline) {
                throw Fault(Fault::Kind::Other, kTooSlow);
            }
            open = WriteOnce(client, open);
        }
        if (std::ranges::all_of(upserts, &Upsert::isStored)) {
            m_outages.Up(kOutage);
        }
    } catch (const std::exception& fault) {
        TellOutage(fault);
    }
}

void UpsertWriter::TellOutage(const std::exception& fault) noexcept {
    try {
        m_outages.Down(kOutage, fault.what());
    } catch (const std::exception&) {
        return;  // no memory for a line
    }
}

UpsertWriter::Open UpsertWriter::WriteOnce(Client& client, const Open& open) {
    std::vector<const Client::Step*> steps;
    std::ranges::transform(open, std::back_inserter(steps),
                           [](const Upsert* upsert) { return &upsert->step; });
    const auto refusals = client.Upsert(Collections::kRecords, steps);
    for (Upsert* const upsert : open) {
        upsert->isStored = true;
    }
    Open clashing;
    for (const auto& [place, fault] : refusals) {
        Upsert& refused = *open[place];
        refused.isStored = false;
        if (fault.kind == Fault::Kind::Duplicate) {
            clashing.push_back(&refused);
        } else {
            TellOutage(fault);  // a full disk refuses each for itself
        }
    }
    return clashing.empty() ? Open() : WithoutStrangers(client, clashing);
}

// Either an id lives in another collection, or somebody else made this very record meanwhile.
UpsertWriter::Open UpsertWriter::WithoutStrangers(Client& client, const Open& clashing) {
    const auto isOurs = [&client](const Upsert* upsert) {
        bool isThere = false;
        client.Find(Collections::kRecords, upsert->step.filter,
                    Document().Child("projection", Document().Int(Fields::kId, 1)),
                    [&isThere](const bson_t&) {
                        isThere = true;
                        return false;
                    });
        if (!isThere) {
            TellRefused("another collection has one of this id");
        }
        return isThere;
    };
    Open ours;
    std::ranges::copy_if(clashing, std::back_inserter(ours), isOurs);
    return ours;
}

}  // namespace CommonServices::Mongo
