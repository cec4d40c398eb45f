#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/messaging/ServiceInfo.h"
#include "platform/rest/RestGateway.h"
#include "platform/rest/RouteTable.h"
#include "service/SchedulerService.h"
#include "tests/rest/FakeSink.h"
#include "tests/rest/RawClient.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
namespace Rest = PlatformAbstraction::Rest;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::RegistrationParams;

/// All that the service answers, and a path that would take an identity from its own segments.
std::vector<RegistrationParams> Registrations() {
    const auto description = Messaging::ConstructServiceInfo();
    SchedulerService().RegisterServiceMessageHandlers(
        description, TestSupport::MakeConnection(std::make_shared<TestSupport::FakeBusMessaging>()), false);
    auto registrations = dynamic_cast<const Messaging::ServiceInfo&>(*description).GetRegistrations();
    registrations.push_back({"trap", "", {}, "trap/{context}/{identity}", HTTPMethod::Get});
    return registrations;
}

struct Way {
    std::string operation;
    std::string line;  ///< method and target
};

std::vector<Way> AllWays(const std::vector<RegistrationParams>& registrations) {
    std::vector<Way> ways;
    for (const auto& registration : registrations) {
        ways.push_back({registration.name, "POST /messages/" + registration.name});
        if (registration.restPath.empty()) {
            continue;
        }
        std::string path = registration.restPath;
        for (auto begin = path.find('{'); begin != std::string::npos; begin = path.find('{')) {
            path.replace(begin, path.find('}') + 1 - begin, "forged");
        }
        ways.push_back({registration.name,
                        std::string(PlatformAbstraction::MethodName(registration.restMethod)) + " /" + path});
    }
    return ways;
}

std::string ContextOf(const std::string& id, const std::string& name) {
    const std::string identity =
        R"("identity":{"identityId":")" + id + R"(","displayName":")" + name + R"("})";
    return R"({"context":{)" + identity + "}," + identity + "}";
}

/// Who asks, and what comes of it. Each request also says wherever it can that it is somebody else's.
struct Row {
    const char* name;
    std::string fields;
    int status;
    std::string context = {};
};

std::string MakeRequest(const Way& way, const Row& row) {
    const std::string body =
        R"({"context":{"identity":{"identityId":"forged"}},"identity":{"identityId":"forged"}})";
    return way.line + "?identity=forged&context.identity=forged HTTP/1.1\r\nHost: localhost\r\n" +
           row.fields +
           "Identity: forged\r\nContext: forged\r\nX-Forwarded-User: forged\r\n"
           "Content-Type: application/json\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

void AskEverywhere(Rest::RestGatewaySettings settings, const std::vector<Row>& rows) {
    settings.port = 0;
    const auto registrations = Registrations();
    const auto ways = AllWays(registrations);
    EXPECT_EQ(ways.size(), 2 * registrations.size() - 1);  // one message has no path of its own
    Rest::FakeSink sink;
    Rest::RestGateway gateway(settings, registrations, sink);
    const std::uint16_t port = gateway.Start();
    for (const Row& row : rows) {
        for (const Way& way : ways) {
            SCOPED_TRACE(row.name + (": " + way.line));
            const std::string before = sink.LastMessage();
            EXPECT_EQ(Rest::Ask(port, MakeRequest(way, row)).status, row.status);
            const std::string after = sink.LastMessage();
            if (row.status == 200) {
                EXPECT_TRUE(after.starts_with(way.operation + " {")) << after;
                EXPECT_TRUE(after.ends_with("} " + row.context)) << after;
            } else {
                EXPECT_EQ(after, before);
            }
        }
    }
}

TEST(AccessMatrix, EveryRouteAsksWhoCallsAndBelievesNothingElse) {
    Rest::RestGatewaySettings settings;
    settings.callers = {{Rest::Sha256("one"), "id-1", "One"}, {Rest::Sha256("two"), "id-2", "Two"}};
    const std::string one = "Authorization: Bearer one\r\n";
    AskEverywhere(settings,
                  {
                      {"no token", "", 401},
                      {"empty token", "Authorization: Bearer \r\n", 401},
                      {"part of a token", "Authorization: Bearer on\r\n", 401},
                      {"token of another scheme", "Authorization: Basic one\r\n", 401},
                      {"two tokens", one + "Authorization: Bearer two\r\n", 400},
                      {"token from a foreign page", one + "Origin: http://elsewhere.example\r\n", 403},
                      {"valid token", one, 200, ContextOf("id-1", "One")},
                      {"another caller's", "Authorization: Bearer two\r\n", 200, ContextOf("id-2", "Two")},
                  });
}

TEST(AccessMatrix, WithoutCallersNobodyIsAnybody) {
    AskEverywhere({},
                  {{"no token", "", 200, "{}"}, {"some token", "Authorization: Bearer one\r\n", 200, "{}"}});
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
