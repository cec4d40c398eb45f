#pragma once

#include <memory>
#include <string>

namespace CommonServices {

class EventLog;
class RecordStore;

/// The embedded store: records and events in one SQLite file, which both keep open. docs/store.md tells the
/// file, which other local programs may read and add to.
struct EmbeddedStore {
    std::shared_ptr<RecordStore> records;
    std::shared_ptr<EventLog> events;
};

/// Opens the file, and makes it with its directory where it is not there yet. Throws `ObjectStoreException`
/// with a text that tells a person what to do.
EmbeddedStore OpenEmbeddedStore(const std::string& path);

namespace Sqlite {
struct SqliteOptions;
}

/// The same with other than the usual settings.
EmbeddedStore OpenEmbeddedStore(const Sqlite::SqliteOptions& options);

}  // namespace CommonServices
