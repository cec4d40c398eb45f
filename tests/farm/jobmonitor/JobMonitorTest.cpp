#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <iterator>
#include <latch>
#include <sstream>
#include <thread>
#include <vector>

#include "farm/jobmonitor/JobAnswer.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobMonitorService.h"
#include "handlers/admin/FindJobsEx.h"
#include "handlers/admin/PurgeObsoleteJobs.h"
#include "platform/jobmanager/JobManager.h"
#include "tests/farm/FarmFixture.h"
#include "tests/inprocess/BusStories.h"

namespace Quillon::Farm {
namespace {

using CommonServices::ObjectStore;
using CoreServices::Parameters;
using TestSupport::FarmFixture;
namespace JobKinds = Weftline::JobKinds;
namespace Shared = Weftline::Keys;
namespace Messaging = PlatformAbstraction::Messaging;

class JobMonitorTest : public FarmFixture {
protected:
    JobMonitorTest() { StartMonitor(); }

    void StartMonitor() {
        bus = TestSupport::MakeBus();
        jobs = std::make_shared<JobDirectory>(directory.File("index"));
        bus->Attach(MakeJobMonitorService(jobs, "test"));
    }
    void StopMonitor() {
        bus.reset();
        jobs.reset();
    }

    std::string Ask(const std::string& operation, const std::string& request) {
        Messaging::ServiceMessageDispatch dispatch("orvik.job.monitor", "global", 1, operation);
        dispatch.parameters = Parameters::fromJSON(request);
        return TestSupport::EndOf(*bus->GetMessaging()->SendRequest(dispatch));
    }
    /// The ids of the jobs that `findJobs` gives.
    std::string FindJobs(const std::string& request) { return IdsIn(Ask("findJobs", request)); }
    static std::string IdsIn(const std::string& answer) {
        const Parameters results = Parameters::fromJSON(answer).GetChildParameters(Shared::Results);
        std::string ids;
        for (std::size_t n = 0; n < results.GetArrayNumValues(); ++n) {
            std::string id;
            results.GetArrayNthChildParameters(n).GetParameter(Shared::Id, id);
            ids += (ids.empty() ? "" : " ") + id;
        }
        return ids;
    }

    static std::string Ids(const std::vector<ListedJob>& page) {
        std::string ids;
        for (const ListedJob& job : page) {
            ids += (ids.empty() ? "" : " ") + job.entry.id;
        }
        return ids;
    }

    std::shared_ptr<Messaging::InProcessBus> bus;
    std::shared_ptr<JobDirectory> jobs;
};

TEST_F(JobMonitorTest, ListsJobsNewestFirstByCreatorAndParent) {
    Submit({.id = "1", .creator = "me"});
    Submit({.id = "2", .creator = "me", .parent = "1"});
    Submit({.id = "3", .creator = "you", .parent = "1"});
    Submit({.id = "4"});
    const std::pair<const char*, const char*> rows[] = {
        {R"({"offset":0,"limit":100,"body":{}})", "4 3 2 1"},
        {"{}", "4 3 2 1"},
        {R"({"offset":1,"limit":2})", "3 2"},
        {R"({"offset":-3,"limit":-1})", ""},
        {R"({"limit":2147483647})", "4 3 2 1"},
        {R"({"body":{"createdBy":{"identityId":"me"}}})", "2 1"},
        {R"({"body":{"parent":{"id":"1"}}})", "3 2"},
        {R"({"body":{"createdBy":{"identityId":"me"},"parent":{"id":null}}})", "1"},
    };
    for (const auto& [request, ids] : rows) {
        EXPECT_EQ(FindJobs(request), ids) << request;
    }
}

TEST_F(JobMonitorTest, RefusesRequestsOfAnotherShape) {
    const std::pair<const char*, const char*> rows[] = {
        {"findJobs", R"({"offset":"0"})"},
        {"findJobs", R"({"limit":1.5})"},
        {"findJobs", R"({"body":[]})"},
        {"findJobs", R"({"body":{"createdBy":"me"}})"},
        {"findJobs", R"({"body":{"createdBy":{}}})"},
        {"findJobs", R"({"body":{"parent":null}})"},
        {"findJobs", R"({"body":{"parent":{"id":1}}})"},
        {"findJob", "{}"},
        {"findJobsByKind", R"({"offset":0,"limit":25})"},
        {"removeJob", R"({"id":null})"},
    };
    for (const auto& [operation, request] : rows) {
        EXPECT_EQ(Ask(operation, request), "BAD_REQUEST") << operation << request;
    }
}

TEST_F(JobMonitorTest, TellsOneJobInFull) {
    Submit({.id = "j", .creator = "me", .parent = "p"});
    EXPECT_EQ(Ask("findJob", R"({"clientKey":"j"})"),
              R"({"body":{"id":"j","clientKey":"j","kind":"orvik.quillon.transcode",)"
              R"("creationDateTime":"2026-11-22T20:06:45.000Z","completedDateTime":"",)"
              R"("createdBy":"Somebody","name":"Name of j","status":"Created","priority":50,"progress":0,)"
              R"("info":{},"details":{},"description":"","jobQueue":"",)"
              R"("createdDateTime":"2026-11-22T20:06:45.123456","parent":{"id":"p"}}})");
    auto job = *Find("j");
    job.recordData = R"({"failureReason":"no media"})";
    ASSERT_TRUE(ObjectStore().UpsertOne(job));
    SetState("j", "Failed");
    const std::string failed = Ask("findJobs", "{}");
    EXPECT_NE(failed.find(R"("status":"Failed")"), std::string::npos) << failed;
    EXPECT_NE(failed.find(R"("info":{"failureReason":"no media"})"), std::string::npos) << failed;
    EXPECT_EQ(Ask("findJob", R"({"clientKey":"another"})"), "NOT_FOUND");
}

TEST_F(JobMonitorTest, KeepsPagesFullWhenRecordsAreGone) {
    for (int n = 1; n <= 9; ++n) {
        Submit({.id = std::to_string(n)});
    }
    EXPECT_EQ(FindJobs(R"({"limit":3})"), "9 8 7");
    ASSERT_TRUE(ObjectStore().DeleteMany({"9", "7", "6", "3"}));
    EXPECT_EQ(FindJobs(R"({"limit":3})"), "8 5 4");
    EXPECT_EQ(jobs->CountOfKind(std::string(JobKinds::Transcode)), 6) << "job 3 was not met yet";
    EXPECT_EQ(jobs->OfKind(std::string(JobKinds::Transcode), {0, 3}).size(), 3U);
    EXPECT_EQ(FindJobs(R"({"offset":3,"limit":3})"), "2 1");
    EXPECT_EQ(jobs->CountOfKind(std::string(JobKinds::Transcode)), 5);
}

TEST_F(JobMonitorTest, APageGoesOnWhereTheOneBeforeOfItsCallEnded) {
    for (int n = 1; n <= 6; ++n) {
        Submit({.id = std::to_string(n)});
    }
    const std::string kind(JobKinds::Transcode);
    const Messaging::MessageId one{1, 1};
    const Messaging::MessageId another{1, 2};
    EXPECT_EQ(Ids(jobs->Newest({}, {0, 2, one})), "6 5");
    EXPECT_EQ(Ids(jobs->OfKind(kind, {0, 2, one})), "1 2");
    Submit({.id = "7"});
    EXPECT_EQ(Ids(jobs->Newest({}, {0, 2, another})), "7 6");
    EXPECT_EQ(Ids(jobs->Newest({}, {0, 2})), "7 6");
    Submit({.id = "8"});
    EXPECT_TRUE(jobs->Remove("2") && jobs->Remove("5"));
    EXPECT_EQ(Ids(jobs->Newest({}, {2, 2, one})), "4 3");
    EXPECT_EQ(Ids(jobs->Newest({}, {1, 2, one})), "4 3") << "another page counts from where its call began";
    EXPECT_EQ(Ids(jobs->Newest({}, {2, 2})), "4 3") << "who is not known shares the last beginning";
    EXPECT_EQ(Ids(jobs->Newest({}, {2, 2, another})), "4 3");
    EXPECT_EQ(Ids(jobs->Newest({}, {4, 2, another})), "1");
    EXPECT_EQ(Ids(jobs->OfKind(kind, {2, 2, one})), "3 4");
    EXPECT_EQ(Ids(jobs->OfKind(kind, {4, 9, one})), "6 7 8");

    PagePlaces places;
    for (std::uint64_t call = 1; call <= PagePlaces::kMost + 1; ++call) {
        places.GoOn({{1, call}, {}, {}}, true, 9, 5, 2);
    }
    EXPECT_EQ(places.Find({{1, 2}, {}, {}}, 2, 99).place, 5);
    EXPECT_EQ(places.Find({{1, 1}, {}, {}}, 2, 99).place, 99) << "the oldest is forgotten";
}

TEST_F(JobMonitorTest, PagesOfACallAreOneListWhoeverElseListsAndSubmits) {
    constexpr int kClients = 4;
    constexpr int kLists = 8;
    constexpr std::size_t kLimit = 250;
    int submitted = 0;
    const auto submit = [&] { Submit({.id = std::to_string(++submitted)}); };
    while (submitted < 260) {
        submit();
    }
    auto scheduler = TestSupport::MakeService("scheduler", {});
    scheduler->AddMessageHandler(std::make_shared<Weftline::Services::Scheduler::FindJobsEx>());
    bus->Attach(scheduler);
    std::atomic<int> atWork = kClients;
    std::vector<std::jthread> clients;
    for (int client = 0; client < kClients; ++client) {
        clients.emplace_back([&] {
            for (int n = 0; n < kLists; ++n) {
                const auto future = bus->GetMessaging()->SendRequest(
                    TestSupport::To("scheduler", "findJobsEx", Parameters::fromJSON(R"({"limit":250})")));
                std::istringstream ids(IdsIn(TestSupport::EndOf(*future)));
                const std::vector<int> list{std::istream_iterator<int>(ids), {}};
                ASSERT_EQ(list.size(), kLimit);
                EXPECT_EQ(std::adjacent_find(list.begin(), list.end(),
                                             [](int newer, int older) { return newer != older + 1; }),
                          list.end());
            }
            --atWork;
        });
    }
    while (atWork > 0) {
        submit();
    }
}

TEST_F(JobMonitorTest, APurgeTakesAllSubtasksHoweverMany) {
    constexpr int kSubTasks = 230;
    const std::string kind(JobKinds::Export);
    Submit({.id = "parent", .kind = kind});
    for (int n = 0; n < kSubTasks; ++n) {
        Submit({.id = std::to_string(n), .parent = "parent"});
    }
    namespace Scheduler = Weftline::Services::Scheduler;
    const CommonServices::JobManager manager;
    const auto messaging = bus->GetMessaging();
    const auto found = Scheduler::FindAllJobsOfKind(messaging, {}, kind, manager);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(Scheduler::RemoveJobAndSubTasks(messaging, {}, found[0], manager), kSubTasks + 1);
    EXPECT_EQ(FindJobs("{}"), "");
}

TEST_F(JobMonitorTest, RemovesAJobOnceTheCoordinatorHasGivenItUp) {
    Submit({.id = "j"});
    EXPECT_EQ(FindJobs("{}"), "j");
    bool isRefused = true;
    bool wasThere = false;
    bus->Attach(TestSupport::MakeService(std::string(Weftline::ServiceNames::Coordinator),
                                         {{"forgetJob", [&](const auto& request, const auto&) {
                                               wasThere = Find("j").has_value();
                                               if (isRefused) {
                                                   throw std::runtime_error("not now");
                                               }
                                               return request;
                                           }}}));
    EXPECT_EQ(Ask("removeJob", R"({"id":"j"})"), "GENERIC_SERVICE_ERROR");
    EXPECT_EQ(FindJobs("{}"), "j");
    isRefused = false;
    EXPECT_EQ(Ask("removeJob", R"({"id":"j","identity":{}})"), R"({"id":"j"})");
    EXPECT_TRUE(wasThere);
    EXPECT_FALSE(Find("j"));
    EXPECT_EQ(FindJobs("{}"), "");
    EXPECT_EQ(Ask("removeJob", R"({"id":"j"})"), "NOT_FOUND");
}

TEST_F(JobMonitorTest, OneRemovalAloneOfAJobSucceeds) {
    constexpr int kRemovals = 8;
    Submit({.id = "j"});
    std::latch start(kRemovals);
    std::atomic<int> removed = 0;
    {
        std::vector<std::jthread> threads;
        for (int n = 0; n < kRemovals; ++n) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                removed += jobs->Remove("j") ? 1 : 0;
            });
        }
    }
    EXPECT_EQ(removed, 1);

    // Another removal comes in while the coordinator is asked.
    Submit({.id = "k"});
    bus->Attach(TestSupport::MakeService(std::string(Weftline::ServiceNames::Coordinator),
                                         {{"forgetJob", [&](const auto& request, const auto&) {
                                               EXPECT_TRUE(jobs->Remove("k"));
                                               return request;
                                           }}}));
    EXPECT_EQ(Ask("removeJob", R"({"id":"k"})"), "NOT_FOUND");
}

TEST_F(JobMonitorTest, FollowsTheLogOfTheStoreThatIsThere) {
    Submit({.id = "1"});
    EXPECT_EQ(FindJobs("{}"), "1");
    StopMonitor();
    Submit({.id = "2"});
    StartMonitor();
    EXPECT_EQ(FindJobs("{}"), "2 1");

    StopMonitor();
    CloseStore();
    for (const char* const part : {"", "-wal", "-shm"}) {
        std::filesystem::remove(directory.File("store.db") + part);
    }
    OpenStore();
    Submit({.id = "3"});
    Submit({.id = "4"});
    StartMonitor();
    EXPECT_EQ(FindJobs("{}"), "4 3");

    // Each page of the index behind the first is damaged in turn.
    const std::string index = directory.File("index");
    for (std::streamoff page = 1; page < 9; ++page) {
        constexpr std::streamoff kPageSize = 4096;
        StopMonitor();
        std::fstream(index, std::ios::in | std::ios::out | std::ios::binary).seekp(page * kPageSize)
            << std::string(kPageSize, '\xA5');
        StartMonitor();
        EXPECT_EQ(FindJobs("{}"), "4 3") << page;
        EXPECT_EQ(FindJobs(R"({"body":{"parent":{"id":null}}})"), "4 3") << page;
    }
}

TEST(JobAnswerTest, TellsDatesAsJobManagersDo) {
    const std::array<std::pair<const char*, const char*>, 6> rows{{
        {"2026-11-22T20:06:45", "2026-11-22T20:06:45.000Z"},
        {"2026-11-22T20:06:45.123456", "2026-11-22T20:06:45.000Z"},
        {"", ""},
        {"2026-11-22", ""},
        {"2026-11-22 20:06:45", ""},
        {"yesterday, at twenty past", ""},
    }};
    for (const auto& [date, told] : rows) {
        EXPECT_EQ(ManagerDate(date), told) << date;
    }
}

}  // namespace
}  // namespace Quillon::Farm
