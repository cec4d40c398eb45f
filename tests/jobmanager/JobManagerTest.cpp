#include "platform/jobmanager/JobManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>

#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/ConfigurationStore.h"
#include "tests/support/FakeBusMessaging.h"

namespace CommonServices {
namespace {

using CoreServices::Parameters;
using testing::ElementsAre;
using testing::ThrowsMessage;
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

    std::vector<JobInfo> Find(const std::string& identity = "{}") {
        return JobManager().FindJobsByKind(bus, Parameters::fromJSON(identity), "k", 5, limit, total);
    }

    std::int32_t limit = 25;
    std::int32_t total = -1;
    std::shared_ptr<TestSupport::FakeBusMessaging> bus;
};

TEST_F(JobManagerOnTheBus, FindsAPageOfJobsAtTheServiceOfTheSetting) {
    const std::string first =
        R"({"id":"1","clientKey":"c","kind":"k","creationDateTime":"d","completedDateTime":"e",)"
        R"("createdBy":"Ada","name":"n","status":"Completed","priority":50,"progress":100,"info":{"a":1},)"
        R"("details":{"SubTaskJobIDs":["2"]}})";
    On("findJobsByKind", Results(R"({"results":[)" + first + R"(,{"id":"3"}],"limit":10,"total":12})"));
    PlatformAbstraction::AddConfigData("jobmanagerservicename", "jobs.elsewhere");
    const auto jobs = Find(R"({"identityId":"ada"})");
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
        const auto jobs = Find();
        ASSERT_EQ(jobs.size(), 2U);
        EXPECT_EQ(WriteJobInfo(jobs[0]).toJSON(), WriteJobInfo(blank).toJSON());
        EXPECT_EQ(jobs[1].jobId, "2");
    }
}

TEST_F(JobManagerOnTheBus, ThrowsForEveryAnswerThatIsNoPage) {
    const std::string noResults = "was answered without \"results\"";
    const std::string noTotal = "was answered without \"total\"";
    const std::pair<std::string, ScriptedAnswer> rows[] = {
        {"was not answered in time", ScriptedAnswer::Never()},
        {"has error: E : m", ScriptedAnswer::Error("E", "m")},
        {"has error: no details", ScriptedAnswer::ErrorWithoutDetails()},
        {"was answered with no tree", ScriptedAnswer::Text("<html>")},
        {noResults, Results(R"([{"id":"1"}])")},
        {noResults, Results(R"({"total":1})")},
        {"was answered with a job that is no tree", Results(R"({"results":["1"],"total":1})")},
        {noTotal, Results(R"({"results":[],"limit":5})")},
        {noTotal, Results(R"({"results":[],"total":"5"})")},
        {"was answered with a \"limit\" that is no number",
         Results(R"({"results":[],"limit":null,"total":0})")},
    };
    for (const auto& [failure, answer] : rows) {
        On("findJobsByKind", answer);
        EXPECT_THAT([this] { Find(); },
                    ThrowsMessage<std::runtime_error>("findJobsByKind at the job manager " + failure));
    }
    for (const char* results : {R"([["1"]])", R"([{"id":"1"},{"id":""}])", R"([{"id":1}])"}) {
        On("findJobsByKind", Results(R"({"results":)" + std::string(results) + R"(,"total":1})"));
        EXPECT_THAT([this] { Find(); }, ThrowsMessage<std::runtime_error>(R"("id" of a job is missing)"));
    }
    EXPECT_EQ(limit, 25);
    EXPECT_EQ(total, -1);
}

TEST_F(JobManagerOnTheBus, ARemovalIsDoneOnlyWhenTheAnswerSaysSo) {
    const auto late = ScriptedAnswer::Late(Parameters::fromJSON(R"({"id":"1"})"));
    const std::tuple<const char*, ScriptedAnswer, bool> rows[] = {
        {"an answer with a key", Results(R"({"id":"9"})"), true},
        {"an empty answer", Results("{}"), false},
        {"an array", Results("[1]"), false},
        {"no JSON", ScriptedAnswer::Text("done"), false},
        {"error", ScriptedAnswer::Error("E", "m"), false},
        {"error alone", ScriptedAnswer::ErrorWithoutDetails(), false},
        {"timed out", ScriptedAnswer::TimedOut(), false},
        {"none", ScriptedAnswer::Never(), false},
        {"late", late, false},
    };
    for (const auto& [name, answer, isDone] : rows) {
        SCOPED_TRACE(name);
        On("removeJob", answer);
        JobInfo removed;
        removed.name = "before";
        EXPECT_EQ(JobManager().RemoveJob(bus, Parameters(), "1", removed), isDone);
        EXPECT_EQ(removed.jobId + removed.name, isDone ? "1" : "before");
        const auto sent = bus->Sent().front().dispatch;
        EXPECT_EQ(sent.service + " " + sent.parameters.toJSON(), R"(orvik.job.monitor {"id":"1"})");
    }
}

TEST(JobStatusOfText, IsKnownForStatesAndStatusesByTheirExactNames) {
    const std::map<std::string, int> numbers = {{"Created", 1},
                                                {"Readied", 1},
                                                {"Evaluated", 1},
                                                {"Tasked", 1},
                                                {"InProgress", 1},
                                                {"Completed", 2},
                                                // Clients see the numbers.
                                                {"Failed", 3},
                                                {"Suspended", 4},
                                                {"Canceled", 5}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(static_cast<int>(StrToJobStatus(text)), number) << text;
    }
    for (const std::string unknown : {"", "Unknown", "completed", "Completed ", "2", "Cancelled"}) {
        EXPECT_EQ(StrToJobStatus(unknown), JobStatus::Unknown) << unknown;
    }
}

}  // namespace
}  // namespace CommonServices
