#include "handlers/results/CatalogueMessages.h"

#include <stdexcept>

#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using TestSupport::ScriptedAnswer;

class CatalogueMessages : public TestSupport::HandlerFixture {
protected:
    template <class... Messages>
    void CheckEachPassesOn(const std::string& asked) {
        const auto check = [&](auto message) {
            const std::string operation = message.GetRegistrationParams().name;
            bus->Restart(operation, Results(R"({"results":{"n":1e400},"x":1})"));
            EXPECT_EQ(Answer(message, asked), R"(OK {"n":1e400})") << operation;
            EXPECT_THAT(Sent(), testing::ElementsAre("orvik.quillon.processing.metadata.worker/farm 7/1/" +
                                                     operation + " " + asked));
            EXPECT_THAT(bus->Waits(), testing::ElementsAre(10'000'000));
        };
        (check(Messages("farm 7")), ...);
    }
};

TEST_F(CatalogueMessages, PassTheirRequestOnUnchangedAndHandTheResultsBack) {
    CheckEachPassesOn<GetVideoFormatsMsg, GetAudioFormatsMsg, GetExportTypesMsg, GetMediaCreationTypesMsg,
                      GetColorSpacesMsg, GetS3DModesMsg>(R"({"any":[1,{"k":null}],"body":{"results":1}})");
}

TEST_F(CatalogueMessages, AnswerWithWhateverTheOtherServiceCameTo) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.metadata.worker ";
    const std::string error = "GENERIC_SERVICE_ERROR: Exception";
    const std::string failed = error + R"( {"Description":")" + query + R"(FAILED",)";
    const std::string noDetails = failed + R"("ErrorDetails":"<<NO ERROR DETAILS>>"})";
    const std::tuple<const char*, ScriptedAnswer, std::string> rows[] = {
        {"an array", ScriptedAnswer::Text(R"({"results":[{"a":1}]})"), R"(OK [{"a":1}])"},
        {"no results", Results(R"({"a":1})"), "OK {}"},
        {"results that are no tree", ScriptedAnswer::Text(R"({"results":"a"})"), "OK {}"},
        {"error", ScriptedAnswer::Error("C", "M"), failed + R"("ErrorString":"C","ErrorDetails":"M"})"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(), noDetails},
        {"given up by the bus", ScriptedAnswer::TimedOut(), noDetails},
        {"too late", ScriptedAnswer::Late(TestSupport::Json(R"({"results":{"a":1}})")),
         error + ": " + query + "Timeout"},
        {"not sent", ScriptedAnswer::Throws([] { throw std::runtime_error("no bus"); }), error + ": no bus"},
    };
    GetColorSpacesMsg message("realm");
    for (const auto& [name, answer, expected] : rows) {
        bus->Restart("getColorSpaces", answer);
        EXPECT_EQ(Answer(message, "{}"), expected) << name;
        EXPECT_EQ(bus->CountSent(), 1U) << name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
