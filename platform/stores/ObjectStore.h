#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices {

class EventStore;

/// The client of the record store: a value without state of its own, made wherever one is needed. All values
/// reach the one store of the process, which `Init` chooses. Any thread may call.
///
/// Where no store is there the operations throw `ObjectStoreException`. On a thread whose output is held for
/// a write (`HeldOutput`) they wait for that write first.
class ObjectStore {
public:
    /// Chooses and opens the store of the process, once: an empty `uri` gives the embedded store
    /// `<parent of the metadata root path>/Store/<database><suffix>.db`, "sqlite:PATH" the embedded store in
    /// that file. False, with a line in the log that tells a person why, when the address means nothing here
    /// or the store cannot be opened. `deploy` is the deployment mode; the choice does not depend on it.
    [[nodiscard]] static bool Init(const std::string& deploy, const std::string& database,
                                   const std::string& uri, const std::string& suffix);

    /// False on failure; the record is on disk when this gives true.
    [[nodiscard]] bool UpsertOne(const Weftline::Record& record) const;
    /// Compare and swap: writes `next` if `seen`, of the same id and collection, is what is stored at that
    /// moment; an empty `seen` stands for an id that no record has.
    [[nodiscard]] ReplaceOutcome ReplaceIf(const std::optional<Weftline::Record>& seen,
                                           const Weftline::Record& next) const;
    /// As `UpsertOne`, and where that gives true as `events.Produce(event, true)`, whose result is not told.
    /// Where records and events lie in one file they are committed together, and a failure of either leaves
    /// neither. In a `HeldOutput::Tail` true may mean that the write is under way and holds the output.
    [[nodiscard]] bool UpsertOneAndProduce(Weftline::Record record, const EventStore& events,
                                           Weftline::Record event) const;
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) const;
    /// One place for each id, empty where there is no such record.
    std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                              const std::string& collection) const;
    /// The same, with `recordData` left empty.
    std::vector<std::optional<Weftline::Record>> FindManyWithoutData(const std::vector<std::string>& ids,
                                                                     const std::string& collection) const;
    std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection, const std::string& type,
                                                    std::int32_t offset, std::int32_t limit) const;
    std::vector<Weftline::Record> FindRecordsWithReferencedID(const std::string& collection,
                                                              const std::string& type,
                                                              const std::string& referenceKey,
                                                              const std::string& referenceValue,
                                                              std::int32_t offset, std::int32_t limit) const;
    [[nodiscard]] bool DeleteMany(const std::vector<std::string>& ids) const;
    std::vector<std::string> TakeDataWithReferencedID(const std::string& collection, const std::string& type,
                                                      const std::string& referenceKey,
                                                      const std::string& referenceValue) const;
};

}  // namespace CommonServices
