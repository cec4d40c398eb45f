#include "handlers/admin/DispatchContext.h"

#include <exception>
#include <utility>

#include "platform/messaging/HandlerInvocation.h"

namespace Weftline::Services::Scheduler {

using PlatformAbstraction::Messaging::kGenericServiceError;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

ServiceMessageDispatch MakeDispatchInOwnRealm(const DispatchContext& context, const std::string& service,
                                              std::int32_t version, const std::string& operation) {
    return {service, context.busConnection->GetServiceInfo()->GetRealm(), version, operation};
}

std::optional<std::string> SendAndAwait(const DispatchContext& context,
                                        const ServiceMessageDispatch& dispatch, SendOperation send,
                                        std::string_view failureLabel) {
    const auto busMessaging = context.busConnection->GetMainConnectionBusMessaging();
    const auto future = ((*busMessaging).*send)(dispatch);
    future->WaitForDone(context.waitMicroseconds);
    if (!future->HasError()) {
        return std::nullopt;
    }
    std::string code;
    std::string details;
    future->GetErrorDetails(code, details);
    return std::string(failureLabel) + dispatch.service + " [" + code + "] " + details;
}

void StartDispatch(const ThreadStarter& startThread, DispatchContext context,
                   std::function<void(const DispatchContext& context)> work) {
    startThread([context = std::move(context), work = std::move(work)] {
        try {
            work(context);
        } catch (const std::exception& failure) {
            context.notifier->SendFailed(failure.what());
        } catch (...) {
            context.notifier->SendFailed("Unexpected error encountered");
        }
    });
}

bool RespondCaughtError(ServiceMessageResponse& response, const std::string& place) {
    try {
        throw;
    } catch (const std::exception& failure) {
        return response.RespondError(kGenericServiceError, place + " - error occurred: " + failure.what());
    } catch (...) {
        return response.RespondError(kGenericServiceError, place + " - Unexpected error encountered");
    }
}

}  // namespace Weftline::Services::Scheduler
