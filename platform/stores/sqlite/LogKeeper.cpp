#include "LogKeeper.h"

#include <sys/stat.h>

#include <algorithm>

#include "WriteConnection.h"

namespace CommonServices::Sqlite {

namespace {

// How long a checkpoint waits for readers of old states. The service's own readers are through in less;
// writers wait meanwhile, so a slow foreign one is not waited for.
constexpr std::chrono::milliseconds kPatience{20};

constexpr std::int64_t kFrameHeader = 24;

}  // namespace

LogKeeper::LogKeeper(const SqliteOptions& options)
    : m_logPath(options.path + "-wal"),
      m_checkpointBytes(options.checkpointBytes),
      m_nextAttempt(options.checkpointBytes) {}

void LogKeeper::AfterCommit(WriteConnection& connection) {
    const std::int64_t bytes = std::int64_t{connection.LogPages()} * (connection.PageSize() + kFrameHeader);
    if (bytes < m_checkpointBytes) {
        m_nextAttempt = m_checkpointBytes;  // the log has begun anew
        return;
    }
    if (bytes < m_nextAttempt) {
        return;
    }
    // Set first, so that a fault does not bring the next attempt forward.
    m_nextAttempt = bytes + std::max(m_checkpointBytes, bytes / 4);
    if (connection.Checkpoint(WriteConnection::CheckpointMode::Restart, kPatience).complete) {
        m_nextAttempt = m_checkpointBytes;
    }
}

void LogKeeper::WhenIdle(WriteConnection& connection) {
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
