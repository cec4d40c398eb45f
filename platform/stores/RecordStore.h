#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/concurrency/HeldOutput.h"
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

/// What became of a conditional write.
enum class ReplaceOutcome {
    Replaced,  ///< and durable
    /// Another was faster: what is stored is not what was seen, and nothing was written. Where an answer was
    /// lost on the way and the write was tried once more, the faster one may have been this very write.
    Changed,
    Failed,  ///< for a fault; it may be written all the same where the store did not answer
};

/// Whether the records are equal in all that stores keep.
inline bool IsSameRecord(const Weftline::Record& one, const Weftline::Record& other) {
    const auto fields = [](const Weftline::Record& record) {
        return std::tie(record.recordID, record.recordTopic, record.recordType, record.recordVersion,
                        record.recordPublicData, record.recordData, record.name, record.description,
                        record.tags, record.readOnly, record.systemCreated);
    };
    return fields(one) == fields(other);
}

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

    /// Compare and swap: writes `next` if `seen`, of the same id and collection, is what is stored at that
    /// moment; an empty `seen` stands for an id that no record has. The record's place stays, and so does an
    /// event of it that is still to be announced.
    [[nodiscard]] virtual ReplaceOutcome ReplaceIf(const std::optional<Weftline::Record>& seen,
                                                   const Weftline::Record& next) = 0;

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

    /// As `UpsertOneAndProduce`, but may return before the record is durable: true then means that the write
    /// is under way, that `output.Begin()` was called for it and that `output.End` follows from whatever
    /// thread with how it went. A store that has no such way blocks.
    virtual bool UpsertOneAndProduceHeld(Weftline::Record&& record, EventLog& events,
                                         Weftline::Record&& event,
                                         PlatformAbstraction::HeldOutput& /*output*/) {
        return UpsertOneAndProduce(record, events, event);
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

    /// As `FindManyByID`, with `recordData` left empty: for those who would read it for nothing.
    virtual std::vector<std::optional<Weftline::Record>> FindManyWithoutData(
        const std::vector<std::string>& ids, const std::string& collection) {
        std::vector<std::optional<Weftline::Record>> found = FindManyByID(ids, collection);
        for (std::optional<Weftline::Record>& record : found) {
            if (record) {
                record->recordData.clear();
            }
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

    /// The private data of the records that `FindRecordsWithReferencedID` gives without a limit, which are
    /// deleted; returns once that is durable. Records that a fault kept from being deleted are given all the
    /// same. A store may promise that of several callers at once one alone gets each record.
    virtual std::vector<std::string> TakeDataWithReferencedID(const std::string& collection,
                                                              const std::string& type, const std::string& key,
                                                              const std::string& value) {
        std::vector<std::string> ids;
        std::vector<std::string> data;
        for (Weftline::Record& record : FindRecordsWithReferencedID(
                 collection, type, key, value, 0, std::numeric_limits<std::int32_t>::max())) {
            ids.push_back(std::move(record.recordID));
            data.push_back(std::move(record.recordData));
        }
        static_cast<void>(DeleteMany(ids));
        return data;
    }
};

}  // namespace CommonServices
