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
using TestSupport::FakeBusMessaging;
using TestSupport::ScriptedAnswer;

class JobManagerOnTheBus : public testing::Test {
protected:
    static ScriptedAnswer Results(const std::string& json) { return ScriptedAnswer::Text(json); }
    std::vector<JobInfo> Find(const ScriptedAnswer& answer) {
        bus->Restart("findJobsByKind", answer);
        return JobManager().FindJobsByKind(bus, identity, "k", 5, limit, total);
    }

    const Parameters identity = Parameters::fromJSON(R"({"identityId":"ada"})");
    std::int32_t limit = 25;
    std::int32_t total = -1;
    const std::shared_ptr<FakeBusMessaging> bus = std::make_shared<FakeBusMessaging>();
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
    JobInfo blank;
    blank.jobId = "3";
    EXPECT_EQ(WriteJobInfo(jobs[1]), WriteJobInfo(blank));
    EXPECT_EQ(std::pair(limit, total), std::pair(10, 12));
    const auto sent = bus->Sent().front().dispatch;
    EXPECT_EQ(sent.service + "/" + sent.realm + "/" + std::to_string(sent.version) + sent.parameters.toJSON(),
              R"(jobs.elsewhere/global/1{"kind":"k","offset":5,"limit":25,"identity":{"identityId":"ada"}})");
    EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000));
}

TEST_F(JobManagerOnTheBus, ThrowsForEveryAnswerThatIsNoPage) {
    const std::string at = "findJobsByKind at the job manager ";
    const std::pair<std::string, ScriptedAnswer> rows[] = {
        {at + "was not answered in time", ScriptedAnswer::Never()},
        {at + "has error: E : m", ScriptedAnswer::Error("E", "m")},
        {at + "has error: no details", ScriptedAnswer::ErrorWithoutDetails()},
        {at + "was answered with no tree", Results("<html>")},
        {at + "was answered without \"results\"", Results(R"([{"id":"1"}])")},
        {at + "was answered with a job that is no tree", Results(R"({"results":["1"],"total":1})")},
        {at + "was answered without \"total\"", Results(R"({"results":[],"total":"5"})")},
        {at + "was answered with a \"limit\" that is no number",
         Results(R"({"results":[],"limit":null,"total":0})")},
        {R"("id" of a job is missing)", Results(R"({"results":[{"id":"1"},{"id":2}],"total":2})")},
    };
    for (const auto& [failure, answer] : rows) {
        const auto find = [this, &scripted = answer] { Find(scripted); };
        EXPECT_THAT(find, ThrowsMessage<std::runtime_error>(failure));
    }
    EXPECT_EQ(std::pair(limit, total), std::pair(25, -1));
}

TEST_F(JobManagerOnTheBus, ARemovalIsDoneOnlyWhenTheAnswerSaysSo) {
    for (const auto& answer : {Results(R"({"id":"9"})"), Results("{}"), Results("[1]"), Results("<html>"),
                               ScriptedAnswer::Error("E", "m"), ScriptedAnswer::Never()}) {
        const bool isDone = bus->CountSent() == 0;  // by the first one
        bus->Restart("removeJob", answer);
        JobInfo removed;
        removed.name = "before";
        EXPECT_EQ(JobManager().RemoveJob(bus, Parameters(), "1", removed), isDone);
        EXPECT_EQ(removed.jobId + removed.name, isDone ? "1" : "before");
        EXPECT_EQ(bus->Sent().front().dispatch.parameters.toJSON(), R"({"id":"1"})");
    }
}

}  // namespace
}  // namespace CommonServices
