#pragma once

#include <cstdint>
#include <string>

#include "SqliteOptions.h"

namespace CommonServices::Sqlite {

class WriteConnection;

/// Keeps the write-ahead log bounded: works it into the database when it has grown past a size, and empties
/// it when nothing is being written. A reader of an old state can hold it back; then the log grows on and the
/// attempt is repeated at longer intervals until the reader is gone. The writer's own, on its thread.
///
/// Faults are thrown as `SQLite::Exception`.
class LogKeeper {
public:
    explicit LogKeeper(const SqliteOptions& options);

    void AfterCommit(WriteConnection& connection);
    void WhenIdle(WriteConnection& connection);

private:
    struct FileState {
        std::int64_t size = 0;
        std::int64_t modified = 0;
        bool operator==(const FileState&) const = default;
    };
    FileState ReadLogFile() const;

    const std::string m_logPath;
    const std::int64_t m_checkpointBytes;
    std::int64_t m_nextAttempt;
    FileState m_copied;  // the log file when all of it was known to be in the database
};

}  // namespace CommonServices::Sqlite
