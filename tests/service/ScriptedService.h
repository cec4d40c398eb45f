#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BusTransport.h"
#include "ServiceBase.h"

namespace Weftline::Services {

/// How a service and its bus are to behave, and what they were asked for, in that order. Shared by the two.
struct LifeScript {
    std::function<bool()> onReady = [] { return true; };
    std::function<bool()> onErrors = [] { return true; };
    std::function<bool(PlatformAbstraction::Messaging::ServiceInfoApi& serviceInfo)> onHandlers = [](auto&) {
        return true;
    };
    std::function<bool()> onRunning = [] { return true; };

    PlatformAbstraction::Messaging::InitError startError = PlatformAbstraction::Messaging::InitError::None;
    bool runsAfterStart = true;
    bool stopsNormally = true;
    bool runsAfterWait = false;
    PlatformAbstraction::Messaging::TermError stopError = PlatformAbstraction::Messaging::TermError::None;
    bool runsAfterStop = false;  // the first one

    std::vector<std::string> journal;
};

/// The deployment mode under which a bus that follows `script` is on offer.
inline constexpr char kScriptedMode[] = "scripted";
void OfferScriptedBus(std::shared_ptr<LifeScript> script);

/// A service that follows the script.
class ScriptedService final : public ServiceBase {
public:
    explicit ScriptedService(std::shared_ptr<LifeScript> script);
    ~ScriptedService() override;

    bool ServiceInfoReadyAction(ServiceInfoPointer serviceInfo) override;
    bool AfterPlatformRunningStartupAction(BusConnectionPointer busConnection) override;
    boost::program_options::options_description GetServiceOptions() override;
    std::string GetServiceName() override;
    std::int32_t GetServiceVersion() override;
    bool RegisterErrors(ServiceInfoPointer serviceInfo) override;
    bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo, BusConnectionPointer busConnection,
                                        bool enableOldHALPrototype) override;

private:
    const std::shared_ptr<LifeScript> m_pScript;
};

}  // namespace Weftline::Services
