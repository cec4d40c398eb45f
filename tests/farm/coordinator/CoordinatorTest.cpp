#include "farm/coordinator/Coordinator.h"

#include <atomic>

#include "farm/coordinator/CoordinatorService.h"
#include "farm/protocol/FarmProtocol.h"
#include "platform/messaging/ConfigurationStore.h"
#include "tests/farm/FarmFixture.h"
#include "tests/inprocess/BusStories.h"
#include "tests/support/StoresInPlace.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;
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
    void StartFarm(const Perform& evaluate = Succeed, const Perform& work = Succeed) {
        bus = TestSupport::MakeBus();
        coordinator = std::make_shared<Coordinator>("test");
        bus->Attach(MakeCoordinatorService("test", coordinator));
        AttachWorker(ServiceNames::MetadataWorker, evaluate);
        AttachWorker(ServiceNames::MediaWorker, [this, work](const Parameters& task) {
            ++worked;
            work(task);
        });
        coordinator->Start(bus->GetMessaging());
    }
    /// A farm whose media worker waits with the job "held" until the test lets it go on, and is at it.
    void HoldAJob(Hold& held) {
        StartFarm(Succeed, [&held](const Parameters& task) {
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
        return TestSupport::EndOf(*bus->GetMessaging()->SendRequest(TestSupport::To(
            std::string(ServiceNames::Coordinator), std::string(operation), Parameters::fromJSON(request))));
    }
    static void Succeed(const Parameters& /*task*/) {}
    static std::string JobOf(const Parameters& task) {
        std::string id;
        task.GetParameter(Keys::JobId, id);
        return id;
    }

    std::shared_ptr<PlatformAbstraction::Messaging::InProcessBus> bus;
    std::shared_ptr<Coordinator> coordinator;
    std::atomic<int> worked{0};  // how many tasks were handed to the media worker

private:
    void AttachWorker(std::string_view service, const Perform& perform) {
        bus->Attach(TestSupport::MakeService(
            std::string(service),
            {{std::string(Operations::PerformTask), [perform](const auto& task, const auto&) {
                  perform(task);
                  return Parameters();
              }}}));
        coordinator->ReportWorker({"worker of " + std::string(service), "m", "t", std::string(service)});
    }
};

TEST_F(CoordinatorTest, TakesAJobThroughItsStatesAndKeepsAllElse) {
    Hold evaluation;
    Hold work;
    std::string task;
    StartFarm([&](const Parameters&) { evaluation.Pass(); },
              [&](const Parameters& given) {
                  task = given.toJSON();
                  work.Pass();
              });
    Weftline::Record job("Job", 1, std::string(Weftline::Collections::Jobs));
    job.recordID = "j";
    job.name = "A name";
    job.recordData =
        R"({"parent":"p","jobLastState":"","processingData":"{\"n\":1e400}","big":9007199254740993})";
    job.recordPublicData =
        R"({"jobKind":"orvik.quillon.transcode","createdBy":"Somebody","x":1.0,"tags":[]})";
    ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(job));
    Announce("j");
    ASSERT_TRUE(evaluation.arrived.WaitFor(1));
    EXPECT_EQ(StateOf("j"), JobStates::Readied);
    evaluation.opened.Add();
    ASSERT_TRUE(work.arrived.WaitFor(1));
    EXPECT_EQ(task, R"({"jobId":"j","workerId":"worker of orvik.quillon.processing.media.worker",)"
                    R"("taskKind":"orvik.quillon.task.transcode","jobKind":"orvik.quillon.transcode",)"
                    R"("processingData":{"n":1e400}})");
    const std::string busy = R"("status":"Busy","task":"orvik.quillon.task.transcode","user":"Somebody")";
    EXPECT_NE(Ask(Weftline::Operations::WorkerPoolStatus).find(busy), std::string::npos);
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"j","progress":40})"), "{}");
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"j","progress":30})"), "{}") << "too late";
    const std::string before =
        R"({"jobKind":"orvik.quillon.transcode","createdBy":"Somebody","x":1.0,"tags":[],)";
    EXPECT_EQ(Find("j")->recordPublicData, before + R"("jobState":"Tasked","progress":40})");
    work.opened.Add();
    ASSERT_TRUE(Reaches("j", JobStates::Completed));
    job = *Find("j");
    EXPECT_EQ(job.recordPublicData, before +
                                        R"("jobState":"Completed","progress":100,"completedDateTime":")" +
                                        Public("j", Shared::CompletedDateTime) + "\"}");
    EXPECT_EQ(
        job.name + job.recordData,
        R"(A name{"parent":"p","jobLastState":"Tasked","processingData":"{\"n\":1e400}","big":9007199254740993,"jobMonitorID":"j"})");
    EXPECT_TRUE(Eventually(
        [&] { return Ask(Weftline::Operations::WorkerPoolStatus).find("Busy") == std::string::npos; }));
}

TEST_F(CoordinatorTest, CarriesEveryJobToItsEndOnceAcrossAStop) {
    Hold held;
    Submit({.id = "done"});
    HoldAJob(held);
    EXPECT_EQ(StateOf("done"), JobStates::Completed);
    Submit({.id = "waits"});
    ASSERT_TRUE(Reaches("waits", JobStates::Evaluated));
    coordinator->Stop();  // while a worker is at a job
    EXPECT_EQ(StateOf("held"), JobStates::Tasked);
    held.opened.Add();
    StopFarm();
    CloseStore();

    OpenStore();
    Submit({.id = "unheard"});
    std::size_t evaluated = 0;
    StartFarm([&](const Parameters&) { ++evaluated; });
    for (const char* const id : {"held", "waits", "unheard"}) {
        EXPECT_TRUE(Reaches(id, JobStates::Completed)) << id;
    }
    StopFarm();
    EXPECT_EQ(evaluated, 1U);

    // All was dealt with: even a position that is lost brings no job back.
    EXPECT_EQ(KeptPosition::Load(), 4);
    ASSERT_TRUE(KeptPosition::Keep(5));
    EXPECT_EQ(KeptPosition::Load(), 0) << "behind the end of the log no job would be heard of";
    StartFarm();
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    EXPECT_EQ(worked, 6) << "the five jobs, and the one that was held once more";
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
    const struct {
        const char* id;
        const char* publicData;
        std::string_view state;
        const char* privateData;  // and what it contains at the end
    } rows[] = {
        {"refused", R"({"jobKind":"orvik.quillon.transcode"})", JobStates::Failed, "no such media"},
        {"foreign", R"({"jobKind":"speech"})", JobStates::Failed, R"(of the kind \"speech\")"},
        {"broken", "{", JobStates::Failed, "cannot be read"},
        {"array", "[]", JobStates::Failed, "cannot be read"},
        {"private", R"({"jobKind":"orvik.quillon.transcode"})", JobStates::Failed, R"("unreadable":"[1]")"},
        {"ended", R"({"jobState":"Completed"})", JobStates::Completed, "{}"},
        {"strange", R"({"jobState":"tasked","jobKind":"speech"})", "tasked", "{}"},
        {"odd", R"({"jobState":1,"jobKind":"orvik.quillon.transcode","priority":-2147483648})",
         JobStates::Completed, "jobLastState"},
        {"text", R"({"jobState":"","jobKind":"orvik.quillon.transcode","priority":"9"})",
         JobStates::Completed, "jobLastState"},
    };
    for (const auto& row : rows) {
        Weftline::Record job("Job", 1, std::string(Weftline::Collections::Jobs));
        job.recordID = row.id;
        job.recordData = job.recordID == "private" ? "[1]" : "{}";
        job.recordPublicData = row.publicData;
        ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(job));
        Announce(row.id);
    }
    for (const auto& row : rows) {
        EXPECT_TRUE(Reaches(row.id, row.state)) << row.id;
        EXPECT_NE(Find(row.id)->recordData.find(row.privateData), std::string::npos) << row.id;
    }
    EXPECT_EQ(Public("broken", Keys::Unreadable), "{");
    EXPECT_EQ(worked, 2);
}

TEST_F(CoordinatorTest, WritesNothingOfAJobWhoseRecordIsAboutToBeDeleted) {
    using enum JobRecords::Outcome;
    Hold held;
    HoldAJob(held);
    EXPECT_EQ(Ask(Operations::ForgetJob, R"({"id":"held"})"), R"({"id":"held"})");
    EXPECT_EQ(Ask(Operations::TaskProgress, R"({"jobId":"held","progress":50})"), "{}");
    EXPECT_NE(Find("held")->recordPublicData.find(R"("progress":0)"), std::string::npos);
    const auto touch = [](Weftline::Record&) { return true; };
    JobRecords impatient(std::chrono::milliseconds(0));
    impatient.Forget("held");
    EXPECT_EQ(impatient.Change("held", touch), Written) << "the removal has failed";
    ASSERT_TRUE(CommonServices::ObjectStore().DeleteMany({"held"}));
    EXPECT_EQ(impatient.Change("held", touch), Gone);
    held.opened.Add();
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    EXPECT_FALSE(Find("held"));
}

TEST_F(CoordinatorTest, WhoeverChangesAJobUnderWayHasTheLastWord) {
    const struct {
        std::string_view state;  // that is written while a worker is at the job
        bool isAnnounced;        // once more
        std::string_view end;
        int work;
    } rows[] = {
        {JobStates::Canceled, false, JobStates::Canceled, 1},
        {JobStates::Tasked, true, JobStates::Completed, 1},
        {JobStates::Created, true, JobStates::Completed, 2},  // begun anew
    };
    for (const auto& row : rows) {
        Hold held;
        worked = 0;
        HoldAJob(held);
        SetState("held", row.state);
        if (row.isAnnounced) {
            Announce("held");
        }
        Submit({.id = "behind"});
        ASSERT_TRUE(Reaches("behind", JobStates::Evaluated));  // so the announcement was read
        held.opened.Add();
        EXPECT_TRUE(Reaches("behind", JobStates::Completed));
        EXPECT_TRUE(Reaches("held", row.end)) << row.state;
        StopFarm();
        EXPECT_EQ(worked, row.work + 1) << row.state;
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
