#include "platform/stores/sqlite/StoreContents.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/Connection.h"
#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

namespace {

constexpr const char* kLogSuffix = "-wal";
constexpr const char* kDoubtSuffix = "-doubt";

template <typename Work>
auto Guarded(const std::string& path, Work work) {
    try {
        return work();
    } catch (const SQLite::Exception& fault) {
        throw ObjectStoreException("'" + path + "' cannot be read: " + fault.what());
    }
}

/// Keeps services away, and others of its kind.
class Claim {
public:
    explicit Claim(const std::string& path) : m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (m_descriptor < 0) {
            throw ObjectStoreException("'" + path +
                                       "' cannot be opened: " + std::generic_category().message(errno));
        }
        if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            ::close(m_descriptor);
            throw ObjectStoreException(
                "'" + path + "' " +
                (error == EWOULDBLOCK ? "is in use by a service or by another such command; stop that first"
                                      : "cannot be claimed: " + std::generic_category().message(error)));
        }
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;
    ~Claim() { ::close(m_descriptor); }

private:
    const int m_descriptor;
};

SqliteOptions OptionsOf(const std::string& path) {
    SqliteOptions options;
    options.path = path;
    return options;
}

// Sizes of a log that is empty and of one that is not there are the same.
std::string StateOf(const std::string& path) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path, missing);
    if (missing || size == 0) {
        return "0";
    }
    const auto time = std::filesystem::last_write_time(path, missing).time_since_epoch();
    return std::to_string(size) + "@" + std::to_string(time.count());
}

}  // namespace

struct StoreContents::Parts {
    explicit Parts(const std::string& pathOfFile)
        : path(pathOfFile), claim(path), database(OpenReader(OptionsOf(path))) {}

    void Check() {
        if (std::filesystem::exists(path + kDoubtSuffix)) {
            throw ObjectStoreException("'" + path + "' was left in doubt by a disk that failed; start the " +
                                       "service on it once, which looks through it");
        }
        if (database.execAndGet("PRAGMA application_id").getInt() != kApplicationId) {
            throw ObjectStoreException("'" + path + "' is no file of the store's");
        }
        if (const int version = ReadLayoutVersion(database); version > kLayoutVersion) {
            throw ObjectStoreException("'" + path + "' has layout version " + std::to_string(version) +
                                       ", and this program knows versions up to " +
                                       std::to_string(kLayoutVersion));
        }
    }

    void Show(const std::string& table, const char* placeColumn, std::int64_t afterPlace,
              const Visit& visit) {
        Guarded(path, [&] {
            FileUnpacker unpacker(database);
            SQLite::Statement rows(database, std::string("SELECT ") + placeColumn + ", " + kRecordColumns +
                                                 " FROM " + table + " WHERE " + placeColumn +
                                                 " > ?1 ORDER BY " + placeColumn);
            rows.bind(1, afterPlace);
            while (rows.executeStep() && visit(rows.getColumn(0).getInt64(), ReadRecord(rows, 1, unpacker))) {
            }
        });
    }

    const std::string path;
    const Claim claim;
    SQLite::Database database;
};

StoreContents::StoreContents(const std::string& path)
    : m_pParts(Guarded(path, [&path] { return std::make_unique<Parts>(path); })) {
    Guarded(path, [this] {
        m_pParts->Check();
        m_pParts->database.exec("BEGIN");  // the first look fixes the state, until the connection ends
    });
}

StoreContents::~StoreContents() = default;

void StoreContents::VisitRecords(std::int64_t afterPlace, const Visit& visit) {
    m_pParts->Show("records", "rowid", afterPlace, visit);
}

std::optional<Weftline::Record> StoreContents::FindRecord(const std::string& id,
                                                          const std::string& collection) {
    return Guarded(m_pParts->path, [&]() -> std::optional<Weftline::Record> {
        FileUnpacker unpacker(m_pParts->database);
        SQLite::Statement row(m_pParts->database,
                              std::string("SELECT ") + kRecordColumns +
                                  " FROM records WHERE recordID = ?1 AND recordTopic = ?2");
        row.bind(1, id);
        row.bind(2, collection);
        if (!row.executeStep()) {
            return std::nullopt;
        }
        return ReadRecord(row, 0, unpacker);
    });
}

void StoreContents::VisitEvents(std::int64_t afterOffset, const Visit& visit) {
    m_pParts->Show("events", "eventOffset", afterOffset, visit);
}

std::string StoreContents::Identity() {
    std::string first;
    const Visit look = [&first](std::int64_t, Weftline::Record&& record) {
        first = std::move(record.recordID);
        return false;
    };
    VisitEvents(0, look);
    if (first.empty()) {
        VisitRecords(0, look);
    }
    return first;
}

std::string StoreContents::State() const {
    return StateOf(m_pParts->path) + " " + StateOf(m_pParts->path + kLogSuffix);
}

}  // namespace CommonServices::Sqlite
