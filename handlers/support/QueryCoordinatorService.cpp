#include "handlers/support/QueryCoordinatorService.h"

#include <cstdint>

#include "Core/src/Vocabulary.h"
#include "handlers/support/MsgHandlersUtils.h"

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
