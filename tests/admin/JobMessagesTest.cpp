#include "handlers/admin/JobMessages.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include "Core/src/TreeValues.h"
#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class Listing : public AdminFixture {
protected:
    /// Gives pages of `count` jobs with the ids 0, 1, ... Every 50th is of a known kind, the one behind it of
    /// none, the next no tree at all, all others are of the kind "other".
    static ScriptedAnswer Monitor(std::int32_t count) {
        return ScriptedAnswer::From([count](const auto& dispatch) {
            std::int32_t offset = 0;
            EXPECT_TRUE(dispatch.parameters.GetParameter("offset", offset));
            std::string jobs;
            for (std::int32_t id = offset; id < std::min(offset + 100, count); ++id) {
                const std::string kind = id % 50 == 0   ? R"("kind":"orvik.quillon.relink",)"
                                         : id % 50 == 1 ? ""
                                                        : R"("kind":"other",)";
                const std::string job = "{" + kind + R"("id":)" + std::to_string(id) + "}";
                jobs += (id > offset ? "," : "") + (id % 50 == 2 ? R"("no tree")" : job);
            }
            return MessageAnswer::OfResults(Json(R"({"results":[)" + jobs + "]}"));
        });
    }

    /// "<how many>: <first id>..<last id>".
    std::string Summary(const std::string& request) {
        const std::string answer = Answer(handler, request);
        const auto jobs = Json(answer.substr(3));
        const auto count = jobs.GetArrayNumValues("results");
        const auto idOf = [&jobs](std::size_t n) {
            return std::to_string(GetRequiredInt(jobs.GetArrayNthChildParameters("results", n), "id"));
        };
        return count > 0 ? std::to_string(count) + ": " + idOf(0) + ".." + idOf(count - 1) : answer;
    }

    FindJobsEx handler;
};

TEST_F(Listing, SkipsAndCountsOnlyJobsThatPass) {
    const std::tuple<const char*, int, const char*, const char*, std::size_t> rows[] = {
        // of so many jobs, what is asked, what is listed, by how many queries
        {"other types", 300, R"({"limit":"3","offset":true,"kinds":"other","kind":5})", "25: 0..25", 1},
        {"a page across two queries", 300, R"({"offset":1,"limit":90})", "90: 92..183", 2},
        {"a page behind the thousandth", 5000, R"({"offset":50,"limit":50})", "OK {}", 10},
        {"the least limit", 300, R"({"limit":-2147483648})", "1: 0..0", 1},
        {"offset below 0", 300, R"({"offset":-1,"limit":2})", "2: 0..1", 1},
        {"limit below 0 skips by the product", 300, R"({"offset":-3,"limit":-1})", "1: 4..4", 1},
        {"a product that wraps to 0", 300, R"({"offset":65536,"limit":65536})", "294: 0..299", 4},
        {"Weftline kinds", 5000, R"({"kindIsWeftline":true,"kinds":["other"]})", "20: 0..950", 10},
        {"one kind", 5000, R"({"kind":"orvik.quillon.relink","offset":2,"limit":3})", "3: 300..400", 5},
        {"several kinds", 300, R"({"kinds":["other",""],"kind":"x"})", "25: 3..27", 1},
        {"kinds, none to be read", 300, R"({"kinds":["",5,{}],"kind":"none"})", "25: 0..25", 1},
    };
    for (const auto& [name, count, request, expected, queries] : rows) {
        bus->Restart("findJobs", Monitor(count));
        EXPECT_EQ(Summary(request), expected) << name;
        EXPECT_EQ(bus->CountSent(), queries) << name;
    }
}

TEST_F(Listing, FiltersByCreatorAndParentAtTheMonitor) {
    const std::string own = R"("createdBy":{"identityId":"ada"})";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"ada", "{}", own},
        {"", R"({"createdByAny":false})", ""},
        {"ada", R"({"createdByAny":true,"isRoot":"true","parentID":7})", ""},
        {"ada", R"({"isRoot":true})", own + R"(,"parent":{"id":null})"},
        {"ada", R"({"isRoot":true,"parentID":"p"})", own + R"(,"parent":{"id":"p"})"},
    };
    for (const auto& [identity, request, filter] : rows) {
        bus->Restart("findJobs", Results("{}"));
        EXPECT_EQ(Answer(handler, request, identity), "OK {}");
        EXPECT_THAT(Sent(),
                    ElementsAre(R"(orvik.job.monitor/global/1/findJobs {"offset":0,"limit":100,"body":{)" +
                                filter + "}}"));
        EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000));
    }
}

TEST_F(Listing, GivesWhatItHasWhenTheMonitorFails) {
    const std::string talk = "PartTimeJobHandlers - DoOneQueryToJobMonitor() ";
    const std::string noResults = "\n" + talk + "GetResults() returned false\n";
    const std::pair<ScriptedAnswer, std::string> rows[] = {
        {ScriptedAnswer::Late(Json(R"({"results":[{"id":"late"}]})")),
         talk + "failed WaitForDone - no results obtained\n"},
        {ScriptedAnswer::Error("E", "m"), noResults},
        {ScriptedAnswer::Text("<html>"), noResults},
        {Results(R"({"results":{"id":"x"}})"), ""},
    };
    for (const auto& [answer, printed] : rows) {
        bus->Restart("findJobs", Monitor(300));
        bus->On("findJobs", answer);
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Summary(R"({"limit":200})"), "98: 0..99");
        EXPECT_EQ(console.Text(), printed);
    }
}

TEST_F(Listing, LoggingShowsEveryStep) {
    bus->On("findJobs", Results(R"({"results":[{"id":"j"}]})"));
    const std::string page = "{\n  \"results\": [\n    {\n      \"id\": \"j\"\n    }\n  ]\n}\n";
    EXPECT_EQ(Outcome(handler, R"({"logging":true,"limit":2})"),
              "OK {\"results\":[{\"id\":\"j\"}]} | "
              "findJobsEx - params: {\n  \"logging\": true,\n  \"limit\": 2\n}\n"
              "\t ExtractIdentityIdFromMessage - contextParams: \n{}\n"
              "\nPartTimeJobHandler - DoOneQueryToJobMonitor - Params follow: \n"
              "{\n  \"offset\": 0,\n  \"limit\": 100,\n  \"body\": {}\n}\n"
              "\nPartTimeJobHandler - AccumulateResults() called - itemCountOffset: 0 clientLimit: 2 "
              "oneResultParams: " +
                  page + "findJobsEx final resultParams: " + page);
}

class Removal : public AdminFixture {
protected:
    /// The monitor's answer about one job.
    static ScriptedAnswer Found(const std::string& job) { return Results(R"({"body":{)" + job + "}}"); }
    static ScriptedAnswer FoundWithStatus(const std::string& status) {
        return Found(R"("clientKey":"k","id":"7","status":")" + status + "\"");
    }

    RemoveJobEx handler;
    const std::string request = R"({"clientKey":"k"})";
};

TEST_F(Removal, AsksForTheJobAndRemovesItById) {
    for (const std::string status : {"Completed", "Failed", "Canceled"}) {
        bus->Restart("findJob", FoundWithStatus(status));
        bus->On("removeJob", Results(R"({"failed":true})"));
        EXPECT_EQ(Outcome(handler, request, "ada"), "OK {} | ") << status;
        const std::string identity = R"(,"identity":{"identityId":"ada"}})";
        EXPECT_THAT(Sent(), ElementsAre(R"(orvik.job.monitor/global/1/findJob {"clientKey":"k")" + identity,
                                        R"(orvik.job.monitor/global/1/removeJob {"id":"7")" + identity));
    }
    bus->Restart("findJob", Found(R"("id":"7","status":"Failed")"));
    bus->On("removeJob", Results(R"({"id":"7"})"));
    EXPECT_EQ(Answer(handler, "{}"), "OK {}") << "a blank key counts as one";
}

TEST_F(Removal, RefusesInTheOrderOfItsChecks) {
    const auto check = [this](const std::string& failure, const std::string& printed) {
        EXPECT_EQ(Outcome(handler, request), "GENERIC_SERVICE_ERROR: " + failure +
                                                 " | removeJobEx failed with details: " + printed + "\n");
    };
    const std::string slow = " on job.monitor failed to complete in wait time - 10000ms";
    const std::string error = "findJob on job.monitor has error: ";
    const std::string noBody = "failed to get body from theFindResults for clientKey: k";
    const std::string otherJob = "FindOneJobdid not find the correct job by clientKey";
    const std::string badStatus = "Found job had invalid status for deletion: ";
    const std::pair<ScriptedAnswer, std::string> rows[] = {
        {ScriptedAnswer::Never(), "findJob" + slow},
        {ScriptedAnswer::TimedOut(), "findJob on job.monitor timed out"},
        {ScriptedAnswer::Error("NO", "such job"), error + "NO : such job"},
        {ScriptedAnswer::ErrorWithoutDetails(), error + "failed to get error details"},
        {ScriptedAnswer::Text("<html>"), noBody},
        {Results(R"({"job":{}})"), noBody},
        {Found(R"("clientKey":"K","status":"Tasked")"), otherJob},
        {Found(R"("clientKey":5,"id":"7")"), otherJob},
        {Found(R"("clientKey":"k","id":"","status":"Tasked")"), "FindOneJob returned no job id????"},
        {FoundWithStatus("completed"), badStatus + "completed"},
        {Found(R"("clientKey":"k","id":"7")"), badStatus},
    };
    for (const auto& [found, failure] : rows) {
        bus->Restart("findJob", found);
        check(failure, failure);
        EXPECT_EQ(bus->CountSent(), 1U) << failure;
    }
    bus->Restart("findJob", FoundWithStatus(R"(x\n1 jobs deleted.)"));
    check(badStatus + "x\n1 jobs deleted.", badStatus + R"(x\x0a1 jobs deleted.)");

    const std::string notDone = "DoRemoveJob was unable to removeJob and failed to provide any results";
    for (const auto& [answer, failure] :
         {std::pair(ScriptedAnswer::Never(), "removeJob" + slow),
          std::pair(ScriptedAnswer::Text("{"), notDone), std::pair(Results("{}"), notDone),
          std::pair(Results("[1]"), notDone)}) {
        bus->Restart("findJob", FoundWithStatus("Completed"));
        bus->On("removeJob", answer);
        check(failure, failure);
    }
    bus->Restart("findJob", ScriptedAnswer::Throws([] { throw std::runtime_error("no bus"); }));
    EXPECT_EQ(Answer(handler, "{}"), "thrown no bus") << "what the bus throws is the platform's to answer";
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
