#include "handlers/admin/RemoteLoggingHandler.h"

#include <string_view>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/RegParamsBuilder.h"
#include "platform/notifiers/MakeNotifier.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::BusConnection;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr std::int32_t kWorkerVersion = 1;

}  // namespace

RemoteLoggingHandler::RemoteLoggingHandler(std::shared_ptr<BusConnection> messagingService,
                                           ThreadStarter startThread)
    : m_pMessagingService(std::move(messagingService)), m_startThread(std::move(startThread)) {}

RegistrationParams RemoteLoggingHandler::GetRegistrationParams() const {
    const std::string name(Operations::RemoteLogging);
    return RegParamsBuilder()
        .SetName(name)
        .SetDescription("Make service logging to be turned on/off")
        .SetRESTPath(name)
        .SetRESTMethod(HTTPMethod::Post)
        .AddExample({name, TreeOf({{Keys::TurnOnRemoteLogging, true}})})
        .GetResult();
}

bool RemoteLoggingHandler::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                                         ServiceMessageResponse& response) {
    try {
        const DispatchContext dispatchContext{
            .busConnection = m_pMessagingService,
            .notifier = PlatformAbstraction::MakeNotifier(context->GetContextBusMessaging()),
        };
        dispatchContext.notifier->SendStart("Configure remote logging started");
        for (const std::string_view service : {ServiceNames::MetadataWorker, ServiceNames::MediaWorker}) {
            StartDispatch(m_startThread, dispatchContext,
                          [request, service = std::string(service)](const DispatchContext& with) {
                              BroadcastToService(with, service, kWorkerVersion,
                                                 std::string(Operations::RemoteLogging), request);
                          });
        }
        return response.RespondOK();
    } catch (...) {
        return RespondCaughtError(response, "RemoteLoggingHandler::HandleMessage");
    }
}

void BroadcastToService(const DispatchContext& dispatchContext, const std::string& service,
                        std::int32_t version, const std::string& operation, const Parameters& request) {
    ServiceMessageDispatch dispatch = MakeDispatchInOwnRealm(dispatchContext, service, version, operation);
    dispatch.parameters = request;
    if (const auto failure = SendAndAwait(dispatchContext, dispatch, &BusMessaging::BroadcastNotification,
                                          "Broadcast notification failed for ")) {
        dispatchContext.notifier->SendFailed(*failure);
    }
    dispatchContext.notifier->SendSucceeded("Done configuring remote logging for " + service);
}

}  // namespace Weftline::Services::Scheduler
