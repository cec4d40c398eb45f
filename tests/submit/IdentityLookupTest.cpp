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
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string text = "invalid identity response";
        std::string identity = R"({"identityId":"x"})";
    };
    const std::string noIdentity = "invalid identity";
    const Row rows[] = {
        {"no identity", Results("{}"), noIdentity, "{}"},
        {"identity is no text", Results("{}"), noIdentity, R"({"identityId":5})"},
        {"never answers", ScriptedAnswer::Never(), "query timed out"},
        {"given up", ScriptedAnswer::TimedOut(), "query timed out"},
        {"late", ScriptedAnswer::Late(Json(R"({"entity":{"displayName":"Ada"}})")), "query timed out"},
        {"error", ScriptedAnswer::Error("CODE", "what happened"), "CODE : what happened"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(), "query error"},
        {"no JSON", ScriptedAnswer::Text("<html>"), "query error"},
        {"no entity", Results("{}")},
        {"entity is no tree", Results(R"({"entity":"Ada"})")},
        {"no name", Results(R"({"entity":{}})")},
        {"name is no text", Results(R"({"entity":{"displayName":1}})")},
        {"throws", ScriptedAnswer::Throws([] { throw std::domain_error("no bus"); }), "no bus"},
        {"throws anything", ScriptedAnswer::Throws([] { throw 42; }), "unknown error"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        bus->Restart("findPrincipal", row.answer);
        const TestSupport::ConsoleCapture console(std::cerr);
        EXPECT_EQ(FetchDisplayNameFromIdentity(Json(row.identity), bus), std::nullopt);
        EXPECT_EQ(console.Text(),
                  "FetchDisplayNameFromIdentity: Failed to get display name: " + row.text + "\n");
        EXPECT_EQ(bus->CountSent(), row.text == noIdentity ? 0U : 1U);
    }
}

}  // namespace
}  // namespace Weftline::Services
