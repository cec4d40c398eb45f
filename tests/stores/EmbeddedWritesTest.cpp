// How the embedded store takes writes: in groups, durably, each failing for itself alone.

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>

#include "tests/stores/EmbeddedFixture.h"
#include "tests/support/FakeStores.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// The disk under the store, whose faults can be switched on.
struct FaultyDisk {
    std::atomic<bool> indexIsFull = false;  // the log's index in shared memory cannot grow
    std::atomic<bool> syncFails = false;    // and may have lost what was written
    std::atomic<int> syncs = 0;
} g_disk;

}  // namespace

// In the place of the C library's own, for SQLite too.
extern "C" int fdatasync(int descriptor) {
    ++g_disk.syncs;
    errno = EIO;
    return g_disk.syncFails ? -1 : static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

extern "C" ssize_t pwrite64(int descriptor, const void* data, size_t size, off64_t offset) {
    errno = ENOSPC;
    const bool growsIndex = size == 1;  // by the last byte of a page
    return growsIndex && g_disk.indexIsFull ? -1 : ::syscall(SYS_pwrite64, descriptor, data, size, offset);
}

namespace {

class EmbeddedWrites : public EmbeddedFixture {
public:
    EmbeddedWrites() { options.busyTimeout = std::chrono::milliseconds(50); }
    ~EmbeddedWrites() override { g_disk.indexIsFull = g_disk.syncFails = false; }

protected:
    // For tests that tell by sizes what becomes of the log.
    void OpenPlain() {
        options.compression = CommonServices::Sqlite::Compression::None;
        Open();
    }
    std::uintmax_t LogBytes() const { return std::filesystem::file_size(options.path + "-wal"); }
};

void InThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back(work, thread);
    }
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
    EXPECT_FALSE(announce("a", "V2_WFProfiles") || Announce("a", "V2_WFProfiles").get());
    ForeignProgram program(options.path);
    program.Ask(
        "CREATE TRIGGER refuse BEFORE INSERT ON events WHEN new.recordID = 'event of b' "
        "BEGIN SELECT RAISE(ABORT, 'no'); END");
    InThreads(4, [&](int thread) {
        EXPECT_EQ(announce(std::string(1, static_cast<char>('b' + thread))), thread > 0);
    });
    EXPECT_THAT(Jobs(), UnorderedElementsAre("first", "a", "c", "d", "e"));
    // The same of one thread, whose writes gather meanwhile: far more than make a group.
    std::vector<std::future<bool>> held;
    for (int n = 0; n < 2000; ++n) {
        held.push_back(Announce(n == 5 ? "b" : std::to_string(n)));
    }
    EXPECT_TRUE(Upsert("beside"));
    for (std::size_t n = 0; n < held.size(); ++n) {
        EXPECT_EQ(held[n].get(), n != 5);
    }
    EXPECT_THAT(Jobs(), SizeIs(5 + 1999 + 1));
    EXPECT_EQ(store.events->Read("V2_WFJobEvents", 0, 10000, {}).size(), 4U + 1999U);

    // A log elsewhere is told once the record is there, whatever it says.
    TestSupport::FakeEventLog elsewhere;
    elsewhere.appendFault = TestSupport::StoreFault::Refuse;
    EXPECT_TRUE(store.records->UpsertOneAndProduce(RecordOf("f"), elsewhere, RecordOf("event of f")));
    EXPECT_TRUE(store.records->FindByID("f", "V2_WFJobs"));
}

TEST_F(EmbeddedWrites, ACheckpointThatAReaderStopsHalfWayShowsNobodyOldPages) {
    options.checkpointBytes = 65536;
    OpenPlain();
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

TEST_F(EmbeddedWrites, AListIsOfOneStateOfTheStore) {
    Open();
    auto other = std::async(std::launch::async, [this] {
        ForeignProgram program(options.path);
        for (int round = 0; round < 40; ++round) {
            program.Ask(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                "INSERT INTO records (recordID, recordType, recordTopic, recordPublicData) "
                "SELECT i, 'Job', 'V2_WFJobs', '{\"queryID\":\"q\"}' FROM n");
            program.Ask("DELETE FROM records");
        }
    });
    const auto allOrNothing = AnyOf(IsEmpty(), SizeIs(3000));
    while (other.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        EXPECT_THAT(Jobs(), allOrNothing);
        EXPECT_THAT(store.records->FindRecordsWithReferencedID("V2_WFJobs", "Job", "queryID", "q", 0, kAll),
                    allOrNothing);
    }
}

TEST_F(EmbeddedWrites, AFailedSyncEndsWritingAndADamagedFileIsRefusedEverAfter) {
    Open();
    ASSERT_TRUE(Upsert("before"));
    g_disk.syncFails = true;
    EXPECT_FALSE(Upsert("lost"));
    g_disk.syncFails = false;
    EXPECT_FALSE(Announce("after").get());
    EXPECT_FALSE(store.records->DeleteMany({"before"}) || Append("event") || Append("event", false));
    EXPECT_THAT(Jobs(), ElementsAre("before"));
    Close();
    // The last page of the file is lost, and nothing has shown it yet.
    std::filesystem::resize_file(options.path, std::filesystem::file_size(options.path) - 4096);
    for (int start = 0; start < 2; ++start) {
        EXPECT_THAT([this] { Open(); }, testing::ThrowsMessage<CommonServices::ObjectStoreException>(
                                            testing::HasSubstr("is damaged since the disk failed")));
    }
}

TEST_F(EmbeddedWrites, ACommitThatFailsBehindItsSyncIsNotThereAfterADeath) {
    options.pageSize = 512;
    options.checkpointBytes = std::int64_t{1} << 30;
    OpenPlain();
    ASSERT_TRUE(Upsert("taken", 1'500'000));  // 3000 pages; the index grows at 4062
    g_disk.indexIsFull = true;
    EXPECT_FALSE(Upsert("refused", 1'500'000));
    const std::string copy = directory.File("copy.db");  // what a death would leave
    for (const char* part : {"", "-wal"}) {
        std::filesystem::copy_file(options.path + part, copy + part);
    }
    g_disk.indexIsFull = false;
    options.path = copy;
    Open();
    EXPECT_THAT(Jobs(), ElementsAre("taken"));
    EXPECT_THAT(ForeignProgram(copy).Ask("PRAGMA user_version"), ElementsAre("1"));
}

TEST_F(EmbeddedWrites, ADeletionThatFailsHalfWayLeavesAllAndItsNeighboursGo) {
    Open();
    ForeignProgram program(options.path);
    ASSERT_TRUE(Upsert("a") && Upsert("b") && Upsert("c"));
    for (const char* const id : {"r", "kept", "s"}) {
        ASSERT_TRUE(store.records->UpsertOne(ResultOf(id, R"({"queryID":"q"})")));
    }
    program.Ask(
        "CREATE TRIGGER no BEFORE DELETE ON records WHEN old.recordID IN ('b', 'kept') "
        "BEGIN SELECT RAISE(ABORT, 'kept'); END;"
        "CREATE TRIGGER bad BEFORE INSERT ON records WHEN new.recordID = 'bad' "
        "BEGIN SELECT RAISE(ROLLBACK, 'gone'); END");  // which takes the whole transaction along
    EXPECT_FALSE(store.records->DeleteMany({"a", "b", "c"}));
    EXPECT_THAT(Jobs(), ElementsAre("a", "b", "c"));
    for (int n = 0; n < 2; ++n) {
        EXPECT_THAT(store.records->TakeDataWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "q"),
                    SizeIs(3));
    }
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
    auto first = Announce("held out");
    auto second = Announce("with it");
    EXPECT_FALSE(Upsert("locked out") || first.get() || second.get());
    EXPECT_THAT(Jobs(), IsEmpty());  // readers do not wait for anybody
    program.Ask("COMMIT");
    EXPECT_TRUE(Upsert("let in"));

    // One that writes on and on does not keep others out.
    options.busyTimeout = std::chrono::seconds(10);
    Close();
    Open();
    const std::jthread other([&program](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            program.Ask("INSERT INTO records (recordType, recordTopic) VALUES ('Worker', 'V2_WFWorkers')");
        }
    });
    for (int n = 0; n < 20; ++n) {
        EXPECT_TRUE(Upsert(std::to_string(n)));
    }
}

TEST_F(EmbeddedWrites, TheLogStaysBoundedAndASlowReaderOnlyDelaysThat) {
    options.checkpointBytes = 262144;
    options.idleAfter = std::chrono::hours(1);
    OpenPlain();
    const auto kilobytesAfter = [this](const std::string& name, int count) {
        for (int n = 0; n < count; ++n) {
            EXPECT_TRUE(Upsert(name + std::to_string(n), 50000));
        }
        return LogBytes() / 1024;
    };
    // Far less than what was written: how far a log gets beside a sync is a matter of the disk.
    EXPECT_LT(kilobytesAfter("steady", 200), 6000u);
    {
        ForeignProgram reader(options.path);
        reader.Ask("BEGIN; SELECT count(*) FROM records");
        EXPECT_GT(kilobytesAfter("held back", 40), 1500u);
    }
    EXPECT_LT(kilobytesAfter("free again", 200), 10000u);
    EXPECT_THAT(Jobs(), SizeIs(440));
}

TEST_F(EmbeddedWrites, AnIdleStoreEmptiesItsLogLongOrOfForeignWrites) {
    options.idleAfter = std::chrono::milliseconds(50);
    options.checkpointBytes = 65536;
    OpenPlain();
    ASSERT_TRUE(Upsert("large", 100000));  // which makes the log long at once
    for (int round = 0; round < 2; ++round) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (LogBytes() != 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::yield();
        }
        ForeignProgram program(options.path);
        program.Ask("INSERT INTO records (recordType, recordTopic) VALUES ('Job', 'V2_WFJobs')");
    }
    EXPECT_THAT(Jobs(), SizeIs(3));
    Close();
    EXPECT_FALSE(std::filesystem::exists(options.path + "-wal"));
}

}  // namespace
