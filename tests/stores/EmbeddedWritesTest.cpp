// How the embedded store takes writes: in groups, durably, each failing for itself alone.

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "tests/stores/EmbeddedFixture.h"
#include "tests/support/FakeEventLog.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// A file system for SQLite whose faults can be switched on: the system's own with some calls put in between.
struct FaultyDisk {
    static constexpr const char* kName = "quillon-faulty-disk";
    std::atomic<bool> full = false;         // writes fail as on a full disk
    std::atomic<bool> indexIsFull = false;  // the log's index in shared memory cannot grow
    std::atomic<bool> syncFails = false;    // and may have lost what was written
    std::atomic<int> syncs = 0;
    sqlite3_vfs* system = nullptr;
} g_disk;

/// A copy of one of the system's tables of operations (the database file has another than the log), with some
/// of them exchanged. The files themselves stay the system's own.
struct Exchanged {
    sqlite3_io_methods methods;  // first: files point to it
    const sqlite3_io_methods* system;
};

const sqlite3_io_methods& SystemMethods(const sqlite3_file* file) {
    return *reinterpret_cast<const Exchanged*>(file->pMethods)->system;
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
    return g_disk.full ? SQLITE_FULL : SystemMethods(file).xWrite(file, data, amount, offset);
}

int Sync(sqlite3_file* file, int flags) {
    ++g_disk.syncs;
    return g_disk.syncFails ? SQLITE_IOERR_FSYNC : SystemMethods(file).xSync(file, flags);
}

int MapIndex(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
    return g_disk.indexIsFull ? SQLITE_IOERR_SHMSIZE
                              : SystemMethods(file).xShmMap(file, region, size, extend, memory);
}

const sqlite3_io_methods* Exchange(const sqlite3_io_methods* system) {
    static std::mutex mutex;
    static std::map<const sqlite3_io_methods*, Exchanged> tables;
    const std::scoped_lock lock(mutex);
    const auto [table, isNew] = tables.try_emplace(system, Exchanged{*system, system});
    if (isNew) {  // others are read already, by any thread
        table->second.methods.xWrite = &Write;
        table->second.methods.xSync = &Sync;
        table->second.methods.xShmMap = &MapIndex;
    }
    return &table->second.methods;
}

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    const int code = g_disk.system->xOpen(g_disk.system, name, file, flags, outFlags);
    if (code == SQLITE_OK) {
        file->pMethods = Exchange(file->pMethods);
    }
    return code;
}

void InstallDisk() {
    static sqlite3_vfs vfs;
    if (g_disk.system == nullptr) {
        g_disk.system = sqlite3_vfs_find(nullptr);
        vfs = *g_disk.system;
        vfs.pNext = nullptr;
        vfs.zName = FaultyDisk::kName;
        vfs.xOpen = &Open;
        sqlite3_vfs_register(&vfs, 0);
    }
    g_disk.full = g_disk.indexIsFull = g_disk.syncFails = false;
}

class EmbeddedWrites : public EmbeddedFixture {
public:
    EmbeddedWrites() {
        InstallDisk();
        options.vfs = FaultyDisk::kName;
        options.busyTimeout = std::chrono::milliseconds(50);
    }
    ~EmbeddedWrites() override { InstallDisk(); }  // a whole disk again before the store closes
};

void InThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back(work, thread);
    }
}

/// Jobs named by their numbers, in one transaction, all of the query "q".
void InsertJobs(ForeignProgram& program, int count) {
    program.Ask("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
                std::to_string(count) +
                ") INSERT INTO records (recordID, recordType, recordTopic, recordPublicData) "
                "SELECT i, 'Job', 'V2_WFJobs', '{\"queryID\":\"q\"}' FROM n");
}

TEST_F(EmbeddedWrites, ManyWritersShareTheSyncsAndARefusedOneDisturbsNobody) {
    constexpr int kThreads = 32;
    constexpr int kEach = 20;
    Open();
    const int syncsBefore = g_disk.syncs;
    InThreads(kThreads, [&](int thread) {
        for (int n = 0; n < kEach; ++n) {
            const std::string id = std::to_string(thread) + "/" + std::to_string(n);
            ASSERT_TRUE(Upsert(id, 6000));
            // What was accepted is there for every reader from then on.
            ASSERT_TRUE(store.records->FindByID(id, "V2_WFJobs").has_value());
            ASSERT_FALSE(store.records->UpsertOne(RecordOf(id, "V2_WFProfiles")));
        }
    });
    EXPECT_LT(g_disk.syncs - syncsBefore, kThreads * kEach);
    Close();
    Open();
    EXPECT_THAT(Jobs(), SizeIs(kThreads * kEach));
}

TEST_F(EmbeddedWrites, ARecordAndItsEventComeTogetherOrNotAtAll) {
    Open();
    const auto announce = [this](const std::string& id, const std::string& topic = "V2_WFJobs") {
        return store.records->UpsertOneAndProduce(RecordOf(id, topic), *store.events,
                                                  RecordOf("event of " + id, "V2_WFJobEvents"));
    };
    ASSERT_TRUE(Upsert("first"));  // the first write of a log syncs its head as well
    const int syncsBefore = g_disk.syncs;
    EXPECT_TRUE(announce("a"));
    EXPECT_EQ(g_disk.syncs - syncsBefore, 1);
    EXPECT_FALSE(announce("a", "V2_WFProfiles"));
    ForeignProgram(options.path)
        .Ask(
            "CREATE TRIGGER refuse BEFORE INSERT ON events WHEN new.recordID = 'event of b' "
            "BEGIN SELECT RAISE(ABORT, 'no'); END");
    InThreads(4, [&](int thread) {
        EXPECT_EQ(announce(std::string(1, static_cast<char>('b' + thread))), thread > 0);
    });
    EXPECT_THAT(Jobs(), UnorderedElementsAre("first", "a", "c", "d", "e"));
    EXPECT_EQ(CountEvents(), 4U);

    // A log elsewhere is told once the record is there, whatever it says.
    TestSupport::FakeEventLog elsewhere;
    elsewhere.appendFault = TestSupport::StoreFault::Refuse;
    EXPECT_TRUE(store.records->UpsertOneAndProduce(RecordOf("f"), elsewhere, RecordOf("event of f")));
    EXPECT_THAT(Jobs(), SizeIs(6));
}

TEST_F(EmbeddedWrites, ACheckpointThatAReaderStopsHalfWayShowsNobodyOldPages) {
    options.checkpointBytes = 65536;
    Open();
    ForeignProgram slow(options.path);
    for (int n = 0; n < 40; ++n) {
        if (n % 8 == 4) {
            slow.Ask("BEGIN; SELECT count(*) FROM records");
        }
        ASSERT_TRUE(Upsert(std::to_string(n), 20000));
        ForeignProgram other(options.path);
        ASSERT_THAT(other.Ask("PRAGMA integrity_check"), ElementsAre("ok")) << n;
        ASSERT_THAT(other.Ask("SELECT count(*) FROM records WHERE length(recordData) = 20000"),
                    ElementsAre(std::to_string(n + 1)));
        if (n % 8 == 7) {
            slow.Ask("COMMIT");
        }
    }
}

TEST_F(EmbeddedWrites, WritesUnderWayAreFinishedOnClosing) {
    Open();
    for (int n = 0; n < 100; ++n) {
        ASSERT_TRUE(Append(std::to_string(n), false));
    }
    Close();
    Open();
    EXPECT_EQ(CountEvents(), 100U);
}

TEST_F(EmbeddedWrites, ManyRecordsAreDeletedAtOnce) {
    Open();
    ForeignProgram program(options.path);
    InsertJobs(program, 3000);
    std::vector<std::string> ids = Jobs();
    ASSERT_THAT(ids, SizeIs(3000));
    ids.erase(ids.begin() + 1234);
    ids.resize(500000, "nobody");
    EXPECT_TRUE(store.records->DeleteMany(ids));
    EXPECT_THAT(Jobs(), ElementsAre("1234"));
}

TEST_F(EmbeddedWrites, AListIsOfOneStateOfTheStore) {
    Open();
    std::atomic<bool> done = false;
    std::thread other([&] {
        ForeignProgram program(options.path);
        for (int round = 0; round < 40; ++round) {
            InsertJobs(program, 3000);
            program.Ask("DELETE FROM records");
        }
        done = true;
    });
    while (!done) {
        EXPECT_THAT(store.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll),
                    AnyOf(IsEmpty(), SizeIs(3000)));
        EXPECT_THAT(store.records->FindRecordsWithReferencedID("V2_WFJobs", "Job", "queryID", "q", 0, kAll),
                    AnyOf(IsEmpty(), SizeIs(3000)));
    }
    other.join();
}

TEST_F(EmbeddedWrites, AFailedSyncEndsWritingUntilTheStoreIsOpenedAnew) {
    Open();
    ASSERT_TRUE(Upsert("before"));
    g_disk.syncFails = true;
    EXPECT_FALSE(Upsert("lost"));
    g_disk.syncFails = false;
    EXPECT_FALSE(Upsert("after"));
    EXPECT_FALSE(store.records->DeleteMany({"before"}));
    EXPECT_FALSE(Append("event"));
    EXPECT_FALSE(Append("event", false));
    EXPECT_THAT(Jobs(), ElementsAre("before"));

    Close();
    Open();
    EXPECT_TRUE(Upsert("anew"));
    EXPECT_THAT(Jobs(), AnyOf(ElementsAre("before", "anew"), ElementsAre("before", "lost", "anew")));
    EXPECT_FALSE(std::filesystem::exists(options.path + "-doubt"));

    // The last page of the file is lost, and nothing has shown it yet.
    g_disk.syncFails = true;
    EXPECT_FALSE(Upsert("lost too"));
    g_disk.syncFails = false;
    Close();
    std::filesystem::resize_file(options.path, std::filesystem::file_size(options.path) - 4096);
    for (int start = 0; start < 2; ++start) {
        EXPECT_THAT([this] { Open(); }, testing::ThrowsMessage<CommonServices::ObjectStoreException>(
                                            testing::HasSubstr("is damaged since the disk failed")));
    }
}

TEST_F(EmbeddedWrites, AFullDiskPasses) {
    Open();
    ASSERT_TRUE(Upsert("before"));
    g_disk.full = true;
    InThreads(8, [this](int thread) { EXPECT_FALSE(Upsert("full" + std::to_string(thread))); });
    EXPECT_FALSE(store.records->DeleteMany({"before"}));
    g_disk.full = false;
    EXPECT_TRUE(Upsert("after"));
    EXPECT_THAT(Jobs(), ElementsAre("before", "after"));
}

TEST_F(EmbeddedWrites, ACommitThatFailsBehindItsSyncIsNotThereAfterADeath) {
    options.pageSize = 512;
    options.checkpointBytes = std::int64_t{1} << 30;
    Open();
    ASSERT_TRUE(Upsert("taken", 1'500'000));  // 3000 pages; the index grows at 4062
    g_disk.indexIsFull = true;
    EXPECT_FALSE(Upsert("refused", 1'500'000));
    CommonServices::Sqlite::SqliteOptions copy;
    copy.path = directory.File("copy.db");  // what a death would leave
    for (const char* part : {"", "-wal"}) {
        std::filesystem::copy_file(options.path + part, copy.path + part);
    }
    const auto next = CommonServices::OpenEmbeddedStore(copy);
    EXPECT_THAT(IdsOf(next.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll)), ElementsAre("taken"));
}

TEST_F(EmbeddedWrites, ADeletionThatFailsHalfWayLeavesAllAndItsNeighboursGo) {
    Open();
    ForeignProgram program(options.path);
    ASSERT_TRUE(Upsert("a") && Upsert("b") && Upsert("c"));
    program.Ask(
        "CREATE TRIGGER no BEFORE DELETE ON records WHEN old.recordID = 'b' "
        "BEGIN SELECT RAISE(ABORT, 'kept'); END");
    EXPECT_FALSE(store.records->DeleteMany({"a", "b", "c"}));
    EXPECT_THAT(Jobs(), ElementsAre("a", "b", "c"));

    // The same with a fault that takes the whole transaction along.
    program.Ask(
        "DROP TRIGGER no; CREATE TRIGGER no BEFORE INSERT ON records WHEN new.recordID = 'bad' "
        "BEGIN SELECT RAISE(ROLLBACK, 'gone'); END");
    InThreads(16, [this](int thread) {
        const bool bad = thread % 4 == 0;
        EXPECT_NE(Upsert(bad ? "bad" : "good" + std::to_string(thread)), bad);
    });
    EXPECT_THAT(Jobs(), SizeIs(3 + 12));
}

TEST_F(EmbeddedWrites, AForeignLockIsWaitedForAndThenRefused) {
    Open();
    ForeignProgram program(options.path);
    program.Ask("BEGIN IMMEDIATE");
    EXPECT_FALSE(Upsert("locked out"));
    EXPECT_THAT(Jobs(), IsEmpty());  // readers do not wait for anybody
    program.Ask("COMMIT");
    EXPECT_TRUE(Upsert("let in"));
}

TEST_F(EmbeddedWrites, AProgramThatWritesOnAndOnDoesNotKeepOthersOut) {
    options.busyTimeout = std::chrono::seconds(10);
    Open();
    std::atomic<bool> done = false;
    std::thread other([&] {
        ForeignProgram program(options.path);
        while (!done) {
            program.Ask("INSERT INTO records (recordType, recordTopic) VALUES ('Worker', 'V2_WFWorkers')");
        }
    });
    for (int n = 0; n < 20; ++n) {
        EXPECT_TRUE(Upsert(std::to_string(n)));
    }
    done = true;
    other.join();
}

TEST_F(EmbeddedWrites, TheLogStaysBoundedAndASlowReaderOnlyDelaysThat) {
    options.checkpointBytes = 262144;
    options.idleAfter = std::chrono::hours(1);
    Open();
    const auto kilobytesAfter = [this](const std::string& name, int count) {
        for (int n = 0; n < count; ++n) {
            EXPECT_TRUE(Upsert(name + std::to_string(n), 50000));
        }
        return std::filesystem::file_size(options.path + "-wal") / 1024;
    };
    // Far less than what was written: how far a log gets beside a sync is a matter of the disk.
    EXPECT_LT(kilobytesAfter("steady", 200), 3000u);
    {
        ForeignProgram reader(options.path);
        reader.Ask("BEGIN; SELECT count(*) FROM records");
        EXPECT_GT(kilobytesAfter("held back", 40), 1500u);
        EXPECT_THAT(reader.Ask("SELECT count(*) FROM records"), ElementsAre("200"));
    }
    EXPECT_LT(kilobytesAfter("free again", 200), 3000u);
    EXPECT_THAT(Jobs(), SizeIs(440));
    Close();
    EXPECT_FALSE(std::filesystem::exists(options.path + "-wal"));
}

TEST_F(EmbeddedWrites, AnIdleStoreEmptiesItsLogLongOrOfForeignWrites) {
    options.idleAfter = std::chrono::milliseconds(50);
    options.checkpointBytes = 65536;
    Open();
    const auto waitUntilEmpty = [this] {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::filesystem::file_size(options.path + "-wal") != 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::yield();
        }
    };
    ASSERT_TRUE(Upsert("large", 100000));  // which makes the log long at once
    waitUntilEmpty();
    ForeignProgram(options.path)
        .Ask("INSERT INTO records (recordType, recordTopic) VALUES ('Job', 'V2_WFJobs')");
    waitUntilEmpty();
    EXPECT_THAT(Jobs(), SizeIs(2));
}

}  // namespace
