#include "IdentityService.h"

#include <gtest/gtest.h>

#include "HandlerInvocation.h"
#include "MessageContexts.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::FindHandlerFunction;

TEST(IdentityService, TellsTheDisplayNamesOfThoseItKnows) {
    const auto service = MakeIdentityService({{"u-1", "Day Editor"}, {"u-2", ""}, {"u-1", "Somebody Else"}});
    EXPECT_EQ(service->GetName() + " " + service->GetRealm() + " " + std::to_string(service->GetVersion()),
              "orvik.iam global 3");
    const auto findPrincipal = FindHandlerFunction(*service, "findPrincipal");
    ASSERT_TRUE(findPrincipal);
    struct Row {
        std::string name;
        std::string request;
        std::string answer;  // the code of an error, or the tree
    };
    const Row rows[] = {
        {"known", R"({"entity":{"id":"u-1"}})", R"({"entity":{"id":"u-1","displayName":"Day Editor"}})"},
        {"a blank name", R"({"entity":{"id":"u-2"}})", R"({"entity":{"id":"u-2","displayName":""}})"},
        {"unknown", R"({"entity":{"id":"u-3"}})", "NOT_FOUND"},
        {"case counts", R"({"entity":{"id":"U-1"}})", "NOT_FOUND"},
        {"an empty id", R"({"entity":{"id":""}})", "NOT_FOUND"},
        {"no text", R"({"entity":{"id":1}})", "BAD_REQUEST"},
        {"no entity", R"({"id":"u-1"})", "BAD_REQUEST"},
    };
    for (const Row& row : rows) {
        const auto answer =
            findPrincipal(Parameters::fromJSON(row.request), TestSupport::MakeAnonymousContext(nullptr));
        EXPECT_EQ(answer.code.empty() ? answer.results.toJSON() : answer.code, row.answer) << row.name;
    }
}

}  // namespace
}  // namespace Quillon::Farm
