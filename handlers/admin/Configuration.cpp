#include "handlers/admin/Configuration.h"

#include <exception>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/notifiers/Notifiers.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::kGenericServiceError;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr std::int32_t kCoordinatorVersion = 1;
constexpr std::int32_t kWorkerVersion = 1;

Parameters ExampleFor(const std::string& host) {
    const std::string url = "failover:(tcp://" + host +
                            ":61717)?maxReconnectAttempts=5&reconnectDelay=1000&initialReconnectDelay=1000"
                            "&jms.watchTopicAdvisories=false";
    return TreeOf({{Keys::ConnectionURL, url}});
}

/// A message to a service of this service's own realm.
ServiceMessageDispatch MakeDispatchInOwnRealm(const DispatchContext& context, const std::string& service,
                                              std::int32_t version, const std::string& operation) {
    return {service, context.busConnection->GetServiceInfo()->GetRealm(), version, operation};
}

/// `SendNotification` or `BroadcastNotification`.
using SendOperation =
    std::shared_ptr<MessageResultsFuture> (BusMessaging::*)(const ServiceMessageDispatch& dispatch);

/// Sends, and gives the failure that shows within the context's wait: `failureLabel`, the service, and code
/// and message of the error.
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

/// Runs `work` on a thread of its own, with its own copy of the context. What it throws, the notifier is
/// told.
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

/// Answers with the exception in flight, in the name of `place`. To be called inside a catch block.
bool RespondCaughtError(ServiceMessageResponse& response, const std::string& place) {
    try {
        throw;
    } catch (const std::exception& failure) {
        return response.RespondError(kGenericServiceError, place + " - error occurred: " + failure.what());
    } catch (...) {
        return response.RespondError(kGenericServiceError, place + " - Unexpected error encountered");
    }
}

}  // namespace

RegistrationParams ConfigureDXHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("configureDX")
        .SetDescription("Set DXConnectionURL and start Dolmex")
        .SetRESTPath("configureDX")
        .SetRESTMethod(HTTPMethod::Post)
        .AddExample({"example 1", ExampleFor("dolmex-1.example")})
        .AddExample({"example 2", ExampleFor("dolmex-2.example")})
        .GetResult();
}

bool ConfigureDXHandler::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                                       ServiceMessageResponse& response) {
    try {
        DispatchContext dispatchContext{
            .busConnection = m_pMessagingService,
            .notifier = PlatformAbstraction::MakeNotifier(context->GetContextBusMessaging()),
        };
        const std::string url = TextOrEmpty(request, Keys::ConnectionURL);
        dispatchContext.notifier->SendStart("Configure DX started");
        if (!url.empty() && RememberURL(url)) {
            StartDispatch(m_startThread, std::move(dispatchContext),
                          [url](const DispatchContext& with) { SendGlobalConfigToCoordinator(with, url); });
        }
        response.GetParameters().SetParameter(Keys::Status, AnswerStatus::Propagating);
        return response.RespondOK();
    } catch (...) {
        return RespondCaughtError(response, "ConfigureDXHandler::HandleMessage");
    }
}

bool ConfigureDXHandler::RememberURL(const std::string& url) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    if (url == m_lastURL) {
        return false;
    }
    m_lastURL = url;
    return true;
}

void SendGlobalConfigToCoordinator(const DispatchContext& dispatchContext, const std::string& url) {
    const std::string service(ServiceNames::Coordinator);
    const std::string operation(Operations::SetGlobalConfigData);
    ServiceMessageDispatch dispatch =
        MakeDispatchInOwnRealm(dispatchContext, service, kCoordinatorVersion, operation);
    PrintLine("\nSending global configuration to Coordinator...");
    dispatch.parameters.SetParameter(Keys::DolmexConnectionURL, url);
    PrintLine("\nParameters: \n" + dispatch.parameters.debugString());
    if (const auto failure = SendAndAwait(dispatchContext, dispatch, &BusMessaging::SendNotification,
                                          "Send notification failed for ")) {
        PrintLine("\nError occurred sending " + operation + " message to coordinator.");
        dispatchContext.notifier->SendFailed(*failure);
    }
    PrintLine("\nDone with " + operation);
    dispatchContext.notifier->SendSucceeded("Done configuring DX for " + service);
}

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
