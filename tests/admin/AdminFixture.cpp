#include "AdminFixture.h"

#include "FakeBusTransport.h"
#include "MessageContexts.h"
#include "ServiceInfoApi.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

std::string AdminFixture::Answer(PlatformAbstraction::Messaging::ServiceMessageHandler& handler,
                                 const std::string& requestJson, const std::string& identityId) {
    ServiceMessageResponse response;
    EXPECT_TRUE(handler.HandleMessage(Context(identityId), Parameters::fromJSON(requestJson), response));
    const auto& answer = response.GetAnswer();
    if (!answer) {
        return "no answer";
    }
    return answer->kind == MessageAnswer::Kind::Results ? "OK " + answer->results.toJSON()
                                                        : answer->code + ": " + answer->message;
}

std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> AdminFixture::Context(
    const std::string& identityId) {
    return identityId.empty() ? TestSupport::MakeAnonymousContext(bus)
                              : TestSupport::MakeContextOf(identityId, bus);
}

std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> AdminFixture::Connection() {
    auto service = PlatformAbstraction::Messaging::ConstructServiceInfo();
    service->SetNameRealmVersion("scheduler", "farm", 2);
    return TestSupport::MakeBusConnection(bus, std::move(service));
}

std::vector<std::string> AdminFixture::Sent() const {
    std::vector<std::string> lines;
    for (const auto& message : bus->Sent()) {
        const auto& to = message.dispatch;
        lines.push_back(to.service + "/" + to.realm + "/" + std::to_string(to.version) + "/" + to.operation +
                        " " + to.parameters.toJSON());
    }
    return lines;
}

TestSupport::ScriptedAnswer AdminFixture::Results(const std::string& json) {
    return TestSupport::ScriptedAnswer::Results(Parameters::fromJSON(json));
}

}  // namespace Weftline::Services::Scheduler
