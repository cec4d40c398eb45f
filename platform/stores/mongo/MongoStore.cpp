#include "platform/stores/mongo/MongoStore.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <utility>

#include "base/log/OutageLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/mongo/Announcer.h"
#include "platform/stores/mongo/Client.h"
#include "platform/stores/mongo/HeldUpserts.h"
#include "platform/stores/mongo/OutboxRelay.h"
#include "platform/stores/mongo/Places.h"
#include "platform/stores/mongo/RecordDocument.h"
#include "platform/stores/mongo/Upserts.h"

namespace CommonServices {

namespace Mongo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kReadOutage = "The store cannot be read";
constexpr const char* kReplaceOutage = "Records cannot be replaced";
constexpr const char* kDeleteOutage = "Records cannot be deleted";

// Ids that go with one message, so that it stays far below what a message may take.
constexpr std::size_t kIdsAtOnce = 1000;

Document WithIds(std::span<const std::string> ids) {
    Document filter;
    filter.Child(Fields::kId, Document().Texts("$in", ids));
    return filter;
}

Document OfType(const std::string& collection, const std::string& type) {
    Document filter;
    filter.Text(Fields::kCollection, collection).Text(Fields::kType, type);
    return filter;
}

Document Without(std::initializer_list<const char*> fields) {
    Document projection;
    for (const char* const field : fields) {
        projection.Int(field, 0);
    }
    Document options;
    options.Child("projection", projection);
    return options;
}

template <typename Work>
void ForEachPart(const std::vector<std::string>& ids, Work work) {
    std::span<const std::string> rest(ids);
    while (!rest.empty()) {
        const auto part = rest.first(std::min(rest.size(), kIdsAtOnce));
        work(part);
        rest = rest.subspan(part.size());
    }
}

void MakeIndexes(Client& client) {
    const auto indexOf = [](const char* name, const Document& keys, bool isSparse) {
        Document index;
        index.Text("name", name).Child("key", keys);
        if (isSparse) {
            index.Bool("sparse", true);
        }
        return index;
    };
    Document byType;
    byType.Int(Fields::kCollection, 1).Int(Fields::kType, 1).Int(Fields::kPlace, 1);
    Document byReference;
    byReference.Int(Fields::kCollection, 1)
        .Int(Fields::kType, 1)
        .Int(Fields::kReferences, 1)
        .Int(Fields::kPlace, 1);
    const Document indexes[] = {indexOf("byType", byType, false), indexOf("byReference", byReference, false),
                                indexOf("bySince", Document().Int(Fields::kSince, 1), true)};
    client.Command(Document().Text("createIndexes", Collections::kRecords).Children("indexes", indexes));
}

void RequireTransactions(Client& client) {
    const Document hello = client.Command(Document().Int("hello", 1), true);
    if (!Value(*hello.Get(), "setName").IsThere() && Value(*hello.Get(), "msg").Text() != "isdbgrid") {
        throw ObjectStoreException(
            "The MongoDB server of mongo-uri is no member of a replica set, without which it has no "
            "transactions; start it with --replSet NAME and run rs.initiate() in its shell once (one server "
            "may "
            "be a set of its own)");
    }
}

}  // namespace

class MongoRecordStore final : public RecordStore {
public:
    MongoRecordStore(const MongoSettings& settings, std::shared_ptr<EventLog> events)
        : m_timeout(settings.timeout),
          m_events(events.get()),
          m_clients(settings),
          m_upserts(m_clients, m_places, m_outages),
          m_announcer(std::move(events), m_clients, settings.timeout, m_outages),
          m_relay((Prepare(m_clients), settings), m_clients, m_announcer),
          m_held(settings.timeout, m_upserts, m_announcer) {}

    bool UpsertOne(const Weftline::Record& record) override { return Upsert(record, nullptr); }

    ReplaceOutcome ReplaceIf(const std::optional<Weftline::Record>& seen,
                             const Weftline::Record& next) override;

    bool UpsertOneAndProduce(const Weftline::Record& record, EventLog& events,
                             const Weftline::Record& event) override {
        if (&events != m_events) {
            return RecordStore::UpsertOneAndProduce(record, events, event);
        }
        return Upsert(record, &event);
    }

    bool UpsertOneAndProduceHeld(Weftline::Record&& record, EventLog& events, Weftline::Record&& event,
                                 PlatformAbstraction::HeldOutput& output) override {
        if (&events != m_events) {
            return RecordStore::UpsertOneAndProduce(record, events, event);
        }
        auto upsert = NewUpsert(record, &event);
        return upsert != nullptr && m_held.Add(std::move(upsert), output);
    }

    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override {
        return std::move(FindManyByID({id}, collection).front());
    }

    std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                              const std::string& collection) override {
        return FindMany(ids, collection, Without({Fields::kOutbox, Fields::kReferences}));
    }

    std::vector<std::optional<Weftline::Record>> FindManyWithoutData(const std::vector<std::string>& ids,
                                                                     const std::string& collection) override {
        return FindMany(ids, collection, Without({Fields::kOutbox, Fields::kReferences, Fields::kData}));
    }

    std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection, const std::string& type,
                                                    std::int32_t offset, std::int32_t limit) override {
        return List(OfType(collection, type), offset, limit);
    }

    std::vector<Weftline::Record> FindRecordsWithReferencedID(const std::string& collection,
                                                              const std::string& type, const std::string& key,
                                                              const std::string& value, std::int32_t offset,
                                                              std::int32_t limit) override {
        Document filter = OfType(collection, type);
        filter.Bytes(Fields::kReferences, ReferenceHash(key, value));
        return List(filter, offset, limit);
    }

    bool DeleteMany(const std::vector<std::string>& ids) override;

    std::vector<std::string> TakeDataWithReferencedID(const std::string& collection, const std::string& type,
                                                      const std::string& key,
                                                      const std::string& value) override;

private:
    static void Prepare(Clients& clients);

    template <typename Work>
    void Read(Work work) {
        try {
            Client client(m_clients);
            work(client);
            m_outages.Up(kReadOutage);
        } catch (const Fault& fault) {
            m_outages.Down(kReadOutage, fault.what());
            throw ObjectStoreException("The store cannot be read: the database refuses or does not answer");
        }
    }
    Clock::time_point Deadline() const { return Clock::now() + m_timeout / 2; }
    bool Upsert(const Weftline::Record& record, const Weftline::Record* event);
    std::vector<std::optional<Weftline::Record>> FindMany(const std::vector<std::string>& ids,
                                                          const std::string& collection,
                                                          const Document& options);
    std::vector<Weftline::Record> List(const Document& filter, std::int32_t offset, std::int32_t limit);
    void Delete(Client& client, const std::vector<std::string>& ids);

    const std::chrono::milliseconds m_timeout;
    const EventLog* const m_events;
    Clients m_clients;
    PlatformAbstraction::Log::OutageLog m_outages;
    Places m_places;
    UpsertWriter m_upserts;
    Announcer m_announcer;
    OutboxRelay m_relay;
    HeldUpserts m_held;
};

void MongoRecordStore::Prepare(Clients& clients) {
    try {
        Client client(clients);
        RequireTransactions(client);
        MakeIndexes(client);
        Places::Prepare(client);
    } catch (const Fault& fault) {
        throw ObjectStoreException("The database of mongo-uri cannot be used: " + std::string(fault.what()));
    }
}

bool MongoRecordStore::Upsert(const Weftline::Record& record, const Weftline::Record* event) {
    const auto upsert = NewUpsert(record, event);
    if (upsert == nullptr) {
        return false;
    }
    Mongo::Upsert* const only = upsert.get();
    m_upserts.Write({&only, 1}, Deadline());
    if (upsert->isStored && event != nullptr) {
        m_announcer.Offer({std::move(*upsert->event)});
    }
    return upsert->isStored;
}

// All of what was seen stands in the filter, so the database itself compares, and what else the document has
// does not matter.
ReplaceOutcome MongoRecordStore::ReplaceIf(const std::optional<Weftline::Record>& seen,
                                           const Weftline::Record& next) {
    Document filter;
    filter.Text(Fields::kId, next.recordID).Text(Fields::kCollection, next.recordTopic);
    Document update;
    update.Child("$set", FieldsOf(next, std::chrono::system_clock::now()));
    if (seen) {
        AppendPlainFields(filter, *seen);
    } else {
        filter.Child(Fields::kPlace, Document().Bool("$exists", false));  // so that one that is there clashes
    }
    if (!FitsDocument(std::max(filter.Size(), update.Size()))) {
        return ReplaceOutcome::Failed;
    }
    try {
        Client client(m_clients);
        if (!seen) {
            update.Child("$setOnInsert", Document().Long(Fields::kPlace, m_places.Take(client)));
        }
        const auto ifMissing = seen ? IfMissing::Leave : IfMissing::Insert;
        const bool isSame = client.Update(Collections::kRecords, filter, update, ifMissing) > 0;
        m_outages.Up(kReplaceOutage);
        return isSame || !seen ? ReplaceOutcome::Replaced : ReplaceOutcome::Changed;
    } catch (const Fault& fault) {
        if (fault.kind == Fault::Kind::Duplicate) {
            return ReplaceOutcome::Changed;
        }
        m_outages.Down(kReplaceOutage, fault.what());
        return ReplaceOutcome::Failed;
    }
}

std::vector<std::optional<Weftline::Record>> MongoRecordStore::FindMany(const std::vector<std::string>& ids,
                                                                        const std::string& collection,
                                                                        const Document& options) {
    std::multimap<std::string_view, std::size_t> wanted;
    for (std::size_t place = 0; place < ids.size(); ++place) {
        wanted.emplace(ids[place], place);
    }
    std::vector<std::optional<Weftline::Record>> found(ids.size());
    Read([&](Client& client) {
        ForEachPart(ids, [&](std::span<const std::string> part) {
            Document filter = WithIds(part);
            filter.Text(Fields::kCollection, collection);
            client.Find(Collections::kRecords, filter, options, [&](const bson_t& document) {
                const Weftline::Record record = Mongo::RecordOf(document);
                const auto [first, last] = wanted.equal_range(record.recordID);
                std::for_each(first, last, [&](const auto& place) { found[place.second] = record; });
                return true;
            });
        });
    });
    return found;
}

std::vector<Weftline::Record> MongoRecordStore::List(const Document& filter, std::int32_t offset,
                                                     std::int32_t limit) {
    std::vector<Weftline::Record> found;
    if (limit <= 0) {
        return found;  // which the database would take for no limit
    }
    Document options = Without({Fields::kOutbox, Fields::kReferences});
    options.Child("sort", Document().Int(Fields::kPlace, 1))
        .Long("skip", std::max(offset, 0))
        .Long("limit", limit);
    Read([&](Client& client) {
        client.Find(Collections::kRecords, filter, options, [&found](const bson_t& document) {
            found.push_back(Mongo::RecordOf(document));
            return true;
        });
    });
    return found;
}

// Within a transaction. Events that are pending go on waiting in documents of their own: whoever removes a
// record does not wait for the event log.
void MongoRecordStore::Delete(Client& client, const std::vector<std::string>& ids) {
    ForEachPart(ids, [&](std::span<const std::string> part) {
        std::vector<Document> left;
        Document pending = WithIds(part);
        pending.Child(Fields::kSince, Document().Bool("$exists", true));
        client.Find(Collections::kRecords, pending, Document(), [&left](const bson_t& document) {
            for (const Document& entry : Value(document, Fields::kOutbox).Children()) {
                Document& waiting = left.emplace_back();
                waiting.Copy(Fields::kId, Value(*entry.Get(), Fields::kToken))
                    .Copy(Fields::kSince, Value(document, Fields::kSince))
                    .Children(Fields::kOutbox, std::span(&entry, 1));
            }
            return true;
        });
        for (const Document& waiting : left) {
            client.Insert(Collections::kRecords, waiting);
        }
        client.Delete(Collections::kRecords, WithIds(part));
    });
}

bool MongoRecordStore::DeleteMany(const std::vector<std::string>& ids) {
    if (ids.empty()) {
        return true;
    }
    try {
        Client client(m_clients);
        client.InTransaction(Deadline(), [&] { Delete(client, ids); });
        m_outages.Up(kDeleteOutage);
        return true;
    } catch (const Fault& fault) {
        m_outages.Down(kDeleteOutage, fault.what());
        return false;
    }
}

std::vector<std::string> MongoRecordStore::TakeDataWithReferencedID(const std::string& collection,
                                                                    const std::string& type,
                                                                    const std::string& key,
                                                                    const std::string& value) {
    // Whoever waits for results looks often, and a look costs no transaction.
    if (FindRecordsWithReferencedID(collection, type, key, value, 0, 1).empty()) {
        return {};
    }
    Document filter = OfType(collection, type);
    filter.Bytes(Fields::kReferences, ReferenceHash(key, value));
    Document options;
    options.Child("sort", Document().Int(Fields::kPlace, 1))
        .Child("projection", Document().Int(Fields::kData, 1));
    std::vector<std::string> data;
    Read([&](Client& client) {
        try {
            client.InTransaction(Deadline(), [&] {
                std::vector<std::string> ids;
                data.clear();
                client.Find(Collections::kRecords, filter, options, [&](const bson_t& document) {
                    Weftline::Record record = Mongo::RecordOf(document);
                    ids.push_back(std::move(record.recordID));
                    data.push_back(std::move(record.recordData));
                    return true;
                });
                Delete(client, ids);
            });
        } catch (const Fault& fault) {
            if (data.empty()) {
                throw;
            }
            m_outages.Down(kDeleteOutage, fault.what());
        }
    });
    return data;
}

}  // namespace Mongo

std::shared_ptr<RecordStore> OpenMongoStore(const MongoSettings& settings, std::shared_ptr<EventLog> events) {
    return std::make_shared<Mongo::MongoRecordStore>(settings, std::move(events));
}

}  // namespace CommonServices
