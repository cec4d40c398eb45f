#include "farm/coordinator/JobFollower.h"

#include <gtest/gtest.h>

#include <thread>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "platform/stores/StoreChoice.h"
#include "tests/support/StoresInPlace.h"

namespace Quillon::Farm {
namespace {

namespace Submit = Weftline::SubmitOperations;
using Weftline::Record;

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

    std::string Announce(const char* priority, std::string_view kind) {
        const std::string id =
            std::string(priority) + " " + std::string(kind) + " " + std::to_string(++announced);
        EXPECT_TRUE(stores.events->Produce(Weftline::DataModel::MakeJobCreatedEvent(id, "q"), true));
        return id;
    }
    void Follow() {
        thread = std::jthread([this](const std::stop_token& stop) { follower.Run(stop); });
    }
    /// The next job for a worker of that service; waits for it.
    std::string Next(std::string_view service) {
        return board.Take({"w", "m", "t", std::string(service)}, {}).value().jobId;
    }

    const TestSupport::StoresInPlace stores;
    int announced = 0;
    JobBoard board;
    JobRecords records{std::chrono::hours(1)};
    JobFollower follower{board, records};
    std::jthread thread;
};

TEST_F(JobFollowerTest, FindsTheMostUrgentJobBehindAnyBacklog) {
    const std::string first = Announce("50", Submit::kExportQuery.jobKind);
    while (announced < 20'500) {
        Announce("50", Submit::kExportQuery.jobKind);
    }
    const std::string urgent = Announce("100", Submit::kExportQuery.jobKind);
    const std::string last = Announce("1", Submit::kTranscode.jobKind);
    Follow();
    EXPECT_EQ(Next(Weftline::ServiceNames::MediaWorker), last);
    EXPECT_EQ(Next(Weftline::ServiceNames::MetadataWorker), urgent);
    EXPECT_EQ(Next(Weftline::ServiceNames::MetadataWorker), first);
}

TEST_F(JobFollowerTest, AJobInRemovalHoldsNothingUp) {
    Announce("50", "ForNobody");
    records.Forget(Announce("50", "ForNobody"));
    const std::string next = Announce("50", Submit::kTranscode.jobKind);
    Follow();
    EXPECT_EQ(Next(Weftline::ServiceNames::MediaWorker), next);
    thread = {};
    EXPECT_EQ(KeptPosition::Load(), 1)
        << "the removal may yet fail, and then the job must not be passed over";
}

}  // namespace
}  // namespace Quillon::Farm
