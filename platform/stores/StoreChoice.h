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

/// Chooses a store that the caller brings, and lets the embedded one go. An empty pointer leaves none.
void SetRecords(std::shared_ptr<RecordStore> records);
std::shared_ptr<RecordStore> Records();

/// Chooses a log that the caller brings; an empty pointer takes it away.
void SetEvents(std::shared_ptr<EventLog> events);
/// The caller's log, or else what the configuration store asks for.
std::shared_ptr<EventLog> Events();

/// The longest wait of whoever reads events: `eventMaxPollingTimeoutMs` of the configuration store, or two
/// seconds where that is no number of milliseconds.
std::chrono::milliseconds LongestEventWait();

}  // namespace StoreChoice

}  // namespace CommonServices
