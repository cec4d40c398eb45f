#include "handlers/admin/JobMessages.h"

#include <stdexcept>

#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class Removal : public AdminFixture {
protected:
    /// The monitor's answer about one job.
    static ScriptedAnswer Found(const std::string& job) { return Results(R"({"body":{)" + job + "}}"); }

    RemoveJobEx handler;
    const std::string request = R"({"clientKey":"k"})";
};

TEST_F(Removal, AsksForTheJobAndRemovesItById) {
    for (const std::string status : {"Completed", "Failed", "Canceled"}) {
        bus->Restart("findJob", Found(R"("clientKey":"k","id":"7","status":")" + status + "\""));
        bus->On("removeJob", Results(R"({"failed":true})"));
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, request, "ada") + console.Text(), "OK {}") << status;
        const std::string identity = R"(,"identity":{"identityId":"ada"}})";
        EXPECT_THAT(Sent(), ElementsAre(R"(orvik.job.monitor/global/1/findJob {"clientKey":"k")" + identity,
                                        R"(orvik.job.monitor/global/1/removeJob {"id":"7")" + identity));
        EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000, 10'000'000));
    }
    bus->Restart("findJob", Found(R"("id":"7","status":"Failed")"));
    bus->On("removeJob", Results(R"({"id":"7"})"));
    EXPECT_EQ(Answer(handler, "{}"), "OK {}") << "a blank key counts as one";
}

TEST_F(Removal, RefusesInTheOrderOfItsChecks) {
    struct Row {
        std::string name;
        ScriptedAnswer found;
        std::string failure;
        std::string printed = failure;
    };
    const std::string slow = " on job.monitor failed to complete in wait time - 10000ms";
    const std::string error = "findJob on job.monitor has error: ";
    const std::string noBody = "failed to get body from theFindResults for clientKey: k";
    const std::string otherJob = "FindOneJobdid not find the correct job by clientKey";
    const std::string badStatus = "Found job had invalid status for deletion: ";
    const Row rows[] = {
        {"no answer", ScriptedAnswer::Never(), "findJob" + slow},
        {"timed out", ScriptedAnswer::TimedOut(), "findJob on job.monitor timed out"},
        {"error", ScriptedAnswer::Error("NO", "such job"), error + "NO : such job"},
        {"error alone", ScriptedAnswer::ErrorWithoutDetails(), error + "failed to get error details"},
        {"no results", ScriptedAnswer::Text("<html>"), noBody},
        {"no body", Results(R"({"job":{}})"), noBody},
        {"body is an array", Results(R"({"body":[{"clientKey":"k"}]})"), otherJob},
        {"other job", Found(R"("clientKey":"K","status":"Tasked")"), otherJob},
        {"key of another type", Found(R"("clientKey":5,"id":"7")"), otherJob},
        {"no id", Found(R"("clientKey":"k","id":"","status":"Tasked")"), "FindOneJob returned no job id????"},
        {"at work", Found(R"("clientKey":"k","id":"7","status":"Tasked")"), badStatus + "Tasked"},
        {"other case", Found(R"("clientKey":"k","id":"7","status":"completed")"), badStatus + "completed"},
        {"no status", Found(R"("clientKey":"k","id":"7")"), badStatus},
        {"a forged line", Found(R"("clientKey":"k","id":"7","status":"x\n1 jobs deleted.")"),
         badStatus + "x\n1 jobs deleted.", badStatus + "x\\x0a1 jobs deleted."},
    };
    const auto check = [this](const Row& row) {
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, request), "GENERIC_SERVICE_ERROR: " + row.failure) << row.name;
        EXPECT_EQ(console.Text(), "removeJobEx failed with details: " + row.printed + "\n") << row.name;
    };
    for (const Row& row : rows) {
        bus->Restart("findJob", row.found);
        check(row);
        EXPECT_EQ(bus->CountSent(), 1U) << row.name;
    }
    const std::string notDone = "DoRemoveJob was unable to removeJob and failed to provide any results";
    const Row removals[] = {
        {"no answer", ScriptedAnswer::Never(), "removeJob" + slow},
        {"no results", ScriptedAnswer::Text("{"), notDone},
        {"empty answer", Results("{}"), notDone},
        {"an array", Results("[1]"), notDone},
    };
    for (const Row& row : removals) {
        bus->Restart("findJob", Found(R"("clientKey":"k","id":"7","status":"Completed")"));
        bus->On("removeJob", row.found);
        check(row);
    }
}

TEST_F(Removal, WhatTheBusThrowsIsThePlatformsToAnswer) {
    bus->On("findJob", ScriptedAnswer::Throws([] { throw std::runtime_error("the bus is gone"); }));
    EXPECT_EQ(Answer(handler, "{}"), "thrown the bus is gone");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
