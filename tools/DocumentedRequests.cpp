// Prints the documented examples of all submissions, one JSON object a line: the path and the body of the
// request.

#include <iostream>
#include <memory>

#include "platform/deployment/DeployedTransport.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceInfo.h"
#include "service/SchedulerService.h"

int main() {
    namespace Messaging = PlatformAbstraction::Messaging;
    const auto info = std::make_shared<Messaging::ServiceInfo>();
    const auto bus = std::make_shared<Messaging::BusConnection>(Messaging::MakeStandaloneTransport());
    if (!Weftline::Services::Scheduler::SchedulerService().RegisterServiceMessageHandlers(info, bus, false)) {
        return 1;
    }
    for (const auto& registration : info->GetRegistrations()) {
        if (!info->IsRegisteredSubmitMessageHandler(registration.name)) {
            continue;
        }
        for (const auto& example : registration.examples) {
            CoreServices::Parameters line;
            line.SetParameter("path", "/" + registration.restPath);
            line.SetChildParameters("body", example.request);
            std::cout << line.toJSON() << '\n';
        }
    }
}
