#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include "platform/stores/sqlite/SqliteOptions.h"

namespace CommonServices::Sqlite {

/// The one connection that writes and checkpoints, not yet brought to a layout. One thread at a time.
SQLite::Database OpenWriter(const SqliteOptions& options);

/// A connection that can only read and that never checkpoints. One thread at a time.
SQLite::Database OpenReader(const SqliteOptions& options);

/// Resets the statement in the end: one that is left in the middle keeps its state of the store, and with it
/// the log, from moving on.
class RunningStatement {
public:
    explicit RunningStatement(SQLite::Statement& statement) : m_statement(statement) {}
    RunningStatement(const RunningStatement&) = delete;
    RunningStatement& operator=(const RunningStatement&) = delete;
    ~RunningStatement() { m_statement.tryReset(); }

private:
    SQLite::Statement& m_statement;
};

/// Keeps a connection that is closed last from working the log into the database.
void ForbidCheckpointOnClose(SQLite::Database& database);

}  // namespace CommonServices::Sqlite
