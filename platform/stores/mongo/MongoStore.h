#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace CommonServices {

class EventLog;
class RecordStore;

/// How the store of many machines is reached, and how patient it is.
struct MongoSettings {
    /// mongodb:// or mongodb+srv://, of a replica set or the routers of a cluster. What it says of time
    /// limits holds where it is less than a quarter of `timeout`; what it says of read and write concern does
    /// not.
    std::string uri;
    std::string database;  ///< made with the first record
    /// About the longest that one operation takes where the database does not answer; lists and deletions of
    /// many records may take it anew for each part that was answered.
    std::chrono::milliseconds timeout{5000};
    /// Connections at most, where the address names no `maxPoolSize`; further callers wait.
    std::int32_t connections = 32;
    /// How old a pending event is before others than its writer announce it.
    std::chrono::milliseconds relayAge{5000};
    /// How long the process that announces for others may be silent before the next takes its place.
    std::chrono::milliseconds leaseLife{10000};
};

/// A store of records in a MongoDB database, which several processes may share; any thread may call. All is
/// written with `w: majority, j: true` and read with the read concern "majority".
///
/// `UpsertOneAndProduce` for the log `events` keeps the event in the record's own document, written with it,
/// and gives true then; threads of the store announce it, and take it out once the log has it. Events whose
/// writer died, or that the log did not take, are announced by one of the processes that share the database,
/// until it takes them. So an event comes at least once, never before its record is stored, and also where
/// the record is deleted meanwhile. With any other log it is written first and produced then.
///
/// "The store's order" is that of places which each process takes from a shared counter in blocks: exact
/// within a process, and between processes to about a second.
///
/// Throws `ObjectStoreException`, with a text that tells a person what to do, where the database does not
/// answer or has no transactions. The store must not outlive the calls under way; events that are not
/// announced by then stay with their records.
std::shared_ptr<RecordStore> OpenMongoStore(const MongoSettings& settings, std::shared_ptr<EventLog> events);

}  // namespace CommonServices
