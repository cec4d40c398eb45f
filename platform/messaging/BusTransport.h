#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceInfo.h"

namespace PlatformAbstraction::Messaging {

/// Why a bus could not be joined; zero is success. `InitErrorToStr` is the one mapping to a text.
enum class InitError : int {
    None = 0,
    NoServiceInfo,       ///< `AssignServiceInfo` did not come first
    AlreadyInitialized,  ///< a connection is initialised once
    BadConfiguration,    ///< the file of bus settings, or a setting, was refused
    CannotListen,        ///< the address is in use or not allowed
    Failed,              ///< anything else; the log says what
};

/// Why a bus could not be left; zero is success.
enum class TermError : int { None = 0, NotRunning, Failed };

/// The bus behind a `BusConnection`: one for the deployment in one process, another for many machines. Owned
/// by the connection. The main thread calls it, but `GetMessaging`, which any thread may call, also after the
/// end.
class BusTransport {
public:
    BusTransport() = default;
    BusTransport(const BusTransport&) = delete;
    BusTransport& operator=(const BusTransport&) = delete;
    virtual ~BusTransport() = default;

    /// Reads what counts before the bus does, above all for the stores, and leaves it in the configuration
    /// store. Comes before `Start` with the same `configuration`. The log tells a person what was refused.
    virtual InitError ReadSettings(const std::string& /*configuration*/) { return InitError::None; }
    /// Joins `service` and starts delivery; messages may arrive before this returns. `configuration` is the
    /// path of a file of bus settings, or empty. The log tells a person what went wrong.
    virtual InitError Start(std::shared_ptr<ServiceInfoApi> service, const std::string& configuration) = 0;
    virtual bool IsRunning() const = 0;
    /// Blocks until the bus stops. True on a normal stop.
    virtual bool WaitUntilStopped() = 0;
    virtual TermError Stop() = 0;
    /// The connection's own messaging. Never empty; before the start and after the end its messages fail.
    virtual std::shared_ptr<BusMessaging> GetMessaging() const = 0;
};

using BusTransportFactory = std::function<std::unique_ptr<BusTransport>()>;

/// Names a bus that this program was built with. The composition root calls it before anything else.
void OfferDeploymentMode(const std::string& mode, BusTransportFactory factory);

/// Chooses the bus of the process for the connections made from now on. False, with a line in the log, for a
/// mode that is not on offer. The first call of the platform once the settings are known, so it also sets the
/// level of the log by the setting `loglevel`.
bool InitializeDeploymentMode(const std::string& mode);

/// A bus of the chosen mode. Throws `std::logic_error` when none was chosen.
std::unique_ptr<BusTransport> MakeBusTransport();

}  // namespace PlatformAbstraction::Messaging
