#include <stdexcept>

#include "handlers/results/CatalogueMessages.h"
#include "tests/results/ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class CatalogueProxy : public ResultsFixture {};

TEST_F(CatalogueProxy, EachPassesItsRequestOnUnchangedAndHandsTheResultsBack) {
    const std::pair<std::string, std::shared_ptr<GenericProxyMsg>> rows[] = {
        {"getVideoFormats", std::make_shared<GetVideoFormatsMsg>("farm 7")},
        {"getAudioFormats", std::make_shared<GetAudioFormatsMsg>("farm 7")},
        {"getExportTypes", std::make_shared<GetExportTypesMsg>("farm 7")},
        {"getMediaCreationTypes", std::make_shared<GetMediaCreationTypesMsg>("farm 7")},
        {"getColorSpaces", std::make_shared<GetColorSpacesMsg>("farm 7")},
        {"getS3DModes", std::make_shared<GetS3DModesMsg>("farm 7")},
    };
    for (const auto& [operation, proxy] : rows) {
        const std::string asked = R"({"any":[1,{"k":null}],"body":{"results":1}})";
        bus->Restart(operation, Results(R"({"results":{"n":1e400},"x":1})"));
        EXPECT_EQ(Answer(*proxy, asked), R"(OK {"n":1e400})") << operation;
        EXPECT_THAT(Sent(), testing::ElementsAre("orvik.quillon.processing.metadata.worker/farm 7/1/" +
                                                 operation + " " + asked));
        EXPECT_THAT(bus->Waits(), testing::ElementsAre(10'000'000));
    }
}

TEST_F(CatalogueProxy, AnswersWithWhateverTheOtherServiceCameTo) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.metadata.worker ";
    const std::string error = "GENERIC_SERVICE_ERROR: Exception";
    const std::string failed = error + R"( {"Description":")" + query + R"(FAILED",)";
    const std::string noDetails = failed + R"("ErrorDetails":"<<NO ERROR DETAILS>>"})";
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string expected;
    };
    const Row rows[] = {
        {"an array", ScriptedAnswer::Text(R"({"results":[{"a":1}]})"), R"(OK [{"a":1}])"},
        {"no results", Results(R"({"a":1})"), "OK {}"},
        {"results that are no tree", ScriptedAnswer::Text(R"({"results":"a"})"), "OK {}"},
        {"no JSON", ScriptedAnswer::Text("results"), "OK {}"},
        {"error", ScriptedAnswer::Error("C", "M", TestSupport::Json(R"({"d":1})")),
         failed + R"("ErrorString":"C","ErrorDetails":"M"})"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(), noDetails},
        {"given up by the bus", ScriptedAnswer::TimedOut(), noDetails},
        {"no end", ScriptedAnswer::Never(), error + ": " + query + "Timeout"},
        {"too late", ScriptedAnswer::Late(TestSupport::Json(R"({"results":{"a":1}})")),
         error + ": " + query + "Timeout"},
        {"not sent", ScriptedAnswer::Throws([] { throw std::runtime_error("no bus"); }), error + ": no bus"},
    };
    GetColorSpacesMsg proxy("realm");
    for (const Row& row : rows) {
        bus->Restart("getColorSpaces", row.answer);
        EXPECT_EQ(Answer(proxy, "{}"), row.expected) << row.name;
        EXPECT_EQ(bus->CountSent(), 1U) << row.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
