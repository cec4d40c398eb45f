#include "FakeBusTransport.h"

#include <stdexcept>
#include <utility>

namespace TestSupport {

using PlatformAbstraction::Messaging::BusConnection;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::InitError;
using PlatformAbstraction::Messaging::ServiceInfoApi;
using PlatformAbstraction::Messaging::TermError;

FakeBusTransport::FakeBusTransport(std::shared_ptr<FakeBusMessaging> messaging)
    : m_pMessaging(std::move(messaging)) {}

InitError FakeBusTransport::Start(std::shared_ptr<ServiceInfoApi> service, const std::string&) {
    m_pService = std::move(service);
    m_running = startError == InitError::None;
    return startError;
}

TermError FakeBusTransport::Stop() {
    m_running = false;
    return stopError;
}

std::shared_ptr<BusMessaging> FakeBusTransport::GetMessaging() const {
    return m_pMessaging;
}

std::shared_ptr<BusConnection> MakeBusConnection(std::shared_ptr<FakeBusMessaging> messaging,
                                                 std::shared_ptr<ServiceInfoApi> service) {
    auto connection =
        std::make_shared<BusConnection>(std::make_unique<FakeBusTransport>(std::move(messaging)));
    if (service && !connection->AssignServiceInfo(std::move(service))) {
        throw std::logic_error("the service was refused: is it named?");
    }
    return connection;
}

}  // namespace TestSupport
