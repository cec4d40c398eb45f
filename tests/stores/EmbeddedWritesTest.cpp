// How the embedded store takes writes: in groups, durably, each failing for itself alone.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include "platform/stores/RecordStore.h"
#include "tests/stores/EmbeddedFixture.h"
#include "tests/stores/FaultyDisk.h"
#include "tests/support/FakeEventLog.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class EmbeddedWrites : public EmbeddedFixture {
public:
    EmbeddedWrites() {
        FaultyDisk::Install();
        options.vfs = FaultyDisk::kVfs;
        options.busyTimeout = std::chrono::milliseconds(50);
    }
    ~EmbeddedWrites() override { FaultyDisk::Install(); }  // a whole disk again before the store closes
};

void InThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back(work, thread);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Jobs named by their numbers, in one transaction, all of the query "q".
void InsertJobs(ForeignProgram& program, int count) {
    program.Do("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
               std::to_string(count) +
               ") INSERT INTO records (recordID, recordType, recordTopic, recordPublicData) "
               "SELECT i, 'Job', 'V2_WFJobs', '{\"queryID\":\"q\"}' FROM n");
}

TEST_F(EmbeddedWrites, ManyWritersShareTheSyncsWhileAReaderSeesOnlyWholeWrites) {
    constexpr int kThreads = 32;
    constexpr int kEach = 20;
    Open();
    std::atomic<bool> done = false;
    std::thread reader([&] {
        std::size_t before = 0;
        while (!done) {
            const auto jobs = store.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll);
            EXPECT_GE(jobs.size(), before);
            before = jobs.size();
            for (const Weftline::Record& job : jobs) {
                EXPECT_EQ(job.recordData, job.name + job.name);
            }
        }
    });
    const int syncsBefore = FaultyDisk::s_syncs;
    InThreads(kThreads, [&](int thread) {
        for (int n = 0; n < kEach; ++n) {
            Weftline::Record job = RecordOf(std::to_string(thread) + "/" + std::to_string(n));
            job.name = std::string(3000, static_cast<char>('a' + thread % 26));
            job.recordData = job.name + job.name;
            ASSERT_TRUE(store.records->UpsertOne(job));
            // What was accepted is there for every reader from then on.
            ASSERT_TRUE(store.records->FindByID(job.recordID, "V2_WFJobs").has_value());
            // A write that is refused disturbs nobody in its group.
            ASSERT_FALSE(store.records->UpsertOne(RecordOf(job.recordID, "V2_WFProfiles")));
        }
    });
    done = true;
    reader.join();
    EXPECT_LT(FaultyDisk::s_syncs - syncsBefore, kThreads * kEach);
    Close();
    Open();
    EXPECT_THAT(Jobs(), SizeIs(kThreads * kEach));
}

TEST_F(EmbeddedWrites, WhatWasAcceptedSurvivesTheDeathOfTheProcess) {
    int answers[2];
    ASSERT_EQ(::pipe(answers), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        Open();
        for (int n = 0;; ++n) {
            const bool taken = Upsert(std::to_string(n)) && Append(std::to_string(n));
            if (!taken || ::write(answers[1], "x", 1) != 1) {
                ::_exit(1);
            }
        }
    }
    ::close(answers[1]);
    std::vector<std::string> accepted;
    char answer = 0;
    while (accepted.size() < 50 && ::read(answers[0], &answer, 1) == 1) {
        accepted.push_back(std::to_string(accepted.size()));
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(answers[0]);
    ASSERT_THAT(accepted, SizeIs(50));

    Open();
    EXPECT_THAT(Jobs(), IsSupersetOf(accepted));
    EXPECT_GE(CountEvents(), accepted.size());
}

TEST_F(EmbeddedWrites, ARecordAndItsEventComeTogetherOrNotAtAll) {
    Open();
    const auto announce = [this](const std::string& id, const std::string& topic = "V2_WFJobs") {
        return store.records->UpsertOneAndProduce(RecordOf(id, topic), *store.events,
                                                  RecordOf("event of " + id, "V2_WFJobEvents"));
    };
    ASSERT_TRUE(Upsert("first"));  // the first write of a log syncs its head as well
    const int syncsBefore = FaultyDisk::s_syncs;
    EXPECT_TRUE(announce("a"));
    EXPECT_EQ(FaultyDisk::s_syncs - syncsBefore, 1);
    EXPECT_FALSE(announce("a", "V2_WFProfiles"));
    ForeignProgram(options.path)
        .Do("CREATE TRIGGER refuse BEFORE INSERT ON events WHEN new.recordID = 'event of b' "
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
            slow.Do("BEGIN; SELECT count(*) FROM records");
        }
        Weftline::Record job = RecordOf(std::to_string(n));
        job.recordData = std::string(20000, 'x');
        ASSERT_TRUE(store.records->UpsertOne(job));
        ForeignProgram other(options.path);
        ASSERT_THAT(other.Ask("PRAGMA integrity_check"), ElementsAre("ok")) << n;
        ASSERT_THAT(other.Ask("SELECT count(*) FROM records WHERE length(recordData) = 20000"),
                    ElementsAre(std::to_string(n + 1)));
        if (n % 8 == 7) {
            slow.Do("COMMIT");
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

TEST_F(EmbeddedWrites, LongListsAreReadWholeAndDeletedAtOnce) {
    constexpr int kRecords = 3000;
    Open();
    ForeignProgram program(options.path);
    InsertJobs(program, kRecords);
    std::vector<std::string> expected;
    for (int n = 0; n < kRecords; ++n) {
        expected.push_back(std::to_string(n));
    }
    EXPECT_EQ(Jobs(), expected);
    EXPECT_EQ(IdsOf(store.records->FindRecordsOfType("V2_WFJobs", "Job", 100, 2000)),
              std::vector<std::string>(expected.begin() + 100, expected.begin() + 2100));
    std::vector<std::string> ids = expected;
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
            program.Do("DELETE FROM records");
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
    FaultyDisk::s_syncFails = true;
    EXPECT_FALSE(Upsert("lost"));
    FaultyDisk::s_syncFails = false;
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
    FaultyDisk::s_syncFails = true;
    EXPECT_FALSE(Upsert("lost too"));
    FaultyDisk::s_syncFails = false;
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
    FaultyDisk::s_full = true;
    InThreads(8, [this](int thread) { EXPECT_FALSE(Upsert("full" + std::to_string(thread))); });
    EXPECT_FALSE(store.records->DeleteMany({"before"}));
    FaultyDisk::s_full = false;
    EXPECT_TRUE(Upsert("after"));
    EXPECT_THAT(Jobs(), ElementsAre("before", "after"));
    Close();
    Open();
    EXPECT_THAT(Jobs(), ElementsAre("before", "after"));
}

TEST_F(EmbeddedWrites, ACommitThatFailsBehindItsSyncIsNotThereAfterADeath) {
    options.pageSize = 512;
    options.checkpointBytes = std::int64_t{1} << 30;
    Open();
    const auto upsert = [this](const std::string& id) {
        Weftline::Record job = RecordOf(id);
        job.recordData = std::string(1'500'000, 'x');
        return store.records->UpsertOne(job);
    };
    ASSERT_TRUE(upsert("taken"));  // 3000 pages; the index grows at 4062
    FaultyDisk::s_indexIsFull = true;
    EXPECT_FALSE(upsert("refused"));
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
    program.Do(
        "CREATE TRIGGER no BEFORE DELETE ON records WHEN old.recordID = 'b' "
        "BEGIN SELECT RAISE(ABORT, 'kept'); END");
    EXPECT_FALSE(store.records->DeleteMany({"a", "b", "c"}));
    EXPECT_THAT(Jobs(), ElementsAre("a", "b", "c"));

    // The same with a fault that takes the whole transaction along.
    program.Do(
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
    program.Do("BEGIN IMMEDIATE");
    EXPECT_FALSE(Upsert("locked out"));
    EXPECT_THAT(Jobs(), IsEmpty());  // readers do not wait for anybody
    program.Do("COMMIT");
    EXPECT_TRUE(Upsert("let in"));
}

TEST_F(EmbeddedWrites, AProgramThatWritesOnAndOnDoesNotKeepOthersOut) {
    options.busyTimeout = std::chrono::seconds(10);
    Open();
    std::atomic<bool> done = false;
    std::thread other([&] {
        ForeignProgram program(options.path);
        while (!done) {
            program.Do("INSERT INTO records (recordType, recordTopic) VALUES ('Worker', 'V2_WFWorkers')");
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
            Weftline::Record job = RecordOf(name + std::to_string(n));
            job.recordData = std::string(50000, 'x');
            EXPECT_TRUE(store.records->UpsertOne(job));
        }
        return std::filesystem::file_size(options.path + "-wal") / 1024;
    };
    // Far less than what was written: how far a log gets beside a sync is a matter of the disk.
    EXPECT_LT(kilobytesAfter("steady", 200), 3000u);
    {
        ForeignProgram reader(options.path);
        reader.Do("BEGIN; SELECT count(*) FROM records");
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
    Weftline::Record large = RecordOf("large");
    large.recordData = std::string(100000, 'x');  // which makes the log long at once
    ASSERT_TRUE(store.records->UpsertOne(large));
    waitUntilEmpty();
    ForeignProgram(options.path)
        .Do("INSERT INTO records (recordType, recordTopic) VALUES ('Job', 'V2_WFJobs')");
    waitUntilEmpty();
    EXPECT_THAT(Jobs(), SizeIs(2));
}

}  // namespace
