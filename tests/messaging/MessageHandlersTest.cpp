// The handlers of a service: how they are registered, and how what they do becomes an answer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/HandlerInvocation.h"
#include "tests/messaging/FunctionHandlers.h"

namespace PlatformAbstraction::Messaging {
namespace {

using namespace std::literals;

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using TestSupport::ContextPointer;
using TestSupport::FunctionHandler;
using TestSupport::FunctionHandlerV2;
using TestSupport::Registration;

Parameters Telling(const std::string& text) {
    Parameters answer;
    answer.SetParameter("told", text);
    return answer;
}

/// Answers with what it was registered with.
struct EchoingSubmission final : TestSupport::ByFunction<Weftline::SubmitMessageHandler, void()> {
    using ByFunction::ByFunction;
    Parameters SubmitJob(const std::string& jobKind, const std::string& evalTaskKind, const std::string& name,
                         bool failJobDefault, const Parameters& request, ContextPointer) override {
        return Telling(jobKind + evalTaskKind + name + (failJobDefault ? " fails " : "") + request.toJSON());
    }
};

/// Its messages "one" and "two" answer with their own names.
struct NamingSet final : ServiceMessageHandlerSet {
    std::string GetSetName() const override { return "naming"; }
    std::vector<RegistrationParams> GetRegistrationParamsOfSet() const override {
        return {Registration("one"), Registration("two")};
    }
    Parameters HandleMessageOfSet(const std::string& name, const Parameters&, ContextPointer) override {
        return Telling(name);
    }
};

class MessageHandlers : public testing::Test {
protected:
    void Add(RegistrationParams registration, FunctionHandler::Function function = nullptr) {
        service.AddMessageHandler(
            std::make_shared<FunctionHandler>(std::move(registration), std::move(function)));
    }
    void AddV2(const std::string& name, FunctionHandlerV2::Function function = nullptr) {
        service.AddMessageHandlerV2(
            std::make_shared<FunctionHandlerV2>(Registration(name), std::move(function)));
    }
    void AddSubmission(const std::string& name) {
        service.AddSubmitMessageHandler(std::make_shared<EchoingSubmission>(Registration(name)),
                                        {"kind", "task", "Transcode", true});
    }
    std::string AnswerOf(const std::string& operation) const {
        const HandlerFunction function = FindHandlerFunction(service, operation);
        return function ? TestSupport::LineOf(function(Parameters::fromJSON("[1]"), nullptr)) : "none";
    }

    ServiceInfo service;
};

TEST_F(MessageHandlers, OfTheSameNameOrRouteAreRefused) {
    Add(Registration("removeJob", "jobs/{key}", HTTPMethod::Delete));
    Add(Registration("two"));
    const auto route = AllOf(HasSubstr("DELETE"), HasSubstr("\"drop\""), HasSubstr("\"removeJob\""));
    const std::tuple<const char*, const char*, testing::Matcher<std::string>> refused[] = {
        {"removeJob", "other", HasSubstr("\"removeJob\"")},
        {"", "", HasSubstr("without a name")},
        {"drop", "jobs/{key}", AllOf(route, HasSubstr("\"jobs/{key}\""))},
        {"drop", "jobs/{id}", AllOf(route, HasSubstr("\"jobs/{id}\""))},
    };
    for (const auto& [name, path, text] : refused) {
        const auto registration = Registration(name, path, HTTPMethod::Delete);
        EXPECT_THAT([&] { Add(registration); }, ThrowsMessage<std::runtime_error>(text));
    }
    // All kinds share the names, and a set goes in whole or not at all.
    EXPECT_THROW(service.AddMessageHandler(nullptr), std::runtime_error);
    EXPECT_THROW(AddV2("removeJob"), std::runtime_error);
    EXPECT_THROW(AddSubmission("removeJob"), std::runtime_error);
    EXPECT_THROW(service.AddMessageHandlerSet(std::make_shared<NamingSet>()), std::runtime_error);
    EXPECT_EQ(service.GetRegistrations().size(), 2U);

    Add(Registration("one"));
    Add(Registration("RemoveJob", "Jobs/{key}", HTTPMethod::Delete));
    Add(Registration("drop", "jobs/key", HTTPMethod::Delete));  // a fixed segment in the placeholder's stead
    Add(Registration("get", "jobs/{key}", HTTPMethod::Get));
}

struct WithoutText : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

TEST_F(MessageHandlers, GiveAnErrorForWhateverLeavesThem) {
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[] { throw MessageHandlerError("MY_CODE", "mine"); }, "MY_CODE: mine"},
        {[] { throw BadRequestHandlerError("bad"); }, "BAD_REQUEST: bad"},
        {[] { throw ResourceNotFoundHandlerError("go\0ne"s); }, "NOT_FOUND: go\\x00ne"},
        {[] { throw MethodNotAllowedHandlerError("no"); }, "METHOD_NOT_ALLOWED: no"},
        {[] { throw HandlerNotFoundError("who"); }, "HANDLER_NOT_FOUND: who"},
        {[] { throw std::domain_error("failed"); }, "GENERIC_SERVICE_ERROR: failed"},
        {[] { throw Telling("E"); }, R"(GENERIC_SERVICE_ERROR: Exception {"told":"E"})"},
        {[] { throw WithoutText(); }, "GENERIC_SERVICE_ERROR: "},
        {[] { throw 7; }, "GENERIC_SERVICE_ERROR: Unknown error"},
    };
    std::function<void()> fail;
    AddV2("second", [&fail](const auto& request, const auto&) { return fail(), request; });
    Add(Registration("first"), [&fail](auto&) { fail(); });
    for (const auto& [failure, answer] : rows) {
        fail = failure;
        EXPECT_EQ(AnswerOf("second"), answer);
        EXPECT_EQ(AnswerOf("first"), answer);
    }
}

TEST_F(MessageHandlers, AnswerOnceThroughTheResponse) {
    const auto tree = Telling("d");
    const std::pair<FunctionHandler::Function, const char*> rows[] = {
        {[](auto& response) { response.GetParameters().SetParameter("a", 1); },
         "GENERIC_SERVICE_ERROR: No answer"},
        {[&](auto& response) {
             response.AssignParameters(tree);
             EXPECT_TRUE(response.RespondOK());
             response.GetParameters().SetParameter("late", 1);
         },
         R"(OK {"told":"d"})"},
        {[](auto& response) { EXPECT_TRUE(response.RespondError("CODE", "m") && !response.RespondOK()); },
         "CODE: m"},
        {[&](auto& response) { response.SetErrorParameters(tree), response.RespondGenericError("m"); },
         R"(GENERIC_SERVICE_ERROR: m {"told":"d"})"},
        {[](auto& response) { throw std::runtime_error(response.RespondOK() ? "late" : "no"); }, "OK {}"},
    };
    FunctionHandler::Function handle;
    Add(Registration("m"), [&handle](auto& response) { handle(response); });
    for (const auto& [function, answer] : rows) {
        handle = function;
        EXPECT_EQ(AnswerOf("m"), answer);
    }
}

TEST_F(MessageHandlers, AreToldWhatTheyWereRegisteredWith) {
    AddSubmission("Submit");
    service.AddMessageHandlerSet(std::make_shared<NamingSet>());
    EXPECT_EQ(AnswerOf("Submit"), R"(OK {"told":"kindtaskTranscode fails [1]"})");
    EXPECT_EQ(AnswerOf("two"), R"(OK {"told":"two"})");
    EXPECT_EQ(AnswerOf("naming") + AnswerOf("submit"), "nonenone");
    // A function found before keeps its handler.
    const HandlerFunction kept = FindHandlerFunction(service, "one");
    service.ReleaseHandlers();
    EXPECT_EQ(AnswerOf("one"), "none");
    EXPECT_EQ(kept({}, nullptr).results.toJSON(), R"({"told":"one"})");
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
