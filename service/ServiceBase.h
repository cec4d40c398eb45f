#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace boost::program_options {
class options_description;
class variables_map;
}  // namespace boost::program_options

namespace PlatformAbstraction::Messaging {
class BusConnection;
class ServiceInfoApi;
}  // namespace PlatformAbstraction::Messaging

namespace Weftline::Services {

/// The skeleton of every service of the farm that lives on the bus. A service derives from it and says who it
/// is and what it answers.
///
/// The main thread calls `Init`, `Startup`, `WaitUntilBusStops`, `Shutdown` and `Term`, in this order and
/// once each. A step that fails says so on standard output and gives false; whatever a step throws is not
/// caught. The service may be deleted after any step and then leaves the bus, if need be, and lets go of it.
/// Handlers may be at work until then, so none of them refers to the derived service.
class ServiceBase {
public:
    using ServiceInfoPointer = std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfoApi>;
    using BusConnectionPointer = std::shared_ptr<PlatformAbstraction::Messaging::BusConnection>;

    ServiceBase();
    ServiceBase(const ServiceBase&) = delete;
    ServiceBase& operator=(const ServiceBase&) = delete;
    virtual ~ServiceBase();

    /// Called at the end of `Init`, with an empty description; false fails it.
    virtual bool ServiceInfoReadyAction(ServiceInfoPointer serviceInfo);
    /// Called at the end of `Startup`, when messages may be arriving already; false fails it.
    virtual bool AfterPlatformRunningStartupAction(BusConnectionPointer busConnection);
    /// The service's own options, beside those that all services have.
    virtual boost::program_options::options_description GetServiceOptions() = 0;
    virtual std::string GetServiceName() = 0;
    virtual std::int32_t GetServiceVersion() = 0;
    /// Gives the description the service's table of errors.
    virtual bool RegisterErrors(ServiceInfoPointer serviceInfo) = 0;
    /// Gives the description all handlers. They may keep the connection, which is not yet initialised.
    virtual bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo,
                                                BusConnectionPointer busConnection,
                                                bool enableOldHALPrototype) = 0;

    [[nodiscard]] bool Init();
    /// Reads the options, opens the stores and joins the bus with all handlers registered. Messages can
    /// arrive while it is still at its last steps.
    [[nodiscard]] bool Startup(const char* commandLine);
    /// Blocks for the working life of the service: 0 after a normal stop of the bus, else -999.
    std::int32_t WaitUntilBusStops();
    /// Leaves the bus if it is still running.
    [[nodiscard]] bool Shutdown();
    /// Lets go of the bus, which must have stopped.
    [[nodiscard]] bool Term();

private:
    boost::program_options::variables_map ParseProgramOptions(const char* commandLine);

    // The steps of `Startup`.
    bool CheckServiceName();
    bool MakeConnectionAndStores(const std::string& busConfiguration);
    bool RegisterService(bool enableOldHALPrototype);
    bool StartBus(const std::string& busConfiguration);

    ServiceInfoPointer m_ServiceInfo;          // empty until Init
    BusConnectionPointer m_pMessagingService;  // from Startup to Term
    std::string m_DeployMode;
};

}  // namespace Weftline::Services
