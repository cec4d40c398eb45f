#pragma once

#include <memory>
#include <string>

#include "platform/messaging/BusTransport.h"

namespace PlatformAbstraction::Messaging {

/// One service's place on the bus. Built unconnected; `AssignServiceInfo`, then `Initialize`. Held by the
/// service and by the handlers that were given it, and dies with the last of them. `GetServiceInfo` and
/// `GetMainConnectionBusMessaging` may be called on any thread, the rest on the main thread.
class BusConnection {
public:
    /// On the bus of the deployment mode that `InitializeDeploymentMode` set. Throws `std::logic_error` when
    /// none was set.
    BusConnection();
    /// On a bus of the caller's.
    explicit BusConnection(std::unique_ptr<BusTransport> transport);
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;
    ~BusConnection();

    /// False on an empty pointer, an unnamed service, or after `Initialize`.
    bool AssignServiceInfo(std::shared_ptr<ServiceInfoApi> info);
    /// Leaves in the configuration store what those settings say about others than the bus. Comes before the
    /// stores are opened; `Initialize` does without it.
    InitError ReadSettings(const std::string& configuration);
    /// Connects and starts delivery. `configuration` is the path of a file of bus settings, or empty; the
    /// second argument is reserved.
    InitError Initialize(const std::string& configuration, const std::string& reserved);
    static std::string InitErrorToStr(InitError error);
    bool IsRunning() const;
    /// Blocks until the bus stops; true on a normal stop, false also before `Initialize`. Lets the handlers
    /// of the service go once the bus has stopped.
    bool WaitUntilBusStops();
    /// Stops the bus and lets the handlers go; without a bus that runs, lets them go all the same. Whoever
    /// gave up before `WaitUntilBusStops` calls it, since handlers that hold this would keep it alive.
    TermError Terminate(int reserved);
    /// Empty until it was assigned.
    std::shared_ptr<ServiceInfoApi> GetServiceInfo() const;
    std::shared_ptr<BusMessaging> GetMainConnectionBusMessaging() const;

private:
    void ReleaseHandlers();

    std::unique_ptr<BusTransport> m_pTransport;
    std::shared_ptr<ServiceInfoApi> m_pServiceInfo;  // constant from `Initialize` on
    bool m_isInitialized = false;                    // the main thread's alone
};

}  // namespace PlatformAbstraction::Messaging
