#include "farm/iam/IdentityService.h"

#include <gtest/gtest.h>

#include "platform/messaging/HandlerInvocation.h"
#include "tests/support/HandlerFixture.h"

namespace Quillon::Farm {
namespace {

TEST(IdentityService, TellsTheDisplayNamesOfThoseItKnows) {
    const auto principals = std::make_shared<PrincipalDirectory>(
        std::vector<Principal>{{"u-1", "Day Editor"}, {"u-2", ""}, {"u-1", "Somebody Else"}});
    const auto findPrincipal = PlatformAbstraction::Messaging::FindHandlerFunction(
        *MakeIdentityService(principals), "findPrincipal");
    const auto answerTo = [&](const std::string& request) {
        const auto answer = findPrincipal(TestSupport::Json(request), TestSupport::MakeContext(nullptr));
        return answer.code.empty() ? answer.results.toJSON() : answer.code;
    };
    const std::pair<std::string, std::string> rows[] = {
        {R"({"entity":{"id":"u-1"}})", R"({"entity":{"id":"u-1","displayName":"Day Editor"}})"},
        {R"({"entity":{"id":"u-2"}})", R"({"entity":{"id":"u-2","displayName":""}})"},
        {R"({"entity":{"id":"U-1"}})", "NOT_FOUND"},
        {R"({"entity":{"id":1}})", "BAD_REQUEST"},
        {R"({"id":"u-1"})", "BAD_REQUEST"},
    };
    for (const auto& [request, answer] : rows) {
        EXPECT_EQ(answerTo(request), answer) << request;
    }
    principals->Replace({{"u-3", "Night Editor"}});
    EXPECT_NE(answerTo(R"({"entity":{"id":"u-3"}})"), "NOT_FOUND");
    EXPECT_EQ(answerTo(R"({"entity":{"id":"u-1"}})"), "NOT_FOUND");
}

}  // namespace
}  // namespace Quillon::Farm
