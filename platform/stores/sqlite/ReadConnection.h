#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/sqlite/SqliteOptions.h"

namespace CommonServices::Sqlite {

/// A part of a list in the store's order.
struct ReadWindow {
    std::int64_t offset = 0;  ///< so many are left out
    std::int64_t limit = 0;
};

/// The question behind `ReadWithReference`, for tests of how SQLite answers it.
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

    std::vector<Weftline::Record> ReadOfType(const std::string& collection, const std::string& type,
                                             const ReadWindow& window);
    std::vector<Weftline::Record> ReadWithReference(const std::string& collection, const std::string& type,
                                                    const std::string& key, const std::string& value,
                                                    const ReadWindow& window);

    std::vector<LoggedEvent> ReadEvents(const std::string& topic, std::int64_t afterOffset,
                                        std::int64_t limit);

    bool HasReferenceIndex(const std::string& key);

private:
    struct Statements;
    std::unique_ptr<Statements> m_pStatements;
};

}  // namespace CommonServices::Sqlite
