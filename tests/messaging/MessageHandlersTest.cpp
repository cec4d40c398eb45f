// The handlers of a service: how they are registered, and how what they do becomes an answer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/HandlerInvocation.h"
#include "tests/messaging/FunctionHandlers.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using TestSupport::FunctionHandler;
using TestSupport::FunctionHandlerV2;
using TestSupport::Registration;

/// Answers with what it was registered with.
class EchoingSubmission final : public TestSupport::Registered<Weftline::SubmitMessageHandler> {
public:
    using Registered::Registered;
    Parameters SubmitJob(const std::string& jobKind, const std::string& evalTaskKind, const std::string& name,
                         bool failJobDefault, const Parameters& request,
                         TestSupport::ContextPointer /*context*/) override {
        Parameters answer = request;
        answer.SetParameter("told", jobKind + "|" + evalTaskKind + "|" + name);
        answer.SetParameter("failJobDefault", failJobDefault);
        return answer;
    }
};

/// Its messages "one" and "two" answer with their own names.
struct NamingSet final : ServiceMessageHandlerSet {
    std::string GetSetName() const override { return "naming"; }
    std::vector<RegistrationParams> GetRegistrationParamsOfSet() const override {
        return {Registration("one"), Registration("two")};
    }
    Parameters HandleMessageOfSet(const std::string& name, const Parameters& /*request*/,
                                  TestSupport::ContextPointer /*context*/) override {
        Parameters answer;
        answer.SetParameter("name", name);
        return answer;
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
        return function ? Shown(function(Parameters::fromJSON(R"({"in":1})"), nullptr)) : "none";
    }
    static std::string Shown(const MessageAnswer& answer) {
        if (answer.kind == MessageAnswer::Kind::Error) {
            return "error [" + answer.code + "] " + answer.message + " " + answer.details.toJSON();
        }
        return answer.kind == MessageAnswer::Kind::Text ? "text " + answer.text
                                                        : "results " + answer.results.toJSON();
    }

    ServiceInfo service;
};

TEST_F(MessageHandlers, OfTheSameNameOrRouteAreRefused) {
    Add(Registration("removeJob", "jobs/{key}", HTTPMethod::Delete));
    const auto add = [this](const std::string& name, const std::string& path = "") {
        return [this, name, path] { Add(Registration(name, path, HTTPMethod::Delete)); };
    };
    EXPECT_THAT(add("removeJob", "other"), ThrowsMessage<std::runtime_error>(HasSubstr("\"removeJob\"")));
    EXPECT_THAT(add(""), ThrowsMessage<std::runtime_error>(HasSubstr("without a name")));
    for (const std::string path : {"jobs/{key}", "jobs/{id}"}) {
        EXPECT_THAT(add("drop", path), ThrowsMessage<std::runtime_error>(
                                           AllOf(HasSubstr("DELETE"), HasSubstr("\"" + path + "\""),
                                                 HasSubstr("\"drop\""), HasSubstr("\"removeJob\""))));
    }
    EXPECT_THROW(service.AddMessageHandler(nullptr), std::runtime_error);
    // All kinds share the names, and a set goes in whole or not at all.
    EXPECT_THROW(AddV2("removeJob"), std::runtime_error);
    EXPECT_THROW(AddSubmission("removeJob"), std::runtime_error);
    Add(Registration("two"));
    EXPECT_THROW(service.AddMessageHandlerSet(std::make_shared<NamingSet>()), std::runtime_error);
    EXPECT_EQ(service.GetRegistrations().size(), 2U);

    EXPECT_NO_THROW(add("one")());
    EXPECT_NO_THROW(add("RemoveJob", "Jobs/{key}")());
    EXPECT_NO_THROW(add("drop", "jobs/key")());  // a fixed segment in the placeholder's stead
    EXPECT_NO_THROW(Add(Registration("get", "jobs/{key}", HTTPMethod::Get)));
}

struct WithoutText : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

TEST_F(MessageHandlers, GiveAnErrorForWhateverLeavesThem) {
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[] { throw MessageHandlerError("MY_CODE", "mine"); }, "error [MY_CODE] mine {}"},
        {[] { throw BadRequestHandlerError("bad"); }, "error [BAD_REQUEST] bad {}"},
        {[] {
             throw ResourceNotFoundHandlerError({"go\0ne", 5});
         },
         "error [NOT_FOUND] go\\x00ne {}"},
        {[] { throw MethodNotAllowedHandlerError("no"); }, "error [METHOD_NOT_ALLOWED] no {}"},
        {[] { throw HandlerNotFoundError("who"); }, "error [HANDLER_NOT_FOUND] who {}"},
        {[] { throw std::domain_error("failed"); }, "error [GENERIC_SERVICE_ERROR] failed {}"},
        {[] { throw Parameters::fromJSON(R"({"E":1})"); },
         R"(error [GENERIC_SERVICE_ERROR] Exception {"E":1})"},
        {[] { throw WithoutText(); }, "error [GENERIC_SERVICE_ERROR]  {}"},
        {[] { throw 7; }, "error [GENERIC_SERVICE_ERROR] Unknown error {}"},
    };
    std::function<void()> fail;
    AddV2("second", [&fail](const auto& request, const auto&) {
        fail();
        return request;
    });
    Add(Registration("first"), [&fail](auto&) { fail(); });
    for (const auto& [failure, answer] : rows) {
        fail = failure;
        EXPECT_EQ(AnswerOf("second"), answer);
        EXPECT_EQ(AnswerOf("first"), answer);
    }
}

TEST_F(MessageHandlers, AnswerOnceThroughTheResponse) {
    const auto tree = Parameters::fromJSON(R"({"d":1})");
    const std::pair<FunctionHandler::Function, const char*> rows[] = {
        {[](auto& response) { response.GetParameters().SetParameter("a", 1); },
         "error [GENERIC_SERVICE_ERROR] No answer {}"},
        {[&](auto& response) {
             response.AssignParameters(tree);
             EXPECT_TRUE(response.RespondOK());
             response.GetParameters().SetParameter("late", 1);
         },
         R"(results {"d":1})"},
        {[](auto& response) { response.RespondOK("{\"a\" : 1}"); }, "text {\"a\" : 1}"},
        {[](auto& response) {
             EXPECT_TRUE(response.RespondError("ERROR_UNKNOWN", "m"));
             EXPECT_FALSE(response.RespondOK());
         },
         "error [ERROR_UNKNOWN] m {}"},
        {[&](auto& response) {
             response.SetErrorParameters(tree);
             response.RespondGenericError("m");
         },
         R"(error [GENERIC_SERVICE_ERROR] m {"d":1})"},
        {[&](auto& response) { response.RespondGenericError("Exception", tree); },
         R"(error [GENERIC_SERVICE_ERROR] Exception {"d":1})"},
        {[](auto& response) {
             response.RespondOK();
             throw std::runtime_error("late");
         },
         "results {}"},
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
    EXPECT_EQ(AnswerOf("Submit"), R"(results {"in":1,"told":"kind|task|Transcode","failJobDefault":true})");
    EXPECT_EQ(AnswerOf("two"), R"(results {"name":"two"})");
    EXPECT_EQ(AnswerOf("naming") + AnswerOf("submit"), "nonenone");
    // A function found before keeps its handler.
    const HandlerFunction kept = FindHandlerFunction(service, "one");
    service.ReleaseHandlers();
    EXPECT_EQ(AnswerOf("one"), "none");
    EXPECT_EQ(Shown(kept(Parameters(), nullptr)), R"(results {"name":"one"})");
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
