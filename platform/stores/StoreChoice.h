#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace CommonServices {

class EventLog;
class RecordStore;

/// Which record store and which event log the process uses. Any thread may call. What is chosen is never
/// destroyed while the process ends, since detached threads may still use it; all that was accepted is on
/// disk by then. Failures are thrown as `ObjectStoreException`.
namespace StoreChoice {

/// Chooses the embedded store in the file `path`: its records, and its events for `Events`. It packs texts
/// unless `store.compression` of the configuration store is "none". Where it is chosen already it stays open;
/// another one is let go first, and closes once nobody holds it.
void OpenEmbedded(const std::string& path);

/// The file of the embedded store; empty while none is chosen.
std::string EmbeddedPath();

/// Chooses the store of many machines at `uri`, with the events that `Events` gives. What it takes of the
/// configuration store: `store.timeoutMs`.
void OpenMongo(const std::string& uri, const std::string& database);

/// Chooses a store that the caller brings, and lets the embedded one go. An empty pointer leaves none.
void SetRecords(std::shared_ptr<RecordStore> records);
std::shared_ptr<RecordStore> Records();

/// Chooses a log that the caller brings; an empty pointer takes it away.
void SetEvents(std::shared_ptr<EventLog> events);
/// The caller's log, or else what the configuration store asks for: that of many machines where it names
/// `kafka-host`, which is made at the first call, or the embedded one.
std::shared_ptr<EventLog> Events();

/// Whether the configuration store asks for the log of many machines.
bool NamesKafka();

/// The end of a process: what is chosen and not embedded is let go, and ends its threads once nobody holds
/// it. For a log that is away this takes as long as an event may wait.
void LetGoOfEngines();

/// The longest wait of whoever reads events: `eventMaxPollingTimeoutMs` of the configuration store, or two
/// seconds where that is no number of milliseconds.
std::chrono::milliseconds LongestEventWait();

}  // namespace StoreChoice

}  // namespace CommonServices
