#include "platform/stores/sqlite/WriteConnection.h"

#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

#include <optional>
#include <thread>

#include "base/concurrency/MemoryWatch.h"
#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/sqlite/Connection.h"
#include "platform/stores/sqlite/JoinedWrites.h"
#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

namespace {

// A thousand results of a query are a megabyte or more, as records and as trees.
constexpr std::size_t kManyDeletions = 1000;

std::string Parameters() {
    std::string text = "?1";
    for (int index = 2; index <= kRecordColumnCount; ++index) {
        text += ", ?" + std::to_string(index);
    }
    return text;
}

// The place of a row is its rowid, which an update leaves alone.
std::string UpsertSql() {
    return std::string("INSERT INTO records (") + kRecordColumns + ") VALUES (" + Parameters() +
           ") ON CONFLICT (recordID) DO UPDATE SET recordType = excluded.recordType, "
           "recordVersion = excluded.recordVersion, name = excluded.name, description = "
           "excluded.description, "
           "recordData = excluded.recordData, recordModificationTime = excluded.recordModificationTime, "
           "recordPublicData = excluded.recordPublicData, readOnly = excluded.readOnly, "
           "systemCreated = excluded.systemCreated, tags = excluded.tags "
           "WHERE recordTopic = excluded.recordTopic";
}

std::string ProduceSql() {
    return std::string("INSERT INTO events (") + kRecordColumns + ") VALUES (" + Parameters() + ")";
}

std::int64_t NowMilliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// How the writer waits for the write lock while another program has it. It asks again at a steady short
// period: SQLite's own waiting sleeps longer and longer, and so would lose the lock time after time to a
// program that takes it again at once.
class LockPatience {
public:
    explicit LockPatience(std::chrono::milliseconds limit) : m_limit(limit) {}

    void Watch(sqlite3* handle) { sqlite3_busy_handler(handle, &LockPatience::OnBusy, this); }
    void SetLimit(std::chrono::milliseconds limit) { m_limit = limit; }

private:
    static constexpr std::chrono::microseconds kPeriod{500};

    static int OnBusy(void* self, int attempts) {
        auto& patience = *static_cast<LockPatience*>(self);
        const auto now = std::chrono::steady_clock::now();
        if (attempts == 0) {
            patience.m_since = now;
        }
        if (now - patience.m_since >= patience.m_limit) {
            return 0;
        }
        std::this_thread::sleep_for(kPeriod);
        return 1;
    }

    std::chrono::milliseconds m_limit;
    std::chrono::steady_clock::time_point m_since;
};

// All of these hold the write lock meanwhile, so that no other program writes beside the checkpoint.
int SqliteMode(WriteConnection::CheckpointMode mode) {
    switch (mode) {
        case WriteConnection::CheckpointMode::Copy:
            return SQLITE_CHECKPOINT_FULL;
        case WriteConnection::CheckpointMode::Restart:
            return SQLITE_CHECKPOINT_RESTART;
        case WriteConnection::CheckpointMode::Truncate:
            break;
    }
    return SQLITE_CHECKPOINT_TRUNCATE;
}

SQLite::Database OpenStore(const SqliteOptions& options) {
    SQLite::Database database = OpenWriter(options);
    PrepareLayout(database, options.path, options.pageSize);
    return database;
}

}  // namespace

bool IsSyncFault(int code) {
    return code == SQLITE_IOERR_FSYNC || code == SQLITE_IOERR_DIR_FSYNC;
}

struct WriteConnection::Statements {
    explicit Statements(const SqliteOptions& options)
        : database(OpenStore(options)),
          begin(database, "BEGIN IMMEDIATE"),
          commit(database, "COMMIT"),
          upsert(database, UpsertSql()),
          produce(database, ProduceSql()),
          erase(database, "DELETE FROM records WHERE recordID = ?1"),
          find(database, std::string("SELECT ") + kRecordColumns + " FROM records WHERE recordID = ?1"),
          unpacker(database),
          taker(database),
          pageSize(database.execAndGet("PRAGMA page_size").getInt()),
          layoutVersion(ReadLayoutVersion(database)),
          lockPatience(options.busyTimeout) {
        lockPatience.Watch(database.getHandle());
        sqlite3_wal_hook(database.getHandle(), &Statements::OnCommit, this);
    }

    void Run(SQLite::Statement& statement) {
        int code = statement.tryExecuteStep();
        const std::string text = code == SQLITE_DONE ? std::string() : database.getErrorMsg();
        statement.tryReset();  // gives the same code again, and clears the way for the next run
        if (code != SQLITE_DONE) {
            throw SQLite::Exception(text, code);
        }
    }

    static int OnCommit(void* self, sqlite3*, const char*, int pages) {
        static_cast<Statements*>(self)->logPages = pages;
        return SQLITE_OK;
    }

    SQLite::Database database;
    SQLite::Statement begin;
    SQLite::Statement commit;
    SQLite::Statement upsert;
    SQLite::Statement produce;
    SQLite::Statement erase;
    SQLite::Statement find;
    FileUnpacker unpacker;
    ResultTaker taker;
    int pageSize;
    int layoutVersion;
    int logPages = 0;
    LockPatience lockPatience;
};

WriteConnection::WriteConnection(const SqliteOptions& options)
    : m_pStatements(std::make_unique<Statements>(options)), m_busyTimeout(options.busyTimeout) {}

WriteConnection::~WriteConnection() = default;

void WriteConnection::KeepDictionary(const PackDictionary& dictionary) {
    SQLite::Database& database = m_pStatements->database;
    if (HoldsDictionary(database, dictionary)) {
        return;
    }
    const bool changesLayout = m_pStatements->layoutVersion < kLayoutVersion;
    const bool isEmpty = database.execAndGet("SELECT NOT EXISTS (SELECT 1 FROM records)").getInt() != 0;
    Begin();
    try {
        AddDictionary(database, dictionary);
    } catch (...) {
        Rollback();
        throw;
    }
    Commit();
    m_pStatements->layoutVersion = kLayoutVersion;
    if (changesLayout && !isEmpty) {
        PlatformAbstraction::Log::Info("'" + database.getFilename() + "' has layout version " +
                                       std::to_string(kLayoutVersion) +
                                       " from now on; earlier programs cannot open it any more");
    }
}

void WriteConnection::Begin() {
    ForgetJoinedWrites(m_pStatements->database.getHandle());
    m_pStatements->Run(m_pStatements->begin);
}

void WriteConnection::Commit() {
    try {
        m_pStatements->Run(m_pStatements->commit);
    } catch (const SQLite::Exception& fault) {
        Rollback();
        const int code = fault.getErrorCode();
        if ((code & 0xff) == SQLITE_IOERR && !IsSyncFault(code)) {
            CoverFailedCommit();
        }
        throw;
    }
}

// The commit may have failed after all of it was on disk, where room was lacking for the log's index alone.
// The next start would find it in the log and take it for committed, unless something else begins in its
// place.
void WriteConnection::CoverFailedCommit() {
    m_pStatements->database.tryExec("PRAGMA user_version = " + std::to_string(m_pStatements->layoutVersion));
}

void WriteConnection::Rollback() noexcept {
    if (InTransaction()) {
        m_pStatements->database.tryExec("ROLLBACK");
    }
}

bool WriteConnection::InTransaction() const {
    return sqlite3_get_autocommit(m_pStatements->database.getHandle()) == 0;
}

bool WriteConnection::UpsertOne(const Weftline::Record& record, const std::string& packedData) {
    BindRecord(m_pStatements->upsert, record, packedData, NowMilliseconds());
    m_pStatements->Run(m_pStatements->upsert);
    return m_pStatements->database.getChanges() != 0;
}

std::optional<Weftline::Record> WriteConnection::FindByID(const std::string& id) {
    const RunningStatement running(m_pStatements->find);
    m_pStatements->find.bindNoCopy(1, id);
    if (!m_pStatements->find.executeStep()) {
        return std::nullopt;
    }
    return ReadRecord(m_pStatements->find, 0, m_pStatements->unpacker);
}

void WriteConnection::Produce(const Weftline::Record& record) {
    BindRecord(m_pStatements->produce, record, {}, NowMilliseconds());
    m_pStatements->Run(m_pStatements->produce);
}

bool WriteConnection::UpsertOneAndProduce(const Weftline::Record& record, const std::string& packedData,
                                          const Weftline::Record& event) {
    if (!UpsertOne(record, packedData)) {
        return false;
    }
    QUILLON_FAILPOINT("between-record-and-event");
    try {
        Produce(event);
    } catch (const SQLite::Exception&) {
        Rollback();
        throw;
    }
    return true;
}

void WriteConnection::DeleteMany(const std::vector<std::string>& ids) {
    // Not in a savepoint: it would keep a copy of every page, in a file of its own when they are many.
    try {
        for (const std::string& id : ids) {
            m_pStatements->erase.bindNoCopy(1, id);
            m_pStatements->Run(m_pStatements->erase);
        }
    } catch (const SQLite::Exception&) {
        Rollback();
        throw;
    }
    m_deletedIds += ids.size();
}

std::vector<std::string> WriteConnection::TakeReferring(const Reference& reference, std::size_t limit) {
    try {
        std::vector<std::string> taken = m_pStatements->taker.Take(reference, limit);
        m_deletedIds += taken.size();
        return taken;
    } catch (const SQLite::Exception&) {
        Rollback();
        throw;
    }
}

void WriteConnection::CreateReferenceIndex(const std::string& key) {
    m_pStatements->database.exec(CreateReferenceIndexSql(key));
}

WriteConnection::CheckpointOutcome WriteConnection::Checkpoint(CheckpointMode mode,
                                                               std::chrono::milliseconds patience) {
    sqlite3* handle = m_pStatements->database.getHandle();
    ForgetJoinedWrites(handle);
    int inLog = -1;
    int copied = -1;
    std::optional<LeaveSyncToCaller> unsynced;
    if (mode == CheckpointMode::Copy) {
        unsynced.emplace(handle);
    }
    const int sqliteMode = SqliteMode(mode);
    m_pStatements->lockPatience.SetLimit(patience);
    const int code = sqlite3_wal_checkpoint_v2(handle, nullptr, sqliteMode, &inLog, &copied);
    m_pStatements->lockPatience.SetLimit(m_busyTimeout);
    if (code != SQLITE_OK && (code & 0xff) != SQLITE_BUSY) {
        throw SQLite::Exception(sqlite3_errmsg(handle), code);
    }
    const bool isComplete = code == SQLITE_OK;
    if (isComplete && mode != CheckpointMode::Copy) {
        m_pStatements->logPages = 0;  // the next commit begins it anew
    }
    return {isComplete, inLog >= 0 && inLog == copied};
}

int WriteConnection::LogPages() const {
    return m_pStatements->logPages;
}

int WriteConnection::PageSize() const {
    return m_pStatements->pageSize;
}

void WriteConnection::ReleaseMemoryAfterDeletions() {
    if (m_deletedIds < kManyDeletions) {
        return;
    }
    m_deletedIds = 0;
    sqlite3_db_release_memory(m_pStatements->database.getHandle());
    // Whoever deletes many records has read them all, and answered. Their memory lies in pieces in the heaps
    // of several threads, which the C library would keep.
    PlatformAbstraction::ReturnFreeMemory();
}

std::string WriteConnection::FindDamage() {
    const std::string found = m_pStatements->database.execAndGet("PRAGMA integrity_check(1)").getString();
    return found == "ok" ? std::string() : found;
}

void WriteConnection::ForbidCheckpoint() {
    ForbidCheckpointOnClose(m_pStatements->database);
}

}  // namespace CommonServices::Sqlite
