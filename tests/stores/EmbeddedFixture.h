#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <future>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/concurrency/HeldOutput.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/EmbeddedStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"
#include "tests/stores/TempDirectory.h"

constexpr std::int32_t kAll = std::numeric_limits<std::int32_t>::max();

/// A record with a chosen id.
inline Weftline::Record RecordOf(const std::string& id, const std::string& topic = "V2_WFJobs",
                                 const std::string& type = "Job") {
    Weftline::Record record(type, 1, topic);
    record.recordID = id;
    return record;
}

/// A result with its public JSON, which may name the query that it is of.
inline Weftline::Record ResultOf(const std::string& id, const std::string& publicJson) {
    Weftline::Record record = RecordOf(id, "V2_WFMobIDs", "MobID");
    record.recordPublicData = publicJson;
    return record;
}

inline std::vector<std::string> IdsOf(const std::vector<Weftline::Record>& records) {
    std::vector<std::string> ids;
    for (const Weftline::Record& record : records) {
        ids.push_back(record.recordID);
    }
    return ids;
}

/// Another local program at work on the store's file, as docs/store.md asks it to be: it knows SQL and
/// nothing of the store's code.
class ForeignProgram {
public:
    explicit ForeignProgram(const std::string& path) {
        if (sqlite3_open(path.c_str(), &m_pDatabase) != SQLITE_OK) {
            throw std::runtime_error("cannot open " + path);
        }
        sqlite3_db_config(m_pDatabase, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        Ask("PRAGMA busy_timeout = 10000; PRAGMA wal_autocheckpoint = 0");
    }
    ForeignProgram(const ForeignProgram&) = delete;
    ForeignProgram& operator=(const ForeignProgram&) = delete;
    ~ForeignProgram() { sqlite3_close(m_pDatabase); }

    /// Runs statements; the last column of all rows, as text. A failure is thrown as `std::runtime_error`.
    std::vector<std::string> Ask(const std::string& sql) {
        std::vector<std::string> rows;
        const auto collect = [](void* list, int count, char** values, char**) {
            static_cast<std::vector<std::string>*>(list)->emplace_back(values[count - 1]);
            return 0;
        };
        if (sqlite3_exec(m_pDatabase, sql.c_str(), collect, &rows, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_pDatabase));
        }
        return rows;
    }

    void Load(const std::string& extension) {
        sqlite3_db_config(m_pDatabase, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
        if (sqlite3_load_extension(m_pDatabase, extension.c_str(), nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_pDatabase));
        }
    }

private:
    sqlite3* m_pDatabase = nullptr;
};

/// Stores and announces as a handler at work beside others does: the answer waits for the disk, and the
/// thread does not.
inline std::future<bool> AnnounceHeld(CommonServices::RecordStore& records, CommonServices::EventLog& events,
                                      const std::string& id, const std::string& topic) {
    struct Output final : PlatformAbstraction::HeldOutput {
        void GoOut(const std::string* failure) noexcept override {
            const std::unique_ptr<Output> self(this);
            isStored.set_value(failure == nullptr);
        }
        std::promise<bool> isStored;
    };
    auto* const output = new Output;
    auto isStored = output->isStored.get_future();
    Weftline::Record event = RecordOf("event of " + id, "V2_WFJobEvents");
    event.recordData = id;
    output->End(records.UpsertOneAndProduceHeld(RecordOf(id, topic), events, std::move(event), *output));
    return isStored;
}

/// An embedded store in a directory of the test's own, which can be closed and opened anew.
class EmbeddedFixture : public testing::Test {
protected:
    EmbeddedFixture() { options.path = directory.File("store.db"); }

    void Open() { store = CommonServices::OpenEmbeddedStore(options); }
    void Close() { store = {}; }

    bool Append(const std::string& id, bool durable = true) {
        return store.events->Produce(RecordOf(id, "V2_WFJobEvents"), durable);
    }
    std::size_t CountEvents() { return store.events->Read("V2_WFJobEvents", 0, 1000, {}).size(); }
    bool Upsert(const std::string& id, std::size_t bytes = 0) {
        Weftline::Record job = RecordOf(id);
        job.recordData = std::string(bytes, 'x');
        return store.records->UpsertOne(job);
    }
    std::future<bool> Announce(const std::string& id, const std::string& topic = "V2_WFJobs") {
        return AnnounceHeld(*store.records, *store.events, id, topic);
    }
    std::vector<std::string> Jobs() {
        return IdsOf(store.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll));
    }

    const TempDirectory directory;
    CommonServices::Sqlite::SqliteOptions options;
    CommonServices::EmbeddedStore store;
};
