#include "handlers/results/CatalogueMessages.h"

#include <stdexcept>

#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using TestSupport::ScriptedAnswer;

using CatalogueMessages = TestSupport::HandlerFixture;

TEST_F(CatalogueMessages, AnswerWithWhateverTheOtherServiceCameTo) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.metadata.worker ";
    const std::string error = "GENERIC_SERVICE_ERROR: Exception";
    const std::string failed = error + R"( {"Description":")" + query + R"(FAILED",)";
    const std::string noDetails = failed + R"("ErrorDetails":"<<NO ERROR DETAILS>>"})";
    const std::tuple<const char*, ScriptedAnswer, std::string> rows[] = {
        {"an array", ScriptedAnswer::Text(R"({"results":[1e400]})"), "OK [1e400]"},
        {"no results", Results(R"({"a":1})"), "OK {}"},
        {"results that are no tree", ScriptedAnswer::Text(R"({"results":"a"})"), "OK {}"},
        {"error", ScriptedAnswer::Error("C", "M"), failed + R"("ErrorString":"C","ErrorDetails":"M"})"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(), noDetails},
        {"too late", ScriptedAnswer::Late(TestSupport::Json(R"({"results":{"a":1}})")),
         error + ": " + query + "Timeout"},
        {"not sent", ScriptedAnswer::Throws([] { throw std::runtime_error("no bus"); }), error + ": no bus"},
    };
    const std::string asked = R"({"any":[1e400,{"k":null}],"body":{"results":1}})";
    GetColorSpacesMsg message("realm");
    for (const auto& [name, answer, expected] : rows) {
        bus->Restart("getColorSpaces", answer);
        EXPECT_EQ(Answer(message, asked), expected) << name;
        EXPECT_THAT(Sent(), testing::ElementsAre(
                                "orvik.quillon.processing.metadata.worker/realm/1/getColorSpaces " + asked));
        EXPECT_THAT(bus->Waits(), testing::Each(10'000'000));
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
