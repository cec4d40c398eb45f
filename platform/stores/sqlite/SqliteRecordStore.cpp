#include "SqliteRecordStore.h"

#include <SQLiteCpp/Exception.h>

#include <algorithm>
#include <utility>

#include "ObjectStoreException.h"

namespace CommonServices::Sqlite {

namespace {

// Records that are read from one state of the store. Of jobs it is some megabytes, read in a few
// milliseconds.
constexpr std::int64_t kStretch = 1024;

template <typename Read>
auto Guarded(Read read) {
    try {
        return read();
    } catch (const SQLite::Exception& fault) {
        throw ObjectStoreException(std::string("The store cannot be read: ") + fault.what());
    }
}

// `read` adds the records of a window to a list and gives the place of the last.
template <typename Read>
std::vector<Weftline::Record> ReadInStretches(std::int32_t offset, std::int32_t limit, Read read) {
    std::vector<Weftline::Record> found;
    ReadWindow window{0, std::max(offset, 0), 0};
    const std::size_t wanted = static_cast<std::size_t>(std::max(limit, 0));
    while (found.size() < wanted) {
        const std::size_t before = found.size();
        window.limit = std::min(kStretch, static_cast<std::int64_t>(wanted - before));
        window.after = read(window, found);
        window.offset = 0;
        if (found.size() - before < static_cast<std::size_t>(window.limit)) {
            break;
        }
    }
    return found;
}

}  // namespace

SqliteRecordStore::SqliteRecordStore(std::shared_ptr<SqliteFile> file) : m_pFile(std::move(file)) {}

bool SqliteRecordStore::Upsert(const Weftline::Record& record) {
    UpsertWrite write(record);
    return m_pFile->Writer().Write(write);
}

std::optional<Weftline::Record> SqliteRecordStore::FindByID(const std::string& id,
                                                            const std::string& collection) {
    return Guarded([&] { return m_pFile->Readers().Take()->FindByID(id, collection); });
}

std::vector<Weftline::Record> SqliteRecordStore::FindOfType(const std::string& collection,
                                                            const std::string& type, std::int32_t offset,
                                                            std::int32_t limit) {
    return Guarded([&] {
        const ReaderPool::Lease reader = m_pFile->Readers().Take();
        return ReadInStretches(offset, limit, [&](const ReadWindow& window, auto& found) {
            return reader->ReadOfType(collection, type, window, found);
        });
    });
}

std::vector<Weftline::Record> SqliteRecordStore::FindWithReference(const std::string& collection,
                                                                   const std::string& type,
                                                                   const std::string& key,
                                                                   const std::string& value,
                                                                   std::int32_t offset, std::int32_t limit) {
    return Guarded([&] {
        m_pFile->EnsureReferenceIndex(key);
        const ReaderPool::Lease reader = m_pFile->Readers().Take();
        return ReadInStretches(offset, limit, [&](const ReadWindow& window, auto& found) {
            return reader->ReadWithReference(collection, type, key, value, window, found);
        });
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
