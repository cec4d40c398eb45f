#include "HandlerInvocation.h"

#include <gtest/gtest.h>

#include "FunctionHandlers.h"
#include "HandlerErrors.h"

namespace PlatformAbstraction::Messaging {
namespace {

using CoreServices::Parameters;
using TestSupport::Registration;

Parameters Tree(const std::string& json) {
    return Parameters::fromJSON(json);
}

std::string Shown(const MessageAnswer& answer) {
    switch (answer.kind) {
        case MessageAnswer::Kind::Results:
            return "results " + answer.results.toJSON();
        case MessageAnswer::Kind::Text:
            return "text " + answer.text;
        case MessageAnswer::Kind::Error:
            return "error [" + answer.code + "] " + answer.message + " " + answer.details.toJSON();
    }
    return "?";
}

std::string AnswerOf(const ServiceInfo& service, const std::string& operation) {
    const HandlerFunction function = FindHandlerFunction(service, operation);
    return function
               ? Shown(function(Tree(R"({"in":1})"), std::make_shared<MessageContext>(Parameters(), nullptr)))
               : "none";
}

struct Bare {};

struct WithoutText : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

struct ThrowRow {
    const char* name;
    std::function<void()> fail;
    const char* answer;
};

TEST(HandlerInvocation, WhatLeavesAHandlerBecomesAnError) {
    const ThrowRow rows[] = {
        {"own code", [] { throw MessageHandlerError("MY_CODE", "mine"); }, "error [MY_CODE] mine {}"},
        {"bad request", [] { throw BadRequestHandlerError("bad"); }, "error [BAD_REQUEST] bad {}"},
        {"not found", [] { throw ResourceNotFoundHandlerError("gone"); }, "error [NOT_FOUND] gone {}"},
        {"method", [] { throw MethodNotAllowedHandlerError("no"); }, "error [METHOD_NOT_ALLOWED] no {}"},
        {"handler", [] { throw HandlerNotFoundError("who"); }, "error [HANDLER_NOT_FOUND] who {}"},
        {"domain", [] { throw std::domain_error("Transcode - failed"); },
         "error [GENERIC_SERVICE_ERROR] Transcode - failed {}"},
        {"logic", [] { throw std::logic_error(""); }, "error [GENERIC_SERVICE_ERROR]  {}"},
        {"tree", [] { throw Tree(R"({"ErrorString":"E"})"); },
         R"(error [GENERIC_SERVICE_ERROR] Exception {"ErrorString":"E"})"},
        {"no text", [] { throw WithoutText(); }, "error [GENERIC_SERVICE_ERROR]  {}"},
        {"number", [] { throw 7; }, "error [GENERIC_SERVICE_ERROR] Unknown error {}"},
        {"bare type", [] { throw Bare(); }, "error [GENERIC_SERVICE_ERROR] Unknown error {}"},
    };
    for (const ThrowRow& row : rows) {
        SCOPED_TRACE(row.name);
        ServiceInfo service;
        service.AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            Registration("second"), [&row](const auto&, const auto&) {
                row.fail();
                return Parameters();
            }));
        service.AddMessageHandler(std::make_shared<TestSupport::FunctionHandler>(
            Registration("first"), [&row](ServiceMessageResponse&) { row.fail(); }));
        EXPECT_EQ(AnswerOf(service, "second"), row.answer);
        EXPECT_EQ(AnswerOf(service, "first"), row.answer);
    }
}

struct ResponseRow {
    const char* name;
    std::function<void(ServiceMessageResponse&)> handle;
    const char* answer;
};

TEST(HandlerInvocation, TheFirstAnswerThroughTheResponseCounts) {
    const ResponseRow rows[] = {
        {"nothing", [](auto&) {}, "error [GENERIC_SERVICE_ERROR] No answer {}"},
        {"a tree without an answer", [](auto& response) { response.GetParameters().SetParameter("a", 1); },
         "error [GENERIC_SERVICE_ERROR] No answer {}"},
        {"tree",
         [](auto& response) {
             response.GetParameters().SetParameter("a", 1);
             EXPECT_TRUE(response.RespondOK());
         },
         R"(results {"a":1})"},
        {"assigned tree",
         [](auto& response) {
             response.AssignParameters(Tree("[]"));
             response.RespondOK();
         },
         "results []"},
        {"changed after the answer",
         [](auto& response) {
             response.RespondOK();
             response.GetParameters().SetParameter("a", 1);
         },
         "results {}"},
        {"text", [](auto& response) { response.RespondOK("{\"a\" : 1}"); }, "text {\"a\" : 1}"},
        {"empty text", [](auto& response) { response.RespondOK(""); }, "text "},
        {"error", [](auto& response) { EXPECT_TRUE(response.RespondError("ERROR_UNKNOWN", "m")); },
         "error [ERROR_UNKNOWN] m {}"},
        {"error with its tree",
         [](auto& response) {
             response.SetErrorParameters(Tree(R"({"d":1})"));
             response.RespondGenericError("m");
         },
         R"(error [GENERIC_SERVICE_ERROR] m {"d":1})"},
        {"generic error with details",
         [](auto& response) { response.RespondGenericError("Exception", Tree(R"({"d":2})")); },
         R"(error [GENERIC_SERVICE_ERROR] Exception {"d":2})"},
        {"second answer",
         [](auto& response) {
             response.RespondError("A", "a");
             EXPECT_FALSE(response.RespondOK());
         },
         "error [A] a {}"},
        {"exception after the answer",
         [](auto& response) {
             response.RespondOK();
             throw std::runtime_error("late");
         },
         "results {}"},
    };
    for (const ResponseRow& row : rows) {
        SCOPED_TRACE(row.name);
        ServiceInfo service;
        service.AddMessageHandler(
            std::make_shared<TestSupport::FunctionHandler>(Registration("m"), row.handle));
        EXPECT_EQ(AnswerOf(service, "m"), row.answer);
    }
}

TEST(HandlerInvocation, SubmissionsAndSetsAreToldWhatTheyWereRegisteredWith) {
    ServiceInfo service;
    service.AddSubmitMessageHandler(std::make_shared<TestSupport::EchoingSubmission>(Registration("Submit")),
                                    {"kind", "task", "Transcode", true});
    service.AddMessageHandlerSet(
        std::make_shared<TestSupport::NamingSet>(std::vector{Registration("one"), Registration("two")}));
    EXPECT_EQ(AnswerOf(service, "Submit"),
              R"(results {"in":1,"told":"kind|task|Transcode","failJobDefault":true})");
    EXPECT_EQ(AnswerOf(service, "two"), R"(results {"name":"two"})");
    EXPECT_EQ(AnswerOf(service, "naming"), "none");
    EXPECT_EQ(AnswerOf(service, "submit"), "none");

    // A function found before keeps its handler.
    const HandlerFunction kept = FindHandlerFunction(service, "one");
    service.ReleaseHandlers();
    EXPECT_EQ(AnswerOf(service, "one"), "none");
    EXPECT_EQ(Shown(kept(Parameters(), nullptr)), R"(results {"name":"one"})");
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
