#include "platform/stores/sqlite/SqliteLayout.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/failpoint/Failpoint.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::Sqlite {

namespace {

// Rows of other programs may leave out all but type and topic; the defaults are what a new `Record` holds.
// The three texts that classify and name a row must be texts, or no read would ever find it.
constexpr const char* kRecordColumnDefinitions = R"sql(
    recordID TEXT NOT NULL %PRIMARY% DEFAULT (lower(
        hex(randomblob(4)) || '-' || hex(randomblob(2)) || '-4' || substr(hex(randomblob(2)), 2) || '-' ||
        substr('89ab', 1 + (random() & 3), 1) || substr(hex(randomblob(2)), 2) || '-' || hex(randomblob(6))))
        CHECK (typeof(recordID) = 'text'),
    recordType TEXT NOT NULL CHECK (typeof(recordType) = 'text'),
    recordVersion INTEGER NOT NULL DEFAULT 1,
    name TEXT DEFAULT '',
    description TEXT DEFAULT '',
    recordTopic TEXT NOT NULL CHECK (typeof(recordTopic) = 'text'),
    recordData TEXT DEFAULT '',
    recordModificationTime INTEGER DEFAULT (CAST((julianday('now') - 2440587.5) * 86400000.0 AS INTEGER)),
    recordPublicData TEXT DEFAULT '{"tags":[]}',
    readOnly INTEGER DEFAULT 0,
    systemCreated INTEGER DEFAULT 0,
    tags TEXT DEFAULT '[]'
)sql";

std::string Replace(std::string text, std::string_view what, std::string_view by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::string SqlText(std::string_view text) {
    return "'" + Replace(std::string(text), "'", "''") + "'";
}

int ReadPragma(SQLite::Database& database, const char* pragma) {
    return database.execAndGet(std::string("PRAGMA ") + pragma).getInt();
}

// Without packed texts.
constexpr int kFirstLayoutVersion = 1;

void CreateLayout(SQLite::Database& database) {
    const std::string columns = kRecordColumnDefinitions;
    SQLite::Transaction transaction(database);
    database.exec("CREATE TABLE records (" + Replace(columns, "%PRIMARY%", "PRIMARY KEY") + ")");
    database.exec("CREATE INDEX recordsByType ON records (recordTopic, recordType)");
    database.exec(CreateReferenceIndexSql(Weftline::Keys::QueryID));
    database.exec("CREATE TABLE events (eventOffset INTEGER PRIMARY KEY AUTOINCREMENT," +
                  Replace(columns, "%PRIMARY%", "") + ")");
    database.exec("CREATE INDEX eventsByTopic ON events (recordTopic)");
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.exec("PRAGMA user_version = " + std::to_string(kFirstLayoutVersion));
    transaction.commit();
}

void BindText(SQLite::Statement& statement, int index, const std::string& text) {
    // SQLite takes a 32-bit length and reads a negative one as "up to the first NUL".
    constexpr std::size_t kMaxText = 1000000000;
    if (text.size() > kMaxText) {
        throw SQLite::Exception("text too long", SQLITE_TOOBIG);
    }
    statement.bindNoCopy(index, text);
}

// A new `Record` draws an id and builds JSON; a row brings its own, so rows are copies of an empty one.
const Weftline::Record& EmptyRecord() {
    static const Weftline::Record& empty = *[] {
        auto* record = new Weftline::Record("", 0, "");  // never destroyed: detached threads may still read
        record->recordID.clear();
        record->tags.clear();
        record->recordPublicData.clear();
        record->recordID.shrink_to_fit();
        record->recordPublicData.shrink_to_fit();
        return record;
    }();
    return empty;
}

std::string ReadData(const SQLite::Column& column, FileUnpacker& unpacker) {
    if (!column.isBlob()) {
        return column.getString();
    }
    return unpacker.TextOf(
        {static_cast<const char*>(column.getBlob()), static_cast<std::size_t>(column.getBytes())});
}

// Nothing, too, in the layout that has no dictionaries.
std::optional<std::string> ReadDictionary(SQLite::Database& database, std::uint32_t number) {
    if (!database.tableExists("dictionaries")) {
        return std::nullopt;
    }
    SQLite::Statement find(database, "SELECT bytes FROM dictionaries WHERE id = ?1");
    find.bind(1, number);
    return find.executeStep() ? std::optional(find.getColumn(0).getString()) : std::nullopt;
}

}  // namespace

const char* const kRecordColumns =
    "recordID, recordType, recordVersion, name, description, recordTopic, recordData, "
    "recordModificationTime, recordPublicData, readOnly, systemCreated, tags";

void PrepareLayout(SQLite::Database& database, const std::string& path, int pageSize) {
    const int version = ReadLayoutVersion(database);
    const int application = ReadPragma(database, "application_id");
    const bool empty = database.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
    if (empty && version == 0 && application == 0) {
        // The page size counts before the first page is written, and cannot change once the log is in use.
        database.exec("PRAGMA page_size = " + std::to_string(pageSize));
    } else if (application != kApplicationId || version <= 0) {
        throw ObjectStoreException("'" + path +
                                   "' is the database of another program; name a file of the store's own");
    } else if (version > kLayoutVersion) {
        throw ObjectStoreException("'" + path + "' has layout version " + std::to_string(version) +
                                   ", and this program knows versions up to " +
                                   std::to_string(kLayoutVersion) +
                                   "; start a newer program or name another file");
    }
    if (database.execAndGet("PRAGMA journal_mode = WAL").getString() != "wal") {
        throw ObjectStoreException("'" + path + "' lies on a file system without shared memory, " +
                                   "which the store's log needs; name a file on a local disk");
    }
    if (empty) {
        CreateLayout(database);
    }
}

int ReadLayoutVersion(SQLite::Database& database) {
    return ReadPragma(database, "user_version");
}

bool HoldsDictionary(SQLite::Database& database, const PackDictionary& dictionary) {
    const std::optional<std::string> bytes = ReadDictionary(database, dictionary.number);
    if (bytes && *bytes != dictionary.bytes) {
        throw ObjectStoreException("'" + database.getFilename() + "' holds another dictionary " +
                                   std::to_string(dictionary.number) +
                                   " than this program; start the program that wrote it");
    }
    return bytes.has_value();
}

void AddDictionary(SQLite::Database& database, const PackDictionary& dictionary) {
    if (ReadLayoutVersion(database) == kFirstLayoutVersion) {
        database.exec("CREATE TABLE dictionaries (id INTEGER PRIMARY KEY, bytes BLOB NOT NULL)");
        QUILLON_FAILPOINT("amid-layout-change");
        database.exec("PRAGMA user_version = " + std::to_string(kLayoutVersion));
    }
    SQLite::Statement insert(database, "INSERT INTO dictionaries (id, bytes) VALUES (?1, ?2)");
    insert.bind(1, dictionary.number);
    insert.bindNoCopy(2, dictionary.bytes.data(), static_cast<int>(dictionary.bytes.size()));
    insert.exec();
}

void BindRecord(SQLite::Statement& statement, const Weftline::Record& record, const std::string& packedData,
                std::int64_t now) {
    BindText(statement, 1, record.recordID);
    BindText(statement, 2, record.recordType);
    statement.bind(3, record.recordVersion);
    BindText(statement, 4, record.name);
    BindText(statement, 5, record.description);
    BindText(statement, 6, record.recordTopic);
    if (packedData.empty()) {
        BindText(statement, 7, record.recordData);
    } else {
        statement.bindNoCopy(7, packedData.data(), static_cast<int>(packedData.size()));
    }
    statement.bind(8, now);
    BindText(statement, 9, record.recordPublicData);
    statement.bind(10, record.readOnly ? 1 : 0);
    statement.bind(11, record.systemCreated ? 1 : 0);
    BindText(statement, 12, record.tags);
}

std::string FileUnpacker::TextOf(std::string_view bytes) {
    std::optional<std::string> text = Unpack(bytes);
    return text ? std::move(*text) : std::string(bytes);
}

std::optional<std::string> FileUnpacker::FindDictionary(std::uint32_t number) {
    return ReadDictionary(m_database, number);
}

Weftline::Record ReadRecord(SQLite::Statement& statement, int first, FileUnpacker& unpacker) {
    Weftline::Record record = EmptyRecord();
    record.recordID = statement.getColumn(first).getString();
    record.recordType = statement.getColumn(first + 1).getString();
    record.recordVersion = statement.getColumn(first + 2).getInt();
    record.name = statement.getColumn(first + 3).getString();
    record.description = statement.getColumn(first + 4).getString();
    record.recordTopic = statement.getColumn(first + 5).getString();
    record.recordData = ReadData(statement.getColumn(first + 6), unpacker);
    record.recordPublicData = statement.getColumn(first + 8).getString();
    record.readOnly = statement.getColumn(first + 9).getInt64() != 0;
    record.systemCreated = statement.getColumn(first + 10).getInt64() != 0;
    record.tags = statement.getColumn(first + 11).getString();
    return record;
}

std::string ReferenceCondition(std::string_view key) {
    const bool bad = std::any_of(key.begin(), key.end(), [](char c) {
        return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
    });
    if (bad || key.empty()) {
        throw ObjectStoreException(
            "A reference key may not be empty nor hold double quotes, backslashes or "
            "control characters");
    }
    return "instr(recordPublicData, " + SqlText("\"" + std::string(key) + "\"") + ") > 0";
}

std::string ReferenceExpression(std::string_view key) {
    const std::string path = SqlText("$.\"" + std::string(key) + "\"");
    // The nesting keeps the JSON functions, which fail on broken JSON, behind the test for it.
    return "CASE WHEN " + ReferenceCondition(key) +
           " THEN CASE WHEN json_valid(recordPublicData) THEN CASE json_type(recordPublicData, " + path +
           ") WHEN 'text' THEN json_extract(recordPublicData, " + path + ") END END END";
}

std::string ReferenceIndexName(std::string_view key) {
    return "recordsByReference:" + std::string(key);
}

std::string CreateReferenceIndexSql(std::string_view key) {
    // The condition is cheap: a record without the key costs no more than the search for it, and one that has
    // it, whose JSON is read anyway, is not read a second time to see whether it belongs here.
    return "CREATE INDEX IF NOT EXISTS \"" + ReferenceIndexName(key) +
           "\" ON records (recordTopic, recordType, " + ReferenceExpression(key) + ") WHERE " +
           ReferenceCondition(key);
}

}  // namespace CommonServices::Sqlite
