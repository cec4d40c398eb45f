#include "farm/workers/SwitchLoggingHandler.h"

#include <string>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/workers/WorkerLog.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Keys = Weftline::Keys;

SwitchLoggingHandler::SwitchLoggingHandler(std::shared_ptr<WorkerLog> log) : m_pLog(std::move(log)) {}

PlatformAbstraction::RegistrationParams SwitchLoggingHandler::GetRegistrationParams() const {
    Parameters example;
    example.SetParameter(Keys::TurnOnRemoteLogging, true);
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::RemoteLogging))
        .SetDescription("Turns what the worker tells of its tasks on or off")
        .AddExample({"turn remote logging on", std::move(example)})
        .GetResult();
}

Parameters SwitchLoggingHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    bool on = false;
    request.GetParameter(Keys::TurnOnRemoteLogging, on);
    m_pLog->Switch(on);
    return {};
}

}  // namespace Quillon::Farm
