#include "handlers/support/ServiceQueries.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/HandlerErrors.h"

namespace Weftline::Services::Scheduler::MsgHandlersUtils {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageResultsFuture;

namespace {

constexpr std::int64_t kPatienceMicroseconds = 10'000'000;
constexpr std::string_view kNoErrorDetails = "<<NO ERROR DETAILS>>";

namespace Messaging = PlatformAbstraction::Messaging;

std::string Describe(const std::string& serviceName, std::string_view outcome) {
    std::string text = "MsgHandlersUtils::WaitForResult() - Query to " + serviceName;
    return text.append(" ").append(outcome);
}

Parameters DescribeError(const MessageResultsFuture& future, const std::string& serviceName) {
    Parameters error;
    error.SetParameter(Keys::DescriptionCapital, Describe(serviceName, "FAILED"));
    std::string errorString;
    std::string errorDetails(kNoErrorDetails);
    if (future.GetErrorDetails(errorString, errorDetails)) {
        error.SetParameter(Keys::ErrorString, errorString);
    }
    error.SetParameter(Keys::ErrorDetails, errorDetails);
    return error;
}

}  // namespace

Messaging::Blame BlameFor(const MessageResultsFuture& future) {
    static constexpr std::array<std::string_view, 5> kAway{
        Messaging::kServiceNotFound, Messaging::kOperationNotFound, Messaging::kQueueFull,
        Messaging::kServiceStopping, Messaging::kBusAway};
    std::string code;
    std::string message;
    if (future.HasTimedOut() || !future.GetErrorDetails(code, message)) {
        return Messaging::Blame::Unavailable;
    }
    if (code == Messaging::kNotFound) {
        return Messaging::Blame::Absent;
    }
    if (code == Messaging::kBadRequest) {
        return Messaging::Blame::Client;
    }
    return std::ranges::find(kAway, code) == kAway.end() ? Messaging::Blame::Service
                                                         : Messaging::Blame::Unavailable;
}

Parameters WaitForResult(MessageResultsFuture& future, const std::string& serviceName) {
    if (!future.WaitForDone(kPatienceMicroseconds)) {
        throw Messaging::Blamed<std::runtime_error>(Messaging::Blame::Unavailable,
                                                    Describe(serviceName, "Timeout"));
    }
    if (future.HasError()) {
        throw Messaging::BlamedTree(BlameFor(future), DescribeError(future, serviceName));
    }
    Parameters results;
    future.GetResults(results);  // an answer without results is an empty one
    return results;
}

}  // namespace Weftline::Services::Scheduler::MsgHandlersUtils

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

namespace {

constexpr std::int32_t kCoordinatorVersion = 1;

}  // namespace

Parameters QueryCoordinatorService(const std::shared_ptr<MessageContext>& context, const std::string& realm,
                                   const std::string& operation, const Parameters& parameters) {
    return QueryCoordinatorService(context->GetContextBusMessaging(), realm, operation, parameters);
}

Parameters QueryCoordinatorService(const std::shared_ptr<BusMessaging>& busMessaging,
                                   const std::string& realm, const std::string& operation,
                                   const Parameters& parameters) {
    // By value: the function keeps the bus alive wherever it is carried.
    const SendRequestFunction sendRequest = [busMessaging](const ServiceMessageDispatch& dispatch) {
        return busMessaging->SendRequest(dispatch);
    };
    return QueryCoordinatorService(sendRequest, realm, operation, parameters);
}

Parameters QueryCoordinatorService(const SendRequestFunction& sendRequest, const std::string& realm,
                                   const std::string& operation, const Parameters& parameters) {
    const std::string service(ServiceNames::Coordinator);
    ServiceMessageDispatch dispatch(service, realm, kCoordinatorVersion, operation);
    dispatch.parameters = parameters;
    const auto future = sendRequest(dispatch);
    return MsgHandlersUtils::WaitForResult(*future, service);
}

}  // namespace Weftline::Services::Scheduler
