#include "WriteConnection.h"

#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

#include "Connection.h"
#include "RecordRow.h"
#include "SqliteLayout.h"

namespace CommonServices::Sqlite {

namespace {

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

std::string AppendSql() {
    return std::string("INSERT INTO events (") + kRecordColumns + ") VALUES (" + Parameters() + ")";
}

std::int64_t NowMilliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

SQLite::Database OpenStore(const SqliteOptions& options) {
    SQLite::Database database = OpenWriter(options);
    PrepareLayout(database, options.path, options.pageSize);
    return database;
}

}  // namespace

struct WriteConnection::Statements {
    explicit Statements(const SqliteOptions& options)
        : database(OpenStore(options)),
          begin(database, "BEGIN IMMEDIATE"),
          commit(database, "COMMIT"),
          upsert(database, UpsertSql()),
          append(database, AppendSql()),
          erase(database, "DELETE FROM records WHERE recordID = ?1"),
          pageSize(database.execAndGet("PRAGMA page_size").getInt()) {
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
    SQLite::Statement append;
    SQLite::Statement erase;
    int pageSize;
    int logPages = 0;
};

WriteConnection::WriteConnection(const SqliteOptions& options)
    : m_pStatements(std::make_unique<Statements>(options)), m_busyTimeout(options.busyTimeout) {}

WriteConnection::~WriteConnection() = default;

void WriteConnection::Begin() {
    m_pStatements->Run(m_pStatements->begin);
}

void WriteConnection::Commit() {
    try {
        m_pStatements->Run(m_pStatements->commit);
    } catch (const SQLite::Exception&) {
        Rollback();
        throw;
    }
}

void WriteConnection::Rollback() noexcept {
    if (InTransaction()) {
        m_pStatements->database.tryExec("ROLLBACK");
    }
}

bool WriteConnection::InTransaction() const {
    return sqlite3_get_autocommit(m_pStatements->database.getHandle()) == 0;
}

bool WriteConnection::Upsert(const Weftline::Record& record) {
    BindRecord(m_pStatements->upsert, record, NowMilliseconds());
    m_pStatements->Run(m_pStatements->upsert);
    return m_pStatements->database.getChanges() != 0;
}

void WriteConnection::Append(const Weftline::Record& record) {
    BindRecord(m_pStatements->append, record, NowMilliseconds());
    m_pStatements->Run(m_pStatements->append);
}

void WriteConnection::Delete(const std::vector<std::string>& ids) {
    SQLite::Database& database = m_pStatements->database;
    database.exec("SAVEPOINT deletion");
    try {
        for (const std::string& id : ids) {
            m_pStatements->erase.bindNoCopy(1, id);
            m_pStatements->Run(m_pStatements->erase);
        }
    } catch (const SQLite::Exception&) {
        if (InTransaction()) {
            database.tryExec("ROLLBACK TO deletion; RELEASE deletion");
        }
        throw;
    }
    database.exec("RELEASE deletion");
}

void WriteConnection::CreateReferenceIndex(const std::string& key) {
    m_pStatements->database.exec(CreateReferenceIndexSql(key));
}

WriteConnection::CheckpointOutcome WriteConnection::Checkpoint(CheckpointMode mode,
                                                               std::chrono::milliseconds patience) {
    sqlite3* handle = m_pStatements->database.getHandle();
    int inLog = -1;
    int copied = -1;
    // Both modes hold the write lock meanwhile, so that no other program writes beside the checkpoint.
    const int sqliteMode =
        mode == CheckpointMode::Restart ? SQLITE_CHECKPOINT_RESTART : SQLITE_CHECKPOINT_TRUNCATE;
    sqlite3_busy_timeout(handle, static_cast<int>(patience.count()));
    const int code = sqlite3_wal_checkpoint_v2(handle, nullptr, sqliteMode, &inLog, &copied);
    sqlite3_busy_timeout(handle, static_cast<int>(m_busyTimeout.count()));
    if (code != SQLITE_OK && (code & 0xff) != SQLITE_BUSY) {
        throw SQLite::Exception(sqlite3_errmsg(handle), code);
    }
    return {code == SQLITE_OK, inLog >= 0 && inLog == copied};
}

int WriteConnection::LogPages() const {
    return m_pStatements->logPages;
}

int WriteConnection::PageSize() const {
    return m_pStatements->pageSize;
}

void WriteConnection::ForbidCheckpoint() {
    ForbidCheckpointOnClose(m_pStatements->database);
}

}  // namespace CommonServices::Sqlite
