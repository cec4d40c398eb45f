#include "JobManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "ConfigurationStore.h"
#include "FakeBusMessaging.h"
#include "JobStatus.h"

namespace CommonServices {
namespace {

using CoreServices::Parameters;
using testing::ElementsAre;
using TestSupport::ScriptedAnswer;

class JobManagerOnTheBus : public testing::Test {
protected:
    void On(const std::string& operation, const ScriptedAnswer& answer) {
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On(operation, answer);
    }

    static ScriptedAnswer Results(const std::string& json) {
        return ScriptedAnswer::Results(Parameters::fromJSON(json));
    }

    /// The failure of a question whose answer is in script.
    std::string Failure() {
        std::int32_t limit = 25;
        std::int32_t total = -1;
        try {
            JobManager().FindJobsByKind(bus, Parameters(), "k", 0, limit, total);
        } catch (const std::runtime_error& failure) {
            EXPECT_EQ(limit, 25);
            EXPECT_EQ(total, -1);
            return failure.what();
        }
        return "none";
    }

    std::shared_ptr<TestSupport::FakeBusMessaging> bus;
};

TEST_F(JobManagerOnTheBus, FindsAPageOfJobsAtTheServiceOfTheSetting) {
    const std::string first =
        R"({"id":"1","clientKey":"c","kind":"k","creationDateTime":"d","completedDateTime":"e",)"
        R"("createdBy":"Ada","name":"n","status":"Completed","priority":50,"progress":100,"info":{"a":1},)"
        R"("details":{"SubTaskJobIDs":["2"]}})";
    On("findJobsByKind", Results(R"({"results":[)" + first + R"(,{"id":"3"}],"limit":10,"total":12})"));
    PlatformAbstraction::AddConfigData("jobmanagerservicename", "jobs.elsewhere");
    std::int32_t limit = 25;
    std::int32_t total = 0;
    const auto jobs = JobManager().FindJobsByKind(bus, Parameters::fromJSON(R"({"identityId":"ada"})"), "k",
                                                  5, limit, total);
    PlatformAbstraction::AddConfigData("jobmanagerservicename", "");

    ASSERT_EQ(jobs.size(), 2U);
    EXPECT_EQ(WriteJobInfo(jobs[0]).toJSON(), first);
    EXPECT_EQ(
        WriteJobInfo(jobs[1]).toJSON(),
        R"({"id":"3","clientKey":"","kind":"","creationDateTime":"","completedDateTime":"","createdBy":"",)"
        R"("name":"","status":"","priority":0,"progress":0,"info":{},"details":{}})");
    EXPECT_EQ(limit, 10);
    EXPECT_EQ(total, 12);
    const auto sent = bus->Sent().front().dispatch;
    EXPECT_EQ(sent.service + "/" + sent.realm + "/" + std::to_string(sent.version),
              "jobs.elsewhere/global/1");
    EXPECT_EQ(sent.parameters.toJSON(),
              R"({"kind":"k","offset":5,"limit":25,"identity":{"identityId":"ada"}})");
    EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000));
}

TEST_F(JobManagerOnTheBus, OddValuesOfAJobReadAsBlankAndHideNoOther) {
    JobInfo blank;
    blank.jobId = "odd";
    for (const std::string odd : {
             R"("creationDateTime":5,"details":["2"],"info":"none","priority":"5")",
             R"("creationDateTime":null,"details":null,"info":[],"progress":1e99)",
             R"("clientKey":{},"kind":null,"status":false,"name":7,"priority":null)",
         }) {
        SCOPED_TRACE(odd);
        On("findJobsByKind", Results(R"({"results":[{"id":"odd",)" + odd + R"(},{"id":"2"}],"total":2})"));
        std::int32_t limit = 25;
        std::int32_t total = 0;
        const auto jobs = JobManager().FindJobsByKind(bus, Parameters(), "k", 0, limit, total);
        ASSERT_EQ(jobs.size(), 2U);
        EXPECT_EQ(WriteJobInfo(jobs[0]).toJSON(), WriteJobInfo(blank).toJSON());
        EXPECT_EQ(jobs[1].jobId, "2");
    }
}

TEST_F(JobManagerOnTheBus, ThrowsForEveryAnswerThatIsNoPage) {
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string failure;
    };
    const std::string at = "findJobsByKind at the job manager ";
    const Row rows[] = {
        {"none", ScriptedAnswer::Never(), at + "was not answered in time"},
        {"error", ScriptedAnswer::Error("E", "m"), at + "has error: E : m"},
        {"error alone", ScriptedAnswer::ErrorWithoutDetails(), at + "has error: no details"},
        {"no JSON", ScriptedAnswer::Text("<html>"), at + "was answered with no tree"},
        {"an array", Results(R"([{"id":"1"}])"), at + "was answered without \"results\""},
        {"no results", Results(R"({"total":1})"), at + "was answered without \"results\""},
        {"texts", Results(R"({"results":["1"],"total":1})"), at + "was answered with a job that is no tree"},
        {"an array in it", Results(R"({"results":[["1"]],"total":1})"), R"("id" of a job is missing)"},
        {"no id", Results(R"({"results":[{"id":"1"},{"id":""}],"total":1})"), R"("id" of a job is missing)"},
        {"id a number", Results(R"({"results":[{"id":1}],"total":1})"), R"("id" of a job is missing)"},
        {"no total", Results(R"({"results":[],"limit":5})"), at + "was answered without \"total\""},
        {"total a text", Results(R"({"results":[],"total":"5"})"), at + "was answered without \"total\""},
        {"limit null", Results(R"({"results":[],"limit":null,"total":0})"),
         at + "was answered with a \"limit\" that is no number"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        On("findJobsByKind", row.answer);
        EXPECT_EQ(Failure(), row.failure);
    }
}

TEST_F(JobManagerOnTheBus, ARemovalIsDoneOnlyWhenTheAnswerSaysSo) {
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        bool isDone;
    };
    const Row rows[] = {
        {"an answer with a key", Results(R"({"id":"9"})"), true},
        {"an empty answer", Results("{}"), false},
        {"an array", Results("[1]"), false},
        {"no JSON", ScriptedAnswer::Text("done"), false},
        {"error", ScriptedAnswer::Error("E", "m"), false},
        {"error alone", ScriptedAnswer::ErrorWithoutDetails(), false},
        {"timed out", ScriptedAnswer::TimedOut(), false},
        {"none", ScriptedAnswer::Never(), false},
        {"late", ScriptedAnswer::Late(Parameters::fromJSON(R"({"id":"1"})")), false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        On("removeJob", row.answer);
        JobInfo removed;
        removed.name = "before";
        EXPECT_EQ(JobManager().RemoveJob(bus, Parameters(), "1", removed), row.isDone);
        EXPECT_EQ(removed.jobId + removed.name, row.isDone ? "1" : "before");
        const auto sent = bus->Sent().front().dispatch;
        EXPECT_EQ(sent.service + " " + sent.parameters.toJSON(), R"(orvik.job.monitor {"id":"1"})");
    }
}

TEST(JobStatusOfText, IsKnownForStatesAndStatusesByTheirExactNames) {
    for (const std::string atWork : {"Created", "Readied", "Evaluated", "Tasked", "InProgress"}) {
        EXPECT_EQ(StrToJobStatus(atWork), JobStatus::InProgress) << atWork;
    }
    EXPECT_EQ(static_cast<int>(StrToJobStatus("InProgress")), 1);
    EXPECT_EQ(static_cast<int>(StrToJobStatus("Completed")), 2);
    EXPECT_EQ(static_cast<int>(StrToJobStatus("Failed")), 3);
    EXPECT_EQ(static_cast<int>(StrToJobStatus("Suspended")), 4);
    EXPECT_EQ(static_cast<int>(StrToJobStatus("Canceled")), 5);
    for (const std::string unknown : {"", "Unknown", "completed", "Completed ", "2", "Cancelled"}) {
        EXPECT_EQ(StrToJobStatus(unknown), JobStatus::Unknown) << unknown;
    }
}

}  // namespace
}  // namespace CommonServices
