#include "RemoveJobEx.h"

#include <gmock/gmock.h>

#include <iostream>
#include <stdexcept>

#include "AdminFixture.h"
#include "ConsoleCapture.h"

namespace Weftline::Services::Scheduler {
namespace {

using testing::ElementsAre;
using TestSupport::ConsoleCapture;
using TestSupport::ScriptedAnswer;

class Removal : public AdminFixture {
protected:
    RemoveJobEx handler;
};

TEST_F(Removal, AsksForTheJobAndRemovesItById) {
    for (const std::string status : {"Completed", "Failed", "Canceled"}) {
        SCOPED_TRACE(status);
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On("findJob", Results(R"({"body":{"clientKey":"k","id":"7","status":")" + status + "\"}}"));
        bus->On("removeJob", Results(R"({"failed":true})"));
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, R"({"clientKey":"k"})", "ada"), "OK {}");
        EXPECT_EQ(console.Text(), "");
        EXPECT_THAT(
            Sent(),
            ElementsAre(
                R"(orvik.job.monitor/global/1/findJob {"clientKey":"k","identity":{"identityId":"ada"}})",
                R"(orvik.job.monitor/global/1/removeJob {"id":"7","identity":{"identityId":"ada"}})"));
        EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000, 10'000'000));
    }
    // A blank key counts as one, with which the monitor may answer.
    bus = std::make_shared<TestSupport::FakeBusMessaging>();
    bus->On("findJob", Results(R"({"body":{"id":"7","status":"Failed"}})"));
    bus->On("removeJob", Results(R"({"id":"7"})"));
    EXPECT_EQ(Answer(handler, "{}"), "OK {}");
}

TEST_F(Removal, RefusesInTheOrderOfItsChecks) {
    struct Row {
        std::string name;
        ScriptedAnswer found;
        ScriptedAnswer removed;
        std::string failure;
    };
    const auto done = Results(R"({"id":"7"})");
    const auto good = Results(R"({"body":{"clientKey":"k","id":"7","status":"Completed"}})");
    const auto text = [](const std::string& json) { return ScriptedAnswer::Text(json); };
    const std::string noBody = "failed to get body from theFindResults for clientKey: k";
    const std::string otherJob = "FindOneJobdid not find the correct job by clientKey";
    const std::string noId = "FindOneJob returned no job id????";
    const std::string badStatus = "Found job had invalid status for deletion: ";
    const std::string notDone = "DoRemoveJob was unable to removeJob and failed to provide any results";
    const std::string slow = " on job.monitor failed to complete in wait time - 10000ms";
    const std::string error = " on job.monitor has error: ";
    const Row rows[] = {
        {"find: no answer", ScriptedAnswer::Never(), done, "findJob" + slow},
        {"find: timed out", ScriptedAnswer::TimedOut(), done, "findJob on job.monitor timed out"},
        {"find: error", ScriptedAnswer::Error("NO", "such job"), done, "findJob" + error + "NO : such job"},
        {"find: error alone", ScriptedAnswer::ErrorWithoutDetails(), done,
         "findJob" + error + "failed to get error details"},
        {"find: no results", text("<html>"), done, noBody},
        {"no body", Results(R"({"job":{}})"), done, noBody},
        {"body is an array", Results(R"({"body":[{"clientKey":"k"}]})"), done, otherJob},
        {"other job", Results(R"({"body":{"clientKey":"K","status":"Tasked"}})"), done, otherJob},
        {"key of another type", Results(R"({"body":{"clientKey":5,"id":"7"}})"), done, otherJob},
        {"no id", Results(R"({"body":{"clientKey":"k","id":"","status":"Tasked"}})"), done, noId},
        {"at work", Results(R"({"body":{"clientKey":"k","id":"7","status":"Tasked"}})"), done,
         badStatus + "Tasked"},
        {"other case", Results(R"({"body":{"clientKey":"k","id":"7","status":"completed"}})"), done,
         badStatus + "completed"},
        {"no status", Results(R"({"body":{"clientKey":"k","id":"7"}})"), done, badStatus},
        {"remove: no answer", good, ScriptedAnswer::Never(), "removeJob" + slow},
        {"remove: no results", good, text("{"), notDone},
        {"remove: empty answer", good, Results("{}"), notDone},
        {"remove: an array", good, Results("[1]"), notDone},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On("findJob", row.found);
        bus->On("removeJob", row.removed);
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, R"({"clientKey":"k"})"), "GENERIC_SERVICE_ERROR: " + row.failure);
        EXPECT_EQ(console.Text(), "removeJobEx failed with details: " + row.failure + "\n");
        EXPECT_EQ(bus->CountSent(), row.name.starts_with("remove:") ? 2U : 1U);
    }
}

TEST_F(Removal, AForgedLineReachesTheClientAlone) {
    bus->On("findJob", Results(R"({"body":{"clientKey":"k","id":"7","status":"x\n1 jobs deleted."}})"));
    const ConsoleCapture console(std::cout);
    const std::string failure = "Found job had invalid status for deletion: x";
    EXPECT_EQ(Answer(handler, R"({"clientKey":"k"})"),
              "GENERIC_SERVICE_ERROR: " + failure + "\n1 jobs deleted.");
    EXPECT_EQ(console.Text(), "removeJobEx failed with details: " + failure + "\\x0a1 jobs deleted.\n");
}

TEST_F(Removal, LoggingShowsEveryStep) {
    bus->On("findJob", Results(R"({"body":{"clientKey":"k","id":"7","status":"Failed"}})"));
    bus->On("removeJob", ScriptedAnswer::Text("none"));
    const std::string noContext = "\t ExtractIdentityIdFromMessage - contextParams: \n{}\n";
    const std::string head = "removeJob - params: {\n  \"clientKey\": \"k\",\n  \"logging\": true\n}\n" +
                             noContext +
                             "\nPartTimeJobHandler - DoFindOneJob - Params follow: \n{\n  \"clientKey\": "
                             "\"k\"\n}\n";
    const std::string request = R"({"clientKey":"k","logging":true})";
    {
        const ConsoleCapture console(std::cout);
        Answer(handler, request);
        EXPECT_EQ(
            console.Text(),
            head +
                "removeJob - DoFindOneJob Results: {\n  \"body\": {\n    \"clientKey\": \"k\",\n    \"id\": "
                "\"7\",\n    \"status\": \"Failed\"\n  }\n}\n" +
                noContext +
                "\nPartTimeJobHandler - DoRemoveJob - Params follow: \n{\n  \"id\": \"7\"\n}\n"
                "\nPartTimeJobHandlers - DoRemoveJob() GetResults() returned false\n"
                "removeJob - DoRemoveJob Results: {}\n"
                "removeJobEx failed with details: DoRemoveJob was unable to removeJob and failed to "
                "provide any results\n");
    }
    bus = std::make_shared<TestSupport::FakeBusMessaging>();
    bus->On("findJob", ScriptedAnswer::Never());
    const ConsoleCapture console(std::cout);
    Answer(handler, request);
    EXPECT_EQ(console.Text(),
              head +
                  "PartTimeJobHandlers - DoFindOneJob() failed WaitForDone - no results obtained\n"
                  "removeJob - DoFindOneJob Results: {}\n"
                  "removeJobEx failed with details: findJob on job.monitor failed to complete in wait time - "
                  "10000ms\n");
}

TEST_F(Removal, WhatTheBusThrowsIsThePlatformsToAnswer) {
    bus->On("findJob", ScriptedAnswer::Throws([] { throw std::runtime_error("the bus is gone"); }));
    EXPECT_THROW(Answer(handler, "{}"), std::runtime_error);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
