#include "platform/stores/sqlite/SqliteWriter.h"

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>

#include <system_error>

#include "base/concurrency/BlockingRegion.h"
#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::Sqlite {

using PlatformAbstraction::MutexLock;

namespace {

// On a full disk thousands of writes fail each second, all for the same reason.
constexpr std::chrono::seconds kRepeatFault{1};

}  // namespace

std::uint64_t EventSignal::Count() const {
    const MutexLock lock(m_mutex);
    return m_count;
}

void EventSignal::Raise() {
    {
        const MutexLock lock(m_mutex);
        ++m_count;
    }
    m_raised.notify_all();
}

void EventSignal::WaitPast(std::uint64_t seen, std::chrono::steady_clock::time_point deadline,
                           const std::stop_token& stop) {
    const PlatformAbstraction::BlockingRegion blocking;
    MutexLock lock(m_mutex);
    m_raised.wait_until(lock, stop, deadline, [this, seen] {
        m_mutex.AssertHeld();
        return m_count != seen;
    });
}

// What matters is noted whether there is memory for the text or not.
template <typename What>
void SqliteWriter::NoteFault(const What& what, const std::exception& fault) noexcept {
    const auto* const ofFile = dynamic_cast<const SQLite::Exception*>(&fault);
    const bool isSyncFault = ofFile != nullptr && IsSyncFault(ofFile->getErrorCode());
    if (isSyncFault) {
        m_syncFailed = true;
        m_file.Doubt();
        m_connection.ForbidCheckpoint();
    }
    try {
        const std::string text = fault.what();
        if (isSyncFault) {
            PlatformAbstraction::Log::Error(
                "The disk failed to keep what was written to '" + m_path + "' (" + text +
                "): the store refuses all writes until the service is started anew");
            return;
        }
        const auto now = std::chrono::steady_clock::now();
        if (text != m_lastFault || now - m_lastFaultTold >= kRepeatFault) {
            PlatformAbstraction::Log::Error(std::string(what()) + " '" + m_path + "': " + text);
            m_lastFault = text;
            m_lastFaultTold = now;
        }
    } catch (const std::exception&) {
        return;
    }
}

SqliteWriter::SqliteWriter(const SqliteOptions& options, const StoreFile& file)
    : m_file(file),
      m_path(options.path),
      m_idleAfter(options.idleAfter),
      m_connection(options),
      m_logKeeper(options, file) {
    // A log left by a process that ended early is read from the system's memory, which may hold what never
    // came to disk. Written into the database it is synced anew, before anything is built on it. The part of
    // it that already was in the database may not have been synced there.
    if (const int error = file.Sync(); error != 0) {
        file.Doubt();
        m_connection.ForbidCheckpoint();
        throw ObjectStoreException("The disk failed to keep the store's file '" + m_path + "' (" +
                                   std::generic_category().message(error) + "); look after the disk");
    }
    KeepLog(&LogKeeper::WhenIdle);
    LookThroughDoubtedFile();
    if (options.compression == Compression::Zstd) {
        KeepDictionary();
    }
    m_thread = std::thread([this] { Run(); });
}

SqliteWriter::~SqliteWriter() {
    m_queue.Close();
    m_thread.join();
}

bool SqliteWriter::Write(PendingWrite& write) {
    if (m_queue.TryTake()) {
        WriteAlone(write);
    } else {
        m_queue.AddAndWait(write);
    }
    return write.accepted;
}

void SqliteWriter::WriteAlone(PendingWrite& write) {
    PendingWrite* const only = &write;
    Commit({&only, 1});
    m_queue.Release(m_logKeeper.IsLong(m_connection));
    if (write.accepted && write.isEvent) {
        m_events.Raise();
    }
}

bool SqliteWriter::WriteDetached(std::unique_ptr<PendingWrite> write) {
    return !m_syncFailed && m_queue.AddDetached(std::move(write));
}

bool SqliteWriter::WriteHeld(std::unique_ptr<PendingWrite> write) {
    if (write->output->IsAlone()) {
        return Write(*write);
    }
    const std::unique_ptr<PendingWrite> refused = m_queue.AddHeld(std::move(write));
    return refused == nullptr || Write(*refused);
}

void SqliteWriter::Run() {
    WriteGroup group;
    while (m_queue.Take(group, m_idleAfter)) {
        if (group.writes.empty()) {
            if (m_logKeeper.IsLong(m_connection)) {
                KeepLog(&LogKeeper::AfterCommit);
            } else {
                KeepLog(&LogKeeper::WhenIdle);
                m_connection.ReleaseMemoryAfterDeletions();
            }
            continue;
        }
        Commit(group.writes);
        bool appended = false;
        for (const PendingWrite* write : group.writes) {
            appended = appended || (write->accepted && write->isEvent);
        }
        QUILLON_FAILPOINT("before-held-answers");
        m_queue.Finish(group);
        if (appended) {
            m_events.Raise();
        }
        KeepLog(&LogKeeper::AfterCommit);
    }
    KeepLog(&LogKeeper::WhenIdle);
}

void SqliteWriter::Commit(Writes writes) {
    if (m_syncFailed) {
        return;
    }
    try {
        while (!TryCommit(writes)) {
        }
    } catch (const std::exception& fault) {
        m_connection.Rollback();
        for (PendingWrite* write : writes) {
            write->accepted = false;
        }
        NoteFault([&] { return "A group of " + std::to_string(writes.size()) + " was not stored in"; },
                  fault);
    }
}

// False when a write took the whole transaction with it: the others then go again without it. Throws when the
// group as such cannot be committed.
bool SqliteWriter::TryCommit(Writes writes) {
    m_connection.Begin();
    for (PendingWrite* write : writes) {
        if (write->dropped) {
            continue;
        }
        ApplyOne(*write);
        if (!m_connection.InTransaction()) {
            write->dropped = true;
            return false;
        }
    }
    QUILLON_FAILPOINT("before-group-commit");
    m_connection.Commit();
    QUILLON_FAILPOINT("after-group-commit");
    return true;
}

void SqliteWriter::ApplyOne(PendingWrite& write) {
    try {
        write.accepted = write.Apply(m_connection);
    } catch (const SQLite::Exception& fault) {
        if (IsSyncFault(fault.getErrorCode())) {
            throw;
        }
        write.accepted = false;
        NoteFault([] { return "A write was not stored in"; }, fault);
    } catch (const std::exception& fault) {  // memory is out, and some of it may be done already
        m_connection.Rollback();
        write.accepted = false;
        NoteFault([] { return "A write was not stored in"; }, fault);
    }
}

void SqliteWriter::KeepLog(void (LogKeeper::*keep)(WriteConnection&)) {
    if (m_syncFailed) {
        return;
    }
    try {
        (m_logKeeper.*keep)(m_connection);
    } catch (const std::exception& fault) {
        NoteFault([] { return "The log was not worked into"; }, fault);
    }
}

void SqliteWriter::LookThroughDoubtedFile() {
    if (m_syncFailed || !m_file.IsDoubted()) {
        return;
    }
    PlatformAbstraction::Log::Info("The disk failed under '" + m_path +
                                   "' before; looking through all of it");
    if (const std::string damage = m_connection.FindDamage(); !damage.empty()) {
        throw ObjectStoreException("'" + m_path + "' is damaged since the disk failed under it (" + damage +
                                   "); bring back a copy, or name another file");
    }
    m_file.Trust();
}

// On disk before the first text that was packed with it.
void SqliteWriter::KeepDictionary() {
    if (m_syncFailed) {
        return;
    }
    try {
        m_connection.KeepDictionary(OwnDictionary());
    } catch (const SQLite::Exception& fault) {
        if (IsSyncFault(fault.getErrorCode())) {
            NoteFault([] { return "Nothing was stored in"; }, fault);
        }
        throw;
    }
}

}  // namespace CommonServices::Sqlite
