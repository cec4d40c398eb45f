// The command that moves a store's file to many machines, from end to end: killed again and again, told of
// conflicts, and what is there in the end.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <thread>

#include "farm/protocol/FarmState.h"
#include "tests/stores/EmbeddedFixture.h"
#include "tests/stores/KafkaBroker.h"
#include "tests/stores/MongoServer.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Weftline::Record;

constexpr int kJobs = 200;
constexpr int kDoneWith = 50;  // of the job events
constexpr int kGone = 17;      // of all jobs, one in so many
const std::string kStrange("\xff\0\"", 3);

Record EventOf(int n) {
    Record event("JobCreated", 1, n % 40 == 1 ? "OfOthers" : "V2_WFJobEvents");
    event.recordData = R"({"id":"job)" + std::to_string(n) + R"("})";
    return event;
}

class MoveStore : public testing::Test {
protected:
    MoveStore() {
        options.path = directory.File("store.db");
        mongo = MongoServer::Shared().Settings();
        kafka = KafkaBroker::Shared()->Settings();
    }

    void Fill() {
        const auto store = CommonServices::OpenEmbeddedStore(options);
        for (int n = 0; n < kJobs; ++n) {
            Record job = RecordOf("job" + std::to_string(n), n % 50 == 2 ? "Strangers" : "V2_WFJobs");
            job.recordData = std::string(static_cast<std::size_t>(n % 7) * 300, 'x') + std::to_string(n);
            job.name = kStrange;
            ASSERT_TRUE(store.records->UpsertOne(job) && store.events->Produce(EventOf(n), true));
            if (n % kGone == 0) {
                ASSERT_TRUE(store.records->DeleteMany({job.recordID}));
            } else {
                ++left[job.recordTopic];
            }
        }
        ASSERT_TRUE(store.records->UpsertOne(Quillon::Farm::PositionRecord(kDoneWith)));
        ASSERT_TRUE(store.records->UpsertOne(RecordOf("profile", "V2_WFProfiles", "Profile")));
    }

    pid_t Start(const std::vector<std::string>& further = {}) const {
        std::vector<std::string> words{
            QUILLON_MOVE_STORE,
            options.path,
            "--realm=global",
            "--mongo-db=" + mongo.database,
            "--mongo-uri=" + mongo.uri,
            "--kafka-host=127.0.0.1",
            "--kafka-port=" + kafka.bootstrapServers.substr(kafka.bootstrapServers.find(':') + 1)};
        words.insert(words.end(), further.begin(), further.end());
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t toFile;
        ::posix_spawn_file_actions_init(&toFile);
        ::posix_spawn_file_actions_addopen(&toFile, 1, OutputPath().c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                           0600);
        ::posix_spawn_file_actions_adddup2(&toFile, 1, 2);
        pid_t process = -1;
        if (::posix_spawn(&process, QUILLON_MOVE_STORE, &toFile, nullptr, arguments.data(), environ) != 0) {
            throw std::runtime_error("cannot start " QUILLON_MOVE_STORE);
        }
        ::posix_spawn_file_actions_destroy(&toFile);
        return process;
    }
    static int CodeOf(pid_t process) {
        int status = 0;
        ::waitpid(process, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int Run(const std::vector<std::string>& further = {}) const { return CodeOf(Start(further)); }
    std::string OutputPath() const { return directory.File("output"); }
    std::string Output() const {
        std::ifstream file(OutputPath());
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::shared_ptr<CommonServices::RecordStore> Target() const {
        auto settings = mongo;
        settings.database += "_2_3_12";
        return CommonServices::OpenMongoStore(settings, log);
    }
    /// Of all runs so far, by topic, since the broker is the test program's.
    std::vector<Record> Sent(const std::string& topic) const {
        std::vector<Record> events;
        std::vector<CommonServices::LoggedEvent> some;
        do {  // a wait in vain: nothing is under way any more
            some = log->Read(topic, some.empty() ? 0 : some.back().offset, 1000, {1s});
            for (auto& event : some) {
                events.push_back(std::move(event.record));
            }
        } while (!some.empty());
        return events;
    }

    const TempDirectory directory;
    std::map<std::string, int> left;  // of the jobs, by collection
    CommonServices::Sqlite::SqliteOptions options;
    CommonServices::MongoSettings mongo;
    CommonServices::KafkaSettings kafka;
    const std::shared_ptr<CommonServices::EventLog> log =
        std::make_shared<CommonServices::KafkaEventLog>(KafkaBroker::Shared()->Settings());
};

// The text of what is equal in two records that are the same.
std::vector<std::string> TextsOf(const std::vector<Record>& records) {
    std::vector<std::string> texts;
    for (const Record& record : records) {
        texts.push_back(record.recordID + "|" + record.recordTopic + "|" + record.recordType + "|" +
                        record.name + "|" + record.recordData + "|" + record.recordPublicData);
    }
    return texts;
}

// In the order in which they came first.
std::vector<std::string> WithoutRepeats(const std::vector<Record>& events) {
    std::vector<std::string> texts;
    std::set<std::string> seen;
    for (const Record& event : events) {
        if (seen.insert(event.recordID).second) {
            texts.push_back(event.recordID + event.recordData);
        }
    }
    return texts;
}

TEST_F(MoveStore, KilledAgainAndAgainItMovesAllOnceAndInOrder) {
    Fill();
    {
        const auto inUse = CommonServices::OpenEmbeddedStore(options);
        EXPECT_EQ(Run(), 1);
        EXPECT_THAT(Output(), HasSubstr("is in use by a service"));
    }
    EXPECT_EQ(Run({"--dryrun"}), 2);
    EXPECT_EQ(Run({"--dry-run"}), 0);
    EXPECT_THAT(Output(), HasSubstr("V2_WFJobs: " + std::to_string(left["V2_WFJobs"])));
    EXPECT_TRUE(Sent("V2_WFJobEvents").empty());

    int kills = 0;
    for (auto life = 20ms;; life += life / 2 + 20ms) {
        const pid_t process = Start();
        std::this_thread::sleep_for(life);  // a moment of any kind
        ::kill(process, SIGKILL);
        const int code = CodeOf(process);
        if (code >= 0) {
            ASSERT_EQ(code, 0) << Output();
            break;
        }
        ++kills;
    }
    EXPECT_GT(kills, 0);

    const auto target = Target();
    auto store = CommonServices::OpenEmbeddedStore(options);
    for (const auto& [collection, type] : std::vector<std::pair<std::string, std::string>>{
             {"V2_WFJobs", "Job"}, {"Strangers", "Job"}, {"V2_WFProfiles", "Profile"}}) {
        const auto there = target->FindRecordsOfType(collection, type, 0, kAll);
        EXPECT_EQ(TextsOf(there), TextsOf(store.records->FindRecordsOfType(collection, type, 0, kAll)));
    }
    EXPECT_TRUE(target->FindRecordsOfType(Quillon::Farm::kStateCollection, "FarmPosition", 0, 1).empty());

    std::vector<Record> pending;
    std::vector<Record> all;
    for (const auto& event : store.events->Read("V2_WFJobEvents", 0, 10'000, {})) {
        const auto job = event.record.recordData.substr(7, event.record.recordData.size() - 9);
        if (target->FindByID(job, "V2_WFJobs")) {
            all.push_back(event.record);
            if (event.offset > kDoneWith) {
                pending.push_back(event.record);
            }
        }
    }
    const auto sent = Sent("V2_WFJobEvents");
    EXPECT_EQ(WithoutRepeats(sent), WithoutRepeats(pending));
    EXPECT_LE(sent.size(), pending.size() + static_cast<std::size_t>(kills) * 128);
    const auto others = Sent("OfOthers");
    EXPECT_EQ(WithoutRepeats(others).size(), static_cast<std::size_t>(kJobs / 40));

    // Once more there is nothing to do; what had ended comes only where it is asked for.
    store = {};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Sent("V2_WFJobEvents").size(), sent.size());
    EXPECT_EQ(Run({"--history"}), 0);
    auto anew = Sent("V2_WFJobEvents");
    anew.erase(anew.begin(), anew.begin() + static_cast<std::ptrdiff_t>(sent.size()));
    EXPECT_EQ(WithoutRepeats(anew), WithoutRepeats(all));
}

TEST_F(MoveStore, WhatTheTargetHasOtherwiseIsToldAndLeft) {
    Fill();
    const auto target = Target();
    Record other = RecordOf("job20");
    other.recordData = "of the target";
    ASSERT_TRUE(target->UpsertOne(other) && target->UpsertOne(RecordOf("job21", "Elsewhere")));
    const std::size_t sentBefore = Sent("V2_WFJobEvents").size();
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(Run(), 3);
        EXPECT_THAT(Output(), testing::AllOf(HasSubstr("job20"), HasSubstr("job21")));
    }
    EXPECT_EQ(Sent("V2_WFJobEvents").size(), sentBefore);
    EXPECT_EQ(Run({"--despite-refusals"}), 0);
    EXPECT_GT(Sent("V2_WFJobEvents").size(), sentBefore);
    EXPECT_EQ(target->FindByID("job20", "V2_WFJobs")->recordData, "of the target");
    EXPECT_FALSE(target->FindByID("job21", "V2_WFJobs"));
    EXPECT_TRUE(target->FindByID("job22", "V2_WFJobs"));
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    bool isHere = false;
    try {
        MongoServer::Shared();
        isHere = KafkaBroker::Shared() != nullptr;
    } catch (const std::exception& fault) {
        std::cerr << fault.what() << '\n';
    }
    if (!isHere) {
        const bool isWanted = std::getenv("CI") != nullptr;
        std::cerr << (isWanted ? "FAILED" : "SKIPPED")
                  << ": no store was moved, since the servers are not here (scripts/mongo.sh fetch, "
                     "scripts/kafka.sh fetch)\n";
        return isWanted ? 1 : 77;
    }
    return RUN_ALL_TESTS();
}
