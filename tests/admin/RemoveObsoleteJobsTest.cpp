#include "handlers/admin/RemoveObsoleteJobsHandler.h"

#include <stdexcept>

#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

constexpr char kRequest[] = R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})";

class Purge : public AdminFixture {
protected:
    /// Carries out the purge of what `findJobsByKind` gives, and says what it printed.
    std::string Run(const ScriptedAnswer& found, const std::string& request = kRequest) {
        bus->Restart("findJobsByKind", found);
        bus->On("removeJob", Results(R"({"id":"gone"})"));
        return Continue(request);
    }
    std::string Continue(const std::string& request) {
        RemoveObsoleteJobsHandler handler(connection, kRunInPlace);
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, request, "ada"), "OK {}");
        return console.Text();
    }

    /// The ids in the order of their removal, and "<offset>+<limit>" of each page that was asked for.
    std::vector<std::string> Removed() const { return Told("removeJob"); }
    std::vector<std::string> Pages() const { return Told("findJobsByKind"); }

private:
    std::vector<std::string> Told(const std::string& operation) const {
        std::vector<std::string> told;
        for (const auto& [kind, dispatch] : bus->Sent()) {
            std::string id;
            std::int32_t offset = 0;
            std::int32_t limit = 0;
            if (dispatch.operation != operation) {
                continue;
            }
            if (!dispatch.parameters.GetParameter("id", id)) {
                dispatch.parameters.GetParameter("offset", offset);
                dispatch.parameters.GetParameter("limit", limit);
                id = std::to_string(offset) + "+" + std::to_string(limit);
            }
            told.push_back(id);
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
    struct Row {
        std::string name;
        std::string date;
        bool isRemoved;
    };
    const Row rows[] = {
        {"a second before", "2024-05-06T07:08:08.000Z", true},
        {"the same second", "2024-05-06T07:08:09.000Z", false},
        {"a fraction of six digits", "2024-05-06T07:08:08.999999", true},
        {"a fraction of two digits, which takes the seconds along", "2023-05-06T07:08:08.12", false},
        {"no fraction", "2023-05-06T07:08:08", false},
        {"a zone alone", "2023-05-06T07:08:08Z", false},
        {"a tail that cuts the seconds", "2024-05-06T07:08:59.123", false},
        {"an old one with a tail that cuts the seconds", "2001-01-01T00:00:59.123", true},
        {"a year of two digits", "24-05-06T07:08:08.000Z", false},
        {"a tail that cuts a zero", "2024-05-06T07:08:00.123", true},
        {"missing", "", false},
        {"shorter than the tail", "2023", false},
        {"a day and a zone", "2023-05-06+0000", false},
        {"no such day", "2023-02-30T00:00:00.000Z", false},
        {"just before 1970", "1969-12-31T23:59:59.000Z", true},
    };
    for (const Row& row : rows) {
        const std::size_t removed = row.isRemoved ? 1 : 0;
        EXPECT_EQ(Run(Results(Page(Job("j", row.date)))), std::to_string(removed) + " jobs deleted.\n")
            << row.name;
        EXPECT_EQ(Removed().size(), removed) << row.name;
    }
}

TEST_F(Purge, EndsWhateverTheManagerTellsOfItsPages) {
    struct Row {
        std::string name;
        std::string answer;  // to each question
        std::vector<std::string> pages;
        std::size_t removed;
    };
    const std::string job = Job("j", "2001-01-01T00:00:00.000Z");
    const Row rows[] = {
        {"nothing", Page("", R"("total":0)"), {"0+25"}, 0},
        {"a total below 0", Page(job, R"("total":-5)"), {"0+25"}, 1},
        {"two pages", Page(job, R"("total":26)"), {"0+25", "25+25"}, 2},
        {"a smaller page", Page(job, R"("limit":10,"total":25)"), {"0+25", "10+10", "20+10"}, 3},
        {"a page beyond all", Page(job, R"("limit":2147483647,"total":2147483647)"), {"0+25"}, 1},
        {"limit 0", Page(job + "," + job, R"("limit":0,"total":4)"), {"0+25", "2+25"}, 4},
        {"limit below 0", Page(job, R"("limit":-2147483648,"total":3)"), {"0+25", "1+25", "2+25"}, 3},
        {"empty pages", Page("", R"("total":26)"), {"0+25", "25+25"}, 0},
        {"an empty page without a size", Page("", R"("limit":0,"total":9)"), {"0+25"}, 0},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Run(Results(row.answer)), std::to_string(row.removed) + " jobs deleted.\n") << row.name;
        EXPECT_EQ(Pages(), row.pages) << row.name;
    }
}

TEST_F(Purge, LooksBehindEmptyPagesButNotForEver) {
    const std::string many = R"("limit":1,"total":2147483647)";
    bus->On("removeJob", Results(R"({"id":"gone"})"));
    bus->On("findJobsByKind", Results(Page("", many)));
    bus->On("findJobsByKind", Results(Page(Job("j", "2001-01-01T00:00:00.000Z"), many)));
    bus->On("findJobsByKind", Results(Page("", many)));
    EXPECT_EQ(Continue(kRequest), "1 jobs deleted.\n");
    EXPECT_EQ(Pages().size(), 1002U);
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
    bus->On("removeJob", Results(R"({"id":"gone"})"));
    EXPECT_EQ(Continue(kRequest), "3 jobs deleted.\n");
    EXPECT_THAT(Removed(), ElementsAre("a1", "a2", "a", "b", "c"));
    EXPECT_EQ(Sent().front(), R"(orvik.job.monitor/global/1/findJobsByKind )"
                              R"({"kind":"k","offset":0,"limit":25,"identity":{"identityId":"ada"}})");
}

TEST_F(Purge, TakesTheIdentityFromTheTopLevelAlone) {
    const auto context = std::make_shared<PlatformAbstraction::Messaging::MessageContext>(
        Json(R"({"context":{"identity":{"identityId":"inner"}}})"), bus);
    PlatformAbstraction::Messaging::ServiceMessageResponse response;
    const ConsoleCapture console(std::cout);
    RemoveObsoleteJobsHandler(connection, kRunInPlace).HandleMessage(context, Json(kRequest), response);
    EXPECT_THAT(Sent(), ElementsAre(testing::EndsWith(R"( {"kind":"k","offset":0,"limit":25})")));
}

TEST_F(Purge, StopsWithALineAndRemovesNothing) {
    const auto jobs = Results(Page(Job("j", "2001-01-01T00:00:00.000Z")));
    const auto throwing = [](auto what) { return ScriptedAnswer::Throws([what] { throw what; }); };
    const std::string noTime = "Failed to parse as a date and time: ";
    struct Row {
        std::string name;
        std::string request;
        ScriptedAnswer found;
        std::string printed;
    };
    const Row rows[] = {
        {"no date", R"({"kind":"k"})", jobs, "Failed to extract: CreationDate\n"},
        {"no kind", R"({"CreationDate":"2024-05-06T07:08:09"})", jobs, "Failed to extract: kind\n"},
        {"no date at all", R"({"CreationDate":"soon","kind":"k"})", jobs, noTime + "soon\n"},
        {"a day alone", R"({"CreationDate":"2024-05-06","kind":"k"})", jobs, noTime + "2024-05-06\n"},
        {"a year of two digits", R"({"CreationDate":"24-05-06T07:08:09.000Z","kind":"k"})", jobs,
         noTime + "24-05-06T07:08:09.000Z\n"},
        {"lines in a date", R"({"CreationDate":"a\n\u0000b\u007f","kind":"k"})", jobs,
         noTime + "a\\x0a\\x00b\\x7f\n"},
        {"a date that goes on", R"({"CreationDate":")" + std::string(63, 'a') + R"(\u00e9","kind":"k"})",
         jobs, noTime + std::string(63, 'a') + "...\n"},
        {"lines of the manager", kRequest, ScriptedAnswer::Error("E", "m\n9 jobs deleted."),
         "findJobsByKind at the job manager has error: E : m\\x0a9 jobs deleted.\n"},
        {"a bus that is gone", kRequest, throwing(std::runtime_error("gone")), "gone\n"},
        {"anything else", kRequest, throwing(5), "Unexpected error encountered.\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Run(row.found, row.request), row.printed) << row.name;
        EXPECT_THAT(Removed(), SizeIs(0)) << row.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
