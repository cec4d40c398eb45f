#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Core/src/wf_Record.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace CommonServices::Sqlite {

/// The layout of the store's file, which is an interface to other programs: docs/store.md tells it. A change
/// that they could notice needs a new version and a step that brings older files up.
inline constexpr int kLayoutVersion = 1;

/// Brings an empty database to the layout, and accepts one that has it. Throws `ObjectStoreException`, with a
/// text for the operator, for a newer layout and for the database of another program. `database` is the one
/// connection that writes.
void PrepareLayout(SQLite::Database& database, const std::string& path, int pageSize);

/// "QSST", which tells that a file is a store: a 32-bit number, big-endian, at this place of the file.
inline constexpr std::int32_t kApplicationId = 0x51535354;
inline constexpr int kApplicationIdPlace = 68;  // SQLite's file format

/// The columns of both tables that make up a record, in the order in which they are bound and read.
extern const char* const kRecordColumns;
inline constexpr int kRecordColumnCount = 12;

/// Binds a record to the parameters 1 to `kRecordColumnCount` without copying its texts: it must stay as it
/// is until the statement has run. `now` is in milliseconds since 1970. Throws `SQLite::Exception` for a text
/// that is too long for the file.
void BindRecord(SQLite::Statement& statement, const Weftline::Record& record, std::int64_t now);

/// Reads a record from the columns `first` onwards of the statement's present row. Rows of other programs may
/// hold NULL, numbers or bytes where texts belong; they are read as SQLite converts them.
Weftline::Record ReadRecord(SQLite::Statement& statement, int first);

/// SQL for the text that a record's public JSON holds under the top-level key `key`; NULL where there is
/// none, also where the JSON is broken. Throws `ObjectStoreException` for a key that no path can name: an
/// empty one, or one with double quotes, backslashes or control characters.
std::string ReferenceExpression(std::string_view key);

/// SQL for the rows that the index of the key holds: true of every row whose public JSON spells the key.
/// Throws as `ReferenceExpression` does.
std::string ReferenceCondition(std::string_view key);

/// Makes the index that answers for `ReferenceExpression(key)` where `ReferenceCondition(key)` stands beside
/// it, unless it is there already. SQLite keeps it up to date, whoever writes the rows.
std::string CreateReferenceIndexSql(std::string_view key);

/// The name of that index, unquoted.
std::string ReferenceIndexName(std::string_view key);

}  // namespace CommonServices::Sqlite
