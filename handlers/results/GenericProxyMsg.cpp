#include "handlers/results/GenericProxyMsg.h"

#include <exception>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/MsgHandlersUtils.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceMessageDispatch.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

GenericProxyMsg::GenericProxyMsg(std::string realm, std::string_view service, std::int32_t version,
                                 std::string_view operation)
    : m_realm(std::move(realm)), m_service(service), m_version(version), m_operation(operation) {}

bool GenericProxyMsg::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                                    ServiceMessageResponse& response) {
    try {
        ServiceMessageDispatch dispatch(m_service, m_realm, m_version, m_operation);
        dispatch.parameters = request;
        const auto future = context->GetContextBusMessaging()->SendRequest(dispatch);
        const Parameters answer = MsgHandlersUtils::WaitForResult(*future, m_service);
        response.AssignParameters(answer.GetChildParameters(Keys::Results));
        response.RespondOK();
    } catch (const Parameters& error) {
        response.RespondGenericError("Exception", error);
    } catch (const std::exception& failure) {
        response.RespondGenericError(std::string("Exception: ") + failure.what());
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
