#include "platform/messaging/HandlerInvocation.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/HandlerErrors.h"

namespace PlatformAbstraction::Messaging {

namespace {

using CoreServices::Parameters;
using ContextPointer = std::shared_ptr<MessageContext>;

constexpr char kUnknownError[] = "Unknown error";

// Runs `handle`, which gives a `MessageAnswer`, and lets nothing out.
template <typename Handle>
MessageAnswer AnswerOf(const Handle& handle) noexcept {
    try {
        return handle();
    } catch (...) {
        return AnswerOfCurrentException();
    }
}

// The first answer counts, so what a handler throws after it went out is for the operator alone.
MessageAnswer AnswerOfFirstKind(ServiceMessageHandler& handler, const std::string& operation,
                                const Parameters& request, ContextPointer context) {
    ServiceMessageResponse response;
    try {
        handler.HandleMessage(std::move(context), request, response);
    } catch (...) {
        if (!response.GetAnswer()) {
            throw;
        }
        Log::Warning("The handler of \"" + operation +
                     "\" failed after it had answered: " + AnswerOfCurrentException().message);
    }
    auto answer = response.TakeAnswer();
    return answer ? std::move(*answer) : MessageAnswer::OfError(kGenericServiceError, "No answer");
}

HandlerFunction OfMessageHandler(std::shared_ptr<ServiceMessageHandler> handler,
                                 const std::string& operation) {
    return [handler = std::move(handler), operation](const Parameters& request, ContextPointer context) {
        return AnswerOf([&] { return AnswerOfFirstKind(*handler, operation, request, std::move(context)); });
    };
}

HandlerFunction OfMessageHandlerV2(std::shared_ptr<ServiceMessageHandlerV2> handler) {
    return [handler = std::move(handler)](const Parameters& request, ContextPointer context) {
        return AnswerOf(
            [&] { return MessageAnswer::OfResults(handler->HandleMessageV2(request, std::move(context))); });
    };
}

HandlerFunction OfSubmission(std::shared_ptr<Weftline::SubmitMessageHandler> handler, SubmitOpJobInfo info) {
    return [handler = std::move(handler), info = std::move(info)](const Parameters& request,
                                                                  ContextPointer context) {
        return AnswerOf([&] {
            return MessageAnswer::OfResults(handler->SubmitJob(info.jobKind, info.evalTaskKind, info.name,
                                                               info.failJobDefault, request,
                                                               std::move(context)));
        });
    };
}

HandlerFunction OfSet(std::shared_ptr<ServiceMessageHandlerSet> set, const std::string& operation) {
    return [set = std::move(set), operation](const Parameters& request, ContextPointer context) {
        return AnswerOf([&] {
            return MessageAnswer::OfResults(set->HandleMessageOfSet(operation, request, std::move(context)));
        });
    };
}

bool HasMessage(const ServiceMessageHandlerSet& set, const std::string& operation) {
    const auto registrations = set.GetRegistrationParamsOfSet();
    return std::any_of(registrations.begin(), registrations.end(),
                       [&operation](const RegistrationParams& one) { return one.name == operation; });
}

// Nothing obliges an exception to have a text.
std::string TextOf(const std::exception& error) {
    const char* const text = error.what();
    return text == nullptr ? std::string() : text;
}

void SetBlame(const BlameNote& note, MessageAnswer& answer) {
    answer.blame = note.GetBlame();
    answer.field = note.GetField();
}

MessageAnswer TranslateCurrentException() {
    try {
        throw;
    } catch (const MessageHandlerError& error) {
        return MessageAnswer::OfError(error.GetErrorCode(), TextOf(error));
    } catch (const BadRequestHandlerError& error) {
        return MessageAnswer::OfError(kBadRequest, TextOf(error));
    } catch (const ResourceNotFoundHandlerError& error) {
        return MessageAnswer::OfError(kNotFound, TextOf(error));
    } catch (const MethodNotAllowedHandlerError& error) {
        return MessageAnswer::OfError(kMethodNotAllowed, TextOf(error));
    } catch (const HandlerNotFoundError& error) {
        return MessageAnswer::OfError(kHandlerNotFound, TextOf(error));
    } catch (const std::exception& error) {
        auto answer = MessageAnswer::OfError(kGenericServiceError, TextOf(error));
        if (const auto* const note = dynamic_cast<const BlameNote*>(&error)) {
            SetBlame(*note, answer);
        }
        return answer;
    } catch (const BlamedTree& details) {
        auto answer = MessageAnswer::OfError(kGenericServiceError, "Exception", details);
        SetBlame(details, answer);
        return answer;
    } catch (const Parameters& details) {
        return MessageAnswer::OfError(kGenericServiceError, "Exception", details);
    } catch (...) {
        return MessageAnswer::OfError(kGenericServiceError, kUnknownError);
    }
}

// For the case that the answer of an exception cannot be made, since memory is out.
MessageAnswer AnswerOfLastResort() noexcept {
    MessageAnswer answer;
    answer.kind = MessageAnswer::Kind::Error;
    try {
        answer.message = kUnknownError;
        answer.code = kGenericServiceError;
    } catch (const std::bad_alloc&) {  // not even for these two: then it is an error without texts
        return answer;
    }
    return answer;
}

}  // namespace

HandlerFunction FindHandlerFunction(const ServiceInfo& service, const std::string& operation) {
    if (const auto found = service.GetSubmitMessageHandlers().find(operation);
        found != service.GetSubmitMessageHandlers().end()) {
        return OfSubmission(found->second, service.GetSubmitOpJobs().at(operation));
    }
    if (const auto found = service.GetMessageHandlers().find(operation);
        found != service.GetMessageHandlers().end()) {
        return OfMessageHandler(found->second, operation);
    }
    if (const auto found = service.GetMessageHandlersV2().find(operation);
        found != service.GetMessageHandlersV2().end()) {
        return OfMessageHandlerV2(found->second);
    }
    for (const auto& [name, set] : service.GetMessageSetHandlers()) {
        if (HasMessage(*set, operation)) {
            return OfSet(set, operation);
        }
    }
    return {};
}

MessageAnswer AnswerOfCurrentException() noexcept {
    try {
        return TranslateCurrentException();
    } catch (...) {
        return AnswerOfLastResort();
    }
}

}  // namespace PlatformAbstraction::Messaging
