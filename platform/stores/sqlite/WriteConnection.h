#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "platform/stores/sqlite/PackedText.h"
#include "platform/stores/sqlite/ResultTaker.h"
#include "platform/stores/sqlite/SqliteOptions.h"

namespace CommonServices::Sqlite {

/// A sync that failed may have lost what it was to save, and the next one may succeed all the same: the
/// system drops the failure once it has told it. So this is never a passing fault.
bool IsSyncFault(int code);

/// The one connection that writes and checkpoints, with its prepared statements. It belongs to the writer and
/// is used by one thread at a time. Faults are thrown as `SQLite::Exception`; a write that throws leaves
/// nothing behind in the transaction, unless the fault took the whole transaction with it (`InTransaction`).
class WriteConnection {
public:
    /// Opens the file and brings it to the layout. Throws `ObjectStoreException` too.
    explicit WriteConnection(const SqliteOptions& options);
    WriteConnection(const WriteConnection&) = delete;
    WriteConnection& operator=(const WriteConnection&) = delete;
    ~WriteConnection();

    /// Lets the file hold texts that were packed with this dictionary, in a transaction of its own; brings it
    /// to the layout that has such texts. Throws `ObjectStoreException` too.
    void KeepDictionary(const PackDictionary& dictionary);

    /// Takes the write lock, waiting for another program as long as the options say.
    void Begin();
    /// On disk when it returns; nothing is left of the transaction when it throws.
    void Commit();
    void Rollback() noexcept;
    bool InTransaction() const;

    // Within the transaction of a group.

    // `packedData` stands in the place of the record's own data, unless it is empty.

    /// False when the id lives in another collection.
    bool UpsertOne(const Weftline::Record& record, const std::string& packedData);
    /// Of all collections.
    std::optional<Weftline::Record> FindByID(const std::string& id);
    void Produce(const Weftline::Record& record);
    // The rest is made of several steps: where one fails after another was done, the whole transaction goes.
    bool UpsertOneAndProduce(const Weftline::Record& record, const std::string& packedData,
                             const Weftline::Record& event);
    void DeleteMany(const std::vector<std::string>& ids);
    /// The private data of the first `limit` of the records, which are deleted.
    std::vector<std::string> TakeReferring(const Reference& reference, std::size_t limit);
    void CreateReferenceIndex(const std::string& key);

    enum class CheckpointMode {
        Copy,     ///< the database has it all, but not yet on disk, which is the caller's to bring about
        Restart,  ///< the next write starts the log from its beginning
        Truncate  ///< the log is emptied as well
    };
    struct CheckpointOutcome {
        bool complete = false;   ///< the log can be used from its beginning
        bool allCopied = false;  ///< all of it is in the database, though somebody may still read the log
    };
    /// Works the log into the database. Waits `patience` for readers of old states.
    CheckpointOutcome Checkpoint(CheckpointMode mode, std::chrono::milliseconds patience);
    /// Pages in the log after the last commit; none once the log can be used from its beginning.
    int LogPages() const;
    int PageSize() const;

    /// Gives memory back that is only kept for the next write, if many rows were deleted since the last time.
    void ReleaseMemoryAfterDeletions();

    /// Reads all of the file, which takes its time. Empty when it is whole, or else the first fault found.
    std::string FindDamage();

    /// From now on nothing is worked into the database, not even by closing.
    void ForbidCheckpoint();

private:
    struct Statements;

    void CoverFailedCommit();

    std::unique_ptr<Statements> m_pStatements;
    std::chrono::milliseconds m_busyTimeout;
    std::size_t m_deletedIds = 0;  // since memory was given back
};

}  // namespace CommonServices::Sqlite
