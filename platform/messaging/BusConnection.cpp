#include "platform/messaging/BusConnection.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ServiceInfo.h"

namespace PlatformAbstraction::Messaging {

BusConnection::BusConnection() : BusConnection(MakeBusTransport()) {}

BusConnection::BusConnection(std::unique_ptr<BusTransport> transport) : m_pTransport(std::move(transport)) {
    if (!m_pTransport) {
        throw std::invalid_argument("A bus connection was made without a bus.");
    }
}

BusConnection::~BusConnection() = default;

bool BusConnection::AssignServiceInfo(std::shared_ptr<ServiceInfoApi> info) {
    if (m_isInitialized || !info || info->GetName().empty()) {
        return false;
    }
    m_pServiceInfo = std::move(info);
    return true;
}

InitError BusConnection::ReadSettings(const std::string& configuration) {
    return m_pTransport->ReadSettings(configuration);
}

InitError BusConnection::Initialize(const std::string& configuration, const std::string& /*reserved*/) {
    if (m_isInitialized) {
        return InitError::AlreadyInitialized;
    }
    if (!m_pServiceInfo) {
        return InitError::NoServiceInfo;
    }
    try {
        const InitError error = m_pTransport->Start(m_pServiceInfo, configuration);
        m_isInitialized = error == InitError::None;
        return error;
    } catch (const std::exception& error) {
        Log::Error(std::string("The bus did not start: ") + error.what());
        return InitError::Failed;
    }
}

std::string BusConnection::InitErrorToStr(InitError error) {
    switch (error) {
        case InitError::None:
            return "no error";
        case InitError::NoServiceInfo:
            return "no service was assigned to the connection";
        case InitError::AlreadyInitialized:
            return "the connection is initialised already";
        case InitError::BadConfiguration:
            return "the bus settings were refused";
        case InitError::CannotListen:
            return "the address is in use or not allowed";
        case InitError::Failed:
            return "the bus could not be joined";
    }
    return "unknown error " + std::to_string(static_cast<int>(error));
}

bool BusConnection::IsRunning() const {
    return m_isInitialized && m_pTransport->IsRunning();
}

bool BusConnection::WaitUntilBusStops() {
    if (!m_isInitialized) {
        return false;
    }
    const bool stoppedNormally = m_pTransport->WaitUntilStopped();
    ReleaseHandlers();
    return stoppedNormally;
}

TermError BusConnection::Terminate(int /*reserved*/) {
    if (!IsRunning()) {
        ReleaseHandlers();
        return TermError::NotRunning;
    }
    const TermError error = m_pTransport->Stop();
    ReleaseHandlers();
    return error;
}

std::shared_ptr<ServiceInfoApi> BusConnection::GetServiceInfo() const {
    return m_pServiceInfo;
}

std::shared_ptr<BusMessaging> BusConnection::GetMainConnectionBusMessaging() const {
    return m_pTransport->GetMessaging();
}

void BusConnection::ReleaseHandlers() {
    if (IsRunning()) {
        return;
    }
    if (const auto service = std::dynamic_pointer_cast<ServiceInfo>(m_pServiceInfo)) {
        service->ReleaseHandlers();
    }
}

}  // namespace PlatformAbstraction::Messaging
