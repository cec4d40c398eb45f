#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "farm/coordinator/OpenOffsets.h"
#include "farm/coordinator/WorkQueue.h"
#include "farm/coordinator/WorkerRoster.h"
#include "platform/messaging/HandlerErrors.h"

namespace Quillon::Farm {
namespace {

using Weftline::ServiceNames::MediaWorker;
using Weftline::ServiceNames::MetadataWorker;
namespace JobKinds = Weftline::JobKinds;

JobTicket Ticket(const std::string& id, std::int64_t offset, std::int32_t priority = 50,
                 const std::string& queue = "q", std::string_view kind = JobKinds::Transcode,
                 Stage stage = Stage::Work) {
    JobTicket ticket;
    ticket.jobId = id;
    ticket.offset = offset;
    ticket.plan = FindTaskPlan(kind);
    ticket.stage = stage;
    ticket.priority = priority;
    ticket.queue = queue;
    return ticket;
}

std::string TakeAll(WorkQueue& queue, std::string_view service) {
    std::string order;
    while (const auto ticket = queue.Take(service, [](const JobTicket&) { return true; })) {
        order += ticket->jobId;
    }
    return order;
}

TEST(WorkQueueTest, TellsWhoIsNext) {
    const JobTicket query = Ticket("c", 3, 50, "q", JobKinds::VideoFormatsQuery);
    const JobTicket evaluation = Ticket("a", 1, 50, "q", JobKinds::Render, Stage::Evaluation);
    const JobTicket urgentEvaluation = Ticket("b", 2, 51, "q", JobKinds::Render, Stage::Evaluation);
    const struct {
        const char* name;
        std::vector<JobTicket> tickets;
        std::string_view service;
        const char* order;
    } rows[] = {
        {"first come", {Ticket("b", 2), Ticket("a", 1), Ticket("c", 3)}, MediaWorker, "abc"},
        {"priority first", {Ticket("a", 1, 1), Ticket("b", 2, 100), Ticket("c", 3)}, MediaWorker, "bca"},
        {"queues take turns",
         {Ticket("a", 1, 50, "x"), Ticket("b", 2, 50, "x"), Ticket("c", 3, 50, "x"), Ticket("d", 4, 50, "y"),
          Ticket("e", 5, 50, "y")},
         MediaWorker,
         "adbec"},
        {"a full queue does not hold up a higher priority in another",
         {Ticket("a", 1, 50, "x"), Ticket("b", 2, 50, "x"), Ticket("c", 3, 60, "y")},
         MediaWorker,
         "cab"},
        {"a query before the evaluations of its priority",
         {evaluation, urgentEvaluation, query},
         MetadataWorker,
         "bca"},
        {"only tasks for the service", {evaluation, query, Ticket("w", 4)}, MediaWorker, "w"},
    };
    for (const auto& row : rows) {
        WorkQueue queue;
        for (const JobTicket& ticket : row.tickets) {
            queue.Add(ticket);
        }
        EXPECT_EQ(TakeAll(queue, row.service), row.order) << row.name;
    }
}

TEST(WorkQueueTest, PassesOverWhatMayNotBeTaken) {
    WorkQueue queue;
    queue.Add(Ticket("a", 1));
    queue.Add(Ticket("b", 2));
    const auto taken = queue.Take(MediaWorker, [](const JobTicket& ticket) { return ticket.jobId != "a"; });
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->jobId, "b");
    EXPECT_EQ(TakeAll(queue, MediaWorker), "a");
    EXPECT_EQ(queue.Size(), 0U);
}

TEST(WorkerRosterTest, HonoursWishesThatSomebodyCanFulfil) {
    const struct {
        const char* name;
        std::vector<std::string> machines;  // of the pool; the first is that of the worker who asks
        std::string required;
        std::string excluded;
        bool mayTake;
    } rows[] = {
        {"no wish", {"m1"}, "", "", true},
        {"the machine that is asked for", {"m1", "m2"}, "m1", "", true},
        {"another machine is asked for", {"m1", "m2"}, "m2", "", false},
        {"a machine that nobody has", {"m1", "m2"}, "<worker machine name>", "", true},
        {"the machine that is excluded", {"m1", "m2"}, "", "m1", false},
        {"the only machine is excluded", {"m1", "m1"}, "", "m1", true},
        {"required and excluded at once", {"m1", "m2"}, "m1", "m1", true},
    };
    for (const auto& row : rows) {
        WorkerRoster roster;
        std::vector<Worker> workers;
        for (const std::string& machine : row.machines) {
            workers.push_back({"w" + std::to_string(workers.size()), machine, "", std::string(MediaWorker)});
            roster.Report(workers.back());
        }
        roster.Report({"other kind", row.required, "", std::string(MetadataWorker)});
        JobTicket ticket = Ticket("a", 1);
        ticket.requiredMachine = row.required;
        ticket.excludedMachine = row.excluded;
        EXPECT_EQ(roster.MayTake(workers[0], ticket), row.mayTake) << row.name;
    }
}

TEST(WorkerRosterTest, KnowsEachWorkerOnceAndNotAnyNumber) {
    WorkerRoster roster;
    EXPECT_TRUE(roster.Report({"w", "m1", "", "s"}));
    EXPECT_FALSE(roster.Report({"w", "m2", "", "s"}));
    ASSERT_EQ(roster.States().size(), 1U);
    EXPECT_EQ(roster.States()[0].worker.machine, "m2");
    EXPECT_THROW(
        for (int i = 0; i < 1000; ++i) {
            roster.Report({std::to_string(i), "m", "", "s"});
        },
        PlatformAbstraction::Messaging::BadRequestHandlerError);
}

TEST(OpenOffsetsTest, StopsInFrontOfTheFirstThatIsNotDone) {
    OpenOffsets offsets(10);
    EXPECT_EQ(offsets.Low(), 10);
    offsets.Open(11);
    offsets.Open(14);
    offsets.Pass(20);
    EXPECT_EQ(offsets.Low(), 10);
    EXPECT_EQ(offsets.Span(), 10);
    offsets.Close(11);
    EXPECT_EQ(offsets.Low(), 13);
    offsets.Close(14);
    EXPECT_EQ(offsets.Low(), 20);
}

}  // namespace
}  // namespace Quillon::Farm
