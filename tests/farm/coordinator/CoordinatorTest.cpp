#include "farm/coordinator/Coordinator.h"

#include <atomic>

#include "farm/coordinator/CoordinatorService.h"
#include "farm/protocol/FarmProtocol.h"
#include "platform/messaging/ConfigurationStore.h"
#include "tests/farm/FarmFixture.h"
#include "tests/support/FakeStores.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;
using TestSupport::Eventually;
using TestSupport::FarmFixture;
using TestSupport::Hold;
namespace JobStates = Weftline::JobStates;
namespace ServiceNames = Weftline::ServiceNames;
namespace Shared = Weftline::Keys;

/// Workers of both kinds that do as the test says.
class CoordinatorTest : public FarmFixture {
protected:
    using Perform = std::function<void(const Parameters& task)>;

    void TearDown() override { StopFarm(); }

    /// A farm with one worker of each kind.
    void StartFarm(const Perform& evaluate = {}, const Perform& work = {}) {
        bus = TestSupport::MakeBus();
        coordinator = std::make_shared<Coordinator>("test");
        bus->Attach(MakeCoordinatorService("test", coordinator));
        for (const auto& [name, perform] :
             {std::pair{ServiceNames::MetadataWorker, &evaluate}, {ServiceNames::MediaWorker, &work}}) {
            const std::string service(name);
            const auto answer = [perform = *perform, &count = tasks[service]](const auto& task, const auto&) {
                ++count;
                if (perform) {
                    perform(task);
                }
                return Parameters();
            };
            bus->Attach(TestSupport::MakeService(service, {{std::string(Operations::PerformTask), answer}}));
            coordinator->ReportWorker({"worker of " + service, "m", "t", service});
        }
        coordinator->Start(bus->GetMessaging());
    }
    /// A farm whose media worker waits with the job "held" until the test lets it go on, and is at it.
    void HoldAJob(Hold& held) {
        StartFarm({}, [&held](const Parameters& task) {
            if (JobOf(task) == "held") {
                held.Pass();
            }
        });
        Submit({.id = "held"});
        ASSERT_TRUE(held.arrived.WaitFor(1));
    }
    void StopFarm() {
        if (coordinator) {
            coordinator->Stop();
        }
        bus.reset();
        coordinator.reset();
    }

    std::string Ask(std::string_view operation, const std::string& request = "") {
        return FarmFixture::Ask(ServiceNames::Coordinator, operation, request);
    }
    /// A job as other programs may store it.
    static void Store(const std::string& id, const std::string& privateData, const std::string& publicData) {
        Weftline::Record job("Job", 1, std::string(Weftline::Collections::Jobs));
        job.recordID = id;
        job.name = "Name of " + id;
        job.recordData = privateData;
        job.recordPublicData = publicData;
        ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(job));
        Announce(id);
    }
    static std::string JobOf(const Parameters& task) {
        std::string id;
        task.GetParameter(Keys::JobId, id);
        return id;
    }

    std::shared_ptr<Coordinator> coordinator;
    std::map<std::string, std::atomic<int>> tasks;  // how many each service was handed
    std::atomic<int>& worked = tasks[std::string(ServiceNames::MediaWorker)];
};

TEST_F(CoordinatorTest, TakesAJobThroughItsStatesAndKeepsAllElse) {
    Hold work;
    std::string task;
    StartFarm({}, [&](const Parameters& given) {
        task = given.toJSON();
        work.Pass();
    });
    const std::string kept = R"("processingData":"{\"n\":1e400}","big":9007199254740993)";
    const std::string before =
        R"({"jobKind":"orvik.quillon.transcode","createdBy":"Somebody","x":1.0,"tags":[])";
    Store("j", R"({"parent":"p","jobLastState":"",)" + kept + "}", before + "}");
    ASSERT_TRUE(work.arrived.WaitFor(1));
    EXPECT_EQ(task, R"({"jobId":"j","workerId":"worker of orvik.quillon.processing.media.worker",)"
                    R"("taskKind":"orvik.quillon.task.transcode","jobKind":"orvik.quillon.transcode",)"
                    R"("processingData":{"n":1e400}})");
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"j","progress":40})"), "{}");
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"j","progress":30})"), "{}") << "too late";
    EXPECT_EQ(Find("j")->recordPublicData, before + R"(,"jobState":"Tasked","progress":40})");
    work.opened.Add();
    ASSERT_TRUE(Reaches("j", JobStates::Completed));
    EXPECT_EQ(Find("j")->recordPublicData,
              before + R"(,"jobState":"Completed","progress":100,"completedDateTime":")" +
                  Public("j", Shared::CompletedDateTime) + "\"}");
    EXPECT_EQ(Find("j")->name + Find("j")->recordData,
              R"(Name of j{"parent":"p","jobLastState":"Tasked",)" + kept + R"(,"jobMonitorID":"j"})");
}

TEST_F(CoordinatorTest, FailsWhatCannotBeDoneAndGoesOn) {
    StartFarm([](const Parameters& task) {
        if (JobOf(task) == "refused") {
            throw std::runtime_error("no such media");
        }
    });
    Announce("no job");
    Weftline::Record broken = Weftline::DataModel::MakeJobCreatedEvent("", "q");
    broken.recordData = "{";
    ASSERT_TRUE(CommonServices::EventStore({}).Produce(broken, true));
    // Id and public data of a job, the state that it comes to, and what its private data contains then.
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {"refused", R"({"jobKind":"orvik.quillon.transcode"})", "Failed", "no such media"},
        {"foreign", R"({"jobKind":"speech"})", "Failed", R"(of the kind \"speech\")"},
        {"broken", "{", "Failed", "cannot be read"},
        {"array", "[]", "Failed", "cannot be read"},
        {"private", R"({"jobKind":"orvik.quillon.transcode"})", "Failed", R"("unreadable":"[1]")"},
        {"ended", R"({"jobState":"Completed"})", "Completed", "{}"},
        {"strange", R"({"jobState":"tasked","jobKind":"speech"})", "tasked", "{}"},
        {"odd", R"({"jobState":1,"jobKind":"orvik.quillon.render","priority":-2147483648})", "Completed",
         "jobLast"},
        {"text", R"({"jobState":"","jobKind":"orvik.quillon.render","priority":"9"})", "Completed",
         "jobLast"},
    };
    for (const auto& [id, publicData, state, privateData] : rows) {
        Store(id, id == "private" ? "[1]" : "{}", publicData);
    }
    for (const auto& [id, publicData, state, privateData] : rows) {
        EXPECT_TRUE(Reaches(id, state)) << id;
        EXPECT_NE(Find(id)->recordData.find(privateData), std::string::npos) << id;
    }
    EXPECT_EQ(Public("broken", Keys::Unreadable), "{");
    EXPECT_EQ(worked, 2);
}

TEST_F(CoordinatorTest, AJobThatIsRemovedUnderWayStaysRemoved) {
    Hold held;
    HoldAJob(held);
    ASSERT_TRUE(CommonServices::ObjectStore().DeleteMany({"held"}));
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"held","progress":50})"), "{}");
    held.opened.Add();
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    EXPECT_FALSE(Find("held"));
}

TEST_F(CoordinatorTest, AChangeIsMadeOnTopOfWhatOthersHaveWrittenMeanwhile) {
    using enum JobRecords::Outcome;
    Store("j", "{}", R"({"jobState":"Tasked"})");
    JobRecords records(std::make_shared<LeaseTerm>());
    int edits = 0;
    const auto complete = [&](Weftline::Record& job) {
        if (++edits == 1) {
            SetState("j", "Tasked", R"({"new":1})");
        }
        Complete(job, NowText());
        return true;
    };
    EXPECT_EQ(records.Change("j", complete), Written);
    EXPECT_EQ(Public("j", Shared::JobState) + Find("j")->recordData.substr(0, 8), "Completed{\"new\":1");
    const auto removedMeanwhile = [](Weftline::Record&) {
        return CommonServices::ObjectStore().DeleteMany({"j"});
    };
    EXPECT_EQ(records.Change("j", removedMeanwhile), Gone);
}

TEST_F(CoordinatorTest, WhoeverChangesAJobUnderWayHasTheLastWord) {
    // The state that is written while a worker is at the job, whether it is announced once more, the state at
    // the end, and how many tasks it took.
    const std::tuple<std::string, bool, std::string, int> rows[] = {
        {"Canceled", false, "Canceled", 1},
        {"Tasked", true, "Completed", 1},
        {"Created", true, "Completed", 2},  // begun anew
    };
    for (const auto& [state, isAnnounced, end, work] : rows) {
        Hold held;
        worked = 0;
        HoldAJob(held);
        SetState("held", state);
        if (isAnnounced) {
            Announce("held");
        }
        Submit({.id = "behind"});
        ASSERT_TRUE(Reaches("behind", JobStates::Evaluated));  // so the announcement was read
        held.opened.Add();
        EXPECT_TRUE(Reaches("behind", JobStates::Completed));
        EXPECT_TRUE(Reaches("held", end)) << state;
        StopFarm();
        EXPECT_EQ(worked, work + 1) << state;
    }
}

TEST_F(CoordinatorTest, WaitsForAStoreThatFails) {
    CloseStore();
    const TestSupport::StoresInPlace stores;
    StartFarm([&](const Parameters&) {
        stores.records->upsertFault = TestSupport::StoreFault::Refuse;
        stores.records->readsThrow = true;
    });
    Submit({.id = "j"});
    EXPECT_TRUE(Eventually([&] { return stores.records->reads > 3; }));
    stores.records->readsThrow = false;
    stores.records->upsertFault = TestSupport::StoreFault::None;
    EXPECT_TRUE(Reaches("j", JobStates::Completed));
    EXPECT_EQ(worked, 1);
    StopFarm();
}

TEST_F(CoordinatorTest, WaitsForEventsAsLongAsTheServiceSays) {
    const std::string key(Weftline::Options::EventMaxPollingTimeoutMs);
    for (const auto& [text, milliseconds] : {std::pair{"86400000", 86'400'000}, {"0", 10}, {"-1", 2000}}) {
        CloseStore();
        const TestSupport::StoresInPlace stores;
        PlatformAbstraction::AddConfigData(key, text);
        StartFarm();
        const std::chrono::milliseconds longest(milliseconds);
        EXPECT_TRUE(Eventually([&] { return stores.events->longestWait.load() == longest; })) << text;
        StopFarm();  // at once, however long the wait
    }
    PlatformAbstraction::AddConfigData(key, "");
}

}  // namespace
}  // namespace Quillon::Farm
