#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "GetAudioFormatsMsg.h"
#include "GetColorSpacesMsg.h"
#include "GetExportTypesMsg.h"
#include "GetMediaCreationTypesMsg.h"
#include "GetS3DModesMsg.h"
#include "GetVideoFormatsMsg.h"
#include "ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;
using TestSupport::ScriptedAnswer;

class CatalogueProxy : public ResultsFixture {};

TEST_F(CatalogueProxy, EachPassesItsRequestOnUnchangedAndHandsTheResultsBack) {
    struct Row {
        std::string operation;
        std::shared_ptr<GenericProxyMsg> proxy;
    };
    const Row rows[] = {
        {"getVideoFormats", std::make_shared<GetVideoFormatsMsg>("farm 7")},
        {"getAudioFormats", std::make_shared<GetAudioFormatsMsg>("farm 7")},
        {"getExportTypes", std::make_shared<GetExportTypesMsg>("farm 7")},
        {"getMediaCreationTypes", std::make_shared<GetMediaCreationTypesMsg>("farm 7")},
        {"getColorSpaces", std::make_shared<GetColorSpacesMsg>("farm 7")},
        {"getS3DModes", std::make_shared<GetS3DModesMsg>("farm 7")},
    };
    for (const auto& [operation, proxy] : rows) {
        SCOPED_TRACE(operation);
        bus->On(operation, ScriptedAnswer::Results(Parameters::fromJSON(R"({"results":{"n":1e400},"x":1})")));
        for (const std::string request : {R"({"any":[1,{"k":null}],"body":{"results":1}})", "{}"}) {
            EXPECT_EQ(Answer(*proxy, request), R"(OK {"n":1e400})");
            const TestSupport::SentMessage sent = bus->Sent().back();
            EXPECT_EQ(sent.kind, TestSupport::SentMessage::Kind::Request);
            EXPECT_EQ(sent.dispatch.service, "orvik.quillon.processing.metadata.worker");
            EXPECT_EQ(sent.dispatch.realm, "farm 7");
            EXPECT_EQ(sent.dispatch.version, 1);
            EXPECT_EQ(sent.dispatch.operation, operation);
            EXPECT_EQ(sent.dispatch.parameters.toJSON(), request);
            EXPECT_EQ(bus->Waits().back(), 10'000'000);
        }
    }
    EXPECT_EQ(bus->CountSent(), 12U);
}

TEST_F(CatalogueProxy, AnswersWithWhateverTheOtherServiceCameTo) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to "
        "orvik.quillon.processing.metadata.worker ";
    const std::string failed = R"(GENERIC_SERVICE_ERROR: Exception {"Description":")" + query + R"(FAILED",)";
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string expected;
    };
    const Row rows[] = {
        {"an array", ScriptedAnswer::Text(R"({"results":[{"a":1}]})"), R"(OK [{"a":1}])"},
        {"no results", ScriptedAnswer::Results(Parameters::fromJSON(R"({"a":1})")), "OK {}"},
        {"results that are no tree", ScriptedAnswer::Text(R"({"results":"a"})"), "OK {}"},
        {"no JSON", ScriptedAnswer::Text("results"), "OK {}"},
        {"error", ScriptedAnswer::Error("C", "M", Parameters::fromJSON(R"({"d":1})")),
         failed + R"("ErrorString":"C","ErrorDetails":"M"})"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(),
         failed + R"("ErrorDetails":"<<NO ERROR DETAILS>>"})"},
        {"given up by the bus", ScriptedAnswer::TimedOut(),
         failed + R"("ErrorDetails":"<<NO ERROR DETAILS>>"})"},
        {"no end", ScriptedAnswer::Never(), "GENERIC_SERVICE_ERROR: Exception: " + query + "Timeout {}"},
        {"too late", ScriptedAnswer::Late(Parameters::fromJSON(R"({"results":{"a":1}})")),
         "GENERIC_SERVICE_ERROR: Exception: " + query + "Timeout {}"},
        {"not sent", ScriptedAnswer::Throws([] { throw std::runtime_error("no bus"); }),
         "GENERIC_SERVICE_ERROR: Exception: no bus {}"},
    };
    for (const Row& row : rows) {
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On("getColorSpaces", row.answer);
        GetColorSpacesMsg proxy("realm");
        EXPECT_EQ(Answer(proxy, "{}"), row.expected) << row.name;
        EXPECT_EQ(bus->CountSent(), 1U) << row.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
