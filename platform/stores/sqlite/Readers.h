#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/concurrency/Mutex.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/sqlite/SqliteOptions.h"

namespace SQLite {
class Statement;
}  // namespace SQLite

namespace CommonServices::Sqlite {

/// A part of a list in the store's order.
struct ReadWindow {
    std::int64_t offset = 0;  ///< so many are left out
    std::int64_t limit = 0;
};

/// The question behind `FindRecordsWithReferencedID`, for tests of how SQLite answers it.
std::string ReferenceListSql(const std::string& key);

/// A connection that can only read, with its prepared statements. One thread at a time. Each operation sees
/// one state of the store. Faults are thrown as `SQLite::Exception`.
class ReadConnection {
public:
    explicit ReadConnection(const SqliteOptions& options);
    ReadConnection(const ReadConnection&) = delete;
    ReadConnection& operator=(const ReadConnection&) = delete;
    ~ReadConnection();

    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection);

    /// One place for each id, empty where there is no such record.
    std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                              const std::string& collection);

    std::vector<std::optional<Weftline::Record>> FindManyWithoutData(const std::vector<std::string>& ids,
                                                                     const std::string& collection);

    std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection, const std::string& type,
                                                    const ReadWindow& window);
    std::vector<Weftline::Record> FindRecordsWithReferencedID(const std::string& collection,
                                                              const std::string& type, const std::string& key,
                                                              const std::string& value,
                                                              const ReadWindow& window);

    /// Of the event log.
    std::vector<LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset, std::int64_t limit);

    bool HasReferenceIndex(const std::string& key);

private:
    struct Statements;

    std::optional<Weftline::Record> FindOne(SQLite::Statement& find, const std::string& id,
                                            const std::string& collection);
    std::vector<std::optional<Weftline::Record>> FindMany(SQLite::Statement& find,
                                                          const std::vector<std::string>& ids,
                                                          const std::string& collection);

    std::unique_ptr<Statements> m_pStatements;
};

/// The connections that read, opened as they are needed. Any thread may call; whoever finds all of them in
/// use waits for one, and never for the writer.
class ReaderPool {
public:
    explicit ReaderPool(const SqliteOptions& options);
    ReaderPool(const ReaderPool&) = delete;
    ReaderPool& operator=(const ReaderPool&) = delete;
    ~ReaderPool();

    /// A connection for one thread, which goes back when the lease ends. The pool must outlive it.
    class Lease {
    public:
        Lease(ReaderPool& pool, std::unique_ptr<ReadConnection> connection);
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();
        ReadConnection* operator->() const { return m_pConnection.get(); }
        ReadConnection& operator*() const { return *m_pConnection; }

    private:
        ReaderPool& m_pool;
        std::unique_ptr<ReadConnection> m_pConnection;
    };

    /// Throws `SQLite::Exception` when a connection cannot be opened.
    [[nodiscard]] Lease Take();

private:
    std::unique_ptr<ReadConnection> TakeFree();
    void GiveBack(std::unique_ptr<ReadConnection> connection);

    const SqliteOptions m_options;

    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_returned;
    std::vector<std::unique_ptr<ReadConnection>> m_free QUILLON_GUARDED_BY(m_mutex);
    std::size_t m_inUse QUILLON_GUARDED_BY(m_mutex) = 0;
};

}  // namespace CommonServices::Sqlite
