#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/EventLog.h"

namespace CommonServices {

/// A failure of the record store or the event log, or a record that had to be there and is not. A NUL in its
/// text, such as a client's id, stands there as "\x00".
class ObjectStoreException : public std::domain_error {
public:
    explicit ObjectStoreException(std::string_view message)
        : std::domain_error(PlatformAbstraction::Log::WithoutNul(message)) {}
};

/// Where records are kept. `ObjectStore` is a thin value over the one of the process, and its operations have
/// the same names from there down to the file. The embedded store is one implementation, a database of many
/// machines another.
///
/// Every implementation promises: any thread may call at any time; what `UpsertOne` has accepted survives the
/// end of the process and of the machine; a record's identity is its id, in the whole store; "the store's
/// order" is the order of first insertion, and an upsert keeps a record's place. Failures other than the bool
/// results are thrown as `ObjectStoreException`.
class RecordStore {
public:
    RecordStore() = default;
    RecordStore(const RecordStore&) = delete;
    RecordStore& operator=(const RecordStore&) = delete;
    virtual ~RecordStore() = default;

    /// Inserts or replaces under `record.recordID` in the collection `record.recordTopic`. False when the
    /// record was not stored, also when its id lives in another collection. Returns once it is durable.
    virtual bool UpsertOne(const Weftline::Record& record) = 0;

    /// As `UpsertOne`, and where that gives true as `events.Produce(event, true)`, whose result nobody looks
    /// at. A store whose file also holds those events commits the two together: both are there, or neither.
    virtual bool UpsertOneAndProduce(const Weftline::Record& record, EventLog& events,
                                     const Weftline::Record& event) {
        if (!UpsertOne(record)) {
            return false;
        }
        events.Produce(event, true);
        return true;
    }

    virtual std::optional<Weftline::Record> FindByID(const std::string& id,
                                                     const std::string& collection) = 0;

    /// One place for each id, empty where there is no such record. Cheaper than one after the other.
    virtual std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                                      const std::string& collection) {
        std::vector<std::optional<Weftline::Record>> found;
        found.reserve(ids.size());
        for (const std::string& id : ids) {
            found.push_back(FindByID(id, collection));
        }
        return found;
    }

    /// In the store's order, at most `limit` after leaving out the first `offset`. Negative numbers count as
    /// 0.
    virtual std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection,
                                                            const std::string& type, std::int32_t offset,
                                                            std::int32_t limit) = 0;

    /// As `FindRecordsOfType`, of the records whose public JSON has the text `value` under the top-level key
    /// `key`. The cost follows the number of matches, not the size of the store.
    virtual std::vector<Weftline::Record> FindRecordsWithReferencedID(
        const std::string& collection, const std::string& type, const std::string& key,
        const std::string& value, std::int32_t offset, std::int32_t limit) = 0;

    /// All or nothing; ids that are not there are no failure. False when nothing was deleted for a fault.
    [[nodiscard]] virtual bool DeleteMany(const std::vector<std::string>& ids) = 0;
};

}  // namespace CommonServices
