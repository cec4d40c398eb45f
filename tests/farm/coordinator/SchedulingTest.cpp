#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "farm/coordinator/WorkQueue.h"
#include "farm/coordinator/WorkerRoster.h"
#include "platform/messaging/HandlerErrors.h"

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
    const struct {
        const char* name;
        std::vector<JobTicket> tickets;
        const char* order;
        std::string_view service = MediaWorker;
    } rows[] = {
        {"first come", {Ticket("b", 2), Ticket("a", 1), Ticket("c", 3)}, "a b c "},
        {"priority first", {Ticket("a", 1, 1), Ticket("b", 2, 100), Ticket("c", 3)}, "b c a "},
        {"queues take turns", {x("a", 1), x("b", 2), x("c", 3), y("d", 4), y("e", 5)}, "a d b e c "},
        {"no queue holds up a higher priority", {x("a", 1), x("b", 2), Ticket("c", 3, 60, "y")}, "c a b "},
        {"a query before an evaluation of its priority",
         {evaluation, urgent, query},
         "b c a ",
         MetadataWorker},
        {"only tasks for the service", {evaluation, query, Ticket("w", 4)}, "w "},
    };
    for (const auto& row : rows) {
        WorkQueue queue;
        for (const JobTicket& ticket : row.tickets) {
            queue.Add(ticket);
        }
        EXPECT_EQ(TakeAll(queue, row.service), row.order) << row.name;
    }
}

TEST(WorkQueueTest, GivesBackIdsOfAnyForm) {
    WorkQueue queue;
    std::string all;
    for (const char* const id :
         {"0f8fad5b-d9cb-469f-a165-70867728950e", "", "0F8FAD5B-D9CB-469F-A165-70867728950E",
          "00000000-0000-0000-0000-000000000000", "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx",
          "0f8fad5bd9cb469fa16570867728950e"}) {
        queue.Add(Ticket(id, static_cast<std::int64_t>(all.size())));
        all += std::string(id) + ' ';
    }
    EXPECT_EQ(TakeAll(queue), all);
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
    const struct {
        const char* name;
        std::string other;  // machine of the pool, beside "m1" of the worker who asks
        MachineWishes wishes;
        bool mayTake;
    } rows[] = {
        {"no wish", "m1", {}, true},
        {"the machine that is asked for", "m2", {"m1", ""}, true},
        {"another machine is asked for", "m2", {"m2", ""}, false},
        {"a machine that nobody has", "m2", {"<worker machine name>", ""}, true},
        {"the machine that is excluded", "m2", {"", "m1"}, false},
        {"the only machine is excluded", "m1", {"", "m1"}, true},
        {"required and excluded at once", "m2", {"m1", "m1"}, true},
    };
    for (const auto& row : rows) {
        WorkerRoster roster;
        const Worker asks{"w", "m1", "", std::string(MediaWorker)};
        roster.Report(asks);
        roster.Report({"other", row.other, "", std::string(MediaWorker)});
        roster.Report({"other kind", row.wishes.required, "", std::string(MetadataWorker)});
        EXPECT_EQ(roster.MayTake(asks, row.wishes), row.mayTake) << row.name;
    }
}

TEST(WorkerRosterTest, KnowsEachWorkerOnceAndNotAnyNumber) {
    WorkerRoster roster;
    EXPECT_TRUE(roster.Report({"w", "m1", "", "s"}));
    EXPECT_FALSE(roster.Report({"w", "m2", "", "s"}));
    ASSERT_EQ(roster.States().size(), 1U);
    EXPECT_EQ(roster.States()[0].worker.machine, "m2");
    for (int n = 1; n < 256; ++n) {
        EXPECT_TRUE(roster.Report({std::to_string(n), "m", "", "s"}));
    }
    EXPECT_THROW(roster.Report({"one more", "m", "", "s"}),
                 PlatformAbstraction::Messaging::BadRequestHandlerError);
}

}  // namespace
}  // namespace Quillon::Farm
