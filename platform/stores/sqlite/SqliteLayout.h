#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Core/src/wf_Record.h"
#include "platform/stores/sqlite/PackedText.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace CommonServices::Sqlite {

/// The layout of the store's file, which is an interface to other programs: docs/store.md tells it. A change
/// that they could notice needs a new version and a step that brings older files up. This is the newest.
inline constexpr int kLayoutVersion = 2;

/// Brings an empty database to the first layout, and accepts one that has it or a later one. Throws
/// `ObjectStoreException`, with a text for the operator, for a newer layout than is known and for the
/// database of another program. `database` is the one connection that writes.
void PrepareLayout(SQLite::Database& database, const std::string& path, int pageSize);

int ReadLayoutVersion(SQLite::Database& database);

/// Whether the file has the layout that has packed texts, and holds this dictionary. Throws
/// `ObjectStoreException` where it holds another one under the same number.
bool HoldsDictionary(SQLite::Database& database, const PackDictionary& dictionary);

/// Sees to it that it does, within the open transaction.
void AddDictionary(SQLite::Database& database, const PackDictionary& dictionary);

/// "QSST", which tells that a file is a store: a 32-bit number, big-endian, at this place of the file.
inline constexpr std::int32_t kApplicationId = 0x51535354;
inline constexpr int kApplicationIdPlace = 68;  // SQLite's file format

/// The columns of both tables that make up a record, in the order in which they are bound and read.
extern const char* const kRecordColumns;
inline constexpr int kRecordColumnCount = 12;

/// Binds a record to the parameters 1 to `kRecordColumnCount` without copying its texts: it must stay as it
/// is until the statement has run, and so must `packedData`, which takes the place of `recordData` unless it
/// is empty. `now` is in milliseconds since 1970. Throws `SQLite::Exception` for a text that is too long for
/// the file.
void BindRecord(SQLite::Statement& statement, const Weftline::Record& record, const std::string& packedData,
                std::int64_t now);

/// Unpacks with the dictionaries that the file itself holds. Belongs to a connection, and goes before it.
/// Throws `SQLite::Exception` where one cannot be read.
class FileUnpacker final : public TextUnpacker {
public:
    explicit FileUnpacker(SQLite::Database& database) : m_database(database) {}

    /// The text of bytes that stand in `recordData`; these themselves where they cannot be unpacked.
    std::string TextOf(std::string_view bytes);

private:
    std::optional<std::string> FindDictionary(std::uint32_t number) override;

    SQLite::Database& m_database;
};

/// Reads a record from the columns `first` onwards of the statement's present row. Rows of other programs may
/// hold NULL, numbers or bytes where texts belong; they are read as SQLite converts them, and so are bytes in
/// `recordData` that cannot be unpacked.
Weftline::Record ReadRecord(SQLite::Statement& statement, int first, FileUnpacker& unpacker);

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
