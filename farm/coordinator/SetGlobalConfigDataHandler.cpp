#include "farm/coordinator/SetGlobalConfigDataHandler.h"

#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;

PlatformAbstraction::RegistrationParams SetGlobalConfigDataHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::SetGlobalConfigData))
        .SetDescription("Sets configuration for the whole farm")
        .GetResult();
}

Parameters SetGlobalConfigDataHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const std::lock_guard lock(m_mutex);
    for (const std::string& key : request.GetTopLevelParameterNames()) {
        m_config.CopyValue(request, key, key);
    }
    PlatformAbstraction::Log::Info("Configuration for the whole farm: " + m_config.toJSON());
    return {};
}

}  // namespace Quillon::Farm
