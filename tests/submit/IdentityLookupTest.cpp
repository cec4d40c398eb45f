#include "IdentityLookup.h"

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>

#include "ConsoleCapture.h"
#include "FakeBusMessaging.h"

namespace Weftline::Services {
namespace {

using CoreServices::Parameters;
using TestSupport::ConsoleCapture;
using TestSupport::FakeBusMessaging;
using TestSupport::ScriptedAnswer;

Parameters Json(const std::string& text) {
    return Parameters::fromJSON(text);
}

TEST(IdentityLookup, AsksTheIdentityServiceOnceAndWaitsASecond) {
    const auto bus = std::make_shared<FakeBusMessaging>();
    bus->On("findPrincipal", ScriptedAnswer::Results(Json(R"({"entity":{"displayName":"Ada"}})")));
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"","other":1})"), bus), "Ada");

    ASSERT_EQ(bus->CountSent(), 1U);
    const auto sent = bus->Sent().front();
    EXPECT_EQ(sent.kind, TestSupport::SentMessage::Kind::Request);
    EXPECT_EQ(sent.dispatch.service, "orvik.iam");
    EXPECT_EQ(sent.dispatch.realm, "global");
    EXPECT_EQ(sent.dispatch.version, 3);
    EXPECT_EQ(sent.dispatch.operation, "findPrincipal");
    EXPECT_EQ(sent.dispatch.parameters.toJSON(), R"({"entity":{"id":""}})");
    EXPECT_EQ(bus->Waits(), std::vector<std::int64_t>{1'000'000});
}

TEST(IdentityLookup, AnEmptyDisplayNameIsAName) {
    const auto bus = std::make_shared<FakeBusMessaging>();
    bus->On("findPrincipal", ScriptedAnswer::Text(R"({"entity":{"displayName":""}})"));
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"x"})"), bus), "");
    EXPECT_EQ(console.Text(), "");
}

TEST(IdentityLookup, WithoutAnIdNothingIsSent) {
    for (const char* identity : {"{}", R"({"identityId":5})", R"({"identityId":null})"}) {
        const auto bus = std::make_shared<FakeBusMessaging>();
        const ConsoleCapture console(std::cerr);
        EXPECT_EQ(FetchDisplayNameFromIdentity(Json(identity), bus), std::nullopt);
        EXPECT_EQ(console.Text(),
                  "FetchDisplayNameFromIdentity: Failed to get display name: invalid identity\n");
        EXPECT_EQ(bus->CountSent(), 0U);
    }
}

TEST(IdentityLookup, EveryFailureEndsInOneLineAndNoName) {
    const Parameters good = Json(R"({"entity":{"displayName":"Ada"}})");
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string text;
    };
    const Row rows[] = {
        {"never answers", ScriptedAnswer::Never(), "query timed out"},
        {"given up", ScriptedAnswer::TimedOut(), "query timed out"},
        {"answers late", ScriptedAnswer::Late(good), "query timed out"},
        {"error", ScriptedAnswer::Error("CODE", "what happened"), "CODE : what happened"},
        {"error without details", ScriptedAnswer::ErrorWithoutDetails(), "query error"},
        {"no JSON", ScriptedAnswer::Text("<html>"), "query error"},
        {"no entity", ScriptedAnswer::Results(Parameters()), "invalid identity response"},
        {"entity no tree", ScriptedAnswer::Results(Json(R"({"entity":"Ada"})")), "invalid identity response"},
        {"no name", ScriptedAnswer::Results(Json(R"({"entity":{}})")), "invalid identity response"},
        {"name no text", ScriptedAnswer::Results(Json(R"({"entity":{"displayName":1}})")),
         "invalid identity response"},
        {"throws", ScriptedAnswer::Throws([] { throw std::domain_error("no bus"); }), "no bus"},
        {"throws anything", ScriptedAnswer::Throws([] { throw 42; }), "unknown error"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto bus = std::make_shared<FakeBusMessaging>();
        bus->On("findPrincipal", row.answer);
        const ConsoleCapture console(std::cerr);
        EXPECT_EQ(FetchDisplayNameFromIdentity(Json(R"({"identityId":"x"})"), bus), std::nullopt);
        EXPECT_EQ(console.Text(),
                  "FetchDisplayNameFromIdentity: Failed to get display name: " + row.text + "\n");
        EXPECT_GE(console.CountFlushes(), 1);
        EXPECT_EQ(bus->CountSent(), 1U);
    }
}

}  // namespace
}  // namespace Weftline::Services
