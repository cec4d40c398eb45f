#include "farm/coordinator/JobFollower.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "platform/stores/StoreChoice.h"
#include "tests/support/StoresInPlace.h"

namespace Quillon::Farm {
namespace {

namespace Submit = Weftline::SubmitOperations;
using Weftline::Record;
using Weftline::ServiceNames::MediaWorker;
using Weftline::ServiceNames::MetadataWorker;

/// Has a job under every id, which says the priority and the kind of the job: "<priority> <kind> <number>".
class AnyJob final : public TestSupport::FakeRecordStore {
public:
    std::optional<Record> FindByID(const std::string& id, const std::string& collection) override {
        if (collection != Weftline::Collections::Jobs) {
            return FakeRecordStore::FindByID(id, collection);
        }
        const std::size_t kind = id.find(' ') + 1;
        Record job("Job", 1, collection);
        job.recordID = id;
        job.recordPublicData = R"({"jobState":"Evaluated","priority":)" + std::to_string(std::stoi(id)) +
                               R"(,"jobKind":")" + id.substr(kind, id.find(' ', kind) - kind) + "\"}";
        return job;
    }
};

/// A follower at work, in front of workers who take a job when the test says so.
class JobFollowerTest : public testing::Test {
protected:
    JobFollowerTest() { CommonServices::StoreChoice::SetRecords(std::make_shared<AnyJob>()); }

    static std::string Announce(const char* priority, std::string_view kind, int number = 0) {
        const std::string id = std::string(priority) + " " + std::string(kind) + " " + std::to_string(number);
        EXPECT_TRUE(
            CommonServices::EventStore({}).Produce(Weftline::DataModel::MakeJobCreatedEvent(id, "q"), true));
        return id;
    }
    /// The next job for a worker of that service; empty where none comes in a minute.
    std::string Next(std::string_view service) {
        std::stop_source stop;
        auto taken = std::async(std::launch::async, [&] {
            return board.Take({"w", "m", "t", std::string(service)}, stop.get_token());
        });
        if (taken.wait_for(std::chrono::minutes(1)) != std::future_status::ready) {
            stop.request_stop();
        }
        const auto ticket = taken.get();
        return ticket ? ticket->jobId : "";
    }

    void Follow() {
        thread = std::jthread([this](const std::stop_token& stop) { follower.Run(stop); });
    }

    const TestSupport::StoresInPlace stores;
    JobBoard board;
    JobRecords records{std::chrono::hours(1)};
    JobFollower follower{board, records};
    std::jthread thread;
};

TEST_F(JobFollowerTest, FindsTheMostUrgentJobBehindAnyBacklog) {
    const std::string first = Announce("50", Submit::kExportQuery.jobKind);
    for (int n = 1; n < 20'500; ++n) {
        Announce("50", Submit::kExportQuery.jobKind, n);
    }
    const std::string urgent = Announce("100", Submit::kExportQuery.jobKind);
    const std::string last = Announce("1", Submit::kTranscode.jobKind);
    Follow();
    EXPECT_EQ(Next(MediaWorker), last);
    EXPECT_EQ(Next(MetadataWorker), urgent);
    EXPECT_EQ(Next(MetadataWorker), first);
}

TEST_F(JobFollowerTest, AJobInRemovalHoldsNothingUp) {
    Announce("50", "ForNobody");
    const std::string foreign = Announce("50", "ForNobody", 1);
    records.Forget(foreign);
    const std::string next = Announce("50", Submit::kTranscode.jobKind);
    Follow();
    EXPECT_EQ(Next(MediaWorker), next);
    thread = {};
    EXPECT_EQ(KeptPosition::Load(), 1)
        << "the removal may yet fail, and then the job must not be passed over";
}

}  // namespace
}  // namespace Quillon::Farm
