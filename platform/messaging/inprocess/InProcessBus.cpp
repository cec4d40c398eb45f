#include "platform/messaging/inprocess/InProcessBus.h"

#include <stdexcept>
#include <utility>

#include "platform/messaging/inprocess/InProcessMessaging.h"
#include "platform/messaging/inprocess/ServiceDirectory.h"

namespace PlatformAbstraction::Messaging {

std::shared_ptr<InProcessBus> InProcessBus::Create(const InProcessBusSettings& settings) {
    if (settings.threads == 0 || settings.maxQueuedMessages == 0) {
        throw std::invalid_argument("A bus needs at least one thread and room for one message.");
    }
    return std::shared_ptr<InProcessBus>(new InProcessBus(settings));
}

InProcessBus::InProcessBus(const InProcessBusSettings& settings)
    : m_pDirectory(std::make_shared<ServiceDirectory>(settings)) {}

InProcessBus::~InProcessBus() {
    Stop(std::chrono::steady_clock::duration::zero());
}

std::shared_ptr<AttachedService> InProcessBus::Attach(const std::shared_ptr<ServiceInfo>& service) {
    if (!service || service->GetName().empty()) {
        throw std::invalid_argument("A service without a name was attached to the bus.");
    }
    return std::make_shared<AttachedService>(m_pDirectory, m_pDirectory->Attach(*service));
}

std::shared_ptr<BusMessaging> InProcessBus::GetMessaging() const {
    return std::make_shared<InProcessMessaging>(m_pDirectory, CoreServices::Parameters());
}

void InProcessBus::Stop(std::chrono::steady_clock::duration patience) {
    m_pDirectory->Stop(patience);
}

}  // namespace PlatformAbstraction::Messaging
