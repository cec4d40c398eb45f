#include "platform/stores/sqlite/Connection.h"

#include <sqlite3.h>

#include "platform/stores/sqlite/JoinedWrites.h"

namespace CommonServices::Sqlite {

namespace {

SQLite::Database Open(const SqliteOptions& options, const char* fileSystem, int access) {
    // Each connection is used by one thread at a time, so SQLite need not lock it.
    SQLite::Database database(options.path, access | SQLite::OPEN_NOMUTEX,
                              static_cast<int>(options.busyTimeout.count()), fileSystem);
    sqlite3_extended_result_codes(database.getHandle(), 1);
    return database;
}

}  // namespace

SQLite::Database OpenWriter(const SqliteOptions& options) {
    SQLite::Database database = Open(options, JoinedWrites(), SQLite::OPEN_READWRITE);
    // Freed pages keep their old contents: zeroing them would write every deleted record once more. The cache
    // is small because SQLite walks all of it at each commit that split pages; the system has what it lacks.
    // A large transaction may outgrow it before its pages go to the log, to which they would go again and
    // again.
    database.exec(
        "PRAGMA synchronous = FULL; PRAGMA wal_autocheckpoint = 0; PRAGMA secure_delete = OFF;"
        "PRAGMA cache_size = -8192; PRAGMA cache_spill = -32768; PRAGMA journal_size_limit = " +
        std::to_string(options.checkpointBytes));
    return database;
}

SQLite::Database OpenReader(const SqliteOptions& options) {
    SQLite::Database database = Open(options, "", SQLite::OPEN_READONLY);
    ForbidCheckpointOnClose(database);
    database.exec("PRAGMA cache_size = -2048");  // there are many; what they lack the system still has
    return database;
}

void ForbidCheckpointOnClose(SQLite::Database& database) {
    sqlite3_db_config(database.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

}  // namespace CommonServices::Sqlite
