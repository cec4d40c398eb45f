#include "farm/coordinator/Coordinator.h"

#include <map>
#include <mutex>

#include "farm/coordinator/CoordinatorService.h"
#include "farm/coordinator/KeptPosition.h"
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
namespace JobKinds = Weftline::JobKinds;
namespace JobStates = Weftline::JobStates;
namespace Shared = Weftline::Keys;

/// Workers of both kinds that do as the test says.
class CoordinatorTest : public FarmFixture {
protected:
    using Perform = std::function<void(const Parameters& task)>;

    void TearDown() override { StopFarm(); }

    /// A farm with one worker of each kind.
    void StartFarm(const Perform& evaluate, const Perform& work) {
        bus = TestSupport::MakeBus();
        coordinator = std::make_shared<Coordinator>("test");
        bus->Attach(MakeCoordinatorService("test", coordinator));
        AttachWorker(Weftline::ServiceNames::MetadataWorker, evaluate);
        AttachWorker(Weftline::ServiceNames::MediaWorker, work);
        coordinator->Start(bus->GetMessaging());
    }
    /// A farm whose media worker waits with the job "held" until the test lets it go on.
    void StartFarmThatHolds() {
        StartFarm(Succeed, [this](const Parameters& task) {
            if (JobOf(task) == "held") {
                held.Pass();
            }
        });
    }
    void StopFarm() {
        if (coordinator) {
            coordinator->Stop();
        }
        bus.reset();
        coordinator.reset();
    }

    std::string Ask(std::string_view operation, const Parameters& request) {
        return TestSupport::EndOf(*bus->GetMessaging()->SendRequest(TestSupport::To(
            std::string(Weftline::ServiceNames::Coordinator), std::string(operation), request)));
    }
    void TellProgress(const std::string& jobId, std::int32_t progress) {
        Parameters request;
        request.SetParameter(Keys::JobId, jobId);
        request.SetParameter(Shared::Progress, progress);
        EXPECT_EQ(Ask(Operations::TaskProgress, request), "{}");
    }
    /// How often a job was handed to the media worker.
    std::size_t CountWork(const std::string& jobId) {
        const std::lock_guard lock(m_mutex);
        return m_work[jobId];
    }

    static void Succeed(const Parameters&) {}
    static std::string JobOf(const Parameters& task) {
        std::string id;
        task.GetParameter(Keys::JobId, id);
        return id;
    }

    Hold held;
    std::shared_ptr<PlatformAbstraction::Messaging::InProcessBus> bus;
    std::shared_ptr<Coordinator> coordinator;

private:
    void AttachWorker(std::string_view service, const Perform& perform) {
        const bool isMedia = service == Weftline::ServiceNames::MediaWorker;
        bus->Attach(TestSupport::MakeService(
            std::string(service),
            {{std::string(Operations::PerformTask), [this, perform, isMedia](const auto& task, const auto&) {
                  if (isMedia) {
                      const std::lock_guard lock(m_mutex);
                      ++m_work[JobOf(task)];
                  }
                  perform(task);
                  return Parameters();
              }}}));
        coordinator->ReportWorker({"worker of " + std::string(service), "m", "t", std::string(service)});
    }

    std::mutex m_mutex;
    std::map<std::string, std::size_t> m_work;
};

TEST_F(CoordinatorTest, TakesAJobThroughItsStates) {
    Hold evaluation;
    Hold work;
    Parameters task;
    StartFarm([&](const Parameters&) { evaluation.Pass(); },
              [&](const Parameters& given) {
                  task = given;
                  work.Pass();
              });
    Submit({.id = "j"});
    const Parameters before = Parameters::fromJSON(Find("j")->recordData);

    ASSERT_TRUE(evaluation.arrived.WaitFor(1));
    EXPECT_EQ(StateOf("j"), JobStates::Readied);
    evaluation.opened.Add();
    ASSERT_TRUE(work.arrived.WaitFor(1));
    EXPECT_EQ(StateOf("j"), JobStates::Tasked);
    EXPECT_EQ(task.toJSON(),
              R"({"jobId":"j","workerId":"worker of orvik.quillon.processing.media.worker",)"
              R"("taskKind":"orvik.quillon.task.transcode","jobKind":"orvik.quillon.transcode",)"
              R"("processingData":{"a":1}})");
    const std::string workers = Ask(Weftline::Operations::WorkerPoolStatus, {});
    EXPECT_NE(workers.find(R"("status":"Busy","task":"orvik.quillon.task.transcode","user":"Somebody")"),
              std::string::npos)
        << workers;
    TellProgress("j", 40);
    TellProgress("j", 30);  // too late
    std::int32_t progress = 0;
    PublicData("j").GetParameter(Shared::Progress, progress);
    EXPECT_EQ(progress, 40);
    work.opened.Add();

    ASSERT_TRUE(Reaches("j", JobStates::Completed));
    PublicData("j").GetParameter(Shared::Progress, progress);
    EXPECT_EQ(progress, 100);
    EXPECT_FALSE(Public("j", Shared::CompletedDateTime).empty());
    Parameters after = Parameters::fromJSON(Find("j")->recordData);
    std::string last;
    after.GetParameter(Shared::JobLastState, last);
    EXPECT_EQ(last, JobStates::Tasked);
    for (const std::string_view key : {Shared::JobLastState, Shared::JobMonitorID}) {
        after.SetParameter(key, "");
    }
    EXPECT_EQ(after, before);
    EXPECT_EQ(Find("j")->name, "Name of j");
    EXPECT_NE(Ask(Weftline::Operations::WorkerPoolStatus, {}).find(R"("status":"Idle")"), std::string::npos);
}

TEST_F(CoordinatorTest, CarriesEveryJobToItsEndOnceAcrossAStop) {
    StartFarmThatHolds();
    Submit({.id = "done"});
    ASSERT_TRUE(Reaches("done", JobStates::Completed));
    Submit({.id = "held"});
    ASSERT_TRUE(held.arrived.WaitFor(1));
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
    StartFarm([&](const Parameters&) { ++evaluated; }, Succeed);
    for (const char* const id : {"held", "waits", "unheard"}) {
        EXPECT_TRUE(Reaches(id, JobStates::Completed)) << id;
    }
    StopFarm();
    EXPECT_EQ(CountWork("done"), 1U);
    EXPECT_EQ(CountWork("held"), 2U);
    EXPECT_EQ(CountWork("waits"), 1U);
    EXPECT_EQ(CountWork("unheard"), 1U);
    EXPECT_EQ(evaluated, 1U);

    // All was dealt with: even a position that is lost brings no job back.
    EXPECT_EQ(KeptPosition::Load(), 4);
    ASSERT_TRUE(KeptPosition::Keep(5));
    EXPECT_EQ(KeptPosition::Load(), 0) << "behind the end of the log no job would be heard of";
    ASSERT_TRUE(KeptPosition::Keep(1));
    StartFarm(Succeed, Succeed);
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    StopFarm();
    EXPECT_EQ(CountWork("held"), 2U);
    EXPECT_EQ(CountWork("next"), 1U);
}

TEST_F(CoordinatorTest, FailsWhatCannotBeDoneAndGoesOn) {
    StartFarm(
        [](const Parameters& task) {
            if (JobOf(task) == "refused") {
                throw std::runtime_error("no such media");
            }
        },
        Succeed);
    CommonServices::EventStore({}).Produce(Weftline::DataModel::MakeJobCreatedEvent("no job", "q"), true);
    Weftline::Record broken = Weftline::DataModel::MakeJobCreatedEvent("", "q");
    broken.recordData = "{";
    CommonServices::EventStore({}).Produce(broken, true);
    Submit({.id = "foreign", .kind = "orvik.quillon.speechtotext"});
    Weftline::Record unreadable("Job", 1, std::string(Weftline::Collections::Jobs));
    unreadable.recordID = "unreadable";
    unreadable.recordPublicData = "{";
    ASSERT_TRUE(CommonServices::ObjectStore().UpsertOne(unreadable));
    CommonServices::EventStore({}).Produce(Weftline::DataModel::MakeJobCreatedEvent("unreadable", "q"), true);
    Submit({.id = "refused"});
    Submit({.id = "good"});
    const auto reasonOf = [](const std::string& id) {
        std::string reason;
        Parameters::fromJSON(Find(id)->recordData).GetParameter(Keys::FailureReason, reason);
        return reason;
    };
    EXPECT_TRUE(Reaches("good", JobStates::Completed));
    EXPECT_TRUE(Reaches("refused", JobStates::Failed));
    EXPECT_EQ(reasonOf("refused"), "no such media");
    EXPECT_EQ(StateOf("foreign"), JobStates::Failed);
    EXPECT_NE(reasonOf("foreign").find("\"orvik.quillon.speechtotext\""), std::string::npos);
    EXPECT_EQ(CountWork("refused"), 0U);
    EXPECT_EQ(StateOf("unreadable"), JobStates::Failed);
    EXPECT_NE(reasonOf("unreadable").find("cannot be read"), std::string::npos);
    EXPECT_EQ(Public("unreadable", Keys::Unreadable), "{");
}

TEST_F(CoordinatorTest, WritesNothingOfAJobThatIsForgotten) {
    StartFarmThatHolds();
    Submit({.id = "held"});
    ASSERT_TRUE(held.arrived.WaitFor(1));
    Parameters request;
    request.SetParameter(Shared::Id, "held");
    EXPECT_EQ(Ask(Operations::ForgetJob, request), R"({"id":"held"})");
    TellProgress("held", 50);
    std::int32_t progress = -1;
    PublicData("held").GetParameter(Shared::Progress, progress);
    EXPECT_EQ(progress, 0);
    ASSERT_TRUE(CommonServices::ObjectStore().DeleteMany({"held"}));
    held.opened.Add();
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    EXPECT_FALSE(Find("held"));
}

TEST_F(CoordinatorTest, GivesAJobUpOnlyWhenItsRecordIsDeleted) {
    using enum JobRecords::Outcome;
    const auto touch = [](Weftline::Record&) { return true; };
    Submit({.id = "j"});
    JobRecords records;
    records.Forget("j");
    EXPECT_EQ(records.Change("j", touch), Withheld);
    JobRecords impatient(std::chrono::milliseconds(0));
    impatient.Forget("j");
    EXPECT_EQ(impatient.Change("j", touch), Written) << "the removal has failed";
    ASSERT_TRUE(CommonServices::ObjectStore().DeleteMany({"j"}));
    EXPECT_EQ(records.Change("j", touch), Gone);
}

TEST_F(CoordinatorTest, LeavesTheLastWordToWhoeverCanceled) {
    StartFarmThatHolds();
    Submit({.id = "held"});
    ASSERT_TRUE(held.arrived.WaitFor(1));
    SetState("held", JobStates::Canceled);
    held.opened.Add();
    Submit({.id = "next"});
    EXPECT_TRUE(Reaches("next", JobStates::Completed));
    EXPECT_EQ(StateOf("held"), JobStates::Canceled);
}

TEST_F(CoordinatorTest, WaitsForAStoreThatFails) {
    CloseStore();
    const TestSupport::StoresInPlace stores;
    StartFarm(
        [&](const Parameters&) {
            stores.records->upsertFault = TestSupport::StoreFault::Refuse;
            stores.records->readsThrow = true;
        },
        Succeed);
    Submit({.id = "j"});
    EXPECT_TRUE(Eventually([&] { return stores.records->reads > 3; }));
    stores.records->readsThrow = false;
    stores.records->upsertFault = TestSupport::StoreFault::None;
    EXPECT_TRUE(Reaches("j", JobStates::Completed));
    EXPECT_EQ(CountWork("j"), 1U);
    StopFarm();
}

TEST_F(CoordinatorTest, WaitsForEventsAsLongAsTheServiceSays) {
    const std::string key(Weftline::Options::EventMaxPollingTimeoutMs);
    const std::pair<const char*, std::chrono::milliseconds> rows[] = {
        {"86400000", std::chrono::hours(24)}, {"0", std::chrono::milliseconds(10)},
        {"soon", std::chrono::seconds(2)},    {"-1", std::chrono::seconds(2)},
        {"9s", std::chrono::seconds(2)},      {"99999999999", std::chrono::seconds(2)},
    };
    for (const auto& [text, longest] : rows) {
        CloseStore();
        const TestSupport::StoresInPlace stores;
        PlatformAbstraction::AddConfigData(key, text);
        StartFarm(Succeed, Succeed);
        EXPECT_TRUE(Eventually([&] { return stores.events->longestWait.load() == longest; })) << text;
        StopFarm();  // at once, however long the wait
    }
    PlatformAbstraction::AddConfigData(key, "");
}

}  // namespace
}  // namespace Quillon::Farm
