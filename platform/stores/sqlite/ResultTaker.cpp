#include "platform/stores/sqlite/ResultTaker.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

#include <new>
#include <string_view>
#include <utility>

#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

namespace {

// The last condition is asked for rows alone that meet the others, and keeps what it is shown. RETURNING
// would have SQLite collect the rows before it deletes the first, and look for each of them once more.
std::string TakeSql(const std::string& key) {
    return "DELETE FROM records WHERE recordTopic = ?1 AND recordType = ?2 AND " + ReferenceCondition(key) +
           " AND " + ReferenceExpression(key) + " = ?3 AND taken(recordData)";
}

std::string TextOf(sqlite3_value* value, FileUnpacker& unpacker) {
    const bool isBlob = sqlite3_value_type(value) == SQLITE_BLOB;  // before it is read as one
    const void* const bytes = sqlite3_value_blob(value);
    if (bytes == nullptr) {
        return {};
    }
    const std::string_view data(static_cast<const char*>(bytes),
                                static_cast<std::size_t>(sqlite3_value_bytes(value)));
    return isBlob ? unpacker.TextOf(data) : std::string(data);
}

}  // namespace

ResultTaker::ResultTaker(SQLite::Database& database)
    : m_database(database), m_unpacker(database), m_basket{0, {}, m_unpacker} {
    const auto taken = [](sqlite3_context* context, int /*count*/, sqlite3_value** values) {
        auto& basket = *static_cast<Basket*>(sqlite3_user_data(context));
        const bool hasRoom = basket.texts.size() < basket.limit;
        try {
            if (hasRoom) {
                basket.texts.push_back(TextOf(values[0], basket.unpacker));
            }
            sqlite3_result_int(context, hasRoom ? 1 : 0);
        } catch (const std::bad_alloc&) {
            sqlite3_result_error_nomem(context);
        } catch (const SQLite::Exception& fault) {
            sqlite3_result_error_code(context, fault.getErrorCode());
        }
    };
    const int code =
        sqlite3_create_function_v2(m_database.getHandle(), "taken", 1, SQLITE_UTF8 | SQLITE_DIRECTONLY,
                                   &m_basket, taken, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        throw SQLite::Exception(m_database.getErrorMsg(), code);
    }
}

std::vector<std::string> ResultTaker::Take(const Reference& reference, std::size_t limit) {
    m_basket.limit = limit;
    m_basket.texts.clear();
    SQLite::Statement take(m_database, TakeSql(reference.key));
    take.bindNoCopy(1, reference.collection);
    take.bindNoCopy(2, reference.type);
    take.bindNoCopy(3, reference.value);
    take.exec();
    return std::exchange(m_basket.texts, {});
}

}  // namespace CommonServices::Sqlite
