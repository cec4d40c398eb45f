#pragma once

#include <memory>
#include <string>

#include "BusConnection.h"
#include "BusTransport.h"
#include "FakeBusMessaging.h"

namespace TestSupport {

/// A bus without delivery: it takes the service and hands out the messaging it was made with. What it answers
/// at the start, at the stop and in between is set beforehand. For one thread.
class FakeBusTransport final : public PlatformAbstraction::Messaging::BusTransport {
public:
    explicit FakeBusTransport(std::shared_ptr<FakeBusMessaging> messaging);

    PlatformAbstraction::Messaging::InitError startError = PlatformAbstraction::Messaging::InitError::None;
    PlatformAbstraction::Messaging::TermError stopError = PlatformAbstraction::Messaging::TermError::None;
    bool stopsNormally = true;

    PlatformAbstraction::Messaging::InitError Start(
        std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfoApi> service,
        const std::string& configuration) override;
    bool IsRunning() const override { return m_running; }
    bool WaitUntilStopped() override { return stopsNormally; }
    PlatformAbstraction::Messaging::TermError Stop() override;
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> GetMessaging() const override;

private:
    const std::shared_ptr<FakeBusMessaging> m_pMessaging;
    std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfoApi> m_pService;
    bool m_running = false;
};

/// An unconnected connection on a fake bus, enough for handlers that send through it. With `service` the
/// connection describes that service.
std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> MakeBusConnection(
    std::shared_ptr<FakeBusMessaging> messaging,
    std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfoApi> service = nullptr);

}  // namespace TestSupport
