#include "handlers/support/ServiceQueries.h"

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler::MsgHandlersUtils {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageResultsFuture;

namespace {

constexpr std::int64_t kPatienceMicroseconds = 10'000'000;
constexpr std::string_view kNoErrorDetails = "<<NO ERROR DETAILS>>";

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

Parameters WaitForResult(MessageResultsFuture& future, const std::string& serviceName) {
    if (!future.WaitForDone(kPatienceMicroseconds)) {
        throw std::runtime_error(Describe(serviceName, "Timeout"));
    }
    if (future.HasError()) {
        throw DescribeError(future, serviceName);
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
