#include "platform/jobmanager/JobManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

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
    static ScriptedAnswer Results(const std::string& json) {
        return ScriptedAnswer::Results(Parameters::fromJSON(json));
    }
    std::vector<JobInfo> Find(const ScriptedAnswer& answer) {
        bus->Restart("findJobsByKind", answer);
        const auto identity = Parameters::fromJSON(R"({"identityId":"ada"})");
        return JobManager().FindJobsByKind(bus, identity, "k", 5, limit, total);
    }

    std::int32_t limit = 25;
    std::int32_t total = -1;
    const std::shared_ptr<TestSupport::FakeBusMessaging> bus =
        std::make_shared<TestSupport::FakeBusMessaging>();
};

TEST_F(JobManagerOnTheBus, FindsAPageOfJobsAtTheServiceOfTheSetting) {
    const std::string first =
        R"({"id":"1","clientKey":"c","kind":"k","creationDateTime":"d","completedDateTime":"e",)"
        R"("createdBy":"Ada","name":"n","status":"Completed","priority":50,"progress":100,"info":{"a":1},)"
        R"("details":{"SubTaskJobIDs":["2"]}})";
    // Odd values of one job read as blank, and hide no other.
    const std::string odd =
        R"({"id":"3","clientKey":{},"kind":null,"creationDateTime":5,"status":false,"priority":"5",)"
        R"("progress":1e99,"info":[],"details":["2"]})";
    PlatformAbstraction::AddConfigData("jobmanagerservicename", "jobs.elsewhere");
    const auto jobs = Find(Results(R"({"results":[)" + first + "," + odd + R"(],"limit":10,"total":12})"));
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

TEST_F(JobManagerOnTheBus, ThrowsForEveryAnswerThatIsNoPage) {
    const std::string at = "findJobsByKind at the job manager ";
    const std::string noId = R"("id" of a job is missing)";
    const std::pair<std::string, ScriptedAnswer> rows[] = {
        {at + "was not answered in time", ScriptedAnswer::Never()},
        {at + "has error: E : m", ScriptedAnswer::Error("E", "m")},
        {at + "has error: no details", ScriptedAnswer::ErrorWithoutDetails()},
        {at + "was answered with no tree", ScriptedAnswer::Text("<html>")},
        {at + "was answered without \"results\"", Results(R"([{"id":"1"}])")},
        {at + "was answered with a job that is no tree", Results(R"({"results":["1"],"total":1})")},
        {at + "was answered without \"total\"", Results(R"({"results":[],"total":"5"})")},
        {at + "was answered with a \"limit\" that is no number",
         Results(R"({"results":[],"limit":null,"total":0})")},
        {noId, Results(R"({"results":[{"id":"1"},{"id":""}],"total":1})")},
        {noId, Results(R"({"results":[{"id":1}],"total":1})")},
    };
    for (const auto& [failure, answer] : rows) {
        const auto find = [this, &scripted = answer] { Find(scripted); };
        EXPECT_THAT(find, ThrowsMessage<std::runtime_error>(failure));
    }
    EXPECT_EQ(limit, 25);
    EXPECT_EQ(total, -1);
}

TEST_F(JobManagerOnTheBus, ARemovalIsDoneOnlyWhenTheAnswerSaysSo) {
    const std::pair<ScriptedAnswer, bool> rows[] = {
        {Results(R"({"id":"9"})"), true},
        {Results("{}"), false},
        {Results("[1]"), false},
        {ScriptedAnswer::Error("E", "m"), false},
        {ScriptedAnswer::TimedOut(), false},
        {ScriptedAnswer::Late(Parameters::fromJSON(R"({"id":"1"})")), false},
    };
    for (const auto& [answer, isDone] : rows) {
        bus->Restart("removeJob", answer);
        JobInfo removed;
        removed.name = "before";
        EXPECT_EQ(JobManager().RemoveJob(bus, Parameters(), "1", removed), isDone);
        EXPECT_EQ(removed.jobId + removed.name, isDone ? "1" : "before");
        EXPECT_EQ(bus->Sent().front().dispatch.parameters.toJSON(), R"({"id":"1"})");
    }
}

TEST(JobStatusOfText, IsThatOfAJobStateByItsExactName) {
    const std::pair<const char*, int> rows[] = {
        // clients see the numbers
        {"Created", 1}, {"Readied", 1},   {"Evaluated", 1}, {"Tasked", 1}, {"Completed", 2},
        {"Failed", 3},  {"Canceled", 5},  {"Suspended", 4}, {"", 0},       {"InProgress", 0},
        {"Unknown", 0}, {"completed", 0}, {"Cancelled", 0}};
    for (const auto& [text, number] : rows) {
        EXPECT_EQ(static_cast<int>(StrToJobStatus(text)), number) << text;
    }
}

}  // namespace
}  // namespace CommonServices
