#pragma once

#include <memory>

#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/SqliteFile.h"

namespace CommonServices::Sqlite {

/// The records of the embedded store. Each list is read from one state of the store, whatever is written
/// meanwhile.
class SqliteRecordStore final : public RecordStore {
public:
    explicit SqliteRecordStore(std::shared_ptr<SqliteFile> file);

    bool Upsert(const Weftline::Record& record) override;
    bool UpsertAndAppend(const Weftline::Record& record, EventLog& events,
                         const Weftline::Record& event) override;
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override;
    std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                              const std::string& collection) override;
    std::vector<Weftline::Record> FindOfType(const std::string& collection, const std::string& type,
                                             std::int32_t offset, std::int32_t limit) override;
    std::vector<Weftline::Record> FindWithReference(const std::string& collection, const std::string& type,
                                                    const std::string& key, const std::string& value,
                                                    std::int32_t offset, std::int32_t limit) override;
    bool DeleteMany(const std::vector<std::string>& ids) override;

private:
    const std::shared_ptr<SqliteFile> m_pFile;
};

}  // namespace CommonServices::Sqlite
