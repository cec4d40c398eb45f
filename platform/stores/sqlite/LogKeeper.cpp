#include "platform/stores/sqlite/LogKeeper.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <system_error>

#include "platform/stores/sqlite/Connection.h"
#include "platform/stores/sqlite/StoreFile.h"
#include "platform/stores/sqlite/WriteConnection.h"

namespace CommonServices::Sqlite {

namespace {

// How long a checkpoint waits for readers of old states. The service's own readers are through in less;
// writers wait meanwhile, so a slow foreign one is not waited for.
constexpr std::chrono::milliseconds kPatience{20};

std::int64_t LogBytes(const WriteConnection& connection) {
    constexpr std::int64_t kFrameHeader = 24;
    return std::int64_t{connection.LogPages()} * (connection.PageSize() + kFrameHeader);
}

}  // namespace

LogKeeper::LogKeeper(const SqliteOptions& options, const StoreFile& file)
    : m_options(options),
      m_file(file),
      m_logPath(options.path + "-wal"),
      m_nextAttempt(options.checkpointBytes) {}

LogKeeper::~LogKeeper() = default;

bool LogKeeper::IsLong(const WriteConnection& connection) {
    if (m_sync.valid()) {
        // One that found no thread to run on is run when it is asked for its outcome.
        return m_sync.wait_for(std::chrono::seconds(0)) != std::future_status::timeout;
    }
    const std::int64_t bytes = LogBytes(connection);
    if (bytes < m_options.checkpointBytes) {
        m_nextAttempt = m_options.checkpointBytes;  // the log has begun anew
    }
    return bytes >= m_nextAttempt;
}

void LogKeeper::AfterCommit(WriteConnection& connection) {
    if (!IsLong(connection)) {
        return;
    }
    if (!m_sync.valid()) {
        BeginSync(connection);
        return;
    }
    EndSync();
    const std::int64_t bytes = LogBytes(connection);
    // Set first, so that a fault does not bring the next attempt forward.
    m_nextAttempt = bytes + std::max(m_options.checkpointBytes, bytes / 4);
    if (connection.Checkpoint(WriteConnection::CheckpointMode::Restart, kPatience).complete) {
        m_nextAttempt = m_options.checkpointBytes;
    }
}

void LogKeeper::BeginSync(WriteConnection& connection) {
    if (!m_pHolder) {
        m_pHolder = std::make_unique<SQLite::Database>(OpenReader(m_options));
    }
    try {
        m_pHolder->exec("BEGIN; SELECT 1 FROM sqlite_master LIMIT 1");
        // How much could be copied does not matter: what was is synced, and the log stays until then.
        connection.Checkpoint(WriteConnection::CheckpointMode::Copy, kPatience);
    } catch (const SQLite::Exception&) {
        // A state of the store that stays held would keep the log from ever beginning anew.
        m_pHolder.reset();
        throw;
    }
    m_sync = std::async([this] { return m_file.Sync(); });
}

void LogKeeper::EndSync() {
    if (const int error = m_sync.get(); error != 0) {
        // The reader stays: the log is all there is of what should have come to disk.
        throw SQLite::Exception(std::generic_category().message(error), SQLITE_IOERR_FSYNC);
    }
    m_pHolder->exec("ROLLBACK");
}

void LogKeeper::WhenIdle(WriteConnection& connection) {
    if (m_sync.valid()) {
        EndSync();
    }
    const FileState before = ReadLogFile();
    // Where all is in the database already there is nothing to gain but the file's size, and the next write
    // will begin the log anew. A checkpoint of such a log is also the only one that a write of another
    // program could overtake.
    if (before.size == 0 || before == m_copied) {
        return;
    }
    if (connection.Checkpoint(WriteConnection::CheckpointMode::Truncate, kPatience).allCopied) {
        m_copied = before;
    }
}

LogKeeper::FileState LogKeeper::ReadLogFile() const {
    struct stat state {};
    if (::stat(m_logPath.c_str(), &state) != 0) {
        return {};
    }
    return {state.st_size, std::int64_t{state.st_mtim.tv_sec} * 1000000000 + state.st_mtim.tv_nsec};
}

}  // namespace CommonServices::Sqlite
