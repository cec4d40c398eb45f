#pragma once

#include <SQLiteCpp/Database.h>

#include "platform/stores/sqlite/SqliteOptions.h"

namespace CommonServices::Sqlite {

/// The one connection that writes and checkpoints, not yet brought to a layout. One thread at a time.
SQLite::Database OpenWriter(const SqliteOptions& options);

/// A connection that can only read and that never checkpoints. One thread at a time.
SQLite::Database OpenReader(const SqliteOptions& options);

/// Keeps a connection that is closed last from working the log into the database.
void ForbidCheckpointOnClose(SQLite::Database& database);

}  // namespace CommonServices::Sqlite
