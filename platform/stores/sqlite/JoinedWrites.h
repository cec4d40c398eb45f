#pragma once

struct sqlite3;

namespace CommonServices::Sqlite {

/// A SQLite file system that stands on the system's own and joins writes to neighbouring places of the log
/// into one: SQLite writes each page of a group with two calls, side by side. What is joined is written
/// before the log is synced, read, cut or closed; SQLite tells nobody of a commit before it has synced it
/// (`synchronous=FULL`), so all see what they would see without it.
///
/// Only the log is treated so, and only on the connections that are opened through it. A write that fails is
/// told by the call that follows it, at the latest by the sync.
///
/// Gives the name to open files with; it is registered once and stays. Any thread may call it.
const char* JoinedWrites();

/// Drops what was joined and not written, as a transaction leaves it that came to nothing. The place in the
/// log is anybody's once its lock is let go, so this comes before the connection does anything else.
void ForgetJoinedWrites(sqlite3* database);

/// While it lives, SQLite's syncs of the database (not of its log) only hand the writes to the system:
/// whoever made it syncs the file himself, before the log begins anew. The connection must have been opened
/// with the name that `JoinedWrites` gives, and is used by one thread meanwhile.
class LeaveSyncToCaller {
public:
    explicit LeaveSyncToCaller(sqlite3* database);
    ~LeaveSyncToCaller();
    LeaveSyncToCaller(const LeaveSyncToCaller&) = delete;
    LeaveSyncToCaller& operator=(const LeaveSyncToCaller&) = delete;

private:
    sqlite3* m_database;
};

}  // namespace CommonServices::Sqlite
