
#include "tests/rest/GatewayFixture.h"
#include "tests/service/DescribedScheduler.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Rest = PlatformAbstraction::Rest;

/// Who asks, and what comes of it.
struct Row {
    const char* name;
    std::string fields;
    int status;
    std::string context = {};
};

class AccessMatrix : public Rest::GatewayTest {
protected:
    /// Each request also says wherever it can that it is somebody else's.
    void AskAll(const std::vector<Row>& rows, const std::string& operation, const std::string& line) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name + (": " + line));
            const std::string before = sink.LastMessage();
            const std::string fields =
                row.fields + "Identity: forged\r\nContext: forged\r\nX-Forwarded-User: forged\r\n";
            const std::string request = Request(
                line + "?identity=forged&context.identity=forged",
                fields + "Content-Type: application/json\r\n",
                R"({"context":{"identity":{"identityId":"forged"}},"identity":{"identityId":"forged"}})");
            EXPECT_EQ(Rest::Ask(port, request).status, row.status);
            const std::string after = sink.LastMessage();
            if (row.status == 200) {
                EXPECT_TRUE(after.starts_with(operation + " {")) << after;
                EXPECT_TRUE(after.ends_with("} " + row.context)) << after;
            } else {
                EXPECT_EQ(after, before);
            }
        }
    }

    static std::string ContextOf(const std::string& id, const std::string& name) {
        const std::string identity =
            R"("identity":{"identityId":")" + id + R"(","displayName":")" + name + "\"}";
        return R"({"context":{)" + identity + "}," + identity + "}";
    }
};

/// The path with a text in the place of each placeholder.
std::string Filled(std::string path) {
    for (std::size_t begin = path.find('{'); begin != std::string::npos; begin = path.find('{')) {
        path.replace(begin, path.find('}', begin) - begin + 1, "forged");
    }
    return path;
}

TEST_F(AccessMatrix, EveryRouteAsksWhoCallsAndBelievesNothingElse) {
    settings.callers = {{Rest::Sha256("one"), "id-1", "One"}, {Rest::Sha256("two"), "id-2", "Two"}};
    const std::string one = "Authorization: Bearer one\r\n";
    const std::vector<Row> rows = {
        {"no token", "", 401},
        {"empty token", "Authorization: Bearer \r\n", 401},
        {"part of a token", "Authorization: Bearer on\r\n", 401},
        {"token of another scheme", "Authorization: Basic one\r\n", 401},
        {"two tokens", one + "Authorization: Bearer two\r\n", 400},
        {"token from a foreign page", one + "Origin: http://elsewhere.example\r\n", 403},
        {"valid token", one, 200, ContextOf("id-1", "One")},
        {"another caller's", "Authorization: Bearer two\r\n", 200, ContextOf("id-2", "Two")}};
    auto registrations = DescribeScheduler()->GetRegistrations();
    // A path that would take an identity from its own segments.
    registrations.push_back({"trap", "", {}, "trap/{context}/{identity}"});
    Start(registrations);
    for (const auto& [name, description, examples, path, method, takesAway] : registrations) {
        AskAll(rows, name, "POST /messages/" + name);
        if (!path.empty()) {
            AskAll(rows, name, std::string(PlatformAbstraction::MethodName(method)) + " /" + Filled(path));
        }
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
