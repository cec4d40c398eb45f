#include "platform/stores/sqlite/SqliteRecordStore.h"

#include <SQLiteCpp/Exception.h>

#include <algorithm>
#include <utility>

#include "platform/stores/ObjectStoreException.h"
#include "platform/stores/sqlite/SqliteEventLog.h"

namespace CommonServices::Sqlite {

namespace {

template <typename Read>
auto Guarded(Read read) {
    try {
        return read();
    } catch (const SQLite::Exception& fault) {
        throw ObjectStoreException(std::string("The store cannot be read: ") + fault.what());
    }
}

ReadWindow WindowOf(std::int32_t offset, std::int32_t limit) {
    return {std::max(offset, 0), std::max(limit, 0)};
}

}  // namespace

SqliteRecordStore::SqliteRecordStore(std::shared_ptr<SqliteFile> file) : m_pFile(std::move(file)) {}

bool SqliteRecordStore::Upsert(const Weftline::Record& record) {
    UpsertWrite write(record);
    return m_pFile->Writer().Write(write);
}

bool SqliteRecordStore::UpsertAndAppend(const Weftline::Record& record, EventLog& events,
                                        const Weftline::Record& event) {
    const auto* const log = dynamic_cast<const SqliteEventLog*>(&events);
    if (log == nullptr || !log->IsIn(*m_pFile)) {
        return RecordStore::UpsertAndAppend(record, events, event);
    }
    UpsertAndAppendWrite write(record, event);
    return m_pFile->Writer().Write(write);
}

std::optional<Weftline::Record> SqliteRecordStore::FindByID(const std::string& id,
                                                            const std::string& collection) {
    return Guarded([&] { return m_pFile->Readers().Take()->FindByID(id, collection); });
}

std::vector<std::optional<Weftline::Record>> SqliteRecordStore::FindManyByID(
    const std::vector<std::string>& ids, const std::string& collection) {
    return Guarded([&] { return m_pFile->Readers().Take()->FindManyByID(ids, collection); });
}

std::vector<Weftline::Record> SqliteRecordStore::FindOfType(const std::string& collection,
                                                            const std::string& type, std::int32_t offset,
                                                            std::int32_t limit) {
    return Guarded(
        [&] { return m_pFile->Readers().Take()->ReadOfType(collection, type, WindowOf(offset, limit)); });
}

std::vector<Weftline::Record> SqliteRecordStore::FindWithReference(const std::string& collection,
                                                                   const std::string& type,
                                                                   const std::string& key,
                                                                   const std::string& value,
                                                                   std::int32_t offset, std::int32_t limit) {
    return Guarded([&] {
        m_pFile->EnsureReferenceIndex(key);
        return m_pFile->Readers().Take()->ReadWithReference(collection, type, key, value,
                                                            WindowOf(offset, limit));
    });
}

bool SqliteRecordStore::DeleteMany(const std::vector<std::string>& ids) {
    if (ids.empty()) {
        return true;
    }
    DeleteWrite write(ids);
    return m_pFile->Writer().Write(write);
}

}  // namespace CommonServices::Sqlite
