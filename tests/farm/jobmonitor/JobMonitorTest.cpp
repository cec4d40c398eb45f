#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

#include "Core/src/TreeValues.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobMonitorService.h"
#include "handlers/admin/JobMessages.h"
#include "handlers/admin/RemoveObsoleteJobsHandler.h"
#include "tests/farm/FarmFixture.h"

namespace Quillon::Farm {
namespace {

using CommonServices::ObjectStore;
using CoreServices::Parameters;
using TestSupport::FarmFixture;
namespace Shared = Weftline::Keys;
namespace Messaging = PlatformAbstraction::Messaging;
namespace Scheduler = Weftline::Services::Scheduler;

class JobMonitorTest : public FarmFixture {
protected:
    JobMonitorTest() { StartMonitor(); }

    void StartMonitor() {
        bus = TestSupport::MakeBus();
        jobs = std::make_shared<JobDirectory>(directory.File("index"));
        bus->Attach(MakeJobMonitorService(jobs));
    }
    void StopMonitor() {
        bus.reset();
        jobs.reset();
    }

    std::string Ask(const std::string& operation, const std::string& request) {
        return FarmFixture::Ask("orvik.job.monitor", operation, request, "global");
    }
    void AttachScheduler(const std::shared_ptr<Messaging::ServiceMessageHandler>& handler) {
        const auto scheduler = TestSupport::MakeService("scheduler", {});
        scheduler->AddMessageHandler(handler);
        bus->Attach(scheduler);
    }
    /// The ids of the jobs that `findJobs` gives.
    std::string FindJobs(const std::string& request) { return IdsIn(Ask("findJobs", request)); }
    static std::string IdsIn(const std::string& answer) {
        const Parameters results = Parameters::fromJSON(answer).GetChildParameters(Shared::Results);
        std::string ids;
        for (std::size_t n = 0; n < results.GetArrayNumValues(); ++n) {
            ids += (n == 0 ? "" : " ") +
                   Weftline::GetRequiredString(results.GetArrayNthChildParameters(n), Shared::Id);
        }
        return ids;
    }
    /// Jobs named by their number, in its order.
    void SubmitUpTo(int last) {
        while (submitted < last) {
            Submit({.id = std::to_string(++submitted)});
        }
    }

    const std::string kKind{Weftline::SubmitOperations::kTranscode.jobKind};
    int submitted = 0;
    std::shared_ptr<JobDirectory> jobs;
};

TEST_F(JobMonitorTest, ListsJobsNewestFirstByCreatorAndParentWhenAskedInShape) {
    Submit({.id = "1", .creator = "me"});
    Submit({.id = "2", .creator = "me", .parent = "1"});
    Submit({.id = "3", .creator = "you", .parent = "1"});
    Submit({.id = "4"});
    Submit({.id = "3", .creator = "you", .parent = "1"});  // once more, in its place
    const std::pair<const char*, const char*> rows[] = {
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
    for (const char* const request :
         {R"({"offset":"0"})", R"({"limit":1.5})", R"({"body":[]})", R"({"body":{"createdBy":"me"}})",
          R"({"body":{"createdBy":{}}})", R"({"body":{"parent":null}})", R"({"body":{"parent":{"id":1}}})"}) {
        EXPECT_EQ(Ask("findJobs", request), "BAD_REQUEST") << request;
    }
    for (const char* const operation : {"findJob", "findJobsByKind", "removeJob"}) {
        EXPECT_EQ(Ask(operation, R"({"id":null})"), "BAD_REQUEST") << operation;
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
    SetState("j", "Failed", R"({"failureReason":"no media"})");
    EXPECT_NE(Ask("findJobs", "{}").find(R"("info":{"failureReason":"no media"})"), std::string::npos);
    EXPECT_EQ(Ask("findJob", R"({"clientKey":"another"})"), "NOT_FOUND");
}

TEST_F(JobMonitorTest, AnIndexThatIsHalfMadeListsTheSameJobsAndIsGoneOnWith) {
    const std::string path = directory.File("half");
    const auto add = [](JobIndex& index, std::int64_t place, const char* creator, const char* parent) {
        index.Add({{place, std::to_string(place), creator, parent, "k"}}, {place, "event"});
    };
    const auto lists = [](JobIndex& index) {
        std::string ids;
        for (const JobFilter& filter : {JobFilter{}, {"me", {}}, {{}, "1"}, {{}, ""}, {"me", ""}}) {
            for (const IndexedJob& job : index.Newest(filter, JobIndex::kNewest, 0, 9)) {
                ids += job.id + ' ';
            }
            ids += "| ";
        }
        for (const IndexedJob& job : index.OfKind("k", JobIndex::kOldest, 0, 9)) {
            ids += job.id + ' ';
        }
        return ids + "of " + std::to_string(index.CountOfKind("k")) + ", subtasks " +
               std::to_string(index.ChildrenOf("1", 9).size());
    };
    const std::string all = "4 3 2 1 | 4 2 1 | 3 2 | 4 1 | 4 1 | 1 2 3 4 of 4, subtasks 2";
    {
        JobIndex index(path);
        add(index, 1, "me", "");
        add(index, 2, "me", "1");
    }
    JobIndex index(path);
    EXPECT_EQ(index.Position().offset, 2);
    add(index, 3, "you", "1");
    add(index, 4, "me", "");
    add(index, 4, "me", "");
    EXPECT_EQ(lists(index), all);
    index.PrepareLists();
    EXPECT_EQ(lists(index), all);
    index.Remove({"2", "2", "9"});
    EXPECT_EQ(lists(index), "4 3 1 | 4 1 | 3 | 4 1 | 4 1 | 1 3 4 of 3, subtasks 1");
    index.Clear();
    EXPECT_EQ(lists(index), "| | | | | of 0, subtasks 0");
}

TEST_F(JobMonitorTest, KeepsPagesFullWhenRecordsAreGone) {
    SubmitUpTo(9);
    EXPECT_EQ(FindJobs(R"({"limit":3})"), "9 8 7");
    ASSERT_TRUE(ObjectStore().DeleteMany({"9", "7", "6", "3"}));
    EXPECT_EQ(FindJobs(R"({"limit":3})"), "8 5 4");
    EXPECT_EQ(FindJobs(R"({"offset":3,"limit":3})"), "2 1");
    EXPECT_EQ(jobs->CountOfKind(kKind), 5);
}

TEST(PagePlacesTest, APageGoesOnWhereTheOneBeforeOfItsCallEnded) {
    PagePlaces places;
    for (std::uint64_t call = 1; call <= PagePlaces::kMost + 1; ++call) {
        places.GoOn({{1, call}, {}, {}}, true, 9, 5, 2);
    }
    EXPECT_EQ(places.Find({{1, 2}, {}, {}}, 2, 99).place, 5);
    EXPECT_EQ(places.Find({{1, 2}, {}, {}}, 1, 99).place, 9)
        << "another page counts from where its call began";
    EXPECT_EQ(places.Find({{1, 1}, {}, {}}, 2, 99).place, 99) << "the oldest is forgotten";
}

TEST_F(JobMonitorTest, PagesOfACallAreOneListWhoeverElseListsAndSubmits) {
    SubmitUpTo(260);
    AttachScheduler(std::make_shared<Scheduler::FindJobsEx>());
    std::atomic<int> atWork = 4;
    const auto list = [&] {
        for (int n = 0; n < 8; ++n) {
            std::istringstream ids(IdsIn(FarmFixture::Ask("scheduler", "findJobsEx", R"({"limit":250})")));
            const std::vector<int> page{std::istream_iterator<int>(ids), {}};
            EXPECT_EQ(page.size(), 250U);
            EXPECT_EQ(std::ranges::adjacent_find(page, [](int a, int b) { return a != b + 1; }), page.end());
        }
        --atWork;
    };
    std::jthread clients[4];
    std::ranges::generate(clients, [&] { return std::jthread(list); });
    while (atWork > 0) {
        SubmitUpTo(submitted + 1);
    }
}

TEST_F(JobMonitorTest, APurgeTakesAllOldJobsOfItsKindAndAllTheirSubtasks) {
    for (int n = 0; n < 230; ++n) {
        Submit({.id = "s" + std::to_string(n), .kind = "part", .parent = "7"});
    }
    SubmitUpTo(30);
    Submit({.id = "other", .kind = "other"});
    const auto inPlace = [](const std::function<void()>& work) { work(); };
    AttachScheduler(std::make_shared<Scheduler::RemoveObsoleteJobsHandler>(nullptr, inPlace));
    const std::string request = R"({"CreationDate":"2999-01-01T00:00:00","kind":")" + kKind + "\"}";
    EXPECT_EQ(FarmFixture::Ask("scheduler", "RemoveObsoleteJobs", request), "{}");
    EXPECT_EQ(FindJobs("{}"), "other");
}

TEST_F(JobMonitorTest, OfSeveralRemovalsAtTheSameTimeOneAloneSucceeds) {
    Submit({.id = "j"});
    std::atomic<int> removed = 0;
    const auto remove = [&] { removed += Ask("removeJob", R"({"id":"j"})") == R"({"id":"j"})" ? 1 : 0; };
    for (std::jthread& removal : std::vector<std::jthread>(8)) {
        removal = std::jthread(remove);
    }
    EXPECT_EQ(removed, 1);
    EXPECT_FALSE(Find("j"));
    EXPECT_EQ(Ask("removeJob", R"({"id":"j","identity":{}})"), "NOT_FOUND");
}

TEST_F(JobMonitorTest, FollowsTheLogOfTheStoreThatIsThere) {
    Submit({.id = "1"});
    EXPECT_EQ(FindJobs("{}"), "1");
    EXPECT_THROW(JobDirectory(directory.File("index")), JobIndexInUse) << "another farm's";
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

    // Each page of the index is damaged in turn.
    const std::string index = directory.File("index");
    constexpr std::streamoff kPageSize = 4096;
    StopMonitor();
    const auto pages = static_cast<std::streamoff>(std::filesystem::file_size(index)) / kPageSize;
    for (std::streamoff page = 0; page < pages; ++page) {
        StopMonitor();
        std::fstream(index, std::ios::in | std::ios::out | std::ios::binary).seekp(page * kPageSize)
            << std::string(kPageSize, '\xA5');
        StartMonitor();
        EXPECT_EQ(std::filesystem::status(index).permissions(), std::filesystem::perms{0600});
        EXPECT_EQ(FindJobs("{}"), "4 3") << page;
        EXPECT_EQ(FindJobs(R"({"body":{"parent":{"id":null}}})"), "4 3") << page;
    }
}

}  // namespace
}  // namespace Quillon::Farm
