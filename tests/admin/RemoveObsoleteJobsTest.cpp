#include "handlers/admin/RemoveObsoleteJobsHandler.h"

#include <tuple>

#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

constexpr char kRequest[] = R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})";

class Purge : public AdminFixture {
protected:
    /// Carries out the purge of what `findJobsByKind` gives, and says what it printed.
    std::string Run(const ScriptedAnswer& found, const std::string& request = kRequest) {
        bus->Restart("findJobsByKind", found);
        return Continue(request);
    }
    std::string Continue(const std::string& request = kRequest) {
        bus->On("removeJob", Results(R"({"id":"gone"})"));
        const std::string outcome =
            Outcome(RemoveObsoleteJobsHandler(connection, kRunInPlace), request, "ada");
        EXPECT_THAT(outcome, testing::StartsWith("OK {} | "));
        return outcome.substr(std::string("OK {} | ").size());
    }
    /// The bodies of what the job manager was asked.
    std::vector<std::string> Told(const std::string& operation) const {
        const std::string begin = "orvik.job.monitor/global/1/" + operation + " ";
        std::vector<std::string> told;
        for (const std::string& message : Sent()) {
            if (message.starts_with(begin)) {
                told.push_back(message.substr(begin.size()));
            }
        }
        return told;
    }
};

std::string Page(const std::string& jobs, const std::string& rest = R"("total":1)") {
    return R"({"results":[)" + jobs + "]," + rest + "}";
}

std::string Job(const std::string& id, const std::string& date, const std::string& details = "{}") {
    return R"({"id":")" + id + R"(","creationDateTime":")" + date + R"(","details":)" + details + "}";
}

TEST_F(Purge, RemovesOnlyJobsWhoseAgeIsKnown) {
    const std::tuple<std::string, std::string, int> rows[] = {
        {"a second before", "2024-05-06T07:08:08.000Z", 1},
        {"the same second", "2024-05-06T07:08:09.000Z", 0},
        {"a fraction of six digits", "2024-05-06T07:08:08.999999", 1},
        {"a fraction of two digits, which takes the seconds along", "2023-05-06T07:08:08.12", 0},
        {"a tail that cuts the seconds", "2024-05-06T07:08:59.123", 0},
        {"an old one with a tail that cuts the seconds", "2001-01-01T00:00:59.123", 1},
        {"a year of two digits", "24-05-06T07:08:08.000Z", 0},
        {"missing", "", 0},
        {"a day and a zone", "2023-05-06+0000", 0},
        {"no such day", "2023-02-30T00:00:00.000Z", 0},
        {"just before 1970", "1969-12-31T23:59:59.000Z", 1},
    };
    for (const auto& [name, date, removed] : rows) {
        EXPECT_EQ(Run(Results(Page(Job("j", date)))), std::to_string(removed) + " jobs deleted.\n") << name;
        EXPECT_THAT(Told("removeJob"), testing::SizeIs(removed)) << name;
    }
}

TEST_F(Purge, EndsWhateverTheManagerTellsOfItsPages) {
    const auto page = [](int offset, int limit = 25) {
        return R"({"kind":"k","offset":)" + std::to_string(offset) + R"(,"limit":)" + std::to_string(limit) +
               R"(,"identity":{"identityId":"ada"}})";
    };
    const std::string job = Job("j", "2001-01-01T00:00:00.000Z");
    // what answers each question, which pages are asked for, how many jobs are removed
    const std::tuple<const char*, std::string, std::vector<std::string>, int> rows[] = {
        {"a total below 0", Page(job, R"("total":-5)"), {page(0)}, 1},
        {"a smaller page", Page(job, R"("limit":10,"total":25)"), {page(0), page(10, 10), page(20, 10)}, 3},
        {"limit 0", Page(job + "," + job, R"("limit":0,"total":4)"), {page(0), page(2)}, 4},
        {"limit below 0", Page(job, R"("limit":-2147483648,"total":2)"), {page(0), page(1)}, 2},
        {"empty pages", Page("", R"("total":26)"), {page(0), page(25)}, 0},
        {"an empty page without a size", Page("", R"("limit":0,"total":9)"), {page(0)}, 0},
    };
    for (const auto& [name, answer, pages, removed] : rows) {
        EXPECT_EQ(Run(Results(answer)), std::to_string(removed) + " jobs deleted.\n") << name;
        EXPECT_EQ(Told("findJobsByKind"), pages) << name;
    }
    const std::string many = R"("limit":1,"total":2147483647)";
    bus->Restart("findJobsByKind", Results(Page("", many)));
    bus->On("findJobsByKind", Results(Page(job, many)));
    bus->On("findJobsByKind", Results(Page("", many)));
    EXPECT_EQ(Continue(), "1 jobs deleted.\n") << "empty pages are looked behind, but not for ever";
    EXPECT_EQ(Told("findJobsByKind").size(), 1002U);
}

TEST_F(Purge, RemovesSubtasksFirstAndCountsRemovals) {
    const std::string date = "2001-01-01T00:00:00.000Z";
    bus->On("findJobsByKind",
            Results(Page(Job("a", date, R"({"SubTaskJobIDs":["a1","a2"]})") + "," +
                         Job("b", date, R"({"SubTaskJobIDs":["b1",5]})") + "," +
                         Job("young", "2031-01-01T00:00:00.000Z", R"({"SubTaskJobIDs":["y"]})") + "," +
                         Job("c", date, R"({"SubTaskJobIDs":"c1"})"))));
    bus->On("removeJob", ScriptedAnswer::Error("E", "m"));
    bus->On("removeJob", ScriptedAnswer::Never());
    EXPECT_EQ(Continue(), "3 jobs deleted.\n");
    const auto of = [](const std::string& id) {
        return R"({"id":")" + id + R"(","identity":{"identityId":"ada"}})";
    };
    EXPECT_THAT(Told("removeJob"), ElementsAre(of("a1"), of("a2"), of("a"), of("b"), of("c")));
}

TEST_F(Purge, TakesTheIdentityFromTheTopLevelAlone) {
    const std::string outer = R"("identity":{"identityId":"outer"}})";
    const auto context = std::make_shared<PlatformAbstraction::Messaging::MessageContext>(
        Json(R"({"context":{"identity":{"identityId":"inner"}},)" + outer), bus);
    PlatformAbstraction::Messaging::ServiceMessageResponse response;
    const ConsoleCapture console(std::cout);
    RemoveObsoleteJobsHandler(connection, kRunInPlace).HandleMessage(context, Json(kRequest), response);
    EXPECT_THAT(Told("findJobsByKind"), ElementsAre(R"({"kind":"k","offset":0,"limit":25,)" + outer));
}

TEST_F(Purge, StopsWithALineAndRemovesNothing) {
    const auto jobs = Results(Page(Job("j", "2001-01-01T00:00:00.000Z")));
    const std::string noTime = "Failed to parse as a date and time: ";
    const auto dated = [](const std::string& date) {
        return R"({"CreationDate":")" + date + R"(","kind":"k"})";
    };
    const std::pair<std::string, std::string> requests[] = {
        {R"({"kind":"k"})", "Failed to extract: CreationDate\n"},
        {R"({"CreationDate":"2024-05-06T07:08:09"})", "Failed to extract: kind\n"},
        {dated("2024-05-06"), noTime + "2024-05-06\n"},
        {dated("24-05-06T07:08:09.000Z"), noTime + "24-05-06T07:08:09.000Z\n"},
        {dated(R"(a\n\u0000b\u007f)"), noTime + "a\\x0a\\x00b\\x7f\n"},
        {dated(std::string(63, 'a') + R"(\u00e9)"), noTime + std::string(63, 'a') + "...\n"},
    };
    for (const auto& [request, printed] : requests) {
        EXPECT_EQ(Run(jobs, request), printed);
        EXPECT_TRUE(Sent().empty()) << printed;
    }
    EXPECT_EQ(Run(ScriptedAnswer::Error("E", "m\n9 jobs deleted.")),
              "findJobsByKind at the job manager has error: E : m\\x0a9 jobs deleted.\n");
    EXPECT_EQ(Run(ScriptedAnswer::Throws([] { throw 5; })), "Unexpected error encountered.\n");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
