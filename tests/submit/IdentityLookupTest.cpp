#include "handlers/submit/IdentityLookup.h"

#include <stdexcept>

#include "tests/submit/SubmitFixture.h"

namespace Weftline::Services {
namespace {

class IdentityLookup : public SubmitFixture {};

TEST_F(IdentityLookup, AsksTheIdentityServiceOnceAndWaitsASecond) {
    bus->On("findPrincipal", Results(R"({"entity":{"displayName":"Ada"}})"));
    bus->On("findPrincipal", Results(R"({"entity":{"displayName":""}})"));
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"","other":1})"), bus), "Ada");
    EXPECT_EQ(Sent(), std::vector<std::string>{R"(orvik.iam/global/3/findPrincipal {"entity":{"id":""}})"});
    EXPECT_EQ(bus->Waits(), std::vector<std::int64_t>{1'000'000});
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"x"})"), bus), "") << "an empty name is one";
}

TEST_F(IdentityLookup, EveryFailureEndsInOneLineAndNoName) {
    const std::string noIdentity = "invalid identity";
    const std::string badAnswer = "invalid identity response";
    const auto ada = Json(R"({"entity":{"displayName":"Ada"}})");
    const std::tuple<std::string, ScriptedAnswer, std::string> rows[] = {
        {"{}", Results("{}"), noIdentity},
        {R"({"identityId":5})", Results("{}"), noIdentity},
        {R"({"identityId":"never answered"})", ScriptedAnswer::Never(), "query timed out"},
        {R"({"identityId":"given up"})", ScriptedAnswer::TimedOut(), "query timed out"},
        {R"({"identityId":"late"})", ScriptedAnswer::Late(ada), "query timed out"},
        {R"({"identityId":"error"})", ScriptedAnswer::Error("CODE", "what happened"), "CODE : what happened"},
        {R"({"identityId":"bare error"})", ScriptedAnswer::ErrorWithoutDetails(), "query error"},
        {R"({"identityId":"no JSON"})", ScriptedAnswer::Text("<html>"), "query error"},
        {R"({"identityId":"no entity"})", Results("{}"), badAnswer},
        {R"({"identityId":"entity is no tree"})", Results(R"({"entity":"Ada"})"), badAnswer},
        {R"({"identityId":"no name"})", Results(R"({"entity":{}})"), badAnswer},
        {R"({"identityId":"name is no text"})", Results(R"({"entity":{"displayName":1}})"), badAnswer},
        {R"({"identityId":"x"})", ScriptedAnswer::Throws([] { throw std::domain_error("no bus"); }),
         "no bus"},
        {R"({"identityId":"x"})", ScriptedAnswer::Throws([] { throw 42; }), "unknown error"},
    };
    for (const auto& [identity, answer, text] : rows) {
        bus->Restart("findPrincipal", answer);
        const TestSupport::ConsoleCapture console(std::cerr);
        EXPECT_EQ(FetchDisplayNameFromIdentity(Json(identity), bus), std::nullopt) << identity;
        EXPECT_EQ(console.Text(), "FetchDisplayNameFromIdentity: Failed to get display name: " + text + "\n");
        EXPECT_EQ(bus->CountSent(), text == noIdentity ? 0U : 1U) << identity;
    }
}

}  // namespace
}  // namespace Weftline::Services
