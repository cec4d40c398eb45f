#include "platform/stores/sqlite/RecordRow.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

namespace CommonServices::Sqlite {

namespace {

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

}  // namespace

void BindRecord(SQLite::Statement& statement, const Weftline::Record& record, std::int64_t now) {
    BindText(statement, 1, record.recordID);
    BindText(statement, 2, record.recordType);
    statement.bind(3, record.recordVersion);
    BindText(statement, 4, record.name);
    BindText(statement, 5, record.description);
    BindText(statement, 6, record.recordTopic);
    BindText(statement, 7, record.recordData);
    statement.bind(8, now);
    BindText(statement, 9, record.recordPublicData);
    statement.bind(10, record.readOnly ? 1 : 0);
    statement.bind(11, record.systemCreated ? 1 : 0);
    BindText(statement, 12, record.tags);
}

Weftline::Record ReadRecord(SQLite::Statement& statement, int first) {
    Weftline::Record record = EmptyRecord();
    record.recordID = statement.getColumn(first).getString();
    record.recordType = statement.getColumn(first + 1).getString();
    record.recordVersion = statement.getColumn(first + 2).getInt();
    record.name = statement.getColumn(first + 3).getString();
    record.description = statement.getColumn(first + 4).getString();
    record.recordTopic = statement.getColumn(first + 5).getString();
    record.recordData = statement.getColumn(first + 6).getString();
    record.recordPublicData = statement.getColumn(first + 8).getString();
    record.readOnly = statement.getColumn(first + 9).getInt64() != 0;
    record.systemCreated = statement.getColumn(first + 10).getInt64() != 0;
    record.tags = statement.getColumn(first + 11).getString();
    return record;
}

}  // namespace CommonServices::Sqlite
