#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "Core/src/Job.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "farm/coordinator/JobFollower.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/stores/StoreChoice.h"
#include "tests/support/FakeStores.h"

namespace Quillon::Farm {
namespace {

using Weftline::ServiceNames::MediaWorker;
using Weftline::ServiceNames::MetadataWorker;
namespace Submit = Weftline::SubmitOperations;

JobTicket Ticket(const std::string& id, std::int64_t offset, std::int32_t priority = 50,
                 const std::string& queue = "q", Stage stage = Stage::Work,
                 const Submit::Row& operation = Submit::kTranscode) {
    return {id, offset, &operation, stage, priority, queue, {}};
}

std::string TakeAll(WorkQueue& queue, std::string_view service = MediaWorker) {
    std::string order;
    while (const auto ticket = queue.Take(service, [](const auto&) { return true; })) {
        order += ticket->jobId + ' ';
    }
    return order;
}

TEST(WorkQueueTest, TellsWhoIsNext) {
    const auto query = Ticket("c", 3, 50, "q", Stage::Work, Submit::kVideoFormatsQuery);
    const auto evaluation = Ticket("a", 1, 50, "q", Stage::Evaluation);
    const auto urgent = Ticket("b", 2, 51, "q", Stage::Evaluation);
    const auto x = [](const char* id, std::int64_t offset) { return Ticket(id, offset, 50, "x"); };
    const auto y = [](const char* id, std::int64_t offset) { return Ticket(id, offset, 50, "y"); };
    struct Row {
        std::string name;
        std::vector<JobTicket> tickets;
        std::string order;
        std::string_view service = MediaWorker;
    };
    const Row rows[] = {
        {"first come", {Ticket("b", 2), Ticket("a", 1), Ticket("c", 3)}, "a b c "},
        {"priority first", {Ticket("a", 1, 1), Ticket("b", 2, 100), Ticket("c", 3)}, "b c a "},
        {"queues take turns", {x("a", 1), x("b", 2), x("c", 3), y("d", 4), y("e", 5)}, "a d b e c "},
        {"no queue holds up a higher priority", {x("a", 1), x("b", 2), Ticket("c", 3, 60, "y")}, "c a b "},
        {"a query before an evaluation", {evaluation, urgent, query}, "b c a ", MetadataWorker},
        {"only tasks for the service", {evaluation, query, Ticket("w", 4)}, "w "},
    };
    for (const Row& row : rows) {
        WorkQueue queue;
        for (const JobTicket& ticket : row.tickets) {
            queue.Add(ticket);
        }
        EXPECT_EQ(TakeAll(queue, row.service), row.order) << row.name;
    }
}

TEST(WorkQueueTest, GivesBackIdsOfAnyForm) {
    WorkQueue queue;
    const std::string all =
        "0f8fad5b-d9cb-469f-a165-70867728950e 0F8FAD5B-D9CB-469F-A165-70867728950E - "
        "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx "
        "00000000-0000-0000-0000-000000000000 0f8fad5bd9cb469fa16570867728950e ";
    std::istringstream ids(all);
    for (std::string id; ids >> id;) {
        queue.Add(Ticket(id, ids.tellg()));
    }
    EXPECT_EQ(TakeAll(queue), all);
}

TEST(WorkQueueTest, KeepsSoManyNamesAndNoLongOnes) {
    WorkQueue queue;
    queue.Add(Ticket("1", 1, 50, std::string(256, 'q')));
    for (std::int64_t offset = 2; offset <= 10'003; ++offset) {
        queue.Add(Ticket(std::to_string(offset), offset, 50, "q" + std::to_string(offset)));
    }
    std::map<std::string, int> taken;
    while (const auto ticket = queue.Take(MediaWorker, [](const auto&) { return true; })) {
        ++taken[ticket->queue];
    }
    EXPECT_EQ(taken.size(), 10'000U);
    EXPECT_EQ(taken[""], 4);
}

TEST(WorkQueueTest, PassesOverWhatMayNotBeTaken) {
    WorkQueue queue;
    EXPECT_EQ(queue.OldestOffset(), kNoOffset);
    JobTicket particular = Ticket("a", 1);
    particular.wishes.required = "m";
    for (const JobTicket& ticket : {Ticket("b", 2), particular, Ticket("c", 3), Ticket("d", 4, 10)}) {
        queue.Add(ticket);
    }
    const auto taken =
        queue.Take(MediaWorker, [](const MachineWishes& wishes) { return wishes.required.empty(); });
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->jobId, "b");
    EXPECT_EQ(queue.OldestOffset(), 1);
    queue.Add(*taken);
    EXPECT_EQ(TakeAll(queue), "a b c d ");
}

TEST(WorkerRosterTest, HonoursWishesThatSomebodyCanFulfil) {
    // The machine of the pool beside "m1" of the worker who asks, the wishes, and whether he may take the
    // job.
    const std::tuple<std::string, MachineWishes, bool> rows[] = {
        {"m1", {}, true},           {"m2", {"m1", ""}, true},
        {"m2", {"m2", ""}, false},  {"m2", {"nobody's", ""}, true},
        {"m2", {"", "m1"}, false},  {"m1", {"", "m1"}, true},
        {"m2", {"m1", "m1"}, true},
    };
    for (const auto& [other, wishes, mayTake] : rows) {
        WorkerRoster roster{{}};
        const Worker asks{"w", "m1", "", std::string(MediaWorker)};
        roster.Report(asks);
        roster.Report({"other", other, "", std::string(MediaWorker)});
        roster.Report({"other kind", wishes.required, "", std::string(MetadataWorker)});
        EXPECT_EQ(roster.MayTake(asks, wishes), mayTake) << other << wishes.required << wishes.excluded;
    }
}

TEST(WorkerRosterTest, KnowsEachWorkerOnceAndNotAnyNumber) {
    WorkerRoster roster{{}};
    EXPECT_TRUE(roster.Report({"w", "m1", "", "s"}));
    EXPECT_FALSE(roster.Report({"w", "m2", "", "s"}));
    EXPECT_EQ(roster.States().at(0).worker.machine, "m2");
    for (int n = 1; n < 256; ++n) {
        EXPECT_TRUE(roster.Report({std::to_string(n), "m", "", "s"}));
    }
    EXPECT_THROW(roster.Report({"one more", "m", "", "s"}),
                 PlatformAbstraction::Messaging::BadRequestHandlerError);
}

TEST(JobBoardTest, NeverAreTwoWorkersAtOneJob) {
    JobBoard board;
    const Worker one{"one", "m", "", std::string(MediaWorker)};
    const Worker other{"other", "m", "", std::string(MediaWorker)};
    EXPECT_TRUE(board.Report(one) && board.Report(other));
    for (const auto& ticket : {Ticket("a", 1), Ticket("a", 2), Ticket("b", 3)}) {
        board.Post(ticket);
    }
    const auto taken = board.Take(one, {});
    EXPECT_EQ(board.Take(other, {}).value().jobId, "b");
    EXPECT_EQ(board.OldestOffset(), 1);
    board.Finish(one, *taken);
    EXPECT_EQ(board.OldestOffset(), 2);
    EXPECT_EQ(board.Take(one, {}).value().jobId, "a");
}

/// Has a job under every id, which says the priority and the kind of the job: "<priority> <kind> <number>".
class AnyJob final : public TestSupport::FakeRecordStore {
public:
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override {
        if (collection != Weftline::Collections::Jobs) {
            return FakeRecordStore::FindByID(id, collection);
        }
        std::istringstream words(id);
        std::string priority;
        std::string kind;
        words >> priority >> kind;
        Weftline::Record job("Job", 1, collection);
        job.recordID = id;
        job.recordPublicData =
            R"({"jobState":"Evaluated","priority":)" + priority + R"(,"jobKind":")" + kind + "\"}";
        return job;
    }
};

/// A follower at work, in front of workers who take a job when the test says so.
class JobFollowerTest : public testing::Test {
protected:
    JobFollowerTest() { CommonServices::StoreChoice::SetRecords(std::make_shared<AnyJob>()); }

    std::string Announce(const char* priority, std::string_view kind) {
        std::string id = std::string(priority) + " " + std::string(kind) + " " + std::to_string(++announced);
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
    const std::shared_ptr<LeaseTerm> term = std::make_shared<LeaseTerm>();
    JobRecords records{term};
    JobFollower follower{board, records, term};
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
    EXPECT_EQ(Next(MediaWorker), last);
    EXPECT_EQ(Next(MetadataWorker), urgent);
    EXPECT_EQ(Next(MetadataWorker), first);
}

TEST_F(JobFollowerTest, APositionBehindTheEndOfTheLogIsNone) {
    ASSERT_TRUE(KeptPosition(term).Keep(1));
    EXPECT_THROW(KeptPosition{term}, CommonServices::ObjectStoreException) << "the log may be away";
    Announce("50", Submit::kExportQuery.jobKind);
    for (const auto& [kept, used] : {std::pair{1, 1}, {4, 0}}) {
        ASSERT_TRUE(KeptPosition(term).Keep(kept));
        EXPECT_EQ(KeptPosition(term).Offset(), used) << "from there no job would be heard of";
    }
}

}  // namespace
}  // namespace Quillon::Farm
