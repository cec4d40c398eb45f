#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <thread>

#include "base/concurrency/Mutex.h"
#include "platform/stores/sqlite/LogKeeper.h"
#include "platform/stores/sqlite/StoreFile.h"
#include "platform/stores/sqlite/WriteConnection.h"
#include "platform/stores/sqlite/WriteQueue.h"

namespace CommonServices::Sqlite {

/// Tells readers of the event log that something was appended. Any thread may call.
class EventSignal {
public:
    /// To be read before looking for events, so that none that comes after is missed.
    std::uint64_t Count() const;
    void Raise();
    /// Returns when the count is past `seen`, at the latest at `deadline` or on the stop. The thread counts
    /// as blocked meanwhile.
    void WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline,
                  const std::stop_token& stop);

private:
    mutable PlatformAbstraction::Mutex m_mutex;
    std::condition_variable_any m_raised;
    std::uint64_t m_count QUILLON_GUARDED_BY(m_mutex) = 0;
};

/// The one writer of the file: a thread that is the leader of the group commit, commits the waiting writes of
/// all threads in groups, each group with one sync, and keeps the write-ahead log bounded in between. While
/// it has nothing to do, the thread that comes with a write leads a group of its own. Any thread may write.
class SqliteWriter {
public:
    /// Opens the file for writing; throws `ObjectStoreException` or `SQLite::Exception`. `file` must outlive
    /// the writer.
    SqliteWriter(const SqliteOptions& options, const StoreFile& file);
    SqliteWriter(const SqliteWriter&) = delete;
    SqliteWriter& operator=(const SqliteWriter&) = delete;
    /// Commits what is waiting, works the log into the database and closes the file.
    ~SqliteWriter();

    /// True once the write is on disk; false when it was refused or failed, which the log of the program
    /// tells.
    [[nodiscard]] bool Write(PendingWrite& write);
    /// True once the write is queued; false when too many are, or when the store refuses writes.
    [[nodiscard]] bool WriteDetached(std::unique_ptr<PendingWrite> write);

    /// As `Write` where nobody else is at work; else true may mean that the write is queued and that its
    /// output, for which `Begin` was called, hears how it went.
    [[nodiscard]] bool WriteHeld(std::unique_ptr<PendingWrite> write);

    /// Raised for each group with an event, once it is on disk.
    EventSignal& Events() { return m_events; }

private:
    void Run();
    void WriteAlone(PendingWrite& write);
    using Writes = std::span<PendingWrite* const>;
    void Commit(Writes writes);
    bool TryCommit(Writes writes);
    void ApplyOne(PendingWrite& write);
    void KeepLog(void (LogKeeper::*keep)(WriteConnection&));
    void LookThroughDoubtedFile();
    void KeepDictionary();
    template <typename What>
    void NoteFault(const What& what, const std::exception& fault) noexcept;

    const StoreFile& m_file;
    EventSignal m_events;
    WriteQueue m_queue;

    // Of the thread that has the file in hand, as the queue tells.
    const std::string m_path;
    const std::chrono::milliseconds m_idleAfter;
    WriteConnection m_connection;
    LogKeeper m_logKeeper;

    std::string m_lastFault;
    std::chrono::steady_clock::time_point m_lastFaultTold;
    std::atomic<bool> m_syncFailed = false;

    std::thread m_thread;  // last: it uses all of the above
};

}  // namespace CommonServices::Sqlite
