#include "platform/stores/sqlite/Readers.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <map>
#include <string_view>
#include <utility>

#include "base/concurrency/BlockingRegion.h"
#include "platform/stores/sqlite/Connection.h"
#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

using PlatformAbstraction::MutexLock;

namespace {

// `rowid` is the place in the store's order, and the last column of every index.
std::string ListSql(const std::string& condition) {
    return std::string("SELECT ") + kRecordColumns +
           " FROM records WHERE recordTopic = ?1 AND recordType = ?2" + condition +
           " ORDER BY rowid LIMIT ?4 OFFSET ?3";
}

std::string ByIdSql(const std::string& columns) {
    return "SELECT " + columns + " FROM records WHERE recordID = ?1 AND recordTopic = ?2";
}

std::string ColumnsWithoutData() {
    constexpr std::string_view kData = "recordData";
    std::string columns = kRecordColumns;
    return columns.replace(columns.find(kData), kData.size(), "''");
}

// One statement for a list of any length, so that a deletion beside it is seen whole or not at all.
std::vector<Weftline::Record> ReadList(SQLite::Statement& list, const std::string& collection,
                                       const std::string& type, const ReadWindow& window,
                                       FileUnpacker& unpacker) {
    const RunningStatement running(list);
    list.bindNoCopy(1, collection);
    list.bindNoCopy(2, type);
    list.bind(3, window.offset);
    list.bind(4, window.limit);
    std::vector<Weftline::Record> found;
    while (list.executeStep()) {
        found.push_back(ReadRecord(list, 0, unpacker));
    }
    return found;
}

}  // namespace

std::string ReferenceListSql(const std::string& key) {
    return ListSql(" AND " + ReferenceCondition(key) + " AND " + ReferenceExpression(key) + " = ?5");
}

struct ReadConnection::Statements {
    explicit Statements(const SqliteOptions& options)
        : database(OpenReader(options)),
          byId(database, ByIdSql(kRecordColumns)),
          byIdWithoutData(database, ByIdSql(ColumnsWithoutData())),
          ofType(database, ListSql("")),
          events(database, std::string("SELECT eventOffset, ") + kRecordColumns +
                               " FROM events WHERE recordTopic = ?1 AND eventOffset > ?2 "
                               "ORDER BY eventOffset LIMIT ?3"),
          index(database, "SELECT 1 FROM sqlite_master WHERE type = 'index' AND name = ?1"),
          unpacker(database) {}

    SQLite::Statement& WithReference(const std::string& key) {
        const auto known = withReference.find(key);
        if (known != withReference.end()) {
            return known->second;
        }
        return withReference.try_emplace(key, database, ReferenceListSql(key)).first->second;
    }

    SQLite::Database database;
    SQLite::Statement byId;
    SQLite::Statement byIdWithoutData;
    SQLite::Statement ofType;
    SQLite::Statement events;
    SQLite::Statement index;
    std::map<std::string, SQLite::Statement> withReference;  // by key
    FileUnpacker unpacker;
};

ReadConnection::ReadConnection(const SqliteOptions& options)
    : m_pStatements(std::make_unique<Statements>(options)) {}

ReadConnection::~ReadConnection() = default;

std::optional<Weftline::Record> ReadConnection::FindByID(const std::string& id,
                                                         const std::string& collection) {
    return FindOne(m_pStatements->byId, id, collection);
}

std::vector<std::optional<Weftline::Record>> ReadConnection::FindManyByID(const std::vector<std::string>& ids,
                                                                          const std::string& collection) {
    return FindMany(m_pStatements->byId, ids, collection);
}

std::vector<std::optional<Weftline::Record>> ReadConnection::FindManyWithoutData(
    const std::vector<std::string>& ids, const std::string& collection) {
    return FindMany(m_pStatements->byIdWithoutData, ids, collection);
}

std::optional<Weftline::Record> ReadConnection::FindOne(SQLite::Statement& find, const std::string& id,
                                                        const std::string& collection) {
    const RunningStatement running(find);
    find.bindNoCopy(1, id);
    find.bindNoCopy(2, collection);
    if (!find.executeStep()) {
        return std::nullopt;
    }
    return ReadRecord(find, 0, m_pStatements->unpacker);
}

std::vector<std::optional<Weftline::Record>> ReadConnection::FindMany(SQLite::Statement& find,
                                                                      const std::vector<std::string>& ids,
                                                                      const std::string& collection) {
    // All are of one state, and found under one lock.
    SQLite::Transaction oneState(m_pStatements->database);
    std::vector<std::optional<Weftline::Record>> found;
    found.reserve(ids.size());
    for (const std::string& id : ids) {
        found.push_back(FindOne(find, id, collection));
    }
    oneState.commit();
    return found;
}

std::vector<Weftline::Record> ReadConnection::FindRecordsOfType(const std::string& collection,
                                                                const std::string& type,
                                                                const ReadWindow& window) {
    return ReadList(m_pStatements->ofType, collection, type, window, m_pStatements->unpacker);
}

std::vector<Weftline::Record> ReadConnection::FindRecordsWithReferencedID(const std::string& collection,
                                                                          const std::string& type,
                                                                          const std::string& key,
                                                                          const std::string& value,
                                                                          const ReadWindow& window) {
    SQLite::Statement& list = m_pStatements->WithReference(key);
    list.bindNoCopy(5, value);
    return ReadList(list, collection, type, window, m_pStatements->unpacker);
}

std::vector<LoggedEvent> ReadConnection::Read(const std::string& topic, std::int64_t afterOffset,
                                              std::int64_t limit) {
    SQLite::Statement& events = m_pStatements->events;
    const RunningStatement running(events);
    events.bindNoCopy(1, topic);
    events.bind(2, afterOffset);
    events.bind(3, limit);
    std::vector<LoggedEvent> found;
    while (events.executeStep()) {
        found.push_back({events.getColumn(0).getInt64(), ReadRecord(events, 1, m_pStatements->unpacker)});
    }
    return found;
}

bool ReadConnection::HasReferenceIndex(const std::string& key) {
    SQLite::Statement& index = m_pStatements->index;
    const RunningStatement running(index);
    index.bind(1, ReferenceIndexName(key));
    return index.executeStep();
}

ReaderPool::ReaderPool(const SqliteOptions& options) : m_options(options) {
    m_free.reserve(options.maxReaders);
}

ReaderPool::~ReaderPool() = default;

ReaderPool::Lease::Lease(ReaderPool& pool, std::unique_ptr<ReadConnection> connection)
    : m_pool(pool), m_pConnection(std::move(connection)) {}

ReaderPool::Lease::~Lease() {
    m_pool.GiveBack(std::move(m_pConnection));
}

ReaderPool::Lease ReaderPool::Take() {
    std::unique_ptr<ReadConnection> connection = TakeFree();
    if (connection == nullptr) {
        try {
            connection = std::make_unique<ReadConnection>(m_options);
        } catch (...) {
            GiveBack(nullptr);
            throw;
        }
    }
    return {*this, std::move(connection)};
}

// Counts the caller in; empty when it is to open a connection.
std::unique_ptr<ReadConnection> ReaderPool::TakeFree() {
    MutexLock lock(m_mutex);
    if (m_inUse == m_options.maxReaders) {
        const PlatformAbstraction::BlockingRegion blocking;
        while (m_inUse == m_options.maxReaders) {
            m_returned.Wait(lock);
        }
    }
    ++m_inUse;
    if (m_free.empty()) {
        return nullptr;
    }
    std::unique_ptr<ReadConnection> connection = std::move(m_free.back());
    m_free.pop_back();
    return connection;
}

void ReaderPool::GiveBack(std::unique_ptr<ReadConnection> connection) {
    {
        const MutexLock lock(m_mutex);
        --m_inUse;
        if (connection != nullptr) {
            m_free.push_back(std::move(connection));
        }
    }
    m_returned.NotifyOne();
}

}  // namespace CommonServices::Sqlite
