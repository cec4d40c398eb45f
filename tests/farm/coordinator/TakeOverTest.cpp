// Of several coordinators one has the jobs, and of several workers one has a job, whoever is stopped, comes
// back, or does not know what has become of the others.

#include <atomic>

#include "farm/coordinator/CoordinatorTurns.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmState.h"
#include "tests/farm/FarmFixture.h"
#include "tests/support/FakeStores.h"

namespace Quillon::Farm {
namespace {

using namespace std::chrono_literals;
using CommonServices::ReplaceOutcome;
using CoreServices::Parameters;
using TestSupport::Eventually;
using TestSupport::Hold;
using Weftline::Record;
using Weftline::ServiceNames::MediaWorker;
using Weftline::ServiceNames::MetadataWorker;
namespace JobStates = Weftline::JobStates;

constexpr LeaseTimes kPatient{1ms, 1h};
constexpr LeaseTimes kImpatient{1ms, 1ms};

/// A store that holds up one who writes the lease, or loses the answers.
class TroubledStore final : public TestSupport::FakeRecordStore {
public:
    ReplaceOutcome ReplaceIf(const std::optional<Record>& seen, const Record& next) override {
        if (const std::string held = Held();
            !held.empty() && next.recordData.find(held) != std::string::npos) {
            hold.Pass();
        }
        const auto outcome = FakeRecordStore::ReplaceIf(seen, next);
        return losesAnswers ? ReplaceOutcome::Failed : outcome;
    }
    void HoldUp(const std::string& holder) {
        const std::lock_guard lock(m_mutex);
        m_held = holder;
    }

    std::atomic<bool> losesAnswers = false;
    Hold hold;

private:
    std::string Held() {
        const std::lock_guard lock(m_mutex);
        return m_held;
    }

    std::mutex m_mutex;
    std::string m_held;  // guarded by m_mutex
};

class FarmLeaseTest : public testing::Test {
protected:
    FarmLeaseTest() { CommonServices::StoreChoice::SetRecords(store); }

    /// What the store says of the lease.
    std::string Lease(std::string_view key) {
        std::string text;
        for (const Record& record : store->Records()) {
            if (record.recordType == "FarmLease") {
                Parameters::fromJSON(record.recordData).GetParameter(key, text);
            }
        }
        return text;
    }

    const TestSupport::StoresInPlace stores;
    const std::shared_ptr<TroubledStore> store = std::make_shared<TroubledStore>();
};

TEST_F(FarmLeaseTest, OneHasItAndEachTakeOverRaisesTheNumber) {
    FarmLease first(kPatient);
    FarmLease patient(kPatient);
    FarmLease impatient(kImpatient);
    const auto term = first.Hold();
    ASSERT_TRUE(term);
    for (int look = 0; look < 3; ++look) {
        EXPECT_EQ(first.Hold(), term);
        EXPECT_FALSE(patient.Hold());
    }
    std::shared_ptr<LeaseTerm> next;
    ASSERT_TRUE(Eventually([&] { return (next = impatient.Hold()) != nullptr; }));  // the first is silent
    EXPECT_EQ(next->Number(), term->Number() + 1);
    EXPECT_FALSE(term->IsOver()) << "nobody has told it";
    EXPECT_FALSE(first.Hold());
    EXPECT_TRUE(term->IsOver());
    impatient.LetGo();  // nothing, where its own life was over before
    ASSERT_TRUE(Eventually([&] { return (next = impatient.Hold()) != nullptr; }));
    const auto number = next->Number();
    EXPECT_GT(number, term->Number());
    ASSERT_TRUE(store->DeleteMany({store->Records().front().recordID}));
    ASSERT_TRUE(Eventually([&] { return (next = impatient.Hold()) != nullptr; }));
    EXPECT_GT(next->Number(), number) << "jobs bear the numbers that were there";
}

TEST_F(FarmLeaseTest, AHolderWhoHearsNothingKeepsItForItsLifeAndGivesItBackAtOnce) {
    FarmLease first(kPatient);
    FarmLease second(kPatient);
    const auto term = first.Hold();
    store->losesAnswers = true;
    EXPECT_EQ(first.Hold(), term);
    EXPECT_EQ(first.Hold(), term);
    store->losesAnswers = false;
    EXPECT_EQ(first.Hold(), term) << "what changed the lease was itself";
    store->readsThrow = true;
    EXPECT_THROW(second.Hold(), CommonServices::ObjectStoreException);
    store->readsThrow = false;
    EXPECT_FALSE(second.Hold());
    first.LetGo();
    EXPECT_TRUE(term->IsOver());
    const auto next = second.Hold();
    ASSERT_TRUE(next);
    EXPECT_EQ(next->Number(), term->Number() + 1);
    FarmLease brief(kImpatient);
    second.LetGo();
    const auto briefTerm = brief.Hold();
    EXPECT_TRUE(Eventually([&] { return briefTerm->IsOver(); })) << "by its own clock";
}

TEST_F(FarmLeaseTest, ThereIsACoordinatorOnTheBusAsLongAsItsFarmHasTheLease) {
    const auto bus = TestSupport::MakeBus();
    const auto onTheBus = [&](std::size_t count) {
        return Eventually([&] {
            return bus->InstancesAt(std::string(Weftline::ServiceNames::Coordinator), "test", 1).size() ==
                   count;
        });
    };
    CoordinatorTurns first("test", {}, kPatient);
    first.Start(*bus);
    ASSERT_TRUE(onTheBus(1));
    const std::string number = Lease(Keys::FarmLease);
    store->HoldUp(Lease("holder"));  // as one that is stopped in the middle of its renewal
    ASSERT_TRUE(store->hold.arrived.WaitFor(1));
    CoordinatorTurns second("test", {}, {1ms, 1s});
    second.Start(*bus);
    ASSERT_TRUE(onTheBus(2)) << "the first does not know yet";
    EXPECT_GT(Lease(Keys::FarmLease), number);
    store->HoldUp("");
    store->hold.opened.Add();
    ASSERT_TRUE(onTheBus(1));
    second.Stop();
    ASSERT_TRUE(onTheBus(1)) << "the first again";
    first.Stop();
    EXPECT_TRUE(onTheBus(0));
}

/// Coordinators over one store. The worker "held" does its tasks when the test says so.
class TakeOverTest : public TestSupport::FarmFixture {
protected:
    TakeOverTest() {
        const auto work = [this](const Parameters& task, const auto&) {
            ++tasks;
            std::string worker;
            if (task.GetParameter(Keys::WorkerId, worker) && worker == "held") {
                held.Pass();
            }
            return Parameters();
        };
        const TestSupport::Operations perform{{std::string(Operations::PerformTask), work}};
        bus->Attach(TestSupport::MakeService(std::string(MediaWorker), perform));
        bus->Attach(TestSupport::MakeService(std::string(MetadataWorker), {perform}));
    }
    void TearDown() override { held.opened.Add(); }

    std::unique_ptr<Coordinator> StartCoordinator(std::int64_t lease, const WorkerPatience& patience = {}) {
        auto coordinator = std::make_unique<Coordinator>(
            "test", std::make_shared<LeaseTerm>(lease, LeaseTerm::Clock::time_point::max()), patience);
        coordinator->Start(bus->GetMessaging());
        return coordinator;
    }
    static Worker MediaWorkerNamed(const std::string& id) { return {id, "m", "t", std::string(MediaWorker)}; }
    static bool IsIdle(const Coordinator& coordinator) {
        return std::ranges::all_of(coordinator.Workers(),
                                   [](const auto& state) { return state.jobId.empty(); });
    }

    Hold held;
    std::atomic<int> tasks = 0;
};

TEST_F(TakeOverTest, AnEarlierCoordinatorThatGoesOnChangesNothingThatTheLaterHas) {
    Submit({.id = "j"});
    SetState("j", JobStates::Evaluated);
    const auto first = StartCoordinator(1);
    first->ReportWorker(MediaWorkerNamed("held"));
    ASSERT_TRUE(held.arrived.WaitFor(1));
    EXPECT_NE(Find("j")->recordData.find(R"("farmLease":"1")"), std::string::npos);

    const auto second = StartCoordinator(2);
    second->ReportWorker(MediaWorkerNamed("w"));
    ASSERT_TRUE(Reaches("j", JobStates::Completed));
    const Record ended = Find("j").value();
    EXPECT_EQ(tasks, 2) << "done twice";
    EXPECT_NE(ended.recordData.find(R"("farmLease":"2")"), std::string::npos);

    held.opened.Add();
    ASSERT_TRUE(Eventually([&] { return IsIdle(*first); }));
    EXPECT_TRUE(CommonServices::IsSameRecord(Find("j").value(), ended)) << "and counted once";
    JobRecords earlier(std::make_shared<LeaseTerm>(1, LeaseTerm::Clock::time_point::max()));
    EXPECT_EQ(earlier.Change("j", [](Record&) { return true; }), JobRecords::Outcome::Taken);
    JobRecords late(std::make_shared<LeaseTerm>(3, LeaseTerm::Clock::now()));
    EXPECT_THROW((void)late.Change("j", [](Record&) { return true; }), CommonServices::ObjectStoreException);

    const auto keptBy = [] {
        const auto position = CommonServices::ObjectStore().FindByID(kPositionId, kStateCollection);
        return position ? position->recordData : "";
    };
    second->Stop();
    EXPECT_EQ(keptBy(), R"({"offset":"1","farmLease":"2"})");
    Submit({.id = "k"});
    first->Stop();
    EXPECT_EQ(keptBy(), R"({"offset":"1","farmLease":"2"})") << "the earlier keeps no place any more";
}

TEST_F(TakeOverTest, RepeatedAnnouncementsAreOneJob) {
    held.opened.Add();
    Submit({.id = "j"});
    for (int n = 0; n < 20; ++n) {
        Announce("j");
    }
    const auto coordinator = StartCoordinator(1);
    for (const char* const id : {"1", "2", "3"}) {
        coordinator->ReportWorker(MediaWorkerNamed(id));
        coordinator->ReportWorker({id + std::string("e"), "m", "t", std::string(MetadataWorker)});
    }
    ASSERT_TRUE(Reaches("j", JobStates::Completed));
    Announce("j");
    Submit({.id = "behind"});
    ASSERT_TRUE(Reaches("behind", JobStates::Completed));
    ASSERT_TRUE(Eventually([&] { return IsIdle(*coordinator); }));
    EXPECT_EQ(tasks, 4) << "an evaluation and the work of each";
    coordinator->Stop();
}

TEST_F(TakeOverTest, ATaskIsHandedOutAgainWhenItsWorkerIsLost) {
    // How the worker is lost: what it goes on to report, how long it may be silent, and where it is reached.
    struct Row {
        const char* name;
        bool reportsAgain;
        WorkerPatience patience;
        std::string realm;
    };
    const Row rows[] = {
        {"silent", false, {50ms, 1000}, "test"},
        {"its answer was lost", true, {1h, 3}, "test"},
        {"its process has ended", false, {1h, 3}, "nowhere"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string job = row.name;
        const std::size_t arrivedBefore = held.arrived.Get();
        Submit({.id = job});
        SetState(job, JobStates::Evaluated);
        const auto coordinator = StartCoordinator(1, row.patience);
        Worker lost = MediaWorkerNamed("held");
        lost.taskRealm = row.realm;
        lost.jobIds = {{job}};
        coordinator->ReportWorker(lost);
        ASSERT_TRUE(Eventually([&] {
            if (row.realm == "nowhere") {
                return Public(job, Weftline::Keys::JobState) == JobStates::Tasked;
            }
            if (held.arrived.Get() == arrivedBefore) {
                coordinator->ReportWorker(lost);
            }
            return held.arrived.Get() > arrivedBefore;
        }));
        coordinator->ReportWorker(MediaWorkerNamed("other"));
        lost.jobIds.emplace();
        EXPECT_TRUE(Eventually([&] {
            if (row.reportsAgain) {
                coordinator->ReportWorker(lost);
            }
            return Public(job, Weftline::Keys::JobState) == JobStates::Completed;
        }));
        if (!row.reportsAgain) {
            EXPECT_TRUE(Eventually([&] { return coordinator->Workers().size() == 1; })) << "it has left";
            coordinator->ReportWorker(lost);
            EXPECT_EQ(coordinator->Workers().size(), 2U) << "it is back";
        }
        coordinator->Stop();
    }
}

}  // namespace
}  // namespace Quillon::Farm
