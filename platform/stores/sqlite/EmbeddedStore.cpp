#include "platform/stores/sqlite/EmbeddedStore.h"

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <utility>

#include "base/concurrency/Mutex.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/PackedText.h"
#include "platform/stores/sqlite/Readers.h"
#include "platform/stores/sqlite/SqliteLayout.h"
#include "platform/stores/sqlite/SqliteWriter.h"
#include "platform/stores/sqlite/StoreFile.h"

namespace CommonServices {

namespace Sqlite {

namespace {

/// The open file, which records and events share. It closes cleanly when the last of the two lets it go; no
/// call may be under way then.
struct OpenFile {
    explicit OpenFile(const SqliteOptions& options)
        : file(options.path), writer(options, file), readers(options) {
        if (options.compression == Compression::Zstd) {
            packer.emplace(OwnDictionary());
        }
    }

    /// The record's data as it is written in its place, or empty. On the thread of whoever writes, so that
    /// the one writer has the less to do.
    std::string Pack(const Weftline::Record& record) {
        return packer ? packer->Pack(record.recordData) : std::string();
    }

    StoreFile file;
    SqliteWriter writer;  // the readers need the log that it opens, and close before it does
    ReaderPool readers;
    std::optional<TextPacker> packer;
};

// About what the deletion of a record adds to the log: a page or two.
constexpr std::size_t kDeletedBytes = 4096;
// A query's results go all at once, so that a process that dies meanwhile leaves all of them or none. Only
// more than any query has are cut: submissions wait for each piece, a second or two.
constexpr std::size_t kMostTakenAtOnce = 50'000;
// Whoever waits for results looks often, and a look costs no write. Where it finds that many there may be any
// number.
constexpr std::int32_t kLook = 16;

std::size_t SizeOf(const Weftline::Record& record) {
    return record.recordData.size() + record.recordPublicData.size() + record.name.size() +
           record.description.size() + record.tags.size();
}

template <typename Read>
auto Guarded(const char* what, Read read) {
    try {
        return read();
    } catch (const SQLite::Exception& fault) {
        throw ObjectStoreException(std::string(what) + " cannot be read: " + fault.what());
    }
}

/// The events of the embedded store, in the file of its records.
class SqliteEventLog final : public EventLog {
public:
    explicit SqliteEventLog(std::shared_ptr<OpenFile> file) : m_pFile(std::move(file)) {}

    bool IsIn(const OpenFile& file) const { return m_pFile.get() == &file; }

    bool Produce(const Weftline::Record& record, bool durable) override {
        if (!durable) {
            const auto work = [record](WriteConnection& file) { file.Produce(record); };
            auto write = std::make_unique<WriteOf<decltype(work)>>(work);
            write->isEvent = true;
            return m_pFile->writer.WriteDetached(std::move(write));
        }
        WriteOf write([&record](WriteConnection& file) { file.Produce(record); });
        write.isEvent = true;
        return m_pFile->writer.Write(write);
    }

    std::vector<LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset, std::size_t limit,
                                  const EventWait& wait) override;

private:
    const std::shared_ptr<OpenFile> m_pFile;
};

std::vector<LoggedEvent> SqliteEventLog::Read(const std::string& topic, std::int64_t afterOffset,
                                              std::size_t limit, const EventWait& wait) {
    // The service's own events end a wait at once; those that other programs insert are found after this at
    // most.
    constexpr std::chrono::milliseconds kForeignEventPoll{250};
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
    if (limit == 0) {
        return {};
    }
    const auto most = static_cast<std::int64_t>(std::min(limit, kMost));
    const auto deadline = std::chrono::steady_clock::now() + wait.longest;
    EventSignal& produced = m_pFile->writer.Events();
    for (;;) {
        const std::uint64_t seen = produced.Count();
        std::vector<LoggedEvent> found =
            Guarded("The event log", [&] { return m_pFile->readers.Take()->Read(topic, afterOffset, most); });
        const auto now = std::chrono::steady_clock::now();
        if (!found.empty() || now >= deadline || wait.stop.stop_requested()) {
            return found;
        }
        produced.WaitPast(seen, std::min(deadline, now + kForeignEventPoll), wait.stop);
    }
}

/// The records of the embedded store. Each list is read from one state of the store, whatever is written
/// meanwhile.
class SqliteRecordStore final : public RecordStore {
    template <typename Read>
    auto WithReader(Read read) {
        return Guarded("The store", [&] { return read(*m_pFile->readers.Take()); });
    }

public:
    explicit SqliteRecordStore(std::shared_ptr<OpenFile> file) : m_pFile(std::move(file)) {}

    bool UpsertOne(const Weftline::Record& record) override {
        const std::string packedData = m_pFile->Pack(record);
        WriteOf write([&](WriteConnection& file) { return file.UpsertOne(record, packedData); });
        return m_pFile->writer.Write(write);
    }

    ReplaceOutcome ReplaceIf(const std::optional<Weftline::Record>& seen,
                             const Weftline::Record& next) override {
        const std::string packedData = m_pFile->Pack(next);
        auto outcome = ReplaceOutcome::Failed;
        WriteOf write([&](WriteConnection& file) {
            outcome = ReplaceOutcome::Failed;  // of this attempt
            const auto stored = file.FindByID(next.recordID);
            const bool isAsSeen = stored && seen ? IsSameRecord(*stored, *seen) : !stored && !seen;
            if (!isAsSeen) {
                outcome = ReplaceOutcome::Changed;
                return false;
            }
            return file.UpsertOne(next, packedData);
        });
        return m_pFile->writer.Write(write) ? ReplaceOutcome::Replaced : outcome;
    }

    bool UpsertOneAndProduce(const Weftline::Record& record, EventLog& events,
                             const Weftline::Record& event) override {
        const auto* const log = dynamic_cast<const SqliteEventLog*>(&events);
        if (log == nullptr || !log->IsIn(*m_pFile)) {
            return RecordStore::UpsertOneAndProduce(record, events, event);
        }
        const std::string packedData = m_pFile->Pack(record);
        WriteOf write(
            [&](WriteConnection& file) { return file.UpsertOneAndProduce(record, packedData, event); });
        write.isEvent = true;
        return m_pFile->writer.Write(write);
    }

    bool UpsertOneAndProduceHeld(Weftline::Record&& record, EventLog& events, Weftline::Record&& event,
                                 PlatformAbstraction::HeldOutput& output) override {
        const auto* const log = dynamic_cast<const SqliteEventLog*>(&events);
        if (log == nullptr || !log->IsIn(*m_pFile)) {
            return RecordStore::UpsertOneAndProduce(record, events, event);
        }
        std::string packedData = m_pFile->Pack(record);
        if (!packedData.empty()) {
            record.recordData = {};
        }
        const std::size_t bytes = SizeOf(record) + packedData.size() + SizeOf(event);
        auto work = [record = std::move(record), packedData = std::move(packedData),
                     event = std::move(event)](WriteConnection& file) {
            return file.UpsertOneAndProduce(record, packedData, event);
        };
        auto write = std::make_unique<WriteOf<decltype(work)>>(std::move(work));
        write->isEvent = true;
        write->bytes = bytes;
        write->output = &output;
        return m_pFile->writer.WriteHeld(std::move(write));
    }

    bool DeleteMany(const std::vector<std::string>& ids) override {
        if (ids.empty()) {
            return true;
        }
        WriteOf write([&](WriteConnection& file) { file.DeleteMany(ids); });
        write.bytes = ids.size() * kDeletedBytes;
        return m_pFile->writer.Write(write);
    }

    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override {
        return WithReader([&](ReadConnection& file) { return file.FindByID(id, collection); });
    }

    std::vector<std::optional<Weftline::Record>> FindManyByID(const std::vector<std::string>& ids,
                                                              const std::string& collection) override {
        return WithReader([&](ReadConnection& file) { return file.FindManyByID(ids, collection); });
    }

    std::vector<std::optional<Weftline::Record>> FindManyWithoutData(const std::vector<std::string>& ids,
                                                                     const std::string& collection) override {
        return WithReader([&](ReadConnection& file) { return file.FindManyWithoutData(ids, collection); });
    }

    std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection, const std::string& type,
                                                    std::int32_t offset, std::int32_t limit) override {
        return WithReader([&](ReadConnection& file) {
            return file.FindRecordsOfType(collection, type, WindowOf(offset, limit));
        });
    }

    std::vector<Weftline::Record> FindRecordsWithReferencedID(const std::string& collection,
                                                              const std::string& type, const std::string& key,
                                                              const std::string& value, std::int32_t offset,
                                                              std::int32_t limit) override {
        EnsureReferenceIndex(key);
        return WithReader([&](ReadConnection& file) {
            return file.FindRecordsWithReferencedID(collection, type, key, value, WindowOf(offset, limit));
        });
    }

    std::vector<std::string> TakeDataWithReferencedID(const std::string& collection, const std::string& type,
                                                      const std::string& key,
                                                      const std::string& value) override;

private:
    static ReadWindow WindowOf(std::int32_t offset, std::int32_t limit) {
        return {std::max(offset, 0), std::max(limit, 0)};
    }

    void EnsureReferenceIndex(const std::string& key);

    const std::shared_ptr<OpenFile> m_pFile;

    PlatformAbstraction::Mutex m_mutex;
    std::set<std::string> m_indexedKeys QUILLON_GUARDED_BY(m_mutex);
};

std::vector<std::string> SqliteRecordStore::TakeDataWithReferencedID(const std::string& collection,
                                                                     const std::string& type,
                                                                     const std::string& key,
                                                                     const std::string& value) {
    const Reference reference{collection, type, key, value};
    const auto find = [&](std::int32_t limit) {
        return FindRecordsWithReferencedID(collection, type, key, value, 0, limit);
    };
    std::vector<std::string> data;
    while (const std::size_t seen = find(kLook).size()) {
        std::vector<std::string> taken;
        WriteOf write(
            [&](WriteConnection& file) { taken = file.TakeReferring(reference, kMostTakenAtOnce); });
        write.bytes = kDeletedBytes * (seen < kLook ? seen : kMostTakenAtOnce);
        if (!m_pFile->writer.Write(write)) {
            for (Weftline::Record& record : find(std::numeric_limits<std::int32_t>::max())) {
                data.push_back(std::move(record.recordData));
            }
            return data;
        }
        std::ranges::move(taken, std::back_inserter(data));
    }
    return data;
}

// Makes the index for references under `key`, where there is none yet. Throws `ObjectStoreException` for a
// key that cannot be one; where the index cannot be made now, reads go without it.
void SqliteRecordStore::EnsureReferenceIndex(const std::string& key) {
    {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        if (m_indexedKeys.contains(key)) {
            return;
        }
    }
    // Two threads may come this far with one key; the second finds the index there.
    static_cast<void>(ReferenceExpression(key));
    const bool isThere = WithReader([&](ReadConnection& file) { return file.HasReferenceIndex(key); });
    WriteOf write([&](WriteConnection& file) { file.CreateReferenceIndex(key); });
    if (isThere || m_pFile->writer.Write(write)) {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_indexedKeys.insert(key);
    }
}

}  // namespace

}  // namespace Sqlite

namespace {

[[noreturn]] void Explain(const std::string& path, const SQLite::Exception& fault) {
    if (fault.getErrorCode() == SQLITE_NOTADB || fault.getErrorCode() == SQLITE_CORRUPT) {
        throw ObjectStoreException("'" + path + "' is no database or is damaged (" + fault.what() +
                                   "); move it away or name another file");
    }
    if ((fault.getErrorCode() & 0xff) == SQLITE_BUSY) {
        throw ObjectStoreException("'" + path +
                                   "' is locked by another program; end that program's work on it");
    }
    throw ObjectStoreException("The store's file '" + path + "' cannot be opened: " + fault.what() +
                               "; make it and its directory writable for this user or name another file");
}

}  // namespace

EmbeddedStore OpenEmbeddedStore(const std::string& path) {
    Sqlite::SqliteOptions options;
    options.path = path;
    return OpenEmbeddedStore(options);
}

EmbeddedStore OpenEmbeddedStore(const Sqlite::SqliteOptions& given) {
    Sqlite::SqliteOptions options = given;
    // An absolute path, so that a later change of the working directory means nothing and no name reads as
    // one of SQLite's special ones.
    options.path = std::filesystem::absolute(given.path).lexically_normal().string();
    try {
        const auto file = std::make_shared<Sqlite::OpenFile>(options);
        return {std::make_shared<Sqlite::SqliteRecordStore>(file),
                std::make_shared<Sqlite::SqliteEventLog>(file)};
    } catch (const SQLite::Exception& fault) {
        Explain(options.path, fault);
    }
}

}  // namespace CommonServices
