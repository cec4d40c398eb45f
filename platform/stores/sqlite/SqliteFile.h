#pragma once

#include <mutex>
#include <set>
#include <string>

#include "platform/stores/sqlite/EventSignal.h"
#include "platform/stores/sqlite/ReaderPool.h"
#include "platform/stores/sqlite/SqliteWriter.h"
#include "platform/stores/sqlite/StoreFile.h"

namespace CommonServices::Sqlite {

/// The open file of the embedded store: its one writer, its readers, and what records and events share. Owned
/// by the record store and the event log over it; any thread may use it. It closes cleanly when it is
/// destroyed; no call may be under way then.
class SqliteFile {
public:
    /// Throws `ObjectStoreException`, with a text for the operator, when the file cannot be opened.
    explicit SqliteFile(const SqliteOptions& options);
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;
    ~SqliteFile();

    SqliteWriter& Writer() { return m_writer; }
    ReaderPool& Readers() { return m_readers; }
    EventSignal& Events() { return m_events; }

    /// Makes the index for references under `key`, where there is none yet. Throws `ObjectStoreException` for
    /// a key that cannot be one; where the index cannot be made now, reads go without it.
    void EnsureReferenceIndex(const std::string& key);

private:
    StoreFile m_file;
    EventSignal m_events;
    SqliteWriter m_writer;  // the readers need the log that it opens, and close before it does
    ReaderPool m_readers;

    std::mutex m_indexedMutex;
    std::set<std::string> m_indexedKeys;  // guarded by m_indexedMutex
};

}  // namespace CommonServices::Sqlite
