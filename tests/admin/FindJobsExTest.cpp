#include "handlers/admin/JobMessages.h"

#include <algorithm>

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
            std::int32_t limit = 0;
            EXPECT_TRUE(dispatch.parameters.GetParameter("offset", offset));
            EXPECT_TRUE(dispatch.parameters.GetParameter("limit", limit));
            EXPECT_EQ(limit, 100);
            Parameters answer;
            for (std::int32_t id = offset; id < std::min(offset + limit, count); ++id) {
                if (id % 50 == 2) {
                    answer.AddArrayParameter("results", "no tree");
                    continue;
                }
                Parameters job;
                job.SetParameter("id", id);
                if (id % 50 != 1) {
                    job.SetParameter("kind", id % 50 == 0 ? "orvik.quillon.relink" : "other");
                }
                answer.AddArrayChildParameters("results", job);
            }
            return MessageAnswer::OfResults(answer);
        });
    }

    /// "<how many>: <first id>..<last id>".
    std::string Summary(const std::string& request) {
        const std::string answer = Answer(handler, request);
        const auto tree = Json(answer.substr(3));
        const auto count = tree.GetArrayNumValues("results");
        const auto idOf = [&tree](std::size_t n) {
            std::int32_t id = -1;
            tree.GetArrayNthChildParameters("results", n).GetParameter("id", id);
            return std::to_string(id);
        };
        return count > 0 ? std::to_string(count) + ": " + idOf(0) + ".." + idOf(count - 1) : answer;
    }

    FindJobsEx handler;
};

TEST_F(Listing, SkipsAndCountsOnlyJobsThatPass) {
    struct Row {
        std::string name;
        std::int32_t jobs;
        std::string request;
        std::string expected;
        std::size_t queries;
    };
    const Row rows[] = {
        {"nothing asked", 300, "{}", "25: 0..25", 1},
        {"values of other types", 300, R"({"limit":"3","offset":true,"kinds":"other","kind":5})", "25: 0..25",
         1},
        {"the offset counts pages", 300, R"({"offset":2,"limit":25})", "25: 51..76", 1},
        {"a page across two queries", 300, R"({"offset":1,"limit":90})", "90: 92..183", 2},
        {"a page behind the thousandth", 5000, R"({"offset":50,"limit":50})", "OK {}", 10},
        {"limit 0", 300, R"({"limit":0})", "1: 0..0", 1},
        {"the least limit", 300, R"({"limit":-2147483648})", "1: 0..0", 1},
        {"offset below 0", 300, R"({"offset":-1,"limit":2})", "2: 0..1", 1},
        {"limit below 0 skips by the product", 300, R"({"offset":-3,"limit":-1})", "1: 4..4", 1},
        {"a product that wraps to 0", 300, R"({"offset":65536,"limit":65536})", "294: 0..299", 4},
        {"a product that wraps below 0", 300, R"({"offset":2147483647,"limit":2})", "2: 0..1", 1},
        {"a thousand jobs at most", 5000, R"({"limit":5000})", "980: 0..999", 10},
        {"no job at all", 0, "{}", "OK {}", 1},
        {"a rare kind", 5000, R"({"kindIsWeftline":true,"kind":"other","kinds":["other"]})", "20: 0..950",
         10},
        {"skipping counts behind the filter", 5000, R"({"kind":"orvik.quillon.relink","offset":2,"limit":3})",
         "3: 300..400", 5},
        {"several kinds", 300, R"({"kinds":["other","","other","none"],"kind":"orvik.quillon.relink"})",
         "25: 3..27", 1},
        {"kinds, none to be read", 300, R"({"kinds":["",5,{}],"kind":"none"})", "25: 0..25", 1},
    };
    for (const Row& row : rows) {
        bus->Restart("findJobs", Monitor(row.jobs));
        EXPECT_EQ(Summary(row.request), row.expected) << row.name;
        EXPECT_EQ(bus->CountSent(), row.queries) << row.name;
    }
}

TEST_F(Listing, FiltersByCreatorAndParentAtTheMonitor) {
    struct Row {
        std::string identity;
        std::string request;
        std::string body;
    };
    const std::string own = R"("createdBy":{"identityId":"ada"})";
    const Row rows[] = {
        {"ada", "{}", "{" + own + "}"},
        {"", R"({"createdByAny":false})", "{}"},
        {"ada", R"({"createdByAny":true})", "{}"},
        {"ada", R"({"isRoot":true})", "{" + own + R"(,"parent":{"id":null}})"},
        {"ada", R"({"isRoot":true,"parentID":"p"})", "{" + own + R"(,"parent":{"id":"p"}})"},
        {"", R"({"isRoot":"true","parentID":7})", "{}"},
    };
    for (const Row& row : rows) {
        bus->Restart("findJobs", Results("{}"));
        EXPECT_EQ(Answer(handler, row.request, row.identity), "OK {}");
        EXPECT_THAT(Sent(),
                    ElementsAre(R"(orvik.job.monitor/global/1/findJobs {"offset":0,"limit":100,"body":)" +
                                row.body + "}"));
        EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000));
    }
}

TEST_F(Listing, GivesWhatItHasWhenTheMonitorFails) {
    const std::string noAnswer =
        "PartTimeJobHandlers - DoOneQueryToJobMonitor() failed WaitForDone - no results obtained\n";
    const std::string noResults =
        "\nPartTimeJobHandlers - DoOneQueryToJobMonitor() GetResults() returned false\n";
    const std::pair<ScriptedAnswer, std::string> rows[] = {
        {ScriptedAnswer::Never(), noAnswer},
        {ScriptedAnswer::Late(Json(R"({"results":[{"id":"late"}]})")), noAnswer},
        {ScriptedAnswer::TimedOut(), noResults},
        {ScriptedAnswer::Error("E", "m"), noResults},
        {ScriptedAnswer::Text("<html>"), noResults},
        {Results(R"({"results":{"id":"x"}})"), ""},
        {Results(R"({"results":["a","b"]})"), ""},
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
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Answer(handler, R"({"logging":true,"limit":2})"), R"(OK {"results":[{"id":"j"}]})");
    const std::string page = "{\n  \"results\": [\n    {\n      \"id\": \"j\"\n    }\n  ]\n}\n";
    EXPECT_EQ(console.Text(),
              "findJobsEx - params: {\n  \"logging\": true,\n  \"limit\": 2\n}\n"
              "\t ExtractIdentityIdFromMessage - contextParams: \n{}\n"
              "\nPartTimeJobHandler - DoOneQueryToJobMonitor - Params follow: \n"
              "{\n  \"offset\": 0,\n  \"limit\": 100,\n  \"body\": {}\n}\n"
              "\nPartTimeJobHandler - AccumulateResults() called - itemCountOffset: 0 clientLimit: 2 "
              "oneResultParams: " +
                  page + "findJobsEx final resultParams: " + page);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
