#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <string>

#include "platform/stores/sqlite/SqliteOptions.h"

namespace SQLite {
class Database;
}

namespace CommonServices::Sqlite {

class StoreFile;
class WriteConnection;

/// Keeps the write-ahead log bounded: works it into the database when it has grown past a size, and empties
/// it when nothing is being written. A reader of an old state can hold it back; then the log grows on and the
/// attempt is repeated at longer intervals until the reader is gone. The writer's own; one thread at a time.
///
/// Under load writers do not wait while the database is synced. The log is copied into it, which is quick,
/// and synced on a thread of its own while the log grows on; when that is done only the rest is left to copy
/// and to sync before the log begins anew. In between SQLite believes the copied part to be on disk, and
/// would let the next write overwrite it in the log; a reader of our own that stays at its state keeps it
/// from that.
///
/// Faults are thrown as `SQLite::Exception`.
class LogKeeper {
public:
    /// `file` must outlive the keeper.
    LogKeeper(const SqliteOptions& options, const StoreFile& file);
    LogKeeper(const LogKeeper&) = delete;
    LogKeeper& operator=(const LogKeeper&) = delete;
    ~LogKeeper();

    /// Whether `AfterCommit` has something to do.
    bool IsLong(const WriteConnection& connection);
    void AfterCommit(WriteConnection& connection);
    void WhenIdle(WriteConnection& connection);

private:
    struct FileState {
        std::int64_t size = 0;
        std::int64_t modified = 0;
        bool operator==(const FileState&) const = default;
    };
    FileState ReadLogFile() const;

    void BeginSync(WriteConnection& connection);
    void EndSync();

    const SqliteOptions m_options;
    const StoreFile& m_file;
    const std::string m_logPath;
    std::int64_t m_nextAttempt;
    FileState m_copied;  // the log file when all of it was known to be in the database

    std::unique_ptr<SQLite::Database> m_pHolder;  // reads while a sync is under way, so that the log stays
    std::future<int> m_sync;                      // the system's error, or 0; valid while one is under way
};

}  // namespace CommonServices::Sqlite
