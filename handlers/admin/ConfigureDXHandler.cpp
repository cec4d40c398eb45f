#include "handlers/admin/ConfigureDXHandler.h"

#include <cstdint>
#include <utility>

#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/ConsoleLines.h"
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

constexpr std::int32_t kCoordinatorVersion = 1;

Parameters ExampleFor(const std::string& host) {
    const std::string url = "failover:(tcp://" + host +
                            ":61717)?maxReconnectAttempts=5&reconnectDelay=1000&initialReconnectDelay=1000"
                            "&jms.watchTopicAdvisories=false";
    return TreeOf({{Keys::ConnectionURL, url}});
}

}  // namespace

ConfigureDXHandler::ConfigureDXHandler(std::shared_ptr<BusConnection> messagingService,
                                       ThreadStarter startThread)
    : m_pMessagingService(std::move(messagingService)), m_startThread(std::move(startThread)) {}

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
    const std::lock_guard lock(m_mutex);
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

}  // namespace Weftline::Services::Scheduler
