#include "ServiceInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ErrorCode.h"
#include "FunctionHandlers.h"
#include "RegParamsBuilder.h"

namespace PlatformAbstraction::Messaging {
namespace {

using ::testing::HasSubstr;
using TestSupport::Registration;

void Add(ServiceInfo& service, RegistrationParams registration) {
    service.AddMessageHandler(
        std::make_shared<TestSupport::FunctionHandler>(std::move(registration), nullptr));
}

TEST(ServiceInfo, KindsAndOrderOfRegistrations) {
    ServiceInfo service;
    EXPECT_FALSE(service.HasMessageHandlers());
    service.AddSubmitMessageHandler(std::make_shared<TestSupport::EchoingSubmission>(Registration("Submit")),
                                    {"kind", "task", "name", true});
    Add(service, Registration("answer"));
    service.AddMessageHandlerV2(
        std::make_shared<TestSupport::FunctionHandlerV2>(Registration("again"), nullptr));
    service.AddMessageHandlerSet(
        std::make_shared<TestSupport::NamingSet>(std::vector{Registration("b"), Registration("a")}));

    EXPECT_TRUE(service.HasMessageHandlers());
    EXPECT_TRUE(service.IsRegisteredSubmitMessageHandler("Submit"));
    EXPECT_FALSE(service.IsRegisteredSubmitMessageHandler("submit"));
    EXPECT_TRUE(service.IsRegisteredMessageHandler("answer"));
    EXPECT_FALSE(service.IsRegisteredMessageHandler("again"));
    EXPECT_TRUE(service.IsRegisteredMessageHandlerV2("again"));
    EXPECT_TRUE(service.IsRegisteredMessageHandlerSet("naming"));
    EXPECT_EQ(service.GetSubmitOpJobs().at("Submit").evalTaskKind, "task");
    std::vector<std::string> names;
    for (const RegistrationParams& registration : service.GetRegistrations()) {
        names.push_back(registration.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Submit", "answer", "again", "b", "a"}));
}

struct ConflictRow {
    const char* name;
    RegistrationParams second;
    std::vector<std::string> textParts;  // none where there is no conflict
};

TEST(ServiceInfo, ConflictsNameTheMessage) {
    const ConflictRow rows[] = {
        {"same name", Registration("removeJob", "other"), {"\"removeJob\""}},
        {"same route",
         Registration("drop", "jobs/{key}", HTTPMethod::Delete),
         {"DELETE", "\"drop\"", "\"removeJob\""}},
        {"same route but for the placeholder's name",
         Registration("drop", "jobs/{id}", HTTPMethod::Delete),
         {"\"jobs/{id}\"", "\"removeJob\""}},
        {"no name", Registration(""), {"without a name"}},
        {"other method", Registration("drop", "jobs/{key}"), {}},
        {"other letter case", Registration("RemoveJob", "Jobs/{key}", HTTPMethod::Delete), {}},
        {"a fixed segment in the placeholder's stead",
         Registration("drop", "jobs/key", HTTPMethod::Delete),
         {}},
        {"no path", Registration("drop"), {}},
    };
    for (const ConflictRow& row : rows) {
        SCOPED_TRACE(row.name);
        ServiceInfo service;
        Add(service, Registration("noPath"));
        Add(service, Registration("removeJob", "jobs/{key}", HTTPMethod::Delete));
        std::string text;
        try {
            Add(service, row.second);
        } catch (const std::runtime_error& error) {
            text = error.what();
        }
        EXPECT_EQ(text.empty(), row.textParts.empty()) << text;
        for (const std::string& part : row.textParts) {
            EXPECT_THAT(text, HasSubstr(part));
        }
        EXPECT_EQ(service.GetRegistrations().size(), row.textParts.empty() ? 3U : 2U);
    }
}

TEST(ServiceInfo, NamesAreSharedByAllKindsAndSetsGoInWhole) {
    ServiceInfo service;
    Add(service, Registration("taken"));
    EXPECT_THROW(service.AddMessageHandlerV2(
                     std::make_shared<TestSupport::FunctionHandlerV2>(Registration("taken"), nullptr)),
                 std::runtime_error);
    EXPECT_THROW(service.AddSubmitMessageHandler(
                     std::make_shared<TestSupport::EchoingSubmission>(Registration("taken")), {}),
                 std::runtime_error);
    EXPECT_THROW(service.AddMessageHandlerSet(std::make_shared<TestSupport::NamingSet>(
                     std::vector{Registration("free"), Registration("taken")})),
                 std::runtime_error);
    EXPECT_THROW(service.AddMessageHandler(nullptr), std::runtime_error);
    EXPECT_EQ(service.GetRegistrations().size(), 1U);
    EXPECT_FALSE(service.IsRegisteredMessageHandlerSet("naming"));
    Add(service, Registration("free"));
}

TEST(RegParamsBuilder, WhatIsNotSetIsAReadWithoutAPath) {
    RegParamsBuilder builder;
    const RegistrationParams named = builder.SetName("n").GetResult();
    EXPECT_EQ(named.name, "n");
    EXPECT_EQ(named.restMethod, HTTPMethod::Get);
    EXPECT_EQ(named.restPath + named.description, "");
    EXPECT_TRUE(named.examples.empty());
    EXPECT_EQ(builder.SetRESTPath("first").SetRESTPath("second").GetResult().restPath, "second");
}

TEST(ErrorCode, IsEquivalentWhereTheCodesAreTheSame) {
    const ErrorCode error{"E", "title", "text"};
    EXPECT_TRUE(error.IsEquivalentErrorCode({"E", "other", ""}));
    EXPECT_FALSE(error.IsEquivalentErrorCode({"e", "title", "text"}));
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
