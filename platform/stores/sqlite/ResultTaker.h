#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/stores/sqlite/SqliteLayout.h"

namespace SQLite {
class Database;
}  // namespace SQLite

namespace CommonServices::Sqlite {

/// Which records: those that `FindRecordsWithReferencedID` gives for these.
struct Reference {
    std::string collection;
    std::string type;
    std::string key;
    std::string value;
};

/// Reads and deletes records in one walk along the index of references, which costs little more than the
/// deletion alone. Belongs to the connection that writes, and goes before it.
class ResultTaker {
public:
    explicit ResultTaker(SQLite::Database& database);
    ResultTaker(const ResultTaker&) = delete;
    ResultTaker& operator=(const ResultTaker&) = delete;
    ~ResultTaker() = default;

    /// The private data of the first `limit` of the records, in the store's order. Throws
    /// `SQLite::Exception`, and some may be deleted then.
    std::vector<std::string> Take(const Reference& reference, std::size_t limit);

private:
    struct Basket {
        std::size_t limit = 0;
        std::vector<std::string> texts;
        FileUnpacker& unpacker;
    };

    SQLite::Database& m_database;
    FileUnpacker m_unpacker;
    Basket m_basket;  // of the present walk
};

}  // namespace CommonServices::Sqlite
